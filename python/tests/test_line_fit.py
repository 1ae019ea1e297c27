"""Line fits from arrays, against weighted least squares done by hand."""
import numpy as np

import ovutility


def test_exact_line():
    fit = ovutility.line_fit([0.0, 1.0, 2.0, 3.0], [1.0, 3.0, 5.0, 7.0])
    assert fit.GetNumberOfPoints() == 4 and fit.IsValid()
    assert abs(fit.GetSlope() - 2.0) < 1e-12 and abs(fit.GetIntercept() - 1.0) < 1e-12
    assert abs(fit.GetValue(10.0) - 21.0) < 1e-12
    assert fit.GetCentralIndependent() == 1.5


def test_against_weighted_least_squares():
    rng = np.random.default_rng(3)
    x = np.linspace(0, 300, 12)
    sigma = rng.uniform(0.5, 2.0, size=12)
    y = 4.0 + 0.3 * x + rng.normal(0, sigma)
    fit = ovutility.line_fit(x, y, sigma)
    w = 1.0 / sigma**2
    s, sx, sy, sxx, sxy = w.sum(), (w * x).sum(), (w * y).sum(), (w * x * x).sum(), (
        w * x * y).sum()
    delta = s * sxx - sx**2
    assert np.isclose(fit.GetSlope(), (s * sxy - sx * sy) / delta, rtol=1e-12)
    assert np.isclose(fit.GetIntercept(), (sxx * sy - sx * sxy) / delta, rtol=1e-12)
    assert np.isclose(fit.GetSlopeUncertainty(), np.sqrt(s / delta), rtol=1e-12)
    # The library's intercept uncertainty weighs the sum of y, not of x squared.
    assert np.isclose(fit.GetInterceptUncertainty(), np.sqrt(sy / delta), rtol=1e-12)


def test_inputs_are_left_alone_and_a_point_comes_out_again():
    x, y = np.array([0.0, 1.0, 2.0]), np.array([0.0, 1.0, 2.0])
    fit = ovutility.line_fit(x, y, 0.5)
    np.testing.assert_array_equal(x, [0, 1, 2])
    fit.AddPoint(1.0, 5.0, 0.5)
    fit.RemovePoint(1.0, 5.0, 0.5)
    assert abs(fit.GetSlope() - 1.0) < 1e-12


def test_a_fit_that_cannot_be_computed_reads_zero():
    fit = ovutility.line_fit([1.0], [2.0])
    assert fit.GetSlope() == 0.0

"""Hough lines with their points, against the band of each line worked out
point by point."""
import numpy as np

import ovutility


def point_radius(space, x, y, angle):
    return ((y - space.GetCenterY()) * np.cos(angle) - (x - space.GetCenterX()) * np.sin(angle))


def test_every_line_holds_exactly_the_points_in_its_band():
    rng = np.random.default_rng(4)
    x, y = rng.uniform(-60, 60, size=(2, 40))
    space = ovutility.hough_space(x, y, -100, -100, 100, 100, 10, 2, 0)
    lines = ovutility.hough_lines(space)
    half = space.GetLineWidth() / 2
    margin = 0.01 * space.GetLineSpacing()
    for line in lines:
        distance = np.abs(point_radius(space, x, y, line.angle) - line.radius)
        surely_in = set(np.flatnonzero(distance < half - 1e-9))
        maybe_in = set(np.flatnonzero(distance <= half + margin + 1e-9))
        assert surely_in <= set(line.points.tolist()) <= maybe_in
        assert line.weight == len(line.points)
    weights = [line.weight for line in lines]
    assert weights == sorted(weights, reverse=True)
    # Each point is on some line at each angle of the space.
    assert sum(len(line.points) for line in lines) >= len(x) * len(
        {line.angle for line in lines})


def test_a_track_comes_out_whole_after_remove_shared():
    rng = np.random.default_rng(8)
    along = np.arange(-300, 301, 20.0)
    angle = 0.4
    track_x = along * np.cos(angle) - 50 * np.sin(angle)
    track_y = along * np.sin(angle) + 50 * np.cos(angle)
    noise_x, noise_y = rng.uniform(-400, 400, size=(2, 15))
    x, y = np.concatenate([track_x, noise_x]), np.concatenate([track_y, noise_y])
    space = ovutility.hough_space(x, y, -500, -500, 500, 500, 10, 2, 0)
    space.RemoveShared(1.0)
    heaviest = ovutility.hough_lines(space, min_points=3)[0]
    assert set(range(len(along))) <= set(heaviest.points.tolist())
    assert abs(heaviest.angle - angle) <= space.GetAngleSpacing()
    assert abs(heaviest.radius - 50) <= space.GetLineSpacing()


def test_point_weights_make_the_line_weight():
    space = ovutility.hough_space([0.0, 10.0], [0.0, 0.0], -50, -50, 50, 50, 4, 1, 0,
                                  weight=[2.0, 3.0])
    heaviest = ovutility.hough_lines(space)[0]
    assert heaviest.weight == 5.0 and sorted(heaviest.points.tolist()) == [0, 1]

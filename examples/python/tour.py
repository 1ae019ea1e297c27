"""A few sections of the tour from Python, with NumPy arrays in and out and
pictures drawn by matplotlib.

    python tour.py [output folder]      (default: tour-python)
"""
import os
import sys

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
import numpy as np  # noqa: E402

import ovutility  # noqa: E402

output = sys.argv[1] if len(sys.argv) > 1 else "tour-python"
os.makedirs(output, exist_ok=True)
rng = np.random.default_rng(2026)


def picture(figure, name):
    path = os.path.join(output, name)
    figure.savefig(path, dpi=80)
    plt.close(figure)
    print("  picture:", path)


def charge_clusters():
    print("== Charge clusters: two tracks and noise, grouped into combo hits")
    steps = np.arange(20)
    x = np.concatenate([-50 + 4.0 * steps, 40 - 3.0 * steps, rng.uniform(-100, 100, 15)])
    z = np.concatenate([10 + 10.0 * steps, 10 + 10.0 * steps, rng.uniform(0, 200, 15)])
    charge = np.concatenate([rng.uniform(10, 30, 40), rng.uniform(1, 5, 15)])
    event = ovutility.hits(x, 0.0, z, charge)
    clusters = ovutility.charge_clusters(event, 6.0, 6.0, 12.0)
    sizes = [len(m) for m in clusters.members]
    print("  %d hits give %d combo hits; the largest hold %s hits" %
          (len(event), len(sizes), sorted(sizes, reverse=True)[:3]))
    figure, axes = plt.subplots(figsize=(6, 5))
    axes.scatter(z, x, s=15, facecolors="none", edgecolors="grey", label="hits")
    for members in clusters.members:
        if len(members) > 1:
            axes.plot(z[members], x[members], "o", ms=4)
    axes.plot(clusters.hits.position[:, 2], clusters.hits.position[:, 0], "k+", ms=8,
              label="combo hits")
    axes.set(xlabel="z (mm)", ylabel="x (mm)", title="Charge clusters")
    axes.legend()
    picture(figure, "charge_clusters.png")
    return sizes


def delaunay():
    print("== Mesh: Delaunay triangulation of two tracks and noise")
    x = np.concatenate([5.0 + 8.0 * np.arange(12)] * 2 + [rng.uniform(0, 100, 16)])
    y = np.concatenate([10 + 0.7 * x[:12] + rng.normal(0, 0.5, 12),
                        90 - 0.6 * x[12:24] + rng.normal(0, 0.5, 12), rng.uniform(0, 100, 16)])
    mesh = ovutility.delaunay(x, y)
    print("  %d points give %d edges and %d triangles" %
          (len(x), len(mesh.edges), len(mesh.triangles)))
    figure, axes = plt.subplots(figsize=(6, 6))
    axes.triplot(x, y, mesh.triangles, color="tab:blue", lw=0.8)
    axes.plot(x, y, "k.", ms=6)
    axes.set(xlabel="x (mm)", ylabel="y (mm)", title="Delaunay mesh", aspect="equal")
    picture(figure, "delaunay_mesh.png")
    return mesh


def hough():
    print("== Hough line finding: straight tracks in noise")
    tracks = [(0.4, -200.0, 300.0), (-0.5, 250.0, 250.0), (1.3, 20.0, 380.0)]
    xs, ys = [], []
    for angle, radius, half in tracks:
        along = np.arange(-half, half + 1, 20.0)
        across = radius + rng.normal(0, 1.0, len(along))
        xs.append(along * np.cos(angle) - across * np.sin(angle))
        ys.append(along * np.sin(angle) + across * np.cos(angle))
    xs.append(rng.uniform(-500, 500, 60))
    ys.append(rng.uniform(-500, 500, 60))
    x, y = np.concatenate(xs), np.concatenate(ys)
    space = ovutility.hough_space(x, y, -500, -500, 500, 500, 10, 2, 0)
    space.RemoveShared(1.0)
    lines = ovutility.hough_lines(space, min_points=10)
    figure, axes = plt.subplots(figsize=(6, 6))
    axes.plot(x, y, ".", color="grey", ms=4)
    for line in lines:
        print("  line at %.1f deg, radius %.1f mm, %d points" %
              (np.degrees(line.angle), line.radius, len(line.points)))
        axes.plot(x[line.points], y[line.points], "o", ms=4)
    axes.set(xlabel="x (mm)", ylabel="y (mm)", title="Hough lines", aspect="equal")
    picture(figure, "hough_lines.png")
    return lines


def line_fits():
    print("== Line fit: the straight tracks of a synthetic event")
    x = 30.0 * np.arange(12)
    figure, axes = plt.subplots(figsize=(7, 4.5))
    slopes = []
    for intercept, slope in ((-40.0, 0.35), (10.0, -0.12), (75.0, -0.6)):
        y = intercept + slope * x + rng.normal(0, 0.8, len(x))
        fit = ovutility.line_fit(x, y, 0.8)
        slopes.append(fit.GetSlope())
        print("  true slope %6.3f, fitted %6.3f +- %.3f; true y0 %6.1f, fitted %6.1f" %
              (slope, fit.GetSlope(), fit.GetSlopeUncertainty(), intercept,
               fit.GetIntercept()))
        axes.plot(x, y, "k.")
        axes.plot(x, [fit.GetValue(v) for v in x], "r-")
    axes.set(xlabel="x (mm)", ylabel="y (mm)", title="Line fits")
    picture(figure, "line_fits.png")
    return slopes


sizes = charge_clusters()
mesh = delaunay()
lines = hough()
slopes = line_fits()
assert max(sizes) >= 6, sizes
assert mesh.failed.size == 0 and len(mesh.triangles) > 0
assert len(lines) == 3, [len(line.points) for line in lines]
assert np.allclose(slopes, [0.35, -0.12, -0.6], atol=0.02), slopes

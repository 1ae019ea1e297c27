"""Delaunay edges and triangles as index arrays, against hand-worked meshes
and a brute-force check of the empty-circle property."""
import itertools

import numpy as np

import ovutility


def edge_set(edges):
    return {tuple(sorted(e)) for e in edges.tolist()}


def test_square_diagonal_follows_the_insertion_order():
    first = ovutility.delaunay([0, 1, 1, 0], [0, 0, 1, 1])
    assert edge_set(first.edges) == {(0, 1), (1, 2), (2, 3), (0, 3), (1, 3)}
    assert {tuple(sorted(t)) for t in first.triangles.tolist()} == {(0, 1, 3), (1, 2, 3)}
    second = ovutility.delaunay([1, 0, 0, 1], [0, 1, 0, 1])
    assert (2, 3) in edge_set(second.edges) and (0, 1) not in edge_set(second.edges)
    assert first.failed.size == 0


def test_grid_circle_and_collinear_counts():
    gx, gy = np.meshgrid(np.arange(4.0), np.arange(4.0))
    assert len(ovutility.delaunay(gx.ravel(), gy.ravel()).edges) == 33
    circle = [(5, 0), (4, 3), (3, 4), (0, 5), (-3, 4), (-4, 3), (-5, 0), (-4, -3), (-3, -4),
              (0, -5), (3, -4), (4, -3)]
    x, y = np.array(circle, dtype=float).T
    assert len(ovutility.delaunay(x, y).edges) == 21
    line = ovutility.delaunay(np.arange(6.0), 2 * np.arange(6.0))
    assert edge_set(line.edges) == {(i, i + 1) for i in range(5)}
    assert line.triangles.shape == (0, 3)


def test_a_repeated_point_stands_for_the_first():
    mesh = ovutility.delaunay([0, 1, 0, 0], [0, 0, 1, 0])
    assert edge_set(mesh.edges) == {(0, 1), (1, 2), (0, 2)}


def test_random_points_brute_force():
    rng = np.random.default_rng(30)
    x, y = rng.uniform(0, 100, size=(2, 80))
    mesh = ovutility.delaunay(x, y)
    assert mesh.failed.size == 0
    points = np.column_stack([x, y])
    triangles = mesh.triangles
    # No point lies inside the circle through the corners of any triangle.
    for a, b, c in triangles:
        pa, pb, pc = points[a], points[b], points[c]
        matrix = np.array([[p[0] - pa[0], p[1] - pa[1], 0.0] for p in (pb, pc)])
        ux, uy = np.linalg.solve(2 * matrix[:, :2], (matrix[:, :2]**2).sum(1))
        radius2 = ux**2 + uy**2
        inside = ((points - pa - (ux, uy))**2).sum(1) < radius2 * (1 - 1e-9)
        assert not inside.any()
    # Triangles tile the convex hull: their areas add up to the hull's, and
    # the edges are exactly the sides of the triangles.
    def area(t):
        (x0, y0), (x1, y1), (x2, y2) = points[list(t)]
        return abs((x1 - x0) * (y2 - y0) - (x2 - x0) * (y1 - y0)) / 2
    hull = convex_hull(points)
    hull_area = sum(area((hull[0], hull[i], hull[i + 1])) for i in range(1, len(hull) - 1))
    assert np.isclose(sum(area(t) for t in triangles), hull_area)
    sides = {tuple(sorted(p)) for t in triangles.tolist() for p in itertools.combinations(t, 2)}
    assert edge_set(mesh.edges) == sides
    assert len(sides) == 3 * len(x) - 3 - len(hull)


def convex_hull(points):
    """Indices of the hull's corners, by the monotone chain."""
    order = sorted(range(len(points)), key=lambda i: tuple(points[i]))

    def cross(o, a, b):
        return ((points[a][0] - points[o][0]) * (points[b][1] - points[o][1]) -
                (points[a][1] - points[o][1]) * (points[b][0] - points[o][0]))

    chains = []
    for sequence in (order, order[::-1]):
        chain = []
        for i in sequence:
            while len(chain) >= 2 and cross(chain[-2], chain[-1], i) <= 0:
                chain.pop()
            chain.append(i)
        chains.append(chain[:-1])
    return chains[0] + chains[1]


def test_no_points():
    mesh = ovutility.delaunay([], [])
    assert mesh.edges.shape == (0, 2) and mesh.triangles.shape == (0, 3)

"""NumPy in and out: hit selections from arrays, clusters, triangulations,
Hough lines and line fits back as arrays and index lists."""
from collections import namedtuple

import numpy as np
import ROOT

_bridge = ROOT.ovutility_bridge
ORVEX = ROOT.ORVEX

HitArrays = namedtuple("HitArrays", "position charge geom_id")
HitArrays.__doc__ = "Positions (n, 3), charges (n,) and channels (n,) of a selection's hits."

Clusters = namedtuple("Clusters", "hits members selection")
Clusters.__doc__ = ("Combo hits as HitArrays, the places of each one's constituents in the "
                    "input selection, and the selection of combo hits itself.")

Triangulation = namedtuple("Triangulation", "edges triangles failed mesh")
Triangulation.__doc__ = ("Edges (m, 2) and triangles (k, 3) as indices into the input points, "
                         "the points whose insertion failed, and the closed mesh.")

HoughLine = namedtuple("HoughLine", "angle radius weight points line")
HoughLine.__doc__ = "A Hough line, the indices of its points, and the ORVEX::IHoughLine."


def _doubles(values, n=None):
    array = np.ascontiguousarray(values, dtype=np.float64)
    if n is not None:
        array = np.ascontiguousarray(np.broadcast_to(array, (n,)))
    return array


def _longs(vector):
    if vector.empty():
        return np.zeros(0, dtype=np.int64)
    return np.frombuffer(vector.data(), dtype=np.int64, count=vector.size()).copy()


def _groups(groups):
    flat = _longs(groups.indices)
    return np.split(flat, _longs(groups.ends)[:-1]) if groups.ends.size() else []


class _HitFunctions:
    """``ovutility.hits(x, y, z, charge)`` makes a selection; ``ovutility.hits.Unique``
    and the other attributes are the C++ functions of the namespace ``hits``."""

    def __call__(self, x, y, z, charge, geom_id=None, name="hits", title="Hit Handles"):
        """A new ORVEX::IHitSelection of ISingleHit objects, one per array entry.

        Scalars spread over all hits.  Channels (``geom_id``) count from 0 when
        not given."""
        x, y, z, charge = [np.ascontiguousarray(a, dtype=np.float64) for a in
                           np.broadcast_arrays(*np.atleast_1d(x, y, z, charge))]
        n = len(x)
        ids = np.arange(n, dtype=np.int32) if geom_id is None else np.ascontiguousarray(
            np.broadcast_to(np.asarray(geom_id, dtype=np.int32), (n,)))
        selection = ORVEX.IHitSelection(name, title)
        if n:
            _bridge.FillHits(selection, n, x, y, z, charge, ids)
        return selection

    def __getattr__(self, name):
        return getattr(ROOT.hits, name)


hits = _HitFunctions()


def hit_arrays(selection):
    """The positions, charges and channels of the hits of ``selection``."""
    n = len(selection)
    position = np.zeros((n, 3))
    charge = np.zeros(n)
    geom_id = np.zeros(n, dtype=np.int32)
    if n:
        _bridge.ReadHits(selection, position, charge, geom_id)
    return HitArrays(position, charge, geom_id)


def members(groups, selection):
    """For each selection in ``groups``, the places of its hits in ``selection``
    (by identity of the hit objects; -1 for a hit that is not there)."""
    wanted = ROOT.std.vector["const ORVEX::IHitSelection*"]()
    for group in groups:
        wanted.push_back(group)
    return _groups(_bridge.SelectionMembers(wanted, selection))


def _combo_clusters(combos, selection):
    return Clusters(hit_arrays(combos), _groups(_bridge.ComboMembers(combos, selection)), combos)


def charge_clusters(selection, x_gap, y_gap, z_gap):
    """ORVEX::IChargeClusters(x_gap, y_gap, z_gap) on ``selection``."""
    return _combo_clusters(ORVEX.IChargeClusters(x_gap, y_gap, z_gap)(selection), selection)


def charge_clusters_2d(selection, x_gap, y_gap, precision, plane, charge_ratio=None,
                       max_hits=None):
    """ORVEX::IChargeClusters2D(x_gap, y_gap, precision, plane) on ``selection``;
    ``plane`` is the normal, a TVector3 or three numbers."""
    if not isinstance(plane, ROOT.TVector3):
        plane = ROOT.TVector3(*[float(c) for c in plane])
    clusterer = ORVEX.IChargeClusters2D(x_gap, y_gap, precision, plane)
    if charge_ratio is not None:
        clusterer.SetChargeRatioCut(charge_ratio)
    if max_hits is not None:
        clusterer.SetMaxHitsToCluster(max_hits)
    return _combo_clusters(clusterer(selection), selection)


def density_clusters(selection, min_points, epsilon, min_size=None):
    """ORVEX::IDensityCluster(min_points, epsilon) on ``selection``: the places
    of each cluster's hits in ``selection``."""
    clusterer = ORVEX.IDensityCluster(min_points, epsilon)
    if min_size is not None:
        clusterer.SetMinClusterSize(min_size)
    clusterer.Cluster(selection)
    return members([clusterer.GetCluster(i) for i in range(clusterer.GetClusterCount())],
                   selection)


def delaunay(x, y):
    """The ORVEX::IDelaunay2D triangulation of the points (x, y), closed into
    edges.  A point equal to an earlier one stands for that one."""
    x = _doubles(x)
    y = _doubles(y, len(x))
    mesh = ORVEX.IDelaunay2D()
    result = _bridge.Triangulate(mesh, len(x), x, y) if len(x) else _bridge.Triangulation()
    return Triangulation(_longs(result.edges).reshape(-1, 2),
                         _longs(result.triangles).reshape(-1, 3), _longs(result.failed), mesh)


def hough_space(x, y, xmin, ymin, xmax, ymax, line_width, over_sampling=2.0,
                coherence_length=0.0, weight=1.0):
    """An ORVEX::IHoughLines space holding the points (x, y), each with its
    weight; ``hough_lines`` reads the points back as indices into x and y."""
    x = _doubles(x)
    n = len(x)
    space = ORVEX.IHoughLines(xmin, ymin, xmax, ymax, line_width, over_sampling,
                              coherence_length)
    if n:
        _bridge.FillHough(space, n, x, _doubles(y, n), _doubles(weight, n))
    return space


def hough_lines(space, min_points=1):
    """The lines of ``space`` holding at least ``min_points`` points, heaviest
    first, each with the indices of its points."""
    found = _bridge.LinesWithPoints(space, min_points)
    lines = space.GetLines()
    result = []
    for place, points in zip(found.lines, _groups(found.points)):
        line = lines[place]
        result.append(HoughLine(line.GetAngle(), line.GetRadius(), line.GetWeight(), points,
                                line))
    result.sort(key=lambda line: -line.weight)
    return result


def line_fit(x, y, sigma=1.0):
    """An ORVEX::ILineFit of the points (x, y) with uncertainties ``sigma``
    (a scalar or an array)."""
    x = _doubles(x)
    n = len(x)
    return ORVEX.ILineFit(n, x.copy(), _doubles(y, n).copy(), _doubles(sigma, n).copy())

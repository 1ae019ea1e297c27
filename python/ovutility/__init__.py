"""ovUtility from Python.

Importing the package loads libovHost and libovUtility from the package's
own ``lib`` folder, makes the headers of its ``include`` folder known to
ROOT's interpreter, and exposes the library's classes under ``ovutility``
(``ovutility.IDelaunay2D``, ``ovutility.IChargeClusters``, ...), with the
``ORVEX`` namespace as it is.  Objects handed to a handle, a mesh, a Hough
space or a particle filter belong to the receiver from then on; selections
made by the charge clusterers belong to Python.  NumPy helpers build hit
selections from arrays and give results back as arrays.
"""
import os

import ROOT

_here = os.path.dirname(os.path.abspath(__file__))
_libraries = ("ovHost", "ovUtility")


def _load():
    include = os.path.join(_here, "include")
    for library in _libraries:
        ROOT.gInterpreter.AddIncludePath(os.path.join(include, library))
    ROOT.gInterpreter.AddIncludePath(_here)
    for library in _libraries:
        path = os.path.join(_here, "lib", "lib%s.so" % library)
        if ROOT.gSystem.Load(path) < 0:
            raise ImportError("ovutility: cannot load " + path)
    for library in _libraries:
        folder = os.path.join(include, library)
        for header in sorted(os.listdir(folder)):
            if header.endswith(".hxx"):
                _declare('#include "%s"' % header)
    _declare('#include "bridge.hxx"')


def _declare(code):
    if not ROOT.gInterpreter.Declare(code):
        raise ImportError("ovutility: ROOT's interpreter refused " + code)


_load()

ORVEX = ROOT.ORVEX
HitTruthInfo = ROOT.HitTruthInfo
__version__ = ORVEX.IovUtility_version.Get().GetVersion().lstrip("v")


def __getattr__(name):
    """The library's classes, ``ovutility.IMesh`` for ``ORVEX::IMesh``."""
    try:
        return getattr(ORVEX, name)
    except AttributeError:
        raise AttributeError("module 'ovutility' has no attribute %r" % name) from None


def _release_argument(cls, method):
    """``cls.method(obj, ...)`` hands ``obj`` to the receiver: Python lets go of it.
    The receiver keeps it even when the call throws."""
    call = getattr(cls, method)

    def releasing(self, obj, *args):
        if obj is not None:
            ROOT.SetOwnership(obj, False)
        return call(self, obj, *args)

    releasing.__doc__ = call.__doc__
    setattr(cls, method, releasing)


def _own_result(cls, method):
    """``cls.method(...)`` returns a new object that belongs to the caller."""
    call = getattr(cls, method)

    def owning(self, *args):
        result = call(self, *args)
        if result:
            ROOT.SetOwnership(result, True)
        return result

    owning.__doc__ = call.__doc__
    setattr(cls, method, owning)


for _cls, _method in ((ORVEX.IMesh, "AddPoint"), (ORVEX.IMesh, "AddEdge"),
                      (ORVEX.IDelaunay2D, "AddPoint"), (ORVEX.IHoughLines, "AddPoint"),
                      (ORVEX.IParticleFilter, "AddState")):
    _release_argument(_cls, _method)
for _cls in (ORVEX.IChargeClusters, ORVEX.IChargeClusters2D):
    _own_result(_cls, "__call__")


@ROOT.pythonization("IHandle<", ns="ORVEX", is_prefix=True)
def _handle_takes_its_object(cls, name):
    # A handle made from a hit owns the hit; one made from another handle
    # shares it, and the other handle stays Python's.
    init = cls.__init__

    def __init__(self, *args):
        init(self, *args)
        if args and args[0] is not None and not isinstance(args[0], ORVEX.IVHandle):
            ROOT.SetOwnership(args[0], False)

    cls.__init__ = __init__


from .arrays import (  # noqa: E402  (needs the library loaded above)
    Clusters, HitArrays, HoughLine, Triangulation, charge_clusters, charge_clusters_2d,
    delaunay, density_clusters, hit_arrays, hits, hough_lines, hough_space, line_fit, members)

"""Loading, exposure and ownership of the ovutility package."""
import gc
import os

import ROOT

import ovutility


def test_libraries_come_from_the_package_folder():
    package = os.path.dirname(ovutility.__file__)
    loaded = {os.path.realpath(p) for p in ROOT.gSystem.GetLibraries("", "", False).split()}
    for library in ("libovHost.so", "libovUtility.so"):
        assert os.path.realpath(os.path.join(package, "lib", library)) in loaded


def test_version_is_the_library_record():
    assert ovutility.__version__ == "999"
    assert ovutility.ORVEX.IovUtility_version.Get().GetVersion() == "v999"


def test_classes_are_exposed_under_the_package():
    for name in ("IDelaunay2D", "IChargeClusters", "IChargeClusters2D", "IDensityCluster",
                 "IHoughLines", "ILineFit", "IKalmanFilter", "IMeshXYPoint", "IHitSelection",
                 "ISingleHit"):
        assert getattr(ovutility, name) is getattr(ROOT.ORVEX, name)
    assert ovutility.ORVEX is ROOT.ORVEX
    assert ovutility.HitTruthInfo is ROOT.HitTruthInfo


def test_unknown_names_raise_attribute_error():
    try:
        ovutility.NoSuchClass
    except AttributeError as error:
        assert "NoSuchClass" in str(error)
    else:
        raise AssertionError("no AttributeError")


def test_a_handle_takes_its_hit():
    hit = ovutility.ISingleHit(7, 2.5)
    assert hit.__python_owns__
    handle = ovutility.IHandle["ORVEX::IHit"](hit)
    assert not hit.__python_owns__
    copy = ovutility.IHandle["ORVEX::IHit"](handle)
    assert handle.__python_owns__ and copy.__python_owns__
    del hit, handle
    gc.collect()
    assert copy.GetCharge() == 2.5 and copy.GetGeomId().AsInt() == 7


def test_a_mesh_takes_its_points_and_edges():
    mesh = ovutility.IMesh()
    a, b = ovutility.IMeshXYPoint(0, 0), ovutility.IMeshXYPoint(1, 0)
    assert mesh.AddPoint(a) == a and mesh.AddPoint(b) == b
    edge = ovutility.IMeshEdge(a, b)
    mesh.AddEdge(edge)
    assert not (a.__python_owns__ or b.__python_owns__ or edge.__python_owns__)
    del a, b, edge
    gc.collect()
    assert mesh.GetPoints().size() == 2 and mesh.GetEdges().size() == 1

    triangulation = ovutility.IDelaunay2D()
    point = ovutility.IMeshXYPoint(2, 3)
    triangulation.AddPoint(point)
    assert not point.__python_owns__


def test_a_hough_space_takes_its_points():
    ROOT.gInterpreter.Declare("""
        struct PackageTestHoughPoint : ORVEX::IHoughPoint {
            double GetX() const override { return 1.0; }
            double GetY() const override { return 2.0; }
        };""")
    space = ovutility.IHoughLines(-10, -10, 10, 10, 1, 1, 0)
    point = ROOT.PackageTestHoughPoint()
    space.AddPoint(point)
    assert not point.__python_owns__
    del point
    gc.collect()
    assert space.GetPoints()[0].GetY() == 2.0


def test_clusterer_results_belong_to_python():
    selection = ovutility.hits([0.0], [0.0], [0.0], [1.0])
    result = ovutility.IChargeClusters(1, 1, 1)(selection)
    assert result.__python_owns__ and len(result) == 1
    result2d = ovutility.IChargeClusters2D(1, 1, 1, ROOT.TVector3(0, 0, 1))(selection)
    assert result2d.__python_owns__ and len(result2d) == 1


def test_a_particle_filter_takes_its_states():
    ROOT.gInterpreter.Declare("""
        struct PackageTestState : ORVEX::IParticleState {
            explicit PackageTestState(double p) { SetProbability(p); }
            ORVEX::IParticleState* PropagateState() override { return new PackageTestState(1); }
        };""")
    particles = ovutility.IParticleFilter()
    state = ROOT.PackageTestState(1.0)
    particles.AddState(state, 1.0)
    assert not state.__python_owns__
    # A state refused with an exception is the filter's all the same.
    refused = ROOT.PackageTestState(0.0)
    try:
        particles.AddState(refused, 1.0)
    except ROOT.ORVEX.EBadProbability:
        pass
    else:
        raise AssertionError("no EBadProbability")
    assert not refused.__python_owns__
    del particles, state, refused
    gc.collect()

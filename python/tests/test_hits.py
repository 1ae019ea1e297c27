"""Hit selections from arrays and back, len() and iteration."""
import numpy as np

import ovutility


def test_hits_from_arrays_read_back_one_by_one():
    x, y, z = [1.0, 2.0, 3.0], [4.0, 5.0, 6.0], [7.0, 8.0, 9.0]
    selection = ovutility.hits(x, y, z, [10.0, 20.0, 30.0], name="event", title="An event")
    assert selection.GetName() == "event" and selection.GetTitle() == "An event"
    assert len(selection) == 3
    for i, hit in enumerate(selection):
        position = hit.GetPosition()
        assert (position.X(), position.Y(), position.Z()) == (x[i], y[i], z[i])
        assert hit.GetCharge() == 10.0 * (i + 1)
        assert hit.GetGeomId().AsInt() == i


def test_scalars_spread_over_all_hits():
    selection = ovutility.hits(np.arange(4), 0, 1.5, 2.0, geom_id=9)
    arrays = ovutility.hit_arrays(selection)
    np.testing.assert_array_equal(arrays.position,
                                  [[0, 0, 1.5], [1, 0, 1.5], [2, 0, 1.5], [3, 0, 1.5]])
    np.testing.assert_array_equal(arrays.charge, [2.0] * 4)
    np.testing.assert_array_equal(arrays.geom_id, [9] * 4)


def test_hit_arrays_round_trip():
    rng = np.random.default_rng(5)
    position = rng.uniform(-100, 100, size=(50, 3))
    charge = rng.uniform(0, 10, size=50)
    ids = rng.integers(0, 1000, size=50)
    arrays = ovutility.hit_arrays(
        ovutility.hits(position[:, 0], position[:, 1], position[:, 2], charge, geom_id=ids))
    np.testing.assert_array_equal(arrays.position, position)
    np.testing.assert_array_equal(arrays.charge, charge)
    np.testing.assert_array_equal(arrays.geom_id, ids)


def test_empty_selection():
    selection = ovutility.hits([], [], [], [])
    assert len(selection) == 0 and list(selection) == []
    assert ovutility.hit_arrays(selection).position.shape == (0, 3)


def test_hit_functions_work_on_array_made_selections():
    selection = ovutility.hits([0, 1, 2], 0, 0, 1.0, geom_id=[5, -1, 5])
    ovutility.hits.Unique(selection)
    assert sorted(ovutility.hit_arrays(selection).geom_id) == [-1, 5]


def test_members_finds_hits_by_identity():
    selection = ovutility.hits([0, 1, 2, 3], 0, 0, 1.0)
    part = ovutility.IHitSelection()
    part.push_back(selection[2])
    part.push_back(selection[0])
    other = ovutility.hits([0], 0, 0, 1.0)
    part.push_back(other[0])
    (places,) = ovutility.members([part], selection)
    np.testing.assert_array_equal(places, [2, 0, -1])

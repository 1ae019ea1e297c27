"""Combo hits and clusters back as arrays and index lists."""
import numpy as np

import ovutility


def reference_charge_clusters(position, charge, gaps):
    """Clusters grown from the largest free hit to every free hit in the box of
    a member, with at most 1.2 times that member's charge."""
    free = sorted(range(len(charge)), key=lambda i: -charge[i])  # stable
    clusters = []
    while free:
        seed = free.pop(0)
        if charge[seed] <= 0:
            continue
        members = [seed]
        grown = True
        while grown:
            grown = False
            for candidate in list(free):
                if any(charge[candidate] <= 1.2 * charge[m] and
                       np.all(np.abs(position[candidate] - position[m]) <= gaps)
                       for m in members):
                    members.append(candidate)
                    free.remove(candidate)
                    grown = True
        clusters.append(members)
    return clusters


def test_charge_clusters_by_hand():
    # 13 at the origin takes 5 (1 mm away); 7 sits 1 mm beyond the 5 and
    # 2 mm from the 13, outside its 1.5 mm box, and is above 1.2 times 5.
    selection = ovutility.hits([0, 1, 2], 0, 0, [13.0, 5.0, 7.0])
    clusters = ovutility.charge_clusters(selection, 1.5, 1.5, 1.5)
    assert [m.tolist() for m in clusters.members] == [[0, 1], [2]]
    np.testing.assert_array_equal(clusters.hits.charge, [18.0, 7.0])
    np.testing.assert_allclose(clusters.hits.position, [[5.0 / 18.0, 0, 0], [2, 0, 0]])
    assert len(clusters.selection) == 2


def test_charge_clusters_against_brute_force():
    rng = np.random.default_rng(21)
    for _ in range(10):
        position = rng.uniform(0, 20, size=(60, 3))
        charge = rng.uniform(0.5, 10, size=60)
        selection = ovutility.hits(position[:, 0], position[:, 1], position[:, 2], charge)
        gaps = np.array([3.0, 2.5, 4.0])
        clusters = ovutility.charge_clusters(selection, *gaps)
        expected = reference_charge_clusters(position, charge, gaps)
        assert [sorted(m.tolist()) for m in clusters.members] == [sorted(m) for m in expected]
        for combo, members in zip(range(len(expected)), clusters.members):
            q = charge[members]
            assert np.isclose(clusters.hits.charge[combo], q.sum())
            np.testing.assert_allclose(clusters.hits.position[combo],
                                       (q[:, None] * position[members]).sum(0) / q.sum())


def test_charge_clusters_2d_by_hand():
    # Planes along z (the normal); hits of one plane within 1 mm join, the
    # hit 5 mm up is a plane of its own.
    selection = ovutility.hits([0.0, 0.8, 0.0, 10.0], 0, [0.0, 0.0, 5.0, 0.0],
                               [4.0, 2.0, 3.0, 1.0])
    clusters = ovutility.charge_clusters_2d(selection, 1.0, 1.0, 0.5, (0, 0, 1))
    assert sorted(sorted(m.tolist()) for m in clusters.members) == [[0, 1], [2], [3]]
    charges = {tuple(sorted(m.tolist())): q for m, q in zip(clusters.members,
                                                             clusters.hits.charge)}
    assert charges == {(0, 1): 6.0, (2,): 3.0, (3,): 1.0}
    # Above the size limit a group isn't combined at all.
    limited = ovutility.charge_clusters_2d(selection, 1.0, 1.0, 0.5, (0, 0, 1), max_hits=1)
    assert sorted(m.tolist() for m in limited.members) == [[0], [1], [2], [3]]


def test_density_clusters_by_hand():
    # Two tight groups of five hits 100 mm apart along z, and a lone hit; the
    # distance is taken in (z, y) for hits that measure both x and y.
    z = [0, 1, 2, 1, 1, 100, 101, 102, 101, 101, 50]
    y = [0, 0, 0, 1, -1, 0, 0, 0, 1, -1, 50]
    selection = ovutility.hits(0, y, z, 1.0)
    groups = ovutility.density_clusters(selection, 3, 1.5)
    # The first hit of a group has three neighbours (1 and sqrt 2 away) and
    # seeds the cluster; its second hit has four, one too few to take over.
    # Growing from the seeds counts free hits only: the third hit, 1 away
    # from the second alone, has too few of them and stays out.
    assert [g.tolist() for g in groups] == [[1, 3, 4, 0], [6, 8, 9, 5]]

"""The reconstruction pass end to end, through its command line: the same
output sequentially and on Dask, the physics on a fixed seed, and bad input
files refused.  The build directory comes from RECO_BUILD_DIR."""
import os
import subprocess
import sys
from pathlib import Path

import pytest

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE))
import reco  # noqa: E402

BUILD_DIR = os.environ.get("RECO_BUILD_DIR", str(HERE.parent.parent / "build"))


def run(*args):
    return subprocess.run([sys.executable, str(HERE / "reco.py"), "--build-dir", BUILD_DIR,
                           *map(str, args)], capture_output=True, text=True)


def run_ok(*args):
    result = run(*args)
    assert result.returncode == 0, result.stderr[-3000:]
    return result


def read_tree(path):
    """Every branch of the tree "events", entry by entry, as Python values."""
    import ROOT
    df = ROOT.RDataFrame("events", str(path))
    columns = sorted(str(c) for c in df.GetColumnNames())
    data = df.AsNumpy(columns)
    return {c: [list(v) if hasattr(v, "__len__") else v.item() for v in data[c]]
            for c in columns}


def test_simulation_is_seeded(tmp_path):
    run_ok("simulate", "--events", 4, "--seed", 3, "--output", tmp_path / "a.root")
    run_ok("simulate", "--events", 4, "--seed", 3, "--output", tmp_path / "b.root")
    run_ok("simulate", "--events", 4, "--seed", 4, "--output", tmp_path / "c.root")
    a, b, c = (read_tree(tmp_path / name) for name in ("a.root", "b.root", "c.root"))
    assert a == b
    assert a["hit_x"] != c["hit_x"]


def test_sequential_and_dask_identical(tmp_path):
    run_ok("simulate", "--events", 20, "--seed", 5, "--output", tmp_path / "sim.root")
    run_ok("reconstruct", "--input", tmp_path / "sim.root", "--output", tmp_path / "seq.root")
    result = run_ok("reconstruct", "--input", tmp_path / "sim.root", "--output",
                    tmp_path / "dask.root", "--workers", 2, "--partitions", 3)
    # The events really were split.
    assert "joined the outputs of 3 partitions" in result.stdout
    sequential, distributed = read_tree(tmp_path / "seq.root"), read_tree(tmp_path / "dask.root")
    assert sorted(sequential) == sorted(distributed)
    assert len(sequential["event"]) == 20
    assert sequential["event"] == list(range(20))
    for column in sequential:
        for entry, (a, b) in enumerate(zip(sequential[column], distributed[column])):
            assert a == b, f"{column}, entry {entry}"
    # Something was found, so that the comparison means something.
    assert sum(len(lines) for lines in sequential["pt"]) >= 40
    # The partitions' files are gone.
    assert sorted(p.name for p in tmp_path.iterdir()) == ["dask.root", "seq.root", "sim.root"]


def test_physics_on_a_fixed_seed(tmp_path):
    run_ok("simulate", "--events", 60, "--seed", 11, "--output", tmp_path / "sim.root")
    run_ok("reconstruct", "--input", tmp_path / "sim.root", "--output", tmp_path / "reco.root")
    summary, arrays = reco.summarize(tmp_path / "reco.root")
    assert summary["tracks_above_threshold"] >= 80
    assert summary["efficiency"] >= 0.90
    assert summary["fake_rate"] < 0.10
    assert abs(summary["pull_width"] - 1) < 0.2
    # The pulls come from the truth, one per found track.
    assert len(arrays["pulls"]) >= summary["tracks_above_threshold"] * 0.9


def write_tree(path, columns):
    import ROOT
    df = ROOT.RDataFrame(3)
    for name, expression in columns.items():
        df = df.Define(name, expression)
    df.Snapshot("events", str(path), list(columns))


@pytest.mark.parametrize("case", ["missing", "not_root", "wrong_tree", "missing_branch",
                                  "wrong_type"])
def test_bad_input(tmp_path, case):
    import ROOT
    source = tmp_path / "input.root"
    expected = {
        "missing": f"input file {source} does not exist",
        "not_root": f"input file {source} is not a ROOT file",
        "wrong_tree": f"input file {source} has no TTree named 'events'",
        "missing_branch": f"input file {source}: branch 'hit_track' is missing",
        "wrong_type": (f"input file {source}: branch 'hit_y' is vector<float>, "
                       "expected vector<double>"),
    }[case]
    if case == "not_root":
        source.write_text("not a ROOT file\n")
    elif case == "wrong_tree":
        handle = ROOT.TFile(str(source), "RECREATE")
        ROOT.TTree("hits", "hits").Write()
        handle.Close()
    elif case in ("missing_branch", "wrong_type"):
        columns = {"event": "rdfentry_"}
        for name in ("hit_x", "hit_y", "hit_z", "hit_q"):
            columns[name] = "std::vector<double>{1.0}"
        if case == "wrong_type":
            columns["hit_y"] = "std::vector<float>{1.0f}"
        write_tree(source, columns)
    output = tmp_path / "out" / "reco.root"
    result = run("reconstruct", "--input", source, "--output", output)
    assert result.returncode == 2
    assert result.stderr.strip().splitlines()[-1] == f"reco.py: error: {expected}"
    assert not output.parent.exists() or not any(output.parent.iterdir())

#!/usr/bin/env python3
"""A reconstruction pass over simulated events of a small time projection
chamber, on ROOT's RDataFrame: sequentially, or on Dask worker processes.

Two steps, each a subcommand:

  simulate     N events, seeded, into one TTree "events" (hits and truth)
  reconstruct  the events of such a file into a TTree "events" of clusters,
               lines and fits, plus summary pictures

and "all", which does both.  Reconstruction runs sequentially by default
(--workers 0), on a local Dask cluster of N single-threaded worker processes
(--workers N), or on the workers of an existing Dask scheduler
(--scheduler tcp://HOST:PORT).  The library assumes one thread per process,
so ROOT's implicit multi-threading is never switched on: parallelism comes
from processes only.  Every event is seeded from its own number, so the
output does not depend on how the events are split between workers.

Examples:
  reco.py all --events 1000 --workers 2 --output-dir build/reco
  reco.py reconstruct --input sim.root --output reco.root --scheduler tcp://head:8786
"""
import argparse
import json
import os
import sys
import tempfile
import time
from pathlib import Path

HERE = Path(__file__).resolve().parent
REPO = HERE.parent.parent

#: The input branches the reconstruction reads, with their types.
INPUT_BRANCHES = {
    "event": "ULong64_t",
    "hit_x": "vector<double>",
    "hit_y": "vector<double>",
    "hit_z": "vector<double>",
    "hit_q": "vector<double>",
    "hit_track": "vector<int>",
    "track_pt": "vector<double>",
    "track_tanl": "vector<double>",
    "track_phi": "vector<double>",
    "track_x0": "vector<double>",
    "track_y0": "vector<double>",
    "track_z0": "vector<double>",
    "track_q": "vector<int>",
    "track_nhits": "vector<int>",
}
SIM_COLUMNS = [name for name in INPUT_BRANCHES if name != "event"]
SIM_TIME_COLUMNS = ["time_tracker", "time_drift"]
#: The truth carried over into the output, to measure the reconstruction.
TRUTH_COLUMNS = [name for name in SIM_COLUMNS if name.startswith("track_")]
RECO_COLUMNS = [
    "cluster_x", "cluster_y", "cluster_z", "cluster_q", "cluster_n",
    "line_angle", "line_radius", "line_n",
    "fit_tanl", "fit_tanl_err", "fit_x0", "fit_chi2", "fit_n", "fit_ndf",
    "circle_z", "circle_y", "circle_phi", "circle_kappa", "circle_kappa_err", "circle_chi2",
    "pt", "pt_err", "charge",
    "kal_x", "kal_y", "kal_dxdz", "kal_dydz", "kal_dxdz_err", "kal_dydz_err", "kal_chi2",
    "kal_ndf",
    "match_track", "match_purity",
]
RECO_TIME_COLUMNS = ["time_clusters", "time_hough", "time_linefit", "time_kalman",
                     "time_minuit"]
#: Tracks above this transverse momentum (MeV/c), with at least this many
#: hits, are the ones the reconstruction is expected to find.
PT_THRESHOLD = 300.0
MIN_TRACK_HITS = 60
#: Entries per cluster of the simulated file.
EVENTS_PER_CLUSTER = 5


class InputError(Exception):
    """An input file the reconstruction can't read."""


def load_libraries(build_dir):
    """Loads the reconstruction library and declares its functions to ROOT's
    interpreter; run in this process and, through the distributed
    initialisation hook, in every worker."""
    import ROOT
    for include in (REPO / "src", REPO / "host", HERE):
        ROOT.gInterpreter.AddIncludePath(str(include))
    library = str(Path(build_dir) / "lib" / "libovReco.so")
    if ROOT.gSystem.Load(library) < 0:
        raise RuntimeError(f"cannot load {library}")
    ROOT.gInterpreter.Declare('#include "RecoEvent.hxx"')


def check_input(path):
    """Raises InputError unless `path` holds the tree "events" with every
    branch the reconstruction reads, of the right type."""
    import ROOT
    if not os.path.isfile(path):
        raise InputError(f"input file {path} does not exist")
    try:
        handle = ROOT.TFile.Open(str(path), "READ")
    except OSError:
        handle = None
    if not handle or handle.IsZombie():
        raise InputError(f"input file {path} is not a ROOT file")
    try:
        tree = handle.Get("events")
        if not tree or not tree.InheritsFrom("TTree"):
            raise InputError(f"input file {path} has no TTree named 'events'")
        for name, wanted in INPUT_BRANCHES.items():
            branch = tree.GetBranch(name)
            if not branch:
                raise InputError(f"input file {path}: branch '{name}' is missing")
            found = branch.GetClassName() or branch.GetLeaf(name).GetTypeName()
            if found != wanted:
                raise InputError(
                    f"input file {path}: branch '{name}' is {found}, expected {wanted}")
    finally:
        handle.Close()


def write_atomically(output, write):
    """Calls write(temporary_path) and moves the result to `output` only when
    it succeeded, so that a failure leaves no half-written file."""
    output = Path(output)
    output.parent.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=output.parent, prefix=".reco-") as scratch:
        temporary = Path(scratch) / output.name
        write(temporary)
        os.replace(temporary, output)


def simulate(events, seed, output, timing):
    import ROOT
    df = ROOT.RDataFrame(events).Define("event", "rdfentry_")
    df = df.Define("sim", f"reco::Simulate(event, {seed}u)")
    columns = SIM_COLUMNS + (SIM_TIME_COLUMNS if timing else [])
    for column in columns:
        df = df.Define(column, f"sim.{column}")
    ROOT.RDF.Experimental.AddProgressBar(ROOT.RDF.AsRNode(df))
    # Distributed RDataFrame splits a file at its clusters: small ones let
    # even a short file spread over several workers.
    options = ROOT.RDF.RSnapshotOptions()
    options.fAutoFlush = EVENTS_PER_CLUSTER
    start = time.perf_counter()
    write_atomically(output, lambda path: df.Snapshot("events", str(path), ["event"] + columns,
                                                      options))
    elapsed = time.perf_counter() - start
    print(f"simulated {events} events in {elapsed:.1f} s into {output}")


def make_client(workers, scheduler):
    from dask.distributed import Client, LocalCluster
    if scheduler:
        return Client(scheduler), None
    cluster = LocalCluster(n_workers=workers, threads_per_worker=1, processes=True,
                           dashboard_address=None)
    return Client(cluster), cluster


def define_reconstruction(df, timing):
    df = df.Define("reco", "reco::Reconstruct(hit_x, hit_y, hit_z, hit_q, hit_track)")
    columns = RECO_COLUMNS + (RECO_TIME_COLUMNS if timing else [])
    for column in columns:
        df = df.Define(column, f"reco.{column}")
    return df, ["event"] + TRUTH_COLUMNS + columns


def merge_parts(parts, output):
    """Joins the files written by the partitions, in partition order."""
    import ROOT
    merger = ROOT.TFileMerger(False)
    merger.SetPrintLevel(0)
    for part in parts:
        merger.AddFile(str(part), False)
    merger.OutputFile(str(output), "RECREATE")
    if not merger.Merge():
        raise RuntimeError("merging the partitions' outputs failed")


def reconstruct(input_path, output, build_dir, workers=0, scheduler=None, partitions=None,
                timing=False):
    """Reconstructs `input_path` into `output`; returns events per second of
    the event loop."""
    import ROOT
    check_input(input_path)
    events = ROOT.RDataFrame("events", str(input_path)).Count().GetValue()
    if not workers and not scheduler:
        df, columns = define_reconstruction(ROOT.RDataFrame("events", str(input_path)), timing)
        ROOT.RDF.Experimental.AddProgressBar(ROOT.RDF.AsRNode(df))
        start = time.perf_counter()
        write_atomically(output, lambda path: df.Snapshot("events", str(path), columns))
        return events / (time.perf_counter() - start)

    distributed = ROOT.RDF.Experimental.Distributed
    client, cluster = make_client(workers, scheduler)
    try:
        distributed.initialize(load_libraries, str(build_dir))
        nparts = partitions or max(2 * len(client.scheduler_info()["workers"]), 1)
        nparts = max(min(nparts, events), 1)
        start = time.perf_counter()

        def write(path):
            # Partition i writes <stem>_part_<i>.root beside the final file;
            # the workers must see this directory (a shared file system on a
            # batch cluster).
            base = path.with_name(path.stem + "_part.root")
            df = distributed.Dask.RDataFrame("events", str(Path(input_path).resolve()),
                                             daskclient=client, npartitions=nparts)
            df, columns = define_reconstruction(df, timing)
            df.Snapshot("events", str(base), columns)
            # A file of fewer clusters than partitions makes fewer tasks.
            parts = [path.with_name(f"{path.stem}_part_{i}.root") for i in range(nparts)]
            written = [p for p in parts if p.exists()]
            merge_parts(written, path)
            print(f"joined the outputs of {len(written)} partitions")
            written = ROOT.RDataFrame("events", str(path)).Count().GetValue()
            if written != events:
                raise RuntimeError(f"{written} events written for {events} read")

        write_atomically(output, write)
        return events / (time.perf_counter() - start)
    finally:
        client.close()
        if cluster is not None:
            cluster.close()


def robust_width(values):
    import numpy as np
    if not len(values):
        return 0.0
    values = np.asarray(values)
    return float(1.4826 * np.median(np.abs(values - np.median(values))))


def summarize(path, timing=False):
    """The physics of a reconstructed file, computed from its truth:
    efficiency and fake rate, momentum resolution, pulls of the slopes."""
    import numpy as np
    import ROOT
    columns = ["track_pt", "track_tanl", "track_nhits", "match_track", "line_n", "fit_tanl",
               "fit_tanl_err", "pt", "pt_err"] + (RECO_TIME_COLUMNS if timing else [])
    data = ROOT.RDataFrame("events", str(path)).AsNumpy(columns)
    found, wanted, lines, fakes, clones = 0, 0, 0, 0, 0
    true_pt, pt_of_track, was_found = [], [], []
    pulls, pt_pulls, resolution, resolution_pt = [], [], [], []
    for i in range(len(data["track_pt"])):
        tracks_pt = np.asarray(data["track_pt"][i])
        tanl = np.asarray(data["track_tanl"][i])
        nhits = np.asarray(data["track_nhits"][i])
        match = np.asarray(data["match_track"][i])
        line_n = np.asarray(data["line_n"][i])
        lines += len(match)
        fakes += int(np.sum(match < 0))
        for track in range(len(tracks_pt)):
            on_track = np.flatnonzero(match == track)
            clones += max(len(on_track) - 1, 0)
            if nhits[track] >= MIN_TRACK_HITS:
                true_pt.append(tracks_pt[track])
                was_found.append(len(on_track) > 0)
                if tracks_pt[track] > PT_THRESHOLD:
                    wanted += 1
                    found += len(on_track) > 0
            if len(on_track) == 0:
                continue
            best = on_track[np.argmax(line_n[on_track])]
            pulls.append((data["fit_tanl"][i][best] - tanl[track]) / data["fit_tanl_err"][i][best])
            resolution.append(data["pt"][i][best] / tracks_pt[track] - 1)
            pt_pull = (data["pt"][i][best] - tracks_pt[track]) / data["pt_err"][i][best]
            # Minuit may give no covariance, or a fit may end without a value.
            if data["pt_err"][i][best] > 0 and np.isfinite(pt_pull):
                pt_pulls.append(pt_pull)
            resolution_pt.append(tracks_pt[track])
    pulls = np.asarray(pulls)
    summary = {
        "events": len(data["track_pt"]),
        "tracks_above_threshold": wanted,
        "efficiency": found / wanted if wanted else 0.0,
        "lines": lines,
        "fake_rate": fakes / lines if lines else 0.0,
        "clone_rate": clones / lines if lines else 0.0,
        "pull_mean": float(np.mean(pulls)) if len(pulls) else 0.0,
        "pull_width": float(np.std(pulls)) if len(pulls) else 0.0,
        # A robust width (1.4826 times the median absolute deviation): a few
        # tracks split between lines are measured over a short stretch.
        "pt_resolution": robust_width(resolution),
        "pt_pull_width": robust_width(pt_pulls),
    }
    if timing:
        summary["seconds_per_family"] = {
            column[len("time_"):]: float(np.sum(data[column])) for column in RECO_TIME_COLUMNS}
    arrays = {"true_pt": np.asarray(true_pt), "found": np.asarray(was_found), "pulls": pulls,
              "pt_pulls": np.asarray(pt_pulls),
              "resolution": np.asarray(resolution), "resolution_pt": np.asarray(resolution_pt)}
    return summary, arrays


def log_axis(ax):
    """A logarithmic momentum axis with plain numbers."""
    import matplotlib.ticker
    ax.set_xscale("log")
    ax.set_xticks([150, 200, 300, 500, 1000, 2000, 3000])
    ax.xaxis.set_major_formatter(matplotlib.ticker.ScalarFormatter())
    ax.xaxis.set_minor_formatter(matplotlib.ticker.NullFormatter())


def draw_pictures(summary, arrays, directory, rate=None):
    """The summary pictures, as PNG files in `directory`."""
    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    import numpy as np
    directory = Path(directory)
    directory.mkdir(parents=True, exist_ok=True)

    edges = np.array([100, 150, 200, 250, 300, 400, 600, 1000, 1500, 3000])
    centres = np.sqrt(edges[1:] * edges[:-1])
    totals, _ = np.histogram(arrays["true_pt"], edges)
    founds, _ = np.histogram(arrays["true_pt"][arrays["found"]], edges)
    with np.errstate(invalid="ignore", divide="ignore"):
        efficiency = founds / totals
        error = np.sqrt(efficiency * (1 - efficiency) / totals)
    fig, ax = plt.subplots(figsize=(7, 4.5))
    ax.errorbar(centres, efficiency, yerr=error, fmt="o")
    ax.axvline(PT_THRESHOLD, color="grey", linestyle="--")
    log_axis(ax)
    ax.set_ylim(0, 1.05)
    ax.set_xlabel("true transverse momentum (MeV/c)")
    ax.set_ylabel("track-finding efficiency")
    ax.set_title(f"efficiency above {PT_THRESHOLD:.0f} MeV/c: {summary['efficiency']:.3f}, "
                 f"fake rate {summary['fake_rate']:.3f}, clones {summary['clone_rate']:.3f}")
    fig.tight_layout()
    fig.savefig(directory / "efficiency.png")
    plt.close(fig)

    fig, (left, right) = plt.subplots(1, 2, figsize=(11, 4.5))
    left.hist(np.clip(arrays["resolution"], -0.5, 0.5), bins=80, range=(-0.5, 0.5))
    left.set_xlabel("fitted / true transverse momentum - 1")
    left.set_ylabel("tracks")
    left.set_title(f"momentum resolution (robust width {summary['pt_resolution']:.3f})")
    right.plot(arrays["resolution_pt"], arrays["resolution"], ".", markersize=3)
    log_axis(right)
    right.set_ylim(-0.5, 0.5)
    right.set_xlabel("true transverse momentum (MeV/c)")
    right.set_ylabel("fitted / true - 1")
    right.set_title("resolution grows with the momentum")
    fig.tight_layout()
    fig.savefig(directory / "momentum_resolution.png")
    plt.close(fig)

    fig, axes = plt.subplots(1, 2, figsize=(12, 4.5))
    titles = [f"slope of X against path length: mean {summary['pull_mean']:.2f}, "
              f"width {summary['pull_width']:.2f}",
              f"transverse momentum: robust width {summary['pt_pull_width']:.2f}"]
    for ax, key, title in zip(axes, ["pulls", "pt_pulls"], titles):
        ax.hist(np.clip(arrays[key], -6, 6), bins=60, range=(-6, 6), label="fitted tracks")
        grid = np.linspace(-6, 6, 200)
        n = len(arrays[key])
        ax.plot(grid, n * 0.2 * np.exp(-grid ** 2 / 2) / np.sqrt(2 * np.pi), label="unit normal")
        ax.set_xlabel("(fitted - true) / fitted error")
        ax.set_ylabel("tracks")
        ax.set_title(title, fontsize=10)
        ax.legend()
    fig.tight_layout()
    fig.savefig(directory / "residuals.png")
    plt.close(fig)

    if "seconds_per_family" in summary:
        seconds = summary["seconds_per_family"]
        total = sum(seconds.values())
        fig, ax = plt.subplots(figsize=(7, 4.5))
        names = list(seconds)
        ax.bar(names, [100 * seconds[name] / total for name in names])
        ax.set_ylabel("share of the reconstruction time (%)")
        title = "time per family"
        if rate:
            title += f"; {rate:.1f} events/s"
        ax.set_title(title)
        fig.tight_layout()
        fig.savefig(directory / "time_per_family.png")
        plt.close(fig)


def fail(message):
    print(f"reco.py: error: {message}", file=sys.stderr)
    sys.exit(2)


def main(argv=None):
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build-dir", default=str(REPO / "build"),
                        help="the project's build directory, holding lib/libovReco.so "
                             "(default: %(default)s)")
    commands = parser.add_subparsers(dest="command", required=True)

    def add_simulation(sub):
        sub.add_argument("--events", type=int, default=200, help="events to simulate (default 200)")
        sub.add_argument("--seed", type=int, default=1, help="seed of the run (default 1); the "
                         "same events and seed give the same file")

    def add_reconstruction(sub):
        sub.add_argument("--workers", type=int, default=0,
                         help="0 (default): sequential; N: a local Dask cluster of N "
                              "single-threaded worker processes")
        sub.add_argument("--scheduler", help="address of a running Dask scheduler "
                         "(tcp://HOST:PORT) whose workers do the work; overrides --workers")
        sub.add_argument("--partitions", type=int,
                         help="partitions of the events on Dask (default: twice the workers)")
        sub.add_argument("--pictures", help="directory for the summary pictures (PNG)")
        sub.add_argument("--timing", action="store_true",
                         help="also write the seconds spent in each family per event")

    sim = commands.add_parser("simulate", help="simulate events into a file")
    add_simulation(sim)
    sim.add_argument("--output", required=True, help="the file to write")
    sim.add_argument("--timing", action="store_true",
                     help="also write the seconds spent in the tracker and the drift")

    rec = commands.add_parser("reconstruct", help="reconstruct a simulated file")
    rec.add_argument("--input", required=True, help="a file written by 'simulate'")
    rec.add_argument("--output", required=True, help="the file to write")
    add_reconstruction(rec)

    both = commands.add_parser("all", help="simulate, then reconstruct")
    add_simulation(both)
    add_reconstruction(both)
    both.add_argument("--output-dir", default="reco-output",
                      help="directory for sim.root, reco.root and the pictures")

    args = parser.parse_args(argv)
    if getattr(args, "workers", 0) < 0:
        fail("--workers must be 0 or more")

    import ROOT
    ROOT.gROOT.SetBatch(True)
    # Workers inherit the environment: the tracker finds ROOT's particle
    # table below ROOTSYS.
    os.environ.setdefault("ROOTSYS", ROOT.gSystem.Getenv("ROOTSYS") or "")
    try:
        load_libraries(args.build_dir)
    except RuntimeError as error:
        fail(f"{error}; build the project first (make test)")

    try:
        if args.command == "simulate":
            simulate(args.events, args.seed, args.output, args.timing)
            return
        if args.command == "all":
            out = Path(args.output_dir)
            simulate(args.events, args.seed, out / "sim.root", args.timing)
            args.input, args.output = out / "sim.root", out / "reco.root"
            args.pictures = args.pictures or out
        rate = reconstruct(args.input, args.output, args.build_dir, args.workers,
                           args.scheduler, args.partitions, args.timing)
    except (InputError, RuntimeError) as error:
        fail(str(error))
    how = (f"the scheduler at {args.scheduler}" if args.scheduler else
           f"{args.workers} Dask workers" if args.workers else "sequentially")
    print(f"reconstructed {args.input} into {args.output} {how}: {rate:.1f} events/s")
    summary, arrays = summarize(args.output, args.timing)
    print(json.dumps(summary, indent=1))
    if args.pictures:
        draw_pictures(summary, arrays, args.pictures, rate)
        print(f"pictures in {args.pictures}")


if __name__ == "__main__":
    main()

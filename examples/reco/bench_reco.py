#!/usr/bin/env python3
"""Throughput of the reconstruction pass: events per second for the same
simulated events reconstructed sequentially and on 1 and 2 local Dask worker
processes, the share of time per family, and the scaling efficiency.  Writes
a Markdown table and throughput.png into the output directory.

  bench_reco.py --events 1000 --output-dir build/reco-bench
"""
import argparse
import json
import os
import time
from pathlib import Path

import reco


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--build-dir", default=str(reco.REPO / "build"))
    parser.add_argument("--events", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--workers", type=int, nargs="+", default=[1, 2],
                        help="Dask worker counts to measure after the sequential pass")
    parser.add_argument("--output-dir", default="reco-bench")
    args = parser.parse_args()

    import numpy as np
    import ROOT
    ROOT.gROOT.SetBatch(True)
    os.environ.setdefault("ROOTSYS", ROOT.gSystem.Getenv("ROOTSYS") or "")
    reco.load_libraries(args.build_dir)
    out = Path(args.output_dir)
    sim = out / "sim.root"
    start = time.perf_counter()
    reco.simulate(args.events, args.seed, sim, True)
    simulation_rate = args.events / (time.perf_counter() - start)

    rows = []
    for workers in [0] + args.workers:
        start = time.perf_counter()
        rate = reco.reconstruct(sim, out / f"reco_{workers}.root", args.build_dir, workers,
                                timing=True)
        wall = time.perf_counter() - start
        rows.append({"workers": workers, "events_per_s": rate, "wall_s": wall})
        print(rows[-1], flush=True)

    # Seconds per event in each family: the simulation's from its file, the
    # reconstruction's from the sequential pass.
    sim_times = ROOT.RDataFrame("events", str(sim)).AsNumpy(reco.SIM_TIME_COLUMNS)
    reco_times = ROOT.RDataFrame("events", str(out / "reco_0.root")).AsNumpy(
        reco.RECO_TIME_COLUMNS)
    families = {
        "ITrajectoryTracker (sim)": sim_times["time_tracker"],
        "IDriftManager + IElectronCloud (sim)": sim_times["time_drift"],
        "IChargeClusters": reco_times["time_clusters"],
        "IHoughLines": reco_times["time_hough"],
        "TMinuitMinimizer (circle)": reco_times["time_minuit"],
        "ILineFit": reco_times["time_linefit"],
        "IKalmanFilter": reco_times["time_kalman"],
    }
    per_event_ms = {name: 1000 * float(np.mean(values)) for name, values in families.items()}
    reco_total = sum(v for k, v in per_event_ms.items() if "(sim)" not in k)
    sequential = rows[0]["events_per_s"]

    lines = [f"{args.events} events, simulated at {simulation_rate:.1f} events/s "
             "(sequential).", "",
             "| reconstruction | events/s | wall time incl. start-up (s) | speed-up | "
             "scaling efficiency |",
             "|---|---|---|---|---|"]
    for row in rows:
        n = row["workers"]
        name = "sequential" if n == 0 else f"Dask, {n} worker{'s' if n > 1 else ''}"
        speedup = row["events_per_s"] / sequential
        efficiency = f"{speedup / n:.2f}" if n else "-"
        lines.append(f"| {name} | {row['events_per_s']:.2f} | {row['wall_s']:.1f} | "
                     f"{speedup:.2f} | {efficiency} |")
    lines += ["", "| family | ms per event | share of the reconstruction |", "|---|---|---|"]
    for name, ms in per_event_ms.items():
        share = "-" if "(sim)" in name else f"{100 * ms / reco_total:.1f} %"
        lines.append(f"| {name} | {ms:.2f} | {share} |")
    table = "\n".join(lines)
    print(table)
    (out / "throughput.md").write_text(table + "\n")
    (out / "throughput.json").write_text(json.dumps({"rows": rows, "ms": per_event_ms}, indent=1))

    import matplotlib
    matplotlib.use("Agg")
    import matplotlib.pyplot as plt
    fig, (left, right) = plt.subplots(1, 2, figsize=(12, 4.5))
    names = ["sequential" if r["workers"] == 0 else f"{r['workers']} Dask workers"
             for r in rows]
    left.bar(names, [r["events_per_s"] for r in rows])
    left.set_ylabel("events per second")
    left.set_title(f"reconstruction of {args.events} events on this machine")
    right.barh(list(per_event_ms), list(per_event_ms.values()))
    right.set_xlabel("ms per event")
    right.set_title("time per family")
    fig.tight_layout()
    fig.savefig(out / "throughput.png")


if __name__ == "__main__":
    main()

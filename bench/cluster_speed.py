#!/usr/bin/python3
"""How long the work on a delivery takes with several processes, compared with the cost of its parts in one.

    cluster_speed.py [--satellites N] [--points N] [--workers N ...] [--folder FOLDER] [--json FILE] [--plot FILE]

Makes a delivery of modified ITC files with covariances (examples/delivery.py), and for each number of worker processes
reads it, takes states at every minute, and finds all close approaches within 5 km. The model has no fitted parameter:
it adds what a file, a state, a step of the sieve and a pair cost in one process, and divides by the processors that
there are. It also covers the full size: 11,130 satellites.
"""
import argparse
import contextlib
import json
import os
import pathlib
import resource
import sys
import tempfile
import time
import warnings

import distributed
import numpy as np

import vorlandi
import vorlandi.dask as vd
from vorlandi import _close_approaches, _sieve

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "examples"))
import delivery  # noqa: E402

WITHIN_KM, STEP_S, SPACING_S = 5.0, 60.0, 60.0
POINT_BYTES = 232
FULL = 11_130
CACHE_BYTES, MEMORY_BYTES = 1_600_000_000, 6_000_000_000  # of all processes together; the memory is a limit
SAMPLED = 60  # satellites that the costs of parts are measured on
PHASES = ("index", "states", "close approaches")


# ---- What the parts cost ----


def seconds_of(call, number):
    begin = time.process_time()
    for _ in range(number):
        call()
    return (time.process_time() - begin) / number


def sieve_costs(satellites, steps):
    """Seconds of a step of the sieve, and the pairs that it leaves."""
    slab = np.zeros((satellites, steps, _sieve.SAMPLE_SIZE))
    for i, samples in enumerate(slab):
        samples[:, :6] = delivery.orbit(delivery.FIRST_NUMBER + i, STEP_S * np.arange(steps) + 7000.0)
    numbers = np.arange(satellites)
    begin = time.process_time()
    left = _sieve.sieve(slab, 0, numbers, WITHIN_KM, STEP_S)
    return (time.process_time() - begin) / steps, len(list(_sieve.runs(left))) / steps


def costs(files, satellites):
    """Processor seconds of the parts, in this process; and bytes of a file."""
    sats = [vorlandi.load(path)[0] for path in files[:SAMPLED]]
    steps = _sieve.Steps.covering(sats[0].start, sats[0].end, STEP_S, -np.inf, np.inf)
    rows = iter(files[:SAMPLED])
    found = {"load": seconds_of(lambda: vorlandi.load(next(rows)), SAMPLED),
             "sample": seconds_of(lambda: _sieve.sample(sats[1], steps, False), 5) / steps.count}
    times = sats[0].start + np.arange(steps.count) * STEP_S / 86400
    several = vorlandi.Ephemerides(sats)
    found["state"] = seconds_of(lambda: np.abs(several.states(times)).max(), 2) / (len(sats) * len(times))
    runs = np.random.default_rng(1).integers(0, steps.count - 2, 500).tolist()
    some = iter(runs)

    def examine():
        step = next(some)
        _sieve.examine(sats[step % 30], sats[30 + step % 29], step, step, steps, WITHIN_KM)

    found["pair"] = seconds_of(examine, len(runs))
    for name, count in (("", satellites), (" full", FULL)):
        found["sieve" + name], found["pairs" + name] = sieve_costs(count, 10)
    found["file bytes"] = sum(path.stat().st_size for path in files) / len(files)
    return found


def loads(satellites, points, processes, cache_bytes):
    """How often each phase reads a file. Whether the next reader already holds a file is chance. Each refining task
    reads one of its two blocks, except files that its process holds."""
    size = satellites * points * POINT_BYTES
    cache = cache_bytes // processes
    blocks = _close_approaches.block_count(satellites, size, cache)
    elsewhere = satellites * (1 - min(1, cache / size) if processes == 1 else 1 - 1 / processes)
    refining = satellites * (blocks + 1) / 2 * (1 - min(1, cache / size))
    return {"index": satellites, "states": elsewhere, "close approaches": elsewhere + refining}


def model(cost, satellites, points, processes, processors, cache_bytes):
    """Seconds, processor seconds, and files read, of each phase."""
    full = " full" if satellites == FULL else ""
    steps = (points - 1) * SPACING_S / STEP_S
    reads = loads(satellites, points, processes, cache_bytes)
    work = {"index": 0, "states": satellites * steps * cost["state"],
            "close approaches": steps * (satellites * cost["sample"] + cost["sieve" + full]
                                         + cost["pairs" + full] * cost["pair"])}
    found = {}
    for name, one in work.items():
        processor_s = one + reads[name] * cost["load"]
        found[name] = {"seconds": processor_s / min(processes, processors), "processor_s": processor_s,
                       "files read": reads[name]}
    return found


# ---- What a cluster takes ----


def memory_of_worker():
    """Most bytes that this process has had in memory."""
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024


def bytes_received(dask_worker):
    """What tasks of this worker have got from other workers. The tasks that say where files are loaded are small."""
    return sum(size for transfer in dask_worker.transfer_incoming_log for key, size in transfer["keys"].items()
               if not str(key).startswith("('vorlandi-open"))


def totals(client):
    return {"processor_s": sum(client.run(time.process_time).values()),
            "bytes moved": sum(client.run(bytes_received).values()),
            "files read": sum(info.loads for info in client.run(vd.cache_info).values())}


def phase(client, work):
    """What a phase takes, and what it returns."""
    before, begin = totals(client), time.perf_counter()
    result = work()
    took = {"seconds": time.perf_counter() - begin}
    return {**took, **{name: value - before[name] for name, value in totals(client).items()}}, result


@contextlib.contextmanager
def workers(count):
    os.environ["VORLANDI_CACHE_BYTES"] = str(CACHE_BYTES // count)
    with distributed.LocalCluster(n_workers=count, threads_per_worker=1, dashboard_address=None,
                                  memory_limit=MEMORY_BYTES // count) as cluster, \
            distributed.Client(cluster) as client:
        yield client


def measure(files, count):
    found = {}
    with workers(count) as client:
        found["index"], index = phase(client, lambda: vd.index(files, files_per_task=delivery.SATELLITES_PER_TASK))
        times = np.arange(index["start"].max(), index["end"].min(), STEP_S / 86400)
        found["states"], _ = phase(client, lambda: abs(vd.states(index, times)).max().compute())
        found["close approaches"], table = phase(client, lambda: vd.close_approaches(
            index, within_km=WITHIN_KM, step_s=STEP_S).compute())
        found["approaches"] = len(table)
        found["memory of a worker"] = max(client.run(memory_of_worker).values())
        found["memory of all"] = sum(client.run(memory_of_worker).values())
    return found


# ---- The report ----


def report(measured, modelled):
    """The table of docs/clusters.md."""
    print("\n| processes | phase | seconds | model | processor seconds | model | files read | model | MB moved |\n"
          "|---|---|---|---|---|---|---|---|---|")
    for count, found in measured.items():
        for name in PHASES:
            one, paper = found[name], modelled[count][name]
            print(f"| {count} | {name} | {one['seconds']:.1f} | {paper['seconds']:.1f} | {one['processor_s']:.1f} | "
                  f"{paper['processor_s']:.1f} | {one['files read']} | {paper['files read']:.0f} | "
                  f"{one['bytes moved'] / 1e6:.0f} |", flush=True)
    for count, found in measured.items():
        print(f"{count} processes: {found['approaches']} approaches; memory of a worker at most "
              f"{found['memory of a worker'] / 1e6:.0f} MB, of all {found['memory of all'] / 1e6:.0f} MB", flush=True)


def report_full(cost, points):
    """What the model says of the full size, with a third of the memory for points."""
    print(f"\n{FULL} satellites by the model:\n\n| processes | memory of each | hours | processor hours | files read | "
          "TB read |\n|---|---|---|---|---|---|")
    for processes, memory_bytes in ((1, 40e9), (4, 8e9), (8, 16e9), (16, 8e9), (16, 32e9)):
        paper = model(cost, FULL, points, processes, processes, int(processes * memory_bytes / 3)).values()
        reads = sum(one["files read"] for one in paper)
        print(f"| {processes} | {memory_bytes / 1e9:.0f} GB | {sum(one['seconds'] for one in paper) / 3600:.2f} | "
              f"{sum(one['processor_s'] for one in paper) / 3600:.2f} | {reads:.0f} | "
              f"{reads * cost['file bytes'] / 1e12:.2f} |")


def plot(measured, modelled, path):
    """Seconds, measured and by the model."""
    import matplotlib
    from matplotlib.figure import Figure
    matplotlib.rcParams.update({"svg.hashsalt": "clusters", "svg.fonttype": "none"})
    axes = (figure := Figure(figsize=(8, 3.5), layout="constrained")).subplots()
    counts = list(measured)
    for at, name in enumerate(PHASES):
        axes.plot(counts, [measured[count][name]["seconds"] for count in counts], "o", color=f"C{at}",
                  label=f"{name}, measured")
        axes.plot(counts, [modelled[count][name]["seconds"] for count in counts], "-", color=f"C{at}",
                  label=f"{name}, model")
    axes.set(xlabel="processes (on two processors)", ylabel="seconds", xticks=counts)
    axes.set_ylim(bottom=0)
    axes.legend(fontsize="small", loc="center left", bbox_to_anchor=(1, 0.5))
    figure.savefig(path, metadata={"Date": None, "Creator": None})


def options():
    parser = argparse.ArgumentParser(description="How long the work on a delivery takes with several processes.")
    parser.add_argument("--satellites", type=int, default=1000)
    parser.add_argument("--points", type=int, default=4321)
    parser.add_argument("--workers", type=int, nargs="+", default=[1, 2, 4])
    parser.add_argument("--folder", type=pathlib.Path, help="a delivery that is used if it is there, and kept")
    parser.add_argument("--json", type=pathlib.Path)
    parser.add_argument("--plot", type=pathlib.Path)
    given = parser.parse_args()
    if given.satellites < SAMPLED:
        parser.error(f"--satellites: at least {SAMPLED}, on which the parts are measured")
    return given


def main():
    given = options()
    warnings.simplefilter("ignore")
    with tempfile.TemporaryDirectory() as temporary:
        folder = given.folder or pathlib.Path(temporary)
        if not folder.exists() or not delivery.files_of(folder):
            with workers(2) as client:
                begin = time.perf_counter()
                delivery.make(client, folder, given.satellites, given.points, SPACING_S)
                print(f"made {given.satellites} satellites of {given.points} points in "
                      f"{time.perf_counter() - begin:.1f} s", flush=True)
        files = delivery.files_of(folder)
        cost = costs(files, given.satellites)
        for name, value in cost.items():
            print(f"{name:12} {value:.4g}", flush=True)
        measured, modelled = {}, {}
        for count in given.workers:
            measured[count] = measure(files, count)
            modelled[count] = model(cost, given.satellites, given.points, count, os.cpu_count(), CACHE_BYTES)
            report({count: measured[count]}, modelled)
    report_full(cost, given.points)
    if given.json:
        given.json.write_text(json.dumps({"costs": cost, "measured": measured, "model": modelled}, indent=1))
    if given.plot:
        plot(measured, modelled, given.plot)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Measures the tool on one satellite of a million points (convert, check, and states compared with numpy.savetxt) and
the report on deliveries of many files.

Runs each job five times in turn and prints the medians. Processor time and wall time differ where the tool uses two
threads. Needs numpy.
"""
import argparse
import math
import os
import pathlib
import resource
import statistics
import subprocess
import tempfile
import time

import numpy

MU_KM3_S2 = 398600.4418
ROUNDS = 5


def write_points(path, points, step_s):
    """An STK file with a circular orbit 700 km high, positions to the millimetre."""
    radius_km = 7078.0
    rate = math.sqrt(MU_KM3_S2 / radius_km**3)
    t = numpy.arange(points) * step_s
    x, y = radius_km * numpy.cos(rate * t), radius_km * numpy.sin(rate * t)
    states = numpy.column_stack([t, x, 0.6 * y, 0.8 * y, -rate * y, 0.6 * rate * x, 0.8 * rate * x])
    with open(path, "w", encoding="ascii") as file:
        file.write("stk.v.11.0\nScenarioEpoch 31 Jan 2026 00:00:00.000\nCentralBody Earth\nCoordinateSystem J2000\n"
                   "DistanceUnit Kilometers\nEphemerisTimePosVel\n")
        numpy.savetxt(file, states, fmt=["%.0f"] + ["%.6f"] * 3 + ["%.9f"] * 3)
        file.write("END Ephemeris\n")


def run(arguments, **options):
    """Wall and processor time of a command, in seconds."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    begin = time.perf_counter()
    subprocess.run(arguments, check=True, stdout=subprocess.DEVNULL, **options)
    wall_s = time.perf_counter() - begin
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return wall_s, after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def savetxt(states, path):
    begin, cpu = time.perf_counter(), time.process_time()
    numpy.savetxt(path, states, fmt="%.17g", delimiter=",")
    return time.perf_counter() - begin, time.process_time() - cpu


def measured(jobs):
    """Median wall and processor time of each job."""
    times = {name: [] for name in jobs}
    for _ in range(ROUNDS):
        for name, job in jobs.items():
            times[name].append(job())
    return {name: tuple(statistics.median(column) for column in zip(*pairs)) for name, pairs in times.items()}


def measure_satellite(tool, points, home):
    source, converted = home / "81001.e", home / "81002.e"
    write_points(source, points, 60)
    array = numpy.random.default_rng(1).uniform(-7000, 7000, (points, 7))
    times = measured({
        "load alone (info)": lambda: run([tool, "info", source]),
        "convert, stk to stk": lambda: run([tool, "convert", source, "--into", "stk", "--force", "-o", converted],
                                           stderr=subprocess.DEVNULL),
        "convert, stk to stk, -j 2": lambda: run([tool, "convert", source, "--into", "stk", "--force", "-j", "2", "-o",
                                                  converted], stderr=subprocess.DEVNULL),
        "states as csv": lambda: run([tool, "states", source, "--format", "csv", "-o", home / "states.csv"]),
        "interpolated states as csv": lambda: run([tool, "states", source, "--step", "59", "--format", "csv", "-o",
                                                   home / "states.csv"]),
        "numpy.savetxt": lambda: savetxt(array, home / "numpy.csv"),
        "check": lambda: run([tool, "check", source]),
    })
    print(f"| {points:,} points | wall | processor | |\n|---|---|---|---|")
    for name, (wall_s, cpu_s) in times.items():
        rate = ""
        if name.startswith("convert"):
            rate = f"{converted.stat().st_size / wall_s / 1e6:.0f} MB/s of output"
        elif name == "check":
            rate = f"{wall_s / points * 1e6:.2f} us a point"
        print(f"| {name} | {wall_s:.2f} s | {cpu_s:.2f} s | {rate} |")


def measure_delivery(tool, satellites, home):
    generator = pathlib.Path(tool).with_name("generate_delivery")
    subprocess.run([generator, "--satellites", str(satellites), "--faults", "0", "--out", home / "fleet"], check=True)
    now, before = home / "fleet" / "clean", home / "fleet" / "previous"
    files = sorted(now.iterdir())
    report = [tool, "delivery", now, "-o", home / "report.json", "--format", "json"]
    jobs = {
        "load alone (info)": (lambda: run([tool, "info", *files]), 1),
        "load alone, both": (lambda: run([tool, "info", *files, *sorted(before.iterdir())]), 2),
    }
    for threads in ("1", "2"):
        jobs[f"delivery -j {threads}"] = (lambda j=threads: run([*report, "-j", j]), 1)
        jobs[f"delivery --previous -j {threads}"] = (lambda j=threads: run([*report, "--previous", before, "-j", j]), 2)
    times = measured({name: job for name, (job, _) in jobs.items()})
    loads_s = {1: times["load alone (info)"][0], 2: times["load alone, both"][0]}
    print(f"\n| {satellites} files with covariances | wall | processor | of the load |\n|---|---|---|---|")
    for name, (wall_s, cpu_s) in times.items():
        print(f"| {name} | {wall_s:.2f} s | {cpu_s:.2f} s | {wall_s / loads_s[jobs[name][1]]:.1f} |")


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("tool", help="the program vorlandi; generate_delivery is beside it")
    parser.add_argument("--points", type=int, default=1_000_000)
    parser.add_argument("--satellites", type=int, default=500, help="of a delivery; 0: none")
    options = parser.parse_args()
    tool = os.path.abspath(options.tool)
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder)
        if options.points:
            measure_satellite(tool, options.points, home)
        if options.satellites:
            measure_delivery(tool, options.satellites, home)


if __name__ == "__main__":
    main()

#!/usr/bin/env python3
"""Measures the tool on one satellite of a million points: convert, states and check, the states beside numpy.savetxt.

Runs each five times in turn and prints the medians. Processor time and wall time differ where the tool uses two
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


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("tool", help="the program vorlandi")
    parser.add_argument("--points", type=int, default=1_000_000)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as folder:
        home = pathlib.Path(folder)
        source, converted = home / "81001.e", home / "81002.e"
        write_points(source, options.points, 60)
        array = numpy.random.default_rng(1).uniform(-7000, 7000, (options.points, 7))
        tool = os.path.abspath(options.tool)
        jobs = {
            "load alone (info)": lambda: run([tool, "info", source]),
            "convert, stk to stk": lambda: run([tool, "convert", source, "--into", "stk", "--force", "-o", converted],
                                               stderr=subprocess.DEVNULL),
            "states as csv": lambda: run([tool, "states", source, "--format", "csv", "-o", home / "states.csv"]),
            "interpolated states as csv": lambda: run([tool, "states", source, "--step", "59", "--format", "csv", "-o",
                                                       home / "states.csv"]),
            "numpy.savetxt": lambda: savetxt(array, home / "numpy.csv"),
            "check": lambda: run([tool, "check", source]),
        }
        times = {name: [] for name in jobs}
        for _ in range(ROUNDS):
            for name, job in jobs.items():
                times[name].append(job())
        print(f"| {options.points:,} points | wall | processor | |\n|---|---|---|---|")
        for name, pairs in times.items():
            wall_s, cpu_s = (statistics.median(column) for column in zip(*pairs))
            rate = {"convert, stk to stk": f"{converted.stat().st_size / wall_s / 1e6:.0f} MB/s of output",
                    "check": f"{wall_s / options.points * 1e6:.2f} us a point"}.get(name, "")
            print(f"| {name} | {wall_s:.2f} s | {cpu_s:.2f} s | {rate} |")


if __name__ == "__main__":
    main()

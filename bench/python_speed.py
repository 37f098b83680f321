#!/usr/bin/python3
"""Times the Python package, compared with the C calls that it makes and with other packages.

    python_speed.py LIBRARY TOOL         LIBRARY: libvorlandi.so of the build; TOOL: generate_constellation

Each figure is the median processor time of alternating runs. Limits are times, or ratios to the C call made by ctypes
with existing arrays; a figure above its limit ends the program with status 1. The other packages calculate other things
of the same shapes: orbits from mean elements, planets from their ephemerides, or interpolation without a check.
"""
import ctypes
import pathlib
import resource
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np

import vorlandi

RUNS = 15
START = vorlandi.times.ds50("2026-01-31")
MINUTE = 1 / 1440


def median_s(*calls, number=1, runs=RUNS):
    """Medians of the times of calls, made in turn."""
    times = [[] for _ in calls]
    for _ in range(runs):
        for call, took in zip(calls, times):
            begin = time.process_time()
            for _ in range(number):
                call()
            took.append((time.process_time() - begin) / number)
    return [statistics.median(took) for took in times]


class Report:
    """Prints rows and remembers whether all were within their limits."""

    def __init__(self):
        self.good = True

    def row(self, what, value, unit, limit=None):
        within = limit is None or value <= limit
        self.good = self.good and within
        told = "" if limit is None else f"  limit {limit:g}" + ("" if within else "  ABOVE")
        print(f"{what:66} {value:10.3f} {unit}{told}", flush=True)


def orbit(number, points):
    times = START + MINUTE * np.arange(points)
    angle = 2 * np.pi * (np.arange(points) / 97 + number / 1000)
    position = 7000 * np.stack([np.cos(angle), np.sin(angle) * 0.6, np.sin(angle) * 0.8], 1)
    velocity = 7.5 * np.stack([-np.sin(angle), np.cos(angle) * 0.6, np.cos(angle) * 0.8], 1)
    return vorlandi.Satellite.from_points(number, times, np.hstack([position, velocity]))


def queries(report, library):
    sat = orbit(1, 10_000)
    key, end = ctypes.c_int64(sat.key), sat.end
    times = np.sort(START + (end - START) * np.random.default_rng(1).random(100_000))
    out, fresh = np.empty((len(times), 6)), np.empty((len(times), 6))
    t = float(times[5000])
    state, = median_s(lambda: sat.state(t), number=20_000)
    report.row("sat.state(float)", state * 1e6, "us", 1.0)
    both, = median_s(lambda: sat.state_and_covariance(t), number=20_000)
    report.row("sat.state_and_covariance(float)", both * 1e6, "us")

    def by_c():
        library.VorlanDs50UTCArr(key, ctypes.c_int64(len(times)), times.ctypes, fresh.ctypes, None, None, None)

    c, into, new = median_s(by_c, lambda: sat.state(times, out=out), lambda: sat.state(times))
    report.row("VorlanDs50UTCArr, 100,000 sorted times", c / len(times) * 1e9, "ns a time")
    report.row("sat.state(sorted array, out=) / the C call", into / c, "", 1.05)
    report.row("sat.state(sorted array) / the C call", new / c, "")
    return times


def constellation(report, library):
    sats = vorlandi.Ephemerides([orbit(number, 30) for number in range(10_000)])
    keys = np.array([sat.key for sat in sats])
    states, out = np.empty((len(sats), 6)), np.empty((len(sats), 6))
    t = START + 10.5 * MINUTE

    def by_c():
        library.VorlanSatsDs50UTC(ctypes.c_int64(len(keys)), keys.ctypes, ctypes.c_double(t), states.ctypes, None,
                                  None, None)

    c, into, new = median_s(by_c, lambda: sats.states(t, out=out), lambda: sats.states(t), number=5)
    report.row("VorlanSatsDs50UTC, 10,000 satellites", c * 1e3, "ms")
    report.row("e.states(t, out=) / the C call", into / c, "", 1.1)
    report.row("e.states(t) / the C call", new / c, "")


def imports(report):
    def seconds(code):
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        subprocess.run([sys.executable, "-c", code], check=True)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime

    numpy, ours = [], []
    for _ in range(RUNS):
        numpy.append(seconds("import numpy"))
        ours.append(seconds("import numpy, vorlandi"))
    report.row("import vorlandi, on top of numpy", (statistics.median(ours) - statistics.median(numpy)) * 1e3, "ms",
               40)


def loading(report, library, tool, folder):
    subprocess.run([tool, "--count", "1", "--format", "MODIFIED_ITC", "--points", "4321", "--out", folder], check=True,
                   stdout=subprocess.DEVNULL)
    path, = (path for path in pathlib.Path(folder).iterdir() if path.suffix != ".card")
    name = str(path).encode().ljust(512)
    keys, count = (ctypes.c_int64 * 4)(), ctypes.c_int64()

    def by_c():
        library.VorlanLoadFileExt(name, 3, ctypes.c_int64(4), keys, ctypes.byref(count))
        library.VorlanRemoveSat(ctypes.c_int64(keys[0]))

    c, ours = median_s(by_c, lambda: vorlandi.load(path), runs=41)
    report.row(f"VorlanLoadFileExt, {path.stat().st_size / 1e6:.1f} MB", c * 1e3, "ms")
    report.row("vorlandi.load / the C call", ours / c, "", 1.05)


def others(report, times):
    """Other packages that return arrays of states."""
    print("\nOther packages, 100,000 times of one object, or 10 of 1,000 (other models, the same shapes):")
    points = orbit(2, 10_000).points
    try:
        from scipy.interpolate import CubicHermiteSpline
        spline = CubicHermiteSpline((points.ds50 - START) * 86400, points.states[:, :3], points.states[:, 3:])
        seconds = (times - START) * 86400
        took, = median_s(lambda: spline(seconds), runs=5)
        report.row("scipy CubicHermiteSpline, positions alone, degree 3", took / len(times) * 1e9, "ns a time")
    except ImportError:
        print("no scipy")
    line1 = "1 25544U 98067A   19343.69339541  .00001764  00000-0  38792-4 0  9991"
    line2 = "2 25544  51.6439 211.2001 0007417  17.6667  85.6398 15.50103472202482"
    try:
        from jplephem.spk import Segment
        count = 1000  # intervals of ten days, polynomials of degree 12
        segment = object.__new__(Segment)
        segment._data = 0.0, 10.0 * 86400, np.random.default_rng(1).random((13, 3, count))
        segment.data_type = 2
        days = 2451545.0 + np.linspace(1, 9999, len(times))
        took, = median_s(lambda: segment.compute_and_differentiate(days), runs=5)
        report.row("jplephem, Segment.compute_and_differentiate(array)", took / len(times) * 1e9, "ns a time")
    except ImportError:
        print("no jplephem")
    try:
        from sgp4.api import Satrec, SatrecArray
        satrec = Satrec.twoline2rv(line1, line2)
        days, fractions = np.full(len(times), 2458827.0), times - START
        took, = median_s(lambda: satrec.sgp4_array(days, fractions), runs=5)
        report.row("sgp4, array of times", took / len(times) * 1e9, "ns a time")
        many = SatrecArray([satrec] * 1000)
        took, = median_s(lambda: many.sgp4(days[:10], fractions[:10]), runs=5)
        report.row("sgp4, SatrecArray, 1,000 satellites at 10 times", took / 10_000 * 1e9, "ns a state")
    except ImportError:
        print("no sgp4")
    try:
        from skyfield.api import EarthSatellite, load
        scale = load.timescale(builtin=True)
        satellite, moments = EarthSatellite(line1, line2, "", scale), scale.tt_jd(2458827.0 + (times - START))
        took, = median_s(lambda: satellite.at(moments), runs=3)
        report.row("skyfield, EarthSatellite.at(array)", took / len(times) * 1e9, "ns a time")
    except ImportError:
        print("no skyfield")


def main():
    library, tool = ctypes.CDLL(sys.argv[1]), sys.argv[2]
    report = Report()
    times = queries(report, library)
    constellation(report, library)
    imports(report)
    with tempfile.TemporaryDirectory() as folder:
        loading(report, library, tool, folder)
    others(report, times)
    sys.exit(0 if report.good else 1)


if __name__ == "__main__":
    main()

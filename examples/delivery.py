"""A provider's delivery on a cluster: checks all its satellites, and screens them all against all.

    PYTHONPATH=build/gcc/python /usr/bin/python3 examples/delivery.py delivery --make 200 --out results

Without PYTHONPATH if the package is installed.

A delivery is a folder of ephemeris files; --make fills a new one with modified ITC files with covariances, three days
of a point a minute, as operators of large constellations publish them. The files are read by worker processes, here
or, with --scheduler, on other machines that find them under the same name. Results are findings.csv, approaches.csv,
approaches.parquet where pandas can write it, and approaches.png. The exit status is 0, 1 if something could not be
read, made or compared, 2 for wrong usage. Needs dask, distributed, pandas and matplotlib.
"""
from __future__ import annotations

import argparse
import contextlib
import pathlib
import sys
import time
from collections import Counter
from collections.abc import Callable, Iterator
from typing import Any

import distributed
import numpy as np
import pandas
from matplotlib.figure import Figure
from numpy.typing import NDArray

import vorlandi
import vorlandi.dask as vd
from vorlandi import analysis, convert, times

Floats = NDArray[np.float64]

MU_KM3_S2 = 398600.4418
EARTH_RADIUS_KM = 6378.137
START = "2026-01-31"
FIRST_NUMBER = 70001
SHELLS = ((540.0, 53.2), (550.0, 53.0), (560.0, 97.6), (570.0, 70.0))  # km, degrees
SATELLITES_PER_TASK = 20
SHOWN_PROBLEMS = 10


# ---- Making a delivery ----


def orbit(number: int, seconds: Floats) -> Floats:
    """States of a satellite on a circular orbit in one of the shells, by its number."""
    random = np.random.default_rng(number)
    height_km, inclination_deg = SHELLS[number % len(SHELLS)]
    radius = EARTH_RADIUS_KM + height_km + random.uniform(-0.5, 0.5)
    node, phase, inclination = *random.uniform(0, 2 * np.pi, 2), np.radians(inclination_deg)
    rate = np.sqrt(MU_KM3_S2 / radius**3)
    angle = phase + rate * seconds[:, np.newaxis]
    ahead = np.array([np.cos(node), np.sin(node), 0.0])
    aside = np.array([-np.sin(node) * np.cos(inclination), np.cos(node) * np.cos(inclination), np.sin(inclination)])
    return np.hstack([radius * (np.cos(angle) * ahead + np.sin(angle) * aside),
                      radius * rate * (np.cos(angle) * aside - np.sin(angle) * ahead)])


def covariances(states: Floats, seconds: Floats) -> Floats:
    """Sigmas of 20 m radial and cross-track, and of 50 m in-track at first and 10 m more each hour; 1 cm/s."""
    position, velocity = states[:, :3], states[:, 3:]
    radial = position / np.linalg.norm(position, axis=1, keepdims=True)
    normal = np.cross(position, velocity)
    normal /= np.linalg.norm(normal, axis=1, keepdims=True)
    axes = np.zeros((len(states), 6, 6))
    axes[:, :3, :3] = axes[:, 3:, 3:] = np.stack([radial, np.cross(normal, radial), normal], axis=2)
    sigmas = np.full((len(states), 1, 6), 1e-5)
    sigmas[:, 0, :3] = 0.020
    sigmas[:, 0, 1] = 0.050 + 0.010 * seconds / 3600
    factors: Floats = axes * sigmas
    return factors @ factors.transpose(0, 2, 1)


def make_files(numbers: range, points: int, spacing_s: float, folder: str) -> None:
    """Write a modified ITC file for each satellite."""
    seconds = spacing_s * np.arange(points)
    for number in numbers:
        states = orbit(number, seconds)
        satellite = vorlandi.Satellite.from_points(
            number, times.ds50(START) + seconds / 86400, states, covariances=covariances(states, seconds), frame="J2K")
        convert.write_each(satellite, folder, "modified-itc", round_times=True)


def make(client: Any, folder: pathlib.Path, count: int, points: int, spacing_s: float) -> None:
    """Fill a folder with a delivery, on the workers."""
    folder.mkdir(parents=True, exist_ok=True)
    last = FIRST_NUMBER + count
    lots = [range(first, min(first + SATELLITES_PER_TASK, last))
            for first in range(FIRST_NUMBER, last, SATELLITES_PER_TASK)]
    client.gather(client.map(make_files, lots, points=points, spacing_s=spacing_s, folder=str(folder.resolve())))


def files_of(folder: pathlib.Path) -> list[pathlib.Path]:
    """The ephemeris files of a delivery."""
    return sorted(path for path in folder.iterdir()
                  if path.is_file() and not path.name.startswith(".") and path.suffix != ".card")


# ---- Checking and screening it ----


def findings(satellite: vorlandi.Satellite) -> list[tuple[int, str, str, str, str]]:
    """What a check finds, in a form that is small enough to travel."""
    return [(satellite.number, satellite.file, one.severity, one.kind, one.text)
            for one in analysis.check(satellite).findings]


def check(index: Any) -> Any:
    """All findings, a row each."""
    found = vd.map_satellites(findings, index).compute()
    return pandas.DataFrame([row for rows in found for row in rows],
                            columns=["number", "file", "severity", "kind", "text"])


def screen(index: Any, within_km: float, step_s: float) -> Any:
    """All close approaches, by time."""
    table = vd.close_approaches(index, within_km=within_km, step_s=step_s).compute()
    return table.sort_values(["time_utc", "number_a", "number_b"], ignore_index=True)


def draw(approaches: Any, within_km: float, path: pathlib.Path) -> None:
    """Distances over time, and how many are nearer than a distance."""
    figure = Figure(figsize=(10, 4), layout="constrained")
    over_time, counts = figure.subplots(1, 2)
    over_time.plot(approaches["time_utc"], approaches["distance_km"], ".", markersize=2)
    over_time.set(xlabel="UTC", ylabel="distance, km", ylim=(0, within_km))
    over_time.tick_params("x", rotation=30)
    counts.loglog(np.sort(approaches["distance_km"]), np.arange(1, len(approaches) + 1))
    counts.set(xlabel="distance, km", ylabel="approaches nearer than that")
    figure.savefig(path, dpi=120)


def write(approaches: Any, within_km: float, out: pathlib.Path) -> list[str]:
    """Write what was found; says what was written, and why not Parquet."""
    approaches.to_csv(out / "approaches.csv", index=False, float_format="%.9g", date_format="%Y-%m-%dT%H:%M:%S.%f")
    draw(approaches, within_km, out / "approaches.png")
    written = ["approaches.csv", "approaches.png"]
    try:
        approaches.to_parquet(out / "approaches.parquet")
        written.append("approaches.parquet")
    except ImportError:
        written.append("no approaches.parquet (pandas needs pyarrow or fastparquet for it)")
    return written


# ---- The command ----


@contextlib.contextmanager
def cluster(scheduler: str | None, workers: int) -> Iterator[Any]:
    """A client of a running scheduler, or of worker processes on this machine."""
    if scheduler is not None:
        with distributed.Client(scheduler, timeout=10) as client:
            yield client
        return
    with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None) as local, \
            distributed.Client(local) as client:
        yield client


def within(least: float, most: float, kind: Callable[[str], float]) -> Callable[[str], Any]:
    """A number of an option."""
    def number(text: str) -> float:
        with contextlib.suppress(ValueError):
            if least <= kind(text) <= most:
                return kind(text)
        whole = "whole number" if kind is int else "number"
        raise argparse.ArgumentTypeError(f"{text!r} is not a {whole} from {least:g} to {most:g}")
    return number


def options() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Checks a delivery of ephemeris files and screens it all against all.")
    parser.add_argument("folder", type=pathlib.Path, help="folder of the delivery's files")
    parser.add_argument("--make", type=within(1, 900000, int), metavar="N", help="make N satellites there first")
    parser.add_argument("--points", type=within(4, 1e6, int), default=4321, help="of each of them (4321)")
    parser.add_argument("--spacing", type=within(1, 3600, float), default=60.0, help="seconds between points (60)")
    parser.add_argument("--within", type=within(1e-6, 1e5, float), default=5.0, help="km, of approaches (5)")
    parser.add_argument("--step", type=within(1, 300, float), default=60.0, help="seconds between samples (60)")
    parser.add_argument("--workers", type=within(1, 1000, int), default=2, help="processes on this machine (2)")
    parser.add_argument("--scheduler", metavar="ADDRESS", help="use the workers of this Dask scheduler instead")
    parser.add_argument("--out", type=pathlib.Path, default="results", help="folder for results (results)")
    given = parser.parse_args()
    if given.folder.exists() and not given.folder.is_dir():
        parser.error(f"{given.folder} is not a folder")
    found = files_of(given.folder) if given.folder.exists() else []
    if given.make and found:
        parser.error(f"{given.folder} has files already; --make fills a new folder")
    if not given.make and not found:
        parser.error(f"{given.folder} has no files; --make N makes a delivery of N satellites")
    if given.out.resolve() == given.folder.resolve():
        parser.error("--out is the folder of the delivery")
    return given


class Clock:
    """Prints what was done, with the seconds since the last time."""

    def __init__(self) -> None:
        self.begin = time.perf_counter()

    def tell(self, what: str) -> None:
        now = time.perf_counter()
        print(f"{what} ({now - self.begin:.1f} s)", flush=True)
        self.begin = now


def run(given: argparse.Namespace) -> int:
    given.out.mkdir(parents=True, exist_ok=True)
    clock = Clock()
    with cluster(given.scheduler, given.workers) as client:
        clock.tell(f"{len(client.scheduler_info()['workers'])} workers")
        if given.make:
            make(client, given.folder, given.make, given.points, given.spacing)
            clock.tell(f"made {given.make} satellites of {given.points} points")
        files = files_of(given.folder)
        index = vd.index(files, files_per_task=SATELLITES_PER_TASK, errors="nan")
        clock.tell(f"read {len(index)} satellites from {sum(path.stat().st_size for path in files) / 1e6:.0f} MB")
        problems = [one for one in index.attrs["problems"] if one.severity == "error"]
        for one in problems[:SHOWN_PROBLEMS]:
            print(f"delivery.py: {one}", file=sys.stderr)
        if len(problems) > SHOWN_PROBLEMS:
            print(f"delivery.py: {len(problems) - SHOWN_PROBLEMS} more could not be read", file=sys.stderr)
        found = check(index)
        found.to_csv(given.out / "findings.csv", index=False)
        kinds = ", ".join(f"{count} {kind}" for kind, count in Counter(found["kind"]).most_common()) or "nothing"
        clock.tell(f"checks found {kinds}")
        approaches = screen(index, given.within, given.step)
        clock.tell(f"{len(approaches)} approaches within {given.within:g} km")
        if len(approaches):
            nearest = approaches.loc[approaches["distance_km"].idxmin()]
            print(f"nearest: {nearest.number_a} and {nearest.number_b}, {nearest.distance_km:.3f} km at "
                  f"{nearest.time_utc.isoformat(timespec='milliseconds')}, {nearest.speed_km_s:.1f} km/s")
    print(f"in {given.out}: findings.csv, {', '.join(write(approaches, given.within, given.out))}")
    return 1 if problems else 0


def main() -> int:
    given = options()
    try:
        return run(given)
    except (vorlandi.Error, ValueError, OSError) as error:
        print(f"delivery.py: {error}", file=sys.stderr)
        return 1


if __name__ == "__main__":
    sys.exit(main())

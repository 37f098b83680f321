"""Checks, comparisons, close approaches and estimated errors.

Results have the field names of the tool's JSON. Times, whose names end in ``_utc``, are `numpy.datetime64` with
nanoseconds; a missing time is None, in arrays NaT.
"""

from __future__ import annotations

import operator
import warnings
from collections.abc import Iterable, Mapping
from dataclasses import dataclass
from typing import Any

import numpy as np
from numpy.typing import NDArray

from vorlandi import _vorlandi
from vorlandi._errors import NoDataError
from vorlandi._satellite import MOST_THREADS, Satellite
from vorlandi.times import Floats, OneTime, TimeLike, ds50, to_datetime64

__all__ = ["Approaches", "Check", "Comparison", "Finding", "Interpolation", "Jump", "Normalized", "Rotation", "Spacing",
           "Statistics", "TimeOffset", "approaches", "check", "diff", "error_at"]

_COINCIDENCE_DAYS = 1e-12  # within which the library takes a time as a point's
_LARGEST_STEP_S = 300.0


def _utc(time: float | None) -> np.datetime64 | None:
    return None if time is None else to_datetime64(time)


def _limits(start: OneTime | None, end: OneTime | None) -> tuple[float, float]:
    first = -np.inf if start is None else ds50(start)
    last = np.inf if end is None else ds50(end)
    if not first <= last:
        raise ValueError("the range of times ends before it begins")
    return first, last


@dataclass(frozen=True)
class Jump:
    """Sizes of a jump: velocity in m/s and, where it is known, position in m; radial, in-track, cross-track."""

    dv_m_s: tuple[float, float, float]
    dx_m: tuple[float, float, float] | None


@dataclass(frozen=True)
class Finding:
    """One finding of a check. `severity` is error, warning or note; `value` is what the kind measures."""

    severity: str
    kind: str
    line: int | None
    from_utc: np.datetime64 | None
    to_utc: np.datetime64 | None
    value: float | None
    unit: str | None
    text: str
    jump: Jump | None


@dataclass(frozen=True)
class Spacing:
    """Seconds between neighbouring points."""

    least: float
    median: float
    largest: float


@dataclass(frozen=True)
class Interpolation:
    """Estimated errors of states between points, in metres, and their causes; None where there is no estimate.

    `inside_m` leaves out gaps and the first and last intervals. `would_do_s` is the spacing in seconds that would keep
    errors within the tolerance.
    """

    inside_m: float | None
    first_m: float | None
    last_m: float | None
    spacing_m: float | None
    digits_m: float | None
    worst_utc: np.datetime64 | None
    scatter_m: float | None
    largest_gain: float | None
    would_do_s: float | None


@dataclass(frozen=True)
class Check:
    """The result of checking a satellite. `satellite` is its number, `record` its number within its file."""

    satellite: int
    record: int
    file: str
    format: str
    frame: str
    points: int
    first_utc: np.datetime64 | None
    last_utc: np.datetime64 | None
    spacing_s: Spacing | None
    interpolation: Interpolation
    covariances: int
    findings: list[Finding]


def _finding(found: Mapping[str, Any]) -> Finding:
    jump: Any = found["jump"]
    if jump:
        jump = Jump(jump["dv_m_s"], jump["dx_m"])
    values: dict[str, Any] = {**found, "jump": jump, "from_utc": _utc(found["from_utc"]),
                              "to_utc": _utc(found["to_utc"])}
    return Finding(**values)


def check(satellite: Satellite, *, tolerance_m: float = 1.0, gap_factor: float = 3.0, start: OneTime | None = None,
          end: OneTime | None = None) -> Check:
    """Look for faults in the points of a satellite, and estimate the errors of states between them.

    Parameters
    ----------
    satellite : Satellite
    tolerance_m : float
        Warns of states that may be off by more, in metres; above 0.
    gap_factor : float
        A gap is a step of more than this many times what is usual around it; at least 1.
    start, end : time, optional
        The range of the points to check.

    Returns
    -------
    Check

    Raises
    ------
    ClosedError
        If the satellite was closed.

    Examples
    --------
    >>> import vorlandi
    >>> found = check(vorlandi.load("81001_stk.e")[0])
    >>> found.points, found.spacing_s
    (361, Spacing(least=60.0, median=60.0, largest=60.0))
    """
    if not 0 < tolerance_m < np.inf or not 1 <= gap_factor < np.inf:
        raise ValueError("tolerance_m is above 0 and gap_factor at least 1")
    found = _vorlandi.check(satellite.key, tolerance_m, gap_factor, *_limits(start, end))
    interpolation: dict[str, Any] = {**found["interpolation"], "worst_utc": _utc(found["interpolation"]["worst_utc"])}
    return Check(satellite.number, satellite.record, satellite.file, satellite.format, satellite.frame,
                 found["points"], _utc(found["first_utc"]), _utc(found["last_utc"]),
                 found["spacing_s"] and Spacing(**found["spacing_s"]), Interpolation(**interpolation),
                 found["covariances"], [_finding(one) for one in found["findings"]])


def error_at(satellite: Satellite, t: TimeLike) -> Any:
    """Estimated error of the interpolated position of a satellite in metres; see `Satellite.error`."""
    known = satellite._interval_errors
    if known is None or len(known[0]) != len(satellite):
        known = satellite._interval_errors = _vorlandi.interval_errors(satellite.key)
    points, errors = known
    times = np.asarray(ds50(t))
    if len(points) == 0:
        return np.full(times.shape, np.nan)[()]
    after = np.searchsorted(points, times - _COINCIDENCE_DAYS)
    inside = (times >= points[0]) & (times <= points[-1])
    at_point = np.abs(points[np.clip(after, 0, len(points) - 1)] - times) < _COINCIDENCE_DAYS
    between = errors[np.clip(after, 1, len(points) - 1) - 1] if len(errors) else np.nan
    return np.where(inside, np.where(at_point, 0.0, between), np.nan)[()]


@dataclass(frozen=True)
class Statistics:
    """Mean, root mean square, and the value of the largest magnitude, with its sign and time."""

    mean: float | None
    rms: float | None
    largest: float | None
    largest_utc: np.datetime64 | None


@dataclass(frozen=True)
class Normalized:
    """Distances in sigmas of the covariances. With good covariances 1 % are above 3.368, which `share_above` counts."""

    count: int
    median: float
    largest: float
    largest_utc: np.datetime64
    share_above: float


@dataclass(frozen=True)
class TimeOffset:
    """B is at each time where A is `seconds` later, which leaves differences of `rms_m` metres."""

    seconds: float
    meaning: str | None
    rms_m: float


@dataclass(frozen=True)
class Rotation:
    """B's positions are A's, turned about an axis, which leaves differences of `rms_m` metres."""

    degrees: float
    axis: tuple[float, float, float]
    meaning: str | None
    rms_m: float


@dataclass(frozen=True)
class Comparison:
    """B minus A on the radial, in-track and cross-track axes of A.

    `gaps_a` and `gaps_b` count the gaps between the points of each, `in_gaps_a` and `in_gaps_b` the times in them,
    where differences can be due to interpolation.

    `statistics` has an entry for each of radial_m, in_track_m, cross_track_m, distance_m, radial_mm_s, in_track_mm_s,
    cross_track_mm_s and speed_mm_s. `states` is a structured array with these fields at each time, besides `time_utc`
    and `normalized`; missing values are NaN.
    """

    satellite: int
    satellite_b: int
    file_a: str
    file_b: str
    record_a: int
    record_b: int
    frame: str
    frame_b: str
    first_utc: np.datetime64 | None
    last_utc: np.datetime64 | None
    compared: int
    unanswered: int
    gaps_a: int
    gaps_b: int
    in_gaps_a: int
    in_gaps_b: int
    statistics: dict[str, Statistics]
    normalized: Normalized | None
    time_offset: TimeOffset | None
    rotation: Rotation | None
    states: NDArray[Any]


def _statistics(found: Mapping[str, Any]) -> Any:
    return {**found, "largest_utc": _utc(found["largest_utc"])}


def diff(a: Satellite, b: Satellite, *, step_s: float | None = None, start: OneTime | None = None,
         end: OneTime | None = None, ignore_frames: bool = False) -> Comparison:
    """Compare satellite `b` with satellite `a`.

    Parameters
    ----------
    a, b : Satellite
    step_s : float, optional
        Seconds between the times; the points of `a` in the time that both cover if not given.
    start, end : time, optional
        The range of times.
    ignore_frames : bool
        Also compare satellites in different frames. Frames are never converted.

    Returns
    -------
    Comparison

    Raises
    ------
    ValueError
        If the frames differ, or the step gives more than 20 million times.
    NoDataError
        If there is no time at which both have a state.

    Examples
    --------
    >>> import vorlandi
    >>> a, b = vorlandi.load("81001_stk.e", "81001_v31.txt")
    >>> diff(a, b).compared
    361
    """
    if a.frame != b.frame and not ignore_frames:
        raise ValueError(f"the frames differ, {a.frame} and {b.frame}; ignore_frames=True compares them as they are")
    if step_s is not None and not 1e-6 <= step_s < np.inf:
        raise ValueError("step_s is at least a microsecond")
    first, last = _limits(start, end)
    found = _vorlandi.compare(a.key, b.key, first, last, step_s)
    if not found or not found["compared"]:
        raise NoDataError("there is no time at which both satellites have a state")
    names = ("time_utc", *found["statistics"], "normalized")
    rows = found["differences"]
    states = np.empty(len(rows), dtype=[(name, "M8[ns]" if name == "time_utc" else "f8") for name in names])
    for at, name in enumerate(names):
        states[name] = to_datetime64(rows[:, at]) if name == "time_utc" else rows[:, at]
    return Comparison(
        a.number, b.number, a.file, b.file, a.record, b.record, a.frame, b.frame, _utc(found["first_utc"]),
        _utc(found["last_utc"]), found["compared"], found["unanswered"],
        found["gaps_a"], found["gaps_b"], found["in_gaps_a"], found["in_gaps_b"],
        {name: Statistics(**_statistics(one)) for name, one in found["statistics"].items()},
        found["normalized"] and Normalized(**_statistics(found["normalized"])),
        found["time_offset"] and TimeOffset(**found["time_offset"]),
        found["rotation"] and Rotation(**found["rotation"]), states)


@dataclass(frozen=True)
class Approaches:
    """Close approaches.

    Attributes
    ----------
    within_km : float
    satellites : numpy.ndarray, shape (n,)
        Structured: satellite (its number), record, file, frame, and answered, the part of its span in the range that
        has states.
    approaches : numpy.ndarray
        Structured, by time: number_a, number_b, file_a, file_b, time_utc, distance_km, radial_km, in_track_km,
        cross_track_km (of b from a, on the axes of a), speed_km_s, sigma_distance (NaN without covariances), at_end (of
        the common span), record_a, record_b, and the positions index_a and index_b of the two among the satellites.
    pairs_across_frames, pairs_of_same_number : int
        Pairs that were not compared.
    in_unknown_frames : numpy.ndarray
        Positions among the satellites of those that were not compared since the axes of their frame are not known.
    """

    within_km: float
    satellites: NDArray[Any]
    approaches: NDArray[Any]
    pairs_across_frames: int
    pairs_of_same_number: int
    in_unknown_frames: NDArray[np.int64]


def _text_type(texts: Iterable[str]) -> str:
    return f"U{max(map(len, texts), default=0) or 1}"


def _warn_of_missing_velocities(satellites: list[Satellite]) -> None:
    if satellites:
        first = satellites[0]
        others = f", and of {len(satellites) - 1} more" if len(satellites) > 1 else ""
        warnings.warn(f"satellite {first.number} ({first.file}): all velocities are zero{others}: states between the "
                      "points are useless", stacklevel=3)


def approaches(satellites: Iterable[Satellite], within_km: float, *, step_s: float = 60.0, start: OneTime | None = None,
               end: OneTime | None = None, same_number: bool = False, threads: int = 1) -> Approaches:
    """Find where satellites come close to each other: each against all others of its frame.

    Parameters
    ----------
    satellites : Ephemerides or other satellites
    within_km : float
        Approaches nearer than this; 1e-6 to 1e5.
    step_s : float
        Seconds between the times at which all are sorted by position, 1 to 300. For points that follow an orbit the
        result does not depend on it, but minima nearer to each other than a quarter of it can be missed.
    start, end : time, optional
        The range of times.
    same_number : bool
        Also compare records with the same number.
    threads : int
        The result does not depend on it.

    Returns
    -------
    Approaches
        The local minima of distances, and the ends of common spans nearer than `within_km`. Pairs across frames are
        counted and not compared; so are satellites in frames whose axes are not known.

    Warns
    -----
    UserWarning
        If satellites have no velocities: states between their points are useless.
    """
    threads = operator.index(threads)
    if not 1e-6 <= within_km <= 1e5 or not 1 <= step_s <= _LARGEST_STEP_S or not 1 <= threads <= MOST_THREADS:
        raise ValueError(f"within_km is 1e-6 to 1e5, step_s 1 to 300, threads 1 to {MOST_THREADS}")
    them = list(satellites)
    found = _vorlandi.approaches([satellite.key for satellite in them], within_km, step_s, *_limits(start, end),
                                 same_number, threads)
    _warn_of_missing_velocities([them[i] for i in found["without_velocities"]])
    files = _text_type(satellite.file for satellite in them)
    table = np.array([(one.number, one.record, one.file, one.frame, share)
                      for one, share in zip(them, found["answered"])],
                     dtype=[("satellite", "i4"), ("record", "i4"), ("file", files), ("frame", "U8"),
                            ("answered", "f8")])
    columns = ("time_utc", "distance_km", "radial_km", "in_track_km", "cross_track_km", "speed_km_s", "sigma_distance")
    events = np.empty(len(found["at_end"]), dtype=[
        ("number_a", "i4"), ("number_b", "i4"), ("file_a", files), ("file_b", files),
        *((name, "M8[ns]" if name == "time_utc" else "f8") for name in columns),
        ("at_end", "?"), ("record_a", "i4"), ("record_b", "i4"), ("index_a", "i8"), ("index_b", "i8")])
    for side, at in (("a", 0), ("b", 1)):
        index = events[f"index_{side}"] = found["indices"][:, at]
        for name, column in (("number", "satellite"), ("file", "file"), ("record", "record")):
            events[f"{name}_{side}"] = table[column][index]
    values: Floats = found["values"]
    for at, name in enumerate(columns):
        events[name] = to_datetime64(values[:, at]) if name == "time_utc" else values[:, at]
    events["at_end"] = found["at_end"]
    return Approaches(within_km, table, events, found["pairs_across_frames"], found["pairs_of_same_number"],
                      np.array(found["in_unknown_frames"], np.int64))

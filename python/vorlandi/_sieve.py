"""Which pairs of many satellites can come close to each other, from samples of their states, and where they do.

Time is cut into steps. The sample of a step is in its middle, on axes that don't rotate; what happens within half a
step of it is ruled out by bounds of the motion, or looked at in detail by the library.
"""

from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from vorlandi import _vorlandi
from vorlandi._satellite import Satellite
from vorlandi.times import Floats

Integers = NDArray[np.int64]

_ROUNDING_S = 1e-5
_DAY_S = 86400.0
_PAD_DAYS = 1.0 / _DAY_S
SAMPLE_SIZE = 7


@dataclass(frozen=True)
class Steps:
    """Even steps of TAI that cover a range of times, all Ds50UTC outside; `start` and `stop` may be infinite."""

    first_tai: float
    step_s: float
    count: int
    start: float
    stop: float

    @classmethod
    def covering(cls, first: float, last: float, step_s: float, start: float, stop: float) -> Steps:
        begin, end = _vorlandi.utc_to_tai(first), _vorlandi.utc_to_tai(last)
        return cls(begin, step_s, int((end - begin) * _DAY_S // step_s) + 1, start, stop)

    def some(self, first: int, count: int) -> Steps:
        """Neighbouring ones of these."""
        return Steps(self.first_tai + first * (self.step_s / _DAY_S), self.step_s, count, self.start, self.stop)

    def tai(self, number: Floats) -> Floats:
        return self.first_tai + number * (self.step_s / _DAY_S)

    def times(self, number: Floats) -> Floats:
        """UTC at so many steps from the begin."""
        return np.asarray(_vorlandi.tai_to_utc(self.tai(number)))


# ---- Samples ----


def _pieces(satellite: Satellite, steps: Steps) -> list[tuple[float, float]]:
    """The stretches in which a satellite has states."""
    times = satellite.points.ds50
    answered = satellite.answers((times[1:] + times[:-1]) / 2)
    changes = np.flatnonzero(np.diff(answered, prepend=False, append=False))
    pieces = ((max(times[first], steps.start), min(times[last], steps.stop))
              for first, last in zip(changes[::2], changes[1::2]))
    return [(first, last) for first, last in pieces if first < last]


def _clipped(times: Floats, first: float, last: float) -> tuple[Floats, Floats]:
    """Times within a span, and the same in TAI."""
    clipped = np.clip(times, first, last)
    return clipped, np.asarray(_vorlandi.utc_to_tai(clipped))


def sample(satellite: Satellite, steps: Steps, rotating: bool) -> Floats:
    """Samples of all steps, shape (count, 7); NaN where it has no states within the step.

    A sample is the state in the middle of the step, and how far the satellite departs from that orbit at the step's
    ends, in km. A satellite whose states begin or end within a step is taken along its orbit from there.
    """
    samples = np.full((steps.count, SAMPLE_SIZE), np.nan)
    if len(satellite) == 0:
        return samples
    edges = steps.times(np.arange(steps.count + 1.0))
    middles = steps.times(np.arange(steps.count) + 0.5)
    for first, last in reversed(_pieces(satellite, steps)):
        begin = int(np.searchsorted(edges[1:], first, "right"))
        end = int(np.searchsorted(edges[:-1], last, "right"))
        some = samples[begin:end]
        middle_tai = steps.tai(np.arange(begin, end) + 0.5)
        times, tai = _clipped(middles[begin:end], first, last)
        after_s = (middle_tai - tai) * _DAY_S
        after_s[times == middles[begin:end]] = 0.0
        some[:, :6] = _vorlandi.propagated(satellite.state(times, errors="nan"), after_s, rotating)
        some[:, 6] = 0.0
        for ends in edges[begin:end], edges[begin + 1:end + 1]:
            times, tai = _clipped(ends, first, last)
            states = satellite.state(times, errors="nan")
            departures = _vorlandi.departures(some, states, (tai - middle_tai) * _DAY_S, rotating)
            some[:, 6] = np.fmax(some[:, 6], departures)
    return samples


# ---- The sieve ----


def sieve(slab: Floats, first_step: int, numbers: Integers, within_km: float, step_s: float) -> Integers:
    """Pairs that may be nearer than `within_km` within half a step of a sample.

    Parameters
    ----------
    slab : numpy.ndarray, shape (satellites, steps, 7)
        The samples of some steps, of which `first_step` is the first; NaN where a satellite has none.
    numbers : numpy.ndarray, shape (satellites,)
        Equal ones are not compared; below 0 they are never equal.

    Returns
    -------
    numpy.ndarray, shape (n, 3)
        Two satellites, the lower first, and a step.
    """
    found: Integers = _vorlandi.sieve(np.ascontiguousarray(slab), first_step, numbers, within_km,
                                      step_s / 2 + _ROUNDING_S)
    return found


# ---- Approaches ----


def runs(candidates: Integers) -> Iterator[tuple[int, int, int, int]]:
    """Pairs with the first and last of successive steps."""
    if len(candidates) == 0:
        return
    rows = candidates[np.lexsort(candidates.T[::-1])]
    breaks = (np.diff(rows[:, :2], axis=0) != 0).any(1) | (np.diff(rows[:, 2]) > 1)
    borders = np.concatenate([[0], np.flatnonzero(breaks) + 1, [len(rows)]])
    for first, last in zip(borders[:-1], borders[1:] - 1):
        a, b, begin = rows[first].tolist()
        yield a, b, begin, int(rows[last, 2])


def examine(a: Satellite, b: Satellite, first: int, last: int, steps: Steps, within_km: float) -> tuple[
        Floats, NDArray[np.bool_]]:
    """The approaches of two satellites in the steps `first` to `last`: values, shape (n, 7), by time, and whether they
    are at an end."""
    begin, end = steps.times(np.array([first, last + 1.0])).tolist()
    # Rounding must not leave the very ends out.
    begin = -np.inf if first == 0 else begin
    end = np.inf if last == steps.count - 1 else end
    # A margin keeps the ends of the range out of the steps, which would count as ends of the common span.
    found = _vorlandi.approaches([a.key, b.key], within_km, steps.step_s, max(begin - _PAD_DAYS, steps.start),
                                 min(end + _PAD_DAYS, steps.stop), True, 1)
    values: Floats = found["values"]
    inside = (begin <= values[:, 0]) & (values[:, 0] < end)
    return values[inside], np.asarray(found["at_end"], bool)[inside]

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

_MU_KM3_S2 = 398600.4418
_EARTH_RADIUS_KM = 6378.137
_EARTH_ROTATION_RAD_S = 7.292115e-5
_J2 = 1.0826e-3
_LEAST_RADIUS_KM = 1000.0  # nothing orbits nearer to the centre
_OTHER_FORCES_KM_S2 = 1e-7  # of sun and moon at three times the geostationary distance, of drag and low thrust
# A sample can be up to half a step from the state that it was taken from, along a polynomial of degree 3. What that
# lacks in position, acceleration and jerk is covered by 1 + 6 + 4 times the bound of the next derivative.
_SNAPS = 11.0
_ROUNDING_S = 1e-5
_DAY_S = 86400.0
_BITS = 21  # of a cell's coordinate; the outermost values are not used, so that neighbours in x differ by one
_FARTHEST_CELL = (1 << (_BITS - 1)) - 2
_ROW, _LAYER = 1 << _BITS, 1 << 2 * _BITS
_ROWS_AHEAD = (_ROW, _LAYER - _ROW, _LAYER, _LAYER + _ROW)  # the other half has these as neighbours
_MOST_PAIRS = 1 << 20  # are looked at together
_PAD_DAYS = 1.0 / _DAY_S

ROTATING = {"ECI": False, "J2K": False, "EFG": True, "ECR": True}


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


def _accelerations(position: Floats, velocity: Floats) -> tuple[Floats, Floats, Floats]:
    """Acceleration and jerk of two bodies, and the radius."""
    radius = np.maximum(np.linalg.norm(position, axis=-1), _LEAST_RADIUS_KM)[..., np.newaxis]
    rate2 = _MU_KM3_S2 / radius**3
    unit = position / radius
    along = (velocity * unit).sum(-1, keepdims=True)
    return -rate2 * position, -rate2 * (velocity - 3 * along * unit), radius[..., 0]


def _moved(states: Floats, seconds: Floats, rotating: bool) -> Floats:
    """States on fixed axes, some seconds later, for less than a step."""
    position, velocity = states[:, :3], states[:, 3:].copy()
    if rotating:
        velocity[:, 0] -= _EARTH_ROTATION_RAD_S * position[:, 1]
        velocity[:, 1] += _EARTH_ROTATION_RAD_S * position[:, 0]
    acceleration, jerk, _ = _accelerations(position, velocity)
    t = seconds[:, np.newaxis]
    result = np.hstack([position + t * (velocity + t / 2 * (acceleration + t / 3 * jerk)),
                        velocity + t * (acceleration + t / 2 * jerk)])
    if rotating:  # the axes of the other samples are those of the later time
        turned = result.copy()
        cosine, sine = np.cos(_EARTH_ROTATION_RAD_S * seconds), np.sin(_EARTH_ROTATION_RAD_S * seconds)
        for x in (0, 3):
            turned[:, x] = cosine * result[:, x] + sine * result[:, x + 1]
            turned[:, x + 1] = cosine * result[:, x + 1] - sine * result[:, x]
        return turned
    return result


def sample(satellite: Satellite, steps: Steps, rotating: bool) -> Floats:
    """States in the middle of all steps, shape (count, 6); NaN where it has none within the step.

    A satellite whose states begin or end within a step is taken along its orbit from there.
    """
    samples = np.full((steps.count, 6), np.nan)
    if len(satellite) == 0:
        return samples
    edges = steps.times(np.arange(steps.count + 1.0))
    middles = steps.times(np.arange(steps.count) + 0.5)
    for first, last in reversed(_pieces(satellite, steps)):
        begin = int(np.searchsorted(edges[1:], first, "right"))
        end = int(np.searchsorted(edges[:-1], last, "right"))
        times = np.clip(middles[begin:end], first, last)
        seconds = (steps.tai(np.arange(begin, end) + 0.5) - np.asarray(_vorlandi.utc_to_tai(times))) * _DAY_S
        seconds[times == middles[begin:end]] = 0.0
        samples[begin:end] = _moved(satellite.state(times, errors="nan"), seconds, rotating)
    return samples


# ---- The sieve ----


def _neighbours(position: Floats, edge_km: float) -> Iterator[tuple[Integers, Integers]]:
    """Pairs in the same or in neighbouring cells, each once."""
    cells = np.clip(np.floor(position / edge_km), -_FARTHEST_CELL, _FARTHEST_CELL).astype(np.int64) + (_ROW >> 1)
    keys = cells[:, 0] + _ROW * cells[:, 1] + _LAYER * cells[:, 2]
    order = np.argsort(keys, kind="stable")
    keys = keys[order]
    lows = [np.arange(1, len(keys) + 1)] + [np.searchsorted(keys, keys + row - 1, "left") for row in _ROWS_AHEAD]
    for low, row in zip(lows, (0, *_ROWS_AHEAD)):
        counts = np.searchsorted(keys, keys + row + 1, "right") - low
        totals = np.cumsum(counts)
        at = 0
        while at < len(keys):
            before = totals[at - 1] if at else 0
            end = max(int(np.searchsorted(totals, before + _MOST_PAIRS, "right")), at + 1)
            some = counts[at:end]
            first = np.repeat(np.arange(at, end), some)
            starts = np.repeat(low[at:end] - (totals[at:end] - some - before), some)
            yield order[first], order[starts + np.arange(len(first))]
            at = end


def close_pairs(states: Floats, numbers: Integers, within_km: float, half_step_s: float) -> Integers:
    """Pairs that may be nearer than `within_km` within half a step of a sample of all their states.

    Parameters
    ----------
    states : numpy.ndarray, shape (n, 6)
    numbers : numpy.ndarray, shape (n,)
        Equal ones are not compared; below 0 they are never equal.

    Returns
    -------
    numpy.ndarray, shape (pairs, 2)
        Row numbers, the lower first.
    """
    t = half_step_s + _ROUNDING_S
    position, velocity = states[:, :3], states[:, 3:]
    acceleration, jerk, radius = _accelerations(position, velocity)
    rate2 = _MU_KM3_S2 / radius**3
    speed2 = (velocity**2).sum(1)
    snap = _SNAPS * rate2 * (4 * rate2 * radius + 24 * speed2 / radius)
    perturbation = 3 * _J2 * _MU_KM3_S2 * (_EARTH_RADIUS_KM / radius**2)**2 + _OTHER_FORCES_KM_S2
    travel = t * (np.sqrt(speed2) + t / 2 * (np.linalg.norm(acceleration, axis=1) + perturbation + t / 3 * (
        np.linalg.norm(jerk, axis=1) + t / 4 * snap)))
    edge_km = within_km + 2 * float(travel.max(initial=0.0))
    found = [np.empty((0, 2), np.int64)]
    for a, b in _neighbours(position, edge_km):
        near = ((position[b] - position[a])**2).sum(1) <= edge_km**2
        near &= (numbers[a] != numbers[b]) | (numbers[a] < 0)
        a, b = a[near], b[near]
        apart, relative = position[b] - position[a], velocity[b] - velocity[a]
        square = (relative**2).sum(1)
        nearest_s = np.clip(-(apart * relative).sum(1) / np.where(square > 0, square, 1.0), -t, t)[:, np.newaxis]
        # How far the distance can depart from that of straight and even motion.
        departure = t * t / 2 * (
            np.linalg.norm(acceleration[b] - acceleration[a], axis=1) + perturbation[a] + perturbation[b]
            + t / 3 * (np.linalg.norm(jerk[b] - jerk[a], axis=1) + t / 4 * (snap[a] + snap[b])))
        kept = np.linalg.norm(apart + nearest_s * relative, axis=1) < within_km + departure
        found.append(np.sort(np.stack([a[kept], b[kept]], 1), axis=1))
    return np.concatenate(found)


def sieve(slab: Floats, first_step: int, numbers: Integers, within_km: float, step_s: float) -> Integers:
    """Candidates, shape (n, 3): two satellites and a step; of samples, shape (satellites, steps, 6)."""
    found = [np.empty((0, 3), np.int64)]
    for k in range(slab.shape[1]):
        present = np.flatnonzero(np.isfinite(slab[:, k]).all(1))
        pairs = present[close_pairs(slab[present, k], numbers[present], within_km, step_s / 2)]
        found.append(np.column_stack([pairs, np.full(len(pairs), first_step + k)]))
    return np.concatenate(found)


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

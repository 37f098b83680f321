"""Close approaches of all satellites of an index with all others, on the workers of Dask.

The satellites are sampled where their files are, the samples sieved in slabs of time that hold all satellites, and the
pairs that are left examined in blocks.
"""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import dask
import dask.array
import dask.dataframe
import numpy as np
import pandas
from dask.base import tokenize
from dask.highlevelgraph import HighLevelGraph
from numpy.typing import NDArray

from vorlandi import _sieve
from vorlandi._cache import CACHE, Part, part_of, parts_of, point_bytes
from vorlandi._opened import Opened, opening
from vorlandi._satellite import ROTATING, Satellite
from vorlandi.times import Floats, OneTime, ds50, to_datetime64

_STEPS_PER_SAMPLE, _STEPS_PER_SLAB = 1440, 60
_LEAST_BLOCKS, _MOST_BLOCKS = 8, 64
_BLOCKS_IN_CACHE = 3  # those of two tasks that share one
_NAMELESS = (0, 99999)  # numbers that don't say which satellite it is
_VALUES = ("time_utc", "distance_km", "radial_km", "in_track_km", "cross_track_km", "speed_km_s", "sigma_distance")


@dataclass(frozen=True)
class _Search:
    """What all tasks of a search know."""

    steps: _sieve.Steps
    within_km: float
    is_rotating: bool


@dataclass(frozen=True)
class _Block:
    """Neighbouring rows of an index, from `first` on."""

    first: int
    part: Part
    number: NDArray[Any]
    file: NDArray[Any]
    record: NDArray[Any]

    def holds(self, rows: NDArray[np.int64]) -> NDArray[np.bool_]:
        return (self.first <= rows) & (rows < self.first + len(self.part))

    def satellites(self, rows: NDArray[np.int64]) -> dict[int, Satellite]:
        found = CACHE.satellites(self.part.take(rows - self.first))
        return {row: satellite for row, satellite in zip(rows.tolist(), found) if satellite is not None}

    def names(self, rows: NDArray[np.int64], side: str) -> dict[str, NDArray[Any]]:
        return {f"{name}_{side}": getattr(self, name)[rows - self.first] for name in ("number", "file", "record")}


def _sampled(opened: Opened, search: _Search, first: int, count: int) -> Floats:
    steps = search.steps.some(first, count)
    samples = np.empty((len(opened.part), count, _sieve.SAMPLE_SIZE))
    for at, satellite in enumerate(CACHE.satellites(opened.part)):
        assert satellite is not None
        samples[at] = _sieve.sample(satellite, steps, search.is_rotating)
    return samples


def _sieved(slab: Floats, first: int, numbers: NDArray[np.int64], search: _Search) -> NDArray[np.int64]:
    return _sieve.sieve(slab, first, numbers, search.within_km, search.steps.step_s)


def _table(pairs: NDArray[np.int64], values: Floats, at_end: NDArray[np.bool_], a: _Block, b: _Block) -> Any:
    columns: dict[str, Any] = {**a.names(pairs[:, 0], "a"), **b.names(pairs[:, 1], "b")}
    for at, name in enumerate(_VALUES):
        columns[name] = to_datetime64(values[:, at]) if at == 0 else values[:, at]
    columns["at_end"] = at_end
    names = ("number_a", "number_b", "file_a", "file_b", *_VALUES, "at_end", "record_a", "record_b")
    return pandas.DataFrame({name: columns[name] for name in names})


def _refined(candidates: list[NDArray[np.int64]], a: _Block, b: _Block, search: _Search) -> Any:
    """The approaches between the satellites of two blocks."""
    wanted = np.concatenate([some[a.holds(some[:, 0]) & b.holds(some[:, 1])] for some in candidates])
    satellites = {**a.satellites(np.unique(wanted[:, 0])), **b.satellites(np.unique(wanted[:, 1]))}
    pairs, values, ends = [], [np.empty((0, len(_VALUES)))], [np.empty(0, bool)]
    for i, j, first, last in _sieve.runs(wanted):
        found, at_end = _sieve.examine(satellites[i], satellites[j], first, last, search.steps, search.within_km)
        pairs += [(i, j)] * len(found)
        values.append(found)
        ends.append(at_end)
    all_pairs, all_values, all_ends = np.array(pairs, np.int64).reshape(-1, 2), np.vstack(values), np.hstack(ends)
    order = np.lexsort((all_pairs[:, 1], all_pairs[:, 0], all_values[:, 0]))
    return _table(all_pairs[order], all_values[order], all_ends[order], a, b)


def block_count(satellites: int, size: int, cache: int) -> int:
    """The blocks of satellites whose points are so many bytes. A process that can't hold all loads the files of a block
    for each of its tasks: fewer blocks are fewer loads, more are more tasks for many workers."""
    wanted = -(-size * _BLOCKS_IN_CACHE // max(cache, 1))
    return min(satellites, max(_LEAST_BLOCKS, min(_MOST_BLOCKS, wanted)))


def _blocks(rows: Any) -> list[_Block]:
    size = sum(point_bytes(*row) for row in zip(rows["points"].tolist(), rows["covariance"].tolist()))
    limit: int = dask.delayed(CACHE.limit, pure=False)().compute()  # of a worker; here it could be another
    count = block_count(len(rows), size, limit)
    borders = np.linspace(0, len(rows), count + 1).astype(int).tolist()
    return [_Block(first, part_of(some), *(some[name].to_numpy() for name in ("number", "file", "record")))
            for first, some in ((first, rows.iloc[first:end]) for first, end in zip(borders, borders[1:]))]


def _samples(rows: Any, search: _Search) -> list[Any]:
    """The samples of all satellites, in slabs of some steps."""
    parts = parts_of(rows, len(rows))
    count = search.steps.count
    lots = [(first, min(_STEPS_PER_SAMPLE, count - first)) for first in range(0, count, _STEPS_PER_SAMPLE)]
    token = tokenize(parts, search)
    name = f"vorlandi-samples-{token}"
    opened = opening(parts, token)
    chunks = {(name, i, j, 0): (_sampled, source, search, *lot)
              for i, source in enumerate(opened) for j, lot in enumerate(lots)}
    sizes = (tuple(len(part) for part in parts), tuple(steps for _, steps in lots), (_sieve.SAMPLE_SIZE,))
    graph = HighLevelGraph.from_collections(name, {**opened, **chunks})
    samples = dask.array.Array(graph, name, sizes, dtype=np.float64)
    slabs: list[Any] = samples.rechunk((len(rows), _STEPS_PER_SLAB, _sieve.SAMPLE_SIZE)).to_delayed().ravel().tolist()
    return slabs


def _search(rows: Any, start: OneTime | None, stop: OneTime | None, within_km: float, step_s: float) -> _Search:
    if not 1e-6 <= within_km <= 1e5 or not 1 <= step_s <= 300:
        raise ValueError("within_km is 1e-6 to 1e5, step_s 1 to 300")
    if len(rows) == 0:
        raise ValueError("the index has no satellites")
    frames = sorted(set(rows["frame"]))
    if len(frames) > 1 or frames[0] not in ROTATING:
        raise ValueError(f"satellites of one frame, {', '.join(ROTATING)}, can be compared; these are in "
                         f"{', '.join(frames)}: take index[index.frame == {frames[0]!r}]")
    begin, end = -np.inf if start is None else ds50(start), np.inf if stop is None else ds50(stop)
    first, last = max(begin, rows["start"].min()), min(end, rows["end"].max())
    if not begin <= end:
        raise ValueError("the range of times ends before it begins")
    if not first < last:
        raise ValueError("no satellite has states in the range of times")
    return _Search(_sieve.Steps.covering(first, last, step_s, begin, end), within_km, ROTATING[frames[0]])


def close_approaches(index: Any, start: OneTime | None = None, stop: OneTime | None = None, *, within_km: float = 10.0,
                     step_s: float = 60.0, same_number: bool = False) -> Any:
    """Find where satellites come close to each other: all against all.

    Parameters
    ----------
    index : pandas.DataFrame
        What `index` returned, or some rows of it; all in one frame.
    start, stop : time, optional
        The range of times.
    within_km : float
        Approaches nearer than this; 1e-6 to 1e5.
    step_s : float
        Seconds between the samples by which pairs are sieved, 1 to 300.
    same_number : bool
        Also compare records with the same number.

    Returns
    -------
    dask.dataframe.DataFrame
        The columns of `analysis.approaches` but for index_a and index_b. A partition has the approaches of two blocks
        of satellites, by time.

    Raises
    ------
    ValueError
        If the frames differ, or are not known. Frames are never converted.
    FileChangedError, LoadError
        When it is computed, as for `states`.

    Notes
    -----
    States at every step are taken where the files are, then turned to slabs of an hour that hold all satellites, and
    sieved there. The pairs that are left are examined by `analysis.approaches` within the steps in question, on
    workers that load their files again if need be. The states of all steps are in the workers' memory meanwhile, 56
    bytes each.
    """
    search = _search(index, start, stop, within_km, step_s)
    numbers = index["number"].to_numpy(np.int64, copy=True)
    numbers[np.isin(numbers, _NAMELESS) | same_number] = -1
    known = dask.delayed(search, traverse=False)
    compared = dask.delayed(numbers, traverse=False)
    sieve, refine = dask.delayed(_sieved, pure=True), dask.delayed(_refined, pure=True)
    candidates = [sieve(slab, number * _STEPS_PER_SLAB, compared, known)
                  for number, slab in enumerate(_samples(index, search))]
    blocks = _blocks(index)
    empty = _table(np.empty((0, 2), np.int64), np.empty((0, len(_VALUES))), np.empty(0, bool), blocks[0], blocks[0])
    shared = [dask.delayed(block, traverse=False) for block in blocks]
    tables = [refine(candidates, a, b, known) for at, a in enumerate(shared) for b in shared[at:]]
    return dask.dataframe.from_delayed(tables, meta=empty)

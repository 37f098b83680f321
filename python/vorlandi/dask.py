"""States, covariances and close approaches of many files, on the workers of Dask.

Files are read where the work is done: every worker has to find them under the same names. Each process keeps what it
has loaded, up to a limit; see `cache_info`. Needs Dask with arrays, bags and dataframes, and pandas.

>>> import vorlandi.dask as vd
>>> index = vd.index(["81001_stk.e", "81001_oem.txt"])
>>> x = vd.states(index, ["2026-01-31T01:00:00", "2026-01-31T01:01:00"])
>>> x.shape, x[0, 0].compute(scheduler="sync").round(3).tolist()
((2, 2, 6), [4808.907, -1939.969, -4643.335, 1.699, 7.264, -1.277])
"""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable
from dataclasses import dataclass
from typing import Any

import dask
import dask.array
import dask.bag
import dask.dataframe
import numpy as np
import pandas
from dask.base import tokenize
from dask.highlevelgraph import HighLevelGraph
from dask.sizeof import sizeof
from numpy.typing import NDArray

from vorlandi import _sieve
from vorlandi._cache import CACHE, CacheInfo, File, FileChangedError, Part, point_bytes
from vorlandi._ephemerides import Ephemerides, Message
from vorlandi._errors import LoadError
from vorlandi._satellite import Errors, Satellite, wants_nan
from vorlandi.times import Floats, OneTime, TimeLike, ds50, to_datetime64

__all__ = ["CacheInfo", "FileChangedError", "cache_info", "clear_cache", "close_approaches", "covariances", "index",
           "map_satellites", "states"]


def cache_info() -> CacheInfo:
    """What this process has loaded, and the limit; ``client.run(vd.cache_info)`` says it for every worker.

    The limit is the environment's VORLANDI_CACHE_BYTES, else a third of the worker's memory, or of the machine's
    outside of workers. What was not used for the longest time goes first.

    Returns
    -------
    CacheInfo
    """
    return CACHE.info()


def clear_cache() -> None:
    """Forget what this process has loaded, and start counting again. Not while tasks run."""
    CACHE.clear()


# ---- The index ----


@dataclass(frozen=True)
class _Contents:
    """What a file holds: its table of satellites, or none if it can't be read."""

    file: File
    table: NDArray[Any] | None
    messages: list[Message]


def _read(paths: list[str], nan: bool) -> list[_Contents]:
    contents = []
    for path in paths:
        try:
            file, ephemerides = CACHE.read(path)
            contents.append(_Contents(file, ephemerides.table(), ephemerides.messages))
        except LoadError as error:
            if not nan:
                raise
            message = Message("error", "not-read", path, 0, "", str(error))
            contents.append(_Contents(File(path, ""), None, [message]))
    return contents


def _rows(contents: _Contents, task: int) -> Any:
    rows = pandas.DataFrame.from_records(contents.table)
    rows["path"] = contents.file.path
    rows["version"] = contents.file.version
    rows["place"] = np.arange(len(rows))
    rows["task"] = task
    return rows


def index(paths: Iterable[str | os.PathLike[str]], *, files_per_task: int = 50, errors: Errors = "raise") -> Any:
    """Read files on the workers and list their satellites.

    Parameters
    ----------
    paths : paths
        Ephemeris files of any kind that `vorlandi.load` reads, by the practical rules. A card file or an archive is one
        file here, which one task reads whole.
    files_per_task : int
        So many files are read by one task, and their satellites stay together in the chunks of all results.
    errors : {"raise", "nan"}
        What files do that can't be read: the first of them raises; or they become problems.

    Returns
    -------
    pandas.DataFrame
        A row a satellite, in the order of the files: number, frame, points, start, end (Ds50UTC), covariance, file and
        record, as `Ephemerides.table` has them; path, version, place (in the file) and task, by which the workers find
        it. Rows may be left out: ``index[index.points > 100]``. ``attrs["problems"]`` is the list of messages that
        loading has shown.

    Raises
    ------
    LoadError
        A file can't be read.
    """
    names = [os.path.abspath(os.fsdecode(path)) for path in paths]
    if not names or files_per_task < 1:
        raise ValueError("an index needs a file, and files_per_task is at least 1")
    nan = wants_nan(errors)
    groups = [names[at:at + files_per_task] for at in range(0, len(names), files_per_task)]
    read = dask.delayed(_read, pure=False)
    found: tuple[list[_Contents], ...] = dask.compute(*(read(group, nan) for group in groups))
    tables = [_rows(contents, task) for task, group in enumerate(found) for contents in group
              if contents.table is not None]
    if not tables:
        raise LoadError(f"{names[0]}: none of the files can be read", names[0])
    result = pandas.concat(tables, ignore_index=True)
    result.attrs["problems"] = [message for group in found for contents in group for message in contents.messages]
    return result


def _part(rows: Any) -> Part:
    """The satellites of some rows of an index."""
    numbers: dict[File, int] = {}
    file_of = [numbers.setdefault(File(*file), len(numbers)) for file in zip(rows["path"], rows["version"])]
    size = sum(point_bytes(*row) for row in zip(rows["points"].tolist(), rows["covariance"].tolist()))
    return Part(tuple(numbers), np.array(file_of, np.int64), rows["place"].to_numpy(np.int64), size)


def _parts(rows: Any, most: int) -> list[Part]:
    """Neighbouring rows of one task each, and not more than `most`."""
    if len(rows) == 0:
        raise ValueError("the index has no satellites")
    tasks = rows["task"].to_numpy()
    borders = [0, *(np.flatnonzero(np.diff(tasks)) + 1).tolist(), len(rows)]
    return [_part(rows.iloc[at:min(at + most, end)])
            for first, end in zip(borders, borders[1:]) for at in range(first, end, most)]


# ---- What the workers do ----


class _Opened:
    """Says where the satellites of a part are loaded. As large as they are, so that the scheduler leaves it there; a
    task that gets it elsewhere loads them again."""

    def __init__(self, part: Part) -> None:
        self.part = part


sizeof.register(_Opened, lambda opened: opened.part.bytes)


def _open(part: Part) -> _Opened:
    if part.bytes <= CACHE.limit():
        CACHE.satellites(part, missing=True)  # the chunks tell what can't be read
    return _Opened(part)


def _answers(opened: _Opened, times: Floats, matrices: bool, nan: bool) -> Floats:
    """A chunk of states or covariances."""
    found = CACHE.satellites(opened.part, missing=nan)
    present = [satellite for satellite in found if satellite is not None]
    ephemerides = Ephemerides(present)
    answer = ephemerides.covariances if matrices else ephemerides.states
    values = answer(times, errors="nan")
    if len(present) == len(found):
        return values
    result = np.full((len(found), *values.shape[1:]), np.nan)
    result[[at for at, satellite in enumerate(found) if satellite is not None]] = values
    return result


def _mapped(part: Part, function: Callable[[Satellite], Any]) -> list[Any]:
    return [function(satellite) for satellite in CACHE.satellites(part) if satellite is not None]


# ---- Collections ----


def _array(rows: Any, t: TimeLike, matrices: bool, errors: str, most: int, times_per_chunk: int) -> Any:
    times = np.asarray(ds50(t))
    if times.ndim != 1:
        raise ValueError("the times are not in one row")
    if most < 1 or times_per_chunk < 1:
        raise ValueError("a chunk has at least one satellite and one time")
    nan = wants_nan(errors)
    parts = _parts(rows, most)
    shape = (6, 6) if matrices else (6,)
    slabs = [times[at:at + times_per_chunk] for at in range(0, len(times), times_per_chunk)] or [times]
    token = tokenize(parts, slabs, matrices, nan)
    name = f"vorlandi-{'covariances' if matrices else 'states'}-{token}"
    opened: dict[Any, Any] = {(f"vorlandi-open-{token}", i): (_open, part) for i, part in enumerate(parts)}
    axes: dict[Any, Any] = {(f"vorlandi-times-{token}", j): slab for j, slab in enumerate(slabs)}
    zeros = (0,) * len(shape)
    chunks = {(name, i, j, *zeros): (_answers, source, axis, matrices, nan)
              for i, source in enumerate(opened) for j, axis in enumerate(axes)}
    graph = HighLevelGraph.from_collections(name, {**opened, **axes, **chunks})
    sizes = (tuple(len(part) for part in parts), tuple(len(slab) for slab in slabs), *((n,) for n in shape))
    return dask.array.Array(graph, name, sizes, dtype=np.float64)


def states(index: Any, t: TimeLike, *, errors: Errors = "raise", satellites_per_chunk: int = 500,
           times_per_chunk: int = 1440) -> Any:
    """States of all satellites of an index at many times, with the bits of `Ephemerides.states`.

    Parameters
    ----------
    index : pandas.DataFrame
        What `index` returned, or some rows of it. Rows of one task should be neighbours: they share chunks.
    t : m times
    errors : {"raise", "nan"}
        What satellites do whose file can't be read any more: they raise, or their rows are NaN. Times without an answer
        are NaN in either case.
    satellites_per_chunk, times_per_chunk : int
        The largest chunks; 500 x 1440 states are 35 MB. Satellites of different tasks are in different chunks.

    Returns
    -------
    dask.array.Array, shape (n, m, 6)
        km and km/s, each satellite in its own frame.

    Raises
    ------
    FileChangedError
        When it is computed: a file has changed since it was indexed.
    LoadError
        When it is computed: a file can't be read.
    """
    return _array(index, t, False, errors, satellites_per_chunk, times_per_chunk)


def covariances(index: Any, t: TimeLike, *, errors: Errors = "raise", satellites_per_chunk: int = 500,
                times_per_chunk: int = 240) -> Any:
    """Covariances of all satellites, shape (n, m, 6, 6), of km and km/s; otherwise as `states`."""
    return _array(index, t, True, errors, satellites_per_chunk, times_per_chunk)


def map_satellites(function: Callable[[Satellite], Any], index: Any) -> Any:
    """Call a function with each satellite.

    Parameters
    ----------
    function : callable
        Takes a `Satellite`, which it must not change or close, and returns something small.
    index : pandas.DataFrame
        What `index` returned, or some rows of it.

    Returns
    -------
    dask.bag.Bag
        The results in the order of the rows. Exceptions as for `states`, when it is computed. Without a cluster, Dask
        runs bags on processes, unless it is told ``scheduler="threads"``.

    Examples
    --------
    >>> bag = map_satellites(len, index(["81001_stk.e", "81001_oem.txt"]))
    >>> bag.compute(scheduler="sync")
    [361, 361]
    """
    parts = _parts(index, len(index))
    name = f"vorlandi-map-{tokenize(parts, function)}"
    graph = {(name, i): (_mapped, part, function) for i, part in enumerate(parts)}
    return dask.bag.Bag(HighLevelGraph.from_collections(name, graph), name, len(parts))


# ---- Close approaches ----

_STEPS_PER_SAMPLE, _STEPS_PER_SLAB = 1440, 60
_LEAST_BLOCKS, _MOST_BLOCKS, _BLOCK_BYTES = 8, 64, 250_000_000
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


def _sampled(part: Part, search: _Search, first: int, count: int) -> Floats:
    steps = search.steps.some(first, count)
    samples = np.empty((len(part), count, 6))
    for at, satellite in enumerate(CACHE.satellites(part)):
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


def _blocks(rows: Any) -> list[_Block]:
    size = sum(point_bytes(*row) for row in zip(rows["points"].tolist(), rows["covariance"].tolist()))
    count = min(len(rows), max(_LEAST_BLOCKS, min(_MOST_BLOCKS, -(-size // _BLOCK_BYTES))))
    borders = np.linspace(0, len(rows), count + 1).astype(int).tolist()
    return [_Block(first, _part(some), *(some[name].to_numpy() for name in ("number", "file", "record")))
            for first, some in ((first, rows.iloc[first:end]) for first, end in zip(borders, borders[1:]))]


def _samples(rows: Any, search: _Search) -> list[Any]:
    """The samples of all satellites, in slabs of some steps."""
    parts = _parts(rows, len(rows))
    count = search.steps.count
    lots = [(first, min(_STEPS_PER_SAMPLE, count - first)) for first in range(0, count, _STEPS_PER_SAMPLE)]
    name = f"vorlandi-samples-{tokenize(parts, search)}"
    graph = {(name, i, j, 0): (_sampled, part, search, *lot)
             for i, part in enumerate(parts) for j, lot in enumerate(lots)}
    sizes = (tuple(len(part) for part in parts), tuple(steps for _, steps in lots), (6,))
    samples = dask.array.Array(HighLevelGraph.from_collections(name, graph), name, sizes, dtype=np.float64)
    slabs: list[Any] = samples.rechunk((len(rows), _STEPS_PER_SLAB, 6)).to_delayed().ravel().tolist()
    return slabs


def _search(rows: Any, start: OneTime | None, stop: OneTime | None, within_km: float, step_s: float) -> _Search:
    if not 1e-6 <= within_km <= 1e5 or not 1 <= step_s <= 300:
        raise ValueError("within_km is 1e-6 to 1e5, step_s 1 to 300")
    if len(rows) == 0:
        raise ValueError("the index has no satellites")
    frames = sorted(set(rows["frame"]))
    if len(frames) > 1 or frames[0] not in _sieve.ROTATING:
        raise ValueError(f"satellites of one frame, {', '.join(_sieve.ROTATING)}, can be compared; these are in "
                         f"{', '.join(frames)}: take index[index.frame == {frames[0]!r}]")
    begin, end = -np.inf if start is None else ds50(start), np.inf if stop is None else ds50(stop)
    first, last = max(begin, rows["start"].min()), min(end, rows["end"].max())
    if not begin <= end:
        raise ValueError("the range of times ends before it begins")
    if not first < last:
        raise ValueError("no satellite has states in the range of times")
    return _Search(_sieve.Steps.covering(first, last, step_s, begin, end), within_km, _sieve.ROTATING[frames[0]])


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
        Compare records of equal number, too.

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
    workers that load their files again if need be. The states of all steps are in the workers' memory meanwhile, 48
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

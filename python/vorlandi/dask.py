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
from numpy.typing import NDArray

from vorlandi._cache import CACHE, CacheInfo, File, FileChangedError, Part, parts_of
from vorlandi._close_approaches import close_approaches
from vorlandi._ephemerides import Ephemerides, Message
from vorlandi._errors import LoadError
from vorlandi._opened import Opened, opening
from vorlandi._satellite import Errors, Satellite, wants_nan
from vorlandi.times import Floats, TimeLike, ds50

__all__ = ["CacheInfo", "FileChangedError", "cache_info", "clear_cache", "close_approaches", "covariances", "index",
           "map_satellites", "states"]


def cache_info() -> CacheInfo:
    """What this process has loaded, and the limit; ``client.run(vd.cache_info)`` says it for every worker.

    The limit is the environment's VORLANDI_CACHE_BYTES, else a third of the worker's memory, or of the machine's
    outside of workers. The least recently used files are dropped first.

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
            contents.append(_Contents(File(path, ""), None, _reasons(error, path)))
    return contents


def _reasons(error: LoadError, path: str) -> list[Message]:
    """What loading has told, or at least that it failed."""
    told = error.loaded.messages if error.loaded is not None else []
    if any(message.severity == "error" for message in told):
        return told
    return [*told, Message("error", "not-read", path, 0, "", str(error).removeprefix(f"{path}: "))]


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
    if isinstance(paths, (str, bytes, os.PathLike)):
        raise TypeError("paths is one file; an index takes a list of them")
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


# ---- What the workers do ----


def _answers(opened: Opened, times: Floats, matrices: bool, nan: bool) -> Floats:
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
    parts = parts_of(rows, most)
    shape = (6, 6) if matrices else (6,)
    slabs = [times[at:at + times_per_chunk] for at in range(0, len(times), times_per_chunk)] or [times]
    token = tokenize(parts, slabs, matrices, nan)
    name = f"vorlandi-{'covariances' if matrices else 'states'}-{token}"
    opened = opening(parts, token)
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
    parts = parts_of(index, len(index))
    name = f"vorlandi-map-{tokenize(parts, function)}"
    graph = {(name, i): (_mapped, part, function) for i, part in enumerate(parts)}
    return dask.bag.Bag(HighLevelGraph.from_collections(name, graph), name, len(parts))

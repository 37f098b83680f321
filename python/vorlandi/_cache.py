"""The files that a process has loaded, kept while they are used, for work that is divided into many small tasks."""

from __future__ import annotations

import errno
import hashlib
import os
import sys
import threading
from collections import OrderedDict
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np

from vorlandi._ephemerides import Ephemerides, load
from vorlandi._errors import LoadError
from vorlandi._satellite import Satellite

if TYPE_CHECKING:
    from numpy.typing import NDArray

POINT_BYTES, POINT_BYTES_WITH_COVARIANCE = 64, 232
_SHARE_OF_MEMORY = 3


class FileChangedError(LoadError):
    """A file is not the one that was indexed: its size or its modification time differs."""


@dataclass(frozen=True)
class File:
    """A file as it was indexed. `version` detects changes of it, and of the files that its cards name."""

    path: str
    version: str


@dataclass(frozen=True)
class Part:
    """Some satellites: which file each is in, and its place there."""

    files: tuple[File, ...]
    file_of: NDArray[np.int64]
    place: NDArray[np.int64]
    bytes: int  # of their points, or more

    def __len__(self) -> int:
        return len(self.place)

    def take(self, rows: NDArray[np.int64]) -> Part:
        """Some of them."""
        used, file_of = np.unique(self.file_of[rows], return_inverse=True)
        return Part(tuple(self.files[at] for at in used), file_of, self.place[rows], self.bytes)


@dataclass(frozen=True)
class CacheInfo:
    """The content of a process's cache.

    Attributes
    ----------
    files : int
        Files in it.
    bytes : int
        Bytes of their points, 64 per point, 232 with covariance.
    limit : int
        Bytes above which the least recently used file is dropped.
    loads, hits : int
        How often a file was read, and how often it was already in the cache.
    """

    files: int
    bytes: int
    limit: int
    loads: int
    hits: int


def point_bytes(points: int, covariance: bool) -> int:
    """The memory of a satellite's points."""
    return points * (POINT_BYTES_WITH_COVARIANCE if covariance else POINT_BYTES)


def part_of(rows: Any) -> Part:
    """The satellites of some rows of an index."""
    numbers: dict[File, int] = {}
    file_of = [numbers.setdefault(File(*file), len(numbers)) for file in zip(rows["path"], rows["version"])]
    size = sum(point_bytes(*row) for row in zip(rows["points"].tolist(), rows["covariance"].tolist()))
    return Part(tuple(numbers), np.array(file_of, np.int64), rows["place"].to_numpy(np.int64), size)


def parts_of(rows: Any, most: int) -> list[Part]:
    """Neighbouring rows of one task each, and not more than `most`."""
    if len(rows) == 0:
        raise ValueError("the index has no satellites")
    tasks = rows["task"].to_numpy()
    borders = [0, *(np.flatnonzero(np.diff(tasks)) + 1).tolist(), len(rows)]
    return [part_of(rows.iloc[at:min(at + most, end)])
            for first, end in zip(borders, borders[1:]) for at in range(first, end, most)]


def _version_of(ephemerides: Ephemerides, path: str) -> str:
    source = ephemerides._source
    if source is None:
        raise LoadError(f"{path}: is not a regular file and can't be read again", path)
    if len(source.states) == 1:
        _, size, modified_ns = source.states[0]
        return f"{size}-{modified_ns}"
    return hashlib.blake2b(repr(source.states).encode(), digest_size=16).hexdigest()


def _check_unchanged(ephemerides: Ephemerides, path: str) -> None:
    source = ephemerides._source
    changed = source.changed() if source else path
    if changed is None:
        return
    if not os.path.exists(changed):
        raise LoadError(f"{changed}: {os.strerror(errno.ENOENT)}", path, errno.ENOENT)
    raise FileChangedError(f"{changed}: the file has changed since it was indexed", path)


def _worker_memory() -> int:
    """The memory that this process may use: the Dask worker's if its thread asks, else the machine's."""
    distributed = sys.modules.get("distributed")  # a worker has imported it
    try:
        limit = distributed.get_worker().memory_manager.memory_limit if distributed else 0
    except ValueError:  # the thread is not a worker's
        limit = 0
    return int(limit or os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES"))


class _Entry:
    """A file, whose lock is held while it is read, so that several threads don't read it twice."""

    def __init__(self) -> None:
        self.lock = threading.Lock()
        self.ephemerides: Ephemerides | None = None
        self.bytes = 0


class Cache:
    """Loaded files, least recently used first.

    `_lock` guards everything but the entries' `ephemerides`, which their own locks guard; it is never held while a file
    is read, and it is taken after an entry's lock, never before. What is dropped from the cache stays in memory until
    the last task that uses it ends.
    """

    def __init__(self) -> None:
        self.clear()

    def clear(self) -> None:
        self._lock = threading.Lock()
        self._entries: OrderedDict[File, _Entry] = OrderedDict()
        self._bytes = 0
        self._loads = 0
        self._hits = 0

    @staticmethod
    def limit() -> int:
        """VORLANDI_CACHE_BYTES, else a third of the memory of the worker or the machine."""
        wanted = os.environ.get("VORLANDI_CACHE_BYTES", "")
        if wanted and not wanted.isdecimal():
            raise ValueError(f"VORLANDI_CACHE_BYTES is not a whole number: {wanted!r}")
        return int(wanted) if wanted else _worker_memory() // _SHARE_OF_MEMORY

    def info(self) -> CacheInfo:
        limit = self.limit()
        with self._lock:
            held = sum(entry.bytes > 0 for entry in self._entries.values())
            return CacheInfo(held, self._bytes, limit, self._loads, self._hits)

    def read(self, path: str) -> tuple[File, Ephemerides]:
        """Loads a file that is not indexed yet, and keeps it."""
        ephemerides = load(path, errors="ignore")
        file = File(path, _version_of(ephemerides, path))
        entry = _Entry()
        with self._lock:
            self._loads += 1
            entry = self._entries.setdefault(file, entry)
        with entry.lock:
            self._keep(file, entry, ephemerides)
        return file, ephemerides

    def get(self, file: File) -> Ephemerides:
        """The satellites of a file, loaded if need be.

        Raises
        ------
        FileChangedError
            The file, or one that its cards name, is not what was indexed, even if it was loaded before that.
        LoadError
            The file can't be read.
        """
        with self._lock:
            entry = self._entries.setdefault(file, _Entry())
            self._entries.move_to_end(file)
        with entry.lock:
            if entry.ephemerides is None:
                self._load(file, entry)
            else:
                with self._lock:
                    self._hits += 1
            ephemerides = entry.ephemerides
            assert ephemerides is not None
        _check_unchanged(ephemerides, file.path)
        return ephemerides

    def _load(self, file: File, entry: _Entry) -> None:
        try:
            ephemerides = load(file.path, errors="ignore")
            if _version_of(ephemerides, file.path) != file.version:
                raise FileChangedError(f"{file.path}: the file, or one that it names, has changed since it was indexed",
                                       file.path)
        except BaseException:
            with self._lock:
                if self._entries.get(file) is entry:
                    del self._entries[file]
            raise
        with self._lock:
            self._loads += 1
        self._keep(file, entry, ephemerides)

    def _keep(self, file: File, entry: _Entry, ephemerides: Ephemerides) -> None:
        """Stores the satellites of an entry, and drops others, or this one if it alone is too large."""
        limit = self.limit()
        entry.ephemerides = ephemerides
        size = sum(point_bytes(len(satellite), satellite.has_covariance) for satellite in ephemerides)
        with self._lock:
            if self._entries.get(file) is not entry:
                return  # was dropped, or could not be read by another thread
            self._bytes += size - entry.bytes
            entry.bytes = size
            loaded = [other for other, one in self._entries.items() if one.bytes]
            for other in loaded:
                if self._bytes <= limit:
                    break
                self._bytes -= self._entries.pop(other).bytes

    def satellites(self, part: Part, missing: bool = False) -> list[Satellite | None]:
        """The satellites of a part, in its order; with `missing`, None for satellites of files that can't be read."""
        files: list[Ephemerides | None] = []
        for file in part.files:
            try:
                files.append(self.get(file))
            except FileChangedError:
                raise
            except LoadError:
                if not missing:
                    raise
                files.append(None)
        found: list[Satellite | None] = []
        for at, place in zip(part.file_of.tolist(), part.place.tolist()):
            ephemerides = files[at]
            found.append(None if ephemerides is None else ephemerides[place])
        return found


CACHE = Cache()
os.register_at_fork(after_in_child=CACHE.clear)  # its locks may be held by threads that the child lacks

"""Loading, and the satellites of a load."""

from __future__ import annotations

import operator
import os
import warnings
from collections.abc import Iterable, Sequence
from dataclasses import dataclass
from types import TracebackType
from typing import TYPE_CHECKING, Any, Literal, TypeAlias, overload

import numpy as np

from vorlandi import _vorlandi
from vorlandi._errors import DuplicateError, LoadError, LoadWarning
from vorlandi._satellite import MOST_THREADS, Errors, Origin, Satellite, output, wants_nan
from vorlandi.times import Floats, TimeLike, ds50

if TYPE_CHECKING:
    from numpy.typing import NDArray

OnBadLines: TypeAlias = Literal["warn", "raise", "ignore"]
Rules: TypeAlias = Literal["practical", "fixed"]
Keys: TypeAlias = Literal["own", "ordinary"]

_MOST_WARNINGS = 10  # for a file


@dataclass(frozen=True)
class Message:
    """Something found while reading a file.

    Attributes
    ----------
    severity : str
        ``error`` for what could not be read or stored, ``warning`` for dropped points, ``note`` for remarks.
    kind : str
        The kind, as ``vorlandi check`` calls it: ``unreadable-line``, ``dropped-point``, ``not-read`` and others.
    path : str
        The file, or the member of an archive.
    line : int
        The line, from 1; in a binary file the record; 0 for none.
    text : str
        What the line says, if it could not be read.
    reason : str
        What is wrong.
    """

    severity: str
    kind: str
    path: str
    line: int
    text: str
    reason: str

    def __str__(self) -> str:
        return f"{self.path}:{self.line}: {self.reason}" if self.line else f"{self.path}: {self.reason}"


@dataclass(frozen=True)
class _Source:
    """The unchanged files of a load: it is pickled as these."""

    paths: tuple[str, ...]
    rules: Rules
    states: tuple[tuple[str, int, int], ...]  # path, size and modification time in ns of all files that were read

    def changed(self) -> str | None:
        """The first file that has changed."""
        return next((path for path, *state in self.states if _state_of(path)[1:] != tuple(state)), None)


def _state_of(path: str) -> tuple[str, int, int]:
    try:
        found = os.stat(path)
    except OSError:
        return path, -1, -1
    return path, found.st_size, found.st_mtime_ns


class Ephemerides(Sequence[Satellite]):
    """The satellites of a load, in the order of the files and of their records.

    A sequence of satellites; a slice of it is Ephemerides again. As a context manager it closes its satellites at the
    end. Satellites that are taken out stay usable when the sequence is deleted, unless it was closed.
    """

    __slots__ = ("_satellites", "messages", "_source", "_keys", "_keys_at")

    messages: list[Message]
    """Everything found while loading, dropped points included."""

    def __init__(self, satellites: Iterable[Satellite], messages: Iterable[Message] = (),
                 source: _Source | None = None) -> None:
        self._satellites = list(satellites)
        self.messages = list(messages)
        self._source = source
        self._keys = np.empty(0, np.int64)
        self._keys_at = -1

    def __len__(self) -> int:
        return len(self._satellites)

    @overload
    def __getitem__(self, index: int) -> Satellite: ...

    @overload
    def __getitem__(self, index: slice) -> Ephemerides: ...

    def __getitem__(self, index: int | slice) -> Satellite | Ephemerides:
        if isinstance(index, slice):
            return Ephemerides(self._satellites[index])
        return self._satellites[index]

    def __repr__(self) -> str:
        return f"<Ephemerides: {len(self)} satellites>"

    def numbered(self, number: int) -> list[Satellite]:
        """The satellites with a number, in their order; several records may have the same."""
        return [satellite for satellite in self if satellite.number == number]

    def _answer(self, t: TimeLike, errors: str, shape: tuple[int, ...],
                out: Floats | None) -> tuple[Floats, Floats, bool]:
        times = np.asarray(ds50(t))
        if times.ndim > 1:
            raise ValueError("the times are not in one row")
        return times, output(out, (len(self), *times.shape, *shape)), wants_nan(errors)

    def _all_keys(self) -> NDArray[np.int64]:
        closings = Satellite.closings
        if self._keys_at != closings:
            self._keys = np.fromiter((satellite.key for satellite in self._satellites), np.int64, len(self))
            self._keys_at = closings
        return self._keys

    def states(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """States of all satellites at one time or many.

        Parameters
        ----------
        t : time, or m times
        errors : {"raise", "nan"}
            As for `Satellite.state`; the failure that raises is the one of the first satellite that has one.
        out : numpy.ndarray, optional
            Receives the result and is returned: float64, C order, of the right shape.

        Returns
        -------
        numpy.ndarray, shape (n, 6) or (n, m, 6)
            km and km/s, each satellite in its own frame.

        Examples
        --------
        >>> import vorlandi
        >>> e = vorlandi.load("81001_stk.e", "81001_oem.txt")
        >>> e.states("2026-01-31T01:00:00").shape
        (2, 6)
        """
        times, states, nan = self._answer(t, errors, (6,), out)
        _vorlandi.answer_satellites(self._all_keys(), times, states, None, nan)
        return states

    def covariances(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """Covariances of all satellites, shape (n, 6, 6) or (n, m, 6, 6), of km and km/s; otherwise as `states`."""
        times, matrices, nan = self._answer(t, errors, (6, 6), out)
        _vorlandi.answer_satellites(self._all_keys(), times, None, matrices, nan)
        return matrices

    def table(self) -> NDArray[Any]:
        """What the satellites are.

        Returns
        -------
        numpy.ndarray, shape (n,)
            Structured: number, frame, points, start, end (Ds50UTC, NaN without points), covariance (bool), file,
            record.
        """
        rows = []
        for satellite in self:
            points = len(satellite)
            start, end = satellite.span if points else (np.nan, np.nan)
            rows.append((satellite.number, satellite.frame, points, start, end, satellite.has_covariance,
                         satellite.file, satellite.record))
        longest = max((len(row[6]) for row in rows), default=1)
        return np.array(rows, dtype=[("number", "i4"), ("frame", "U8"), ("points", "i8"), ("start", "f8"),
                                     ("end", "f8"), ("covariance", "?"), ("file", f"U{max(longest, 1)}"),
                                     ("record", "i4")])

    def close(self) -> None:
        """Remove all records from the store; the satellites then raise `ClosedError`."""
        for satellite in self:
            satellite._close()

    def __enter__(self) -> Ephemerides:
        return self

    def __exit__(self, kind: type[BaseException] | None, error: BaseException | None,
                 trace: TracebackType | None) -> None:
        self.close()

    def __reduce__(self) -> tuple[Any, tuple[Any, ...]]:
        source = self._source
        is_open = bool(self._all_keys().all())  # closed satellites say so themselves
        if source and is_open and source.changed() is None and all(satellite._origin.is_file for satellite in self):
            return _reloaded, (source, [satellite.file for satellite in self], self.messages)
        return Ephemerides, (self._satellites, self.messages)


def _reloaded(source: _Source, files: list[str], messages: list[Message]) -> Ephemerides:
    """Ephemerides that were pickled as their files."""
    changed = source.changed()
    if changed is not None:
        raise LoadError(f"{changed}: the file has changed since the satellites were pickled", changed)
    ephemerides = load(*source.paths, errors="ignore", rules=source.rules)
    if len(ephemerides) != len(files):
        raise LoadError("the files have other satellites than when they were pickled", source.paths[0])
    for satellite, file in zip(ephemerides, files):
        satellite._origin = Origin(file, satellite.format, satellite.record, True)
    ephemerides.messages = messages
    return ephemerides


class _Collector:
    """Collects what a load has stored, file by file."""

    def __init__(self, errors: str, keys: str, stack_level: int) -> None:
        self.satellites: list[Satellite] = []
        self.messages: list[Message] = []
        self._errors = errors
        self._keys = keys
        self._stack_level = stack_level
        self._records: dict[str, int] = {}

    def _satellite(self, stored: _vorlandi.Stored) -> Satellite:
        key, format_name, is_file = stored
        satellite = Satellite(key)
        file = os.fsdecode(satellite._fields()[3])
        record = self._records[file] = self._records.get(file, 0) + 1
        satellite._origin = Origin(file, format_name, record, is_file)
        return satellite

    def _error(self, kind: type[LoadError], message: str, path: str, status: int) -> LoadError:
        return kind(message, path, status, Ephemerides(self.satellites, self.messages))

    def add(self, path: str, outcome: _vorlandi.Outcome) -> None:
        """Takes the outcome of a file. Raises if nothing was stored, or if something is bad and nothing may be."""
        stored, told, status, duplicates = outcome
        messages = [Message(severity, kind, os.fsdecode(file), line, text, reason)
                    for severity, kind, file, line, text, reason in told]
        self.satellites += [self._satellite(one) for one in stored]
        self.messages += messages
        bad = [message for message in messages if message.severity == "error"]
        if duplicates and self._keys == "ordinary":
            raise self._error(DuplicateError, next(str(message) for message in bad if "already has" in message.reason),
                              path, status)
        if not stored or (bad and self._errors == "raise"):
            raise self._error(LoadError, str(bad[0]) if bad else f"{path}: nothing was stored", path, status)
        if self._errors == "warn":
            self._warn(path, bad)

    def _warn(self, path: str, bad: list[Message]) -> None:
        for message in bad[:_MOST_WARNINGS]:
            warnings.warn(LoadWarning(str(message), message.path, message.line, message.text, message.reason),
                          stacklevel=self._stack_level)
        if len(bad) > _MOST_WARNINGS:
            more = f"{len(bad) - _MOST_WARNINGS} more, see the messages of the load"
            warnings.warn(LoadWarning(f"{path}: {more}", path, 0, "", more), stacklevel=self._stack_level)


def _check_options(errors: str, rules: str, keys: str, threads: int) -> None:
    choices = (("errors", errors, ("warn", "raise", "ignore")), ("rules", rules, ("practical", "fixed")),
               ("keys", keys, ("own", "ordinary")))
    for name, value, known in choices:
        if value not in known:
            raise ValueError(f"{name} is one of {', '.join(known)}, not {value!r}")
    if not 1 <= operator.index(threads) <= MOST_THREADS:
        raise ValueError(f"threads is 1 to {MOST_THREADS}, not {threads}")


_CALLER = 5  # of load, counted from where warnings are made


def load(*paths: str | os.PathLike[str], threads: int = 1, errors: OnBadLines = "warn", rules: Rules = "practical",
         keys: Keys = "own") -> Ephemerides:
    """Load ephemeris files, card files that name them, and compressed files and archives (gzip, xz, zstd, zip, tar).

    Parameters
    ----------
    paths : str or path
        The files, in any format that the library knows.
    threads : int
        How many files are read at the same time; a single file of 16 MB and more is read by several threads. The
        result does not depend on it.
    errors : {"warn", "raise", "ignore"}
        What happens to lines, blocks and cards that can't be read, if something was stored. They warn, at most ten
        times per file, or the first of them raises once its file has been read.
    rules : {"practical", "fixed"}
        The set of rules for reading files.
    keys : {"own", "ordinary"}
        With their own keys, duplicate satellites of several files are all kept. Ordinary keys are made from number and
        first time, as C code in the same process may need; duplicate satellites then raise.

    Returns
    -------
    Ephemerides
        The satellites in the order of the files. Its `messages` have everything found while loading.

    Raises
    ------
    LoadError
        A file can't be opened, or nothing was stored from it, for any `errors`. Its `loaded` has what was stored
        before.
    DuplicateError
        With ordinary keys, the satellite is already in the store.

    Warns
    -----
    LoadWarning
        With file, line, text and reason.

    Notes
    -----
    Files are read without the interpreter's lock. Nothing stays open.

    Examples
    --------
    >>> load("81001_stk.e")
    <Ephemerides: 1 satellites>
    """
    if not paths:
        raise TypeError("load needs a file")
    _check_options(errors, rules, keys, threads)
    names = [os.fsdecode(path) for path in paths]
    before = [_state_of(os.path.abspath(name)) for name in names]
    outcomes = _vorlandi.load_files([os.fsencode(f"./{name}" if name == "-" else name) for name in names], threads,
                                    rules == "practical", keys == "own")
    collector = _Collector(errors, keys, _CALLER)
    _take(collector, names, outcomes)
    return Ephemerides(collector.satellites, collector.messages, _source_of(before, rules, collector.satellites))


def loads(data: bytes, name: str, *, threads: int = 1, errors: OnBadLines = "warn", rules: Rules = "practical",
          keys: Keys = "own") -> Ephemerides:
    """Load the content of a file that is in memory, which may be compressed or an archive; otherwise as `load`.

    Parameters
    ----------
    data : bytes
        What the file holds. Cards in it are not followed.
    name : str
        The name of the file, from which some formats take the satellite number; one that ends in ``.DCE`` says that
        the content is binary. It is not opened.
    """
    _check_options(errors, rules, keys, threads)
    outcome = _vorlandi.load_bytes(bytes(memoryview(data)), os.fsencode(name), threads, rules == "practical",
                                   keys == "own")
    collector = _Collector(errors, keys, _CALLER)
    _take(collector, [name], [outcome])
    return Ephemerides(collector.satellites, collector.messages)


def _take(collector: _Collector, names: list[str], outcomes: list[_vorlandi.Outcome]) -> None:
    for at, outcome in enumerate(outcomes):
        try:
            collector.add(names[at], outcome)
        except BaseException:  # a warning may raise, too
            for stored, *_ in outcomes[at + 1:]:
                for key, *_ in stored:
                    _vorlandi.remove(key)
            raise


def _source_of(before: list[tuple[str, int, int]], rules: Rules, satellites: list[Satellite]) -> _Source | None:
    """The files of a load; none if one of them is not a regular file, and can't be read again."""
    if not all(os.path.isfile(path) for path, *_ in before):
        return None
    known = {path for path, *_ in before}
    by_cards = {os.path.abspath(satellite.file) for satellite in satellites} - known
    found = before + [_state_of(path) for path in sorted(by_cards) if os.path.isfile(path)]
    return _Source(tuple(path for path, *_ in before), rules, tuple(found))

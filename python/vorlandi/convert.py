"""Satellites written in other formats."""

from __future__ import annotations

import math
import os
import time
import warnings
from collections.abc import Iterable
from typing import Any, NamedTuple

from vorlandi import _vorlandi
from vorlandi._errors import Error
from vorlandi._satellite import Satellite
from vorlandi.times import OneTime, ds50

__all__ = ["ConversionError", "ConversionWarning", "Target", "targets", "write", "write_each"]

_SHORTEST_STEP_S = 1e-6


class ConversionError(Error, ValueError):
    """A satellite can't be written in a format, or a file must not be replaced; what could be written was."""


class ConversionWarning(UserWarning):
    """Something was written differently, such as rounded times, or left out."""


class Target(NamedTuple):
    """A format that can be written.

    `frames` are the frames that it can hold, `several` says whether a file holds several satellites, `exact_times`
    whether times are kept exactly or to the millisecond, `covariances` whether it can hold covariances.
    """

    name: str
    suffix: str
    frames: tuple[str, ...]
    several: bool
    largest_number: int
    exact_times: bool
    covariances: bool


def targets() -> list[Target]:
    """The formats that can be written.

    Examples
    --------
    >>> [target.name for target in targets() if target.several]
    ['oem', 'czml']
    """
    return [Target(**found) for found in _vorlandi.targets()]


def _creation_date() -> str:
    """The current time, or SOURCE_DATE_EPOCH."""
    seconds = int(os.environ.get("SOURCE_DATE_EPOCH", time.time()))
    return time.strftime("%Y-%m-%dT%H:%M:%S", time.gmtime(seconds))


def _name(path: str | os.PathLike[str]) -> bytes:
    name = os.fsencode(path)
    if b"\0" in name:
        raise ValueError("embedded null byte")
    return b"./-" if name == b"-" else name  # which would be standard output


def _write(satellites: Satellite | Iterable[Satellite], path: bytes, directory: bytes, into: str,
           options: dict[str, Any]) -> None:
    them = [satellites] if isinstance(satellites, Satellite) else list(satellites)
    target = next((one for one in targets() if one.name == into), None)
    if target is None:
        raise ValueError(f"{into!r} is not a format that can be written; these are: "
                         + ", ".join(one.name for one in targets()))
    if not them:
        raise ConversionError("there are no satellites to write")
    if path and len(them) > 1 and not target.several:
        raise ConversionError(f"a file of {into} holds one satellite; write_each writes a file for each")
    start, end = options.pop("start"), options.pop("end")
    step_s, tolerance_m = options.pop("step_s"), options.pop("tolerance_m")
    covariances, round_times, force = options.pop("covariances"), options.pop("round_times"), options.pop("force")
    if covariances and not target.covariances:
        raise ValueError(f"{into} files have no covariances")
    if step_s is not None and not _SHORTEST_STEP_S <= step_s < math.inf:
        raise ValueError("step_s is at least a microsecond")
    if not 0 < tolerance_m < math.inf:
        raise ValueError("tolerance_m is above 0")
    records = [(one.key, os.fsencode(one.file), one.record) for one in them]
    first, last = None if start is None else ds50(start), None if end is None else ds50(end)
    written, messages = _vorlandi.convert(
        records, into, path, directory, first, last, step_s, tolerance_m, covariances, round_times, force,
        _creation_date(), options)
    for is_error, text in messages:
        if not is_error:
            warnings.warn(ConversionWarning(text), stacklevel=3)
    if not written:
        raise ConversionError("; ".join(text for is_error, text in messages if is_error))


def write(satellites: Satellite | Iterable[Satellite], path: str | os.PathLike[str], into: str, *,
          start: OneTime | None = None, end: OneTime | None = None, step_s: float | None = None,
          tolerance_m: float = 1000.0, covariances: bool = False, round_times: bool = False, force: bool = False,
          **options: Any) -> None:
    """Write satellites into a file. Formats and options are the same as in ``vorlandi convert``.

    Parameters
    ----------
    satellites : Satellite or several
        Several for formats whose files hold several.
    path : str or path
        The file. It is complete when this returns; an existing one is replaced only with `force`.
    into : str
        The format, see `targets`.
    start, end : time, optional
        The range of times.
    step_s : float, optional
        Seconds between interpolated states; the stored points if not given.
    tolerance_m : float
        Satellites are divided at gaps in which states may be off by more than this, in formats that allow it.
    covariances : bool
        Write covariances where the format has them on request.
    round_times : bool
        Round times to milliseconds where the format keeps no more.
    force : bool
        Replace a file that exists.
    **options
        ``frame_label`` (universal); ``oem_version``, ``originator``, ``object_name``, ``object_id``, ``ref_frame`` and
        ``useable`` (oem).

    Raises
    ------
    ConversionError
        If a satellite can't be written, or the file exists.
    TypeError, ValueError
        For an option that the format doesn't have, or a value that is not possible.
    OSError
        If the file can't be written.

    Warns
    -----
    ConversionWarning
        If times are rounded, states are left out, or the name of the file misleads readers.
    """
    _write(satellites, _name(path), b"", into,
           {"start": start, "end": end, "step_s": step_s, "tolerance_m": tolerance_m, "covariances": covariances,
            "round_times": round_times, "force": force, **options})


def write_each(satellites: Satellite | Iterable[Satellite], directory: str | os.PathLike[str], into: str, *,
               start: OneTime | None = None, end: OneTime | None = None, step_s: float | None = None,
               tolerance_m: float = 1000.0, covariances: bool = False, round_times: bool = False, force: bool = False,
               **options: Any) -> None:
    """Write a file for each satellite into a directory, created if missing; otherwise as `write`.

    The files are named by number, record within the file, and the suffix of the format.
    """
    _write(satellites, b"", _name(directory), into,
           {"start": start, "end": end, "step_s": step_s, "tolerance_m": tolerance_m, "covariances": covariances,
            "round_times": round_times, "force": force, **options})

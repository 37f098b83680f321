"""Satellite states from externally supplied ephemerides.

>>> import vorlandi
>>> sat = vorlandi.load("81001_stk.e")[0]
>>> sat.state("2026-01-31T01:00:00").round(3).tolist()
[4808.907, -1939.969, -4643.335, 1.699, 7.264, -1.277]

Positions are km, velocities km/s, in the frame of the ephemeris. Times are of any kind that `vorlandi.times` names;
a float is days since 1950 Jan 0.0 UTC.
"""

from __future__ import annotations

import importlib
import os
from typing import TYPE_CHECKING, Any

from vorlandi import _vorlandi, store, times
from vorlandi._ephemerides import Ephemerides, Message, load, loads
from vorlandi._errors import (ClosedError, DuplicateError, Error, GapError, LoadError, LoadWarning, NoDataError,
                              OutOfSpanError, TimeError, TooFewPointsError, system_error)
from vorlandi._satellite import Points, Satellite

if TYPE_CHECKING:
    from vorlandi import analysis, convert, plot

__all__ = ["ClosedError", "DuplicateError", "Ephemerides", "Error", "GapError", "LoadError", "LoadWarning", "Message",
           "NoDataError", "OutOfSpanError", "Points", "Satellite", "TimeError", "TooFewPointsError", "analysis",
           "convert", "load", "loads", "plot", "store", "times", "trace_to"]

__version__ = _vorlandi.version().split()[-1]

# Imported when they are used.
_SUBMODULES = ("analysis", "convert", "dask", "plot")


def __getattr__(name: str) -> Any:
    if name in _SUBMODULES:
        return importlib.import_module(f"vorlandi.{name}")
    raise AttributeError(f"module 'vorlandi' has no attribute {name!r}")


def trace_to(path: str | os.PathLike[str] | None) -> None:
    """Append all messages of the library to a file from now on; None closes it.

    Raises
    ------
    OSError
        If the file can't be opened; messages go on as before.
    """
    name = None if path is None else os.fsencode(path)
    if name is not None and b"\0" in name:
        raise ValueError("embedded null byte")
    status = _vorlandi.open_trace(name)
    if status:
        raise system_error(status, os.fsdecode(path or ""))

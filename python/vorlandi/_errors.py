"""The exceptions and warnings of the package."""

from __future__ import annotations

import contextlib
import os
from typing import TYPE_CHECKING, Any

from vorlandi import _vorlandi

if TYPE_CHECKING:
    from vorlandi._ephemerides import Ephemerides


class Error(Exception):
    """Base of all exceptions of this package; the text is the library's message."""


class TimeError(Error, ValueError):
    """Something is not a time, such as a text in no known form, or has no date."""


class OutOfSpanError(Error, ValueError):
    """A time is outside the span of a satellite's points.

    Attributes
    ----------
    time, start, end : float
        The time asked for, and the first and last time of the points, Ds50UTC.
    """

    def __init__(self, message: str, time: float = 0.0, start: float = 0.0, end: float = 0.0) -> None:
        super().__init__(message)
        self.time, self.start, self.end = time, start, end


class GapError(Error):
    """The points around a time are more than 61 minutes apart on average.

    Attributes
    ----------
    time, start, end : float
        The time asked for, and the times of the first and last of the four points around it, Ds50UTC.
    """

    def __init__(self, message: str, time: float = 0.0, start: float = 0.0, end: float = 0.0) -> None:
        super().__init__(message)
        self.time, self.start, self.end = time, start, end


class TooFewPointsError(Error):
    """A satellite has fewer than the four points that interpolation needs, and none at this time."""


class NoDataError(Error):
    """A satellite has no points."""


class ClosedError(Error):
    """A satellite was closed, or is no longer in the store."""


class LoadError(Error, OSError):
    """A file could not be opened, or nothing was stored from it; with ``errors="raise"`` also the first bad line.

    Attributes
    ----------
    path : str
        The file.
    status : int
        0, 2 or the errno of the failed open.
    loaded : Ephemerides or None
        What the call stored before.
    """

    def __init__(self, message: str, path: str = "", status: int = 0, loaded: Ephemerides | None = None) -> None:
        super().__init__(message)
        self.path, self.status, self.loaded = path, status, loaded


class DuplicateError(LoadError):
    """With ordinary keys: the store has a satellite with the same number, frame and first time."""


class LoadWarning(UserWarning):
    """Something in a file could not be read.

    Attributes
    ----------
    path : str
        The file.
    line : int
        The line, from 1; in a binary file the record; 0 for none.
    text : str
        What the line says.
    reason : str
        Why it could not be read.
    """

    def __init__(self, message: str, path: str = "", line: int = 0, text: str = "", reason: str = "") -> None:
        super().__init__(message)
        self.path, self.line, self.text, self.reason = path, line, text, reason


# The exceptions by the beginning of the message.
_OUT_OF_SPAN = (
    "GetEphem: Requested time is outside of ephemeris time span.",
    "InterpolateEP: Request time out of ephemeris range.",
)
_GAP = "InterpolateEP: Data points too far apart"
_TOO_FEW = ("InterpolateEP: Can not interpolate with less than 4",)
_NO_DATA = ("GetEphem: satKey", "VorlanStartEndTime: satKey", "InterpolateEP: Buffer not initialized.")
_CLOSED = ("FindRecPtr: ", "RemoveNode: ", "RemoveDMA: ")
_NOT_A_TIME = ('"',)


def _with_century(text: str, near: float) -> float:
    """The time YYDDDHHMMSS.SSS of the century in which it is nearest to another time."""
    times = []
    for century in ("19", "20", "21"):
        with contextlib.suppress(TimeError):  # only some centuries have a day 366 in this year
            times.append(_vorlandi.parse(century + text))
    return min(times, key=lambda time: abs(time - near))


def _gap_error(message: str, time: float) -> GapError:
    """The message ends with the times of the window: (YYDDDHHMMSS.SSS, YYDDDHHMMSS.SSS)."""
    start, end = message[message.rindex("(") + 1:message.rindex(")")].split(", ")
    return GapError(message, time, _with_century(start, time), _with_century(end, time))


def failure(message: str, key: int, time: float) -> Exception:
    """The exception for a message of the library about a satellite at a time."""
    if message.startswith(_OUT_OF_SPAN):
        span: Any = _vorlandi.span(key)
        return OutOfSpanError(message, time, *span)
    if message.startswith(_GAP):
        return _gap_error(message, time)
    kinds = ((TooFewPointsError, _TOO_FEW), (NoDataError, _NO_DATA), (ClosedError, _CLOSED), (TimeError, _NOT_A_TIME))
    kind = next((kind for kind, beginnings in kinds if message.startswith(beginnings)), Error)
    return kind(message)


def system_error(status: int, path: str) -> OSError:
    """The exception for a file that could not be opened."""
    return OSError(status, os.strerror(status), path)

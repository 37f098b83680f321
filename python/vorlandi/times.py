"""Times: from every kind to days since 1950 Jan 0.0 UTC (Ds50UTC), and back.

A time is one of:

- a number: Ds50UTC, days since 1950 Jan 0.0 UTC, so that 1950 Jan 1 00:00 is 1.0;
- a text such as ``2026-01-31T01:00:00``, UTC, in any form that the library reads;
- a `datetime.datetime` with a time zone;
- a `numpy.datetime64` of any unit, taken as UTC with days of 86,400 s;
- an astropy ``Time`` of any scale, or a skyfield ``Time``;
- a list or an array of one of these.

A day has 86,400 s; times inside a leap second are a little after 0h of the next day. A float resolves 0.3 us in 2026,
2.4 mm along a low orbit.
"""

from __future__ import annotations

import os
from collections.abc import Sequence
from datetime import datetime, timedelta, timezone
from typing import TYPE_CHECKING, Any, Protocol, TypeAlias, Union, overload

import numpy as np

from vorlandi import _vorlandi
from vorlandi._errors import LoadError, TimeError

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["ds50", "load_leap_seconds", "tai_to_utc", "to_astropy", "to_datetime", "to_datetime64", "to_iso",
           "utc_to_tai"]


class AstropyTime(Protocol):
    """The used part of an astropy ``Time``."""

    @property
    def jd1(self) -> Any: ...

    @property
    def jd2(self) -> Any: ...

    @property
    def scale(self) -> Any: ...

    @property
    def tai(self) -> Any: ...


class SkyfieldTime(Protocol):
    """The used part of a skyfield ``Time``."""

    @property
    def whole(self) -> Any: ...

    @property
    def tai_fraction(self) -> Any: ...


Floats: TypeAlias = "NDArray[np.float64]"
OneTime: TypeAlias = Union[float, str, datetime, np.datetime64]
ManyTimes: TypeAlias = Union["NDArray[Any]", "list[Any]", "tuple[Any, ...]"]
TimeLike: TypeAlias = Union[OneTime, ManyTimes, AstropyTime, SkyfieldTime]

_DAY_OF_1970 = 7306
_DAY_OF_ORDINAL_0 = -711857  # of datetime.toordinal
_JULIAN_DATE_OF_0 = 2433281.5
_US_PER_DAY = 86_400_000_000
_NS_PER_DAY = 86_400_000_000_000
_PER_DAY = {"h": 24, "m": 1440, "s": 86_400, "ms": 86_400_000, "us": _US_PER_DAY, "ns": _NS_PER_DAY,
            "ps": 1000 * _NS_PER_DAY}
_FINER = ("fs", "as")  # a day of them is more than 64 bits hold


def _of_datetime(time: datetime) -> float:
    if time != time:
        raise TimeError("NaT is not a time")  # of pandas
    if time.utcoffset() is None:
        raise TypeError(f"{time!r} has no time zone; for UTC give it tzinfo=datetime.timezone.utc")
    utc = time.astimezone(timezone.utc)
    seconds = (utc.hour * 60 + utc.minute) * 60 + utc.second
    # pandas timestamps also have nanoseconds.
    ns = (seconds * 1_000_000 + utc.microsecond) * 1000 + int(getattr(utc, "nanosecond", 0))
    return utc.toordinal() + _DAY_OF_ORDINAL_0 + ns / _NS_PER_DAY


def _of_datetime64(times: NDArray[Any]) -> Floats:
    if np.isnat(times).any():
        raise TimeError("NaT is not a time")
    unit = np.datetime_data(times.dtype)[0]
    if unit in _FINER:
        unit = "ps"
    if unit not in _PER_DAY:  # years, months, weeks and days
        return times.astype("M8[D]").astype(np.int64).astype(np.float64) + _DAY_OF_1970
    days, rest = np.divmod(times.astype(f"M8[{unit}]").astype(np.int64), _PER_DAY[unit])
    result: Floats = (days + _DAY_OF_1970) + rest / float(_PER_DAY[unit])
    return result


def _of_list(times: list[Any]) -> Floats:
    if not times:
        return np.empty(0)
    first = times[0]
    if isinstance(first, (list, tuple, np.ndarray)):
        return _floats([ds50(time) for time in times])
    if isinstance(first, str):
        kind: Any = str
    elif isinstance(first, datetime):
        kind = datetime
    elif _is_number_type(type(first)):
        return _of_numbers(times)
    else:
        kind = type(first)
    if not all(isinstance(time, kind) for time in times):
        raise TypeError("a list of times holds times of one kind")
    if kind is str:
        return _vorlandi.parse_all(times)
    if isinstance(first, np.datetime64):
        return _of_datetime64(np.array(times))
    return np.array([ds50(time) for time in times])


def _of_numbers(times: list[Any]) -> Floats:
    if not all(_is_number_type(kind) for kind in set(map(type, times))):
        raise TypeError("a list of times holds times of one kind")
    return _floats(times)


def _of_array(times: NDArray[Any]) -> Floats:
    if isinstance(times, np.ma.MaskedArray) and np.any(times.mask):
        raise TimeError("a masked value is not a time")
    if _is_number_type(times.dtype.type):
        return np.ascontiguousarray(times, dtype=np.float64).reshape(times.shape)
    if times.dtype.kind == "M":
        return _of_datetime64(times)
    if times.dtype.kind in "UO":
        return _of_list(times.ravel().tolist()).reshape(times.shape)
    raise TypeError(f"an array of {times.dtype} does not hold times")


def _of_tai(days: Any) -> Any:
    """From TAI days since 1950: in other packages, UTC days with a leap second have 86,401 s."""
    return _vorlandi.tai_to_utc(days)


def _is_number_type(kind: type) -> bool:
    if issubclass(kind, (np.float16, np.float32)):
        raise TypeError(f"{kind.__name__} is too coarse for times in days, which need float64")
    return issubclass(kind, (int, float, np.integer, np.floating)) and not issubclass(kind, (bool, np.timedelta64))


def _floats(numbers: Any) -> Floats:
    try:
        return np.array(numbers, dtype=np.float64)
    except OverflowError:
        raise TimeError("a whole number is too large for a time") from None
    except ValueError:
        raise TypeError("the rows of a list of times have different lengths") from None


@overload
def ds50(t: OneTime) -> float: ...


@overload
def ds50(t: ManyTimes) -> Floats: ...


@overload
def ds50(t: AstropyTime | SkyfieldTime) -> float | Floats: ...


def ds50(t: TimeLike) -> float | Floats:
    """Days since 1950 Jan 0.0 UTC.

    Parameters
    ----------
    t : time, or list or array of times
        Of any kind that this module names. A list holds times of one kind.

    Returns
    -------
    float or numpy.ndarray
        One time; an array of the shape of `t` for several.

    Raises
    ------
    TypeError
        For something that is not a time, numbers of less than 64 bits, a `datetime` without time zone, or a list of
        mixed kinds.
    TimeError
        For a text that is not a time, and for NaT.

    Examples
    --------
    >>> ds50("2026-01-31T12:00:00")
    27790.5
    >>> ds50(np.array(["2026-01-31", "2026-02-01"], dtype="M8[D]"))
    array([27790., 27791.])
    """
    time: Any = t
    if _is_number_type(type(time)):
        return float(_floats(time))
    if isinstance(time, str):
        return _vorlandi.parse(time)
    if isinstance(time, datetime):
        return _of_datetime(time)
    if isinstance(time, np.datetime64):
        return float(_of_datetime64(np.asarray(time)))
    if isinstance(time, np.ndarray):
        return _of_array(time)
    if isinstance(time, (list, tuple)):
        return _of_list(list(time))
    if hasattr(time, "jd1") and hasattr(time, "scale"):
        if getattr(time, "masked", False):
            raise TimeError("a masked value is not a time")
        tai = time.tai
        return _scalar_or_array(_of_tai((tai.jd1 - _JULIAN_DATE_OF_0) + tai.jd2))
    if hasattr(time, "whole") and hasattr(time, "tai_fraction"):
        return _scalar_or_array(_of_tai((time.whole - _JULIAN_DATE_OF_0) + time.tai_fraction))
    if getattr(time, "tz", None) is not None and hasattr(time, "to_numpy"):  # an index of pandas
        return _of_datetime64(time.to_numpy("M8[ns]"))
    if hasattr(time, "__array__") and not isinstance(time, np.generic):
        return _of_array(np.asarray(time))
    raise TypeError(f"{time!r} is not a time")


def _scalar_or_array(value: Any) -> float | Floats:
    return float(value) if np.ndim(value) == 0 else np.ascontiguousarray(value, dtype=np.float64)


def to_datetime64(t: TimeLike) -> Any:
    """As `numpy.datetime64`, to the nanosecond that is nearest to the float.

    Returns
    -------
    numpy.datetime64 or numpy.ndarray
        ``datetime64[ns]``, UTC, of the shape of `t`.

    Raises
    ------
    TimeError
        Outside the years 1678 to 2261, which 64 bits of nanoseconds hold.

    Examples
    --------
    >>> to_datetime64(27790.5)
    numpy.datetime64('2026-01-31T12:00:00.000000000')
    """
    times = np.asarray(ds50(t))
    if not np.all((times > -99_000.0) & (times < 114_000.0)):
        raise TimeError("a time is outside the years 1678 to 2261")
    days = np.floor(times)
    ns = np.rint((times - days) * _NS_PER_DAY).astype(np.int64)
    result = ((days.astype(np.int64) - _DAY_OF_1970) * _NS_PER_DAY + ns).view("M8[ns]")
    return result[()]


def to_datetime(t: TimeLike) -> Any:
    """As `datetime.datetime` in UTC, to the microsecond.

    Returns
    -------
    datetime.datetime or numpy.ndarray
        An array of objects of the shape of `t` for several times.

    Examples
    --------
    >>> to_datetime(27790.5)
    datetime.datetime(2026, 1, 31, 12, 0, tzinfo=datetime.timezone.utc)
    """
    times = np.asarray(ds50(t))
    if not np.isfinite(times).all():
        raise TimeError("a time is not finite")
    start = datetime(1949, 12, 31, tzinfo=timezone.utc)
    days = np.floor(times)
    us = np.rint((times - days) * _US_PER_DAY)
    try:
        found = [start + timedelta(days=day, microseconds=rest) for day, rest in zip(days.flat, us.flat)]
    except (OverflowError, ValueError) as error:
        raise TimeError(f"a time has no date: {error}") from None
    if times.ndim == 0:
        return found[0]
    result = np.empty(len(found), dtype=object)
    result[:] = found
    return result.reshape(times.shape)


def to_iso(t: TimeLike) -> Any:
    """As text, ``YYYY-MM-DDTHH:MM:SS.ffffff``, to the nearest microsecond.

    Returns
    -------
    str or numpy.ndarray
        An array of texts of the shape of `t` for several times.

    Raises
    ------
    TimeError
        Outside the years 1900 to 2199.

    Examples
    --------
    >>> to_iso(27790.5)
    '2026-01-31T12:00:00.000000'
    """
    times = np.asarray(ds50(t))
    texts = _vorlandi.iso_texts(np.ascontiguousarray(times))
    if not all(texts):
        raise TimeError("a time is outside the years 1900 to 2199")
    return texts[0] if times.ndim == 0 else np.array(texts, dtype="U26").reshape(times.shape)


def to_astropy(t: TimeLike) -> Any:
    """As an astropy ``Time`` in UTC; astropy is imported when this is called.

    Returns
    -------
    astropy.time.Time
        Of the shape of `t`.
    """
    from astropy.time import Time

    tai = utc_to_tai(t)
    day = np.floor(tai)
    return Time(day + _JULIAN_DATE_OF_0, tai - day, format="jd", scale="tai").utc


@overload
def utc_to_tai(t: OneTime) -> float: ...


@overload
def utc_to_tai(t: ManyTimes) -> Floats: ...


@overload
def utc_to_tai(t: AstropyTime | SkyfieldTime) -> float | Floats: ...


def utc_to_tai(t: TimeLike) -> float | Floats:
    """Days since 1950 Jan 0.0 on the TAI scale, where TAI - UTC counts as 10 s before 1972.

    Examples
    --------
    >>> round((utc_to_tai("2026-01-31") - ds50("2026-01-31")) * 86400)
    37
    """
    return _scalar_or_array(_vorlandi.utc_to_tai(ds50(t)))


@overload
def tai_to_utc(tai: float) -> float: ...


@overload
def tai_to_utc(tai: Floats | Sequence[float]) -> Floats: ...


def tai_to_utc(tai: float | Floats | Sequence[float]) -> float | Floats:
    """The inverse of `utc_to_tai`: Ds50UTC of days since 1950 on the TAI scale, of the same shape."""
    return _scalar_or_array(_of_tai(np.asarray(tai, dtype=np.float64)))


def load_leap_seconds(path: str | os.PathLike[str]) -> None:
    """Replace the table of leap seconds with a leap-seconds.list file, for the process.

    Raises
    ------
    LoadError
        If the file can't be opened or any of it is bad; the old table then stays.
    """
    name = os.fspath(path)
    status = _vorlandi.load_leap_seconds(os.fsencode(name))
    if status == 0:
        return
    reason = _vorlandi.last_error() if status == 2 and os.path.exists(name) else f"{name}: {os.strerror(status)}"
    raise LoadError(reason, name, status)

"""A satellite: its states, covariances and points."""

from __future__ import annotations

import operator
from collections.abc import Callable
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, Literal, TypeAlias

import numpy as np

from vorlandi import _vorlandi
from vorlandi import times as _times
from vorlandi._errors import ClosedError, Error, TimeError
from vorlandi.times import Floats, TimeLike, ds50

if TYPE_CHECKING:  # NumPy's types take ten milliseconds
    from numpy.typing import ArrayLike, NDArray

Errors: TypeAlias = Literal["raise", "nan"]

# The lower triangle of a covariance, row by row.
_TRIANGLE = np.tril_indices(6)
_FRAMES = {_vorlandi.frame_name(code): code for code in range(1, 32) if not _vorlandi.frame_name(code).isdigit()}
# Whether the axes of a frame rotate with the earth; the axes of others are not known.
ROTATING = {"ECI": False, "J2K": False, "EFG": True, "ECR": True}
MOST_THREADS = 1024
_LONGEST_TAG = 128
_INT32 = np.iinfo(np.int32)
_TEXT_FIELD, _TAG_FIELD = 14, 15
# The fast path for one time.
_FLOATS = frozenset((float, np.float64))
_one_state: Callable[[int, Any], Floats] = _vorlandi.state
_one_state_and_covariance: Callable[[int, Any], tuple[Floats, Floats]] = _vorlandi.state_and_covariance


def wants_nan(errors: str) -> bool:
    """Whether failed answers are NaN."""
    if errors not in ("raise", "nan"):
        raise ValueError(f'errors is "raise" or "nan", not {errors!r}')
    return errors == "nan"


def output(out: Floats | None, shape: tuple[int, ...]) -> Floats:
    """A new array, or the caller's if it can take the answer."""
    if out is None:
        return np.empty(shape)
    if not isinstance(out, np.ndarray) or out.dtype != np.float64:
        raise TypeError("out is not an array of float64")
    if out.shape != shape:
        raise ValueError(f"out has the shape {out.shape}; it should be {shape}")
    if not out.flags.c_contiguous or not out.flags.writeable:
        raise ValueError("out is not a writeable array in C order")
    return out


def _finite(values: ArrayLike, shape: tuple[int, ...], name: str) -> Floats:
    array = np.ascontiguousarray(values, dtype=np.float64)
    if array.shape != shape:
        raise ValueError(f"{name} has the shape {array.shape}; it should be {shape}")
    if not np.isfinite(array).all():
        raise ValueError(f"{name} has numbers that are not finite")
    return array


def _shown(time: float) -> str:
    """A time as text; those of other centuries as Ds50UTC."""
    try:
        return str(_times.to_iso(time))
    except TimeError:
        return repr(time)


def _triangles(matrices: Floats) -> Floats:
    return np.ascontiguousarray(matrices[:, _TRIANGLE[0], _TRIANGLE[1]])


@dataclass(frozen=True)
class Points:
    """Copies of the stored points of a satellite.

    Attributes
    ----------
    ds50 : numpy.ndarray, shape (n,)
        Times, days since 1950 Jan 0.0 UTC, rising.
    states : numpy.ndarray, shape (n, 6)
        Positions in km and velocities in km/s, in the frame of the satellite.
    covariances : numpy.ndarray, shape (n, 6, 6), or None
        Of position (km) and velocity (km/s), zero where a point has none; None if all are zero.
    revolutions : numpy.ndarray of int32, shape (n,)
        Revolution numbers.
    """

    ds50: Floats
    states: Floats
    covariances: Floats | None
    revolutions: NDArray[np.int32]

    def __len__(self) -> int:
        return len(self.ds50)


@dataclass(frozen=True)
class Origin:
    """Where a record came from."""

    file: str = ""
    format: str = ""
    record: int = 1
    is_file: bool = False


class Satellite:
    """One satellite: the points that were stored for it, and the states between them.

    Satellites come from `load`, `loads`, `Satellite.from_points` and `store.attach`. Times are of any kind that
    `vorlandi.times` names. States are km and km/s in the frame of the ephemeris; frames are never converted. When the
    last reference to the object is gone, its record is removed from the store.

    Any number of threads may query one satellite. `append` may run at the same time as queries, but not as another
    `append` to the same satellite.
    """

    __slots__ = ("_key", "_is_owner", "_origin", "_interval_errors", "__weakref__")

    closings = 0  # of satellites before their time, which changes keys

    def __init__(self, key: int, *, owner: bool = True, origin: Origin = Origin()) -> None:
        self._key = key
        self._is_owner = owner
        self._origin = origin
        self._interval_errors: Any = None

    def __del__(self, _remove: Callable[[int], int] = _vorlandi.remove) -> None:  # modules may have gone
        if self._key and self._is_owner:
            _remove(self._key)

    def _close(self) -> None:
        key, self._key = self._key, 0
        Satellite.closings += 1
        if key and self._is_owner:
            _vorlandi.remove(key)

    @classmethod
    def from_points(cls, number: int, t: TimeLike, states: ArrayLike, *, covariances: ArrayLike | None = None,
                    revolutions: ArrayLike | None = None, frame: str | int = "ECI", tag: str = "",
                    earth_radius_km: float = 6378.135, ke: float = 0.07436691613317341) -> Satellite:
        """A satellite of given points.

        Parameters
        ----------
        number : int
            0 to 999999999.
        t : n times
            Strictly rising.
        states : array, shape (n, 6)
            Positions in km and velocities in km/s.
        covariances : array, shape (n, 6, 6), optional
            Of positions and velocities in km and km/s; the lower triangles are used. A matrix of zeros means none.
        revolutions : array of n int32, optional
            Revolution numbers; 0 if not given.
        frame : str or int
            ECI, J2K, EFG, ECR, or a code.
        tag : str
            At most 128 bytes of UTF-8. Blanks around it are lost.
        earth_radius_km, ke : float
            Kept with the satellite; no query uses them.

        Raises
        ------
        ValueError
            If times don't rise, a shape is wrong, a number is not finite, or the frame, number or tag is invalid.

        Examples
        --------
        >>> sat = Satellite.from_points(5, [27790.0, 27790.01, 27790.02, 27790.03], np.ones((4, 6)))
        >>> len(sat), sat.frame
        (4, 'ECI')
        """
        code = _FRAMES.get(frame) if isinstance(frame, str) else frame
        if code is None:
            raise ValueError(f"{frame!r} is not a frame; these are: {', '.join(_FRAMES)}")
        number, code = operator.index(number), operator.index(code)
        if not 0 <= number <= 999_999_999:
            raise ValueError(f"the number {number} is not in 0 to 999999999")
        if not _INT32.min <= code <= _INT32.max:
            raise ValueError(f"{code} is not the code of a frame")
        if len(tag.encode()) > _LONGEST_TAG or "\0" in tag:
            raise ValueError("the tag is longer than 128 bytes, or has a NUL")
        if not np.isfinite([earth_radius_km, ke]).all():
            raise ValueError("earth_radius_km and ke are not both finite")
        points = _checked_points(t, states, covariances, revolutions, None)
        satellite = cls(_vorlandi.add(number, code, earth_radius_km, ke))
        _vorlandi.set_field(satellite._key, _TAG_FIELD, tag)
        _vorlandi.append(satellite._key, *points)
        return satellite

    # ---- Properties ----

    def _fields(self) -> tuple[int, int, str, bytes, str, str, float, float, int]:
        return _vorlandi.fields(self._key)

    @property
    def key(self) -> int:
        """The key in the process-wide store, for C code; 0 once it is closed."""
        return self._key

    @property
    def number(self) -> int:
        """The satellite number."""
        return self._fields()[0]

    @property
    def frame(self) -> str:
        """The coordinate system: ECI, J2K, EFG, ECR, another name, or the code in digits."""
        return self._fields()[2]

    @property
    def frame_code(self) -> int:
        """The code of the coordinate system."""
        return self._fields()[1]

    @property
    def tag(self) -> str:
        """The text from the card of the file."""
        return self._fields()[4]

    @property
    def file(self) -> str:
        """The file that it was read from; empty for one made from points."""
        return self._origin.file

    @property
    def format(self) -> str:
        """The name of the file's format, such as ``STK``."""
        return self._origin.format

    @property
    def record(self) -> int:
        """Its number among the satellites of its file, from 1."""
        return self._origin.record

    @property
    def span(self) -> tuple[float, float]:
        """The first and last time of the points, Ds50UTC. Raises `NoDataError` without points."""
        return _vorlandi.span(self._key)

    @property
    def start(self) -> float:
        """The time of the first point, Ds50UTC."""
        return self.span[0]

    @property
    def end(self) -> float:
        """The time of the last point, Ds50UTC."""
        return self.span[1]

    @property
    def has_covariance(self) -> bool:
        """Whether any point has a covariance. Looks at the points."""
        return _vorlandi.has_covariance(self._key)

    def __len__(self) -> int:
        """The number of stored points."""
        return _vorlandi.size(self._key)

    def __bool__(self) -> bool:
        return True

    def __repr__(self) -> str:
        if not self._key:
            return "<Satellite, closed>"
        try:
            points = len(self)
            span = f" {_shown(self.start)} to {_shown(self.end)}" if points else ""
            return f"<Satellite {self.number} {self.frame}: {points} points{span}>"
        except Error:
            return "<Satellite, removed from the store>"

    # ---- Answers ----

    def state(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """Position and velocity at one time or many.

        Parameters
        ----------
        t : time or times
            Inside the span of the points.
        errors : {"raise", "nan"}
            What happens to a time without an answer: the first one in the order of `t` raises, or its row is NaN.
        out : numpy.ndarray, optional
            Receives the result and is returned: float64, C order, of the right shape. After an exception its content
            is undefined.

        Returns
        -------
        numpy.ndarray, shape (6,) or t.shape + (6,)
            x, y, z in km and vx, vy, vz in km/s, in the frame of the satellite.

        Raises
        ------
        OutOfSpanError
            Outside the span of the points.
        GapError
            The points around the time are more than 61 minutes apart on average.
        TooFewPointsError, NoDataError, ClosedError
            There are fewer than four points, there are none, or the satellite was closed.

        Notes
        -----
        Hermite interpolation of degree 7 over four points. An answer does not mean that it is accurate: see `error`.

        Examples
        --------
        >>> import vorlandi
        >>> sat = vorlandi.load("81001_stk.e")[0]
        >>> sat.state("2026-01-31T01:00:00").round(3).tolist()
        [4808.907, -1939.969, -4643.335, 1.699, 7.264, -1.277]
        >>> sat.state([27790.1, 27790.2]).shape
        (2, 6)
        """
        if type(t) in _FLOATS and out is None and errors == "raise":
            return _one_state(self._key, t)
        return self._states(t, errors, out)

    __call__ = state

    def _states(self, t: TimeLike, errors: str, out: Floats | None) -> Floats:
        times = np.asarray(ds50(t))
        states = output(out, times.shape + (6,))
        _vorlandi.answer_times(self._key, times, states, None, None, wants_nan(errors))
        return states

    def _half(self, part: slice, t: TimeLike, errors: str, out: Floats | None) -> Floats:
        times = np.asarray(ds50(t))
        half = output(out, times.shape + (3,))
        half[...] = self._states(times, errors, None)[..., part]
        return half

    def position(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """Position in km, shape (3,) or t.shape + (3,); otherwise as `state`."""
        return self._half(slice(0, 3), t, errors, out)

    def velocity(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """Velocity in km/s, shape (3,) or t.shape + (3,); otherwise as `state`."""
        return self._half(slice(3, 6), t, errors, out)

    def covariance(self, t: TimeLike, *, errors: Errors = "raise", out: Floats | None = None) -> Floats:
        """Covariance of position and velocity, shape (6, 6) or t.shape + (6, 6); otherwise as `state`.

        Units are products of km and km/s. All zero where the points have none. Between points each element is
        interpolated separately, so the matrix need not be positive.
        """
        times = np.asarray(ds50(t))
        matrices = output(out, times.shape + (6, 6))
        _vorlandi.answer_times(self._key, times, None, matrices, None, wants_nan(errors))
        return matrices

    def state_and_covariance(self, t: TimeLike, *, errors: Errors = "raise",
                             out: tuple[Floats, Floats] | None = None) -> tuple[Floats, Floats]:
        """What `state` and `covariance` return, in one call; `out` is a pair of arrays."""
        if type(t) in _FLOATS and out is None and errors == "raise":
            return _one_state_and_covariance(self._key, t)
        times = np.asarray(ds50(t))
        if out is not None and not (isinstance(out, (tuple, list)) and len(out) == 2):
            raise TypeError("out is not a pair of arrays")
        states = output(None if out is None else out[0], times.shape + (6,))
        matrices = output(None if out is None else out[1], times.shape + (6, 6))
        _vorlandi.answer_times(self._key, times, states, matrices, None, wants_nan(errors))
        return states, matrices

    def revolution(self, t: TimeLike, *, errors: Errors = "raise") -> Any:
        """Revolution number, 0 to 99999, as int32 of the shape of `t`; -1 for a failed row with ``errors="nan"``."""
        times = np.asarray(ds50(t))
        revolutions = np.empty(times.shape, dtype=np.int32)
        _vorlandi.answer_times(self._key, times, None, None, revolutions, wants_nan(errors))
        return revolutions[()]

    def answers(self, t: TimeLike) -> Any:
        """Whether `state` would answer: bool, or an array of bool of the shape of `t`."""
        times = np.asarray(ds50(t))
        answered = _vorlandi.answers(self._key, times).reshape(times.shape)
        return bool(answered) if times.ndim == 0 else answered

    def error(self, t: TimeLike) -> Any:
        """Estimated error of the interpolated position, in metres.

        An upper limit, meant to hold in 999 of 1000 intervals between points, calculated from the points alone; it
        doesn't include errors of the points themselves.

        Returns
        -------
        float or numpy.ndarray
            Of the shape of `t`: 0 at the time of a point, NaN where no state is answered or there is no estimate.
        """
        from vorlandi.analysis import error_at

        return error_at(self, t)

    # ---- Points ----

    @property
    def points(self) -> Points:
        """Copies of all stored points."""
        return Points(*_vorlandi.points(self._key))

    def append(self, t: TimeLike, state: ArrayLike, covariance: ArrayLike | None = None,
               revolution: ArrayLike = 0) -> None:
        """Append a point, or m of them, after the last.

        Parameters
        ----------
        t : time or m times
            Later than the last point, and strictly rising.
        state : array, shape (6,) or (m, 6)
            km and km/s.
        covariance : array, shape (6, 6) or (m, 6, 6), optional
            Of km and km/s; the lower triangle is used.
        revolution : int or array of m

        Raises
        ------
        ValueError
            For times that don't rise, wrong shapes and numbers that are not finite. Nothing is appended then.
        """
        times = np.asarray(ds50(t))
        many = times.ndim > 0
        rows = np.asarray(state, dtype=np.float64)
        matrices = None if covariance is None else np.asarray(covariance, dtype=np.float64)
        last = self.end if len(self) else None
        points = _checked_points(np.atleast_1d(times), rows if many else rows[np.newaxis],
                                 matrices if many or matrices is None else matrices[np.newaxis],
                                 np.full(times.size, revolution) if np.ndim(revolution) == 0 else revolution, last)
        _vorlandi.append(self._key, *points)
        self._origin = Origin(self.file, self.format, self.record)

    def to_pandas(self) -> Any:
        """The stored points as a pandas DataFrame.

        Returns
        -------
        pandas.DataFrame
            The index is a DatetimeIndex in UTC, to the nanosecond; the columns are x_km, y_km, z_km, vx_km_s, vy_km_s,
            vz_km_s and revolution.
        """
        import pandas

        points = self.points
        index = pandas.DatetimeIndex(_times.to_datetime64(points.ds50), name="time").tz_localize("UTC")
        columns = ["x_km", "y_km", "z_km", "vx_km_s", "vy_km_s", "vz_km_s"]
        frame = pandas.DataFrame(points.states, index=index, columns=columns)
        frame["revolution"] = points.revolutions
        return frame

    def to_xarray(self) -> Any:
        """The stored points as an xarray Dataset.

        Returns
        -------
        xarray.Dataset
            ``position`` (km) and ``velocity`` (km/s) of the dimensions time and component, ``revolution`` of time, and
            ``covariance`` of time, row and column if there are covariances. ``time`` is UTC, to the nanosecond.
        """
        import xarray

        points = self.points
        data: dict[str, Any] = {
            "position": (("time", "component"), points.states[:, :3], {"units": "km"}),
            "velocity": (("time", "component"), points.states[:, 3:], {"units": "km/s"}),
            "revolution": ("time", points.revolutions),
        }
        if points.covariances is not None:
            data["covariance"] = (("time", "row", "column"), points.covariances, {"units": "products of km and km/s"})
        coordinates = {"time": _times.to_datetime64(points.ds50), "component": ["x", "y", "z"]}
        attributes = {"satellite": self.number, "frame": self.frame, "file": self.file, "time_scale": "UTC"}
        return xarray.Dataset(data, coordinates, attributes)

    # ---- Ownership and copies ----

    def release(self) -> int:
        """Leave the record in the store when this object is deleted, and return its key, for C code."""
        if not self._key:
            raise ClosedError("the satellite was closed")
        self._is_owner = False
        return self._key

    def __reduce__(self) -> tuple[Callable[..., Satellite], tuple[Any, ...]]:
        number, code, _, _, tag, text, earth_radius_km, ke, _ = self._fields()
        points = self.points
        triangles = None if points.covariances is None else _triangles(points.covariances)
        origin = Origin(self.file, self.format, self.record)
        return _restored, ((number, code, earth_radius_km, ke), (text, tag), origin,
                           (points.ds50, points.states, triangles, points.revolutions))


def _restored(record: tuple[int, int, float, float], texts: tuple[str, str], origin: Origin,
              points: tuple[Floats, Floats, Floats | None, NDArray[np.int32]]) -> Satellite:
    """A satellite that was pickled."""
    satellite = Satellite(_vorlandi.add(*record), origin=origin)
    for field, text in zip((_TEXT_FIELD, _TAG_FIELD), texts):
        _vorlandi.set_field(satellite._key, field, text)
    _vorlandi.append(satellite._key, *points)
    return satellite


def _checked_points(t: TimeLike, states: ArrayLike, covariances: ArrayLike | None, revolutions: ArrayLike | None,
                    last: float | None) -> tuple[Floats, Floats, Floats | None, NDArray[np.int32]]:
    """Points in the form for the extension, with the triangles of the covariances."""
    times = np.atleast_1d(np.asarray(ds50(t)))
    if times.ndim != 1:
        raise ValueError("the times are not in one row")
    count = len(times)
    times = _finite(times, (count,), "t")
    rows = _finite(states, (count, 6), "states")
    triangles = None
    if covariances is not None:
        matrices = _finite(covariances, (count, 6, 6), "covariances")
        triangles = _triangles(matrices)
    numbers = np.zeros(count, np.int32) if revolutions is None else np.asarray(revolutions)
    if numbers.shape != (count,):
        raise ValueError(f"revolutions has the shape {numbers.shape}; it should be {(count,)}")
    if numbers.dtype.kind not in "iu":
        raise TypeError("revolutions are not whole numbers")
    if ((numbers < _INT32.min) | (numbers > _INT32.max)).any():
        raise ValueError("revolutions has numbers that 32 bits don't hold")
    before = times[:-1] if last is None else np.concatenate(([last], times[:-1]))
    rising = times[1:] > before if last is None else times > before
    if not rising.all():
        at = int(np.argmin(rising)) + (last is None)
        raise ValueError(f"the times don't rise: number {at} is not later than the one before")
    return times, rows, triangles, np.ascontiguousarray(numbers, dtype=np.int32)

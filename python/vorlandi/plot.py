"""Pictures of satellites with matplotlib, which is imported when a function is called.

Each function draws into the Axes `ax`, or into new ones, and returns them. Further keywords go to the lines: ``color``,
``linewidth`` and others of `matplotlib.lines.Line2D`. Times are UTC. New Axes get a legend if there are two to ten
lines; given Axes get labels if they are empty, and no legend. Nothing is shown and no setting is changed: call
``matplotlib.pyplot.show()`` or ``ax.figure.savefig(path)``.

Lines go through the points and, where these are more than a minute apart, through states between them. They break
where no state is answered.
"""

from __future__ import annotations

import os
from collections.abc import Callable, Iterable
from typing import TYPE_CHECKING, Any, Literal, TypeAlias, Union

import numpy as np

from vorlandi._satellite import ROTATING, Satellite
from vorlandi.analysis import diff
from vorlandi.times import Floats, OneTime, TimeLike, ds50, to_datetime64

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from numpy.typing import NDArray

__all__ = ["difference", "error", "height", "orbit", "points", "sigma", "speed"]

Satellites: TypeAlias = Union[Satellite, Iterable[Satellite]]
Curve: TypeAlias = tuple[str, Floats, Floats]  # label, times, values

_EARTH_RADIUS_KM = 6378.137
_EARTH_ROTATION_RAD_S = 7.292115e-5
_LEAST_SINE = 1e-9  # of the angle between position and velocity
_LONGEST_STEP_MIN = 1.0
_ROUNDING = 1e-3  # steps, so that points a minute apart are not split
_MINUTES_PER_DAY = 1440.0
_M_PER_KM = 1000.0
_ORBIT_AXES = ("radial", "in-track", "cross-track")
_MOST_IN_LEGEND = 10
_MOST_NAMED_BARS = 30


# ---- Curves ----


def _listed(sats: Satellites) -> list[Satellite]:
    return [sats] if isinstance(sats, Satellite) else list(sats)


def _labels(sats: list[Satellite]) -> list[str]:
    """Numbers and, where these don't distinguish the satellites, frames, files and records."""
    labels = [str(sat.number) for sat in sats]
    additions: tuple[Callable[[Satellite], str], ...] = (
        lambda sat: sat.frame, lambda sat: os.path.basename(sat.file), lambda sat: str(sat.record))
    for addition in additions:
        more = [addition(sat) for sat in sats]
        if len(set(labels)) < len(labels) and len(set(more)) > 1:
            labels = [f"{label} {text}".rstrip() for label, text in zip(labels, more)]
    return labels


def _lengths(vectors: Floats) -> Floats:
    lengths: Floats = np.linalg.norm(vectors, axis=-1)
    return lengths


def _unanswered(times: Floats, *sats: Satellite) -> NDArray[np.bool_]:
    """Whether one of the satellites has no state between a time and the next, for each but the last."""
    middles = (times[:-1] + times[1:]) / 2
    answered: NDArray[np.bool_] = np.logical_and.reduce([sat.answers(middles) for sat in sats])
    return ~answered


def _times_of(sat: Satellite) -> Floats:
    """The times of the points, times between distant points, and one in each interval without answers."""
    times = sat.points.ds50
    steps = np.diff(times)
    parts = np.ceil(steps * (_MINUTES_PER_DAY / _LONGEST_STEP_MIN) - _ROUNDING).astype(np.int64).clip(1)
    parts[_unanswered(times, sat)] = 2
    part = np.arange(parts.sum()) - np.repeat(parts.cumsum() - parts, parts)
    return np.append(np.repeat(times[:-1], parts) + part * np.repeat(steps / parts, parts), times[-1:])


def _times(sat: Satellite, t: TimeLike | None) -> Floats:
    return _times_of(sat) if t is None else np.atleast_1d(ds50(t))


def _curves(sats: Satellites, t: TimeLike | None, value: Callable[[Floats], Floats]) -> list[Curve]:
    """Values of the states of each satellite."""
    them = _listed(sats)
    times = [_times(sat, t) for sat in them]
    return [(label, when, value(sat.state(when, errors="nan"))) for label, when, sat in zip(_labels(them), times, them)]


def _rotates(sat: Satellite) -> bool:
    rotates = ROTATING.get(sat.frame)
    if rotates is None:
        raise ValueError(f"radial, in-track and cross-track are not known in the frame {sat.frame}")
    return rotates


def _orbit_axes(states: Floats, rotates: bool) -> Floats:
    """Radial, in-track and cross-track unit vectors by the inertial velocity, shape (n, 3, 3); NaN if undefined."""
    position = states[:, :3]
    velocity = states[:, 3:] + (np.cross([0.0, 0.0, _EARTH_ROTATION_RAD_S], position) if rotates else 0.0)
    normal = np.cross(position, velocity)
    normal[_lengths(normal) < _LEAST_SINE * _lengths(position) * _lengths(velocity)] = np.nan
    with np.errstate(invalid="ignore"):
        radial = position / _lengths(position)[:, np.newaxis]
        cross_track = normal / _lengths(normal)[:, np.newaxis]
    return np.stack([radial, np.cross(cross_track, radial), cross_track], axis=1)


def _sigmas_m(sat: Satellite, times: Floats, on_orbit: bool) -> Floats:
    """Standard deviations of the position, shape (n, 3); NaN without a covariance."""
    states, matrices = sat.state_and_covariance(times, errors="nan")
    matrices = matrices[:, :3, :3]
    if on_orbit:
        axes = _orbit_axes(states, _rotates(sat))
        matrices = axes @ matrices @ axes.transpose(0, 2, 1)
    variances = np.diagonal(matrices, axis1=1, axis2=2)
    known = (variances >= 0.0).all(axis=1, keepdims=True) & (variances > 0.0).any(axis=1, keepdims=True)
    sigmas_m: Floats = np.sqrt(np.where(known, variances, np.nan)) * _M_PER_KM
    return sigmas_m


# ---- Axes ----


def _axes_for(ax: Axes | None, **options: Any) -> Axes:
    if ax is not None:
        return ax
    from matplotlib import pyplot

    return pyplot.figure().add_subplot(**options)


def _explain(axes: Axes) -> None:
    if 2 <= len(axes.lines) <= _MOST_IN_LEGEND:
        axes.legend()


def _show_utc(ax: Axes) -> None:
    """Dates in UTC, regardless of the zone in the settings, unless the ticks were already chosen."""
    from matplotlib import dates

    axis = ax.xaxis
    if axis.isDefault_majloc and axis.isDefault_majfmt:
        locator = dates.AutoDateLocator(tz="UTC")
        axis.set_major_locator(locator)
        axis.set_major_formatter(dates.ConciseDateFormatter(locator, tz="UTC"))


def _spans_decades(curves: list[Curve]) -> bool:
    values = np.concatenate([values for *_, values in curves]) if curves else np.empty(0)
    values = values[values > 0.0]
    return len(values) > 0 and bool(values.max() > 10.0 * values.min())


def _draw(ax: Axes | None, curves: list[Curve], title: str, line: dict[str, Any], *, may_be_log: bool = False) -> Axes:
    """Curves over time."""
    drawn = [(label, to_datetime64(times), values) for label, times, values in curves]
    axes = _axes_for(ax)
    is_empty = not axes.has_data()
    for label, dates, values in drawn:
        axes.plot(dates, values, **{"label": label, **line})
    _show_utc(axes)
    if is_empty:
        axes.set_xlabel("UTC")
        axes.set_ylabel(title)
        if may_be_log and _spans_decades(curves):
            axes.set_yscale("log")
    if ax is None:
        _explain(axes)
    return axes


def _line(given: dict[str, Any], **usual: Any) -> dict[str, Any]:
    """Keywords for lines, by their long names: ``linewidth`` for ``lw``."""
    from matplotlib import cbook
    from matplotlib.lines import Line2D

    return {**usual, **cbook.normalize_kwargs(given, Line2D)}


def _named(names: Iterable[str], line: dict[str, Any]) -> list[str]:
    """Labels of lines that belong together, after the label for all of them."""
    label = line.pop("label", None)
    return [name if label is None else f"{label} {name}" for name in names]


def _sphere(radius: float) -> Floats:
    """Meridians and parallels 15 degrees apart: x, y and z."""
    longitude, latitude = np.meshgrid(np.linspace(0.0, 2 * np.pi, 25), np.linspace(-np.pi / 2, np.pi / 2, 13))
    across = np.cos(latitude)
    sphere: Floats = radius * np.stack([across * np.cos(longitude), across * np.sin(longitude), np.sin(latitude)])
    return sphere


# ---- Pictures ----


def orbit(sats: Satellites, t: TimeLike | None = None, *, ax: Axes | None = None, earth: bool = True,
          **line: Any) -> Axes:
    """Positions in three dimensions, in the frame of the satellites, with equal scales.

    Parameters
    ----------
    sats : Satellite or satellites
        All in one frame.
    t : times, optional
        The points and times between them if not given.
    ax : matplotlib.axes.Axes, optional
        With ``projection="3d"``.
    earth : bool
        Draw a sphere of wires with the radius 6378.137 km.
    **line
        Keywords for the lines, one a satellite.

    Returns
    -------
    matplotlib.axes.Axes

    Raises
    ------
    ValueError
        If the satellites are in several frames, or `ax` has two dimensions.

    Examples
    --------
    >>> import vorlandi
    >>> ax = orbit(vorlandi.load("81001_stk.e"))
    >>> ax.get_xlabel()
    'x in ECI (km)'
    """
    them = _listed(sats)
    frames = sorted({sat.frame for sat in them})
    if len(frames) > 1:
        raise ValueError(f"the satellites are in several frames: {', '.join(frames)}")
    if ax is not None and ax.name != "3d":
        raise ValueError('orbits need Axes made with projection="3d"')
    curves = _curves(them, t, lambda states: states[:, :3].T)
    axes = _axes_for(ax, projection="3d")
    for label, _, position in curves:
        axes.plot(*position, **{"label": label, **line})
    if earth:
        axes.plot_wireframe(*_sphere(_EARTH_RADIUS_KM), rstride=1, cstride=1, color="0.7", linewidth=0.4)
    for name in "xyz":
        getattr(axes, f"set_{name}label")(f"{name} in {frames[0]} (km)" if frames else f"{name} (km)", labelpad=8)
    axes.locator_params(nbins=5)
    sides = [np.ptp(axes.get_xlim()), np.ptp(axes.get_ylim()), np.ptp(axes.get_zlim())]
    axes.set_box_aspect(sides, zoom=0.85)  # leaves room for the labels
    if ax is None:
        _explain(axes)
    return axes


def height(sats: Satellites, t: TimeLike | None = None, *, ax: Axes | None = None, **line: Any) -> Axes:
    """Distance from the centre of the earth minus 6378.137 km, in km.

    Parameters
    ----------
    sats : Satellite or satellites
    t : times, optional
        The points and times between them if not given.
    ax : matplotlib.axes.Axes, optional
    **line
        Keywords for the lines, one a satellite.

    Returns
    -------
    matplotlib.axes.Axes

    Examples
    --------
    >>> import vorlandi
    >>> ax = height(vorlandi.load("81001_stk.e"), color="black")
    >>> ax.lines[0].get_ydata().max().round()
    591.0
    """
    curves = _curves(sats, t, lambda states: _lengths(states[:, :3]) - _EARTH_RADIUS_KM)
    return _draw(ax, curves, "height (km)", line)


def speed(sats: Satellites, t: TimeLike | None = None, *, ax: Axes | None = None, **line: Any) -> Axes:
    """Speed in km/s, of each satellite in its own frame; otherwise as `height`."""
    them = _listed(sats)
    frames = ", ".join(sorted({sat.frame for sat in them}))
    curves = _curves(them, t, lambda states: _lengths(states[:, 3:]))
    return _draw(ax, curves, f"speed in {frames} (km/s)", line)


def sigma(sat: Satellite, t: TimeLike | None = None, *, axes: Literal["rtn", "frame"] = "rtn", ax: Axes | None = None,
          **line: Any) -> Axes:
    """Standard deviations of the position in m, from the covariances.

    Parameters
    ----------
    sat : Satellite
    t : times, optional
        The points and times between them if not given. Between points, covariances are interpolated element by element.
    axes : {"rtn", "frame"}
        Along radial, in-track and cross-track, or along x, y and z of the frame.
    ax : matplotlib.axes.Axes, optional
    **line
        Keywords for the three lines; ``label`` is put before their names.

    Returns
    -------
    matplotlib.axes.Axes
        Lines break where there is no covariance, or where a variance is negative. The scale is logarithmic if the
        values differ by more than a factor of ten.

    Raises
    ------
    ValueError
        If no point has a covariance; with ``"rtn"``, if it is not known whether the frame rotates.
    """
    if axes not in ("rtn", "frame"):
        raise ValueError(f'axes is "rtn" or "frame", not {axes!r}')
    if not sat.has_covariance:
        raise ValueError(f"{sat.number} has no covariances")
    times = _times(sat, t)
    values = _sigmas_m(sat, times, axes == "rtn")
    labels = _named(_ORBIT_AXES if axes == "rtn" else [f"{name} in {sat.frame}" for name in "xyz"], line)
    curves = [(label, times, values[:, at]) for at, label in enumerate(labels)]
    return _draw(ax, curves, "sigma (m)", line, may_be_log=True)


def points(sats: Satellites, *, ax: Axes | None = None, **line: Any) -> Axes:
    """When states are answered: a bar for each satellite, from top to bottom, broken where the library has no answer.

    Parameters
    ----------
    sats : Satellite or satellites
    ax : matplotlib.axes.Axes, optional
    **line
        Keywords for the bars, which are lines of a ``linewidth`` of 5 if not given.

    Returns
    -------
    matplotlib.axes.Axes
        The bar of the first satellite is at 0, the next at 1, and so on.
    """
    them = _listed(sats)
    bars = []
    for row, (label, sat) in enumerate(zip(_labels(them), them)):
        times = sat.points.ds50
        answered = np.pad(~_unanswered(times, sat), 1)
        runs = np.flatnonzero(answered[1:] != answered[:-1]).reshape(-1, 2)  # first and last point of each
        bars.append((label, times[runs[:, [0, 1, 1]]].ravel(), np.tile([row, row, np.nan], len(runs))))
    axes = _draw(_axes_for(ax), bars, "satellite", _line(line, linewidth=5, solid_capstyle="butt"))
    if len(bars) <= _MOST_NAMED_BARS:
        axes.set_yticks(range(len(bars)), [label for label, *_ in bars])
    axes.set_ylim(max(len(bars), 1) - 0.5, -0.5)
    return axes


def difference(a: Satellite, b: Satellite, *, step_s: float | None = None, start: OneTime | None = None,
               end: OneTime | None = None, ignore_frames: bool = False, ax: Axes | None = None, **line: Any) -> Axes:
    """Position of `b` minus position of `a` in m, radial, in-track and cross-track of `a`.

    Parameters
    ----------
    a, b, step_s, start, end, ignore_frames
        As for `vorlandi.analysis.diff`, which calculates the values: at the points of `a` if no step is given.
    ax : matplotlib.axes.Axes, optional
    **line
        Keywords for the three lines; ``label`` is put before their names.

    Returns
    -------
    matplotlib.axes.Axes

    Raises
    ------
    ValueError
        If the frames differ, or it is not known whether the frame of `a` rotates.
    NoDataError
        If there is no time at which both have a state.

    Examples
    --------
    >>> import vorlandi
    >>> ax = difference(*vorlandi.load("81001_stk.e", "81001_v31.txt"))
    >>> [line.get_label() for line in ax.lines]
    ['radial', 'in-track', 'cross-track']
    """
    _rotates(a)
    states = diff(a, b, step_s=step_s, start=start, end=end, ignore_frames=ignore_frames).states
    times = ds50(states["time_utc"])
    breaks = np.flatnonzero(_unanswered(times, a, b)) + 1
    times = np.insert(times, breaks, times[breaks])
    curves = [(label, times, np.insert(states[name], breaks, np.nan)) for label, name in
              zip(_named(_ORBIT_AXES, line), ("radial_m", "in_track_m", "cross_track_m"))]
    return _draw(ax, curves, "difference (m)", line)


def error(sats: Satellites, *, ax: Axes | None = None, **line: Any) -> Axes:
    """Estimated error of the interpolated position in m, a step for each interval between points.

    Parameters
    ----------
    sats : Satellite or satellites
    ax : matplotlib.axes.Axes, optional
    **line
        Keywords for the lines, one a satellite.

    Returns
    -------
    matplotlib.axes.Axes
        A line breaks where no state is answered or there is no estimate; see `Satellite.error`. The scale is
        logarithmic if the values differ by more than a factor of ten.
    """
    them = _listed(sats)
    curves = []
    for label, sat in zip(_labels(them), them):
        times = sat.points.ds50
        values = sat.error((times[:-1] + times[1:]) / 2)
        curves.append((label, times, np.append(values, values[-1:] if len(times) > 1 else times * np.nan)))
    return _draw(ax, curves, "estimated error (m)", _line(line, drawstyle="steps-post"), may_be_log=True)

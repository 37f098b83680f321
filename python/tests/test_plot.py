"""Plots, by the data of their lines."""
import re
import subprocess
import sys

import matplotlib
import numpy as np
import pytest
from conftest import DATA, EXAMPLES, MINUTE, START, circle, covariances
from matplotlib import dates, pyplot

import vorlandi
from vorlandi import analysis, plot, times

DOCS = EXAMPLES.parent / "docs"
EARTH_ROTATION_RAD_S = 7.292115e-5


@pytest.fixture(autouse=True)
def nothing_shown_or_set(monkeypatch):
    monkeypatch.setattr(pyplot, "show", lambda *_, **__: pytest.fail("shown"))
    before = dict(matplotlib.rcParams)
    yield
    pyplot.close("all")
    assert dict(matplotlib.rcParams) == before


def with_gap(number=7, step=MINUTE):
    """Two stretches of 20 points, four hours apart. An interval needs a point on either side: 36 are answered."""
    whole = circle(number, points=20, step=step)
    moved = circle(number, points=20, step=step, start=START + 20 * step + 4 / 24)
    points = [whole.points, moved.points]
    return vorlandi.Satellite.from_points(number, np.concatenate([p.ds50 for p in points]),
                                          np.concatenate([p.states for p in points]))


def data_of(line):
    return times.ds50(line.get_xdata()), np.asarray(line.get_ydata(), dtype=float)


def drawn_steps(when, values):
    """First and last time of each straight piece of a line."""
    drawn = np.isfinite(values[1:]) & np.isfinite(values[:-1])
    return when[:-1][drawn], when[1:][drawn]


@pytest.mark.parametrize("draw, part, less", [(plot.height, slice(0, 3), 6378.137), (plot.speed, slice(3, 6), 0.0)])
@pytest.mark.parametrize("step_min", [1, 9])
def test_curves_pass_through_all_points_and_break_at_gaps(draw, part, less, step_min):
    sat = with_gap(step=step_min * MINUTE)
    when, values = data_of(draw(sat).lines[0])
    first, last = drawn_steps(when, values)
    assert sat.answers((first + last) / 2).all()
    assert (last - first).max() < 1.001 * MINUTE and (last - first).sum() == pytest.approx(36 * step_min * MINUTE)
    assert len(when) == 36 * step_min + 3 * 2 + 1  # nothing is drawn twice
    nearest = when[np.abs(when[:, np.newaxis] - sat.points.ds50).argmin(axis=0)]
    assert np.abs(nearest - sat.points.ds50).max() < 1e-11  # half a nanosecond, and the resolution of a float
    expected = np.linalg.norm(sat.state(when, errors="nan")[:, part], axis=1) - less
    np.testing.assert_allclose(values, expected, rtol=1e-12)


def test_given_times_labels_and_keywords_are_used():
    one, other = circle(1), circle(1, frame="EFG", phase=1.0)
    t = START + MINUTE * np.array([-1.0, 2.0, 3.5])
    figure, axes = pyplot.subplots()
    axes.set_ylabel("mine")
    axes.axhline(7.0)
    assert plot.speed([one, other], t, ax=axes, color="red") is axes and pyplot.get_fignums() == [figure.number]
    assert [line.get_label() for line in axes.lines[1:]] == ["1 ECI", "1 EFG"] and axes.get_ylabel() == "mine"
    assert {line.get_color() for line in axes.lines[1:]} == {"red"} and axes.get_legend() is None
    assert np.isnan(data_of(axes.lines[1])[1]).tolist() == [True, False, False]
    assert plot.speed([one, other]).get_ylabel() == "speed in ECI, EFG (km/s)"
    files = vorlandi.load("81001_stk.e", "81001_v31.txt")
    legend = plot.height(files).get_legend()
    assert [text.get_text() for text in legend.get_texts()] == ["81001 81001_stk.e", "81001 81001_v31.txt"]
    assert plot.height(one, label="it").lines[0].get_label() == "it"
    named = plot.sigma(circle(1, covariances=covariances(20)), label="A").lines
    assert [line.get_label() for line in named] == ["A radial", "A in-track", "A cross-track"]


def test_times_are_utc_unless_the_axis_has_ticks_of_its_own():
    with matplotlib.rc_context({"timezone": "Asia/Tokyo"}):
        axes = plot.height(circle(1, points=96, step=45 * MINUTE))
        axes.figure.canvas.draw()
        shown = [label.get_text() for label in axes.get_xticklabels()]
        assert {"12:00", "Feb-01"} <= set(shown) and axes.get_xlabel() == "UTC"
        own = dates.DateFormatter("%j")
        axes.xaxis.set_major_formatter(own)
        assert plot.speed(circle(2), ax=axes).xaxis.get_major_formatter() is own


@pytest.mark.parametrize("frame", ["J2K", "EFG", "ECR"])
def test_sigmas_are_along_the_axes_of_the_inertial_orbit(frame):
    source = circle(1, tilt=0.7).points
    position, velocity = source.states[:, :3], source.states[:, 3:]
    radial, normal = position / 7000.0, np.cross(position, velocity)
    normal /= np.linalg.norm(normal, axis=1, keepdims=True)
    axes = np.stack([radial, np.cross(normal, radial), normal], axis=1)
    matrices = np.zeros((20, 6, 6))
    matrices[:, :3, :3] = axes.transpose(0, 2, 1) @ np.diag([1e-6, 4e-6, 9e-6]) @ axes
    matrices[4] = 0.0
    velocity[5] = position[5] * 0.0011
    seen = velocity - np.cross([0, 0, EARTH_ROTATION_RAD_S], position) * (frame != "J2K")
    sat = vorlandi.Satellite.from_points(1, source.ds50, np.hstack([position, seen]), covariances=matrices, frame=frame)
    expected = np.tile([1.0, 2.0, 3.0], (20, 1))
    expected[[4, 5]] = np.nan
    on_frame = np.sqrt(np.diagonal(matrices, 0, 1, 2)[:, :3]) * 1000.0
    on_frame[4] = np.nan
    for choice, sigmas in (("rtn", expected), ("frame", on_frame)):
        lines = plot.sigma(sat, source.ds50, axes=choice).lines
        drawn = np.stack([data_of(line)[1] for line in lines], axis=1)
        np.testing.assert_allclose(drawn, sigmas, rtol=1e-9)


def test_errors_are_steps_that_hold_from_point_to_point():
    sat = with_gap(step=9 * MINUTE)
    line = plot.error([circle(1), sat]).lines[1]
    when, values = data_of(line)
    assert line.get_drawstyle() == "steps-post" and line.axes.get_yscale() == "log"
    assert plot.error(circle(1)).get_yscale() == "linear"
    np.testing.assert_allclose(when, sat.points.ds50, rtol=1e-15)
    np.testing.assert_array_equal(values[:-1], sat.error(sat.points.ds50[:-1] + 2 * MINUTE))
    assert np.flatnonzero(np.isnan(values)).tolist() == [18, 19, 20]


def test_bars_are_where_states_are_answered():
    sats = [circle(1), with_gap(2), circle(3, points=3), vorlandi.Satellite.from_points(4, [], np.empty((0, 6)))]
    axes = plot.points(sats, lw=2)
    bars = [data_of(line) for line in axes.lines]
    ends = sats[1].points.ds50[[0, 18, 18, 21, 39, 39]]
    np.testing.assert_allclose(bars[1][0], ends, rtol=1e-15)
    np.testing.assert_array_equal(bars[1][1], [1, 1, np.nan, 1, 1, np.nan])
    np.testing.assert_allclose(bars[0][0][:2], sats[0].span, rtol=1e-15)
    assert len(bars[2][0]) == len(bars[3][0]) == 0 and axes.lines[0].get_linewidth() == 2
    assert [text.get_text() for text in axes.get_yticklabels()] == ["1", "2", "3", "4"]
    assert axes.get_ylim() == (3.5, -0.5) and axes.get_legend() is None
    assert plot.points([]).get_ylim() == (0.5, -0.5)
    assert len(plot.points([circle(1)] * 31).get_yticks()) < 31


def test_differences_are_the_same_as_by_diff_and_break_at_gaps_of_either():
    whole = circle(1, points=300)
    sat = with_gap(2)
    for a, b in ((whole, sat), (sat, whole)):
        compared = analysis.diff(a, b).states
        lines = plot.difference(a, b).lines
        for line, name in zip(lines, ("radial_m", "in_track_m", "cross_track_m")):
            when, values = data_of(line)
            np.testing.assert_array_equal(values[np.isfinite(values)], compared[name])
            first, last = drawn_steps(when, values)
            assert (last - first).max() < 1.001 * MINUTE and len(first) == 36
    assert len(data_of(plot.difference(whole, sat, step_s=30.0, end=START + 5 * MINUTE).lines[0])[0]) == 11


def test_orbits_have_equal_scales_and_one_frame():
    sats = [circle(1), circle(2, radius_km=20000.0, points=600, tilt=0.2)]
    axes = plot.orbit(sats)
    np.testing.assert_array_equal(axes.lines[1].get_data_3d(), sats[1].points.states[:, :3].T)
    scale = np.ptp([axes.get_xlim(), axes.get_ylim(), axes.get_zlim()], axis=1) / axes._box_aspect
    np.testing.assert_allclose(scale, scale[0])
    assert np.ptp(axes.get_xlim()) > 1.5 * np.ptp(axes.get_zlim())  # of boxes that are not cubes
    wires = np.concatenate(axes.collections[0]._segments3d)
    np.testing.assert_allclose(np.linalg.norm(wires, axis=1), 6378.137)
    some = plot.orbit(sats, sats[0].points.ds50[:5], earth=False)
    assert not some.collections and len(some.lines[1].get_data_3d()[0]) == 5


def test_what_cannot_be_drawn_raises_and_leaves_no_figure():
    closed = circle(1)
    closed._close()
    other = circle(1, frame=9)
    cases = [(lambda: plot.height([circle(2), closed]), vorlandi.ClosedError, ""),
             (lambda: plot.orbit([circle(1), circle(2, frame="EFG")]), ValueError, "several frames: ECI, EFG"),
             (lambda: plot.sigma(circle(1, frame=9, covariances=covariances(20))), ValueError, "known in the frame"),
             (lambda: plot.sigma(circle(7)), ValueError, "7 has no covariances"),
             (lambda: plot.height(circle(1), 1e6), vorlandi.TimeError, "1678 to 2261"),
             (lambda: plot.sigma(other, axes="xyz"), ValueError, '"rtn" or "frame"'),
             (lambda: plot.difference(circle(1), circle(2, start=START + 1)), vorlandi.NoDataError, "no time"),
             (lambda: plot.difference(other, other), ValueError, "not known in the frame")]
    for call, kind, text in cases:
        with pytest.raises(kind, match=text):
            call()
    assert pyplot.get_fignums() == []
    with pytest.raises(ValueError, match="3d"):
        plot.orbit(circle(1), ax=pyplot.figure().add_subplot())


def test_matplotlib_is_imported_when_something_is_drawn():
    program = "import sys, vorlandi; vorlandi.plot.height; sys.exit('matplotlib' in sys.modules)"
    assert subprocess.run([sys.executable, "-c", program], cwd=DATA).returncode == 0


def test_pictures_of_the_gallery_are_made_by_its_programs(tmp_path):
    subprocess.run([sys.executable, DOCS / "make_gallery.py", tmp_path], check=True)
    pictures = re.findall(r"\((images/.*?)\)", (DOCS / "gallery.md").read_text())
    assert len(pictures) == 5
    for picture in pictures:
        drawn, kept = (np.array(re.findall(r"-?\d+\.?\d*", " ".join(re.findall(' d="(.*?)"', path.read_text(), re.S))),
                                dtype=float) for path in (tmp_path / picture, DOCS / picture))
        np.testing.assert_allclose(drawn, kept, atol=0.05)  # a fifteenth of a pixel

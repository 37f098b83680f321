"""Checks, comparisons, approaches and conversions have the tool's results."""
import dataclasses
import json
import os
import subprocess
import sys

import numpy as np
import pytest
from conftest import MINUTE, START, circle, covariances

import vorlandi
from vorlandi import analysis, convert


def tool(*arguments, status=0):
    """The standard output of ``python3 -m vorlandi``."""
    run = subprocess.run([sys.executable, "-m", "vorlandi", *map(str, arguments)], capture_output=True, text=True)
    assert run.returncode == status, run.stderr
    return run.stdout


def as_json(value):
    """A result as the tool's JSON has it: the same names, numbers and times."""
    if dataclasses.is_dataclass(value):
        return {field.name: as_json(getattr(value, field.name)) for field in dataclasses.fields(value)}
    if isinstance(value, np.ndarray) and value.dtype.names:
        return [{name: as_json(row[name]) for name in value.dtype.names} for row in value]
    if isinstance(value, dict):
        return {name: as_json(one) for name, one in value.items()}
    if isinstance(value, (list, tuple)):
        return [as_json(one) for one in value]
    if isinstance(value, np.datetime64):
        return vorlandi.times.to_iso(value)
    value = value.item() if isinstance(value, np.generic) else value
    return None if isinstance(value, float) and not np.isfinite(value) else value


def faulty():
    """A satellite that turns its plane at a node, 15 m/s, with a gap and a covariance that is not positive."""
    phase = np.pi - np.sqrt(398600.8 / 7000**3) * 3570  # the node is between the points 59 and 60
    before, after = (circle(81001, points=120, phase=phase, tilt=tilt).points for tilt in (1.0, 1.002))
    matrices = covariances(120)
    matrices[50, 0, 0] = -1
    states = np.concatenate([before.states[:60], after.states[60:]])
    kept = np.r_[0:80, 95:120]
    return vorlandi.Satellite.from_points(81001, before.ds50[kept], states[kept], covariances=matrices[kept])


def test_a_check_has_the_result_of_the_tool(tmp_path):
    path = tmp_path / "81001_faulty.e"
    convert.write(faulty(), path, "stk", covariances=True)
    for file in (path, "81001_modified_itc.txt", "81001_j2k.txt"):
        run = subprocess.run([sys.executable, "-m", "vorlandi", "check", "--format", "json", file],
                             capture_output=True, text=True)
        wanted = json.loads(run.stdout)["satellites"]
        found = as_json([analysis.check(sat) for sat in vorlandi.load(file)])
        for one in wanted:
            for finding in one["findings"]:
                finding.setdefault("jump", None)
        assert found == wanted
    found = {finding.kind: finding for finding in analysis.check(faulty()).findings}
    assert {"gap", "covariance-not-positive", "jump"} <= found.keys()
    assert np.linalg.norm(found["jump"].jump.dv_m_s) == pytest.approx(15.1, abs=0.5)
    limited = analysis.check(faulty(), start=START + 10 * MINUTE, end=START + 20 * MINUTE)
    assert limited.points == 11 and limited.covariances == 11
    for bad in ({"tolerance_m": 0}, {"gap_factor": 0.5}, {"start": 2.0, "end": 1.0}):
        with pytest.raises(ValueError):
            analysis.check(faulty(), **bad)


def test_a_comparison_has_the_result_of_the_tool(tmp_path):
    shifted = circle(81001, points=100, start=START, phase=0.001, covariances=covariances(100))
    convert.write(circle(81001, points=100), tmp_path / "81001_a.e", "stk")
    with pytest.warns(convert.ConversionWarning, match="number of the satellite"):
        convert.write(shifted, tmp_path / "b.e", "stk")
    convert.write(shifted, tmp_path / "81001_b.e", "stk", covariances=True)
    a, b = vorlandi.load(tmp_path / "81001_a.e", tmp_path / "81001_b.e")
    for options, arguments in (({}, []), ({"step_s": 45.0, "start": START + 3 * MINUTE},
                                          ["--step", 45, "--from", "2026-01-31T00:03:00"])):
        text = tool("diff", a.file, b.file, "--each", "--format", "json", *arguments)
        assert as_json(analysis.diff(a, b, **options)) == json.loads(text)["pairs"][0]
    found = analysis.diff(a, b)
    assert found.statistics["in_track_m"].rms == pytest.approx(7000e3 * 0.001, rel=1e-3)
    assert found.states["distance_m"].shape == (found.compared,) and found.normalized.count == 100
    with pytest.raises(ValueError, match="frames differ"):
        analysis.diff(a, circle(1, frame="J2K"))
    with pytest.raises(ValueError, match="more than the 20000000 that"):
        analysis.diff(a, b, step_s=1e-6)
    with pytest.raises(vorlandi.NoDataError):
        analysis.diff(a, circle(1, start=START + 5))


def test_approaches_are_the_same_as_the_tools(tmp_path):
    rng = np.random.default_rng(5)
    fleet = [circle(100 + i, points=100, phase=rng.random() * 6, tilt=rng.random() * 3,
                    covariances=covariances(100) * 1e-4 if i % 2 else None) for i in range(40)]
    fleet.append(circle(500, frame="EFG"))
    convert.write_each(fleet[:-1], tmp_path / "them", "stk", covariances=True)
    convert.write_each(fleet[-1], tmp_path / "them", "v31", round_times=True)
    e = vorlandi.load(*sorted((tmp_path / "them").iterdir()), errors="ignore")
    wanted = json.loads(tool("approaches", *(sat.file for sat in e), "--within", 60, "--format", "json", status=1))
    for threads in (1, 3):
        found = analysis.approaches(e, 60, threads=threads)
        events = as_json(found.approaches)
        assert len(events) > 5 and [(e[one.pop("index_a")].number, e[one.pop("index_b")].number) for one in events] \
            == [(one["number_a"], one["number_b"]) for one in wanted["approaches"]]
        assert events == wanted["approaches"] and as_json(found.satellites) == wanted["satellites"]
        assert found.pairs_across_frames == wanted["pairs_across_frames"] > 0
    event = found.approaches[0]
    a, b = e[event["index_a"]], e[event["index_b"]]
    assert np.linalg.norm(a.position(event["time_utc"]) - b.position(event["time_utc"])) == pytest.approx(
        event["distance_km"], abs=1e-5)
    assert len(found.in_unknown_frames) == 0
    strange = [circle(1, frame=99), circle(2), circle(3, frame=99)]
    assert analysis.approaches(strange, 60).in_unknown_frames.tolist() == [0, 2]
    points = circle(4).points
    still = vorlandi.Satellite.from_points(4, points.ds50, points.states * [1, 1, 1, 0, 0, 0])
    with pytest.warns(UserWarning, match=r"satellite 4 \(\): all velocities are zero: "):
        analysis.approaches([circle(2), still], 60)
    with pytest.raises(ValueError):
        analysis.approaches(e, 60, step_s=1000)


def test_the_estimated_error_is_the_intervals():
    sat = faulty()
    points = sat.points.ds50
    found = analysis.check(sat)
    middles = (points[:-1] + points[1:]) / 2
    errors = sat.error(middles)
    assert errors[0] == found.interpolation.first_m and errors[-1] == found.interpolation.last_m
    assert np.nanmax(errors) > found.interpolation.inside_m and (sat.error(points) == 0).all()
    assert np.isnan(sat.error([points[0] - 1, points[-1] + 1])).all() and isinstance(sat.error(middles[3]), float)
    truth = circle(81001, points=120, step=MINUTE / 2)
    coarse = vorlandi.Satellite.from_points(5, truth.points.ds50[::8], truth.points.states[::8])
    off_m = np.linalg.norm(coarse.position(truth.points.ds50[:113]) - truth.points.states[:113, :3], axis=1) * 1000
    assert (off_m <= coarse.error(truth.points.ds50[:113]) + 1e-6).all() and off_m.max() > 1e-3
    before = sat.error(middles[-1])
    sat.append(points[-1] + MINUTE, sat.points.states[-1])
    assert sat.error(middles[-1]) != before


@pytest.mark.parametrize("target", convert.targets(), ids=lambda target: target.name)
def test_every_format_is_written_and_read_back(tmp_path, target):
    frame = target.frames[0]
    sat = circle(81001, frame=frame)
    options = dict(round_times=not target.exact_times, covariances=False)
    convert.write_each(sat, tmp_path, target.name, **options)
    path, = tmp_path.iterdir()
    if target.name != "czml":
        other = vorlandi.load(path)[0]
        assert len(other) == 20 and np.abs(other.points.states - sat.points.states).max() < 1e-2
    before = path.read_bytes()
    with pytest.raises(convert.ConversionError, match="exists; force=True replaces it"):
        convert.write(sat, path, target.name, **options)
    convert.write(sat, path, target.name, force=True, end=START + 5 * MINUTE, **options)
    assert len(path.read_bytes()) < len(before)


def test_the_file_can_be_named_as_standard_output_is(tmp_path, monkeypatch, capfd):
    monkeypatch.chdir(tmp_path)
    convert.write(circle(5), "-", "oem")
    assert len(vorlandi.load("-")) == 1 and capfd.readouterr().out == "" and os.fstat(1)


def test_what_cannot_be_written_raises(tmp_path):
    path = tmp_path / "x"
    for satellites, into, options, error in [
            (circle(5), "none", {}, ValueError), ([], "oem", {}, convert.ConversionError),
            ([circle(5), circle(6)], "stk", {}, convert.ConversionError),
            (circle(5), "v31", {"covariances": True}, ValueError), (circle(5), "stk", {"originator": "me"}, TypeError),
            (circle(123456), "v31", {"round_times": True}, convert.ConversionError),
            *((circle(5), "oem", options, error) for options, error in [
                ({"step_s": 0.0}, ValueError), ({"step_s": 1e-6}, ValueError),
                ({"tolerance_m": np.nan}, ValueError), ({"originator": "a\nb"}, ValueError),
                ({"oem_version": "9"}, ValueError), ({"useable": "yes"}, TypeError)])]:
        with pytest.raises(error):
            convert.write(satellites, path, into, **options)
        assert not path.exists()
    with pytest.raises(ValueError, match="null"):
        convert.write(circle(5), f"{path}\0y", "oem")
    assert not path.exists()
    with pytest.raises(OSError):
        convert.write(circle(5), tmp_path / "none" / "x.oem", "oem")
    convert.write([circle(5), circle(6, covariances=covariances(20))], path, "oem", originator="ME")
    assert "ORIGINATOR = ME" in path.read_text() and [sat.number for sat in vorlandi.load(path)] == [5, 6]


def test_the_tool_runs_as_a_module(tmp_path):
    assert tool("--version").strip() == f"Vorlandi {vorlandi.__version__}"
    assert "81001" in tool("info", "81001_stk.e")
    tool("info", tmp_path / "none", status=1)
    tool("nonsense", status=2)

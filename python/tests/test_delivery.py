"""The example of a delivery on a cluster: what it writes is what one process finds, and bad input is told."""
import csv
import importlib
import re
import subprocess
import sys

import numpy as np
import pytest
from conftest import EXAMPLES, MINUTE

import vorlandi
from vorlandi import analysis

pytest.importorskip("distributed")


def delivery(*options, folder):
    """Exit status, output, and what the example itself says of failures, not Dask."""
    run = subprocess.run([sys.executable, EXAMPLES / "delivery.py", *map(str, options)], capture_output=True,
                         text=True, cwd=folder)
    assert "Traceback" not in run.stderr
    return run.returncode, run.stdout, [line for line in run.stderr.splitlines() if line.startswith("delivery.py: ")]


def test_a_delivery_is_made_checked_and_screened(tmp_path):
    status, said, failures = delivery("new", "--make", 40, "--points", 240, "--within", 60, folder=tmp_path)
    assert (status, failures) == (0, [])
    files = sorted((tmp_path / "new").iterdir())
    e = vorlandi.load(*files)
    assert [sat.number for sat in e] == list(range(70001, 70041))
    assert {(len(sat), sat.format, sat.frame, sat.has_covariance) for sat in e} == {(240, "MODIFIED_ITC", "J2K", True)}
    sigmas = np.sqrt(np.diagonal(e[0].points.covariances, axis1=1, axis2=2))
    assert np.isclose(np.sqrt((sigmas[[0, 180], :3]**2).sum(1)), np.sqrt([0.0033, 0.0072])).all()  # 50 m, then 80 m
    assert not any(analysis.check(sat).findings for sat in e)  # the states are those of orbits
    wanted = analysis.approaches(e, 60).approaches
    with open(tmp_path / "results" / "approaches.csv") as file:
        found = list(csv.DictReader(file))
    assert len(found) == len(wanted) > 5 and f"{len(wanted)} approaches within 60 km" in said
    for name in ("number_a", "number_b", "distance_km", "sigma_distance"):
        assert np.allclose([float(row[name]) for row in found], wanted[name], rtol=1e-6)
    assert np.allclose(vorlandi.times.ds50([row["time_utc"] for row in found]),
                       vorlandi.times.ds50(wanted["time_utc"]), rtol=0, atol=MINUTE / 6e6)
    assert (tmp_path / "results" / "approaches.png").read_bytes().startswith(b"\x89PNG")

    # Delivered once more, with a point that is off, and something else among the files.
    lines = files[3].read_text().splitlines()
    time, x, rest = lines[404].split(maxsplit=2)
    lines[404] = f"{time} {float(x) + 5} {rest}"
    files[3].write_text("\n".join(lines) + "\n")
    (tmp_path / "new" / "notes").write_text("no ephemeris\n")
    (tmp_path / "new" / "all.card").write_text("EPHFIL = nowhere\n")
    status, said, failures = delivery("new", "--workers", 1, "--out", "again", folder=tmp_path)
    assert status == 1 and len(failures) == 1 and re.search("/notes: no ephemeris format", failures[0])
    assert "read 40 satellites" in said and "checks found" in said
    with open(tmp_path / "again" / "findings.csv") as file:
        assert {row["number"] for row in csv.DictReader(file)} == {"70004"}


@pytest.fixture
def program(tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)
    monkeypatch.syspath_prepend(EXAMPLES)
    return importlib.import_module("delivery")


def test_the_commands_that_are_shown_are_understood(program, tmp_path, monkeypatch):
    shown = [line.split() for path in (EXAMPLES / "delivery.py", EXAMPLES.parent / "docs" / "clusters.md")
             for line in re.findall(r"^.*python3 examples/delivery.py (.*)$", path.read_text(), re.M)]
    for at, options in enumerate(shown):
        if "--make" not in options:
            (tmp_path / options[0]).mkdir(exist_ok=True)
            (tmp_path / options[0] / "file").touch()
        monkeypatch.setattr(sys, "argv", ["delivery.py", *options])
        assert str(program.options().folder) == options[0]
    assert at == 2


def test_bad_input_of_the_delivery_is_told(program, tmp_path, monkeypatch, capsys):
    for folder in ("empty", "full"):
        (tmp_path / folder).mkdir()
    (tmp_path / "full" / "file").write_text("x")
    before = sorted(tmp_path.rglob("*"))
    for options, said in ((["none"], "none has no files; --make N"), (["empty"], "empty has no files"),
                          (["full/file"], "file is not a folder"), (["full", "--make", "3"], "full has files already"),
                          (["full", "--out", "full"], "--out is the folder"),
                          (["new", "--make", "1.5"], "'1.5' is not a whole number from 1"),
                          (["new", "--within", "nan"], "'nan' is not a number from 1e-06 to 100000"),
                          (["new", "--step", "301"], "'301' is not a number from 1 to 300")):
        monkeypatch.setattr(sys, "argv", ["delivery.py", *options])
        with pytest.raises(SystemExit) as left:
            program.main()
        assert left.value.code == 2 and said in capsys.readouterr().err
    assert sorted(tmp_path.rglob("*")) == before
    monkeypatch.setattr(sys, "argv", ["delivery.py", "full", "--out", "full/file"])
    assert program.main() == 1 and "File exists: 'full/file'" in capsys.readouterr().err

"""Many files on the workers of Dask: the bits of one process, whatever happens to workers, memory and files."""
import contextlib
import gc
import os
import shutil
import signal
import time
import warnings

import numpy as np
import pytest
from conftest import MINUTE, START, circle, covariances, on_rotating_axes, turned

import vorlandi
from vorlandi import analysis, convert

vd = pytest.importorskip("vorlandi.dask")
close = pytest.importorskip("vorlandi._close_approaches")
distributed = pytest.importorskip("distributed")
pandas = pytest.importorskip("pandas")

FILES = 12
TIMES = START + MINUTE * np.linspace(-2, 70, 200)  # begins before and ends after the points


@pytest.fixture(scope="module")
def files(tmp_path_factory):
    """Files of one or two satellites, half of them with covariances."""
    folder = tmp_path_factory.mktemp("files")
    for i in range(FILES):
        sats = [circle(100 + 10 * i + j, points=60, phase=0.4 * i + 0.03 * j, tilt=0.2 * i,
                       covariances=covariances(60) if i % 2 else None) for j in range(1 + i % 2)]
        convert.write(sats, folder / f"{i:02}.oem", "oem", covariances=bool(i % 2))
    return sorted(folder.iterdir())


@contextlib.contextmanager
def workers(count):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        with distributed.LocalCluster(n_workers=count, threads_per_worker=2, processes=True, dashboard_address=None,
                                      memory_limit="1GB") as cluster, distributed.Client(cluster) as client:
            yield client


@pytest.fixture(scope="module")
def client():
    with workers(4) as client:
        yield client


@pytest.fixture(autouse=True)
def forgotten():
    vd.clear_cache()


def same(found, wanted):
    return found.shape == wanted.shape and found.tobytes() == wanted.tobytes()


def test_results_have_the_bits_of_one_process_and_the_order_of_the_index(files, client):
    e = vorlandi.load(*files)
    index = vd.index(files, files_per_task=5)
    assert index[["number", "points", "start", "end", "covariance", "file", "record"]].to_records(
        index=False).tolist() == [row[:1] + row[2:] for row in map(tuple, e.table())]
    x = vd.states(index, TIMES, satellites_per_chunk=4, times_per_chunk=70)
    assert x.chunks == ((4, 3, 4, 4, 3), (70, 70, 60), (6,))
    wanted = e.states(TIMES, errors="nan")
    assert np.isnan(wanted).any() and same(x.compute(), wanted)
    matrices = vd.covariances(index, TIMES, times_per_chunk=90)
    assert same(matrices.compute(), e.covariances(TIMES, errors="nan"))
    rows = index[index.covariance].sort_values("number", ascending=False)
    chosen = [e[i] for i in rows.index]
    assert same(vd.states(rows, TIMES[:3]).compute(), vorlandi.Ephemerides(chosen).states(TIMES[:3], errors="nan"))
    assert vd.map_satellites(lambda sat: (sat.number, sat.end), rows).compute() == [(s.number, s.end) for s in chosen]
    limits = client.run(vd.cache_info)
    assert {info.limit for info in limits.values()} == {10**9 // 3} and sum(i.bytes for i in limits.values()) > 0


def test_a_killed_worker_changes_nothing(files, client, tmp_path):
    index = vd.index(files, files_per_task=1).drop_duplicates("path")

    def held_up(sat):  # the first of a process returns, the others wait
        try:
            (tmp_path / f"first-{os.getpid()}").touch(exist_ok=False)
        except FileExistsError:
            (tmp_path / f"waits-{os.getpid()}").touch()
            while not (tmp_path / "go").exists():
                time.sleep(0.01)
        return os.getpid(), sat.state(TIMES, errors="nan").tobytes()

    def at_work():  # which worker has a result that only it holds, and works on another?
        return [pid for address, pid in pids.items()
                if client.has_what([address])[address] and (tmp_path / f"waits-{pid}").exists()]

    sats = vorlandi.load(*files)
    wanted = [sats[row].state(TIMES, errors="nan").tobytes() for row in index.index]
    pids = client.run(os.getpid)
    future = client.compute(vd.map_satellites(held_up, index))
    while not (found := at_work()):
        assert future.status == "pending"
        time.sleep(0.01)
    os.kill(found[0], signal.SIGKILL)
    (tmp_path / "go").touch()
    results = future.result()
    assert [bits for _, bits in results] == wanted and found[0] not in {pid for pid, _ in results}


@pytest.mark.filterwarnings("ignore:Running on a single-machine scheduler")
def test_a_small_cache_loads_again_and_keeps_its_limit(files, monkeypatch):
    gc.collect()
    e = vorlandi.load(*files)
    wanted = e.states(TIMES, errors="nan")
    before = vorlandi.store.count()
    one = max(60 * (232 if sat.has_covariance else 64) for sat in e)
    for limit, least, most in ((1, 2 * FILES, 6 * FILES), (5 * one, FILES + 1, 4 * FILES), (10**9, FILES, FILES)):
        vd.clear_cache()
        monkeypatch.setenv("VORLANDI_CACHE_BYTES", str(limit))
        index = vd.index(files, files_per_task=4)
        x = vd.states(index, TIMES, times_per_chunk=70)
        assert same(x.compute(scheduler="threads", num_workers=4), wanted)
        info = vd.cache_info()
        assert least <= info.loads <= most and info.limit == limit and info.bytes <= limit
        held = vorlandi.store.count() - before
        assert held == (0 if limit == 1 else held) and held * 60 * 64 <= max(limit, 0)
    assert info.files == FILES and held == len(e) and info.hits >= 2 * FILES


def test_files_that_change_or_vanish_are_told(files, client, tmp_path):
    paths = [shutil.copy(file, tmp_path) for file in files[:4]]
    card = tmp_path / "two.card"
    card.write_text("#VORLANDI = OEM files\n" + "".join(f"EPHFIL = {path}\n" for path in paths[2:]))
    for indexed, touched in ((paths[:2], paths[0]), ([card], paths[3])):
        for make in (lambda index: vd.states(index, TIMES, errors="nan"), lambda index: vd.map_satellites(len, index)):
            x = make(vd.index(indexed))
            os.utime(touched, (1, 1))
            with pytest.raises(vd.FileChangedError, match="has changed since it was indexed"):
                x.compute()
            os.utime(touched, (2, 2))
    index = vd.index(paths)
    number = index["path"].nunique()
    os.remove(paths[1])
    with pytest.raises(vorlandi.LoadError, match="01.oem: No such file"):
        vd.states(index, TIMES).compute()
    found = vd.states(index, TIMES, errors="nan").compute()
    gone = (index["path"] == str(paths[1])).to_numpy()
    assert number == 4 and gone.sum() == 2 and np.isnan(found[gone]).all()
    assert same(found[~gone], vorlandi.load(paths[0], *paths[2:]).states(TIMES, errors="nan"))
    with pytest.raises(vorlandi.LoadError, match="01.oem"):
        vd.index(paths)
    again = vd.index(paths, errors="nan")
    problem, = again.attrs["problems"]
    assert (problem.kind, problem.path) == ("not-read", str(paths[1])) and len(again) == len(index) - 2
    assert problem.reason == "No such file or directory"
    for one in (paths[0], str(paths[0])):
        with pytest.raises(TypeError, match="one file"):
            vd.index(one)


def fleet(folder, frame):
    """Files of orbits in one shell, some of which begin late, lack three hours, or share a number. The last four drift
    apart slowly, so that they are near where their states begin and end."""
    random = np.random.default_rng(11)
    sats = []
    for i in range(60):
        late, lost = (i % 3 == 0) * random.integers(1, 40), (i % 4 == 0) * 200
        number = {50: 0, 51: 0, 52: 7, 53: 7}.get(i, 1000 + i)
        phase, height_km, tilt, node = random.uniform([0, -5, 0, 0], [6.3, 5, 3, 6.3])
        if i > 55:
            phase, height_km, tilt, node = 0.002 * i, 0.3 * (60 - i), 1.0, 0.0
        orbit = circle(number, points=450 - late, start=START + late * random.uniform(0.9, 1.0) * MINUTE, phase=phase,
                       radius_km=7000 + height_km, tilt=tilt).points
        states = turned(orbit.states, node)
        if frame == "ECR":
            states = on_rotating_axes(states, orbit.ds50)
        kept = np.r_[0:120, 120 + lost:len(states)]
        matrices = covariances(len(kept)) if i % 2 else None
        sats.append(vorlandi.Satellite.from_points(number, orbit.ds50[kept], states[kept], frame=frame,
                                                   covariances=matrices))
    paths = [folder / f"{frame}{at}.oem" for at in range(0, 60, 5)]
    for at, path in enumerate(paths):
        convert.write(sats[5 * at:5 * at + 5], path, "oem")
    return paths


def by_time(table):
    return table.sort_values(["time_utc", "number_a", "number_b"], ignore_index=True)


@pytest.mark.parametrize("frame, within_km, step_s, options", [
    ("ECI", 100, 60, {}), ("ECR", 1500, 300, {"same_number": True}),
    ("ECI", 300, 45, {"start": START + 3.7 * MINUTE, "stop": START + 200.2 * MINUTE})])
def test_close_approaches_are_those_of_one_process(frame, within_km, step_s, options, client, tmp_path):
    paths = fleet(tmp_path, frame)
    names = {"end" if name == "stop" else name: value for name, value in options.items()}
    wanted = analysis.approaches(vorlandi.load(*paths), within_km, step_s=step_s, **names).approaches
    index = vd.index(paths, files_per_task=5)
    table = vd.close_approaches(index, within_km=within_km, step_s=step_s, **options)
    found = by_time(table.compute())
    wanted = by_time(pandas.DataFrame({name: wanted[name] for name in found.columns}))
    assert len(wanted) > 50 and wanted["at_end"].sum() > 1 and wanted["sigma_distance"].notna().any()
    kinds = found.dtypes == "float64"
    exact = [name for name in found.columns if not kinds[name] and name != "time_utc"]
    pandas.testing.assert_frame_equal(found[exact], wanted[exact], check_dtype=False)
    assert (abs(found["time_utc"] - wanted["time_utc"]) <= np.timedelta64(2, "us")).all()
    for name in found.columns[kinds]:  # a microsecond along the orbit is 8 mm; the distance is at its minimum
        limit = 1e-6 if name == "distance_km" else 2e-5
        np.testing.assert_allclose(found[name], wanted[name], rtol=1e-5, atol=limit)
    if frame == "ECI":
        return
    with workers(1):
        pandas.testing.assert_frame_equal(by_time(table.compute()), found, check_exact=True)


@pytest.mark.parametrize("satellites, gigabytes, cache, count", [
    (11_130, 11.2, 3.6, 10), (11_130, 11.2, 0, 64), (1000, 1, 100, 8), (5, 1, 0.1, 5)])
def test_three_blocks_fit_the_cache_unless_they_are_too_many_or_few(satellites, gigabytes, cache, count):
    assert close.block_count(satellites, int(gigabytes * 1e9), int(cache * 1e9)) == count


def test_close_approaches_refuse_what_can_not_be_compared(files, client, tmp_path):
    other = tmp_path / "j2k.oem"
    convert.write(circle(3, frame="J2K"), other, "oem")
    index = vd.index([*files, other])
    for rows, options, reason in ((index, {}, "in ECI, J2K"), (index[:0], {}, "no satellites"),
                                  (index[:3], {"within_km": 0}, "within_km"), (index[:3], {"step_s": 301}, "step_s"),
                                  (index[:3], {"start": START + 1}, "no satellite has states"),
                                  (index[:3], {"start": START + 1, "stop": START}, "ends before")):
        with pytest.raises(ValueError, match=reason):
            vd.close_approaches(rows, **options)
    assert len(vd.close_approaches(index[index.frame == "J2K"]).compute()) == 0

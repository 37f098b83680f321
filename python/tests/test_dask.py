"""Many files on the workers of Dask: the bits of one process, whatever happens to workers, memory and files."""
import os
import shutil
import signal
import time
import warnings

import numpy as np
import pytest
from conftest import MINUTE, START, circle, covariances

import vorlandi
from vorlandi import convert

vd = pytest.importorskip("vorlandi.dask")
distributed = pytest.importorskip("distributed")

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


@pytest.fixture(scope="module")
def client():
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        with distributed.LocalCluster(n_workers=2, threads_per_worker=2, processes=True, dashboard_address=None,
                                      memory_limit="1GB") as cluster, distributed.Client(cluster) as client:
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


def test_a_killed_worker_changes_nothing(files, client):
    index = vd.index(files, files_per_task=1)

    def slowly(sat):
        time.sleep(0.1)
        return os.getpid(), sat.state(TIMES, errors="nan").tobytes()

    wanted = [sat.state(TIMES, errors="nan").tobytes() for sat in vorlandi.load(*files)]
    before = client.run(os.getpid)
    future = client.compute(vd.map_satellites(slowly, index))
    while not any(client.has_what().values()):
        time.sleep(0.01)
    assert future.status == "pending"
    killed = next(iter(before.values()))
    os.kill(killed, signal.SIGKILL)
    found = future.result(timeout=60)
    assert [bits for _, bits in found] == wanted
    assert killed not in client.run(os.getpid).values()


@pytest.mark.filterwarnings("ignore:Running on a single-machine scheduler")
def test_a_small_cache_loads_again_and_keeps_its_limit(files, monkeypatch):
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

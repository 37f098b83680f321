"""Copies: pickled, in other processes."""
import copy
import multiprocessing
import os
import pickle
import shutil
import threading

import numpy as np
import pytest
from conftest import MINUTE, START, circle, covariances

import vorlandi


def fingerprint(sat):
    points = sat.points
    matrices = b"" if points.covariances is None else points.covariances.tobytes()
    return (sat.number, sat.frame, sat.tag, sat.file, sat.format, sat.record, points.ds50.tobytes(),
            points.states.tobytes(), matrices, points.revolutions.tobytes(), sat.state(sat.start + 1e-3).tobytes())


def fingerprints(e):
    return [fingerprint(sat) for sat in e]


@pytest.mark.parametrize("make", [lambda: circle(5, frame="J2K", tag="tag", earth_radius_km=6000.0),
                                  lambda: circle(6, covariances=covariances(20), revolutions=range(20)),
                                  lambda: vorlandi.load("81001_modified_itc.txt")[0]])
def test_a_satellite_is_the_same_after_pickling(make):
    sat = make()
    before = vorlandi.store.count()
    pickled = pickle.dumps(sat)
    assert len(pickled) < len(sat) * (232 if sat.has_covariance else 64) + 1500
    for other in (pickle.loads(pickled), copy.deepcopy(sat)):
        assert other.key != sat.key and fingerprint(other) == fingerprint(sat)
        assert other._fields()[6:8] == sat._fields()[6:8]
    del other
    assert vorlandi.store.count() == before


def test_a_load_is_pickled_as_its_files_while_they_are_unchanged(tmp_path):
    for name in ("81001_stk.e", "81001_modified_itc.txt"):
        shutil.copy(name, tmp_path)
    os.chdir(tmp_path)
    e = vorlandi.load("81001_stk.e", "81001_modified_itc.txt")
    wanted = fingerprints(e)
    pickled = pickle.dumps(e)
    assert len(pickled) < 5000 and fingerprints(pickle.loads(pickled)) == wanted
    assert fingerprints(pickle.loads(pickle.dumps(e[:1]))) == wanted[:1]
    e[0].append(e[0].end + MINUTE, np.ones(6))
    assert len(pickle.loads(pickle.dumps(e))[0]) == 362
    del e
    e = vorlandi.load("81001_stk.e", "81001_modified_itc.txt")
    os.utime("81001_stk.e", (1, 1))
    assert fingerprints(pickle.loads(pickle.dumps(e))) == wanted
    with pytest.raises(vorlandi.LoadError, match="has changed"):
        pickle.loads(pickled)
    with vorlandi.load("81001_stk.e") as e:
        pass
    with pytest.raises(vorlandi.ClosedError):
        pickle.dumps(e)


@pytest.mark.parametrize("method", ["fork", "spawn"])
def test_other_processes_answer_with_the_same_bits(method):
    e = vorlandi.Ephemerides([*vorlandi.load("81001_stk.e"), circle(5, covariances=covariances(20))])
    with multiprocessing.get_context(method).Pool(2) as pool:
        found = pool.map(fingerprint, e) + pool.apply(fingerprints, (e,))
    assert found == 2 * fingerprints(e)


def test_a_child_of_fork_can_use_the_store_at_once():
    sat = circle(5, points=2000)
    times = START + MINUTE * np.linspace(0, 1999, 5000)
    wanted = sat.state(times).tobytes()
    done = threading.Event()

    def work():
        while not done.is_set():
            sat.state(times)
            vorlandi.load("81001_stk.e")

    threads = [threading.Thread(target=work) for _ in range(3)]
    for thread in threads:
        thread.start()
    try:
        for _ in range(20):
            child = os.fork()
            if child == 0:
                good = sat.state(times).tobytes() == wanted and len(vorlandi.load("81001_stk.e")) == 1
                os._exit(0 if good else 1)
            assert os.waitpid(child, 0)[1] == 0
    finally:
        done.set()
        for thread in threads:
            thread.join()


@pytest.mark.parametrize("error", [vorlandi.OutOfSpanError("text", 1.0, 2.0, 3.0), vorlandi.GapError("text", 1.0),
                                   vorlandi.LoadError("text", "path", 2), vorlandi.ClosedError("text"),
                                   vorlandi.LoadWarning("text", "path", 3, "line", "reason")])
def test_exceptions_pickle_with_their_attributes(error):
    other = pickle.loads(pickle.dumps(error))
    assert type(other) is type(error) and str(other) == "text" and vars(other) == vars(error)

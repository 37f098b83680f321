"""States, covariances and points: shapes, bits, failures."""
import ctypes
import gc
import pickle
import sys
import threading
import time

import numpy as np
import pytest
from conftest import DATA, MINUTE, START, circle, covariances

import vorlandi
from vorlandi import Satellite, analysis


@pytest.fixture(scope="module")
def sat():
    return circle(5, covariances=covariances(20), revolutions=np.arange(20))


@pytest.fixture(scope="module")
def fleet():
    names = ("modified_itc.txt", "oem.txt", "universal.txt", "stk.e")
    return vorlandi.load(*(DATA / f"81001_{name}" for name in names))


@pytest.mark.parametrize("shape", [(), (0,), (1,), (7,), (100,), (3, 50)])
def test_answers_have_the_bits_of_the_c_interface_in_the_shape_of_the_times(sat, library, shape):
    times = START + 19 * MINUTE * np.random.default_rng(1).random(shape)
    wanted = [library.state(sat.key, time) for time in np.atleast_1d(times).flat]
    t = float(times) if shape == () else times
    state, matrix = sat.state_and_covariance(t)
    for found, at, tail in [(sat.state(t), 1, (6,)), (sat(t), 1, (6,)), (state, 1, (6,)), (matrix, 3, (6, 6)),
                            (sat.covariance(t), 3, (6, 6))]:
        expected = np.array([one[at] for one in wanted]).reshape(shape + tail)
        assert found.dtype == np.float64 and found.flags.c_contiguous
        assert found.shape == shape + tail and found.tobytes() == expected.tobytes()
    states = np.array([one[1] for one in wanted]).reshape(shape + (6,))
    assert np.array_equal(sat.position(t), states[..., :3]) and np.array_equal(sat.velocity(t), states[..., 3:])
    revolution = sat.revolution(t)
    assert revolution.dtype == np.int32 and np.array_equal(revolution, np.reshape([w[2] for w in wanted], shape))
    assert np.shape(sat.answers(t)) == shape and np.all(sat.answers(t)) and np.shape(sat.error(t)) == shape


def test_a_sequence_answers_for_all_its_satellites_with_the_same_bits(fleet, library):
    start = max(sat.start for sat in fleet)
    times = np.linspace(start + 0.02, min(sat.end for sat in fleet) - 0.02, 70)
    for t in (times, times[:1], times[0]):
        states, matrices = fleet.states(t), fleet.covariances(t)
        assert states.shape == (len(fleet), *np.shape(t), 6) and matrices.shape == (*states.shape, 6)
        for i, sat in enumerate(fleet):
            wanted = [library.state(sat.key, time) for time in np.atleast_1d(t)]
            assert states[i].tobytes() == np.array([one[1] for one in wanted]).tobytes()
            assert matrices[i].tobytes() == np.array([one[3] for one in wanted]).tobytes()
    assert any(sat.has_covariance for sat in fleet) and not all(sat.has_covariance for sat in fleet)


@pytest.mark.parametrize("answer, tail", [("state", (6,)), ("position", (3,)), ("velocity", (3,)),
                                          ("covariance", (6, 6)), ("states", (6,)), ("covariances", (6, 6))])
def test_out_receives_the_answer_or_is_refused(sat, answer, tail):
    everything = vorlandi.Ephemerides([sat, sat]) if answer.endswith("s") else sat
    many = (2,) if answer.endswith("s") else ()
    times = START + MINUTE * np.arange(1, 9)
    out = np.full((*many, 8, *tail), np.nan)
    assert getattr(everything, answer)(times, out=out) is out
    assert np.array_equal(out, getattr(everything, answer)(times))
    readonly = out.copy()
    readonly.flags.writeable = False
    for bad, error in [(out.astype("f4"), TypeError), (out.tolist(), TypeError), (out[..., :-1], ValueError),
                       (np.asfortranarray(out), ValueError), (readonly, ValueError)]:
        with pytest.raises(error, match="out "):
            getattr(everything, answer)(times, out=bad)
    for bad in (out, (out,), ()):
        with pytest.raises(TypeError, match="pair"):
            sat.state_and_covariance(times, out=bad)


def closed(sat):
    with vorlandi.Ephemerides([sat]):
        return sat


GAP = np.concatenate([MINUTE * np.arange(6), 1 + MINUTE * np.arange(6)]) + START
FAILURES = {
    "before": (lambda: circle(5), START - 1, vorlandi.OutOfSpanError, "outside of ephemeris time span"),
    "not a number": (lambda: circle(5), float("nan"), vorlandi.OutOfSpanError, "outside of ephemeris time span"),
    "in a gap": (lambda: Satellite.from_points(5, GAP, np.ones((12, 6))), START + 0.5, vorlandi.GapError, "too far"),
    "few points": (lambda: circle(5, points=3), START + 1e-4, vorlandi.TooFewPointsError, "less than 4"),
    "no points": (lambda: Satellite.from_points(5, [], np.empty((0, 6))), START, vorlandi.NoDataError, "any ephemeris"),
    "closed": (lambda: closed(circle(5)), START, vorlandi.ClosedError, "FindRecPtr"),
}


@pytest.mark.parametrize("day", ["1950-06-01", "1956-12-31", "2056-12-31", "2150-05-05"])
def test_gaps_are_in_the_century_of_the_points(day):
    first = vorlandi.times.ds50(day)
    points = first + 0.2 * np.arange(8)
    with pytest.raises(vorlandi.GapError) as raised:
        Satellite.from_points(5, points, np.ones((8, 6))).state(first + 0.5)
    assert [raised.value.start, raised.value.end] == pytest.approx([points[1], points[4]], abs=1e-7)


@pytest.mark.parametrize("make, time, error, text", FAILURES.values(), ids=FAILURES.keys())
def test_failures_raise_the_librarys_message_or_become_nan(make, time, error, text):
    sat = make()
    fleet = vorlandi.Ephemerides([sat])
    many = [time] * 100
    for call in (sat.state, sat.covariance, sat.state_and_covariance, sat.revolution, sat.position, fleet.states,
                 fleet.covariances):
        for t in (float(time), [time], many):
            with pytest.raises(error, match=text) as raised:
                call(t)
            if error in (vorlandi.OutOfSpanError, vorlandi.GapError):
                assert raised.value.time == time or np.isnan(time)
                span = (GAP[4], GAP[7]) if error is vorlandi.GapError else sat.span
                assert (raised.value.start, raised.value.end) == pytest.approx(span, abs=1e-8)
            if error is vorlandi.ClosedError:
                with pytest.raises(error, match=text):
                    call(t, errors="nan")
            elif call != sat.revolution:
                pair = call(t, errors="nan")
                assert all(np.isnan(values).all() for values in (pair if isinstance(pair, tuple) else (pair,)))
    assert sat.answers(time) is False
    assert error is vorlandi.ClosedError or sat.revolution(time, errors="nan") == -1
    with pytest.raises(ValueError, match='"raise" or "nan"'):
        sat.state(time, errors="none")


def test_one_bad_time_among_good_ones(sat):
    times = START + MINUTE * np.array([5, -3, 6, 99, 7])
    with pytest.raises(vorlandi.OutOfSpanError) as raised:
        sat.state(times)
    assert raised.value.time == times[1]
    states = sat.state(times, errors="nan")
    assert np.array_equal(np.isnan(states).all(1), ~sat.answers(times)) and np.isnan(states).any(1).sum() == 2
    assert states[4].tobytes() == sat.state(times[4]).tobytes()
    assert sat.revolution(times, errors="nan").tolist() == [5, -1, 6, -1, 7]


def test_points_are_kept_as_given():
    times, matrices = START + MINUTE * np.arange(9), covariances(9)
    matrices[3] = 0
    states = np.random.default_rng(2).normal(size=(9, 6))
    sat = Satellite.from_points(123456789, times, states, covariances=matrices, revolutions=range(9), frame="EFG",
                                tag="a tag")
    assert (sat.number, sat.frame, sat.frame_code, sat.tag, len(sat)) == (123456789, "EFG", 3, "a tag", 9)
    assert sat.span == (sat.start, sat.end) == (times[0], times[-1]) and sat.has_covariance
    sat.append(times[-1] + MINUTE, states[0])
    sat.append(times[-1] + MINUTE * np.arange(2, 4), states[:2], matrices[:2], [7, 8])
    points = sat.points
    assert len(points) == len(sat) == 12
    assert points.ds50.tobytes() == (START + MINUTE * np.arange(9)).tobytes() + points.ds50[9:].tobytes()
    assert points.states.tobytes() == np.concatenate([states, states[:1], states[:2]]).tobytes()
    assert points.covariances.tobytes() == np.concatenate([matrices, np.zeros((1, 6, 6)), matrices[:2]]).tobytes()
    assert points.revolutions.tolist() == [*range(9), 0, 7, 8]
    assert circle(5).points.covariances is None and not circle(5).has_covariance


BAD_POINTS = [
    (dict(t=[1.0, 1.0]), "number 1 is not later"), (dict(t=[2.0, 1.0]), "rise"), (dict(t=[1.0, np.inf]), "finite"),
    (dict(states=np.ones((2, 5))), "shape"), (dict(states=[[np.nan] * 6] * 2), "finite"),
    (dict(covariances=np.ones((2, 21))), "shape"), (dict(covariances=np.full((2, 6, 6), np.inf)), "finite"),
    (dict(revolutions=[1]), "shape"), (dict(frame="XYZ"), "frame"), (dict(number=-1), "number"),
    (dict(tag="x" * 129), "tag"), (dict(tag="a\0b"), "NUL"), (dict(revolutions=[0, 2**31]), "32 bits"),
    (dict(ke=np.nan), "finite"), (dict(frame=2**31), "code")]


@pytest.mark.parametrize("bad, text", BAD_POINTS, ids=[text for _, text in BAD_POINTS])
def test_bad_points_are_refused_and_nothing_changes(bad, text):
    before = vorlandi.store.count()
    good = dict(number=5, t=[1.0, 2.0], states=np.ones((2, 6)))
    with pytest.raises(ValueError, match=text):
        Satellite.from_points(**{**good, **bad})
    assert vorlandi.store.count() == before
    sat = Satellite.from_points(5, [0.2, 0.3], np.ones((2, 6)))
    if bad.keys() & {"t", "states", "covariances", "revolutions"}:
        given = {**dict(t=[1.0, 2.0], states=np.ones((2, 6)), covariances=None, revolutions=0), **bad}
        with pytest.raises(ValueError):
            sat.append(*given.values())
    with pytest.raises(ValueError, match="number 0 is not later"):
        sat.append(0.3, np.ones(6))
    assert len(sat) == 2


def test_a_record_lives_as_long_as_its_satellite(library):
    gc.collect()
    before = vorlandi.store.count()
    sat = circle(7)
    other = circle(7)  # equal ones don't collide
    assert vorlandi.store.count() == before + 2 and sat.key != other.key
    key = sat.release()
    del sat, other
    gc.collect()
    assert vorlandi.store.count() == before + 1 and key in vorlandi.store.keys()
    attached = vorlandi.store.attach(key)
    assert attached.number == 7 and len(attached) == 20
    library.VorlanRemoveSat(ctypes.c_int64(key))
    with pytest.raises(vorlandi.ClosedError):
        attached.state(START)
    assert repr(attached) == "<Satellite, removed from the store>"
    with pytest.raises(vorlandi.ClosedError):
        vorlandi.store.attach(key)


def test_a_slice_knows_that_its_satellites_were_closed():
    fleet = vorlandi.Ephemerides([circle(5), circle(6)])
    part = fleet[1:]
    assert part.states(START).shape == (1, 6)
    fleet.close()
    with pytest.raises(vorlandi.ClosedError, match=r"\(<=0\)"):  # a removed key can be another satellite's in time
        part.states(START)
    assert repr(part[0]) == "<Satellite, closed>" and part[0].key == 0
    assert "1 points 1000000.0 to" in repr(Satellite.from_points(5, [1e6], np.ones((1, 6))))


def test_tables_and_data_frames(fleet):
    table = fleet.table()
    assert table["number"].tolist() == [sat.number for sat in fleet] and table["points"].min() > 3
    assert table["covariance"].tolist() == [sat.has_covariance for sat in fleet]
    assert [sat.file for sat in fleet] == table["file"].tolist() and set(table["record"]) == {1}
    assert [sat.key for sat in fleet.numbered(81001)] == [sat.key for sat in fleet if sat.number == 81001]
    assert isinstance(fleet[1:3], vorlandi.Ephemerides) and fleet[1:3][1] is fleet[2]
    sat = fleet[[one.format for one in fleet].index("MODIFIED_ITC")]
    frame = sat.to_pandas()
    assert np.array_equal(frame.to_numpy()[:, :6], sat.points.states) and str(frame.index.tz) == "UTC"
    assert list(frame.columns) == ["x_km", "y_km", "z_km", "vx_km_s", "vy_km_s", "vz_km_s", "revolution"]
    assert np.array_equal(vorlandi.times.ds50(frame.index), sat.points.ds50)
    data = sat.to_xarray()
    assert data.position.attrs["units"] == "km" and data.velocity.dims == ("time", "component")
    assert np.array_equal(data.covariance, sat.points.covariances)


def test_eight_threads_query_load_and_close_at_the_same_time():
    sat = circle(5, points=2000)
    times = np.sort(START + 1999 * MINUTE * np.random.default_rng(3).random(20_000))
    wanted = sat.state(times).tobytes()
    failures = []

    def work(seed):
        try:
            for _ in range(10):
                assert sat.state(times).tobytes() == wanted
                with vorlandi.load("81001_stk.e", "81001_oem.txt") as e:
                    assert e.states("2026-01-31T01:00").shape == (2, 6)
                    assert sat.state(times[seed]).tobytes() == wanted[48 * seed:48 * seed + 48]
        except BaseException as error:
            failures.append(error)

    threads = [threading.Thread(target=work, args=(seed,)) for seed in range(8)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert not failures


TIMES = START + 1999 * MINUTE * np.random.default_rng(3).random(1_000_000)
LONG_CALLS = {
    "states": lambda sat: sat.state(TIMES),
    "states of many": lambda sat: vorlandi.Ephemerides([sat, sat]).states(TIMES[:500_000]),
    "mask": lambda sat: sat.answers(TIMES),
    "loading": lambda sat: vorlandi.loads(LONG_FILE, "81001.e"),
}
LINES = (DATA / "81001_stk.e").read_bytes().split(b"\n")
LONG_FILE = b"\n".join(LINES[:8] + [b"%d %s" % (60 * i, LINES[10].split(b" ", 1)[1]) for i in range(100_000)])


@pytest.mark.parametrize("call", LONG_CALLS.values(), ids=LONG_CALLS.keys())
def test_long_calls_run_without_the_interpreters_lock(call):
    sat = circle(5, points=2000)
    span, awake = [], []

    def work():
        span.append(time.perf_counter())
        call(sat)
        span.append(time.perf_counter())

    thread = threading.Thread(target=work)
    thread.start()
    while thread.is_alive():
        time.sleep(0.001)
        awake.append(time.perf_counter())
    assert sum(span[0] < moment < span[1] for moment in awake) > 10


def test_nothing_keeps_references(sat):
    fleet, other = vorlandi.Ephemerides([sat]), circle(6)
    times = START + MINUTE * np.arange(1.0, 9.0)
    out = np.empty((8, 6))

    def calls():
        sat.state(START)
        sat.state_and_covariance(START)
        sat.state(times, out=out)
        sat.covariance(times)
        sat.points
        fleet.states(times, errors="nan")
        for bad in (START - 1, [START - 1.0]):
            with pytest.raises(vorlandi.OutOfSpanError):
                sat.state(bad)
        vorlandi.times.to_iso(times)
        pickle.loads(pickle.dumps(sat)).append(START + 1, np.ones(6))
        analysis.check(sat)
        analysis.diff(sat, sat)
        analysis.approaches([sat, other], 1e4)
        with pytest.raises(vorlandi.TimeError):
            vorlandi.times.ds50("never")

    counts = []  # one object a round would be 200 in the end
    for _ in range(4):
        for _ in range(100):
            calls()
        gc.collect()
        counts.append((sys.getallocatedblocks(), sys.getrefcount(times), sys.getrefcount(out)))
    assert counts[-1][0] - counts[1][0] < 100 and counts[-1][1:] == counts[1][1:]

"""Times of every kind, against astropy."""
import datetime
import warnings

import numpy as np
import pandas
import pytest
from astropy.time import Time, TimeDelta
from astropy.utils import iers

import vorlandi
from vorlandi import times

iers.conf.auto_download = False
UTC = datetime.timezone.utc

# Around insertions, the first of them the start of whole leap seconds, and far from any.
MOMENTS = ["1972-06-30T23:59:59.25", "1972-07-01T00:00:00", "1999-01-01T00:00:01.5", "2016-12-31T12:00:00",
           "2016-12-31T23:59:59", "2017-01-01T00:00:00.125", "2026-01-31T01:02:03.456789"]


def as_astropy(scale):
    def make(text):
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")  # years without predictions of the earth's rotation
            return getattr(Time(text, scale="utc"), scale)
    return make


def as_datetime(text):
    return datetime.datetime.fromisoformat(text).replace(tzinfo=UTC)


KINDS = {
    "text": lambda text: text,
    "datetime": as_datetime,
    "datetime elsewhere": lambda text: as_datetime(text).astimezone(datetime.timezone(datetime.timedelta(hours=5))),
    "pandas": lambda text: pandas.Timestamp(text, tz="UTC"),
    **{f"datetime64[{unit}]": lambda text, unit=unit: np.datetime64(text, unit) for unit in ("us", "ns")},
    **{f"astropy {scale}": as_astropy(scale) for scale in ("utc", "tai", "tt", "tdb", "tcb")},
}


@pytest.mark.parametrize("make", KINDS.values(), ids=KINDS.keys())
def test_every_kind_of_a_time_is_the_same_time(make):
    # Seconds of TAI that astropy counts between the moment and the one before, which a UTC day is too coarse for.
    wanted = [times.ds50(text) for text in MOMENTS]
    found = [times.ds50(make(text)) for text in MOMENTS]
    assert all(type(one) is float for one in found)
    assert np.abs(np.subtract(found, wanted)).max() * 86400 < 1e-6  # two units in the last place
    many = [make(text) for text in MOMENTS]
    assert np.array_equal(times.ds50(many), found) and times.ds50(many).dtype == np.float64
    assert times.ds50([]).shape == (0,)


def test_leap_seconds_are_the_same_as_in_astropy():
    moments = Time(MOMENTS, scale="utc")
    tai_days = (moments.tai.jd1 - 2433281.5) + moments.tai.jd2
    assert np.abs(times.utc_to_tai(MOMENTS) - tai_days).max() * 86400 < 1e-6
    assert np.abs(times.tai_to_utc(tai_days) - times.ds50(MOMENTS)).max() * 86400 < 1e-6
    inside = Time("2016-12-31T23:59:60.5", scale="utc")
    assert abs(times.ds50(inside) - times.ds50("2017-01-01T00:00:00.5")) * 86400 < 1e-6
    back = times.to_astropy(times.ds50(MOMENTS))
    assert back.scale == "utc" and np.abs((back - moments).sec).max() < 1e-6
    # The array of one day with a leap second, whose UTC day astropy counts with 86,401 s.
    day = Time("2016-12-31T00:00:00", scale="utc") + TimeDelta(np.arange(0, 86400, 3600), format="sec")
    assert np.abs(np.diff(times.utc_to_tai(day)) * 86400 - 3600).max() < 1e-5


@pytest.mark.parametrize("shape", [(), (3,), (2, 2)])
def test_times_go_back_to_other_kinds_in_their_shape(shape):
    t = np.full(shape, 27790.5) + np.arange(np.prod(shape, dtype=int)).reshape(shape) / 1000
    t = float(t) if shape == () else t
    for back in (times.to_datetime64, times.to_datetime, times.to_iso):
        assert np.shape(back(t)) == shape and np.abs(times.ds50(back(t)) - t).max() * 86400 < 1e-6
        assert np.shape(times.ds50(back(t))) == shape
    assert times.to_datetime64(27790.5) == np.datetime64("2026-01-31T12:00:00")
    assert times.to_datetime(27790.5) == datetime.datetime(2026, 1, 31, 12, tzinfo=UTC)
    assert times.to_iso(27790.5) == "2026-01-31T12:00:00.000000"


def test_arrays_are_converted_as_they_are():
    seconds = np.datetime64("1969-12-31T23:59:58", "s") + np.arange(5)
    assert np.array_equal(times.ds50(seconds), 7306 + (np.arange(5) - 2) / 86400)
    assert times.ds50(np.datetime64("1950-01-01")) == times.ds50(np.datetime64("1950-01", "M")) == 1.0
    assert np.array_equal(times.ds50(np.arange(4)), [0, 1, 2, 3]) and times.ds50(np.int32(2)) == 2.0
    assert times.ds50([2**70, 0.5]).tolist() == [2.0**70, 0.5]
    fine = np.array(["1969-12-31T23:59:59.5", "1970-01-01T00:00:08"], "M8[ms]")
    assert np.array_equal(times.ds50(fine.astype("M8[as]")), times.ds50(fine))
    assert np.array_equal(times.ds50(np.array([["2026-01-31", "2026-02-01"]])), [[27790, 27791]])
    index = pandas.date_range("2026-01-31", periods=3, freq="D", tz="Europe/Berlin")
    assert np.array_equal(times.ds50(index), times.ds50(list(index)))
    assert np.array_equal(times.ds50(index), 27790 + np.arange(3) - 1 / 24)


def test_skyfield_is_understood():
    skyfield = pytest.importorskip("skyfield.api")
    scale = skyfield.load.timescale(builtin=True)
    t = scale.utc(2026, 1, 31, 12, [0, 30])
    assert np.abs(times.ds50(t) - [27790.5, 27790.5 + 1 / 48]).max() * 86400 < 1e-5
    assert isinstance(times.ds50(t[0]), float)


NOT_TIMES = [
    ("never", vorlandi.TimeError, "is not a time"), ("2461071.5", vorlandi.TimeError, "Julian date"),
    (["2026-01-31", "x"], vorlandi.TimeError, "is not a time"), (np.datetime64("NaT"), vorlandi.TimeError, "NaT"),
    (datetime.datetime(2026, 1, 31), TypeError, "zone"), ([datetime.datetime(2026, 1, 31)], TypeError, "zone"),
    (None, TypeError, "not a time"), (True, TypeError, "not a time"), (b"2026-01-31", TypeError, "not a time"),
    ([1.0, "2026-01-31"], TypeError, "one kind"), (np.array([True]), TypeError, "bool"), (1j, TypeError, "not a time"),
    (np.float32(27790.1), TypeError, "float64"), (np.array([27790.1], np.float32), TypeError, "float64"),
    ([27790.1, np.float16(1)], TypeError, "float64"), ([[27790.0], [1.0, 2.0]], TypeError, "different lengths"),
    ([1.0, True], TypeError, "one kind"), (np.timedelta64(5, "ns"), TypeError, "not a time"),
    (10**309, vorlandi.TimeError, "too large"), ([10**309], vorlandi.TimeError, "too large"),
    (pandas.NaT, vorlandi.TimeError, "NaT"), (np.ma.array([1.0, 2.0], mask=[0, 1]), vorlandi.TimeError, "masked"),
]


@pytest.mark.parametrize("bad, error, text", NOT_TIMES, ids=[repr(bad)[:40] for bad, *_ in NOT_TIMES])
def test_what_is_not_a_time_raises(bad, error, text):
    with pytest.raises(error, match=text):
        times.ds50(bad)


@pytest.mark.parametrize("back", [times.to_iso, times.to_datetime64, times.to_datetime])
def test_a_time_without_a_date_raises(back):
    for bad in (float("nan"), 1e9, [27790.0, float("inf")]):
        with pytest.raises(vorlandi.TimeError):
            back(bad)


def test_a_bad_table_of_leap_seconds_changes_nothing(tmp_path):
    before = times.utc_to_tai(27790.0)
    bad = tmp_path / "leap-seconds.list"
    bad.write_text("nonsense\n")
    for path, text in ((bad, "VorlanTimeLoadLeapSeconds"), (tmp_path / "none", "No such file")):
        with pytest.raises(vorlandi.LoadError, match=text):
            times.load_leap_seconds(path)
    assert times.utc_to_tai(27790.0) == before

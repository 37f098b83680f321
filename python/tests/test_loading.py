"""Files: what is stored, and what is reported about the rest."""
import gc
import gzip
import os
import resource
import sys
import threading
import warnings
import zipfile

import numpy as np
import pytest
from conftest import DATA

import vorlandi

STK = (DATA / "81001_stk.e").read_bytes()


def with_line(number, text, content=STK):
    lines = content.split(b"\n")
    lines[number - 1] = text
    return b"\n".join(lines)


def test_a_bad_line_warns_with_its_place_and_reason(tmp_path):
    bad = tmp_path / "81001.e"
    bad.write_bytes(with_line(12, b"180.000 x -5.1 \xff"))
    with pytest.warns(vorlandi.LoadWarning, match="unreadable as STK data") as told:
        e = vorlandi.load(bad)
    assert len(told) == 1 and told[0].filename == __file__
    warning = told[0].message
    assert (warning.path, warning.line, warning.text) == (str(bad), 12, "180.000 x -5.1 \ufffd")
    assert warning.reason in str(warning) and f"{bad}:12: " in str(warning)
    assert [(m.severity, m.kind, m.line) for m in e.messages] == [("error", "unreadable-line", 12)]
    assert len(e) == 1 and len(e[0]) == 360
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert vorlandi.load(bad, errors="ignore").messages == e.messages
    before = vorlandi.store.count()
    with pytest.raises(vorlandi.LoadError, match=":12: ") as raised:
        vorlandi.load("81001_stk.e", bad, "81001_oem.txt", errors="raise")
    assert raised.value.path == str(bad) and len(raised.value.loaded) == 2
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(vorlandi.LoadWarning):
            vorlandi.load(bad, "81001_oem.txt")
    del raised
    gc.collect()
    assert vorlandi.store.count() == before


def test_ten_bad_lines_of_a_file_warn_and_the_rest_is_counted():
    content = STK
    for line in range(20, 34):
        content = with_line(line, b"bad", content)
    with pytest.warns(vorlandi.LoadWarning) as told:
        e = vorlandi.loads(content, "81001.e")
    assert len(told) == 11 and "4 more" in str(told[-1].message) and len(e.messages) == 14


def test_dropped_points_are_only_messages():
    content = with_line(13, STK.split(b"\n")[8])
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        e = vorlandi.loads(content, "81001.e", errors="raise")
    assert [(m.severity, m.kind, m.line) for m in e.messages] == [("warning", "dropped-point", 13)]


@pytest.mark.parametrize("threads", [1, 3])
def test_files_are_loaded_in_order_by_any_number_of_threads(threads):
    names = [*sorted(name for name in os.listdir() if name.startswith("81001") and "truth" not in name), "fleet.card"]
    e = vorlandi.load(*names, threads=threads, errors="ignore")
    one_by_one = [sat for name in names for sat in vorlandi.load(name, errors="ignore")]
    assert [(s.file, s.format, len(s)) for s in e] == [(s.file, s.format, len(s)) for s in one_by_one]
    assert [sat.record for sat in e if sat.file == "81001_stk.e"] == [1, 2]  # the card names it once more
    assert {"STK", "OEM", "DCE_BINARY", "MODIFIED_ITC"} <= {sat.format for sat in e}
    for sat, other in zip(e, one_by_one):
        assert sat.points.states.tobytes() == other.points.states.tobytes()


@pytest.mark.parametrize("threads", [1, 2])
@pytest.mark.parametrize("errors", ["warn", "raise", "ignore"])
def test_a_file_from_which_nothing_is_stored_always_raises(tmp_path, threads, errors):
    (tmp_path / "empty").write_text("")
    for bad, text in ((tmp_path / "none.e", "No such file"), (tmp_path / "empty", "empty"), (tmp_path, "directory")):
        before = vorlandi.store.count()
        with pytest.raises(vorlandi.LoadError, match=text) as raised:
            vorlandi.load("81001_stk.e", bad, "81001_oem.txt", threads=threads, errors=errors)
        assert isinstance(raised.value, OSError) and raised.value.path == str(bad)
        assert [sat.file for sat in raised.value.loaded] == ["81001_stk.e"]
        assert vorlandi.store.count() == before + 1
        raised.value.loaded.close()


def test_packed_files_and_archives_are_read(tmp_path):
    (tmp_path / "81001.e.gz").write_bytes(gzip.compress(STK))
    with zipfile.ZipFile(tmp_path / "two.zip", "w") as archive:
        archive.writestr("81001.e", STK)
        archive.writestr("81002.e", STK)
    wanted = vorlandi.loads(STK, "81001.e")[0].points.states.tobytes()
    packed = vorlandi.load(tmp_path / "81001.e.gz", tmp_path / "two.zip")
    again = vorlandi.loads((tmp_path / "two.zip").read_bytes(), "two.zip")
    assert [sat.number for sat in packed] == [81001, 81001, 81002] and [sat.number for sat in again] == [81001, 81002]
    assert {sat.points.states.tobytes() for sat in [*packed, *again]} == {wanted}
    assert packed[2].file.endswith("two.zip/81002.e")


def test_ordinary_keys_refuse_duplicates():
    with vorlandi.load("81001_stk.e", keys="ordinary") as e:
        with pytest.raises(vorlandi.DuplicateError, match="already has satellite 81001"):
            vorlandi.load("81001_stk.e", keys="ordinary")
        assert e[0].key % 10 != 0 and e[0].key in vorlandi.store.keys()
        with vorlandi.load("81001_stk.e", "81001_stk.e") as equal:
            assert len({sat.key for sat in equal}) == 2


def test_rules_and_options_are_checked():
    practical, fixed = (vorlandi.load("81001_oem.txt", "81001_stk.e", rules="practical"),
                        pytest.raises(vorlandi.LoadError, vorlandi.load, "81001_oem.txt", rules="fixed"))
    assert practical[0].format == "OEM" and "81001_oem.txt" in str(fixed.value)
    for options in ({"errors": "no"}, {"rules": "no"}, {"keys": "no"}, {"threads": 0}):
        with pytest.raises(ValueError, match=next(iter(options))):
            vorlandi.load("81001_stk.e", **options)
        with pytest.raises(ValueError):
            vorlandi.loads(STK, "a.e", **options)
    with pytest.raises(TypeError):
        vorlandi.load()
    for bad in (5, "text"):
        with pytest.raises(TypeError):
            vorlandi.loads(bad, "a.e")


def test_the_hosts_trace_handler_receives_messages_and_stays(library, tmp_path):
    import ctypes
    heard = []
    handler_type = ctypes.CFUNCTYPE(None, ctypes.c_int32, ctypes.c_void_p, ctypes.c_int32, ctypes.c_void_p)
    handler = handler_type(lambda severity, text, size, data: heard.append(ctypes.string_at(text, size)))
    library.VorlanTraceSetHandler(handler, None)
    try:
        with pytest.warns(vorlandi.LoadWarning):
            vorlandi.loads(with_line(12, b"bad"), "81001.e")
        current = ctypes.c_void_p()
        library.VorlanTraceGetHandler(ctypes.byref(current), None)
        assert current.value == ctypes.cast(handler, ctypes.c_void_p).value
        assert any(b"Bad ephemeris data" in text for text in heard)
    finally:
        library.VorlanTraceSetHandler(None, None)
    vorlandi.trace_to(tmp_path / "log")
    vorlandi.loads(STK, "81001.e")
    vorlandi.trace_to(None)
    size = (tmp_path / "log").stat().st_size
    vorlandi.loads(STK, "81001.e")
    assert (tmp_path / "log").stat().st_size == size > 0
    with pytest.raises(OSError, match="No such file"):
        vorlandi.trace_to(tmp_path / "none" / "log")


def test_messages_stay_with_the_thread_that_loads():
    bad = [with_line(12 + i, b"bad %d" % i) for i in range(4)]
    found = {}

    def work(i):
        found[i] = {tuple(m.text for m in vorlandi.loads(bad[i], "81001.e", errors="ignore").messages)
                    for _ in range(20)}

    threads = [threading.Thread(target=work, args=(i,)) for i in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert found == {i: {(f"bad {i}",)} for i in range(4)}


def test_saved_cards_load_again(tmp_path):
    with vorlandi.load("81001_stk.e"):
        vorlandi.store.save(tmp_path / "all.card")
    assert "81001_stk.e" in [sat.file for sat in vorlandi.load(tmp_path / "all.card", errors="ignore")]
    with pytest.raises(OSError):
        vorlandi.store.save(tmp_path / "none" / "all.card")


def test_memory_stays_over_ten_thousand_loads():
    def loads(count):
        for _ in range(count):
            vorlandi.loads(small, "81001.e")[0].state(27790.001)
        gc.collect()
        with open("/proc/self/statm") as file:
            return int(file.read().split()[1]) * resource.getpagesize(), sys.getallocatedblocks()

    small = b"\n".join(STK.split(b"\n")[:20]) + b"\n\nEND Ephemeris\n"
    before = vorlandi.store.count()
    loads(1000)
    first, then = loads(1000), loads(10_000)
    assert then[0] - first[0] < 1 << 20 and then[1] - first[1] < 100
    assert vorlandi.store.count() == before


def test_names_that_are_not_utf8_are_kept(tmp_path):
    name = os.fsdecode(os.fsencode(tmp_path) + b"/81001_\xff.e")
    with open(name, "wb") as file:
        file.write(STK)
    assert vorlandi.load(name)[0].file == name
    assert np.isfinite(vorlandi.load(os.fsencode(name))[0].state("2026-01-31T01:00")).all()

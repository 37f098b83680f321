#!/usr/bin/env python3
"""Opens a page of `vorlandi plot` in headless Chromium and compares the states that it shows with the tool's.

    check_plot_page.py VORLANDI EPHEMERIS

The console must stay empty, ten states must agree to a millimetre, also in a range of the points, times without an
answer must be marked, and the picture must not be blank.
"""
import html.parser
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib

CHROMIUM = ["chromium", "--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--window-size=1060,900",
            "--enable-logging=stderr", "--virtual-time-budget=5000"]
TIMES = ["2026-01-31T" + time
         for time in ("00:00:00", "00:00:42.1875", "00:07:30", "00:33:45", "01:07:30", "02:15:00", "03:22:30.25",
                      "04:30:00", "05:37:30", "06:00:00")]
OUTSIDE = ["2026-01-30T23:59:59", "2026-01-31T06:00:01"]
# First and last point of a range of points five minutes apart, times between them, and times that it leaves out.
RANGES = (("2026-01-31T02:00:00", "2026-01-31T03:00:00", ["2026-01-31T02:02:30", "2026-01-31T02:57:30"],
           ["2026-01-31T01:57:30", "2026-01-31T03:02:30"]),
          ("2026-01-31T05:55:00", "2026-01-31T06:00:00", ["2026-01-31T05:57:30"], ["2026-01-31T05:52:30"]))


class Cells(html.parser.HTMLParser):
    """The rows of the table with the id `at`, and how many points of orbits are drawn."""

    def __init__(self):
        super().__init__()
        self.rows, self.inside, self.points = [], False, 0

    def handle_starttag(self, tag, attributes):
        self.points = int(dict(attributes).get("data-points", self.points))
        if tag == "table":
            self.inside = dict(attributes).get("id") == "at"
        if tag == "tr" and self.inside:
            self.rows.append([])

    def handle_endtag(self, tag):
        if tag == "table":
            self.inside = False

    def handle_data(self, text):
        if self.inside and self.rows and text.strip():
            self.rows[-1].append(text)


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=300)


def pixels(png):
    """The bytes of the lines of a PNG file, unfiltered only as far as distinguishing colours needs it."""
    at, data = 8, b""
    while at < len(png):
        size, kind = struct.unpack(">I4s", png[at:at + 8])
        data += png[at + 8:at + 8 + size] if kind == b"IDAT" else b""
        at += size + 12
    return zlib.decompress(data)


def check_states(vorlandi, ephemeris, page, folder, answered=TIMES, outside=OUTSIDE):
    opened = run(*CHROMIUM, f"--user-data-dir={folder}/profile", "--dump-dom",
                 f"file://{page}#at={','.join(answered + outside)}")
    told = [line for line in opened.stderr.splitlines() if "CONSOLE" in line]
    assert not told, told
    cells = Cells()
    cells.feed(opened.stdout)
    assert len(cells.rows) == len(answered + outside), cells.rows
    states = run(vorlandi, "states", ephemeris, "--at", *answered, "--format", "csv").stdout.splitlines()
    columns = states[0].split(",")
    first = columns.index("x_km")
    for row, line in zip(cells.rows, states[1:]):
        shown = [float(text) for text in row[3:]]
        expected = [float(text) for text in line.split(",")[first:first + 6]]
        # Kilometres with six decimals: the last one is the millimetre.
        worst = max(abs(a - b) for a, b in zip(shown, expected))
        assert len(shown) == 6 and worst < 1.1e-6, (row, expected)
    for row in cells.rows[len(answered):]:
        assert row[3:] == ["no answer"], row


def check_range(vorlandi, ephemeris, folder):
    """A range has the states of the whole file, at its ends as well, and no others."""
    page = folder / "range.html"
    sparse = str(folder / "81001.e")
    run(vorlandi, "convert", ephemeris, "--into", "stk", "--step", "300", "-o", sparse)
    for first, last, between, outside in RANGES:
        run(vorlandi, "plot", sparse, "-o", str(page), "--force", "--from", first, "--to", last)
        check_states(vorlandi, sparse, page, folder, [first, *between, last], outside)


def check_fleet(vorlandi, ephemeris, folder):
    """Orbits of a fleet keep their shape: fewer parts of them are drawn, not longer chords."""
    page = folder / "fleet.html"
    for copies, said in ((30, ""), (300, "One revolution of each satellite is drawn"),
                         (600, "One revolution of the first (4[0-9]{2}) of 600 satellites is drawn")):
        run(vorlandi, "plot", *[ephemeris] * copies, "-o", str(page), "--force", "--show", "gaps")
        opened = run(*CHROMIUM, f"--user-data-dir={folder}/profile", "--dump-dom", f"file://{page}")
        cells = Cells()
        cells.feed(opened.stdout)
        told = re.search(r'<p id="drawn">(.*)</p>', opened.stdout).group(1)
        found = re.match(said, told)
        assert found and bool(said) == bool(told), told
        drawn = int(found.group(1)) if copies > 500 else copies
        assert 64 * drawn <= cells.points <= 31000, (copies, drawn, cells.points)


def check_picture(page, folder):
    run(*CHROMIUM, f"--user-data-dir={folder}/profile", f"--screenshot={folder}/page.png", f"file://{page}")
    kinds = len(set(pixels((folder / "page.png").read_bytes())))
    assert kinds > 50, f"the picture has {kinds} different bytes"


def main():
    vorlandi, ephemeris = sys.argv[1:]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        page = folder / "page.html"
        run(vorlandi, "plot", ephemeris, "-o", str(page))
        assert page.stat().st_size < 200_000 + 75 * 10_000
        check_states(vorlandi, ephemeris, page, folder)
        check_picture(page, folder)
        check_range(vorlandi, ephemeris, folder)
        check_fleet(vorlandi, ephemeris, folder)


if __name__ == "__main__":
    main()

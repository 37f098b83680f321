#!/usr/bin/python3
"""Writes the figures of measure_accuracy into a page: the tables between its markers, and its pictures.

  write_page.py FIGURES PAGE            writes the tables and, into images next to the page, the pictures
  write_page.py --check FIGURES PAGE    fails if the tables of the page differ from the figures

FIGURES is what measure_accuracy printed. The pictures need Debian's python3-matplotlib.
"""
import argparse
import math
import pathlib
import re
import sys

import pictures

ORBITS = pictures.ORBITS
SPACINGS_S = (10, 30, 60, 120, 300, 600, 900, 1800, 3600)
# Errors to choose a spacing by, in metres.
WANTED_M = (("1 mm", 1e-3), ("1 cm", 1e-2), ("10 cm", 0.1), ("1 m", 1.0), ("10 m", 10.0), ("100 m", 100.0),
            ("1 km", 1e3), ("10 km", 1e4))


def read(path):
    """Measure to row to column to value."""
    figures = {}
    for line in path.read_text(encoding="utf-8").splitlines():
        measure, row, column, value = line.split("\t")
        figures.setdefault(measure, {}).setdefault(row, {})[column] = float(value)
    return figures


def two_digits(value):
    digits = max(0, 1 - math.floor(math.log10(value) + 1e-9)) if value > 0 else 0
    rounded = float(f"{value:.1e}")
    return f"{rounded:,.{digits}f}"


def scaled(value, units):
    """With two digits, in the first unit whose least value it reaches. A unit is a name, a size and a least value."""
    if math.isnan(value):
        return "refused"
    unit, size = next(((unit, size) for unit, size, least in units if value >= 0.995 * least), (None, None))
    return f"{two_digits(value / size)} {unit}" if unit else f"< 1 {units[-1][0]}"


def length(value):
    return scaled(value, (("km", 1e3, 1e3), ("m", 1.0, 0.1), ("mm", 1e-3, 1e-4), ("µm", 1e-6, 1e-6)))


def speed(value):
    return scaled(value, (("km/s", 1e3, 1e3), ("m/s", 1.0, 0.1), ("mm/s", 1e-3, 1e-4), ("µm/s", 1e-6, 1e-6)))


def percent(value):
    if value == 0.0:
        return "none"
    return f"{two_digits(100.0 * value)} %" if value >= 1e-4 else "< 0.01 %"


def markdown(head, rows):
    lines = [head, ["---"] * len(head), *rows]
    return "\n".join("| " + " | ".join(line) + " |" for line in lines)


def by_orbit(head, figures, written, rows=None):
    """The largest error of each orbit and, in parentheses, the median, where it reads differently."""
    def cell(columns, orbit):
        largest, median = columns[f"{orbit} largest"], columns[f"{orbit} median"]
        cells = [written(largest), written(median)]
        return cells[0] if cells[0] in (cells[1], "refused") else f"{cells[0]} ({cells[1]})"
    return markdown([head, *ORBITS], [[f"{int(row):,}", *(cell(figures[str(row)], orbit) for orbit in ORBITS)]
                                      for row in rows or figures])


def longest_spacing(figures, orbit, wanted_m):
    """Between two measured spacings the error is taken to grow as a power of the spacing."""
    errors = [(int(row), columns[f"{orbit} largest"]) for row, columns in figures.items()]
    below, above = None, None
    for spacing in errors:
        if spacing[1] > wanted_m:
            above = spacing
            break
        below = spacing
    if below is None or above is None:
        return f"> {errors[-1][0]:,}" if below else f"< {errors[0][0]:,}"
    power = math.log(above[1] / below[1]) / math.log(above[0] / below[0])
    spacing = below[0] * (wanted_m / below[1]) ** (1.0 / power)
    return f"{math.floor(spacing / 10) * 10:,}"


def choosing(figures):
    rows = [[name, *(f"{longest_spacing(figures['inside position'], orbit, wanted)} / "
                     f"{longest_spacing(figures['ends position'], orbit, wanted)}" for orbit in ORBITS)]
            for name, wanted in WANTED_M]
    return markdown(["largest error", *ORBITS], rows)


def smooth(figures):
    inside = figures["inside position"]
    names = ("LEO", "LEO, J2 to J4")
    return markdown(["seconds between points", "with the detailed field", "with J2 to J4 alone"],
                    [[f"{s:,}", *(length(inside[str(s)][f"{name} largest"]) for name in names)]
                     for s in (60, 120, 180, 300, 600, 900)])


def rounded_times(figures):
    position, velocity = figures["rounded times position"], figures["rounded times velocity"]
    places = ("inside", "at the ends")
    head = ["steps between points", *(f"{what} {place}" for what in ("position", "velocity") for place in places)]
    return markdown(head,
                    [[row, *(f"{length(position[row][f'{place} largest'])} "
                             f"({length(position[row][f'{place} median'])})" for place in ("inside", "ends")),
                      *(speed(velocity[row][f"{place} largest"]) for place in ("inside", "ends"))]
                     for row in position])


def covariances(figures):
    measured = figures["covariances"]
    kinds = {"sigma": "largest error of sigma", "indefinite": "not positive definite",
             "negative": "a negative variance"}
    head = [f"{orbit}: {kind}" for orbit in ("LEO", "HEO") for kind in kinds.values()]
    cells = [f"{orbit} {kind}" for orbit in ("LEO", "HEO") for kind in kinds]
    return markdown(["seconds between points", *head],
                    [[f"{int(row):,}", *(percent(columns[cell]) for cell in cells)]
                     for row, columns in measured.items()])


def roundings(measured):
    columns = {"half": "half below", "99 of 100": "99 of 100 below", "999 of 1,000": "999 of 1,000 below",
               "all": "largest"}
    return markdown(["points", *columns.values()],
                    [[row, *(two_digits(figures[name]) for name in columns)] for row, figures in measured.items()])


def beside_holes(measured):
    answered = [row for row in measured.values() if not math.isnan(row["LEO largest"])]
    largest = {orbit: max(row[f"{orbit} largest"] for row in answered) for orbit in ORBITS}
    return ("The intervals next to a hole stay good, although their windows reach across it. Their largest errors are\n"
            + ", ".join(f"{length(value)} ({orbit})" for orbit, value in largest.items()) + ".")


def truth(measured):
    most = max(measured["doubled step"].values())
    return f"Doubling its step moves no state of the day by more than {length(most)}."


def tables(figures):
    def spacing(measure, written):
        return by_orbit("seconds between points", figures[measure], written, SPACINGS_S)

    def hole(measure):
        return by_orbit("minutes without points", figures[measure], length)

    def alone(measure):
        return by_orbit("seconds between points", figures[measure], length)

    return {
        "choosing": choosing(figures),
        "inside position": spacing("inside position", length),
        "inside velocity": spacing("inside velocity", speed),
        "ends position": spacing("ends position", length),
        "ends velocity": spacing("ends velocity", speed),
        "smooth field": smooth(figures),
        "holes": hole("holes position"),
        "beside holes": beside_holes(figures["beside holes position"]),
        "positions alone": alone("positions alone position"),
        "positions alone at ends": alone("positions alone at ends position"),
        "rounded times": rounded_times(figures),
        "covariances": covariances(figures),
        "rounding of positions": roundings(figures["roundings position"]),
        "rounding of velocities": roundings(figures["roundings velocity"]),
        "truth": truth(figures["truth"]),
    }


def filled(page, made):
    """The page with new tables. Every table must have its place, and every place its table."""
    places = re.findall(r"<!-- figures (.*?): begin -->", page)
    if sorted(places) != sorted(made):
        sys.exit(f"the page has places for {sorted(places)}, and there are the tables {sorted(made)}")
    for name, table in made.items():
        block = re.compile(f"(<!-- figures {name}: begin -->\n).*?(\n<!-- figures {name}: end -->)", re.DOTALL)
        page, count = block.subn(lambda found: f"{found[1]}\n{table}\n{found[2]}", page)
        if count != 1:
            sys.exit(f"no end of the table {name}")
    return page


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--check", action="store_true", help="write nothing")
    parser.add_argument("figures", type=pathlib.Path)
    parser.add_argument("page", type=pathlib.Path)
    arguments = parser.parse_args()
    figures = read(arguments.figures)
    page = arguments.page.read_text(encoding="utf-8")
    made = filled(page, tables(figures))
    if not arguments.check:
        arguments.page.write_text(made, encoding="utf-8")
        pictures.draw(figures, arguments.page.parent / "images")
    elif made != page:
        old, new = page.splitlines(), made.splitlines()
        for line in (line for line in new if line not in old):
            print("not on the page:", line)
        sys.exit("run ./dev accuracy")


if __name__ == "__main__":
    main()

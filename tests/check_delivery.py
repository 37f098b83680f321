#!/usr/bin/env python3
"""Makes deliveries with planted faults and checks that `vorlandi delivery` finds all of them, and nothing else.

    check_delivery.py GENERATE_DELIVERY VORLANDI [--satellites N] [--faults N] [--page docs/delivery.md]

A clean delivery must have no findings and honest covariances. Covariances with half or twice the true standard
deviations must be called optimistic and pessimistic. --page writes the tables of that page.
"""
import argparse
import collections
import csv
import json
import pathlib
import re
import subprocess
import sys
import tempfile

MARK = "<!-- From here on written by tests/check_delivery.py -->\n"


def generated(generator, folder, **options):
    words = [word for name, value in options.items() for word in (f"--{name}", str(value))]
    subprocess.run([generator, "--out", folder, *words], check=True, timeout=1200)
    return folder


def report(tool, folder, delivery, *options):
    run = subprocess.run([tool, "delivery", folder / delivery, "--previous", folder / "previous", "-j", "2", *options],
                         capture_output=True, text=True, timeout=1200)
    return run.returncode, run.stdout


def serious(findings):
    """Kinds of errors and warnings, and of one note that is planted."""
    return [finding["kind"] for finding in findings
            if finding["severity"] != "note" or finding["kind"] == "covariance-missing"]


def found_in(data):
    """Pairs of satellite and kind, of errors and warnings."""
    found = set()
    for satellite in data["satellites"]:
        found |= {(satellite["satellite"], kind) for kind in serious(satellite["findings"])}
    for file in data["files"]:
        number = int(re.match(r"[A-Z]+_(\d+)_", pathlib.Path(file["file"]).name)[1])
        found |= {(number, kind) for kind in serious(file["findings"])}
    return found | {(change["satellite"], change["kind"]) for change in data["changes"] if change["severity"] != "note"}


def planted_in(folder):
    with open(folder / "planted.csv", encoding="ascii", newline="") as file:
        return list(csv.DictReader(file))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("generator")
    parser.add_argument("tool")
    parser.add_argument("--satellites", type=int, default=24)
    parser.add_argument("--faults", type=int, default=20)
    parser.add_argument("--page", type=pathlib.Path)
    options = parser.parse_args()
    complaints = []

    def expect(is_right, text):
        if not is_right:
            complaints.append(text)

    with tempfile.TemporaryDirectory() as temporary:
        home = pathlib.Path(temporary)
        fleet = generated(options.generator, home / "fleet", satellites=options.satellites, faults=options.faults)
        status, text = report(options.tool, fleet, "clean", "--format", "json")
        clean = json.loads(text)
        expect(status == 0 and not found_in(clean), f"clean: status {status}, {sorted(found_in(clean))}")
        expect([age["covariances"] for age in clean["ages"]] == ["honest", "honest"], f"clean: {clean['ages']}")
        expect(all(age["satellites"] == options.satellites for age in clean["ages"]), "clean: not all were compared")

        planted = planted_in(fleet)
        wanted = {(int(row["satellite"]), kind) for row in planted for kind in row["kinds"].split()}
        status, text = report(options.tool, fleet, "faulty", "--format", "json")
        faulty = json.loads(text)
        found = found_in(faulty)
        expect(len(planted) == options.faults, f"{len(planted)} faults were planted")
        expect(found == wanted, f"missed {sorted(wanted - found)}, added {sorted(found - wanted)}")
        expect(status == (3 if any("not-read" in row["kinds"] for row in planted) else 1), f"faulty: status {status}")

        # Neither states across a gap nor those from wrong velocities count for the means.
        left_out = {row["satellite"] for row in faulty["satellites"] if (row["difference"] or {}).get("left_out")}
        expect(left_out == {number for number, kind in wanted if kind.startswith("velocity-") or kind == "no-velocity"},
               f"left out: {sorted(left_out)}")
        in_gaps = {row["satellite"] for row in faulty["satellites"] if (row["difference"] or {}).get("in_gaps")}
        expect(in_gaps == {number for number, kind in wanted if kind == "gap"}, f"in gaps: {sorted(in_gaps)}")

        judged = []
        for sigmas, verdict in ((0.5, "optimistic"), (2.0, "pessimistic")):
            other = generated(options.generator, home / verdict, satellites=options.satellites, faults=0, sigmas=sigmas)
            data = json.loads(report(options.tool, other, "clean", "--format", "json")[1])
            judged.append((sigmas, data["ages"]))
            for age in data["ages"]:
                expect(age["covariances"] == verdict, f"sigmas times {sigmas}: {age}")
                # One standard deviation of the factor is 1 / sqrt(6 n), at most, of n satellites.
                expect(abs(age["factor"] * sigmas - 1.0) < 4.0 / (6.0 * options.satellites) ** 0.5, f"factor of {age}")

        if options.page and not complaints:
            example = generated(options.generator, home / "example", satellites=24, faults=6)
            write_page(options, planted, found, [(1.0, clean["ages"]), *judged],
                       report(options.tool, example, "faulty")[1].replace(f"{example}/", ""))
    for complaint in complaints:
        print(complaint, file=sys.stderr)
    print(f"{options.satellites} satellites, {len(planted)} faults, {len(wanted)} findings: all found, none added"
          if not complaints else "wrong")
    return 1 if complaints else 0


def write_page(options, planted, found, judged, example):
    lines = ["", "## A worked example", "",
             "24 satellites with six planted faults, made with `generate_delivery --satellites 24 --faults 6 --out "
             "example`:", "", "```", "$ cd example; vorlandi delivery faulty --previous previous",
             example.rstrip("\n"), "```", "", "## How it was verified", "",
             f"`tests/check_delivery.py --satellites {options.satellites} --faults {options.faults}` makes predictions "
             "whose errors match their",
             "covariances, and a second delivery a day later; then it plants faults. All were found, in the "
             "satellites that have",
             "them, and no other error or warning was reported. The delivery without faults is silent.",
             "", "| fault | planted | reported as | found |", "|---|---|---|---|"]
    rows = collections.Counter((row["fault"], row["kinds"]) for row in planted)
    for (fault, kinds), count in rows.items():
        hits = sum(all((int(row["satellite"]), kind) in found for kind in kinds.split())
                   for row in planted if row["fault"] == fault)
        reported = ", ".join(f"`{kind}`" for kind in kinds.split())
        lines.append(f"| {fault} | {count} | {reported} | {hits} |")
    lines += ["", "| standard deviations written | age (days) | radial (sigmas) | in-track | cross-track | factor "
              "| verdict |", "|---|---|---|---|---|---|---|"]
    for sigmas, ages in judged:
        for age in ages:
            lines.append(f"| {sigmas:g} times the true ones | {age['age_days']} | {age['radial_sigmas']:.2f} | "
                         f"{age['in_track_sigmas']:.2f} | {age['cross_track_sigmas']:.2f} | {age['factor']:.2f} | "
                         f"{age['covariances']} |")
    text = options.page.read_text(encoding="utf-8")
    head = text[:text.index(MARK) + len(MARK)]
    options.page.write_text(head + "\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    sys.exit(main())

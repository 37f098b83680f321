#!/usr/bin/env python3
"""Compares the benchmarks of one run with their limits and targets.

Reads the output of Google Benchmark (--benchmark_out=FILE), prints a table and writes its rows as JSON. A row whose
benchmarks are not in the file is left out.
"""
import argparse
import json
import operator
import pathlib
import re
import sys

MARKS = ("<!-- figures: begin -->", "<!-- figures: end -->")

# Fields of a benchmark: its time, its speed (compared as times over the same bytes), or one of its counters.
UNITS = {
    "time": "time", "wall": "time", "speed": "speed", "gain": "speed", "rate": "rate", "ns_per_state": "time",
    "ns_per_point": "time", "ns_per_covariance": "time",
    "ns_per_satellite": "time", "bytes_per_point": "size", "stored_bytes_per_point": "size",
    "most_bytes": "size", "stored_bytes": "size", "allowed_bytes": "size",
}


KERNEL = ("the kernel", "kernel/state", "time")
KERNEL_COVARIANCE = ("the kernel", "kernel/covariance", "time")
SHARED = ("the kernel, window ready", "kernelInSharedWindow/state", "time")
SHARED_COVARIANCE = ("the kernel, window ready", "kernelInSharedWindow/covariance", "time")
FLEET = ("a plain kernel", "plainFleet/avx2", "time")
NONE = (None, None, None)

# Targets in nanoseconds with a star hold for a processor on which this benchmark takes this long; on a slower one they
# are multiplied by how much slower it is.
PLAIN_KERNEL = "plain/avx2_1441"
PLAIN_KERNEL_NS = 17.0

# If columns touch, from_chars reads runs of digits as one number and is not a lower limit.
TOUCHING_COLUMNS = ("VECTOR", "SIMOBS")
TEXT_FORMATS = ("UNIVERSAL", "UNIVERSAL_CSV", "STK", "V31", "ECR", "ECR_POSITIONS", "ITC", "ITC_WOCOV", "MODIFIED_ITC",
                "DCE_TEXT", "LAUNCH", "EELV", "LCH", "OASYS", "OWNER", "J2K", "VECTOR", "SIMOBS", "OEM")


def query(title, name, limit, target=None):
    return (f"query, {title}", f"query/{name}", "time", *limit, target)


def beside_plain(title, name, points, target=None):
    return (f"query, {title}", f"query/{name}", "time", "a plain kernel", f"plain/avx2_{points}",
            "time", target)


def many(title, name, limit, target=None):
    return (f"many {title}, per state", f"manyTimes/{name}", "ns_per_state", *limit, target)


def listing(title, name, limit_title, limit, target=None):
    return (f"list 10,000 keys {title}", name, "time", limit_title, limit, "time", target)


def fleet(way, title, kind, points):
    return (f"most memory of {title} satellites of {points:,} points, {kind}", f"memoryOfFleet/{way}/{kind}/{points}",
            "most_bytes", "allowed", f"memoryOfFleet/{way}/{kind}/{points}", "allowed_bytes", "<= 1")


def load(name, points, limit_title, limit, target):
    title = f"load {name.replace('_', ' ')}, {points:,} points"
    return (title, f"load/{name}/{points}", "speed", limit_title, f"{limit}/{name}/{points}", "speed", target)


# Title; benchmark and field; the limit's name, benchmark and field; target: of the ratio or, with a unit, of
# the value. A star after the unit: scaled to the processor. A limit or a target may be missing.
ROWS = [
    query("a day of points", "one_satellite_day", KERNEL, "<= 3"),
    query("a day of points, covariance", "one_satellite_day_covariance", KERNEL_COVARIANCE),
    query("100,000 points", "one_satellite_100000_points", KERNEL),
    query("100,000 points, covariance", "one_satellite_100000_points_covariance", KERNEL_COVARIANCE),
    query("10,000 satellites", "satellites_10000_random_keys", KERNEL),
    query("10,000 satellites, covariance", "satellites_10000_random_keys_covariance", KERNEL_COVARIANCE),
    beside_plain("a day of points", "one_satellite_day", 1441, "<= 90 ns*"),
    beside_plain("100,000 points", "one_satellite_100000_points", 100000, "<= 140 ns"),
    beside_plain("steps of random length, 100,000 points", "random_steps_100000_points", 100000, "<= 280 ns"),
    beside_plain("steps of random length, 1,000,000 points", "random_steps_1000000_points", 1000000, "<= 550 ns"),
    beside_plain("points in passes, 100,000 points", "passes_100000_points", 100000),
    beside_plain("points in passes, 1,000,000 points", "passes_1000000_points", 1000000),
    ("the plain kernel without AVX2, a day of points", "plain/scalar_1441", "time", "with AVX2", "plain/avx2_1441",
     "time", None),
    many("sorted times", "sorted", SHARED, "<= 1.3"),
    many("sorted times, covariance", "sorted_covariance", SHARED_COVARIANCE),
    many("sorted times, 60 between two points", "sorted_60_a_window", SHARED),
    many("sorted times, 2 between two points", "sorted_2_a_window", KERNEL, "<= 45 ns*"),
    many("sorted times, 0.2 between two points", "sorted_0_2_a_window", KERNEL, "<= 70 ns*"),
    many("random times", "random", KERNEL),
    many("random times, covariance", "random_covariance", KERNEL_COVARIANCE),
    *[many(f"random times in {points:,} points{comma}{kind}", f"random_{points}_points{comma and '_'}{kind}",
           ("a plain kernel, one by one", f"plain/avx2_{points}", "time"))
      for points in (100_000, 1_000_000) for comma, kind in (("", ""), (", ", "covariance"))],
    ("one time, 10,000 satellites of 1,440 points", "manySatellites/state", "time", *FLEET, "<= 5 ms"),
    ("one time, 10,000 satellites, covariance", "manySatellites/covariance", "time", *NONE, None),
    ("one time, keys in random order", "manySatellites/shuffled", "time", *FLEET, "<= 5 ms"),
    ("one time, keys in random order, covariance", "manySatellites/shuffled_covariance", "time", *NONE, None),
    *[(f"guard: {title}, safe mode", f"{name}/{safe}", "time", "fixed mode", f"{name}/{fixed}", "time", target)
      for title, name, safe, fixed, target in (
          ("enter, two times, leave", "startEndTime", "safe", "fixed", "<= 1.0"),
          ("the same by a DMA key", "startEndTime", "safe_dma", "fixed_dma", None),
          ("a query", "query", "guard_safe", "guard_fixed", "<= 1.0"),
          ("a query by a DMA key", "query", "guard_safe_dma", "guard_fixed_dma", None))],
    *[(f"guard: single queries in two threads, {mode} mode", f"queryInThreads/{mode}/threads:2", "rate",
       "in one thread", f"queryInThreads/{mode}/threads:1", "rate", None) for mode in ("fixed", "safe")],
    ("guard: append a point by key, safe mode", "appendByKey/safe", "ns_per_point", "fixed mode",
     "appendByKey/fixed", "ns_per_point", "<= 100 ns"),
    ("guard: add a satellite beside 32 readers, safe mode", "addBesideReaders/safe", "wall", "fixed mode",
     "addBesideReaders/fixed", "wall", "<= 10 ms"),
    ("add a satellite, 100,000 of them", "addSatellites/100000", "ns_per_satellite", "std::map of integers",
     "mapInsert/100000", "ns_per_satellite", "<= 2"),
    ("remove a satellite, 100,000 in random order", "removeSatellites/100000", "ns_per_satellite",
     "std::map of integers", "mapErase/100000", "ns_per_satellite", "<= 2"),
    *[(f"remove a satellite of {points:,} points, covariance, {count:,} in random order",
       f"removeFilledSatellites/{count}/{points}", "ns_per_satellite", "std::map of integers", f"mapErase/{count}",
       "ns_per_satellite", "<= 3") for count, points in ((10_000, 1), (10_000, 100), (2_000, 1440))],
    listing("by number", "listKeys/0", "std::sort", "sortPairs/by_number", "<= 4"),
    listing("by number, reversed", "listKeys/1", "std::sort", "sortPairs/by_number", "<= 4"),
    listing("by number, DMA keys", "listDmaKeys", "std::sort", "sortPairs/by_number_shuffled", "<= 4"),
    listing("in the order of loading", "listKeys/2", "std::sort", "sortPairs/by_sequence", "<= 2"),
    listing("by key", "listKeys/3", "memcpy", "copyKeys"),
    ("save 10,000 satellites", "saveFile", "speed", "the lines through stdio", "writeLines", "speed", None),
    *[(f"append a point, {points:,} of them, {kind}", f"appendPoints/{kind}/{points}", "ns_per_point",
       "memcpy", f"copyPoints/{kind}/{points}", "ns_per_point", None)
      for kind in ("state", "covariance") for points in (10_000, 1_000_000)],
    *[(f"memory of a point, {kind}", f"memoryOfPoints/{kind}", "bytes_per_point", "what is stored",
       f"memoryOfPoints/{kind}", "stored_bytes_per_point", None) for kind in ("state", "covariance")],
    ("most memory while loading STK, 1,000,000 points", "memoryOfLoad", "most_bytes", "what is stored",
     "memoryOfLoad", "stored_bytes", "< 2.2"),
    *[load(name, 100_000, "from_chars", "fromChars", None if name in TOUCHING_COLUMNS else "<= 1.6")
      for name in TEXT_FORMATS],
    load("DCE_BINARY", 100_000, "reading the file", "readBytes", "<= 1.5"),
    load("DCE_BINARY", 100_000, "reading it into new memory", "readIntoMemory", None),
    load("STK", 1_000_000, "from_chars", "fromChars", "<= 1.6"),
    load("STK", 1_000_000, "reading the file", "readBytes", None),
    *[(f"load STK by the practical rules, {points:,} points", f"loadPractical/STK/{points}", "speed",
       "by the fixed rules", f"load/STK/{points}", "speed", "<= 1.1") for points in (100_000, 1_000_000)],
    ("card pass, STK, 1,000,000 points", "cardPass/STK/1000000", "time", "the whole load", "load/STK/1000000",
     "time", "< 0.1"),
    ("load in two threads", "loadInThreads/2", "gain", "in one thread", "loadInThreads/1", "gain", ">= 1.8"),
    *[(f"load one {name.replace('_', ' ')} file of {size} by threads of the load", f"loadOneFile/{name}_{points}/2",
       "gain", "by one thread", f"loadOneFile/{name}_{points}/1", "gain", ">= 1.7")
      for name, points, size in (("STK", 1_000_000, "157 MB"), ("STK", 110_000, "17 MB"), ("ITC", 28_000, "17 MB"),
                                 ("MODIFIED_ITC", 26_000, "17 MB"))],
    ("load a delivery: 200 files of modified ITC, 4,321 points each", "loadDelivery/1", "wall", *NONE, None),
    ("the same as speed", "loadDelivery/1", "speed", "one ITC file", "load/ITC/100000", "speed", None),
    ("the same in two threads", "loadDelivery/2", "gain", "in one thread", "loadDelivery/1", "gain", None),
    ("most memory meanwhile", "memoryOfDelivery", "most_bytes", "what is stored", "memoryOfDelivery", "stored_bytes",
     None),
    *[fleet(way, title, kind, points)
      for way, title in (("loaded", "loaded"), ("added", "added"), ("addedInTurn", "added in turn"))
      for kind in ("state", "covariance") for points in (1, 100, 1440, 4321)],
    ("turn a covariance", "turnCovariance", "ns_per_covariance", *NONE, None),
    ("from_chars in two threads", "fromCharsInThreads/2", "gain", "in one thread", "fromCharsInThreads/1",
     "gain", None),
    ("load 2,000 files of 1,440 points, covariance", "loadConstellation", "time", *NONE, None),
    ("the same as speed", "loadConstellation", "speed", "one ITC file", "load/ITC/100000", "speed", None),
    ("one time for these 2,000", "statesOfConstellation/state", "time", *NONE, None),
    ("one time for these 2,000, covariance", "statesOfConstellation/covariance", "time", *NONE, None),
]

ROWS += [(f"approaches of {count:,} satellites over a day, within 5 km{', two threads' if threads == 2 else ''}",
          f"approaches/{count}/{threads}", "wall", *NONE, "<= 120 s" if count == 10_000 else None)
         for count, threads in ((1000, 1), (2000, 1), (5000, 1), (10_000, 1), (10_000, 2))]

NANOSECONDS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}
COMPARISONS = {"<": operator.lt, "<=": operator.le, ">=": operator.ge}


def read_benchmarks(document):
    """Name to result: the median, or the one run where there were no repetitions, or a failed run."""
    results = {}
    for run in document["benchmarks"]:
        name = re.sub("/(real_time|iterations:[0-9]+)", "", run["run_name"])
        if run.get("error_occurred") or run.get("aggregate_name") == "median":
            results[name] = run
        elif run["run_type"] == "iteration":
            results.setdefault(name, run)
    return results


def value_of(run, field):
    """In ns, bytes per second or bytes. A time is processor time: other processes don't count."""
    if field == "time":
        return run["cpu_time"] * NANOSECONDS[run["time_unit"]]
    if field == "wall":
        return run["real_time"] * NANOSECONDS[run["time_unit"]]
    if field in ("speed", "gain"):
        return run["bytes_per_second"]
    if field == "rate":
        return run["items_per_second"]
    return run[field]


def written(value, field):
    """Three digits and a unit."""
    scales = {"time": (("s", 1e9), ("ms", 1e6), ("us", 1e3), ("ns", 1)),
              "speed": (("GB/s", 1e9), ("MB/s", 1e6), ("kB/s", 1e3)),
              "rate": (("M/s", 1e6), ("k/s", 1e3), ("/s", 1)),
              "size": (("MB", 1e6), ("kB", 1e3), ("B", 1))}[UNITS[field]]
    unit, scale = next((pair for pair in scales if value >= pair[1]), scales[-1])
    number = value / scale
    return f"{number:.{0 if number >= 100 else 1 if number >= 10 else 2}f} {unit}"


def verdict(target, ratio, value, slowness):
    comparison, number, *unit = target.split()
    compared = ratio
    if unit:
        compared = value / NANOSECONDS[unit[0].rstrip("*")]
        compared /= slowness if unit[0].endswith("*") else 1.0
    return "met" if COMPARISONS[comparison](compared, float(number)) else "missed"


def slowness_of(results):
    """How much slower this processor is than the reference processor of starred targets, never less than 1."""
    plain = results.get(PLAIN_KERNEL)
    return max(1.0, value_of(plain, "time") / PLAIN_KERNEL_NS) if plain else 1.0


def scaled(target, slowness):
    """A starred target as it is on this processor, with the factor."""
    comparison, number, unit = target.split()
    return f"{comparison} {float(number) * slowness:.0f} {unit.rstrip('*')} ({number} x {slowness:.2f})"


def row(results, slowness, title, name, field, limit_title, limit_name, limit_field, target):
    """A row of the table: nothing if its benchmark is missing, and no verdict if the benchmark of its limit is."""
    if name not in results:
        return None
    if limit_name not in results:
        limit_name, target = None, target if limit_name is None else None
    runs = [results[n] for n in (name, limit_name) if n]
    shown = scaled(target, slowness) if target and target.endswith("*") else target or ""
    made = {"figure": title, "value": "failed", "limit": "", "ratio": "", "target": shown,
            "verdict": "missed" if target else "", "benchmark": name, "limit benchmark": limit_name or ""}
    if any(run.get("error_occurred") for run in runs):
        return made
    value, ratio = value_of(runs[0], field), None
    made |= {"value": written(value, field), "raw value": value}
    if limit_name:
        limit = value_of(runs[1], limit_field)
        ratio = limit / value if field == "speed" else value / limit
        made |= {"limit": f"{limit_title}: {written(limit, limit_field)}", "raw limit": limit,
                 "ratio": f"{ratio:.2f}", "raw ratio": ratio}
    return made | ({"verdict": verdict(target, ratio, value, slowness)} if target else {})


def machine(context):
    caches = [f"L{c['level']} {c['size'] // 1024} KiB" for c in context["caches"]
              if c["type"] != "Instruction"]
    parts = [context.get("processor", "processor unknown"), f"{context['num_cpus']} cores",
             f"{context['mhz_per_cpu']} MHz", *caches, context.get("compiler", "compiler unknown")]
    return ", ".join(parts) + f";\n{context['date'][:10]}, load average {context['load_avg'][0]:.1f}."


def table(rows, markdown):
    columns = ("figure", "value", "limit", "ratio", "target", "verdict")
    cells = [columns] + [[r[c] for c in columns] for r in rows]
    widths = [max(len(line[k]) for line in cells) for k in range(len(columns))]
    if markdown:
        lines = ["| " + " | ".join(line) + " |" for line in cells]
        return "\n".join([lines[0], "|" + "---|" * len(columns)] + lines[1:])
    return "\n".join("  ".join(c.ljust(w) for c, w in zip(line, widths)).rstrip() for line in cells)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("results", type=pathlib.Path, nargs="+", help="what --benchmark_out wrote, of one machine")
    parser.add_argument("--json", type=pathlib.Path,
                        help="file for the rows, by default report.json next to the results")
    parser.add_argument("--docs", type=pathlib.Path, help="a page whose marked block gets the table")
    arguments = parser.parse_args()
    documents = [json.loads(file.read_text()) for file in arguments.results]
    document = documents[0]
    results = {name: run for each in documents for name, run in read_benchmarks(each).items()}
    slowness = slowness_of(results)
    made = [row(results, slowness, *entry) for entry in ROWS]
    rows = [r for r in made if r]
    if not rows:
        sys.exit("none of the benchmarks that were run has a row")
    print(machine(document["context"]), table(rows, False), sep="\n\n")
    place = arguments.json or arguments.results[0].with_name("report.json")
    place.write_text(json.dumps({"context": document["context"], "rows": rows}, indent=1) + "\n")
    if arguments.docs:
        missing = [entry[1] for entry, r in zip(ROWS, made)
                   if not r or r["value"] == "failed" or (entry[4] and not r["limit"])]
        if missing:
            sys.exit("not written to the page, without " + ", ".join(missing))
        page = arguments.docs.read_text()
        before, after = page.split(MARKS[0])[0], page.split(MARKS[1])[1]
        block = "\n\n".join((MARKS[0], machine(document["context"]), table(rows, True), MARKS[1]))
        arguments.docs.write_text(before + block + after)


if __name__ == "__main__":
    main()

#!/usr/bin/python3
"""Draws how the time of a query grows with the points and with the satellites, as SVG.

  plot_growth.py RESULTS SVG      RESULTS is what --benchmark_out wrote. Needs Debian's python3-matplotlib.
"""
import json
import pathlib
import sys

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as pyplot  # noqa: E402: after the choice of the backend

from report import read_benchmarks, value_of  # noqa: E402

PANELS = (("queryOverPoints", "points of one satellite"), ("queryOverSatellites", "satellites of 8 points"))


def curve(results, name):
    """Sizes and times in ns, by size."""
    sizes = sorted(int(n.split("/")[1]) for n in results if n.startswith(name + "/"))
    return sizes, [value_of(results[f"{name}/{size}"], "time") for size in sizes]


def main(source, target):
    results = read_benchmarks(json.loads(pathlib.Path(source).read_text()))
    # Makes the file reproducible.
    matplotlib.rcParams.update({"svg.hashsalt": "growth", "svg.fonttype": "none"})
    figure, axes = pyplot.subplots(1, 2, figsize=(9, 3.4), layout="constrained", facecolor="white")
    for panel, (name, label) in zip(axes, PANELS):
        sizes, times = curve(results, name)
        if not sizes:
            sys.exit(f"no {name} in {source}")
        panel.semilogx(sizes, times, color="black", marker="o", markersize=4, linewidth=1)
        panel.set_ylim(bottom=0)
        panel.set_xlabel(label)
        panel.set_ylabel("time of a query (ns)")
        panel.minorticks_off()
        panel.grid(color="0.85", linewidth=0.5)
    figure.savefig(target, metadata={"Date": None, "Creator": None})


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    main(*sys.argv[1:])

#!/usr/bin/python3
"""Runs the programs of docs/gallery.md and writes the pictures that the page shows after them.

    PYTHONPATH=build/gcc/python docs/make_gallery.py [FOLDER]     FOLDER is docs if it is not given

The same matplotlib writes the same files. Needs Debian's python3-matplotlib.
"""
import os
import pathlib
import re
import sys

import matplotlib

matplotlib.use("svg")
from matplotlib import pyplot  # noqa: E402: after the choice of the backend

DOCS = pathlib.Path(__file__).resolve().parent
PICTURE = re.compile(r"^```python\n(.*?)^```\n\n!\[[^]]*\]\((.*?)\)$", re.M | re.S)
# Text stays text, and names within the file don't change from run to run.
SETTINGS = {"svg.hashsalt": "gallery", "svg.fonttype": "none", "figure.figsize": (7, 4),
            "figure.constrained_layout.use": True, "axes.grid": True, "grid.color": "0.9"}


def main(target):
    os.chdir(DOCS.parent / "examples" / "data")
    for program, name in PICTURE.findall((DOCS / "gallery.md").read_text()):
        with matplotlib.rc_context(SETTINGS):
            exec(compile(program, name, "exec"), {"__name__": "__main__"})
            (target / name).parent.mkdir(parents=True, exist_ok=True)
            pyplot.gcf().savefig(target / name, metadata={"Date": None, "Creator": None}, facecolor="white")
            pyplot.close("all")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve() if len(sys.argv) > 1 else DOCS)

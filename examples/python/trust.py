"""Whether an ephemeris can be trusted: what a check finds, and how far interpolated states may be off.

    PYTHONPATH=build/gcc/python /usr/bin/python3 examples/python/trust.py

Without PYTHONPATH if the package is installed.

Prints:

    81001_stk.e: errors up to 0.0004 m
    81001_j2k.txt: errors up to 0.0004 m
"""
import pathlib

import vorlandi
from vorlandi import analysis

data = pathlib.Path(__file__).resolve().parents[1] / "data"
for sat in vorlandi.load(data / "81001_stk.e", data / "81001_j2k.txt"):
    found = analysis.check(sat)
    print(f"{pathlib.Path(sat.file).name}: errors up to {found.interpolation.inside_m or 0:.1g} m")
    for finding in found.findings:
        print(f"  {finding.severity}: {finding.text}")

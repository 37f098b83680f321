"""States of a satellite from an ephemeris file, one and many.

    PYTHONPATH=build/gcc/python /usr/bin/python3 examples/python/first_states.py

Without PYTHONPATH if the package is installed.

Prints:

    81001 in ECI, 361 points
    4808.907 -1939.969 -4643.335 km
    (1441, 6) states, the highest at 6969.0 km
"""
import pathlib

import numpy as np

import vorlandi

data = pathlib.Path(__file__).resolve().parents[1] / "data"
sat = vorlandi.load(data / "81001_stk.e")[0]
print(f"{sat.number} in {sat.frame}, {len(sat)} points")

x, y, z = sat.position("2026-01-31T01:00:00")
print(f"{x:.3f} {y:.3f} {z:.3f} km")

states = sat.state(np.linspace(sat.start, sat.end, 1441))
distances_km = np.linalg.norm(states[:, :3], axis=1)
print(f"{states.shape} states, the highest at {distances_km.max():.1f} km")

"""The sieve of close approaches: samples on axes that don't rotate, and encounters where steps and slabs meet."""
import numpy as np
import pytest
from conftest import EARTH_RATE, MINUTE, START, circle, on_rotating_axes, turned

import vorlandi
from vorlandi import _sieve, analysis


@pytest.mark.parametrize("frame", ["ECI", "ECR"])
def test_samples_are_inertial_states_also_where_a_step_is_half_covered(frame):
    orbit = circle(5, points=9).points
    states = on_rotating_axes(orbit.states, orbit.ds50) if frame == "ECR" else orbit.states
    sat = vorlandi.Satellite.from_points(5, orbit.ds50, states, frame=frame)
    # Steps of 50 s from 40 s before the first point: the first and the last have their middles outside.
    steps = _sieve.Steps.covering(START - 40 / 86400, sat.end, 50.0, -np.inf, np.inf)
    samples = _sieve.sample(sat, steps, frame == "ECR")
    middles = steps.times(np.arange(steps.count) + 0.5)
    assert middles[0] < sat.start and middles[-1] > sat.end
    truth = circle(5, points=steps.count, start=middles[0], step=50 / 86400).points.states
    if frame == "ECR":
        truth = turned(truth, EARTH_RATE * (middles - START) * 86400)
    assert np.abs(samples[:, :3] - truth[:, :3]).max() < 1e-4 and np.abs(samples[:, 3:6] - truth[:, 3:]).max() < 1e-5


def crossing(number, minutes):
    """Two satellites whose orbits cross 200 m apart, and which are there at a time."""
    phases = [-np.sqrt(398600.8 / radius**3) * minutes * 60 for radius in (7000.0, 7000.2)]
    return [circle(number + i, points=13, phase=phases[i], radius_km=7000 + 0.2 * i, tilt=0.3 + 1.2 * i)
            for i in range(2)]


def test_encounters_on_every_border_of_steps_and_slabs_are_found_once():
    sats = [sat for k in range(25) for sat in crossing(1000 + 2 * k, k / 2)]  # all borders and middles of 12 steps
    numbers = np.array([sat.number for sat in sats])
    steps = _sieve.Steps.covering(START, START + 12 * MINUTE - 1e-9, 60.0, -np.inf, np.inf)
    samples = np.array([_sieve.sample(sat, steps, False) for sat in sats])
    candidates = np.concatenate([_sieve.sieve(samples[:, at:at + 4], at, numbers, 1.0, 60.0) for at in (0, 4, 8)])
    found = [(a, b, time) for a, b, first, last in _sieve.runs(candidates)
             for time in _sieve.examine(sats[a], sats[b], first, last, steps, 1.0)[0][:, 0]]
    planted = {(2 * k, 2 * k + 1) for k in range(25)}
    assert steps.count == 12 and planted <= {(a, b) for a, b, _ in found}
    wanted = analysis.approaches(sats, 1.0).approaches
    assert sorted((a, b) for a, b, _ in found) == sorted(zip(wanted["index_a"], wanted["index_b"]))
    # Each is a candidate in its own step, and on a border in both, alone.
    for k in range(1, 24):
        own = candidates[(candidates[:, 0] == 2 * k) & (candidates[:, 1] == 2 * k + 1), 2]
        assert own.tolist() == ([k // 2] if k % 2 else [k // 2 - 1, k // 2])
    with pytest.raises(ValueError, match=r"slab needs the shape \(50, 4, 7\)"):
        _sieve.sieve(samples[:, :4, :6], 0, numbers, 1.0, 60.0)

#!/usr/bin/python3
"""Writes kernel_reference.txt: windows of points and the results that the interpolation kernels must return.

The inputs are doubles; the results are calculated in rational numbers from their exact values, and rounded once at the
end. The Hermite polynomial is built from divided differences over doubled nodes, independently of the weights that the
library uses. To make the table again: ./kernel_reference.py > kernel_reference.txt
"""

import math
import random
from fractions import Fraction


with open("/usr/share/zoneinfo/leap-seconds.list", encoding="ascii") as lines:
    ROWS = [line.split() for line in lines if line.strip() and not line.startswith("#")]
DAY_1900 = -18261  # days count from 1950 Jan 0
STEPS = [(int(row[0]) // 86400 + DAY_1900, int(row[1])) for row in ROWS]  # first day, TAI - UTC
CHANCE = random.Random(19500101)


def tai_seconds(ds50):
    offset = next((o for day, o in reversed(STEPS) if ds50 >= day), STEPS[0][1])
    return Fraction(ds50) * 86400 + offset


def hermite(times, values, derivatives, at):
    """Value and derivative at `at` of the polynomial with these values and derivatives."""
    nodes = [t for t in times for _ in range(2)]
    column = [v for v in values for _ in range(2)]
    coefficients = [column[0]]
    for order in range(1, len(nodes)):
        steps = [nodes[i + order] - nodes[i] for i in range(len(column) - 1)]
        column = [(column[i + 1] - column[i]) / s if s else derivatives[i // 2] for i, s in enumerate(steps)]
        coefficients.append(column[0])
    value, derivative = Fraction(0), Fraction(0)
    for coefficient, node in zip(reversed(coefficients), reversed(nodes)):
        derivative = derivative * (at - node) + value
        value = value * (at - node) + coefficient
    return value, derivative


def lagrange(times, values, at):
    weights = [math.prod((at - other) / (own - other) for other in times if other != own) for own in times]
    return sum(value * weight for value, weight in zip(values, weights))


def row(numbers):
    return " ".join(float(number).hex() for number in numbers)


def orbit(radius_km, inclination, phase, seconds):
    """A point of a circular orbit with three of the 21 covariance values: all are interpolated alike."""
    rate = math.sqrt(398600.8 / radius_km**3)
    speed, angle = radius_km * rate, phase + rate * seconds
    along, across, ci, si = math.cos(angle), math.sin(angle), math.cos(inclination), math.sin(inclination)
    position = [radius_km * along, radius_km * across * ci, radius_km * across * si]
    velocity = [-speed * across, speed * along * ci, speed * along * si]
    return position + velocity + [1.0 + 0.2 * math.sin(rate * seconds), 1e-3 * math.cos(angle), 2.5 + 1e-4 * seconds]


def write_window(name, start, offsets_s, request_s, radius_km):
    """`start` in days; node times and the request in seconds after it."""
    inclination, phase = CHANCE.uniform(0.1, 2.0), CHANCE.uniform(0.0, 6.28)
    times, request = [start + s / 86400.0 for s in offsets_s], start + request_s / 86400.0
    points = [orbit(radius_km, inclination, phase, s) for s in offsets_s]
    at, exact_times = tai_seconds(request), [tai_seconds(t) for t in times]
    columns = [[Fraction(value) for value in column] for column in zip(*points)]
    states = [hermite(exact_times, columns[a], columns[a + 3], at) for a in range(3)]
    covariance = [lagrange(exact_times, column, at) for column in columns[6:]]
    print("hermite", name, len(times))
    print(*(row([time] + point) for time, point in zip(times, points)), sep="\n")
    print(row([request] + [s[0] for s in states] + [s[1] for s in states] + covariance))


print("# Made by kernel_reference.py, which also says what the numbers are.")
print("# hermite NAME N: N nodes (time, position, velocity, 3 covariance values), then the request and the result.")
print("# lagrange NAME N: x, y, then t and the result.")
for name, radius_km, spacing_s in ("leo-60s", 6800.0, 60.0), ("leo-10s", 7100.0, 10.0), ("geo-900s", 42164.0, 900.0):
    for count in (2, 3, 4, 6):
        request_s = (count / 2 - 1 + CHANCE.uniform(0.05, 0.95)) * spacing_s
        start = CHANCE.uniform(27000.0, 27500.0)
        write_window(name, start, [k * spacing_s for k in range(count)], request_s, radius_km)
for count in (4, 6):  # between the first two points, and a little outside
    for request_s in (17.3, 0.001, -0.0004, 60.0 * (count - 1) + 0.0004):
        write_window("edge", 27100.25, [k * 60.0 for k in range(count)], request_s, 6900.0)
for midnight in 24473.0, 22828.0:  # a leap second inside, requests on both sides
    for count in (2, 4, 6):
        for request_s in (-20.0, 0.0, 11.0):
            write_window("leap", midnight, [60.0 * (k - count / 2) + 25.0 for k in range(count)], request_s, 7000.0)
for count in (2, 3, 4, 6, 4, 4, 4, 4, 4):
    offsets_s = [0.0]
    while len(offsets_s) < count:
        offsets_s.append(offsets_s[-1] + CHANCE.uniform(15.0, 240.0))
    request_s = CHANCE.uniform(0.1, 0.9) * offsets_s[-1]
    start = CHANCE.uniform(600.0, 40000.0)
    write_window("uneven", start, offsets_s, request_s, CHANCE.uniform(6600.0, 9000.0))
for count in (1, 1, 2, 2, 3, 3, 4, 4, 6, 6, 8, 8):
    x = sorted(Fraction(CHANCE.uniform(27000.0, 27001.0)) for _ in range(count))
    y = [Fraction(CHANCE.uniform(-10.0, 10.0)) for _ in range(count)]
    t = Fraction(CHANCE.uniform(float(x[0]), float(x[-1]) + 0.01))
    print(f"lagrange scalar {count}", row(x), row(y), row([t, lagrange(x, y, t)]), sep="\n")

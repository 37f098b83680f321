#!/usr/bin/python3
"""Writes kernel_reference.txt: windows of points and what the interpolation kernels must find in them.

The inputs are doubles, written in hexadecimal; the results are worked out in rational numbers, without any
rounding, from the exact values of these doubles, and rounded once at the end. The Hermite polynomial is built
from divided differences over doubled nodes, a way of its own beside the weights that the library uses. TAI - UTC
is read from the leap-seconds.list of the tzdata package.

Run it in this folder to make the table again: ./kernel_reference.py > kernel_reference.txt
"""

import datetime
import math
import random
from fractions import Fraction

LEAP_SECONDS_LIST = "/usr/share/zoneinfo/leap-seconds.list"
COVARIANCES = 3  # of the 21 values; each one is interpolated alike


def day_of(year, month, day):
    return (datetime.date(year, month, day) - datetime.date(1949, 12, 31)).days


def leap_steps():
    """(first day, TAI - UTC), in rising order."""
    steps = []
    with open(LEAP_SECONDS_LIST, encoding="ascii") as lines:
        for line in lines:
            if line.strip() and not line.startswith("#"):
                seconds, offset = line.split()[:2]
                steps.append((int(seconds) // 86400 + day_of(1900, 1, 1), int(offset)))
    return steps


STEPS = leap_steps()


def tai_seconds(ds50):
    offset = next((o for day, o in reversed(STEPS) if ds50 >= day), STEPS[0][1])
    return Fraction(ds50) * 86400 + offset


def hermite(times, values, derivatives, at):
    """Value and derivative at `at` of the polynomial with these values and derivatives."""
    nodes = [t for t in times for _ in range(2)]
    column = [v for v in values for _ in range(2)]
    coefficients = [column[0]]
    for order in range(1, len(nodes)):
        column = [
            derivatives[i // 2]
            if nodes[i + order] == nodes[i]
            else (column[i + 1] - column[i]) / (nodes[i + order] - nodes[i])
            for i in range(len(column) - 1)
        ]
        coefficients.append(column[0])
    value, derivative = Fraction(0), Fraction(0)
    for coefficient, node in zip(reversed(coefficients), reversed(nodes)):
        derivative = derivative * (at - node) + value
        value = value * (at - node) + coefficient
    return value, derivative


def lagrange(times, values, at):
    total = Fraction(0)
    for i, (own, value) in enumerate(zip(times, values)):
        term = Fraction(value)
        for j, other in enumerate(times):
            if j != i:
                term *= Fraction(at - other) / (own - other)
        total += term
    return total


def row(numbers):
    return " ".join(float(number).hex() for number in numbers)


def orbit(radius_km, inclination, phase, seconds):
    """A point of a circular orbit, three covariance values behind it."""
    rate = math.sqrt(398600.8 / radius_km**3)
    angle = phase + rate * seconds
    along, across = math.cos(angle), math.sin(angle)
    ci, si = math.cos(inclination), math.sin(inclination)
    position = [radius_km * along, radius_km * across * ci, radius_km * across * si]
    speed = radius_km * rate
    velocity = [-speed * across, speed * along * ci, speed * along * si]
    covariance = [1.0 + 0.2 * math.sin(rate * seconds), 1e-3 * math.cos(angle), 2.5 + 1e-4 * seconds]
    return position + velocity + covariance


def write_window(name, start, offsets_s, request_s, radius_km, chance):
    """`start` in days; node times and the request in seconds from there."""
    inclination, phase = chance.uniform(0.1, 2.0), chance.uniform(0.0, 6.28)
    times = [start + s / 86400.0 for s in offsets_s]
    points = [orbit(radius_km, inclination, phase, s) for s in offsets_s]
    request = start + request_s / 86400.0
    at = tai_seconds(request)
    exact_times = [tai_seconds(t) for t in times]
    columns = [[Fraction(p[k]) for p in points] for k in range(6 + COVARIANCES)]
    states = [hermite(exact_times, columns[a], columns[a + 3], at) for a in range(3)]
    covariance = [lagrange(exact_times, column, at) for column in columns[6:]]
    print("hermite", name, len(times))
    for time, point in zip(times, points):
        print(row([time] + point))
    print(row([request] + [s[0] for s in states] + [s[1] for s in states] + covariance))


def write_scalar(name, x, y, t):
    print("lagrange", name, len(x))
    print(row(x))
    print(row(y))
    print(row([t, lagrange([Fraction(v) for v in x], y, Fraction(t))]))


def even(count, spacing_s):
    return [k * spacing_s for k in range(count)]


def write_regular(chance):
    kinds = [("leo-60s", 6800.0, 60.0), ("leo-10s", 7100.0, 10.0), ("geo-900s", 42164.0, 900.0)]
    for name, radius_km, spacing_s in kinds:
        for count in (2, 3, 4, 6):
            middle = (count / 2 - 1 + chance.uniform(0.05, 0.95)) * spacing_s
            start = chance.uniform(27000.0, 27500.0)
            write_window(name, start, even(count, spacing_s), middle, radius_km, chance)


def write_edges(chance):
    """Requests between the first two points, and a little outside."""
    for count in (4, 6):
        for request_s in (17.3, 0.001, -0.0004, 60.0 * (count - 1) + 0.0004):
            write_window("edge", 27100.25, even(count, 60.0), request_s, 6900.0, chance)


def write_leap_seconds(chance):
    """Windows with a leap second inside, requests on both sides of it."""
    for year, month in ((2017, 1), (2012, 7)):
        midnight = float(day_of(year, month, 1))
        for count in (2, 4, 6):
            offsets_s = [60.0 * (k - count / 2) + 25.0 for k in range(count)]
            for request_s in (-20.0, 0.0, 11.0):
                write_window("leap", midnight, offsets_s, request_s, 7000.0, chance)


def write_uneven(chance):
    for count in (2, 3, 4, 6, 4, 4, 4, 4, 4):
        offsets_s = [0.0]
        while len(offsets_s) < count:
            offsets_s.append(offsets_s[-1] + chance.uniform(15.0, 240.0))
        request_s = chance.uniform(0.1, 0.9) * offsets_s[-1]
        write_window("uneven", chance.uniform(600.0, 40000.0), offsets_s, request_s, chance.uniform(6600.0, 9000.0), chance)


def write_scalars(chance):
    for count in (1, 2, 3, 4, 6, 8):
        for _ in range(2):
            x = sorted(chance.uniform(27000.0, 27001.0) for _ in range(count))
            y = [chance.uniform(-10.0, 10.0) for _ in range(count)]
            write_scalar("scalar", x, y, chance.uniform(x[0], x[-1] + 0.01))


def main():
    chance = random.Random(19500101)
    print("# Made by kernel_reference.py, which also says what the numbers are.")
    print("# hermite NAME N: N nodes (time, position, velocity, 3 covariance values), then the request and the result.")
    print("# lagrange NAME N: x, y, then t and the result.")
    write_regular(chance)
    write_edges(chance)
    write_leap_seconds(chance)
    write_uneven(chance)
    write_scalars(chance)


main()

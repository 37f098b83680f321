"""Shared by the tests: the example files, satellites of points, and the C interface of the loaded library."""
import ctypes
import os
import pathlib

import numpy as np
import pytest

import vorlandi

EXAMPLES = pathlib.Path(os.environ["VORLANDI_EXAMPLES"]).resolve()
DATA = EXAMPLES / "data"
START = vorlandi.times.ds50("2026-01-31")
MINUTE = 1 / 1440
EARTH_RATE = 7.292115e-5


@pytest.fixture(autouse=True)
def in_the_folder_of_the_examples(monkeypatch):
    monkeypatch.chdir(DATA)


def circle(number, points=20, step=MINUTE, phase=0.0, start=START, radius_km=7000.0, tilt=1.0, **options):
    """A satellite on a circular orbit of the two-body problem."""
    times = start + step * np.arange(points)
    rate = np.sqrt(398600.8 / radius_km**3)
    angle = rate * (times - START) * 86400 + phase
    axes = np.array([[1.0, 0.0, 0.0], [0.0, np.cos(tilt), np.sin(tilt)]])
    position = radius_km * np.stack([np.cos(angle), np.sin(angle)], 1) @ axes
    velocity = radius_km * rate * np.stack([-np.sin(angle), np.cos(angle)], 1) @ axes
    return vorlandi.Satellite.from_points(number, times, np.hstack([position, velocity]), **options)


def covariances(points):
    """Positive matrices that all differ."""
    factors = np.random.default_rng(7).normal(size=(points, 6, 6))
    matrices = factors @ factors.transpose(0, 2, 1)
    return (matrices + matrices.transpose(0, 2, 1)) / 2


def turned(points, angle):
    """States on axes turned about z by an angle, one for all or one for each."""
    cosine, sine = np.cos(angle), np.sin(angle)
    x, y = points[..., ::3], points[..., 1::3]
    result = points.copy()
    result[..., ::3] = (x.T * cosine + y.T * sine).T
    result[..., 1::3] = (y.T * cosine - x.T * sine).T
    return result


def on_rotating_axes(points, times):
    """States on axes that rotate with the earth, as seen from there."""
    angle = EARTH_RATE * (times - START) * 86400
    result = turned(points, angle)
    result[:, 3] += EARTH_RATE * result[:, 1]
    result[:, 4] -= EARTH_RATE * result[:, 0]
    return result


class Library:
    """The C functions, on the library that the package uses."""

    def __init__(self):
        self._library = ctypes.CDLL(os.environ["VORLANDI_LIBRARY"])

    def state(self, key, time):
        """Status, state, revolution and covariance of the single query."""
        state, matrix, revolution = np.zeros(6), np.zeros((6, 6)), ctypes.c_int32()
        status = self._library.VorlanDs50UTCCovMtx(
            ctypes.c_int64(key), ctypes.c_double(time), None, state.ctypes, ctypes.c_void_p(state.ctypes.data + 24),
            ctypes.byref(revolution), matrix.ctypes)
        return status, state, revolution.value, matrix

    def __getattr__(self, name):
        return getattr(self._library, name)


@pytest.fixture(scope="session")
def library():
    return Library()

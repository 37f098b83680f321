"""The store of the process, which the package shares with C code that uses the library."""

from __future__ import annotations

import operator
import os
from typing import TYPE_CHECKING

import numpy as np

from vorlandi import _vorlandi
from vorlandi._errors import Error, system_error
from vorlandi._satellite import Origin, Satellite

if TYPE_CHECKING:
    from numpy.typing import NDArray

__all__ = ["attach", "count", "keys", "save"]


def count() -> int:
    """The number of satellites in the store, including those that C code has stored."""
    return _vorlandi.count()


def keys() -> NDArray[np.int64]:
    """The keys of all satellites, in the order in which they were stored."""
    return np.array(_vorlandi.keys(), dtype=np.int64)


def attach(key: int) -> Satellite:
    """A satellite that C code has stored. It stays in the store when the object is deleted.

    Raises
    ------
    ClosedError
        If there is no such key. A stale key is not noticed once it names another satellite.
    """
    file = os.fsdecode(_vorlandi.fields(operator.index(key))[3])
    return Satellite(key, owner=False, origin=Origin(file))


def save(path: str | os.PathLike[str]) -> None:
    """Write a card file that names the file of each satellite in the store, so that loading it loads them again.

    Raises
    ------
    OSError
        If the file can't be opened.
    """
    name = os.fspath(path)
    status = _vorlandi.save(os.fsencode(name))
    if status == 2 and (not name or os.path.isdir(os.path.dirname(name) or ".")):
        raise Error(f"{name}: the cards can't be saved: the name is not possible, or memory is short")
    if status:
        raise system_error(status, name)

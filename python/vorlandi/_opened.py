"""Tasks that say where files are loaded, so that Dask sends the work on them there."""

from __future__ import annotations

from typing import Any

from dask.sizeof import sizeof

from vorlandi._cache import CACHE, Part


class Opened:
    """Says where the satellites of a part are loaded. As large as they are, so that the scheduler leaves it there; a
    task that gets it elsewhere loads them again."""

    def __init__(self, part: Part) -> None:
        self.part = part


sizeof.register(Opened, lambda opened: opened.part.bytes)


def _open(part: Part) -> Opened:
    if part.bytes <= CACHE.limit():
        CACHE.satellites(part, missing=True)  # the chunks tell what can't be read
    return Opened(part)


def opening(parts: list[Part], token: str) -> dict[Any, Any]:
    """The part of a graph that opens parts, in their order."""
    return {(f"vorlandi-open-{token}", i): (_open, part) for i, part in enumerate(parts)}

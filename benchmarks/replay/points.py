"""What signatures are worth to a client, computed apart from the library."""
from __future__ import annotations

from collections.abc import Iterable

WEIGHTS = {"hsi": 40.0}


def beginnings(value: str) -> list[str]:
    """What a link's value can be known by: each host of two labels and more, and each path."""
    host, *path = value.split("/")
    labels = host.split(".")
    is_address = len(labels) == 4 and all(label.isdigit() for label in labels)
    hosts = [host] if is_address else [".".join(labels[:i]) for i in range(2, len(labels) + 1)]
    return hosts + ["/".join([host, *path[:i]]) for i in range(1, len(path) + 1)]


def names(signatures: Iterable[tuple[str, str]]) -> set[tuple[str, str]]:
    """The signatures and all beginnings of links."""
    return {(kind, part) for kind, value in signatures
            for part in (beginnings(value) if kind == "tru" else [value])}


def community_points(kinds: Iterable[str]) -> float:
    """The points of matched signatures of these kinds, all at full relevance."""
    weights = [WEIGHTS.get(kind, 100.0) for kind in kinds]
    scale = min(1.0, 100.0 / sum(weights)) if weights else 0.0
    return sum(weights) * scale

"""The answers of a web server inside a world."""
from __future__ import annotations

import sys

from .world import World

_FETCH = """
import sys, urllib.request
print(urllib.request.urlopen(sys.argv[1], timeout=20).read().decode(), end="")
"""


def fetch(world: World, url: str) -> str:
    """The body of the answer; any status other than success fails the test."""
    return world.check(sys.executable, "-c", _FETCH, url)

"""Waiting for something to become true: polling with a bound, and a message that says what failed."""
from __future__ import annotations

import time
from collections.abc import Callable

LONGEST_WAIT = 20.0
_INTERVAL = 0.02


def waitUntil(
    condition: Callable[[], object], what: str, timeout: float = LONGEST_WAIT, interval: float = _INTERVAL
) -> None:
    """Polls until the condition holds; fails with `what` after `timeout` seconds."""
    end = time.monotonic() + timeout
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"did not happen within {timeout:g} s: {what}")
        time.sleep(interval)

"""Bounded polling until a condition is true, with a message that says what failed."""
from __future__ import annotations

import time
from collections.abc import Callable

LONGEST_WAIT = 20.0
_INTERVAL = 0.02
#: Of the time waited so far: a poll may start a process, and hundreds of them would slow down the other tests.
_SHARE = 0.1


def wait_until(
    condition: Callable[[], object], what: str, timeout: float = LONGEST_WAIT, interval: float = _INTERVAL
) -> None:
    """Polls until the condition holds, less often the longer it takes; fails with `what` after `timeout` s."""
    begin = time.monotonic()
    while not condition():
        waited = time.monotonic() - begin
        if waited > timeout:
            raise AssertionError(f"did not happen within {timeout:g} s: {what}")
        time.sleep(max(interval, _SHARE * waited))

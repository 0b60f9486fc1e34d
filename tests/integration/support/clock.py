"""How the agent shows its local time."""
from __future__ import annotations

import time
from collections.abc import Callable

from .snmp import Varbind


def assert_shows_now(get: Callable[[], Varbind], broken: Callable[[float], time.struct_time]) -> None:
    """What is got must be the time while it is got; `broken` makes the fields of a time out of its seconds."""
    before = int(time.time())
    answer = get()
    possible = [_shown(broken(second)) for second in range(before, int(time.time()) + 1)]
    assert answer.type == "STRING"
    assert answer.value in possible, f"{answer.value} is not one of {possible}"


def _shown(t: time.struct_time) -> str:
    return f"{t.tm_hour}:{t.tm_min}:{t.tm_sec} {t.tm_mon}/{t.tm_mday}/{t.tm_year}"

"""How the agent shows its local time."""
from __future__ import annotations

import time
from collections.abc import Callable

from .snmp import Varbind


def assert_shows_now(get: Callable[[], Varbind], broken: Callable[[float], time.struct_time]) -> None:
    """The answer must be the time at which it is read; `broken` converts seconds to a broken-down time."""
    before = int(time.time())
    answer = get()
    possible = [_shown(broken(second)) for second in range(before, int(time.time()) + 1)]
    assert answer.type == "STRING"
    assert answer.value in possible, f"{answer.value} is not one of {possible}"


def _shown(t: time.struct_time) -> str:
    return f"{t.tm_hour}:{t.tm_min}:{t.tm_sec} {t.tm_mon}/{t.tm_mday}/{t.tm_year}"

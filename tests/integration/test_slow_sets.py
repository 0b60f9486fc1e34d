"""Sets that take longer than the master waits before it repeats its request."""
from __future__ import annotations

import pytest

from support.mapping import Scalar, Cell
from support.observing import observe, writeFrame
from support.sample import FIRST_LEVELS, LIMIT
from support.snmp import Varbind
from support.stack import Stack

# A set of a cell reads it six times, and so takes more than three seconds; the master repeats after one.
SLOW = "delay 600 times 6"


@pytest.mark.parametrize("quickReconnect", [True, False], ids=["often asked for life", "seldom asked for life"])
@pytest.mark.parametrize("target", [FIRST_LEVELS[0], LIMIT], ids=["cell", "scalar"])
def test_a_slow_set_is_carried_out_once(sampleStack: Stack, target: Cell | Scalar, quickReconnect: bool) -> None:
    assert sampleStack.simulator and sampleStack.agent
    if not quickReconnect:
        sampleStack.stopAgent()
        sampleStack.startAgent(quickReconnect=False)
        sampleStack.waitUntilServed()
    sampleStack.simulator.command(f"fault {target.objId:#x} {SLOW}")
    observed = observe(sampleStack, lambda: sampleStack.snmp.set(target.oid, "i", 5))
    assert observed.result == Varbind("INTEGER", "5")
    assert [request for request in observed.requests if request.startswith("01")] == [
        writeFrame(int(target.objId), b"\x05\x00")]
    assert sampleStack.snmp.get(target.oid) == Varbind("INTEGER", "5")
    assert sampleStack.agent.isRunning()

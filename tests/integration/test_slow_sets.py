"""Sets that take longer than the master waits before it repeats its request."""
from __future__ import annotations

import pytest

from support.mapping import Scalar, Cell
from support.observing import observe, writeFrame
from support.sample import FIRST_LEVELS, LIMIT
from support.snmp import SnmpError, Varbind
from support.stack import Stack

# A set of a cell reads it six times, and so takes more than three seconds; the master repeats after one.
SLOW = "delay 600 times 6"


def test_the_library_calls_the_guard_so_that_nothing_is_logged(sampleStack: Stack) -> None:
    assert sampleStack.agent
    assert "guarded" not in sampleStack.agent.errors()


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


@pytest.mark.parametrize("quickReconnect", [True, False], ids=["often asked for life", "seldom asked for life"])
def test_a_set_slower_than_its_session_ends_with_it(sampleStack: Stack, quickReconnect: bool) -> None:
    """After 6 s the master gives the agent up, in the middle of the set."""
    assert sampleStack.simulator and sampleStack.agent
    if not quickReconnect:
        sampleStack.stopAgent()
        sampleStack.startAgent(quickReconnect=False)
        sampleStack.waitUntilServed()
    target = FIRST_LEVELS[0]
    sampleStack.simulator.command(f"fault {target.objId:#x} delay 2200 times 6")
    with pytest.raises(SnmpError, match="genError"):
        sampleStack.snmp.using(timeout=12).set(target.oid, "i", 5)
    sampleStack.waitUntilServed(timeout=45)
    assert sampleStack.agent.isRunning()
    sampleStack.simulator.command("clear")
    assert sampleStack.snmp.set(target.oid, "i", 6) == Varbind("INTEGER", "6")
    assert sampleStack.snmp.get(target.oid) == Varbind("INTEGER", "6")

"""Sets that take longer than the master waits before it repeats its request."""
from __future__ import annotations

import pytest

from support.mapping import Scalar, Cell
from support.observing import observe, write_frame
from support.sample import FIRST_LEVELS, LIMIT
from support.snmp import SnmpError, Varbind
from support.stack import Stack

# A set of a cell reads it six times, and so takes more than three seconds; the master repeats after one.
SLOW = "delay 600 times 6"


def test_the_library_calls_the_guard_so_that_nothing_is_logged(sample_stack: Stack) -> None:
    assert sample_stack.agent
    assert "guarded" not in sample_stack.agent.errors()


@pytest.mark.parametrize("quick_reconnect", [True, False], ids=["often asked for life", "seldom asked for life"])
@pytest.mark.parametrize("target", [FIRST_LEVELS[0], LIMIT], ids=["cell", "scalar"])
def test_a_slow_set_is_carried_out_once(sample_stack: Stack, target: Cell | Scalar, quick_reconnect: bool) -> None:
    assert sample_stack.simulator and sample_stack.agent
    if not quick_reconnect:
        sample_stack.stop_agent()
        sample_stack.start_agent(quick_reconnect=False)
        sample_stack.wait_until_served()
    sample_stack.simulator.command(f"fault {target.obj_id:#x} {SLOW}")
    observed = observe(sample_stack, lambda: sample_stack.snmp.set(target.oid, "i", 5))
    assert observed.result == Varbind("INTEGER", "5")
    assert [request for request in observed.requests if request.startswith("01")] == [
        write_frame(int(target.obj_id), b"\x05\x00")]
    assert sample_stack.snmp.get(target.oid) == Varbind("INTEGER", "5")
    assert sample_stack.agent.is_running()


@pytest.mark.parametrize("quick_reconnect", [True, False], ids=["often asked for life", "seldom asked for life"])
def test_a_set_slower_than_its_session_ends_with_it(sample_stack: Stack, quick_reconnect: bool) -> None:
    """After 6 s, in the middle of the set, the master gives up on the agent."""
    assert sample_stack.simulator and sample_stack.agent
    if not quick_reconnect:
        sample_stack.stop_agent()
        sample_stack.start_agent(quick_reconnect=False)
        sample_stack.wait_until_served()
    target = FIRST_LEVELS[0]
    sample_stack.simulator.command(f"fault {target.obj_id:#x} delay 2200 times 6")
    with pytest.raises(SnmpError, match="genError"):
        sample_stack.snmp.using(timeout=12).set(target.oid, "i", 5)
    sample_stack.wait_until_served(timeout=45)
    assert sample_stack.agent.is_running()
    sample_stack.simulator.command("clear")
    assert sample_stack.snmp.set(target.oid, "i", 6) == Varbind("INTEGER", "6")
    assert sample_stack.snmp.get(target.oid) == Varbind("INTEGER", "6")

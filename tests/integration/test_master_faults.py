"""A master agent that is absent, killed, restarted or stopped, and agents that come and go."""
from __future__ import annotations

import signal
from collections.abc import Iterator
from concurrent.futures import Future, ThreadPoolExecutor

import pytest

from support.observing import allFrames, readFrame
from support.sample import (
    FIRST_LEVELS, LIMIT, SAMPLE_MAPPING, SAMPLE_OBJECTS, SECOND_NAMES, TEMPERATURE,
)
from support.snmp import SnmpTimeout, Varbind
from support.stack import Stack
from support.waiting import waitUntil

SERVING = "init_snmp end....\n"


@pytest.fixture
def background() -> Iterator[ThreadPoolExecutor]:
    with ThreadPoolExecutor(max_workers=1) as executor:
        yield executor


def assertServed(stack: Stack) -> None:
    """Scalars and both tables, read and written."""
    stack.waitUntilServed()
    assert stack.snmp.getAll(TEMPERATURE.oid, FIRST_LEVELS[1].oid, SECOND_NAMES[2].oid) == [
        Varbind("INTEGER", "-7"), Varbind("INTEGER", "101"), Varbind("STRING", "fan 3")]
    for value in (11, 75):
        stack.snmp.set(LIMIT.oid, "i", value)
        assert stack.snmp.get(LIMIT.oid) == Varbind("INTEGER", str(value))


def test_a_master_absent_at_start_is_found_when_it_comes(stack: Stack) -> None:
    stack.startSimulator(SAMPLE_OBJECTS)
    agent = stack.startAgent(mapping=SAMPLE_MAPPING)
    agent.waitForOutput(SERVING)
    assert "init_agent rc=0....\n" in agent.output()
    stack.startMaster()
    assertServed(stack)


def test_without_a_setting_of_its_own_the_agent_looks_for_a_master_every_15_seconds(stack: Stack) -> None:
    stack.startSimulator(SAMPLE_OBJECTS)
    agent = stack.startAgent(mapping=SAMPLE_MAPPING, quickReconnect=False)
    agent.waitForOutput(SERVING)
    stack.startMaster()
    stack.waitUntilServed(TEMPERATURE.oid, timeout=30)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL], ids=["stopped", "killed"])
def test_a_master_that_was_restarted_is_found_again(sampleStack: Stack, number: signal.Signals) -> None:
    agent = sampleStack.agent
    assert agent and sampleStack.master
    pid = agent.pid
    for _ in range(2):
        sampleStack.master.signal(number)
        sampleStack.master.waitForEnd()
        sampleStack.startMaster()
        assertServed(sampleStack)
    assert agent.pid == pid


def test_nothing_is_read_anew_from_the_device_when_the_master_was_restarted(sampleStack: Stack) -> None:
    sampleStack.killMaster()
    output, frames = sampleStack.output(), len(allFrames(sampleStack))
    sampleStack.startMaster()
    manager = sampleStack.snmp
    waitUntil(lambda: manager.get(FIRST_LEVELS[0].oid) == Varbind("INTEGER", "100"), "the table is served again")
    assert sampleStack.output() == output
    # Only the reads of the cell by this test.
    assert set(allFrames(sampleStack)[frames:]) == {
        f"> {readFrame(0x1200)}", "< 12 05 10 00 00 12 64 00"}


def test_a_master_that_dies_during_a_request_does_not_take_the_agent_with_it(
    sampleStack: Stack, background: ThreadPoolExecutor,
) -> None:
    assert sampleStack.simulator and sampleStack.agent
    sampleStack.simulator.command(f"fault {TEMPERATURE.objId:#x} delay 700 times 1")
    before = len(allFrames(sampleStack))
    manager = sampleStack.snmp.using(timeout=1)
    answer: "Future[Varbind]" = background.submit(manager.get, TEMPERATURE.oid)
    waitUntil(lambda: len(allFrames(sampleStack)) == before + 1, "the device gets the request")
    sampleStack.killMaster()
    # The agent answers a master that is no longer there.
    waitUntil(lambda: len(allFrames(sampleStack)) == before + 2, "the device answers")
    with pytest.raises(SnmpTimeout):
        answer.result()
    sampleStack.startMaster()
    assertServed(sampleStack)
    assert sampleStack.agent.isRunning()


def test_a_master_that_dies_while_the_agent_waits_for_its_device_is_found_again(stack: Stack) -> None:
    stack.startMaster()
    agent = stack.startAgent(mapping=SAMPLE_MAPPING)
    agent.waitForOutput("_pComPortAdapter->open() end....\n")
    stack.killMaster()
    stack.startSimulator(SAMPLE_OBJECTS)
    agent.waitForOutput(SERVING)
    stack.startMaster()
    assertServed(stack)


def test_a_master_that_stood_still_goes_on_with_the_agent(sampleStack: Stack) -> None:
    sampleStack.signalMaster(signal.SIGSTOP)
    with pytest.raises(SnmpTimeout):
        sampleStack.snmp.using(timeout=0.5).get(TEMPERATURE.oid)
    sampleStack.signalMaster(signal.SIGCONT)
    assertServed(sampleStack)


def test_an_agent_that_stood_still_goes_on_with_its_master(sampleStack: Stack) -> None:
    sampleStack.signalAgent(signal.SIGSTOP)
    with pytest.raises(SnmpTimeout):
        sampleStack.snmp.using(timeout=0.5).get(TEMPERATURE.oid)
    sampleStack.signalAgent(signal.SIGCONT)
    assertServed(sampleStack)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGKILL], ids=lambda number: number.name)
def test_a_signal_ends_the_agent_and_its_objects_are_gone(sampleStack: Stack, number: signal.Signals) -> None:
    assert sampleStack.agent
    sampleStack.agent.signal(number)
    assert sampleStack.agent.waitForEnd() == -number
    sampleStack.waitUntilGone(TEMPERATURE.oid)
    sampleStack.waitUntilGone(FIRST_LEVELS[0].oid)


def test_a_broken_pipe_does_not_end_the_agent(sampleStack: Stack) -> None:
    sampleStack.signalAgent(signal.SIGPIPE)
    assertServed(sampleStack)


def test_a_restarted_agent_serves_again(sampleStack: Stack) -> None:
    for _ in range(2):
        sampleStack.killAgent()
        sampleStack.startAgent()
        assertServed(sampleStack)


def test_an_agent_may_be_started_again_under_another_name(sampleStack: Stack) -> None:
    sampleStack.stopAgent()
    sampleStack.startAgent(name="another")
    assertServed(sampleStack)

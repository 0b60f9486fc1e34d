"""A master agent that is absent, killed, restarted or stopped, and agents that come and go."""
from __future__ import annotations

import signal
from collections.abc import Iterator
from concurrent.futures import Future, ThreadPoolExecutor

import pytest

from support.observing import all_frames, read_frame
from support.sample import (
    FIRST_LEVELS, LIMIT, SAMPLE_MAPPING, SAMPLE_OBJECTS, SECOND_NAMES, TEMPERATURE,
)
from support.snmp import SnmpTimeout, Varbind
from support.stack import Stack
from support.waiting import wait_until

SERVING = "init_snmp end....\n"


@pytest.fixture
def background() -> Iterator[ThreadPoolExecutor]:
    with ThreadPoolExecutor(max_workers=1) as executor:
        yield executor


def assert_served(stack: Stack) -> None:
    """Scalars and both tables, read and written."""
    stack.wait_until_served()
    assert stack.snmp.get_all(TEMPERATURE.oid, FIRST_LEVELS[1].oid, SECOND_NAMES[2].oid) == [
        Varbind("INTEGER", "-7"), Varbind("INTEGER", "101"), Varbind("STRING", "fan 3")]
    for value in (11, 75):
        stack.snmp.set(LIMIT.oid, "i", value)
        assert stack.snmp.get(LIMIT.oid) == Varbind("INTEGER", str(value))


def test_a_master_absent_at_start_is_found_when_it_comes(stack: Stack) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    agent = stack.start_agent(mapping=SAMPLE_MAPPING)
    agent.wait_for_output(SERVING)
    assert "init_agent rc=0....\n" in agent.output()
    stack.start_master()
    assert_served(stack)


def test_without_a_setting_of_its_own_the_agent_looks_for_a_master_every_15_seconds(stack: Stack) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    agent = stack.start_agent(mapping=SAMPLE_MAPPING, quick_reconnect=False)
    agent.wait_for_output(SERVING)
    stack.start_master()
    stack.wait_until_served(TEMPERATURE.oid, timeout=30)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGKILL], ids=["stopped", "killed"])
def test_a_master_that_was_restarted_is_found_again(sample_stack: Stack, number: signal.Signals) -> None:
    agent = sample_stack.agent
    assert agent and sample_stack.master
    pid = agent.pid
    for _ in range(2):
        sample_stack.master.signal(number)
        sample_stack.master.wait_for_end()
        sample_stack.start_master()
        assert_served(sample_stack)
    assert agent.pid == pid


def test_nothing_is_read_anew_from_the_device_when_the_master_was_restarted(sample_stack: Stack) -> None:
    sample_stack.kill_master()
    output, frames = sample_stack.output(), len(all_frames(sample_stack))
    sample_stack.start_master()
    manager = sample_stack.snmp
    wait_until(lambda: manager.get(FIRST_LEVELS[0].oid) == Varbind("INTEGER", "100"), "the table is served again")
    assert sample_stack.output() == output
    # Only the reads of the cell by this test.
    assert set(all_frames(sample_stack)[frames:]) == {
        f"> {read_frame(0x1200)}", "< 12 05 10 00 00 12 64 00"}


def test_a_master_that_dies_during_a_request_does_not_take_the_agent_with_it(
    sample_stack: Stack, background: ThreadPoolExecutor,
) -> None:
    assert sample_stack.simulator and sample_stack.agent
    sample_stack.simulator.command(f"fault {TEMPERATURE.obj_id:#x} delay 700 times 1")
    before = len(all_frames(sample_stack))
    manager = sample_stack.snmp.using(timeout=1)
    answer: "Future[Varbind]" = background.submit(manager.get, TEMPERATURE.oid)
    wait_until(lambda: len(all_frames(sample_stack)) == before + 1, "the device gets the request")
    sample_stack.kill_master()
    # The agent answers a master that no longer exists.
    wait_until(lambda: len(all_frames(sample_stack)) == before + 2, "the device answers")
    with pytest.raises(SnmpTimeout):
        answer.result()
    sample_stack.start_master()
    assert_served(sample_stack)
    assert sample_stack.agent.is_running()


def test_a_master_that_dies_while_the_agent_waits_for_its_device_is_found_again(stack: Stack) -> None:
    stack.start_master()
    agent = stack.start_agent(mapping=SAMPLE_MAPPING)
    agent.wait_for_output("_pComPortAdapter->open() end....\n")
    stack.kill_master()
    stack.start_simulator(SAMPLE_OBJECTS)
    agent.wait_for_output(SERVING)
    stack.start_master()
    assert_served(stack)


def test_a_master_that_stood_still_goes_on_with_the_agent(sample_stack: Stack) -> None:
    sample_stack.signal_master(signal.SIGSTOP)
    with pytest.raises(SnmpTimeout):
        sample_stack.snmp.using(timeout=0.5).get(TEMPERATURE.oid)
    sample_stack.signal_master(signal.SIGCONT)
    assert_served(sample_stack)


def test_an_agent_that_stood_still_goes_on_with_its_master(sample_stack: Stack) -> None:
    sample_stack.signal_agent(signal.SIGSTOP)
    with pytest.raises(SnmpTimeout):
        sample_stack.snmp.using(timeout=0.5).get(TEMPERATURE.oid)
    sample_stack.signal_agent(signal.SIGCONT)
    assert_served(sample_stack)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGKILL], ids=lambda number: number.name)
def test_a_signal_ends_the_agent_and_its_objects_are_gone(sample_stack: Stack, number: signal.Signals) -> None:
    assert sample_stack.agent
    sample_stack.agent.signal(number)
    assert sample_stack.agent.wait_for_end() == -number
    sample_stack.wait_until_gone(TEMPERATURE.oid)
    sample_stack.wait_until_gone(FIRST_LEVELS[0].oid)


def test_a_broken_pipe_does_not_end_the_agent(sample_stack: Stack) -> None:
    sample_stack.signal_agent(signal.SIGPIPE)
    assert_served(sample_stack)


def test_a_restarted_agent_serves_again(sample_stack: Stack) -> None:
    for _ in range(2):
        sample_stack.kill_agent()
        sample_stack.start_agent()
        assert_served(sample_stack)


def test_an_agent_may_be_started_again_under_another_name(sample_stack: Stack) -> None:
    sample_stack.stop_agent()
    sample_stack.start_agent(name="another")
    assert_served(sample_stack)

"""What managers get from alarms while the device, the agent or the master agent is in trouble."""
from __future__ import annotations

import signal

import pytest

from support.alarms import ALL_WELL, BASE, HEAT, HEAT_READS, MODE, NAME, STATES, TRAPS, AlarmedOven
from support.mapping_tool import MappingTool
from support.stack import Build, Stack

RENAMED = "ovenRenamedByItsOwnersAgain"
#: The state of every alarm of the oven below.
STATE = tuple({"ovenHotClear": "ovenHot", "doorOpenClear 2": "doorOpen 2"}.get(each, each) for each in ALL_WELL)


@pytest.fixture
def oven(build: Build, stack: Stack) -> AlarmedOven:
    """An oven that is hot, with its second door open."""
    oven = AlarmedOven(stack, MappingTool(build))
    oven.start_device()
    oven.set(HEAT, 90)
    oven.set(STATES + 1, 1)
    oven.start_managers()
    oven.expect(*STATE)
    return oven


def test_a_value_that_is_missing_for_a_while_keeps_its_state(oven: AlarmedOven) -> None:
    oven.command(f"fault {HEAT:#x} error times {HEAT_READS}")
    oven.wait_for_polls()
    oven.expect()
    oven.set(HEAT, 20)
    oven.expect("ovenHotClear")


def test_a_silent_device_sends_nothing_but_a_change_of_what_is_missing(oven: AlarmedOven) -> None:
    assert oven.stack.agent
    oven.stack.signal_simulator(signal.SIGSTOP)
    oven.stack.agent.wait_for_output(f"getObjValue ERROR  oid = {NAME:x} ")
    oven.wait_for(RENAMED)
    oven.stack.signal_simulator(signal.SIGCONT)
    oven.expect(RENAMED, RENAMED)


def test_what_happens_while_the_device_is_silent_is_sent_afterwards(oven: AlarmedOven) -> None:
    oven.command("fault all silent")
    oven.wait_for(RENAMED)
    oven.set(HEAT, 20)
    oven.set(STATES + 1, 0)
    oven.command("clear")
    oven.expect(RENAMED, RENAMED, "ovenHotClear", "doorOpenClear 2")


def test_late_answers_only_delay_alarms(oven: AlarmedOven) -> None:
    oven.command("fault all delay 30")
    oven.set(HEAT, 20)
    oven.expect("ovenHotClear")
    oven.set(STATES + 2, 1)
    oven.expect("doorOpen 3")


def test_a_restarted_device_is_compared_with_what_it_was_before(oven: AlarmedOven) -> None:
    oven.stack.stop_simulator()
    oven.wait_for(RENAMED)
    oven.stack.start_simulator_on(oven.source)
    oven.expect(RENAMED, RENAMED, "ovenHotClear", "doorOpenClear 2")


def test_an_agent_that_restarts_keeps_the_state_of_alarms(oven: AlarmedOven) -> None:
    oven.stack.stop_agent()
    oven.wait_for(RENAMED)
    oven.set(STATES + 1, 0)
    oven.start_agent()
    oven.expect(RENAMED, RENAMED, "doorOpenClear 2")


def test_a_master_that_restarts_sends_the_state_of_every_alarm(oven: AlarmedOven) -> None:
    oven.stack.stop_master()
    oven.start_master()
    oven.wait_until_served()
    oven.expect(*STATE)


def test_a_master_that_reads_its_configuration_again_sends_the_state_of_every_alarm(oven: AlarmedOven) -> None:
    oven.reread_configuration()
    oven.expect(*(each for each in STATE if each != RENAMED))


def test_a_refused_row_may_raise_a_false_alarm(oven: AlarmedOven) -> None:
    """By design, a refused cell shows what its table read last: here the state of the door before, which is open."""
    oven.command(f"fault {STATES + 2:#x} error")
    oven.expect("doorOpen 3")
    oven.command("clear")
    oven.expect("doorOpenClear 3")


def test_other_monitors_of_the_master_go_on(build: Build, stack: Stack) -> None:
    oven = AlarmedOven(stack, MappingTool(build))
    oven.start_device()
    oven.set(MODE, 3)
    oven.start_managers(
        TRAPS, "iquerySecName theirs", "rouser theirs auth", f"notificationEvent theirs {BASE}.0.99",
        f"monitor -r 1 -I -e theirs theirs {BASE}.1.1.2.0 == 3")
    oven.wait_for("ovenUneven", "sampleOvenMIBNotifications.99")

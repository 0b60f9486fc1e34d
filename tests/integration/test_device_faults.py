"""A device application that is absent, stopped, late, silent or wrong, and queues that are full or removed."""
from __future__ import annotations

import re
import signal
import time
from collections.abc import Callable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path

import pytest

from support.architecture import SIZE_OF_LONG
from support.device import ANSWER_QUEUE, BASE, REQUEST_QUEUE, start_up_objects, unsigned
from support.mapping import Cell, Mapping, Scalar
from support.observing import all_frames, observe, read_frame, write_frame
from support.program import Program
from support.snmp import NO_SUCH_INSTANCE, SnmpError, Varbind
from support.stack import Stack
from support.waiting import wait_until

FIRST = Scalar(0x0101, (1, 1, 0))
SECOND = Scalar(0x0102, (1, 2, 0))
CELL = Cell(0x1001, ".3.1", 2)
MAPPING = Mapping([FIRST, SECOND], [CELL])
OBJECTS = [*start_up_objects(), unsigned(0x0101, 1, writable=True), unsigned(0x0102, 2), unsigned(0x1001, 3)]
FIRST_VALUE, SECOND_VALUE, CELL_VALUE = (Varbind("INTEGER", str(value)) for value in (1, 2, 3))
LATE_ANSWER = "< 12 07 10 00 01 01 01 00 00 00"

TIMED_OUT = "called, failed: errno: Connection timed out, error code:110\n"
REMOVED = "called, failed: errno: Identifier removed, error code:43\n"
NO_ANSWER = "DataManage::getObjValue  readData error!\n"
NOT_SENT = "ComPortAdapter::write msg_queue error:\n"
READ_FAILED = "SnmpAgentX::read_Var  getObjValue ERROR  oid = {:X} !!!!!!!!!!!\n"
SERVING = "init_snmp end....\n"

#: How long the agent waits for a device that is alive, in seconds.
PATIENCE = 3.0
#: No answer of a silent device takes this long, however busy the machine.
SOON = 2.5


@pytest.fixture
def served(stack: Stack) -> Stack:
    return serve(stack)


@pytest.fixture
def served_by_concurrent(stack: Stack) -> Stack:
    """A device that answers other requests while one answer is delayed."""
    return serve(stack, "--concurrent")


def serve(stack: Stack, *options: str) -> Stack:
    stack.start_simulator(OBJECTS, *options)
    stack.start_master()
    stack.start_agent(mapping=MAPPING)
    stack.wait_until_served()
    return stack


@pytest.fixture
def background() -> Iterator[ThreadPoolExecutor]:
    with ThreadPoolExecutor(max_workers=1) as executor:
        yield executor


def tell(stack: Stack, command: str) -> None:
    assert stack.simulator
    assert stack.simulator.command(command) == "ok"


def timed(action: Callable[[], object]) -> float:
    start = time.monotonic()
    action()
    return time.monotonic() - start


def wait_for_request(stack: Stack, frame: str, count: int = 1) -> None:
    """Waits until the device has taken this many requests like this."""
    wait_until(lambda: all_frames(stack).count(f"> {frame}") >= count, f"the device gets {frame}")


def requests(stack: Stack) -> int:
    return sum(frame.startswith(">") for frame in all_frames(stack))


def wait_for_answers(stack: Stack) -> None:
    """Waits until the device has answered every request that it has got."""
    wait_until(lambda: len(all_frames(stack)) == 2 * requests(stack), "the device answers everything")


def get_from_silent(stack: Stack, oid: str) -> Varbind:
    """The first answer of a device that the agent believes silent. On a busy machine the 40 ms for such a device
    may be too short at first."""
    seen = [NO_SUCH_INSTANCE]

    def is_heard() -> bool:
        seen.append(stack.snmp.get(oid))
        return seen[-1] != NO_SUCH_INSTANCE

    wait_until(is_heard, "the device is heard")
    return seen[-1]


def assert_in_step(stack: Stack) -> None:
    """Every object repeatedly shows its own value."""
    assert get_from_silent(stack, FIRST.oid) == FIRST_VALUE
    for _ in range(3):
        assert stack.snmp.get(FIRST.oid) == FIRST_VALUE
        assert stack.snmp.get(SECOND.oid) == SECOND_VALUE
        assert stack.snmp.get(CELL.oid) == CELL_VALUE


# Silent


def test_an_object_of_a_silent_device_is_no_instance_after_three_seconds(served: Stack) -> None:
    tell(served, "fault all silent")
    start = time.monotonic()
    observed = observe(served, lambda: served.snmp.get(FIRST.oid))
    assert PATIENCE <= time.monotonic() - start < PATIENCE + SOON
    assert observed.result == NO_SUCH_INSTANCE
    assert observed.output.startswith(TIMED_OUT + NO_ANSWER + READ_FAILED.format(0x0101))


def test_a_cell_of_a_silent_device_is_no_instance_and_not_what_it_was(served: Stack) -> None:
    tell(served, "fault all silent")
    observed = observe(served, lambda: served.snmp.get(CELL.oid))
    assert observed.result == NO_SUCH_INSTANCE
    assert observed.output.startswith(TIMED_OUT + NO_ANSWER + " get_ data is ERROR !!!!!!!!!!!!!!!!!!!\n")


def test_a_silent_device_is_waited_for_only_once(served: Stack) -> None:
    tell(served, "fault all silent")
    served.snmp.get(FIRST.oid)
    assert timed(lambda: served.snmp.get(FIRST.oid)) < SOON
    assert timed(lambda: served.snmp.get(SECOND.oid)) < SOON


def test_a_device_that_spoke_again_is_waited_for_again(served: Stack) -> None:
    tell(served, "fault all silent")
    served.snmp.get(FIRST.oid)
    tell(served, "clear")
    assert get_from_silent(served, FIRST.oid) == FIRST_VALUE
    tell(served, "fault 0x0102 silent times 1")
    assert timed(lambda: served.snmp.get(SECOND.oid)) >= PATIENCE
    assert_in_step(served)


def test_a_device_silent_through_200_requests_is_served_at_once_when_it_speaks(served: Stack) -> None:
    tell(served, "fault all silent")
    # Few enough that the master does not repeat the request, which would keep adding reads.
    oids = [scalar.oid for scalar in (FIRST, SECOND)] * 4
    before = requests(served)

    def is_long_silent() -> bool:
        assert served.snmp.get_all(*oids) == [NO_SUCH_INSTANCE] * len(oids)
        return requests(served) >= before + 200

    wait_until(is_long_silent, "200 requests are left unanswered", timeout=60)
    tell(served, "clear")
    assert_in_step(served)


def test_a_set_for_a_silent_device_is_refused(served: Stack) -> None:
    tell(served, "fault all silent")
    served.snmp.get(FIRST.oid)
    with pytest.raises(SnmpError, match="badValue"):
        served.snmp.set(FIRST.oid, "i", 5)
    tell(served, "clear")
    assert_in_step(served)


# Late


def test_a_late_answer_is_not_taken_for_that_of_another_object(served: Stack) -> None:
    tell(served, "fault 0x0101 delay 4400 times 1")
    assert served.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    assert get_from_silent(served, SECOND.oid) == SECOND_VALUE
    wait_for_answers(served)
    assert_in_step(served)


def test_a_late_answer_that_others_overtook_is_not_taken_for_that_of_another_object(
    served_by_concurrent: Stack,
) -> None:
    tell(served_by_concurrent, "fault 0x0101 delay 6000 times 1")
    assert served_by_concurrent.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    assert get_from_silent(served_by_concurrent, SECOND.oid) == SECOND_VALUE
    assert all_frames(served_by_concurrent)[-1] != LATE_ANSWER
    wait_for_answers(served_by_concurrent)
    assert all_frames(served_by_concurrent)[-1] == LATE_ANSWER
    assert_in_step(served_by_concurrent)


def test_a_late_answer_that_waits_in_the_queue_is_thrown_away(served: Stack) -> None:
    tell(served, "fault 0x0101 delay 4400 times 1")
    assert served.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    wait_for_answers(served)
    assert get_from_silent(served, SECOND.oid) == SECOND_VALUE
    assert_in_step(served)


def test_a_late_answer_to_a_write_is_not_taken_for_a_value(served: Stack) -> None:
    tell(served, "fault 0x0101 delay 4400 times 1 only writes")
    # The write is done once and succeeds, although the master has repeated its request.
    observed = observe(served, lambda: served.snmp.set(FIRST.oid, "i", 1))
    assert observed.output == TIMED_OUT + f"set 'ACTION'  oid = 101   set length = {SIZE_OF_LONG}..\n"
    assert observed.requests[-1] == write_frame(0x0101, bytes([1, 0, 0, 0]))
    assert get_from_silent(served, SECOND.oid) == SECOND_VALUE
    wait_for_answers(served)
    assert_in_step(served)


def test_a_device_slower_than_the_master_waits_is_served(served: Stack) -> None:
    # The master repeats its request after a second; the first answer counts.
    tell(served, "fault 0x0101 delay 1500 times 1")
    assert served.snmp.get(FIRST.oid) == FIRST_VALUE
    assert_in_step(served)


def test_a_slow_device_is_served(served: Stack) -> None:
    tell(served, "fault all delay 100")
    assert_in_step(served)


# Stopped and restarted


def test_a_device_stopped_in_the_middle_of_a_request_answers_when_it_goes_on(
    served: Stack, background: ThreadPoolExecutor,
) -> None:
    served.signal_simulator(signal.SIGSTOP)
    answer: "Future[Varbind]" = background.submit(served.snmp.get, FIRST.oid)
    wait_until(lambda: served.queue_depth(REQUEST_QUEUE) == 1, "the request waits")
    served.signal_simulator(signal.SIGCONT)
    assert answer.result() == FIRST_VALUE
    assert_in_step(served)


def test_a_device_stopped_for_many_requests_answers_them_too_late(served: Stack) -> None:
    served.signal_simulator(signal.SIGSTOP)
    oids = [scalar.oid for scalar in (FIRST, SECOND)] * 4
    for _ in range(2):
        assert served.snmp.get_all(*oids) == [NO_SUCH_INSTANCE] * len(oids)
    assert served.queue_depth(REQUEST_QUEUE) >= 2 * len(oids)
    served.signal_simulator(signal.SIGCONT)
    assert_in_step(served)


def test_a_device_that_died_with_a_request_is_served_when_it_is_started_again(
    served: Stack, background: ThreadPoolExecutor,
) -> None:
    tell(served, "fault 0x0101 delay 60000")
    answer: "Future[Varbind]" = background.submit(served.snmp.get, FIRST.oid)
    wait_for_request(served, read_frame(0x0101), count=2)
    served.kill_simulator()
    assert answer.result() == NO_SUCH_INSTANCE
    served.start_simulator(OBJECTS)
    assert_in_step(served)


def test_requests_to_an_absent_device_are_answered_too_late_when_it_is_started(served: Stack) -> None:
    served.stop_simulator()
    assert served.snmp.get_all(FIRST.oid, SECOND.oid, FIRST.oid) == [NO_SUCH_INSTANCE] * 3
    served.start_simulator(OBJECTS)
    assert_in_step(served)


def test_a_restarted_device_shows_its_new_values(served: Stack) -> None:
    served.stop_simulator()
    served.start_simulator([*start_up_objects(), unsigned(0x0101, 10), unsigned(0x0102, 20), unsigned(0x1001, 30)])
    assert served.snmp.get_all(FIRST.oid, SECOND.oid, CELL.oid) == [
        Varbind("INTEGER", "10"), Varbind("INTEGER", "20"), Varbind("INTEGER", "30")]


def test_a_device_killed_during_start_up_is_asked_again_when_it_is_back(stack: Stack) -> None:
    stack.start_master()
    stack.start_simulator(OBJECTS)
    tell(stack, "fault 0x0a41 silent")
    agent = stack.start_agent(mapping=MAPPING)
    agent.wait_for_output(f"init_table node={BASE}.3.1\n")
    # The request is lost with the device that took it.
    wait_for_request(stack, read_frame(0x0A41))
    stack.kill_simulator()
    stack.start_simulator(OBJECTS)
    stack.wait_until_served()
    assert_in_step(stack)


def test_requests_of_an_earlier_run_are_answered_without_harm(stack: Stack) -> None:
    for obj_id in (0x0101, 0x0102):
        stack.queue_tool("send", hex(REQUEST_QUEUE), read_frame(obj_id))
    agent = stack.start_agent(mapping=MAPPING)
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 3, "the agent asks for the base OID")
    stack.start_simulator(OBJECTS)
    stack.start_master()
    stack.wait_until_served()
    assert f"init_table node={BASE}.3.1\n" in agent.output()
    assert_in_step(stack)


def test_a_restarted_agent_is_not_disturbed_by_the_requests_of_the_one_before(served: Stack) -> None:
    served.signal_simulator(signal.SIGSTOP)
    assert served.snmp.get_all(FIRST.oid, SECOND.oid) == [NO_SUCH_INSTANCE] * 2
    served.kill_agent()
    agent = served.start_agent()
    agent.wait_for_output("_pComPortAdapter->open() end....\n")
    served.signal_simulator(signal.SIGCONT)
    served.wait_until_served()
    assert f"init_table node={BASE}.3.1\n" in agent.output()
    assert_in_step(served)


# Wrong


def test_while_a_request_is_unanswered_an_answer_with_another_id_is_not_taken(served: Stack) -> None:
    tell(served, "fault 0x0101 silent")
    assert served.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    tell(served, "fault 0x0102 wrong-id 0x7777")
    assert served.snmp.get(SECOND.oid) == NO_SUCH_INSTANCE
    tell(served, "clear")
    assert_in_step(served)


def test_an_answer_with_another_id_is_taken_again_after_a_failed_read(served: Stack) -> None:
    tell(served, "fault 0x0101 silent")
    assert served.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    # Nothing but this answer comes for 3 s, so the device answers under another id.
    tell(served, "fault 0x0102 wrong-id 0x7777")
    assert served.snmp.get(SECOND.oid) == NO_SUCH_INSTANCE
    assert served.snmp.get(SECOND.oid) == SECOND_VALUE


def test_an_object_in_a_group_is_known_by_the_id_of_its_group(stack: Stack) -> None:
    grouped = Scalar(0x0911, (1, 3, 0))
    stack.start_simulator([*OBJECTS, unsigned(0x083A, 7)])
    stack.start_master()
    stack.start_agent(mapping=Mapping([FIRST, grouped]))
    stack.wait_until_served()
    tell(stack, "fault 0x0101 silent")
    assert stack.snmp.get(FIRST.oid) == NO_SUCH_INSTANCE
    assert stack.snmp.get(grouped.oid) == Varbind("INTEGER", "7")


@pytest.mark.parametrize("kind", ["00", "01", "02", "03"], ids=["unsigned", "signed", "text", "other"])
def test_no_good_header_with_any_length_byte_does_any_harm(served: Stack, kind: str) -> None:
    questioner = served.start_questioner(FIRST.oid)
    seen = []
    for length in range(256):
        # As many bytes as the length says, one less, and none.
        for size in (max(length - 3, 0), max(length - 4, 0), 0):
            tell(served, f"fault 0x0101 raw 12{length:02x}00{kind}0101" + "41" * size)
            seen.append(questioner.command("ask"))
    assert set(seen) <= {"value", "noSuchInstance"}
    assert "value" in seen
    tell(served, "clear")
    assert_in_step(served)


@pytest.mark.parametrize("command", ["silent", "duplicate 3", "extra 100", "wrong-id 0x0102", "truncate 5"])
def test_every_second_answer_wrong(served: Stack, command: str) -> None:
    for _ in range(2):
        tell(served, f"fault 0x0101 {command} times 1")
        served.snmp.get(FIRST.oid)
        wait_until(lambda: served.snmp.get(SECOND.oid) == SECOND_VALUE, "the other object is served")
    assert_in_step(served)


# Queues


def fill_request_queue(stack: Stack) -> None:
    """Fills the queue with messages that are not requests."""
    message = "ff" * 8192
    stack.queue_tool("send", hex(REQUEST_QUEUE), message, "send", hex(REQUEST_QUEUE), message)


def test_a_full_request_queue_is_told_and_waited_for(served: Stack) -> None:
    served.signal_simulator(signal.SIGSTOP)
    fill_request_queue(served)
    observed = observe(served, lambda: served.snmp.get(FIRST.oid))
    assert observed.result == NO_SUCH_INSTANCE
    assert observed.output.startswith(NOT_SENT + TIMED_OUT + NO_ANSWER + READ_FAILED.format(0x0101))
    served.signal_simulator(signal.SIGCONT)
    wait_until(lambda: served.queue_depth(REQUEST_QUEUE) == 0, "the device takes what waits")
    assert_in_step(served)


def context_switches(program: Program) -> int:
    status = Path(f"/proc/{program.pid}/status").read_text(encoding="ascii")
    found = re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status, re.MULTILINE)
    assert found
    return int(found[1])


def test_a_request_queue_full_at_start_up_is_told_once_and_tried_again(stack: Stack) -> None:
    fill_request_queue(stack)
    agent = stack.start_agent(mapping=MAPPING)
    agent.wait_for_output(NOT_SENT)
    before = context_switches(agent)
    # Each attempt ends with a pause of a second.
    wait_until(lambda: context_switches(agent) >= before + 2, "it tries again")
    stack.start_simulator(OBJECTS)
    agent.wait_for_output(SERVING)
    assert agent.output().count(NOT_SENT) == 1
    stack.start_master()
    stack.wait_until_served()
    assert_in_step(stack)


def test_queues_removed_between_requests_are_made_again(served: Stack) -> None:
    assert served.queue_tool("remove", hex(REQUEST_QUEUE), "remove", hex(ANSWER_QUEUE)) == "ok\nok\n"
    assert_in_step(served)


def test_an_answer_queue_removed_under_a_wait_fails_the_read(served: Stack, background: ThreadPoolExecutor) -> None:
    tell(served, "fault 0x0101 silent times 1")
    asked = all_frames(served).count(f"> {read_frame(0x0101)}")
    printed = len(served.output())
    answer: "Future[Varbind]" = background.submit(served.snmp.get, FIRST.oid)
    wait_for_request(served, read_frame(0x0101), count=asked + 1)
    served.queue_tool("remove", hex(ANSWER_QUEUE))
    assert answer.result() == NO_SUCH_INSTANCE
    assert served.output()[printed:].startswith(REMOVED + NO_ANSWER + READ_FAILED.format(0x0101))
    assert_in_step(served)


def test_a_request_queue_removed_with_a_request_in_it_loses_the_request(
    served: Stack, background: ThreadPoolExecutor,
) -> None:
    served.signal_simulator(signal.SIGSTOP)
    answer: "Future[Varbind]" = background.submit(served.snmp.get, FIRST.oid)
    wait_until(lambda: served.queue_depth(REQUEST_QUEUE) == 1, "the request waits")
    served.queue_tool("remove", hex(REQUEST_QUEUE))
    assert answer.result() == NO_SUCH_INSTANCE
    served.signal_simulator(signal.SIGCONT)
    assert_in_step(served)


def test_a_write_reaches_a_device_that_answers_again(served: Stack) -> None:
    tell(served, "fault all silent")
    served.snmp.get(FIRST.oid)
    tell(served, "clear")
    served.snmp.set(FIRST.oid, "i", 77)
    assert f"> {write_frame(0x0101, bytes([77, 0, 0, 0]))}" in all_frames(served)
    assert served.snmp.get(FIRST.oid) == Varbind("INTEGER", "77")

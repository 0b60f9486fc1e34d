"""A sequential device that falls behind: late answers, backlogs, and what happens to them."""
from __future__ import annotations

import time
from collections.abc import Iterator

import pytest

from support.device import ANSWER_QUEUE, BASE, BASE_OBJECT, REQUEST_QUEUE, start_up_objects, text, unsigned
from support.late_answers import (
    MAPPING, OBJECTS, PACES, SCALARS, Counts, Pace, Reader, read_at_pace, serve, tell,
)
from support.mapping import OCTET_STRING, Mapping, Scalar, column_of_cells
from support.observing import all_frames, read_frame
from support.snmp import NO_SUCH_INSTANCE, SnmpError, SnmpTimeout, Varbind
from support.stack import Stack
from support.waiting import wait_until

PAUSE = "fault all pause 3400"
FIRST, SECOND = SCALARS[:2]


@pytest.fixture
def reader(stack: Stack) -> Iterator[Reader]:
    manager = serve(stack)
    yield manager
    manager.close()


def id_of(scalar: Scalar) -> int:
    assert isinstance(scalar.obj_id, int)
    return scalar.obj_id


def assert_all_served(reader: Reader) -> None:
    """Every object in a row, twice."""
    values = [reader.read(scalar) for _ in range(2) for scalar in SCALARS]
    assert values == [id_of(scalar) for _ in range(2) for scalar in SCALARS]


def assert_fresh(stack: Stack, reader: Reader) -> None:
    """A manager sees what the device holds now."""
    for scalar in SCALARS:
        tell(stack, f"set 0x{id_of(scalar):04x} {id_of(scalar) + 1000}")
    assert [reader.read(scalar) for scalar in SCALARS] == [id_of(scalar) + 1000 for scalar in SCALARS]


def catch_up(stack: Stack, reader: Reader) -> None:
    """The device answers at once again. One more request for each object may fail."""
    tell(stack, "clear")
    wait_until(lambda: reader.read(FIRST) is not None, "the device is heard")
    reader.read_in_turn(0.5)


# Every pace of a device that falls behind


@pytest.mark.parametrize("pace", PACES, ids=lambda pace: pace.name)
def test_no_object_ever_shows_the_value_of_another(stack: Stack, reader: Reader, pace: Pace) -> None:
    counts = read_at_pace(stack, reader, pace)
    assert counts.others == 0
    assert counts.missing > 0
    if pace.catches_up:
        assert counts.right > counts.missing
        assert_fresh(stack, reader)


@pytest.mark.parametrize("pace", PACES, ids=lambda pace: pace.name)
def test_every_object_is_served_again_once_the_device_answers_at_once(
    stack: Stack, reader: Reader, pace: Pace,
) -> None:
    assert read_at_pace(stack, reader, pace).others == 0
    catch_up(stack, reader)
    assert_all_served(reader)
    assert_fresh(stack, reader)


def test_two_pauses_leave_no_object_behind(stack: Stack, reader: Reader) -> None:
    tell(stack, "fault all delay 15")
    counts = Counts()
    for _ in range(2):
        tell(stack, PAUSE)
        part = reader.read_in_turn(6)
        counts.others += part.others
        counts.missing += part.missing
    assert counts.others == 0
    assert counts.missing > 0
    assert_all_served(reader)
    assert_fresh(stack, reader)


def test_one_object_that_is_read_alone_is_fresh_again(stack: Stack, reader: Reader) -> None:
    tell(stack, "fault all delay 50")
    tell(stack, PAUSE)
    assert reader.read(FIRST) is None
    wait_until(lambda: reader.read(FIRST) is not None, "the object is served")
    tell(stack, "clear")
    end = time.monotonic() + 0.5
    while time.monotonic() < end:
        assert reader.read(FIRST) in (id_of(FIRST), None)
    for version in range(5):
        tell(stack, f"set 0x{id_of(FIRST):04x} {version}")
        assert reader.read(FIRST) == version


# Sets


def test_sets_in_a_backlog_reach_the_right_objects_with_the_right_width(stack: Stack) -> None:
    """Width, kind and writability of neighbours differ: taking one for another would show."""
    narrow, wide, fixed = Scalar(0x0201, (1, 2, 1)), Scalar(0x0202, (1, 2, 2)), Scalar(0x0203, (1, 2, 3))
    stack.start_simulator([
        *start_up_objects(), unsigned(0x0201, 1, width=1, writable=True), unsigned(0x0202, 2, writable=True),
        unsigned(0x0203, 3, width=2),
    ])
    stack.start_master()
    stack.start_agent(mapping=Mapping([narrow, wide, fixed]))
    stack.wait_until_served()
    patient = stack.snmp.using(timeout=8)
    tell(stack, "fault all delay 15")
    for value in (40, 41):
        tell(stack, PAUSE)
        assert patient.get(narrow.oid) == NO_SUCH_INSTANCE
        for _ in range(5):
            outcomes = {scalar: status_of_set(stack, scalar, value) for scalar in (narrow, wide, fixed)}
        assert outcomes == {narrow: "done", wide: "done", fixed: "badValue"}
    writes = {frame for frame in all_frames(stack) if frame.startswith("> 01")}
    assert {"> 01 04 01 02 28", "> 01 04 01 02 29"} <= writes
    assert all(frame.startswith(("> 01 04 01 02 ", "> 01 07 02 02 ")) for frame in writes)


def status_of_set(stack: Stack, scalar: Scalar, value: int) -> str:
    try:
        stack.snmp.using(timeout=8).set(scalar.oid, "i", value)
    except SnmpError as error:
        return error.status
    return "done"


# Tables


def test_cells_never_show_another_cells_value_in_a_backlog(stack: Stack) -> None:
    cells = column_of_cells(".3.1", 2, 0x1200)
    stack.start_simulator([*start_up_objects(), *(unsigned(0x1200 + row, 0x1200 + row) for row in range(8))])
    stack.start_master()
    stack.start_agent(mapping=Mapping(cells=cells))
    stack.wait_until_served()
    tell(stack, "fault all delay 15")
    tell(stack, PAUSE)
    patient = stack.snmp.using(timeout=8)
    for _ in range(10):
        for row, cell in enumerate(cells):
            assert patient.get(cell.oid) in (NO_SUCH_INSTANCE, Varbind("INTEGER", str(0x1200 + row)))
    values = [varbind.value for varbind in patient.walk(f"{BASE}.3.1.1.2")]
    assert values == [str(0x1200 + row) for row in range(8)]


# Deaths and removals


def test_a_request_that_dies_with_the_device_costs_at_most_one_more(stack: Stack, reader: Reader) -> None:
    tell(stack, "fault all pause 60000")
    assert reader.read(FIRST) is None
    assert reader.read(SECOND) is None
    stack.kill_simulator()
    stack.start_simulator(OBJECTS)
    counts = reader.read_in_turn(1)
    assert counts.others == 0
    assert counts.missing <= len(SCALARS)
    assert_all_served(reader)
    assert_fresh(stack, reader)


def test_the_object_whose_request_died_is_served_with_the_next_one(stack: Stack, reader: Reader) -> None:
    tell(stack, "fault all pause 60000")
    assert reader.read(FIRST) is None
    stack.kill_simulator()
    stack.start_simulator(OBJECTS)
    wait_until(lambda: reader.read(FIRST) == id_of(FIRST), "the object is served")
    for version in range(3):
        tell(stack, f"set 0x{id_of(FIRST):04x} {version}")
        assert reader.read(FIRST) == version


@pytest.mark.parametrize("keys", [(REQUEST_QUEUE,), (ANSWER_QUEUE,), (REQUEST_QUEUE, ANSWER_QUEUE)])
def test_queues_removed_in_a_backlog_leave_no_object_behind(
    stack: Stack, reader: Reader, keys: tuple[int, ...],
) -> None:
    tell(stack, PAUSE)
    tell(stack, "fault all delay 15")
    assert reader.read(FIRST) is None
    reader.read_in_turn(0.2)
    for key in keys:
        stack.queue_tool("remove", hex(key))
    counts = reader.read_in_turn(8)
    assert counts.others == 0
    assert_all_served(reader)
    assert_fresh(stack, reader)


@pytest.mark.parametrize("key", [REQUEST_QUEUE, ANSWER_QUEUE])
def test_messages_removed_in_a_backlog_leave_no_object_behind(stack: Stack, reader: Reader, key: int) -> None:
    tell(stack, PAUSE)
    assert reader.read(FIRST) is None
    reader.read_in_turn(0.2)
    stack.queue_tool("empty", hex(key))
    counts = reader.read_in_turn(4)
    assert counts.others == 0
    assert_all_served(reader)


# Foreign ids


def test_a_device_that_answers_under_foreign_ids_is_served_again_within_ten_seconds(
    stack: Stack, reader: Reader,
) -> None:
    tell(stack, "fault all wrong-id 0x0777")
    assert_all_served(reader)
    tell(stack, PAUSE)
    assert reader.read(FIRST) is None
    wait_until(lambda: all(reader.read(scalar) == id_of(scalar) for scalar in SCALARS), "all are served", 10)
    assert_all_served(reader)


def test_a_device_that_dies_and_answers_under_foreign_ids_is_served_again_within_ten_seconds(
    stack: Stack, reader: Reader,
) -> None:
    tell(stack, "fault all pause 60000")
    assert reader.read(FIRST) is None
    stack.kill_simulator()
    stack.start_simulator(OBJECTS)
    tell(stack, "fault all wrong-id 0x0777")
    wait_until(lambda: all(reader.read(scalar) == id_of(scalar) for scalar in SCALARS), "all are served", 10)
    assert_all_served(reader)


# The start


def wait_for_base_request(stack: Stack) -> None:
    wait_until(lambda: f"> {read_frame(BASE_OBJECT)}" in all_frames(stack), "the device takes the first request")


def test_the_start_goes_on_with_a_new_device_after_the_old_one_took_its_request_and_died(stack: Stack) -> None:
    stack.start_master()
    stack.start_simulator(OBJECTS)
    tell(stack, "fault all pause 60000")
    stack.start_agent(mapping=MAPPING)
    wait_for_base_request(stack)
    stack.kill_simulator()
    stack.start_simulator(OBJECTS)
    stack.wait_until_served()
    assert [stack.snmp.get(scalar.oid).value for scalar in SCALARS] == [str(id_of(scalar)) for scalar in SCALARS]


def test_a_request_of_the_start_that_still_waits_is_not_sent_twice(stack: Stack) -> None:
    stack.start_master()
    stack.start_agent(mapping=MAPPING)
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks for its base OID")
    time.sleep(4)
    assert stack.queue_depth(REQUEST_QUEUE) == 1
    stack.start_simulator(OBJECTS)
    stack.wait_until_served()


@pytest.mark.parametrize("delay", [1000, 4000])
def test_an_answer_that_the_earlier_run_waited_for_never_becomes_the_base_oid(stack: Stack, delay: int) -> None:
    base = ".1.3.6.1.4.1.32473.7"
    other = Scalar(0x0301, (1, 3, 1), asn_type=OCTET_STRING)
    stack.start_simulator([*OBJECTS, text(0x0301, base)])
    stack.start_master()
    stack.start_agent(mapping=Mapping([*SCALARS, other]))
    stack.wait_until_served()
    tell(stack, f"fault 0x0301 delay {delay} times 1")
    with pytest.raises(SnmpTimeout):
        stack.snmp.using(timeout=0.3).get(other.oid)
    stack.kill_agent()
    if delay == 4000:
        tell(stack, "fault all delay 4000")
    agent = stack.start_agent()
    agent.wait_for_output("init_snmp end....\n", timeout=60)
    tell(stack, "clear")
    stack.wait_until_served(FIRST.oid)
    assert stack.snmp.get(FIRST.oid) == Varbind("INTEGER", str(id_of(FIRST)))


def test_a_device_that_answers_everything_under_foreign_ids_gets_the_agent_started(stack: Stack) -> None:
    stack.start_master()
    stack.start_simulator(OBJECTS)
    tell(stack, "fault all wrong-id 0x0777")
    stack.start_agent(mapping=MAPPING)
    stack.wait_until_served(timeout=30)
    assert [stack.snmp.get(scalar.oid).value for scalar in SCALARS] == [str(id_of(scalar)) for scalar in SCALARS]

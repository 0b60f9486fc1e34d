"""The frames that the device receives, and what the agent does with each form of answer."""
from __future__ import annotations

import sys
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.device import (
    ANSWER_QUEUE, BASE_OBJECT, REQUEST_QUEUE, ROWS_OBJECT, block, signed, start_up_objects, text, unsigned,
)
from support.mapping import OCTET_STRING, Cell, Mapping, Scalar
from support.observing import Observation, observe, read_frame, write_frame
from support.snmp import NO_SUCH_INSTANCE, SnmpError, Varbind
from support.stack import Stack
from support.waiting import wait_until

pytestmark = pytest.mark.xdist_group("frames")

BYTE = Scalar(0x0101, (1, 1, 0))
WORD = Scalar(0x0102, (1, 2, 0))
LONG = Scalar(0xFFFE, (1, 3, 0))
BLOCK = Scalar(0x0104, (1, 4, 0))
SHORT_TEXT = Scalar(0x0105, (1, 5, 0), asn_type=OCTET_STRING)
TEXT_OF_20 = Scalar(0x0106, (1, 6, 0), asn_type=OCTET_STRING)
TEXT_OF_100 = Scalar(0x0107, (1, 7, 0), asn_type=OCTET_STRING)
TEXT_OF_1 = Scalar(0x0108, (1, 8, 0), asn_type=OCTET_STRING)
TEXT_OF_0 = Scalar(0x0109, (1, 9, 0), asn_type=OCTET_STRING)
TEXT_OF_252 = Scalar(0x010A, (1, 10, 0), asn_type=OCTET_STRING)
GROUPED = [Scalar(obj_id, (2, obj_id, 0)) for obj_id in range(0x090F, 0x0919)]
CELL = Cell(0x1001, ".3.1", 2)
TEXT_CELL = Cell(0x1002, ".3.1", 3, asn_type=OCTET_STRING)
FIXED_CELL = Cell(0x1003, ".3.1", 4, access=1)

OBJECTS = [
    *start_up_objects(), unsigned(BYTE.obj_id, 5, 1, True), signed(WORD.obj_id, -2, 2, True),
    unsigned(LONG.obj_id, 0x01020304, 4, True), block(BLOCK.obj_id, "0a0b0c0d", 4),
    text(SHORT_TEXT.obj_id, "abc", 5, True), text(TEXT_OF_20.obj_id, "abc", 20, True),
    text(TEXT_OF_100.obj_id, "abc", 100, True), text(TEXT_OF_1.obj_id, "a", 1, True),
    text(TEXT_OF_0.obj_id, "", 0, True), text(TEXT_OF_252.obj_id, "abc", 252, True),
    unsigned(0x083A, 1, 2, True), unsigned(0x083B, 2, 2, True),
    unsigned(0x090F, 3, 2, True), unsigned(0x0918, 4, 2, True),
    unsigned(CELL.obj_id, 6, 2, True), text(TEXT_CELL.obj_id, "abc", 4, True), unsigned(FIXED_CELL.obj_id, 7, 1),
]


@pytest.fixture(scope="module")
def served(shared_stack: Stack) -> Iterator[Stack]:
    shared_stack.start_simulator(OBJECTS)
    shared_stack.start_master()
    agent = shared_stack.start_agent(mapping=Mapping(
        [BYTE, WORD, LONG, BLOCK, SHORT_TEXT, TEXT_OF_20, TEXT_OF_100, TEXT_OF_1, TEXT_OF_0, TEXT_OF_252, *GROUPED],
        [CELL, TEXT_CELL, FIXED_CELL]))
    shared_stack.wait_until_served()
    yield shared_stack
    assert agent.is_running()


def read(stack: Stack, scalar: Scalar | Cell) -> Observation:
    return observe(stack, lambda: stack.snmp.get(scalar.oid))


def write(stack: Stack, scalar: Scalar | Cell, type: str, value: object) -> Observation:
    return observe(stack, lambda: stack.snmp.set(scalar.oid, type, value))


# Requests to read


READ = {
    "a byte": (BYTE, "02 07 01 01 00 00 00 00", "12 04 10 00 01 01 05"),
    "a signed word": (WORD, "02 07 02 01 00 00 00 00", "12 05 10 01 02 01 fe ff"),
    "a long": (LONG, "02 07 fe ff 00 00 00 00", "12 07 10 00 fe ff 04 03 02 01"),
    "a block": (BLOCK, "02 07 04 01 00 00 00 00", "12 07 00 03 04 01 0a 0b 0c 0d"),
    "a text": (SHORT_TEXT, "02 07 05 01 00 00 00 00", "12 08 10 02 05 01 61 62 63 00 00"),
    "a cell": (CELL, "02 07 01 10 00 00 00 00", "12 05 10 00 01 10 06 00"),
}


@pytest.mark.parametrize("what, request_, answer", READ.values(), ids=READ.keys())
def test_one_exchange_reads(served: Stack, what: Scalar | Cell, request_: str, answer: str) -> None:
    assert read(served, what).frames == [f"> {request_}", f"< {answer}"]


ON_LINK = {
    0x090F: 0x090F, 0x0910: 0x083A, 0x0911: 0x083A, 0x0912: 0x083A, 0x0913: 0x083A,
    0x0914: 0x083B, 0x0915: 0x083B, 0x0916: 0x083B, 0x0917: 0x083B, 0x0918: 0x0918,
}
VALUE_OF = {0x083A: "1", 0x083B: "2", 0x090F: "3", 0x0918: "4"}


@pytest.mark.parametrize("scalar", GROUPED, ids=lambda scalar: f"{scalar.obj_id:#06x}")
def test_reading_a_grouped_object_reads_the_one_behind_its_group(served: Stack, scalar: Scalar) -> None:
    on_link = ON_LINK[scalar.obj_id]
    observed = read(served, scalar)
    assert observed.requests == [read_frame(on_link)]
    assert observed.result == Varbind("INTEGER", VALUE_OF[on_link])


@pytest.mark.parametrize("scalar", GROUPED, ids=lambda scalar: f"{scalar.obj_id:#06x}")
def test_writing_a_grouped_object_writes_the_one_behind_its_group(served: Stack, scalar: Scalar) -> None:
    on_link = ON_LINK[scalar.obj_id]
    value = VALUE_OF[on_link]
    assert write(served, scalar, "i", value).requests == [
        read_frame(on_link), read_frame(on_link), write_frame(on_link, bytes([int(value), 0]))]


def test_getnext_of_a_name_reads_the_object_once(served: Stack) -> None:
    assert observe(served, lambda: served.snmp.getnext(BYTE.name)).requests == [read_frame(BYTE.obj_id)]


def test_getnext_from_one_object_to_the_next_reads_that_twice(served: Stack) -> None:
    # The library searches the range after the first object as well as the second object's own.
    assert observe(served, lambda: served.snmp.getnext(BYTE.oid)).requests == [read_frame(WORD.obj_id)] * 2


def test_getnext_from_one_cell_to_the_next_reads_that_once(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.getnext(f"{CELL.oid[:-4]}.0"))
    assert observed.requests == [read_frame(CELL.obj_id)]


def test_each_varbind_of_a_request_is_an_exchange_of_its_own(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.get_all(BYTE.oid, CELL.oid, BYTE.oid, TEXT_CELL.oid))
    # The master passes a subagent its varbinds in the order of the request.
    assert sorted(observed.requests) == sorted(
        [read_frame(BYTE.obj_id)] * 2 + [read_frame(CELL.obj_id), read_frame(TEXT_CELL.obj_id)])


# Requests to write


WARNING = "\nDataManage::setObjValue error obj type!\n"
WRITTEN = {
    "a byte": (BYTE, "i", 5, "01 04 01 01 05", ""),
    "a word": (WORD, "i", -2, "01 05 02 01 fe ff", ""),
    "a long": (LONG, "i", 0x01020304, "01 07 fe ff 04 03 02 01", ""),
    "a text of five bytes": (SHORT_TEXT, "s", "abc", "01 08 05 01 61 62 63 00 00", WARNING),
    "a text of 20 bytes": (TEXT_OF_20, "s", "abc", "01 17 06 01 61 62 63" + " 00" * 17, ""),
    "a text of 100 bytes": (TEXT_OF_100, "s", "x" * 64, "01 67 07 01" + " 78" * 64 + " 00" * 36, WARNING),
    "a text of 252 bytes": (TEXT_OF_252, "s", "abc", "01 ff 0a 01 61 62 63" + " 00" * 249, WARNING),
    "a text of one byte": (TEXT_OF_1, "s", "a", "01 04 08 01 61", ""),
    "a text without room": (TEXT_OF_0, "s", "", "01 03 09 01", WARNING),
}


@pytest.mark.parametrize("what, type, value, frame, warning", WRITTEN.values(), ids=WRITTEN.keys())
def test_three_exchanges_write(
    served: Stack, what: Scalar, type: str, value: object, frame: str, warning: str,
) -> None:
    observed = write(served, what, type, value)
    # One read to find the variable, one for its length and access; then the write.
    assert observed.requests == [read_frame(int(what.obj_id))] * 2 + [frame]
    assert observed.frames[-1].startswith("< 11 ")
    assert observed.output.startswith(warning + "called, failed: errno: Bad address, error code:14\n")


def test_a_set_of_a_cell_reads_it_in_every_phase(served: Stack) -> None:
    read = read_frame(CELL.obj_id)
    assert write(served, CELL, "i", 6).requests == [read, read, read, read, write_frame(CELL.obj_id, b"\x06\0"), read]


def test_a_set_of_a_text_cell_carries_the_devices_length(served: Stack) -> None:
    assert write_frame(TEXT_CELL.obj_id, b"a\0\0\0") in write(served, TEXT_CELL, "s", "a").requests


def test_a_refused_set_of_a_cell_writes_nothing(served: Stack) -> None:
    observed = observe(served, lambda: pytest.raises(SnmpError, served.snmp.set, FIXED_CELL.oid, "i", 1))
    # One read for reserving and one for freeing.
    assert observed.requests == [read_frame(FIXED_CELL.obj_id)] * 2


def test_one_set_of_two_scalars_writes_the_second_twice(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.set_all((BYTE.oid, "i", 5), (WORD.oid, "i", -2)))
    byte, word = read_frame(BYTE.obj_id), read_frame(WORD.obj_id)
    assert observed.requests == [
        byte, word, word, write_frame(WORD.obj_id, b"\x05\0"), word, write_frame(WORD.obj_id, b"\xfe\xff")]


def test_one_set_of_two_cells_writes_the_first_value_twice(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.set_all((CELL.oid, "i", 6), (CELL.oid, "i", 9)))
    assert [frame for frame in observed.requests if frame.startswith("01")] == [
        write_frame(CELL.obj_id, b"\x06\0")] * 2


# Answers


ANSWERS = {
    "more bytes than its length says": (BYTE, "extra 20", Varbind("INTEGER", "5")),
    "the id of another object": (BYTE, "wrong-id 0x0102", Varbind("INTEGER", "5")),
    "no id at all in a text of no length": (SHORT_TEXT, "raw 120300020501", Varbind("STRING", "")),
    "the value of another kind": (BYTE, "raw 12040001010105", Varbind("INTEGER", "5")),
    "a negative byte": (BYTE, "raw 120400010101ff", Varbind("INTEGER", "-1")),
    "a text longer than the record": (
        SHORT_TEXT, "raw 12ff0002" + "0501" + "78" * 252, Varbind("STRING", "x" * 64)),
    "a text that has no end": (SHORT_TEXT, "raw 120600020501616263", Varbind("STRING", "abc")),
    "every reserved attribute bit": (BYTE, "raw 1204fffc010105", Varbind("INTEGER", "5")),
    # Length and attribute are stored before the value fails, and a new record is zero.
    "a value cut off": (WORD, "truncate 7", Varbind("INTEGER", "0")),
    "a value that is missing": (BYTE, "truncate 6", Varbind("INTEGER", "0")),
    "a header cut off behind the attribute": (BYTE, "truncate 4", Varbind("INTEGER", "0")),
    "a text cut off": (SHORT_TEXT, "truncate 8", Varbind("STRING", "")),
    "a length below a header's": (SHORT_TEXT, "length 2", Varbind("STRING", "")),
    "only a command": (BYTE, "truncate 1", NO_SUCH_INSTANCE),
    "nothing": (BYTE, "truncate 0", NO_SUCH_INSTANCE),
    "an error": (BYTE, "error", NO_SUCH_INSTANCE),
    "the command of a write": (BYTE, "error 0x11", NO_SUCH_INSTANCE),
    "a length that no number has": (BYTE, "length 6", NO_SUCH_INSTANCE),
    "a number in the length of a block": (LONG, "raw 12170000feff" + "00" * 20, NO_SUCH_INSTANCE),
}


@pytest.mark.parametrize("what, fault, seen", ANSWERS.values(), ids=ANSWERS.keys())
def test_an_answer_with(served: Stack, what: Scalar, fault: str, seen: Varbind) -> None:
    good = served.snmp.get(what.oid)
    assert served.simulator
    assert served.simulator.command(f"fault {what.obj_id:#x} {fault} times 1") == "ok"
    assert served.snmp.get(what.oid) == seen
    assert served.snmp.get(what.oid) == good


def test_answers_sent_again_are_thrown_away(served: Stack) -> None:
    assert served.simulator
    served.simulator.command(f"fault {BYTE.obj_id:#x} duplicate 5 times 1")
    for scalar, seen in ((BYTE, "5"), (WORD, "-2"), (BYTE, "5")):
        assert served.snmp.get(scalar.oid) == Varbind("INTEGER", seen)
    assert served.queue_depth(ANSWER_QUEUE) == 0


#: An answer for the byte object, with a value that it does not have.
WRONG_BYTE = bytes.fromhex("12 04 00 00 01 01 63")


def test_waiting_messages_of_up_to_100_bytes_are_thrown_away(served: Stack) -> None:
    for size in (0, 1, 6, 99, 100):
        served.send_answer((WRONG_BYTE + bytes(93))[:size].hex(" ") or "-")
    assert served.snmp.get(BYTE.oid) == Varbind("INTEGER", "5")
    assert served.queue_depth(ANSWER_QUEUE) == 0


def test_a_waiting_message_of_more_than_100_bytes_is_taken_for_the_answer(served: Stack) -> None:
    served.send_answer("13 03 00 00 77 77" + " 00" * 95)
    observed = read(served, BYTE)
    assert observed.result == NO_SUCH_INSTANCE
    assert observed.output == (
        "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x7777\n"
        "SnmpAgentX::read_Var  getObjValue ERROR  oid = 101 !!!!!!!!!!!\n")
    assert served.snmp.get(BYTE.oid) == Varbind("INTEGER", "5")


# By hand


def send_answer_of_type(stack: Stack, message_type: int, hex_frame: str) -> None:
    program = f"import queues; queues.Queue({ANSWER_QUEUE}).send(bytes.fromhex('{hex_frame}'), {message_type})"
    stack.world.check(
        "env", f"PYTHONPATH={Path(__file__).parent / 'support'}", "PYTHONDONTWRITEBYTECODE=1", sys.executable, "-c",
        program)


def test_answers_of_any_message_type_are_taken(stack: Stack) -> None:
    stack.start_master()
    stack.start_agent(mapping=Mapping([BYTE], [CELL]))
    exchanges = (
        (read_frame(BASE_OBJECT), "12 0b 00 02 ba 80 2e 31 2e 33 2e 36 2e 31"),
        (read_frame(BASE_OBJECT), "12 0b 00 02 ba 80 2e 31 2e 33 2e 36 2e 31"),
        (read_frame(ROWS_OBJECT), "12 04 00 00 41 0a 00"))
    for message_type, (request, answer) in enumerate(exchanges, start=1):
        assert stack.queue_tool("recv", hex(REQUEST_QUEUE), "20000") == f"{request}\n"
        send_answer_of_type(stack, message_type, answer)
    assert stack.agent
    stack.agent.wait_for_output("init_snmp end....\n")
    assert "init_table node=.1.3.6.1.3.1\ngetFixDeviceNum(ancestorNode[i].ancestorNode)=4\n" in stack.output()


def test_a_device_without_answers_gets_one_request_and_nothing_more_at_start_up(stack: Stack) -> None:
    stack.start_agent(mapping=Mapping([BYTE], [CELL]))
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks for the base OID")
    assert stack.queue_tool("recv", hex(REQUEST_QUEUE), "0") == f"{read_frame(BASE_OBJECT)}\n"
    # A request that is still queued is not sent again; by now it would have been.
    assert stack.queue_tool("recv", hex(REQUEST_QUEUE), "1500") == "nothing\n"

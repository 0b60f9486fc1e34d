"""What serving requests prints, byte for byte. The output of start-up and of rejected options is tested there."""
from __future__ import annotations

from collections.abc import Iterator

import pytest

from support.architecture import SIZE_OF_LONG
from support.device import block, start_up_objects, text, unsigned
from support.mapping import OCTET_STRING, READ_ONLY, Cell, Mapping, Scalar, cell_oid
from support.observing import observe
from support.snmp import SnmpError
from support.stack import Stack

pytestmark = pytest.mark.xdist_group("messages")

NUMBER = Scalar(0x0A01, (1, 1, 0))
TEXT = Scalar(0xFE02, (1, 2, 0), asn_type=OCTET_STRING)
ODD_BLOCK = Scalar(0x0003, (1, 3, 0))
UNKNOWN = Scalar(0x00AB, (1, 4, 0))
TEXT_OF_20 = Scalar(0x0005, (1, 5, 0), asn_type=OCTET_STRING)
FIRST = Cell(0x1001, ".3.1", 2)
FIRST_FIXED = Cell(0x1002, ".3.1", 3, access=READ_ONLY)
FIRST_TEXT = Cell(0x1003, ".3.1", 4, asn_type=OCTET_STRING)
FIRST_LONG_TEXT = Cell(0x1004, ".3.1", 5, asn_type=OCTET_STRING)
SECOND = Cell(0x2001, ".3.2", 2)
SECOND_FIXED = Cell(0x2002, ".3.2", 3, access=READ_ONLY)
SECOND_ODD = Cell(0x2003, ".3.2", 4)

READ_FAILED = "SnmpAgentX::read_Var  getObjValue ERROR  oid = {:X} !!!!!!!!!!!\n"
ERROR_ANSWER = "ERR: DatabaseFacade::select:  error!  cmd={:x}  oid=0x{:04x}\n"
UNSUPPORTED = "ERR: DatabaseFacade::select: type unsupported!\n"
NO_BUFFER = "called, failed: errno: Bad address, error code:14\n"
TOO_LONG = "called, failed: errno: Argument list too long, error code:7\n"
NO_ANSWER = "DataManage::getObjValue  readData error!\n"
WRONG_LENGTH = "\nDataManage::setObjValue error obj type!\n"
CELL_FAILED = " get_ data is ERROR !!!!!!!!!!!!!!!!!!!\n"
NO_CELL = " getSnmpTableOid {}\n get_Column_Def(column,colunmInfo) is ERROR !!!!!!!!!!!!!!!!!!!\n"
READ_ONLY_CELL = " ../src/{}.cpp SNMP_ERR_READONLY\n"
BAD_VALUE = "SNMP_ERR_BADVALUE\n"


def written(obj_id: int, length: int) -> str:
    return f"set 'ACTION'  oid = {obj_id:x}   set length = {length}..\n"


@pytest.fixture(scope="module")
def served(shared_stack: Stack) -> Iterator[Stack]:
    shared_stack.start_simulator([
        *start_up_objects(rows=0), unsigned(NUMBER.obj_id, 5, 2, True), text(TEXT.obj_id, "abc", 10, True),
        block(ODD_BLOCK.obj_id, "010203"), text(TEXT_OF_20.obj_id, "abc", 20, True),
        unsigned(FIRST.obj_id, 6, 2, True), unsigned(FIRST_FIXED.obj_id, 7), text(FIRST_TEXT.obj_id, "abc", 4, True),
        text(FIRST_LONG_TEXT.obj_id, "abc", 10, True),
        unsigned(SECOND.obj_id, 8, 2, True), unsigned(SECOND_FIXED.obj_id, 9), block(SECOND_ODD.obj_id, "010203"),
    ])
    shared_stack.start_master()
    agent = shared_stack.start_agent(mapping=Mapping(
        [NUMBER, TEXT, ODD_BLOCK, UNKNOWN, TEXT_OF_20],
        [FIRST, FIRST_FIXED, FIRST_TEXT, FIRST_LONG_TEXT, SECOND, SECOND_FIXED, SECOND_ODD]))
    shared_stack.wait_until_served()
    yield shared_stack
    assert agent.is_running()


@pytest.fixture(autouse=True)
def without_faults(served: Stack) -> Iterator[None]:
    yield
    assert served.simulator
    served.simulator.command("clear")


def fault(stack: Stack, obj_id: object, what: str) -> None:
    assert stack.simulator
    assert stack.simulator.command(f"fault {obj_id} {what}") == "ok"


def printed_by_get(stack: Stack, oid: str) -> str:
    return observe(stack, lambda: stack.snmp.get(oid)).output


def printed_by_set(stack: Stack, oid: str, type: str, value: object) -> str:
    return observe(stack, lambda: stack.snmp.set(oid, type, value)).output


def printed_by_refused_set(stack: Stack, oid: str, type: str, value: object) -> str:
    return observe(stack, lambda: pytest.raises(SnmpError, stack.snmp.set, oid, type, value)).output


# Nothing


@pytest.mark.parametrize("oid", [
    NUMBER.oid, TEXT.oid, FIRST.oid, SECOND.oid, cell_oid(".3.1", 1, 1), NUMBER.name, cell_oid(".3.1", 2, 99)])
def test_a_good_get_prints_nothing(served: Stack, oid: str) -> None:
    assert printed_by_get(served, oid) == ""


def test_a_set_of_a_read_only_scalar_prints_nothing(served: Stack) -> None:
    assert printed_by_refused_set(served, f"{NUMBER.name}.1", "i", 1) == ""


@pytest.mark.parametrize("value", ["x" * 11, "x" * 65], ids=["the object", "the record"])
def test_a_set_of_a_text_longer_than(served: Stack, value: str) -> None:
    assert printed_by_refused_set(served, TEXT.oid, "s", value) == ""


# Reading


ANSWERS = {
    "an error": ("error", ERROR_ANSWER.format(0x13, 0x0A01)),
    "an error of another command": ("error 0xff", ERROR_ANSWER.format(0xFF, 0x0A01)),
    "a command below 16": ("error 2", ERROR_ANSWER.format(2, 0x0A01)),
    "an error for another object": ("raw 1303000001fe", ERROR_ANSWER.format(0x13, 0xFE01)),
    "an error cut off": ("raw 13", ERROR_ANSWER.format(0x13, 0)),
    "no bytes": ("truncate 0", ERROR_ANSWER.format(0, 0)),
    "a length that no number has": ("length 6", UNSUPPORTED),
    "the length of a block": ("length 23", UNSUPPORTED),
    "no value": ("length 3", UNSUPPORTED),
}


@pytest.mark.parametrize("what, printed", ANSWERS.values(), ids=ANSWERS.keys())
def test_a_scalar_answered_with(served: Stack, what: str, printed: str) -> None:
    fault(served, "0x0A01", what)
    assert printed_by_get(served, NUMBER.oid) == printed + READ_FAILED.format(0x0A01)


def test_a_scalar_that_the_device_does_not_know(served: Stack) -> None:
    assert printed_by_get(served, UNKNOWN.oid) == ERROR_ANSWER.format(0x13, 0xAB) + READ_FAILED.format(0xAB)


def test_a_scalar_of_an_unsupported_width(served: Stack) -> None:
    # For a kind other than a number, a wrong length does not affect the rest.
    assert printed_by_get(served, ODD_BLOCK.oid) == UNSUPPORTED


def test_a_value_cut_off(served: Stack) -> None:
    fault(served, "0x0A01", "truncate 7")
    assert printed_by_get(served, NUMBER.oid) == UNSUPPORTED


@pytest.mark.parametrize("length", [0, 1, 2])
def test_a_text_of_a_length_below_its_header(served: Stack, length: int) -> None:
    fault(served, "0xFE02", f"length {length}")
    assert printed_by_get(served, TEXT.oid) == UNSUPPORTED


def test_a_cell_answered_with_an_error_after_a_good_one(served: Stack) -> None:
    served.snmp.get(FIRST.oid)
    fault(served, "0x1001", "error")
    assert printed_by_get(served, FIRST.oid) == ERROR_ANSWER.format(0x13, 0x1001)


def test_a_cell_answered_with_a_length_that_no_number_has(served: Stack) -> None:
    fault(served, "0x1001", "length 6")
    assert printed_by_get(served, FIRST.oid) == UNSUPPORTED + CELL_FAILED


@pytest.mark.parametrize("node, row, key", [(".3.1", 2, ".3.10200000002"), (".3.2", 4, ".3.20400000004")])
def test_a_cell_that_the_mapping_lacks(served: Stack, node: str, row: int, key: str) -> None:
    # The space after the first line's end starts the second line.
    assert printed_by_get(served, cell_oid(node, row, row)) == NO_CELL.format(key)


def test_an_answer_too_long_for_the_link_fails_every_read_until_it_is_taken_away(served: Stack) -> None:
    fault(served, "0x0A01", "size 1025 times 1")
    try:
        for scalar in (NUMBER, TEXT):
            assert printed_by_get(served, scalar.oid) == TOO_LONG + NO_ANSWER + READ_FAILED.format(scalar.obj_id)
    finally:
        served.queue_tool("remove", "0x4009")
    assert printed_by_get(served, NUMBER.oid) == ""


def test_the_longest_answer_that_the_link_takes(served: Stack) -> None:
    fault(served, "0x0A01", "raw " + "12050000010a0500".ljust(2048, "0"))
    assert printed_by_get(served, NUMBER.oid) == ""


# Writing


def test_a_set_of_a_number(served: Stack) -> None:
    assert printed_by_set(served, NUMBER.oid, "i", 5) == NO_BUFFER + written(0x0A01, SIZE_OF_LONG)


def test_a_set_of_a_text(served: Stack) -> None:
    assert printed_by_set(served, TEXT.oid, "s", "hello") == WRONG_LENGTH + NO_BUFFER + written(0xFE02, 5)


def test_a_set_of_a_text_of_20_bytes(served: Stack) -> None:
    assert printed_by_set(served, TEXT_OF_20.oid, "s", "") == NO_BUFFER + written(5, 0)


def test_a_set_that_the_device_refuses_prints_the_same(served: Stack) -> None:
    fault(served, "0x0A01", "error 0x14 only writes")
    assert printed_by_set(served, NUMBER.oid, "i", 5) == NO_BUFFER + written(0x0A01, SIZE_OF_LONG)


def test_a_set_answered_with_more_than_the_write_had(served: Stack) -> None:
    fault(served, "0x0A01", "extra 50 only writes times 1")
    assert printed_by_set(served, NUMBER.oid, "i", 5) == TOO_LONG + written(0x0A01, SIZE_OF_LONG)
    # The leftover is discarded before the next exchange.
    assert printed_by_get(served, NUMBER.oid) == ""


def test_a_set_of_a_scalar_that_the_device_does_not_know(served: Stack) -> None:
    # Once for the lookup and once for length and access.
    assert printed_by_refused_set(served, UNKNOWN.oid, "i", 1) == (
        ERROR_ANSWER.format(0x13, 0xAB) + READ_FAILED.format(0xAB) + ERROR_ANSWER.format(0x13, 0xAB))


def test_a_set_of_a_cell(served: Stack) -> None:
    assert printed_by_set(served, FIRST.oid, "i", 6) == NO_BUFFER


def test_a_set_of_a_text_cell(served: Stack) -> None:
    assert printed_by_set(served, FIRST_TEXT.oid, "s", "x") == NO_BUFFER


def test_a_set_of_a_text_cell_that_is_not_as_long_as_a_number(served: Stack) -> None:
    assert printed_by_set(served, FIRST_LONG_TEXT.oid, "s", "x") == WRONG_LENGTH + NO_BUFFER


def test_a_set_of_a_read_only_cell_of_the_first_table(served: Stack) -> None:
    assert printed_by_refused_set(served, FIRST_FIXED.oid, "i", 1) == READ_ONLY_CELL.format("TableHandlerOne")


def test_a_set_of_a_read_only_cell_of_the_second_table(served: Stack) -> None:
    assert printed_by_refused_set(served, SECOND_FIXED.oid, "i", 1) == READ_ONLY_CELL.format("TableHandlerTwo")


def test_a_set_of_a_cell_with_a_value_that_does_not_fit(served: Stack) -> None:
    assert printed_by_refused_set(served, FIRST_TEXT.oid, "s", "hello") == BAD_VALUE


def test_a_set_of_an_unreadable_cell_is_told_in_every_phase(served: Stack) -> None:
    fault(served, "0x2001", "length 6")
    # All checks pass: nothing is written and nothing is rejected.
    assert printed_by_set(served, SECOND.oid, "i", 1) == (UNSUPPORTED + CELL_FAILED) * 4


def test_a_set_of_column_1(served: Stack) -> None:
    assert printed_by_set(served, cell_oid(".3.1", 1, 1), "i", 1) == ""

"""Tables: cells of every type, conversion and access; rows and columns that exist and that do not."""
from __future__ import annotations

from collections.abc import Iterator
from dataclasses import dataclass

import pytest

from support.device import BASE, DeviceObject, block, signed, start_up_objects, text, unsigned
from support.mapping import OCTET_STRING, READ_ONLY, Cell, Mapping, Scalar, cell_oid, column_of_cells
from support.observing import observe
from support.snmp import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, SnmpError, Varbind
from support.stack import Stack

pytestmark = pytest.mark.xdist_group("tables")

FIRST, SECOND = ".3.1", ".3.2"
ROWS = 4
COUNTER32, GAUGE32, COUNTER64 = 65, 66, 70


def integer(value: int) -> Varbind:
    return Varbind("INTEGER", str(value))


def string(value: str) -> Varbind:
    return Varbind("STRING", value)


def decimal(places: int) -> int:
    return places << 12 | 4


@dataclass(frozen=True)
class Column:
    """One column: the device object of each row, how it is served, and what a manager sees."""

    objects: list[DeviceObject]
    seen: list[Varbind]
    asn_type: int = 2
    conversion: int = 0
    access: int = 3


def same(device: DeviceObject, seen: Varbind, **fields: int) -> Column:
    """A column with the same value in all rows."""
    return Column([device] * ROWS, [seen] * ROWS, **fields)


# Columns 2, 3, ... of the first table, in this order; object ids are assigned below.
COLUMNS = {
    "signed byte": Column(
        [signed(0, -row, 1, True) for row in range(ROWS)], [integer(-row) for row in range(ROWS)]),
    "text": Column(
        [text(0, f"port {row}", 16, True) for row in range(ROWS)], [string(f"port {row}") for row in range(ROWS)],
        OCTET_STRING),
    "unsigned byte": same(unsigned(0, 255, 1), integer(255)),
    "unsigned word": same(unsigned(0, 65535, 2), integer(65535)),
    "unsigned long": same(unsigned(0, 4294967295), integer(-1)),
    "signed word": same(signed(0, -32768, 2), integer(-32768)),
    "signed long": same(signed(0, -2147483648), integer(-2147483648)),
    "empty text": same(text(0, "", 16), string(""), asn_type=OCTET_STRING),
    "text of 64 bytes": same(text(0, "y" * 64), string("y" * 64), asn_type=OCTET_STRING),
    "text of 100 bytes": same(text(0, "z" * 100), string("z" * 64), asn_type=OCTET_STRING),
    "IPv4 address": Column(
        [block(0, f"0a0000{row:02x}") for row in range(ROWS)], [string(f"10.0.0.{row}") for row in range(ROWS)],
        OCTET_STRING, 1),
    "decimal": same(unsigned(0, 1234, 2, True), string("123.40"), asn_type=OCTET_STRING, conversion=decimal(1)),
    "negative decimal": same(signed(0, -5), string("-0.05"), asn_type=OCTET_STRING, conversion=decimal(2)),
    "16 bits": same(unsigned(0, 0x12345678), integer(0x5678), conversion=11),
    "text as INTEGER": same(text(0, "ABCD"), integer(0x44434241)),
    "number as text": same(unsigned(0, 0x4241, 2), string("AB"), asn_type=OCTET_STRING),
    "Counter32": same(text(0, "ab"), Varbind("Counter32", str(0x6261)), asn_type=COUNTER32),
    "Gauge32 of 64 bytes": same(text(0, "x" * 64), Varbind("Gauge32", "0"), asn_type=GAUGE32),
    "Counter64 of 64 bytes": same(text(0, "x" * 64), Varbind("Counter64", "0"), asn_type=COUNTER64),
    "IpAddress": same(text(0, "abcd"), Varbind("IpAddress", "97.98.99.100"), asn_type=0x40),
    "Opaque": same(text(0, "abc"), Varbind("OPAQUE", "61 62 63"), asn_type=0x44),
    "read-only": same(unsigned(0, 9, writable=True), integer(9), access=READ_ONLY),
    "read-only on the device": same(unsigned(0, 9), integer(9)),
    "with the write bit alone": same(unsigned(0, 9, writable=True), integer(9), access=2),
    "with every bit": same(unsigned(0, 9, writable=True), integer(9), access=7),
}
COLUMN_NUMBER = {name: place + 2 for place, name in enumerate(COLUMNS)}
LAST_COLUMN = len(COLUMNS) + 1

#: Where each table's object ids begin; a column has 16 of them.
FIRST_ID = 0x1000
SECOND_LEVELS = column_of_cells(SECOND, 2, 0x5000, rows=ROWS)
SECOND_NAMES = column_of_cells(SECOND, 3, 0x5010, rows=ROWS, asn_type=OCTET_STRING, access=READ_ONLY)
SCALAR = Scalar(0x0101, (1, 1, 0))


def cell(name: str, row: int) -> str:
    """The OID of a cell of the first table."""
    return cell_oid(FIRST, COLUMN_NUMBER[name], row)


def object_of(name: str, row: int) -> int:
    return FIRST_ID + 16 * COLUMN_NUMBER[name] + row


FIRST_CELLS = [
    Cell(object_of(name, row), FIRST, COLUMN_NUMBER[name], row, column.asn_type, column.access, column.conversion)
    for name, column in COLUMNS.items() for row in range(1, ROWS + 1)
]
FIRST_OBJECTS = [
    DeviceObject(object_of(name, row + 1), each.kind, each.value, each.width, each.writable)
    for name, column in COLUMNS.items() for row, each in enumerate(column.objects)
]


@pytest.fixture(scope="module")
def served(shared_stack: Stack) -> Iterator[Stack]:
    """Two tables of four rows and a scalar. Tests restore what they write and others read."""
    shared_stack.start_simulator([
        *start_up_objects(rows=0), *FIRST_OBJECTS, unsigned(0x0101, 7, writable=True),
        *(unsigned(0x5000 + row, 200 + row, 2, True) for row in range(ROWS)),
        *(text(0x5010 + row, f"fan {row}", 16, True) for row in range(ROWS)),
    ])
    shared_stack.start_master()
    agent = shared_stack.start_agent(mapping=Mapping([SCALAR], [*FIRST_CELLS, *SECOND_LEVELS, *SECOND_NAMES]))
    shared_stack.wait_until_served()
    yield shared_stack
    assert agent.is_running()


def on_device(stack: Stack, obj_id: int) -> str:
    assert stack.simulator
    return stack.simulator.command(f"get {obj_id:#x}").removeprefix("value ")


def set_on_device(stack: Stack, obj_id: int, value: str) -> None:
    assert stack.simulator
    assert stack.simulator.command(f"set {obj_id:#x} {value}") == "ok"


# Reading


@pytest.mark.parametrize("name", COLUMNS)
def test_get_shows_a_column_of(served: Stack, name: str) -> None:
    column = [served.snmp.get(cell(name, row)) for row in range(1, ROWS + 1)]
    assert column == COLUMNS[name].seen


def first_table() -> list[tuple[str, Varbind]]:
    """The first table in walk order: column by column, each row by row."""
    shown = [(cell_oid(FIRST, 1, row), integer(row)) for row in range(1, ROWS + 1)]
    for name, column in COLUMNS.items():
        shown += [(cell(name, row + 1), seen) for row, seen in enumerate(column.seen)]
    return shown


def second_table() -> list[tuple[str, Varbind]]:
    return [
        *((cell_oid(SECOND, 1, row), integer(row)) for row in range(1, ROWS + 1)),
        *((cell_oid(SECOND, 2, row), integer(199 + row)) for row in range(1, ROWS + 1)),
        *((cell_oid(SECOND, 3, row), string(f"fan {row - 1}")) for row in range(1, ROWS + 1)),
    ]


def test_a_walk_shows_both_tables_in_order(served: Stack) -> None:
    assert [(each.oid, each) for each in served.snmp.walk(f"{BASE}.3")] == first_table() + second_table()


@pytest.mark.parametrize("repetitions", [1, 10, 60])
def test_a_walk_in_bulk_shows_both_tables_in_order(served: Stack, repetitions: int) -> None:
    walked = served.snmp.bulkwalk(f"{BASE}.3", max_repetitions=repetitions)
    assert [(each.oid, each) for each in walked] == first_table() + second_table()


NEXT = {
    "the table": (f"{BASE}{FIRST}", (FIRST, 1, 1)),
    "the entry": (f"{BASE}{FIRST}.1", (FIRST, 1, 1)),
    "column 0": (f"{BASE}{FIRST}.1.0", (FIRST, 1, 1)),
    "a column": (f"{BASE}{FIRST}.1.2", (FIRST, 2, 1)),
    "a row without the second index": (f"{BASE}{FIRST}.1.2.1", (FIRST, 2, 1)),
    "row 0": (cell_oid(FIRST, 2, 0), (FIRST, 2, 1)),
    "a cell": (cell_oid(FIRST, 2, 1), (FIRST, 2, 2)),
    "the last cell of a column": (cell_oid(FIRST, 2, ROWS), (FIRST, 3, 1)),
    "a row behind the last": (cell_oid(FIRST, 2, 77), (FIRST, 3, 1)),
    "the last cell": (cell_oid(FIRST, LAST_COLUMN, ROWS), (SECOND, 1, 1)),
    "a column behind the last": (cell_oid(FIRST, LAST_COLUMN + 1, 1), (SECOND, 1, 1)),
}


@pytest.mark.parametrize("oid, following", NEXT.values(), ids=NEXT.keys())
def test_the_next_cell_behind(served: Stack, oid: str, following: tuple[str, int, int]) -> None:
    assert served.snmp.getnext(oid).oid == cell_oid(*following)


def test_nothing_follows_the_last_table(served: Stack) -> None:
    assert not served.snmp.getnext(cell_oid(SECOND, 3, ROWS)).oid.startswith(BASE)


ABSENT = {
    "row 0": (cell_oid(FIRST, 2, 0), NO_SUCH_INSTANCE),
    "a row behind the last": (cell_oid(FIRST, 2, ROWS + 1), NO_SUCH_INSTANCE),
    "row 257": (cell_oid(FIRST, 2, 257), NO_SUCH_INSTANCE),
    "a row of column 1": (cell_oid(FIRST, 1, ROWS + 1), NO_SUCH_INSTANCE),
    "a row without the second index": (f"{BASE}{FIRST}.1.2.1", NO_SUCH_INSTANCE),
    "a third index": (f"{BASE}{FIRST}.1.2.1.0.0", NO_SUCH_INSTANCE),
    "a column without rows": (f"{BASE}{FIRST}.1.2", NO_SUCH_INSTANCE),
    "column 0": (cell_oid(FIRST, 0, 1), NO_SUCH_OBJECT),
    "a column behind the last": (cell_oid(FIRST, LAST_COLUMN + 1, 1), NO_SUCH_OBJECT),
    "another entry": (f"{BASE}{FIRST}.2.2.1.0", NO_SUCH_OBJECT),
    "another table": (cell_oid(".3.3", 2, 1), NO_SUCH_OBJECT),
}


@pytest.mark.parametrize("oid, answer", ABSENT.values(), ids=ABSENT.keys())
def test_there_is_no(served: Stack, oid: str, answer: Varbind) -> None:
    observed = observe(served, lambda: served.snmp.get(oid))
    assert (observed.result, observed.output, observed.frames) == (answer, "", [])


def test_column_1_is_the_row_and_asks_nobody(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.get_all(*(cell_oid(FIRST, 1, row) for row in range(1, ROWS + 1))))
    assert observed.result == [integer(row) for row in range(1, ROWS + 1)]
    assert observed.frames == []


@pytest.mark.parametrize("index", [1, 7, 4294967295])
def test_any_second_index_may_be_asked_for(served: Stack, index: int) -> None:
    answer = served.snmp.get(f"{BASE}{FIRST}.1.3.2.{index}")
    assert (answer.oid, answer) == (f"{BASE}{FIRST}.1.3.2.{index}", string("port 1"))


def test_getnext_keeps_the_second_index_that_it_is_given(served: Stack) -> None:
    assert served.snmp.getnext(f"{BASE}{FIRST}.1.3.2.9").oid == f"{BASE}{FIRST}.1.3.3.9"


# Several varbinds of one table in one request


def test_one_get_of_several_cells(served: Stack) -> None:
    assert served.snmp.get_all(cell("text", 1), cell("text", 4), cell("signed byte", 2)) == [
        string("port 0"), string("port 3"), integer(-1)]


def test_one_get_of_the_same_cell_twice(served: Stack) -> None:
    assert served.snmp.get_all(cell("text", 2), cell("text", 2)) == [string("port 1")] * 2


def test_one_get_of_cells_that_are_there_and_that_are_not(served: Stack) -> None:
    answers = served.snmp.get_all(
        cell("text", 9), cell("text", 2), cell_oid(FIRST, 99, 1), cell_oid(SECOND, 2, 1), SCALAR.oid)
    assert answers == [NO_SUCH_INSTANCE, string("port 1"), NO_SUCH_OBJECT, integer(200), integer(7)]


def test_one_get_of_all_cells(served: Stack) -> None:
    table = first_table()
    assert served.snmp.get_all(*(oid for oid, _ in table)) == [seen for _, seen in table]


def test_one_getnext_of_several_cells(served: Stack) -> None:
    answers = served.snmp.getnext_all(cell("signed byte", 1), cell("text", 3), cell_oid(SECOND, 2, 2))
    assert [(each.oid, each) for each in answers] == [
        (cell("signed byte", 2), integer(-1)), (cell("text", 4), string("port 3")),
        (cell_oid(SECOND, 2, 3), integer(202))]


def test_one_getbulk_of_several_columns(served: Stack) -> None:
    answers = served.snmp.getbulk(
        f"{BASE}{FIRST}.1.2", f"{BASE}{FIRST}.1.3", f"{BASE}{SECOND}.1.2", max_repetitions=ROWS)
    expected = []
    for row in range(1, ROWS + 1):
        expected += [
            (cell("signed byte", row), integer(1 - row)), (cell("text", row), string(f"port {row - 1}")),
            (cell_oid(SECOND, 2, row), integer(199 + row))]
    assert [(each.oid, each) for each in answers] == expected


def test_one_getbulk_runs_from_one_table_into_the_next(served: Stack) -> None:
    start = cell("with every bit", ROWS - 1)
    answers = served.snmp.getbulk(start, max_repetitions=3)
    assert [each.oid for each in answers] == [
        cell("with every bit", ROWS), cell_oid(SECOND, 1, 1), cell_oid(SECOND, 1, 2)]


def test_one_set_of_several_cells_writes_the_first_value_into_all(served: Stack) -> None:
    served.snmp.set_all((cell("signed byte", 1), "i", 11), (cell("signed byte", 3), "i", 33))
    written = [on_device(served, object_of("signed byte", row)) for row in range(1, ROWS + 1)]
    for row in (1, 3):
        set_on_device(served, object_of("signed byte", row), str(1 - row))
    assert written == ["11", "-1", "11", "-3"]


def test_one_set_of_cells_of_two_columns_writes_the_first_value_into_both(served: Stack) -> None:
    served.snmp.set_all((cell("text", 1), "s", "12"), (cell("decimal", 1), "s", "34"))
    written = [on_device(served, object_of(name, 1)) for name in ("text", "decimal")]
    set_on_device(served, object_of("text", 1), "port 0")
    set_on_device(served, object_of("decimal", 1), "1234")
    assert written == ["12", "120"]


def test_one_set_of_cells_of_two_tables_writes_each_value(served: Stack) -> None:
    served.snmp.set_all((cell("signed byte", 2), "i", 22), (cell_oid(SECOND, 2, 2), "i", 44), (SCALAR.oid, "i", 66))
    written = [on_device(served, obj_id) for obj_id in (object_of("signed byte", 2), 0x5001, 0x0101)]
    set_on_device(served, object_of("signed byte", 2), "-1")
    set_on_device(served, 0x5001, "201")
    set_on_device(served, 0x0101, "7")
    assert written == ["22", "44", "66"]


# Writing


@dataclass(frozen=True)
class Written:
    column: str
    type: str
    sent: object
    arrived: str
    seen: Varbind


WRITTEN = {
    "a number": Written("signed byte", "i", 5, "5", integer(5)),
    # The work record carries the device's value kind: a signed number is scaled as signed, and saturates.
    "a negative number": Written("signed byte", "i", -5, "0", integer(0)),
    "a number cut to its width": Written("signed byte", "i", 300, "44", integer(44)),
    "a text": Written("text", "s", "uplink", "uplink", string("uplink")),
    "a text that fills its room": Written("text", "s", "x" * 16, "x" * 16, string("x" * 16)),
    "an empty text": Written("text", "s", "", "", string("")),
    "a text up to a NUL": Written("text", "x", "610062", "a", string("a")),
    "a decimal": Written("decimal", "s", "7.5", "75", string("7.50")),
    "a decimal cut to its width": Written("decimal", "s", "6553.7", "1", string("0.10")),
}


@pytest.mark.parametrize("each", WRITTEN.values(), ids=WRITTEN.keys())
def test_set_writes(served: Stack, each: Written) -> None:
    oid, obj_id = cell(each.column, 4), object_of(each.column, 4)
    before = on_device(served, obj_id)
    answer = served.snmp.set(oid, each.type, each.sent)
    arrived, seen = on_device(served, obj_id), served.snmp.get(oid)
    set_on_device(served, obj_id, before)
    assert (arrived, seen) == (each.arrived, each.seen)
    assert answer.oid == oid


READONLY_LINE = " ../src/TableHandlerOne.cpp SNMP_ERR_READONLY\n"
BAD_VALUE_LINE = "SNMP_ERR_BADVALUE\n"
REFUSED = {
    "of a read-only column": (cell("read-only", 1), "i", 5, "genError", READONLY_LINE),
    "of a column with the write bit alone": (
        cell("with the write bit alone", 1), "i", 5, "genError", READONLY_LINE),
    "of a column with more than read and write": (
        cell("with every bit", 1), "i", 5, "genError", READONLY_LINE),
    "of a read-only column of the second table": (
        cell_oid(SECOND, 3, 1), "s", "x", "genError", " ../src/TableHandlerTwo.cpp SNMP_ERR_READONLY\n"),
    "that the device has as read-only": (
        cell("read-only on the device", 1), "i", 5, "genError", BAD_VALUE_LINE),
    "of a text longer than the object": (cell("text", 1), "s", "x" * 17, "genError", BAD_VALUE_LINE),
    "of a text of 100 bytes": (cell("text", 1), "s", "x" * 100, "genError", BAD_VALUE_LINE),
    "of a negative decimal": (cell("decimal", 1), "s", "-3", "genError", BAD_VALUE_LINE),
    "of an empty decimal": (cell("decimal", 1), "s", "", "genError", BAD_VALUE_LINE),
    "of a column behind the last": (cell_oid(FIRST, LAST_COLUMN + 1, 1), "i", 5, "notWritable", ""),
    "of column 0": (cell_oid(FIRST, 0, 1), "i", 5, "notWritable", ""),
    "of a row without the second index": (f"{BASE}{FIRST}.1.2.1", "i", 5, "noCreation", ""),
    "of a third table": (cell_oid(".3.3", 2, 1), "i", 5, "notWritable", ""),
}


@pytest.mark.parametrize("oid, type, value, status, output", REFUSED.values(), ids=REFUSED.keys())
def test_a_set_is_refused(
    served: Stack, oid: str, type: str, value: object, status: str, output: str,
) -> None:
    def refused() -> SnmpError:
        with pytest.raises(SnmpError) as refusal:
            served.snmp.set(oid, type, value)
        return refusal.value

    observed = observe(served, refused)
    assert isinstance(observed.result, SnmpError)
    assert (observed.result.status, observed.result.failed_oid) == (status, oid)
    assert observed.output == output
    assert not [request for request in observed.requests if request.startswith("01")]


WITHOUT_EFFECT = {
    "column 1": cell_oid(FIRST, 1, 2),
    "a row behind the last": cell_oid(FIRST, 2, ROWS + 1),
    "row 0": cell_oid(FIRST, 2, 0),
}


@pytest.mark.parametrize("oid", WITHOUT_EFFECT.values(), ids=WITHOUT_EFFECT.keys())
def test_a_set_succeeds_without_reaching_the_device_in(served: Stack, oid: str) -> None:
    observed = observe(served, lambda: served.snmp.set(oid, "i", 5))
    assert (observed.result, observed.output, observed.frames) == (integer(5), "", [])


def test_a_set_with_a_refused_cell_writes_nothing(served: Stack) -> None:
    with pytest.raises(SnmpError) as refusal:
        served.snmp.set_all((cell("signed byte", 1), "i", 5), (cell("read-only", 1), "i", 6))
    # One status applies to all cells of a table in a request: the first is named.
    assert (refusal.value.status, refusal.value.failed_oid) == ("genError", cell("signed byte", 1))
    assert on_device(served, object_of("signed byte", 1)) == "0"


def test_a_set_that_fails_late_leaves_written_what_was_written(served: Stack) -> None:
    with pytest.raises(SnmpError):
        served.snmp.set_all((cell("signed byte", 1), "i", 5), (cell("read-only on the device", 1), "i", 6))
    written = on_device(served, object_of("signed byte", 1))
    set_on_device(served, object_of("signed byte", 1), "0")
    assert written == "5"


def test_a_set_that_the_device_refuses_counts_as_done(served: Stack) -> None:
    assert served.simulator
    obj_id = object_of("signed byte", 1)
    served.simulator.command(f"fault {obj_id:#x} error 0x14 only writes times 1")
    assert served.snmp.set(cell("signed byte", 1), "i", 5) == integer(5)
    assert on_device(served, obj_id) == "0"


# Other shapes of tables


def serve(stack: Stack, cells: list[Cell], *objects: DeviceObject, rows: int = 0) -> None:
    stack.start_simulator([*start_up_objects(rows=rows), unsigned(0x0101, 7), *objects])
    stack.start_master()
    stack.start_agent(mapping=Mapping([SCALAR], cells))
    stack.wait_until_served(SCALAR.oid)


def test_a_table_without_rows_is_empty(stack: Stack) -> None:
    serve(stack, [Cell(0x1000, FIRST, 2)], unsigned(0x1000, 5), rows=2)
    assert stack.snmp.walk(f"{BASE}{FIRST}") == []
    assert stack.snmp.get(cell_oid(FIRST, 2, 1)) == NO_SUCH_INSTANCE
    assert stack.snmp.get(cell_oid(FIRST, 1, 1)) == NO_SUCH_INSTANCE


def test_a_table_whose_columns_are_not_of_row_1_has_only_column_1(stack: Stack) -> None:
    serve(stack, [Cell(0x1000, FIRST, 2, row=2)], unsigned(0x1000, 5))
    assert [each.oid for each in stack.snmp.walk(f"{BASE}{FIRST}")] == [
        cell_oid(FIRST, 1, row) for row in range(1, ROWS + 1)]
    assert stack.snmp.get(cell_oid(FIRST, 2, 2)) == NO_SUCH_OBJECT


def test_a_cell_that_the_mapping_lacks_is_told_and_ends_a_walk(stack: Stack) -> None:
    cells = [Cell(0x1000, FIRST, 2, 1), Cell(0x1001, FIRST, 2, 3), Cell(0x1002, FIRST, 3, 1)]
    serve(stack, cells, unsigned(0x1000, 5), unsigned(0x1001, 6), unsigned(0x1002, 7))
    missed = observe(stack, lambda: stack.snmp.get(cell_oid(FIRST, 2, 2)))
    assert missed.result == NO_SUCH_INSTANCE
    assert missed.frames == []
    # The space after the line end starts the next line.
    assert missed.output == (
        " getSnmpTableOid .3.10200000002\n get_Column_Def(column,colunmInfo) is ERROR !!!!!!!!!!!!!!!!!!!\n")
    assert stack.snmp.get(cell_oid(FIRST, 2, 3)) == integer(6)
    assert stack.snmp.get(cell_oid(FIRST, 3, 1)) == integer(7)
    assert [each.oid for each in stack.snmp.walk(f"{BASE}{FIRST}.1.2")] == [cell_oid(FIRST, 2, 1)]


def test_a_set_of_a_cell_that_the_mapping_lacks_succeeds_without_effect(stack: Stack) -> None:
    serve(stack, [Cell(0x1000, FIRST, 2)], unsigned(0x1000, 5, writable=True))
    observed = observe(stack, lambda: stack.snmp.set(cell_oid(FIRST, 2, 2), "i", 9))
    assert observed.result == integer(9)
    assert observed.frames == []
    told = " getSnmpTableOid .3.10200000002\n get_Column_Def(column,colunmInfo) is ERROR !!!!!!!!!!!!!!!!!!!\n"
    # Once for each phase of a set.
    assert observed.output == told * 4


def test_columns_are_counted_not_numbered(stack: Stack) -> None:
    # Two columns make 3 the highest number, whatever they are called.
    cells = [Cell(0x1000, FIRST, 3), Cell(0x1001, FIRST, 9)]
    serve(stack, cells, unsigned(0x1000, 5), unsigned(0x1001, 6))
    assert stack.snmp.get(cell_oid(FIRST, 3, 1)) == integer(5)
    assert stack.snmp.get(cell_oid(FIRST, 9, 1)) == NO_SUCH_OBJECT


def test_a_cell_shows_the_value_read_last_when_the_device_refuses_it(stack: Stack) -> None:
    cells = column_of_cells(FIRST, 2, 0x1000, rows=2)
    serve(stack, cells, unsigned(0x1000, 5))
    assert stack.snmp.get(cells[0].oid) == integer(5)
    observed = observe(stack, lambda: stack.snmp.get(cells[1].oid))
    assert observed.result == integer(5)
    assert observed.output == "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x1001\n"


def test_a_refused_cell_has_no_value_before_any_was_read(stack: Stack) -> None:
    cells = column_of_cells(FIRST, 2, 0x1000, rows=2)
    serve(stack, cells, unsigned(0x1000, 5))
    observed = observe(stack, lambda: stack.snmp.get(cells[1].oid))
    assert observed.result == NO_SUCH_INSTANCE
    assert observed.output == (
        "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x1001\n get_ data is ERROR !!!!!!!!!!!!!!!!!!!\n")


def test_the_two_tables_keep_their_values_apart(stack: Stack) -> None:
    # Each handler keeps what it read last; one table's value never shows in the other.
    cells = [Cell(0x1000, FIRST, 2), Cell(0x1001, SECOND, 2)]
    serve(stack, cells, unsigned(0x1000, 5))
    assert stack.snmp.get(cells[0].oid) == integer(5)
    assert stack.snmp.get(cells[1].oid) == NO_SUCH_INSTANCE


def test_one_object_may_stand_in_two_cells(stack: Stack) -> None:
    cells = [Cell(0x1000, FIRST, 2, 1), Cell(0x1000, FIRST, 2, 2), Cell(0x1000, SECOND, 2, 1)]
    serve(stack, cells, unsigned(0x1000, 5))
    assert stack.snmp.get_all(*(each.oid for each in cells)) == [integer(5)] * 3


def test_an_object_that_is_also_a_scalar_is_converted_as_the_scalar(stack: Stack) -> None:
    both = Scalar(0x1000, (2, 1, 0), asn_type=OCTET_STRING, value_type=decimal(1))
    stack.start_simulator([*start_up_objects(), unsigned(0x1000, 1234)])
    stack.start_master()
    as_cell = Cell(0x1000, FIRST, 2, asn_type=OCTET_STRING, value_type=decimal(2))
    stack.start_agent(mapping=Mapping([both], [as_cell]))
    stack.wait_until_served()
    assert stack.snmp.get_all(both.oid, as_cell.oid) == [string("123.40")] * 2


def test_two_tables_with_the_digits_of_a_row_between_them_are_told_apart(stack: Stack) -> None:
    cells = [Cell(0x1000, ".3.1", 2), Cell(0x1001, ".3.10", 2)]
    serve(stack, cells, unsigned(0x1000, 5), unsigned(0x1001, 6))
    assert stack.snmp.get_all(*(each.oid for each in cells)) == [integer(5), integer(6)]

"""What a check predicts for a faulty database happens when the agent serves it: one fault in a sound mapping each."""
from __future__ import annotations

import json
from dataclasses import dataclass, field
from pathlib import Path

import pytest

from support.device import BASE, start_up_objects, text, unsigned
from support.mapping import (
    CELL_COLUMNS, CELLS, OCTET_STRING, READ_ONLY, SCALAR_COLUMNS, SCALARS, Cell, Mapping, Scalar, column_of_cells,
    run_sql,
)
from support.mapping_tool import MappingTool
from support.snmp import SnmpError, SnmpTimeout
from support.stack import Build, Stack
from support.waiting import wait_until

# The device's numbers hold their own ids.
STATE = Scalar(0x0110, (1, 1, 1), access=READ_ONLY)
SERIAL = Scalar(0x0111, (1, 1, 2), asn_type=OCTET_STRING, access=READ_ONLY)
LIMIT = Scalar(0x0112, (1, 1, 3))
NODE = ".2.1"
LEVELS = column_of_cells(NODE, 2, 0x2100)
STATES = column_of_cells(NODE, 3, 0x2110, access=READ_ONLY)
SOUND = Mapping([STATE, SERIAL, LIMIT], [*LEVELS, *STATES])
OTHERS = (0x2150, *range(0x3000, 0x3100), *range(0x2200, 0x2208))
SERIAL_TEXT = "SN-0001"


@dataclass(frozen=True)
class Fault:
    """Statements that spoil the sound mapping, the findings, and what a manager then gets below the base: a value, or
    nothing."""

    name: str
    codes: set[str]
    sql: str
    seen: dict[str, str | None] = field(default_factory=dict)


class Device:
    """The device and a master; serves databases."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self.stack = stack
        self._tool = tool

    def serves(self, sql: str) -> set[str]:
        """Serves the spoilt mapping; returns the codes of the check's findings."""
        database = run_sql(SOUND.write(self.stack.directory / "checked.db"), sql)
        numbers = [STATE.obj_id, LIMIT.obj_id, *(cell.obj_id for cell in (*LEVELS, *STATES)), *OTHERS]
        self.stack.start_simulator([
            *start_up_objects(), text(0x0111, SERIAL_TEXT),
            *(unsigned(number, number, writable=True) for number in numbers)])  # type: ignore[arg-type]
        self.stack.start_master()
        agent = self.stack.start_agent(mapping=database)
        agent.wait_for_output("init_snmp end....\n")
        wait_until(lambda: "AgentX subagent connected" in agent.errors(), "the agent is connected")
        return self._codes(database)

    def value(self, suffix: str) -> str | None:
        """The value below the base; None for noSuchObject, noSuchInstance or no answer."""
        try:
            varbind = self.stack.snmp.using(timeout=4).get(BASE + suffix)
        except SnmpTimeout:
            return None
        return None if varbind.type.startswith("noSuch") else varbind.value

    def walk(self) -> list[str]:
        return [each.oid.removeprefix(BASE) for each in self.stack.snmp.walk(BASE)]

    def _codes(self, database: Path) -> set[str]:
        findings = json.loads(self._tool.run("check", database, "--json").stdout)["findings"]
        return {finding["code"] for finding in findings}


@pytest.fixture
def device(stack: Stack, build: Build) -> Device:
    return Device(stack, MappingTool(build))


def scalar(assignment: str, row: int = 1) -> str:
    return f"UPDATE {SCALARS} SET {assignment} WHERE rowid = {row}"


def add_cell(column: int, row: int | str, node: str | None = NODE) -> str:
    cell = Cell(0x2150, node, column, row)
    marks = ", ".join("NULL" if each is None else f"'{each}'" for each in cell.table_row())
    return f"INSERT INTO {CELLS} VALUES ({marks})"


def add_scalar(obj_id: str, last_arc: int) -> str:
    return f"INSERT INTO {SCALARS} VALUES ('{obj_id}','0','0','2','1','1','1','{last_arc}','0','0','0','','0')"


def kept_columns(table: str, columns: str) -> str:
    return f"CREATE TABLE kept AS SELECT {columns} FROM {table}; DROP TABLE {table};" \
           f"ALTER TABLE kept RENAME TO {table}"


def second_table(node: str) -> str:
    """A table of one column at a node."""
    return "".join(f"INSERT INTO {CELLS} VALUES ('{0x2200 + row - 1:04X}','0','2','2','1','{node}','0','0','','{row}',"
                   "'0','0','0');" for row in range(1, 9))


FIRST_CELL, SECOND_CELL = f"{NODE}.1.2.1.0", f"{NODE}.1.2.2.0"
FAULTS = [
    Fault("no scalar table", {"TM101"}, f"DROP TABLE {SCALARS}", {".1.1.1.0": None, FIRST_CELL: "8448"}),
    Fault("no cell table", {"TM102"}, f"DROP TABLE {CELLS}", {".1.1.1.0": "272", FIRST_CELL: None}),
    Fault("narrow scalar table", {"TM103"}, kept_columns(SCALARS, ", ".join(SCALAR_COLUMNS[:12])),
          {".1.1.1.0": None, FIRST_CELL: "8448"}),
    Fault("narrow cell table", {"TM104"}, kept_columns(CELLS, ", ".join(CELL_COLUMNS[:12])),
          {".1.1.1.0": "272", FIRST_CELL: None}),
    Fault("nothing", {"TM105"}, f"DELETE FROM {SCALARS}; DELETE FROM {CELLS}", {".1.1.1.0": None, FIRST_CELL: None}),
    Fault("shifted columns", {"TM108"}, kept_columns(SCALARS, "'0110' AS id, *"), {".1.1.1.0": None}),

    Fault("NULL", {"TM201"}, scalar("oidArc1 = NULL"), {".1.1.1.0": None, ".0.1.1.0": "272"}),
    Fault("no number", {"TM202"}, scalar("oidArc1 = 'x'"), {".1.1.1.0": None, ".0.1.1.0": "272"}),
    Fault("trailing characters", {"TM203"}, scalar("oidArc1 = '7 x'"), {".1.1.1.0": None, ".7.1.1.0": "272"}),
    Fault("too large for its field", {"TM204"}, scalar("objId = '10110'"), {".1.1.1.0": "272"}),
    Fault("negative", {"TM205"}, scalar("objId = '-FEF0'"), {".1.1.1.0": "272"}),
    Fault("stored text is NULL", {"TM209"}, scalar("text = NULL", row=2), {".1.1.2.0": SERIAL_TEXT}),
    Fault("stored text is not UTF-8", {"TM210"}, scalar("text = CAST(X'C328' AS TEXT)"), {".1.1.1.0": "272"}),
    Fault("description is not UTF-8", {"TM211"},
          f"ALTER TABLE {SCALARS} ADD COLUMN description TEXT;" + scalar("description = CAST(X'C328' AS TEXT)"),
          {".1.1.1.0": "272"}),

    Fault("two scalars of an object", {"TM301"}, add_scalar("0110", 9), {".1.1.1.0": "272", ".1.1.9.0": None}),
    Fault("two rows of a cell", {"TM303"}, add_cell(2, 1), {FIRST_CELL: "8448"}),
    Fault("cell and scalar convert an object differently", {"TM305", "TM808"},
          f"UPDATE {CELLS} SET objId = '0110', valueType = '000B' WHERE rowid = 1", {FIRST_CELL: "272"}),

    Fault("scale without a use", {"TM503"}, scalar("asnType = '4', valueType = '1001'"), {".1.1.1.0": "16.1.0.0"}),
    Fault("scale of a read-only number", {"TM504"}, scalar("valueType = '2000'"), {".1.1.1.0": "272"}),
    Fault("three decimal places", {"TM505"}, scalar("asnType = '4', valueType = '3004'"), {".1.1.1.0": "0.27"}),
    Fault("unknown conversion", {"TM507"}, scalar("valueType = '0007'"), {".1.1.1.0": "272"}),

    Fault("row without a node", {"TM703"}, add_cell(4, 1, None), {FIRST_CELL: "8448", ".1.4.1.0": None}),
    Fault("two tables overlap", {"TM706"}, second_table(".2.1.1"), {".2.1.1.1.2.1.0": "8704", FIRST_CELL: None}),
    Fault("fourth number", {"TM711"}, scalar("oidArc4 = '4'"), {".1.1.1.0": "272"}),
    Fault("more than 255 scalars", {"TM712"}, "".join(f"{add_scalar(f'{0x3000 + number:04X}', 100 + number)};"
                                                      for number in range(254)),
          {".1.1.1.0": "272", ".1.1.100.0": "12288", ".1.1.353.0": "12541"}),

    Fault("column 0", {"TM801"}, add_cell(0, 1), {f"{NODE}.1.0.1.0": None, FIRST_CELL: "8448"}),
    Fault("column 1", {"TM802"}, add_cell(1, 1), {f"{NODE}.1.1.1.0": "1", FIRST_CELL: "8448"}),
    Fault("row 9", {"TM805"}, add_cell(2, 9), {f"{NODE}.1.2.9.0": None, FIRST_CELL: "8448"}),
    Fault("row 0", {"TM806"}, add_cell(2, 0), {f"{NODE}.1.2.0.0": None, FIRST_CELL: "8448"}),
    Fault("row 258", {"TM807"}, f"UPDATE {CELLS} SET instance = '258' WHERE objId = '2101'",
          {SECOND_CELL: "8449", f"{NODE}.1.2.258.0": None}),
    Fault("several kinds of a table", {"TM809"}, f"UPDATE {CELLS} SET tableKind = '4' WHERE objId = '2117'",
          {f"{NODE}.1.3.8.0": "8471"}),
    Fault("a column without its first row", {"TM811"}, f"DELETE FROM {CELLS} WHERE objId = '2110'",
          {FIRST_CELL: "8448", f"{NODE}.1.3.2.0": None}),
]


@pytest.mark.parametrize("fault", FAULTS, ids=lambda fault: fault.name)
def test_a_manager_sees_what_the_check_predicts(device: Device, fault: Fault) -> None:
    assert device.serves(fault.sql) == fault.codes
    assert {suffix: device.value(suffix) for suffix in fault.seen} == fault.seen


@pytest.mark.parametrize("asn_type", ["66", "64"])
def test_a_decimal_type_of_a_scalar_is_another_type(device: Device, asn_type: str) -> None:
    assert "TM206" in device.serves(scalar(f"asnType = '{asn_type}'"))
    with pytest.raises((SnmpError, SnmpTimeout)):
        device.stack.snmp.using(timeout=4).get(STATE.oid)


def test_a_hexadecimal_type_of_a_cell_is_another_type(device: Device) -> None:
    assert "TM207" in device.serves(f"UPDATE {CELLS} SET asnType = '42' WHERE columnId = 3")
    with pytest.raises((SnmpError, SnmpTimeout)):
        device.stack.snmp.using(timeout=4).get(STATES[0].oid)


@pytest.mark.parametrize(("change", "code"), [
    ("asnType = '40'", "TM403"), ("asnType = '40', valueType = '1'", "TM509"),
])
def test_a_malformed_address_is_dropped_by_managers(device: Device, change: str, code: str) -> None:
    assert device.serves(scalar(change, row=2)) == {code}
    with pytest.raises(SnmpTimeout):
        device.stack.snmp.using(timeout=4).get(SERIAL.oid)
    assert device.value(".1.1.1.0") == "272"


def test_text_as_opaque_arrives_as_opaque_bytes(device: Device) -> None:
    assert device.serves(scalar("asnType = '44'", row=2)) == {"TM406"}
    assert device.stack.snmp.get(SERIAL.oid).type == "OPAQUE"


def test_a_converted_text_in_an_integer_is_its_first_four_bytes(device: Device) -> None:
    assert device.serves(scalar("valueType = '0001'")) == {"TM501"}
    assert device.value(".1.1.1.0") == str(int.from_bytes(b"16.1", "little"))


def test_a_number_in_a_text_is_its_bytes_up_to_the_first_zero(device: Device) -> None:
    assert device.serves(scalar("asnType = '4', valueType = '000B'")) == {"TM502"}
    assert device.value(".1.1.1.0") == "\x10\x01"


def test_a_set_of_a_one_way_conversion_writes_its_characters(device: Device) -> None:
    assert device.serves(scalar("asnType = '4', valueType = '0001'", row=3)) == {"TM506"}
    assert device.stack.simulator
    device.stack.snmp.set(LIMIT.oid, "s", "1.2.3.4")
    assert device.stack.simulator.command("get 0x0112") == f"value {int.from_bytes(b'1.2.', 'little')}"


def test_the_characters_of_a_scaled_text_are_multiplied(device: Device) -> None:
    assert device.serves(scalar("asnType = '4', valueType = '1000'", row=3)) == {"TM510"}
    assert device.stack.simulator
    device.stack.snmp.set(LIMIT.oid, "s", "\x05")
    assert device.stack.simulator.command("get 0x0112") == "value 50"


def test_an_unknown_access_code_is_read_only(device: Device) -> None:
    assert device.serves(scalar("access = '0'", row=3)) == {"TM603"}
    with pytest.raises(SnmpError, match="notWritable"):
        device.stack.snmp.set(LIMIT.oid, "i", 5)


def test_columns_of_a_longer_node_are_looked_for_in_the_shorter_one(device: Device) -> None:
    assert device.serves(second_table(".2.101")) == {"TM705"}
    device.walk()
    assert device.stack.agent
    assert "getSnmpTableOid" in device.stack.agent.output()


def test_a_table_with_too_long_an_oid_is_not_registered(device: Device) -> None:
    assert device.serves(second_table(".3" + ".1" * 121)) == {"TM709"}
    assert device.stack.agent
    assert "netsnmp_handler_registration* my_handler is NULL\n" in device.stack.agent.output()
    assert device.value(FIRST_CELL) == "8448"


def test_a_walk_of_four_rows_ends_at_the_fifth_of_the_first_column(device: Device) -> None:
    assert device.serves(f"DELETE FROM {CELLS} WHERE instance > 4") == {"TM810"}
    cells = [oid for oid in device.walk() if oid.startswith(f"{NODE}.1.") and not oid.startswith(f"{NODE}.1.1.")]
    assert cells == [f"{NODE}.1.2.{row}.0" for row in range(1, 5)]

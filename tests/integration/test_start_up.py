"""Start-up: the output, in whatever order the parts start, and the effect of each mapping and device."""
from __future__ import annotations

import sqlite3
from collections.abc import Callable
from pathlib import Path

import pytest

from support.device import (
    BASE, BASE_OBJECT, REQUEST_QUEUE, ROWS_OBJECT, DeviceObject, start_up_objects, text, unsigned,
)
from support.mapping import (
    CELLS, OCTET_STRING, READ_ONLY, SCALARS, Cell, Mapping, Scalar, cell_oid, not_a_database, run_sql,
    truncated_database,
)
from support.observing import all_frames, read_frame
from support.sample import FIRST_TABLE, SAMPLE_MAPPING, SAMPLE_OBJECTS, SECOND_TABLE, TEMPERATURE
from support.snmp import NO_SUCH_OBJECT, Varbind
from support.stack import AGENTX_SOCKET, Stack
from support.waiting import wait_until

LEVEL = Scalar(0x0101, (1, 1, 0), access=READ_ONLY)
LEVEL_OBJECT = unsigned(0x0101, 7)
SERVED_LEVEL = Varbind("INTEGER", "7")

OPENED = "_pComPortAdapter->open() end....\n"
SERVING = "init_snmp end....\n"
READ_ERROR = "ERR: DatabaseFacade::select:  error!  cmd=13  oid=0x{:04x}\n"
NO_TABLE = " subsite 0 get SNMP_TABLE_OBJ_TABLE error\n"
NO_SCALARS = " subsite 0 get SNMP_GENERAL_OBJ_TABLE error\n"


def beginning(stack: Stack, db_path: Path | None = None, name: str = "tarno") -> str:
    """What a subagent prints before it loads the mapping."""
    path = db_path or stack.directory / "mapping.db"
    return (
        f"\ndbFath={path}\ntransport={AGENTX_SOCKET}\nagentXName={name}\n "
        "netsnmp_ds_set_boolean....\ninit_agent rc=0....\n")


def registered(node: str, rows: int = 8, base: str = BASE) -> str:
    """What is printed for one table."""
    return (
        f"TableHandlerOne::init_table node={base}{node}\n"
        f"getFixDeviceNum(ancestorNode[i].ancestorNode)={rows}\n")


def started(stack: Stack, mapping: Mapping | Path) -> str:
    """Starts the agent, and returns everything that it has printed once it is up."""
    agent = stack.start_agent(mapping=mapping)
    agent.wait_for_output(SERVING)
    return agent.output()


# Order of start


def test_everything_printed_with_the_device_and_the_master_there(stack: Stack) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    stack.start_master()
    assert started(stack, SAMPLE_MAPPING) == (
        beginning(stack) + "objCount=5\n" + OPENED + registered(FIRST_TABLE) + registered(SECOND_TABLE) + SERVING)


def test_everything_printed_with_the_device_and_the_master_started_later(stack: Stack) -> None:
    agent = stack.start_agent(mapping=SAMPLE_MAPPING)
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks for the base OID")
    assert agent.output() == beginning(stack) + "objCount=5\n" + OPENED
    stack.start_simulator(SAMPLE_OBJECTS)
    agent.wait_for_output(SERVING)
    stack.start_master()
    stack.wait_until_served()
    assert agent.output() == (
        beginning(stack) + "objCount=5\n" + OPENED + registered(FIRST_TABLE) + registered(SECOND_TABLE) + SERVING)


def test_a_device_that_is_there_early_is_not_missed(stack: Stack) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    wait_until(lambda: stack.queue_tool("depth", hex(REQUEST_QUEUE)) == "0\n", "the device has made the queues")
    stack.start_master()
    started(stack, SAMPLE_MAPPING)
    stack.wait_until_served()


def test_messages_left_by_an_earlier_run_are_thrown_away(stack: Stack) -> None:
    for _ in range(3):
        stack.send_answer("12 08 00 02 ba 80 2e 31 2e 31 31")
    stack.start_simulator([*start_up_objects(), LEVEL_OBJECT])
    stack.start_master()
    started(stack, Mapping([LEVEL]))
    stack.wait_until_served()
    assert stack.snmp.get(LEVEL.oid) == SERVED_LEVEL


def test_start_up_waits_as_long_as_the_device_takes(stack: Stack) -> None:
    simulator = stack.start_simulator(SAMPLE_OBJECTS)
    # Longer than any request of a manager would wait.
    simulator.command(f"fault {BASE_OBJECT:#x} delay 3500 times 1")
    assert started(stack, SAMPLE_MAPPING) == (
        beginning(stack) + "objCount=5\n" + OPENED + registered(FIRST_TABLE) + registered(SECOND_TABLE) + SERVING)
    # Once for the scalars, once for each table, and once more: a device that died with the request never answers.
    assert all_frames(stack).count(f"> {read_frame(BASE_OBJECT)}") == 4


def test_the_name_is_the_agents_even_when_none_is_given(stack: Stack) -> None:
    stack.start_simulator([*start_up_objects(), LEVEL_OBJECT])
    stack.start_master()
    stack.start_agent(mapping=Mapping([LEVEL]), name=None)
    stack.wait_until_served()
    assert stack.output() == beginning(stack, name="null:name") + "objCount=1\n" + OPENED + SERVING


def test_the_exchanges_of_start_up(stack: Stack) -> None:
    stack.start_simulator([text(BASE_OBJECT, ".1.3.6.1"), unsigned(ROWS_OBJECT, 0, width=1)])
    started(stack, Mapping(cells=[Cell(0x1001, ".3.1", 2), Cell(0x1002, ".3.2", 2), Cell(0x1003, ".3.3", 2)]))
    base = ["> " + read_frame(BASE_OBJECT), "< 12 0b 00 02 ba 80 2e 31 2e 33 2e 36 2e 31"]
    rows = ["> " + read_frame(ROWS_OBJECT), "< 12 04 00 00 41 0a 00"]
    assert all_frames(stack) == base + (base + rows) * 2


# Tables and rows


TABLES = {
    "no table": ([], []),
    "one table": ([".3.1"], [".3.1"]),
    "two tables": ([".3.2", ".3.1"], [".3.2", ".3.1"]),
    "three tables, of which two are served": ([".3.3", ".3.1", ".3.2"], [".3.3", ".3.1"]),
}


@pytest.mark.parametrize("nodes, served", TABLES.values(), ids=TABLES.keys())
def test_the_first_two_tables_are_registered(stack: Stack, nodes: list[str], served: list[str]) -> None:
    stack.start_simulator([*start_up_objects(), LEVEL_OBJECT, unsigned(0x1000, 5)])
    stack.start_master()
    # Only the first row of each table has a cell.
    mapping = Mapping([LEVEL], [Cell(0x1000, node, 2) for node in nodes])
    output = started(stack, mapping)
    stack.wait_until_served(LEVEL.oid)
    assert output == (
        beginning(stack) + "objCount=1\n" + OPENED + "".join(registered(node) for node in served) + SERVING)
    for node in nodes:
        assert stack.snmp.get(cell_oid(node, 2, 1)) == (
            Varbind("INTEGER", "5") if node in served else NO_SUCH_OBJECT)


ROWS = {
    "0": ([unsigned(ROWS_OBJECT, 0, width=1)], 4, ""),
    "1": ([unsigned(ROWS_OBJECT, 1, width=1)], 8, ""),
    "2": ([unsigned(ROWS_OBJECT, 2, width=1)], 0, ""),
    "255": ([unsigned(ROWS_OBJECT, 255, width=1)], 0, ""),
    "256, of which the first byte counts": ([unsigned(ROWS_OBJECT, 256, width=2)], 4, ""),
    "a text, of which the first byte counts": ([text(ROWS_OBJECT, "\x01")], 8, ""),
    "an error": ([], 0, READ_ERROR.format(ROWS_OBJECT)),
}


@pytest.mark.parametrize("objects, rows, error", ROWS.values(), ids=ROWS.keys())
def test_the_device_decides_how_many_rows_there_are(
    stack: Stack, objects: list[DeviceObject], rows: int, error: str,
) -> None:
    stack.start_simulator([text(BASE_OBJECT, BASE), *objects, LEVEL_OBJECT])
    stack.start_master()
    output = started(stack, Mapping([LEVEL], [Cell(0x1000, ".3.1", 2)]))
    stack.wait_until_served(LEVEL.oid)
    assert output.endswith(
        f"init_table node={BASE}.3.1\n{error}getFixDeviceNum(ancestorNode[i].ancestorNode)={rows}\n{SERVING}")
    first_column = stack.snmp.walk(f"{BASE}.3.1.1.1")
    assert [(each.oid, each.value) for each in first_column] == [
        (cell_oid(".3.1", 1, row), str(row)) for row in range(1, rows + 1)]


# Base OID


BASES = {
    "with a leading period": (".1.3.6.1.4.1.99999.1", ".1.3.6.1.4.1.99999.1"),
    "with a number that does not count in front": ("7.1.3.6.1.4.1.99999.1", ".1.3.6.1.4.1.99999.1"),
    "with a word in front": ("iso.1.3.6.1.4.1.99999.1", ".1.3.6.1.4.1.99999.1"),
    "of one number": (".1", ".1"),
    "of 32 numbers in 64 bytes": (".1.3.6.1.4.1.9.9" + ".1" * 24, ".1.3.6.1.4.1.9.9" + ".1" * 24),
    "cut off behind 64 bytes": (".1.3.6.1.4.1.9.9" + ".1" * 24 + ".5", ".1.3.6.1.4.1.9.9" + ".1" * 24),
}


@pytest.mark.parametrize("given, base", BASES.values(), ids=BASES.keys())
def test_scalars_and_tables_stand_below_the_devices_base(stack: Stack, given: str, base: str) -> None:
    stack.start_simulator(
        [text(BASE_OBJECT, given), unsigned(ROWS_OBJECT, 0, width=1), LEVEL_OBJECT, unsigned(0x1000, 5)])
    stack.start_master()
    # Arcs that no other module of the master serves, even below a base of one number.
    scalar, node = Scalar(0x0101, (3, 77, 1)), ".3.78"
    output = started(stack, Mapping([scalar], [Cell(0x1000, node, 2)]))
    assert f"init_table node={given[:64]}{node}\n" in output
    stack.wait_until_served(f"{base}.3.77.1.0")
    assert stack.snmp.get(f"{base}.3.77.1.0") == SERVED_LEVEL
    assert stack.snmp.get(cell_oid(node, 2, 1, base)) == Varbind("INTEGER", "5")


@pytest.mark.parametrize("given", ["", "abc"], ids=["empty", "without a period"])
def test_a_base_without_numbers_leaves_the_arcs_alone(stack: Stack, given: str) -> None:
    stack.start_simulator([text(BASE_OBJECT, given, width=8), unsigned(ROWS_OBJECT, 0, width=1), LEVEL_OBJECT])
    stack.start_master()
    output = started(stack, Mapping([Scalar(0x0101, (1, 3, 77))], [Cell(0x1000, ".3.1", 2)]))
    stack.wait_until_served(".1.3.77.0")
    assert output.endswith(OPENED + registered(".3.1", rows=4, base=given) + SERVING)
    assert stack.snmp.get(".1.3.77.0") == SERVED_LEVEL


def test_the_number_in_front_of_the_first_period_is_no_part_of_the_base(stack: Stack) -> None:
    stack.start_simulator([text(BASE_OBJECT, "1.3.6"), unsigned(ROWS_OBJECT, 0, width=1), LEVEL_OBJECT])
    stack.start_master()
    output = started(stack, Mapping([LEVEL], [Cell(0x1000, ".3.1", 2)]))
    assert output.endswith(OPENED + registered(".3.1", rows=4, base="1.3.6") + SERVING)
    assert stack.snmp.get(".1.3.6.1.1.0.0") == NO_SUCH_OBJECT


def test_without_a_base_of_the_device_the_default_one_is_used(stack: Stack) -> None:
    stack.start_simulator([unsigned(ROWS_OBJECT, 1, width=1), LEVEL_OBJECT, unsigned(0x1000, 5)])
    stack.start_master()
    output = started(stack, Mapping([LEVEL], [Cell(0x1000, ".3.1", 2)]))
    stack.wait_until_served(LEVEL.oid)
    error = READ_ERROR.format(BASE_OBJECT)
    assert output == (
        beginning(stack) + "objCount=1\n" + OPENED + error + error + registered(".3.1") + SERVING)
    assert stack.snmp.get_all(LEVEL.oid, cell_oid(".3.1", 2, 1)) == [SERVED_LEVEL, Varbind("INTEGER", "5")]


def test_a_table_node_too_long_for_an_oid_is_not_registered(stack: Stack) -> None:
    stack.start_simulator([*start_up_objects(), LEVEL_OBJECT, unsigned(0x1000, 5), unsigned(0x1001, 6)])
    stack.start_master()
    # With the base's 12 numbers, entry, column and two indexes, a node can have at most 112.
    fits, too_long = ".4" + ".1" * 111, ".3" + ".1" * 112
    output = started(stack, Mapping([LEVEL], [Cell(0x1000, too_long, 2), Cell(0x1001, fits, 2)]))
    stack.wait_until_served(LEVEL.oid)
    assert output.endswith(
        f"TableHandlerOne::init_table node={BASE}{too_long}\n"
        "netsnmp_handler_registration* my_handler is NULL\n"
        "getFixDeviceNum(ancestorNode[i].ancestorNode)=8\n" + registered(fits) + SERVING)
    assert stack.snmp.get(cell_oid(fits, 2, 1)) == Varbind("INTEGER", "6")


# Scalars


COUNTS = [0, 1, 255, 256, 300]


def scalar_number(number: int) -> Scalar:
    """Object ids ascend while arcs descend, so that the orders of registration and of names differ. Scalars that are
    256 apart, and share a magic number, differ in one arc only."""
    place = number % 256
    arcs = [9, 1000 - place, 5]
    if number != place:
        arcs[place % 3] += 2000
    return Scalar(0x2000 + number, (arcs[0], arcs[1], arcs[2]))


@pytest.mark.parametrize("count", COUNTS)
def test_every_scalar_is_served_and_written_as_itself(stack: Stack, count: int) -> None:
    scalars = [scalar_number(number) for number in range(count)]
    objects = [unsigned(0x2000 + number, number, writable=True) for number in range(count)]
    simulator = stack.start_simulator([*start_up_objects(), LEVEL_OBJECT, *objects])
    stack.start_master()
    # One table, so that something is served even without scalars.
    output = started(stack, Mapping(scalars, [Cell(0x0101, ".3.1", 2)]))
    stack.wait_until_served(cell_oid(".3.1", 2, 1))
    assert output == beginning(stack) + f"objCount={count}\n" + OPENED + registered(".3.1") + SERVING
    assert shown_scalars(stack) == {scalar.oid: str(number) for number, scalar in enumerate(scalars)}
    # Those with the first, the last and the shared magic numbers.
    written = {0, 1, 2, 254, 255, 256, 257, 258, 299} & set(range(count))
    for number in written:
        stack.snmp.set(scalars[number].oid, "i", 5000 + number)
        assert simulator.command(f"get {0x2000 + number:#x}") == f"value {5000 + number}"
    shown = shown_scalars(stack)
    assert {number for number in range(count) if shown[scalars[number].oid] != str(number)} == written


def shown_scalars(stack: Stack) -> dict[str, str]:
    """Everything below the base except the table."""
    walked = stack.snmp.bulkwalk(BASE, max_repetitions=60)
    return {each.oid: each.value for each in walked if not each.oid.startswith(f"{BASE}.3.")}


# Mapping databases


@pytest.fixture
def ready_stack(stack: Stack) -> Stack:
    """Device and master, before the agent is started."""
    stack.start_simulator([*start_up_objects(), LEVEL_OBJECT, unsigned(0x1000, 5)])
    stack.start_master()
    return stack


BOTH = Mapping([LEVEL], [Cell(0x1000, ".3.1", 2)])


def test_a_missing_database_is_made_empty(ready_stack: Stack) -> None:
    path = ready_stack.directory / "new.db"
    assert started(ready_stack, path) == (
        beginning(ready_stack, path) + NO_SCALARS + NO_TABLE + "objCount=0\n" + OPENED + SERVING)
    assert path.read_bytes() == b""


def test_a_database_without_a_directory_is_opened_once_in_vain(ready_stack: Stack) -> None:
    path = ready_stack.directory / "nowhere" / "new.db"
    assert started(ready_stack, path) == (
        beginning(ready_stack, path) + f"ERROR: open file {path} failed! \n"
        "initSnmpObjOid subsite 0 db open error\n" + NO_TABLE + "objCount=0\n" + OPENED + SERVING)


def test_a_directory_is_no_database(ready_stack: Stack) -> None:
    path = ready_stack.directory
    assert started(ready_stack, path) == (
        beginning(ready_stack, path) + f"ERROR: open file {path} failed! \n"
        "initSnmpObjOid subsite 0 db open error\n" + NO_TABLE + "objCount=0\n" + OPENED + SERVING)


BROKEN: dict[str, tuple[Callable[[Path], Path], str]] = {
    "no database at all": (not_a_database, NO_SCALARS + NO_TABLE + "objCount=0\n" + OPENED),
    "cut off in the header": (
        lambda path: truncated_database(path, BOTH, lambda size: 60), NO_SCALARS + NO_TABLE + "objCount=0\n" + OPENED),
    "without the scalars' table": (
        lambda path: BOTH.write_without(path, SCALARS), NO_SCALARS + "objCount=0\n" + OPENED + registered(".3.1")),
    "without the cells' table": (
        lambda path: BOTH.write_without(path, CELLS), NO_TABLE + "objCount=1\n" + OPENED),
    "with too few columns for scalars": (
        lambda path: BOTH.write_narrow(path, SCALARS, 12),
        NO_SCALARS + "objCount=0\n" + OPENED + registered(".3.1")),
    "with too few columns for cells": (
        lambda path: BOTH.write_narrow(path, CELLS, 12), NO_TABLE + "objCount=1\n" + OPENED),
    "with too few columns but no rows": (
        lambda path: Mapping().write_narrow(path, SCALARS, 1), "objCount=0\n" + OPENED),
    "with more columns than are read": (
        BOTH.write_wide, "objCount=1\n" + OPENED + registered(".3.1")),
    "with two empty tables": (Mapping().write, "objCount=0\n" + OPENED),
}


@pytest.mark.parametrize("make, output", BROKEN.values(), ids=BROKEN.keys())
def test_start_up_goes_on_with_a_database(
    ready_stack: Stack, make: Callable[[Path], Path], output: str,
) -> None:
    path = make(ready_stack.directory / "broken.db")
    assert started(ready_stack, path) == beginning(ready_stack, path) + output + SERVING


def test_a_locked_database_counts_as_unreadable(ready_stack: Stack) -> None:
    path = BOTH.write(ready_stack.directory / "locked.db")
    connection = sqlite3.connect(path, isolation_level=None)
    try:
        connection.execute("BEGIN EXCLUSIVE")
        output = started(ready_stack, path)
    finally:
        connection.close()
    assert output == beginning(ready_stack, path) + NO_SCALARS + NO_TABLE + "objCount=0\n" + OPENED + SERVING


def test_the_first_of_two_scalars_of_one_object_counts(ready_stack: Stack) -> None:
    again = Scalar(LEVEL.obj_id, (1, 2, 0), asn_type=OCTET_STRING)
    assert "objCount=1\n" in started(ready_stack, Mapping([LEVEL, again]))
    ready_stack.wait_until_served(LEVEL.oid)
    assert ready_stack.snmp.get_all(LEVEL.oid, again.oid) == [SERVED_LEVEL, NO_SUCH_OBJECT]


def test_scalars_have_type_and_access_in_hexadecimal_and_cells_in_decimal(stack: Stack) -> None:
    counter32 = 0x41
    scalar = Scalar("0101", (1, 1, 0), asn_type=f"{counter32:x}", access="1", value_type="0000")
    cell = Cell("1000", ".3.1", "2", asn_type=f"{counter32}", access="3")
    stack.start_simulator([*start_up_objects(), text(0x0101, "a"), text(0x1000, "b")])
    stack.start_master()
    started(stack, Mapping([scalar], [cell]))
    stack.wait_until_served(scalar.oid)
    # A text of one byte is a counter with that value.
    assert stack.snmp.get_all(scalar.oid, cell.oid) == [
        Varbind("Counter32", str(ord("a"))), Varbind("Counter32", str(ord("b")))]


def test_null_and_words_count_as_zero_in_numbers(ready_stack: Stack) -> None:
    scalar = Scalar(LEVEL.obj_id, (1, None, "none"), access=None, value_type=None, text=None)
    started(ready_stack, Mapping([scalar]))
    ready_stack.wait_until_served(f"{BASE}.1.0.0.0")
    assert ready_stack.snmp.get(f"{BASE}.1.0.0.0") == SERVED_LEVEL


def test_a_cell_without_a_table_is_skipped(ready_stack: Stack) -> None:
    output = started(ready_stack, Mapping(cells=[Cell(0x1001, None, 2), Cell(0x1000, ".3.1", 2)]))
    assert output.endswith("objCount=0\n" + OPENED + registered(".3.1") + SERVING)


def test_numbers_in_the_database_may_be_numbers(ready_stack: Stack) -> None:
    path = BOTH.write(ready_stack.directory / "numbers.db")
    columns = "(objId, attr1, magic, asnType, access, oidArc1, oidArc2, oidArc3, oidArc4, valueType, flag, text, attr2)"
    run_sql(path, f"DROP TABLE {SCALARS}; CREATE TABLE {SCALARS} {columns};"
            f"INSERT INTO {SCALARS} VALUES (101, 0, 0, 2, 1, 1, 1, 0, 0, 0, 0, NULL, 0)")
    started(ready_stack, path)
    ready_stack.wait_until_served(LEVEL.oid)
    assert ready_stack.snmp.get(LEVEL.oid) == SERVED_LEVEL


# Output and environment


def test_output_into_a_pipe_comes_line_by_line(stack: Stack) -> None:
    pipe = stack.directory / "pipe"
    stack.world.check("mkfifo", pipe)
    reader = stack.start("reader", ["cat", pipe])
    stack.start("shell", [
        "sh", "-c", 'exec "$@" >"$0"', pipe, *stack.build.agent_command, "-X", "-d", stack.directory / "new.db", "-x",
        AGENTX_SOCKET, "-n", "tarno"])
    # The agent is waiting for the device; what it has printed so far must be there.
    reader.wait_for_output("objCount=0\n" + OPENED)


def test_messages_of_the_library_stay_on_standard_error(stack: Stack) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    agent = stack.start_agent(mapping=SAMPLE_MAPPING)
    agent.wait_for_output(SERVING)
    stack.start_master()
    stack.wait_until_served(TEMPERATURE.oid)
    assert "AgentX subagent connected" in agent.errors()
    assert "AgentX subagent" not in agent.output()


def test_no_mib_file_is_read(ready_stack: Stack) -> None:
    # A directory without those that the library reads by default.
    agent = ready_stack.start_agent(mapping=BOTH, env={"MIBDIRS": str(ready_stack.directory)})
    ready_stack.wait_until_served()
    assert "Cannot find module" not in agent.errors()


def test_a_mib_that_is_asked_for_in_the_environment_is_looked_for(ready_stack: Stack) -> None:
    agent = ready_stack.start_agent(mapping=BOTH, env={"MIBS": "MISSING-MIB"})
    ready_stack.wait_until_served()
    assert "Cannot find module (MISSING-MIB)" in agent.errors()

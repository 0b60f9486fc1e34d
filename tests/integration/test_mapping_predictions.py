"""What a check predicts for a faulty mapping happens when the agent serves it."""
from __future__ import annotations

import json
from dataclasses import replace
from pathlib import Path

import pytest

from support.architecture import SIZE_OF_LONG
from support.device import BASE, ROWS_OBJECT, start_up_objects, text, unsigned
from support.mapping import READ_ONLY, SCALARS, Cell, Mapping, Scalar, cell_oid, column_of_cells, run_sql
from support.mapping_tool import MappingTool
from support.snmp import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, SnmpError, Varbind
from support.stack import Build, Stack
from support.waiting import wait_until

LAST = Scalar(0x0009, (9, 9, 9))
NODE = ".2.1"
LEVELS = column_of_cells(NODE, 2, 0x2100)
STATES = column_of_cells(NODE, 3, 0x2110)
COUNTS = column_of_cells(NODE, 4, 0x2120)


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


def codes_of(tool: MappingTool, database: Path, *options: str) -> set[str]:
    findings = json.loads(tool.run("check", database, "--json", *options).stdout)["findings"]
    return {finding["code"] for finding in findings}


class Prediction:
    """Checks a mapping, then serves it on a device whose objects hold their own ids."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self._stack = stack
        self._tool = tool

    def of(self, *scalars: Scalar, cells: list[Cell] | None = None) -> set[str]:
        """Serves the mapping; returns the codes of the check's findings."""
        mapping = Mapping([LAST, *scalars], cells or [])
        database = mapping.write(self._stack.directory / "checked.db")
        objects = {int(each.obj_id): each for each in (*mapping.scalars, *mapping.cells)}  # type: ignore[arg-type]
        self._stack.start_simulator([
            *start_up_objects(),
            *(unsigned(obj_id, obj_id, writable=True) if each.asn_type == 2 else text(obj_id, "four", width=32)
              for obj_id, each in objects.items())])
        self._stack.start_master()
        self._stack.start_agent(mapping=database)
        self._stack.wait_until_served(LAST.oid)
        return codes_of(self._tool, database)

    def walk(self) -> list[str]:
        """What a walk finds, without the row numbers and the last scalar."""
        oids = [each.oid.removeprefix(BASE) for each in self._stack.snmp.walk(BASE)]
        return [oid for oid in oids if not oid.startswith(f"{NODE}.1.1.") and BASE + oid != LAST.oid]

    def get(self, oid: str) -> Varbind:
        return self._stack.snmp.using(timeout=8).get(oid)


@pytest.fixture
def prediction(stack: Stack, tool: MappingTool) -> Prediction:
    return Prediction(stack, tool)


def rows(column: int, count: int) -> list[str]:
    return [f"{NODE}.1.{column}.{row}.0" for row in range(1, count + 1)]


def test_a_walk_ends_at_the_first_missing_cell(prediction: Prediction) -> None:
    assert prediction.of(cells=[*LEVELS, *STATES[:3], *STATES[4:], *COUNTS]) == {"TM804"}
    assert prediction.walk() == rows(2, 8) + rows(3, 3)
    assert prediction.get(cell_oid(NODE, 4, 8)).value == str(COUNTS[7].obj_id)


def test_columns_beyond_a_gap_are_out_of_reach(prediction: Prediction) -> None:
    assert prediction.of(cells=[*LEVELS, *(replace(cell, column=4) for cell in STATES)]) == {"TM803"}
    assert prediction.walk() == rows(2, 8)
    assert prediction.get(cell_oid(NODE, 4, 1)) in (NO_SUCH_INSTANCE, NO_SUCH_OBJECT)


def test_a_second_scalar_at_one_oid_takes_all_later_ones_with_it(prediction: Prediction) -> None:
    scalar = Scalar(0x0120, (1, 1, 1))
    assert prediction.of(scalar, replace(scalar, obj_id=0x0110), Scalar(0x0130, (1, 1, 2)), cells=LEVELS) == {"TM302"}
    assert prediction.walk() == [".1.1.1.0", *rows(2, 8)]
    assert prediction.get(scalar.oid).value == str(0x0110)


def test_a_scalar_in_a_table_takes_cells_from_gets(prediction: Prediction) -> None:
    assert prediction.of(Scalar(0x0110, (2, 1, 1)), cells=LEVELS) == {"TM707"}
    assert prediction.walk() == [".2.1.1.0", *rows(2, 8)]
    assert prediction.get(cell_oid(NODE, 2, 1)) == NO_SUCH_INSTANCE


def test_a_scalar_after_one_in_a_table_takes_cells_from_walks(prediction: Prediction) -> None:
    scalars = (Scalar(0x0110, (2, 1, 1)), Scalar(0x0111, (2, 1, 2)))
    assert prediction.of(*scalars, cells=LEVELS) == {"TM707"}
    assert prediction.walk() == [".2.1.1.0", ".2.1.2.0"]


def test_a_scalar_beside_the_entry_of_a_table_is_served_with_it(prediction: Prediction) -> None:
    scalar = Scalar(0x0110, (2, 1, 2))
    assert prediction.of(scalar, cells=LEVELS) == {"TM707"}
    assert prediction.walk() == [*rows(2, 8), ".2.1.2.0"]
    assert prediction.get(scalar.oid).value == str(0x0110)
    assert prediction.get(LEVELS[0].oid).value == str(LEVELS[0].obj_id)


def test_a_table_at_the_oid_of_a_scalar_is_refused(prediction: Prediction) -> None:
    scalar = Scalar(0x0110, (1, 1, 1))
    assert prediction.of(scalar, cells=[replace(cell, node=".1.1.1") for cell in LEVELS]) == {"TM707"}
    assert prediction.walk() == [".1.1.1.0"]


def test_a_table_at_the_instance_of_a_scalar_takes_its_place(prediction: Prediction) -> None:
    scalar = Scalar(0x0110, (1, 1, 1))
    cells = [replace(cell, node=".1.1.1.0") for cell in LEVELS]
    assert prediction.of(scalar, cells=cells) == {"TM707", "TM922"}
    assert prediction.get(scalar.oid) in (NO_SUCH_INSTANCE, NO_SUCH_OBJECT)
    assert prediction.get(cells[0].oid).value == str(cells[0].obj_id)


@pytest.mark.parametrize(("node", "codes"), [("", {"TM704"}), ("x", {"TM701", "TM702", "TM707"})])
def test_a_scalar_takes_the_place_of_a_cell_right_below_the_base(
    prediction: Prediction, node: str, codes: set[str],
) -> None:
    scalar = Scalar(0x0110, (1, 2, 3))
    assert prediction.of(scalar, cells=[replace(cell, node=node) for cell in LEVELS]) == codes
    assert prediction.get(cell_oid("", 2, 3)).value == str(scalar.obj_id)
    assert prediction.get(cell_oid("", 2, 4)).value == str(LEVELS[3].obj_id)


@pytest.mark.parametrize(("node", "served"), [
    (".7..1", ".7.0.1"), (".7.", ".7.0"), (".7x.1", ".7.1"), (".x7.1", ".0.1"), (".7-1", ".7"),
])
def test_a_part_of_a_node_counts_by_the_digits_that_it_begins_with(
    prediction: Prediction, node: str, served: str,
) -> None:
    assert prediction.of(cells=[replace(cell, node=node) for cell in LEVELS]) == {"TM702"}
    assert prediction.get(cell_oid(served, 2, 1)).value == str(LEVELS[0].obj_id)


def test_text_before_the_first_period_of_a_node_is_ignored(prediction: Prediction) -> None:
    assert prediction.of(cells=[replace(cell, node="x.1") for cell in LEVELS]) == {"TM701", "TM702"}
    assert prediction.get(cell_oid(".1", 2, 1)).value == str(LEVELS[0].obj_id)


HIGHEST = 2**31 - 1
ALL_OF_THE_MASTER = ".1.3.6.1.4.1"


def walk_of_the_master(stack: Stack) -> str:
    """What goes wrong in a walk of everything, or nothing."""
    done = stack.run(["snmpwalk", "-v2c", "-cprivate", "-m", "", "-t8", "-r0", "127.0.0.1:1161", ALL_OF_THE_MASTER], 60)
    return done.stderr


@pytest.mark.parametrize("arcs", [(HIGHEST + 1, 1, 1), (1, 1, HIGHEST + 1), (1, 2**32 - 1, 1), (1, 1, 2**32 - 1)])
def test_a_scalar_above_31_bits_is_never_served(
    prediction: Prediction, stack: Stack, arcs: tuple[int, int, int],
) -> None:
    scalar = Scalar(0x0110, arcs)
    other = Scalar(0x0111, (1, 1, 1))
    assert prediction.of(scalar, other) == {"TM713"}
    assert prediction.get(scalar.oid) == NO_SUCH_OBJECT
    assert prediction.get(other.oid).value == str(other.obj_id)
    assert "OID not increasing" in walk_of_the_master(stack)


@pytest.mark.parametrize(("node", "code"), [
    (f".2.{HIGHEST + 1}", "TM714"), (f".{2**32 - 1}.2", "TM714"), (".2.99999999999", "TM710"),
])
def test_a_table_above_31_bits_is_never_served(prediction: Prediction, stack: Stack, node: str, code: str) -> None:
    assert prediction.of(cells=[replace(cell, node=node) for cell in LEVELS]) == {code}
    served = node.replace("99999999999", str(2**32 - 1))
    assert prediction.get(cell_oid(served, 2, 1)) == NO_SUCH_OBJECT
    assert "OID not increasing" in walk_of_the_master(stack)


def test_numbers_of_31_bits_are_served(prediction: Prediction, stack: Stack) -> None:
    scalar = Scalar(0x0110, (HIGHEST, HIGHEST, HIGHEST))
    cells = [replace(cell, node=f".2.{HIGHEST}") for cell in LEVELS]
    assert prediction.of(scalar, cells=cells) == set()
    assert prediction.get(scalar.oid).value == str(scalar.obj_id)
    assert prediction.get(cells[7].oid).value == str(cells[7].obj_id)
    assert walk_of_the_master(stack) == ""


def test_nothing_is_served_below_a_base_above_31_bits(stack: Stack, tool: MappingTool) -> None:
    base = f".1.3.6.1.4.1.32473.{HIGHEST + 1}"
    database = Mapping([LAST]).write(stack.directory / "checked.db")
    assert codes_of(tool, database, "--base", base) == {"TM715"}
    stack.start_simulator([*start_up_objects(base), unsigned(int(LAST.obj_id), 9)])  # type: ignore[arg-type]
    stack.start_master()
    agent = stack.start_agent(mapping=database)
    agent.wait_for_output("init_snmp end....\n")
    wait_until(lambda: "OID not increasing" in walk_of_the_master(stack), "everything is registered")
    assert stack.snmp.get(f"{base}.9.9.9.0") == NO_SUCH_OBJECT


def test_a_third_table_is_not_served(prediction: Prediction) -> None:
    tables = [column_of_cells(node, 2, first) for node, first in ((NODE, 0x2100), (".2.2", 0x2200), (".2.3", 0x2300))]
    assert prediction.of(cells=sum(tables, [])) == {"TM708"}
    assert not any(oid.startswith(".2.3.") for oid in prediction.walk())


def test_a_node_without_a_period_joins_the_last_number_of_the_base(prediction: Prediction, stack: Stack) -> None:
    assert prediction.of(cells=[replace(cell, node="2.1") for cell in LEVELS]) == {"TM701"}
    assert stack.snmp.get(f"{BASE}2.1.1.2.1.0").value == str(LEVELS[0].obj_id)


@pytest.mark.parametrize(("asn_type", "code", "answer"), [
    (0x41, "TM402", Varbind("Counter32", str(int.from_bytes(b"four", "little")))),
    (0x46, "TM402", Varbind("Counter64", "0")),
    (0x05, "TM405", NO_SUCH_INSTANCE),
    (0x102, "TM407", Varbind("INTEGER", str(int.from_bytes(b"four", "little")))),
])
def test_unsound_types_look_as_predicted(prediction: Prediction, asn_type: int, code: str, answer: Varbind) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), asn_type=asn_type, access=READ_ONLY)
    assert prediction.of(scalar) == {code}
    assert prediction.get(scalar.oid) == answer


def test_an_object_identifier_of_the_bytes_of_a_text_is_none(prediction: Prediction) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), asn_type=0x06, access=READ_ONLY)
    assert prediction.of(scalar) == {"TM404"}
    if SIZE_OF_LONG == 4:
        # Four bytes form one number there, and no OID begins with such a large one.
        with pytest.raises(SnmpError, match="genErr"):
            prediction.get(scalar.oid)
    else:
        assert prediction.get(scalar.oid) == Varbind("OID", ".0.0")


def test_a_type_that_cannot_be_encoded_is_a_general_error(prediction: Prediction) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), asn_type=0x03, access=READ_ONLY)
    assert prediction.of(scalar) == {"TM401"}
    with pytest.raises(SnmpError) as error:
        prediction.get(scalar.oid)
    assert error.value.status == "genError"


@pytest.mark.parametrize(("asn_type", "answer", "later"), [
    (0x05, NO_SUCH_INSTANCE, []), (0x80, NO_SUCH_OBJECT, rows(4, 8)), (0x81, NO_SUCH_INSTANCE, rows(4, 8)),
    (0x82, NO_SUCH_INSTANCE, rows(4, 8)),
])
def test_a_walk_leaves_out_cells_without_a_value_and_after_null_all_others(
    prediction: Prediction, asn_type: int, answer: Varbind, later: list[str],
) -> None:
    states = [replace(cell, asn_type=asn_type) for cell in STATES]
    assert prediction.of(cells=[*LEVELS, *states, *COUNTS]) == {"TM405"}
    assert prediction.walk() == rows(2, 8) + later
    assert prediction.get(states[0].oid) == answer
    assert prediction.get(COUNTS[0].oid).value == str(COUNTS[0].obj_id)


def test_a_walk_ends_at_a_scalar_whose_type_is_an_exception(prediction: Prediction) -> None:
    scalars = [Scalar(0x0110 + number, (1, 1, 1 + number), asn_type=asn_type) for number, asn_type in
               enumerate((0x02, 0x80, 0x02))]
    assert prediction.of(*scalars) == {"TM405"}
    assert prediction.walk() == [".1.1.1.0"]
    assert prediction.get(scalars[2].oid).value == str(0x0112)


def test_a_number_scaled_by_ten_places_or_more_becomes_the_largest(prediction: Prediction, stack: Stack) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), value_type=0xF000)
    assert prediction.of(scalar) == {"TM508"}
    stack.snmp.set(scalar.oid, "i", 1)
    assert prediction.get(scalar.oid).value == "-1"
    stack.snmp.set(scalar.oid, "i", 0)
    assert prediction.get(scalar.oid).value == "0"


def test_a_scaled_number_reads_back_larger(prediction: Prediction, stack: Stack) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), value_type=0x1000)
    assert prediction.of(scalar) == {"TM508"}
    stack.snmp.set(scalar.oid, "i", 12)
    assert prediction.get(scalar.oid).value == "120"


def test_access_codes_mean_something_else_in_the_other_table(prediction: Prediction, stack: Stack) -> None:
    scalar = Scalar(0x0110, (1, 1, 1), access=2)
    assert prediction.of(scalar, cells=[replace(cell, access=2) for cell in LEVELS]) == {"TM601", "TM602"}
    stack.snmp.set(scalar.oid, "i", 5)
    with pytest.raises(SnmpError):
        stack.snmp.set(cell_oid(NODE, 2, 1), "i", 5)


def serve_tables_of_both_sizes(stack: Stack, tool: MappingTool, configured: int) -> list[str]:
    """Four rows in the first table, eight in the second; returns what a walk finds."""
    cells = [*LEVELS[:4], *STATES[:4], *column_of_cells(".2.2", 2, 0x2200)]
    database = Mapping([LAST], cells).write(stack.directory / "checked.db")
    assert codes_of(tool, database) == {"TM812"}
    objects = [unsigned(int(each.obj_id), 1) for each in (LAST, *cells)]  # type: ignore[arg-type]
    stack.start_simulator([*start_up_objects(rows=configured), *objects])
    stack.start_master()
    stack.start_agent(mapping=database)
    stack.wait_until_served(LAST.oid)
    return [each.oid.removeprefix(BASE) for each in stack.snmp.walk(BASE)]


def test_rows_5_to_8_are_not_served_if_the_device_has_four(stack: Stack, tool: MappingTool) -> None:
    walked = serve_tables_of_both_sizes(stack, tool, configured=0)
    assert ".2.2.1.2.4.0" in walked
    assert ".2.2.1.2.5.0" not in walked


def test_a_walk_of_the_short_table_ends_if_the_device_has_eight_rows(stack: Stack, tool: MappingTool) -> None:
    walked = serve_tables_of_both_sizes(stack, tool, configured=1)
    assert ".2.2.1.2.8.0" in walked
    assert [oid for oid in walked if oid.startswith(f"{NODE}.1.2.")] == rows(2, 4)
    assert not [oid for oid in walked if oid.startswith(f"{NODE}.1.3.")]


def test_an_id_of_a_shared_group_reaches_another_object(prediction: Prediction, stack: Stack) -> None:
    shared = Scalar(0x0910, (1, 1, 1))
    assert prediction.of(shared, Scalar(0x083A, (1, 1, 2))) == {"TM306"}
    assert prediction.get(shared.oid).value == str(0x083A)


def test_an_id_of_a_shared_group_is_never_asked_for(prediction: Prediction) -> None:
    shared = Scalar(0x0910, (1, 1, 1))
    assert prediction.of(shared) == {"TM308"}
    assert prediction.get(shared.oid) in (NO_SUCH_INSTANCE, NO_SUCH_OBJECT)


def test_a_set_of_the_rows_takes_effect_after_a_restart(stack: Stack, tool: MappingTool) -> None:
    own = Scalar(ROWS_OBJECT, (1, 1, 1))
    database = Mapping([LAST, own], LEVELS).write(stack.directory / "checked.db")
    assert codes_of(tool, database) == {"TM307"}
    base, _ = start_up_objects()
    objects = [unsigned(int(each.obj_id), 1) for each in (LAST, *LEVELS)]  # type: ignore[arg-type]
    stack.start_simulator([base, unsigned(ROWS_OBJECT, 1, width=1, writable=True), *objects])
    stack.start_master()
    stack.start_agent(mapping=database)
    stack.wait_until_served(LEVELS[7].oid)
    stack.snmp.set(own.oid, "i", 0)
    assert stack.snmp.get(LEVELS[7].oid).value == "1"
    stack.stop_agent()
    stack.start_agent(mapping=database)
    stack.wait_until_served(LEVELS[3].oid)
    assert stack.snmp.get(LEVELS[7].oid) == NO_SUCH_INSTANCE


def test_a_file_in_write_ahead_mode_is_unreadable_on_a_read_only_file_system(stack: Stack, tool: MappingTool) -> None:
    directory = stack.directory / "read-only"
    directory.mkdir()
    database = run_sql(Mapping([LAST]).write(directory / "checked.db"), "PRAGMA journal_mode = WAL")
    assert codes_of(tool, database) == {"TM106"}
    stack.world.replace_directory(directory, directory)
    stack.world.check("mount", "-o", "remount,bind,ro", directory)
    stack.start_simulator(start_up_objects())
    stack.start_master()
    agent = stack.start_agent(mapping=database)
    agent.wait_for_output("init_snmp end....\n")
    assert "get SNMP_GENERAL_OBJ_TABLE error\n" in agent.output()
    assert "objCount=0\n" in agent.output()


def test_a_numeric_column_turns_an_id_into_another(prediction: Prediction, stack: Stack, tool: MappingTool) -> None:
    assert prediction.of(Scalar(0x02E1, (1, 1, 1)), Scalar(0x0020, (1, 1, 2))) == set()
    database = stack.directory / "checked.db"
    run_sql(database, f"DELETE FROM {SCALARS} WHERE objId = '0020'; PRAGMA writable_schema = ON;"
            f"UPDATE sqlite_master SET sql = replace(sql, 'objId TEXT', 'objId INTEGER') WHERE name = '{SCALARS}';"
            f"PRAGMA writable_schema = RESET; UPDATE {SCALARS} SET objId = objId || ''")
    assert codes_of(tool, database) == {"TM107"}
    stack.stop_agent()
    stack.start_agent(mapping=database)
    stack.wait_until_served(f"{BASE}.1.1.1.0")
    assert prediction.get(f"{BASE}.1.1.1.0").value == str(0x0020)


def test_cells_of_one_object_are_converted_like_the_first(prediction: Prediction) -> None:
    other = replace(LEVELS[1], obj_id=LEVELS[0].obj_id, value_type=0x000B)
    assert prediction.of(cells=[LEVELS[0], other, *LEVELS[2:]]) == {"TM304", "TM808"}
    assert prediction.get(other.oid).value == str(LEVELS[0].obj_id)


def test_a_manager_sees_the_first_64_bytes_of_a_text(stack: Stack, tool: MappingTool) -> None:
    described = stack.directory / "described.yaml"
    described.write_text("scalars: [{oid: 9.9.9, object: 0x0009, type: text, device: {kind: string, value: "
                         f"{'x' * 70}}}}}]\n", encoding="ascii")
    assert codes_of(tool, described) == {"TM208"}
    scalar = replace(LAST, asn_type=4)
    stack.start_simulator([*start_up_objects(), text(int(LAST.obj_id), "x" * 70)])  # type: ignore[arg-type]
    stack.start_master()
    stack.start_agent(mapping=Mapping([scalar]))
    stack.wait_until_served(scalar.oid)
    assert stack.snmp.get(scalar.oid).value == "x" * 64

"""What a check predicts for a faulty mapping happens when the agent serves it."""
from __future__ import annotations

import json
from dataclasses import replace

import pytest

from support.architecture import SIZE_OF_LONG
from support.device import BASE, start_up_objects, text, unsigned
from support.mapping import READ_ONLY, Cell, Mapping, Scalar, cell_oid, column_of_cells
from support.mapping_tool import MappingTool
from support.snmp import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, SnmpError, Varbind
from support.stack import Build, Stack

LAST = Scalar(0x0009, (9, 9, 9))
NODE = ".2.1"
LEVELS = column_of_cells(NODE, 2, 0x2100)
STATES = column_of_cells(NODE, 3, 0x2110)
COUNTS = column_of_cells(NODE, 4, 0x2120)


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


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
        findings = json.loads(self._tool.run("check", database, "--json").stdout)["findings"]
        return {finding["code"] for finding in findings}

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

"""What a check predicts about the publication of a mapping happens to its readers."""
from __future__ import annotations

import json
import subprocess
from pathlib import Path

import pytest

from support.mapping import SCALARS, run_sql
from support.mapping_tool import MappingTool, base_modules, smi_environment
from support.stack import Build

SOURCE = """
module: {name: PUMP-MIB, base: .1.3.6.1.4.1.32473.44, organization: Example, contact: noc@example.net,
  description: A pump., updated: 2026-01-15}
scalars:
  - {name: pumpState, description: What the pump does., oid: 1.1.1, object: 0x101, type: integer}
  - {name: pumpSpeed, description: How fast it turns., oid: 1.1.2, object: 0x102, type: integer}
tables:
  - name: valveTable
    description: The valves.
    node: .2.1
    rows: 8
    columns:
      - {name: valveOpening, description: How far it is open., first: 0x200, type: integer}
"""


class Pump:
    """A sound source, and what becomes of it after a change."""

    def __init__(self, tool: MappingTool, directory: Path) -> None:
        self._tool = tool
        self._directory = directory

    def database(self, old: str = "", new: str = "") -> Path:
        source = self._directory / "pump.yaml"
        source.write_text(SOURCE.replace(old, new) if old else SOURCE, encoding="ascii")
        return self._tool.database(source, self._directory)

    def codes(self, database: Path) -> set[str]:
        findings = json.loads(self._tool.run("check", database, "--json").stdout)["findings"]
        return {each["code"] for each in findings}

    def complaints(self, database: Path) -> str:
        """What a reader of the MIB complains about."""
        module = self._directory / "PUMP-MIB"
        self._tool.check("mib", database, "-o", module)
        done = subprocess.run(
            ["smilint", "-l", "3", module], capture_output=True, text=True, timeout=60, check=False,
            env=smi_environment(base_modules()))
        return done.stdout + done.stderr

    def refusal(self, *arguments: str | Path) -> str:
        done = self._tool.run(*arguments)
        assert done.returncode == 2
        return done.stderr


@pytest.fixture
def pump(build: Build, tmp_path: Path) -> Pump:
    return Pump(MappingTool(build), tmp_path)


def test_a_sound_module_has_no_complaints(pump: Pump) -> None:
    database = pump.database()
    assert pump.codes(database) == set()
    assert pump.complaints(database) == ""


@pytest.mark.parametrize("name", [
    "pumpMIB", "pumpMIBGroup", "pumpMIBCompliance", "pumpMIBConformance", "pumpMIBNotifications",
    "pumpMIBGroup20260601", "pumpmib", "pumpNode1", "pumpNode1x1"])
@pytest.mark.parametrize("holder", ["pumpState", "valveOpening", "valveTable"])
def test_an_object_with_a_name_of_the_module_itself_is_published_under_another(
    pump: Pump, build: Build, holder: str, name: str,
) -> None:
    database = pump.database(holder, name)
    assert pump.codes(database) == {"TM921"}
    assert pump.complaints(database) == ""
    assert f"{name}X2" in MappingTool(build).check("mib", database, "-o", "-")


@pytest.mark.parametrize("name", ["valveEntry", "valveSubIndex", "pump"])
def test_a_scalar_with_a_name_of_a_table_or_a_node_is_published_under_another(
    pump: Pump, build: Build, name: str,
) -> None:
    database = pump.database("pumpState", name)
    run_sql(database, "INSERT INTO TARNO_MAPPING_NOTES VALUES ('groups', '.1.1', 'pump')")
    assert pump.codes(database) == {"TM921"}
    assert pump.complaints(database) == ""
    assert f"{name}X2" in MappingTool(build).check("mib", database, "-o", "-")


def test_a_node_with_the_name_of_the_module_is_published_under_another(pump: Pump, build: Build) -> None:
    database = run_sql(pump.database(), "INSERT INTO TARNO_MAPPING_NOTES VALUES ('groups', '.1.1', 'pumpMIB')")
    assert pump.codes(database) == {"TM921"}
    assert pump.complaints(database) == ""
    assert "pumpMIBX2 OBJECT IDENTIFIER" in MappingTool(build).check("mib", database, "-o", "-")


def test_an_alarm_with_the_name_of_the_module_makes_it_unreadable(pump: Pump) -> None:
    alarm = "alarms: [{name: pumpMIB, number: 1, object: pumpState, condition: changed}]\ntables:"
    database = pump.database("tables:", alarm)
    assert pump.codes(database) == {"TM921"}
    assert "redefinition of identifier `pumpMIB'" in pump.complaints(database)


@pytest.mark.parametrize(("row", "name"), [(1, "Pump"), (1, "pump-state"), (2, "2nd"), (2, "pump speed")])
def test_a_name_that_no_module_can_have_is_published_as_another(pump: Pump, build: Build, row: int, name: str) -> None:
    database = run_sql(pump.database(), f"UPDATE {SCALARS} SET name = '{name}' WHERE rowid = {row}")
    assert pump.codes(database) == {"TM925"}
    assert pump.complaints(database) == ""
    assert f"object010{row} OBJECT-TYPE" in MappingTool(build).check("mib", database, "-o", "-")


@pytest.mark.parametrize("name", ["pump-mib", "PUMP MIB", "Pump--MIB"])
def test_a_module_with_a_name_that_it_cannot_have_is_published_as_another(
    pump: Pump, build: Build, name: str,
) -> None:
    database = run_sql(pump.database(), "UPDATE TARNO_MAPPING_NOTES SET value = "
                       f"'{name}' WHERE property = 'name' AND subject = ''")
    assert pump.codes(database) == {"TM925"}
    assert pump.complaints(database) == ""
    assert MappingTool(build).check("mib", database, "-o", "-").startswith("DEVICE-MIB DEFINITIONS")


@pytest.mark.parametrize(("old", "new"), [("1.1.1,", "1.1.0,"), ("node: .2.1", "node: .2.0")])
def test_an_oid_may_not_end_in_zero(pump: Pump, old: str, new: str) -> None:
    database = pump.database(old, new)
    assert pump.codes(database) == {"TM922"}
    assert "may not be zero" in pump.complaints(database)


@pytest.mark.parametrize("date", ["2026-01-32", "2026-13-01"])
def test_a_date_that_does_not_exist_is_published_as_another(pump: Pump, build: Build, date: str) -> None:
    database = run_sql(pump.database(), f"UPDATE TARNO_MAPPING_NOTES SET value = '{date}' WHERE property = 'updated'")
    assert pump.codes(database) == {"TM923"}
    assert 'LAST-UPDATED "200001010000Z"' in MappingTool(build).check("mib", database, "-o", "-")


@pytest.mark.parametrize(("old", "new"), [("1.1.1,", "2.1.2,"), ("node: .2.1", "node: .1.1.1.5")])
def test_scalars_and_tables_do_not_share_a_branch(pump: Pump, old: str, new: str) -> None:
    database = pump.database(old, new)
    assert pump.codes(database) == {"TM707"}
    assert "must be simple node" in pump.complaints(database)


def test_the_second_object_of_a_name_is_published_under_another(pump: Pump, build: Build) -> None:
    database = run_sql(pump.database(), f"UPDATE {SCALARS} SET name = 'pumpState'")
    assert pump.codes(database) == {"TM924"}
    assert "pumpStateX2" in MappingTool(build).check("show", database)


def test_a_name_that_differs_in_capitals_only_is_published_under_another(pump: Pump, build: Build) -> None:
    database = pump.database("pumpSpeed", "pumpstate")
    assert pump.codes(database) == {"TM924"}
    assert pump.complaints(database) == ""
    assert "pumpstateX2" in MappingTool(build).check("show", database)


@pytest.mark.parametrize("base", ["1.3.6", ".1.3.six", ".1.3.4294967296"])
def test_a_file_with_a_bad_base_is_refused_by_everything_but_the_check(
    pump: Pump, build: Build, base: str,
) -> None:
    database = run_sql(pump.database(), f"UPDATE TARNO_MAPPING_NOTES SET value = '{base}' WHERE property = 'base'")
    assert pump.codes(database) == {"TM109"}
    for command in ("show", "simulate", "mib"):
        output = () if command == "show" else ("-o", "-")
        assert f'base "{base}"' in pump.refusal(command, database, *output)
    simulated = subprocess.run(
        [build.simulator, "--mapping", database], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
        check=False)
    assert (simulated.returncode, simulated.stdout) == (2, "")


def test_a_base_over_32_bits_is_an_error_of_the_command_line(pump: Pump) -> None:
    assert "does not fit in 32 bits" in pump.refusal("check", pump.database(), "--base", ".1.3.4294967296")


def test_no_module_is_written_outside_iso(pump: Pump) -> None:
    database = pump.database(".1.3.6.1.4.1.32473.44", ".2.3.6")
    assert pump.codes(database) == {"TM110"}
    assert "is not below iso" in pump.refusal("mib", database, "-o", "-")

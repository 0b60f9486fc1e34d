"""What a check predicts about the alarms of a source happens to managers and to readers of what is published."""
from __future__ import annotations

import json
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.alarms import SOURCE as OVEN
from support.alarms import TRAPS, reads_of, start_receiver
from support.mapping import run_sql
from support.mapping_tool import MappingTool, base_modules, smi_environment
from support.stack import Build, Stack
from support.waiting import wait_until

MODULE = "SAMPLE-PUMP-MIB"
BASE = ".1.3.6.1.4.1.32473.22"
HEAT, PRESSURE = 0x10, 0x11
#: How often one poll of all alarms reads pumpPressure.
PRESSURE_READS = 4
SOURCE = f"""
module: {{name: {MODULE}, base: {BASE}, organization: Example, contact: noc@example.net, description: A pump.,
  updated: 2026-01-15}}
scalars:
  - {{name: pumpHeat, description: Its heat., oid: 1.1.1, object: {HEAT:#06x}, type: integer,
     device: {{kind: unsigned, width: 1, value: 20}}}}
  - {{name: pumpPressure, description: Its pressure., oid: 1.1.2, object: {PRESSURE:#06x}, type: integer,
     device: {{kind: unsigned, width: 1, value: 20}}}}
  - {{name: pumpName, description: Its name., oid: 1.1.3, object: 0x12, type: text, device: {{kind: string, width: 8}}}}
tables:
  - name: valveTable
    description: The valves.
    node: .2.1
    rows: 4
    columns:
      - {{name: valveState, description: Its state., first: 0x100, type: integer,
         device: {{kind: unsigned, width: 1, value: 0}}}}
alarms:
"""
LIVE = """
  - {name: pumpHot, number: 1, object: pumpHeat, condition: above, raise: 50, clear: 60, every: 1}
  - {name: pumpFull, number: 2, object: pumpPressure, condition: above, raise: 50, every: 1, with: [valveState]}
  - {name: pumpBurst, number: 3, object: pumpPressure, condition: above, raise: 300, every: 1}
"""


@pytest.fixture(scope="module")
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


class FaultyPump:
    """A pump with alarms that the check finds fault with, and a manager of it."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self._stack = stack
        self._directory = stack.directory
        self._source = written(stack.directory, LIVE)
        self._tool = tool
        database = stack.directory / "pump.db"
        assert tool.run("build", "--force", self._source, "-o", database).returncode == 0
        modules = stack.directory / "mibs"
        modules.mkdir()
        assert tool.run("mib", self._source, "-o", modules / MODULE).returncode == 0
        configuration = stack.directory / "alarms.conf"
        assert tool.run("alarms", self._source, "-o", configuration).returncode == 0
        stack.start_simulator_on(database)
        self._receiver = start_receiver(stack, modules, MODULE)
        stack.start_master(f"includeFile {configuration}", TRAPS)
        stack.start_agent(mapping=database)
        self.wait_for("pumpHotClear", "pumpFullClear", "pumpBurstClear")

    def codes(self, alarm: str) -> set[str]:
        return codes_in(self._tool, self._source, alarm)

    def set(self, object_id: int, value: int) -> None:
        """Forgets what was sent before."""
        self._known = len(self._receiver.output())
        assert self._stack.simulator
        assert self._stack.simulator.command(f"set {object_id:#x} {value}") == "ok"

    def sent(self) -> str:
        return self._receiver.output()[self._known:]

    def wait_for(self, *names: str) -> None:
        """Returns when the other direction of the alarm, polled a moment later, has seen the value, too."""
        wait_until(lambda: all(f"::{name}\t" in self.sent() for name in names), f"notifications {names}")
        self.wait_for_polls(1)

    def wait_for_polls(self, polls: int) -> None:
        """Every alarm is polled in the same second as those of the pressure."""
        wanted = reads_of(self._stack, PRESSURE) + polls * PRESSURE_READS
        wait_until(lambda: reads_of(self._stack, PRESSURE) >= wanted, f"{polls} polls", interval=0.05)

    _known = 0


def written(directory: Path, alarms: str) -> Path:
    source = directory / "pump.yaml"
    source.write_text(SOURCE + alarms, encoding="ascii")
    return source


def codes_in(tool: MappingTool, source: Path, alarm: str | None) -> set[str]:
    """The codes of the findings for an alarm, or for all of them together."""
    findings = json.loads(tool.run("check", source, "--json").stdout)["findings"]
    return {each["code"] for each in findings if each["object"] == alarm}


@pytest.fixture(scope="module")
def pump(shared_stack: Stack, tool: MappingTool) -> Iterator[FaultyPump]:
    yield FaultyPump(shared_stack, tool)


live = pytest.mark.xdist_group("predictions of alarms")


@live
def test_an_alarm_that_is_raised_between_limits_on_the_wrong_sides_is_not_cleared(pump: FaultyPump) -> None:
    assert pump.codes("pumpHot") == {"TM955"}
    pump.set(HEAT, 55)
    pump.wait_for("pumpHot")
    pump.set(HEAT, 20)
    pump.wait_for_polls(2)
    assert "::pumpHot" not in pump.sent()


@live
def test_a_column_that_a_scalar_should_send_along_is_not_sent(pump: FaultyPump) -> None:
    assert pump.codes("pumpFull") == {"TM956"}
    pump.set(PRESSURE, 60)
    pump.wait_for("pumpFull")
    assert "pumpPressure.0 = INTEGER: 60" in pump.sent()
    assert "valveState" not in pump.sent()
    pump.set(PRESSURE, 20)
    pump.wait_for("pumpFullClear")


@live
def test_an_alarm_above_all_numbers_of_its_object_is_never_raised(pump: FaultyPump) -> None:
    assert pump.codes("pumpBurst") == {"TM954"}
    pump.set(PRESSURE, 255)
    pump.wait_for("pumpFull")
    assert "::pumpBurst\t" not in pump.sent()
    pump.set(PRESSURE, 20)
    pump.wait_for("pumpFullClear")


@pytest.mark.parametrize(("alarm", "code"), [
    ("object: pumpName, condition: above, raise: 5", "TM953"),
    ("object: pumpHeat, condition: one of, raise: [hot]", "TM954"),
])
def test_an_alarm_without_a_meaning_is_left_out(tool: MappingTool, tmp_path: Path, alarm: str, code: str) -> None:
    source = written(tmp_path, f"  - {{name: pumpOdd, number: 1, {alarm}}}\n")
    assert codes_in(tool, source, "pumpOdd") == {code}
    for command in ("mib", "alarms", "zabbix"):
        assert "pumpOdd" not in tool.run(command, source, "-o", "-").stdout


def test_an_alarm_on_a_missing_object_is_left_out(tool: MappingTool, tmp_path: Path) -> None:
    alarm = "  - {name: pumpOdd, number: 1, object: pumpHeat, condition: changed}\n"
    database = tool.database(written(tmp_path, alarm), tmp_path)
    run_sql(database, "UPDATE TARNO_MAPPING_ALARMS SET object = 'pumpHaet'")
    assert codes_in(tool, database, "pumpOdd") == {"TM952"}
    for command in ("mib", "alarms", "zabbix"):
        assert "pumpOdd" not in tool.run(command, database, "-o", "-").stdout


def complaints(tool: MappingTool, source: Path, level: int) -> str:
    """What a reader of the module complains about."""
    module = source.with_name(MODULE)
    assert tool.run("mib", source, "-o", module).returncode == 0
    return subprocess.run(["smilint", "-l", str(level), module], capture_output=True, text=True, timeout=60,
                          check=False, env=smi_environment(base_modules())).stderr


def test_a_long_name_of_an_alarm_is_a_complaint(tool: MappingTool, tmp_path: Path) -> None:
    name = "pumpThatSomebodyHasSwitchedOnAgain"
    source = written(tmp_path, f"  - {{name: {name}, number: 1, object: pumpHeat, condition: changed}}\n")
    assert codes_in(tool, source, name) == {"TM951"}
    assert f"`{name}' longer than 32 characters" in complaints(tool, source, 9)


def test_an_object_at_the_number_of_the_notifications_is_defined_twice(tool: MappingTool, tmp_path: Path) -> None:
    alarm = "  - {name: pumpOdd, number: 1, object: pumpHeat, condition: changed}\n"
    source = written(tmp_path, alarm)
    source.write_text(source.read_text(encoding="ascii").replace("oid: 1.1.3", "oid: 0.1.3"), encoding="ascii")
    assert codes_in(tool, source, "pumpName") == {"TM961"}
    assert "reuses object identifier" in complaints(tool, source, 6)


@pytest.mark.parametrize(("every", "alarm", "code"), [
    (1, "ovenVoltageLow", "TM959"), (1, "ovenUneven", "TM960"), (1, "doorOpen", "TM957"), (10, None, "TM958"),
])
def test_the_check_predicts_what_the_master_agent_does_with_an_oven(
    tool: MappingTool, tmp_path: Path, every: int, alarm: str | None, code: str,
) -> None:
    """test_alarms.py shows on this oven what is not sent, what is sent again, and how often the device is asked."""
    source = tmp_path / "oven.yaml"
    source.write_text(OVEN.replace("raise: open, every: 1", f"raise: open, every: {every}"), encoding="utf-8")
    assert codes_in(tool, source, alarm) == {code}

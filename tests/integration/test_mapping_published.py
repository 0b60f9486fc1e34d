"""What the mapping tool publishes, used by its intended readers: MIB tools and the exporter."""
from __future__ import annotations

import re
import subprocess
from pathlib import Path

import pytest

from support.exporter import scrape, start_exporter
from support.mapping_tool import (
    EXAMPLES, ROOT, MappingTool, base_modules, example, module_directory, smi_environment,
)
from support.stack import MASTER_PORT, Build, Stack

SHELF = "SAMPLE-SHELF-MIB"


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def modules() -> Path:
    return base_modules()


def lint(module: Path, modules: Path) -> str:
    done = subprocess.run(
        ["smilint", "-l", "4", module], capture_output=True, text=True, timeout=60, check=False,
        env=smi_environment(modules))
    return done.stdout + done.stderr


@pytest.mark.parametrize("name", EXAMPLES)
def test_smilint_finds_nothing_in_the_module_of_an_example(
    tool: MappingTool, modules: Path, name: str, tmp_path: Path,
) -> None:
    module = next(module_directory(tool, name, tmp_path).iterdir())
    assert lint(module, modules) == ""


def test_smilint_finds_nothing_in_a_module_of_every_kind_of_object(
    tool: MappingTool, modules: Path, tmp_path: Path,
) -> None:
    source = ROOT / "tests" / "unit" / "mappingTool" / "golden" / "everything.yaml"
    module = tmp_path / "EVERY-KIND-MIB"
    done = tool.run("mib", source, "-o", module)
    assert (done.returncode, done.stderr) == (
        0, "note: object0911: not published: the agent does not serve type Counter32 correctly\n")
    assert lint(module, modules) == ""


def test_smilint_finds_nothing_in_a_module_with_alarms(tool: MappingTool, modules: Path, tmp_path: Path) -> None:
    module = tmp_path / "SAMPLE-PUMP-MIB"
    tool.check("mib", ROOT / "tests" / "unit" / "mappingTool" / "golden" / "alarms.yaml", "-o", module)
    assert lint(module, modules) == ""


def test_smilint_sees_a_bad_module(modules: Path, tmp_path: Path) -> None:
    (tmp_path / "BAD-MIB").write_text("BAD-MIB DEFINITIONS ::= BEGIN nonsense END\n", encoding="ascii")
    assert lint(tmp_path / "BAD-MIB", modules)


@pytest.fixture
def shelf(stack: Stack, tool: MappingTool, modules: Path) -> "Shelf":
    stack.start_simulator_on(example("sample"))
    stack.start_master()
    stack.start_agent(mapping=tool.database(example("sample"), stack.directory))
    for instance in (tool.show(example("sample"))["instances"][index] for index in (0, -1)):
        stack.wait_until_served(instance["oid"])
    return Shelf(stack, module_directory(tool, "sample", stack.directory), modules)


class Shelf:
    """The sample device, seen by clients that know its module."""

    def __init__(self, stack: Stack, own: Path, base: Path) -> None:
        self.stack = stack
        self._environment = smi_environment(own, base) | {"MIBS": SHELF}

    def run(self, client: str, *arguments: str) -> str:
        done = self.stack.world.run(
            [client, "-v2c", "-c", "public", *arguments], env=self._environment)
        assert (done.returncode, done.stderr) == (0, ""), done.stderr
        return done.stdout

    def ask(self, client: str, *names: str) -> str:
        return self.run(client, "-t", "5", f"127.0.0.1:{MASTER_PORT}", *names)

    def translate(self, *arguments: str) -> str:
        done = subprocess.run(
            ["snmptranslate", *arguments], capture_output=True, text=True, timeout=30, check=True,
            env=self._environment)
        return done.stdout.strip()


def test_names_and_numbers_translate_both_ways(shelf: Shelf) -> None:
    assert shelf.translate("-On", f"{SHELF}::portState.3.0") == ".1.3.6.1.4.1.32473.8.2.2.3.8.2.1.1.3.3.0"
    assert shelf.translate(".1.3.6.1.4.1.32473.8.2.2.3.8.1.2.1.0") == f"{SHELF}::airIntake.0"


def test_a_walk_shows_names_labels_and_units(shelf: Shelf) -> None:
    walked = shelf.ask("snmpwalk", f"{SHELF}::sampleShelfMIB")
    for line in ("airIntake.0 = INTEGER: -7 degrees Celsius", "supplyVoltage.0 = STRING: 48.20 volts",
                 "managementAddress.0 = STRING: 192.0.2.10", "portState.6.0 = INTEGER: down(0)",
                 "transmitPower.0 = INTEGER: 13.0 dBm", "fanName.8.0 = STRING: fan 8"):
        assert f"{SHELF}::{line}\n" in walked


def test_every_line_of_a_walk_has_a_name(shelf: Shelf, tool: MappingTool) -> None:
    names = re.findall(rf"^{SHELF}::(\w+)\.[0-9.]+ = ", shelf.ask("snmpwalk", f"{SHELF}::sampleShelfMIB"), re.M)
    assert names == [instance["name"] for instance in tool.show(example("sample"))["instances"]]


@pytest.mark.parametrize(("table", "columns", "cell"), [
    ("portTable", ["portRow", "portName", "portState", "portReceivedPower", "portBandwidth", "portErroredSeconds"],
     "uplink north"),
    ("fanTable", ["fanRow", "fanName", "fanSpeed", "fanWantedSpeed", "fanCurrent"], "fan 8"),
])
def test_snmptable_prints_the_sample_tables(shelf: Shelf, table: str, columns: list[str], cell: str) -> None:
    printed = shelf.run("snmptable", "-Cf", "|", f"127.0.0.1:{MASTER_PORT}", f"{SHELF}::{table}")
    lines = [line.split("|") for line in printed.strip().splitlines()[1:]]
    assert lines[1] == columns or lines[0] == columns
    assert len([line for line in lines if len(line) == len(columns)]) == 1 + 8
    assert cell in printed


def test_the_exporter_has_the_numbers_of_the_device(shelf: Shelf, tool: MappingTool) -> None:
    stack = shelf.stack
    configuration = stack.directory / "snmp.yml"
    tool.check("prometheus", example("sample"), "-o", configuration)
    start_exporter(stack, configuration)
    metrics = scrape(stack, "sample_shelf_mib")
    for metric in ("airIntake -7", "supplyVoltage 48.2", "receivedPower -21.35", "temperatureLimit 65",
                   "shelfHours 31207", "erroredBlocks 2623",
                   'shelfSerialNumber{shelfSerialNumber="SH71-0004211"} 1',
                   'managementAddress{managementAddress="192.0.2.10"} 1',
                   'portReceivedPower{portRow="6"} -40', 'portBandwidth{portRow="1"} 10000',
                   'portErroredSeconds{portRow="6"} 86400', 'portState_info{portRow="6",portState="down"} 1',
                   'portName{portName="ring east",portRow="3"} 1', 'fanSpeed{fanRow="8"} 4203',
                   'fanCurrent{fanRow="4"} 0.43'):
        assert metric in metrics
    assert any(re.fullmatch(r"shelfTimeYear 20\d\d", metric) for metric in metrics)
    assert stack.simulator
    stack.simulator.command("set 0x0121 475")
    assert "supplyVoltage 47.5" in scrape(stack, "sample_shelf_mib")

"""The examples for makers of devices, each in place of the simulator; and the header that they include."""
from __future__ import annotations

import signal
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.mapping_tool import ROOT, MappingTool
from support.program import Program
from support.snmp import NO_SUCH_INSTANCE, Varbind
from support.stack import Build, Stack

_EXAMPLES = ROOT / "examples" / "device"
_HEADER = ROOT / "device" / "include" / "tarnodevice.h"
_BASE = ".1.3.6.1.4.1.32473.21"
_PRESSURE = f"{_BASE}.1.1.1.0"
_CONTACT = f"{_BASE}.1.1.2.0"


def opening(row: int) -> str:
    return f"{_BASE}.2.1.1.2.{row}.0"


@pytest.fixture
def mapping(build: Build, tmp_path: Path) -> Path:
    return MappingTool(build).database(_EXAMPLES / "pump.yaml", tmp_path)


def start_device(stack: Stack, name: str) -> Program:
    if name == "device.py":
        return stack.start("device", [_EXAMPLES / name], stack.build.library_environment)
    return stack.start("device", [stack.build.directory / "examples" / "device" / name])


@pytest.fixture(params=["pump", "event_loop", "device.py"])
def device(stack: Stack, mapping: Path, request: pytest.FixtureRequest) -> Iterator[Program]:
    """An example that is served."""
    started = start_device(stack, request.param)
    stack.start_master()
    stack.start_agent(mapping=mapping)
    stack.wait_until_served(_PRESSURE)
    stack.wait_until_served(opening(4))
    yield started
    assert started.errors() == ""


def test_a_walk_finds_the_objects_of_the_mapping(stack: Stack, device: Program) -> None:
    assert device.is_running()
    assert [(each.oid, each.value) for each in stack.snmp.walk(_BASE)] == [
        (_PRESSURE, "4.12"), (_CONTACT, "ops@example.net"),
        *((f"{_BASE}.2.1.1.1.{row}.0", str(row)) for row in range(1, 5)),
        *((opening(row), value) for row, value in enumerate(("100", "100", "50", "0"), 1))]


def test_a_set_reaches_the_device(stack: Stack, device: Program) -> None:
    assert device.is_running()
    stack.snmp.set(opening(3), "i", 75)
    stack.snmp.set(_CONTACT, "s", "noc@example.net")
    assert [each.value for each in stack.snmp.get_all(opening(3), _CONTACT)] == ["75", "noc@example.net"]


@pytest.mark.parametrize("device", ["pump", "event_loop"], indirect=True)
def test_a_value_that_the_device_refuses_is_not_stored(stack: Stack, device: Program) -> None:
    assert device.is_running()
    stack.snmp.set(opening(1), "i", 101)
    assert stack.snmp.get(opening(1)) == Varbind("INTEGER", "100")


def test_a_restarted_device_is_served_again(stack: Stack, device: Program) -> None:
    device.kill()
    assert stack.snmp.get(_PRESSURE) == NO_SUCH_INSTANCE
    start_device(stack, Path(device.arguments[0]).name)
    stack.wait_until_served(_PRESSURE)


@pytest.mark.parametrize("device", ["event_loop", "device.py"], indirect=True)
@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_ends_the_device(device: Program, number: int) -> None:
    device.signal(number)
    assert device.wait_for_end() == 0


_SCRIPT = """
import sys
sys.path.insert(0, sys.argv[1])
from device import DONE, FAILED, NOT_NOW, pump

with pump() as device:
    print("ready", flush=True)
    for line in sys.stdin:
        exec(line)
        print("ok", flush=True)
"""


def lines_of_page() -> list[str]:
    """What docs/device-makers.md does to a device."""
    page = (ROOT / "docs" / "device-makers.md").read_text(encoding="utf-8")
    return [line.split("#")[0].strip() for line in page.split("```python\n")[1].split("\n```")[0].splitlines()[1:]]


def test_a_test_in_python_chooses_values_and_faults(stack: Stack, mapping: Path) -> None:
    device = stack.start_commanded("device", ["python3", "-c", _SCRIPT, _EXAMPLES], stack.build.library_environment)
    assert device.read_line() == "ready"
    stack.start_master()
    stack.start_agent(mapping=mapping)
    stack.wait_until_served(_PRESSURE)
    change, fail, do_not_answer, recover = lines_of_page()
    for command, expected in ((change, "5.00"), (fail, ""), (do_not_answer, ""), (recover, "5.00")):
        device.command(command)
        assert stack.snmp.get(_PRESSURE) == (Varbind("STRING", expected) if expected else NO_SUCH_INSTANCE), command
    stack.snmp.set(opening(2), "i", 7)
    device.command("assert device[0x0101] == 7")


@pytest.mark.parametrize(("compiler", "standard"), [
    ("gcc", "c99"), ("gcc", "c11"), ("g++", "c++17"), ("g++", "c++20")])
def test_the_header_compiles_alone(compiler: str, standard: str) -> None:
    language = "c++" if compiler == "g++" else "c"
    done = subprocess.run(
        [compiler, f"-std={standard}", "-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only", "-x", language,
         "-include", _HEADER, "-"], input="", capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stderr) == (0, "")

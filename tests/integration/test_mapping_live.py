"""Mappings built by the mapping tool and served by the agent: a manager finds what the tool says."""
from __future__ import annotations

import shlex
from pathlib import Path
from typing import Any

import pytest
import yaml

from support.mapping_tool import EXAMPLES, MappingTool, example
from support.stack import Build, Stack
from support.waiting import wait_until


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


def serve(stack: Stack, tool: MappingTool, name: str) -> dict[str, Any]:
    """Serves an example; returns what the tool says about it."""
    shown = tool.show(example(name))
    stack.start_simulator_on(example(name))
    stack.start_master()
    stack.start_agent(mapping=tool.database(example(name), stack.directory))
    stack.wait_until_served(shown["instances"][0]["oid"])
    stack.wait_until_served(shown["instances"][-1]["oid"])
    return shown


def simulated_objects(tool: MappingTool, name: str) -> dict[str, dict[str, Any]]:
    objects = yaml.safe_load(tool.check("simulate", example(name), "-o", "-"))["objects"]
    return {f"0x{each['id']:04X}": each for each in objects}


@pytest.mark.parametrize("name", EXAMPLES)
def test_a_walk_finds_what_the_tool_shows_in_the_same_order(stack: Stack, tool: MappingTool, name: str) -> None:
    shown = serve(stack, tool, name)
    assert [each.oid for each in stack.snmp.walk(shown["base"])] == [each["oid"] for each in shown["instances"]]


@pytest.mark.parametrize("name", EXAMPLES)
def test_types_are_those_that_the_tool_shows(stack: Stack, tool: MappingTool, name: str) -> None:
    shown = serve(stack, tool, name)
    wanted = {"INTEGER": "INTEGER", "OCTET STRING": "STRING"}
    types = {each["oid"] if each["kind"] == "scalar" else each["oid"] + ".1.0": wanted[each["type"]]
             for each in shown["objects"]}
    found = {each.oid: each.type for each in stack.snmp.walk(shown["base"])}
    assert {oid: found[oid] for oid in types} == types


def settable(shown: dict[str, Any]) -> list[tuple[dict[str, Any], dict[str, Any]]]:
    """Every writable instance with its object."""
    writable = {each["name"]: each for each in shown["objects"] if each["access"] == "read-write"}
    return [(each, writable[each["name"]]) for each in shown["instances"] if each["name"] in writable]


def assignment(entry: dict[str, Any], number: int) -> tuple[str, str, str]:
    """The value to set, and what the device then holds: a different number for each object."""
    conversion = entry["conversion"].split()
    digit = number % 9 + 1
    if conversion[0] == "decimal":
        return "s", f"{digit}", str(digit * 10 ** int(conversion[1]))
    if entry["type"] == "INTEGER":
        places = int(conversion[1]) if conversion[0] == "scaled" else 0
        return "i", str(digit), str(digit * 10 ** places)
    return "s", f"text {number}", f"text {number}"


@pytest.mark.parametrize("name", EXAMPLES)
def test_everything_writable_is_set_at_the_device(stack: Stack, tool: MappingTool, name: str) -> None:
    shown = serve(stack, tool, name)
    assert stack.simulator
    commands, expected = [], {}
    for number, (instance, entry) in enumerate(settable(shown)):
        kind, value, held = assignment(entry, number)
        commands.append(f"snmpset -v2c -c private -t 5 -On 127.0.0.1:1161 {instance['oid']} {kind} "
                        f"{shlex.quote(value)} || exit 1")
        expected[instance["object"]] = f"value {held}"
    assert expected
    done = stack.world.run(["sh", "-c", "\n".join(commands)], timeout=120, env={"MIBS": "", "PATH": "/usr/bin:/bin"})
    assert done.returncode == 0, done.stdout + done.stderr
    assert {obj_id: stack.simulator.command(f"get {obj_id}") for obj_id in expected} == expected


def test_the_object_file_of_a_mapping_is_what_the_simulator_takes(stack: Stack, tool: MappingTool) -> None:
    path = stack.directory / "from-mapping.yaml"
    tool.check("simulate", example("sample"), "-o", path)
    simulator = stack.start_simulator(path)
    assert simulator.command("get 0x0112") == "value noc@example.net"
    assert simulator.command("get 0x2120") == "value -82"
    assert simulator.command("get 0x0A41") == "value 1"


def test_the_simulator_takes_its_objects_from_a_database(stack: Stack, tool: MappingTool, tmp_path: Path) -> None:
    simulator = stack.start_simulator_on(tool.database(example("small"), tmp_path))
    assert simulator.command("get 0x0A41") == "value 0"
    assert simulator.command("get 0x80BA") == "value .1.3.6.1.4.1.32473.20"


def test_a_bad_mapping_ends_the_simulator(stack: Stack, tmp_path: Path) -> None:
    (tmp_path / "bad.yaml").write_text("scalars: 5\n", encoding="ascii")
    done = stack.world.run([stack.build.simulator, "--mapping", tmp_path / "bad.yaml"])
    assert (done.returncode, done.stderr) == (2, f"error: {tmp_path}/bad.yaml:1:10: scalars is not a list\n")


MOVING = """
scalars:
  - {name: counted, oid: 1.1.1, object: 0x101, type: integer, device: {kind: unsigned, width: 4, value: 7,
     motion: counter 1 0.05}}
  - {name: swinging, oid: 1.1.2, object: 0x102, type: text, conversion: decimal 1, device: {kind: signed, width: 2,
     motion: sine 0 1000 1}}
  - {name: walking, oid: 1.1.3, object: 0x103, type: integer, device: {kind: signed, width: 2, value: 50,
     motion: walk 9 0 100 0.05}}
  - {name: replayed, oid: 1.1.4, object: 0x104, type: integer, device: {kind: unsigned, width: 2,
     motion: replay recorded.csv}}
  - {name: clock, oid: 1.1.5, object: 0x105, type: integer, device: {kind: unsigned, width: 4, motion: clock}}
  - {name: limit, oid: 1.1.6, object: 0x106, type: integer, access: read-write, device: {kind: unsigned, width: 4,
     motion: ramp 100 1000 1}}
"""


def test_values_move_as_the_source_says(stack: Stack, tool: MappingTool, tmp_path: Path) -> None:
    source = tmp_path / "moving.yaml"
    source.write_text(MOVING, encoding="ascii")
    (tmp_path / "recorded.csv").write_text("seconds,value\n0,11\n0.1,22\n0.2,33\n", encoding="ascii")
    shown = tool.show(source)
    oids = {each["name"]: each["oid"] for each in shown["instances"]}
    stack.start_simulator_on(source)
    stack.start_master()
    stack.start_agent(mapping=tool.database(source, tmp_path))
    stack.wait_until_served(oids["limit"])

    def seen(name: str, values: int) -> set[str]:
        found: set[str] = set()

        def has_moved() -> bool:
            found.add(stack.snmp.get(oids[name]).value)
            return len(found) >= values

        wait_until(has_moved, f"{name} takes {values} values")
        return found

    assert min(int(value) for value in seen("counted", 3)) >= 7
    assert all(-100 <= float(value) <= 100 for value in seen("swinging", 3))
    assert all(0 <= int(value) <= 100 for value in seen("walking", 3))
    assert seen("replayed", 3) == {"11", "22", "33"}
    assert all(int(value) > 1_700_000_000 for value in seen("clock", 1))
    assert all(100 <= int(value) <= 1000 for value in seen("limit", 3))
    stack.snmp.set(oids["limit"], "i", 5)
    assert {stack.snmp.get(oids["limit"]).value for _ in range(10)} == {"5"}

"""The packages on a whole ARM system with Debian's kernel, used from this machine and interrupted. The tests share the
machine and run in their order: the last one boots it a second time."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_machine import AGENT, DEVICE, LAST, MAPPING, MASTER, InstalledMachine
from machine import BROUGHT, PROCESSORS, SERVED
from support.device import BASE
from support.mapping_tool import ROOT, MappingTool
from support.program import Program
from support.snmp import SnmpError
from support.stack import Stack
from support.waiting import wait_until

_CONTACT = f"{BASE}.1.1.3.0"
_OFFSET = f"{BASE}.1.2.6.0"
_TYPE = f"{BASE}.1.1.1.0"
_CLOCK = f"{BASE}.1.4.3.0"
#: A manager that sets without an end, and prints a line for each answer.
_SETS = f"""while snmpset -v2c -c private -t 15 -r 0 -Oqv -m '' "$0" {_OFFSET} i "$((RANDOM % 100))"; do :; done"""
#: A new mapping again and again, each time the other one.
_BUILDS = f"while :; do for name in changed shelf; do tarnoMapping build {BROUGHT}/$name.yaml -o {MAPPING}; done; done"


@pytest.fixture
def here(tool: MappingTool, brought: Path, tmp_path: Path) -> Iterator[Stack]:
    """The same mapping and device on this machine."""
    stack = Stack(tmp_path, tool.build)
    mapping = tool.database(brought / "shelf.yaml", tmp_path)
    stack.start("device", [tool.build.simulator, "--mapping", mapping]).wait_for_output("ready\n")
    stack.start_master()
    stack.start_agent(mapping=mapping)
    stack.wait_until_served(LAST)
    yield stack
    stack.close()


def test_it_is_the_processor_and_all_of_the_system_is_up(installed: InstalledMachine, architecture: str) -> None:
    assert installed.machine.check("uname", "-m").strip() == PROCESSORS[architecture].name
    assert installed.machine.run(["systemctl", "is-system-running", "--wait"]).stdout.strip() == "running"


def test_apt_has_installed_whole_packages(installed: InstalledMachine) -> None:
    assert installed.machine.check("dpkg", "--verify", "tarnosnmp", "tarnosnmp-tools") == ""
    assert installed.machine.check("systemctl", "is-enabled", AGENT) == "enabled\n"


def test_a_walk_from_this_machine_gives_what_the_agent_gives_here(
    installed: InstalledMachine, here: Stack, architecture: str,
) -> None:
    walked = {each.oid: each for each in installed.machine.manager().walk(BASE)}
    (ROOT / "build" / f"arm-system-{architecture}.walk").write_text(
        "".join(f"{each.oid} = {each.type}: {each.value}\n" for each in walked.values()), encoding="utf-8")
    expected = {each.oid: each for each in here.snmp.walk(BASE)}
    assert list(walked) == list(expected)
    # The device's clock differs.
    del walked[_CLOCK], expected[_CLOCK]
    assert walked == expected


def test_sets_from_this_machine_reach_the_device(installed: InstalledMachine) -> None:
    manager = installed.machine.manager()
    manager.set(_CONTACT, "s", "noc@example.org")
    manager.set(_OFFSET, "i", -12)
    assert [each.value for each in manager.get_all(_CONTACT, _OFFSET)] == ["noc@example.org", "-12"]
    with pytest.raises(SnmpError, match="notWritable"):
        manager.set(_TYPE, "i", 72)


@pytest.mark.parametrize("unit", [AGENT, DEVICE])
def test_a_killed_part_is_started_again_and_serves(installed: InstalledMachine, unit: str) -> None:
    restarts = int(installed.machine.property(unit, "NRestarts"))
    installed.kill(unit)
    wait_until(lambda: int(installed.machine.property(unit, "NRestarts")) > restarts, "it is started again", SERVED)
    installed.machine.wait_until_served(LAST)


def test_a_restarted_master_finds_the_same_agent_again(installed: InstalledMachine) -> None:
    agent = installed.process(AGENT)
    installed.machine.check("systemctl", "restart", MASTER)
    installed.machine.wait_until_served(LAST)
    assert installed.process(AGENT) == agent


def test_after_a_power_cut_in_a_set_and_in_a_build_the_mapping_is_whole(
    installed: InstalledMachine, tmp_path: Path,
) -> None:
    machine = installed.machine
    whole = {installed.build_mapping("changed"), installed.build_mapping("shelf")}
    assert len(whole) == 2
    machine.check("systemd-run", "--unit=builds", "sh", "-c", _BUILDS)
    manager = machine.manager()
    sets = Program(machine.world, "sets", ["bash", "-c", _SETS, manager.address], tmp_path, dict(os.environ))
    wait_until(lambda: sets.output().count("\n") >= 20, "sets are answered", SERVED)
    machine.check("systemctl", "kill", "--signal=STOP", DEVICE)
    wait_until(lambda: installed.waiting_requests() > 0, "a set waits for the device", SERVED)
    machine.cut_power()
    sets.stop()

    installed.boot()
    assert installed.hash_of(MAPPING) in whole
    machine.check("tarnoMapping", "check", MAPPING)
    assert manager.set(_OFFSET, "i", 5).value == "5"
    assert machine.check("dpkg", "--verify", "tarnosnmp", "tarnosnmp-tools") == ""

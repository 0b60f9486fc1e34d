"""Alarms of a mapping as notifications of a real master agent, from the device's value to the manager's screen."""
from __future__ import annotations

import re
import shutil
from collections.abc import Iterator

import pytest

from support.alarms import (BASE, HEAT, HEAT_READS, INFORMS, MODE, NAME, RECEIVER, SECURE_INFORMS, STATES, AlarmedOven,
                            start_receiver)
from support.mapping_tool import ROOT, MappingTool, example, module_directory
from support.snmp import SnmpRefused, user_credentials
from support.stack import Build, Stack

about_limits = pytest.mark.xdist_group("alarms about limits")
about_values = pytest.mark.xdist_group("alarms about values")
about_rows = pytest.mark.xdist_group("alarms about rows and queries")


@pytest.fixture(scope="module")
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture(scope="module")
def shared_oven(shared_stack: Stack, tool: MappingTool) -> AlarmedOven:
    oven = AlarmedOven(shared_stack, tool)
    oven.start()
    return oven


@pytest.fixture
def oven(shared_oven: AlarmedOven) -> Iterator[AlarmedOven]:
    """An oven that is well, and is so again after the test."""
    yield shared_oven
    shared_oven.set(HEAT, 20)
    shared_oven.set(MODE, 2)
    for row in range(4):
        shared_oven.set(STATES + row, 0)
    shared_oven.wait_for_polls()
    shared_oven.taken()


@about_limits
@pytest.mark.parametrize(("value", "inside", "alarm"), [(81, 80, "ovenHot"), (-6, -5, "ovenCold")])
def test_a_limit_is_crossed_once_each_way(oven: AlarmedOven, value: int, inside: int, alarm: str) -> None:
    oven.set(HEAT, value)
    oven.expect(alarm)
    oven.set(HEAT, inside)
    oven.expect()
    oven.set(HEAT, 20)
    oven.expect(f"{alarm}Clear")


@about_values
def test_a_value_raises_every_alarm_that_waits_for_it(oven: AlarmedOven) -> None:
    alarms = ("ovenNotBaking", "ovenUneven", "ovenUseless")
    oven.set(MODE, 3)
    oven.expect(*alarms)
    oven.set(MODE, 2)
    oven.expect(*(f"{alarm}Clear" for alarm in alarms))


@about_values
def test_labels_on_both_sides_of_another_raise_at_each_change_between_them(oven: AlarmedOven) -> None:
    oven.set(MODE, 1)
    oven.expect("ovenNotBaking", "ovenUneven")
    oven.set(MODE, 3)
    oven.expect("ovenUneven", "ovenUseless")
    oven.set(MODE, 4)
    oven.expect("ovenUnevenClear", "ovenBroken")


@about_values
def test_each_change_of_a_text_is_sent_once(oven: AlarmedOven) -> None:
    for name in ("oven 2", "oven 1"):
        oven.set(NAME, name)
        sent = oven.expect("ovenRenamedByItsOwnersAgain")
        assert sent[0].objects == {"ovenName.0": f"STRING: {name}"}


@about_rows
def test_the_rows_of_a_table_are_alarms_of_their_own(oven: AlarmedOven) -> None:
    oven.set(STATES + 1, 1)
    oven.expect("doorOpen 2")
    oven.set(STATES + 3, 1)
    oven.expect("doorOpen 4")
    oven.set(STATES + 1, 0)
    oven.expect("doorOpenClear 2")


@about_rows
def test_a_notification_of_a_row_has_what_goes_along_with_the_row_and_the_device(oven: AlarmedOven) -> None:
    oven.set(STATES + 2, 1)
    assert oven.expect("doorOpen 3")[0].objects == {
        "doorState.3.0": "INTEGER: open(1)", "doorLabel.3.0": "STRING: left",
        "ovenHeat.0": "INTEGER: 20 degrees Celsius"}


@about_rows
def test_a_notification_of_a_scalar_has_what_goes_along(oven: AlarmedOven) -> None:
    oven.set(HEAT, 90)
    assert oven.expect("ovenHot")[0].objects == {
        "ovenHeat.0": "INTEGER: 90 degrees Celsius", "ovenName.0": "STRING: oven 1"}


@about_rows
def test_the_device_is_asked_as_often_as_the_tool_says(oven: AlarmedOven) -> None:
    assert oven.remarks == [
        "note: ovenVoltageLow: not watched: the master agent compares integers only",
        "warning: 1440 exchanges with the device per minute, 96 % of the time if each takes 40 ms"]
    reads_of_heat, reads = oven.reads(HEAT), oven.reads()
    oven.wait_for_polls(5)
    rounds = (oven.reads(HEAT) - reads_of_heat) / HEAT_READS
    assert abs(oven.reads() - reads - rounds * 1440 / 60) <= 2 * 1440 / 60


@about_rows
def test_nobody_logs_in_as_the_user_of_the_queries(oven: AlarmedOven) -> None:
    for level in ("noAuthNoPriv", "authNoPriv", "authPriv"):
        manager = oven.stack.snmp.using(credentials=user_credentials(
            "tarnoAlarms", "tarnoAlarms", "tarnoAlarms", level=level))
        with pytest.raises(SnmpRefused, match="Unknown user name"):
            manager.get(f"{BASE}.1.1.1.0")


@about_rows
def test_the_user_of_the_queries_gets_nothing_but_the_module(oven: AlarmedOven) -> None:
    lines = oven.configuration.read_text(encoding="ascii").splitlines()
    assert [line for line in lines if line.startswith(("rouser", "rwuser", "createUser", "view", "com2sec"))] == [
        "rouser tarnoAlarms auth -V tarnoAlarms", f"view tarnoAlarms included {BASE}"]


@about_rows
def test_the_master_agent_complains_about_no_line(oven: AlarmedOven) -> None:
    assert oven.stack.master
    assert [line for line in oven.stack.master.errors().splitlines() if "alarms.conf" in line] == []


def test_informs_are_repeated_until_they_arrive(stack: Stack, tool: MappingTool) -> None:
    oven = AlarmedOven(stack, tool)
    oven.start(INFORMS)
    oven.lose_a_notification(lambda: oven.set(HEAT, 90))
    oven.expect("ovenHot")


def test_informs_with_keys_arrive(stack: Stack, tool: MappingTool) -> None:
    oven = AlarmedOven(stack, tool)
    oven.start(SECURE_INFORMS)
    oven.set(HEAT, 90)
    oven.expect("ovenHot")


def test_informs_with_keys_reach_a_restarted_manager_once_the_master_reads_its_configuration_again(
    stack: Stack, tool: MappingTool,
) -> None:
    oven = AlarmedOven(stack, tool)
    oven.start(SECURE_INFORMS)
    oven.restart_receiver()
    oven.set(HEAT, 90)
    oven.expect()
    oven.reread_configuration()
    oven.wait_for("ovenHot")


def test_a_lost_trap_stays_lost(stack: Stack, tool: MappingTool) -> None:
    oven = AlarmedOven(stack, tool)
    oven.start()
    oven.lose_a_notification(lambda: oven.set(HEAT, 90))
    oven.set(HEAT, 20)
    oven.expect("ovenHotClear")


def test_the_commands_of_the_page_lead_from_the_source_to_a_notification(stack: Stack, tool: MappingTool) -> None:
    """With /etc/snmp in the test's directory, and the receiver of the test as destination."""
    section = (ROOT / "docs" / "monitoring.md").read_text(encoding="utf-8").split("\n## Alarms\n")[1].split("\n## ")[0]
    commands = "".join(re.findall(r"^    (.*\n)", section, re.MULTILINE)).replace("/etc/snmp", str(stack.directory))
    destination = re.findall(r"^\| `(trap2sink .*)` \|", section, re.MULTILINE)[0]
    shutil.copy(example("sample"), stack.directory / "shelf.yaml")
    tool.shell(f"PATH={tool.path.parent}:$PATH\n{commands}", stack.directory)
    configuration = (stack.directory / "snmpd.conf").read_text(encoding="ascii").splitlines()
    receiver = start_receiver(stack, module_directory(tool, "sample", stack.directory), "SAMPLE-SHELF-MIB")
    stack.start_simulator_on(example("sample"))
    stack.start_master(*configuration, destination.replace("manager.example.net", RECEIVER))
    stack.start_agent(mapping=tool.database(example("sample"), stack.directory))
    receiver.wait_for_output("OID: SAMPLE-SHELF-MIB::airHotClear\tSAMPLE-SHELF-MIB::airIntake.0 = INTEGER: -7 degrees")

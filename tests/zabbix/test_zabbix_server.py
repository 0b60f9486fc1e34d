"""The templates of tarnoMapping in a real Zabbix server, and the device that it watches with them."""
from __future__ import annotations

import signal
from pathlib import Path

import pytest

from support.mapping_tool import EXAMPLES, MappingTool, example
from support.waiting import wait_until
from watched_device import PATIENCE, SOURCE, WatchedDevice
from zabbix_server import ZabbixServer

#: The text of the alarm, in which Zabbix must expand nothing.
SUPPLY_LOW = ("{ HOST.NAME} { $USER} { ?last(//intake)} {{ ITEM.VALUE}.regsub(1)} { #ROW} $ 1 \"low\" \\ 'supply': "
              "46 % # & <é>")


# Imports


@pytest.mark.parametrize("name", EXAMPLES)
def test_zabbix_takes_the_template_of_an_example_and_would_change_nothing_with_it_again(
    zabbix: ZabbixServer, tool: MappingTool, name: str,
) -> None:
    template = tool.check("zabbix", example(name), "-o", "-")
    zabbix.import_template(template)
    assert zabbix.changes_of_import(template) == []


def test_a_second_import_changes_nothing_on_the_host(watched: WatchedDevice) -> None:
    before = watched.identities()
    assert watched.zabbix.changes_of_import(watched.template()) == []
    watched.zabbix.import_template(watched.template())
    assert watched.identities() == before


def test_a_later_release_replaces_the_earlier_one(watched: WatchedDevice, tmp_path: Path) -> None:
    before = watched.identities()
    later = tmp_path / "later.yaml"
    source = SOURCE.read_text(encoding="utf-8").replace("The air is hot.", "The air is too hot.")
    later.write_text(source.replace("name: narrow", "name: slim"), encoding="utf-8")
    watched.zabbix.import_template(watched.template(later))
    after = watched.identities()
    watched.zabbix.import_template(watched.template())
    assert before.keys() - after.keys() == {"item narrow"}
    assert after.keys() - before.keys() == {"item slim"}
    assert {key: value for key, value in after.items() if key in before} == {
        key: value for key, value in before.items() if key in after}


# Values


def test_every_value_in_zabbix_is_that_of_snmpget(watched: WatchedDevice) -> None:
    watched.look_again("intake", "narrow", "portState[4]", "fanCurrent[4]")
    read, got = watched.read_by_zabbix(), watched.got_by_snmpget()
    assert len(read) == 9 + 4 * 3 + 4 * 1
    assert read == got


def test_rows_are_discovered_with_their_names(host: WatchedDevice) -> None:
    names = {key: item["name"] for key, item in host.items().items()}
    assert [names[f"portState[{row}]"] for row in (1, 2, 3, 4)] == [
        "port 1 north: portState", "port 2 süd { $USER} $ 1: portState", 'port 3 "ring" 3: portState',
        "port 4 : portState"]
    assert [names[f"fanCurrent[{row}]"] for row in (1, 4)] == ["fan 1: fanCurrent", "fan 4: fanCurrent"]


def test_labels_are_value_maps(host: WatchedDevice) -> None:
    for key, labels in {"mode": {"0": "standby", "1": "normal", "2": "service"},
                        "portState[2]": {"0": "down", "1": "up", "2": "degraded", "3": "testing"}}.items():
        mappings = host.items()[key]["valuemap"]["mappings"]
        assert {each["value"]: each["newvalue"] for each in mappings} == labels


def test_a_counter_has_a_rate(watched: WatchedDevice) -> None:
    watched.set("0x0106", "9000")
    wait_until(lambda: float(watched.items()["blocks.rate"]["lastvalue"]) > 0, "the counter has a rate", PATIENCE)


# Alarms


@pytest.mark.parametrize(("key", "object_id", "problem", "steps"), [
    ("intake", "0x0101", "The air is hot.", [("45", 0), ("46", 1), ("41", 1), ("40", 0)]),
    ("intake", "0x0101", "The air is cold.", [("-20", 0), ("-21", 1), ("-20", 0)]),
    ("supply", "0x0102", SUPPLY_LOW, [("460", 0), ("459", 1), ("464", 1), ("465", 0)]),
    ("power", "0x0103", "powerHigh", [("1131", 0), ("1132", 1), ("1131", 0)]),
    ("mode", "0x0104", "modeUnusual", [("2", 1), ("1", 0)]),
    ("portState[2]", "0x2111", "port 2 süd { $USER} $ 1: The port is down.", [("0", 1), ("1", 0)]),
    ("portState[3]", "0x2112", 'portImpaired: port 3 "ring" 3', [("2", 1), ("3", 1), ("1", 0)]),
], ids=["above", "below", "decimal text", "scaled number", "not equal", "equal, in a row", "one of, in a row"])
def test_an_alarm_is_a_problem_from_its_limit_until_it_clears(
    watched: WatchedDevice, key: str, object_id: str, problem: str, steps: list[tuple[str, int]],
) -> None:
    for value, is_raised in steps:
        watched.set(object_id, value)
        watched.look_again(key)
        assert watched.problems() == ([problem] if is_raised else []), f"after {value}"


def test_each_change_is_a_problem_that_a_user_closes(watched: WatchedDevice) -> None:
    watched.set("0x0105", "7.2.2")
    watched.wait_for_problems("The software has changed.")
    watched.set("0x0105", "7.2.3")
    watched.wait_for_problems("The software has changed.", "The software has changed.")
    watched.look_again("software")
    assert len(watched.problems()) == 2
    watched.close_changes()
    watched.wait_for_problems()


def test_severities_are_those_of_the_source(host: WatchedDevice) -> None:
    assert host.severities() == {
        "supplyLow": 5, "intakeHot": 4, "intakeCold": 3, "powerHigh": 2, "modeUnusual": 1, "softwareChanged": 1,
        "no values": 4, **{f"portDown: port {row}": 4 for row in (1, 2, 3, 4)},
        **{f"portImpaired: port {row}": 3 for row in (1, 2, 3, 4)}}


def test_a_silent_device_is_a_problem_and_its_rows_keep_their_names(watched: WatchedDevice) -> None:
    names = {key: item["name"] for key, item in watched.items().items()}
    watched.stack.signal_simulator(signal.SIGSTOP)
    watched.wait_for_problems("The device or its agent has no values")
    assert {key: item["name"] for key, item in watched.items().items()} == names
    watched.stack.signal_simulator(signal.SIGCONT)
    watched.wait_for_problems()
    assert watched.stack.agent
    assert "disconnected" not in watched.stack.agent.errors()


# Notifications


@pytest.mark.parametrize(("number", "name"), [(1, "intakeHot"), (2, "intakeHotClear"), (11, "softwareChanged"),
                                              (16, "portImpairedClear")])
def test_a_notification_arrives_at_the_item_of_its_name(host: WatchedDevice, number: int, name: str) -> None:
    before = host.notifications()
    host.notify(f".0.{number}")
    host.wait_for_notification(name, before)


@pytest.mark.parametrize("written", ["SNMPv2-SMI::enterprises.32473.40.0.1", ".1.3.6.1.4.1.32473.40.0.1",
                                     "WATCHED-MIB::intakeHot"])
def test_a_notification_is_recognised_however_its_receiver_writes_it(host: WatchedDevice, written: str) -> None:
    before = host.notifications()
    host.zabbix.write_notification(f"SNMPv2-MIB::snmpTrapOID.0 type=6 value=OID: {written}")
    host.wait_for_notification("intakeHot", before)


@pytest.mark.parametrize("suffix", [".0.12", ".0.99", ".1.1"])
def test_a_notification_without_an_item_is_kept_with_the_others(host: WatchedDevice, suffix: str) -> None:
    before = host.notifications()
    host.notify(suffix)
    host.wait_for_notification("other", before)

"""The device of watched.yaml with its agent, as a host of a Zabbix server."""
from __future__ import annotations

from pathlib import Path
from typing import Any

from support.mapping_tool import ROOT, MappingTool
from support.stack import MASTER_PORT, Stack
from support.waiting import wait_until
from zabbix_server import ZabbixServer

SOURCE = ROOT / "tests" / "unit" / "mappingTool" / "golden" / "watched.yaml"
TEMPLATE = "watched_mib"
BASE = ".1.3.6.1.4.1.32473.40"
#: Zabbix reads a value within seconds; what it discovers or imports first has to reach the server's cache.
PATIENCE = 60.0
_QUICKER = (('delay: "60s"', 'delay: "2s"'), ('delay: "1h"', 'delay: "5s"'), ('value: "5m"', 'value: "20s"'))
_SOFTWARE = "0x0105"
#: What the tests change, as the simulator starts with it.
_INITIAL = {"0x0101": "-7", "0x0102": "482", "0x0103": "1000", "0x0104": "1", _SOFTWARE: "7.2.1", "0x0106": "7000",
            "0x2111": "1", "0x2112": "1"}
_CHANGE = "The software has changed."


class WatchedDevice:
    """Verbs of a device maker, and of an operator in front of Zabbix. Keys of items are those of the objects."""

    def __init__(self, stack: Stack, tool: MappingTool, zabbix: ZabbixServer) -> None:
        self.stack = stack
        self.zabbix = zabbix
        self._tool = tool
        self._host = ""
        self._instances: list[dict[str, Any]] = []
        self._changed: set[str] = set()

    def start(self) -> None:
        """Returns once Zabbix has read every scalar and every cell."""
        shown = self._tool.show(SOURCE)
        self._instances = [each for each in shown["instances"] if each["object"]]
        self.stack.logs_frames = False
        self.stack.start_simulator_on(SOURCE)
        self.stack.start_master()
        self.stack.start_agent(mapping=self._tool.database(SOURCE, self.stack.directory))
        for index in (0, -1):
            self.stack.wait_until_served(self._instances[index]["oid"])
        self.zabbix.import_template(self.template())
        self._host = self.zabbix.add_host("watched device", TEMPLATE, MASTER_PORT)
        wait_until(lambda: len(self.read_by_zabbix()) == len(self._instances), "Zabbix has read everything", PATIENCE)

    def template(self, source: Path = SOURCE) -> str:
        """The template, except that Zabbix reads everything every few seconds, and is impatient."""
        text = self._tool.check("zabbix", source, "-o", "-")
        for slow, quick in _QUICKER:
            assert slow in text
            text = text.replace(slow, quick)
        return text

    # The device

    def set(self, object_id: str, value: str) -> None:
        assert self.stack.simulator
        self.stack.simulator.command(f"set {object_id} {value}")
        self._changed.add(object_id)

    def calm_down(self) -> None:
        """Sets back what was set; what is over when it is noticed is closed."""
        changed = set(self._changed)
        for object_id in changed:
            self.set(object_id, _INITIAL[object_id])
        self._changed.clear()

        def is_calm() -> bool:
            self.close_changes()
            return not self.problems()

        if _SOFTWARE in changed:
            self.look_again("software")
        wait_until(is_calm, "all problems are over", PATIENCE, interval=0.5)

    def notify(self, suffix: str) -> None:
        """Sends the notification with this OID below the base."""
        self.stack.world.check(
            "snmptrap", "-v2c", "-c", "public", "-m", "", f"127.0.0.1:{self.zabbix.receiver_port}", "",
            f"{BASE}{suffix}", f"{BASE}.1.1.1.0", "i", "46")

    def got_by_snmpget(self) -> dict[str, float | str]:
        """The value of each scalar and cell as a manager gets it, with its decimal places."""
        got: dict[str, float | str] = {}
        for each in self._instances:
            value = _comparable(self.stack.snmp.get(each["oid"]).value.encode("latin-1").decode("utf-8"))
            got[_key(each)] = value / 10 if isinstance(value, float) and each["name"] == "power" else value
        return got

    # Zabbix

    def items(self) -> dict[str, dict[str, Any]]:
        """Everything that Zabbix knows of each item of an object."""
        return {item["key_"].removeprefix(f"{TEMPLATE}."): item for item in self.zabbix.call(
            "item.get", hostids=self._host, output="extend", selectValueMap="extend")}

    def read_by_zabbix(self) -> dict[str, float | str]:
        """The last value of each scalar and cell that has one."""
        items = self.items()
        keys = [key for each in self._instances if (key := _key(each)) in items and items[key]["lastclock"] != "0"]
        return {key: _comparable(items[key]["lastvalue"]) for key in keys}

    def identities(self) -> dict[str, str]:
        """The numbers that Zabbix gave to items, triggers and discovery rules."""
        called = self.zabbix.call
        return {
            **{f"item {key}": item["itemid"] for key, item in self.items().items()},
            **{f"trigger {each['description']}": each["triggerid"] for each in called(
                "trigger.get", hostids=self._host, output=["description"])},
            **{f"rule {each['key_']}": each["itemid"] for each in called(
                "discoveryrule.get", hostids=self._host, output=["key_"])}}

    def severities(self) -> dict[str, int]:
        """Of each trigger, without the names of rows."""
        triggers = self.zabbix.call("trigger.get", hostids=self._host, output=["description", "priority"])
        names = {each["description"]: int(each["priority"]) for each in triggers}
        return {(" ".join(name.split()[:3]) if ": port" in name else name): value for name, value in names.items()}

    def look_again(self, *keys: str) -> None:
        """Returns once Zabbix has read each item twice more: the second value was asked for after the call."""
        for _ in range(2):
            before = self._clocks()
            wait_until(lambda seen=before: all(self._clocks()[key] > seen[key] for key in keys),
                       f"{keys} are read again", PATIENCE, interval=0.2)

    def _clocks(self) -> dict[str, tuple[int, int]]:
        return {key: (int(item["lastclock"]), int(item["lastns"])) for key, item in self.items().items()}

    def problems(self) -> list[str]:
        """The name of each open problem."""
        return sorted(each["name"] for each in self.zabbix.call("problem.get", hostids=self._host, output=["name"]))

    def wait_for_problems(self, *names: str) -> None:
        wait_until(lambda: self.problems() == sorted(names), f"the problems are {names}", PATIENCE, interval=0.3)

    def close_changes(self) -> None:
        for event in self.zabbix.call("problem.get", hostids=self._host, output=["eventid", "name"]):
            if event["name"] == _CHANGE:
                self.zabbix.close(event["eventid"])

    def notifications(self) -> dict[str, str]:
        """Of each item for notifications when it last received one."""
        return {item["name"].removeprefix("notification ").removesuffix(" notifications"):
                item["lastclock"] + item["lastns"]
                for key, item in self.items().items() if key.startswith("snmptrap")}

    def wait_for_notification(self, name: str, before: dict[str, str]) -> None:
        """Fails if any other item receives one."""
        wait_until(lambda: self.notifications() != before, f"a notification for {name}", PATIENCE, interval=0.2)
        after = self.notifications()
        assert [each for each in after if after[each] != before[each]] == [name]


def _key(instance: dict[str, Any]) -> str:
    return instance["name"] + (f"[{instance['row']}]" if instance["row"] else "")


def _comparable(text: str) -> float | str:
    """A number, however it is written, or a text."""
    try:
        return float(text)
    except ValueError:
        return text

"""The same alarms, watched by the master agent and by Prometheus."""
from __future__ import annotations

import pytest

from support.alarms import HEAT, MODE, STATES, AlarmedOven
from support.exporter import start_exporter
from support.mapping_tool import MappingTool
from support.prometheus import start_prometheus
from support.stack import Build, Stack
from support.waiting import wait_until


class TwiceWatchedOven:
    """A device whose alarms come as notifications of the master agent, and as alerts of Prometheus."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self._oven = AlarmedOven(stack, tool)
        rules, modules = stack.directory / "oven.rules.yml", stack.directory / "snmp.yml"
        tool.check("prometheus", self._oven.source, "--rules", "-o", rules)
        tool.check("prometheus", self._oven.source, "-o", modules)
        self._prometheus = start_prometheus(stack, "sample_oven_mib", rules)
        self._oven.start()
        start_exporter(stack, modules)
        self._prometheus.wait_for_series(1, "ovenHeat")
        self._of_master: set[str] = set()

    def change(self, values: dict[int, int], *alarms: str) -> None:
        """Changes the device. Afterwards both have these alarms, and no others while they look again."""
        for object_id, value in values.items():
            self._oven.set(object_id, value)
        wait_until(lambda: self._seen_by_master() == set(alarms), f"the master has {alarms}", interval=0.1)
        wait_until(lambda: self._seen_by_prometheus() == set(alarms), f"Prometheus has {alarms}", interval=0.1)
        self._oven.wait_for_polls()
        assert self._seen_by_master() == self._seen_by_prometheus() == set(alarms)

    def _seen_by_master(self) -> set[str]:
        """What the notifications say so far; a clear may come again."""
        for text in self._oven.taken():
            name, _, row = text.partition(" ")
            alarm = f"{name.removesuffix('Clear')} {row}".strip()
            (self._of_master.discard if name.endswith("Clear") else self._of_master.add)(alarm)
        return self._of_master

    def _seen_by_prometheus(self) -> set[str]:
        return self._prometheus.alerts("doorRow")


@pytest.fixture
def oven(stack: Stack, build: Build) -> TwiceWatchedOven:
    return TwiceWatchedOven(stack, MappingTool(build))


def test_the_notifications_of_the_master_and_the_alerts_of_prometheus_agree(oven: TwiceWatchedOven) -> None:
    oven.change({HEAT: 81, STATES + 1: 1}, "ovenHot", "doorOpen 2")
    oven.change({HEAT: 76, MODE: 4}, "ovenHot", "doorOpen 2", "ovenBroken", "ovenNotBaking", "ovenUseless")
    oven.change({HEAT: 75, MODE: 3}, "doorOpen 2", "ovenNotBaking", "ovenUseless", "ovenUneven")
    oven.change({STATES + 1: 0, MODE: 2})

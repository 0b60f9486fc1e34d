"""The agent's local time when the time zone of the machine changes under the running agent."""
from __future__ import annotations

import subprocess
import time
from collections.abc import Callable
from pathlib import Path

import pytest

from support.clock import assertShowsNow
from support.device import startUpObjects, unsigned
from support.mapping import OCTET_STRING, READ_ONLY, Mapping, Scalar
from support.stack import Stack

CLOCK = Scalar(0x0200, (2, 1, 0), asnType=OCTET_STRING, access=READ_ONLY, valueType=3)
HOUR = 3600


class Machine:
    """A machine whose directory of settings holds its time zone and nothing else."""

    def __init__(self, stack: Stack) -> None:
        self._zones = stack.directory / "zones"
        self._settings = stack.directory / "settings"
        self._settings.mkdir()
        stack.world.replaceDirectory("/etc", self._settings)

    def moveTo(self, hours: int) -> None:
        """Replaces the zone file as the system's own tools do: at once, by another link."""
        link = self._settings / "localtime.new"
        link.symlink_to(self._zoneFile(hours))
        link.rename(self._settings / "localtime")

    def _zoneFile(self, hours: int) -> Path:
        source = self._zones.with_suffix(".txt")
        source.write_text(f"Zone Test{hours} {hours}:00 - TEST\n", encoding="ascii")
        subprocess.run(["/usr/sbin/zic", "-d", self._zones, source], check=True, timeout=20)
        return self._zones / f"Test{hours}"


@pytest.fixture
def machine(stack: Stack, monkeypatch: pytest.MonkeyPatch) -> Machine:
    """Device, master and agent on a machine that is five hours ahead."""
    monkeypatch.delenv("TZ", raising=False)
    machine = Machine(stack)
    machine.moveTo(5)
    stack.startSimulator([*startUpObjects(), unsigned(CLOCK.objId, 1)])
    stack.startMaster()
    stack.startAgent(mapping=Mapping([CLOCK]))
    stack.waitUntilServed(CLOCK.oid)
    return machine


def ahead(hours: int) -> Callable[[float], time.struct_time]:
    return lambda seconds: time.gmtime(seconds + hours * HOUR)


def test_the_clock_follows_the_time_zone_of_the_machine(stack: Stack, machine: Machine) -> None:
    assertShowsNow(lambda: stack.snmp.get(CLOCK.oid), ahead(5))
    machine.moveTo(-7)
    assertShowsNow(lambda: stack.snmp.get(CLOCK.oid), ahead(-7))

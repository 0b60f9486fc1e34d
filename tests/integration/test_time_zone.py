"""The agent's local time when the machine's time zone changes under the running agent."""
from __future__ import annotations

import subprocess
import time
from collections.abc import Callable
from pathlib import Path

import pytest

from support.clock import assert_shows_now
from support.device import start_up_objects, unsigned
from support.mapping import OCTET_STRING, READ_ONLY, Mapping, Scalar
from support.stack import Stack

CLOCK = Scalar(0x0200, (2, 1, 0), asn_type=OCTET_STRING, access=READ_ONLY, value_type=3)
HOUR = 3600


class Machine:
    """A machine whose settings directory holds its time zone and nothing else."""

    def __init__(self, stack: Stack) -> None:
        self._zones = stack.directory / "zones"
        self._settings = stack.directory / "settings"
        self._settings.mkdir()
        stack.world.replace_directory("/etc", self._settings)

    def move_to(self, hours: int) -> None:
        """Replaces the zone file as the system's own tools do: atomically, with another link."""
        link = self._settings / "localtime.new"
        link.symlink_to(self._zone_file(hours))
        link.rename(self._settings / "localtime")

    def _zone_file(self, hours: int) -> Path:
        source = self._zones.with_suffix(".txt")
        source.write_text(f"Zone Test{hours} {hours}:00 - TEST\n", encoding="ascii")
        subprocess.run(["/usr/sbin/zic", "-d", self._zones, source], check=True, timeout=20)
        return self._zones / f"Test{hours}"


@pytest.fixture
def machine(stack: Stack, monkeypatch: pytest.MonkeyPatch) -> Machine:
    """Device, master and agent on a machine that is five hours ahead."""
    monkeypatch.delenv("TZ", raising=False)
    machine = Machine(stack)
    machine.move_to(5)
    stack.start_simulator([*start_up_objects(), unsigned(CLOCK.obj_id, 1)])
    stack.start_master()
    stack.start_agent(mapping=Mapping([CLOCK]))
    stack.wait_until_served(CLOCK.oid)
    return machine


def ahead(hours: int) -> Callable[[float], time.struct_time]:
    return lambda seconds: time.gmtime(seconds + hours * HOUR)


def test_the_clock_follows_the_time_zone_of_the_machine(stack: Stack, machine: Machine) -> None:
    assert_shows_now(lambda: stack.snmp.get(CLOCK.oid), ahead(5))
    machine.move_to(-7)
    assert_shows_now(lambda: stack.snmp.get(CLOCK.oid), ahead(-7))

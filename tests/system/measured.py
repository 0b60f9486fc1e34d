"""Subagents measured on the emulated machine, whose clock counts instructions."""
from __future__ import annotations

import json
from dataclasses import dataclass
from statistics import median
from typing import Any

from contestants import AGENT, BARE, BARE_QUEUE
from machine import BROUGHT, SERVED, Machine
from objects import Size
from processes import Memory, parse_memory
from support.waiting import wait_until

#: The objects of the measurements, with values that the benchmark's manager checks.
MEASURED = Size(50, 6)
STARTS = 5
_UNIT = "measured.service"
_DEVICE_UNIT = "echo.service"
_SLICES = 3
_GETS = 500
_SOCKET = "unix:/run/tarnosnmp/agentx"
_OPTIONS = " ".join(MEASURED.options)
_COMMANDS = {
    AGENT: f"/usr/sbin/tarnoSnmp -X -d {BROUGHT}/measured.db -x {_SOCKET} -n tarnosnmp",
    BARE: f"{BROUGHT}/bareAgent -x {_SOCKET} {_OPTIONS}",
    BARE_QUEUE: f"{BROUGHT}/bareQueueAgent -x {_SOCKET} {_OPTIONS}",
}
_MANAGER = f"{BROUGHT}/benchManager {_OPTIONS} 161"
#: The manager asks before the subagent starts, so that it sees its first answer.
_START = f"""
echo 'firstGet {MEASURED.first_oid} 60' | {_MANAGER} >/run/served &
systemd-run --quiet --unit={_UNIT} --property=User=tarnosnmp $0
wait
cat /run/served
"""


@dataclass(frozen=True)
class Figures:
    """Of one subagent, with the clock's nanoseconds as instructions."""

    #: Of the subagent, in user space and in the kernel.
    instructions_per_get: float
    #: Seconds of the clock from the start of the program until a manager has the first value. The smallest of several:
    #: what other programs do meanwhile only adds.
    first_get: float
    memory: Memory


class Measured:
    """A subagent that runs as a service of the machine and serves the objects of the measurements."""

    def __init__(self, machine: Machine, name: str) -> None:
        self._machine = machine
        self._command = _COMMANDS[name]

    def figures(self) -> Figures:
        """All of them. The subagent has ended afterwards."""
        starts = []
        for _ in range(STARTS):
            starts.append(self._start())
            if len(starts) < STARTS:
                self._stop()
        self._get(_GETS // 5)
        slices = [self._instructions_of(_GETS) / _GETS for _ in range(_SLICES)]
        memory = parse_memory(self._machine.check("cat", f"/proc/{self._process()}/smaps_rollup"))
        self._stop()
        return Figures(median(slices), min(starts), memory)

    def _start(self) -> float:
        served = _answer(self._machine.check("sh", "-euc", _START, self._command))["served"]
        assert served, "it does not serve"
        return float(served) - int(self._machine.property(_UNIT, "ExecMainStartTimestampMonotonic")) / 1e6

    def _stop(self) -> None:
        self._machine.check("systemctl", "stop", _UNIT)
        wait_until(lambda: not self._machine.serves(MEASURED.first_oid), "the master agent has noticed", SERVED)

    def _instructions_of(self, gets: int) -> int:
        before = self._processor_time()
        self._get(gets)
        return self._processor_time() - before

    def _get(self, count: int) -> None:
        told = _answer(self._machine.check("sh", "-euc", f"echo 'get1 #{count}' | {_MANAGER}"))
        assert (told["requests"], told["wrong"], told["failed"]) == (count, 0, 0), told

    def _processor_time(self) -> int:
        """Of all threads, in nanoseconds."""
        lines = self._machine.check("sh", "-c", f"cat /proc/{self._process()}/task/*/schedstat").splitlines()
        return sum(int(line.split()[0]) for line in lines)

    def _process(self) -> int:
        return int(self._machine.property(_UNIT, "MainPID"))


def start_measured_device(machine: Machine) -> None:
    """The device of the measurements, as a service."""
    machine.check("systemd-run", "--quiet", f"--unit={_DEVICE_UNIT}", "sh", "-c",
                  f"exec {BROUGHT}/echoDevice {_OPTIONS} /run/counts")


def _answer(line: str) -> dict[str, Any]:
    answer: dict[str, Any] = json.loads(line)
    return answer

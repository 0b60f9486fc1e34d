"""What goes wrong during the soak, random but reproducible: faults of the device, and restarts of the device and of
the master agent."""
from __future__ import annotations

import random
from collections.abc import Callable
from dataclasses import dataclass

from held import Entry, Held
from manager import Manager, Tolerance
from naming import is_name_of
from support.stack import Stack
from support.waiting import wait_until
from traffic import Request, Traffic

_QUICK_BATCH = 10
#: Every request of a batch is waited for, so keep batches that meet a restart small.
_RESTART_BATCH = 4
#: The largest message that the agent's drain takes off the queue.
_LARGEST_DRAINED = 90
_LARGEST_ANSWER = 1024


@dataclass
class Soak:
    """What a disturbance works on."""

    stack: Stack
    held: Held
    traffic: Traffic
    manager: Manager
    chance: random.Random

    def run(self, requests: int, tolerance: Tolerance) -> None:
        for first in range(0, requests, _QUICK_BATCH):
            self.manager.exchange(self.traffic.batch(min(_QUICK_BATCH, requests - first)), tolerance)

    def fault(self, entry: Entry | None, fault: str) -> None:
        self._command(f"fault {'all' if entry is None else hex(entry.obj_id or 0)} {fault}")

    def clear_faults(self) -> None:
        self._command("clear")

    def settle(self) -> None:
        """Waits until every request has been carried out and everything is back to normal. The agent works in order:
        once it serves again, everything earlier is done."""
        for probe in self._probes():
            wait_until(lambda probe=probe: self.manager.is_served(probe), "the agent serves again")

    def compare(self) -> None:
        """Compares the device with what managers wrote, except for objects that a disturbance may have changed. A
        value that does not name its object is replaced, so that no two objects hold the same one."""
        assert self.stack.simulator
        expected = {entry.oid: entry.value for entry in self.held.writable}
        for entry in self.held.differences(self.stack.simulator):
            if entry.obj_id not in self.manager.unknown:
                self.manager.complain(
                    f"the device holds {entry.value!r} for {entry.oid}, written was {expected[entry.oid]!r}")
            if not is_name_of(entry.place, entry.value):
                entry.hold(expected[entry.oid])
                self._command(f"set {entry.obj_id:#x} {entry.value}")
        self.manager.unknown.clear()

    def _command(self, line: str) -> None:
        assert self.stack.simulator
        answer = self.stack.simulator.command(line)
        assert answer == "ok", f"{line}: {answer}"

    def _probes(self) -> list[Request]:
        """Of objects that nobody writes."""
        scalar = next(entry for entry in self.held.refusing if entry.is_scalar)
        cell = next(entry for entry in self.held.refusing if not entry.is_scalar)
        return [self.traffic.get([each]) for each in (scalar, cell)]


#: Runs this many requests with a disturbance.
Action = Callable[[Soak, int], None]


@dataclass(frozen=True)
class Disturbance:
    """One kind of disturbance."""

    name: str
    apply: Action


def _faulty(make_fault: Callable[[random.Random], str]) -> Action:
    """One object behaves like this; everything about the others must be right."""
    def apply(soak: Soak, requests: int) -> None:
        entry = soak.chance.choice(soak.held.on_device)
        soak.fault(entry, make_fault(soak.chance))
        soak.run(requests, Tolerance(faulty=frozenset({entry.obj_id or 0})))
    return apply


def _slow_answers(soak: Soak, requests: int) -> None:
    soak.fault(None, f"delay {soak.chance.randint(1, 5)} times 50")
    soak.run(requests, Tolerance())


def _doubled_answers(soak: Soak, requests: int) -> None:
    """A duplicate answer that arrives after the next request is taken for the answer to that one: nothing is
    outstanding at the time."""
    soak.fault(None, f"duplicate {soak.chance.randint(1, 3)} times {soak.chance.randint(1, 20)}")
    soak.run(_QUICK_BATCH, Tolerance(anything=True))
    soak.clear_faults()
    soak.settle()
    soak.compare()
    soak.run(requests - _QUICK_BATCH, Tolerance())


def _garbage(chance: random.Random) -> str:
    if chance.random() < 0.5:
        return f"size {chance.randint(0, _LARGEST_DRAINED)} times 10"
    return f"size {chance.randint(0, _LARGEST_ANSWER)} only reads times 10"


def _raw(chance: random.Random) -> str:
    return f"raw {chance.randbytes(chance.randint(1, 40)).hex()}"


def _missed(make_fault: Callable[[random.Random], str]) -> Action:
    """The agent's wait for an answer expires: no object may show another one's value."""
    def apply(soak: Soak, requests: int) -> None:
        entry = soak.chance.choice(soak.held.on_device)
        soak.fault(entry, make_fault(soak.chance))
        soak.run(requests, Tolerance(errors=True))
    return apply


def _pause(soak: Soak, requests: int) -> None:
    """The agent gives up on requests that the device carries out after the pause. While the device works them off,
    taking a time per answer that is short or long for a silent device, no object may show another one's value."""
    soak.fault(None, f"delay {soak.chance.choice([3, 10, 30, 50])} times {soak.chance.randint(20, 60)}")
    soak.fault(None, f"pause {soak.chance.randint(3050, 3600)}")
    soak.run(requests, Tolerance(errors=True))


def _device_restart(soak: Soak, requests: int) -> None:
    tolerance = Tolerance(errors=True)
    soak.manager.exchange(soak.traffic.batch(_RESTART_BATCH), tolerance, meanwhile=soak.stack.kill_simulator)
    soak.stack.start_simulator(soak.held.device_objects())
    soak.settle()
    soak.run(requests - _RESTART_BATCH, tolerance)


def _master_restart(soak: Soak, requests: int) -> None:
    end = soak.chance.choice([soak.stack.stop_master, soak.stack.kill_master])
    soak.manager.exchange(soak.traffic.batch(_RESTART_BATCH), Tolerance(errors=True), patience=0.5, meanwhile=end)
    soak.stack.start_master()
    soak.settle()
    soak.run(requests - _RESTART_BATCH, Tolerance())


QUICK = [
    Disturbance("slow answers", _slow_answers),
    Disturbance("doubled answers", _doubled_answers),
    Disturbance("refusals", _faulty(lambda chance: "error")),
    Disturbance("unknown answers", _faulty(lambda chance: f"error {chance.randint(0, 255)}")),
    Disturbance("wrong lengths", _faulty(lambda chance: f"length {chance.randint(0, 255)}")),
    Disturbance("wrong ids", _faulty(lambda chance: f"wrong-id {chance.randint(0, 0xFFFF)}")),
    Disturbance("too long answers", _faulty(lambda chance: f"extra {chance.randint(1, 60)}")),
    Disturbance("cut answers", _faulty(lambda chance: f"truncate {chance.randint(0, 8)}")),
    Disturbance("raw answers", _faulty(_raw)),
    Disturbance("garbage", _faulty(_garbage)),
]

#: Each takes seconds.
SLOW = [
    Disturbance("lost answers", _missed(lambda chance: f"silent times {chance.randint(1, 2)}")),
    Disturbance("pauses", _pause),
    Disturbance("restart of the device", _device_restart),
    Disturbance("late answers", _missed(lambda chance: f"delay {chance.randint(3020, 3300)} times 1")),
    Disturbance("restart of the master", _master_restart),
]

"""The table of faults in docs/operations.md: what a test of one fault observes becomes a row of it, or is compared
with the row that is there.

A test describes its fault step by step on an `Incident`: each step checks what a manager sees and how long that
took, and the last one that everything works again. With the environment variable TARNO_FAULT_MATRIX_ROWS set to a
directory, the row is written to a file there (scripts/fault-matrix collects them); otherwise its texts must match
the document. Measured times are in the table for orientation: only their bounds are compared.
"""
from __future__ import annotations

import json
import os
import re
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path

from .device import DeviceObject, start_up_objects, unsigned
from .mapping import Cell, Mapping, Scalar
from .observing import all_frames
from .program import Program
from .snmp import Snmp, SnmpError, SnmpTimeout, Varbind
from .stack import Stack
from .waiting import wait_until

DOCUMENT = Path(__file__).resolve().parents[3] / "docs" / "operations.md"
ROWS_VARIABLE = "TARNO_FAULT_MATRIX_ROWS"
BEGIN = "<!-- fault matrix: written by scripts/fault-matrix --update -->"
END = "<!-- fault matrix: end -->"
HEADING = [
    "| Fault | What a manager sees | How long it takes | What the agent prints | How it recovers | In what time |",
    "|---|---|---|---|---|---|",
]

#: Every fault of the table, in the order of its rows.
FAULTS = (
    "device not there at the start",
    "device stopped (SIGSTOP)",
    "device took the start's first request and died",
    "device killed in the middle of a read",
    "device killed in the middle of a read, started again at once",
    "device killed in the middle of a write",
    "device restarted",
    "device silent",
    "device late once by 0.1 s",
    "device late once by 1 s",
    "device late once by 1.5 s",
    "device late once by 2.9 s",
    "device late once by 3.1 s",
    "device late once by 8 s",
    "device late by 2.9 s every time",
    "device pauses once for 3.4 s and then needs 15 ms for each answer",
    "device pauses twice for 3.4 s and needs 15 ms for each answer",
    "device answers twice",
    "device refuses a read of a scalar",
    "device refuses a read of a table cell",
    "device refuses a write",
    "device answers with another id, every earlier request answered",
    "device answers with another id, an earlier request unanswered",
    "device answers everything under another id, and pauses once for 3.4 s",
    "device answers everything under another id, at the start of the agent",
    "device answers with garbage of every length from 0 to 4100 bytes",
    "message of 101 to 1024 bytes waits on the answer queue",
    "message over 1024 bytes waits on the answer queue",
    "request queue full",
    "answer queue full of old answers",
    "queues removed between two requests",
    "queues removed in the middle of an exchange",
    "request queue without permission for the agent",
    "answer queue without permission for the agent",
    "master not there at the start",
    "master stopped (SIGSTOP), going on soon",
    "master stopped (SIGSTOP) until the agent gives it up",
    "master killed, started again",
    "master restarted in good order",
    "AgentX socket removed",
    "AgentX socket removed, agent restarted",
    "mapping missing",
    "mapping's directory missing",
    "mapping is a directory",
    "mapping without permission for the agent",
    "mapping empty",
    "mapping cut off in its header",
    "mapping cut off in the middle",
    "mapping locked by another process",
    "mapping removed while the agent runs",
    "agent stopped (SIGSTOP), going on soon",
    "agent stopped (SIGSTOP) until the master gives it up",
    "agent killed, started again",
    "agent killed while the device holds a request of it, started again",
    "agent out of file descriptors",
    "agent out of file descriptors, master restarted",
)

SCALAR = Scalar(0x0101, (1, 1, 0))
OTHER_SCALAR = Scalar(0x0102, (1, 2, 0))
CELL = Cell(0x1001, ".3.1", 2, row=1)
OTHER_CELL = Cell(0x1002, ".3.1", 2, row=2)
Target = Scalar | Cell
NAMES: dict[Target, str] = {
    SCALAR: "scalar", OTHER_SCALAR: "another scalar", CELL: "table cell", OTHER_CELL: "another cell"}
TARGETS = tuple(NAMES)
MAPPING = Mapping([SCALAR, OTHER_SCALAR], [CELL, OTHER_CELL])
#: No two objects share a value, and no value is 0.
VALUES: dict[Target, int] = {SCALAR: 1101, OTHER_SCALAR: 2202, CELL: 3303, OTHER_CELL: 4404}

ITS_VALUE = "its value"
NO_INSTANCE = "noSuchInstance"
NO_OBJECT = "noSuchObject"
NO_ANSWER = "no answer"
DONE = "done"
GEN_ERR = "genErr"
#: Only the arrival of an answer to a write matters.
DONE_BUT_REFUSED = "done, although the device has refused it, by design"

#: The outcomes of a set that has reached the device, and their names in the protocol.
_WRITTEN = {DONE: DONE, DONE_BUT_REFUSED: DONE}
#: The first of master, agent and manager creates the library's directories.
_CREATED = "Created directory"
_DETAILS = {
    r"NET-SNMP version \S+": "NET-SNMP version …",
    r"cmd=\w+  oid=0x\w+": "cmd=…  oid=0x…",
}
_INITIALISED = "init_agent rc=0....\n"
#: How long a manager waits if only its own patience is tested.
_SHORT_PATIENCE = 1.0


def device_objects(values: dict[Target, int]) -> list[DeviceObject]:
    objects = [unsigned(int(str(each.obj_id)), value, writable=True) for each, value in values.items()]
    return [*start_up_objects(rows=0), *objects]


@dataclass(frozen=True)
class Step:
    """What was seen, and how long it took; without a bound the time is the manager's own."""

    seen: str
    seconds: float
    bound: float | None

    @property
    def lasted(self) -> str:
        return "as long as it waits" if self.bound is None else timed(self.seconds, self.bound)


def _shortened(status: str) -> str:
    """An error status as the protocol spells it."""
    return GEN_ERR if status == "genError" else status


def timed(seconds: float, bound: float) -> str:
    return f"{seconds:.2f} s (under {bound:g})"


def without_times(row: str) -> str:
    """A row with its measured times blanked out."""
    return re.sub(r"\d+\.\d\d s \(", "… s (", row)


class Incident:
    """One fault of a running system, from its beginning to the end of its consequences. Whatever a manager sees
    meanwhile must be the object's own value or none, unless a step says otherwise."""

    def __init__(self, stack: Stack, fault: str) -> None:
        assert fault in FAULTS, f"{fault!r} is in no row of the table"
        self.stack = stack
        self.fault = fault
        self.values = dict(VALUES)
        self._steps: list[Step] = []
        self._writes = 0
        #: Lines that may or may not be printed.
        self._tolerated: set[str] = set()
        self._agent: Program | None = None
        self._printed_before = self._erred_before = 0
        self._recovery = ("", "")

    # Beginning

    def start_device(self) -> None:
        self.stack.start_simulator(device_objects(self.values))

    def start_agent(self, mapping: Mapping | Path = MAPPING, through: tuple[str, ...] = ()) -> Program:
        """The agent with the library's default interval between attempts to find a master."""
        return self.stack.start_agent(mapping=mapping, quick_reconnect=False, through=through)

    def serve(self, through: tuple[str, ...] = ()) -> None:
        """Starts device, master and agent, and waits until everything is served."""
        self.start_device()
        self.stack.start_master()
        self.start_agent(through=through)
        self.stack.wait_until_served()
        self.begin()

    def begin(self, with_its_start: bool = False) -> None:
        """From here on, or from its start, the agent's output belongs to the fault."""
        assert self.stack.agent
        self._agent = self.stack.agent
        self._printed_before = 0 if with_its_start else len(self._agent.output())
        self._erred_before = 0 if with_its_start else len(self._agent.errors())

    def tell(self, command: str) -> None:
        """Sends the device a command."""
        assert self.stack.simulator
        assert self.stack.simulator.command(command) == "ok"

    # What a manager sees

    def get(
        self, target: Target, expected: str, within: float | None, at_least: float = 0, when: str = "",
        shown: int | None = None,
    ) -> None:
        """Gets an object. `expected` is what is seen; `shown` is a value that is not the object's own and is shown
        by design. Without a bound the manager has little patience."""
        manager = self._manager(within)
        start = time.monotonic()
        seen = self._in_words(target, manager, shown, expected)
        self._add(f"{NAMES[target]}{when}: ", seen, expected, start, within, at_least)

    def get_soon(self, target: Target, within: float, when: str) -> None:
        """Gets the value of an object from a device that the agent believes silent. On a busy machine the short
        wait for such a device may be too short at first."""
        start = time.monotonic()
        seen = self._in_words(target, self._manager(within), None, ITS_VALUE)
        while seen == NO_INSTANCE and time.monotonic() - start < within:
            self._tolerated.add(
                f"SnmpAgentX::read_Var  getObjValue ERROR  oid = {int(str(target.obj_id)):X} !!!!!!!!!!!")
            seen = self._in_words(target, self._manager(within), None, ITS_VALUE)
        self._add(f"{NAMES[target]}{when}: ", seen, ITS_VALUE, start, within, 0)

    def set(
        self, target: Target, value: int, expected: str, within: float, at_least: float = 0, when: str = "",
    ) -> None:
        """Sets an object. The device gets at most one write for it: the master repeats requests that are not
        answered within a second, but the library does not carry out a repeated write."""
        start = time.monotonic()
        try:
            self._manager(within).set(target.oid, "i", value)
            seen = DONE
        except SnmpError as error:
            seen = _shortened(error.status)
        if expected in _WRITTEN:
            self._writes += 1
            seen = expected if seen == _WRITTEN[expected] else seen
        if expected == DONE:
            self.values[target] = value
        self._add(f"set of a {NAMES[target]}{when}: ", seen, expected, start, within, at_least)

    def note(self, seen: str, seconds: float, bound: float) -> None:
        """A step that a test has carried out itself."""
        assert seconds < bound, f"{self.fault}: {seen}: {seconds:.2f} s, allowed are {bound:g} s"
        self._steps.append(Step(seen, seconds, bound))

    def _manager(self, within: float | None) -> Snmp:
        return self.stack.snmp.using(timeout=_SHORT_PATIENCE if within is None else within)

    def _add(
        self, what: str, seen: str, expected: str, start: float, within: float | None, at_least: float,
    ) -> None:
        seconds = time.monotonic() - start
        assert seen == expected, f"{self.fault}: {what}{seen} after {seconds:.2f} s, expected was: {expected}"
        assert within is None or at_least <= seconds < within, (
            f"{self.fault}: {what}{seen} after {seconds:.2f} s, allowed are {at_least:g} to {within:g} s")
        self._steps.append(Step(what + seen, seconds, within))

    def _in_words(self, target: Target, manager: Snmp, shown: int | None, expected: str) -> str:
        try:
            varbind = manager.get(target.oid)
        except SnmpError as error:
            return _shortened(error.status)
        except SnmpTimeout:
            return NO_ANSWER
        if varbind == Varbind("INTEGER", str(self.values[target])):
            return ITS_VALUE
        if shown is not None and varbind == Varbind("INTEGER", str(shown)):
            return expected
        return varbind.type if varbind.type.startswith("noSuch") else f"{varbind.type} {varbind.value}"

    # End

    def recover(
        self, how: str, within: float, action: Callable[[], object] = lambda: None, restarted: bool = False,
    ) -> None:
        """Ends the fault with `action`, and waits until every object has its value again. From then on everything
        must be right; `restarted` says that `action` starts another agent."""
        start = time.monotonic()
        printed = self._printed() if restarted else None
        action()
        wait_until(self._all_right, f"everything is right again: {self.fault}", within)
        seconds = time.monotonic() - start
        assert seconds < within, f"{self.fault}: recovered after {seconds:.2f} s, allowed are {within:g} s"
        self._recovery = (how, timed(seconds, within))
        self.assert_in_step()
        assert restarted == (self.stack.agent is not self._agent)
        assert self.stack.agent and self.stack.agent.is_running(), f"{self.fault}: the agent has ended"
        self._assert_writes()
        self._finish(self._printed() if printed is None else printed)

    def wait_for_answers(self) -> None:
        """Waits until the device has answered every request that it has got."""
        def is_answered() -> bool:
            frames = all_frames(self.stack)
            return len(frames) == 2 * sum(frame.startswith(">") for frame in frames)

        wait_until(is_answered, "the device answers everything")

    def assert_in_step(self) -> None:
        """Every object repeatedly shows its own value."""
        # Requests reach the agent in order: once it has answered this one, for something that needs no lookup, it
        # has finished and printed everything that earlier ones cause.
        self.stack.snmp.get(f"{SCALAR.name}.0.0.0")
        expected = [Varbind("INTEGER", str(self.values[each])) for each in TARGETS]
        for _ in range(3):
            for target, value in zip(TARGETS, expected, strict=True):
                assert (target, self.stack.snmp.get(target.oid)) == (target, value)
        assert self.stack.snmp.get_all(*(each.oid for each in TARGETS)) == expected

    def _all_right(self) -> bool:
        """Whether every object has its value; none may have another's."""
        try:
            varbinds = self.stack.snmp.using(timeout=_SHORT_PATIENCE).get_all(*(each.oid for each in TARGETS))
        except (SnmpError, SnmpTimeout):
            return False
        expected = [Varbind("INTEGER", str(self.values[each])) for each in TARGETS]
        for varbind, right in zip(varbinds, expected, strict=True):
            assert varbind == right or varbind.type.startswith("noSuch"), f"{self.fault}: {varbind}, not {right}"
        return varbinds == expected

    def _assert_writes(self) -> None:
        writes = sum(frame.startswith("> 01 ") for frame in all_frames(self.stack))
        assert writes == self._writes, f"{self.fault}: the device got {writes} writes for {self._writes}"

    def _printed(self) -> str:
        """What the agent has printed since the beginning: only the first of equal lines, and without the lines of a
        start that only show its settings."""
        assert self._agent
        output = self._agent.output()[self._printed_before:]
        lines = (output.partition(_INITIALISED)[2] or output).splitlines()
        lines += self._agent.errors()[self._erred_before:].splitlines()
        lines = [line for line in lines if line not in self._tolerated and not line.startswith(_CREATED)]
        told = (self._without_details(line).strip() for line in lines)
        return "<br>".join(f"`{line}`" for line in dict.fromkeys(told) if line) or "nothing"

    def _without_details(self, line: str) -> str:
        """A line without what varies between runs."""
        line = line.replace(str(self.stack.directory), "…")
        for pattern, shown in _DETAILS.items():
            line = re.sub(pattern, shown, line)
        return line

    def _finish(self, printed: str) -> None:
        how, seconds = self._recovery
        cells = [self.fault, "<br>".join(each.seen for each in self._steps),
                 "<br>".join(each.lasted for each in self._steps), printed, how, seconds]
        assert not any("|" in cell for cell in cells)
        row = "| " + " | ".join(cells) + " |"
        directory = os.environ.get(ROWS_VARIABLE)
        if directory:
            (Path(directory) / f"{FAULTS.index(self.fault):03d}.json").write_text(json.dumps(row), encoding="utf-8")
        else:
            seen, written = without_times(row), without_times(rows_of(DOCUMENT)[self.fault])
            assert seen == written, f"not as {DOCUMENT.name} has it: {seen}"


def rows_of(document: Path) -> dict[str, str]:
    """The rows of the table, by fault."""
    lines = document.read_text(encoding="utf-8").splitlines()
    table = lines[lines.index(BEGIN) + 1:lines.index(END)]
    assert table[:len(HEADING)] == HEADING
    return {row.split(" | ")[0].removeprefix("| "): row for row in table[len(HEADING):]}

"""Which system calls a request costs, by process. strace counts them; nothing is timed."""
from __future__ import annotations

import signal
import subprocess
from collections.abc import Iterator, Mapping, Sequence
from contextlib import ExitStack, contextmanager
from dataclasses import dataclass
from pathlib import Path

from contestants import AGENT, BARE_EXCHANGES, BARE_QUEUE, BenchBuild, BenchmarkError, Contestant
from objects import Size
from report import LOAD_NAMES
from rounds import loadsOf
from support.waiting import LONGEST_WAIT, waitUntil
from tables import Table, plainNumber

TRACED_CONTESTANTS = (AGENT, BARE_QUEUE, BARE_EXCHANGES)
TRACED_LOADS = ("get1", "getCell", "setCell")
_REQUESTS = 500
#: Calls on the way to no request, as those that were under way when strace came, are far fewer.
_FEWEST_PER_REQUEST = 0.015


@dataclass(frozen=True)
class Calls:
    """The system calls of one process for one request."""

    load: str
    contestant: str
    program: str
    perRequest: Mapping[str, float]

    @property
    def number(self) -> float:
        return sum(self.perRequest.values())


def traceAll(build: BenchBuild, directory: Path, size: Size) -> list[Calls]:
    """One contestant after the other, each load with the programs between the manager and the values."""
    found = []
    for name in TRACED_CONTESTANTS:
        contestant = Contestant(name, size, directory / name, build)
        try:
            contestant.start()
            for load in TRACED_LOADS:
                if load in loadsOf(name):
                    found += _traceLoad(contestant, load, directory)
        finally:
            contestant.close()
    return sorted(found, key=lambda each: TRACED_LOADS.index(each.load))


def callsTable(found: Sequence[Calls]) -> Table:
    rows = [[LOAD_NAMES[each.load], each.contestant, each.program, plainNumber(each.number, 2), ", ".join(
        f"{name} {plainNumber(number, 2)}" for name, number in _mostFirst(each.perRequest))] for each in found]
    return Table("System calls of one request", ["request", "subagent", "process", "calls", "by name"], rows, left=5)


def parseCounts(summary: str, requests: int) -> dict[str, float]:
    """Reads what strace wrote, a line with calls and name each; the sum is not for a call."""
    counts = {}
    for line in summary.splitlines():
        words = line.split()
        if len(words) == 2 and words[0].isdigit() and words[1] != "total":
            counts[words[1]] = int(words[0]) / requests
    return {name: count for name, count in counts.items() if count >= _FEWEST_PER_REQUEST}


def _mostFirst(perRequest: Mapping[str, float]) -> list[tuple[str, float]]:
    return sorted(perRequest.items(), key=lambda item: (-item[1], item[0]))


def _traceLoad(contestant: Contestant, load: str, directory: Path) -> list[Calls]:
    contestant.request(load, _REQUESTS)
    summaries = {program: directory / f"{program}.calls" for program in contestant.servers()}
    with ExitStack() as stack:
        for program, pid in contestant.servers().items():
            stack.enter_context(_counting(pid, summaries[program]))
        contestant.request(load, _REQUESTS)
    return [Calls(load, contestant.name, program, parseCounts(path.read_text(encoding="utf-8"), _REQUESTS))
            for program, path in summaries.items()]


@contextmanager
def _counting(pid: int, summary: Path) -> Iterator[None]:
    """Has the calls of all threads of a process counted, from outside of its world."""
    with subprocess.Popen(
        ["strace", "--summary-only", "--summary-columns=calls,name", "--follow-forks", "--attach", str(pid),
         "--output", summary], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
    ) as strace:
        try:
            waitUntil(lambda: _isTraced(pid) or strace.poll() is not None, f"strace counts for {pid}")
            if strace.poll() is not None:
                raise BenchmarkError(f"strace cannot count: {strace.communicate()[1].strip()}")
            yield
        finally:
            strace.send_signal(signal.SIGINT)
            strace.communicate(timeout=LONGEST_WAIT)


def _isTraced(pid: int) -> bool:
    statuses = [path.read_text(encoding="ascii") for path in Path(f"/proc/{pid}/task").glob("*/status")]
    return all("\nTracerPid:\t0\n" not in status for status in statuses)

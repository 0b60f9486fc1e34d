"""The system calls that a request costs, by process. Counted by strace; nothing is timed."""
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
from rounds import loads_of
from support.waiting import LONGEST_WAIT, wait_until
from tables import Table, plain_number

TRACED_CONTESTANTS = (AGENT, BARE_QUEUE, BARE_EXCHANGES)
TRACED_LOADS = ("get1", "getCell", "setCell")
_REQUESTS = 500
#: Calls that no request makes, such as those in progress when strace attached, are far fewer.
_FEWEST_PER_REQUEST = 0.015


@dataclass(frozen=True)
class Calls:
    """The system calls of one process per request."""

    load: str
    contestant: str
    program: str
    per_request: Mapping[str, float]

    @property
    def number(self) -> float:
        return sum(self.per_request.values())


def trace_all(build: BenchBuild, directory: Path, size: Size) -> list[Calls]:
    """Traces one contestant after another, each load with the programs between the manager and the values."""
    found = []
    for name in TRACED_CONTESTANTS:
        contestant = Contestant(name, size, directory / name, build)
        try:
            contestant.start()
            for load in TRACED_LOADS:
                if load in loads_of(name):
                    found += _trace_load(contestant, load, directory)
        finally:
            contestant.close()
    return sorted(found, key=lambda each: TRACED_LOADS.index(each.load))


def calls_table(found: Sequence[Calls]) -> Table:
    rows = [[LOAD_NAMES[each.load], each.contestant, each.program, plain_number(each.number, 2), ", ".join(
        f"{name} {plain_number(number, 2)}" for name, number in _most_first(each.per_request))] for each in found]
    return Table("System calls of one request", ["request", "subagent", "process", "calls", "by name"], rows, left=5)


def parse_counts(summary: str, requests: int) -> dict[str, float]:
    """Parses strace's summary: a line with calls and name each; the total is not a call."""
    counts = {}
    for line in summary.splitlines():
        words = line.split()
        if len(words) == 2 and words[0].isdigit() and words[1] != "total":
            counts[words[1]] = int(words[0]) / requests
    return {name: count for name, count in counts.items() if count >= _FEWEST_PER_REQUEST}


def _most_first(per_request: Mapping[str, float]) -> list[tuple[str, float]]:
    return sorted(per_request.items(), key=lambda item: (-item[1], item[0]))


def _trace_load(contestant: Contestant, load: str, directory: Path) -> list[Calls]:
    contestant.request(load, _REQUESTS)
    summaries = {program: directory / f"{program}.calls" for program in contestant.servers()}
    with ExitStack() as stack:
        for program, pid in contestant.servers().items():
            stack.enter_context(_counting(pid, summaries[program]))
        contestant.request(load, _REQUESTS)
    return [Calls(load, contestant.name, program, parse_counts(path.read_text(encoding="utf-8"), _REQUESTS))
            for program, path in summaries.items()]


@contextmanager
def _counting(pid: int, summary: Path) -> Iterator[None]:
    """Counts the calls of all threads of a process, from outside its world."""
    with subprocess.Popen(
        ["strace", "--summary-only", "--summary-columns=calls,name", "--follow-forks", "--attach", str(pid),
         "--output", summary], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True,
    ) as strace:
        try:
            wait_until(lambda: _is_traced(pid) or strace.poll() is not None, f"strace counts for {pid}")
            if strace.poll() is not None:
                raise BenchmarkError(f"strace cannot count: {strace.communicate()[1].strip()}")
            yield
        finally:
            strace.send_signal(signal.SIGINT)
            strace.communicate(timeout=LONGEST_WAIT)


def _is_traced(pid: int) -> bool:
    statuses = [path.read_text(encoding="ascii") for path in Path(f"/proc/{pid}/task").glob("*/status")]
    return all("\nTracerPid:\t0\n" not in status for status in statuses)

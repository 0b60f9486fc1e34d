"""The contestants: each serves the same objects in a world of its own, with a master agent, a manager and, if it
needs one, a device."""
from __future__ import annotations

import json
import struct
import sys
from collections.abc import Sequence
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from objects import Size
from processes import Memory, memory_of, processes_of, processor_seconds, program_of
from support.device import BASE
from support.program import CommandedProgram, Program
from support.stack import AGENT_NAME, AGENTX_SOCKET, MASTER_PORT, Build, Stack
from support.waiting import LONGEST_WAIT

AGENT = "agent"
AGENT_OVER_TCP = "agent over TCP"
BARE = "bare"
BARE_QUEUE = "bare+queue"
#: As bare+queue, plus the reads that the rules of the device link make an agent do for a set.
BARE_EXCHANGES = "bare+exchanges"
PYAGENTX = "pyagentx"
PASS_PERSIST = "pass_persist"

CONTESTANTS = (AGENT, BARE, BARE_QUEUE, BARE_EXCHANGES, PYAGENTX, PASS_PERSIST)
WITH_DEVICE = (AGENT, BARE_QUEUE, BARE_EXCHANGES)

_PASS_PERSIST_PROGRAM = "passPersist"
_MASTER_PROGRAM = "snmpd"
_DEVICE_PROGRAM = "echoDevice"
_AGENTX_OVER_TCP = "tcp:127.0.0.1:705"
_NO_LINE_FOR_EACH_REQUEST = "dontLogTCPWrappersConnects yes"
_COUNTS = struct.Struct("<QQ")
#: Reports the moment before it execs the program given after it, which keeps its process.
_TELL_AND_EXECUTE = (
    "import os, sys, time; print(time.clock_gettime(time.CLOCK_MONOTONIC), flush=True); "
    "os.execv(sys.argv[1], sys.argv[1:])")


class BenchmarkError(Exception):
    """A contestant answered wrongly, or not at all: no measurement counts."""


@dataclass(frozen=True)
class BenchBuild(Build):
    """The agent and the programs that it is measured with."""

    def program(self, name: str) -> Path:
        return self.directory / "bench" / "programs" / name

    @property
    def mapping_tool(self) -> Path:
        return self.directory / "tools" / "mapping" / "tarnoMapping"

    @property
    def device_exchanges(self) -> Path:
        return self.directory / "bench" / "micro" / "deviceExchanges"


@dataclass(frozen=True)
class Exchanges:
    """The requests that the device got."""

    reads: int
    writes: int

    def since(self, earlier: "Exchanges") -> "Exchanges":
        return Exchanges(self.reads - earlier.reads, self.writes - earlier.writes)


@dataclass(frozen=True)
class Slice:
    """One load for a short while: number of requests, duration, and processor time."""

    requests: int
    seconds: float
    subagent_seconds: float
    all_seconds: float

    @property
    def rate(self) -> float:
        return self.requests / self.seconds

    @property
    def subagent_per_request(self) -> float:
        return self.subagent_seconds / self.requests

    @property
    def all_per_request(self) -> float:
        return self.all_seconds / self.requests

    @property
    def processor_rate(self) -> float:
        """Requests per second of processor time: the rate if nobody else used the core and nobody waited."""
        return self.requests / self.all_seconds

    @property
    def share_of_core(self) -> float:
        """The measured programs' share of the core: less than one if others used it too."""
        return self.all_seconds / self.seconds


@dataclass(frozen=True)
class StartUp:
    """Seconds from the start of the subagent's program until its first and its last object are served."""

    first: float
    last: float


class BenchStack(Stack):
    """A stack whose programs take commands."""

    def start_commanded(self, name: str, *arguments: str | Path) -> CommandedProgram:
        program = CommandedProgram(
            self.world, self._next_name(name), arguments, self.directory, self._environment())
        self._programs.append(program)
        return program


class Contestant:
    """Created with everything running but the subagent; `start` starts it, also after each `stop`."""

    def __init__(
        self, name: str, size: Size, directory: Path, build: BenchBuild, master_settings: Sequence[str] = (),
    ) -> None:
        self.name = name
        self.size = size
        self._master_settings = master_settings
        self._build = build
        self._agentx_address = _AGENTX_OVER_TCP if name == AGENT_OVER_TCP else AGENTX_SOCKET
        directory.mkdir(parents=True)
        self._counts_path = directory / "counts"
        self._stack = BenchStack(directory, build)
        self._mapping_path = self._stack.write_mapping(size.mapping())
        self._subagent: Program | None = None
        self._subagent_pid = 0
        self._pids: list[int] = []
        try:
            self._start_others()
        except BaseException:
            self._stack.close()
            raise

    def close(self) -> None:
        self._stack.close()

    def start(self) -> StartUp:
        """Starts the subagent and waits until everything is served. One that the master agent runs itself starts with
        the first request, and its times mean nothing."""
        with ThreadPoolExecutor(max_workers=1) as executor:
            served = executor.submit(self._when_served)
            if self.name != PASS_PERSIST:
                arguments = [str(argument) for argument in self._subagent_command()]
                self._subagent = self._stack.start(
                    self.name, [sys.executable, "-I", "-S", "-c", _TELL_AND_EXECUTE, *arguments])
            first, last = served.result()
        executed = float(self._subagent.output().splitlines()[0]) if self._subagent else first
        self._pids = processes_of(self._stack.world)
        self._subagent_pid = self._find_subagent()
        return StartUp(first - executed, last - executed)

    def stop(self) -> None:
        """Ends the subagent and waits until the master agent has noticed."""
        assert self._subagent, "the master agent runs this one"
        self._subagent.stop()
        self._stack.wait_until_gone(self.size.first_oid)

    def run(self, load: str, seconds: float) -> Slice:
        subagent, everything = self._processor_seconds()
        answer = self._ask(f"{load} {seconds:g}")
        subagent_after, everything_after = self._processor_seconds()
        return Slice(
            answer["requests"], answer["seconds"], subagent_after - subagent, everything_after - everything)

    def request(self, load: str, count: int) -> None:
        """Gets exactly this many requests answered."""
        asked = self._ask(f"{load} #{count}")["requests"]
        if asked != count:
            raise BenchmarkError(f"{self.name}: {asked} requests of {load}, not {count}")

    def exchanges_of(self, load: str, count: int) -> Exchanges:
        """The device's share of this many requests. The last step of a set follows its answer; a GET after it waits
        for that step, and the GET's one read is left out."""
        before = self._exchanges()
        self.request(load, count)
        self.request("get1", 1)
        spent = self._exchanges().since(before)
        return Exchanges(spent.reads - 1, spent.writes)

    def memory(self) -> Memory:
        """Of the subagent."""
        return memory_of(self._subagent_pid)

    def servers(self) -> dict[str, int]:
        """The processes that a request passes through, except the manager's, by program name."""
        names = {program_of(pid): pid for pid in self._pids}
        return {name: names[name] for name in (_MASTER_PROGRAM, program_of(self._subagent_pid), _DEVICE_PROGRAM)
                if name in names}

    def spent(self) -> tuple[Exchanges, dict[str, float]]:
        """So far: the exchanges, and the processor time of each of the servers."""
        return self._exchanges(), {name: processor_seconds([pid]) for name, pid in self.servers().items()}

    def queue_rate(self, seconds: float) -> float:
        """Round trips per second with the device alone, bypassing everything else."""
        told = json.loads(self._stack.world.check(self._build.program("queuePingPong"), f"{seconds:g}"))
        return told["roundTrips"] / told["seconds"]

    def _start_others(self) -> None:
        if self.name in (*WITH_DEVICE, AGENT_OVER_TCP):
            device = self._stack.start_commanded(
                "device", self._build.program(_DEVICE_PROGRAM), self._counts_path, *self.size.options)
            ready = device.read_line()
            assert ready == "ready", f"the device said {ready!r}"
        settings = [_NO_LINE_FOR_EACH_REQUEST, *self._master_settings]
        if self.name == PASS_PERSIST:
            program = self._build.program(_PASS_PERSIST_PROGRAM)
            settings.append(f"pass_persist {BASE} {program} {' '.join(self.size.options)}")
        self._stack.start_master(*settings, agentx_address=self._agentx_address)
        self._manager = self._stack.start_commanded(
            "manager", self._build.program("benchManager"), str(MASTER_PORT), *self.size.options)

    def _subagent_command(self) -> list[str | Path]:
        if self.name in (AGENT, AGENT_OVER_TCP):
            return [*self._build.agent_command, "-X", "-d", self._mapping_path, "-x", self._agentx_address,
                    "-n", AGENT_NAME]
        programs: dict[str, list[str | Path]] = {
            BARE: [self._build.program("bareAgent")],
            BARE_QUEUE: [self._build.program("bareQueueAgent")],
            BARE_EXCHANGES: [self._build.program("bareExchangesAgent")],
            PYAGENTX: [sys.executable, Path(__file__).parents[1] / "programs" / "pyagentx_agent.py"],
        }
        return [*programs[self.name], "-x", self._agentx_address, *self.size.options]

    def _when_served(self) -> tuple[float, float]:
        first = self._first_get(self.size.first_oid)
        return first, max(self._first_get(oid) for oid in self.size.last_oids)

    def _first_get(self, oid: str) -> float:
        served = self._command(f"firstGet {oid} {LONGEST_WAIT - 1:g}")["served"]
        if served is None:
            raise BenchmarkError(f"{self.name} does not serve {oid}")
        return served

    def _find_subagent(self) -> int:
        if self._subagent:
            assert self._subagent.pid, f"{self.name} has ended: {self._subagent.errors()}"
            return self._subagent.pid
        return next(pid for pid in self._pids if program_of(pid) == _PASS_PERSIST_PROGRAM)

    def _processor_seconds(self) -> tuple[float, float]:
        return processor_seconds([self._subagent_pid]), processor_seconds(self._pids)

    def _ask(self, command: str) -> dict[str, Any]:
        """Runs a load; every answer has to be correct."""
        answer = self._command(command)
        if answer["wrong"] or answer["failed"]:
            raise BenchmarkError(
                f"{self.name}, {command}: {answer['wrong']} wrong and {answer['failed']} failed of "
                f"{answer['requests']} requests; the first one: {answer['firstWrong']}")
        return answer

    def _command(self, command: str) -> dict[str, Any]:
        answer = json.loads(self._manager.command(command))
        if "error" in answer:
            raise BenchmarkError(f"{command}: {answer['error']}")
        return answer

    def _exchanges(self) -> Exchanges:
        return Exchanges(*_COUNTS.unpack(self._counts_path.read_bytes()[:_COUNTS.size]))

"""The whole system in a world of its own: simulated device, master agent, agent, managers."""
from __future__ import annotations

import os
import re
import shlex
import subprocess
import sys
from collections.abc import Iterable, Mapping as MappingType, Sequence
from dataclasses import dataclass
from pathlib import Path

from .device import ANSWER_QUEUE, DeviceObject, write_objects
from .mapping import Mapping
from .program import CommandedProgram, Program
from .snmp import Snmp, SnmpError, SnmpTimeout, Varbind, user_credentials
from .waiting import LONGEST_WAIT, wait_until
from .world import World

MASTER_PORT = 1161
#: Kept short whatever the directory of the test: the length of a socket's path is limited.
AGENTX_SOCKET = "unix:/run/agentx"
AGENT_NAME = "tarno"
#: Every name that the agent passes to the library; each may have a configuration file.
AGENT_NAMES = (AGENT_NAME, "snmpAgentX", "null:name")
AUTH_PASSWORD = "authpassword"
PRIV_PASSWORD = "privpassword"
QUEUE_TOOL = Path(__file__).with_name("queues.py")

_SYS_UP_TIME = ".1.3.6.1.2.1.1.3.0"
#: Of each program, in a failure report.
_REPORTED_LINES = 25
_QUESTIONER = Path(__file__).with_name("questions.py")


@dataclass(frozen=True)
class Build:
    """The executables under test."""

    directory: Path

    @property
    def agent(self) -> Path:
        return self.directory / "src" / "tarnoSnmp"

    @property
    def agent_command(self) -> list[str | Path]:
        """The command that runs the agent: directly, or through that in TARNO_AGENT_LAUNCHER (an emulator, a
        checker)."""
        return [*shlex.split(os.environ.get("TARNO_AGENT_LAUNCHER", "")), self.agent]

    @property
    def simulator(self) -> Path:
        return self.directory / "tools" / "deviceSim" / "tarnoDeviceSim"

    @property
    def library_environment(self) -> dict[str, str]:
        """For a program that loads libtarnodevice while it runs. The runtime of a sanitizer must be there first."""
        library = self.directory / "device" / "libtarnodevice.so.1"
        needed = subprocess.run(["readelf", "--dynamic", library], capture_output=True, text=True, check=True).stdout
        environment = {"LD_LIBRARY_PATH": str(library.parent)}
        if sanitizer := re.search(r"\[(libasan\.so\.\d+)\]", needed):
            environment |= {"LD_PRELOAD": sanitizer[1], "ASAN_OPTIONS": "detect_leaks=0"}
        return environment


class Stack:
    """Verbs to start, stop and disturb the parts of one system. Every start waits for readiness, except that of
    the agent: only the test knows when an agent is ready."""

    def __init__(self, directory: Path, build: Build) -> None:
        self.directory = directory
        self.build = build
        self.world = World()
        self.simulator: CommandedProgram | None = None
        self.master: Program | None = None
        self.agent: Program | None = None
        #: Whether the simulator logs every frame; logging millions of requests would fill the disk.
        self.logs_frames = True
        self.snmp = Snmp(self.run, f"127.0.0.1:{MASTER_PORT}")
        self._mapping = Mapping()
        self._programs: list[Program] = []
        self._starts: dict[str, int] = {}
        self._make_agent_configuration()

    @property
    def state(self) -> Path:
        """Where the SNMP programs keep their persistent files."""
        return self.directory / "state"

    # The device

    def start_simulator(
        self, objects: Iterable[DeviceObject] | Path, *options: str, through: Sequence[str] = (),
    ) -> CommandedProgram:
        """Starts the device with objects, or an object file; every frame is logged, and a wrong command ends it.
        `through` is a command that runs the command after it."""
        path = objects if isinstance(objects, Path) else write_objects(self.directory / "objects.yaml", objects)
        return self._start_simulator(path, *options, through=through)

    def start_simulator_on(self, mapping: Path, *options: str) -> CommandedProgram:
        """Starts the device with the objects of a mapping, either a database or its source."""
        return self._start_simulator("--mapping", mapping, *options)

    def _start_simulator(self, *options: str | Path, through: Sequence[str] = ()) -> CommandedProgram:
        log = ["--log", self.simulator_log_path] if self.logs_frames else []
        self.simulator = CommandedProgram(
            self.world, self._next_name("simulator"), [*through, self.build.simulator, "--strict", *log, *options],
            self.directory, self._environment())
        self._programs.append(self.simulator)
        ready = self.simulator.read_line()
        assert ready == "ready", f"the simulator said {ready!r}"
        return self.simulator

    @property
    def simulator_log_path(self) -> Path:
        return self.directory / "frames.log"

    def simulator_log(self) -> str:
        return self.simulator_log_path.read_text(encoding="latin-1") if self.simulator_log_path.exists() else ""

    def send_answer(self, hex_frame: str) -> None:
        """Puts a message on the answer queue, as the device would."""
        self.queue_tool("send", hex(ANSWER_QUEUE), hex_frame)

    def queue_tool(self, *arguments: str) -> str:
        return self.world.check(sys.executable, QUEUE_TOOL, *arguments)

    def queue_depth(self, key: int) -> int:
        """The number of messages waiting in a queue; 0 also if there is no such queue."""
        for line in self.world.check("cat", "/proc/sysvipc/msg").splitlines()[1:]:
            columns = line.split()
            if int(columns[0]) == key:
                return int(columns[4])
        return 0

    # The master agent

    def start_master(
        self, *configuration: str, agentx_address: str = AGENTX_SOCKET, port: int = MASTER_PORT,
        through: Sequence[str] = (),
    ) -> Program:
        """Starts an snmpd that serves "public" (read) and "private" (write) on the loopback of the world,
        and the SNMPv3 user "operator"; further lines of its configuration may be given. `through` is a command
        that runs the command after it."""
        path = self.write_master_configuration(*configuration)
        self.master = self.start(
            "master",
            [*through, "snmpd", "-f", "-Le", "-C", "-c", path, "-x", agentx_address, f"udp:127.0.0.1:{port}"],
            {"MIBS": ""})
        self.wait_for_master(port)
        return self.master

    def write_master_configuration(self, *configuration: str) -> Path:
        path = self.directory / "snmpd.conf"
        lines = [
            "master agentx", "rocommunity public 127.0.0.1", "rwcommunity private 127.0.0.1",
            f'createUser operator SHA "{AUTH_PASSWORD}" AES "{PRIV_PASSWORD}"', "rwuser operator priv",
            *configuration,
        ]
        path.write_text("\n".join(lines) + "\n", encoding="ascii")
        return path

    def wait_for_master(self, port: int = MASTER_PORT, timeout: float = LONGEST_WAIT) -> None:
        manager = self.snmp.using(address=f"127.0.0.1:{port}", timeout=0.3)
        wait_until(lambda: _value(manager, _SYS_UP_TIME) is not None, "the master agent answers", timeout)

    @property
    def operator(self) -> Snmp:
        """The manager as the SNMPv3 user, with authentication and privacy."""
        return self.snmp.using(credentials=user_credentials("operator", AUTH_PASSWORD, PRIV_PASSWORD, auth="SHA"))

    # The agent

    def start_agent(
        self, *options: str | Path, mapping: Mapping | Path | None = None, agentx_address: str = AGENTX_SOCKET,
        name: str | None = AGENT_NAME, quick_reconnect: bool = True, env: MappingType[str, str] | None = None,
        through: Sequence[str] = (),
    ) -> Program:
        """Starts the agent as a subagent on a mapping, by default the last one, or with exactly the given options.
        `quick_reconnect` makes the library look for a lost master every second instead of every 15; `through` is a
        command that runs the command after it."""
        if not options:
            options = ("-X", "-d", self.write_mapping(mapping), "-x", agentx_address)
            options += () if name is None else ("-n", name)
        self.agent = self.start(
            "agent", [*through, *self.build.agent_command, *options],
            {**self._agent_configuration(quick_reconnect), **(env or {})})
        return self.agent

    def run_agent(self, *options: str | Path, timeout: float = LONGEST_WAIT) -> "subprocess.CompletedProcess[str]":
        """Runs the agent to its end, with options that it rejects or answers at once."""
        return self.world.run([*self.build.agent_command, *options], timeout, self._environment())

    def write_mapping(self, mapping: Mapping | Path | None) -> Path:
        """The agent's mapping file: the one given, or one made from the given records."""
        if isinstance(mapping, Path):
            return mapping
        self._mapping = mapping if mapping is not None else self._mapping
        return self._mapping.write(self.directory / "mapping.db")

    def wait_until_served(self, oid: str | None = None, timeout: float = LONGEST_WAIT) -> None:
        """Waits until the agent serves an object through the master; by default one of each kind in the mapping.
        Each poll reads the object from the device."""
        assert self.agent
        self.agent.wait_for_output("init_snmp end....\n", timeout)
        manager = self.snmp.using(timeout=1)
        for each in self._probes() if oid is None else [oid]:
            wait_until(lambda each=each: _is_served(_value(manager, each)), f"{each} is served", timeout)

    def wait_until_gone(self, oid: str, timeout: float = LONGEST_WAIT) -> None:
        """Waits until the master no longer has such an object."""
        manager = self.snmp.using(timeout=1)

        def is_gone() -> bool:
            varbind = _value(manager, oid)
            return varbind is not None and not _is_served(varbind)

        wait_until(is_gone, f"{oid} is gone", timeout)

    def output(self) -> str:
        """The agent's standard output so far, byte for byte (Latin-1)."""
        assert self.agent
        return self.agent.output()

    def start_questioner(self, oid: str) -> CommandedProgram:
        """Starts a manager that gets one object with each command "ask"."""
        return self.start_commanded(
            "questioner", [sys.executable, _QUESTIONER, oid, str(MASTER_PORT), hex(ANSWER_QUEUE)])

    @property
    def mapping(self) -> Mapping:
        """The records that the agent was started with."""
        return self._mapping

    # Any program

    def run(self, arguments: Sequence[str | Path], timeout: float) -> "subprocess.CompletedProcess[str]":
        """Runs any program inside the world, to its end."""
        return self.world.run(arguments, timeout, self._environment())

    def start(
        self, name: str, arguments: Sequence[str | Path], env: MappingType[str, str] | None = None,
        stdin: int = subprocess.DEVNULL,
    ) -> Program:
        """Starts any program inside the world; it is stopped with the stack."""
        program = Program(
            self.world, self._next_name(name), arguments, self.directory, self._environment(env), stdin)
        self._programs.append(program)
        return program

    def start_commanded(
        self, name: str, arguments: Sequence[str | Path], env: MappingType[str, str] | None = None,
    ) -> CommandedProgram:
        """Starts a program that answers each line with a line."""
        program = CommandedProgram(
            self.world, self._next_name(name), arguments, self.directory, self._environment(env))
        self._programs.append(program)
        return program

    def stop_agent(self) -> int:
        return _part(self.agent).stop()

    def stop_master(self) -> int:
        return _part(self.master).stop()

    def stop_simulator(self) -> int:
        return _part(self.simulator).stop()

    def kill_agent(self) -> int:
        return _part(self.agent).kill()

    def kill_master(self) -> int:
        return _part(self.master).kill()

    def kill_simulator(self) -> int:
        return _part(self.simulator).kill()

    def signal_agent(self, number: int) -> None:
        _part(self.agent).signal(number)

    def signal_master(self, number: int) -> None:
        _part(self.master).signal(number)

    def signal_simulator(self, number: int) -> None:
        _part(self.simulator).signal(number)

    def close(self) -> None:
        """Stops everything, the newest first."""
        for program in reversed(self._programs):
            program.stop(patience=2)
        self.world.close()

    def captures(self) -> list[tuple[str, str]]:
        """The end of what every program has printed, and of the frames on the queues, for a failure report. pytest
        copies such titles to its JUnit file."""
        sections = [("frames on the queues", self.simulator_log())]
        for program in self._programs:
            sections.append((f"{program.name}: {' '.join(program.arguments)}: standard output", program.output()))
            sections.append((f"{program.name}: standard error", program.errors()))
        return [(f"Captured stdout: {title}", f"== {title}\n{_end_of(content)}\n")
                for title, content in sections if content]

    def sanitizer_reports(self) -> list[str]:
        return [report for program in self._programs for report in program.sanitizer_reports()]

    def _probes(self) -> list[str]:
        groups = (self._mapping.scalars, self._mapping.cells)
        return [group[0].oid for group in groups if group]

    def _next_name(self, name: str) -> str:
        """Each start of a program has its own captures: agent, agent2, ..."""
        self._starts[name] = self._starts.get(name, 0) + 1
        return name if self._starts[name] == 1 else f"{name}{self._starts[name]}"

    def _environment(self, additions: MappingType[str, str] | None = None) -> dict[str, str]:
        """The caller's environment without the variables that would affect the SNMP programs."""
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("MIB", "SNMP"))}
        kept |= {
            "LC_ALL": "C", "SNMPCONFPATH": str(self.directory / "none"), "SNMP_PERSISTENT_DIR": str(self.state),
            "UBSAN_OPTIONS": "print_stacktrace=1",
        }
        return kept | dict(additions or {})

    def _agent_configuration(self, quick_reconnect: bool) -> dict[str, str]:
        return {"SNMPCONFPATH": str(self.directory / ("quick" if quick_reconnect else "none"))}

    def _make_agent_configuration(self) -> None:
        for directory in ("none", "quick", "state"):
            (self.directory / directory).mkdir(parents=True, exist_ok=True)
        for name in AGENT_NAMES:
            (self.directory / "quick" / f"{name}.conf").write_text("agentXPingInterval 1\n", encoding="ascii")


def _end_of(text: str) -> str:
    return "\n".join(text.splitlines()[-_REPORTED_LINES:])


def _part(program: Program | None) -> Program:
    assert program, "this part of the stack was never started"
    return program


def _value(manager: Snmp, oid: str) -> Varbind | None:
    """The answer to a get; None if there was none or only an error."""
    try:
        return manager.get(oid)
    except (SnmpError, SnmpTimeout):
        return None


def _is_served(varbind: Varbind | None) -> bool:
    return varbind is not None and varbind.type not in ("noSuchInstance", "noSuchObject")

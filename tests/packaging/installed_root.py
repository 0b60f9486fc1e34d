"""A root directory made from Debian's packages, in a world of its own, in which packages are installed and run."""
from __future__ import annotations

import hashlib
import os
import subprocess
from collections.abc import Sequence
from pathlib import Path

from support.program import Program
from support.snmp import Snmp, SnmpError, SnmpRefused, SnmpTimeout
from support.waiting import LONGEST_WAIT, wait_until
from support.world import World

BASE = ".1.3.6.1.4.1.32473.8.2.2.3.8"
MAPPING = "/etc/tarnosnmp/mapping.db"
SOCKET = "/run/tarnosnmp/agentx"
EXAMPLES = "/usr/share/doc/tarnosnmp-tools/examples"
#: The working directory of the user inside; the packages are copied here.
HOME = "/srv"
#: The managers' access rights are not tested here; where they are, the shipped example is used.
COMMUNITY = ("-v2c", "-c", "community")
OPEN_TO_US = "rocommunity community 127.0.0.1\nincludeDir /etc/snmp/snmpd.conf.d\n"

_DEVICES = {"null": (1, 3), "zero": (1, 5), "full": (1, 7), "random": (1, 8), "urandom": (1, 9), "tty": (5, 0)}
_ENVIRONMENT = ("PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C", f"HOME={HOME}", "DEBIAN_FRONTEND=noninteractive")
# Installations must not start services: 101 is "not allowed".
_NO_SERVICES = "#!/bin/sh\nexit 101\n"


class InstalledRoot:
    """Verbs to install, run and inspect what is inside. Ends with `close`, and with the process that created it."""

    def __init__(
        self, directory: Path, archive: Path, packages: Sequence[Path], world: World | None = None,
    ) -> None:
        self.directory = directory
        self.packages = packages
        self.path = directory / "root"
        self.path.mkdir()
        subprocess.run(["tar", "--extract", f"--file={archive}", f"--directory={self.path}"], check=True)
        self.world = world or World()
        self._mount()
        self.device: Program | None = None
        self._programs: list[Program] = []
        self.write("/usr/sbin/policy-rc.d", _NO_SERVICES, mode=0o755)

    def close(self) -> None:
        for program in reversed(self._programs):
            program.stop(patience=2)
        self.world.close()

    # Running

    def command(self, arguments: Sequence[str | Path]) -> list[str]:
        """The command that runs another one inside, from the world."""
        return ["chroot", str(self.path), "env", "--ignore-environment", *_ENVIRONMENT, *map(str, arguments)]

    def run(self, arguments: Sequence[str | Path], timeout: float = 60) -> "subprocess.CompletedProcess[str]":
        return self.world.run(self.command(arguments), timeout)

    def check(self, *arguments: str | Path) -> str:
        """Runs a command that must succeed; returns its standard output."""
        done = self.run(arguments)
        assert done.returncode == 0, f"{arguments} ended with {done.returncode}: {done.stdout}{done.stderr}"
        return done.stdout

    def start(self, name: str, *arguments: str | Path) -> Program:
        program = Program(self.world, name, self.command(arguments), self.directory, dict(os.environ))
        self._programs.append(program)
        return program

    # Packages

    def bring_packages(self) -> None:
        for package in self.packages:
            self.file(f"{HOME}/{package.name}").write_bytes(package.read_bytes())

    def install(self) -> None:
        self.bring_packages()
        self.check("dpkg", "--install", *(f"{HOME}/{package.name}" for package in self.packages))

    def build_mapping(self) -> None:
        self.check("tarnoMapping", "build", f"{EXAMPLES}/sample.yaml", "-o", MAPPING)

    def start_device(self) -> None:
        """A simulated device with the objects of the example mapping, which the agent uses too."""
        self.build_mapping()
        self.device = self.start("device", "tarnoDeviceSim", "--mapping", MAPPING)
        self.device.wait_for_output("ready\n")

    # Looking

    def file(self, path: str) -> Path:
        return self.path / path.lstrip("/")

    def write(self, path: str, text: str, mode: int = 0o644) -> None:
        self.file(path).write_text(text, encoding="ascii")
        self.file(path).chmod(mode)

    def contents(self) -> dict[str, str]:
        """Every file with what identifies its content: owner, mode and content or target. Without file systems in
        memory."""
        found: dict[str, str] = {}
        for directory, names, files in os.walk(self.path):
            if Path(directory) == self.path:
                names[:] = [name for name in names if name not in ("proc", "sys", "dev", "run")]
            for name in names + files:
                path = Path(directory, name)
                status = path.lstat()
                found[f"/{path.relative_to(self.path)}"] = (
                    f"{status.st_mode:o} {status.st_uid} {status.st_gid} {_content_of(path)}")
        return found

    def manager(self, credentials: tuple[str, ...] = COMMUNITY) -> Snmp:
        return Snmp(self.run, "127.0.0.1:161", credentials=credentials, timeout=2)

    def wait_until_served(self, timeout: float = 2 * LONGEST_WAIT) -> None:
        """Waits until the last cell of the example is served. The library looks for a restarted master every 15 s.
        """
        wait_until(lambda: self.serves(f"{BASE}.2.2.1.2.8.0"), "the agent serves", timeout)

    def serves(self, oid: str, manager: Snmp | None = None) -> bool:
        try:
            return (manager or self.manager()).get(oid).type not in ("noSuchInstance", "noSuchObject")
        except (SnmpTimeout, SnmpError, SnmpRefused):
            return False

    def agents(self) -> list[str]:
        """The process ids of the agents, as seen from inside."""
        return self.run(["pidof", "tarnoSnmp"]).stdout.split()

    def running_agent(self) -> str:
        """The process id of the only agent, once the started process has become it."""
        wait_until(lambda: len(self.agents()) == 1, "the agent runs")
        return self.agents()[0]

    def _mount(self) -> None:
        self.world.check("mount", "--bind", self.path, self.path)
        self.world.check("mount", "-t", "proc", "proc", self.path / "proc")
        for name in ("run", "dev"):
            self.world.check("mount", "-t", "tmpfs", "-o", "mode=755", "none", self.path / name)
        for name, (major, minor) in _DEVICES.items():
            self.world.check("mknod", "--mode=666", self.path / "dev" / name, "c", str(major), str(minor))
        terminals = self.path / "dev" / "pts"
        self.world.check("mkdir", terminals, self.path / "dev" / "shm")
        self.world.check("mount", "-t", "devpts", "-o", "newinstance,ptmxmode=666", "none", terminals)
        self.world.check("ln", "--symbolic", "pts/ptmx", self.path / "dev" / "ptmx")


def _content_of(path: Path) -> str:
    if path.is_symlink():
        return os.readlink(path)
    return hashlib.sha256(path.read_bytes()).hexdigest() if path.is_file() else ""

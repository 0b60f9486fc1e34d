"""A device whose programs run as separate users, with the master agent's configuration from examples/, and the
fixtures it needs: a test module imports all of them."""
from __future__ import annotations

import os
import shutil
import sys
import tempfile
from collections.abc import Iterator
from pathlib import Path

import pytest

from .device import ANSWER_QUEUE, REQUEST_QUEUE
from .program import Program
from .sample import SAMPLE_MAPPING, SAMPLE_OBJECTS
from .snmp import Snmp, user_credentials
from .stack import QUEUE_TOOL, Build, Stack

ROOT = Path(__file__).resolve().parents[3]
CONFIGURATION = ROOT / "examples" / "snmpd.conf"
SOCKET = "unix:/run/tarnosnmp/agentx"
SOCKET_PATH = SOCKET.removeprefix("unix:")

# The users of the device, by the names that its files use.
_USERS = """tarnosnmp:x:61001:61001::/nonexistent:/usr/sbin/nologin
application:x:61002:61002::/nonexistent:/usr/sbin/nologin
snmp:x:61003:61003::/nonexistent:/usr/sbin/nologin
stranger:x:61004:61004::/nonexistent:/usr/sbin/nologin
"""
_GROUPS = """tarnosnmp:x:61001:application
application:x:61002:
snmp:x:61003:
stranger:x:61004:
"""
PASSPHRASES = {
    "operator": ("operator's passphrase", "operator's secret"),
    "monitor": ("monitor's passphrase", "monitor's secret"),
}
MASTER = ["snmpd", "-f", "-Le", "-u", "snmp", "-g", "snmp"]


def create_users() -> str:
    return "".join(f'createUser {user} SHA-256 "{auth}" AES "{priv}"\n'
                   for user, (auth, priv) in PASSPHRASES.items())


def as_user(user: str, group: str | None = None) -> list[str]:
    """The command prefix that gives a user's rights and no others."""
    return ["setpriv", f"--reuid={user}", f"--regid={group or user}", "--init-groups", "--no-new-privs",
            "--bounding-set=-all", "--inh-caps=-all"]


class _Directories:
    """Directories that every user may enter, created one by one."""

    def __init__(self, top: Path) -> None:
        self._top = top

    def mktemp(self, name: str) -> Path:
        directory = self._top / name
        directory.mkdir(mode=0o755)
        return directory


@pytest.fixture(scope="module")
def tmp_path_factory() -> Iterator[_Directories]:
    """Several users use the stacks of this module; pytest's directories are private."""
    assert os.geteuid() == 0, "these tests act as several users: run them as root"
    with tempfile.TemporaryDirectory(prefix="tarno-") as top:
        os.chmod(top, 0o755)
        yield _Directories(Path(top))


@pytest.fixture
def tmp_path(tmp_path_factory: _Directories) -> Iterator[Path]:
    directory = tmp_path_factory.mktemp("own")
    yield directory
    shutil.rmtree(directory)


@pytest.fixture(scope="module")
def build(build: Build, tmp_path_factory: _Directories) -> Build:
    """Copies of the executables under test that every user may run."""
    copied = Build(tmp_path_factory.mktemp("build"))
    for source, target in ((build.agent, copied.agent), (build.simulator, copied.simulator)):
        target.parent.mkdir(parents=True)
        shutil.copy(source, target)
    return copied


class LockedDevice:
    """Verbs of a device whose programs run as separate users."""

    def __init__(self, stack: Stack) -> None:
        self.stack = stack
        self._queue_tool = shutil.copy(QUEUE_TOOL, stack.directory)
        self._add_users()
        self._prepare_master()
        stack.snmp = self.manager("operator")

    def make_queues(self, mode: str = "660") -> None:
        """What the device application does before the agent starts."""
        for key in (REQUEST_QUEUE, ANSWER_QUEUE):
            self.queue_tool(as_user("application", "tarnosnmp"), "make", hex(key), mode)

    def start_application(self) -> None:
        log = self.stack.simulator_log_path
        log.touch()
        os.chown(log, 61002, 61002)
        self.stack.start_simulator(SAMPLE_OBJECTS, through=as_user("application", "tarnosnmp"))

    def configure_master(self, text: str) -> None:
        """Before the master is started: replaces the configuration from examples/."""
        self.file("/etc/snmp/snmpd.conf").write_text(text, encoding="ascii")

    def launch_master(self, *options: str) -> Program:
        """Starts the master without waiting for it."""
        self.stack.master = self.stack.start(
            "master", [*MASTER, *options],
            {"MIBS": "", "SNMPCONFPATH": "/etc/snmp:/var/lib/snmp", "SNMP_PERSISTENT_DIR": "/var/lib/snmp"})
        return self.stack.master

    def start_master(self, *options: str) -> Program:
        master = self.launch_master(*options)
        self.stack.wait_for_master(port=161)
        return master

    def start_agent(self, user: str = "tarnosnmp", group: str | None = None) -> Program:
        return self.stack.start_agent(
            mapping=SAMPLE_MAPPING, agentx_address=SOCKET, through=as_user(user, group))

    def start(self) -> None:
        self.make_queues()
        self.start_application()
        self.start_master()
        self.start_agent()
        self.stack.wait_until_served()

    def manager(self, user: str) -> Snmp:
        return Snmp(
            self.stack.snmp.run, "127.0.0.1:161", credentials=user_credentials(user, *PASSPHRASES[user]))

    def queue_tool(self, behind: list[str], *arguments: str) -> str:
        """The result of using the queues as some user: what the tool prints, or its error."""
        done = self.stack.world.run([*behind, sys.executable, self._queue_tool, *arguments])
        return done.stdout.strip() if done.returncode == 0 else done.stderr.splitlines()[-1]

    def queues(self) -> dict[int, tuple[str, str, str]]:
        """Octal permissions, owner and group of each queue."""
        lines = self.stack.world.check("cat", "/proc/sysvipc/msg").splitlines()[1:]
        return {int(columns[0]): (columns[2], columns[7], columns[8]) for columns in map(str.split, lines)}

    def file(self, path: str) -> Path:
        return self.stack.world.root / path.lstrip("/")

    def _add_users(self) -> None:
        for path, lines in (("/etc/passwd", _USERS), ("/etc/group", _GROUPS)):
            copy = self.stack.directory / Path(path).name
            copy.write_text(lines + Path(path).read_text(encoding="utf-8"), encoding="utf-8")
            self.stack.world.replace_directory(path, copy)

    def _prepare_master(self) -> None:
        for directory in ("/etc/snmp", "/var/lib/snmp"):
            self.stack.world.hide_directory(directory)
        self.configure_master(CONFIGURATION.read_text(encoding="ascii"))
        self.stack.world.check("install", "-d", "-o", "snmp", "-g", "snmp", "-m", "0700", "/var/lib/snmp")
        self.stack.world.check(
            "install", "-o", "snmp", "-g", "snmp", "-m", "0600", "/dev/null", "/var/lib/snmp/snmpd.conf")
        self.file("/var/lib/snmp/snmpd.conf").write_text(create_users(), encoding="ascii")


@pytest.fixture
def device(stack: Stack) -> LockedDevice:
    """A device with nothing started on it."""
    return LockedDevice(stack)

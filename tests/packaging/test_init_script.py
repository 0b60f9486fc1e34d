"""The init script, on a system without systemd."""
from __future__ import annotations

import socket
import time
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_root import BASE, MAPPING, OPEN_TO_US, InstalledRoot
from support.waiting import wait_until

_SCRIPT = "/etc/init.d/tarnosnmp"
_PID_FILE = "/run/tarnosnmp.pid"
#: How long a start waits until the agent serves.
_PATIENCE = 10


class SystemLog:
    """The receiver of the system's log. Its socket is where this process sees it too; /dev/log is a link to it."""

    def __init__(self, root: InstalledRoot) -> None:
        self._root = root
        self._path = root.file("/srv/log")
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(str(self._path))
        root.check("ln", "--symbolic", "/srv/log", "/dev/log")
        self.lines: list[str] = []

    def wait_for(self, text: str) -> None:
        self._socket.settimeout(20)
        while not any(text in line for line in self.lines):
            self.lines.append(self._socket.recv(10000).decode("ascii"))

    def close(self) -> None:
        self._root.check("rm", "/dev/log")
        self._path.unlink()
        self._socket.close()


@pytest.fixture(scope="module")
def device(installed: InstalledRoot) -> InstalledRoot:
    """With a device application and a master agent."""
    installed.start_device()
    installed.write("/etc/snmp/snmpd.conf", OPEN_TO_US)
    installed.check("service", "snmpd", "start")
    return installed


@pytest.fixture
def stopped(device: InstalledRoot) -> Iterator[InstalledRoot]:
    """No agent runs at the beginning or at the end."""
    device.check(_SCRIPT, "stop")
    assert device.agents() == []
    yield device
    device.check(_SCRIPT, "stop")


def status(root: InstalledRoot) -> tuple[int, str]:
    done = root.run([_SCRIPT, "status"])
    return done.returncode, done.stdout.strip()


def test_start_serves(stopped: InstalledRoot) -> None:
    printed = stopped.check(_SCRIPT, "start")
    assert "Starting SNMP agent of the device: tarnosnmp." in printed
    assert status(stopped) == (0, "tarnosnmp is running.")


def test_start_returns_when_the_agent_serves(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    assert stopped.serves(f"{BASE}.2.2.1.2.8.0")


def test_without_the_device_start_waits_for_a_while_and_says_so(stopped: InstalledRoot) -> None:
    assert stopped.device
    stopped.device.stop()
    begin = time.monotonic()
    assert "(waiting for the device or the master agent)" in stopped.check(_SCRIPT, "start")
    assert _PATIENCE <= time.monotonic() - begin < 2 * _PATIENCE
    assert status(stopped) == (0, "tarnosnmp is running.")
    stopped.start_device()
    stopped.wait_until_served()


def test_a_second_start_changes_nothing(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    first = stopped.running_agent()
    stopped.check(_SCRIPT, "start")
    assert stopped.running_agent() == first


def test_stop_ends_the_agent_and_a_second_stop_changes_nothing(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    for _ in range(2):
        stopped.check(_SCRIPT, "stop")
        assert stopped.agents() == []
        assert stopped.run(["test", "-e", _PID_FILE]).returncode == 1
        assert status(stopped) == (3, "tarnosnmp is not running ... failed!")


def test_stop_leaves_an_agent_that_somebody_else_started(stopped: InstalledRoot) -> None:
    other = stopped.start("other", "tarnoSnmp", "-X", "-d", MAPPING, "-x", "unix:/run/elsewhere", "-n", "other")
    wait_until(lambda: len(stopped.agents()) == 1, "the other agent runs")
    try:
        stopped.check(_SCRIPT, "start")
        # The script finishes before its agent is up: until then the process has the name of its starter.
        wait_until(lambda: len(stopped.agents()) == 2, "both agents run")
        stopped.check(_SCRIPT, "stop")
        assert len(stopped.agents()) == 1
        assert other.is_running()
    finally:
        other.stop()


def test_the_queues_outlive_the_agent(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    stopped.wait_until_served()
    stopped.check(_SCRIPT, "stop")
    keys = [line.split()[0] for line in stopped.check("cat", "/proc/sysvipc/msg").splitlines()[1:]]
    assert sorted(map(int, keys)) == [0x4008, 0x4009]


@pytest.mark.parametrize("action", ["restart", "force-reload"])
def test_restart_runs_another_agent(stopped: InstalledRoot, action: str) -> None:
    stopped.check(_SCRIPT, "start")
    first = stopped.running_agent()
    stopped.check(_SCRIPT, action)
    wait_until(lambda: stopped.running_agent() != first, "another agent runs")
    stopped.wait_until_served()


def test_restart_starts_what_did_not_run(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "restart")
    assert stopped.running_agent()


def test_an_agent_that_was_killed_is_told_and_can_be_started(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    stopped.check("bash", "-c", f"kill -KILL {stopped.running_agent()}")
    wait_until(lambda: stopped.agents() == [], "the agent ends")
    assert status(stopped)[0] == 1
    stopped.check(_SCRIPT, "start")
    assert status(stopped)[0] == 0


def test_without_a_mapping_it_says_so_and_starts_nothing(stopped: InstalledRoot) -> None:
    mapping = stopped.file(MAPPING)
    aside = mapping.rename(mapping.with_suffix(".aside"))
    assert f"there is no {MAPPING}" in stopped.check(_SCRIPT, "start")
    assert stopped.agents() == []
    aside.rename(mapping)


@pytest.fixture
def log(stopped: InstalledRoot) -> Iterator[SystemLog]:
    made = SystemLog(stopped)
    yield made
    made.close()


def test_the_output_goes_to_the_systems_log(stopped: InstalledRoot, log: SystemLog) -> None:
    stopped.check(_SCRIPT, "start")
    log.wait_for("tarnosnmp: init_snmp end....")
    assert stopped.run(["ls", "/run/tarnosnmp.output"]).returncode != 0


def test_the_output_goes_to_the_log_while_the_agent_runs_and_no_process_is_left_over(
    stopped: InstalledRoot, log: SystemLog,
) -> None:
    stopped.check(_SCRIPT, "start")
    stopped.check("service", "snmpd", "stop")
    log.wait_for("AgentX master disconnected us")
    stopped.check("service", "snmpd", "start")
    stopped.check(_SCRIPT, "stop")
    wait_until(lambda: stopped.run(["pidof", "logger"]).returncode != 0, "the logger ends")


def test_without_a_log_the_agent_serves(stopped: InstalledRoot) -> None:
    stopped.check(_SCRIPT, "start")
    assert stopped.serves(f"{BASE}.2.2.1.2.8.0")
    assert stopped.running_agent()


@pytest.fixture
def settings(stopped: InstalledRoot) -> Iterator[Path]:
    path = stopped.file("/etc/default/tarnosnmp")
    kept = path.read_text(encoding="ascii")
    yield path
    path.write_text(kept, encoding="ascii")


def test_the_default_file_says_where_the_output_goes(stopped: InstalledRoot, settings: Path) -> None:
    text = settings.read_text(encoding="ascii")
    settings.write_text(text.replace("OUTPUT=", "OUTPUT=/run/output"), encoding="ascii")
    stopped.check(_SCRIPT, "start")
    wait_until(lambda: "init_snmp end" in stopped.run(["cat", "/run/output"]).stdout, "the output is there")


@pytest.fixture
def mapping(stopped: InstalledRoot) -> Iterator[Path]:
    """The mapping, to be spoilt by the test."""
    path = stopped.file(MAPPING)
    kept = path.read_bytes()
    yield path
    path.write_bytes(kept)
    path.chmod(0o644)


def test_a_mapping_that_cannot_be_used_is_refused_with_the_reason(
    stopped: InstalledRoot, log: SystemLog, mapping: Path,
) -> None:
    mapping.write_bytes(b"garbage")
    done = stopped.run([_SCRIPT, "start"])
    reason = f"tarnosnmp: not started: {MAPPING} is no SQLite database"
    assert done.returncode != 0
    assert reason in done.stdout + done.stderr
    log.wait_for(reason)
    assert stopped.agents() == []


def test_a_mapping_that_the_agents_user_may_not_read_is_refused(stopped: InstalledRoot, mapping: Path) -> None:
    mapping.chmod(0o600)
    done = stopped.run([_SCRIPT, "start"])
    assert done.returncode != 0
    assert f"{MAPPING} cannot be read" in done.stdout + done.stderr


def test_it_starts_after_the_master(stopped: InstalledRoot) -> None:
    order = {name[3:]: name[1:3] for name in (path.name for path in stopped.file("/etc/rc2.d").iterdir())}
    assert order["tarnosnmp"] >= order["snmpd"]


def test_an_unknown_action_is_refused(stopped: InstalledRoot) -> None:
    done = stopped.run([_SCRIPT, "reload"])
    assert (done.returncode, done.stderr) == (3, f"Usage: {_SCRIPT} {{start|stop|restart|force-reload|status}}\n")

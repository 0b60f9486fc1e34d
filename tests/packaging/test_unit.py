"""The systemd unit: verified by systemd's own checks, and run by a systemd that is the first process of its
namespaces."""
from __future__ import annotations

import os
import re
import signal
import subprocess
import tempfile
from collections.abc import Callable, Iterator, Sequence
from pathlib import Path

import pytest

from installed_root import BASE, COMMUNITY, HOME, MAPPING, OPEN_TO_US, InstalledRoot
from support.mapping import run_sql
from support.waiting import wait_until
from support.world import child_of

_UNIT = "tarnosnmp.service"
_PAGE = Path(__file__).resolve().parents[2] / "docs" / "packages.md"
_BOOT = """
mount -t cgroup2 none "$0/sys/fs/cgroup"
exec chroot "$0" env -i container=namespaces /lib/systemd/systemd --show-status=no --unit=multi-user.target
"""


def unit_of(root: InstalledRoot) -> str:
    return root.file(f"/lib/systemd/system/{_UNIT}").read_text(encoding="ascii")


def test_systemd_finds_nothing_wrong_with_it(installed: InstalledRoot) -> None:
    done = installed.run(["systemd-analyze", "verify", "--man=no", f"/lib/systemd/system/{_UNIT}"])
    assert (done.returncode, done.stdout + done.stderr) == (0, "")


def test_the_exposure_is_the_one_that_the_page_quotes(installed: InstalledRoot) -> None:
    told = installed.check("systemd-analyze", "security", "--offline=true", "--no-pager", _UNIT)
    found = re.search(r"Overall exposure level for \S+: ([\d.]+ \w+)", told)
    assert found
    assert f"Overall exposure level for {_UNIT}: {found[1]}" in _PAGE.read_text(encoding="utf-8")
    assert float(found[1].split()[0]) <= 1.5


def test_every_setting_of_the_sandbox_has_its_reason_above_it(installed: InstalledRoot) -> None:
    """Each group of settings has a comment above it with its reason; groups have at most six settings."""
    service = unit_of(installed).split("[Service]")[1].split("[Install]")[0]
    since_comment = 0
    for line in filter(None, service.splitlines()):
        since_comment = 0 if line.startswith("#") else since_comment + 1
        assert since_comment <= 6, f"too far from its reason: {line}"


@pytest.mark.parametrize("setting", ["RemoveIPC", "PrivateIPC", "DynamicUser", "RuntimeDirectory", "BindsTo", "PartOf",
                                     "Requires", "Requisite"])
def test_nothing_in_it_takes_the_queues_or_the_masters_socket_away(installed: InstalledRoot, setting: str) -> None:
    # sysinit.target is the start of every system.
    assert not re.search(rf"^{setting}=(?!sysinit\.target$)", unit_of(installed), re.MULTILINE)


class Booted:
    """The root with systemd as its first process."""

    def __init__(self, root: InstalledRoot) -> None:
        self.root = root
        self._group = Path(tempfile.mkdtemp(prefix="tarno-packages-", dir=_control_groups()))
        root.world.check("mount", "-t", "tmpfs", "none", root.path / "sys")
        root.world.check("mkdir", "-p", root.path / "sys/fs/cgroup")
        self._process = subprocess.Popen(
            root.world.command(["unshare", "--pid", "--cgroup", "--uts", "--mount", "--fork", "--kill-child",
                                f"--mount-proc={root.path}/proc", "bash", "-euc", _BOOT, root.path]),
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            preexec_fn=lambda: (self._group / "cgroup.procs").write_text("0", encoding="ascii"))

    def wait_until_up(self) -> None:
        def is_up() -> bool:
            assert self._process.poll() is None, "systemd has ended"
            return self._first() is not None and (
                self.run(["systemctl", "is-system-running"]).stdout.strip() in ("running", "degraded"))

        wait_until(is_up, "systemd has booted", 60)

    def run(self, arguments: Sequence[str]) -> "subprocess.CompletedProcess[str]":
        first = self._first()
        assert first, "systemd has ended"
        return subprocess.run(
            ["nsenter", "--target", str(first), "--mount", "--pid", "--net", "--ipc", "--uts", "--cgroup", "--root",
             "--wd", "--", *arguments],
            stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False)

    def check(self, *arguments: str) -> str:
        done = self.run(arguments)
        assert done.returncode == 0, (
            f"{arguments} ended with {done.returncode}: {done.stdout}{done.stderr}{self.told()}")
        return done.stdout

    def told(self) -> str:
        """What systemd and the agent logged."""
        return self.run(["systemctl", "status", "--no-pager", "--full", "--lines=40", _UNIT]).stdout

    def property(self, name: str) -> str:
        return self.check("systemctl", "show", "--value", f"--property={name}", _UNIT).strip()

    def close(self) -> None:
        first = self._first()
        if first:
            os.kill(first, 9)
        self._process.wait(20)
        wait_until(self._remove_group, "the control groups are gone")

    def _first(self) -> int | None:
        """The process below nsenter and unshare."""
        outer = child_of(self._process.pid)
        return child_of(outer) if outer else None

    def _remove_group(self) -> bool:
        for directory, _, _ in os.walk(self._group, topdown=False):
            try:
                os.rmdir(directory)
            except OSError:
                return False  # Something in it is still ending.
        return True


def _control_groups() -> Path:
    """Where this machine mounts its control groups (version 2)."""
    for line in Path("/proc/self/mounts").read_text(encoding="ascii").splitlines():
        fields = line.split()
        if fields[2] == "cgroup2":
            return Path(fields[1])
    raise AssertionError("systemd needs control groups, version 2, and this machine has none mounted")


@pytest.fixture(scope="module")
def booted(installed: InstalledRoot) -> Iterator[Booted]:
    installed.write("/etc/snmp/snmpd.conf", OPEN_TO_US)
    system = Booted(installed)
    try:
        system.wait_until_up()
        yield system
    finally:
        system.close()


def test_without_a_mapping_it_is_skipped_and_not_failed(booted: Booted) -> None:
    """Runs before the tests below, which have a mapping."""
    booted.check("systemctl", "start", _UNIT)
    assert (booted.property("ActiveState"), booted.property("Result")) == ("inactive", "exec-condition")


def state(system: Booted) -> tuple[str, str]:
    """What the service manager and the status say."""
    return system.property("ActiveState"), system.property("StatusText")


def wait_for_state(system: Booted, active: str, status: str) -> None:
    wait_until(lambda: state(system) == (active, status), f"the unit is {active}: {status}")


def test_it_is_activating_until_the_device_and_the_master_are_there(booted: Booted) -> None:
    booted.root.build_mapping()
    booted.check("systemctl", "stop", "snmpd.service")
    booted.check("systemctl", "start", "--no-block", _UNIT)
    wait_for_state(booted, "activating", "waiting for the device")
    booted.root.start_device()
    wait_for_state(booted, "activating", "waiting for the master agent")
    booted.check("systemctl", "start", "snmpd.service")
    wait_for_state(booted, "active", "serving")
    assert booted.root.serves(f"{BASE}.2.2.1.2.8.0")


def test_a_start_returns_when_the_agent_serves(booted: Booted) -> None:
    booted.check("systemctl", "restart", _UNIT)
    assert booted.root.serves(f"{BASE}.2.2.1.2.8.0")


def test_the_boot_does_not_wait_for_it(booted: Booted) -> None:
    assert _UNIT not in booted.check("systemctl", "show", "--property=After", "multi-user.target")
    assert _UNIT in booted.check("systemctl", "show", "--property=Wants", "multi-user.target")


def test_an_upgrade_without_the_device_does_not_wait_for_it(booted: Booted) -> None:
    policy = booted.root.file("/usr/sbin/policy-rc.d")
    forbidden = policy.rename(policy.with_suffix(".aside"))
    assert booted.root.device
    booted.root.device.stop()
    booted.root.bring_packages()
    (package,) = booted.root.file(HOME).glob("tarnosnmp_*.deb")
    booted.check("dpkg", "--install", f"{HOME}/{package.name}")
    wait_for_state(booted, "activating", "waiting for the device")
    booted.root.start_device()
    wait_for_state(booted, "active", "serving")
    forbidden.rename(policy)


class Watched:
    """The unit with a watchdog that tests can wait for."""

    SECONDS = 4
    _DIRECTORY = f"/run/systemd/system/{_UNIT}.d"

    def __init__(self, system: Booted) -> None:
        self.system = system
        system.check("mkdir", "-p", self._DIRECTORY)
        system.check("sh", "-c", f"printf '[Service]\\nWatchdogSec={self.SECONDS}\\n' >{self._DIRECTORY}/short.conf")
        self.restart()

    def restart(self) -> None:
        self.system.check("systemctl", "daemon-reload")
        self.system.check("systemctl", "restart", _UNIT)

    def close(self) -> None:
        self.system.check("rm", "-r", self._DIRECTORY)
        self.restart()


@pytest.fixture
def watched(booted: Booted) -> Iterator[Watched]:
    made = Watched(booted)
    yield made
    made.close()


def test_a_stopped_agent_is_restarted_by_the_watchdog_and_serves(watched: Watched) -> None:
    system = watched.system
    stopped = system.property("MainPID")
    system.check("systemctl", "kill", "--signal=STOP", _UNIT)
    wait_until(lambda: system.property("MainPID") not in (stopped, "0"), "another agent runs", 4 * watched.SECONDS)
    wait_for_state(system, "active", "serving")
    assert "watchdog" in system.check("journalctl", "--no-pager", f"--unit={_UNIT}").lower()


def test_a_silent_device_does_not_trigger_the_watchdog(watched: Watched) -> None:
    system, root = watched.system, watched.system.root
    agent = system.property("MainPID")
    assert root.device
    root.device.signal(signal.SIGSTOP)
    # 3 s for the first object, and 40 ms for each of the others.
    cells = [f"{BASE}.2.2.1.{column}.{row}.0" for column in (2, 3) for row in range(1, 9)]
    for _ in range(3):
        root.run(["snmpget", *COMMUNITY, "-r", "0", "-t", "8", "127.0.0.1", *(cells * 6)])
    assert (system.property("MainPID"), system.property("ActiveState")) == (agent, "active")
    root.device.signal(signal.SIGCONT)


def test_its_own_watchdog_is_longer_than_any_wait(booted: Booted) -> None:
    assert booted.property("WatchdogUSec") == "1min"


@pytest.fixture
def mapping(booted: Booted) -> Iterator[Path]:
    """The mapping, to be spoilt by the test."""
    path = booted.root.file(MAPPING)
    kept = path.read_bytes()
    yield path
    path.write_bytes(kept)
    path.chmod(0o644)
    booted.check("systemctl", "restart", _UNIT)


def truncated(path: Path) -> None:
    path.write_bytes(path.read_bytes()[:3000])


def without_tables(path: Path) -> None:
    run_sql(path, "DROP TABLE SNMP_GENERAL_OBJ_TABLE; DROP TABLE SNMP_TABLE_OBJ_TABLE")


@pytest.mark.parametrize("spoil, reason", [
    (lambda path: path.write_bytes(b"garbage"), "is no SQLite database"),
    (lambda path: path.write_bytes(b""), "is no SQLite database"),
    (lambda path: path.chmod(0o600), "cannot be read"),
    (truncated, "serves nothing"),
    (without_tables, "serves nothing"),
], ids=["garbage", "empty", "unreadable", "truncated", "without tables"])
def test_a_mapping_that_cannot_be_used_fails_it_with_the_reason(
    booted: Booted, mapping: Path, spoil: Callable[[Path], object], reason: str,
) -> None:
    spoil(mapping)
    done = booted.run(["systemctl", "restart", _UNIT])
    assert (done.returncode != 0, booted.property("ActiveState")) == (True, "failed")
    assert f"not started: {MAPPING} {reason}" in booted.told()


def test_errors_in_single_objects_are_logged_and_it_serves_the_others(booted: Booted, mapping: Path) -> None:
    run_sql(mapping, "UPDATE SNMP_GENERAL_OBJ_TABLE SET asnType = '42' WHERE rowid = 1")
    booted.check("systemctl", "restart", _UNIT)
    assert "error TM402" in booted.check("journalctl", "--no-pager", f"--unit={_UNIT}")
    assert booted.root.serves(f"{BASE}.2.2.1.2.8.0")


@pytest.fixture(scope="module")
def serving(booted: Booted) -> Booted:
    booted.root.wait_until_served()
    return booted


def test_it_serves_inside_its_sandbox(serving: Booted) -> None:
    manager = serving.root.manager()
    assert manager.get(f"{BASE}.1.1.1.0").type == "INTEGER"
    assert len(manager.walk(f"{BASE}.2.2")) > 8
    (agent,) = serving.run(["pidof", "tarnoSnmp"]).stdout.split()
    status = dict(line.split(":", 1) for line in serving.check("cat", f"/proc/{agent}/status").splitlines())
    assert {status[name].strip() for name in ("CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb")} == {"0" * 16}
    assert (status["NoNewPrivs"].strip(), status["Seccomp"].strip()) == ("1", "2")


def test_it_is_started_at_boot(serving: Booted) -> None:
    assert serving.check("systemctl", "is-enabled", _UNIT) == "enabled\n"


def test_killed_it_is_started_again_and_serves(serving: Booted) -> None:
    restarts = int(serving.property("NRestarts"))
    serving.check("systemctl", "kill", "--signal=KILL", _UNIT)
    wait_until(lambda: int(serving.property("NRestarts")) == restarts + 1, "it is started again")
    serving.root.wait_until_served()


def test_a_restarted_master_leaves_it_running_and_is_found_again(serving: Booted) -> None:
    agent = serving.property("MainPID")
    serving.check("systemctl", "restart", "snmpd.service")
    serving.root.wait_until_served()
    assert serving.property("MainPID") == agent


def test_the_queues_outlive_it_although_they_are_its_own(serving: Booted) -> None:
    """The worst case: there is no device application, and the agent's user owns the queues."""
    assert serving.root.device
    serving.root.device.stop()
    serving.check("systemctl", "stop", _UNIT)
    serving.check("ipcrm", "--all=msg")
    assert queues_of(serving) == []
    serving.check("systemctl", "start", "--no-block", _UNIT)
    owner = int(serving.check("id", "--user", "tarnosnmp"))
    made = [(0x4008, "666", owner), (0x4009, "666", owner)]
    wait_until(lambda: queues_of(serving) == made, "the agent makes the queues")
    serving.check("systemctl", "stop", _UNIT)
    assert queues_of(serving) == made
    serving.root.start_device()
    serving.check("systemctl", "start", _UNIT)
    serving.root.wait_until_served()


def queues_of(system: Booted) -> list[tuple[int, str, int]]:
    """Key, octal mode and owner of each queue."""
    lines = system.check("cat", "/proc/sysvipc/msg").splitlines()[1:]
    return sorted((int(columns[0]), columns[2], int(columns[7])) for columns in map(str.split, lines))


def test_it_attaches_over_tcp_too(serving: Booted) -> None:
    master = serving.root.file("/etc/snmp/snmpd.conf.d/tarnosnmp.conf")
    settings = serving.root.file("/etc/default/tarnosnmp")
    kept = {path: path.read_text(encoding="ascii") for path in (master, settings)}
    master.write_text("master agentx\nagentXSocket tcp:127.0.0.1:705\n", encoding="ascii")
    settings.write_text(kept[settings].replace("unix:/run/tarnosnmp/agentx", "tcp:127.0.0.1:705"), encoding="ascii")
    serving.check("systemctl", "restart", "snmpd.service", _UNIT)
    serving.root.wait_until_served()
    for path, text in kept.items():
        path.write_text(text, encoding="ascii")
    serving.check("systemctl", "restart", "snmpd.service", _UNIT)
    serving.root.wait_until_served()


def test_a_missing_mapping_is_not_made(serving: Booted) -> None:
    mapping = serving.root.file(MAPPING)
    aside = mapping.rename(mapping.with_suffix(".aside"))
    serving.run(["systemctl", "restart", _UNIT])
    assert serving.property("ActiveState") == "inactive"
    assert not mapping.exists()
    aside.rename(mapping)

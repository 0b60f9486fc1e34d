"""The systemd unit: verified by systemd's own checks, and run by a systemd that is the first process of its
namespaces."""
from __future__ import annotations

import os
import re
import subprocess
import tempfile
from collections.abc import Iterator, Sequence
from pathlib import Path

import pytest

from installed_root import BASE, MAPPING, OPEN_TO_US, InstalledRoot
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
    assert f"{setting}=" not in unit_of(installed)


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


@pytest.fixture(scope="module")
def serving(booted: Booted) -> Booted:
    booted.root.start_device()
    booted.check("systemctl", "start", _UNIT)
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
    serving.check("systemctl", "start", _UNIT)
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

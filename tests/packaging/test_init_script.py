"""The init script, on a system without systemd."""
from __future__ import annotations

from collections.abc import Iterator

import pytest

from installed_root import MAPPING, OPEN_TO_US, InstalledRoot
from support.waiting import wait_until

_SCRIPT = "/etc/init.d/tarnosnmp"
_PID_FILE = "/run/tarnosnmp.pid"


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
    stopped.wait_until_served()
    assert status(stopped) == (0, "tarnosnmp is running.")


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


def test_the_default_file_says_where_the_output_goes(stopped: InstalledRoot) -> None:
    settings = stopped.file("/etc/default/tarnosnmp")
    kept = settings.read_text(encoding="ascii")
    settings.write_text(kept.replace("OUTPUT=/dev/null", "OUTPUT=/run/output"), encoding="ascii")
    stopped.check(_SCRIPT, "start")
    wait_until(lambda: "init_snmp end" in stopped.run(["cat", "/run/output"]).stdout, "the output is there")
    settings.write_text(kept, encoding="ascii")


def test_it_starts_after_the_master(stopped: InstalledRoot) -> None:
    order = {name[3:]: name[1:3] for name in (path.name for path in stopped.file("/etc/rc2.d").iterdir())}
    assert order["tarnosnmp"] >= order["snmpd"]


def test_an_unknown_action_is_refused(stopped: InstalledRoot) -> None:
    done = stopped.run([_SCRIPT, "reload"])
    assert (done.returncode, done.stderr) == (3, f"Usage: {_SCRIPT} {{start|stop|restart|force-reload|status}}\n")

"""The service file for OpenRC, run by OpenRC in a root directory that has it instead of systemd."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_root import BASE, MAPPING, OPEN_TO_US, InstalledRoot
from support.waiting import wait_until

_EXAMPLES = "/usr/share/doc/tarnosnmp/examples"
_SERVICE = "/etc/init.d/tarnosnmp"

_STATE = "daemons,exclusive,failed,hotplugged,inactive,options,scheduled,started,starting,stopping,tmp,wasinactive"


@pytest.fixture(scope="module")
def openrc(packages: dict[str, Path], tmp_path_factory: pytest.TempPathFactory) -> Iterator[InstalledRoot]:
    """With OpenRC's service instead of the package's init script, a device and a master."""
    root = InstalledRoot(tmp_path_factory.mktemp("openrc"), Path(os.environ["TARNO_OPENRC_ROOT"]),
                         [packages["tarnosnmp"], packages["tarnosnmp-tools"]])
    root.install()
    root.check("cp", f"{_EXAMPLES}/tarnosnmp.openrc", _SERVICE)
    # What OpenRC's start of the system leaves behind.
    root.check("bash", "-c", f"mkdir -p /run/openrc/{{{_STATE}}} && echo default >/run/openrc/softlevel")
    root.start_device()
    root.write("/etc/snmp/snmpd.conf", OPEN_TO_US)
    root.check("/etc/init.d/snmpd", "start")
    yield root
    root.run(["rc-service", "tarnosnmp", "stop"])
    root.close()


@pytest.fixture
def started(openrc: InstalledRoot) -> InstalledRoot:
    openrc.check("rc-service", "tarnosnmp", "start")
    openrc.wait_until_served()
    return openrc


def is_started(root: InstalledRoot) -> bool:
    return root.run(["rc-service", "tarnosnmp", "status"]).returncode == 0


def test_start_serves_as_its_user(started: InstalledRoot) -> None:
    assert is_started(started)
    assert started.serves(f"{BASE}.2.2.1.2.8.0")
    status = started.check("cat", f"/proc/{started.running_agent()}/status")
    user = started.check("id", "--user", "tarnosnmp").strip()
    assert f"\nUid:\t{user}\t{user}\t{user}\t{user}\n" in status


def test_killed_it_is_started_again_and_serves(started: InstalledRoot) -> None:
    killed = started.running_agent()
    started.check("bash", "-c", f"kill -KILL {killed}")
    wait_until(lambda: started.agents() not in ([], [killed]), "another agent runs")
    started.wait_until_served()
    assert is_started(started)


def test_stop_ends_the_agent(started: InstalledRoot) -> None:
    started.check("rc-service", "tarnosnmp", "stop")
    assert started.agents() == []
    assert not is_started(started)


def test_a_mapping_that_cannot_be_used_is_refused_with_the_reason(openrc: InstalledRoot) -> None:
    openrc.run(["rc-service", "tarnosnmp", "stop"])
    mapping = openrc.file(MAPPING)
    mapping.chmod(0o600)
    done = openrc.run(["rc-service", "tarnosnmp", "start"])
    mapping.chmod(0o644)
    assert done.returncode != 0
    assert f"not started: {MAPPING} cannot be read" in done.stdout + done.stderr
    assert openrc.agents() == []

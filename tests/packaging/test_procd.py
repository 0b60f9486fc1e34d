"""The service file for procd. Debian has no procd: stand-ins for its functions print what it passes to them."""
from __future__ import annotations

import os
import subprocess
from pathlib import Path

import pytest

from installed_root import MAPPING, InstalledRoot

_FILE = "/usr/share/doc/tarnosnmp/examples/tarnosnmp.procd"
_STAND_INS = """
procd_open_instance() { echo open; }
procd_set_param() { echo "$*"; }
procd_close_instance() { echo close; }
. "$1"
start_service
"""


@pytest.fixture(scope="module")
def service(installed: InstalledRoot) -> Path:
    return installed.file(_FILE)


def calls_of(service: Path) -> list[str]:
    return subprocess.run(
        ["busybox", "ash", "-euc", _STAND_INS, "ash", service], check=True, capture_output=True, text=True,
        env={"PATH": os.environ["PATH"]}).stdout.splitlines()


def test_the_shell_of_openwrt_can_read_it(service: Path) -> None:
    subprocess.run(["busybox", "ash", "-n", service], check=True)
    subprocess.run(["shellcheck", service], check=True)


def test_procd_runs_the_agent_after_the_check_as_its_user(service: Path) -> None:
    lines = calls_of(service)
    assert (lines[0], lines[-1]) == ("open", "close")
    assert (f"command /usr/libexec/tarnosnmp/check-mapping {MAPPING} /usr/sbin/tarnoSnmp -X -d {MAPPING}"
            " -x unix:/run/tarnosnmp/agentx -n tarnosnmp") in lines
    assert {"user tarnosnmp", "group tarnosnmp", "respawn 3600 2 0"} <= set(lines)


def test_the_command_of_the_service_serves(installed: InstalledRoot, service: Path) -> None:
    (command,) = (line for line in calls_of(service) if line.startswith("command "))
    installed.start_device()
    agent = installed.start("agent", *command.split()[1:])
    agent.wait_for_output("init_snmp end....\n")
    agent.stop()

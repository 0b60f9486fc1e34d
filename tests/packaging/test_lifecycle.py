"""From a fresh system to a walked value, as the pages describe, and back to the initial state. The tests of this
module are one story, told in order."""
from __future__ import annotations

import re
from pathlib import Path

import pytest

from installed_root import BASE, HOME, MAPPING, SOCKET, InstalledRoot
from support.snmp import Varbind, user_credentials

_ROOT = Path(__file__).resolve().parents[2]
_USER = user_credentials("monitor", "first passphrase", "first secret")
#: What dpkg, its helpers and snmpd keep for themselves, whatever is installed; and backups of the user lists.
_OF_THE_SYSTEM = re.compile(
    r"/var/lib/dpkg(/|$)|/var/cache|/var/log|/var/lib/apt|/etc/(passwd|group|shadow|gshadow)-$"
    rf"|{HOME}(/|$)|/etc/ld.so.cache$|/var/lib/(systemd|snmp)(/deb-systemd-helper-enabled|/cert_indexes)?$")


def commands_of(page: str) -> str:
    """The first block of commands below the page's heading for installation."""
    text = (_ROOT / page).read_text(encoding="utf-8")
    found = re.search(r"^## Install.*?^```sh\n(.*?)^```", text, re.MULTILINE | re.DOTALL)
    assert found, f"{page} has no commands for installation"
    return found[1]


@pytest.fixture(scope="module")
def before(fresh: InstalledRoot) -> dict[str, str]:
    return fresh.contents()


def test_the_commands_of_the_page_lead_to_a_walked_value(fresh: InstalledRoot, before: dict[str, str]) -> None:
    assert before
    fresh.bring_packages()
    # Kept running for the tests that follow, along with what was started in the background.
    fresh.write(f"{HOME}/commands", f"set -eux\ncd {HOME}\n{commands_of('docs/packages.md')}\necho entered\nsleep infinity\n")
    shell = fresh.start("shell", "bash", f"{HOME}/commands")
    shell.wait_for_output("entered\n", timeout=150)
    assert f"{BASE}.1.1.1.0 = INTEGER: " in shell.output()
    assert f"{BASE}.2.2.1.2.8.0 = " in shell.output()


def test_the_mapping_is_for_root_and_the_agent(fresh: InstalledRoot) -> None:
    assert fresh.check("stat", "-c", "%a %U %G", MAPPING) == "640 root tarnosnmp\n"


def test_the_readme_has_the_same_commands() -> None:
    assert commands_of("README.md") == commands_of("docs/packages.md")


def test_the_agent_runs_as_its_user_without_privileges(fresh: InstalledRoot) -> None:
    (agent,) = fresh.agents()
    user = fresh.check("id", "--user", "tarnosnmp").strip()
    group = fresh.check("id", "--group", "tarnosnmp").strip()
    status = dict(line.split(":", 1) for line in fresh.check("cat", f"/proc/{agent}/status").splitlines())
    assert status["Uid"].split() == [user] * 4
    assert (status["Gid"].split(), status["Groups"].split()) == ([group] * 4, [group])
    assert status["CapEff"].strip() == "0" * 16
    assert fresh.check("id", "--groups", "--name", "tarnosnmp") == "tarnosnmp\n"


def test_the_socket_is_for_the_agents_group(fresh: InstalledRoot) -> None:
    assert fresh.check("stat", "-c", "%a %U %G", SOCKET) == "660 tarnosnmp tarnosnmp\n"


def test_a_user_may_look_and_not_set(fresh: InstalledRoot) -> None:
    monitor = fresh.manager(_USER)
    assert monitor.get(f"{BASE}.1.1.1.0").type == "INTEGER"
    assert monitor.get(".1.3.6.1.2.1.1.5.0") == Varbind("noSuchObject")
    done = fresh.run(["snmpset", *_USER, "127.0.0.1", f"{BASE}.1.1.3.0", "s", "x"])
    assert "noAccess" in done.stderr


def test_a_reinstallation_leaves_what_was_changed(fresh: InstalledRoot) -> None:
    settings = fresh.file("/etc/default/tarnosnmp")
    changed = settings.read_text(encoding="ascii").replace("TARNOSNMP_NAME=tarnosnmp", "TARNOSNMP_NAME=shelf")
    settings.write_text(changed, encoding="ascii")
    fresh.install()
    assert settings.read_text(encoding="ascii") == changed


def test_nothing_runs_after_the_removal_and_the_settings_are_still_there(fresh: InstalledRoot) -> None:
    # This root's policy is for installations: what is being removed may be stopped.
    fresh.file("/usr/sbin/policy-rc.d").unlink()
    fresh.check("service", "tarnosnmp", "stop")
    fresh.check("dpkg", "--remove", "tarnosnmp", "tarnosnmp-tools")
    assert fresh.agents() == []
    for path in ("/etc/default/tarnosnmp", "/etc/init.d/tarnosnmp", "/etc/snmp/snmpd.conf.d/tarnosnmp.conf", MAPPING):
        assert fresh.file(path).exists()
    assert not fresh.file("/usr/sbin/tarnoSnmp").exists()


def test_the_init_script_of_a_removed_agent_does_nothing(fresh: InstalledRoot) -> None:
    assert fresh.check("/etc/init.d/tarnosnmp", "start") == ""


def test_the_purge_leaves_the_user_and_what_was_not_the_packages(
    fresh: InstalledRoot, before: dict[str, str],
) -> None:
    fresh.check("dpkg", "--purge", "tarnosnmp", "tarnosnmp-tools")
    after = fresh.contents()
    changed = {path for path in before.keys() | after.keys()
               if before.get(path) != after.get(path) and not _OF_THE_SYSTEM.search(path)}
    assert changed == {
        # The user and its group are kept, so that their numbers are never reused for somebody else.
        "/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow",
        # What the page's commands have created: the mapping, the master's configuration and its users.
        "/etc/tarnosnmp", MAPPING, "/etc/snmp/snmpd.conf", "/var/lib/snmp/snmpd.conf",
        # Removed above, by this test itself.
        "/usr/sbin/policy-rc.d"}

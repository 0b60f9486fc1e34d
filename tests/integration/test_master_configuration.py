"""The master agent's configuration from examples/ on a device: what it allows, what its last lines allow in addition,
and that everything else is rejected. The users' rights themselves are tested in test_security.py."""
from __future__ import annotations

import re

import pytest

from support.device import BASE
from support.locked_device import (  # The last four are fixtures.
    CONFIGURATION, PASSPHRASES, ROOT, SOCKET, LockedDevice, build, device, tmp_path, tmp_path_factory,
)
from support.observing import all_frames
from support.sample import LIMIT, SAMPLE_MAPPING, TEMPERATURE
from support.snmp import NO_SUCH_OBJECT, Snmp, SnmpError, SnmpTimeout, Varbind, user_credentials
from support.stack import Stack

_MANAGER = "192.0.2.10"
_COMMUNITY = "choose-a-community"
_SYS_NAME = ".1.3.6.1.2.1.1.5.0"
_DROP_IN = ROOT / "packaging" / "tarnosnmp-snmpd.conf.in"

on_one_device = pytest.mark.xdist_group("a manager let in by its address")


def as_it_comes() -> str:
    return CONFIGURATION.read_text(encoding="ascii")


def with_the_example_in_force() -> str:
    """The configuration with the # removed from every line that is a directive."""
    opened, count = re.subn(r"^#(?=\S)", "", as_it_comes(), flags=re.MULTILINE)
    assert count == 3
    return opened


def start(device: LockedDevice, configuration: str) -> LockedDevice:
    for address in (_MANAGER, "192.0.2.11"):
        device.stack.world.check("ip", "address", "add", f"{address}/32", "dev", "lo")
    device.configure_master(configuration)
    device.start()
    return device


@pytest.fixture(scope="module")
def opened(shared_stack: Stack) -> LockedDevice:
    """A device that accepts its one manager, for tests that leave it as they found it."""
    return start(LockedDevice(shared_stack), with_the_example_in_force())


def manager_at(device: LockedDevice, address: str, version: str = "2c", community: str = _COMMUNITY) -> Snmp:
    return device.manager("monitor").using(
        credentials=(f"-v{version}", "-c", community, f"--clientaddr={address}"), timeout=10)


def assert_ignored(device: LockedDevice, manager: Snmp) -> None:
    before = len(all_frames(device.stack))
    impatient = manager.using(timeout=0.5)
    for request in (lambda: impatient.get(TEMPERATURE.oid), lambda: impatient.getnext(BASE),
                    lambda: impatient.set(LIMIT.oid, "i", 5)):
        with pytest.raises(SnmpTimeout):
            request()
    assert all_frames(device.stack)[before:] == []


def test_the_master_has_no_complaint_about_the_configuration(device: LockedDevice) -> None:
    start(device, as_it_comes())
    assert device.stack.master
    said = device.stack.master.errors()
    assert "NET-SNMP version" in said
    # Any complaint would name the file and the line.
    assert "snmpd.conf" not in said


@pytest.mark.parametrize("version", ["1", "2c"])
def test_as_it_comes_no_community_is_answered(device: LockedDevice, version: str) -> None:
    start(device, as_it_comes())
    for community in (_COMMUNITY, "public", "private", "monitor"):
        for address in (_MANAGER, "127.0.0.1"):
            assert_ignored(device, manager_at(device, address, version, community))
    assert device.manager("monitor").get(TEMPERATURE.oid) == Varbind("INTEGER", "-7")


@on_one_device
def test_the_one_manager_walks_all_that_the_device_has_and_nothing_else(opened: LockedDevice) -> None:
    manager = manager_at(opened, _MANAGER)
    walked = [each.oid for each in manager.walk(".1.3")]
    assert set(SAMPLE_MAPPING.oids) <= set(walked)
    assert all(oid.startswith(f"{BASE}.") for oid in walked)
    assert manager.get(_SYS_NAME) == NO_SUCH_OBJECT


@on_one_device
def test_the_one_manager_cannot_set(opened: LockedDevice) -> None:
    before = len(all_frames(opened.stack))
    with pytest.raises(SnmpError) as raised:
        manager_at(opened, _MANAGER).set(LIMIT.oid, "i", 5)
    assert raised.value.status == "noAccess"
    assert all_frames(opened.stack)[before:] == []


@on_one_device
@pytest.mark.parametrize(("address", "version", "community"), [
    (_MANAGER, "2c", "public"),
    (_MANAGER, "1", _COMMUNITY),
    ("192.0.2.11", "2c", _COMMUNITY),
    ("127.0.0.1", "2c", _COMMUNITY),
], ids=["another community", "SNMPv1", "its neighbour", "the device itself"])
def test_nobody_else_is_let_in_beside_it(
    opened: LockedDevice, address: str, version: str, community: str,
) -> None:
    assert_ignored(opened, manager_at(opened, address, version, community))


@on_one_device
def test_the_users_still_need_authentication_and_privacy(opened: LockedDevice) -> None:
    operator = opened.manager("operator")
    assert operator.get(LIMIT.oid) == Varbind("INTEGER", "75")
    for credentials in (user_credentials("operator", level="noAuthNoPriv"),
                        user_credentials("operator", PASSPHRASES["operator"][0], level="authNoPriv")):
        with pytest.raises(SnmpError, match="authorizationError"):
            operator.using(credentials=credentials).get(LIMIT.oid)


def test_a_port_on_the_command_line_must_not_be_in_the_configuration_too(device: LockedDevice) -> None:
    """An agent that starts the master passes the port on its command line."""
    on_command_line = ("-c", "/etc/snmp/snmpd.conf", "UDP:161")
    device.configure_master(as_it_comes())
    refused = device.launch_master(*on_command_line)
    assert refused.wait_for_end() == 1
    assert "Error opening specified endpoint" in refused.errors()
    device.configure_master(re.sub("^agentAddress.*\n", "", as_it_comes(), flags=re.MULTILINE))
    device.make_queues()
    device.start_application()
    device.start_master(*on_command_line)
    device.start_agent()
    device.stack.wait_until_served()
    assert device.manager("monitor").get(TEMPERATURE.oid) == Varbind("INTEGER", "-7")


def test_the_package_has_the_same_agentx_lines() -> None:
    def agentx_lines(text: str) -> list[str]:
        return [line for line in text.splitlines() if re.match("(master|agentX)", line)]

    lines = agentx_lines(as_it_comes())
    assert f"agentXSocket {SOCKET}" in lines
    assert agentx_lines(_DROP_IN.read_text(encoding="ascii")) == lines

"""A locked-down device: SNMPv3 only, a private AgentX socket and private queues, an agent without privileges.

The master agent's configuration is the one in examples/, byte for byte.
"""
from __future__ import annotations

import sys
from collections.abc import Callable
from pathlib import Path

import pytest

from support.device import ANSWER_QUEUE, BASE, REQUEST_QUEUE
from support.locked_device import (  # The last four are fixtures.
    MASTER, PASSPHRASES, ROOT, SOCKET, SOCKET_PATH, LockedDevice, as_user, create_users, build, device, tmp_path,
    tmp_path_factory,
)
from support.observing import all_frames, read_frame
from support.program import Program
from support.sample import CONTACT, FIRST_LEVELS, LIMIT, SAMPLE_MAPPING, SECOND_NAMES, TEMPERATURE
from support.snmp import (
    NO_SUCH_OBJECT, SnmpError, SnmpRefused, SnmpTimeout, Varbind, user_credentials,
)
from support.stack import Stack
from support.waiting import wait_until

_SYS_CONTACT = ".1.3.6.1.2.1.1.4.0"


@pytest.fixture(scope="module")
def locked(shared_stack: Stack) -> LockedDevice:
    """A device that serves, for tests that leave it as they found it."""
    served = LockedDevice(shared_stack)
    served.start()
    return served


on_one_device = pytest.mark.xdist_group("security on one device")


def assert_served(device: LockedDevice) -> None:
    device.stack.wait_until_served()
    operator = device.manager("operator")
    assert operator.get_all(TEMPERATURE.oid, FIRST_LEVELS[1].oid, SECOND_NAMES[2].oid) == [
        Varbind("INTEGER", "-7"), Varbind("INTEGER", "101"), Varbind("STRING", "fan 3")]
    for value in (11, 75):
        operator.set(LIMIT.oid, "i", value)
        assert operator.get(LIMIT.oid) == Varbind("INTEGER", str(value))


# Managers


@on_one_device
def test_the_operator_reads_and_sets_with_authentication_and_privacy(locked: LockedDevice) -> None:
    assert_served(locked)


@on_one_device
def test_the_monitor_walks_all_that_the_device_has_and_nothing_else(locked: LockedDevice) -> None:
    walked = [each.oid for each in locked.manager("monitor").walk(".1.3")]
    assert set(SAMPLE_MAPPING.oids) <= set(walked)
    assert all(oid.startswith(f"{BASE}.") for oid in walked)


@on_one_device
def test_the_monitor_cannot_set(locked: LockedDevice) -> None:
    before = len(all_frames(locked.stack))
    for oid, kind, value in ((LIMIT.oid, "i", 5), (CONTACT.oid, "s", "x"), (FIRST_LEVELS[0].oid, "i", 5)):
        with pytest.raises(SnmpError) as raised:
            locked.manager("monitor").set(oid, kind, value)
        assert raised.value.status == "noAccess"
    assert all_frames(locked.stack)[before:] == []


@on_one_device
def test_what_is_outside_the_view_is_not_there(locked: LockedDevice) -> None:
    operator = locked.manager("operator")
    assert operator.get(_SYS_CONTACT) == NO_SUCH_OBJECT
    with pytest.raises(SnmpError, match="noAccess"):
        operator.set(_SYS_CONTACT, "s", "somebody")
    # The users and the access rights themselves are objects of the master agent.
    assert operator.walk(".1.3.6.1.6.3") == []


def _with_wrong(part: int) -> tuple[str, ...]:
    passphrases = list(PASSPHRASES["operator"])
    passphrases[part] += "x"
    return user_credentials("operator", *passphrases)


_OUTSIDERS: dict[str, tuple[dict[str, object], type[Exception]]] = {
    "SNMPv1": ({"version": "1", "credentials": ()}, SnmpTimeout),
    "SNMPv1 with the user as community": (
        {"version": "1", "community": "operator", "credentials": ()}, SnmpTimeout),
    "SNMPv2c public": ({"version": "2c", "community": "public", "credentials": ()}, SnmpTimeout),
    "SNMPv2c private": ({"version": "2c", "community": "private", "credentials": ()}, SnmpTimeout),
    "SNMPv2c with the user as community": (
        {"version": "2c", "community": "operator", "credentials": ()}, SnmpTimeout),
    "no authentication": ({"credentials": user_credentials("operator", level="noAuthNoPriv")}, SnmpError),
    "no privacy": (
        {"credentials": user_credentials("operator", PASSPHRASES["operator"][0], level="authNoPriv")}, SnmpError),
    "a wrong passphrase": ({"credentials": _with_wrong(0)}, SnmpRefused),
    "a wrong secret": ({"credentials": _with_wrong(1)}, SnmpTimeout),
    "another authentication": (
        {"credentials": user_credentials("operator", *PASSPHRASES["operator"], auth="SHA")}, SnmpRefused),
    "the other user's passphrases": (
        {"credentials": user_credentials("operator", *PASSPHRASES["monitor"])}, SnmpRefused),
    "an unknown user": (
        {"credentials": user_credentials("stranger", *PASSPHRASES["operator"])}, SnmpRefused),
    "an unknown user without authentication": (
        {"credentials": user_credentials("initial", level="noAuthNoPriv")}, SnmpRefused),
}


@on_one_device
@pytest.mark.parametrize("outsider", _OUTSIDERS)
def test_nobody_else_gets_anything(locked: LockedDevice, outsider: str) -> None:
    changes, outcome = _OUTSIDERS[outsider]
    patience = 0.5 if outcome is SnmpTimeout else 10
    manager = locked.manager("operator").using(timeout=patience, **changes)
    requests: list[Callable[[], object]] = [
        lambda: manager.get(TEMPERATURE.oid), lambda: manager.getnext(BASE), lambda: manager.set(LIMIT.oid, "i", 5)]
    before = len(all_frames(locked.stack))
    for request in requests:
        with pytest.raises(outcome) as raised:
            request()
        assert getattr(raised.value, "status", "authorizationError") == "authorizationError"
    assert all_frames(locked.stack)[before:] == []


@on_one_device
def test_the_master_keeps_keys_instead_of_passphrases(locked: LockedDevice) -> None:
    path = "/var/lib/snmp/snmpd.conf"
    assert locked.stack.world.check("stat", "-c", "%a %U", path) == "600 snmp\n"
    kept = locked.file(path).read_text(encoding="ascii")
    assert kept.count("usmUser ") == 2
    assert "createUser" not in kept.replace('Only "createUser" tokens', "")
    assert not [each for pair in PASSPHRASES.values() for each in pair if each in kept]


# Programs


def test_the_page_shows_the_commands_that_are_used_here() -> None:
    page = (ROOT / "docs" / "security.md").read_text(encoding="utf-8")
    for command in (" ".join(as_user("tarnosnmp")), " ".join(MASTER), *create_users().splitlines()):
        assert f"\n{command}" in page


@on_one_device
def test_values_are_not_printed(locked: LockedDevice) -> None:
    operator = locked.manager("operator")
    operator.set(CONTACT.oid, "s", "behind the door")
    assert operator.get(CONTACT.oid) == Varbind("STRING", "behind the door")
    operator.set(CONTACT.oid, "s", "ops@example.net")
    assert locked.stack.agent
    assert "door" not in locked.stack.agent.output() + locked.stack.agent.errors()


@on_one_device
def test_the_agent_has_no_privileges(locked: LockedDevice) -> None:
    assert locked.stack.agent
    status = _status(locked.stack.agent)
    assert {status[name] for name in ("CapInh", "CapPrm", "CapEff", "CapBnd", "CapAmb")} == {"0" * 16}
    assert (status["Uid"], status["Gid"], status["Groups"]) == (
        "61001 61001 61001 61001", "61001 61001 61001 61001", "61001")
    assert status["NoNewPrivs"] == "1"


@on_one_device
def test_the_master_gives_its_privileges_up(locked: LockedDevice) -> None:
    assert locked.stack.master
    status = _status(locked.stack.master)
    assert (status["Uid"], status["CapEff"]) == ("61003 61003 61003 61003", "0" * 16)


def _status(program: Program) -> dict[str, str]:
    lines = Path(f"/proc/{program.pid}/status").read_text(encoding="ascii").splitlines()
    return {name: " ".join(value.split()) for name, value in (line.split(":", 1) for line in lines)}


def test_an_agent_without_privileges_finds_a_restarted_master_and_a_restarted_application(
    device: LockedDevice,
) -> None:
    device.start()
    assert device.stack.agent
    pid = device.stack.agent.pid
    for stop in (device.stack.stop_master, device.stack.kill_master):
        stop()
        device.start_master()
        assert_served(device)
    device.stack.kill_simulator()
    device.start_application()
    assert_served(device)
    assert device.stack.agent.pid == pid


# The AgentX socket


def _attach(device: LockedDevice, behind: list[str]) -> str:
    """Connects to the master as some user; returns the outcome."""
    connect = f"import socket; socket.socket(socket.AF_UNIX).connect({SOCKET_PATH!r})"
    done = device.stack.world.run([*behind, sys.executable, "-c", connect])
    return done.stderr.splitlines()[-1] if done.returncode else "attached"


@on_one_device
def test_the_agentx_socket_is_for_its_group(locked: LockedDevice) -> None:
    assert locked.stack.world.check("stat", "-c", "%a %U %G", SOCKET_PATH) == "660 tarnosnmp tarnosnmp\n"
    assert _attach(locked, as_user("stranger", "tarnosnmp")) == "attached"
    assert _attach(locked, as_user("stranger")) == "PermissionError: [Errno 13] Permission denied"


def test_an_agent_outside_the_group_cannot_attach(device: LockedDevice) -> None:
    device.make_queues(mode="666")
    device.start_application()
    device.start_master()
    agent = device.start_agent("stranger")
    agent.wait_for_output("init_snmp end....\n")
    failed = f"Failed to connect to the agentx master agent ({SOCKET})"
    # At start-up, and at least once more a second later.
    wait_until(lambda: agent.errors().count(failed) >= 2, "the library gives up twice")
    assert device.stack.snmp.get(TEMPERATURE.oid) == NO_SUCH_OBJECT
    device.stack.stop_agent()
    device.start_agent("stranger", group="tarnosnmp")
    assert_served(device)


# The queues

_DENIED = "PermissionError: [Errno 13] Permission denied"


@on_one_device
def test_queues_that_the_application_made_are_for_the_group(locked: LockedDevice) -> None:
    assert locked.queues() == {
        REQUEST_QUEUE: ("660", "61002", "61001"), ANSWER_QUEUE: ("660", "61002", "61001")}
    for key in (REQUEST_QUEUE, ANSWER_QUEUE):
        for arguments in (("send", hex(key), "13"), ("recv", hex(key), "0"), ("depth", hex(key))):
            assert locked.queue_tool(as_user("stranger"), *arguments) == _DENIED
        for user in ("stranger", "tarnosnmp"):
            assert locked.queue_tool(as_user(user), "remove", hex(key)).startswith("PermissionError: [Errno 1]")


def test_an_agent_outside_the_group_reads_nothing_and_lives(device: LockedDevice) -> None:
    device.make_queues()
    device.start_application()
    device.start_master()
    before = all_frames(device.stack)
    agent = device.start_agent("stranger", group="stranger")
    wait_until(lambda: "ComPortAdapter::write msg_queue error:" in agent.output(), "a request is refused")
    assert agent.is_running()
    assert all_frames(device.stack) == before


def test_every_local_user_reaches_queues_that_the_agent_made(device: LockedDevice) -> None:
    device.start_master()
    agent = device.start_agent()
    agent.wait_for_output("_pComPortAdapter->open() end....\n")
    wait_until(lambda: device.stack.queue_depth(REQUEST_QUEUE) > 0, "a request waits")
    assert device.queues() == {
        REQUEST_QUEUE: ("666", "61001", "61001"), ANSWER_QUEUE: ("666", "61001", "61001")}
    taken = device.queue_tool(as_user("stranger"), "recv", hex(REQUEST_QUEUE), "1000")
    assert taken in (read_frame(0x80BA), read_frame(0x0A41))
    assert device.queue_tool(as_user("stranger"), "send", hex(ANSWER_QUEUE), "13") == "ok"
    assert device.queue_tool(as_user("stranger"), "remove", hex(ANSWER_QUEUE)).startswith("PermissionError: [Errno 1]")


def test_a_queue_that_is_gone_is_made_again_for_everybody(device: LockedDevice) -> None:
    device.start()
    device.stack.kill_simulator()
    device.queue_tool(as_user("application", "tarnosnmp"), "remove", hex(ANSWER_QUEUE))
    device.stack.snmp.get(TEMPERATURE.oid)
    assert device.queues() == {
        REQUEST_QUEUE: ("660", "61002", "61001"), ANSWER_QUEUE: ("666", "61001", "61001")}


@on_one_device
def test_another_ipc_namespace_has_no_queues(locked: LockedDevice) -> None:
    for key in (REQUEST_QUEUE, ANSWER_QUEUE):
        assert locked.queue_tool(["unshare", "--ipc"], "depth", hex(key)) == "none"

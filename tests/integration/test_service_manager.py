"""A service manager that named a socket: what it receives about the start and the session with the master, and the
signs of life."""
from __future__ import annotations

import contextlib
import os
import signal
import socket
import time
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.device import DeviceObject, start_up_objects, unsigned
from support.mapping import READ_ONLY, Mapping, Scalar
from support.stack import Stack
from support.waiting import LONGEST_WAIT

WAITS_FOR_DEVICE = "STATUS=waiting for the device"
WAITS_FOR_MASTER = "STATUS=waiting for the master agent"
SERVES = "READY=1\nSTATUS=serving"
ALIVE = "WATCHDOG=1"
INTERVAL = 4.0
WATCHDOG = {"WATCHDOG_USEC": str(int(INTERVAL * 1e6))}

#: More than the master's patience and the interval: 3 s for the first, 40 ms for each of the others.
MANY = [Scalar(0x0100 + number, (1, 1, number), access=READ_ONLY) for number in range(1, 101)]


class Manager:
    """The service manager's end of the socket."""

    def __init__(self, directory: Path) -> None:
        self.path = directory / "notify"
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
        self._socket.bind(str(self.path))

    @property
    def environment(self) -> dict[str, str]:
        return {"NOTIFY_SOCKET": str(self.path)}

    def next(self, timeout: float = LONGEST_WAIT) -> str:
        self._socket.settimeout(timeout)
        return self._socket.recv(1000).decode("ascii")

    def wait_until_received(self, message: str) -> None:
        for _ in range(1000):
            if self.next() == message:
                return
        raise AssertionError(f"1000 other messages than {message!r}")

    def forget(self) -> None:
        """Drops what it has received."""
        self._socket.setblocking(False)
        with contextlib.suppress(BlockingIOError):
            while True:
                self._socket.recv(1000)

    def receives_nothing(self, seconds: float) -> bool:
        try:
            message = self.next(seconds)
        except TimeoutError:
            return True
        raise AssertionError(f"received {message!r}")

    def close(self) -> None:
        self._socket.close()


@pytest.fixture
def manager(tmp_path: Path) -> Iterator[Manager]:
    made = Manager(tmp_path)
    yield made
    made.close()


def test_it_learns_what_the_start_waits_for_and_when_the_agent_serves(stack: Stack, manager: Manager) -> None:
    stack.start_agent(mapping=Mapping([MANY[0]]), env=manager.environment)
    assert manager.next() == WAITS_FOR_DEVICE
    assert manager.receives_nothing(1)
    stack.start_simulator(objects())
    assert manager.next() == WAITS_FOR_MASTER
    assert manager.receives_nothing(1)
    stack.start_master()
    assert manager.next() == SERVES
    assert stack.snmp.get(MANY[0].oid).value == "7"


def test_it_learns_when_the_master_goes_and_when_another_has_every_object(stack: Stack, manager: Manager) -> None:
    serve(stack, manager)
    stack.stop_master()
    assert manager.next() == WAITS_FOR_MASTER
    stack.start_master()
    assert manager.next() == SERVES
    assert stack.snmp.get(MANY[-1].oid).value == "7"


def test_without_a_watchdog_it_receives_no_signs_of_life(stack: Stack, manager: Manager) -> None:
    serve(stack, manager)
    assert manager.receives_nothing(3)


def test_an_idle_agent_is_alive(stack: Stack, manager: Manager) -> None:
    serve(stack, manager, WATCHDOG)
    assert longest_silence(manager, 3 * INTERVAL) < INTERVAL / 2


def test_an_agent_that_waits_for_a_silent_device_is_alive(stack: Stack, manager: Manager) -> None:
    serve(stack, manager, WATCHDOG)
    stack.signal_simulator(signal.SIGSTOP)
    request = stack.start("request", ["snmpget", "-v2c", "-c", "public", "-r", "0", "-t", "8", "-On",
                                      stack.snmp.address, *(scalar.oid for scalar in MANY)])
    assert longest_silence(manager, 2 * INTERVAL) < INTERVAL
    stack.signal_simulator(signal.SIGCONT)
    request.wait_for_end()


def test_a_stopped_agent_is_not_alive(stack: Stack, manager: Manager) -> None:
    serve(stack, manager, WATCHDOG)
    stack.signal_agent(signal.SIGSTOP)
    manager.forget()
    assert manager.receives_nothing(INTERVAL)


def test_without_a_service_manager_it_opens_no_socket_for_one(stack: Stack) -> None:
    stack.start_simulator(objects())
    stack.start_master()
    agent = stack.start_agent(mapping=Mapping([MANY[0]]))
    stack.wait_until_served()
    assert agent.pid
    sockets = [link for link in Path(f"/proc/{agent.pid}/fd").iterdir() if os.readlink(link).startswith("socket:")]
    assert len(sockets) == 1


def objects() -> list[DeviceObject]:
    return start_up_objects() + [unsigned(scalar.obj_id, 7) for scalar in MANY]


def serve(stack: Stack, manager: Manager, watchdog: dict[str, str] | None = None) -> None:
    stack.start_simulator(objects())
    stack.start_master()
    stack.start_agent(mapping=Mapping(MANY), env=manager.environment | (watchdog or {}))
    manager.wait_until_received(SERVES)


def longest_silence(manager: Manager, seconds: float) -> float:
    """Between two messages, of which all must say that the agent is alive."""
    longest = 0.0
    begin = last = time.monotonic()
    while last < begin + seconds:
        assert manager.next() == ALIVE
        now = time.monotonic()
        longest = max(longest, now - last)
        last = now
    return longest

"""A device that falls behind: objects are read in turn while its answers are late, and the values must match.

Every object holds its own id, so that a value shows which object it came from.
"""
from __future__ import annotations

import random
import select
import socket
import time
from collections.abc import Callable
from dataclasses import dataclass

from . import ber
from .device import start_up_objects, unsigned
from .mapping import Mapping, Scalar
from .stack import MASTER_PORT, Stack

#: The master answers each request within 6 s, with an error if necessary.
_PATIENCE = 10.0
_FIRST_ID = 0x0101
_OBJECTS = 12

SCALARS = [Scalar(_FIRST_ID + number, (1, 1, number + 1)) for number in range(_OBJECTS)]
MAPPING = Mapping(SCALARS)
OBJECTS = [
    *start_up_objects(),
    *(unsigned(_FIRST_ID + number, _FIRST_ID + number, writable=True) for number in range(_OBJECTS)),
]


@dataclass
class Counts:
    """The results of reading in turn."""

    right: int = 0
    missing: int = 0
    others: int = 0

    def add(self, obj_id: int, value: int | None) -> None:
        if value is None:
            self.missing += 1
        elif value == obj_id:
            self.right += 1
        else:
            self.others += 1


class Reader:
    """A manager that requests one object, and the next as soon as it has the answer."""

    def __init__(self, stack: Stack) -> None:
        self._socket: socket.socket = stack.world.udp_socket()
        self._socket.connect(("127.0.0.1", MASTER_PORT))
        self._request_id = 0

    def close(self) -> None:
        self._socket.close()

    def read(self, scalar: Scalar) -> int | None:
        """The value, or None for anything else: an exception, an error, no answer."""
        self._request_id += 1
        varbind = ber.encode(ber.SEQUENCE, ber.encode_name(scalar.oid), ber.encode(ber.NULL))
        self._socket.send(ber.message("public", ber.GET, self._request_id, 0, 0, varbind))
        end = time.monotonic() + _PATIENCE
        while (left := end - time.monotonic()) > 0:
            if not select.select([self._socket], [], [], left)[0]:
                break
            request_id, value = _value_in(self._socket.recv(4096))
            if request_id == self._request_id:
                return value
        return None

    def read_in_turn(self, seconds: float, before: Callable[[], object] = lambda: None) -> Counts:
        """Reads all objects in turn for this long, calling a function before each read."""
        counts = Counts()
        end = time.monotonic() + seconds
        number = 0
        while time.monotonic() < end:
            before()
            scalar = SCALARS[number % len(SCALARS)]
            assert isinstance(scalar.obj_id, int)
            counts.add(scalar.obj_id, self.read(scalar))
            number += 1
        return counts


def _value_in(answer: bytes) -> tuple[int, int | None]:
    """The request id of an answer, and its integer."""
    pdu = list(ber.elements(next(ber.elements(answer))[1]))[2][1]
    request_id, status, _, varbinds = (element[1] for element in ber.elements(pdu))
    _, (tag, content, _) = ber.elements(next(ber.elements(varbinds))[1])
    is_value = int.from_bytes(status, "big") == 0 and tag == ber.INTEGER
    return int.from_bytes(request_id, "big"), int.from_bytes(content, "big", signed=True) if is_value else None


@dataclass(frozen=True)
class Pace:
    """How long a device takes for each answer after a pause of 3.4 s."""

    name: str
    seconds: float
    #: Milliseconds; None for a different time between 0 and 3.2 s for each answer.
    delay: int | None
    #: Whether the device is quick enough to be served correctly after the pause.
    catches_up: bool = True


PACES = [
    Pace("1 ms", 10, 1),
    Pace("15 ms", 15, 15),
    Pace("50 ms", 15, 50),
    Pace("200 ms", 25, 200),
    Pace("4 s", 25, 4000, catches_up=False),
    Pace("mixed, 0 to 3.2 s", 30, None, catches_up=False),
]


def serve(stack: Stack) -> Reader:
    """Starts everything and waits until every object is served."""
    stack.start_simulator(OBJECTS)
    stack.start_master()
    stack.start_agent(mapping=MAPPING)
    stack.wait_until_served()
    return Reader(stack)


def tell(stack: Stack, command: str) -> None:
    assert stack.simulator
    assert stack.simulator.command(command) == "ok"


def read_at_pace(stack: Stack, reader: Reader, pace: Pace) -> Counts:
    """Reads in turn from a device that pauses once and then keeps the pace."""
    chance = random.Random(1)

    def change_pace() -> None:
        if pace.delay is None:
            tell(stack, f"fault all delay {chance.randint(0, 3200)}")

    tell(stack, "fault all pause 3400")
    if pace.delay is not None:
        tell(stack, f"fault all delay {pace.delay}")
    return reader.read_in_turn(pace.seconds, change_pace)

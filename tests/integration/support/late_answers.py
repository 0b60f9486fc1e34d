"""A device that falls behind: reads in turn while its answers are late, and whose values they bring.

Every object holds its own id, so that a value tells which object it came from.
"""
from __future__ import annotations

import random
import select
import socket
import time
from collections.abc import Callable
from dataclasses import dataclass

from . import ber
from .device import startUpObjects, unsigned
from .mapping import Mapping, Scalar
from .stack import MASTER_PORT, Stack

#: The master answers each request within 6 s, with an error if need be.
_PATIENCE = 10.0
_FIRST_ID = 0x0101
_OBJECTS = 12

SCALARS = [Scalar(_FIRST_ID + number, (1, 1, number + 1)) for number in range(_OBJECTS)]
MAPPING = Mapping(SCALARS)
OBJECTS = [*startUpObjects(), *(unsigned(_FIRST_ID + number, _FIRST_ID + number, writable=True)
                               for number in range(_OBJECTS))]


@dataclass
class Counts:
    """What reads in turn brought."""

    right: int = 0
    missing: int = 0
    others: int = 0

    def add(self, objId: int, value: int | None) -> None:
        if value is None:
            self.missing += 1
        elif value == objId:
            self.right += 1
        else:
            self.others += 1


class Reader:
    """A manager that asks for one object, and for the next one as soon as it has the answer."""

    def __init__(self, stack: Stack) -> None:
        self._socket: socket.socket = stack.world.udpSocket()
        self._socket.connect(("127.0.0.1", MASTER_PORT))
        self._requestId = 0

    def close(self) -> None:
        self._socket.close()

    def read(self, scalar: Scalar) -> int | None:
        """The value, or None for anything else: an exception, an error, no answer."""
        self._requestId += 1
        varbind = ber.encode(ber.SEQUENCE, ber.encodeName(scalar.oid), ber.encode(ber.NULL))
        self._socket.send(ber.message("public", ber.GET, self._requestId, 0, 0, varbind))
        end = time.monotonic() + _PATIENCE
        while (left := end - time.monotonic()) > 0:
            if not select.select([self._socket], [], [], left)[0]:
                break
            requestId, value = _valueIn(self._socket.recv(4096))
            if requestId == self._requestId:
                return value
        return None

    def readInTurn(self, seconds: float, before: Callable[[], object] = lambda: None) -> Counts:
        """Reads every object in turn for so long, and does something before each."""
        counts = Counts()
        end = time.monotonic() + seconds
        number = 0
        while time.monotonic() < end:
            before()
            scalar = SCALARS[number % len(SCALARS)]
            assert isinstance(scalar.objId, int)
            counts.add(scalar.objId, self.read(scalar))
            number += 1
        return counts


def _valueIn(answer: bytes) -> tuple[int, int | None]:
    """The request id of an answer, and its integer."""
    pdu = list(ber.elements(next(ber.elements(answer))[1]))[2][1]
    requestId, status, _, varbinds = (element[1] for element in ber.elements(pdu))
    _, (tag, content, _) = ber.elements(next(ber.elements(varbinds))[1])
    isValue = int.from_bytes(status, "big") == 0 and tag == ber.INTEGER
    return int.from_bytes(requestId, "big"), int.from_bytes(content, "big", signed=True) if isValue else None


@dataclass(frozen=True)
class Pace:
    """How long a device takes for each answer once it goes on after a pause of 3.4 s."""

    name: str
    seconds: float
    #: Milliseconds; None for another time between 0 and 3.2 s each time.
    delay: int | None
    #: Whether the device answers quickly enough to be served well after the pause.
    catchesUp: bool = True


PACES = [
    Pace("1 ms", 10, 1),
    Pace("15 ms", 15, 15),
    Pace("50 ms", 15, 50),
    Pace("200 ms", 25, 200),
    Pace("4 s", 25, 4000, catchesUp=False),
    Pace("mixed, 0 to 3.2 s", 30, None, catchesUp=False),
]


def serve(stack: Stack) -> Reader:
    """Everything runs, and every object is served."""
    stack.startSimulator(OBJECTS)
    stack.startMaster()
    stack.startAgent(mapping=MAPPING)
    stack.waitUntilServed()
    return Reader(stack)


def tell(stack: Stack, command: str) -> None:
    assert stack.simulator
    assert stack.simulator.command(command) == "ok"


def readAtPace(stack: Stack, reader: Reader, pace: Pace) -> Counts:
    """Reads in turn from a device that pauses once and then keeps the pace."""
    chance = random.Random(1)

    def changePace() -> None:
        if pace.delay is None:
            tell(stack, f"fault all delay {chance.randint(0, 3200)}")

    tell(stack, "fault all pause 3400")
    if pace.delay is not None:
        tell(stack, f"fault all delay {pace.delay}")
    return reader.readInTurn(pace.seconds, changePace)

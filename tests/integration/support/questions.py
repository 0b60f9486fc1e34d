"""Asks the same thing thousands of times from inside a world, without a client process for each time.

As a program it carries out commands, one per line on its standard input, and prints one line for each:

    ask      gets one object from the master agent: "value", or what is there instead of one
    empty    throws away whatever waits on the answer queue: how many messages those were

The object, the master's port and the answer queue's key are its arguments.
"""
from __future__ import annotations

import socket
import sys

from queues import Queue

_INTEGER, _OCTETS, _NULL, _OBJECT_ID, _SEQUENCE, _GET = 0x02, 0x04, 0x05, 0x06, 0x30, 0xA0
_EXCEPTIONS = {0x80: "noSuchObject", 0x81: "noSuchInstance"}
_PATIENCE = 10.0


def _encode(tag: int, *parts: bytes) -> bytes:
    content = b"".join(parts)
    assert len(content) < 128, "the short form of a length is enough here"
    return bytes([tag, len(content)]) + content


def _encodeName(oid: str) -> bytes:
    numbers = [int(number) for number in oid.strip(".").split(".")]
    encoded = bytearray([numbers[0] * 40 + numbers[1]])
    for number in numbers[2:]:
        septets = [number & 0x7F]
        while number := number >> 7:
            septets.append(number & 0x7F | 0x80)
        encoded += bytes(reversed(septets))
    return _encode(_OBJECT_ID, bytes(encoded))


def getRequest(oid: str) -> bytes:
    """An SNMPv2c get of one object for the community "public"."""
    zero = _encode(_INTEGER, b"\0")
    varbind = _encode(_SEQUENCE, _encodeName(oid), _encode(_NULL))
    return _encode(
        _SEQUENCE, _encode(_INTEGER, b"\1"), _encode(_OCTETS, b"public"),
        _encode(_GET, zero, zero, zero, _encode(_SEQUENCE, varbind)))


def answerTo(request: bytes, answer: bytes) -> str:
    """What an answer says. Its name is the request's, so the value stands right behind it."""
    nameStart = request.rindex(bytes([_OBJECT_ID]), 0, len(request) - 2)
    name = request[nameStart:-2]
    tag = answer[answer.index(name) + len(name)]
    return _EXCEPTIONS.get(tag, "nothing" if tag == _NULL else "value")


def main(oid: str, port: str, key: str) -> None:
    manager = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    manager.connect(("127.0.0.1", int(port)))
    manager.settimeout(_PATIENCE)
    queue = Queue(int(key, 0))
    request = getRequest(oid)

    def ask() -> str:
        manager.send(request)
        try:
            return answerTo(request, manager.recv(4096))
        except TimeoutError:
            return "timeout"

    def empty() -> str:
        count = 0
        while queue.receive(0) is not None:
            count += 1
        return str(count)

    for line in sys.stdin:
        print({"ask": ask, "empty": empty}[line.strip()](), flush=True)


if __name__ == "__main__":
    main(*sys.argv[1:])

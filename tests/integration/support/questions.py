"""Repeats a request thousands of times inside a world, without a client process for each one.

As a program it carries out commands, one per line on its standard input, and prints one line for each:

    ask      gets one object from the master agent: "value", or the exception or error instead
    empty    discards all messages on the answer queue and prints how many there were

The object, the master's port and the answer queue's key are its arguments.
"""
from __future__ import annotations

import socket
import sys

import ber
from queues import Queue

_PATIENCE = 10.0


def get_request(oid: str) -> bytes:
    """An SNMPv2c get of one object for the community "public"."""
    varbind = ber.encode(ber.SEQUENCE, ber.encode_name(oid), ber.encode(ber.NULL))
    return ber.message("public", ber.GET, 0, 0, 0, varbind)


def answer_to(request: bytes, answer: bytes) -> str:
    """The content of an answer. Its name is the request's, so the value follows it immediately."""
    name_start = request.rindex(bytes([ber.OBJECT_ID]), 0, len(request) - 2)
    name = request[name_start:-2]
    tag = answer[answer.index(name) + len(name)]
    return ber.EXCEPTIONS.get(tag, "nothing" if tag == ber.NULL else "value")


def main(oid: str, port: str, key: str) -> None:
    manager = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    manager.connect(("127.0.0.1", int(port)))
    manager.settimeout(_PATIENCE)
    queue = Queue(int(key, 0))
    request = get_request(oid)

    def ask() -> str:
        manager.send(request)
        try:
            return answer_to(request, manager.recv(4096))
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

"""A small client of System V message queues (sysvipc(7)), for the two queues of the link.

As a program it runs one command after another and prints a line for each:

    create KEY           find or create the queue; prints its identifier
    make KEY MODE        the same, with octal permissions
    send KEY HEX         send a message ("-" for an empty one); prints "ok"
    recv KEY TIMEOUT_MS  receive a message; prints its bytes in hexadecimal, or "nothing" after the timeout
    empty KEY            discard all messages; prints how many there were
    depth KEY            print the number of waiting messages, or "none" without a queue
    remove KEY           remove the queue; prints "ok", or "none" without a queue

A key may be decimal or 0x and hexadecimal.
"""
from __future__ import annotations

import ctypes
import errno
import os
import sys
import time
from collections.abc import Callable

MESSAGE_TYPE = 0x9999
#: The largest payload that a stock kernel accepts.
LARGEST_MESSAGE = 8192

_IPC_CREAT = 0o1000
_IPC_NOWAIT = 0o4000
_IPC_RMID = 0
_IPC_STAT = 2
_INTERVAL = 0.001

_libc = ctypes.CDLL(None, use_errno=True)
_libc.msgrcv.restype = ctypes.c_ssize_t
_libc.msgrcv.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_long, ctypes.c_int]
_libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]


class _Message(ctypes.Structure):
    _fields_ = [("type", ctypes.c_long), ("payload", ctypes.c_uint8 * LARGEST_MESSAGE)]


class _Status(ctypes.Structure):
    """struct msqid_ds, up to the number of waiting messages."""

    _fields_ = [
        ("permissions", ctypes.c_uint8 * 48), ("times", ctypes.c_long * 3), ("bytes", ctypes.c_ulong),
        ("messages", ctypes.c_ulong), ("rest", ctypes.c_ulong * 16),
    ]


class Queue:
    """One queue, looked up by its key in every call: it may be removed and recreated at any time."""

    def __init__(self, key: int) -> None:
        self._key = key

    def create(self, mode: int = 0o666) -> int:
        """Creates or finds the queue; returns its identifier."""
        return _checked(_libc.msgget(self._key, _IPC_CREAT | mode))

    def find(self) -> int | None:
        """The identifier; None if there is no such queue."""
        found = _libc.msgget(self._key, 0)
        if found < 0 and ctypes.get_errno() == errno.ENOENT:
            return None
        return _checked(found)

    def send(self, payload: bytes, message_type: int = MESSAGE_TYPE) -> None:
        """Sends a message without waiting for room; creates the queue if there is none."""
        message = _Message(message_type)
        ctypes.memmove(message.payload, payload, len(payload))
        _checked(_libc.msgsnd(self.create(), ctypes.byref(message), len(payload), _IPC_NOWAIT))

    def receive(self, timeout: float) -> bytes | None:
        """Takes the first message of any type; None if none comes within `timeout` seconds."""
        end = time.monotonic() + timeout
        while True:
            payload = self._take()
            if payload is not None or time.monotonic() >= end:
                return payload
            time.sleep(_INTERVAL)

    def depth(self) -> int | None:
        """The number of waiting messages; None if there is no such queue."""
        queue = self.find()
        if queue is None:
            return None
        status = _Status()
        _checked(_libc.msgctl(queue, _IPC_STAT, ctypes.byref(status)))
        return int(status.messages)

    def remove(self) -> bool:
        """Removes the queue; False if there was none."""
        queue = self.find()
        if queue is None:
            return False
        _checked(_libc.msgctl(queue, _IPC_RMID, None))
        return True

    def _take(self) -> bytes | None:
        message = _Message()
        size = _libc.msgrcv(self.create(), ctypes.byref(message), LARGEST_MESSAGE, 0, _IPC_NOWAIT)
        if size < 0 and ctypes.get_errno() == errno.ENOMSG:
            return None
        return bytes(message.payload[:_checked(size)])


def _checked(result: int) -> int:
    if result < 0:
        number = ctypes.get_errno()
        raise OSError(number, os.strerror(number))
    return result


def _send(key: str, payload: str) -> str:
    _queue(key).send(b"" if payload == "-" else bytes.fromhex(payload))
    return "ok"


def _receive(key: str, milliseconds: str) -> str:
    payload = _queue(key).receive(int(milliseconds) / 1000)
    return "nothing" if payload is None else payload.hex(" ")


def _empty(key: str) -> str:
    queue = _queue(key)
    count = 0
    while queue.receive(0) is not None:
        count += 1
    return str(count)


def _depth(key: str) -> str:
    depth = _queue(key).depth()
    return "none" if depth is None else str(depth)


def _queue(key: str) -> Queue:
    return Queue(int(key, 0))


_COMMANDS: dict[str, tuple[int, Callable[..., str]]] = {
    "create": (1, lambda key: str(_queue(key).create())),
    "make": (2, lambda key, mode: str(_queue(key).create(int(mode, 8)))),
    "send": (2, _send),
    "recv": (2, _receive),
    "empty": (1, _empty),
    "depth": (1, _depth),
    "remove": (1, lambda key: "ok" if _queue(key).remove() else "none"),
}


def main(arguments: list[str]) -> int:
    while arguments:
        count, action = _COMMANDS.get(arguments[0], (0, None))
        if action is None or len(arguments) < 1 + count:
            print(__doc__, file=sys.stderr)
            return 2
        print(action(*arguments[1:1 + count]), flush=True)
        arguments = arguments[1 + count:]
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

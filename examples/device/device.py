#!/usr/bin/python3
"""The device application of pump.c in Python, over libtarnodevice: to test a mapping or a manager against values and
faults that a script chooses. pump.yaml is its mapping.

A test imports Device and uses it in a with statement. As a program it serves the pump until a signal ends it.
"""
from __future__ import annotations

import ctypes
import os
import signal
import threading
from collections.abc import Callable
from typing import Any

BASE_OID = 0x80BA
TABLE_ROWS = 0x0A41
FOUR_ROWS, EIGHT_ROWS = 0, 1
UNSIGNED, SIGNED, TEXT, BYTES = range(4)
DONE, FAILED, NOT_NOW = range(3)


class _Value(ctypes.Structure):
    _fields_ = [("kind", ctypes.c_int), ("width", ctypes.c_size_t), ("u", ctypes.c_uint32), ("s", ctypes.c_int32),
                ("data", ctypes.c_void_p)]


_CALLBACK = ctypes.CFUNCTYPE(ctypes.c_int, ctypes.c_void_p, ctypes.c_uint16, ctypes.POINTER(_Value))


class _Object(ctypes.Structure):
    _fields_ = [("id", ctypes.c_uint16), ("kind", ctypes.c_int), ("width", ctypes.c_size_t),
                ("writable", ctypes.c_int), ("get", _CALLBACK), ("set", _CALLBACK), ("user", ctypes.c_void_p)]


def _library() -> ctypes.CDLL:
    library = ctypes.CDLL("libtarnodevice.so.1")
    library.tarno_device_new.restype = ctypes.c_void_p
    library.tarno_device_new.argtypes = [ctypes.c_void_p]
    library.tarno_device_add.argtypes = [ctypes.c_void_p, ctypes.POINTER(_Object), ctypes.c_size_t]
    for name in ("open", "start", "join"):
        getattr(library, f"tarno_device_{name}").argtypes = [ctypes.c_void_p]
    library.tarno_device_free.argtypes = [ctypes.c_void_p]
    library.tarno_device_free.restype = None
    return library


class Device:
    """Objects with values that a test reads and changes while they are served, in a thread of the library."""

    def __init__(self) -> None:
        self._library = _library()
        self._device = self._library.tarno_device_new(None)
        if not self._device:
            raise MemoryError
        self._lock = threading.Lock()
        self._values: dict[int, Any] = {}
        self._outcomes: dict[int, int] = {}
        # Called by the library, so they must live as long as the device.
        self._get, self._set = _CALLBACK(self._on_get), _CALLBACK(self._on_set)

    def add(self, object_id: int, kind: int, width: int, value: int | str | bytes, writable: bool = False) -> None:
        """Declares an object, before the device is entered."""
        declared = _Object(object_id, kind, width, writable, self._get, self._set, None)
        self._check(self._library.tarno_device_add, ctypes.byref(declared), 1)
        self._values[object_id] = value

    def __enter__(self) -> "Device":
        self._check(self._library.tarno_device_open)
        self._check(self._library.tarno_device_start)
        return self

    def __exit__(self, *_: object) -> None:
        self._library.tarno_device_join(self._device)
        self._library.tarno_device_free(self._device)
        self._device = None

    def __getitem__(self, object_id: int) -> Any:
        with self._lock:
            return self._values[object_id]

    def __setitem__(self, object_id: int, value: int | str | bytes) -> None:
        with self._lock:
            self._values[object_id] = value

    def fail(self, object_id: int, outcome: int = FAILED) -> None:
        """Every request for the object fails, or is not answered (NOT_NOW), until this is called with DONE."""
        with self._lock:
            self._outcomes[object_id] = outcome

    def _check(self, function: Callable[..., int], *arguments: object) -> None:
        error = -function(self._device, *arguments)
        if error:
            raise OSError(error, os.strerror(error))

    def _on_get(self, _user: int, object_id: int, value: Any) -> int:
        with self._lock:
            outcome, current = self._outcomes.get(object_id, DONE), self._values[object_id]
        wanted = value.contents
        if wanted.kind == UNSIGNED:
            wanted.u = current
        elif wanted.kind == SIGNED:
            wanted.s = current
        else:
            octets = current.encode() if wanted.kind == TEXT else current
            ctypes.memmove(wanted.data, octets, min(len(octets), wanted.width))
        return outcome

    def _on_set(self, _user: int, object_id: int, value: Any) -> int:
        given = value.contents
        if given.kind in (UNSIGNED, SIGNED):
            new: int | str | bytes = given.u if given.kind == UNSIGNED else given.s
        else:
            octets = ctypes.string_at(given.data, given.width)
            new = octets.split(b"\0")[0].decode(errors="replace") if given.kind == TEXT else octets
        with self._lock:
            outcome = self._outcomes.get(object_id, DONE)
            if outcome == DONE:
                self._values[object_id] = new
        return outcome


def pump() -> Device:
    device = Device()
    device.add(BASE_OID, TEXT, 32, ".1.3.6.1.4.1.32473.21")
    device.add(TABLE_ROWS, UNSIGNED, 1, FOUR_ROWS)
    device.add(0x0010, UNSIGNED, 2, 412)
    device.add(0x0011, TEXT, 32, "ops@example.net", writable=True)
    for row, opening in enumerate((100, 100, 50, 0)):
        device.add(0x0100 + row, UNSIGNED, 1, opening, writable=True)
    return device


def main() -> None:
    ends = {signal.SIGINT, signal.SIGTERM}
    # Also in the thread of the library, so that they arrive here.
    signal.pthread_sigmask(signal.SIG_BLOCK, ends)
    with pump():
        signal.sigwait(ends)


if __name__ == "__main__":
    main()

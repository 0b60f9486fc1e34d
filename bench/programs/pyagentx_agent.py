#!/usr/bin/env python3
"""Serves the benchmark's objects with python3-pyagentx, the way its users do, from memory."""
from __future__ import annotations

import argparse

import pyagentx
import pyagentx.network

BASE = "1.3.6.1.4.1.32473.8.2.2.3.8"
ROWS = 8
#: Seconds between two updates of the served values; they do not change, so once is enough.
_UPDATE_PERIOD = 24 * 3600
_HEADER_SIZE = 20


class Scalars(pyagentx.Updater):
    """All scalars, below BASE.1."""

    count = 0

    def update(self) -> None:
        for index in range(self.count):
            self.set_INTEGER(f"{index // 100 + 1}.{index % 100 + 1}.0", 100000 + index)


class Table(pyagentx.Updater):
    """The cells of the table, below BASE.2.1; column 1 is the row number."""

    mapped_columns = 0

    def update(self) -> None:
        for row in range(1, ROWS + 1):
            self.set_INTEGER(f"1.1.{row}.0", row)
            for column in range(2, self.mapped_columns + 2):
                self.set_INTEGER(f"1.{column}.{row}.0", 200000 + column * 10 + row)


class Accepted(pyagentx.SetHandler):
    """Accepts every value: a manager here writes what the object already holds."""


class WholePdus(pyagentx.network.Network):
    """Reads as much from the stream as the header announces. The package takes up to 1024 bytes for one PDU, which
    breaks a get of 20 objects and loses what came after them."""

    def recv_pdu(self) -> pyagentx.pdu.PDU | None:
        header = self._receive(_HEADER_SIZE)
        if header is None:
            return None
        payload = self._receive(int.from_bytes(header[-4:], "big"))
        if payload is None:
            return None
        pdu = pyagentx.pdu.PDU()
        pdu.decode(header + payload)
        return pdu

    def _receive(self, size: int) -> bytes | None:
        received = b""
        while len(received) < size:
            part = self.socket.recv(size - len(received))
            if not part:
                return None
            received += part
        return received


class BenchAgent(pyagentx.Agent):
    def setup(self) -> None:
        self.register(f"{BASE}.1", Scalars, _UPDATE_PERIOD)
        self.register(f"{BASE}.2.1", Table, _UPDATE_PERIOD)
        self.register_set(BASE, Accepted)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("-x", dest="address", required=True, help="the master agent's socket: unix:PATH or PATH")
    parser.add_argument("-s", dest="scalars", type=int, default=1000)
    parser.add_argument("-c", dest="columns", type=int, default=20, help="mapped columns of the table")
    options = parser.parse_args()
    Scalars.count = options.scalars
    Table.mapped_columns = options.columns
    pyagentx.SOCKET_PATH = options.address.removeprefix("unix:")
    pyagentx.agent.Network = WholePdus
    BenchAgent().start()


if __name__ == "__main__":
    main()

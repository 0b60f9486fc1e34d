"""Commands in an emulated machine, through the QEMU guest agent that runs in it."""
from __future__ import annotations

import base64
import json
import socket
import subprocess
import time
from collections.abc import Sequence
from pathlib import Path
from typing import Any

from support.waiting import wait_until

#: Seconds for one command, on a machine whose processors are shared with many.
PATIENCE = 300.0


class GuestAgentError(Exception):
    """The guest agent refused a request."""


class GuestAgent:
    """One connection to the guest agent. It answers nothing before it has started, so `is_up` comes first."""

    def __init__(self, path: Path) -> None:
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.connect(str(path))
        self._received = b""
        self._syncs = 0

    def close(self) -> None:
        self._socket.close()

    def is_up(self) -> bool:
        """Whether it answers within two seconds. Answers to earlier calls are dropped."""
        self._syncs += 1
        self._send("guest-sync", id=self._syncs)
        end = time.monotonic() + 2
        try:
            while self._answer(end).get("return") != self._syncs:
                pass
        except TimeoutError:
            return False
        return True

    def run(self, arguments: Sequence[str | Path], timeout: float = PATIENCE) -> "subprocess.CompletedProcess[str]":
        """Runs a command to its end, as root, and captures its output."""
        words = [str(argument) for argument in arguments]
        pid = self.ask("guest-exec", path=words[0], arg=words[1:], **{"capture-output": True})["pid"]
        status: dict[str, Any] = {}

        def ended() -> bool:
            status.update(self.ask("guest-exec-status", pid=pid))
            return bool(status["exited"])

        wait_until(ended, f"{words} ends in the guest", timeout)
        output, errors = (base64.b64decode(status.get(name, "")).decode() for name in ("out-data", "err-data"))
        code = status["exitcode"] if "exitcode" in status else -status["signal"]
        return subprocess.CompletedProcess(words, code, output, errors)

    def ask(self, command: str, **arguments: Any) -> Any:
        self._send(command, **arguments)
        answer = self._answer(time.monotonic() + PATIENCE)
        if "error" in answer:
            raise GuestAgentError(f"{command}: {answer['error']['desc']}")
        return answer["return"]

    def _send(self, command: str, **arguments: Any) -> None:
        self._socket.settimeout(PATIENCE)
        self._socket.sendall(json.dumps({"execute": command, "arguments": arguments}).encode() + b"\n")

    def _answer(self, end: float) -> dict[str, Any]:
        while b"\n" not in self._received:
            self._socket.settimeout(max(0.001, end - time.monotonic()))
            chunk = self._socket.recv(65536)
            if not chunk:
                raise GuestAgentError("the machine has ended")
            self._received += chunk
        line, self._received = self._received.split(b"\n", 1)
        answer: dict[str, Any] = json.loads(line)
        return answer

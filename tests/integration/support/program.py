"""A program running inside a world, with what it has printed."""
from __future__ import annotations

import os
import select
import signal
import subprocess
import time
from collections.abc import Mapping, Sequence
from pathlib import Path
from typing import IO

from .waiting import LONGEST_WAIT, wait_until
from .world import World, child_of

_SANITIZER_MARKS = ("ERROR: AddressSanitizer", "ERROR: LeakSanitizer", "runtime error:")


class Program:
    """Runs until it exits or is ended. Standard output goes to one file, standard error to another."""

    def __init__(
        self, world: World, name: str, arguments: Sequence[str | Path], directory: Path,
        env: Mapping[str, str], stdin: int = subprocess.DEVNULL, stdout: int | None = None,
    ) -> None:
        self.name = name
        self.arguments = [str(argument) for argument in arguments]
        self.output_path = directory / f"{name}.out"
        self.error_path = directory / f"{name}.err"
        with self.output_path.open("wb") as output, self.error_path.open("wb") as errors:
            self._process = subprocess.Popen(
                world.command(self.arguments), env=dict(env), stdin=stdin,
                stdout=output if stdout is None else stdout, stderr=errors)
        wait_until(lambda: self.pid is not None or not self.is_running(), f"{name} starts", interval=0.002)

    @property
    def pid(self) -> int | None:
        """The process id as seen from outside the world; None once the program has ended."""
        return child_of(self._process.pid)

    def output(self) -> str:
        """Standard output so far, byte for byte (Latin-1)."""
        return self.output_path.read_bytes().decode("latin-1")

    def errors(self) -> str:
        """Standard error so far."""
        return self.error_path.read_bytes().decode("latin-1")

    def is_running(self) -> bool:
        return self._process.poll() is None

    def wait_for_output(self, text: str, timeout: float = LONGEST_WAIT) -> None:
        """Waits until standard output contains the text; fails at once if the program has ended."""
        def printed() -> bool:
            running = self.is_running()
            found = text in self.output()
            assert found or running, f"{self.name} ended without printing {text!r}"
            return found

        wait_until(printed, f"{self.name} prints {text!r}", timeout)

    def wait_for_end(self, timeout: float = LONGEST_WAIT) -> int:
        """The exit status, or minus the signal that ended the program."""
        return self._process.wait(timeout)

    def signal(self, number: int) -> None:
        pid = self.pid
        assert pid is not None, f"{self.name} has ended"
        os.kill(pid, number)
        if number == signal.SIGSTOP:
            wait_until(lambda: _is_stopped(pid), f"{self.name} stops")
        elif number == signal.SIGCONT:
            # The intermediate process stops along with the program.
            self._process.send_signal(number)

    def stop(self, patience: float = 5) -> int:
        """Ends the program with SIGTERM, or SIGKILL if that does not help; returns the status."""
        if self.is_running():
            self._signal_if_there(signal.SIGTERM)
            try:
                return self._process.wait(patience)
            except subprocess.TimeoutExpired:
                return self.kill()
        return self._process.wait()

    def kill(self) -> int:
        self._signal_if_there(signal.SIGKILL)
        # The intermediate process may have stopped along with the program.
        self._process.send_signal(signal.SIGCONT)
        return self._process.wait(LONGEST_WAIT)

    def _signal_if_there(self, number: int) -> None:
        pid = self.pid
        if pid is not None:
            try:
                os.kill(pid, number)
            except ProcessLookupError:
                pass  # It ended by itself just now.

    def sanitizer_reports(self) -> list[str]:
        return [line for line in self.errors().splitlines() if any(mark in line for mark in _SANITIZER_MARKS)]


def _is_stopped(pid: int) -> bool:
    """Whether every thread of the process is stopped."""
    states = [path.read_text(encoding="ascii").rpartition(")")[2].split()[0]
              for path in Path(f"/proc/{pid}/task").glob("*/stat")]
    return all(state == "T" for state in states)


class CommandedProgram(Program):
    """A program that answers each line on its standard input with one line on its standard output."""

    def __init__(
        self, world: World, name: str, arguments: Sequence[str | Path], directory: Path, env: Mapping[str, str],
    ) -> None:
        read_end, write_end = os.pipe()
        try:
            super().__init__(world, name, arguments, directory, env, stdin=subprocess.PIPE, stdout=write_end)
        finally:
            os.close(write_end)
        self._answers: IO[bytes] = os.fdopen(read_end, "rb", buffering=0)
        self._received = b""

    def read_line(self, timeout: float = LONGEST_WAIT) -> str:
        """The next line of standard output, without its line end."""
        end = time.monotonic() + timeout
        while b"\n" not in self._received:
            ready = select.select([self._answers], [], [], max(0.0, end - time.monotonic()))[0]
            assert ready, f"{self.name} printed no line within {timeout:g} s"
            chunk = self._answers.read(4096)
            assert chunk, f"{self.name} closed its output; it had printed {self._received!r}: {self.errors()}"
            with self.output_path.open("ab") as record:
                record.write(chunk)
            self._received += chunk
        line, self._received = self._received.split(b"\n", 1)
        return line.decode("latin-1")

    def command(self, line: str, timeout: float = LONGEST_WAIT) -> str:
        """Sends one command and returns its answer."""
        assert self._process.stdin
        self._process.stdin.write(line.encode() + b"\n")
        self._process.stdin.flush()
        return self.read_line(timeout)

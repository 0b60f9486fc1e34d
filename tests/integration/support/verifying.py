"""Verifies a mapping against a simulated device, in the world of a stack."""
from __future__ import annotations

import json
import subprocess
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from .device import ANSWER_QUEUE, REQUEST_QUEUE
from .mapping_tool import MappingTool
from .stack import Build, Stack

#: The longest that a verification takes in a test.
_PATIENCE = 100


@dataclass(frozen=True)
class Report:
    """What verify --json says."""

    status: int
    content: dict[str, Any]

    @property
    def codes(self) -> list[str]:
        return [each["code"] for each in self.content["findings"]]

    @property
    def what(self) -> list[str]:
        return [each["what"] for each in self.content["findings"]]

    @property
    def objects(self) -> list[str | None]:
        return [each["object"] for each in self.content["findings"]]

    @property
    def asked(self) -> int:
        return int(self.content["asked"])

    @property
    def answered(self) -> int:
        return int(self.content["answered"])


class Verifier:
    """A mapping, and the device that serves it unless the test starts another one."""

    def __init__(self, build: Build, stack: Stack, source: str | Path, starts_device: bool = True) -> None:
        self.stack = stack
        self.tool = MappingTool(build)
        if isinstance(source, str):
            self.source = stack.directory / "verified.yaml"
            self.source.write_text(source, encoding="utf-8")
        else:
            self.source = source
        if starts_device:
            self.start_device()

    def start_device(self, *options: str) -> None:
        """Starts the device of the mapping."""
        self.stack.start_simulator_on(self.source, *options)

    def command(self, line: str) -> str:
        assert self.stack.simulator
        answer = self.stack.simulator.command(line)
        assert not answer.startswith("error"), answer
        return answer

    def run(self, *options: str | Path) -> "subprocess.CompletedProcess[str]":
        return self.stack.run([self.tool.path, "verify", self.source, *options], _PATIENCE)

    def shell(self, command: str, directory: Path) -> "subprocess.CompletedProcess[str]":
        """Runs a command of a page, which calls the tool by its name, in a directory."""
        words = command.replace("tarnoMapping", str(self.tool.path), 1)
        return self.stack.run(["bash", "-c", f"cd {directory} && {words}"], _PATIENCE)

    def verify(self, *options: str | Path) -> Report:
        done = self.run("--json", *options)
        assert done.stderr == ""
        return Report(done.returncode, json.loads(done.stdout))

    def is_link_empty(self) -> bool:
        return self.stack.queue_depth(REQUEST_QUEUE) == self.stack.queue_depth(ANSWER_QUEUE) == 0

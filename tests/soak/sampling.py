"""Samples the agent's resource usage while it works, and tells whether that grows."""
from __future__ import annotations

import csv
import os
import threading
import time
from collections.abc import Callable, Sequence
from dataclasses import astuple, dataclass, fields
from pathlib import Path
from statistics import median

from support.device import ANSWER_QUEUE, REQUEST_QUEUE
from support.stack import Stack

_INTERVAL = 1.0
#: Fewer samples than this say nothing about growth.
FEWEST_SAMPLES = 5


@dataclass(frozen=True)
class Sample:
    seconds: float
    requests: int
    resident_kib: int
    anonymous_kib: int
    descriptors: int
    request_queue: int
    answer_queue: int


class Sampler:
    """Takes a sample every second until it is stopped."""

    def __init__(self, stack: Stack, requests: Callable[[], int]) -> None:
        assert stack.agent and stack.agent.pid
        self._stack = stack
        self._process = Path(f"/proc/{stack.agent.pid}")
        self._requests = requests
        self._start = time.monotonic()
        self._is_over = threading.Event()
        self._thread = threading.Thread(target=self._run, daemon=True)
        self.samples: list[Sample] = []

    def __enter__(self) -> "Sampler":
        self._thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        self._is_over.set()
        self._thread.join()

    def take(self) -> Sample:
        memory = self._memory()
        return Sample(
            round(time.monotonic() - self._start, 3), self._requests(), memory["Rss"], memory["Anonymous"],
            len(os.listdir(self._process / "fd")), self._stack.queue_depth(REQUEST_QUEUE),
            self._stack.queue_depth(ANSWER_QUEUE))

    def write(self, path: Path) -> None:
        with path.open("w", encoding="ascii", newline="") as file:
            table = csv.writer(file, lineterminator="\n")
            table.writerow(field.name for field in fields(Sample))
            table.writerows(astuple(sample) for sample in self.samples)

    def _run(self) -> None:
        while not self._is_over.wait(_INTERVAL):
            try:
                self.samples.append(self.take())
            except (FileNotFoundError, ProcessLookupError):
                return  # The agent is gone; the end of the soak reports it.

    def _memory(self) -> dict[str, int]:
        lines = (self._process / "smaps_rollup").read_text(encoding="ascii").splitlines()[1:]
        return {name: int(rest.split()[0]) for name, rest in (line.split(":", 1) for line in lines)}


def growth(values: Sequence[float]) -> float:
    """How much the values have grown: the median of the last tenth minus that of the first."""
    tenth = max(1, len(values) // 10)
    return median(values[-tenth:]) - median(values[:tenth])

"""What an action makes the agent print, and which frames it makes the device receive and send."""
from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass

from .stack import Stack


@dataclass(frozen=True)
class Observation:
    """The outcome of one action. Frames are in hexadecimal, with "> " before a request of the agent
    and "< " before an answer of the device."""

    result: object
    output: str
    frames: list[str]

    @property
    def requests(self) -> list[str]:
        return [frame[2:] for frame in self.frames if frame.startswith("> ")]


def observe(stack: Stack, action: Callable[[], object]) -> Observation:
    """Runs the action, and waits until the agent has finished everything that it causes."""
    printed_before = len(stack.output())
    logged_before = len(stack.simulator_log())
    result = action()
    # A manager has the answer to its set before the agent has cleaned up. Requests reach the agent in
    # order, so it has finished once it answers another one, here for something that needs no lookup.
    stack.snmp.get(f"{stack.mapping.names[0]}.0.0.0")
    return Observation(
        result, stack.output()[printed_before:], _frames(stack.simulator_log()[logged_before:]))


def all_frames(stack: Stack) -> list[str]:
    """Every frame since the simulator was started."""
    return _frames(stack.simulator_log())


def read_frame(obj_id: int) -> str:
    """The request to read an object, without its direction sign."""
    return f"02 07 {_id(obj_id)} 00 00 00 00"


def write_frame(obj_id: int, value: bytes) -> str:
    """The request to write a value, without its direction sign."""
    return " ".join([f"01 {len(value) + 3:02x}", _id(obj_id), value.hex(" ")]).rstrip()


def _id(obj_id: int) -> str:
    return obj_id.to_bytes(2, "little").hex(" ")


def _frames(log: str) -> list[str]:
    signs = {"request": ">", "answer": "<"}
    frames = []
    for line in log.splitlines():
        kind = line.split(maxsplit=2)[1]
        if kind in signs:
            frames.append(f"{signs[kind]} {line.rsplit(' : ', 1)[1]}")
    return frames

"""What processes use according to the kernel: processor time and memory."""
from __future__ import annotations

import os
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path

from support.world import World

_PROC = Path("/proc")


@dataclass(frozen=True)
class Memory:
    """In KiB. Private memory is mapped by no other process and would be freed with this one. Anonymous memory belongs
    to no file, and does not depend on what other processes map."""

    resident: int
    private: int
    anonymous: int


def processes_of(world: World) -> list[int]:
    """The ids, as seen from outside, of all processes in a world."""
    namespace = os.readlink(world.root.parent / "ns" / "pid")
    numbers = [int(path.name) for path in _PROC.iterdir() if path.name.isdigit()]
    return [number for number in numbers if _pid_namespace(number) == namespace]


def program_of(pid: int) -> str:
    """The name of the executable that a process runs."""
    return Path(os.readlink(_PROC / str(pid) / "exe")).name


def processor_seconds(pids: Iterable[int]) -> float:
    """The processor time that processes have used so far, over all their threads."""
    tasks = [task for pid in pids for task in (_PROC / str(pid) / "task").iterdir()]
    nanoseconds = [int((task / "schedstat").read_text(encoding="ascii").split()[0]) for task in tasks]
    return sum(nanoseconds) / 1e9


def memory_of(pid: int) -> Memory:
    return parse_memory((_PROC / str(pid) / "smaps_rollup").read_text(encoding="ascii"))


def parse_memory(rollup: str) -> Memory:
    """Parses the text of a smaps_rollup file; its first line is the range of addresses."""
    sizes = {name: int(rest.split()[0]) for name, rest in (line.split(":", 1) for line in rollup.splitlines()[1:])}
    return Memory(resident=sizes["Rss"], private=sizes["Private_Clean"] + sizes["Private_Dirty"],
                  anonymous=sizes["Anonymous"])


def _pid_namespace(pid: int) -> str | None:
    try:
        return os.readlink(_PROC / str(pid) / "ns" / "pid")
    except (FileNotFoundError, ProcessLookupError, PermissionError):
        return None  # It has ended, or belongs to somebody else.

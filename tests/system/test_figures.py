"""What the agent costs on ARM, next to the smallest possible subagents of the same library on the same machine."""
from __future__ import annotations

import pytest

from contestants import AGENT, BARE, BARE_QUEUE
from installed_machine import AGENT as AGENT_UNIT
from installed_machine import DEVICE, InstalledMachine
from measured import Figures, Measured, start_measured_device
from support.mapping_tool import ROOT
from tables import Table


@pytest.fixture(scope="module")
def figures(installed: InstalledMachine, architecture: str) -> dict[str, Figures]:
    """Of each subagent; also written as a table for the page."""
    installed.machine.check("systemctl", "stop", AGENT_UNIT, DEVICE)
    start_measured_device(installed.machine)
    found = {name: Measured(installed.machine, name).figures() for name in (AGENT, BARE, BARE_QUEUE)}
    page = ROOT / "build" / f"arm-system-{architecture}.md"
    booted = "" if installed.boot_to_served is None else f"\nBoot to served: {installed.boot_to_served} s\n"
    page.write_text(f"{_table(architecture, found).markdown()}\n{booted}", encoding="utf-8")
    return found


def _table(architecture: str, found: dict[str, Figures]) -> Table:
    head = [architecture, "instructions per GET", "first GET, million instructions", "resident KiB", "private KiB",
            "anonymous KiB"]
    rows = [[name, f"{each.instructions_per_get:.0f}", f"{each.first_get * 1e3:.1f}",
             *map(str, (each.memory.resident, each.memory.private, each.memory.anonymous))]
            for name, each in found.items()]
    return Table("On ARM", head, rows)


def test_a_get_takes_few_instructions_more_than_its_exchange(figures: dict[str, Figures]) -> None:
    assert figures[AGENT].instructions_per_get < 1.15 * figures[BARE_QUEUE].instructions_per_get


def test_the_first_get_is_not_late(figures: dict[str, Figures]) -> None:
    assert figures[AGENT].first_get < figures[BARE_QUEUE].first_get + 0.012


def test_its_own_memory_is_near_that_of_the_smallest_subagent(figures: dict[str, Figures]) -> None:
    assert figures[AGENT].memory.anonymous < figures[BARE].memory.anonymous + 132

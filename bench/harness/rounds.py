"""Rounds: every contestant has a short turn in each, so that a disturbance affects all of them."""
from __future__ import annotations

from collections.abc import Callable, Sequence
from dataclasses import dataclass, field
from statistics import fmean, median
from typing import TypeVar

from contestants import AGENT_OVER_TCP, BARE_EXCHANGES, Contestant, Slice

Item = TypeVar("Item")

LOADS = ("get1", "get20", "getCell", "walkScalars", "walkTable", "setScalar", "setCell")
SETS = ("setScalar", "setCell")
#: Contestants that differ from another one only in a few loads run only those.
_LOADS_OF = {BARE_EXCHANGES: SETS, AGENT_OVER_TCP: ("get1", "get20")}


def loads_of(contestant: str) -> tuple[str, ...]:
    return _LOADS_OF.get(contestant, LOADS)


def in_turn(items: Sequence[Item], number: int) -> list[Item]:
    """The order of a round: reversed in every other one, so that a steady drift favours nobody."""
    return list(items) if number % 2 == 0 else list(reversed(items))


@dataclass
class Measured:
    """The slices of each contestant under each load, round by round."""

    slices: dict[tuple[str, str], list[Slice]] = field(default_factory=dict)

    def add(self, load: str, contestant: str, measured: Slice) -> None:
        self.slices.setdefault((load, contestant), []).append(measured)

    def has(self, load: str, contestant: str) -> bool:
        return (load, contestant) in self.slices

    def contestants(self) -> set[str]:
        return {contestant for _, contestant in self.slices}

    def median(self, load: str, contestant: str, what: Callable[[Slice], float]) -> float:
        return median(what(each) for each in self.slices[load, contestant])

    def ratio(self, load: str, contestant: str, other: str, what: Callable[[Slice], float] = lambda each: each.rate,
              ) -> float:
        """The median of the rounds' ratios: both halves of a ratio are measured about a second apart."""
        pairs = zip(self.slices[load, contestant], self.slices[load, other])
        return median(what(mine) / what(theirs) for mine, theirs in pairs)

    def share_of_core(self) -> float:
        return fmean(each.share_of_core for slices in self.slices.values() for each in slices)


def measure(
    contestants: dict[str, Contestant], loads: Sequence[str], rounds: int, seconds: float,
    between: Callable[[], object] = lambda: None,
) -> Measured:
    """Runs all rounds after one that does not count; `between` is called once in each."""
    measured = Measured()
    running = {load: [(name, each) for name, each in contestants.items() if load in loads_of(each.name)]
               for load in loads}
    for load in loads:
        for _, contestant in running[load]:
            contestant.run(load, seconds)
    for number in range(rounds):
        for load in loads:
            for name, contestant in in_turn(running[load], number):
                measured.add(load, name, contestant.run(load, seconds))
        between()
    return measured

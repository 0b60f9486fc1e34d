"""The time from the start of a subagent until its first and its last object are served."""
from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field
from statistics import median

from contestants import Contestant, StartUp
from rounds import in_turn


@dataclass
class StartUps:
    """All starts of each contestant, round by round."""

    times: dict[str, list[StartUp]] = field(default_factory=dict)

    def median(self, contestant: str, what: Callable[[StartUp], float]) -> float:
        return median(what(each) for each in self.times[contestant])

    def difference(self, contestant: str, other: str, what: Callable[[StartUp], float]) -> float:
        """The median difference, start by start."""
        pairs = zip(self.times[contestant], self.times[other])
        return median(what(mine) - what(theirs) for mine, theirs in pairs)


def start_again_and_again(contestants: dict[str, Contestant], repeats: int) -> StartUps:
    """Restarts contestants that are already running: their first starts read their files from disk."""
    starts = StartUps({name: [] for name in contestants})
    for number in range(repeats):
        for name, contestant in in_turn(list(contestants.items()), number):
            contestant.stop()
            starts.times[name].append(contestant.start())
    return starts

"""How long it takes from the start of a subagent to its first and to its last object served."""
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
        """The median of how much later one was, start by start."""
        pairs = zip(self.times[contestant], self.times[other])
        return median(what(mine) - what(theirs) for mine, theirs in pairs)


def start_again_and_again(contestants: dict[str, Contestant], repeats: int) -> StartUps:
    """Starts contestants that are running already: those first starts read their files from the disk."""
    starts = StartUps({name: [] for name in contestants})
    for number in range(repeats):
        for name, contestant in in_turn(list(contestants.items()), number):
            contestant.stop()
            starts.times[name].append(contestant.start())
    return starts

"""All that one run measured, and the figures of it that limits are set for."""
from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from statistics import median

from contestants import AGENT, BARE_EXCHANGES, BARE_QUEUE, Contestant, Exchanges
from growth import Sample, growth
from objects import Size
from processes import Memory
from rounds import LOADS, SETS, Measured, loadsOf
from startup import StartUps

#: Enough that a single exchange too many would show as a fraction.
_COUNTED_REQUESTS = 20
_COUNTED_WALKS = 2


@dataclass
class ScaleFigures:
    """One contestant at one size. Times in seconds."""

    contestant: str
    size: Size
    rates: dict[str, float]
    memory: Memory
    startUp: float

    def walk(self, load: str) -> float:
        """Seconds of a walk from its root to its end."""
        return self.size.requestsOfWalk(load) / self.rates[load]


@dataclass(frozen=True)
class CostOfOneMore:
    """What one more object costs a contestant, in seconds and KiB: the slope from the fewest to the most."""

    startUpOfScalar: float
    residentOfScalar: float
    walkOfScalar: float
    walkOfCell: float


@dataclass
class Results:
    """What a run measured at the main size and at the others; what its form leaves out is empty or None."""

    size: Size
    measured: Measured
    #: By load and contestant: of one request, or of one whole walk.
    exchanges: dict[tuple[str, str], tuple[float, float]]
    memory: dict[str, Memory] = field(default_factory=dict)
    startUps: StartUps | None = None
    growth: list[Sample] = field(default_factory=list)
    queueRates: list[float] = field(default_factory=list)
    scales: list[ScaleFigures] = field(default_factory=list)
    #: The GET rate with the most scalars against that with the fewest, by contestant.
    manyAgainstFew: dict[str, float] = field(default_factory=dict)
    #: The agent with a unix socket and with TCP between it and the master agent.
    transports: Measured | None = None

    @property
    def queueRate(self) -> float:
        return median(self.queueRates)

    def figures(self) -> dict[str, float]:
        """By the names that limits use."""
        figures = {f"rate.{load}": self.measured.ratio(load, AGENT, BARE_QUEUE) for load in LOADS}
        for load in SETS:
            figures[f"rate.{load}.againstExchanges"] = self.measured.ratio(load, AGENT, BARE_EXCHANGES)
            figures[f"processorRate.{load}.againstExchanges"] = self.measured.ratio(
                load, AGENT, BARE_EXCHANGES, lambda each: each.processorRate)
        figures["processor.get1"] = self.measured.ratio(
            "get1", AGENT, BARE_QUEUE, lambda each: each.subagentPerRequest)
        for load in LOADS:
            figures[f"processorRate.{load}"] = self.measured.ratio(
                load, AGENT, BARE_QUEUE, lambda each: each.processorRate)
            figures[f"reads.{load}"], figures[f"writes.{load}"] = self.exchanges[load, AGENT]
        if self.memory:
            agent, other = self.memory[AGENT], self.memory[BARE_QUEUE]
            figures["memory.private"] = agent.private - other.private
            figures["memory.resident"] = agent.resident - other.resident
        if self.startUps:
            figures["startUp.first"] = 1e3 * self.startUps.difference(AGENT, BARE_QUEUE, lambda each: each.first)
            figures["startUp.last"] = 1e3 * self.startUps.difference(AGENT, BARE_QUEUE, lambda each: each.last)
        if self.growth:
            figures["memory.growth"] = growth(self.growth)
        if self.manyAgainstFew:
            figures["rate.get1.manyAgainstFew"] = self.manyAgainstFew[AGENT]
        return figures

    def scaledContestants(self) -> list[str]:
        return list(dict.fromkeys(each.contestant for each in self.scales))

    def overScalars(self, contestant: str) -> list[ScaleFigures]:
        """At the main number of columns, the fewest scalars first."""
        mine = [each for each in self.scales
                if each.contestant == contestant and each.size.columns == self.size.columns]
        return sorted(mine, key=lambda each: each.size.scalars)

    def overColumns(self, contestant: str) -> list[ScaleFigures]:
        """At the main number of scalars, the fewest columns first."""
        mine = [each for each in self.scales
                if each.contestant == contestant and each.size.scalars == self.size.scalars]
        return sorted(mine, key=lambda each: each.size.columns)

    def costOfOneMore(self, contestant: str) -> CostOfOneMore:
        scalars, columns = self.overScalars(contestant), self.overColumns(contestant)
        return CostOfOneMore(
            _slope([(each.size.scalars, each.startUp) for each in scalars]),
            _slope([(each.size.scalars, each.memory.resident) for each in scalars]),
            _slope([(each.size.scalars, each.walk("walkScalars")) for each in scalars]),
            _slope([(each.size.requestsOfWalk("walkTable"), each.walk("walkTable")) for each in columns]))


def _slope(points: Sequence[tuple[float, float]]) -> float:
    (first, low), (last, high) = points[0], points[-1]
    return (high - low) / (last - first)


def countExchanges(contestant: Contestant) -> dict[tuple[str, str], tuple[float, float]]:
    """The reads and the writes of one request of each load; of a walk as a whole, for its requests differ."""
    return {(load, contestant.name): _exchangesOf(contestant, load) for load in loadsOf(contestant.name)}


def _exchangesOf(contestant: Contestant, load: str) -> tuple[float, float]:
    requests, parts = _COUNTED_REQUESTS, _COUNTED_REQUESTS
    if load.startswith("walk"):
        requests, parts = _COUNTED_WALKS * contestant.size.requestsOfWalk(load), _COUNTED_WALKS
    spent: Exchanges = contestant.exchangesOf(load, requests)
    return spent.reads / parts, spent.writes / parts

"""All measurements of one run, and the figures that have limits."""
from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass, field
from statistics import median

from contestants import AGENT, BARE_EXCHANGES, BARE_QUEUE, Contestant, Exchanges
from growth import Sample, growth
from objects import Size
from processes import Memory
from rounds import LOADS, SETS, Measured, loads_of
from startup import StartUps

#: Enough for a single additional exchange to show as a fraction.
_COUNTED_REQUESTS = 20
_COUNTED_WALKS = 2


@dataclass
class ScaleFigures:
    """One contestant at one size. Times in seconds."""

    contestant: str
    size: Size
    rates: dict[str, float]
    memory: Memory
    start_up: float

    def walk(self, load: str) -> float:
        """Seconds of a complete walk."""
        return self.size.requests_of_walk(load) / self.rates[load]


@dataclass(frozen=True)
class CostOfOneMore:
    """The cost of one more object for a contestant, in seconds and KiB: the slope from the fewest to the most."""

    start_up_of_scalar: float
    resident_of_scalar: float
    walk_of_scalar: float
    walk_of_cell: float


@dataclass(frozen=True)
class DeviceExchanges:
    """Exchanges with a device of the device library against raw ones: nanoseconds each, and the median of the ratios
    of the rounds."""

    exchanges: int
    raw: float
    library: float
    ratio: float


@dataclass
class Results:
    """The measurements of a run at the main size and the others; what its form leaves out is empty or None."""

    size: Size
    measured: Measured
    #: By load and contestant: per request, or per complete walk.
    exchanges: dict[tuple[str, str], tuple[float, float]]
    memory: dict[str, Memory] = field(default_factory=dict)
    start_ups: StartUps | None = None
    growth: list[Sample] = field(default_factory=list)
    queue_rates: list[float] = field(default_factory=list)
    scales: list[ScaleFigures] = field(default_factory=list)
    #: The GET rate with the most scalars relative to that with the fewest, by contestant.
    many_against_few: dict[str, float] = field(default_factory=dict)
    #: The agent with a unix socket and with TCP between it and the master agent.
    transports: Measured | None = None
    device_library: DeviceExchanges | None = None

    @property
    def queue_rate(self) -> float:
        return median(self.queue_rates)

    def figures(self) -> dict[str, float]:
        """By the names that limits use."""
        figures = {f"rate.{load}": self.measured.ratio(load, AGENT, BARE_QUEUE) for load in LOADS}
        for load in SETS:
            figures[f"rate.{load}.againstExchanges"] = self.measured.ratio(load, AGENT, BARE_EXCHANGES)
            figures[f"processorRate.{load}.againstExchanges"] = self.measured.ratio(
                load, AGENT, BARE_EXCHANGES, lambda each: each.processor_rate)
        figures["processor.get1"] = self.measured.ratio(
            "get1", AGENT, BARE_QUEUE, lambda each: each.subagent_per_request)
        for load in LOADS:
            figures[f"processorRate.{load}"] = self.measured.ratio(
                load, AGENT, BARE_QUEUE, lambda each: each.processor_rate)
            figures[f"reads.{load}"], figures[f"writes.{load}"] = self.exchanges[load, AGENT]
        if self.memory:
            agent, other = self.memory[AGENT], self.memory[BARE_QUEUE]
            figures["memory.private"] = agent.private - other.private
            figures["memory.resident"] = agent.resident - other.resident
        if self.start_ups:
            figures["startUp.first"] = 1e3 * self.start_ups.difference(AGENT, BARE_QUEUE, lambda each: each.first)
            figures["startUp.last"] = 1e3 * self.start_ups.difference(AGENT, BARE_QUEUE, lambda each: each.last)
        if self.growth:
            figures["memory.growth"] = growth(self.growth)
        if self.many_against_few:
            figures["rate.get1.manyAgainstFew"] = self.many_against_few[AGENT]
        if self.device_library:
            figures["device.exchange"] = self.device_library.ratio
        return figures

    def scaled_contestants(self) -> list[str]:
        return list(dict.fromkeys(each.contestant for each in self.scales))

    def over_scalars(self, contestant: str) -> list[ScaleFigures]:
        """At the main number of columns, fewest scalars first."""
        mine = [each for each in self.scales
                if each.contestant == contestant and each.size.columns == self.size.columns]
        return sorted(mine, key=lambda each: each.size.scalars)

    def over_columns(self, contestant: str) -> list[ScaleFigures]:
        """At the main number of scalars, fewest columns first."""
        mine = [each for each in self.scales
                if each.contestant == contestant and each.size.scalars == self.size.scalars]
        return sorted(mine, key=lambda each: each.size.columns)

    def cost_of_one_more(self, contestant: str) -> CostOfOneMore:
        scalars, columns = self.over_scalars(contestant), self.over_columns(contestant)
        return CostOfOneMore(
            _slope([(each.size.scalars, each.start_up) for each in scalars]),
            _slope([(each.size.scalars, each.memory.resident) for each in scalars]),
            _slope([(each.size.scalars, each.walk("walkScalars")) for each in scalars]),
            _slope([(each.size.requests_of_walk("walkTable"), each.walk("walkTable")) for each in columns]))


def _slope(points: Sequence[tuple[float, float]]) -> float:
    (first, low), (last, high) = points[0], points[-1]
    return (high - low) / (last - first)


def count_exchanges(contestant: Contestant) -> dict[tuple[str, str], tuple[float, float]]:
    """Reads and writes per request of each load; for a walk per complete walk, as its requests differ."""
    return {(load, contestant.name): _exchanges_of(contestant, load) for load in loads_of(contestant.name)}


def _exchanges_of(contestant: Contestant, load: str) -> tuple[float, float]:
    requests, parts = _COUNTED_REQUESTS, _COUNTED_REQUESTS
    if load.startswith("walk"):
        requests, parts = _COUNTED_WALKS * contestant.size.requests_of_walk(load), _COUNTED_WALKS
    spent: Exchanges = contestant.exchanges_of(load, requests)
    return spent.reads / parts, spent.writes / parts

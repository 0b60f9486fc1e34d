"""What alarms cost that the master agent watches: agents side by side, without alarms, with some that it polls all
the time, and with some that it hardly polls."""
from __future__ import annotations

import subprocess
import time
from collections.abc import Mapping
from contextlib import ExitStack
from dataclasses import dataclass
from pathlib import Path

from contestants import AGENT, BenchBuild, BenchmarkError, Contestant, Exchanges
from objects import Size
from rounds import measure
from tables import Table, plain_number

WITHOUT, WATCHED, UNWATCHED = "no alarms", "alarms every second", "alarms every hour"
_ALARMS = 50
#: Seconds between polls.
_INTERVALS = {WATCHED: 1, UNWATCHED: 3600}
_WARM_UP = 3
#: A limit that no value of the device exceeds.
_NEVER = 2**31 - 2
_ROUNDS = 40
_SLICE = 0.5


@dataclass(frozen=True)
class Cost:
    """What one device spends in a second in which nobody but the alarms asks it anything."""

    reads: float
    processor: Mapping[str, float]


@dataclass(frozen=True)
class AlarmCosts:
    alarms: int
    idle: Mapping[str, Cost]
    #: The rate of GET against that without alarms, by processor time.
    rates: Mapping[str, float]

    def of_a_poll(self, program: str | None = None) -> float:
        """Seconds of processor time of one program, or of all, for one poll of one alarm."""
        spent = {name: sum(each.processor.values()) if program is None else each.processor[program]
                 for name, each in self.idle.items()}
        return (spent[WATCHED] - spent[WITHOUT]) * _INTERVALS[WATCHED] / self.alarms


def measure_alarms(build: BenchBuild, directory: Path, size: Size, seconds: float) -> AlarmCosts:
    with ExitStack() as open:
        contestants = {}
        for number, name in enumerate((WITHOUT, *_INTERVALS)):
            settings = [] if name == WITHOUT else [
                f"includeFile {write_alarms(build, directory / f'{number}.yaml', size, _INTERVALS[name])}"]
            contestants[name] = Contestant(AGENT, size, directory / str(number), build, settings)
            open.callback(contestants[name].close)
            contestants[name].start()
        idle = _costs(contestants, seconds)
        if idle[WITHOUT].reads or idle[WATCHED].reads < _ALARMS / _INTERVALS[WATCHED]:
            raise BenchmarkError(f"the alarms read {idle[WATCHED].reads:g} values a second, and nobody "
                                 f"{idle[WITHOUT].reads:g}")
        measured = measure(contestants, ("get1",), _ROUNDS, _SLICE)
        rates = {name: measured.ratio("get1", name, WITHOUT, lambda each: each.processor_rate) for name in _INTERVALS}
        return AlarmCosts(_ALARMS, idle, rates)


def write_alarms(build: BenchBuild, source: Path, size: Size, interval: int) -> Path:
    """The monitors for a master agent, of one alarm for each of the first scalars."""
    configuration = source.with_suffix(".conf")
    source.write_text(size.source_with_alarms(_ALARMS, interval, _NEVER), encoding="utf-8")
    done = subprocess.run(
        [build.mapping_tool, "alarms", source, "-o", configuration], stdin=subprocess.DEVNULL, capture_output=True,
        text=True, timeout=60, check=False)
    if done.returncode != 0:
        raise BenchmarkError(done.stderr.strip())
    return configuration


def alarms_table(costs: AlarmCosts) -> Table:
    programs = costs.idle[WATCHED].processor
    rows = [[name, plain_number(cost.reads, 1), *(plain_number(cost.processor[each] * 1e3, 2) for each in programs)]
            for name, cost in costs.idle.items()]
    rows.append(["one poll of one alarm, µs", "", *(plain_number(costs.of_a_poll(each) * 1e6, 1) for each in programs)])
    return Table(f"{costs.alarms} alarms", ["each second", "reads", *(f"ms of {name}" for name in programs)], rows)


def summary(costs: AlarmCosts) -> str:
    rates = ", ".join(f"{name} {rate:.3f}" for name, rate in costs.rates.items())
    return (f"one poll of one alarm: {costs.of_a_poll() * 1e6:.1f} µs of processor time; polled once a minute, "
            f"{costs.alarms} alarms take {costs.of_a_poll() * costs.alarms * 1e3:.1f} ms of it each minute\n\n"
            f"GET rate by processor time against {WITHOUT}: {rates}")


def _costs(contestants: Mapping[str, Contestant], seconds: float) -> dict[str, Cost]:
    """Of all in the same time, after they have settled."""
    time.sleep(_WARM_UP)
    before = {name: each.spent() for name, each in contestants.items()}
    start = time.monotonic()
    time.sleep(seconds)
    took = time.monotonic() - start
    return {name: _cost(before[name], each.spent(), took) for name, each in contestants.items()}


def _cost(
    before: tuple[Exchanges, Mapping[str, float]], after: tuple[Exchanges, Mapping[str, float]], seconds: float,
) -> Cost:
    return Cost(after[0].since(before[0]).reads / seconds,
                {name: (spent - before[1][name]) / seconds for name, spent in after[1].items()})

"""Measures the agent beside the other contestants on one core. See bench/run."""
from __future__ import annotations

import argparse
import json
import os
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator, Sequence
from contextlib import ExitStack, contextmanager
from dataclasses import dataclass, replace
from pathlib import Path

_BENCH = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(_BENCH.parent / "tests" / "integration"))

from alarms import alarms_table, measure_alarms, summary
from calls import calls_table, trace_all
from contestants import (
    AGENT, AGENT_OVER_TCP, BARE, BARE_QUEUE, CONTESTANTS, WITH_DEVICE, BenchBuild, BenchmarkError, Contestant,
)
from figures import DeviceExchanges, Results, ScaleFigures, count_exchanges
from growth import watch_memory
from limits import Judged, judge, read_limits
from objects import Size
from pictures import draw
from report import as_structure, page, show
from rounds import LOADS, Measured, loads_of, measure
from startup import StartUps, start_again_and_again

_MAIN_SIZE = Size(scalars=50, columns=6)
_FEWEST = Size(scalars=10, columns=6)
_MOST = Size(scalars=1000, columns=6)
_OTHER_SIZES = (_FEWEST, Size(255, 6), _MOST, Size(50, 2), Size(50, 20))
#: The contestants whose growth and start-up can be compared with the agent's.
_COMPARABLE = (AGENT, BARE, BARE_QUEUE)
_SCALE_LOADS = ("get1", "walkScalars", "walkTable")
_QUEUE_SECONDS = 0.05
_FEWEST_FOR_GROWTH = 20_000
_SECONDS_OF_ALARMS = 30


@dataclass(frozen=True)
class Form:
    """The extent of a run. Many short slices are better than a few long ones: a disturbance spoils fewer of them."""

    name: str
    contestants: Sequence[str]
    rounds: int
    seconds: float
    #: How often each subagent is restarted; 0 leaves out start-up and memory.
    starts: int
    growth_requests: int
    #: The rounds of the fewest against the most scalars.
    many_rounds: int
    #: Rounds of 10,000 exchanges with the device library and without.
    device_rounds: int
    #: Whether to measure the other sizes and TCP to the master agent, too.
    all_sizes: bool
    scale_rounds: int = 0


LONG = Form(
    "long", CONTESTANTS, rounds=45, seconds=0.12, starts=100, growth_requests=1_000_000, many_rounds=60,
    device_rounds=100, all_sizes=True, scale_rounds=24)
QUICK = Form(
    "quick", CONTESTANTS, rounds=20, seconds=0.04, starts=30, growth_requests=_FEWEST_FOR_GROWTH,
    many_rounds=40, device_rounds=20, all_sizes=False)
CHECK = Form(
    "check", WITH_DEVICE, rounds=40, seconds=0.04, starts=0, growth_requests=0, many_rounds=40,
    device_rounds=20, all_sizes=False)


class Run:
    """Creates the contestants of one run and measures them."""

    def __init__(self, build: BenchBuild, directory: Path, form: Form) -> None:
        self._build = build
        self._directory = directory
        self._form = form

    def results(self) -> Results:
        """All worlds of a stage exist at the same time and end with it. Memory is measured in the first one, where no
        program runs twice: what two processes map is private to neither."""
        form = self._form
        with self._contestants({name: (name, _MAIN_SIZE) for name in form.contestants}) as contestants:
            start_ups = start_again_and_again(_only(contestants, _COMPARABLE), form.starts) if form.starts else None
            _say("the contestants run")
            results = self._main_stage(contestants)
            results.start_ups = start_ups
            if form.starts:
                results.memory = {name: contestant.memory() for name, contestant in contestants.items()}
            if form.growth_requests:
                _say(f"{form.growth_requests} requests for the growth of the memory")
                results.growth = watch_memory(contestants[AGENT], form.growth_requests)
        if form.all_sizes:
            results.transports = self._transport_stage()
            results.scales = self._scale_stage()
        results.many_against_few = self._many_stage()
        results.device_library = self._device_stage()
        return results

    def _main_stage(self, contestants: dict[str, Contestant]) -> Results:
        exchanges: dict[tuple[str, str], tuple[float, float]] = {}
        for name in _only(contestants, WITH_DEVICE):
            exchanges |= count_exchanges(contestants[name])
        queue_rates: list[float] = []
        measured = measure(
            contestants, LOADS, self._form.rounds, self._form.seconds,
            between=lambda: queue_rates.append(contestants[BARE_QUEUE].queue_rate(_QUEUE_SECONDS)))
        return Results(_MAIN_SIZE, measured, exchanges, queue_rates=queue_rates)

    def _transport_stage(self) -> Measured:
        _say("TCP to the master agent")
        with self._contestants({name: (name, _MAIN_SIZE) for name in (AGENT, AGENT_OVER_TCP)}) as contestants:
            return measure(contestants, loads_of(AGENT_OVER_TCP), self._form.rounds, self._form.seconds)

    def _scale_stage(self) -> list[ScaleFigures]:
        _say("the other sizes")
        form = self._form
        wanted = {_at(name, size): (name, size) for size in (*_OTHER_SIZES, _MAIN_SIZE) for name in _COMPARABLE}
        with self._contestants(wanted) as contestants:
            start_ups = start_again_and_again(contestants, form.starts // 10)
            measured = measure(contestants, _SCALE_LOADS, form.scale_rounds, form.seconds)
            return [_scale_figures(each, key, measured, start_ups) for key, each in contestants.items()]

    def _many_stage(self) -> dict[str, float]:
        """Without the other sizes: with fewer contestants in turn, the two measurements of a ratio are closer in time.
        """
        form = self._form
        names = _COMPARABLE if form.all_sizes else (AGENT, BARE_QUEUE)
        _say("the most scalars against the fewest")
        with self._contestants({_at(name, size): (name, size) for name in names for size in (_FEWEST, _MOST)}) as both:
            measured = measure(both, ("get1",), form.many_rounds, form.seconds)
            return {name: measured.ratio("get1", _at(name, _MOST), _at(name, _FEWEST)) for name in names}

    def _device_stage(self) -> DeviceExchanges:
        _say("the device library against raw queues")
        done = subprocess.run(
            [self._build.device_exchanges, str(self._form.device_rounds)], capture_output=True, text=True, check=False)
        if done.returncode != 0:
            raise BenchmarkError(done.stderr.strip())
        return DeviceExchanges(**json.loads(done.stdout))

    @contextmanager
    def _contestants(self, wanted: dict[str, tuple[str, Size]]) -> Iterator[dict[str, Contestant]]:
        with ExitStack() as open, tempfile.TemporaryDirectory(dir=self._directory) as directory:
            made: dict[str, Contestant] = {}
            for number, (key, (name, size)) in enumerate(wanted.items()):
                made[key] = Contestant(name, size, Path(directory) / str(number), self._build)
                open.callback(made[key].close)
                made[key].start()
            yield made


def _scale_figures(
    contestant: Contestant, key: str, measured: Measured, start_ups: StartUps,
) -> ScaleFigures:
    rates = {load: measured.median(load, key, lambda each: each.rate) for load in _SCALE_LOADS}
    start_up = start_ups.median(key, lambda each: each.last)
    return ScaleFigures(contestant.name, contestant.size, rates, contestant.memory(), start_up)


def _at(name: str, size: Size) -> str:
    return f"{name} at {size.scalars} and {size.columns}"


def _only(contestants: dict[str, Contestant], names: Sequence[str]) -> dict[str, Contestant]:
    return {name: contestants[name] for name in names}


def _say(what: str) -> None:
    print(f"[{time.monotonic() - _START:5.1f} s] {what}", file=sys.stderr, flush=True)


def pin_to_one_core() -> None:
    """Pins this process and all that it starts to one core. Across cores a message may wake a sleeping core, and rates
    would reflect the kernel's placement of the processes rather than their cost."""
    os.sched_setaffinity(0, {max(os.sched_getaffinity(0))})


def parse_arguments() -> argparse.Namespace:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, required=True, help="build directory of the agent and the programs")
    parser.add_argument("--output", type=Path, default=Path("build/bench"), help="directory for the results")
    forms = parser.add_mutually_exclusive_group()
    forms.add_argument("--quick", dest="form", action="store_const", const=QUICK, default=LONG)
    forms.add_argument("--check", dest="form", action="store_const", const=CHECK)
    forms.add_argument("--trace", action="store_true", help="count system calls instead of measuring")
    forms.add_argument("--alarms", action="store_true", help="measure what alarms cost instead of requests")
    parser.add_argument("--requests-for-growth", type=int)
    arguments = parser.parse_args()
    if arguments.requests_for_growth is not None and arguments.requests_for_growth < _FEWEST_FOR_GROWTH:
        parser.error(f"growth shows in {_FEWEST_FOR_GROWTH} requests or more")
    if not BenchBuild(arguments.build).agent.is_file():
        parser.error(f"{arguments.build} has no agent: build it with scripts/build")
    return arguments


def finish(results: Results, judged: list[Judged], form: Form, output: Path) -> int:
    """Prints and saves the results; returns the exit status."""
    output.mkdir(parents=True, exist_ok=True)
    structure = as_structure(results, judged, form.name)
    (output / "bench.json").write_text(json.dumps(structure, indent=1) + "\n", encoding="utf-8")
    (output / "bench.md").write_text(page(results, judged), encoding="utf-8")
    pictures = draw(results, output)
    print(show(results, judged))
    print(f"\n{output / 'bench.json'} has all figures, bench.md the tables; pictures: {', '.join(map(str, pictures))}")
    missed = sum(each.is_missed for each in judged)
    known = sum(each.is_known_miss for each in judged)
    print(f"{len(judged) - missed - known} limits hold, {missed} missed, {known} missed for a known reason")
    return 1 if missed else 0


def trace(build: BenchBuild, directory: Path, output: Path) -> int:
    """Prints and saves the system calls by process."""
    return save(calls_table(trace_all(build, directory, _MAIN_SIZE)).markdown(), output / "trace.md")


def watch_alarms(build: BenchBuild, directory: Path, output: Path) -> int:
    """Prints and saves what alarms cost."""
    costs = measure_alarms(build, directory, _MAIN_SIZE, _SECONDS_OF_ALARMS)
    return save(f"{alarms_table(costs).markdown()}\n\n{summary(costs)}", output / "alarms.md")


def save(text: str, path: Path) -> int:
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text + "\n", encoding="utf-8")
    print(text)
    return 0


def main() -> int:
    arguments = parse_arguments()
    form: Form = arguments.form
    if arguments.requests_for_growth is not None:
        form = replace(form, growth_requests=arguments.requests_for_growth)
    build = BenchBuild(arguments.build.resolve())
    pin_to_one_core()
    with tempfile.TemporaryDirectory(prefix="bench-") as directory:
        try:
            if arguments.trace:
                return trace(build, Path(directory), arguments.output)
            if arguments.alarms:
                return watch_alarms(build, Path(directory), arguments.output)
            results = Run(build, Path(directory), form).results()
        except BenchmarkError as error:
            print(f"nothing counts: {error}", file=sys.stderr)
            return 1
    judged = judge(read_limits(_BENCH / "limits.toml"), results.figures(), form.name == CHECK.name)
    return finish(results, judged, form, arguments.output)


_START = time.monotonic()

if __name__ == "__main__":
    sys.exit(main())

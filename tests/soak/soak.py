"""Soak test: many requests of all kinds against the whole system while device and master fail and recover.

Every answer is checked against the device's value. Samples the agent's memory and descriptors, and the depth of the
queues. The exit status is 0 if no answer was wrong and nothing grew. See scripts/soak.
"""
from __future__ import annotations

import argparse
import random
import subprocess
import sys
import tempfile
import time
from collections import Counter
from dataclasses import dataclass, field
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "integration"))

from disturbances import QUICK, SLOW, Disturbance, Soak
from held import Held
from manager import Judgement, Manager, Tolerance
from naming import named
from sampling import FEWEST_SAMPLES, Sample, Sampler, growth
from support.sample import SAMPLE_MAPPING, SAMPLE_OBJECTS
from support.stack import Build, Stack
from traffic import Traffic

_ROWS = 8
_ROUND = 250
#: The number of rounds between disturbances that take seconds.
_SLOW_EVERY = 60
_QUICK_SHARE = 0.5
_WARM_UP_SHARE = 0.1
#: Growth below this is noise: the allocator takes memory from the system in steps of 132 KiB, and one more concurrent
#: request than ever before may cost a step. A leak takes one step after another.
_NOISE_KIB = 2 * 132.0
_PROGRESS_SECONDS = 10.0
#: How much of the agent's output is shown if it has ended.
_MOST_SAID = 1000
_PLOT = Path(__file__).with_name("soak.gnuplot")


class Plan:
    """The disturbance of each round: first every kind once, which is part of the warm-up, then at random."""

    def __init__(self, chance: random.Random) -> None:
        self._chance = chance
        self._tour = [*QUICK, *SLOW]
        self._round = 0

    @property
    def is_touring(self) -> bool:
        return self._round < len(self._tour)

    def next(self) -> Disturbance | None:
        place, self._round = self._round, self._round + 1
        if place < len(self._tour):
            return self._tour[place]
        if place % _SLOW_EVERY == 0:
            return SLOW[place // _SLOW_EVERY % len(SLOW)]
        return self._chance.choice(QUICK) if self._chance.random() < _QUICK_SHARE else None


@dataclass
class Outcome:
    """The result of a soak, and what is wrong with it."""

    seconds: float = 0.0
    disturbed: Counter[str] = field(default_factory=Counter)
    warm_up_requests: int = 0
    at_end: Sample | None = None
    troubles: list[str] = field(default_factory=list)


def run(soak: Soak, sampler: Sampler, requests: int, limit: float) -> Outcome:
    """Runs rounds until all requests are answered or the time is up."""
    outcome = Outcome()
    plan = Plan(soak.chance)
    start = progress = time.monotonic()
    while soak.manager.requests < requests:
        outcome.seconds = time.monotonic() - start
        if outcome.seconds > limit:
            outcome.troubles.append(f"the time was up after {soak.manager.requests} requests")
            break
        is_warming_up = plan.is_touring or soak.manager.requests < requests * _WARM_UP_SHARE
        disturbance = plan.next()
        try:
            live_through(soak, disturbance, outcome)
        except AssertionError as error:
            outcome.troubles.append(
                f"after {soak.manager.requests} requests, "
                f"with {disturbance.name if disturbance else 'nothing wrong'}: {error}")
            break
        if is_warming_up:
            outcome.warm_up_requests = soak.manager.requests
        if time.monotonic() - progress > _PROGRESS_SECONDS:
            progress = time.monotonic()
            print(f"[{progress - start:5.0f} s] {soak.manager.requests} requests", flush=True)
    outcome.seconds = time.monotonic() - start
    agent = soak.stack.agent
    assert agent
    if agent.is_running():
        outcome.at_end = sampler.take()
    else:
        outcome.troubles.append(f"the agent has ended with {agent.wait_for_end()}: {agent.errors()[-_MOST_SAID:]}")
    return outcome


def live_through(soak: Soak, disturbance: Disturbance | None, outcome: Outcome) -> None:
    """Runs one round; at its end everything is back to normal."""
    if disturbance is None:
        soak.run(_ROUND, Tolerance())
    else:
        outcome.disturbed[disturbance.name] += 1
        disturbance.apply(soak, _ROUND)
        soak.clear_faults()
    soak.settle()
    soak.compare()


def judge(soak: Soak, samples: list[Sample], outcome: Outcome) -> None:
    """Prints the figures and collects what is wrong."""
    manager = soak.manager
    rate = manager.requests / outcome.seconds
    print(f"{manager.requests} requests in {outcome.seconds:.0f} s ({rate:.0f} per second): "
          + ", ".join(f"{kind} {count}" for kind, count in sorted(manager.kinds.items())))
    print("disturbances: " + ", ".join(f"{name} {count}" for name, count in sorted(outcome.disturbed.items())))
    print("answers: " + ", ".join(f"{manager.judgements[each]} {each.value}" for each in Judgement))
    if manager.judgements[Judgement.WRONG]:
        outcome.troubles.append(f"{manager.judgements[Judgement.WRONG]} wrong answers, among them:")
        outcome.troubles += manager.complaints
    judge_use([each for each in samples if each.requests >= outcome.warm_up_requests], outcome)


def judge_use(samples: list[Sample], outcome: Outcome) -> None:
    """Growth of the memory, descriptors and queues since the end of the warm-up."""
    if len(samples) < FEWEST_SAMPLES or outcome.at_end is None:
        outcome.troubles.append(f"only {len(samples)} samples behind the warm-up: too few to judge by")
        return
    times = [each.seconds for each in samples]
    for name, values in (("resident memory", [each.resident_kib for each in samples]),
                         ("anonymous memory", [each.anonymous_kib for each in samples])):
        grown = growth(values)
        print(f"{name}: {values[0]} KiB after the warm-up, {values[-1]} KiB at the end, growth {grown:+.1f} KiB over "
              f"{times[-1] - times[0]:.0f} s (limit {_NOISE_KIB:g})")
        if grown > _NOISE_KIB:
            outcome.troubles.append(f"the {name} grows")
    usual = Counter(each.descriptors for each in samples).most_common(1)[0][0]
    most = max(each.descriptors for each in samples)
    print(f"descriptors: {usual}, at most {most}, at the end {outcome.at_end.descriptors}")
    if outcome.at_end.descriptors != usual:
        outcome.troubles.append("the number of descriptors changed")
    depths = [each.request_queue + each.answer_queue for each in samples]
    at_end = outcome.at_end.request_queue + outcome.at_end.answer_queue
    print(f"messages in the queues: at most {max(depths)}, at the end {at_end}")
    if at_end:
        outcome.troubles.append("the queues are not empty")


def draw(csv_file: Path, picture: Path, samples: list[Sample], outcome: Outcome) -> None:
    """A plot of the samples, in which the warm-up ends with the first sample after it."""
    warm = next((each for each in samples if each.requests >= outcome.warm_up_requests), samples[-1])
    variables = (f"samples='{csv_file}'; picture='{picture}'; warmUpEnd={warm.seconds}; base={warm.resident_kib}; "
                 f"noise={_NOISE_KIB}")
    subprocess.run(["gnuplot", "-e", variables, _PLOT], check=True, timeout=60)


def soak_for(arguments: argparse.Namespace, directory: Path) -> Outcome:
    chance = random.Random(arguments.seed)
    stack = Stack(directory, Build(arguments.build.resolve()))
    stack.logs_frames = False
    held = Held(SAMPLE_MAPPING, named(SAMPLE_OBJECTS, chance), _ROWS)
    manager = Manager(stack.world, held)
    try:
        stack.start_simulator(held.device_objects(), "--seed", str(arguments.seed))
        stack.start_master()
        stack.start_agent(mapping=SAMPLE_MAPPING)
        stack.wait_until_served()
        soak = Soak(stack, held, Traffic(held, chance), manager, chance)
        with Sampler(stack, lambda: manager.requests) as sampler:
            outcome = run(soak, sampler, arguments.requests, arguments.seconds)
        judge(soak, sampler.samples, outcome)
        outcome.troubles += stack.sanitizer_reports()
    finally:
        manager.close()
        stack.close()
    arguments.output.mkdir(parents=True, exist_ok=True)
    sampler.write(arguments.output / "soak.csv")
    if sampler.samples:
        draw(arguments.output / "soak.csv", arguments.output / "soak.svg", sampler.samples, outcome)
    return outcome


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--build", type=Path, required=True, help="build directory of the agent and the tools")
    parser.add_argument("--requests", type=int, default=1_000_000)
    parser.add_argument("--seconds", type=float, default=1200, help="time limit of the requests")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--output", type=Path, default=Path("build/soak"), help="directory of soak.csv and soak.svg")
    arguments = parser.parse_args()
    with tempfile.TemporaryDirectory(prefix="soak-") as directory:
        outcome = soak_for(arguments, Path(directory))
    for trouble in outcome.troubles:
        print(f"trouble: {trouble}")
    print("the soak failed" if outcome.troubles else "the soak passed")
    return 1 if outcome.troubles else 0


if __name__ == "__main__":
    sys.exit(main())

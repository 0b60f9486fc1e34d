"""Whether the agent's memory grows with the number of answered requests."""
from __future__ import annotations

from dataclasses import dataclass

from contestants import Contestant
from processes import Memory
from rounds import LOADS

#: The requests of one command, which must be answered within seconds.
_BATCH = 1000
_WARM_UP_SHARE = 0.1
_SAMPLES = 50


@dataclass(frozen=True)
class Sample:
    requests: int
    memory: Memory


def watch_memory(contestant: Contestant, requests: int) -> list[Sample]:
    """Gets this many requests of all loads answered; samples the memory meanwhile, first after a warm-up and last at
    the end."""
    samples: list[Sample] = []
    warm_up = int(requests * _WARM_UP_SHARE)
    next_sample, step = warm_up, (requests - warm_up) / _SAMPLES
    for answered, load, count in batches(requests):
        contestant.request(load, count)
        if answered + count >= next_sample or answered + count == requests:
            samples.append(Sample(answered + count, contestant.memory()))
            next_sample = answered + count + int(step)
    return samples


def batches(requests: int) -> list[tuple[int, str, int]]:
    """All loads in turn: for each batch the number of requests before it, its load and its size."""
    firsts = range(0, requests, _BATCH)
    return [(first, LOADS[number % len(LOADS)], min(_BATCH, requests - first)) for number, first in enumerate(firsts)]


def growth(samples: list[Sample]) -> int:
    """In KiB of anonymous memory, from the end of the warm-up to the end."""
    return samples[-1].memory.anonymous - samples[0].memory.anonymous

"""The results of a run, as tables for the terminal and for a page, and as a structure for a file."""
from __future__ import annotations

import os
import platform
import re
from collections.abc import Callable, Sequence
from dataclasses import asdict
from pathlib import Path

from contestants import (
    AGENT, AGENT_OVER_TCP, BARE, BARE_EXCHANGES, BARE_QUEUE, CONTESTANTS, PASS_PERSIST, PYAGENTX,
)
from figures import CostOfOneMore, Results, ScaleFigures
from growth import growth
from limits import Judged
from rounds import LOADS, Measured, loads_of
from tables import Table, plain_number

LOAD_NAMES = {
    "get1": "GET", "get20": "GET of 20", "getCell": "cell GET", "walkScalars": "scalar walk",
    "walkTable": "table walk", "setScalar": "scalar SET", "setCell": "cell SET",
}
#: What the agent is compared with, closest first.
OTHERS = (BARE_QUEUE, BARE_EXCHANGES, BARE, PYAGENTX, PASS_PERSIST)
_NOT_MEASURED = "-"


def show(results: Results, judged: Sequence[Judged]) -> str:
    """For the terminal."""
    parts = [*(each.text() for each in _tables(results)), _remarks(results), _limits(judged).text()]
    return "\n\n".join(parts + _known_misses(judged))


def page(results: Results, judged: Sequence[Judged]) -> str:
    """As Markdown, limits first."""
    parts = [_limits(judged).markdown(), *_known_misses(judged), *(each.markdown() for each in _tables(results)),
             _remarks(results).replace("\n", "\n\n")]
    return "\n\n".join(parts) + "\n"


def as_structure(results: Results, judged: Sequence[Judged], form: str) -> dict[str, object]:
    """The content of the file: every figure by its name, plain numbers, seconds and KiB."""
    measured = results.measured
    others = [name for name in _names(results) if name != AGENT]
    return {
        "form": form,
        "machine": machine(),
        "size": asdict(results.size),
        "shareOfCore": measured.share_of_core(),
        "loads": _loads_structure(measured),
        "ratios": {load: {name: measured.ratio(load, AGENT, name) for name in others if measured.has(load, name)}
                   for load in LOADS},
        "exchanges": {load: {name: dict(zip(("reads", "writes"), counts))
                             for (counted, name), counts in results.exchanges.items() if counted == load}
                      for load in LOADS},
        "memory": {name: asdict(memory) for name, memory in results.memory.items()},
        "startUps": {name: [asdict(each) for each in times]
                     for name, times in (results.start_ups.times if results.start_ups else {}).items()},
        "queueRoundTripsPerSecond": results.queue_rate if results.queue_rates else None,
        "transports": _transports_structure(results.transports) if results.transports else None,
        **_scales_structure(results),
        "manyAgainstFew": results.many_against_few,
        "growth": [asdict(each) for each in results.growth],
        "deviceLibrary": asdict(results.device_library) if results.device_library else None,
        "limits": [{"what": each.what, "figure": each.figure, "measured": each.measured, "bound": str(each.bound),
                    "verdict": each.verdict, "known": each.known} for each in judged],
    }


def machine() -> dict[str, object]:
    return {"processor": _processor_name(), "cores": os.cpu_count(), "kernel": platform.release(),
            "architecture": platform.machine()}


def _processor_name() -> str:
    for line in Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def _loads_structure(measured: Measured) -> dict[str, dict[str, dict[str, float]]]:
    return {load: {name: _load_structure(measured, load, name) for sliced_load, name in measured.slices
                   if sliced_load == load} for load in dict.fromkeys(load for load, _ in measured.slices)}


def _load_structure(measured: Measured, load: str, name: str) -> dict[str, float]:
    return {
        "requestsPerSecond": measured.median(load, name, lambda each: each.rate),
        "subagentSecondsPerRequest": measured.median(load, name, lambda each: each.subagent_per_request),
        "allSecondsPerRequest": measured.median(load, name, lambda each: each.all_per_request),
    }


def _transports_structure(measured: Measured) -> dict[str, object]:
    return {"loads": _loads_structure(measured),
            "ratios": {load: measured.ratio(load, AGENT_OVER_TCP, AGENT) for load in loads_of(AGENT_OVER_TCP)}}


def _scales_structure(results: Results) -> dict[str, object]:
    return {
        "scales": [{**_entries(each), "walkSeconds": {load: each.walk(load) for load in each.rates
                                                      if load.startswith("walk")}} for each in results.scales],
        "costOfOneMore": {name: _entries(results.cost_of_one_more(name)) for name in results.scaled_contestants()},
    }


def _entries(record: ScaleFigures | CostOfOneMore) -> dict[str, object]:
    """The fields of a record by their names in the file."""
    return {re.sub("_(.)", lambda match: match[1].upper(), name): value for name, value in asdict(record).items()}


def _names(results: Results) -> list[str]:
    """The contestants of the run."""
    return [name for name in CONTESTANTS if name in results.measured.contestants()]


def _tables(results: Results) -> list[Table]:
    tables = [_rates(results), _ratios(results), _processor_ratios(results), _processor_times(results),
              _exchanges(results)]
    if results.memory:
        tables.append(_footprint(results))
    if results.transports:
        tables.append(_transports(results.transports))
    if results.scales:
        tables += [_scales(results), _costs(results)]
    return tables


def _by_load(
    title: str, corner: str, results: Results, names: Sequence[str], cell: Callable[[str, str], str],
) -> Table:
    rows = [[LOAD_NAMES[load], *(cell(load, name) if results.measured.has(load, name) else _NOT_MEASURED
                                 for name in names)] for load in LOADS]
    return Table(title, [corner, *names], rows)


def _rates(results: Results) -> Table:
    def cell(load: str, name: str) -> str:
        return f"{results.measured.median(load, name, lambda each: each.rate):.0f}"

    return _by_load("Rates", "requests per second", results, _names(results), cell)


def _ratios(results: Results) -> Table:
    def cell(load: str, name: str) -> str:
        return f"{results.measured.ratio(load, AGENT, name):.3f}"

    return _by_load(
        "Rate of the agent against the others", "rate of the agent against", results, _others(results), cell)


def _processor_ratios(results: Results) -> Table:
    def cell(load: str, name: str) -> str:
        return f"{results.measured.ratio(load, AGENT, name, lambda each: each.processor_rate):.3f}"

    return _by_load("Rate of the agent by processor time against the others", "the same by processor time", results,
                    _others(results), cell)


def _others(results: Results) -> list[str]:
    return [name for name in OTHERS if name in _names(results)]


def _processor_times(results: Results) -> Table:
    def cell(load: str, name: str) -> str:
        median = results.measured.median
        return (f"{_microseconds(median(load, name, lambda each: each.subagent_per_request))} / "
                f"{_microseconds(median(load, name, lambda each: each.all_per_request))}")

    return _by_load(
        "Processor time", "µs of processor time per request: subagent / all", results, _names(results), cell)


def _microseconds(seconds: float) -> str:
    return f"{1e6 * seconds:.1f}"


def _milliseconds(seconds: float) -> str:
    return f"{1e3 * seconds:.1f}"


def _exchanges(results: Results) -> Table:
    names = [name for name in CONTESTANTS if any(name == counted for _, counted in results.exchanges)]

    def cell(load: str, name: str) -> str:
        counts = results.exchanges.get((load, name))
        return " / ".join(f"{count:g}" for count in counts) if counts else _NOT_MEASURED

    rows = [[LOAD_NAMES[load] + (", whole" if load.startswith("walk") else ""), *(cell(load, name) for name in names)]
            for load in LOADS]
    return Table("Exchanges with the device", ["device reads / writes per request", *names], rows)


def _footprint(results: Results) -> Table:
    rows = [[name, str(memory.resident), str(memory.private), str(memory.anonymous), *_start_up(results, name)]
            for name, memory in results.memory.items()]
    return Table("Memory and start-up", [
        "subagent", "resident KiB", "private KiB", "anonymous KiB", "first GET ms", "all objects ms"], rows)


def _start_up(results: Results, name: str) -> list[str]:
    if not results.start_ups or name not in results.start_ups.times:
        return [_NOT_MEASURED, _NOT_MEASURED]
    return [_milliseconds(results.start_ups.median(name, lambda each: each.first)),
            _milliseconds(results.start_ups.median(name, lambda each: each.last))]


def _transports(measured: Measured) -> Table:
    rows = [[LOAD_NAMES[load], *(f"{measured.median(load, name, lambda each: each.rate):.0f}"
                                 for name in (AGENT, AGENT_OVER_TCP)),
             f"{measured.ratio(load, AGENT_OVER_TCP, AGENT):.3f}"] for load in loads_of(AGENT_OVER_TCP)]
    return Table("Between the agent and its master agent",
                 ["the agent's requests per second", "unix socket", "TCP", "TCP against unix socket"], rows)


def _scales(results: Results) -> Table:
    rows = [[f"{each.size.scalars} scalars, {each.size.columns} columns: {each.contestant}",
             f"{each.rates['get1']:.0f}", *(_milliseconds(each.walk(load)) for load in ("walkScalars", "walkTable")),
             str(each.memory.resident), _milliseconds(each.start_up)] for each in results.scales]
    return Table("Sizes", ["size", "GET /s", "scalar walk, whole ms", "table walk, whole ms", "resident KiB",
                           "all objects ms"], rows)


def _costs(results: Results) -> Table:
    costs = {name: results.cost_of_one_more(name) for name in results.scaled_contestants()}
    rows = [[name, _microseconds(each.start_up_of_scalar), f"{each.resident_of_scalar:.2f}",
             _microseconds(each.walk_of_scalar), _microseconds(each.walk_of_cell)] for name, each in costs.items()]
    return Table("What one more object costs", [
        "cost of one more object", "scalar: start-up µs", "scalar: resident KiB", "scalar: walk µs", "cell: walk µs"],
        rows)


def _remarks(results: Results) -> str:
    lines = [f"{_processor_name()}, one core; the measured programs had {100 * results.measured.share_of_core():.0f} % "
             "of it"]
    if results.many_against_few:
        ratios = ", ".join(f"{name} {ratio:.3f}" for name, ratio in results.many_against_few.items())
        lines.append(f"GET rate with the most scalars against the fewest: {ratios}")
    if results.device_library:
        device = results.device_library
        lines.append(
            f"{device.exchanges} exchanges with the device library: {device.library:.0f} ns each, "
            f"raw {device.raw:.0f} ns")
    if results.queue_rates:
        lines.append(f"the queues alone: {results.queue_rate:.0f} round trips per second")
    if results.growth:
        first, last = results.growth[0], results.growth[-1]
        lines.append(f"anonymous memory of the agent: {first.memory.anonymous} KiB after {first.requests} requests, "
                     f"{last.memory.anonymous} KiB after {last.requests}: growth {growth(results.growth):+} KiB")
    return "\n".join(lines)


def _limits(judged: Sequence[Judged]) -> Table:
    rows = [[each.what, plain_number(each.measured, 3), str(each.bound), each.verdict] for each in judged]
    return Table("What must hold", ["limit", "measured", "bound", "verdict"], rows)


def _known_misses(judged: Sequence[Judged]) -> list[str]:
    """A paragraph with the reason for each."""
    return [f"MISSED (known): {each.what}, not to be below {each.floor.number:g}. {each.known}"
            for each in judged if each.is_known_miss and each.floor]

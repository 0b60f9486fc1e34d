"""Pictures of a run, with the numbers that they show."""
from __future__ import annotations

import subprocess
from collections.abc import Sequence
from pathlib import Path

from contestants import BARE_QUEUE, CONTESTANTS
from figures import Results, ScaleFigures
from report import LOAD_NAMES
from rounds import LOADS, loads_of

_SCRIPTS = Path(__file__).resolve().parents[1]
_NO_BAR = "NaN"


def draw(results: Results, directory: Path) -> list[Path]:
    """Draws everything that the run has figures for."""
    drawn = [_draw_ratios(results, directory)]
    if results.scales:
        drawn.append(_draw_scales(results, directory))
    return drawn


def ratio_lines(results: Results) -> list[str]:
    """Contestants that have not run every load come last, where a missing bar leaves no gap."""
    names = [name for name in CONTESTANTS if name in results.measured.contestants()]
    names.sort(key=lambda name: len(LOADS) - len(loads_of(name)))
    return [",".join(["load", *names]),
            *(",".join([LOAD_NAMES[load], *(_ratio(results, load, name) for name in names)]) for load in LOADS)]


def scale_blocks(results: Results) -> list[str]:
    """Two blocks for each contestant: over the scalars, and over the columns."""
    blocks = []
    for name in results.scaled_contestants():
        blocks.append(_block([(each.size.scalars, each, "walkScalars") for each in results.over_scalars(name)]))
        blocks.append(_block([(each.size.columns, each, "walkTable") for each in results.over_columns(name)]))
    return blocks


def scale_keys(results: Results) -> list[str]:
    """The keys of each plot, one for each contestant: its name and, where meaningful, the cost of one more object.
    The plots are GET, walk, start-up and memory, first over the scalars and then over the columns."""
    names = results.scaled_contestants()
    costs = [results.cost_of_one_more(name) for name in names]
    scalar_walks = [f"{name}: {1e6 * cost.walk_of_scalar:.0f} µs per scalar" for name, cost in zip(names, costs)]
    cell_walks = [f"{name}: {1e6 * cost.walk_of_cell:.0f} µs per cell" for name, cost in zip(names, costs)]
    start_ups = [f"{name}: {1e6 * cost.start_up_of_scalar:.0f} µs per scalar" for name, cost in zip(names, costs)]
    memories = [f"{name}: {cost.resident_of_scalar:.1f} KiB per scalar" for name, cost in zip(names, costs)]
    return [*names, *names, *scalar_walks, *cell_walks, *start_ups, *names, *memories, *names]


def _ratio(results: Results, load: str, name: str) -> str:
    measured = results.measured
    return f"{measured.ratio(load, name, BARE_QUEUE):.4f}" if measured.has(load, name) else _NO_BAR


def _block(points: Sequence[tuple[int, ScaleFigures, str]]) -> str:
    return "\n".join(f"{number} {each.rates['get1']:.1f} {each.walk(walk):.6f} {each.start_up:.6f} "
                     f"{each.memory.resident}" for number, each, walk in points)


def _draw_ratios(results: Results, directory: Path) -> Path:
    lines = ratio_lines(results)
    contestants = lines[0].count(",")
    return _plot("ratios", "\n".join(lines) + "\n", directory, f"contestants={contestants}")


def _draw_scales(results: Results, directory: Path) -> Path:
    keys = " ".join(f"'{key}'" for key in scale_keys(results))
    contestants = len(results.scaled_contestants())
    return _plot("scales", "\n\n\n".join(scale_blocks(results)) + "\n", directory,
                 f'contestants={contestants}; keys="{keys}"')


def _plot(name: str, content: str, directory: Path, variables: str) -> Path:
    data, picture = directory / f"{name}.dat", directory / f"{name}.svg"
    data.write_text(content, encoding="utf-8")
    subprocess.run(
        ["gnuplot", "-e", f"data='{data}'; picture='{picture}'; {variables}", _SCRIPTS / f"{name}.gnuplot"],
        check=True, timeout=60)
    return picture

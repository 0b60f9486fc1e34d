"""The layers of docs/architecture.md, held against what the sources include."""
from __future__ import annotations

import re
from collections.abc import Iterable
from pathlib import Path
from typing import NamedTuple

import pytest

from pages import ROOT, table_rows, text_of

SRC = ROOT / "src"
TOOLS = ROOT / "tools"
LAYERS_FOR_TOOLS = {1, 2}


class Group(NamedTuple):
    layer: int
    name: str


class Include(NamedTuple):
    file: str
    header: str


def stem_of(name: str) -> str:
    """The class that a file belongs to."""
    return Path(name).name.split(".")[0]


def groups() -> dict[str, Group]:
    """The group of each class, as the page has it."""
    placed: dict[str, Group] = {}
    for layer, name, files, _ in table_rows(text_of("docs", "architecture.md"), "Layer"):
        for stem in re.findall(r"`(\w+)`", files):
            assert stem not in placed, f"{stem} stands in two groups"
            placed[stem] = Group(int(layer), name)
    return placed


def sources_in(directory: Path) -> list[Path]:
    return sorted(
        path for path in directory.rglob("*") if path.name.endswith((".h", ".cpp", ".h.in")))


def includes_of(directory: Path, form: str) -> list[Include]:
    """What is included in quotes or in angle brackets, by the form."""
    return [
        Include(path.name, header) for path in sources_in(directory)
        for header in re.findall(form, path.read_text(encoding="utf-8"), flags=re.MULTILINE)]


OWN = r'^#include "([^"]+)"'
OTHERS = r"^#include <([^>]+)>"


def violations(includes: Iterable[Include], placed: dict[str, Group]) -> list[str]:
    """What includes a higher layer, or another group of its own."""
    found = []
    for file, header in includes:
        above, below = placed[stem_of(file)], placed[stem_of(header)]
        if below.layer > above.layer or (below.layer == above.layer and below.name != above.name):
            found.append(f"{file} ({above.name}) includes {header} ({below.name})")
    return found


def test_every_file_has_its_place_in_the_layers() -> None:
    assert {stem_of(path.name) for path in sources_in(SRC)} == set(groups())


def test_no_layer_includes_a_higher_one() -> None:
    includes = includes_of(SRC, OWN)
    assert includes
    assert not violations(includes, groups())


@pytest.mark.parametrize("include", [
    Include("DataManage.cpp", "SnmpAgentX.h"), Include("ComPortAdapter.h", "DataManage.h"),
    Include("Sqlite3.cpp", "DeviceFrame.h"), Include("TextNumbers.cpp", "Sqlite3.h"),
    Include("TableHandler.h", "SnmpAgentX.h"),
], ids=lambda include: f"{include.file} includes {include.header}")
def test_an_include_against_the_layers_is_noticed(include: Include) -> None:
    assert len(violations([include], groups())) == 1


def test_headers_do_not_include_each_other_in_a_circle() -> None:
    below: dict[str, set[str]] = {}
    for file, header in includes_of(SRC, OWN):
        if not file.endswith(".cpp"):
            below.setdefault(stem_of(file), set()).add(stem_of(header))
    while below:
        ends = {stem for stem, included in below.items() if not included & set(below)}
        assert ends, f"a circle among {sorted(below)}"
        for stem in ends:
            del below[stem]


def test_headers_of_others_stay_where_the_page_says() -> None:
    placed = groups()
    rules = table_rows(text_of("docs", "architecture.md"), "Header")
    assert rules
    for quoted, where in rules:
        header = quoted.strip("`")
        classes = set(re.findall(r"`(\w+)`", where))
        names = {name.strip() for name in where.split(",")}
        users = {stem_of(file) for file, other in includes_of(SRC, OTHERS) if other.startswith(header)}
        assert users, f"nothing includes {header}"
        assert {stem for stem in users if stem not in classes and placed[stem].name not in names} == set(), header


def test_tools_use_the_lower_layers_only() -> None:
    placed = groups()
    own = {stem_of(path.name) for path in sources_in(TOOLS)}
    used = {stem_of(header) for _, header in includes_of(TOOLS, OWN)} - own
    assert used
    assert {stem for stem in used if placed[stem].layer not in LAYERS_FOR_TOOLS} == set()


def test_the_mapping_tool_knows_nothing_of_the_simulator() -> None:
    simulators = {path.name for path in sources_in(TOOLS / "deviceSim")}
    assert not [include for include in includes_of(TOOLS / "mapping", OWN) if include.header in simulators]

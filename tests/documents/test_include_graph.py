"""The includes of the sources follow layers.toml."""
from __future__ import annotations

import re
import tomllib
from pathlib import Path

import pytest

from pages import ROOT

LAYERS = tomllib.loads((Path(__file__).parent / "layers.toml").read_text(encoding="utf-8"))


def stem_of(name: str) -> str:
    """The class that a file belongs to."""
    return Path(name).name.split(".")[0]


def sources_in(directory: str) -> list[Path]:
    return sorted(path for path in (ROOT / directory).iterdir() if path.name.endswith((".h", ".cpp", ".h.in")))


def upward_includes(directory: str, file: str, text: str) -> list[str]:
    """The headers of the same directory that a file with this text must not include."""
    group_of = {stem: number for number, stems in enumerate(LAYERS["groups"][directory]) for stem in stems}
    return [
        header for header in re.findall(r'^#include "([^"]+)"', text, flags=re.MULTILINE)
        if group_of.get(stem_of(header), -1) > group_of[stem_of(file)]]


@pytest.mark.parametrize("directory", LAYERS["groups"])
def test_every_file_has_its_group(directory: str) -> None:
    stems = [stem for group in LAYERS["groups"][directory] for stem in group]
    assert sorted(stems) == sorted({stem_of(path.name) for path in sources_in(directory)})


@pytest.mark.parametrize("directory", LAYERS["groups"])
def test_no_file_includes_a_higher_group(directory: str) -> None:
    found = {path.name: upward_includes(directory, path.name, path.read_text(encoding="utf-8"))
             for path in sources_in(directory)}
    assert {file: headers for file, headers in found.items() if headers} == {}


def test_an_include_of_a_higher_group_is_found() -> None:
    text = '#include "TextNumbers.h"\n#include "Exchange.h"\n'
    assert upward_includes("src/link", "DeviceFrame.cpp", text) == ["Exchange.h"]


@pytest.mark.parametrize("header", LAYERS["only_in"])
def test_only_the_named_files_include_it(header: str) -> None:
    users = {stem_of(path.name) for directory in LAYERS["groups"] for path in sources_in(directory)
             if f"#include <{header}" in path.read_text(encoding="utf-8")}
    assert users == set(LAYERS["only_in"][header])

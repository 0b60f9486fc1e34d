"""Releases of a module: what managers of the old one keep, as the mapping tool and smidiff see it."""
from __future__ import annotations

import re
import subprocess
from pathlib import Path

import pytest

from support.mapping_tool import ROOT, MappingTool, base_modules, smi_environment
from support.stack import Build

FIRST = """
module:
  name: SAMPLE-PUMP-MIB
  base: .1.3.6.1.4.1.32473.20
  revisions:
    - {day: 2026-01-15, text: The first release.}
    - {day: 2026-06-01, text: The second release.}
scalars:
  - {name: pumpState, oid: 1.1.1, object: 0x10, type: integer, labels: {0: stopped, 1: running, 2: broken}}
  - {name: pumpPressure, oid: 1.1.2, object: 0x11, type: text, conversion: decimal 2, units: bar}
  - {name: pumpOperator, oid: 1.1.3, object: 0x12, type: text, device: {kind: string, width: 32}}
  - {name: pumpLimit, oid: 1.1.4, object: 0x13, type: integer, access: read-write, conversion: scaled 1}
  - {name: pumpLevel, oid: 1.1.5, object: 0x14, type: integer, range: 0..100}
tables:
  - name: valveTable
    description: The valves.
    node: .2.1
    rows: 4
    columns:
      - {name: valveFlow, first: 0x100, type: integer}
alarms:
  - {name: pumpStill, number: 1, object: pumpState, condition: equal, raise: stopped}
  - {name: pumpFull, number: 2, object: pumpLevel, condition: above, raise: 95, with: [pumpState]}
"""
SERVED_LATER = "{name: pumpHours, oid: 1.1.6, object: 0x15, type: integer"

#: What replaces what in the first release, and whether that breaks its managers.
PAIRS = [
    pytest.param("tables:", f"  - {SERVED_LATER}, since: 2026-06-01}}\ntables:", False, id="a new scalar"),
    pytest.param("tables:", f"  - {SERVED_LATER}}}\ntables:", True, id="a new scalar in the old group"),
    pytest.param("0x100, type: integer}\n", "0x100, type: integer}\n"
                 "      - {name: valveAlarm, first: 0x110, type: integer, since: 2026-06-01}\n", False,
                 id="a new column"),
    pytest.param("0x11, type: text", "0x11, status: deprecated, type: text", False, id="a deprecated object"),
    pytest.param("object: 0x11, type: text", "status: obsolete, type: text", False, id="an obsolete object"),
    pytest.param(r"  - \{name: pumpOperator.*\n", "", True, id="an object is gone"),
    pytest.param("1.1.3,", "1.2.3,", True, id="an object has moved"),
    pytest.param("pumpOperator", "pumpKeeper", True, id="an object has another name"),
    pytest.param("valveFlow", "valveCurrent", True, id="a column has another name"),
    pytest.param("valveTable", "doorTable", True, id="a table has another name"),
    pytest.param("SAMPLE-PUMP", "OTHER-PUMP", True, id="the module has another name"),
    pytest.param("32473.20", "32473.21", True, id="the base has moved"),
    pytest.param("units: bar", "units: mbar", False, id="other units"),
    pytest.param(", units: bar", "", True, id="no units"),
    pytest.param("range: 0..100", "range: 0..200", True, id="another range"),
    pytest.param(", range: 0..100", "", True, id="no range"),
    pytest.param("width: 32", "width: 40", True, id="another size"),
    pytest.param("rows: 4", "rows: 8", True, id="another range of rows"),
    pytest.param("conversion: decimal 2, ", "", True, id="no convention"),
    pytest.param("scaled 1", "scaled 2", True, id="another convention"),
    pytest.param("0x14, type: integer, range: 0..100", "0x14, type: text", True, id="another type"),
    pytest.param("2: broken", "2: broken, 3: idle", False, id="a new label"),
    pytest.param(", 2: broken", "", True, id="a label is gone"),
    pytest.param(", labels: {.*}}", "}", True, id="no labels"),
    pytest.param("0x14,", "0x14, access: read-write,", False, id="more access"),
    pytest.param("alarms:", "alarms:\n  - {name: pumpEmpty, number: 3, object: pumpLevel, condition: below, raise: 5, "
                 "since: 2026-06-01}", False, id="a new alarm"),
    pytest.param("alarms:", "alarms:\n  - {name: pumpEmpty, number: 3, object: pumpLevel, condition: below, raise: 5}",
                 True, id="a new alarm in the old group"),
    pytest.param(r"  - \{name: pumpFull.*\n", "", True, id="an alarm is gone"),
    pytest.param("number: 2,", "number: 2, status: obsolete,", False, id="an obsolete alarm"),
    pytest.param("number: 2,", "number: 3,", True, id="an alarm has another number"),
    pytest.param("raise: 95", "raise: 90", False, id="an alarm has another limit"),
    pytest.param("The valves.", "All valves.", False, id="another description"),
]


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def release(tool: MappingTool, tmp_path: Path) -> "Release":
    return Release(tool, tmp_path)


class Release:
    """Sources and modules of two releases."""

    def __init__(self, tool: MappingTool, directory: Path) -> None:
        self._tool = tool
        self._directory = directory

    def source(self, name: str, text: str) -> Path:
        path = self._directory / f"{name}.yaml"
        path.write_text(text, encoding="utf-8")
        return path

    def module(self, name: str) -> Path:
        path = self._directory / f"{name}.mib"
        self._tool.check("mib", self._directory / f"{name}.yaml", "-o", path)
        return path

    def diff(self, *options: str) -> "subprocess.CompletedProcess[str]":
        return self._tool.run("diff", self._directory / "old.yaml", self._directory / "new.yaml", *options)

    def smidiff(self) -> str:
        """What smidiff reports as errors, down to minor ones."""
        done = subprocess.run(
            ["smidiff", "-l", "3", "-s", self.module("old"), self.module("new")], capture_output=True, text=True,
            timeout=60, check=True, env=smi_environment(base_modules()))
        return "".join(line for line in done.stdout.splitlines(keepends=True) if re.search(r" \[[0-3]\] ", line))


@pytest.mark.parametrize(("what", "becomes", "breaks"), PAIRS)
def test_diff_breaks_where_smidiff_finds_errors(release: Release, what: str, becomes: str, breaks: bool) -> None:
    changed = re.sub(what, becomes, FIRST)
    assert changed != FIRST
    release.source("old", FIRST)
    release.source("new", changed)
    assert bool(release.smidiff()) is breaks, release.smidiff()
    assert release.diff().returncode == int(breaks), release.diff().stdout


def test_diff_and_smidiff_refuse_an_object_that_comes_back(release: Release) -> None:
    release.source("old", FIRST.replace("0x11,", "0x11, status: deprecated,"))
    release.source("new", FIRST)
    assert "status change from `deprecated' to `current'" in release.smidiff()
    done = release.diff()
    assert "pumpPressure: status: deprecated -> current" in done.stdout
    assert done.returncode == 1


def test_the_exit_code_of_diff_is_that_of_the_level(release: Release) -> None:
    release.source("old", FIRST)
    release.source("new", FIRST.replace("units: bar", "units: mbar"))
    assert [release.diff("--exit-code", level).returncode for level in ("any", "breaking", "none")] == [1, 0, 0]
    release.source("new", FIRST.replace("1.1.3", "1.2.3"))
    assert [release.diff("--exit-code", level).returncode for level in ("any", "breaking", "none")] == [1, 1, 0]
    release.source("new", FIRST)
    assert release.diff("--exit-code", "any").returncode == 0
    assert release.diff("--exit-code", "all").returncode == 2


def test_the_revisions_of_the_document_are_a_release(tool: MappingTool, release: Release, tmp_path: Path) -> None:
    page = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    section = page.split("### The next release of a module", 1)[1]
    source = release.source("new", section.split("```yaml\n", 1)[1].split("```", 1)[0])
    text = release.module("new").read_text(encoding="ascii")
    assert "pumpHours OBJECT-TYPE" in text and "pumpOperator OBJECT-TYPE" in text
    assert re.findall(r"MIBGroup(\d+) OBJECT-GROUP", text) == ["20260601"]
    source.write_text(source.read_text(encoding="utf-8").replace("1.1.4", "1.1.9"), encoding="utf-8")
    done = tool.run("build", source, "-o", tmp_path / "new.db")
    assert done.returncode == 2
    assert "number .1.1.9 is reserved" in done.stderr

"""MIB modules as input of the mapping tool, and modules of random mappings as smilint sees them."""
from __future__ import annotations

import itertools
import json
import os
import random
import re
import subprocess
from pathlib import Path
from typing import Any

import pytest
import yaml

from support.mapping_tool import EXAMPLES, ROOT, MappingTool, base_modules, example, smi_environment
from support.stack import Build

GOLDEN = ROOT / "tests" / "unit" / "mappingTool" / "golden"
RANDOM_MAPPINGS = 200


@pytest.fixture
def tool(build: Build, monkeypatch: pytest.MonkeyPatch) -> MappingTool:
    monkeypatch.setenv("SMIPATH", str(base_modules()))
    return MappingTool(build)


def module_of(tool: MappingTool, source: Path, directory: Path) -> Path:
    module = directory / f"{source.stem}.mib"
    assert tool.run("mib", source, "-o", module).returncode == 0
    return module


def imported(tool: MappingTool, module: Path) -> Path:
    source = module.with_suffix(".yaml")
    assert tool.run("import", module, "-o", source).returncode == 0
    return source


def without_alarms(source: Path, directory: Path) -> Path:
    """A copy of a source without its alarms, which are at its end."""
    path = directory / source.name
    path.write_text(source.read_text(encoding="utf-8").split("\nalarms:\n")[0], encoding="utf-8")
    return path


def objects_of(module: str) -> list[str]:
    """The definitions of a module's objects."""
    return re.findall(r"^\w+ OBJECT-TYPE$.*?::= .*?$", module, re.MULTILINE | re.DOTALL)


def complete(source: Path) -> Path:
    """Decides what an imported source leaves open."""
    ids = itertools.count(0x10, 0x10)
    text = re.sub(r"(object|first): TODO", lambda found: f"{found[1]}: 0x{next(ids):04X}",
                  source.read_text(encoding="utf-8"))
    source.write_text(text.replace("conversion: TODO", "conversion: decimal 2"), encoding="utf-8")
    return source


@pytest.mark.parametrize("source", [*(example(name) for name in EXAMPLES), GOLDEN / "revisions.yaml",
                                    GOLDEN / "everything.yaml"], ids=lambda source: source.stem)
def test_an_own_module_comes_back_the_same(tool: MappingTool, source: Path, tmp_path: Path) -> None:
    module = module_of(tool, without_alarms(source, tmp_path), tmp_path)
    again = tool.check("mib", complete(imported(tool, module)), "-o", "-")
    assert again == module.read_text(encoding="ascii")
    assert tool.check("check", module.with_suffix(".yaml"), "--mib", module) == "the mapping serves all of the MIB\n"


@pytest.mark.parametrize("source", [example("sample"), GOLDEN / "alarms.yaml"], ids=lambda source: source.stem)
def test_an_own_module_comes_back_without_its_alarms(tool: MappingTool, source: Path, tmp_path: Path) -> None:
    done = tool.run("import", module_of(tool, source, tmp_path), "-o", tmp_path / "imported.yaml")
    alarms = yaml.safe_load(source.read_text(encoding="utf-8"))["alarms"]
    names = [name for each in alarms for name in (each["name"], f"{each['name']}Clear")
             if name != f"{each['name']}Clear" or each["condition"] != "changed"]
    assert done.returncode == 0
    assert [line for line in done.stderr.splitlines() if "notification" in line] == [
        f"note: {name}: a notification: not imported, but an alarm can send it" for name in names]
    again = tool.check("mib", complete(tmp_path / "imported.yaml"), "-o", "-")
    assert objects_of(again) == objects_of(tool.run("mib", without_alarms(source, tmp_path), "-o", "-").stdout)


def test_a_mapping_serves_the_notifications_of_its_alarms(tool: MappingTool, tmp_path: Path) -> None:
    module = module_of(tool, example("sample"), tmp_path)
    assert tool.check("check", example("sample"), "--mib", module) == "the mapping serves all of the MIB\n"
    done = tool.run("check", without_alarms(example("sample"), tmp_path), "--mib", module)
    assert done.returncode == 1
    assert done.stdout.splitlines()[0] == ".1.3.6.1.4.1.32473.8.2.2.3.8.0.1 airHot: no alarm sends it"


def test_an_imported_source_is_refused_where_it_is_open(tool: MappingTool, tmp_path: Path) -> None:
    source = imported(tool, module_of(tool, example("small"), tmp_path))
    lines = source.read_text(encoding="utf-8").splitlines()
    line = next(number for number, line in enumerate(lines, start=1) if "TODO" in line)
    assert lines[line - 1] == "    object: TODO  # the id of the device object, as in 0x0110"
    done = tool.run("build", source, "-o", tmp_path / "small.db")
    assert done.returncode == 2
    assert done.stderr.splitlines()[0] == (
        f"error: {source}:{line}:13: the object id is missing: replace TODO with the id of the device object, "
        "such as 0x0110")


def test_the_commands_of_the_document_turn_a_module_into_a_mapping(
    tool: MappingTool, tmp_path: Path, monkeypatch: pytest.MonkeyPatch,
) -> None:
    page = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    section = page.split("### From a MIB to a mapping", 1)[1].split("\n## ", 1)[0]
    commands = re.findall(r"^    tarnoMapping (.*)$", section, re.M)
    assert [command.split()[0] for command in commands] == ["import", "check"]
    monkeypatch.chdir(tmp_path)
    module_of(tool, without_alarms(example("sample"), tmp_path), tmp_path).rename("SHELF-MIB.txt")
    tool.check(*commands[0].split())
    error = re.findall(r"^    (error: .*)$", section, re.M)[0]
    assert tool.run("build", "shelf.yaml", "-o", "shelf.db").stderr.splitlines()[0] == error
    complete(Path("shelf.yaml"))
    tool.check(*commands[1].split())


FOREIGN = """FOREIGN-MIB DEFINITIONS ::= BEGIN
IMPORTS
    MODULE-IDENTITY, OBJECT-TYPE, NOTIFICATION-TYPE, Integer32, Counter32, enterprises FROM SNMPv2-SMI
    DisplayString, TruthValue, MacAddress FROM SNMPv2-TC;
foreignMIB MODULE-IDENTITY
    LAST-UPDATED "202601010000Z" ORGANIZATION "Somebody" CONTACT-INFO "nobody"
    DESCRIPTION "A device of
        somebody else."
    ::= { enterprises 32473 99 }
foreign OBJECT IDENTIFIER ::= { foreignMIB 1 }
foreignState OBJECT IDENTIFIER ::= { foreign 1 }
foreignOn OBJECT-TYPE SYNTAX TruthValue MAX-ACCESS read-write STATUS current
    DESCRIPTION "Whether it is on." ::= { foreignState 1 }
foreignHeat OBJECT-TYPE SYNTAX Integer32 (-40..85) UNITS "degrees Celsius" MAX-ACCESS read-only STATUS current
    DESCRIPTION "How hot it is." ::= { foreignState 2 }
foreignName OBJECT-TYPE SYNTAX DisplayString (SIZE (0..20)) MAX-ACCESS read-only STATUS current
    DESCRIPTION "Its name." ::= { foreignState 3 }
foreignAddress OBJECT-TYPE SYNTAX MacAddress MAX-ACCESS read-only STATUS current
    DESCRIPTION "Its address." ::= { foreignState 4 }
foreignErrors OBJECT-TYPE SYNTAX Counter32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "Errors." ::= { foreignState 5 }
foreignHigh OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "Not three numbers below the base." ::= { foreign 2 }
foreignTable OBJECT-TYPE SYNTAX SEQUENCE OF ForeignEntry MAX-ACCESS not-accessible STATUS current
    DESCRIPTION "A table." ::= { foreignMIB 2 }
foreignEntry OBJECT-TYPE SYNTAX ForeignEntry MAX-ACCESS not-accessible STATUS current
    DESCRIPTION "A row." INDEX { foreignIndex } ::= { foreignTable 1 }
ForeignEntry ::= SEQUENCE { foreignIndex Integer32, foreignSpeed Integer32 }
foreignIndex OBJECT-TYPE SYNTAX Integer32 (1..9) MAX-ACCESS not-accessible STATUS current
    DESCRIPTION "The index." ::= { foreignEntry 1 }
foreignSpeed OBJECT-TYPE SYNTAX Integer32 MAX-ACCESS read-only STATUS current
    DESCRIPTION "The speed." ::= { foreignEntry 2 }
foreignAlarm NOTIFICATION-TYPE STATUS current DESCRIPTION "An alarm." ::= { foreignMIB 0 1 }
END
"""

FOREIGN_REMARKS = [
    "foreignAddress: its size becomes 0..6",
    "foreignAddress: is served, but not as type MacAddress",
    "foreignErrors: not served: the agent does not serve type Counter32 correctly",
    "foreignHigh: not served: its OID .1.3.6.1.4.1.32473.99.1.2 is not three numbers below the base "
    ".1.3.6.1.4.1.32473.99",
    "foreignTable: not served: its index is not the row number and 0, but foreignIndex",
    "foreignAlarm: a notification: not imported, but an alarm can send it",
]


@pytest.fixture
def foreign(tmp_path: Path) -> Path:
    module = tmp_path / "FOREIGN-MIB.txt"
    module.write_text(FOREIGN, encoding="ascii")
    return module


def test_an_import_names_what_the_agent_cannot_serve_and_why(tool: MappingTool, foreign: Path) -> None:
    done = tool.run("import", foreign, "-o", "-")
    assert done.returncode == 0
    assert done.stderr.splitlines() == [f"note: {remark}" for remark in FOREIGN_REMARKS]
    assert [line for line in done.stdout.splitlines() if line.startswith("# ")] == [
        f"# {remark}" for remark in FOREIGN_REMARKS]


def test_an_import_keeps_names_types_ranges_units_and_descriptions(tool: MappingTool, foreign: Path) -> None:
    source = yaml.safe_load(tool.run("import", foreign, "-o", "-").stdout)
    assert source["module"]["base"] == ".1.3.6.1.4.1.32473.99"
    assert source["module"]["description"] == "A device of\nsomebody else."
    assert source["module"]["groups"][-1] == {"node": ".1.1", "name": "foreignState"}
    assert source["scalars"] == [
        {"name": "foreignOn", "oid": "1.1.1", "object": "TODO", "description": "Whether it is on.", "type": "integer",
         "access": "read-write", "labels": {1: "true", 2: "false"}},
        {"name": "foreignHeat", "oid": "1.1.2", "object": "TODO", "description": "How hot it is.", "type": "integer",
         "access": "read-only", "units": "degrees Celsius", "range": "-40..85"},
        {"name": "foreignName", "oid": "1.1.3", "object": "TODO", "description": "Its name.", "type": "text",
         "access": "read-only", "device": {"kind": "string", "width": 20}},
        {"name": "foreignAddress", "oid": "1.1.4", "object": "TODO", "description": "Its address.", "type": "text",
         "access": "read-only", "device": {"kind": "other", "width": 6}},
    ]


def test_a_third_table_is_not_imported(tool: MappingTool, tmp_path: Path) -> None:
    small = example("small").read_text(encoding="utf-8")
    table = small.split("tables:\n", 1)[1]
    (tmp_path / "two.yaml").write_text(small + table.replace("valve", "door").replace(".2.1", ".2.2"), encoding="utf-8")
    two = module_of(tool, tmp_path / "two.yaml", tmp_path).read_text(encoding="ascii")
    third = re.findall(r"(?ms)^valveTable OBJECT-TYPE.*?(?=^doorTable)", two)[0].replace("valve", "gate")
    third = third.replace("Valve", "Gate").replace("samplePumpNode2 1 }", "samplePumpNode2 3 }")
    (tmp_path / "three.mib").write_text(two.replace("doorTable OBJECT-TYPE", third + "doorTable OBJECT-TYPE"),
                                        encoding="ascii")
    done = tool.run("import", tmp_path / "three.mib", "-o", "-")
    assert done.stderr == "note: gateTable: not served: the agent serves only two tables\n"


def test_check_lists_what_of_a_module_is_not_served(tool: MappingTool, tmp_path: Path) -> None:
    module = module_of(tool, example("small"), tmp_path)
    less = tmp_path / "less.yaml"
    less.write_text(
        example("small").read_text(encoding="utf-8").replace("access: read-write", "access: read-only", 1)
        .replace("type: integer\n    labels: {0: stopped, 1: starting, 2: running}", "type: text")
        .replace("oid: 1.1.2", "oid: 1.2.2"), encoding="utf-8")
    done = tool.run("check", less, "--mib", module)
    assert done.returncode == 1
    assert done.stdout.splitlines() == [
        ".1.3.6.1.4.1.32473.20.1.1.1 pumpState: served as OCTET STRING, not as Enumeration",
        ".1.3.6.1.4.1.32473.20.1.1.2 pumpPressure: not served",
        ".1.3.6.1.4.1.32473.20.1.1.3 pumpOperator: served read-only, not read-write",
    ]


def test_an_import_says_what_it_needs(tool: MappingTool, tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> None:
    module = module_of(tool, example("small"), tmp_path)
    monkeypatch.setenv("SMIPATH", str(tmp_path))
    assert tool.run("import", module, "-o", "-").stderr == (
        f"error: {module}: smidump: failed to locate MIB module `SNMPv2-SMI'; SMIPATH names the directories of MIB "
        "modules\n")
    monkeypatch.setenv("PATH", str(tmp_path))
    done = tool.run("import", module, "-o", "-")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "error: smidump is not installed: it reads MIB modules (Debian package smitools)\n"


def test_a_module_that_cannot_be_read_is_refused(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "bad.mib").write_text("BAD-MIB DEFINITIONS ::= BEGIN nonsense END\n", encoding="ascii")
    done = tool.run("import", tmp_path / "bad.mib", "-o", tmp_path / "bad.yaml")
    assert done.returncode == 2
    assert done.stderr == f"error: {tmp_path}/bad.mib: is not a MIB module that smidump can read\n"
    assert not (tmp_path / "bad.yaml").exists()


class RandomSource:
    """A mapping that an author could have written; the same seed gives the same."""

    LETTERS = "abcXYZ:#'\"\\-{}[]\n\té°µΩ,&*!|>%@`~ "

    def __init__(self, seed: int) -> None:
        self._random = random.Random(seed)
        self._ids = itertools.count(1)
        self._names = itertools.count(1)
        days = sorted(self._random.sample(range(1, 28), self._random.randint(0, 4)))
        self._days = [f"2026-03-{day:02}" for day in days]

    def make(self, number: int) -> dict[str, Any]:
        module: dict[str, Any] = {"name": f"RANDOM{number}-MIB", "base": f".1.3.6.1.4.1.32473.{1000 + number}",
                                  "organization": self._text(), "contact": self._text(), "description": self._text()}
        if self._days:
            module["revisions"] = [{"day": day, "text": self._text()} for day in self._days]
        arcs = self._random.sample(range(1, 60), self._random.randint(0, 12))
        scalars = [self._scalar(arc) for arc in arcs]
        tables = [self._table(node) for node in range(1, self._random.randint(0, 2) + 1)]
        return {"module": module, "scalars": scalars, "tables": tables}

    def _text(self) -> str:
        return "".join(self._random.choices(self.LETTERS, k=self._random.randint(0, 20)))

    def _maybe(self, *values: Any) -> dict[str, Any]:
        key, value = values
        return {key: value} if self._random.random() < 0.5 else {}

    def _object(self) -> dict[str, Any]:
        kind = self._random.choice(["integer", "labels", "text", "counter32", "opaque"])
        common = {**self._maybe("name", f"{self._random.choice(['a', 'zZ', 'value'])}{next(self._names)}"),
                  **self._maybe("description", self._text()), **self._maybe("units", self._text()),
                  **self._maybe("text", self._text()), **self._maybe("access", "read-write"), **self._life()}
        if kind == "labels":
            numbers = self._random.sample(range(-5, 100), self._random.randint(1, 6))
            return {**common, "type": "integer", "labels": {number: f"label{index}"
                                                            for index, number in enumerate(numbers)}}
        if kind == "integer":
            low = self._random.randint(-2**31, 2**31 - 1)
            return {**common, "type": kind, **self._maybe("range", f"{low}..{self._random.randint(low, 2**31 - 1)}"),
                    **self._maybe("conversion", self._random.choice(["scaled 1", "scaled 15", "uint16"])),
                    **self._maybe("device", {"kind": self._random.choice(["signed", "unsigned"]),
                                             "width": self._random.choice([1, 2, 4])})}
        if kind == "text":
            return {**common, "type": kind,
                    **self._maybe("conversion", self._random.choice(["decimal 2", "ipv4", "dateTime"])),
                    **self._maybe("device", {"kind": self._random.choice(["string", "other"]),
                                             "width": self._random.randint(1, 64)})}
        return {**common, "type": kind}

    def _life(self) -> dict[str, Any]:
        life: dict[str, Any] = {}
        added = self._random.randrange(len(self._days)) if self._days else 0
        if added:
            life["since"] = self._days[added]
        if self._days[added + 1:] and self._random.random() < 0.4:
            life["status"] = self._random.choice(["deprecated", "obsolete"])
            life["until"] = self._random.choice(self._days[added + 1:])
        return life

    def _scalar(self, arc: int) -> dict[str, Any]:
        entry = self._object()
        if entry.get("status") == "obsolete":
            entry.setdefault("name", f"former{next(self._names)}")
        return {**entry, "oid": f"{arc % 4 + 1}.{arc % 3 + 1}.{arc}", "object": f"0x{next(self._ids):04X}"}

    def _table(self, node: int) -> dict[str, Any]:
        columns = [{**self._object(), "objects": [f"0x{next(self._ids):04X}" for _ in range(4)]}
                   for _ in range(self._random.randint(1, 6))]
        return {"node": f".9.{node}", **self._maybe("name", f"group{node}Table"), "rows": 4, "columns": columns}


def test_smilint_finds_nothing_in_the_modules_of_random_mappings(tool: MappingTool, tmp_path: Path) -> None:
    modules = []
    for number in range(RANDOM_MAPPINGS):
        source = tmp_path / "random.yaml"
        source.write_text(json.dumps(RandomSource(number).make(number)), encoding="utf-8")
        modules.append(tmp_path / f"RANDOM{number}-MIB")
        done = tool.run("mib", source, "-o", modules[-1])
        assert done.returncode == 0, f"seed {number}: {done.stderr}"
        assert "tarno" not in modules[-1].read_text(encoding="ascii").lower()
    linted = subprocess.run(["smilint", "-l", "4", *modules], capture_output=True, text=True, timeout=120, check=False,
                            env={**os.environ, **smi_environment(base_modules())})
    assert linted.stdout + linted.stderr == ""

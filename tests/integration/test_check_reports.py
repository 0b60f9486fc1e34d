"""What the mapping tool's checker gives to programs: SARIF, JSON and baselines."""
from __future__ import annotations

import json
from pathlib import Path
from typing import Any

import jsonschema
import pytest

from support.mapping_tool import ROOT, MappingTool, example
from support.stack import Build

TEXT = {"type": "object", "required": ["text"], "additionalProperties": False,
        "properties": {"text": {"type": "string", "minLength": 1}}}
LEVEL = {"enum": ["error", "warning", "note", "none"]}


def strict(required: dict[str, Any], **optional: Any) -> dict[str, Any]:
    return {"type": "object", "required": list(required), "additionalProperties": False,
            "properties": {**required, **optional}}


def items(each: dict[str, Any], **limits: Any) -> dict[str, Any]:
    return {"type": "array", "items": each, **limits}


RULE = strict({"id": {"type": "string", "pattern": "^TM[0-9]{3}$"}, "shortDescription": TEXT, "fullDescription": TEXT,
               "help": TEXT, "defaultConfiguration": strict({"level": LEVEL})})
LOCATION = strict(
    {"physicalLocation": strict(
        {"artifactLocation": strict({"uri": {"type": "string", "pattern": "^[A-Za-z0-9._~/:%-]+$"}})},
        region=strict({"startLine": {"type": "integer", "minimum": 1},
                       "startColumn": {"type": "integer", "minimum": 1}}))},
    logicalLocations=items(strict({"kind": {"type": "string"}}, name={"type": "string"},
                                  fullyQualifiedName={"type": "string"}), minItems=1))
RESULT = strict(
    {"ruleId": {"type": "string"}, "ruleIndex": {"type": "integer", "minimum": 0}, "level": LEVEL, "message": TEXT,
     "locations": items(LOCATION, minItems=1, maxItems=1),
     "partialFingerprints": {"type": "object", "minProperties": 1, "additionalProperties": {"type": "string"}},
     "suppressions": items(strict({"kind": {"enum": ["inSource", "external"]},
                                   "status": {"enum": ["accepted", "underReview", "rejected"]},
                                   "justification": {"type": "string", "minLength": 1}}))},
    baselineState={"enum": ["new", "unchanged", "updated", "absent"]})
#: The part of SARIF 2.1.0 that the tool writes, with the names and values that the format allows there.
SARIF = strict({
    "$schema": {"type": "string", "format": "uri"}, "version": {"const": "2.1.0"},
    "runs": items(strict({
        "tool": strict({"driver": strict({"name": {"type": "string"}, "rules": items(RULE, uniqueItems=True)})}),
        "columnKind": {"enum": ["utf16CodeUnits", "unicodeCodePoints"]}, "results": items(RESULT)}),
        minItems=1, maxItems=1)})

FAULTY = """\
module: {base: .1.3.6.1.4.1.32473.20}
scalars:
  - {name: fanSpeed, oid: 1.1.1, object: 0x0001, type: gauge32}
  - {name: fanMode, oid: 1.1.2, object: 0x0002, type: integer, conversion: 0x9, accept: {TM507: Not ours.}}
"""


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def faulty(tmp_path: Path) -> Path:
    """A source with an error and an accepted warning."""
    (tmp_path / "shelf.yaml").write_text(FAULTY, encoding="ascii")
    return tmp_path / "shelf.yaml"


def sarif(tool: MappingTool, *arguments: str | Path) -> dict[str, Any]:
    """The only run of a log, which must be well-formed."""
    log = json.loads(tool.run("check", "--sarif", *arguments).stdout)
    jsonschema.validate(log, SARIF)
    run: dict[str, Any] = log["runs"][0]
    rules = run["tool"]["driver"]["rules"]
    for result in run["results"]:
        assert rules[result["ruleIndex"]]["id"] == result["ruleId"]
        assert rules[result["ruleIndex"]]["defaultConfiguration"]["level"] == result["level"]
    return run


def test_sarif_of_a_source_has_lines_and_suppressions(tool: MappingTool, faulty: Path) -> None:
    error, accepted = sarif(tool, faulty)["results"]
    assert (error["ruleId"], accepted["ruleId"]) == ("TM402", "TM507")
    place = error["locations"][0]["physicalLocation"]
    assert place == {"artifactLocation": {"uri": f"file://{faulty}"}, "region": {"startLine": 3, "startColumn": 56}}
    assert error["suppressions"] == []
    assert accepted["suppressions"] == [{"kind": "inSource", "status": "accepted", "justification": "Not ours."}]


def test_sarif_of_a_database_has_table_and_row(tool: MappingTool, faulty: Path, tmp_path: Path) -> None:
    tool.run("build", "--force", faulty, "-o", tmp_path / "shelf.db")
    results = sarif(tool, tmp_path / "shelf.db")["results"]
    assert [result["locations"][0]["logicalLocations"][1]["fullyQualifiedName"] for result in results] == [
        "SNMP_GENERAL_OBJ_TABLE, row 1, asnType", "SNMP_GENERAL_OBJ_TABLE, row 2, valueType"]


def test_sarif_lists_every_rule_even_without_findings(tool: MappingTool, tmp_path: Path) -> None:
    source = tmp_path / "sound.yaml"
    source.write_text("scalars: [{name: level, oid: 1.1.1, object: 0x0110, type: integer}]\n", encoding="ascii")
    run = sarif(tool, source)
    assert run["results"] == []
    listed = [line.split()[:2] for line in tool.check("check", "--rules").splitlines()]
    assert [[rule["id"], rule["defaultConfiguration"]["level"]] for rule in run["tool"]["driver"]["rules"]] == listed


def test_sarif_and_json_exclude_each_other(tool: MappingTool, faulty: Path) -> None:
    done = tool.run("check", faulty, "--sarif", "--json")
    assert (done.returncode, done.stdout) == (2, "")


def test_sarif_ends_with_the_status_of_the_check(tool: MappingTool, faulty: Path) -> None:
    assert tool.run("check", "--sarif", faulty).returncode == 2
    assert tool.run("check", "--sarif", example("sample")).returncode == 0


@pytest.mark.parametrize("option", ["--json", "--sarif", "--baseline"])
def test_a_list_of_what_a_module_misses_has_one_form(tool: MappingTool, faulty: Path, option: str) -> None:
    options = [option, faulty] if option == "--baseline" else [option]
    done = tool.run("check", faulty, "--mib", faulty, *options)
    assert (done.returncode, done.stdout) == (2, "")
    assert "excludes" in done.stderr


@pytest.fixture
def known(tool: MappingTool, faulty: Path, tmp_path: Path) -> Path:
    """The output of a check, as a baseline."""
    (tmp_path / "known.json").write_text(tool.run("check", faulty, "--json").stdout, encoding="utf-8")
    return tmp_path / "known.json"


def test_findings_of_the_baseline_do_not_count(tool: MappingTool, faulty: Path, known: Path) -> None:
    done = tool.run("check", faulty, "--baseline", known)
    assert (done.returncode, done.stdout) == (0, "0 errors, 0 warnings, 0 notes, 1 accepted, 1 known\n")
    assert [result["baselineState"] for result in sarif(tool, faulty, "--baseline", known)["results"]] == [
        "unchanged", "new"]


def test_new_findings_count_beside_those_of_the_baseline(tool: MappingTool, faulty: Path, known: Path) -> None:
    faulty.write_text(FAULTY.replace("scalars:\n", "scalars:\n  - {oid: 1.1.3, object: 0x3, type: timeTicks}\n"),
                      encoding="ascii")
    done = tool.run("check", faulty, "--baseline", known)
    assert done.returncode == 2
    assert f"{faulty}:3:37: error TM402: type TimeTicks\n" in done.stdout
    assert done.stdout.endswith("\n1 error, 0 warnings, 0 notes, 1 accepted, 1 known\n")


def test_a_baseline_that_is_none_is_refused(tool: MappingTool, faulty: Path) -> None:
    done = tool.run("check", faulty, "--baseline", faulty)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == f"error: {faulty}: is not output of tarnoMapping check --json\n"


def test_the_commands_of_the_page_do_what_it_says(tool: MappingTool, faulty: Path, tmp_path: Path) -> None:
    document = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    section = document[document.index("### Baselines"):document.index("### The rules")]
    commands = [line.strip().replace("tarnoMapping", str(tool.path)) for line in section.splitlines()
                if line.startswith("    tarnoMapping ")]
    assert len(commands) == 3
    script = "\n".join(f"{command}; echo status $?" for command in commands)
    done = tool.shell(script, faulty.parent)
    assert [line for line in done.splitlines() if line.startswith("status")] == ["status 2", "status 0", "status 2"]
    jsonschema.validate(json.loads((tmp_path / "shelf.sarif").read_text(encoding="utf-8")), SARIF)


# Quiet

def test_quiet_prints_nothing_of_a_mapping_that_has_only_notes(tool: MappingTool) -> None:
    assert " note " in tool.check("check", example("small"))
    assert tool.check("check", "--quiet", example("small")) == ""


def test_quiet_prints_errors_and_totals(tool: MappingTool, faulty: Path) -> None:
    loud = tool.run("check", faulty).stdout.splitlines()
    quiet = tool.run("check", "--quiet", faulty).stdout.splitlines()
    assert " error TM402: " in quiet[0]
    assert quiet[-1] == loud[-1]

"""The mapping tool as a program: every subcommand, its output, the files it leaves, and its exit status."""
from __future__ import annotations

import json
import os
import re
import subprocess
from pathlib import Path

import jsonschema
import pytest
import yaml

from support.mapping_tool import COMPLETION, EXAMPLES, ROOT, SCHEMA, ZSH_COMPLETION, MappingTool, example
from support.stack import Build

SUBCOMMANDS = ("build", "import", "show", "check", "mib", "html", "prometheus", "telegraf", "zabbix", "alarms", "diff",
               "simulate", "verify", "help")


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


def schema_errors(source: object) -> list[str]:
    validator = jsonschema.Draft7Validator(json.loads(SCHEMA.read_text(encoding="utf-8")))
    return [error.message for error in validator.iter_errors(source)]


def as_editors_see(source: Path) -> object:
    """The source as JSON represents it: keys are texts, and so are dates."""
    return json.loads(json.dumps(yaml.safe_load(source.read_text(encoding="utf-8")), default=str))


@pytest.mark.parametrize("subcommand", SUBCOMMANDS)
def test_the_help_of_every_subcommand_has_an_example(tool: MappingTool, subcommand: str) -> None:
    assert f"tarnoMapping {subcommand} " in tool.check(subcommand, "--help")


def test_help_names_every_subcommand(tool: MappingTool) -> None:
    text = tool.check("--help")
    assert all(f"\n  {subcommand} " in text for subcommand in SUBCOMMANDS)


@pytest.mark.parametrize("arguments", [(), ("paint",), ("build",), ("show",), ("check",), ("build", "x.yaml"),
                                       ("show", "x.db", "--rows", "5"), ("show", "x.db", "--json", "--csv")])
def test_a_wrong_command_line_ends_with_status_2(tool: MappingTool, arguments: tuple[str, ...]) -> None:
    done = tool.run(*arguments)
    assert done.returncode == 2
    assert done.stderr and not done.stdout


@pytest.mark.parametrize("name", EXAMPLES)
def test_examples_have_neither_errors_nor_warnings(tool: MappingTool, name: str, tmp_path: Path) -> None:
    done = tool.run("check", tool.database(example(name), tmp_path))
    assert "0 errors, 0 warnings" in done.stdout
    assert done.returncode == 0


@pytest.mark.parametrize("name", EXAMPLES)
def test_examples_are_as_the_schema_says(name: str) -> None:
    assert schema_errors(as_editors_see(example(name))) == []


@pytest.mark.parametrize("source", [
    {"scalers": []},
    {"scalars": [{"oid": "1.1", "object": "0x1", "type": "integer"}]},
    {"scalars": [{"oid": "1.1.1", "object": "0110", "type": "integer"}]},
    {"scalars": [{"oid": "1.1.1", "object": "0x1", "type": "string"}]},
    {"scalars": [{"oid": "1.1.1", "object": "0x1", "type": "text", "conversion": "decimal 16"}]},
    {"scalars": [{"oid": "1.1.1", "object": "0x1", "type": "text", "device": {"values": [1]}}]},
    {"scalars": [{"oid": "1.1.1", "object": "0x1", "type": "integer", "meaning": "total"}]},
    {"scalars": [{"oid": "1.1.1", "object": "0x1", "type": "text", "label": True}]},
    {"tables": [{"node": "2.1"}]},
    {"tables": [{"node": ".2.1", "columns": [{"type": "text"}]}]},
    {"module": {"name": "shelf"}},
    {"module": {"accept": {"TM5": "a reason"}}},
    {"module": {"accept": {"TM507": ""}}},
    {"module": {"accept": ["TM507"]}},
    {"module": {"accept": [{"TM507": ""}]}},
    {"alarms": [{"name": "hot", "number": 1, "condition": "over", "raise": 1}]},
    {"alarms": [{"name": "hot", "number": 0, "condition": "above", "raise": 1}]},
    {"alarms": [{"name": "hot", "number": 1, "condition": "above", "raise": 1, "clear": "low"}]},
    {"alarms": [{"name": "hot", "number": 1, "condition": "above", "raise": 1, "every": 0}]},
    {"alarms": [{"name": "hot", "number": 1, "condition": "changed", "severity": "fatal"}]},
])
def test_schema_and_tool_refuse_the_same(tool: MappingTool, source: object, tmp_path: Path) -> None:
    assert schema_errors(source)
    (tmp_path / "bad.yaml").write_text(json.dumps(source), encoding="utf-8")
    done = tool.run("build", tmp_path / "bad.yaml", "-o", tmp_path / "bad.db")
    assert done.returncode == 2
    assert done.stderr.startswith(f"error: {tmp_path}/bad.yaml:1:")


@pytest.mark.parametrize("name", EXAMPLES)
def test_an_imported_example_builds_the_same_database(tool: MappingTool, name: str, tmp_path: Path) -> None:
    database = tool.database(example(name), tmp_path)
    tool.check("import", database, "-o", tmp_path / "imported.yaml")
    assert schema_errors(as_editors_see(tmp_path / "imported.yaml")) == []
    assert tool.database(tmp_path / "imported.yaml", tmp_path).read_bytes() == database.read_bytes()


def test_a_failed_build_leaves_the_old_database_and_nothing_else(tool: MappingTool, tmp_path: Path) -> None:
    database = tool.database(example("small"), tmp_path)
    before = database.read_bytes()
    (tmp_path / "bad.yaml").write_text("scalars:\n  - {oid: 1.1.1, object: 0110, type: integer}\n", encoding="ascii")
    done = tool.run("build", tmp_path / "bad.yaml", "-o", database)
    assert done.returncode == 2
    assert done.stderr == (f"error: {tmp_path}/bad.yaml:2:26: object id \"0110\" is not a hexadecimal number from "
                           "0x0000 to 0xFFFF\n")
    assert database.read_bytes() == before
    assert sorted(path.name for path in tmp_path.iterdir()) == ["bad.yaml", "small.db"]


def test_a_build_into_nowhere_says_so(tool: MappingTool, tmp_path: Path) -> None:
    done = tool.run("build", example("small"), "-o", tmp_path / "missing" / "x.db")
    assert done.returncode == 2
    assert "cannot be written" in done.stderr


def test_nothing_but_json_is_printed(tool: MappingTool, tmp_path: Path) -> None:
    empty = tmp_path / "empty.db"
    empty.touch()
    assert json.loads(tool.check("show", empty, "--json"))["instances"] == []
    done = tool.run("check", empty, "--json")
    assert [finding["code"] for finding in json.loads(done.stdout)["findings"]] == ["TM101", "TM102"]
    assert done.returncode == 2


def test_check_tells_files_that_cannot_be_read_or_are_damaged(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "damaged.db").write_bytes(tool.database(example("small"), tmp_path).read_bytes()[:5000])
    for path in (tmp_path / "damaged.db", tmp_path / "missing", tmp_path):
        done = tool.run("check", path)
        assert (done.returncode, done.stdout) == (3, "")
        assert done.stderr.startswith(f"error: {path}: ")
    assert not (tmp_path / "missing").exists()


def test_check_takes_any_other_file_for_a_source(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "text").write_text("no mapping\n" * 500, encoding="ascii")
    done = tool.run("check", tmp_path / "text")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == f"error: {tmp_path}/text:1:1: the source is not a map\n"


GAUGE = """\
module: {base: .1.3.6.1.4.1.32473.20}
scalars:
  - name: fanSpeed
    oid: 1.1.1
    type: gauge32
    object: 0x0001
"""


def test_check_reports_the_line_of_a_source(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "shelf.yaml").write_text(GAUGE, encoding="ascii")
    done = tool.run("check", tmp_path / "shelf.yaml")
    assert (done.returncode, done.stderr) == (2, "")
    assert done.stdout.startswith(f"{tmp_path}/shelf.yaml:5:11: error TM402: fanSpeed: type Gauge32\n")
    finding = json.loads(tool.run("check", tmp_path / "shelf.yaml", "--json").stdout)["findings"][0]
    assert finding["source"] == {"file": f"{tmp_path}/shelf.yaml", "line": 5, "column": 11}
    assert (finding["object"], finding["oid"]) == ("fanSpeed", ".1.3.6.1.4.1.32473.20.1.1.1.0")


def test_errors_of_the_check_stop_a_build_that_is_not_forced(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "shelf.yaml").write_text(GAUGE, encoding="ascii")
    build = ("build", tmp_path / "shelf.yaml", "-o", tmp_path / "shelf.db")
    stopped = tool.run(*build)
    assert (stopped.returncode, stopped.stdout) == (2, "")
    assert "shelf.yaml:5:11: error TM402: fanSpeed: type Gauge32\n" in stopped.stderr
    assert stopped.stderr.endswith("shelf.yaml has errors: nothing is written without --force\n")
    assert not (tmp_path / "shelf.db").exists()
    forced = tool.run(*build, "--force")
    assert (forced.returncode, forced.stdout) == (0, "")
    assert "error TM402" in forced.stderr
    assert tool.show(tmp_path / "shelf.db")["instances"]


def test_warnings_of_the_check_do_not_stop_a_build(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "shelf.yaml").write_text(GAUGE.replace("gauge32", "integer\n    conversion: 0x9"), encoding="ascii")
    done = tool.run("build", tmp_path / "shelf.yaml", "-o", tmp_path / "shelf.db")
    assert done.returncode == 0
    assert "shelf.yaml:6:17: warning TM507: fanSpeed: conversion 0x0009\n" in done.stderr
    assert (tmp_path / "shelf.db").exists()


def test_accepted_findings_neither_print_nor_count(tool: MappingTool) -> None:
    done = tool.run("check", example("sample"))
    assert (done.returncode, done.stdout.splitlines()[-1]) == (0, "0 errors, 0 warnings, 5 notes, 2 accepted")
    assert "TM508" not in done.stdout


def test_colour_is_for_terminals(tool: MappingTool) -> None:
    assert "\033" not in tool.check("show", example("sample"))
    done = subprocess.run(
        ["script", "-qec", f"{tool.path} show {example('sample')}", "/dev/null"], stdin=subprocess.DEVNULL,
        capture_output=True, text=True, timeout=60, check=True)
    assert "\033[33m" in done.stdout


def test_colour_can_be_forbidden(tool: MappingTool) -> None:
    for value, is_coloured in (("1", False), ("", True)):
        done = subprocess.run(
            ["script", "-qec", f"{tool.path} show {example('sample')}", "/dev/null"], stdin=subprocess.DEVNULL,
            capture_output=True, text=True, timeout=60, check=True, env={**os.environ, "NO_COLOR": value})
        assert ("\033[33m" in done.stdout) == is_coloured


def test_a_source_is_shown_as_its_database_is(tool: MappingTool, tmp_path: Path) -> None:
    assert tool.check("show", example("sample")) == tool.check("show", tool.database(example("sample"), tmp_path))


def test_diff_ends_with_1_when_a_manager_breaks(tool: MappingTool, tmp_path: Path) -> None:
    source = example("small").read_text(encoding="utf-8")
    more = tmp_path / "more.yaml"
    more.write_text(source.replace("tables:", "  - {oid: 9.1.1, object: 0x99, type: integer}\ntables:"),
                    encoding="utf-8")
    assert tool.run("diff", example("small"), example("small")).stdout == "no differences\n"
    assert tool.run("diff", example("small"), more).returncode == 0
    done = tool.run("diff", more, example("small"))
    assert done.returncode == 1
    assert done.stdout == "! .1.3.6.1.4.1.32473.20.9.1.1 object0099: gone\n"


def completions(*words: str) -> list[str]:
    script = f"source {COMPLETION}; COMP_WORDS=({' '.join(repr(word) for word in words)}); " \
             f"COMP_CWORD={len(words) - 1}; _tarnoMapping; printf '%s\\n' \"${{COMPREPLY[@]}}\""
    done = subprocess.run(["bash", "-c", script], capture_output=True, text=True, timeout=30, check=True, cwd="/")
    return done.stdout.split()


def test_bash_completes_subcommands_options_and_values() -> None:
    assert completions("tarnoMapping", "") == [*SUBCOMMANDS, "--help", "--version"]
    assert completions("tarnoMapping", "help", "") == [*SUBCOMMANDS, "--help"]
    assert completions("tarnoMapping", "pro") == ["prometheus"]
    assert completions("tarnoMapping", "show", "--r") == ["--rows"]
    assert completions("tarnoMapping", "show", "--rows", "") == ["4", "8"]
    assert completions("tarnoMapping", "diff", "--exit-code", "") == ["any", "breaking", "none"]
    assert "etc" in completions("tarnoMapping", "show", "et")


def options_of(tool: MappingTool, subcommand: str) -> set[str]:
    """The long options in the help."""
    return set(re.findall(r"^ +(?:-\w,)?(--[a-z-]+)", tool.check(subcommand, "--help"), flags=re.MULTILINE))


@pytest.mark.parametrize("subcommand", SUBCOMMANDS)
def test_bash_completes_the_options_that_there_are(tool: MappingTool, subcommand: str) -> None:
    offered = {word for word in completions("tarnoMapping", subcommand, "-") if word.startswith("--")}
    assert offered == options_of(tool, subcommand)


def zsh_offers(state: str, *words: str) -> list[str]:
    """What the completion passes to the functions of zsh, one argument per line."""
    script = f"""_arguments() {{ if [[ $1 == -C ]]; then state={state}; else print -rl -- "$@"; fi }}
        _describe() {{ print -rl -- ${{(P)4}} }}
        words=({' '.join(words)}); source {ZSH_COMPLETION}"""
    done = subprocess.run(["zsh", "-f", "-c", script], capture_output=True, text=True, timeout=30, check=True)
    assert done.stderr == ""
    return done.stdout.splitlines()


def test_zsh_completes_the_commands_that_there_are() -> None:
    assert [each.split(":")[0] for each in zsh_offers("command")] == list(SUBCOMMANDS)


@pytest.mark.parametrize("subcommand", SUBCOMMANDS)
def test_zsh_completes_the_options_that_there_are(tool: MappingTool, subcommand: str) -> None:
    offered = re.findall(r"--[a-z-]+(?=\[)", "\n".join(zsh_offers("argument", subcommand)))
    assert set(offered) == options_of(tool, subcommand)


def test_the_version_is_that_of_the_build(tool: MappingTool) -> None:
    version = re.findall(r"project\(tarnoSnmp VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
    assert tool.check("--version") == f"tarnoMapping {version[0]}\n"


def test_help_is_that_of_the_option(tool: MappingTool) -> None:
    assert tool.check("help") == tool.check("--help")
    for subcommand in SUBCOMMANDS:
        assert tool.check("help", subcommand) == tool.check(subcommand, "--help")


@pytest.mark.parametrize("arguments", [("chekc", "shelf.db"), ("help", "chekc")])
def test_a_mistyped_command_is_answered_with_the_nearest(tool: MappingTool, arguments: tuple[str, ...]) -> None:
    done = tool.run(*arguments)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == 'error: unknown command "chekc"; did you mean "check"?\n'


def test_a_command_that_resembles_none_is_answered_with_where_to_look(tool: MappingTool) -> None:
    assert tool.run("paint").stderr == 'error: unknown command "paint"; tarnoMapping --help lists all commands\n'


def indented(text: str) -> str:
    """As the pages show it."""
    return "".join(f"    {line}\n" for line in text.splitlines())


def test_the_document_shows_how_errors_of_a_source_are_reported(tool: MappingTool, tmp_path: Path) -> None:
    (tmp_path / "shelf.yaml").write_text(
        "scalars:\n  - {oid: 1.1.1, object: 0110, type: integer}\n"
        "  - {oid: 1.1.2, object: 0x0111, type: text, access: readwrite}\n", encoding="ascii")
    done = tool.run("build", tmp_path / "shelf.yaml", "-o", tmp_path / "shelf.db")
    document = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    assert indented(done.stderr.replace(f"{tmp_path}/", "")) in document
    assert done.stderr.count("\n") == 2


def test_the_document_shows_what_the_tool_does(tool: MappingTool) -> None:
    document = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    source = example("small").read_text(encoding="utf-8").split("\n", 1)[1]
    rules = indented(tool.check("check", "--rules"))
    for text in (source, tool.check("show", example("small")), rules):
        assert text in document


def test_the_document_shows_findings_of_a_source_and_of_its_database(tool: MappingTool, tmp_path: Path) -> None:
    document = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    (tmp_path / "shelf.yaml").write_text(GAUGE, encoding="ascii")
    of_source = tool.run("check", tmp_path / "shelf.yaml").stdout.replace(f"{tmp_path}/", "").splitlines(True)
    assert indented("".join(of_source[:-1])) in document
    tool.run("build", "--force", tmp_path / "shelf.yaml", "-o", tmp_path / "shelf.db")
    of_database = tool.run("check", tmp_path / "shelf.db").stdout.splitlines(True)
    assert indented(of_database[0]) in document


def test_the_document_shows_an_acceptance_that_is_needed(tool: MappingTool, tmp_path: Path) -> None:
    document = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    start = document.index("    - name: fanSpeed\n")
    shown = document[start:document.index("\n\n", start)]
    (tmp_path / "shelf.yaml").write_text(f"scalars:\n{shown}\n", encoding="utf-8")
    assert tool.check("check", tmp_path / "shelf.yaml") == "0 errors, 0 warnings, 0 notes, 1 accepted\n"

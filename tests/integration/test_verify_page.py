"""The section on verify: its commands, its output and its rules are those of the tool."""
from __future__ import annotations

import re

import yaml

from support.mapping_tool import ROOT, MappingTool, example
from support.stack import Build, Stack
from support.verifying import Verifier

_SECTION = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8").split("## `verify`\n", 1)[1].split("\n## ", 1)[0]


def shown(text: str) -> str:
    """As the page shows it."""
    return "".join(f"    {line}\n" for line in text.splitlines())


def test_the_page_lists_the_rules(build: Build) -> None:
    assert shown(MappingTool(build).check("verify", "--rules")) in _SECTION


def test_the_commands_of_the_page_find_nothing_in_the_device_of_the_example(build: Build, stack: Stack) -> None:
    commands = re.findall(r"^    (tarnoMapping verify .*)$", _SECTION, re.M)
    assert len(commands) == 3
    verifier = Verifier(build, stack, example("small"))
    (stack.directory / "examples").symlink_to(ROOT / "examples")
    reports = [verifier.shell(command, stack.directory) for command in commands]
    assert [(done.returncode, done.stderr) for done in reports] == [(0, "")] * 3
    assert (stack.directory / "verify.xml").is_file()
    assert shown(without_numbers(reports[0].stdout)) in without_numbers(_SECTION)


def without_numbers(report: str) -> str:
    """Without what differs from run to run."""
    return re.sub(r"(process|median|worst) .*", r"\1 ...", report)


def test_the_page_shows_the_finding_of_a_read_only_valve(build: Build, stack: Stack) -> None:
    verifier = Verifier(build, stack, example("small"), starts_device=False)
    file = yaml.safe_load(verifier.tool.check("simulate", verifier.source, "-o", "-"))
    next(each for each in file["objects"] if each["id"] == 0x0102)["writable"] = False
    objects = stack.directory / "valve.yaml"
    objects.write_text(yaml.safe_dump(file), encoding="utf-8")
    stack.start_simulator(objects)
    done = verifier.shell("tarnoMapping verify examples/small.yaml", ROOT)
    assert done.returncode == 2
    assert shown("\n".join(done.stdout.splitlines()[:4])) in _SECTION


def test_the_page_says_which_rule_tells_what_no_database_tells(build: Build) -> None:
    page = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    listed = page.split("A database does not contain everything.", 1)[1].split("\n## ", 1)[0]
    rules = MappingTool(build).check("verify", "--rules")
    codes = re.findall(r"TV\d{3}", listed)
    assert len(codes) >= 6
    assert all(f"{code}  " in rules for code in codes)

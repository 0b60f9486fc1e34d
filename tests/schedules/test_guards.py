"""Removes the guards of the device link one at a time: the schedules must then find a counterexample.

Needs the build of the preset `schedules`, which is not modified: the changed source is a copy, compiled and linked
in place of the original in a directory of its own.
"""
from __future__ import annotations

import json
import os
import shlex
import shutil
import subprocess
import tomllib
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = ROOT / "build/schedules"
PROGRAM = "tests/schedules/schedules"
LONGEST_RUN = 300.0
LONGEST_COMPILE = 120.0
#: From this depth on it takes long to show that the complete link has no counterexample: scripts/schedules does.
DEEPEST_OF_ALL = 4


@dataclass(frozen=True)
class Guard:
    name: str
    file: str
    old: str
    new: str
    property: int
    depth: int = 2
    disturbances: int | None = None

    def removed_from(self, text: str) -> str:
        count = text.count(self.old)
        assert count == 1, f"{self.file} has the text of the guard {count} times, not once"
        return text.replace(self.old, self.new)


GUARDS = [Guard(**entry) for entry in
          tomllib.loads((Path(__file__).parent / "guards.toml").read_text(encoding="utf-8"))["guard"]]


def run(command: list[str], seconds: float) -> subprocess.CompletedProcess[str]:
    return subprocess.run(command, cwd=BUILD, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=seconds, check=False)


def explored(program: Path, guard: Guard) -> subprocess.CompletedProcess[str]:
    most = [] if guard.disturbances is None else ["--disturbances", str(guard.disturbances)]
    return run([str(program), "--only", str(guard.property), "--depth", str(guard.depth), *most], LONGEST_RUN)


def succeeds(command: list[str]) -> None:
    done = run(command, LONGEST_COMPILE)
    assert done.returncode == 0, f"{shlex.join(command)}\n{done.stdout}"


class ChangedProgram:
    """The explorer with a changed copy of src/."""

    def __init__(self, directory: Path) -> None:
        self._directory = directory
        self._sources = directory / "src"
        shutil.copytree(ROOT / "src", self._sources)

    def make(self, guard: Guard) -> Path:
        changed = self._directory / guard.file
        changed.write_text(guard.removed_from(changed.read_text(encoding="utf-8")), encoding="utf-8")
        link = self._link_command()
        for original, command in self._units():
            # Any of them may include a changed header.
            if changed.suffix == ".h" or original == ROOT / guard.file:
                self._compile(original, command, link)
        program = self._directory / "schedules"
        link[link.index("-o") + 1] = str(program)
        succeeds(link)
        return program

    @staticmethod
    def _link_command() -> list[str]:
        commands = subprocess.run(["ninja", "--quiet", "-t", "commands", PROGRAM], cwd=BUILD, check=True, text=True,
                                  stdout=subprocess.PIPE).stdout
        return [word for word in shlex.split(commands.splitlines()[-1]) if word not in (":", "&&")]

    @staticmethod
    def _units() -> Iterator[tuple[Path, list[str]]]:
        """The sources of the program, each with the command that compiles it."""
        for entry in json.loads((BUILD / "compile_commands.json").read_text(encoding="utf-8")):
            command = shlex.split(entry["command"])
            if command[command.index("-o") + 1].startswith("tests/schedules/"):
                yield Path(entry["file"]), command

    def _compile(self, original: Path, command: list[str], link: list[str]) -> None:
        words = [word.replace(f"-I{ROOT / 'src'}", f"-I{self._sources}") for word in command]
        target = words.index("-o") + 1
        made = self._directory / f"{original.stem}.o"
        link[link.index(words[target])] = str(made)
        words[target] = str(made)
        if original.is_relative_to(ROOT / "src"):
            words[words.index("-c") + 1] = str(self._sources / original.relative_to(ROOT / "src"))
        # Without its guard a source may have an unused function.
        succeeds([*words, "-w"])


@pytest.fixture(name="program", scope="session")
def explorer() -> Path:
    program = BUILD / PROGRAM
    assert program.is_file() and os.access(program, os.X_OK), "scripts/build schedules makes it"
    return program


@pytest.mark.parametrize("guard", GUARDS, ids=lambda guard: guard.name)
def test_without_its_guard_a_property_breaks(guard: Guard, program: Path, tmp_path: Path) -> None:
    if guard.depth < DEEPEST_OF_ALL:
        with_guard = explored(program, guard)
        assert with_guard.returncode == 0, with_guard.stdout

    without = explored(ChangedProgram(tmp_path).make(guard), guard)

    print(without.stdout)
    assert without.returncode == 1, without.stdout
    assert f"(property {guard.property}:" in without.stdout
    assert without.stdout.splitlines()[-1].endswith("a counterexample")

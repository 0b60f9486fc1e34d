"""The check of built programs: passes hardened ones, and names each protection that is missing."""
from __future__ import annotations

import subprocess
from pathlib import Path

import pytest

_CHECK = Path(__file__).resolve().parents[2] / "scripts" / "check-hardening"

_SOURCE = """
#include <cstdio>
#include <cstring>
int main(int, char *arguments[])
{
    char copy[8000];
    std::strcpy(copy, arguments[0]);
    return std::puts(copy);
}
"""
#: An address in the code that only the loader knows.
_RELOCATED_CODE = 'asm(".text\\n.dc.a main");\n'

_HARDENED = {
    "optimize": "-O2", "fortify": "-D_FORTIFY_SOURCE=2", "canary": "-fstack-protector-strong",
    "clash": "-fstack-clash-protection", "record": "-frecord-gcc-switches", "pic": "-fPIE", "pie": "-pie",
    "relro": "-Wl,-z,relro", "now": "-Wl,-z,now", "stack": "-Wl,-z,noexecstack",
}


def compiled(directory: Path, source: str = _SOURCE, **changes: str) -> Path:
    """A program compiled with all protections, except for the options overridden here."""
    (directory / "small.cpp").write_text(source, encoding="ascii")
    options = [option for option in ({**_HARDENED, **changes}).values() if option]
    done = subprocess.run(
        ["g++", "-w", *options, "small.cpp", "-o", "small"], cwd=directory, capture_output=True, text=True, timeout=60,
        check=False)
    assert done.returncode == 0, done.stderr
    return directory / "small"


def check(*paths: Path) -> "subprocess.CompletedProcess[str]":
    return subprocess.run([_CHECK, *paths], capture_output=True, text=True, timeout=60, check=False)


def cells(line: str) -> list[str]:
    return line.replace(" !", "!").split()


def failures(path: Path) -> dict[str, str]:
    """The columns that the check marks for a program, with their text. The exit status matches."""
    done = check(path)
    heading, row = (cells(line) for line in done.stdout.splitlines())
    found = {column: cell[:-1] for column, cell in zip(heading, row, strict=True) if cell.endswith("!")}
    assert done.returncode == (1 if found else 0), done.stdout + done.stderr
    return found


def test_a_program_with_all_protections_passes(tmp_path: Path) -> None:
    done = check(compiled(tmp_path))
    assert (done.returncode, done.stderr) == (0, "")
    assert [cells(line) for line in done.stdout.splitlines()] == [
        ["program", "relro", "pie", "stack", "canary", "clash", "fortify", "rpath", "textrel"],
        ["small", "full", "yes", "data", "yes", "yes", "1/1", "none", "none"]]


def test_it_passes_also_when_it_is_stripped(tmp_path: Path) -> None:
    program = compiled(tmp_path)
    subprocess.run(["strip", program], check=True, timeout=60)
    assert failures(program) == {}


@pytest.mark.parametrize(("changes", "expected"), [
    pytest.param({"relro": "-Wl,-z,norelro"}, {"relro": "none"}, id="relocations that stay writable"),
    pytest.param({"now": "-Wl,-z,lazy"}, {"relro": "partial"}, id="relocations resolved late"),
    pytest.param({"pic": "-fno-pie", "pie": "-no-pie"}, {"pie": "no"}, id="a fixed address"),
    pytest.param({"stack": "-Wl,-z,execstack"}, {"stack": "executable"}, id="an executable stack"),
    pytest.param({"canary": "-fno-stack-protector"}, {"canary": "no"}, id="no canaries"),
    pytest.param({"clash": "-fno-stack-clash-protection"}, {"clash": "no"}, id="no probes"),
    pytest.param({"record": ""}, {"clash": "unknown"}, id="no record"),
    pytest.param({"fortify": "-D_FORTIFY_SOURCE=0"}, {"fortify": "0/1"}, id="no checking calls"),
    pytest.param({"optimize": "-O0", "fortify": ""}, {"fortify": "0/1"}, id="not optimized"),
    pytest.param({"further": "-Wl,-rpath,/somewhere"}, {"rpath": "yes"}, id="a search path"),
    pytest.param(
        {"source": _SOURCE + _RELOCATED_CODE, "further": "-Wl,-z,notext"}, {"textrel": "yes"},
        id="relocations in the code"),
])
def test_a_missing_protection_is_named(tmp_path: Path, changes: dict[str, str], expected: dict[str, str]) -> None:
    assert failures(compiled(tmp_path, **changes)) == expected


def test_one_part_without_probes_is_enough_to_fail(tmp_path: Path) -> None:
    (tmp_path / "other.cpp").write_text("int other() { return 1; }\n", encoding="ascii")
    subprocess.run(
        ["g++", "-c", "-fPIE", "-frecord-gcc-switches", "-fno-stack-clash-protection", "other.cpp"], cwd=tmp_path,
        check=True, timeout=60)
    assert failures(compiled(tmp_path, further="other.o")) == {"clash": "no"}


def test_every_program_is_looked_at(tmp_path: Path) -> None:
    for name in ("bad", "good"):
        (tmp_path / name).mkdir()
    done = check(compiled(tmp_path / "bad", now="-Wl,-z,lazy"), compiled(tmp_path / "good"))
    assert done.returncode == 1
    assert [" !" in line for line in done.stdout.splitlines()] == [False, True, False]


def test_a_file_that_is_no_program_is_an_error(tmp_path: Path) -> None:
    text = tmp_path / "text"
    text.write_text("no program\n", encoding="ascii")
    for path in (text, tmp_path / "missing"):
        done = check(path)
        assert (done.returncode, done.stdout) == (2, "")
        assert done.stderr.startswith("check-hardening: ") and str(path) in done.stderr

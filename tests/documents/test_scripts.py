"""Every script explains itself, starts nothing for that, and refuses what it does not know."""
from __future__ import annotations

import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from pages import ROOT, name_of

#: Files that are not executable are for other scripts to read.
SCRIPTS = [path for path in (*sorted((ROOT / "scripts").iterdir()), ROOT / "bench" / "run", ROOT / ".ci" / "run")
           if os.access(path, os.X_OK)]
#: What the scripts need before they know their arguments; anything else that they start is a failure.
ALLOWED = ("bash", "env", "dirname", "sed", "python3", "cat")


@pytest.fixture
def bare_path(tmp_path: Path) -> dict[str, str]:
    """An environment whose programs can only read."""
    for name in ALLOWED:
        (tmp_path / name).symlink_to(shutil.which(name, path="/usr/bin:/bin") or name)
    return {"PATH": str(tmp_path), "HOME": str(tmp_path), "PYTHONDONTWRITEBYTECODE": "1"}


def run(script: Path, *arguments: str, env: dict[str, str], cwd: Path = ROOT) -> "subprocess.CompletedProcess[str]":
    return subprocess.run(
        [script, *arguments], env=env, cwd=cwd, capture_output=True, text=True, timeout=20, check=False)


def test_there_are_scripts() -> None:
    assert {"build", "demo", "lint", "test", "tidy"} < {path.name for path in SCRIPTS}


@pytest.mark.parametrize("option", ["--help", "-h"])
@pytest.mark.parametrize("script", SCRIPTS, ids=name_of)
def test_a_script_explains_itself(script: Path, option: str, bare_path: dict[str, str], tmp_path: Path) -> None:
    done = run(script, option, env=bare_path, cwd=tmp_path)
    assert (done.returncode, done.stderr) == (0, "")
    first, *rest = done.stdout.splitlines()
    assert re.match(rf"Usage: {re.escape(name_of(script))}\b", first)
    assert len("".join(rest)) > 40
    assert "set -euo" not in done.stdout


@pytest.mark.parametrize("script", SCRIPTS, ids=name_of)
def test_an_unknown_option_is_refused(script: Path, bare_path: dict[str, str]) -> None:
    done = run(script, "--nonsense", env=bare_path)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr


@pytest.mark.parametrize("script", SCRIPTS, ids=name_of)
def test_the_usage_of_a_script_has_its_options(script: Path) -> None:
    """Those that the script compares its arguments with."""
    text = script.read_text(encoding="utf-8")
    known = {name for case in re.findall(r"^ +((?:--?[\w-]+(?: \| )?)+)\)", text, re.MULTILINE)
             for name in case.split(" | ")} - {"-h", "--help"}
    known |= set(re.findall(r'add_argument\("(--\w+)"', text))
    shown = run(script, "--help", env=dict(os.environ)).stdout
    assert sorted(name for name in known if name not in shown) == []


WITH_OWN_FILES = ROOT / "tests" / "with-own-files"


@pytest.mark.parametrize(("command", "status", "said"), [
    ("exit 3", 3, ""),
    ("touch $TMPDIR/one && rm $TMPDIR/one", 0, ""),
    ("mkdir $TMPDIR/pytest-of-root", 0, ""),
    ("touch $TMPDIR/one", 1, "with-own-files: left in the temporary directory: one\n"),
    ("touch $TEST_TMPDIR/one", 1, "with-own-files: left in the temporary directory: one\n"),
    ("touch $TMPDIR/one; exit 3", 3, ""),
])
def test_a_run_of_tests_must_leave_no_files(command: str, status: int, said: str, tmp_path: Path) -> None:
    done = run(WITH_OWN_FILES, "sh", "-c", command, env={**os.environ, "TMPDIR": str(tmp_path)})
    assert (done.returncode, done.stderr) == (status, said)
    assert not list(tmp_path.iterdir())


def test_without_sudo_it_says_what_root_may_run(bare_path: dict[str, str], tmp_path: Path) -> None:
    """Without dpkg-query every package is missing."""
    user = tmp_path / "id"
    user.write_text("#!/bin/bash\necho 1000\n", encoding="ascii")
    user.chmod(0o755)
    done = run(ROOT / "scripts" / "install-packages", "build", "run", env=bare_path)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == "install-packages: not root and no sudo; as root: scripts/install-packages build run\n"


def test_a_fresh_clone_has_the_log_of_a_root_directory_that_fails(tmp_path: Path) -> None:
    """The build directory is not there yet."""
    scripts, programs = tmp_path / "scripts", tmp_path / "programs"
    scripts.mkdir()
    programs.mkdir()
    for name in ("in-debian", "help", "root-archive", "mirror"):
        shutil.copy(ROOT / "scripts" / name, scripts)
    for program, line in ((scripts / "install-packages", "true"),
                          (programs / "apt-get", "echo Debian debian main here"),
                          (programs / "mmdebstrap", "echo no such release; false")):
        program.write_text(f"#!/bin/sh\n{line}\n", encoding="ascii")
        program.chmod(0o755)
    done = run(scripts / "in-debian", "--bare", "nowhere", "true",
               env={**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"})
    log = "build/debian-nowhere-bare-root.log"
    assert (done.returncode, done.stderr) == (125, f"in-debian: no root directory of nowhere: {log}\n")
    assert (tmp_path / log).read_text(encoding="ascii") == "no such release\n"

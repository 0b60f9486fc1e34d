"""What the mapping tool does to files: those it reads, those it writes, and the temporary ones."""
from __future__ import annotations

import os
import shutil
import signal
import sqlite3
import stat
import subprocess
from collections.abc import Callable
from pathlib import Path

import pytest

from support.mapping_tool import MappingTool, example
from support.stack import Build, Stack
from support.waiting import wait_until
from support.world import World


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def world(stack: Stack) -> World:
    return stack.world


@pytest.fixture
def source(tmp_path: Path) -> Path:
    return Path(shutil.copy(example("small"), tmp_path / "shelf.yaml"))


@pytest.mark.parametrize("link", [Path.symlink_to, Path.hardlink_to])
def test_a_source_is_not_overwritten_by_its_database(
    tool: MappingTool, source: Path, link: Callable[[Path, Path], None],
) -> None:
    other_name = source.with_name("other")
    link(other_name, source)
    before = source.read_bytes()
    for output in (source, other_name):
        done = tool.run("build", source, "-o", output)
        assert (done.returncode, done.stderr) == (2, f"error: {output}: input and output are the same file\n")
    assert source.read_bytes() == other_name.read_bytes() == before


def test_a_source_is_not_overwritten_by_a_report(tool: MappingTool, source: Path) -> None:
    before = source.read_bytes()
    done = tool.run("verify", source, "--junit", source)
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == f"error: {source}: input and output are the same file\n"
    assert source.read_bytes() == before


def test_owner_and_mode_of_an_old_file_stay(tool: MappingTool, source: Path, tmp_path: Path) -> None:
    output = tmp_path / "shelf.db"
    output.touch(mode=0o604)
    owner = 4242 if os.geteuid() == 0 else os.geteuid()
    os.chown(output, owner, -1)
    tool.check("build", source, "-o", output)
    found = output.stat()
    assert (found.st_uid, stat.S_IMODE(found.st_mode)) == (owner, 0o604)
    assert found.st_size > 0


def test_a_device_is_written_to_and_stays_a_device(
    world: World, tool: MappingTool, source: Path, tmp_path: Path,
) -> None:
    output = tmp_path / "device"
    output.touch()
    world.replace_directory(output, "/dev/null")
    world.check(tool.path, "build", source, "-o", output)
    assert world.check("stat", "--format=%F", output) == "character special file\n"


def test_a_fifo_is_written_to_and_stays_a_fifo(tool: MappingTool, source: Path, tmp_path: Path) -> None:
    fifo = tmp_path / "fifo"
    os.mkfifo(fifo)
    with subprocess.Popen(["cat", fifo], stdout=subprocess.PIPE) as reader:
        tool.check("build", source, "-o", fifo)
        written, _ = reader.communicate(timeout=60)
    assert written == tool.database(source, tmp_path).read_bytes()
    assert fifo.is_fifo()


def test_a_link_is_followed_and_stays_a_link(tool: MappingTool, source: Path, tmp_path: Path) -> None:
    link, target = tmp_path / "link.db", tmp_path / "target.db"
    link.symlink_to(target.name)
    for _ in range(2):
        tool.check("build", source, "-o", link)
        assert link.is_symlink()
        assert target.read_bytes() == tool.database(source, tmp_path).read_bytes()


def test_an_output_that_standard_output_is_sent_to_is_not_replaced(
    tool: MappingTool, source: Path, tmp_path: Path,
) -> None:
    with (tmp_path / "log").open("w+", encoding="utf-8") as log:
        log.write("earlier\n")
        log.flush()
        subprocess.run([tool.path, "mib", source, "-o", "/dev/stdout"], stdout=log, timeout=60, check=True)
        log.seek(0)
        assert log.read().startswith("earlier\nSAMPLE-PUMP-MIB DEFINITIONS")


@pytest.fixture
def tiny(world: World, tmp_path: Path) -> Path:
    """A directory with hardly any room, inside the world."""
    directory = tmp_path / "tiny"
    directory.mkdir()
    world.check("mount", "-t", "tmpfs", "-o", "size=4k", "none", directory)
    return directory


def test_a_full_temporary_directory_is_an_error_and_left_empty(
    world: World, tiny: Path, tool: MappingTool, source: Path,
) -> None:
    done = world.run([tool.path, "show", source], env={**os.environ, "TMPDIR": str(tiny)})
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith(f"error: {tiny}/tarnoMapping.")
    assert done.stderr.endswith("/mapping: temporary file cannot be written: No space left on device\n")
    assert world.check("ls", "-A", tiny) == ""


def test_a_full_output_directory_is_an_error_and_left_empty(
    world: World, tiny: Path, tool: MappingTool, source: Path,
) -> None:
    done = world.run([tool.path, "build", source, "-o", tiny / "shelf.db"])
    assert (done.returncode, done.stderr) == (
        2, f"error: {tiny}/shelf.db: cannot be written: No space left on device\n")
    assert world.check("ls", "-A", tiny) == ""


def test_a_signal_while_the_output_is_written_leaves_nothing(
    tool: MappingTool, source: Path, tmp_path: Path,
) -> None:
    """The system sends a signal in the middle of a write that exceeds the limit."""
    done = subprocess.run(
        ["prlimit", "--fsize=1000", "--core=0", tool.path, "build", source, "-o", tmp_path / "shelf.db"],
        timeout=60, check=False)
    assert done.returncode == -signal.SIGXFSZ
    assert [path.name for path in tmp_path.iterdir()] == ["shelf.yaml"]


def test_an_interrupt_leaves_no_temporary_file(tool: MappingTool, tmp_path: Path) -> None:
    big = tmp_path / "big.db"
    with sqlite3.connect(big) as connection:
        connection.execute("CREATE TABLE other (number INTEGER PRIMARY KEY, text TEXT UNIQUE)")
        connection.executemany("INSERT INTO other VALUES (?, ?)", ((each, f"text {each}") for each in range(500_000)))
    temporary = tmp_path / "temporary"
    temporary.mkdir()
    with subprocess.Popen([tool.path, "show", big], env={**os.environ, "TMPDIR": str(temporary)},
                          stdout=subprocess.DEVNULL) as running:
        wait_until(lambda: list(temporary.glob("*/mapping")), "there is a temporary file", interval=0.001)
        running.send_signal(signal.SIGINT)
        assert running.wait(60) == -signal.SIGINT
    assert list(temporary.iterdir()) == []


@pytest.mark.parametrize("command", ["build", "show", "check", "import"])
def test_an_endless_input_is_an_error(tool: MappingTool, tmp_path: Path, command: str) -> None:
    output = ["-o", tmp_path / "output"] if command in ("build", "import") else []
    done = tool.run(command, "/dev/zero", *output)
    assert done.returncode == (3 if command in ("check", "import") else 2)
    assert done.stderr == "error: /dev/zero: is longer than the limit of 64 MiB\n"
    assert list(tmp_path.iterdir()) == []


@pytest.mark.parametrize("option", ["--baseline", "--mib"])
def test_an_endless_second_input_is_an_error(tool: MappingTool, source: Path, option: str) -> None:
    done = tool.run("check", source, option, "/dev/zero")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "error: /dev/zero: is longer than the limit of 64 MiB\n"


def test_a_huge_file_is_an_error(tool: MappingTool, tmp_path: Path) -> None:
    huge = tmp_path / "huge.yaml"
    with huge.open("wb") as file:
        file.truncate(10 << 30)
    done = tool.run("show", huge)
    assert (done.returncode, done.stderr) == (2, f"error: {huge}: is longer than the limit of 64 MiB\n")


def test_a_source_that_is_too_long_is_an_error(tool: MappingTool, tmp_path: Path) -> None:
    source = tmp_path / "long.yaml"
    source.write_text("[" + "a," * (5 << 20), encoding="ascii")
    done = tool.run("build", source, "-o", tmp_path / "long.db")
    assert (done.returncode, done.stderr) == (
        2, f"error: {source}: is longer than 8 MiB, the limit for YAML files\n")

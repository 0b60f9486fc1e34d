"""The demo, end to end: what it shows, and that it leaves nothing behind."""
from __future__ import annotations

import fcntl
import os
import pty
import re
import shlex
import signal
import subprocess
import tempfile
import termios
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.mapping_tool import base_modules
from support.stack import Build, Stack
from support.waiting import wait_until

_DEMO = Path(__file__).resolve().parents[2] / "scripts" / "demo"
_BASE = ".1.3.6.1.4.1.32473.8.2.2.3.8"


class Terminal:
    """The demo started from a terminal, inside a world."""

    def __init__(self, stack: Stack, *options: str | Path) -> None:
        self._master, slave = pty.openpty()
        self.shown = ""
        self._process = subprocess.Popen(
            stack.world.command([_DEMO, *options]), stdin=slave, stdout=slave, stderr=slave,
            start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY, 0))
        os.close(slave)
        os.set_blocking(self._master, False)

    def wait_for_text(self, text: str) -> None:
        def is_shown() -> bool:
            self._collect()
            assert text in self.shown or self._process.poll() is None, f"the demo ended: {self.shown}"
            return text in self.shown

        wait_until(is_shown, f"the demo shows {text!r}")

    def type(self, text: str) -> None:
        os.write(self._master, text.encode())

    def wait_for_end(self) -> int:
        status = self._process.wait(20)
        self._collect()
        return status

    def close(self) -> None:
        self._process.kill()
        self._process.wait()
        os.close(self._master)

    def _collect(self) -> None:
        try:
            while chunk := os.read(self._master, 65536):
                self.shown += chunk.decode().replace("\r\n", "\n")
        except OSError:
            pass  # Nothing more for now, or the other end is closed.


@pytest.fixture
def kept_demo(stack: Stack, build: Build) -> Iterator[Terminal]:
    terminal = Terminal(stack, "--keep", "--build-dir", build.directory)
    terminal.wait_for_text("Enter or Ctrl-C ends it.")
    yield terminal
    terminal.close()


def _nothing_is_left(stack: Stack) -> None:
    def only_the_anchor() -> bool:
        names = stack.world.check("ps", "-A", "-o", "comm=").split()
        return sorted(names) == ["bash", "ps"]

    wait_until(only_the_anchor, "all processes of the demo are gone")
    assert not os.listdir(os.environ["TMPDIR"])


@pytest.fixture(autouse=True)
def own_temporary_directory(monkeypatch: pytest.MonkeyPatch) -> Iterator[None]:
    """The demos of a test create their directories in one place, which must be empty at the end."""
    with tempfile.TemporaryDirectory(prefix="tarno-demos.") as directory:
        # A demo's master agent runs as nobody, and pytest's directories are private.
        os.chmod(directory, 0o755)
        monkeypatch.setenv("TMPDIR", directory)
        yield


def test_it_shows_sets_gets_and_walks(stack: Stack, build: Build) -> None:
    done = stack.world.run([_DEMO, "--build-dir", build.directory], timeout=60)
    assert done.returncode == 0, done.stdout + done.stderr
    shown = done.stdout
    for line in (
        f'{_BASE}.1.1.3.0 = STRING: "night shift, ext. 4711"  (shelfContact)',
        f'{_BASE}.1.1.3.0 = STRING: "night shift, ext. 4711"',
        f'{_BASE}.1.2.3.0 = STRING: "-21.35"  (receivedPower)',
        f'{_BASE}.1.2.4.0 = STRING: "72.50"',
        f'{_BASE}.1.3.2.0 = INTEGER: 2623  (erroredBlocks)',
        f'{_BASE}.1.4.1.0 = STRING: "192.0.2.10"  (managementAddress)',
        f'{_BASE}.2.2.1.3.8.0 = INTEGER: 4203  (fanSpeed.8)',
        f'{_BASE}.2.1.1.2.8.0 = STRING: "customer 4"',
        "Reason: notWritable (That object does not support modification)",
    ):
        assert f"\n{line}\n" in shown
    assert re.search("^93 of 93 objects read, ", shown, re.MULTILINE)
    assert re.search(rf"{re.escape(_BASE)}\.0\.1\t.* = INTEGER: 50\t.*  \(airHot\)$", shown, re.MULTILINE)
    assert re.search(rf"{re.escape(_BASE)}\.0\.2\t.* = INTEGER: 20\t.*  \(airHotClear\)$", shown, re.MULTILINE)
    assert len(re.findall(rf"^{re.escape(_BASE)}\.2\.1\.1\.\d+\.\d+\.0 = ", shown, re.MULTILINE)) == 6 + 2
    assert "\n... and 42 lines of the other rows\n" in shown
    assert len(shown.splitlines()) < 120


def test_it_shows_a_set_first_and_ends_with_what_was_seen(stack: Stack, build: Build) -> None:
    done = stack.world.run([_DEMO, "--build-dir", build.directory], timeout=60)
    assert done.stderr == ""
    first, rest = re.split(r"^== ", done.stdout, flags=re.MULTILINE)[:2]
    assert len(first.splitlines()) <= 2
    assert rest.startswith("A text is set, and read back")
    assert done.stdout.splitlines()[-3:] == [
        "A manager set a text, a limit and a cell through the master agent and tarnoSnmp, and read them back.",
        "It walked 19 scalars and 88 cells, all made from examples/sample.yaml.",
        "An alarm and its end came to the manager by themselves.",
    ]
    assert _excerpt_of_the_readme() == [line for line in _excerpt_of_the_readme() if line in done.stdout.splitlines()]


def _excerpt_of_the_readme() -> list[str]:
    text = (_DEMO.parents[1] / "README.md").read_text(encoding="utf-8")
    excerpt = text.split("From its output:\n\n```\n")[1].split("```")[0]
    lines = [line for line in excerpt.splitlines() if line not in ("", "...")]
    assert len(lines) > 5
    return lines


def test_it_shows_names_where_the_base_modules_are(stack: Stack, build: Build) -> None:
    done = stack.world.run(
        [_DEMO, "--build-dir", build.directory], timeout=60, env={**os.environ, "MIBDIRS": str(base_modules())})
    assert done.returncode == 0, done.stdout + done.stderr
    assert "\nSAMPLE-SHELF-MIB::shelfContact.0 = STRING: night shift, ext. 4711\n" in done.stdout
    for name, value in (("airHot", 50), ("airHotClear", 20)):
        assert re.search(
            rf"= OID: SAMPLE-SHELF-MIB::{name}\tSAMPLE-SHELF-MIB::airIntake.0 = INTEGER: {value} degrees Celsius\t"
            "SAMPLE-SHELF-MIB::shelfLocation.0 = STRING: Room 4, rack 12$", done.stdout, re.MULTILINE)


def test_it_leaves_another_agent_and_the_queues_alone(stack: Stack, build: Build) -> None:
    stack.start_master(port=16161)
    stack.send_answer("12 04 00 00 01 01 05")
    queues = stack.world.check("ipcs", "-q")
    assert stack.world.run([_DEMO, "--build-dir", build.directory], timeout=60).returncode == 0
    assert stack.world.check("ipcs", "-q") == queues
    assert stack.world.check("pgrep", "-c", "snmpd") == "1\n"


def test_it_leaves_nothing_behind(stack: Stack, build: Build) -> None:
    assert stack.world.run([_DEMO, "--build-dir", build.directory], timeout=60).returncode == 0
    _nothing_is_left(stack)


def test_without_a_terminal_keep_ends_by_itself(stack: Stack, build: Build) -> None:
    done = stack.world.run([_DEMO, "--keep", "--build-dir", build.directory], timeout=60)
    assert done.returncode == 0
    assert "Standard input is no terminal: it ends now." in done.stdout


def test_kept_the_printed_commands_work(stack: Stack, kept_demo: Terminal) -> None:
    commands = [line for line in kept_demo.shown.splitlines() if line.startswith("nsenter ")]
    assert len(commands) == 3
    for command in commands:
        assert _BASE in stack.world.check(*shlex.split(command))
    set_value = next(line for line in kept_demo.shown.splitlines() if line.startswith("echo 'set"))
    assert stack.world.check("sh", "-c", f"{set_value}; sleep 0")


def test_kept_it_ends_on_enter(stack: Stack, kept_demo: Terminal) -> None:
    kept_demo.type("\n")
    assert kept_demo.wait_for_end() == 0
    _nothing_is_left(stack)


def test_kept_it_ends_on_ctrl_c(stack: Stack, kept_demo: Terminal) -> None:
    kept_demo.type("\x03")
    kept_demo.wait_for_end()
    _nothing_is_left(stack)


def test_ended_in_the_middle_it_leaves_nothing_behind(stack: Stack, build: Build) -> None:
    demo = stack.start("demo", [_DEMO, "--build-dir", build.directory])
    demo.wait_for_output("demo: starts a simulated device")
    demo.signal(signal.SIGTERM)
    assert demo.wait_for_end() == 143
    _nothing_is_left(stack)


def test_a_part_that_does_not_start_is_told(stack: Stack, build: Build, tmp_path: Path) -> None:
    broken = tmp_path / "broken"
    (broken / "tools" / "deviceSim").mkdir(parents=True)
    (broken / "tools" / "deviceSim" / "tarnoDeviceSim").symlink_to(build.simulator)
    (broken / "src").mkdir()
    (broken / "src" / "tarnoSnmp").symlink_to("/bin/false")
    (broken / "tools" / "mapping").symlink_to(build.directory / "tools" / "mapping")
    done = stack.world.run([_DEMO, "--build-dir", broken], timeout=60)
    assert done.returncode == 1
    assert "demo: this did not happen: the agent serves its scalars." in done.stderr
    _nothing_is_left(stack)


def test_help_and_unknown_options(stack: Stack) -> None:
    helped = stack.world.run([_DEMO, "--help"])
    assert (helped.returncode, helped.stdout.split("\n")[0]) == (
        0, "Usage: scripts/demo [--keep] [--build-dir DIRECTORY]")
    assert stack.world.run([_DEMO, "--wrong"]).returncode == 2


@pytest.mark.parametrize(("arguments", "message"), [
    (["--build-dir"], "demo: the directory of --build-dir is missing; --help shows the usage\n"),
    (["--build-dir", "/nowhere"],
     "demo: /nowhere/src/tarnoSnmp is not there; without --build-dir the demo builds what it needs\n"),
])
def test_a_build_that_is_not_there_is_refused(stack: Stack, arguments: list[str], message: str) -> None:
    done = stack.world.run([_DEMO, *arguments])
    assert (done.returncode, done.stdout, done.stderr) == (2, "", message)


def test_what_takes_long_says_that_it_goes_on(stack: Stack) -> None:
    steps = _DEMO.read_text(encoding="utf-8")
    function = steps[steps.index("readonly tick="):steps.index("options=()")]
    done = stack.world.run(["bash", "-euc", f'{function}\nprogress "builds" sleep 1; echo "built $?"'],
                           env={**os.environ, "TARNO_DEMO_TICK": "0.4"})
    lines = done.stdout.splitlines()
    assert lines[0] == "demo: builds"
    assert re.fullmatch(r"demo: builds: \d s so far", lines[1])
    assert "built 0" in lines

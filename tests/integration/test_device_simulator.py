"""The device simulator as a program: frames on real queues, commands, faults, signals and exit statuses."""
from __future__ import annotations

import os
import re
import signal
from collections.abc import Callable, Sequence
from pathlib import Path

import pytest

from support.device import ANSWER_QUEUE, REQUEST_QUEUE, DeviceObject, block, signed, text, unsigned
from support.mapping_tool import MappingTool
from support.program import CommandedProgram
from support.stack import Build, Stack
from support.waiting import wait_until

_ROOT = Path(__file__).resolve().parents[2]
SAMPLE = _ROOT / "examples" / "sample.yaml"

LEVEL = 0x0102
LABEL = 0x0101
FIXED = 0x0105
OBJECTS: Sequence[DeviceObject] = (
    text(LABEL, "abc", width=6, writable=True),
    unsigned(LEVEL, 200, width=1, writable=True),
    signed(0x0103, -2, width=4, writable=True),
    block(0x0104, "010203"),
    unsigned(FIXED, 0x1234, width=2),
)

READ_LEVEL = "02 07 02 01 00 00 00 00"
LEVEL_IS_200 = "12 04 10 00 02 01 c8"
LEVEL_IS_7 = "12 04 10 00 02 01 07"
READ_FIXED = "02 07 05 01 00 00 00 00"
FIXED_VALUE = "12 05 00 00 05 01 34 12"
WRITE_LEVEL_5 = "01 04 02 01 05"
LEVEL_ACCEPTED = "11 04 02 01"
NOTHING = "nothing"
#: The faults that delay a request.
HOLD_UPS = ("delay", "pause")

#: Longer than any answer takes, and how long to wait for an answer that must not come.
LONG, SHORT = 10_000, 100


class Link:
    """The agent's side of the queues, in hexadecimal."""

    def __init__(self, stack: Stack) -> None:
        self._stack = stack

    def exchange(self, request: str, answers: int = 1) -> list[str]:
        """Sends a request; returns this many answers, and anything else that comes shortly after."""
        waits = [LONG] * answers + [SHORT]
        lines = self._run("send", hex(REQUEST_QUEUE), request, *_receptions(waits))
        return [line for line in lines[1:] if line != NOTHING]

    def ask(self, request: str) -> str:
        """Sends a request; returns its first answer."""
        return self._run("send", hex(REQUEST_QUEUE), request, *_receptions([LONG]))[1]

    def ask_twice(self, first: str, second: str) -> list[str]:
        """Sends two requests in a row; returns two answers in their order of arrival."""
        self.send(first, second)
        return self.receive(2)

    def send(self, *requests: str) -> None:
        """Sends requests in a row."""
        self._run(*(word for request in requests for word in ("send", hex(REQUEST_QUEUE), request)))

    def receive(self, answers: int) -> list[str]:
        """This many answers in their order of arrival."""
        return self._run(*_receptions([LONG] * answers))

    def remove_queues(self) -> None:
        self._run("remove", hex(REQUEST_QUEUE), "remove", hex(ANSWER_QUEUE))

    def create_queues(self) -> None:
        self._run("create", hex(REQUEST_QUEUE), "create", hex(ANSWER_QUEUE))

    def depths(self) -> list[str]:
        """The number of messages waiting on either queue, "none" if the queue does not exist."""
        return self._run("depth", hex(REQUEST_QUEUE), "depth", hex(ANSWER_QUEUE))

    def _run(self, *arguments: str) -> list[str]:
        return self._stack.queue_tool(*arguments).splitlines()


def _receptions(waits: Sequence[int]) -> list[str]:
    return [word for wait in waits for word in ("recv", hex(ANSWER_QUEUE), str(wait))]


@pytest.fixture
def link(stack: Stack) -> Link:
    return Link(stack)


@pytest.fixture
def simulator(stack: Stack) -> CommandedProgram:
    return stack.start_simulator(OBJECTS)


@pytest.fixture
def concurrent_simulator(stack: Stack) -> CommandedProgram:
    return stack.start_simulator(OBJECTS, "--concurrent")


def _logged_frames(stack: Stack) -> list[str]:
    """The log without its time stamps."""
    return [line.split(" ", 1)[1] for line in stack.simulator_log().splitlines()]


def _traffic(stack: Stack) -> list[str]:
    """The bytes of every frame in the order of the log, a request after ">" and its answer after "<"."""
    signs = {"request": "> ", "answer": "< "}
    return [signs[line.split(" ", 1)[0]] + line.split(" : ")[1] for line in _logged_frames(stack)]


def _durations(stack: Stack) -> list[float]:
    """How long each request took, in seconds, from being taken until its answer was sent."""
    times = [float(line.split(" ", 1)[0]) for line in stack.simulator_log().splitlines()]
    return [answered - taken for taken, answered in zip(times[::2], times[1::2], strict=True)]


def _wait_until_taken(simulator: CommandedProgram, requests: int) -> None:
    wait_until(lambda: f"stats reads={requests} " in simulator.command("stats"), f"{requests} reads are taken")


# Requests and answers

@pytest.mark.parametrize(("request_", "answer"), [
    pytest.param(READ_LEVEL, LEVEL_IS_200, id="byte"),
    pytest.param("02 07 03 01 00 00 00 00", "12 07 10 01 03 01 fe ff ff ff", id="signed"),
    pytest.param("02 07 01 01 00 00 00 00", "12 09 10 02 01 01 61 62 63 00 00 00", id="text"),
    pytest.param("02 07 04 01 00 00 00 00", "12 06 00 03 04 01 01 02 03", id="block"),
    pytest.param("02 07 99 01 00 00 00 00", "13 03 00 00 99 01", id="unknown"),
    pytest.param(WRITE_LEVEL_5, LEVEL_ACCEPTED, id="write"),
    pytest.param("01 05 05 01 00 00", "14 05 05 01", id="write of a read-only object"),
    pytest.param("01 05 02 01 00 00", "14 05 02 01", id="write of the wrong length"),
])
def test_a_request_gets_exactly_one_answer(
    simulator: CommandedProgram, link: Link, request_: str, answer: str,
) -> None:
    assert link.exchange(request_) == [answer]


def test_a_written_value_is_read_back(simulator: CommandedProgram, link: Link) -> None:
    link.ask(WRITE_LEVEL_5)
    assert link.ask(READ_LEVEL) == "12 04 10 00 02 01 05"
    assert simulator.command(f"get {LEVEL}") == "value 5"


def test_what_is_no_request_gets_no_answer(simulator: CommandedProgram, link: Link) -> None:
    for frame in ("-", "02 07", "7f" * 100):
        assert link.exchange(frame, answers=0) == []
    assert "malformed=3" in simulator.command("stats")
    assert link.ask(READ_LEVEL) == LEVEL_IS_200


def test_a_request_that_waited_before_the_start_is_answered(stack: Stack, link: Link) -> None:
    link.send(READ_LEVEL)
    stack.start_simulator(OBJECTS)
    assert link.exchange(READ_LEVEL, answers=2) == [LEVEL_IS_200, LEVEL_IS_200]


# Commands

def test_commands_are_answered_line_by_line(simulator: CommandedProgram, link: Link) -> None:
    assert simulator.command("set 0x0102 9") == "ok"
    assert simulator.command("get 0x0102") == "value 9"
    assert simulator.command("set 0x0101 a b") == "ok"
    assert simulator.command("get 0x0101") == "value a b"
    assert link.ask(READ_LEVEL) == "12 04 10 00 02 01 09"


def test_the_counters_show_what_happened(simulator: CommandedProgram, link: Link) -> None:
    link.ask(READ_LEVEL)
    link.ask(WRITE_LEVEL_5)
    link.ask("02 07 99 01 00 00 00 00")
    assert simulator.command("stats") == "stats reads=2 writes=1 answers=3 unknown=1 malformed=0 lost=0"
    assert simulator.command("stats 0x0102") == "stats 0x0102 reads=1 writes=1 answers=2"


def test_answers_that_the_queue_does_not_take_are_counted(simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 size 8192")
    simulator.command("fault 0x0102 duplicate 2")
    link.send(READ_LEVEL)
    wait_until(lambda: simulator.command("stats").endswith("answers=2 unknown=0 malformed=0 lost=1"),
               "one of three answers is lost")


def test_the_end_of_the_commands_does_not_end_it(stack: Stack, link: Link) -> None:
    program = stack.start("simulator", [stack.build.simulator, _object_file(stack)])
    program.wait_for_output("ready\n")
    assert link.exchange(READ_LEVEL) == [LEVEL_IS_200]
    assert program.is_running()


# Faults

@pytest.mark.parametrize(("fault", "answers"), [
    ("silent", []),
    ("error", ["13 03 00 00 02 01"]),
    ("error 0x15", ["15 03 00 00 02 01"]),
    ("length 9", ["12 09 10 00 02 01 c8"]),
    ("wrong-id 0xBEEF", ["12 04 10 00 ef be c8"]),
    ("extra 2", ["12 04 10 00 02 01 c8 a5 a5"]),
    ("truncate 3", ["12 04 10"]),
    ("truncate 0", [""]),
    ("duplicate", [LEVEL_IS_200] * 2),
    ("duplicate 3", [LEVEL_IS_200] * 4),
    ("raw 00ff", ["00 ff"]),
])
def test_a_fault_spoils_the_answers_of_its_object_until_it_is_cleared(
    simulator: CommandedProgram, link: Link, fault: str, answers: list[str],
) -> None:
    assert simulator.command(f"fault 0x0102 {fault}") == "ok"
    assert link.exchange(READ_LEVEL, len(answers)) == answers
    assert link.ask(READ_FIXED) == FIXED_VALUE
    assert simulator.command("clear 0x0102") == "ok"
    assert link.exchange(READ_LEVEL) == [LEVEL_IS_200]


def test_a_fault_for_all_meets_every_object(simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault all error times 2")
    assert link.ask(READ_LEVEL) == "13 03 00 00 02 01"
    assert link.ask("02 07 05 01 00 00 00 00") == "13 03 00 00 05 01"
    assert link.ask(READ_LEVEL) == LEVEL_IS_200


def test_garbage_has_the_size_asked_for(simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 size 8192")
    assert len(bytes.fromhex(link.ask(READ_LEVEL))) == 8192


def test_garbage_is_the_same_in_every_run_with_the_same_seed(stack: Stack, link: Link) -> None:
    seen = []
    for seed in ("1", "1", "2"):
        simulator = stack.start_simulator(OBJECTS, "--seed", seed)
        simulator.command("fault 0x0102 size 16")
        seen.append(link.ask(READ_LEVEL))
        stack.stop_simulator()
    assert seen[0] == seen[1] != seen[2]


def test_faults_of_the_object_file_hold_from_the_start(stack: Stack, link: Link) -> None:
    path = stack.directory / "faulty.yaml"
    path.write_text("faults: [delay 1]\n"
                    "objects:\n"
                    "  - {id: 0x0102, kind: unsigned, width: 1, value: 200, faults: [error times 1]}\n",
                    encoding="ascii")
    stack.start_simulator(path)
    assert link.ask(READ_LEVEL) == "13 03 00 00 02 01"
    assert link.ask(READ_LEVEL) == "12 04 00 00 02 01 c8"


# One request after another

def test_a_delayed_answer_keeps_its_delay(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 delay 400")
    link.ask(READ_LEVEL)
    assert 0.4 <= _durations(stack)[0] < 5


def test_a_request_is_taken_when_the_delayed_answer_before_it_has_been_sent(
    stack: Stack, simulator: CommandedProgram, link: Link,
) -> None:
    simulator.command("fault 0x0102 delay 400")
    assert link.ask_twice(READ_LEVEL, READ_FIXED) == [LEVEL_IS_200, FIXED_VALUE]
    assert _traffic(stack) == [
        f"> {READ_LEVEL}", f"< {LEVEL_IS_200}", f"> {READ_FIXED}", f"< {FIXED_VALUE}"]


@pytest.mark.parametrize("fault", HOLD_UPS)
def test_what_comes_behind_a_held_up_request_waits_in_the_queue(
    simulator: CommandedProgram, link: Link, fault: str,
) -> None:
    simulator.command(f"fault 0x0102 {fault} 600000")
    link.send(READ_LEVEL, READ_FIXED, READ_FIXED)
    _wait_until_taken(simulator, 1)
    assert link.depths() == ["2", "0"]
    assert "reads=1 " in simulator.command("stats")


def test_a_delayed_answer_carries_the_value_of_when_its_request_was_taken(
    simulator: CommandedProgram, link: Link,
) -> None:
    simulator.command("fault 0x0102 delay 1500")
    link.send(READ_LEVEL)
    _wait_until_taken(simulator, 1)
    simulator.command("set 0x0102 7")
    assert link.receive(1) == [LEVEL_IS_200]


def test_an_answer_carries_the_value_of_when_its_request_was_taken_not_sent(
    simulator: CommandedProgram, link: Link,
) -> None:
    simulator.command("fault 0x0105 delay 1500")
    link.send(READ_FIXED, READ_LEVEL)
    _wait_until_taken(simulator, 1)
    simulator.command("set 0x0102 7")
    assert link.receive(2) == [FIXED_VALUE, LEVEL_IS_7]


@pytest.mark.parametrize("fault", HOLD_UPS)
def test_commands_are_answered_while_a_request_is_held_up(
    simulator: CommandedProgram, link: Link, fault: str,
) -> None:
    simulator.command(f"fault all {fault} 600000")
    link.send(READ_LEVEL)
    _wait_until_taken(simulator, 1)
    assert simulator.command("set 0x0102 7") == "ok"
    assert simulator.command("get 0x0102") == "value 7"
    assert simulator.command("fault all silent") == "ok"
    assert simulator.command("clear") == "ok"
    assert simulator.command("stats 0x0102") == "stats 0x0102 reads=1 writes=0 answers=0"
    assert simulator.command("quit") == "ok"
    assert simulator.wait_for_end() == 0


def test_clearing_a_delay_does_not_hurry_the_answer_that_met_it(
    stack: Stack, simulator: CommandedProgram, link: Link,
) -> None:
    simulator.command("fault 0x0102 delay 1000")
    link.send(READ_LEVEL, READ_LEVEL)
    _wait_until_taken(simulator, 1)
    simulator.command("clear")
    link.receive(2)
    first, second = _durations(stack)
    assert first >= 1 > second


# A pause

def test_a_pause_comes_once(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 400")
    assert link.ask_twice(READ_LEVEL, READ_LEVEL) == [LEVEL_IS_200] * 2
    first, second = _durations(stack)
    assert first >= 0.4 > second


def test_a_pause_may_come_several_times(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 400 times 2")
    for _ in range(3):
        link.ask(READ_LEVEL)
    first, second, third = _durations(stack)
    assert min(first, second) >= 0.4 > third


def test_a_pause_waits_for_a_request_of_its_kind(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 400 only writes")
    for request in (READ_LEVEL, WRITE_LEVEL_5):
        link.ask(request)
    read, write = _durations(stack)
    assert write >= 0.4 > read


def test_a_pause_and_a_delay_add_up(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 300")
    simulator.command("fault 0x0102 delay 200")
    assert link.ask_twice(READ_LEVEL, READ_LEVEL) == [LEVEL_IS_200] * 2
    first, second = _durations(stack)
    assert first >= 0.5 > second >= 0.2


def test_a_value_is_read_after_the_pause(simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 1500")
    link.send(READ_LEVEL)
    _wait_until_taken(simulator, 1)
    simulator.command("set 0x0102 7")
    assert link.receive(1) == [LEVEL_IS_7]


def test_a_value_is_written_after_the_pause(simulator: CommandedProgram, link: Link) -> None:
    simulator.command("fault 0x0102 pause 1500")
    link.send(WRITE_LEVEL_5)
    wait_until(lambda: "writes=1" in simulator.command("stats"), "the write is taken")
    assert simulator.command("get 0x0102") == "value 200"
    assert link.receive(1) == [LEVEL_ACCEPTED]
    assert simulator.command("get 0x0102") == "value 5"


# Concurrent

@pytest.mark.parametrize("fault", HOLD_UPS)
def test_a_concurrent_device_lets_others_pass_what_is_held_up(
    concurrent_simulator: CommandedProgram, link: Link, fault: str,
) -> None:
    concurrent_simulator.command(f"fault 0x0102 {fault} 1000")
    assert link.ask_twice(READ_LEVEL, READ_FIXED) == [FIXED_VALUE, LEVEL_IS_200]


def test_a_concurrent_device_answers_a_short_delay_before_a_long_one(
    concurrent_simulator: CommandedProgram, link: Link,
) -> None:
    concurrent_simulator.command("fault 0x0102 delay 1000")
    concurrent_simulator.command("fault 0x0105 delay 50")
    assert link.ask_twice(READ_LEVEL, READ_FIXED) == [FIXED_VALUE, LEVEL_IS_200]


def test_a_concurrent_device_takes_every_request_at_once(
    stack: Stack, concurrent_simulator: CommandedProgram, link: Link,
) -> None:
    concurrent_simulator.command("fault all delay 600000")
    link.send(*[READ_LEVEL] * 5)
    _wait_until_taken(concurrent_simulator, 5)
    assert link.depths() == ["0", "0"]
    assert stack.stop_simulator() == 0
    assert link.depths() == ["0", "0"]


def test_the_object_file_may_make_the_device_concurrent(stack: Stack, link: Link) -> None:
    path = stack.directory / "concurrent.yaml"
    path.write_text("concurrent: true\n"
                    "objects:\n"
                    "  - {id: 0x0102, kind: unsigned, width: 1, writable: true, value: 200, faults: [delay 1000]}\n"
                    "  - {id: 0x0105, kind: unsigned, width: 2, value: 0x1234}\n",
                    encoding="ascii")
    stack.start_simulator(path)
    assert link.ask_twice(READ_LEVEL, READ_FIXED) == [FIXED_VALUE, LEVEL_IS_200]


# The log

def test_every_frame_is_logged_decoded_and_in_hexadecimal(
    stack: Stack, simulator: CommandedProgram, link: Link,
) -> None:
    link.ask(READ_LEVEL)
    link.ask(WRITE_LEVEL_5)
    assert _logged_frames(stack) == [
        f"request read id=0x0102 : {READ_LEVEL}",
        f"answer read command=0x12 length=4 attribute=0x0010 id=0x0102 value=c8 : {LEVEL_IS_200}",
        f"request write id=0x0102 length=4 value=05 : {WRITE_LEVEL_5}",
        f"answer write command=0x11 length=4 id=0x0102 : {LEVEL_ACCEPTED}",
    ]
    assert all(re.match(r"\d+\.\d{6} ", line) for line in stack.simulator_log().splitlines())


def test_the_log_may_go_to_standard_error(stack: Stack, link: Link) -> None:
    program = stack.start("simulator", [stack.build.simulator, _object_file(stack), "--log", "-"])
    program.wait_for_output("ready\n")
    link.ask(READ_LEVEL)
    assert READ_LEVEL in program.errors()
    assert program.output() == "ready\n"


# The queues

def test_queues_that_were_removed_are_made_again(simulator: CommandedProgram, link: Link) -> None:
    link.remove_queues()
    assert link.exchange(READ_LEVEL) == [LEVEL_IS_200]
    link.remove_queues()
    assert link.exchange(READ_LEVEL) == [LEVEL_IS_200]


def test_the_queues_stay_by_default(stack: Stack, simulator: CommandedProgram, link: Link) -> None:
    stack.stop_simulator()
    assert link.depths() == ["0", "0"]


def test_its_own_queues_are_removed_when_told_to(stack: Stack, link: Link) -> None:
    stack.start_simulator(OBJECTS, "--remove-queues")
    assert link.depths() == ["0", "0"]
    stack.stop_simulator()
    assert link.depths() == ["none", "none"]


def test_queues_that_were_there_before_are_never_removed(stack: Stack, link: Link) -> None:
    link.create_queues()
    stack.start_simulator(OBJECTS, "--remove-queues")
    stack.stop_simulator()
    assert link.depths() == ["0", "0"]


def test_without_queues_it_does_not_start(stack: Stack) -> None:
    stack.world.check("sysctl", "-q", "-w", "kernel.msgmni=0")
    done = stack.world.run([stack.build.simulator, _object_file(stack)])
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr == "error: message queues: No space left on device\n"


# The end

@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_ends_it_with_status_0(stack: Stack, simulator: CommandedProgram, number: signal.Signals) -> None:
    stack.signal_simulator(number)
    assert simulator.wait_for_end() == 0


@pytest.mark.parametrize("fault", HOLD_UPS)
@pytest.mark.parametrize("end", [Stack.stop_simulator, Stack.kill_simulator], ids=["stopped", "killed"])
def test_its_end_loses_the_one_request_that_is_held_up(
    stack: Stack, simulator: CommandedProgram, link: Link, fault: str, end: Callable[[Stack], int],
) -> None:
    simulator.command(f"fault 0x0102 {fault} 600000")
    link.send(READ_LEVEL, READ_FIXED, READ_FIXED)
    _wait_until_taken(simulator, 1)
    assert end(stack) == (0 if end is Stack.stop_simulator else -signal.SIGKILL)
    assert link.depths() == ["2", "0"]
    stack.start_simulator(OBJECTS)
    assert link.receive(2) == [FIXED_VALUE] * 2


def test_quit_ends_it_with_status_0(simulator: CommandedProgram) -> None:
    assert simulator.command("quit") == "ok"
    assert simulator.wait_for_end() == 0


def test_a_wrong_command_ends_a_strict_one_with_line_reason_and_status_2(simulator: CommandedProgram) -> None:
    assert simulator.command("get 0x0102") == "value 200"
    assert simulator.command("set 0x0102 256") == \
        'error: line 2: value "256" is not a number from 0 to 255'
    assert simulator.wait_for_end() == 2


@pytest.mark.parametrize(("content", "error"), [
    ("objects:\n  - {id: 1, kind: text}\n",
     '2:19: kind "text" is not one of unsigned, signed, string, other'),
    ("objects: [}\n", "1:11: illegal flow end"),
])
def test_a_wrong_file_is_refused_with_line_reason_and_status_2(stack: Stack, content: str, error: str) -> None:
    path = stack.directory / "wrong.yaml"
    path.write_text(content, encoding="ascii")
    done = stack.world.run([stack.build.simulator, path])
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == f"error: {path}:{error}\n"


def test_a_missing_file_is_refused_with_status_2(stack: Stack) -> None:
    done = stack.world.run([stack.build.simulator, "/nowhere/objects.yaml"])
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "error: /nowhere/objects.yaml: cannot be read: No such file or directory\n"


def test_a_log_that_cannot_be_written_is_refused_with_status_2(stack: Stack) -> None:
    done = stack.world.run([stack.build.simulator, _object_file(stack), "--log", "/nowhere/log"])
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr == "error: /nowhere/log: cannot be written: No such file or directory\n"


@pytest.mark.parametrize("arguments", [[], ["--nonsense", "file"], ["one", "two"], ["file", "--seed", "x"]])
def test_a_wrong_command_line_is_refused_with_status_2(stack: Stack, arguments: list[str]) -> None:
    done = stack.world.run([stack.build.simulator, *arguments])
    assert (done.returncode, done.stdout) == (2, "")
    assert "--help" in done.stderr


def test_it_explains_itself(stack: Stack) -> None:
    done = stack.world.run([stack.build.simulator, "--help"])
    assert done.returncode == 0
    for word in ("--concurrent", "--log", "--remove-queues", "--seed", "--strict", "fault ID|all", "pause MS"):
        assert word in done.stdout


# At a terminal

@pytest.fixture
def attended(stack: Stack) -> CommandedProgram:
    """A device as one starts it at a terminal."""
    return _attended(stack, "--mapping", SAMPLE)


def _attended(stack: Stack, *arguments: str | Path) -> CommandedProgram:
    program = stack.start_commanded("simulator", [stack.build.simulator, *arguments])
    assert program.read_line() == "ready"
    return program


def _lines_until_ok(program: CommandedProgram, command: str) -> list[str]:
    lines = [program.command(command)]
    while lines[-1] != "ok":
        lines.append(program.read_line())
    return lines[:-1]


def test_a_typing_error_does_not_end_it(attended: CommandedProgram) -> None:
    assert attended.command("gte supplyVoltage") == \
        'error: line 1: unknown command "gte" (did you mean "get"?); help lists them'
    assert attended.command("get suplyVoltage") == \
        'error: line 2: no object "suplyVoltage" (did you mean "supplyVoltage"?)'
    assert attended.command("get supplyVoltage") == "value 482"


def test_objects_go_by_their_names(attended: CommandedProgram, link: Link) -> None:
    assert attended.command("set supplyVoltage 48.3") == "ok"
    assert link.ask("02 07 21 01 00 00 00 00") == "12 05 00 00 21 01 e3 01"
    assert attended.command("fault supplyVoltage wrong-id shelfType") == "ok"
    assert link.ask("02 07 21 01 00 00 00 00") == "12 05 00 00 10 01 e3 01"
    assert attended.command("stats supplyVoltage") == "stats 0x0121 reads=2 writes=0 answers=2"
    assert attended.command("clear supplyVoltage") == "ok"
    assert link.ask("02 07 21 01 00 00 00 00") == "12 05 00 00 21 01 e3 01"


def test_the_list_shows_every_object(attended: CommandedProgram) -> None:
    shown = [line.split(maxsplit=2) for line in _lines_until_ok(attended, "list")]
    assert len(shown) == 93
    assert ["0x0121", "supplyVoltage", "482 (48.2)"] in shown
    assert ["0x0113", "shelfLocation", "Room 4, rack 12"] in shown


def test_the_help_has_a_line_for_each_command(attended: CommandedProgram) -> None:
    lines = _lines_until_ok(attended, "help")
    for command in ("set", "get", "list", "fault", "clear", "stats", "help", "quit"):
        assert [line for line in lines if re.match(rf"{command}\b.*  +\w+", line)], command
    assert max(map(len, lines)) <= 80


# The only one on its queues

def _refusal(stack: Stack, *through: str) -> tuple[int, str]:
    done = stack.world.run([*through, stack.build.simulator, _object_file(stack)])
    return done.returncode, done.stderr


def test_a_second_one_on_the_same_queues_is_refused(stack: Stack, simulator: CommandedProgram) -> None:
    status, message = _refusal(stack)
    assert status == 1
    assert re.fullmatch(r"error: tarnoDeviceSim \(process \d+\) serves the queues already; a second device needs an "
                        r"IPC namespace of its own \(unshare --ipc\)\n", message)
    process = int(re.findall(r"process (\d+)", message)[0])
    assert stack.world.check("ps", "-o", "comm=", "-p", str(process)) == "tarnoDeviceSim\n"


def test_a_second_one_that_does_not_see_the_first_is_refused_too(stack: Stack, simulator: CommandedProgram) -> None:
    status, message = _refusal(stack, "unshare", "--pid", "--fork")
    assert (status, message.split(" serves ")[0]) == (1, "error: another tarnoDeviceSim")


def test_a_second_one_starts_in_a_namespace_of_its_own(stack: Stack, simulator: CommandedProgram) -> None:
    assert stack.world.run(["unshare", "--ipc", "sh", "-c", 'echo quit | "$0" "$1"', stack.build.simulator,
                            _object_file(stack)]).stdout == "ready\nok\n"


@pytest.mark.parametrize("end", [Stack.stop_simulator, Stack.kill_simulator], ids=["stopped", "killed"])
def test_after_its_end_another_one_starts(
    stack: Stack, simulator: CommandedProgram, end: Callable[[Stack], int],
) -> None:
    end(stack)
    stack.start_simulator(OBJECTS)


def test_it_leaves_no_semaphore_behind(stack: Stack, simulator: CommandedProgram) -> None:
    assert "0x" in stack.world.check("ipcs", "-s")
    stack.stop_simulator()
    assert "0x" not in stack.world.check("ipcs", "-s")


def test_without_semaphores_it_does_not_start(stack: Stack) -> None:
    stack.world.check("sysctl", "-q", "-w", "kernel.sem=250 32000 32 0")
    assert _refusal(stack) == (1, "error: semaphore: No space left on device\n")


# A mapping

@pytest.mark.parametrize("content", ["", "scalars: []\n"], ids=["no content", "no objects"])
def test_a_mapping_without_objects_is_refused(stack: Stack, content: str) -> None:
    path = stack.directory / "empty.yaml"
    path.write_text(content, encoding="ascii")
    done = stack.world.run([stack.build.simulator, "--mapping", path])
    assert (done.returncode, done.stdout, done.stderr) == (2, "", f"error: {path}: the mapping has no objects\n")


def test_a_mapping_without_a_name_is_refused(stack: Stack) -> None:
    done = stack.world.run([stack.build.simulator, "--mapping", ""])
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith("--mapping: the name of the file is empty\n")


def test_a_mapping_in_place_of_an_object_file_is_recognised(stack: Stack, build: Build) -> None:
    database = stack.directory / "sample.db"
    MappingTool(build).check("build", SAMPLE, "-o", database)
    for path, place in ((SAMPLE, ":8:1"), (database, "")):
        done = stack.world.run([stack.build.simulator, path])
        assert (done.returncode, done.stdout) == (2, "")
        assert done.stderr == f"error: {path}{place}: this is a mapping: use --mapping\n"


# The page

def _blocks(language: str) -> list[str]:
    page = (_ROOT / "docs" / "device-simulator.md").read_text(encoding="utf-8")
    blocks = re.findall(r"^```(\w*)\n(.*?)^```$", page, re.DOTALL | re.MULTILINE)
    return [content for each, content in blocks if each == language]


def test_the_command_of_the_page_starts_a_device(stack: Stack) -> None:
    command, = _blocks("sh")
    path = f"{stack.build.simulator.parent}:{os.environ['PATH']}"
    program = stack.start("page", ["sh", "-c", f"cd {_ROOT} && exec {command}"], {"PATH": path})
    program.wait_for_output("ready\n")


def test_the_object_file_of_the_page_is_taken(stack: Stack) -> None:
    content, = _blocks("yaml")
    path = stack.directory / "page.yaml"
    path.write_text(content, encoding="utf-8")
    assert len(_lines_until_ok(_attended(stack, path), "list")) == content.count("id: ")


def test_the_commands_of_the_page_are_answered_as_it_shows(stack: Stack, attended: CommandedProgram) -> None:
    shown = _blocks("")[0].splitlines()
    commands = [line for line in shown if not re.match("ok$|value |error: ", line)]
    seen = [line for command in commands for line in (command, attended.command(command))]
    assert len(commands) > 4
    assert seen == shown


def _object_file(stack: Stack) -> Path:
    path = stack.directory / "level.yaml"
    path.write_text("objects: [{id: 0x0102, kind: unsigned, width: 1, value: 200, writable: true}]\n",
                    encoding="ascii")
    return path

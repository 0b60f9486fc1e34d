"""The table of faults in docs/operations.md, one test for each row: what a manager sees, for how long, what the agent
prints, and how everything recovers. See support/fault_matrix.py."""
from __future__ import annotations

import os
import resource
import signal
import sqlite3
import time
from collections.abc import Callable, Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path

import pytest

from support.device import ANSWER_QUEUE, BASE_OBJECT, REQUEST_QUEUE
from support.fault_matrix import (
    CELL, DOCUMENT, DONE, DONE_BUT_REFUSED, FAULTS, GEN_ERR, ITS_VALUE, MAPPING, NO_ANSWER,
    NO_INSTANCE, NO_OBJECT, OTHER_CELL, OTHER_SCALAR, SCALAR, TARGETS, VALUES, Incident, Target, rows_of,
)
from support.mapping import truncated_database
from support.observing import all_frames, read_frame, write_frame
from support.stack import AGENTX_SOCKET, Stack
from support.waiting import wait_until

#: How long the agent waits for a device that is alive, and for one that has been silent. The bounds leave plenty of
#: room: everything takes long on a busy machine.
PATIENCE = 3.0
WAITED = PATIENCE + 5
SOON = 5.0
#: The library looks for a lost master every 15 seconds; a ping detects a stopped one.
RECONNECTED = 45.0
RESTARTED = 20.0

#: Runs the agent as a user who may do nothing beyond what the permissions allow.
WITHOUT_PRIVILEGES = ("setpriv", "--bounding-set=-all", "--inh-caps=-all", "--no-new-privs")

#: A table has one record for all its reads, and only a device that does not answer at all clears it.
LAST_READ = "what its table read last, by design"

BY_ITSELF = "by itself, with the next good answer"
GOES_ON = "by itself, when the device goes on"

IncidentOf = Callable[[str], Incident]


@pytest.fixture
def incident_of(stack: Stack) -> IncidentOf:
    """Creates an incident in a world where nothing is started yet."""
    return lambda fault: Incident(stack, fault)


@pytest.fixture
def served_incident_of(stack: Stack) -> IncidentOf:
    """Creates an incident in a system that has served everything until now."""
    def make(fault: str) -> Incident:
        incident = Incident(stack, fault)
        incident.serve()
        return incident

    return make


@pytest.fixture
def background() -> Iterator[ThreadPoolExecutor]:
    with ThreadPoolExecutor(max_workers=1) as executor:
        yield executor


def raw(answered_id: int, value: int, size: int = 0) -> str:
    """A correct answer to a read of a 4-byte number, padded to a size."""
    frame = b"\x12\x07\x10\x00" + answered_id.to_bytes(2, "little") + value.to_bytes(4, "little")
    return (frame + bytes(max(size - len(frame), 0))).hex()


SCALAR_READ = read_frame(int(SCALAR.obj_id))
BASE_READ = read_frame(BASE_OBJECT)
#: Longer than the agent waits: the answers to this request and those queued after it come late.
PAUSE = "pause 3400"
PAUSE_FOR_EVER = "pause 60000"
#: Not an object of the device.
UNKNOWN_ID = 0x7777
#: A failed read of 3 s, plus whatever the device was busy with before.
SERVED_UNDER_ANOTHER_ID = 10.0


def in_the_middle_of(
    stack: Stack, request: str, submit: Callable[..., "Future[None]"], action: Callable[..., None], *arguments: object,
) -> "Future[None]":
    """Makes a manager do something, and waits until the device has taken the request that it causes."""
    before = count_requests(stack, request)
    seen = submit(action, *arguments)
    wait_until(lambda: count_requests(stack, request) > before, f"the device gets {request}")
    return seen


def count_requests(stack: Stack, request: str) -> int:
    return all_frames(stack).count(f"> {request}")


# The device


def test_objects_appear_when_the_device_is_started_after_the_agent(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("device not there at the start")
    stack.start_master()
    incident.start_agent()
    incident.begin(with_its_start=True)
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks for the base OID")
    for target in (SCALAR, CELL):
        incident.get(target, NO_OBJECT, within=SOON)
    incident.recover("by itself, when the device is started", RESTARTED, incident.start_device)


def test_a_start_whose_request_died_with_the_device_goes_on_with_the_next_one(
    incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = incident_of("device took the start's first request and died")
    stack.start_master()
    incident.start_device()
    incident.tell(f"fault all {PAUSE_FOR_EVER}")
    incident.start_agent()
    incident.begin(with_its_start=True)
    wait_until(lambda: count_requests(stack, BASE_READ) == 1, "the device takes the first request")
    stack.kill_simulator()
    for target in (SCALAR, CELL):
        incident.get(target, NO_OBJECT, within=SOON)
    incident.recover(
        "by itself, when the device is started again: the agent asks again every 3 s while no request waits",
        RESTARTED, incident.start_device)


def test_a_stopped_device_makes_no_instance_until_it_goes_on(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("device stopped (SIGSTOP)")
    stack.signal_simulator(signal.SIGSTOP)
    incident.get(SCALAR, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get(OTHER_SCALAR, NO_INSTANCE, SOON, when=", then")
    incident.get(CELL, NO_INSTANCE, SOON)
    incident.set(SCALAR, 5, "badValue", SOON)
    incident.recover(GOES_ON, SOON, lambda: stack.signal_simulator(signal.SIGCONT))


def test_a_read_that_died_with_its_device_is_no_instance(
    served_incident_of: IncidentOf, stack: Stack, background: ThreadPoolExecutor,
) -> None:
    incident = served_incident_of("device killed in the middle of a read")
    incident.tell(f"fault {SCALAR.obj_id:#x} delay 60000")
    seen = in_the_middle_of(stack, SCALAR_READ, background.submit, incident.get, SCALAR, NO_INSTANCE, WAITED, PATIENCE)
    stack.kill_simulator()
    seen.result()
    incident.get(OTHER_SCALAR, NO_INSTANCE, SOON, when=", then")
    incident.recover("by itself, when the device is started again", RESTARTED, incident.start_device)


def test_a_read_that_died_with_its_device_fails_no_other(
    served_incident_of: IncidentOf, stack: Stack, background: ThreadPoolExecutor,
) -> None:
    incident = served_incident_of("device killed in the middle of a read, started again at once")
    incident.tell(f"fault {SCALAR.obj_id:#x} {PAUSE_FOR_EVER}")
    seen = in_the_middle_of(stack, SCALAR_READ, background.submit, incident.get, SCALAR, NO_INSTANCE, WAITED, PATIENCE)
    stack.kill_simulator()
    incident.start_device()
    seen.result()
    incident.get_soon(SCALAR, SOON, when=", then")
    incident.get_soon(OTHER_SCALAR, SOON, when=", then")
    incident.recover(BY_ITSELF, SOON)


def test_a_write_that_its_device_got_before_it_died_is_not_repeated(
    served_incident_of: IncidentOf, stack: Stack, background: ThreadPoolExecutor,
) -> None:
    incident = served_incident_of("device killed in the middle of a write")
    incident.tell(f"fault {SCALAR.obj_id:#x} delay 60000 only writes")
    write = write_frame(int(SCALAR.obj_id), (5).to_bytes(4, "little"))
    seen = in_the_middle_of(stack, write, background.submit, incident.set, SCALAR, 5, DONE, WAITED, PATIENCE)
    stack.kill_simulator()
    seen.result()
    incident.get(OTHER_SCALAR, NO_INSTANCE, SOON, when=", then")
    incident.recover("by itself, when the device is started again", RESTARTED, incident.start_device)


def test_a_restarted_device_is_served_at_once(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("device restarted")
    stack.stop_simulator()
    incident.start_device()
    incident.get(SCALAR, ITS_VALUE, SOON)
    incident.get(CELL, ITS_VALUE, SOON)
    incident.set(SCALAR, 5, DONE, SOON)
    incident.recover("nothing to recover from", SOON)


def test_a_silent_device_makes_no_instance_and_is_waited_for_once(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device silent")
    incident.tell("fault all silent")
    incident.get(SCALAR, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get(OTHER_SCALAR, NO_INSTANCE, SOON, when=", then")
    incident.get(CELL, NO_INSTANCE, SOON)
    incident.set(SCALAR, 5, "badValue", SOON)
    incident.recover("by itself, with the first message of the device", SOON, lambda: incident.tell("clear"))


# Reading and writing late. The master gives a subagent a second and then repeats its request: the agent reads again,
# but does not write again.
LATE = {"0.1": ITS_VALUE, "1": ITS_VALUE, "1.5": ITS_VALUE, "2.9": ITS_VALUE, "3.1": NO_INSTANCE, "8": NO_INSTANCE}


@pytest.mark.parametrize("seconds, seen", LATE.items(), ids=LATE.keys())
def test_an_answer_is_waited_for_three_seconds_and_never_taken_later(
    served_incident_of: IncidentOf, seconds: str, seen: str,
) -> None:
    incident = served_incident_of(f"device late once by {seconds} s")
    late = float(seconds)
    shortest, bound = min(late, PATIENCE), min(late, PATIENCE) + SOON
    # The device answers nothing else until its late answer has been sent.
    bound_of_next = max(late - PATIENCE, 0) + SOON
    fault = f"delay {late * 1000:.0f} times 1"
    for target in (SCALAR, CELL):
        incident.tell(f"fault {target.obj_id:#x} {fault}")
        incident.get(target, seen, bound, at_least=shortest)
        # What arrives now may be the late answer, which does not belong to this request.
        incident.get_soon(OTHER_SCALAR, bound_of_next, when=", then")
    incident.wait_for_answers()
    incident.tell(f"fault {SCALAR.obj_id:#x} {fault} only writes")
    incident.set(SCALAR, 5, DONE, bound, at_least=shortest)
    incident.get_soon(OTHER_SCALAR, bound_of_next, when=", then")
    incident.wait_for_answers()
    incident.recover(BY_ITSELF, SOON)


def test_a_device_that_is_always_too_late_for_the_master_loses_it(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device late by 2.9 s every time")
    incident.tell("fault all delay 2900")
    # Each repetition by the master is a request of its own, and takes as long.
    incident.get(SCALAR, ITS_VALUE, PATIENCE + SOON, at_least=2.9)
    incident.get(OTHER_SCALAR, GEN_ERR, 6 + SOON, at_least=5.5, when=", then")
    incident.get(CELL, NO_OBJECT, SOON, when=", then")
    incident.recover(
        "by itself, when the device is quick again and the library has connected again", RECONNECTED,
        lambda: incident.tell("clear"))


def test_a_device_with_a_backlog_is_served_as_soon_as_it_is_heard(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device pauses once for 3.4 s and then needs 15 ms for each answer")
    incident.tell("fault all delay 15")
    pause_in(incident, SCALAR)
    incident.get_soon(SCALAR, SOON, when=", then")
    incident.recover(BY_ITSELF, SOON)


def test_a_device_that_pauses_again_is_served_again(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device pauses twice for 3.4 s and needs 15 ms for each answer")
    incident.tell("fault all delay 15")
    for target in (SCALAR, CELL):
        pause_in(incident, target)
    incident.recover(BY_ITSELF, SOON)


def pause_in(incident: Incident, target: Target) -> None:
    """The device pauses with a request for this object. By then further requests are queued."""
    incident.tell(f"fault {target.obj_id:#x} {PAUSE}")
    incident.get(target, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get_soon(OTHER_SCALAR, SOON, when=", then")


def test_answers_that_come_twice_are_taken_once(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device answers twice")
    incident.tell("fault all duplicate")
    for target in TARGETS:
        incident.get(target, ITS_VALUE, SOON)
    # A set is several exchanges in a row, too quick for a duplicate answer to arrive between them.
    incident.tell("clear")
    incident.tell("fault all duplicate only writes")
    incident.set(SCALAR, 5, DONE, SOON)
    incident.get(OTHER_SCALAR, ITS_VALUE, SOON, when=", then")
    incident.recover("nothing to recover from", SOON, lambda: incident.tell("clear"))


def test_a_refused_read_of_a_scalar_is_no_instance(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device refuses a read of a scalar")
    incident.tell(f"fault {SCALAR.obj_id:#x} error")
    incident.get(SCALAR, NO_INSTANCE, SOON)
    incident.get(OTHER_SCALAR, ITS_VALUE, SOON)
    incident.set(SCALAR, 5, "badValue", SOON)
    incident.recover(BY_ITSELF, SOON, lambda: incident.tell("clear"))


def test_a_refused_read_of_a_cell_shows_what_its_table_read_last(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device refuses a read of a table cell")
    incident.get(OTHER_CELL, ITS_VALUE, SOON, when=" before")
    incident.tell(f"fault {CELL.obj_id:#x} error")
    incident.get(CELL, LAST_READ, SOON, shown=VALUES[OTHER_CELL])
    incident.get(OTHER_CELL, ITS_VALUE, SOON)
    incident.recover(BY_ITSELF, SOON, lambda: incident.tell("clear"))


def test_a_refused_write_is_done_for_the_manager(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device refuses a write")
    incident.tell("fault all error only writes")
    incident.set(SCALAR, 5, DONE_BUT_REFUSED, SOON)
    incident.get(SCALAR, ITS_VALUE, SOON, when=", then")
    incident.set(CELL, 5, DONE_BUT_REFUSED, SOON)
    incident.get(CELL, ITS_VALUE, SOON, when=", then")
    incident.recover("nothing to recover from", SOON, lambda: incident.tell("clear"))


def test_an_answer_with_another_id_counts_while_every_request_has_its_answer(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device answers with another id, every earlier request answered")
    value = 9999
    incident.tell(f"fault {SCALAR.obj_id:#x} raw {raw(int(OTHER_SCALAR.obj_id), value)}")
    incident.get(SCALAR, "the value in that answer, by design", SOON, shown=value)
    incident.get(OTHER_SCALAR, ITS_VALUE, SOON)
    incident.recover(BY_ITSELF, SOON, lambda: incident.tell("clear"))


def test_an_answer_with_another_id_is_dropped_while_a_request_is_unanswered(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device answers with another id, an earlier request unanswered")
    incident.tell(f"fault {CELL.obj_id:#x} silent")
    incident.get(CELL, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.tell(f"fault {SCALAR.obj_id:#x} wrong-id {OTHER_SCALAR.obj_id:#x}")
    incident.get(SCALAR, NO_INSTANCE, WAITED)
    incident.get_soon(SCALAR, SERVED_UNDER_ANOTHER_ID, when=", then")
    incident.recover(BY_ITSELF, SOON, lambda: incident.tell("clear"))


def test_a_device_that_answers_under_another_id_is_served_again_after_a_pause(served_incident_of: IncidentOf) -> None:
    incident = served_incident_of("device answers everything under another id, and pauses once for 3.4 s")
    incident.tell(f"fault all wrong-id {UNKNOWN_ID:#x}")
    for target in TARGETS:
        incident.get(target, ITS_VALUE, SOON, when=" before")
    incident.tell(f"fault {SCALAR.obj_id:#x} {PAUSE}")
    incident.get(SCALAR, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get_soon(OTHER_SCALAR, SERVED_UNDER_ANOTHER_ID, when=", then")
    incident.recover(BY_ITSELF, SOON)


def test_a_start_ends_with_a_device_that_answers_under_another_id(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("device answers everything under another id, at the start of the agent")
    stack.start_master()
    incident.start_device()
    incident.tell(f"fault all wrong-id {UNKNOWN_ID:#x}")
    incident.start_agent()
    incident.begin(with_its_start=True)
    for target in (SCALAR, CELL):
        incident.get(target, NO_OBJECT, within=SOON)
    incident.recover("by itself: the agent asks once more after 3 s", RESTARTED)


def test_garbage_of_any_length_is_no_instance(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("device answers with garbage of every length from 0 to 4100 bytes")
    questioner = stack.start_questioner(SCALAR.oid)
    longest_taken, longest = 1024, 4100
    seen: dict[str, int] = {}
    start = time.monotonic()
    for size in range(longest + 1):
        incident.tell(f"fault all size {size}")
        answer = questioner.command("ask")
        seen[answer] = seen.get(answer, 0) + 1
        if size > longest_taken:
            assert (size, questioner.command("empty")) == (size, "1")
    seconds = time.monotonic() - start
    assert sum(seen.values()) == longest + 1
    # Occasionally random bytes form a valid answer.
    assert seen.pop("value") < 100
    assert set(seen) == {NO_INSTANCE}
    incident.note(
        f"scalar: {NO_INSTANCE}, or the value where the bytes form a good answer (all {longest + 1} of them, those "
        f"over {longest_taken} bytes removed one by one)", seconds, 120)
    incident.recover(BY_ITSELF, SOON, lambda: incident.tell("clear"))


# The queues


def test_a_message_that_stops_the_draining_is_taken_for_the_next_answer(
    served_incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = served_incident_of("message of 101 to 1024 bytes waits on the answer queue")
    value = 9999
    for size in (101, 1024):
        stack.send_answer(raw(int(OTHER_SCALAR.obj_id), value, size))
        incident.get(SCALAR, f"what the message says, once, by design ({size} bytes)", SOON, shown=value)
        incident.get(SCALAR, ITS_VALUE, SOON, when=", then")
    incident.recover("by itself: the message has gone with the exchange that it spoiled", SOON)


def test_a_message_too_long_to_be_taken_fails_every_exchange_until_it_is_removed(
    served_incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = served_incident_of("message over 1024 bytes waits on the answer queue")
    incident.get(OTHER_CELL, ITS_VALUE, SOON, when=" before")
    stack.send_answer("ff" * 1025)
    for target in (SCALAR, OTHER_SCALAR):
        incident.get(target, NO_INSTANCE, SOON)
    incident.get(CELL, LAST_READ, SOON, shown=VALUES[OTHER_CELL])
    incident.set(SCALAR, 5, "badValue", SOON)
    incident.recover(
        f"the operator removes the answer queue, by design: `ipcrm -Q {ANSWER_QUEUE:#x}`", SOON,
        lambda: remove_as_operator(stack, ANSWER_QUEUE))


def test_a_full_request_queue_makes_no_instance_until_there_is_room(
    served_incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = served_incident_of("request queue full")
    stack.signal_simulator(signal.SIGSTOP)
    message = "ff" * 8192
    stack.queue_tool("send", hex(REQUEST_QUEUE), message, "send", hex(REQUEST_QUEUE), message)
    incident.get(SCALAR, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get(OTHER_SCALAR, NO_INSTANCE, SOON, when=", then")
    incident.get(CELL, NO_INSTANCE, SOON)
    incident.recover(
        "by itself, when the device takes the requests off", SOON, lambda: stack.signal_simulator(signal.SIGCONT))


def test_an_answer_queue_full_of_old_answers_is_emptied(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("answer queue full of old answers")
    old = raw(int(OTHER_SCALAR.obj_id), 9999, 100)
    stack.queue_tool(*("send", hex(ANSWER_QUEUE), old) * 163)
    incident.get(SCALAR, ITS_VALUE, SOON)
    incident.get(CELL, ITS_VALUE, SOON)
    incident.recover("nothing to recover from", SOON)


def test_queues_removed_between_requests_are_made_again(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("queues removed between two requests")
    remove_queues(stack)
    incident.get(SCALAR, ITS_VALUE, SOON)
    incident.get(CELL, ITS_VALUE, SOON)
    incident.recover("nothing to recover from: each exchange finds the queues or makes them", SOON)


def test_queues_removed_under_a_request_fail_it(
    served_incident_of: IncidentOf, stack: Stack, background: ThreadPoolExecutor,
) -> None:
    incident = served_incident_of("queues removed in the middle of an exchange")
    incident.tell(f"fault {SCALAR.obj_id:#x} silent times 1")
    seen = in_the_middle_of(stack, SCALAR_READ, background.submit, incident.get, SCALAR, NO_INSTANCE, SOON)
    remove_queues(stack)
    seen.result()
    incident.recover("by itself, with the next request: the queues are made again", SOON)


def remove_queues(stack: Stack) -> None:
    assert stack.queue_tool("remove", hex(REQUEST_QUEUE), "remove", hex(ANSWER_QUEUE)) == "ok\nok\n"


def close_queue(stack: Stack, key: int) -> None:
    """Replaces a queue by one that only root may use. The device is stopped, since it would recreate the queue first.
    """
    stack.signal_simulator(signal.SIGSTOP)
    stack.queue_tool("remove", hex(key), "make", hex(key), "0")
    stack.signal_simulator(signal.SIGCONT)


def remove_as_operator(stack: Stack, key: int) -> None:
    stack.world.check("ipcrm", "-Q", hex(key))


def test_a_request_queue_without_permission_makes_no_instance(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("request queue without permission for the agent")
    incident.serve(WITHOUT_PRIVILEGES)
    close_queue(stack, REQUEST_QUEUE)
    incident.get(SCALAR, NO_INSTANCE, WAITED, at_least=PATIENCE)
    incident.get(CELL, NO_INSTANCE, SOON, when=", then")
    incident.recover(
        f"the operator removes the queue: `ipcrm -Q {REQUEST_QUEUE:#x}`", SOON,
        lambda: remove_as_operator(stack, REQUEST_QUEUE))


def test_an_answer_queue_without_permission_makes_no_instance(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("answer queue without permission for the agent")
    incident.serve(WITHOUT_PRIVILEGES)
    incident.get(OTHER_CELL, ITS_VALUE, SOON, when=" before")
    close_queue(stack, ANSWER_QUEUE)
    incident.get(SCALAR, NO_INSTANCE, SOON)
    incident.get(CELL, LAST_READ, SOON, shown=VALUES[OTHER_CELL])
    incident.recover(
        f"the operator removes the queue: `ipcrm -Q {ANSWER_QUEUE:#x}`", SOON,
        lambda: remove_as_operator(stack, ANSWER_QUEUE))


# The master agent


def test_objects_appear_when_the_master_is_started_after_the_agent(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("master not there at the start")
    incident.start_device()
    agent = incident.start_agent()
    incident.begin(with_its_start=True)
    agent.wait_for_output("init_snmp end....\n")
    incident.get(SCALAR, NO_ANSWER, within=None)
    incident.recover("by itself: the library connects again every 15 s", RECONNECTED, stack.start_master)


def test_a_master_that_stood_still_for_a_moment_goes_on(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("master stopped (SIGSTOP), going on soon")
    stack.signal_master(signal.SIGSTOP)
    incident.get(SCALAR, NO_ANSWER, within=None)
    incident.recover("by itself, when the master goes on", RESTARTED, lambda: stack.signal_master(signal.SIGCONT))


def test_a_master_that_stood_still_too_long_is_found_again(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("master stopped (SIGSTOP) until the agent gives it up")
    stack.signal_master(signal.SIGSTOP)
    assert stack.agent
    agent = stack.agent
    wait_until(lambda: "failed to respond to ping" in agent.errors(), "the agent gives the master up", RECONNECTED)
    incident.get(SCALAR, NO_ANSWER, within=None)
    incident.recover(
        "by itself, when the master goes on: the agent has asked for a new session by then", RECONNECTED,
        lambda: stack.signal_master(signal.SIGCONT))


@pytest.mark.parametrize(
    "fault, number", [("master killed, started again", signal.SIGKILL),
                      ("master restarted in good order", signal.SIGTERM)], ids=["killed", "restarted"])
def test_a_master_that_ended_is_found_again(
    served_incident_of: IncidentOf, stack: Stack, fault: str, number: signal.Signals,
) -> None:
    incident = served_incident_of(fault)
    end_master(stack, number)
    incident.get(SCALAR, NO_ANSWER, within=None)
    incident.recover("by itself: the library connects again every 15 s", RECONNECTED, stack.start_master)


def end_master(stack: Stack, number: signal.Signals) -> None:
    assert stack.master
    stack.master.signal(number)
    stack.master.wait_for_end()


def remove_socket(stack: Stack) -> None:
    stack.world.check("rm", AGENTX_SOCKET.removeprefix("unix:"))


def test_a_connection_outlives_its_socket(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("AgentX socket removed")
    remove_socket(stack)
    incident.get(SCALAR, ITS_VALUE, SOON)
    incident.get(CELL, ITS_VALUE, SOON)
    incident.recover("nothing to recover from, as long as nobody has to connect", SOON)


def test_without_the_socket_a_restarted_agent_has_no_master(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("AgentX socket removed, agent restarted")
    remove_socket(stack)
    stack.stop_agent()
    agent = incident.start_agent()
    incident.begin(with_its_start=True)
    agent.wait_for_output("init_snmp end....\n")
    incident.get(SCALAR, NO_OBJECT, SOON)
    incident.get(CELL, NO_OBJECT, SOON)

    def restart_master() -> None:
        end_master(stack, signal.SIGTERM)
        stack.start_master()

    incident.recover("the operator restarts the master", RECONNECTED, restart_master)


# The mapping


def directory_in_place_of(path: Path) -> None:
    path.mkdir()


def for_nobody(path: Path) -> None:
    MAPPING.write(path).chmod(0)


#: What is wrong with the file at a path, and the command that starts the agent.
MAPPINGS: dict[str, tuple[Callable[[Path], object], tuple[str, ...]]] = {
    "mapping missing": (lambda path: None, ()),
    "mapping is a directory": (directory_in_place_of, ()),
    "mapping without permission for the agent": (for_nobody, WITHOUT_PRIVILEGES),
    "mapping empty": (lambda path: path.write_bytes(b""), ()),
    "mapping cut off in its header": (lambda path: truncated_database(path, MAPPING, lambda size: 60), ()),
    "mapping cut off in the middle": (lambda path: truncated_database(path, MAPPING), ()),
}
PUT_RIGHT = "the operator puts the mapping right and restarts the agent"


def start_with_mapping(incident: Incident, path: Path, through: tuple[str, ...] = ()) -> None:
    """Starts device and master, then the agent on a mapping of which nothing is served."""
    incident.start_device()
    incident.stack.start_master()
    agent = incident.start_agent(path, through)
    incident.begin(with_its_start=True)
    agent.wait_for_output("init_snmp end....\n")
    wait_until(lambda: "AgentX subagent connected" in agent.errors(), "the agent has found its master")
    incident.get(SCALAR, NO_OBJECT, SOON)
    incident.get(CELL, NO_OBJECT, SOON)


def restart_on(incident: Incident, path: Path) -> Callable[[], None]:
    def restart() -> None:
        incident.stack.stop_agent()
        incident.start_agent(path)
        incident.stack.wait_until_served(SCALAR.oid)

    return restart


@pytest.mark.parametrize("fault", MAPPINGS)
def test_without_a_readable_mapping_nothing_is_served(incident_of: IncidentOf, stack: Stack, fault: str) -> None:
    incident = incident_of(fault)
    path = stack.directory / "bad.db"
    make, through = MAPPINGS[fault]
    make(path)
    start_with_mapping(incident, path, through)
    good = MAPPING.write(stack.directory / "good.db")
    incident.recover(PUT_RIGHT, RESTARTED, restart_on(incident, good), restarted=True)


def test_without_the_directory_of_the_mapping_nothing_is_served(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("mapping's directory missing")
    start_with_mapping(incident, stack.directory / "nowhere" / "bad.db")
    good = MAPPING.write(stack.directory / "good.db")
    incident.recover(PUT_RIGHT, RESTARTED, restart_on(incident, good), restarted=True)


def test_a_mapping_that_is_locked_counts_as_unreadable(incident_of: IncidentOf, stack: Stack) -> None:
    incident = incident_of("mapping locked by another process")
    path = MAPPING.write(stack.directory / "bad.db")
    connection = sqlite3.connect(path, isolation_level=None)
    connection.execute("BEGIN EXCLUSIVE")
    try:
        start_with_mapping(incident, path)
    finally:
        connection.close()
    incident.recover(
        "the operator ends what locks the mapping and restarts the agent", RESTARTED, restart_on(incident, path),
        restarted=True)


def test_a_mapping_is_read_at_the_start_and_never_again(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("mapping removed while the agent runs")
    (stack.directory / "mapping.db").unlink()
    incident.get(SCALAR, ITS_VALUE, SOON)
    incident.get(CELL, ITS_VALUE, SOON)
    incident.recover("nothing to recover from, until the agent is restarted", SOON)


# The agent


def test_an_agent_that_stood_still_for_a_moment_answers_late(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("agent stopped (SIGSTOP), going on soon")
    stack.signal_agent(signal.SIGSTOP)
    incident.get(SCALAR, NO_ANSWER, within=None)
    incident.recover("by itself, when the agent goes on", RESTARTED, lambda: stack.signal_agent(signal.SIGCONT))


def test_an_agent_that_stood_still_too_long_finds_its_master_again(
    served_incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = served_incident_of("agent stopped (SIGSTOP) until the master gives it up")
    stack.signal_agent(signal.SIGSTOP)
    incident.get(SCALAR, GEN_ERR, 6 + SOON, at_least=5.5)
    incident.get(CELL, NO_OBJECT, SOON, when=", then")
    incident.recover(
        "by itself, when the agent goes on: the library connects again every 15 s", RECONNECTED,
        lambda: stack.signal_agent(signal.SIGCONT))


def test_a_killed_agent_serves_again_when_it_is_started(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("agent killed, started again")
    stack.kill_agent()
    stack.wait_until_gone(SCALAR.oid)
    incident.get(SCALAR, NO_OBJECT, SOON)
    incident.get(CELL, NO_OBJECT, SOON)
    incident.recover("when the agent is started again", RESTARTED, incident.start_agent, restarted=True)


def test_a_restarted_agent_does_not_take_an_answer_that_the_one_before_asked_for(
    served_incident_of: IncidentOf, stack: Stack,
) -> None:
    incident = served_incident_of("agent killed while the device holds a request of it, started again")
    incident.tell(f"fault {SCALAR.obj_id:#x} {PAUSE}")
    incident.get(SCALAR, NO_ANSWER, within=None)
    stack.kill_agent()
    stack.wait_until_gone(SCALAR.oid)
    incident.start_agent()
    incident.begin(with_its_start=True)
    for target in (SCALAR, CELL):
        incident.get(target, NO_OBJECT, SOON)
    incident.recover(GOES_ON, RESTARTED)


def limit_descriptors(stack: Stack, count: int | None = None) -> None:
    """Limits the number of files that the agent may open; without a number restores the previous limit."""
    assert stack.agent and stack.agent.pid
    hard = resource.prlimit(stack.agent.pid, resource.RLIMIT_NOFILE)[1]
    resource.prlimit(stack.agent.pid, resource.RLIMIT_NOFILE, (hard if count is None else count, hard))


def open_descriptors(stack: Stack) -> int:
    assert stack.agent
    return len(os.listdir(f"/proc/{stack.agent.pid}/fd"))


def test_an_agent_without_descriptors_to_spare_serves(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("agent out of file descriptors")
    limit_descriptors(stack, open_descriptors(stack))
    for target in TARGETS:
        incident.get(target, ITS_VALUE, SOON)
    incident.set(SCALAR, 5, DONE, SOON)
    incident.recover("nothing to recover from, as long as it need not connect again", SOON)


def test_an_agent_without_descriptors_cannot_connect_again(served_incident_of: IncidentOf, stack: Stack) -> None:
    incident = served_incident_of("agent out of file descriptors, master restarted")
    limit_descriptors(stack, 0)
    end_master(stack, signal.SIGTERM)
    stack.start_master()
    agent = stack.agent
    assert agent
    wait_until(lambda: "Failed to connect" in agent.errors(), "the agent cannot connect", RECONNECTED)
    incident.get(SCALAR, NO_OBJECT, SOON)
    incident.get(CELL, NO_OBJECT, SOON)
    incident.recover(
        "when there are descriptors again: the library connects again every 15 s", RECONNECTED,
        lambda: limit_descriptors(stack))


# The document


def test_the_table_has_one_row_for_each_fault() -> None:
    assert list(rows_of(DOCUMENT)) == list(FAULTS)

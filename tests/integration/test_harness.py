"""The test system itself: a world is private, and its programs are started, seen and ended."""
from __future__ import annotations

import signal
from pathlib import Path

import pytest

from support.device import ANSWER_QUEUE, REQUEST_QUEUE
from support.program import CommandedProgram
from support.sample import (
    CONTACT, COUNTER, FIRST_LEVELS, FIRST_NAMES, FIRST_TABLE, LIMIT, SAMPLE_MAPPING, SAMPLE_OBJECTS, SECOND_NAMES,
    TEMPERATURE,
)
from support.snmp import NO_SUCH_OBJECT, SnmpError, SnmpTimeout, Varbind
from support.stack import MASTER_PORT, Build, Stack
from support.waiting import waitUntil


def test_two_worlds_share_no_ports_no_queues_and_no_processes(build: Build, tmp_path: Path) -> None:
    worlds = [Stack(tmp_path / name, build) for name in ("one", "two")]
    try:
        for stack in worlds:
            stack.startMaster()
        worlds[0].world.check("ipcmk", "--queue")
        assert "0x" not in worlds[1].world.check("ipcs", "-q").split("messages")[1]
        assert worlds[0].world.check("pgrep", "-c", "snmpd") == "1\n"
    finally:
        for stack in worlds:
            stack.close()


def test_a_closed_world_ends_everything_in_it(build: Build, tmp_path: Path) -> None:
    stack = Stack(tmp_path, build)
    master = stack.startMaster()
    stack.world.close()
    master.waitForEnd()
    assert not master.isRunning()


def test_orphans_leave_no_zombies(stack: Stack) -> None:
    stack.world.check("sh", "-c", "(true & true) & true")
    waitUntil(lambda: "Z" not in stack.world.check("ps", "-A", "-o", "stat="), "no zombie is left")


def test_a_programs_output_status_and_signals_are_seen(stack: Stack) -> None:
    program = stack.start("shell", ["sh", "-c", "echo out; echo err >&2; exec sleep 60"])
    program.waitForOutput("out\n")
    assert program.output() == "out\n"
    program.signal(signal.SIGSTOP)
    program.signal(signal.SIGCONT)
    assert program.stop() == -signal.SIGTERM
    assert stack.start("shell", ["sh", "-c", "exit 3"]).waitForEnd() == 3


def test_commands_are_answered_line_by_line(stack: Stack) -> None:
    cat = CommandedProgram(stack.world, "cat", ["cat"], stack.directory, {})
    assert cat.command("one") == "one"
    assert cat.command("two") == "two"
    cat.kill()


def test_the_sample_stack_serves_scalars_and_tables(sampleStack: Stack) -> None:
    snmp = sampleStack.snmp
    assert snmp.get(TEMPERATURE.oid) == Varbind("INTEGER", "-7")
    assert snmp.getAll(COUNTER.oid, CONTACT.oid) == [
        Varbind("INTEGER", "1000000"), Varbind("STRING", "ops@example.net")]
    assert snmp.get(FIRST_LEVELS[2].oid) == Varbind("INTEGER", "102")
    assert snmp.get(SECOND_NAMES[7].oid) == Varbind("STRING", "fan 8")
    assert snmp.getnext(COUNTER.oid).oid == LIMIT.oid


def test_a_set_reaches_the_device(sampleStack: Stack) -> None:
    snmp = sampleStack.snmp
    assert snmp.set(LIMIT.oid, "i", 80) == Varbind("INTEGER", "80")
    assert sampleStack.simulator
    assert "80" in sampleStack.simulator.command("get 0x0103")
    assert snmp.set(FIRST_NAMES[0].oid, "s", "uplink") == Varbind("STRING", "uplink")
    assert snmp.get(FIRST_NAMES[0].oid) == Varbind("STRING", "uplink")


def test_walks_by_get_next_and_by_get_bulk_see_the_same(sampleStack: Stack) -> None:
    table = TEMPERATURE.name.rsplit(".", 3)[0] + FIRST_TABLE
    walked = sampleStack.snmp.walk(table)
    assert len(walked) == 4 * 8
    assert [each.oid for each in sampleStack.snmp.bulkwalk(table)] == [each.oid for each in walked]
    assert len(sampleStack.snmp.getbulk(table, maxRepetitions=5)) == 5


def test_error_status_and_time_out_are_reported(sampleStack: Stack) -> None:
    with pytest.raises(SnmpError) as refusal:
        sampleStack.snmp.set(TEMPERATURE.oid, "i", 1)
    assert refusal.value.status == "notWritable"
    assert refusal.value.failedOid == TEMPERATURE.oid
    sampleStack.killMaster()
    with pytest.raises(SnmpTimeout):
        sampleStack.snmp.using(timeout=0.2).get(TEMPERATURE.oid)


def test_the_snmpv3_user_reads_and_writes(sampleStack: Stack) -> None:
    assert sampleStack.operator.set(LIMIT.oid, "i", 12) == Varbind("INTEGER", "12")
    assert sampleStack.operator.get(LIMIT.oid) == Varbind("INTEGER", "12")


def test_a_restarted_master_is_found_again(sampleStack: Stack) -> None:
    sampleStack.killMaster()
    sampleStack.startMaster()
    sampleStack.waitUntilServed(TEMPERATURE.oid)
    sampleStack.stopAgent()
    sampleStack.waitUntilGone(TEMPERATURE.oid)
    assert sampleStack.snmp.get(TEMPERATURE.oid) == NO_SUCH_OBJECT


def test_queues_are_seen_from_outside(stack: Stack) -> None:
    assert stack.queueDepth(REQUEST_QUEUE) == 0
    stack.sendAnswer("12 04 00 00 01 01 05")
    stack.sendAnswer("12 04 00 00 01 01 06")
    assert stack.queueDepth(ANSWER_QUEUE) == 2


def test_an_agent_can_wait_for_its_device(stack: Stack) -> None:
    stack.startMaster()
    stack.startAgent(mapping=SAMPLE_MAPPING)
    waitUntil(lambda: stack.queueDepth(REQUEST_QUEUE) == 1, "the agent asks for the base OID")
    stack.startSimulator(SAMPLE_OBJECTS)
    stack.waitUntilServed()


def test_the_agent_attaches_over_tcp_as_well(stack: Stack) -> None:
    address = "tcp:127.0.0.1:7705"
    stack.startSimulator(SAMPLE_OBJECTS)
    stack.startMaster(agentXAddress=address)
    stack.startAgent(mapping=SAMPLE_MAPPING, agentXAddress=address)
    stack.waitUntilServed()
    assert f":{MASTER_PORT}" in stack.world.check("ss", "-Hlun")

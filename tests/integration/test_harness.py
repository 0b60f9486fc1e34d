"""The test system itself: a world is private, and its programs are started, observed and ended."""
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
from support.waiting import wait_until


def test_two_worlds_share_no_ports_no_queues_and_no_processes(build: Build, tmp_path: Path) -> None:
    worlds = [Stack(tmp_path / name, build) for name in ("one", "two")]
    try:
        for stack in worlds:
            stack.start_master()
        worlds[0].world.check("ipcmk", "--queue")
        assert "0x" not in worlds[1].world.check("ipcs", "-q").split("messages")[1]
        assert worlds[0].world.check("pgrep", "-c", "snmpd") == "1\n"
    finally:
        for stack in worlds:
            stack.close()


def test_a_closed_world_ends_everything_in_it(build: Build, tmp_path: Path) -> None:
    stack = Stack(tmp_path, build)
    master = stack.start_master()
    stack.world.close()
    master.wait_for_end()
    assert not master.is_running()


def test_orphans_leave_no_zombies(stack: Stack) -> None:
    stack.world.check("sh", "-c", "(true & true) & true")
    wait_until(lambda: "Z" not in stack.world.check("ps", "-A", "-o", "stat="), "no zombie is left")


def test_a_programs_output_status_and_signals_are_seen(stack: Stack) -> None:
    program = stack.start("shell", ["sh", "-c", "echo out; echo err >&2; exec sleep 60"])
    program.wait_for_output("out\n")
    assert program.output() == "out\n"
    program.signal(signal.SIGSTOP)
    program.signal(signal.SIGCONT)
    assert program.stop() == -signal.SIGTERM
    assert stack.start("shell", ["sh", "-c", "exit 3"]).wait_for_end() == 3


def test_commands_are_answered_line_by_line(stack: Stack) -> None:
    cat = CommandedProgram(stack.world, "cat", ["cat"], stack.directory, {})
    assert cat.command("one") == "one"
    assert cat.command("two") == "two"
    cat.kill()


def test_the_sample_stack_serves_scalars_and_tables(sample_stack: Stack) -> None:
    snmp = sample_stack.snmp
    assert snmp.get(TEMPERATURE.oid) == Varbind("INTEGER", "-7")
    assert snmp.get_all(COUNTER.oid, CONTACT.oid) == [
        Varbind("INTEGER", "1000000"), Varbind("STRING", "ops@example.net")]
    assert snmp.get(FIRST_LEVELS[2].oid) == Varbind("INTEGER", "102")
    assert snmp.get(SECOND_NAMES[7].oid) == Varbind("STRING", "fan 8")
    assert snmp.getnext(COUNTER.oid).oid == LIMIT.oid


def test_a_set_reaches_the_device(sample_stack: Stack) -> None:
    snmp = sample_stack.snmp
    assert snmp.set(LIMIT.oid, "i", 80) == Varbind("INTEGER", "80")
    assert sample_stack.simulator
    assert "80" in sample_stack.simulator.command("get 0x0103")
    assert snmp.set(FIRST_NAMES[0].oid, "s", "uplink") == Varbind("STRING", "uplink")
    assert snmp.get(FIRST_NAMES[0].oid) == Varbind("STRING", "uplink")


def test_walks_by_get_next_and_by_get_bulk_see_the_same(sample_stack: Stack) -> None:
    table = TEMPERATURE.name.rsplit(".", 3)[0] + FIRST_TABLE
    walked = sample_stack.snmp.walk(table)
    assert len(walked) == 4 * 8
    assert [each.oid for each in sample_stack.snmp.bulkwalk(table)] == [each.oid for each in walked]
    assert len(sample_stack.snmp.getbulk(table, max_repetitions=5)) == 5


def test_error_status_and_time_out_are_reported(sample_stack: Stack) -> None:
    with pytest.raises(SnmpError) as refusal:
        sample_stack.snmp.set(TEMPERATURE.oid, "i", 1)
    assert refusal.value.status == "notWritable"
    assert refusal.value.failed_oid == TEMPERATURE.oid
    sample_stack.kill_master()
    with pytest.raises(SnmpTimeout):
        sample_stack.snmp.using(timeout=0.2).get(TEMPERATURE.oid)


def test_the_snmpv3_user_reads_and_writes(sample_stack: Stack) -> None:
    assert sample_stack.operator.set(LIMIT.oid, "i", 12) == Varbind("INTEGER", "12")
    assert sample_stack.operator.get(LIMIT.oid) == Varbind("INTEGER", "12")


def test_a_restarted_master_is_found_again(sample_stack: Stack) -> None:
    sample_stack.kill_master()
    sample_stack.start_master()
    sample_stack.wait_until_served(TEMPERATURE.oid)
    sample_stack.stop_agent()
    sample_stack.wait_until_gone(TEMPERATURE.oid)
    assert sample_stack.snmp.get(TEMPERATURE.oid) == NO_SUCH_OBJECT


def test_queues_are_seen_from_outside(stack: Stack) -> None:
    assert stack.queue_depth(REQUEST_QUEUE) == 0
    stack.send_answer("12 04 00 00 01 01 05")
    stack.send_answer("12 04 00 00 01 01 06")
    assert stack.queue_depth(ANSWER_QUEUE) == 2


def test_an_agent_can_wait_for_its_device(stack: Stack) -> None:
    stack.start_master()
    stack.start_agent(mapping=SAMPLE_MAPPING)
    wait_until(lambda: stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks for the base OID")
    stack.start_simulator(SAMPLE_OBJECTS)
    stack.wait_until_served()


def test_the_agent_attaches_over_tcp_as_well(stack: Stack) -> None:
    address = "tcp:127.0.0.1:7705"
    stack.start_simulator(SAMPLE_OBJECTS)
    stack.start_master(agentx_address=address)
    stack.start_agent(mapping=SAMPLE_MAPPING, agentx_address=address)
    stack.wait_until_served()
    assert f":{MASTER_PORT}" in stack.world.check("ss", "-Hlun")

"""Managers on other stacks than the master agent's: what they read and set, with communities and as an SNMPv3 user.

The stacks are PySNMP in Python and Net::SNMP in Perl; neither shares a line of code with Net-SNMP.
"""
from __future__ import annotations

import json
import os
import sys
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path

import pytest

from support.device import BASE
from support.mapping import INTEGER, cell_oid
from support.program import CommandedProgram
from support.sample import (
    CONTACT, COUNTER, FIRST_LEVELS, FIRST_NAMES, FIRST_TABLE, LIMIT, SAMPLE_MAPPING, SAMPLE_OBJECTS,
    SECOND_NAMES, SECOND_TABLE, SERIAL, TEMPERATURE,
)
from support.snmp import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, SnmpError, Varbind
from support.stack import AUTH_PASSWORD, MASTER_PORT, PRIV_PASSWORD, Stack

pytestmark = pytest.mark.xdist_group("other managers")

_MANAGERS = Path(__file__).with_name("managers")
_STACKS: dict[str, list[str | Path]] = {
    "PySNMP": [sys.executable, _MANAGERS / "with_pysnmp.py"],
    "Net::SNMP": ["perl", _MANAGERS / "with_net_snmp.pl"],
}
_WRITER = {"community": "private"}
_READER = {"community": "public"}
_OPERATOR = {"user": "operator", "auth_passphrase": AUTH_PASSWORD, "priv_passphrase": PRIV_PASSWORD}
_IDENTITIES = {"SNMPv2c": _WRITER, "SNMPv3": _OPERATOR}


class RequestFailed(Exception):
    """There was no answer, or one that the stack rejects; with the stack's own message."""


@dataclass(frozen=True)
class Manager:
    """The requests of a stack, with some credentials."""

    program: CommandedProgram
    identity: dict[str, str]
    seconds: int = 15

    def get(self, *names: str) -> list[Varbind]:
        return self._ask("get", names)

    def getnext(self, *names: str) -> list[Varbind]:
        return self._ask("getnext", names)

    def getbulk(self, *names: str, non_repeaters: int, max_repetitions: int) -> list[Varbind]:
        return self._ask("getbulk", names, non_repeaters=non_repeaters, max_repetitions=max_repetitions)

    def walk(self, name: str) -> list[Varbind]:
        return self._ask("walk", [name])

    def set(self, *assignments: tuple[str, Varbind]) -> list[Varbind]:
        names = [name for name, _ in assignments]
        return self._ask("set", names, values=[(varbind.type, varbind.value) for _, varbind in assignments])

    def _ask(self, what: str, names: list[str] | tuple[str, ...], **more: object) -> list[Varbind]:
        request = {"do": what, "port": MASTER_PORT, "as": self.identity, "seconds": self.seconds, "names": names}
        answer = json.loads(self.program.command(json.dumps(request | more)))
        if "failed" in answer:
            raise RequestFailed(answer["failed"])
        if "status" in answer:
            raise SnmpError(answer["status"], names[answer["index"] - 1] if answer["index"] else "")
        return [Varbind(kind, value, oid) for oid, kind, value in answer["varbinds"]]


@pytest.fixture(scope="module")
def device(shared_stack: Stack) -> Stack:
    shared_stack.start_simulator(SAMPLE_OBJECTS)
    shared_stack.start_master()
    shared_stack.start_agent(mapping=SAMPLE_MAPPING)
    shared_stack.wait_until_served()
    return shared_stack


@pytest.fixture(scope="module", params=_STACKS)
def program(device: Stack, request: pytest.FixtureRequest) -> Iterator[CommandedProgram]:
    environment = {**os.environ, "LC_ALL": "C"}
    started = CommandedProgram(
        device.world, request.param.replace(":", ""), _STACKS[request.param], device.directory, environment)
    yield started
    started.stop()


@pytest.fixture(params=_IDENTITIES)
def manager(program: CommandedProgram, request: pytest.FixtureRequest) -> Manager:
    return Manager(program, _IDENTITIES[request.param])


def integer(value: int) -> Varbind:
    return Varbind("INTEGER", str(value))


def string(value: str) -> Varbind:
    return Varbind("STRING", value)


def served() -> dict[str, Varbind]:
    """Everything as the mapping says it is served, with the device's values, in walk order."""
    values = {each.obj_id: str(each.value) for each in SAMPLE_OBJECTS}
    seen = {each.oid: Varbind("INTEGER" if each.asn_type == INTEGER else "STRING", values[each.obj_id])
            for each in (*SAMPLE_MAPPING.scalars, *SAMPLE_MAPPING.cells)}
    seen |= {cell_oid(node, 1, row): integer(row) for node in (FIRST_TABLE, SECOND_TABLE) for row in range(1, 9)}
    return dict(sorted(seen.items(), key=lambda item: [int(number) for number in item[0].split(".")[1:]]))


def named(varbinds: list[Varbind]) -> dict[str, Varbind]:
    return {each.oid: each for each in varbinds}


# Reading


def test_a_get_gives_each_object_the_type_and_value_that_the_mapping_says(manager: Manager) -> None:
    expected = served()
    assert named(manager.get(*expected)) == expected


def test_a_get_tells_a_missing_instance_from_a_missing_object(manager: Manager) -> None:
    assert manager.get(f"{LIMIT.name}.1", f"{BASE}.9.9.9.0", LIMIT.oid) == [
        NO_SUCH_INSTANCE, NO_SUCH_OBJECT, integer(75)]


def test_a_getnext_goes_to_the_next_object_from_each_name(manager: Manager) -> None:
    expected = served()
    answer = manager.getnext(BASE, TEMPERATURE.oid, SERIAL.oid, FIRST_LEVELS[7].oid)
    following = [TEMPERATURE.oid, COUNTER.oid, cell_oid(FIRST_TABLE, 1, 1), FIRST_NAMES[0].oid]
    assert [each.oid for each in answer] == following
    assert answer == [expected[oid] for oid in following]


def test_a_getbulk_gives_one_object_once_and_a_column_row_by_row(manager: Manager) -> None:
    answer = manager.getbulk(
        LIMIT.name, f"{BASE}{FIRST_TABLE}.1.2", f"{BASE}{FIRST_TABLE}.1.3", non_repeaters=1, max_repetitions=8)
    rows = zip(FIRST_LEVELS, FIRST_NAMES, strict=True)
    expected = [LIMIT.oid, *(cell.oid for row in rows for cell in row)]
    assert [each.oid for each in answer] == expected
    assert answer == [served()[oid] for oid in expected]


def test_a_walk_meets_everything_in_order(manager: Manager) -> None:
    walked = manager.walk(BASE)
    expected = served()
    assert [each.oid for each in walked] == list(expected)
    assert named(walked) == expected


def test_a_walk_of_nothing_is_empty(manager: Manager) -> None:
    assert manager.walk(f"{BASE}.9") == []


# Setting


@pytest.mark.parametrize(("name", "value"), [
    (LIMIT.oid, integer(12)),
    (CONTACT.oid, string("caf\xe9 \x01\x7f\xff")),
    (FIRST_LEVELS[3].oid, integer(65535)),
    (FIRST_NAMES[7].oid, string("spare")),
], ids=["a number", "a text of any bytes", "a number in a row", "a text in a row"])
def test_what_is_set_is_read_back(manager: Manager, name: str, value: Varbind) -> None:
    assert manager.set((name, value)) == [value]
    assert manager.get(name) == [value]
    manager.set((name, served()[name]))
    assert manager.get(name) == [served()[name]]


def test_one_request_sets_a_scalar_and_a_cell_of_each_table(manager: Manager) -> None:
    names = (LIMIT.oid, FIRST_LEVELS[0].oid, SECOND_NAMES[1].oid)
    values = [integer(1), integer(2), string("fan b")]
    manager.set(*zip(names, values, strict=True))
    assert manager.get(*names) == values
    manager.set(*((name, served()[name]) for name in names))
    assert manager.get(*names) == [served()[name] for name in names]


def test_a_set_of_a_read_only_object_is_not_writable(manager: Manager) -> None:
    with pytest.raises(SnmpError) as raised:
        manager.set((LIMIT.oid, integer(7)), (SERIAL.oid, string("SN-0002")))
    assert (raised.value.status, raised.value.failed_oid) == ("notWritable", SERIAL.oid)
    assert manager.get(LIMIT.oid, SERIAL.oid) == [integer(75), string("SN-0001")]


# Who is refused


def test_the_reading_community_cannot_set(program: CommandedProgram) -> None:
    reader = Manager(program, _READER)
    assert reader.get(LIMIT.oid) == [integer(75)]
    with pytest.raises(SnmpError, match="noAccess"):
        reader.set((LIMIT.oid, integer(7)))
    assert reader.get(LIMIT.oid) == [integer(75)]


@pytest.mark.parametrize(("changes", "words"), [
    ({"auth_passphrase": "wrongpassword"}, "wrong.*digest"),
    ({"user": "stranger"}, "unknown.*user"),
    ({"priv_passphrase": "wrongpassword"}, "no (snmp )?response"),
], ids=["a wrong authentication passphrase", "an unknown user", "a wrong privacy passphrase"])
def test_a_user_is_refused_with(program: CommandedProgram, changes: dict[str, str], words: str) -> None:
    with pytest.raises(RequestFailed, match=f"(?i){words}"):
        Manager(program, _OPERATOR | changes, seconds=1).get(LIMIT.oid)


def test_the_user_is_refused_without_privacy(program: CommandedProgram) -> None:
    without_privacy = {key: value for key, value in _OPERATOR.items() if key != "priv_passphrase"}
    with pytest.raises(SnmpError, match="authorizationError"):
        Manager(program, without_privacy).get(LIMIT.oid)


def test_an_unknown_community_gets_no_answer(program: CommandedProgram) -> None:
    with pytest.raises(RequestFailed, match="(?i)no (snmp )?response"):
        Manager(program, {"community": "stranger"}, seconds=1).get(LIMIT.oid)

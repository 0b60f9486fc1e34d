"""What a check predicts from the source's words about the device happens on such a device."""
from __future__ import annotations

import json
import sqlite3
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.mapping import CELLS, SCALARS, run_sql
from support.mapping_tool import MappingTool
from support.snmp import NO_SUCH_INSTANCE, SnmpError
from support.stack import Stack

pytestmark = pytest.mark.xdist_group("predictions of a described device")

SOURCE = """
module: {base: .1.3.6.1.4.1.32473.44}
scalars:
  - {name: scaledSigned, oid: 1.1.1, object: 0x101, type: integer, access: read-write, conversion: scaled 1,
     device: {kind: signed, width: 2, value: 7}}
  - {name: decimalSigned, oid: 1.1.2, object: 0x102, type: text, access: read-write, conversion: decimal 1,
     device: {kind: signed, width: 2, value: -7}}
  - {name: large, oid: 1.1.3, object: 0x103, type: integer,
     device: {kind: unsigned, width: 4, value: 3000000000}}
  - {name: textAsNumber, oid: 1.1.4, object: 0x104, type: integer, access: read-write,
     device: {kind: string, width: 16, value: four}}
  - {name: numberAsText, oid: 1.1.5, object: 0x105, type: text, access: read-write,
     device: {kind: unsigned, width: 4, value: 0x00414243}}
  - {name: decimalOfText, oid: 1.1.6, object: 0x106, type: text, conversion: decimal 2,
     device: {kind: string, width: 16, value: "54.30"}}
  - {name: block, oid: 1.1.7, object: 0x107, type: text, device: {kind: other, width: 4, value: 41 42 00 43}}
  - {name: wideBlock, oid: 1.1.8, object: 0x108, type: text, access: read-write,
     device: {kind: other, width: 8, value: 41 42 43 44 45 46 47 48}}
  - {name: wideNumber, oid: 1.1.9, object: 0x109, type: integer,
     device: {kind: other, width: 8, value: 41 42 43 44 45 46 47 48}}
  - {name: shortAddress, oid: 1.1.10, object: 0x10A, type: text, conversion: ipv4,
     device: {kind: unsigned, width: 1, value: 10}}
  - {name: textAddress, oid: 1.1.11, object: 0x10B, type: text, conversion: ipv4,
     device: {kind: string, width: 16, value: 10.0.0.1}}
  - {name: signed16, oid: 1.1.12, object: 0x10C, type: integer, conversion: uint16,
     device: {kind: signed, width: 2, value: -1}}
  - {name: precise, oid: 1.1.13, object: 0x10D, type: text, access: read-write, conversion: decimal 2,
     device: {kind: unsigned, width: 2, value: 0}}
  - {name: wide16, oid: 1.1.14, object: 0x10E, type: integer, access: read-write, conversion: uint16,
     device: {kind: unsigned, width: 4, value: 5}}
  - {name: moving, oid: 1.1.15, object: 0x10F, type: integer,
     device: {kind: unsigned, width: 1, motion: sine 300 0 1}}
  - {name: endsInZero, oid: 1.1.0, object: 0x110, type: integer, device: {kind: unsigned, width: 1, value: 12}}
  - {name: widened, oid: 1.1.16, object: 0x111, type: integer, access: read-write,
     device: {kind: unsigned, width: 2, value: 6}}
  - {name: rawSigned, oid: 1.1.17, object: 0x112, type: integer, access: read-write,
     device: {kind: signed, width: 2, value: 6}}
  - {name: textAs16, oid: 1.1.18, object: 0x113, type: integer, conversion: uint16,
     device: {kind: string, width: 16, value: four}}
tables:
  - name: portTable
    node: .2.1
    rows: 8
    columns:
      - {name: portLevel, first: 0x200, type: integer, access: read-write, device: {kind: signed, width: 2, value: 77}}
      - {name: portBlock, first: 0x210, type: integer, device: {kind: other, width: 8, value: 41 42 43 44 45 46 47 48}}
      - {name: portSpeed, first: 0x220, type: integer, access: read-write,
         device: {kind: unsigned, width: 2, value: 5}}
"""


def names_in(database: Path) -> dict[tuple[str, int], str]:
    """The name of the object in each row of both tables."""
    connection = sqlite3.connect(database)
    try:
        return {(table, row): name for table in (SCALARS, CELLS)
                for row, name in connection.execute(f"SELECT rowid, name FROM {table}")}
    finally:
        connection.close()


class Described:
    """A device as its author described it, what a check says of it, and a manager of it."""

    def __init__(self, stack: Stack, directory: Path) -> None:
        self.stack = stack
        self.tool = MappingTool(stack.build)
        source = directory / "described.yaml"
        source.write_text(SOURCE, encoding="ascii")
        self.database = self.tool.database(source, directory)
        shown = self.tool.show(self.database)
        self._oids = {(each["name"], each["row"]): each["oid"] for each in shown["instances"]}
        self._objects = {(each["name"], each["row"]): each["object"] for each in shown["instances"]}
        self._names = names_in(self.database)
        stack.start_simulator_on(self.database)
        stack.start_master()
        stack.start_agent(mapping=self.database)
        stack.wait_until_served(self.oid("large"))

    def oid(self, name: str, row: int | None = None) -> str:
        return str(self._oids[name, row])

    def codes(self, name: str) -> set[str]:
        """The codes of the findings for an object, in all its rows."""
        findings = json.loads(self.tool.run("check", self.database, "--json").stdout)["findings"]
        return {each["code"] for each in findings if self._names.get((each["table"], each["row"])) == name}

    def get(self, name: str, row: int | None = None) -> str:
        return self.stack.snmp.get(self.oid(name, row)).value

    def set(self, name: str, kind: str, value: object, row: int | None = None) -> None:
        self.stack.snmp.set(self.oid(name, row), kind, value)

    def held(self, name: str, row: int | None = None) -> str:
        """What the device holds."""
        assert self.stack.simulator
        return self.stack.simulator.command(f"get {self._objects[name, row]}").removeprefix("value ")


@pytest.fixture(scope="module")
def device(shared_stack: Stack, tmp_path_factory: pytest.TempPathFactory) -> Iterator[Described]:
    yield Described(shared_stack, tmp_path_factory.mktemp("described"))


def test_a_negative_number_set_in_a_cell_arrives_as_0(device: Described) -> None:
    assert device.codes("portLevel") == {"TM901"}
    device.set("portLevel", "i", -5, row=3)
    assert device.held("portLevel", row=3) == "0"


def test_a_negative_number_set_in_a_scaled_scalar_arrives_as_minus_1(device: Described) -> None:
    assert device.codes("scaledSigned") == {"TM508", "TM902"}
    device.set("scaledSigned", "i", -5)
    assert device.held("scaledSigned") == "-1"


def test_a_negative_number_set_in_a_raw_scalar_arrives(device: Described) -> None:
    assert device.codes("rawSigned") == set()
    device.set("rawSigned", "i", -5)
    assert device.held("rawSigned") == "-5"


def test_a_negative_decimal_text_can_be_read_but_not_set(device: Described) -> None:
    assert device.codes("decimalSigned") == {"TM903", "TM913"}
    assert device.get("decimalSigned") == "-0.70"
    with pytest.raises(SnmpError, match="badValue"):
        device.set("decimalSigned", "s", "-0.5")
    assert device.held("decimalSigned") == "-7"


def test_an_unsigned_number_above_31_bits_looks_negative(device: Described) -> None:
    assert device.codes("large") == {"TM904"}
    assert device.get("large") == str(3000000000 - 2**32)


def test_a_text_served_as_a_number_is_its_first_four_characters(device: Described) -> None:
    assert device.codes("textAsNumber") == {"TM905"}
    assert device.get("textAsNumber") == str(int.from_bytes(b"four", "little"))
    device.set("textAsNumber", "i", 0x41424344)
    assert device.held("textAsNumber") == "DCBA"


def test_a_text_served_as_16_bits_is_its_first_two_characters(device: Described) -> None:
    assert device.codes("textAs16") == {"TM905"}
    assert device.get("textAs16") == str(int.from_bytes(b"fo", "little"))


def test_a_number_served_as_text_is_its_bytes_up_to_the_first_zero(device: Described) -> None:
    assert device.codes("numberAsText") == {"TM906"}
    assert device.get("numberAsText") == "CBA"
    device.set("numberAsText", "s", "12")
    assert device.held("numberAsText") == "12849"


def test_a_decimal_made_from_a_text_is_its_first_four_characters(device: Described) -> None:
    assert device.codes("decimalOfText") == {"TM907"}
    assert float(device.get("decimalOfText")) == pytest.approx(int.from_bytes(b"54.3", "little") / 100, abs=1)


def test_a_block_served_as_text_ends_at_its_first_zero(device: Described) -> None:
    assert device.codes("block") == {"TM908"}
    assert device.get("block") == "AB"


def test_a_wide_block_in_a_scalar_reads_as_nothing_and_cannot_be_set(device: Described) -> None:
    assert device.codes("wideBlock") == device.codes("wideNumber") == {"TM909"}
    assert (device.get("wideBlock"), device.get("wideNumber")) == ("", "0")
    with pytest.raises(SnmpError, match="badValue"):
        device.set("wideBlock", "s", "A")
    assert device.held("wideBlock") == "41 42 43 44 45 46 47 48"


def test_a_wide_block_in_a_cell_shows_the_cell_that_was_read_before(device: Described) -> None:
    assert device.codes("portBlock") == {"TM909"}
    assert device.get("portLevel", row=1) == device.get("portBlock", row=2) == "77"
    assert device.get("portSpeed", row=1) == device.get("portBlock", row=2) == "5"


def test_an_address_of_one_byte_ends_in_zeros(device: Described) -> None:
    assert device.codes("shortAddress") == {"TM910"}
    assert device.get("shortAddress") == "10.0.0.0"


def test_an_address_stored_as_text_shows_the_codes_of_its_characters(device: Described) -> None:
    assert device.codes("textAddress") == {"TM911"}
    assert device.get("textAddress") == "49.48.46.48"


def test_a_negative_number_looks_large_as_uint16(device: Described) -> None:
    assert device.codes("signed16") == {"TM912"}
    assert device.get("signed16") == "65535"


def test_a_decimal_reads_back_one_too_small_unless_it_has_another_digit(device: Described) -> None:
    assert device.codes("precise") == {"TM913"}
    device.set("precise", "s", "54.30")
    assert (device.held("precise"), device.get("precise")) == ("5429", "54.29")
    device.set("precise", "s", "54.301")
    assert (device.held("precise"), device.get("precise")) == ("5430", "54.30")


def test_a_motion_beyond_its_object_wraps_around(device: Described) -> None:
    assert device.codes("moving") == {"TM915"}
    assert device.get("moving") == str(300 - 256)


def test_a_wide_uint16_reads_back_its_low_bits(device: Described) -> None:
    assert device.codes("wide16") == {"TM919"}
    device.set("wide16", "i", 70000)
    assert (device.held("wide16"), device.get("wide16")) == ("70000", str(70000 - 65536))


def test_an_oid_that_ends_in_zero_is_served(device: Described) -> None:
    assert device.codes("endsInZero") == {"TM922"}
    assert device.get("endsInZero") == "12"


def three_bytes(obj_id: int) -> str:
    """An answer with an unsigned, writable number of three bytes."""
    return f"raw 12061000{obj_id.to_bytes(2, 'little').hex()}050000"


def test_a_number_of_three_bytes_is_not_served(device: Described) -> None:
    stack = device.stack
    assert stack.simulator
    stack.simulator.command(f"fault 0x111 {three_bytes(0x111)}")
    stack.simulator.command(f"fault 0x223 {three_bytes(0x223)}")
    assert stack.snmp.get(device.oid("widened")) == NO_SUCH_INSTANCE
    with pytest.raises(SnmpError, match="badValue"):
        device.set("widened", "i", 7)
    assert stack.snmp.get(device.oid("portSpeed", row=4)) == NO_SUCH_INSTANCE
    device.set("portSpeed", "i", 7, row=4)
    assert device.held("portSpeed", row=4) == "5"
    walked = [each.oid for each in stack.snmp.walk(device.oid("portSpeed", row=1).rsplit(".", 2)[0])]
    assert walked == [device.oid("portSpeed", row=row) for row in (1, 2, 3)]
    stack.simulator.command("clear all")
    stack.simulator.command("clear 0x111")
    stack.simulator.command("clear 0x223")


@pytest.mark.parametrize(("code", "change"), [
    ("TM914", "deviceValue = '70000' WHERE name = 'widened'"),
    ("TM914", "deviceValue = 'a text that is too long' WHERE name = 'textAddress'"),
    ("TM916", "deviceMotion = 'jump 1 2' WHERE name = 'widened'"),
    ("TM916", "deviceMotion = 'clock' WHERE name = 'textAddress'"),
    ("TM917", "deviceWidth = '3' WHERE name = 'widened'"),
])
def test_the_simulator_refuses_what_the_device_cannot_hold(
    device: Described, tmp_path: Path, code: str, change: str,
) -> None:
    database = tmp_path / "changed.db"
    database.write_bytes(device.database.read_bytes())
    run_sql(database, f"UPDATE {SCALARS} SET {change}")
    findings = json.loads(device.tool.run("check", database, "--json").stdout)["findings"]
    assert code in {each["code"] for each in findings}
    done = device.stack.world.run([device.stack.build.simulator, "--mapping", database])
    assert (done.returncode, done.stdout) == (2, "")

"""Scalars: every type, conversion and access, read and written by a manager through the master agent."""
from __future__ import annotations

import time
from collections.abc import Iterator
from dataclasses import dataclass

import pytest

from support.architecture import SIZE_OF_LONG
from support.clock import assert_shows_now
from support.device import BASE, DeviceObject, block, signed, start_up_objects, text, unsigned
from support.mapping import OCTET_STRING, READ_ONLY, Mapping, Scalar
from support.observing import observe, read_frame
from support.snmp import NO_SUCH_INSTANCE, NO_SUCH_OBJECT, SnmpError, Varbind
from support.stack import Stack

pytestmark = pytest.mark.xdist_group("scalars")

IP_ADDRESS, COUNTER32, GAUGE32, TIME_TICKS, OPAQUE, COUNTER64 = 0x40, 0x41, 0x42, 0x43, 0x44, 0x46
OBJECT_ID, NULL = 0x06, 0x05


def scaled(kind: int, places: int = 0) -> int:
    """The conversion code of a kind with a number of decimal places."""
    return places << 12 | kind


def integer(value: int) -> Varbind:
    return Varbind("INTEGER", str(value))


def string(value: str) -> Varbind:
    return Varbind("STRING", value)


@dataclass(frozen=True)
class Shown:
    """A device object, how the mapping serves it, and what a manager sees."""

    device: DeviceObject
    seen: Varbind
    asn_type: int = 2
    conversion: int = 0


A_LONG_TEXT = "".join(chr(ord("a") + place % 26) for place in range(64))

# The object ids are assigned below, in this order.
SHOWN = {
    # Numbers in the device's form.
    "unsigned byte": Shown(unsigned(0, 255, 1), integer(255)),
    "unsigned word": Shown(unsigned(0, 65535, 2), integer(65535)),
    "unsigned long": Shown(unsigned(0, 2147483647), integer(2147483647)),
    "unsigned long beyond an INTEGER": Shown(unsigned(0, 4294967295), integer(-1)),
    "signed byte": Shown(signed(0, -1, 1), integer(-1)),
    "signed byte, positive": Shown(signed(0, 127, 1), integer(127)),
    "signed word": Shown(signed(0, -32768, 2), integer(-32768)),
    "signed long": Shown(signed(0, -2147483648), integer(-2147483648)),
    "zero": Shown(unsigned(0, 0, 1), integer(0)),
    "block of four bytes": Shown(block(0, "01020304"), integer(0x04030201)),
    "block of two bytes": Shown(block(0, "0102"), integer(0x0201)),
    # Texts in the device's form.
    "text": Shown(text(0, "hello"), string("hello"), OCTET_STRING),
    "text with room": Shown(text(0, "abc", width=20), string("abc"), OCTET_STRING),
    "empty text": Shown(text(0, "", width=20), string(""), OCTET_STRING),
    "text of 64 bytes": Shown(text(0, A_LONG_TEXT), string(A_LONG_TEXT), OCTET_STRING),
    "text of 65 bytes": Shown(text(0, A_LONG_TEXT + "X"), string(A_LONG_TEXT), OCTET_STRING),
    "text of 252 bytes": Shown(text(0, "0123456789ab" * 21), string(("0123456789ab" * 6)[:64]), OCTET_STRING),
    "text beyond ASCII": Shown(text(0, "Grüße"), string("Grüße".encode().decode("latin-1")), OCTET_STRING),
    # Combinations of kinds and types.
    "text as INTEGER": Shown(text(0, "ABCDE"), integer(0x44434241)),
    "short text as INTEGER": Shown(text(0, "A"), integer(0x41)),
    "number as OCTET STRING": Shown(unsigned(0, 0x434241), string("ABC"), OCTET_STRING),
    "four bytes as OCTET STRING": Shown(block(0, "61626364"), string("abcd"), OCTET_STRING),
    "zero as OCTET STRING": Shown(unsigned(0, 0), string(""), OCTET_STRING),
    # Other types carry the bytes of the text; the library reads integers of 1, 2 or 4 bytes from them.
    "IpAddress": Shown(text(0, "abcd"), Varbind("IpAddress", "97.98.99.100"), IP_ADDRESS),
    "Counter32 of one byte": Shown(text(0, "a"), Varbind("Counter32", "97"), COUNTER32),
    "Counter32 of two bytes": Shown(text(0, "ab"), Varbind("Counter32", str(0x6261)), COUNTER32),
    "Counter32 of three bytes": Shown(text(0, "abc"), Varbind("Counter32", "0"), COUNTER32),
    "Gauge32": Shown(text(0, "abcd"), Varbind("Gauge32", str(0x64636261)), GAUGE32),
    "Gauge32 from a number": Shown(unsigned(0, 70000), Varbind("Gauge32", "0"), GAUGE32),
    "Gauge32 of 40 bytes": Shown(text(0, "x" * 40), Varbind("Gauge32", "0"), GAUGE32),
    "Gauge32 of 41 bytes": Shown(text(0, "x" * 41), Varbind("Gauge32", "0"), GAUGE32),
    "Gauge32 of 64 bytes": Shown(text(0, "x" * 64), Varbind("Gauge32", "0"), GAUGE32),
    "Counter32 of 64 bytes": Shown(text(0, "x" * 64), Varbind("Counter32", "0"), COUNTER32),
    "TimeTicks": Shown(text(0, "ab"), Varbind("Timeticks", str(0x6261)), TIME_TICKS),
    "TimeTicks of 64 bytes": Shown(text(0, "x" * 64), Varbind("Timeticks", "0"), TIME_TICKS),
    # The agent library's counter is two longs, the upper half first.
    "Counter64": Shown(
        text(0, "abcdefgh"), Varbind("Counter64", str(0x6463626168676665 if SIZE_OF_LONG == 4 else 0)), COUNTER64),
    "Counter64 of 64 bytes": Shown(text(0, "x" * 64), Varbind("Counter64", "0"), COUNTER64),
    "Opaque": Shown(text(0, "abc"), Varbind("OPAQUE", "61 62 63"), OPAQUE),
    "empty OBJECT IDENTIFIER": Shown(text(0, "", width=4), Varbind("OID", ".0.0"), OBJECT_ID),
    "NULL": Shown(text(0, "abc"), NO_SUCH_INSTANCE, NULL),
    # Conversions.
    "IPv4 address": Shown(block(0, "c0a8010a"), string("192.168.1.10"), OCTET_STRING, 1),
    "IPv4 address, other code": Shown(block(0, "0afffe01"), string("10.255.254.1"), OCTET_STRING, 2),
    "IPv4 address in a number": Shown(unsigned(0, 0x0100007F), string("127.0.0.1"), OCTET_STRING, 1),
    "IPv4 address in a text": Shown(text(0, "ABCD"), string("65.66.67.68"), OCTET_STRING, 1),
    "IPv4 address with places": Shown(block(0, "01020304"), string("1.2.3.4"), OCTET_STRING, scaled(1, 3)),
    "decimal": Shown(unsigned(0, 1234), string("1234.00"), OCTET_STRING, 4),
    "decimal with one place": Shown(unsigned(0, 1234, 2), string("123.40"), OCTET_STRING, scaled(4, 1)),
    "decimal with two places, negative": Shown(signed(0, -5, 1), string("-0.05"), OCTET_STRING, scaled(4, 2)),
    "decimal with three places": Shown(unsigned(0, 1999), string("2.00"), OCTET_STRING, scaled(4, 3)),
    "decimal with fifteen places": Shown(unsigned(0, 4294967295), string("0.00"), OCTET_STRING, scaled(4, 15)),
    "decimal in single precision": Shown(unsigned(0, 4294967295), string("4294967296.00"), OCTET_STRING, 4),
    "decimal, most negative": Shown(signed(0, -2147483648), string("-2147483648.00"), OCTET_STRING, 4),
    "decimal as INTEGER": Shown(
        unsigned(0, 12), integer(int.from_bytes(b"12.0", "little")), conversion=4),
    "16 bits of a long": Shown(unsigned(0, 0x12345678), integer(0x5678), conversion=11),
    "16 bits of a negative number": Shown(signed(0, -1, 1), integer(65535), conversion=11),
    "scaled integer": Shown(unsigned(0, 1234), integer(1234), conversion=scaled(0, 3)),
    "unused kind 5": Shown(unsigned(0, 1234), integer(1234), conversion=scaled(5, 2)),
    "unused kind 9": Shown(unsigned(0, 1234), integer(1234), conversion=9),
    "unused kind 10": Shown(signed(0, -1234), integer(-1234), conversion=10),
    "unused kind 12": Shown(unsigned(0, 1234), integer(1234), conversion=12),
    "unused kind 4095": Shown(unsigned(0, 1234), integer(1234), conversion=0xFFFF),
}

FIRST_SHOWN = 0x1000
CLOCK = Scalar(0x0200, (2, 1, 0), asn_type=OCTET_STRING, access=READ_ONLY, value_type=3)
UNREADABLE = Scalar(0x0201, (2, 2, 0), access=READ_ONLY)
UNREADABLE_TO_WRITE = Scalar(0x0309, (3, 9, 0))

SHOWN_SCALARS = {
    name: Scalar(FIRST_SHOWN + place, (1, place + 1, 0), asn_type=each.asn_type, access=READ_ONLY,
                 value_type=each.conversion)
    for place, (name, each) in enumerate(SHOWN.items())
}
SHOWN_OBJECTS = [
    DeviceObject(FIRST_SHOWN + place, each.device.kind, each.device.value, each.device.width)
    for place, each in enumerate(SHOWN.values())
]


@dataclass(frozen=True)
class Written:
    """A writable object, what a manager sends, and what the device then holds and the manager then sees."""

    device: DeviceObject
    type: str
    sent: object
    arrived: str
    seen: Varbind
    asn_type: int = 2
    conversion: int = 0


WRITTEN = {
    "unsigned byte": Written(unsigned(0, 1, 1), "i", 200, "200", integer(200)),
    "unsigned byte, cut to its width": Written(unsigned(0, 1, 1), "i", 300, "44", integer(44)),
    "unsigned word": Written(unsigned(0, 1, 2), "i", 65535, "65535", integer(65535)),
    "unsigned word, cut to its width": Written(unsigned(0, 1, 2), "i", 0x12345, str(0x2345), integer(0x2345)),
    "unsigned long": Written(unsigned(0, 1), "i", 2147483647, "2147483647", integer(2147483647)),
    "unsigned long, negative": Written(unsigned(0, 1), "i", -1, "4294967295", integer(-1)),
    "signed byte": Written(signed(0, 1, 1), "i", -2, "-2", integer(-2)),
    "signed word": Written(signed(0, 1, 2), "i", -300, "-300", integer(-300)),
    "signed long": Written(signed(0, 1), "i", -70000, "-70000", integer(-70000)),
    "block of four bytes": Written(block(0, "00000000"), "i", 0x04030201, "01 02 03 04", integer(0x04030201)),
    "scaled by three places": Written(unsigned(0, 1), "i", 7, "7000", integer(7000), conversion=scaled(0, 3)),
    "scaled beyond the largest": Written(
        unsigned(0, 1), "i", 2147483647, "4294967295", integer(-1), conversion=scaled(0, 1)),
    "negative, scaled as unsigned": Written(
        unsigned(0, 1), "i", -1, "4294967295", integer(-1), conversion=scaled(0, 1)),
    # Bits 8 and 9 of the code give the value kind of what a manager sends.
    "negative, not converted": Written(signed(0, 1), "i", -1, "-1", integer(-1), conversion=0x0100),
    "16 bits shown of a long": Written(unsigned(0, 1), "i", 70000, "70000", integer(4464), conversion=11),
    "decimal": Written(unsigned(0, 1), "s", "12.5", "1250", string("12.50"), OCTET_STRING, scaled(4, 2)),
    "decimal without a period": Written(unsigned(0, 1), "s", "12", "1200", string("12.00"), OCTET_STRING, scaled(4, 2)),
    "decimal with more places": Written(unsigned(0, 1), "s", "1.259", "12", string("1.20"), OCTET_STRING, scaled(4, 1)),
    "decimal rounded down": Written(unsigned(0, 1), "s", "0.7", "6", string("0.60"), OCTET_STRING, scaled(4, 1)),
    "decimal of only a period": Written(unsigned(0, 1), "s", ".", "0", string("0.00"), OCTET_STRING, scaled(4, 2)),
    "decimal with two periods": Written(unsigned(0, 1), "s", "1.2.3", "12", string("1.20"), OCTET_STRING, scaled(4, 1)),
    "decimal beyond the largest": Written(
        unsigned(0, 1), "s", "99999999999", "4294967295", string("4294967296.00"), OCTET_STRING, 4),
    "address is not parsed": Written(block(0, "00000000"), "s", "1234", "31 32 33 34", string("49.50.51.52"),
                                     OCTET_STRING, 1),
    "text": Written(text(0, "old", 10), "s", "new text", "new text", string("new text"), OCTET_STRING),
    "text that fills its room": Written(text(0, "old", 10), "s", "0123456789", "0123456789", string("0123456789"),
                                        OCTET_STRING),
    "text of 64 bytes": Written(text(0, "old", 64), "s", A_LONG_TEXT, A_LONG_TEXT, string(A_LONG_TEXT), OCTET_STRING),
    "empty text": Written(text(0, "old", 10), "s", "", "", string(""), OCTET_STRING),
    "text up to a NUL": Written(text(0, "old", 10), "x", "610062", "a", string("a"), OCTET_STRING),
    "text beyond ASCII": Written(text(0, "old", 10), "x", "e4f6", r"\xe4\xf6", string("äö"), OCTET_STRING),
    "text with a conversion that is none": Written(
        text(0, "old", 10), "s", "abc", "abc", string("abc"), OCTET_STRING, 9),
    # Any type may be sent: an INTEGER is four bytes, everything else a text.
    "INTEGER into a text": Written(text(0, "old", 10), "i", 0x4241, "AB", string("AB"), OCTET_STRING),
    "Gauge32 into a number": Written(unsigned(0, 1), "u", 5, "5", integer(5)),
    "Gauge32 with a zero byte into a number": Written(unsigned(0, 1), "u", 0x10005, "5", integer(5)),
    "IpAddress into a text": Written(text(0, "old", 10), "a", "65.66.67.68", "ABCD", string("ABCD"), OCTET_STRING),
    "OCTET STRING into a number": Written(unsigned(0, 1), "s", "AB", str(0x4241), integer(0x4241)),
}

FIRST_WRITTEN = 0x2000
WRITTEN_SCALARS = {
    name: Scalar(FIRST_WRITTEN + place, (4, place + 1, 0), asn_type=each.asn_type, value_type=each.conversion)
    for place, (name, each) in enumerate(WRITTEN.items())
}
WRITTEN_OBJECTS = [
    DeviceObject(FIRST_WRITTEN + place, each.device.kind, each.device.value, each.device.width, writable=True)
    for place, each in enumerate(WRITTEN.values())
]

# Rejected sets. The names say why.
READ_ONLY_HERE = Scalar(0x0301, (3, 1, 0), access=READ_ONLY)
READ_ONLY_THERE = Scalar(0x0302, (3, 2, 0))
TEXT = Scalar(0x0303, (3, 3, 0), asn_type=OCTET_STRING)
DECIMAL = Scalar(0x0304, (3, 4, 0), asn_type=OCTET_STRING, value_type=scaled(4, 1))
WIDE = Scalar(0x0305, (3, 5, 0), asn_type=OCTET_STRING)
NUMBER = Scalar(0x0306, (3, 6, 0))
WRITE_ONLY = Scalar(0x0307, (3, 7, 0), access=2)
NO_ACCESS = Scalar(0x0308, (3, 8, 0), access=0)
OTHERS = [CLOCK, UNREADABLE, READ_ONLY_HERE, READ_ONLY_THERE, TEXT, DECIMAL, WIDE, NUMBER, WRITE_ONLY, NO_ACCESS,
          UNREADABLE_TO_WRITE]
OTHER_OBJECTS = [
    unsigned(0x0200, 99), unsigned(0x0301, 1, writable=True), unsigned(0x0302, 1),
    text(0x0303, "old", 10, writable=True),
    unsigned(0x0304, 15, writable=True), text(0x0305, "old", 100, writable=True), unsigned(0x0306, 1, writable=True),
    unsigned(0x0307, 7, writable=True), unsigned(0x0308, 8, writable=True),
]


@pytest.fixture(scope="module")
def served(shared_stack: Stack) -> Iterator[Stack]:
    """All the scalars above. Tests restore what they write and others read."""
    shared_stack.start_simulator([*start_up_objects(), *SHOWN_OBJECTS, *WRITTEN_OBJECTS, *OTHER_OBJECTS])
    shared_stack.start_master()
    agent = shared_stack.start_agent(
        mapping=Mapping([*SHOWN_SCALARS.values(), *WRITTEN_SCALARS.values(), *OTHERS]))
    shared_stack.wait_until_served(NUMBER.oid)
    yield shared_stack
    assert agent.is_running()


def on_device(stack: Stack, scalar: Scalar) -> str:
    assert stack.simulator
    return stack.simulator.command(f"get {scalar.obj_id:#x}").removeprefix("value ")


# Reading


@pytest.mark.parametrize("name", SHOWN)
def test_get_shows(served: Stack, name: str) -> None:
    assert served.snmp.get(SHOWN_SCALARS[name].oid) == SHOWN[name].seen


@pytest.mark.parametrize("name", SHOWN)
def test_getnext_of_the_object_shows(served: Stack, name: str) -> None:
    scalar, seen = SHOWN_SCALARS[name], SHOWN[name].seen
    if seen == NO_SUCH_INSTANCE:
        # There is nothing to show, so the next object is returned.
        names = list(SHOWN)
        following = names[names.index(name) + 1]
        scalar, seen = SHOWN_SCALARS[following], SHOWN[following].seen
    answer = served.snmp.getnext(SHOWN_SCALARS[name].name)
    assert (answer.oid, answer) == (scalar.oid, seen)


def everything_shown() -> list[tuple[str, Varbind]]:
    return [
        (SHOWN_SCALARS[name].oid, each.seen) for name, each in SHOWN.items() if each.seen != NO_SUCH_INSTANCE]


def test_a_walk_shows_everything_in_order(served: Stack) -> None:
    assert [(each.oid, each) for each in served.snmp.walk(f"{BASE}.1")] == everything_shown()


@pytest.mark.parametrize("repetitions", [1, 7, 60])
def test_a_walk_in_bulk_shows_everything_in_order(served: Stack, repetitions: int) -> None:
    walked = served.snmp.bulkwalk(f"{BASE}.1", max_repetitions=repetitions)
    assert [(each.oid, each) for each in walked] == everything_shown()


def test_one_bulk_request_shows_several_repetitions_of_several_objects(served: Stack) -> None:
    answer = served.snmp.getbulk(
        NUMBER.name, f"{BASE}.1.1", f"{BASE}.1.12", non_repeaters=1, max_repetitions=3)
    names = list(SHOWN)
    expected = [(NUMBER.oid, integer(1))]
    for repetition in range(3):
        for first in (0, 11):
            name = names[first + repetition]
            expected.append((SHOWN_SCALARS[name].oid, SHOWN[name].seen))
    assert [(each.oid, each) for each in answer] == expected


def test_one_request_gets_many_objects(served: Stack) -> None:
    oids = [scalar.oid for scalar in SHOWN_SCALARS.values()]
    assert served.snmp.get_all(*oids) == [each.seen for each in SHOWN.values()]


def test_one_request_gets_one_object_twice_and_what_is_not_there(served: Stack) -> None:
    there = SHOWN_SCALARS["text"]
    assert served.snmp.get_all(there.oid, f"{there.name}.1", f"{BASE}.1.99.0.0", there.oid) == [
        string("hello"), NO_SUCH_INSTANCE, NO_SUCH_OBJECT, string("hello")]


def test_one_request_gets_the_next_of_several_objects(served: Stack) -> None:
    byte, word = SHOWN_SCALARS["unsigned byte"], SHOWN_SCALARS["unsigned word"]
    answers = served.snmp.getnext_all(byte.name, byte.oid, BASE)
    assert [each.oid for each in answers] == [byte.oid, word.oid, byte.oid]


NAMES = {
    "object": ("", NO_SUCH_INSTANCE),
    "instance 0": (".0", integer(255)),
    "instance 1": (".1", NO_SUCH_INSTANCE),
    "below the instance": (".0.0", NO_SUCH_INSTANCE),
}


@pytest.mark.parametrize("suffix, answer", NAMES.values(), ids=NAMES.keys())
def test_get_answers_only_the_instance(served: Stack, suffix: str, answer: Varbind) -> None:
    assert served.snmp.get(SHOWN_SCALARS["unsigned byte"].name + suffix) == answer


@pytest.mark.parametrize("oid", [f"{BASE}.1", f"{BASE}.1.1", f"{BASE}.1.99.0.0", f"{BASE}.77.1.0.0", BASE])
def test_get_finds_nothing_outside_of_the_objects(served: Stack, oid: str) -> None:
    assert served.snmp.get(oid) == NO_SUCH_OBJECT


@pytest.mark.parametrize("suffix", [".0", ".0.0", ".0.5", ".1", ".7.7"])
def test_getnext_behind_the_instance_goes_on_to_the_next_object(served: Stack, suffix: str) -> None:
    answer = served.snmp.getnext(SHOWN_SCALARS["unsigned byte"].name + suffix)
    assert (answer.oid, answer) == (SHOWN_SCALARS["unsigned word"].oid, integer(65535))


def test_getnext_behind_the_last_object_leaves_the_agent(served: Stack) -> None:
    last = list(WRITTEN_SCALARS.values())[-1]
    assert not served.snmp.getnext(last.oid).oid.startswith(BASE)


def test_the_clock_is_the_agents_in_local_time(served: Stack) -> None:
    assert_shows_now(lambda: served.snmp.get(CLOCK.oid), time.localtime)


def test_an_object_that_the_device_does_not_know_is_no_instance(served: Stack) -> None:
    assert served.snmp.get(UNREADABLE.oid) == NO_SUCH_INSTANCE


def test_getnext_passes_over_an_object_that_the_device_does_not_know(served: Stack) -> None:
    answer = served.snmp.getnext(UNREADABLE.name)
    assert (answer.oid, answer) == (READ_ONLY_HERE.oid, integer(1))


def test_what_the_device_changes_is_seen_at_once(served: Stack) -> None:
    assert served.simulator
    served.simulator.command(f"set {NUMBER.obj_id:#x} 55")
    assert served.snmp.get(NUMBER.oid) == integer(55)
    served.simulator.command(f"set {NUMBER.obj_id:#x} 1")
    assert served.snmp.get(NUMBER.oid) == integer(1)


def test_a_manager_may_read_with_snmpv1_and_with_snmpv3(served: Stack) -> None:
    oid = SHOWN_SCALARS["text"].oid
    assert served.snmp.using(version="1", community="public").get(oid) == string("hello")
    assert served.operator.get(oid) == string("hello")


# Writing


@pytest.mark.parametrize("name", WRITTEN)
def test_set_writes(served: Stack, name: str) -> None:
    scalar, each = WRITTEN_SCALARS[name], WRITTEN[name]
    served.snmp.set(scalar.oid, each.type, each.sent)
    assert on_device(served, scalar) == each.arrived
    assert served.snmp.get(scalar.oid) == each.seen


REFUSED = {
    "to an object that the mapping has as read-only": (READ_ONLY_HERE.oid, "i", 5, "notWritable"),
    "to an object that the device has as read-only": (READ_ONLY_THERE.oid, "i", 5, "badValue"),
    "of a text longer than the object": (TEXT.oid, "s", "x" * 11, "badValue"),
    "of a text of 65 bytes": (WIDE.oid, "s", "x" * 65, "badValue"),
    "of a negative decimal": (DECIMAL.oid, "s", "-3", "badValue"),
    "of a word for a decimal": (DECIMAL.oid, "s", "12a", "badValue"),
    "of a blank in a decimal": (DECIMAL.oid, "s", " 12", "badValue"),
    "of an empty decimal": (DECIMAL.oid, "s", "", "badValue"),
    "to the object instead of its instance": (NUMBER.name, "i", 5, "notWritable"),
    "to another instance": (f"{NUMBER.name}.1", "i", 5, "notWritable"),
    "to what is not there": (f"{BASE}.3.99.0.0", "i", 5, "notWritable"),
    "to a read-only object that the device does not know": (UNREADABLE.oid, "i", 5, "notWritable"),
    "to an object that the device does not know": (UNREADABLE_TO_WRITE.oid, "i", 5, "badValue"),
}


@pytest.mark.parametrize("oid, type, value, status", REFUSED.values(), ids=REFUSED.keys())
def test_a_set_is_refused(served: Stack, oid: str, type: str, value: object, status: str) -> None:
    def refused() -> SnmpError:
        with pytest.raises(SnmpError) as refusal:
            served.snmp.set(oid, type, value)
        return refusal.value

    observed = observe(served, refused)
    assert isinstance(observed.result, SnmpError)
    assert (observed.result.status, observed.result.failed_oid) == (status, oid)
    assert not [request for request in observed.requests if request.startswith("01")]


def test_a_text_of_64_bytes_fits_where_one_of_65_does_not(served: Stack) -> None:
    served.snmp.set(WIDE.oid, "s", A_LONG_TEXT)
    assert on_device(served, WIDE) == A_LONG_TEXT
    served.snmp.set(WIDE.oid, "s", "old")


def test_a_set_for_the_readers_community_is_refused_by_the_master(served: Stack) -> None:
    with pytest.raises(SnmpError) as refusal:
        served.snmp.using(community="public").set(NUMBER.oid, "i", 5)
    assert refusal.value.status == "noAccess"
    assert on_device(served, NUMBER) == "1"


def test_what_is_refused_first_keeps_the_rest_of_a_set_from_being_written(served: Stack) -> None:
    with pytest.raises(SnmpError) as refusal:
        served.snmp.set_all((NUMBER.oid, "i", 5), (READ_ONLY_HERE.oid, "i", 6))
    assert (refusal.value.status, refusal.value.failed_oid) == ("notWritable", READ_ONLY_HERE.oid)
    assert on_device(served, NUMBER) == "1"


def test_one_set_of_several_objects_writes_the_one_that_was_looked_up_last(served: Stack) -> None:
    other = WRITTEN_SCALARS["unsigned long"]
    before = on_device(served, other)
    served.snmp.set_all((other.oid, "i", 123), (NUMBER.oid, "i", 456))
    assert (on_device(served, other), on_device(served, NUMBER)) == (before, "456")
    served.snmp.set(NUMBER.oid, "i", 1)


def test_a_set_that_the_device_refuses_counts_as_done(served: Stack) -> None:
    assert served.simulator
    served.simulator.command(f"fault {NUMBER.obj_id:#x} error 0x14 only writes times 1")
    assert served.snmp.set(NUMBER.oid, "i", 5) == integer(5)
    assert on_device(served, NUMBER) == "1"


def test_an_object_with_only_the_write_bit_is_read_and_written(served: Stack) -> None:
    assert served.snmp.get(WRITE_ONLY.oid) == integer(7)
    served.snmp.set(WRITE_ONLY.oid, "i", 70)
    assert on_device(served, WRITE_ONLY) == "70"


def test_an_object_without_access_bits_is_read(served: Stack) -> None:
    assert served.snmp.get(NO_ACCESS.oid) == integer(8)
    with pytest.raises(SnmpError) as refusal:
        served.snmp.set(NO_ACCESS.oid, "i", 5)
    assert refusal.value.status == "notWritable"


def test_a_read_of_a_writable_object_does_not_write(served: Stack) -> None:
    observed = observe(served, lambda: served.snmp.get(NUMBER.oid))
    assert observed.requests == [read_frame(0x0306)]

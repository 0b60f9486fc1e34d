"""The encoding of SNMPv2c messages (BER), as far as the tests' managers need it."""
from __future__ import annotations

from collections.abc import Iterator

INTEGER, OCTETS, NULL, OBJECT_ID, SEQUENCE = 0x02, 0x04, 0x05, 0x06, 0x30
GET, GETNEXT, RESPONSE, SET, GETBULK = 0xA0, 0xA1, 0xA2, 0xA3, 0xA5
GAUGE32 = 0x42
NO_SUCH_OBJECT, NO_SUCH_INSTANCE, END_OF_MIB = 0x80, 0x81, 0x82
#: The tags of exceptions, in place of a value.
EXCEPTIONS = {NO_SUCH_OBJECT: "noSuchObject", NO_SUCH_INSTANCE: "noSuchInstance", END_OF_MIB: "endOfMibView"}

_VERSION_2C = 1


def encode(tag: int, *parts: bytes) -> bytes:
    content = b"".join(parts)
    length = len(content)
    if length < 0x80:
        return bytes([tag, length]) + content
    digits = length.to_bytes((length.bit_length() + 7) // 8, "big")
    return bytes([tag, 0x80 | len(digits)]) + digits + content


def encode_integer(number: int, tag: int = INTEGER) -> bytes:
    bits = (number if number >= 0 else ~number).bit_length() + 1
    return encode(tag, number.to_bytes((bits + 7) // 8, "big", signed=True))


def encode_name(oid: str) -> bytes:
    numbers = [int(number) for number in oid.strip(".").split(".")]
    encoded = bytearray([numbers[0] * 40 + numbers[1]])
    for number in numbers[2:]:
        septets = [number & 0x7F]
        while number := number >> 7:
            septets.append(number & 0x7F | 0x80)
        encoded += bytes(reversed(septets))
    return encode(OBJECT_ID, bytes(encoded))


def message(community: str, pdu: int, request_id: int, first: int, second: int, varbinds: bytes) -> bytes:
    """A whole message. `first` and `second` are the error status and index, or a bulk request's fields in
    their place; `varbinds` are encoded pairs of name and value."""
    return encode(
        SEQUENCE, encode_integer(_VERSION_2C), encode(OCTETS, community.encode()),
        encode(pdu, encode_integer(request_id), encode_integer(first), encode_integer(second),
               encode(SEQUENCE, varbinds)))


def elements(content: bytes) -> Iterator[tuple[int, bytes, bytes]]:
    """The elements of an encoding in order: tag, content and the whole of each."""
    place = 0
    while place < len(content):
        start = place
        tag, length = content[place], content[place + 1]
        place += 2
        if length & 0x80:
            digits = length & 0x7F
            length = int.from_bytes(content[place:place + digits], "big")
            place += digits
        yield tag, content[place:place + length], content[start:place + length]
        place += length

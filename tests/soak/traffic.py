"""The requests of the soak: random ones of every kind, each with the answer that it must get."""
from __future__ import annotations

import random
import string
from collections.abc import Callable
from dataclasses import dataclass, field

from held import Entry, Held, encode_value
from naming import Value, letter_at, number_at, text_at
from support import ber
from support.device import BASE

_NO_ERROR, _GEN_ERROR, _BAD_VALUE, _NOT_WRITABLE = 0, 5, 3, 17
_LARGEST_SMALL = 0x7F
_MOST_VARBINDS = 6
_MOST_REPETITIONS = 8
_SCALAR_NAME = f"{BASE}.1.2.0"


def varbind(name: bytes, value: bytes) -> bytes:
    return ber.encode(ber.SEQUENCE, name, value)


@dataclass
class Request:
    """One request. `touched` are the device objects that it may read or write."""

    kind: str
    pdu: int
    varbinds: list[bytes]
    expected: list[bytes]
    touched: set[int | None]
    status: int = _NO_ERROR
    #: A bulk request's fields in place of error status and index.
    bulk: tuple[int, int] = (0, 0)
    writes: list[tuple[Entry, Value]] = field(default_factory=list)

    def encoded(self, request_id: int) -> bytes:
        return ber.message("private", self.pdu, request_id, *self.bulk, b"".join(self.varbinds))

    def answer(self, request_id: int) -> bytes:
        """The correct answer, byte for byte."""
        index = 0 if self.status == _NO_ERROR else 1
        return ber.message(
            "private", ber.RESPONSE, request_id, self.status, index, b"".join(self.expected))


class Traffic:
    """Creates batches of requests that may be outstanding together: none writes what another one touches."""

    def __init__(self, held: Held, chance: random.Random) -> None:
        self._held = held
        self._chance = chance
        self._kinds: dict[Callable[[], Request], int] = {
            self._get: 50, self._get_missing: 3, self._getnext: 18, self._getbulk: 6, self._set: 14,
            self._set_several: 3, self._set_wrong_type: 3, self._set_refused: 3,
        }

    def batch(self, size: int) -> list[Request]:
        requests: list[Request] = []
        read: set[int | None] = set()
        written: set[int | None] = set()
        while len(requests) < size:
            request = self._chance.choices(list(self._kinds), list(self._kinds.values()))[0]()
            writes = {entry.obj_id for entry, _ in request.writes}
            if request.touched & written or writes & read:
                continue
            requests.append(request)
            read |= request.touched
            written |= writes
        return requests

    def get(self, entries: list[Entry]) -> Request:
        return self._reading("get", ber.GET, entries, entries)

    def _entries(self, most: int) -> list[Entry]:
        return self._chance.choices(self._held.entries, k=self._chance.randint(1, most))

    def _get(self) -> Request:
        return self.get(self._entries(_MOST_VARBINDS))

    def _get_missing(self) -> Request:
        there = self._entries(2)
        request = self._reading("get of what is not there", ber.GET, there, there)
        for oid, tag in ((f"{_SCALAR_NAME}.0.0", ber.NO_SUCH_INSTANCE), (f"{BASE}.77.1.0.0", ber.NO_SUCH_OBJECT)):
            place = self._chance.randint(0, len(request.varbinds))
            name = ber.encode_name(oid)
            request.varbinds.insert(place, varbind(name, ber.encode(ber.NULL)))
            request.expected.insert(place, varbind(name, ber.encode(tag)))
        return request

    def _getnext(self) -> Request:
        entries = self._held.entries
        places = [self._chance.randrange(len(entries) - 1) for _ in range(self._chance.randint(1, 3))]
        return self._reading(
            "get-next", ber.GETNEXT, [entries[place] for place in places], [entries[place + 1] for place in places])

    def _getbulk(self) -> Request:
        entries = self._held.entries
        repetitions = self._chance.randint(1, _MOST_REPETITIONS)
        once = self._chance.randrange(len(entries) - 1)
        first = self._chance.randrange(len(entries) - repetitions)
        request = self._reading(
            "get-bulk", ber.GETBULK, [entries[once], entries[first]],
            [entries[once + 1], *entries[first + 1:first + 1 + repetitions]])
        request.bulk = (1, repetitions)
        return request

    @staticmethod
    def _reading(kind: str, pdu: int, asked: list[Entry], answered: list[Entry]) -> Request:
        return Request(
            kind, pdu, [varbind(entry.name, ber.encode(ber.NULL)) for entry in asked],
            [varbind(entry.name, entry.encoded) for entry in answered],
            {entry.obj_id for entry in [*asked, *answered]})

    @staticmethod
    def _writing(kind: str, writes: list[tuple[Entry, Value, bytes]]) -> Request:
        """Each write has the entry, the value that the entry will hold, and the value that is sent."""
        varbinds = [varbind(entry.name, sent) for entry, _, sent in writes]
        return Request(
            kind, ber.SET, varbinds, varbinds, {entry.obj_id for entry, _, _ in writes},
            writes=[(entry, value) for entry, value, _ in writes])

    def _new_value(self, entry: Entry) -> Value:
        if entry.is_text:
            return text_at(entry.place, self._chance, entry.room)
        return number_at(entry.place, self._chance)

    def _proper(self, entry: Entry) -> tuple[Entry, Value, bytes]:
        value = self._new_value(entry)
        return entry, value, encode_value(value)

    def _set(self) -> Request:
        return self._writing("set", [self._proper(self._chance.choice(self._held.writable))])

    def _set_several(self) -> Request:
        """One scalar and one cell of each table: a set of several cells of one table writes one value."""
        writable = self._held.writable
        groups = {entry.table: [other for other in writable if other.table == entry.table] for entry in writable}
        return self._writing(
            "set of several", [self._proper(self._chance.choice(group)) for group in groups.values()])

    def _set_wrong_type(self) -> Request:
        """A number is taken as the bytes of a text, and vice versa."""
        entry = self._chance.choice(self._held.writable)
        first, second = letter_at(entry.place), self._chance.choice(string.ascii_letters)
        word = ord(first) | ord(second) << 8
        if entry.is_text:
            return self._writing("set of another type", [(entry, first + second, ber.encode_integer(word))])
        if self._chance.random() < 0.5:
            return self._writing("set of another type", [(entry, word, encode_value(first + second))])
        small = number_at(entry.place, self._chance, _LARGEST_SMALL)
        return self._writing("set of another type", [(entry, small, ber.encode_integer(small, ber.GAUGE32))])

    def _set_refused(self) -> Request:
        """Of an object that the mapping makes read-only, or of a text that does not fit the object."""
        texts = [entry for entry in self._held.writable if entry.is_text]
        entry = self._chance.choice([*self._held.refusing, *texts])
        if entry.is_writable:
            return self._refused(entry, encode_value("x" * (entry.room + 1)), _BAD_VALUE)
        return self._refused(entry, encode_value(entry.value), _NOT_WRITABLE)

    @staticmethod
    def _refused(entry: Entry, sent: bytes, scalar_status: int) -> Request:
        varbinds = [varbind(entry.name, sent)]
        return Request(
            "refused set", ber.SET, varbinds, varbinds, {entry.obj_id},
            status=scalar_status if entry.is_scalar else _GEN_ERROR)

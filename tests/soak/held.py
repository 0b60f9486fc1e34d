"""What the device holds and what a manager has to see of it: the truth that answers are checked against."""
from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass, replace

from naming import Value, isNameOf, placesOf
from support import ber
from support.device import DeviceObject
from support.mapping import OCTET_STRING, READ_WRITE, Cell, Mapping, Scalar, cellOid
from support.program import CommandedProgram

#: The column of every table that no device object stands behind: the number of the row.
_ROW_COLUMN = 1


def encodeValue(value: Value) -> bytes:
    return ber.encodeInteger(value) if isinstance(value, int) else ber.encode(ber.OCTETS, value.encode("latin-1"))


@dataclass(eq=False)
class Entry:
    """One instance that a manager sees. The row numbers have no device object: their id is None."""

    oid: str
    objId: int | None
    value: Value
    isScalar: bool
    table: str | None = None
    #: Whether the mapping lets a manager write it.
    isWritable: bool = False
    room: int = 0
    #: Which values name it.
    place: int = 0

    def __post_init__(self) -> None:
        self.name = ber.encodeName(self.oid)
        self.isText = isinstance(self.value, str)
        self.hold(self.value)

    def hold(self, value: Value) -> None:
        self.value = value
        self.encoded = encodeValue(value)

    def isNamedBy(self, encoded: bytes) -> bool:
        """Whether this is a value of this object, though maybe not that of today."""
        tag, content, _ = next(ber.elements(encoded))
        if tag not in (ber.INTEGER, ber.OCTETS) or self.isText != (tag == ber.OCTETS):
            return False
        value = content.decode("latin-1") if self.isText else int.from_bytes(content, "big", signed=True)
        return isNameOf(self.place, value)


class Held:
    """All instances in the order of their names."""

    def __init__(self, mapping: Mapping, objects: Iterable[DeviceObject], rows: int) -> None:
        self._objects = {each.objId: each for each in objects}
        self._places = placesOf(self._objects.values())
        entries = [self._scalar(scalar) for scalar in mapping.scalars]
        entries += [self._cell(cell) for cell in mapping.cells]
        entries += [
            Entry(cellOid(node, _ROW_COLUMN, row), None, row, isScalar=False, table=node)
            for node in {str(cell.node) for cell in mapping.cells} for row in range(1, rows + 1)]
        self.entries = sorted(entries, key=lambda entry: [int(arc) for arc in entry.oid.strip(".").split(".")])
        self.byName = {entry.name: entry for entry in self.entries}
        self.onDevice = [entry for entry in self.entries if entry.objId is not None]
        self.writable = [entry for entry in self.entries if entry.isWritable]
        self.refusing = [entry for entry in self.onDevice if not entry.isWritable]

    def deviceObjects(self) -> list[DeviceObject]:
        """The device with the values that it holds now."""
        now = {entry.objId: entry.value for entry in self.onDevice}
        return [replace(each, value=now.get(each.objId, each.value)) for each in self._objects.values()]

    def differences(self, device: CommandedProgram) -> list[Entry]:
        """Takes over what the device really holds; gives the writable entries that had another value."""
        different = []
        for entry in self.writable:
            told = device.command(f"get {entry.objId:#x}").removeprefix("value").removeprefix(" ")
            value: Value = told if entry.isText else int(told)
            if value != entry.value:
                different.append(entry)
                entry.hold(value)
        return different

    def _scalar(self, scalar: Scalar) -> Entry:
        return self._entry(scalar, scalar.oid, isScalar=True, table=None)

    def _cell(self, cell: Cell) -> Entry:
        return self._entry(cell, cell.oid, isScalar=False, table=str(cell.node))

    def _entry(self, record: Scalar | Cell, oid: str, isScalar: bool, table: str | None) -> Entry:
        assert isinstance(record.objId, int)
        thing = self._objects[record.objId]
        assert isinstance(thing.value, str) == (record.asnType == OCTET_STRING), f"{oid} is shown as it is held"
        return Entry(oid, record.objId, thing.value, isScalar, table,
                     isWritable=record.access == READ_WRITE and thing.writable, room=thing.width or 0,
                     place=self._places[record.objId])

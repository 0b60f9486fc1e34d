"""What the device holds and what a manager must see of it: the reference that answers are checked against."""
from __future__ import annotations

from collections.abc import Iterable
from dataclasses import dataclass, replace

from naming import Value, is_name_of, places_of
from support import ber
from support.device import DeviceObject
from support.mapping import OCTET_STRING, READ_WRITE, Cell, Mapping, Scalar, cell_oid
from support.program import CommandedProgram

#: The column of every table without a device object: the row number.
_ROW_COLUMN = 1


def encode_value(value: Value) -> bytes:
    return ber.encode_integer(value) if isinstance(value, int) else ber.encode(ber.OCTETS, value.encode("latin-1"))


@dataclass(eq=False)
class Entry:
    """One instance that a manager sees. The row numbers have no device object: their id is None."""

    oid: str
    obj_id: int | None
    value: Value
    is_scalar: bool
    table: str | None = None
    #: Whether the mapping lets a manager write it.
    is_writable: bool = False
    room: int = 0
    #: Which values name it.
    place: int = 0

    def __post_init__(self) -> None:
        self.name = ber.encode_name(self.oid)
        self.is_text = isinstance(self.value, str)
        self.hold(self.value)

    def hold(self, value: Value) -> None:
        self.value = value
        self.encoded = encode_value(value)

    def is_named_by(self, encoded: bytes) -> bool:
        """Whether this is a value of this object, though maybe an outdated one."""
        tag, content, _ = next(ber.elements(encoded))
        if tag not in (ber.INTEGER, ber.OCTETS) or self.is_text != (tag == ber.OCTETS):
            return False
        value = content.decode("latin-1") if self.is_text else int.from_bytes(content, "big", signed=True)
        return is_name_of(self.place, value)


class Held:
    """All instances in the order of their names."""

    def __init__(self, mapping: Mapping, objects: Iterable[DeviceObject], rows: int) -> None:
        self._objects = {each.obj_id: each for each in objects}
        self._places = places_of(self._objects.values())
        entries = [self._scalar(scalar) for scalar in mapping.scalars]
        entries += [self._cell(cell) for cell in mapping.cells]
        entries += [
            Entry(cell_oid(node, _ROW_COLUMN, row), None, row, is_scalar=False, table=node)
            for node in {str(cell.node) for cell in mapping.cells} for row in range(1, rows + 1)]
        self.entries = sorted(entries, key=lambda entry: [int(arc) for arc in entry.oid.strip(".").split(".")])
        self.by_name = {entry.name: entry for entry in self.entries}
        self.on_device = [entry for entry in self.entries if entry.obj_id is not None]
        self.writable = [entry for entry in self.entries if entry.is_writable]
        self.refusing = [entry for entry in self.on_device if not entry.is_writable]

    def device_objects(self) -> list[DeviceObject]:
        """The device with its current values."""
        now = {entry.obj_id: entry.value for entry in self.on_device}
        return [replace(each, value=now.get(each.obj_id, each.value)) for each in self._objects.values()]

    def differences(self, device: CommandedProgram) -> list[Entry]:
        """Adopts what the device really holds; returns the writable entries that had another value."""
        different = []
        for entry in self.writable:
            told = device.command(f"get {entry.obj_id:#x}").removeprefix("value").removeprefix(" ")
            value: Value = told if entry.is_text else int(told)
            if value != entry.value:
                different.append(entry)
                entry.hold(value)
        return different

    def _scalar(self, scalar: Scalar) -> Entry:
        return self._entry(scalar, scalar.oid, is_scalar=True, table=None)

    def _cell(self, cell: Cell) -> Entry:
        return self._entry(cell, cell.oid, is_scalar=False, table=str(cell.node))

    def _entry(self, record: Scalar | Cell, oid: str, is_scalar: bool, table: str | None) -> Entry:
        assert isinstance(record.obj_id, int)
        thing = self._objects[record.obj_id]
        assert isinstance(thing.value, str) == (record.asn_type == OCTET_STRING), f"{oid} is shown as it is held"
        return Entry(oid, record.obj_id, thing.value, is_scalar, table,
                     is_writable=record.access == READ_WRITE and thing.writable, room=thing.width or 0,
                     place=self._places[record.obj_id])

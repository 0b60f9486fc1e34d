"""The device side of the link: queue keys and the simulator's objects."""
from __future__ import annotations

import json
from collections.abc import Iterable
from dataclasses import dataclass
from pathlib import Path

REQUEST_QUEUE = 0x4008
ANSWER_QUEUE = 0x4009

BASE = ".1.3.6.1.4.1.32473.8.2.2.3.8"
BASE_OBJECT = 0x80BA
ROWS_OBJECT = 0x0A41


@dataclass(frozen=True)
class DeviceObject:
    """One object of the simulated device. The width of a text is its capacity; a text or block without a
    width has that of its value."""

    obj_id: int
    kind: str
    value: int | str
    width: int | None = None
    writable: bool = False

    def as_yaml(self) -> dict[str, object]:
        entry: dict[str, object] = {
            "id": self.obj_id, "kind": self.kind, "value": self.value, "writable": self.writable,
        }
        if self.width is not None:
            entry["width"] = self.width
        return entry


def unsigned(obj_id: int, value: int, width: int = 4, writable: bool = False) -> DeviceObject:
    return DeviceObject(obj_id, "unsigned", value, width, writable)


def signed(obj_id: int, value: int, width: int = 4, writable: bool = False) -> DeviceObject:
    return DeviceObject(obj_id, "signed", value, width, writable)


def text(obj_id: int, value: str, width: int | None = None, writable: bool = False) -> DeviceObject:
    return DeviceObject(obj_id, "string", value, width, writable)


def block(obj_id: int, hex_bytes: str, width: int | None = None, writable: bool = False) -> DeviceObject:
    """A value of kind "other", given as hexadecimal bytes."""
    return DeviceObject(obj_id, "other", hex_bytes, width, writable)


def start_up_objects(base: str = BASE, rows: int = 1) -> list[DeviceObject]:
    """The two objects that the agent reads at start-up; `rows` 0 means 4 rows, 1 means 8, anything else none.
    """
    return [text(BASE_OBJECT, base), unsigned(ROWS_OBJECT, rows, width=1)]


def write_objects(path: Path, objects: Iterable[DeviceObject]) -> Path:
    """Writes the simulator's object file (JSON is YAML)."""
    path.write_text(json.dumps({"objects": [each.as_yaml() for each in objects]}, indent=1), encoding="utf-8")
    return path

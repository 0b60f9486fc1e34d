"""Values that name their object: no two objects ever hold the same one, so an answer with another object's value is
always detected. A number is identified by its remainder modulo 32, a text by its first letter."""
from __future__ import annotations

import random
import string
from collections.abc import Iterable
from dataclasses import replace

from support.device import BASE_OBJECT, ROWS_OBJECT, DeviceObject

Value = int | str

_STEP = 32
#: In ASCII, the letter of a place is the same number modulo 32.
_LETTERS = string.ascii_lowercase
_LARGEST_BYTE, _LARGEST_WORD, _LARGEST_LONG = 0xFF, 0xFFFF, 0x7FFFFFFF
#: The place of the only text that may be empty.
_EMPTY_PLACE = 1


def letter_at(place: int) -> str:
    return _LETTERS[place - 1]


def number_at(place: int, chance: random.Random, most: int = _LARGEST_WORD) -> int:
    """At least 32, and so never a row number."""
    return chance.randrange(_STEP + place, most + 1, _STEP)


def text_at(place: int, chance: random.Random, room: int) -> str:
    if place == _EMPTY_PLACE and chance.random() < 0.2:
        return ""
    return letter_at(place) + "".join(chance.choices(string.ascii_letters, k=chance.randint(0, room - 1)))


def is_name_of(place: int, value: Value) -> bool:
    if isinstance(value, int):
        return value % _STEP == place
    return value[:1] == letter_at(place) or (not value and place == _EMPTY_PLACE)


def places_of(objects: Iterable[DeviceObject]) -> dict[int, int]:
    """The places of the objects that managers see, writable ones first; numbers and texts are counted separately."""
    served = [each for each in objects if each.obj_id not in (BASE_OBJECT, ROWS_OBJECT)]
    served.sort(key=lambda each: not each.writable)
    places: dict[int, int] = {}
    for kind in (int, str):
        of_kind = [each for each in served if isinstance(each.value, kind)]
        assert len(of_kind) < _STEP and sum(each.writable for each in of_kind) <= len(_LETTERS)
        places |= {each.obj_id: place for place, each in enumerate(of_kind, 1)}
    return places


def named(objects: Iterable[DeviceObject], chance: random.Random) -> list[DeviceObject]:
    """The objects, each with a value that names it in place of its own."""
    objects = list(objects)
    places = places_of(objects)
    return [replace(each, value=_name_of(each, places[each.obj_id], chance)) if each.obj_id in places else each
            for each in objects]


def _name_of(thing: DeviceObject, place: int, chance: random.Random) -> Value:
    if isinstance(thing.value, str):
        return text_at(place, chance, thing.width or len(thing.value))
    if thing.kind == "signed":
        return place - _STEP
    return number_at(place, chance, {1: _LARGEST_BYTE, 4: _LARGEST_LONG}.get(thing.width or 0, _LARGEST_WORD))

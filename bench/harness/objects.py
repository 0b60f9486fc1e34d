"""The objects that every contestant serves: scalars and one table, whose values follow from their positions."""
from __future__ import annotations

from dataclasses import dataclass

from support.device import BASE
from support.mapping import Mapping, Scalar, cell_oid, column_of_cells

_ROWS = 8
_SCALAR_IDS = 0x1000
_CELL_IDS = 0x3000
_SCALARS_OF_A_GROUP = 100
_TABLE_NODE = ".2.1"
#: Column 1 is the row number, which has no device object.
_FIRST_COLUMN = 2


@dataclass(frozen=True)
class Size:
    """The number of objects: scalars, and columns of the table of eight rows."""

    scalars: int
    columns: int

    @property
    def options(self) -> list[str]:
        """As options of the benchmark's programs."""
        return ["-s", str(self.scalars), "-c", str(self.columns)]

    @property
    def first_oid(self) -> str:
        return _scalar(0).oid

    @property
    def last_oids(self) -> list[str]:
        """The last scalar and the last cell: once both are served, everything is."""
        return [_scalar(self.scalars - 1).oid, cell_oid(_TABLE_NODE, self.columns + 1, _ROWS, BASE)]

    def requests_of_walk(self, load: str) -> int:
        """One for each object, including the column of row numbers, and one that finds the end."""
        objects = self.scalars if load == "walkScalars" else (self.columns + 1) * _ROWS
        return objects + 1

    def mapping(self) -> Mapping:
        return Mapping(
            scalars=[_scalar(index) for index in range(self.scalars)],
            cells=[cell for column in range(self.columns)
                   for cell in column_of_cells(_TABLE_NODE, column + _FIRST_COLUMN, _CELL_IDS + column * _ROWS, _ROWS)])

    def source_with_alarms(self, alarms: int, interval: int, limit: int) -> str:
        """As the mapping tool takes it: the first scalars, with an alarm each that is polled in an interval of
        seconds and is raised above a limit."""
        lines = ["module: {name: BENCH-MIB, base: " + BASE + "}", "scalars:"]
        for index, scalar in enumerate(_scalar(index) for index in range(alarms)):
            lines += [
                f"  - {{name: value{index}, oid: {'.'.join(map(str, scalar.arcs))}, object: {scalar.obj_id:#06x}, "
                f"type: integer,",
                f"     alarms: [{{name: high{index}, number: {index + 1}, condition: above, raise: {limit}, "
                f"every: {interval}}}]}}"]
        return "\n".join(lines) + "\n"


def _scalar(index: int) -> Scalar:
    group, place = divmod(index, _SCALARS_OF_A_GROUP)
    return Scalar(obj_id=_SCALAR_IDS + index, arcs=(1, group + 1, place + 1))

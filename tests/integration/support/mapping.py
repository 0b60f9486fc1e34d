"""Builds mapping databases: complete ones from records, and broken ones."""
from __future__ import annotations

import sqlite3
from collections.abc import Callable, Iterable, Sequence
from dataclasses import dataclass
from pathlib import Path

from .device import BASE

INTEGER = 2
OCTET_STRING = 4

READ_ONLY = 1
READ_WRITE = 3

SCALARS = "SNMP_GENERAL_OBJ_TABLE"
CELLS = "SNMP_TABLE_OBJ_TABLE"

SCALAR_COLUMNS = (
    "objId", "attr1", "magic", "asnType", "access", "oidArc1", "oidArc2", "oidArc3", "oidArc4",
    "valueType", "flag", "text", "attr2",
)
CELL_COLUMNS = (
    "objId", "attr1", "columnId", "asnType", "access", "tableNode", "valueType", "flag", "text",
    "instance", "tableKind", "attr2", "attr3",
)

#: A number is written in the base of its column; a text is written as is; None is NULL.
Field = int | str | None
Row = tuple[str | None, ...]


def _hexadecimal(field: Field) -> str | None:
    return f"{field:04X}" if isinstance(field, int) else field


def _decimal(field: Field) -> str | None:
    return str(field) if isinstance(field, int) else field


@dataclass(frozen=True)
class Scalar:
    """One scalar object of the mapping."""

    obj_id: Field
    arcs: tuple[Field, Field, Field]
    asn_type: Field = INTEGER
    access: Field = READ_WRITE
    value_type: Field = 0
    text: str | None = ""
    attr1: Field = 0
    magic: Field = 0
    arc4: Field = 0
    flag: Field = 0
    attr2: Field = 0

    @property
    def name(self) -> str:
        """The registered OID, below the base OID of the tests' device."""
        return ".".join([BASE, *(str(arc) for arc in self.arcs)])

    @property
    def oid(self) -> str:
        return f"{self.name}.0"

    def row(self) -> Row:
        return (
            _hexadecimal(self.obj_id), _decimal(self.attr1), _decimal(self.magic), _hexadecimal(self.asn_type),
            _hexadecimal(self.access), *(_decimal(arc) for arc in self.arcs), _decimal(self.arc4),
            _hexadecimal(self.value_type), _hexadecimal(self.flag), self.text, _hexadecimal(self.attr2),
        )


@dataclass(frozen=True)
class Cell:
    """One column of one row of a table of the mapping."""

    obj_id: Field
    node: str | None
    column: Field
    row: Field = 1
    asn_type: Field = INTEGER
    access: Field = READ_WRITE
    value_type: Field = 0
    text: str | None = ""
    attr1: Field = 0
    flag: Field = 0
    kind: Field = 0
    attr2: Field = 0
    attr3: Field = 0

    @property
    def oid(self) -> str:
        return cell_oid(str(self.node), self.column, self.row)

    def table_row(self) -> Row:
        return (
            _hexadecimal(self.obj_id), _decimal(self.attr1), _decimal(self.column), _decimal(self.asn_type),
            _decimal(self.access), self.node, _hexadecimal(self.value_type), _hexadecimal(self.flag), self.text,
            _decimal(self.row), _decimal(self.kind), _hexadecimal(self.attr2), _hexadecimal(self.attr3),
        )


def cell_oid(node: str, column: Field, row: Field, base: str = BASE) -> str:
    """The OID that requests a cell; the second index of every row is 0."""
    return f"{base}{node}.1.{column}.{row}.0"


def column_of_cells(node: str, column: int, first_id: int, rows: int = 8, **fields: Field) -> list[Cell]:
    """The cells of one column, one per row from row 1, with consecutive object ids."""
    return [
        Cell(obj_id=first_id + row - 1, node=node, column=column, row=row, **fields)  # type: ignore[arg-type]
        for row in range(1, rows + 1)
    ]


@dataclass(frozen=True)
class Mapping:
    """A mapping database before it is written to a file."""

    scalars: Sequence[Scalar] = ()
    cells: Sequence[Cell] = ()

    @property
    def oids(self) -> list[str]:
        return [scalar.oid for scalar in self.scalars] + [cell.oid for cell in self.cells]

    @property
    def names(self) -> list[str]:
        """The OIDs of the objects, without their instances."""
        return [scalar.name for scalar in self.scalars] + [cell.oid.removesuffix(".0") for cell in self.cells]

    def write(self, path: Path) -> Path:
        """Creates the database file, replacing any old one."""
        with _Database(path) as database:
            database.make_table(SCALARS, SCALAR_COLUMNS, [scalar.row() for scalar in self.scalars])
            database.make_table(CELLS, CELL_COLUMNS, [cell.table_row() for cell in self.cells])
        return path

    def write_without(self, path: Path, table: str) -> Path:
        """As `write`, but one of the two tables is missing."""
        self.write(path)
        return run_sql(path, f"DROP TABLE {table}")

    def write_narrow(self, path: Path, table: str, columns: int) -> Path:
        """As `write`, but one of the two tables has only its first columns."""
        names = SCALAR_COLUMNS if table == SCALARS else CELL_COLUMNS
        self.write(path)
        kept = ", ".join(names[:columns])
        return run_sql(
            path, f"CREATE TABLE narrow AS SELECT {kept} FROM {table}; DROP TABLE {table};"
            f"ALTER TABLE narrow RENAME TO {table}")

    def write_wide(self, path: Path) -> Path:
        """As `write`, but both tables have one more column than is read."""
        self.write(path)
        return run_sql(path, "".join(f"ALTER TABLE {table} ADD COLUMN extra TEXT DEFAULT 'x';"
                                     for table in (SCALARS, CELLS)))


class _Database:
    def __init__(self, path: Path) -> None:
        path.unlink(missing_ok=True)
        self._connection = sqlite3.connect(path)

    def __enter__(self) -> "_Database":
        return self

    def __exit__(self, *_: object) -> None:
        self._connection.commit()
        self._connection.close()

    def make_table(self, table: str, columns: Sequence[str], rows: Iterable[Row]) -> None:
        self._connection.execute(f"CREATE TABLE {table} ({', '.join(f'{name} TEXT' for name in columns)})")
        marks = ", ".join("?" * len(columns))
        self._connection.executemany(f"INSERT INTO {table} VALUES ({marks})", rows)


def run_sql(path: Path, script: str) -> Path:
    """Runs statements on a database file, which is created if it is missing."""
    connection = sqlite3.connect(path)
    try:
        connection.executescript(script)
        connection.commit()
    finally:
        connection.close()
    return path


def not_a_database(path: Path) -> Path:
    path.write_bytes(b"this is no database file\n" * 200)
    return path


def truncated_database(path: Path, mapping: Mapping, keep: Callable[[int], int] = lambda size: size // 2) -> Path:
    """A good database file truncated after `keep(size)` bytes."""
    content = mapping.write(path).read_bytes()
    path.write_bytes(content[: keep(len(content))])
    return path

"""The usual objects of the tests: scalars of each type and access, and two tables of 8 rows."""
from __future__ import annotations

from .device import signed, start_up_objects, text, unsigned
from .mapping import OCTET_STRING, READ_ONLY, Mapping, Scalar, column_of_cells

TEMPERATURE = Scalar(0x0101, (1, 1, 0), access=READ_ONLY)
COUNTER = Scalar(0x0102, (1, 2, 0), access=READ_ONLY)
LIMIT = Scalar(0x0103, (1, 3, 0))
CONTACT = Scalar(0x0104, (1, 4, 0), asn_type=OCTET_STRING)
SERIAL = Scalar(0x0105, (1, 5, 0), asn_type=OCTET_STRING, access=READ_ONLY)

FIRST_TABLE = ".3.1"
SECOND_TABLE = ".3.2"
FIRST_LEVELS = column_of_cells(FIRST_TABLE, 2, 0x1200)
FIRST_NAMES = column_of_cells(FIRST_TABLE, 3, 0x1300, asn_type=OCTET_STRING)
FIRST_STATES = column_of_cells(FIRST_TABLE, 4, 0x1400, access=READ_ONLY)
SECOND_LEVELS = column_of_cells(SECOND_TABLE, 2, 0x2200)
SECOND_NAMES = column_of_cells(SECOND_TABLE, 3, 0x2300, asn_type=OCTET_STRING)

SAMPLE_MAPPING = Mapping(
    scalars=[TEMPERATURE, COUNTER, LIMIT, CONTACT, SERIAL],
    cells=[*FIRST_LEVELS, *FIRST_NAMES, *FIRST_STATES, *SECOND_LEVELS, *SECOND_NAMES])

SAMPLE_OBJECTS = [
    *start_up_objects(),
    signed(0x0101, -7, width=1),
    unsigned(0x0102, 1000000),
    unsigned(0x0103, 75, width=2, writable=True),
    text(0x0104, "ops@example.net", width=32, writable=True),
    text(0x0105, "SN-0001"),
    *(unsigned(0x1200 + row, 100 + row, width=2, writable=True) for row in range(8)),
    *(text(0x1300 + row, f"port {row + 1}", width=16, writable=True) for row in range(8)),
    *(unsigned(0x1400 + row, row % 2, width=1) for row in range(8)),
    *(unsigned(0x2200 + row, 200 + row, width=2, writable=True) for row in range(8)),
    *(text(0x2300 + row, f"fan {row + 1}", width=16, writable=True) for row in range(8)),
]

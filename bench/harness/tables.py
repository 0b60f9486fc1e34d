"""Tables for a terminal and for a page."""
from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass


@dataclass(frozen=True)
class Table:
    """Columns of text: the first `left` are left-aligned, the others right-aligned."""

    title: str
    head: Sequence[str]
    rows: Sequence[Sequence[str]]
    left: int = 1

    def text(self) -> str:
        """Without the title, which the heading has; each column as wide as its widest cell."""
        widths = [max(len(row[place]) for row in [self.head, *self.rows]) for place in range(len(self.head))]
        lines = ["  ".join(self._pad(place, cell, widths[place]) for place, cell in enumerate(row)).rstrip()
                 for row in [self.head, *self.rows]]
        return "\n".join([lines[0], "-" * max(map(len, lines)), *lines[1:]])

    def markdown(self) -> str:
        ruler = ["---" if place < self.left else "---:" for place in range(len(self.head))]
        lines = ["| " + " | ".join(row) + " |" for row in [self.head, ruler, *self.rows]]
        return f"### {self.title}\n\n" + "\n".join(lines)

    def _pad(self, place: int, cell: str, width: int) -> str:
        return cell.ljust(width) if place < self.left else cell.rjust(width)


def plain_number(number: float, decimals: int) -> str:
    """Rounded, without insignificant trailing zeros."""
    text = f"{number:.{decimals}f}"
    return text.rstrip("0").rstrip(".") if "." in text else text

"""The commands of docs/device-makers.md."""
from __future__ import annotations

import re
from pathlib import Path

_PAGE = Path(__file__).resolve().parents[2] / "docs" / "device-makers.md"


def blocks_of(heading: str, language: str = "sh") -> list[str]:
    """The blocks of one language below a heading of the page."""
    section = re.split(r"^## ", _PAGE.read_text("utf-8").split(f"\n## {heading}\n")[1], flags=re.MULTILINE)[0]
    blocks = re.findall(r"^```(\w*)\n(.*?)^```$", section, re.MULTILINE | re.DOTALL)
    return [text for found, text in blocks if found == language]

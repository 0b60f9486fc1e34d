"""The pages and sources of this tree, for the tests."""
from __future__ import annotations

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
MANUAL_PAGES = sorted((ROOT / "docs" / "man").glob("*.[1-9]"))
_NOT_OURS = {"build", "node_modules", "__pycache__"}


def markdown_pages() -> list[Path]:
    """Every Markdown page except those in build or hidden directories."""
    return sorted(
        path for path in ROOT.rglob("*.md")
        if not any(part in _NOT_OURS or part.startswith(".") for part in path.relative_to(ROOT).parts))


def text_of(*names: str) -> str:
    return ROOT.joinpath(*names).read_text(encoding="utf-8")


def name_of(path: Path) -> str:
    """For use in a test's id."""
    return str(path.relative_to(ROOT))


def without_code(markdown: str) -> str:
    """The text without fenced, indented and inline code, where brackets are not links."""
    fenced = re.sub(r"^ *```.*?^ *```", "", markdown, flags=re.DOTALL | re.MULTILINE)
    return re.sub(r"`[^`\n]*`", "", re.sub(r"^ {4,}\S.*$", "", fenced, flags=re.MULTILINE))

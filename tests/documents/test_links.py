"""Every link and every path on a page leads somewhere."""
from __future__ import annotations

import re
from pathlib import Path

import pytest

from pages import MANUAL_PAGES, ROOT, markdown_pages, name_of, without_code

LINK = re.compile(r"\[[^\]]*\]\(([^)\s]+)(?:\s+\"[^\"]*\")?\)")
ELSEWHERE = ("http://", "https://", "mailto:")
# A path from the root of the tree; one after a slash or a letter belongs to another tree.
PLACE = re.compile(r"(?<![\w/.$}<-])(?:src|tools|tests|scripts|docs|cmake|examples|bench|packaging|\.ci)/[\w./*-]*")


def anchors_of(markdown: str) -> set[str]:
    """The anchors of the headings: lower case, blanks as hyphens, without punctuation; repeated words end in -1."""
    anchors: set[str] = set()
    without_fences = re.sub(r"^```.*?^```", "", markdown, flags=re.DOTALL | re.MULTILINE)
    for heading in re.findall(r"^#+ +(.*?)\s*$", without_fences, flags=re.MULTILINE):
        words = re.sub(r"\[([^\]]*)\]\([^)]*\)", r"\1", heading)
        anchor = re.sub(r"[^\w\- ]", "", words.lower()).replace(" ", "-")
        number, unique = 0, anchor
        while unique in anchors:
            number += 1
            unique = f"{anchor}-{number}"
        anchors.add(unique)
    return anchors


def broken_links(page: Path) -> list[str]:
    broken = []
    # The text of a link may be code.
    text = re.sub(r"\[`([^`\]]*)`\]", r"[\1]", page.read_text(encoding="utf-8"))
    for link in LINK.findall(without_code(text)):
        if link.startswith(ELSEWHERE):
            continue
        place, _, anchor = link.partition("#")
        target = (page.parent / place).resolve() if place else page
        if not target.exists():
            broken.append(f"{link}: no such file")
        elif anchor and anchor not in anchors_of(target.read_text(encoding="utf-8")):
            broken.append(f"{link}: no such heading")
    return broken


def missing_places(text: str) -> list[str]:
    """A class may be named instead of its pair of files."""
    named = {match.rstrip(".") for match in PLACE.findall(text)}
    return sorted(
        place for place in named if not any(ROOT.glob(place.rstrip("/"))) and not any(ROOT.glob(f"{place}.*")))


@pytest.mark.parametrize("page", markdown_pages(), ids=name_of)
def test_links_lead_to_files_and_headings(page: Path) -> None:
    assert not broken_links(page)


@pytest.mark.parametrize("page", [*markdown_pages(), *MANUAL_PAGES], ids=name_of)
def test_scripts_and_other_places_that_a_page_names_exist(page: Path) -> None:
    assert not missing_places(page.read_text(encoding="utf-8"))


@pytest.mark.parametrize("link", ["gone.md", "#gone", "there.md#gone", "images/gone.svg"])
def test_a_broken_link_is_noticed(link: str, tmp_path: Path) -> None:
    (tmp_path / "there.md").write_text("# There\n", encoding="utf-8")
    page = tmp_path / "page.md"
    page.write_text(f"# Here\n[a](there.md#there) [b](#here) `[c](code)` [`x`]({link})\n", encoding="utf-8")
    assert [each.split(":")[0] for each in broken_links(page)] == [link]


def test_a_place_that_is_gone_is_noticed() -> None:
    text = "`scripts/gone`, scripts/test. tests/gone/*.py, build/debug/src/gone, ../docs/gone, tests/documents/*.py"
    assert missing_places(text) == ["scripts/gone", "tests/gone/*.py"]


def test_headings_with_the_same_words_have_anchors_of_their_own() -> None:
    assert anchors_of("# `check`\n## What to do\n## What to do\n### (5), and so on\n") == {
        "check", "what-to-do", "what-to-do-1", "5-and-so-on"}


def test_the_index_leads_to_every_page_of_the_documents() -> None:
    linked = {link.partition("#")[0] for link in LINK.findall((ROOT / "docs" / "index.md").read_text("utf-8"))}
    pages = {page.name for page in (ROOT / "docs").glob("*.md")} - {"index.md"}
    assert pages <= linked
    assert {f"man/{page.name}" for page in MANUAL_PAGES} <= linked

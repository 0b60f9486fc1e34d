"""The pictures match their sources, can be viewed everywhere, and show what exists."""
from __future__ import annotations

import re
import shutil
import subprocess
import tomllib
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import pytest

from pages import ROOT, markdown_pages, name_of, text_of

SOURCES = sorted((ROOT / "docs" / "diagrams").iterdir())
IMAGES = ROOT / "docs" / "images"
RENDER = ROOT / "scripts" / "diagrams"


def image_of(source: Path) -> Path:
    return IMAGES / f"{source.stem}.svg"


def render(*options: str | Path) -> "subprocess.CompletedProcess[str]":
    return subprocess.run([RENDER, *options], capture_output=True, text=True, timeout=60, check=False)


def check(*options: str | Path) -> "subprocess.CompletedProcess[str]":
    return render("--check", *options)


def test_pictures_were_drawn_from_their_sources() -> None:
    result = check()
    assert (result.returncode, result.stderr) == (0, "")


def test_every_source_can_be_drawn(tmp_path: Path) -> None:
    result = render("--images", tmp_path)
    assert (result.returncode, result.stderr) == (0, "")
    assert check("--images", tmp_path).returncode == 0


@pytest.mark.parametrize("change", ["altered", "missing", "from another source"])
def test_a_picture_that_was_not_is_noticed(change: str, tmp_path: Path) -> None:
    for source in SOURCES:
        shutil.copy(image_of(source), tmp_path)
    picture = tmp_path / "get.svg"
    if change == "altered":
        picture.write_text(picture.read_text("utf-8").replace("One GET", "One SET"), encoding="utf-8")
    elif change == "missing":
        picture.unlink()
    else:
        shutil.copy(IMAGES / "overview.svg", picture)
    result = check("--images", tmp_path)
    assert result.returncode == 1
    assert result.stderr == (
        "get.svg was not drawn from get.signalling as it is, or was changed since; run scripts/diagrams\n")


@pytest.mark.parametrize("source", SOURCES, ids=name_of)
def test_a_picture_has_a_title_and_a_white_ground(source: Path) -> None:
    drawing = ElementTree.parse(image_of(source)).getroot()
    title, ground = list(drawing)[:2]
    assert (title.text or "") in source.read_text(encoding="utf-8").splitlines()[0]
    assert ground.attrib == {"width": "100%", "height": "100%", "fill": "white"}


@pytest.mark.parametrize("source", [each for each in SOURCES if each.suffix == ".dot"], ids=name_of)
def test_a_picture_has_the_labels_of_its_source(source: Path) -> None:
    """Those of Graphviz; Msc-generator draws its labels as outlines."""
    drawing = ElementTree.parse(image_of(source)).getroot()
    drawn = " ".join(each.text or "" for each in drawing.iter("{http://www.w3.org/2000/svg}text"))
    labels = re.findall(r'label=(?:"([^"]*)"|<(.*?)>[\],])', source.read_text(encoding="utf-8"))
    words = re.sub(r"<[^>]*>|\\[ln]", " ", " ".join(map("".join, labels))).split()
    assert len(words) > len(labels) > 0
    assert set(words) <= set(drawn.split())


@pytest.mark.parametrize("source", SOURCES, ids=name_of)
def test_a_picture_stands_in_a_page(source: Path) -> None:
    assert any(f"images/{source.stem}.svg)" in page.read_text(encoding="utf-8") for page in markdown_pages())


def test_the_picture_of_the_layers_shows_every_class_of_the_agent() -> None:
    groups = re.findall(r"</B><BR/>(.*)>\]", text_of("docs", "diagrams", "architecture.dot"))
    drawn = [re.findall(r"\w+", names.replace("<BR/>", " ")) for names in groups]
    listed = tomllib.loads(text_of("tests", "documents", "layers.toml"))["groups"]
    of_agent = [layer for directory, layer in listed.items() if directory.split("/")[0] == "src"]
    assert sorted(sum(drawn, [])) == sorted(stem for layer in of_agent for group in layer for stem in group)

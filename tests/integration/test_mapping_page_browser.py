"""The HTML page that the mapping tool writes, in a real browser."""
from __future__ import annotations

from collections.abc import Iterator
from pathlib import Path

import pytest

from support.browser import Browser
from support.mapping_tool import MappingTool, example
from support.stack import Build, Stack
from test_mapping_page import hostile_source

pytestmark = pytest.mark.xdist_group("browser")

_VISIBLE = "[...document.querySelectorAll('article')].filter((each) => each.offsetHeight > 0).map((each) => each.id)"

#: The lowest contrast of any text with its background.
_CONTRAST = """(() => {
  const channels = (colour) => colour.match(/[0-9.]+/g).map(Number);
  const luminance = ([red, green, blue]) => [red, green, blue].map((each) => each / 255)
    .map((each) => (each <= 0.03928 ? each / 12.92 : ((each + 0.055) / 1.055) ** 2.4))
    .reduce((sum, each, index) => sum + each * [0.2126, 0.7152, 0.0722][index], 0);
  const background = (element) => {
    const own = channels(getComputedStyle(element).backgroundColor);
    return own.length === 4 && own[3] === 0 ? background(element.parentElement) : own;
  };
  const contrast = (element) => {
    const both = [channels(getComputedStyle(element).color), background(element)].map(luminance);
    return (Math.max(...both) + 0.05) / (Math.min(...both) + 0.05);
  };
  return Math.min(...[...document.querySelectorAll('h1,h2,h3,p,a,dt,dd,th,td,caption,pre,label,input,summary,footer')]
    .map(contrast));
})()"""


@pytest.fixture(scope="module")
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def browser(stack: Stack) -> Iterator[Browser]:
    started = Browser(stack.world, stack.directory / "profile")
    yield started
    started.close()


@pytest.fixture
def page(tool: MappingTool, tmp_path: Path) -> Path:
    path = tmp_path / "sample.html"
    tool.check("html", example("sample"), "-o", path)
    return path


def search(browser: Browser, words: str) -> None:
    browser.evaluate(f"document.getElementById('search-field').value = {words!r};"
                     "document.getElementById('search-field').dispatchEvent(new Event('input'))")


def test_a_search_shows_the_objects_that_have_all_words(browser: Browser, page: Path) -> None:
    browser.open(page)
    everything = browser.evaluate(_VISIBLE)
    search(browser, "TEMPERATURE alarm")
    assert browser.evaluate(_VISIBLE) == ["temperatureLimit"]
    assert browser.evaluate("document.getElementById('search-count').textContent") == f"1 of {len(everything)} objects"
    assert browser.evaluate("[...document.querySelectorAll('nav li')].filter((each) => each.offsetHeight).length") == 1
    search(browser, "")
    assert browser.evaluate(_VISIBLE) == everything


def test_a_page_is_complete_without_scripts(browser: Browser, page: Path) -> None:
    browser.open(page)
    everything = browser.evaluate(_VISIBLE)
    browser.forbid_scripts()
    browser.open(page)
    assert len(everything) > 20
    assert browser.evaluate(_VISIBLE) == everything
    assert browser.evaluate("document.getElementById('search-form').offsetHeight") == 0


@pytest.mark.parametrize("width", [360, 1280])
def test_a_page_is_no_wider_than_the_window(browser: Browser, page: Path, width: int) -> None:
    browser.resize(width)
    browser.open(page)
    assert browser.evaluate("document.documentElement.scrollWidth") <= width


@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_every_text_of_a_page_stands_out_enough(browser: Browser, page: Path, scheme: str) -> None:
    browser.prefer(scheme)
    browser.open(page)
    assert browser.evaluate("matchMedia('(prefers-color-scheme: dark)').matches") == (scheme == "dark")
    assert browser.evaluate(_CONTRAST) >= 4.5


def test_a_printed_page_has_the_objects_but_no_navigation(browser: Browser, page: Path) -> None:
    browser.print()
    browser.open(page)
    assert browser.evaluate("document.querySelector('nav').offsetHeight") == 0
    assert len(browser.evaluate(_VISIBLE)) > 20


def test_no_text_of_a_source_runs(browser: Browser, tool: MappingTool, tmp_path: Path) -> None:
    page = tmp_path / "hostile.html"
    tool.check("html", hostile_source(tmp_path), "-o", page)
    browser.open(page)
    assert browser.evaluate("typeof owned") == "undefined"
    assert browser.evaluate("document.querySelectorAll('img').length") == 0
    assert browser.evaluate("document.body.textContent.includes('<img src=x onerror=')")


def test_the_policy_of_a_page_allows_its_own_script_and_style_only(browser: Browser, page: Path) -> None:
    text = page.read_text(encoding="utf-8")
    added = "<script>owned = 1</script><p style='color: red' id='more'>more</p>"
    page.write_text(text.replace("</body>", f"{added}</body>"), encoding="utf-8")
    browser.open(page)
    assert browser.evaluate("typeof owned") == "undefined"
    assert browser.evaluate("getComputedStyle(document.getElementById('more')).color") == browser.evaluate(
        "getComputedStyle(document.body).color")
    assert browser.evaluate("getComputedStyle(document.querySelector('.columns')).display") == "grid"

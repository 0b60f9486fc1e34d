"""The HTML page that the mapping tool writes: well-formed, complete, and correct on a device."""
from __future__ import annotations

import re
import shlex
import subprocess
from html.parser import HTMLParser
from pathlib import Path

import pytest

from support.mapping_tool import EXAMPLES, MappingTool, example
from support.stack import MASTER_PORT, Build, Stack


class Page(HTMLParser):
    """The elements of a page, and its texts by element."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.elements: list[tuple[str, dict[str, str | None]]] = []
        self.texts: dict[str, list[str]] = {}
        self._open: list[str] = []
        self.feed(text)

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        self.elements.append((tag, dict(attrs)))
        self._open.append(tag)
        self.texts.setdefault(tag, []).append("")

    def handle_endtag(self, tag: str) -> None:
        while self._open.pop() != tag:
            pass

    def handle_data(self, data: str) -> None:
        if self._open:
            self.texts[self._open[-1]][-1] += data

    def attributes(self, tag: str, name: str) -> list[str | None]:
        return [attributes[name] for found, attributes in self.elements if found == tag and name in attributes]


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


def written(tool: MappingTool, source: Path) -> str:
    return tool.check("html", source, "-o", "-")


@pytest.mark.parametrize("name", EXAMPLES)
def test_a_page_is_well_formed(tool: MappingTool, name: str, tmp_path: Path) -> None:
    page = tmp_path / "page.html"
    tool.check("html", example(name), "-o", page)
    done = subprocess.run(["tidy", "-quiet", "-errors", page], capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stderr) == (0, "")


@pytest.mark.parametrize("name", EXAMPLES)
def test_a_page_has_every_object_and_alarm_and_a_link_to_it(tool: MappingTool, name: str) -> None:
    page = Page(written(tool, example(name)))
    shown = tool.show(example(name))
    names = [each["name"] for each in [*shown["objects"], *shown.get("alarms", [])]]
    assert page.attributes("article", "id") == page.texts["h3"] == names
    links = page.attributes("a", "href")
    assert links[:len(names) + 1] == ["#all-objects", *(f"#{name}" for name in names)]
    assert {link[1:] for link in links[1:]} == set(names)


def test_a_page_loads_nothing(tool: MappingTool) -> None:
    page = Page(written(tool, example("sample")))
    assert {tag for tag, _ in page.elements} & {"link", "img", "iframe", "object", "embed", "base"} == set()
    assert [name for _, attributes in page.elements for name in attributes if name in ("src", "style", "onclick")] == []


def test_a_page_has_labels_units_ranges_formats_and_the_revision(tool: MappingTool) -> None:
    page = Page(written(tool, example("sample")))
    assert page.texts["th"] == ["0", "1", "2", "3"]
    assert page.texts["td"] == ["down", "up", "degraded", "testing"]
    facts = list(zip(page.texts["dt"], page.texts["dd"]))
    for fact in (("Units", "degrees Celsius"), ("Syntax", "Integer32 (-128..127)"), ("Access", "read-write"),
                 ("Device object", "0x2110..0x2117"), ("Rows", "1..8")):
        assert fact in facts
    assert any(what == "Format" and "set to 13, it reads as 130" in text.replace("\n", " ") for what, text in facts)
    assert page.texts["time"] == ["2026-01-15"]


def test_a_page_has_the_revisions_and_what_they_added(tool: MappingTool, tmp_path: Path) -> None:
    source = tmp_path / "life.yaml"
    source.write_text("""
module:
  name: LIFE-MIB
  revisions:
    - {day: 2026-01-15, text: The first release.}
    - {day: 2026-06-01, text: Adds the hours.}
scalars:
  - {name: lifeHours, oid: 1.1.4, object: 0x0013, type: integer, since: 2026-06-01}
""", encoding="ascii")
    page = Page(written(tool, source))
    assert page.texts["time"] == ["2026-06-01", "2026-01-15"]
    assert ("Since", "2026-06-01") in zip(page.texts["dt"], page.texts["dd"])


_HOSTILE = ["</p><script>owned = 1</script>", "<img src=x onerror='owned = 1'>", "\" onmouseover=\"owned = 1",
            "&lt;script&gt;", "</style></title></script>", "<!--", "\u202eabc"]


def hostile_source(directory: Path) -> Path:
    """A source whose texts are all markup."""
    organization, contact, description = map(quoted, _HOSTILE[:3])
    lines = [f"module: {{organization: {organization}, contact: {contact}, description: {description}}}", "scalars:"]
    for number, text in enumerate(_HOSTILE, 1):
        lines.append(f"  - {{oid: 1.1.{number}, object: {number:#06x}, type: text, text: {quoted(text)}, "
                     f"description: {quoted(text)}, units: {quoted(text)}}}")
    lines += ["tables:", f"  - {{node: .2.1, rows: 4, description: {quoted(_HOSTILE[0])}, columns: "
                         f"[{{first: 0x2000, type: integer, description: {quoted(_HOSTILE[1])}}}]}}"]
    path = directory / "hostile.yaml"
    path.write_text("\n".join(lines), encoding="utf-8")
    return path


def quoted(text: str) -> str:
    return "'" + text.replace("'", "''") + "'"


def test_any_text_of_a_source_is_shown_as_text(tool: MappingTool, tmp_path: Path) -> None:
    text = written(tool, hostile_source(tmp_path))
    page = Page(text)
    tags = [tag for tag, _ in page.elements]
    assert (tags.count("script"), tags.count("style"), tags.count("img")) == (1, 1, 0)
    assert [name for _, attributes in page.elements for name in attributes if name.startswith("on")] == []
    shown = page.texts["p"] + page.texts["dd"]
    for hostile in _HOSTILE:
        assert shown.count(hostile) >= 2


def test_the_commands_of_a_page_read_and_set_every_object(stack: Stack, tool: MappingTool) -> None:
    source = example("small")
    stack.start_simulator_on(source)
    stack.start_master()
    stack.start_agent(mapping=tool.database(source, stack.directory))
    instances = tool.show(source)["instances"]
    for instance in (instances[0], instances[-1]):
        stack.wait_until_served(instance["oid"])
    commands = [command for block in Page(written(tool, source)).texts["pre"] for command in block.splitlines()]
    assert {command.split()[0] for command in commands} == {"snmpbulkwalk", "snmpget", "snmpset"}
    for command in commands:
        typed = re.sub("HOST", f"127.0.0.1:{MASTER_PORT}", command).replace(
            "i NUMBER", "i 42").replace("s TEXT", "s duty")
        done = stack.world.run(shlex.split(typed))
        assert (done.returncode, done.stderr) == (0, ""), command
        assert "No Such" not in done.stdout
        assert done.stdout.count("\n") == (len(instances) if "bulkwalk" in command else 1)

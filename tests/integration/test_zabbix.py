"""The templates for Zabbix that the mapping tool writes: their form, their identifiers, their alarms."""
from __future__ import annotations

import re
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
import yaml

from support.mapping_tool import EXAMPLES, ROOT, MappingTool, example
from support.stack import Build

GOLDEN = ROOT / "tests" / "unit" / "mappingTool" / "golden"
SOURCES = [*(example(name) for name in EXAMPLES), GOLDEN / "everything.yaml", GOLDEN / "watched.yaml"]
ALARMED = [example("sample"), GOLDEN / "watched.yaml"]
_PRIORITIES = {"critical": "DISASTER", "major": "HIGH", "minor": "AVERAGE", "warning": "WARNING", "info": "INFO"}


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture(params=SOURCES, ids=lambda path: path.stem)
def source(request: pytest.FixtureRequest) -> Path:
    path: Path = request.param
    return path


@pytest.fixture(params=ALARMED, ids=lambda path: path.stem)
def alarmed(request: pytest.FixtureRequest) -> Path:
    path: Path = request.param
    return path


def written(tool: MappingTool, source: Path) -> str:
    return tool.check("zabbix", source, "-o", "-")


def template_in(text: str) -> dict[str, Any]:
    template, = yaml.safe_load(text)["zabbix_export"]["templates"]
    return dict(template)


def items_of(template: dict[str, Any]) -> list[dict[str, Any]]:
    """Items and prototypes."""
    return [*template.get("items", ()),
            *(item for rule in template.get("discovery_rules", ()) for item in rule["item_prototypes"])]


def triggers_of(template: dict[str, Any]) -> dict[str, dict[str, Any]]:
    """Triggers and prototypes, by name without the row."""
    return {trigger["name"].split(":")[0]: trigger for item in items_of(template)
            for kind in ("triggers", "trigger_prototypes") for trigger in item.get(kind, ())}


def all_of(key: str, node: Any) -> Iterator[str]:
    """The values of a key, wherever it occurs."""
    if isinstance(node, list):
        for each in node:
            yield from all_of(key, each)
    elif isinstance(node, dict):
        if key in node:
            yield node[key]
        for each in node.values():
            yield from all_of(key, each)


def alarms_in(source: Path) -> list[dict[str, Any]]:
    """Those of the source, each with the name of its object."""
    read = yaml.safe_load(source.read_text(encoding="utf-8"))
    objects = [*read["scalars"], *(column for table in read["tables"] for column in table["columns"])]
    return [*read.get("alarms", ()),
            *({"object": each["name"], **alarm} for each in objects for alarm in each.get("alarms", ()))]


def test_every_value_of_a_template_is_quoted(tool: MappingTool, source: Path) -> None:
    def values(node: yaml.Node) -> Iterator[yaml.ScalarNode]:
        if isinstance(node, yaml.MappingNode):
            for _, value in node.value:
                yield from values(value)
        elif isinstance(node, yaml.SequenceNode):
            for each in node.value:
                yield from values(each)
        else:
            assert isinstance(node, yaml.ScalarNode)
            yield node

    text = written(tool, source)
    assert {value.style for value in values(yaml.compose(text))} == {'"'}
    assert all(line.isprintable() for line in text.splitlines())


def test_identifiers_are_unique_and_have_the_form_that_zabbix_demands(tool: MappingTool, source: Path) -> None:
    uuids = list(all_of("uuid", yaml.safe_load(written(tool, source))))
    assert len(set(uuids)) == len(uuids)
    assert all(re.fullmatch("[0-9a-f]{12}4[0-9a-f]{3}[89ab][0-9a-f]{15}", uuid) for uuid in uuids)


def test_keys_and_names_are_unique(tool: MappingTool, source: Path) -> None:
    template = template_in(written(tool, source))
    keys = [each["key"] for each in (*items_of(template), *template.get("discovery_rules", ()))]
    names = [each["name"] for each in items_of(template)]
    assert len(set(keys)) == len(keys)
    assert len(set(names)) == len(names)


def test_identifiers_depend_on_names_only(tool: MappingTool, tmp_path: Path) -> None:
    text = example("sample").read_text(encoding="utf-8")
    later = tmp_path / "later.yaml"
    for old, new in (("base: .1.3.6.1.4.1.32473.8", "base: .1.3.6.1.4.1.32473.9"), ("oid: 1.2.1\n", "oid: 1.9.1\n"),
                     ("raise: 45", "raise: 50"), ("units: volts", "units: V"),
                     ("description: The type", "description: A")):
        assert text.count(old) == 1
        text = text.replace(old, new)
    later.write_text(text, encoding="utf-8")
    before, after = (yaml.safe_load(written(tool, source)) for source in (example("sample"), later))
    assert before != after
    assert list(all_of("uuid", before)) != []
    assert set(all_of("uuid", before)) == set(all_of("uuid", after))


def test_another_module_has_other_identifiers(tool: MappingTool, tmp_path: Path) -> None:
    other = tmp_path / "other.yaml"
    text = example("sample").read_text(encoding="utf-8")
    other.write_text(text.replace("name: SAMPLE-SHELF-MIB", "name: OTHER-SHELF-MIB"), encoding="utf-8")
    ours, theirs = (set(all_of("uuid", template_in(written(tool, source)))) for source in (example("sample"), other))
    assert not ours & theirs


def test_items_read_what_is_served(tool: MappingTool, source: Path) -> None:
    template = template_in(written(tool, source))
    shown = tool.show(source)["objects"]
    served = {each["oid"] if each["kind"] == "scalar" else each["oid"] + ".{#SNMPINDEX}"
              for each in shown if each["type"] in ("INTEGER", "OCTET STRING") and not each["oid"].endswith(".1.1")}
    assert set(all_of("snmp_oid", [item for item in items_of(template)])) == served


def test_each_alarm_has_its_trigger(tool: MappingTool, alarmed: Path) -> None:
    triggers = triggers_of(template_in(written(tool, alarmed)))
    alarms = alarms_in(alarmed)
    assert set(triggers) == {alarm["name"] for alarm in alarms} | {"no values"}
    for alarm in alarms:
        trigger = triggers[alarm["name"]]
        assert f".{alarm['object']}" in trigger["expression"]
        assert trigger["priority"] == _PRIORITIES[alarm.get("severity", "warning")]
        assert ("recovery_expression" in trigger) == (alarm.get("clear", alarm.get("raise")) != alarm.get("raise"))
        assert (trigger.get("recovery_mode") == "NONE") == (alarm["condition"] == "changed")


def test_each_notification_has_its_item(tool: MappingTool, alarmed: Path) -> None:
    keys = [item["key"] for item in items_of(template_in(written(tool, alarmed))) if item["type"] == "SNMP_TRAP"]
    assert keys.pop() == "snmptrap.fallback"
    patterns = [key.removeprefix('snmptrap["').removesuffix('"]') for key in keys]
    module, base = (tool.show(alarmed)[key] for key in ("module", "base"))
    for alarm in alarms_in(alarmed):
        names = [alarm["name"], *([] if alarm["condition"] == "changed" else [alarm["name"] + "Clear"])]
        for number, name in enumerate(names, 2 * alarm["number"] - 1):
            for sent in (f"{base}.0.{number}", f"iso{base[2:]}.0.{number}", f"{module}::{name}",
                         f"enterprises{base.removeprefix('.1.3.6.1.4.1')}.0.{number}"):
                assert [bool(re.search(pattern, f"OID: {sent} ")) for pattern in patterns].count(True) == 1, sent
            assert not any(re.search(pattern, f"OID: {base}.0.{number}.1 ") for pattern in patterns)


def test_an_item_is_read_as_often_as_its_alarms_look(tool: MappingTool, alarmed: Path) -> None:
    delays = {item["name"].split(": ")[-1]: int(item["delay"].rstrip("s"))
              for item in items_of(template_in(written(tool, alarmed))) if item["type"] == "SNMP_AGENT"}
    for alarm in alarms_in(alarmed):
        assert delays[alarm["object"]] <= alarm.get("every", 60)

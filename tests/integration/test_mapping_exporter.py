"""What the exporter of each release makes of a module, with everything that a source says about monitoring."""
from __future__ import annotations

import re
from pathlib import Path

import pytest
import yaml

from support.exporter import FORMATS, scrape, start_exporter
from support.mapping_tool import MappingTool, example
from support.stack import Build, Stack

_MODULE = "sample_shelf_mib"
_KEYS = {"erroredBlocks": "meaning: counter", "portErroredSeconds": "meaning: counter",
         "portName": "label: true", "portState": "states: true"}


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


def monitored_source(directory: Path) -> Path:
    """The sample device with keys for monitoring."""
    text = example("sample").read_text(encoding="utf-8")
    for name, key in _KEYS.items():
        text, count = re.subn(rf"^( *)- name: {name}\n", rf"\g<0>\g<1>  {key}\n", text, flags=re.MULTILINE)
        assert count == 1
    path = directory / "shelf.yaml"
    path.write_text(text, encoding="utf-8")
    return path


@pytest.fixture
def source(stack: Stack, tool: MappingTool) -> Path:
    """The source of a device that is served."""
    source = monitored_source(stack.directory)
    stack.start_simulator_on(source)
    stack.start_master()
    stack.start_agent(mapping=tool.database(source, stack.directory))
    for instance in (tool.show(source)["instances"][index] for index in (0, -1)):
        stack.wait_until_served(instance["oid"])
    return source


@pytest.fixture(params=FORMATS)
def scraped(request: pytest.FixtureRequest, stack: Stack, tool: MappingTool, source: Path) -> list[str]:
    """The lines of a scrape with the module in one format."""
    configuration = stack.directory / "snmp.yml"
    tool.check("prometheus", source, "--exporter", request.param, "-o", configuration)
    start_exporter(stack, configuration, request.param)
    return [f"format {request.param}", *scrape(stack, _MODULE)]


def test_the_exporter_has_what_the_source_says_about_monitoring(scraped: list[str]) -> None:
    has_scale = scraped[0] == "format 0.25"
    for line in ("# TYPE erroredBlocks counter", "# TYPE portErroredSeconds counter", "# TYPE shelfHours gauge",
                 "erroredBlocks 2623", "supplyVoltage 48.2",
                 'portErroredSeconds{portName="customer 2",portRow="6"} 86400',
                 'portReceivedPower{portName="customer 2",portRow="6"} -40',
                 'portName{portName="ring east",portRow="3"} 1',
                 'portState{portName="customer 2",portRow="6",portState="down"} 1',
                 'portState{portName="customer 2",portRow="6",portState="up"} 0',
                 'fanSpeed{fanRow="8"} 4203',
                 "transmitPower 13" if has_scale else "transmitPower 130"):
        assert line in scraped
    assert any(("(dBm) - " if has_scale else "(in 0.1 dBm) - ") in line for line in scraped
               if line.startswith("# HELP transmitPower "))


def test_an_exporter_since_0_23_asks_as_the_user_that_the_scrape_names(
    stack: Stack, tool: MappingTool, source: Path,
) -> None:
    settings = yaml.safe_load(tool.check("prometheus", source, "--exporter", "0.23", "-o", "-"))
    settings["auths"]["operator"] = {
        "version": 3, "username": "operator", "security_level": "authPriv", "password": "authpassword",
        "auth_protocol": "SHA", "priv_protocol": "AES", "priv_password": "privpassword"}
    settings["auths"]["public_v2"]["community"] = "nobody"
    configuration = stack.directory / "snmp.yml"
    configuration.write_text(yaml.safe_dump(settings), encoding="utf-8")
    start_exporter(stack, configuration, "0.23")
    assert "supplyVoltage 48.2" in scrape(stack, _MODULE, "&auth=operator")


def test_a_module_is_for_the_oldest_exporter_unless_another_is_named(tool: MappingTool, tmp_path: Path) -> None:
    source = monitored_source(tmp_path)
    assert tool.check("prometheus", source, "-o", "-") == tool.check(
        "prometheus", source, "--exporter", "0.21", "-o", "-")
    done = tool.run("prometheus", source, "--exporter", "0.20", "-o", "-")
    assert (done.returncode, done.stdout) == (2, "")
    assert all(release in done.stderr for release in FORMATS)

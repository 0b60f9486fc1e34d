"""The monitoring page, carried out: files created, programs started, commands typed, output compared.

The page's device is a sample device in a world of its own, where its names resolve to the loopback.
"""
from __future__ import annotations

import os
import re
import shutil
import signal
import tomllib
import urllib.parse
from pathlib import Path
from typing import Any

import pytest
import yaml

from support.exporter import FORMATS, exporter_for
from support.mapping_tool import EXAMPLES, ROOT, MappingTool, base_modules, example
from support.prometheus import Prometheus
from support.stack import Build, Stack
from support.waiting import wait_until
from support.web import fetch

pytestmark = pytest.mark.xdist_group("monitoring")

_MODULE = "sample_shelf_mib"
_NAMES = ["localhost", "shelf.example.net", *(f"shelf-{number}.example.net" for number in (1, 2, 3)),
          *(f"exporter-{number}.example.net" for number in (0, 1))]
_EXPORTER = "prometheus-snmp-exporter"
_PORTS = {_EXPORTER: 9116, "prometheus": 9090}
_FLEET_PORT = 9091
_TIME_OR_BLANKS = re.compile(r"( @\[[0-9.]+\]| +)$", re.MULTILINE)


class Page:
    """The content of the page, by block."""

    def __init__(self) -> None:
        text = (ROOT / "docs" / "monitoring.md").read_text(encoding="utf-8")
        self._blocks = re.findall(r"^```(\w+)\n(.*?)^```$", text, re.MULTILINE | re.DOTALL)

    def files(self) -> dict[str, str]:
        """Each is named in a comment on its first line."""
        return {block.split("\n")[0].removeprefix("# "): block for block in self._of_kind("yaml") if block[0] == "#"}

    def secure_settings(self) -> dict[str, Any]:
        """Those of the exporter: the only settings that are not a file."""
        settings: dict[str, Any] = yaml.safe_load(*(block for block in self._of_kind("yaml") if block[0] != "#"))
        return settings

    def commands(self) -> list[tuple[str, str]]:
        """Each with its output, without times and trailing blanks."""
        typed = [each.partition("\n") for block in self._of_kind("console") for each in block.split("$ ")[1:]]
        return [(command, _TIME_OR_BLANKS.sub("", output)) for command, _, output in typed]

    def programs(self) -> list[str]:
        """The programs that are started and keep running."""
        return [line.removesuffix(" &") for block in self._of_kind("sh") for line in block.splitlines()]

    def _of_kind(self, kind: str) -> list[str]:
        return [block for found, block in self._blocks if found == kind]


class MonitoredShelf:
    """Verbs of somebody who follows the page."""

    def __init__(self, stack: Stack, tool: MappingTool, modules: Path) -> None:
        self.stack = stack
        self.page = Page()
        stack.logs_frames = False
        self.prometheus = Prometheus(stack.world, _PORTS["prometheus"])
        self.fleet = Prometheus(stack.world, _FLEET_PORT)
        self._tool = tool
        self._environment = {
            **os.environ, "LC_ALL": "C", "MIBDIRS": str(modules), "SNMP_PERSISTENT_DIR": str(stack.state),
            "PATH": f"{tool.path.parent}:{os.environ['PATH']}"}
        hosts = stack.directory / "hosts"
        hosts.write_text("".join(f"127.0.0.1 {name}\n" for name in _NAMES), encoding="ascii")
        stack.world.replace_directory("/etc/hosts", hosts)
        shutil.copy(example("sample"), stack.directory / "shelf.yaml")

    def write_files(self) -> None:
        """The files of the page, except that Prometheus polls every two seconds. With one second, an agent under
        valgrind next to other tests would not answer in time."""
        for name, content in self.page.files().items():
            settings = yaml.safe_load(content)
            if "scrape_configs" in settings:
                settings["global"] = {"evaluation_interval": "1s"}
                for job in settings["scrape_configs"]:
                    job |= {"scrape_interval": "2s", "scrape_timeout": "2s"}
            (self.stack.directory / name).write_text(yaml.safe_dump(settings), encoding="utf-8")

    def write_exporter_modules(self) -> None:
        """The module that the page creates, and a second one for SNMPv3."""
        path = self.stack.directory / "snmp.yml"
        self._tool.check("prometheus", self.stack.directory / "shelf.yaml", "-o", path)
        modules = yaml.safe_load(path.read_text(encoding="utf-8"))
        modules["secure"] = modules[_MODULE] | self.page.secure_settings()
        path.write_text(yaml.safe_dump(modules), encoding="utf-8")

    def write_rules(self) -> None:
        """The rules that the page creates, evaluated every second."""
        path = self.stack.directory / "shelf.rules.yml"
        self._tool.check("prometheus", self.stack.directory / "shelf.yaml", "--rules", "--job", "shelf", "-o", path)
        rules = yaml.safe_load(path.read_text(encoding="utf-8"))
        for group in rules["groups"]:
            group["interval"] = "1s"
        path.write_text(yaml.safe_dump(rules), encoding="utf-8")

    def start_exporter(self) -> None:
        """The one for the page's modules, which are in the oldest format."""
        self._start(_EXPORTER, self._program(_EXPORTER).replace(_EXPORTER, str(exporter_for(FORMATS[0])), 1))
        self._wait_until_listening(_PORTS[_EXPORTER])

    def start_prometheus(self) -> None:
        """One for the single device, and one for a fleet."""
        command = self._program("prometheus")
        self._start("prometheus", command)
        self._start("fleet", command.replace("prometheus.yml", "prometheus-fleet.yml").replace("data", "fleet") +
                    f" --web.listen-address=:{_FLEET_PORT}")
        self._wait_until_listening(_PORTS["prometheus"], _FLEET_PORT)

    def start_device(self) -> None:
        self.stack.start_simulator_on(example("sample"))
        self.stack.start_master("agentAddress udp:127.0.0.1:161")
        self.start_agent()

    def start_agent(self) -> None:
        self.stack.start_agent(mapping=self._tool.database(example("sample"), self.stack.directory))
        self.wait_until_served()

    def wait_until_served(self) -> None:
        for instance in (self._tool.show(example("sample"))["instances"][index] for index in (0, -1)):
            self.stack.wait_until_served(instance["oid"])

    def type(self, command: str) -> str:
        """The output of a command, without times and trailing blanks."""
        done = self.stack.world.run(self._in_directory(command), env=self._environment)
        assert done.stderr == "", f"{command}: {done.stderr}"
        return _TIME_OR_BLANKS.sub("", done.stdout)

    def scrape(self, module: str) -> list[str]:
        url = f"http://localhost:9116/snmp?target=shelf.example.net&module={module}"
        return [line for line in fetch(self.stack.world, url).splitlines() if not line.startswith("#")]

    def _program(self, name: str) -> str:
        return next(command for command in self.page.programs() if command.split()[0] == name)

    def _start(self, name: str, command: str) -> None:
        self.stack.start(name, self._in_directory(f"exec {command}"), self._environment)

    def _wait_until_listening(self, *ports: int) -> None:
        wait_until(lambda: all(f":{port} " in self.stack.world.check("ss", "-Hltn") for port in ports),
                   f"programs listen on {ports}")

    def _in_directory(self, command: str) -> list[str | Path]:
        return ["env", f"--chdir={self.stack.directory}", "bash", "-c", command]


@pytest.fixture(scope="module")
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture(scope="module")
def monitored(shared_stack: Stack, tool: MappingTool) -> MonitoredShelf:
    """The device with everything on the page. Prometheus does not poll in its first five seconds, so it is started
    first."""
    shelf = MonitoredShelf(shared_stack, tool, base_modules())
    shelf.write_files()
    shelf.write_exporter_modules()
    shelf.write_rules()
    shelf.start_prometheus()
    shelf.start_exporter()
    shelf.start_device()
    return shelf


@pytest.fixture
def scraped(monitored: MonitoredShelf) -> MonitoredShelf:
    """The device once Prometheus has its values."""
    monitored.prometheus.wait_for_series(1, "up == 1 and on (instance) shelfHours")
    return monitored


# Telegraf


def telegraf_input(tool: MappingTool, name: str) -> dict[str, Any]:
    inputs = tomllib.loads(tool.check("telegraf", example(name), "-o", "-"))["inputs"]["snmp"]
    assert len(inputs) == 1
    return dict(inputs[0])


def asked_for(field: dict[str, Any]) -> tuple[str, str]:
    return field["name"], field["oid"]


@pytest.mark.parametrize("name", EXAMPLES)
def test_the_telegraf_input_has_the_names_and_oids_of_what_is_served(tool: MappingTool, name: str) -> None:
    asked = telegraf_input(tool, name)
    fields = [*asked["field"], *(field for table in asked["table"] for field in table["field"])]
    assert [asked_for(field) for field in fields] == [
        (each["name"], each["oid"]) for each in tool.show(example(name))["objects"]]


@pytest.mark.parametrize("name", EXAMPLES)
def test_telegraf_takes_decimal_texts_as_numbers_and_row_numbers_as_tags(tool: MappingTool, name: str) -> None:
    asked = telegraf_input(tool, name)
    fields = [*asked["field"], *(field for table in asked["table"] for field in table["field"])]
    objects = tool.show(example(name))["objects"]
    assert [field["name"] for field in fields if field.get("conversion") == "float"] == [
        each["name"] for each in objects if each["conversion"].startswith("decimal")]
    assert [field["name"] for field in fields if field.get("is_tag")] == [
        table["field"][0]["name"] for table in asked["table"]]


def test_the_device_answers_what_telegraf_asks_for(monitored: MonitoredShelf, tool: MappingTool) -> None:
    asked = telegraf_input(tool, "sample")
    served = {each["oid"] for each in tool.show(example("sample"))["instances"]}
    snmp = monitored.stack.snmp
    answered = snmp.get_all(*(field["oid"] for field in asked["field"]))
    for table in asked["table"]:
        for field in table["field"]:
            column = snmp.bulkwalk(field["oid"], max_repetitions=asked["max_repetitions"])
            assert len(column) == asked["max_repetitions"] - 1
            answered += column
    assert {each.oid for each in answered} == served


# The exporter


def test_the_exporter_asks_as_an_snmpv3_user(monitored: MonitoredShelf) -> None:
    metrics = monitored.scrape("secure")
    assert 'portReceivedPower{portRow="6"} -40' in metrics
    assert "supplyVoltage 48.2" in metrics


def test_a_silent_device_is_scraped_without_values_and_without_the_agent_being_dropped(
    stack: Stack, tool: MappingTool,
) -> None:
    shelf = MonitoredShelf(stack, tool, base_modules())
    shelf.write_exporter_modules()
    shelf.start_exporter()
    shelf.start_device()
    stack.signal_simulator(signal.SIGSTOP)
    names = {line.split("{")[0] for line in shelf.scrape(_MODULE) if not line.startswith("snmp_scrape")}
    stack.signal_simulator(signal.SIGCONT)
    assert names == {"portRow", "fanRow"}
    assert stack.agent
    assert "disconnected" not in stack.agent.errors()


# Prometheus


def test_prometheus_has_the_value_of_a_scalar(scraped: MonitoredShelf) -> None:
    assert scraped.prometheus.query("airIntake") == [
        ({"__name__": "airIntake", "instance": "shelf.example.net", "job": "shelf"}, -7.0)]


def test_prometheus_has_the_rows_of_a_table(scraped: MonitoredShelf) -> None:
    assert {int(labels["portRow"]): value for labels, value in scraped.prometheus.query("portReceivedPower")} == {
        1: -8.2, 2: -7.9, 3: -11.2, 4: -10.5, 5: -14.8, 6: -40, 7: -15.1, 8: -40}


def test_prometheus_has_a_new_value_with_the_next_scrape(scraped: MonitoredShelf) -> None:
    simulator = scraped.stack.simulator
    assert simulator
    for value, shown in (("475", "47.5"), ("482", "48.2")):
        simulator.command(f"set 0x0121 {value}")
        scraped.prometheus.wait_for_series(1, f"supplyVoltage == {shown}")


def test_each_device_of_a_fleet_is_asked_by_one_exporter_of_several(monitored: MonitoredShelf) -> None:
    monitored.fleet.wait_for_series(3, 'shelfHours{site="north"}')
    targets = monitored.fleet.data("targets")["activeTargets"]
    asked = {each["labels"]["instance"]: urllib.parse.urlsplit(each["scrapeUrl"]).hostname for each in targets}
    assert sorted(asked) == [f"shelf-{number}.example.net" for number in (1, 2, 3)]
    assert set(asked.values()) == {f"exporter-{number}.example.net" for number in (0, 1)}


def test_the_page_shows_what_its_commands_print(scraped: MonitoredShelf) -> None:
    scraped.prometheus.wait_for_series(2, 'ALERTS{alertname="portDown",alertstate="firing"}')
    typed = [(command, scraped.type(command)) for command, _ in scraped.page.commands()]
    assert typed == scraped.page.commands()


def test_a_shelf_without_an_agent_raises_the_alarm_for_missing_values(scraped: MonitoredShelf) -> None:
    scraped.stack.stop_agent()
    scraped.prometheus.wait_for_series(1, 'ALERTS{alertname="SampleShelfWithoutValues"}')
    assert scraped.prometheus.query('ALERTS{alertname="SampleShelfUnreachable"}') == []
    scraped.start_agent()
    scraped.prometheus.wait_for_series(0, 'ALERTS{alertname="SampleShelfWithoutValues"}')


def test_a_shelf_that_does_not_answer_raises_the_alarm_for_that(scraped: MonitoredShelf) -> None:
    scraped.stack.signal_master(signal.SIGSTOP)
    scraped.prometheus.wait_for_series(1, 'ALERTS{alertname="SampleShelfUnreachable"}')
    assert scraped.prometheus.query('ALERTS{alertname="SampleShelfWithoutValues"}') == []
    scraped.stack.signal_master(signal.SIGCONT)
    scraped.prometheus.wait_for_series(0, 'ALERTS{alertname="SampleShelfUnreachable"}')

"""The alarms of a mapping as alerting rules: what promtool and a running Prometheus make of them."""
from __future__ import annotations

import re
import signal
from pathlib import Path

import pytest

from support.exporter import FORMATS, scrape, start_exporter
from support.mapping_tool import EXAMPLES, ROOT, MappingTool, example
from support.prometheus import Rehearsal, start_prometheus
from support.stack import Build, Stack
from support.waiting import wait_until

_SOURCE = ROOT / "tests" / "unit" / "mappingTool" / "golden" / "rules.yaml"


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def rules(tool: MappingTool, tmp_path: Path) -> Rehearsal:
    """The rules of a device with every kind of alarm, evaluated once a minute."""
    return rehearsal(tool, tmp_path)


def rehearsal(tool: MappingTool, directory: Path, *options: str, interval: str = "1m") -> Rehearsal:
    path = directory / "rules.yml"
    tool.check("prometheus", _SOURCE, "--rules", *options, "-o", path)
    return Rehearsal(path, interval)


@pytest.mark.parametrize("release", FORMATS)
@pytest.mark.parametrize("source", [*(example(name) for name in EXAMPLES), _SOURCE], ids=lambda path: path.stem)
def test_promtool_accepts_the_rules(tool: MappingTool, tmp_path: Path, source: Path, release: str) -> None:
    path = tmp_path / "rules.yml"
    tool.check("prometheus", source, "--rules", "--exporter", release, "--job", "north", "--job", "south.1", "-o", path)
    assert "SUCCESS" in tool.shell(f"promtool check rules {path}", tmp_path)


def test_the_rules_are_for_the_oldest_exporter_unless_another_is_named(tool: MappingTool) -> None:
    assert tool.check("prometheus", _SOURCE, "--rules", "-o", "-") == tool.check(
        "prometheus", _SOURCE, "--rules", "--exporter", "0.21", "-o", "-")


def test_a_job_without_rules_is_refused(tool: MappingTool) -> None:
    done = tool.run("prometheus", _SOURCE, "--job", "shelf", "-o", "-")
    assert (done.returncode, done.stdout) == (2, "")
    assert "--rules" in done.stderr


# Limits


def test_an_alarm_above_a_limit_lasts_until_the_limit_that_clears_it(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "90 91 85 81 80 85"}, {"": "- ! ! ! - -"})


def test_an_alarm_below_a_limit_lasts_until_the_limit_that_clears_it(rules: Rehearsal) -> None:
    rules.expect("portDark", {'portPower{portRow="1"}': "-40.25 -40.3 -39 -38.1 -38 -39"},
                 {'{portRow="1"}': "- ! ! ! - -"})


def test_a_value_that_flaps_between_the_limits_raises_and_clears_nothing(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "81 90 81 90 95 81 90 81 90 79 90"}, {"": "- - - - ! ! ! ! ! - -"})


def test_an_alarm_is_raised_again_after_it_was_over(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "91 80 91 80"}, {"": "! - ! -"})


def test_a_scaled_value_at_its_limit_is_not_beyond_it(tool: MappingTool, tmp_path: Path) -> None:
    scaled = rehearsal(tool, tmp_path, "--exporter", "0.25")
    at_limits = [111 * 0.1, 11.2, 105 * 0.1 + 0.1, 105 * 0.1]
    assert at_limits[0] > 11.1
    scaled.expect("powerHigh", {"power": " ".join(map(repr, at_limits))}, {"": "- ! ! -"})


def test_an_exporter_that_does_not_scale_has_the_limits_of_a_manager(rules: Rehearsal) -> None:
    rules.expect("powerHigh", {"power": "111 112 106 105"}, {"": "- ! ! -"})


def test_labels_have_the_order_of_their_numbers(rules: Rehearsal) -> None:
    rules.expect("portBelow", states("down degraded up degraded"), {'{portRow="1"}': "! ! - -"})


def test_an_alarm_that_is_looked_at_less_often_than_prometheus_looks_back_keeps_its_state(
    tool: MappingTool, tmp_path: Path,
) -> None:
    slow = rehearsal(tool, tmp_path, interval="10m")
    slow.expect("voltageLow", {"voltage": "46 45.9 46.4 46.5 46.4 45"}, {"": "- ! ! - - !"})


# Values and labels


def states(labels: str, row: int = 1, more: str = "") -> dict[str, str]:
    """A port with these labels, one after the other."""
    each = labels.split()
    return {f'portState_info{{portRow="{row}",portState="{label}"{more}}}': " ".join(
        "1" if current == label else "stale" for current in each) for label in dict.fromkeys(each)}


def modes(numbers: str) -> dict[str, str]:
    """A set of states with these numbers, one after the other."""
    labels = {"0": "off", "1": "manual", "2": "automatic"}
    return {f'mode{{mode="{label}"}}': " ".join("1" if each == number else "0" for each in numbers.split())
            for number, label in labels.items()}


def test_a_number_raises_while_it_is_the_one_named(rules: Rehearsal) -> None:
    rules.expect("loadZero", {"load": "1 0 0 1"}, {"": "- ! ! -"})


def test_a_number_raises_while_it_is_one_of_those_named(tool: MappingTool, tmp_path: Path) -> None:
    rehearsal(tool, tmp_path, interval="5m").expect("loadOdd", {"load": "0 1 3 2"}, {"": "- ! ! -"})


def test_a_label_raises_while_it_is_the_one_named(rules: Rehearsal) -> None:
    rules.expect("portDown", states("up down down degraded"), {'{portRow="1"}': "- ! ! -"})


def test_an_alarm_goes_on_when_another_of_its_labels_applies(rules: Rehearsal) -> None:
    rules.expect("portImpaired", states("up down degraded up"), {'{portRow="1"}': "- ! ! -"})


def test_a_state_of_a_set_raises_unless_it_is_the_one_named(rules: Rehearsal) -> None:
    rules.expect("modeUnusual", modes("2 1 0 2"), {"": "- ! ! -"})


def test_a_number_without_a_label_is_another_state(rules: Rehearsal) -> None:
    rules.expect("modeUnusual", {'mode{mode="automatic"}': "1 0 1", 'mode{mode="7"}': "stale 1 stale"}, {"": "- ! -"})


# Changes


def test_a_change_of_a_number_is_an_alarm_for_five_minutes(rules: Rehearsal) -> None:
    rules.expect("loadChanged", {"load": "5 5 6 6 6 6 6 6 6"}, {"": "- - ! ! ! ! ! - -"})


def test_a_change_of_a_text_is_an_alarm_for_five_minutes(rules: Rehearsal) -> None:
    rules.expect("placeChanged", {
        'place{place="room 1"}': "1 1 stale _ _ _ _ _ _ _", 'place{place="room 2"}': "_ _ 1 1 1 1 1 1 1 1"},
        {"": "- - ! ! ! ! ! - - -"})


def test_a_change_of_a_label_is_an_alarm(rules: Rehearsal) -> None:
    rules.expect("portChanged", states("up up down up"), {'{portRow="1"}': "- - ! !"})


def test_a_change_of_a_state_is_an_alarm(rules: Rehearsal) -> None:
    rules.expect("modeChanged", modes("1 1 2 2"), {"": "- - ! !"})


def test_a_row_that_is_renamed_has_changed_its_name_and_nothing_else(rules: Rehearsal) -> None:
    named = {'portName{portName="east",portOwner="us",portRow="1"}': "1 1 stale stale",
             'portName{portName="west",portOwner="them",portRow="1"}': "stale stale 1 1"}
    rules.expect("portRenamed", named, {'{portRow="1"}': "- - ! !"})
    reowned = {'portName{portName="east",portOwner="us",portRow="1"}': "1 1 stale",
               'portName{portName="east",portOwner="them",portRow="1"}': "stale stale 1"}
    rules.expect("portRenamed", reowned, {'{portRow="1"}': "- - -"})


# Rows, devices and jobs


def test_every_row_has_its_own_alarm(rules: Rehearsal) -> None:
    rules.expect("portDark", {
        'portPower{portRow="1"}': "-41 -39 -37", 'portPower{portRow="2"}': "-39 -39 -41",
        'portPower{portRow="3"}': "-30 -39 -39"},
        {'{portRow="1"}': "! ! -", '{portRow="2"}': "- - !", '{portRow="3"}': "- - -"})


def test_a_row_that_is_renamed_keeps_its_alarm(rules: Rehearsal) -> None:
    rules.expect("portDark", {
        'portPower{portRow="1",portName="east",portOwner="us"}': "-41 stale stale",
        'portPower{portRow="1",portName="west",portOwner="us"}': "stale -39 -37"},
        {'{portRow="1"}': "! ! -"})


def test_every_device_has_its_own_alarm(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {
        "load": "91 85 80", 'load{instance="shelf-2"}': "85 91 85", 'load{instance="shelf-3"}': "85 85 85",
        'up{instance="shelf-2"}': "1x9", 'up{instance="shelf-3"}': "1x9"},
        {"": "! ! -", '{instance="shelf-2"}': "- ! !", '{instance="shelf-3"}': "- - -"})


def test_other_jobs_have_no_alarms_if_the_job_is_named(tool: MappingTool, tmp_path: Path) -> None:
    named = rehearsal(tool, tmp_path, "--job", "shelf")
    values = {"load": "91 91 91 91 91", 'load{job="other"}': "95 95 95 95 95", 'up{job="other"}': "0 0 0 0 0"}
    named.expect("loadHigh", values, {"": "! ! ! ! !"})
    named.expect("WatchedUnreachable", values, {"": "- - - - -"})


def test_an_alarm_of_another_mapping_with_the_same_name_is_another_alarm(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {
        'ALERTS{alertname="loadHigh",alertstate="firing",module="other_mib",instance="other"}': "1 1 1",
        'up{instance="other"}': "1 1 1"}, {'{instance="other"}': "! ! !"})
    rules.expect("loadHigh", {
        'ALERTS{alertname="loadHigh",alertstate="firing",module="other_mib",instance="other"}': "1 stale stale",
        'up{instance="other"}': "1 1 1"}, {'{instance="other"}': "! - -"})


# Missing values


def test_a_missing_value_neither_raises_nor_clears(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "stale 85 stale 91 stale stale 85 stale 80 stale"},
                 {"": "- - - ! ! ! ! ! - -"})


def test_a_missing_label_neither_raises_nor_clears(rules: Rehearsal) -> None:
    rules.expect("portDown", {'portState_info{portRow="1",portState="down"}': "stale 1 stale stale stale stale",
                              'portState_info{portRow="1",portState="up"}': "1 stale stale 1 stale stale"},
                 {'{portRow="1"}': "- ! ! - - -"})


def test_a_row_whose_value_is_missing_keeps_its_alarm_beside_one_that_has_its_value(rules: Rehearsal) -> None:
    rules.expect("portDark", {'portPower{portRow="1"}': "-41 stale -37", 'portPower{portRow="2"}': "-41 -37 -37"},
                 {'{portRow="1"}': "! ! -", '{portRow="2"}': "! - -"})


def test_an_alarm_of_a_device_that_does_not_answer_goes_on(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "91 stale stale", "up": "1 0 0"}, {"": "! ! !"})


def test_an_alarm_that_is_looked_at_rarely_goes_on_while_its_value_is_missing(
    tool: MappingTool, tmp_path: Path,
) -> None:
    slow = rehearsal(tool, tmp_path, interval="10m")
    slow.expect("voltageLow", {"voltage": "45 stale stale 47"}, {"": "! ! ! -"})


def test_an_alarm_ends_with_the_scraping_of_its_device(rules: Rehearsal) -> None:
    rules.expect("loadHigh", {"load": "91 stale stale", "up": "1 1 stale"}, {"": "! ! -"})


# Silent devices


def test_a_device_that_does_not_answer_for_three_minutes_is_unreachable(rules: Rehearsal) -> None:
    rules.expect("WatchedUnreachable", {"up": "1 0 0 0 0 1"}, {"": "- - - - ! -"})


def test_a_device_that_answers_for_three_minutes_without_values_is_reported(rules: Rehearsal) -> None:
    values = {"load": "5 stale stale stale stale 5", 'portRow{portRow="1"}': "1x9"}
    rules.expect("WatchedWithoutValues", values, {"": "- - - - ! -"})


def test_a_device_with_any_value_is_not_silent(rules: Rehearsal) -> None:
    values = {"load": "5 stale stale stale stale stale", 'mode{mode="off"}': "1x9"}
    rules.expect("WatchedWithoutValues", values, {"": "- - - - - -"})


# What an alert says


def test_an_alert_has_the_severity_and_text_of_its_alarm_and_what_goes_along(rules: Rehearsal) -> None:
    values = {"load": "91", 'place{place="room 4"}': "1", 'mode{mode="off"}': "0", 'mode{mode="manual"}': "1"}
    rules.expect_alert("loadHigh", values, 0, {"severity": "major", "module": "watched_mib"}, {
        "summary": "The load is high.", "description": "shelf-1: load is 91 % (alarm above 90 until 80).",
        "place": "room 4", "mode": "manual"})


def test_an_alert_of_a_row_says_which_and_has_the_other_values_of_the_row(rules: Rehearsal) -> None:
    names = 'portName="east",portOwner="us"'
    values = {**states("down", 2, f",{names}"), f'portPower{{portRow="2",{names}}}': "-1234567.5",
              f'portPower{{portRow="1",{names}}}': "-3", 'place{place="room 4"}': "1"}
    rules.expect_alert(
        "portDown", values, 0,
        {"severity": "warning", "module": "watched_mib", "portRow": "2", "portName": "east", "portOwner": "us"},
        {"summary": "portDown", "description": "shelf-1: portState of row 2 is down (alarm if down).",
         "portPower": "-1234567.50", "place": "room 4"})


def test_an_alert_without_a_value_says_so(rules: Rehearsal) -> None:
    values = {"load": "91 stale", 'place{place="room 4"}': "1 stale"}
    rules.expect_alert("loadHigh", values, 1, {"severity": "major", "module": "watched_mib"}, {
        "summary": "The load is high.", "description": "shelf-1: load is unknown % (alarm above 90 until 80).",
        "place": "unknown", "mode": "unknown"})


def test_the_text_of_an_alarm_is_no_template(rules: Rehearsal) -> None:
    rules.expect_alert("loadZero", {"load": "0"}, 0, {"severity": "warning", "module": "watched_mib"}, {
        "summary": "{{ not a template }}", "description": "shelf-1: load is 0 % (alarm if 0)."})


def test_a_text_that_changed_is_shown(rules: Rehearsal) -> None:
    rules.expect_alert(
        "placeChanged", {'place{place="1"}': "1 stale", 'place{place="2"}': "stale 1"}, 1,
        {"severity": "warning", "module": "watched_mib"},
        {"summary": "placeChanged", "description": "shelf-1: place has changed and is 2."})


# The exporter


@pytest.mark.parametrize("release", ("0.21", "0.25"))
def test_the_exporter_has_every_metric_that_the_rules_ask_for(stack: Stack, tool: MappingTool, release: str) -> None:
    modules = stack.directory / "snmp.yml"
    tool.check("prometheus", _SOURCE, "--exporter", release, "-o", modules)
    rules = tool.check("prometheus", _SOURCE, "--rules", "--exporter", release, "--job", "shelf", "-o", "-")
    stack.start_simulator_on(_SOURCE)
    stack.start_master()
    stack.start_agent(mapping=tool.database(_SOURCE, stack.directory))
    stack.wait_until_served(tool.show(_SOURCE)["instances"][-1]["oid"])
    start_exporter(stack, modules, release)
    scraped = {re.split("[{ ]", line)[0] for line in scrape(stack, "watched_mib")}
    wanted = set(re.findall(r"(\w+)\{(?!\{)", rules)) - {"up", "ALERTS"}
    assert {"portState_info", "mode", "clockYear", "voltage"} <= wanted
    assert wanted <= scraped


# A running Prometheus


class WatchedShelf:
    """The sample device, with Prometheus looking at its alarms every second."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self.stack = stack
        self._tool = tool
        self._source = quick_source(stack.directory)
        self._rules = stack.directory / "shelf.rules.yml"
        tool.check("prometheus", self._source, "--rules", "--job", "shelf", "-o", self._rules)
        self.prometheus = start_prometheus(stack, "sample_shelf_mib", self._rules)

    def start(self) -> None:
        configuration = self.stack.directory / "snmp.yml"
        self._tool.check("prometheus", self._source, "-o", configuration)
        self.stack.start_simulator_on(self._source)
        self.stack.start_master()
        self.stack.start_agent(mapping=self._tool.database(self._source, self.stack.directory))
        start_exporter(self.stack, configuration)
        self.wait_for_alarms("portDown 6", "portDown 8")

    def set(self, object_id: int, value: int) -> None:
        assert self.stack.simulator
        assert self.stack.simulator.command(f"set {object_id:#06x} {value}") == "ok"

    def alarms(self) -> set[str]:
        return self.prometheus.alerts("portRow")

    def wait_for_alarms(self, *alarms: str) -> None:
        wait_until(lambda: self.alarms() == set(alarms), f"the alarms are {alarms}", interval=0.2)

    def wait_for_look(self, expression: str) -> None:
        """Waits until Prometheus has looked at its alarms twice while the expression holds."""
        self.prometheus.wait_for_series(1, expression)
        for _ in range(2):
            seen = self._last_look()
            wait_until(lambda seen=seen: self._last_look() != seen, "the next look", interval=0.2)

    def _last_look(self) -> str:
        groups = {group["name"]: group for group in self.prometheus.data("rules")["groups"]}
        return str(groups["sample_shelf_mib_1s"]["lastEvaluation"])


def quick_source(directory: Path) -> Path:
    """The sample device, whose alarms are looked at every second."""
    text = re.sub(r"^    every: .*\n", "", example("sample").read_text(encoding="utf-8"), flags=re.MULTILINE)
    text, alarms = re.subn(r"^    condition: .*\n", r"\g<0>    every: 1\n", text, flags=re.MULTILINE)
    assert alarms == 6
    path = directory / "shelf.yaml"
    path.write_text(text, encoding="utf-8")
    return path


@pytest.fixture
def shelf(stack: Stack, tool: MappingTool) -> WatchedShelf:
    started = WatchedShelf(stack, tool)
    started.start()
    return started


def test_a_running_prometheus_raises_and_clears_the_alarms_of_a_device(shelf: WatchedShelf) -> None:
    shelf.set(0x0120, 46)
    shelf.set(0x2112, 2)
    shelf.wait_for_alarms("portDown 6", "portDown 8", "airHot", "portImpaired 3")
    shelf.set(0x0120, 41)
    shelf.set(0x2115, 1)
    shelf.wait_for_look("airIntake == 41")
    assert shelf.alarms() == {"portDown 8", "airHot", "portImpaired 3"}
    shelf.set(0x0120, 40)
    shelf.set(0x2112, 1)
    shelf.wait_for_alarms("portDown 8")


def test_a_device_that_falls_silent_keeps_its_alarms(shelf: WatchedShelf) -> None:
    shelf.set(0x0121, 459)
    shelf.wait_for_alarms("portDown 6", "portDown 8", "supplyLow")
    shelf.stack.signal_simulator(signal.SIGSTOP)
    shelf.wait_for_look("up unless on (instance) supplyVoltage")
    assert shelf.alarms() == {"portDown 6", "portDown 8", "supplyLow"}
    shelf.stack.signal_simulator(signal.SIGCONT)
    shelf.set(0x0121, 470)
    shelf.wait_for_alarms("portDown 6", "portDown 8")

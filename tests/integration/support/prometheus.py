"""A running Prometheus, and rules that promtool tries on series of values."""
from __future__ import annotations

import json
import subprocess
import urllib.parse
from collections.abc import Mapping
from dataclasses import dataclass
from pathlib import Path
from typing import Any

import yaml

from .exporter import EXPORTER_PORT
from .stack import MASTER_PORT, Stack
from .waiting import wait_until
from .web import fetch
from .world import World

_INSTANCE = {"instance": "shelf-1"}
_DEVICE = {**_INSTANCE, "job": "shelf"}


@dataclass(frozen=True)
class Prometheus:
    """Asks a Prometheus inside a world."""

    world: World
    port: int = 9090

    def data(self, path: str, **parameters: str) -> Any:
        """What it returns for a path of its interface."""
        url = f"http://localhost:{self.port}/api/v1/{path}?{urllib.parse.urlencode(parameters)}"
        return json.loads(fetch(self.world, url))["data"]

    def query(self, expression: str) -> list[tuple[dict[str, str], float]]:
        """The labels and the current value of each series."""
        return [(each["metric"], float(each["value"][1]))
                for each in self.data("query", query=expression)["result"]]

    def alerts(self, row_label: str) -> set[str]:
        """The alerts that fire, each with its row, as in "portDown 6"."""
        return {f"{labels['alertname']} {labels.get(row_label, '')}".strip()
                for labels, _ in self.query('ALERTS{alertstate="firing"}')}

    def wait_for_series(self, number: int, expression: str) -> None:
        wait_until(lambda: len(self.query(expression)) == number, f"{number} of {expression}", interval=0.2)


def start_prometheus(stack: Stack, module: str, rules: Path) -> Prometheus:
    """Starts one that scrapes the device of a stack every two seconds, through the exporter. It does not scrape in its
    first five."""
    configuration = stack.directory / "prometheus.yml"
    configuration.write_text(yaml.safe_dump({
        "global": {"scrape_interval": "2s", "scrape_timeout": "2s", "evaluation_interval": "1s"},
        "rule_files": [str(rules)],
        "scrape_configs": [{
            "job_name": "shelf", "metrics_path": "/snmp",
            "params": {"module": [module], "target": [f"127.0.0.1:{MASTER_PORT}"]},
            "static_configs": [{"targets": [f"127.0.0.1:{EXPORTER_PORT}"], "labels": {"instance": "shelf-1"}}]}],
    }), encoding="utf-8")
    program = stack.start("prometheus", [
        "prometheus", f"--config.file={configuration}", f"--storage.tsdb.path={stack.directory / 'data'}"])
    prometheus = Prometheus(stack.world)
    wait_until(lambda: not program.is_running() or f":{prometheus.port} " in stack.world.check("ss", "-Hltn"),
               "Prometheus listens")
    return prometheus


class Rehearsal:
    """Rules with a device on which promtool tries them. Each series has one value per interval, in promtool's
    notation ("stale": the value is missing from then on); the device is scraped all the time unless "up" says else."""

    def __init__(self, rules: Path, interval: str = "1m") -> None:
        self.rules = rules
        self.interval = interval

    def expect(self, alarm: str, values: Mapping[str, str], raised: Mapping[str, str]) -> None:
        """Compares the alarm of each device or row at each time: {"": "- ! -"} is raised at the second one."""
        steps = {len(each.split()) for each in raised.values()}
        assert len(steps) == 1
        expression = f'count by (instance, portRow) (ALERTS{{alertname="{alarm}",alertstate="firing"}})'
        tests = [
            {"expr": expression, "eval_time": self._time(step), "exp_samples": [
                {"labels": _completed(at, _INSTANCE), "value": 1}
                for at, marks in raised.items() if marks.split()[step] == "!"]}
            for step in range(steps.pop())]
        self._run(values, {"promql_expr_test": tests})

    def expect_alert(
        self, alarm: str, values: Mapping[str, str], step: int, labels: dict[str, str], annotations: dict[str, str],
    ) -> None:
        """Compares everything that an alert has at one time."""
        self._run(values, {"alert_rule_test": [{"eval_time": self._time(step), "alertname": alarm, "exp_alerts": [
            {"exp_labels": {**_DEVICE, **labels}, "exp_annotations": annotations}]}]})

    def _run(self, values: Mapping[str, str], expected: dict[str, Any]) -> None:
        scraped = {"up": "1x100", **values}
        test = {"interval": self.interval, **expected, "input_series": [
            {"series": _completed(name, _DEVICE), "values": each} for name, each in scraped.items()]}
        path = self.rules.with_suffix(".test.yml")
        path.write_text(yaml.safe_dump({
            "rule_files": [str(self.rules)], "evaluation_interval": self.interval, "tests": [test]}), encoding="utf-8")
        done = subprocess.run(
            ["promtool", "test", "rules", path], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60,
            check=False)
        assert done.returncode == 0, done.stdout + done.stderr

    def _time(self, step: int) -> str:
        return f"{step * int(self.interval[:-1])}{self.interval[-1]}"


def _completed(series: str, defaults: Mapping[str, str]) -> str:
    """A series with more labels, where it states no others."""
    name, _, rest = series.partition("{")
    stated = dict(each.split("=", 1) for each in rest.removesuffix("}").split(",") if each)
    labels = {key: f'"{value}"' for key, value in defaults.items()} | stated
    return f"{name}{{{','.join(f'{key}={value}' for key, value in labels.items())}}}"

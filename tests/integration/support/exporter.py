"""The Prometheus SNMP exporter, which reads a device of a stack with a module that the mapping tool wrote."""
from __future__ import annotations

import subprocess
from pathlib import Path

from .mapping_tool import ROOT
from .stack import MASTER_PORT, Stack
from .waiting import wait_until
from .web import fetch

#: Of Debian 12: release 0.21.
EXPORTER = Path("/usr/bin/prometheus-snmp-exporter")
EXPORTER_PORT = 9116


def newer_exporter() -> Path:
    """Of Debian 13: release 0.28, fetched once."""
    subprocess.run([ROOT / "scripts" / "fetch-exporter"], check=True, timeout=300)
    return ROOT / "build" / "exporter-trixie" / EXPORTER.relative_to("/")


def start_exporter(stack: Stack, configuration: Path, program: Path = EXPORTER) -> None:
    """Returns once it listens."""
    exporter = stack.start("exporter", [
        program, f"--config.file={configuration}", f"--web.listen-address=127.0.0.1:{EXPORTER_PORT}"])
    wait_until(lambda: not exporter.is_running() or f":{EXPORTER_PORT}" in stack.world.check("ss", "-Hltn"),
               "the exporter listens")


def scrape(stack: Stack, module: str, more: str = "") -> list[str]:
    """The lines of one scrape, with more parameters such as "&auth=operator"."""
    url = f"http://127.0.0.1:{EXPORTER_PORT}/snmp?target=127.0.0.1:{MASTER_PORT}&module={module}{more}"
    return fetch(stack.world, url).splitlines()

"""The Prometheus SNMP exporter, which reads a device of a stack with a module that the mapping tool wrote."""
from __future__ import annotations

import re
import subprocess
from functools import cache
from pathlib import Path

from .mapping_tool import ROOT
from .stack import MASTER_PORT, Stack
from .waiting import wait_until
from .web import fetch

#: The formats of modules that the mapping tool writes, by the first release that reads each.
FORMATS = ("0.21", "0.23", "0.25")
EXPORTER_PORT = 9116
_INSTALLED = Path("/usr/bin/prometheus-snmp-exporter")
#: A release of Debian whose exporter reads a format.
_HAS = {"0.21": "bookworm", "0.23": "trixie", "0.25": "trixie"}


@cache
def exporter_for(form: str) -> Path:
    """An exporter that reads modules of a format: the installed one, or else another release's, fetched once."""
    if _reads(_INSTALLED, form):
        return _INSTALLED
    release = _HAS[form]
    subprocess.run([ROOT / "scripts" / "fetch-exporter", release], check=True, timeout=300)
    fetched = ROOT / "build" / f"exporter-{release}" / _INSTALLED.relative_to("/")
    assert _reads(fetched, form)
    return fetched


def _reads(program: Path, form: str) -> bool:
    """The format changed incompatibly with 0.23; each later one is an extension."""
    done = subprocess.run([program, "--version"], capture_output=True, text=True, check=True, timeout=20)
    found = re.search(r"version (\d+)\.(\d+)", done.stdout + done.stderr)
    assert found
    version, wanted = (int(found[1]), int(found[2])), tuple(map(int, form.split(".")))
    return version >= wanted and (version >= (0, 23)) == (wanted >= (0, 23))


def start_exporter(stack: Stack, configuration: Path, form: str = FORMATS[0]) -> None:
    """Starts one for modules of a format; returns once it listens."""
    exporter = stack.start("exporter", [
        exporter_for(form), f"--config.file={configuration}", f"--web.listen-address=127.0.0.1:{EXPORTER_PORT}"])
    wait_until(lambda: not exporter.is_running() or f":{EXPORTER_PORT}" in stack.world.check("ss", "-Hltn"),
               "the exporter listens")


def scrape(stack: Stack, module: str, more: str = "") -> list[str]:
    """The lines of one scrape, with more parameters such as "&auth=operator"."""
    url = f"http://127.0.0.1:{EXPORTER_PORT}/snmp?target=127.0.0.1:{MASTER_PORT}&module={module}{more}"
    return fetch(stack.world, url).splitlines()

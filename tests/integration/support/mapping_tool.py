"""The mapping tool as a program, and what its tests need besides."""
from __future__ import annotations

import json
import os
import subprocess
from dataclasses import dataclass
from glob import glob
from pathlib import Path
from typing import Any

from .stack import Build

ROOT = Path(__file__).resolve().parents[3]
EXAMPLES = ("sample", "small", "full-size")
SCHEMA = ROOT / "tools" / "mapping" / "schema" / "mapping.schema.json"
#: One of the SMIv2 base modules; its directory has all of them.
BASE_MODULES = "/usr/lib/erlang/lib/snmp-*/mibs/SNMPv2-SMI.mib"
COMPLETION = ROOT / "tools" / "mapping" / "completion" / "tarnoMapping.bash"
ZSH_COMPLETION = ROOT / "tools" / "mapping" / "completion" / "_tarnoMapping"


def example(name: str) -> Path:
    return ROOT / "examples" / f"{name}.yaml"


@dataclass(frozen=True)
class MappingTool:
    """Runs tarnoMapping."""

    build: Build

    @property
    def path(self) -> Path:
        return self.build.directory / "tools" / "mapping" / "tarnoMapping"

    def run(self, *arguments: str | Path) -> "subprocess.CompletedProcess[str]":
        return subprocess.run(
            [self.path, *arguments], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=False)

    def check(self, *arguments: str | Path) -> str:
        """Runs a command that must succeed with nothing on standard error; returns its output."""
        done = self.run(*arguments)
        assert (done.returncode, done.stderr) == (0, ""), f"{arguments}: {done.returncode}: {done.stderr}"
        return done.stdout

    def shell(self, script: str, directory: Path) -> str:
        """Runs a shell script in a directory; returns its output."""
        return subprocess.run(
            ["bash", "-c", script], stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=60, check=True,
            cwd=directory).stdout

    def database(self, source: Path, directory: Path) -> Path:
        """The database of a source, whatever the check finds."""
        path = directory / f"{source.stem}.db"
        done = self.run("build", "--force", source, "-o", path)
        assert done.returncode == 0, done.stderr
        return path

    def show(self, mapping: Path) -> dict[str, Any]:
        shown: dict[str, Any] = json.loads(self.check("show", mapping, "--json"))
        return shown


def base_modules() -> Path:
    """The directory of the SMIv2 base modules."""
    return Path(glob(BASE_MODULES)[0]).parent


def module_directory(tool: MappingTool, name: str, directory: Path) -> Path:
    """A directory with only the MIB of an example, in a file named after the module."""
    modules = directory / "mibs"
    modules.mkdir(exist_ok=True)
    text = tool.check("mib", example(name), "-o", "-")
    (modules / f"{text.split()[0]}.txt").write_text(text, encoding="ascii")
    return modules


def smi_environment(*directories: Path) -> dict[str, str]:
    """The environment in which libsmi and net-snmp find modules in these directories only."""
    path = os.pathsep.join(str(each) for each in directories)
    return {**os.environ, "LC_ALL": "C", "SMIPATH": path, "MIBDIRS": path}

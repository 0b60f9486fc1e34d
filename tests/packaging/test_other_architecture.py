"""docs/device-makers.md for another processor: its commands build the pump from the packages of that processor, and the
pump is served, emulated."""
from __future__ import annotations

import os
import shutil
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest

from page_of_makers import blocks_of
from support.mapping_tool import ROOT, MappingTool
from support.stack import Build, Stack

_EXAMPLES = ROOT / "examples" / "device"
_BASE = ".1.3.6.1.4.1.32473.21"
#: The page has the first; the names of the others are put in their place.
_TRIPLETS = {"armhf": "arm-linux-gnueabihf", "arm64": "aarch64-linux-gnu"}


@pytest.fixture
def architecture() -> str:
    return os.environ["TARNO_ARCHITECTURE"]


def run(commands: str, architecture: str, directory: Path) -> None:
    commands = commands.replace(_TRIPLETS["armhf"], _TRIPLETS[architecture]).replace("armhf", architecture)
    done = subprocess.run(
        ["bash", "-euc", commands], cwd=directory, capture_output=True, text=True, timeout=60, check=False)
    assert (done.returncode, done.stderr) == (0, "")


@pytest.fixture
def pump(architecture: str, tmp_path: Path) -> Path:
    """The pump, built by the page's commands."""
    for package in Path(os.environ["TARNO_PACKAGES"]).glob("*.deb"):
        shutil.copy(package, tmp_path)
    shutil.copy(_EXAMPLES / "pump.c", tmp_path)
    (commands,) = blocks_of("Build for ARM")
    run(commands, architecture, tmp_path)
    return tmp_path / f"pump-{architecture}"


@pytest.fixture
def stack(tmp_path: Path) -> Iterator[Stack]:
    started = Stack(tmp_path, Build(Path(os.environ["TARNO_BUILD_DIR"])))
    yield started
    started.close()


def test_the_pump_of_the_page_is_served(stack: Stack, architecture: str, pump: Path) -> None:
    libraries = pump.parent / "arm" / "usr" / "lib" / _TRIPLETS[architecture]
    stack.start("device", [*os.environ["TARNO_EMULATOR"].split(), "-E", f"LD_LIBRARY_PATH={libraries}", pump])
    stack.start_master()
    stack.start_agent(mapping=MappingTool(stack.build).database(_EXAMPLES / "pump.yaml", pump.parent))
    stack.wait_until_served(f"{_BASE}.1.1.1.0")
    assert stack.snmp.set(f"{_BASE}.2.1.1.2.4.0", "i", 25).value == "25"
    assert [each.value for each in stack.snmp.walk(f"{_BASE}.1")] == ["4.12", "ops@example.net"]
    assert [each.value for each in stack.snmp.walk(f"{_BASE}.2.1.1.2")] == ["100", "100", "50", "25"]


def test_an_image_gets_agent_and_library_from_the_build(architecture: str, tmp_path: Path) -> None:
    (tmp_path / "build").symlink_to(ROOT / "build")
    run(blocks_of("Make an image")[0], architecture, tmp_path)
    usr = tmp_path / "image" / "usr"
    libraries = usr / "lib" / _TRIPLETS[architecture]
    assert (usr / "sbin" / "tarnoSnmp").is_file() and (libraries / "libtarnodevice.so.1").is_file()
    assert [path.name for path in libraries.iterdir() if path.suffix == ".a"] == []

"""Fixtures of the tests on an emulated ARM machine; scripts/test-arm-system passes their inputs in the environment."""
from __future__ import annotations

import os
import shutil
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_machine import InstalledMachine
from machine import PROCESSORS, Machine
from measured import MEASURED
from support.mapping_tool import ROOT, MappingTool, example
from support.stack import Build


@pytest.fixture(scope="session")
def architecture() -> str:
    return os.environ["TARNO_ARCHITECTURE"]


@pytest.fixture(scope="session")
def directory(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Path]:
    """Removed afterwards: disks are large."""
    made = tmp_path_factory.mktemp("machine")
    yield made
    shutil.rmtree(made)


@pytest.fixture(scope="session")
def brought(architecture: str, directory: Path) -> Path:
    """What the second disk has: packages, the sources of two mappings, and what is measured."""
    made = directory / "brought"
    made.mkdir()
    for package in (ROOT / "build" / architecture / "packages").glob("tarnosnmp*.deb"):
        shutil.copy(package, made)
    for program in ("bareAgent", "bareQueueAgent", "benchManager", "echoDevice"):
        shutil.copy(ROOT / "build" / f"{architecture}-bench" / "bench" / "programs" / program, made)
    source = example("sample").read_text(encoding="utf-8")
    (made / "shelf.yaml").write_text(source, encoding="utf-8")
    (made / "changed.yaml").write_text(source.replace("text: shelf type", "text: kind of shelf"), encoding="utf-8")
    MEASURED.mapping().write(made / "measured.db")
    return made


@pytest.fixture(scope="session")
def machine(architecture: str, directory: Path, brought: Path) -> Iterator[Machine]:
    """Booted for the first time; nothing of ours is installed."""
    assert os.geteuid() == 0, "a machine with a network of its own takes root"
    made = Machine(directory, PROCESSORS[architecture], ROOT / "build" / f"arm-system-{architecture}", brought)
    try:
        made.boot()
        yield made
    finally:
        made.close()


@pytest.fixture(scope="session")
def installed(machine: Machine) -> InstalledMachine:
    """With the packages installed, and agent, master agent and device running as services."""
    made = InstalledMachine(machine)
    made.install()
    made.serve()
    return made


@pytest.fixture(scope="session")
def tool() -> MappingTool:
    return MappingTool(Build(ROOT / "build" / "debug"))

"""Fixtures of the package tests; scripts/test-packages passes their inputs in the environment."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_root import InstalledRoot


@pytest.fixture(scope="session")
def packages() -> dict[str, Path]:
    """The packages under test, by name."""
    found = {path.name.split("_")[0]: path for path in Path(os.environ["TARNO_PACKAGES"]).glob("*.deb")}
    assert set(found) == {"tarnosnmp", "tarnosnmp-doc", "tarnosnmp-tools", "libtarnodevice1", "libtarnodevice-dev"}
    return found


@pytest.fixture(scope="module")
def fresh(packages: dict[str, Path], tmp_path_factory: pytest.TempPathFactory) -> Iterator[InstalledRoot]:
    """A root directory of a device, in which neither the agent nor the tools are installed yet."""
    assert os.geteuid() == 0, "installing packages takes root, also in a directory"
    root = InstalledRoot(tmp_path_factory.mktemp("fresh"), Path(os.environ["TARNO_PACKAGE_ROOT"]),
                         [packages["tarnosnmp"], packages["tarnosnmp-tools"]])
    yield root
    root.close()


@pytest.fixture(scope="module")
def installed(fresh: InstalledRoot) -> InstalledRoot:
    """A root directory with the packages installed and nothing running."""
    fresh.install()
    return fresh

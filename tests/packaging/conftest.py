"""Fixtures of the package tests; scripts/test-packages passes their inputs in the environment."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_root import InstalledRoot


@pytest.fixture(scope="session")
def packages() -> list[Path]:
    """The packages under test."""
    found = sorted(Path(os.environ["TARNO_PACKAGES"]).glob("*.deb"))
    assert [path.name.split("_")[0] for path in found] == ["tarnosnmp-tools", "tarnosnmp"]
    return found


@pytest.fixture(scope="module")
def fresh(packages: list[Path], tmp_path_factory: pytest.TempPathFactory) -> Iterator[InstalledRoot]:
    """A root directory in which none of the packages is installed yet."""
    assert os.geteuid() == 0, "installing packages takes root, also in a directory"
    root = InstalledRoot(tmp_path_factory.mktemp("fresh"), Path(os.environ["TARNO_PACKAGE_ROOT"]), packages)
    yield root
    root.close()


@pytest.fixture(scope="module")
def installed(fresh: InstalledRoot) -> InstalledRoot:
    """A root directory with the packages installed and nothing running."""
    fresh.install()
    return fresh

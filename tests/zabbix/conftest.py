"""Fixtures of the tests with a Zabbix server; scripts/test-zabbix passes their inputs in the environment."""
from __future__ import annotations

import os
import shutil
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.mapping_tool import ROOT, MappingTool
from support.stack import Build, Stack
from watched_device import WatchedDevice
from zabbix_server import ZabbixServer


@pytest.fixture(scope="session")
def build() -> Build:
    """The executables under test: those in TARNO_BUILD_DIR, by default the debug build."""
    return Build(Path(os.environ.get("TARNO_BUILD_DIR", ROOT / "build" / "debug")).resolve())


@pytest.fixture(scope="session")
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture(scope="session")
def directory(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Path]:
    """Removed afterwards: the root directory of Zabbix is large."""
    made = tmp_path_factory.mktemp("watched")
    yield made
    shutil.rmtree(made)


@pytest.fixture(scope="session")
def stack(build: Build, directory: Path) -> Iterator[Stack]:
    started = Stack(directory, build)
    yield started
    started.close()


@pytest.fixture(scope="session")
def zabbix(stack: Stack, directory: Path) -> ZabbixServer:
    """Server, database and frontend, in the world of the device."""
    assert os.geteuid() == 0, "a root directory of its own takes root"
    server = ZabbixServer(directory, Path(os.environ["TARNO_ZABBIX_ROOT"]), stack.world)
    server.start()
    return server


@pytest.fixture(scope="session")
def host(stack: Stack, tool: MappingTool, zabbix: ZabbixServer) -> WatchedDevice:
    """The device as a host of which Zabbix has read everything."""
    device = WatchedDevice(stack, tool, zabbix)
    device.start()
    return device


@pytest.fixture
def watched(host: WatchedDevice) -> Iterator[WatchedDevice]:
    """The host of a device with its initial values and without problems."""
    yield host
    host.calm_down()

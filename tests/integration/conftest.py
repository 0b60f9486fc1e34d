"""Fixtures shared by all integration tests."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from support.machine import what_is_missing
from support.sample import SAMPLE_MAPPING, SAMPLE_OBJECTS
from support.stack import Build, Stack

_ROOT = Path(__file__).resolve().parents[2]


@pytest.fixture(scope="session")
def build() -> Build:
    """The executables under test: those in TARNO_BUILD_DIR, by default the debug build."""
    directory = Path(os.environ.get("TARNO_BUILD_DIR", _ROOT / "build" / "debug")).resolve()
    found = Build(directory)
    missing = [str(path) for path in (found.agent, found.simulator) if not path.is_file()]
    assert not missing, f"not built: {', '.join(missing)}; run scripts/build, or set TARNO_BUILD_DIR"
    return found


@pytest.fixture
def stack(build: Build, tmp_path: Path, request: pytest.FixtureRequest) -> Iterator[Stack]:
    """A world of its own with nothing started in it."""
    started = Stack(tmp_path, build)
    request.node.stash[_STACK] = started
    yield started
    started.close()
    assert not started.sanitizer_reports()


@pytest.fixture(scope="module")
def shared_stack(
    build: Build, tmp_path_factory: pytest.TempPathFactory, request: pytest.FixtureRequest,
) -> Iterator[Stack]:
    """A world shared by all tests of a module that leave it as they found it. Such a module belongs in
    one xdist group, or each worker creates its own world."""
    started = Stack(tmp_path_factory.mktemp("shared"), build)
    request.node.stash[_STACK] = started
    yield started
    started.close()
    assert not started.sanitizer_reports()


@pytest.fixture
def sample_stack(stack: Stack) -> Stack:
    """Device, master agent and agent serving the usual sample objects."""
    stack.start_simulator(SAMPLE_OBJECTS)
    stack.start_master()
    stack.start_agent(mapping=SAMPLE_MAPPING)
    stack.wait_until_served()
    return stack


def pytest_sessionstart(session: pytest.Session) -> None:
    """Ends the session with one line if its tests cannot run here."""
    is_worker = hasattr(session.config, "workerinput")
    if not is_worker and (missing := what_is_missing()):
        pytest.exit(missing, returncode=1)


_STACK: pytest.StashKey[Stack] = pytest.StashKey()


@pytest.hookimpl(hookwrapper=True)
def pytest_runtest_makereport(item: pytest.Item, call: pytest.CallInfo[None]) -> Iterator[None]:
    """Shows what every program of the stack has printed if a test fails, even if its second attempt passes."""
    outcome = yield
    report = outcome.get_result()
    if report.failed:
        for node in item.listchain():
            if _STACK in node.stash:
                report.sections.extend(node.stash[_STACK].captures())
        assert call.excinfo
        item.user_properties.append(("failure", f"{call.excinfo.exconly()}\n{report.capstdout}"))

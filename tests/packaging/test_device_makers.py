"""docs/device-makers.md, command by command, from the installation to the program for an image. The tests of this
module are one story, told in order."""
from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from installed_root import HOME, InstalledRoot
from page_of_makers import blocks_of
from support.program import CommandedProgram
from support.snmp import Snmp
from support.waiting import wait_until

_PRESSURE = ".1.3.6.1.4.1.32473.21.1.1.1.0"
_LAST_OPENING = ".1.3.6.1.4.1.32473.21.2.1.1.2.4.0"


class Desk:
    """A root in which one shell runs the commands of the page."""

    def __init__(self, root: InstalledRoot) -> None:
        self.root = root
        self._shell = CommandedProgram(
            root.world, "shell", root.command(["bash", "-eu"]), root.directory, dict(os.environ))
        self._blocks = 0
        self._shell.command(f"cd {HOME}; echo entered")

    def run(self, commands: str) -> str:
        """Runs commands that must all succeed, and leaves running what they start in the background."""
        self._blocks += 1
        script, output = (f"{HOME}/commands{self._blocks}.{kind}" for kind in ("sh", "out"))
        self.root.write(script, commands)
        try:
            self._shell.command(f"source {script} >{output} 2>&1; echo done", timeout=90)
        except AssertionError as error:
            raise AssertionError(f"{commands}\n{self.root.file(output).read_text()}") from error
        return self.root.file(output).read_text(encoding="utf-8")

    def wait_until_served(self, oid: str) -> None:
        manager = Snmp(self.root.run, "127.0.0.1:1161", community="public", timeout=2)
        wait_until(lambda: self.root.serves(oid, manager), f"{oid} is served", 60)

    def close(self) -> None:
        self._shell.stop()


@pytest.fixture(scope="module")
def desk(packages: dict[str, Path], tmp_path_factory: pytest.TempPathFactory) -> Iterator[Desk]:
    """A root directory with compiler and master, and the packages in the working directory."""
    root = InstalledRoot(tmp_path_factory.mktemp("maker"), Path(os.environ["TARNO_MAKER_ROOT"]),
                         list(packages.values()))
    root.bring_packages()
    desk = Desk(root)
    yield desk
    desk.close()
    root.close()


def test_the_packages_are_installed(desk: Desk, packages: dict[str, Path]) -> None:
    (commands,) = blocks_of("Install the packages")
    desk.run(commands)
    assert desk.root.check("dpkg-query", "--show", "--showformat=${Package} ", *packages).split() == sorted(packages)


def test_the_source_becomes_the_database_that_the_page_shows(desk: Desk) -> None:
    (commands,) = blocks_of("Define the objects")
    shown = desk.run(commands)
    assert blocks_of("Define the objects", "yaml") == [desk.root.file(f"{HOME}/pump.yaml").read_text(encoding="utf-8")]
    assert shown.endswith(blocks_of("Define the objects", "")[0])


def test_the_program_of_the_page_is_compiled_without_warnings_and_started(desk: Desk) -> None:
    assert blocks_of("Write the device application", "c") == [desk.root.file(f"{HOME}/pump.c").read_text()]
    (commands,) = blocks_of("Compile and start it")
    assert desk.run(commands) == ""


def test_the_walk_and_the_set_are_those_of_the_page(desk: Desk) -> None:
    start, walk = blocks_of("Walk it")
    desk.run(start)
    desk.wait_until_served(_LAST_OPENING)
    assert desk.run(walk) == blocks_of("Walk it", "")[0]


def test_the_pump_has_no_findings(desk: Desk) -> None:
    (commands,) = blocks_of("Verify it")
    assert "0 errors, 0 warnings, 0 notes\n" in desk.run(commands)
    desk.wait_until_served(_LAST_OPENING)


@pytest.mark.parametrize("other", [0, 1], ids=["event loop", "Python"])
def test_another_example_is_served_in_its_place(desk: Desk, other: int) -> None:
    commands = blocks_of("Serve in another way")
    assert len(commands) == 2
    desk.run(commands[other])
    desk.wait_until_served(_PRESSURE)
    desk.wait_until_served(_LAST_OPENING)


def test_the_package_brings_program_mapping_and_service(desk: Desk) -> None:
    (commands,) = blocks_of("Make a package")
    desk.run(commands)
    installed = desk.root.check("dpkg", "--listfiles", "pump").split()
    assert {each for each in installed if desk.root.file(each).is_file()} == {
        "/usr/bin/pump", "/etc/tarnosnmp/mapping.db", "/usr/lib/systemd/system/pump.service"}
    assert desk.root.check("systemctl", "is-enabled", "pump.service") == "enabled\n"
    shown = desk.root.check("tarnoMapping", "show", "/etc/tarnosnmp/mapping.db")
    assert [shown] == blocks_of("Define the objects", "")
    assert desk.root.check("systemd-analyze", "verify", "--man=no", "/usr/lib/systemd/system/pump.service") == ""


def test_a_static_program_needs_no_library(desk: Desk) -> None:
    assert "libtarnodevice.so.1" in desk.root.check("ldd", f"{HOME}/pump")
    commands = blocks_of("Make an image")[1]
    assert desk.run(commands) == ""
    assert "libtarnodevice" not in desk.root.check("ldd", f"{HOME}/pump")


def test_a_function_leads_to_its_manual_page(desk: Desk) -> None:
    assert ".Nm tarno_device_step" in desk.root.check("zcat", "/usr/share/man/man3/tarno_device_step.3.gz")

"""Master mode: the agent prepares the directories, replaces the running snmpd with its own and connects to it."""
from __future__ import annotations

import signal
import time
from collections.abc import Sequence

import pytest

from support.device import BASE, start_up_objects, unsigned
from support.mapping import Mapping, Scalar
from support.sample import FIRST_TABLE, LIMIT, SAMPLE_MAPPING, SAMPLE_OBJECTS, SECOND_TABLE, TEMPERATURE
from support.snmp import Varbind
from support.stack import AGENTX_SOCKET, MASTER_PORT, Stack
from support.waiting import wait_until

INSTALLED = "/mnt/actflash/currsw"
SHARED_MIBS = "/home/snmp/share/snmp"
PAUSE = 5.0

# In place of the device's snmpd. Records how it was started and execs the real one, under the same name.
LAUNCHED = """#!/bin/sh
[ -e /run/launched ] && echo again >>/run/launched
for argument; do echo "$argument"; done >>/run/launched
grep SigIgn /proc/$$/status >/run/ignored
env >/run/environment
exec snmpd "$@"
"""

# A root directory with everything that the world's root has, except one entry.
ROOT_WITHOUT = """
root=$1 without=$2
mkdir "$root"
for entry in /*; do
    if [ -L "$entry" ]; then
        cp --no-dereference "$entry" "$root"
    elif [ -d "$entry" ] && [ "$entry" != "$without" ]; then
        mkdir "$root$entry" && mount --rbind "$entry" "$root$entry"
    fi || exit 1
done
"""


class Device:
    """The file system of a device inside a stack's world; nothing outside changes."""

    def __init__(self, stack: Stack) -> None:
        self._stack = stack
        for path in ("/mnt", "/home"):
            stack.world.hide_directory(path)
        self._replace_etc()

    def install(self) -> None:
        """The installed software: a master agent and two MIB files."""
        self._stack.world.check("mkdir", "-p", f"{INSTALLED}/app", f"{INSTALLED}/mibs")
        self.write(f"{INSTALLED}/app/snmpd", LAUNCHED)
        self._stack.world.check("chmod", "+x", f"{INSTALLED}/app/snmpd")
        for name in ("ONE-MIB.txt", "OTHER-MIB.txt"):
            self.write(f"{INSTALLED}/mibs/{name}", f"-- {name}\n")

    def root_without_etc(self) -> str:
        """A root directory for programs that must find no /etc at all."""
        self._stack.world.check("bash", "-c", ROOT_WITHOUT, "bash", "/run/root", "/etc")
        return "/run/root"

    def write(self, path: str, content: str) -> None:
        (self._stack.world.root / path.lstrip("/")).write_text(content, encoding="ascii")

    def read(self, path: str) -> str:
        return (self._stack.world.root / path.lstrip("/")).read_text(encoding="ascii")

    def exists(self, path: str) -> bool:
        return self._stack.world.run(["test", "-e", path]).returncode == 0

    def files(self, path: str) -> list[str]:
        return sorted(self._stack.world.check("find", path, "-type", "f").split())

    def processes(self) -> list[str]:
        """The process ids of all running snmpd, as seen from inside."""
        return self._stack.world.run(["pgrep", "-x", "snmpd"]).stdout.split()

    def _replace_etc(self) -> None:
        """A copy of /etc without the settings of this machine's SNMP programs."""
        copy = self._stack.directory / "etc"
        self._stack.world.check("cp", "-a", "/etc", copy)
        self._stack.world.check("rm", "-rf", copy / "snmp")
        self._stack.world.replace_directory("/etc", copy)


def launch(stack: Stack, *further: str, name: tuple[str, ...] = (), through: Sequence[str] = ()) -> None:
    configuration = stack.write_master_configuration()
    stack.start_agent(
        "-d", stack.write_mapping(SAMPLE_MAPPING), "-x", AGENTX_SOCKET, "-c", configuration, "-p", str(MASTER_PORT),
        *name, *further, through=through)


def printed(stack: Stack, name: str = "null:name") -> str:
    """Everything that master mode prints."""
    directory = stack.directory
    return (
        f"\ndbFath={directory}/mapping.db\ntransport={AGENTX_SOCKET}\nagentXName={name}\n "
        "startSnmpd....\n"
        f"cmd->{INSTALLED}/app/snmpd -x {AGENTX_SOCKET} -f -Le -c {directory}/snmpd.conf UDP:{MASTER_PORT} &\n"
        "wating for snmpd\n"
        "netsnmp_ds_set_boolean....\n"
        "objCount=5\n"
        "_pComPortAdapter->open() end....\n"
        f"TableHandlerOne::init_table node={BASE}{FIRST_TABLE}\n"
        "getFixDeviceNum(ancestorNode[i].ancestorNode)=8\n"
        f"TableHandlerOne::init_table node={BASE}{SECOND_TABLE}\n"
        "getFixDeviceNum(ancestorNode[i].ancestorNode)=8\n"
        "init_snmp end....\n")


class Fresh:
    """Master mode on a device on which nothing is prepared and no master agent runs."""

    def __init__(self, stack: Stack) -> None:
        self.stack = stack
        self.device = Device(stack)
        self.device.install()
        stack.start_simulator(SAMPLE_OBJECTS)
        before = time.monotonic()
        launch(stack)
        assert stack.agent
        stack.agent.wait_for_output("wating for snmpd\n")
        launched = time.monotonic()
        stack.agent.wait_for_output("netsnmp_ds_set_boolean....\n")
        # A busy machine may see the first line late, but never before it is there.
        self.shortest_pause = time.monotonic() - launched
        self.longest_pause = time.monotonic() - before
        stack.wait_until_served()
        self.output = stack.output()


@pytest.fixture(scope="module")
def fresh(shared_stack: Stack) -> Fresh:
    return Fresh(shared_stack)


on_fresh_device = pytest.mark.xdist_group("master mode on a fresh device")


@on_fresh_device
def test_scalars_and_tables_are_served_through_the_launched_master(fresh: Fresh) -> None:
    snmp = fresh.stack.snmp
    assert snmp.get(TEMPERATURE.oid) == Varbind("INTEGER", "-7")
    assert len(snmp.walk(BASE + FIRST_TABLE)) == 4 * 8
    snmp.set(LIMIT.oid, "i", 33)
    assert snmp.get(LIMIT.oid) == Varbind("INTEGER", "33")


@on_fresh_device
def test_everything_printed_in_master_mode(fresh: Fresh) -> None:
    assert fresh.output == printed(fresh.stack)


@on_fresh_device
def test_the_master_is_given_five_seconds(fresh: Fresh) -> None:
    assert PAUSE <= fresh.longest_pause
    assert fresh.shortest_pause < PAUSE + 2


@on_fresh_device
def test_the_master_is_launched_with_the_settings(fresh: Fresh) -> None:
    assert fresh.device.read("/run/launched").splitlines() == [
        "-x", AGENTX_SOCKET, "-f", "-Le", "-c", f"{fresh.stack.directory}/snmpd.conf", f"UDP:{MASTER_PORT}"]


@on_fresh_device
def test_the_missing_directories_are_made_and_the_mib_files_copied(fresh: Fresh) -> None:
    assert fresh.device.files(SHARED_MIBS) == [
        f"{SHARED_MIBS}/mibs/ONE-MIB.txt", f"{SHARED_MIBS}/mibs/OTHER-MIB.txt"]
    assert fresh.device.files("/etc/snmp") == []


@on_fresh_device
def test_the_launched_master_inherits_neither_ignored_signals_nor_a_mib_setting(fresh: Fresh) -> None:
    assert "MIBS=" not in fresh.device.read("/run/environment")
    ignored = int(fresh.device.read("/run/ignored").split()[1], 16)
    assert not ignored & 1 << (signal.SIGPIPE - 1)


@on_fresh_device
def test_that_no_master_was_running_is_told_on_standard_error_only(fresh: Fresh) -> None:
    assert fresh.stack.agent
    assert "snmpd: no process found" in fresh.stack.agent.errors()


@on_fresh_device
def test_the_launched_master_outlives_the_agent(fresh: Fresh) -> None:
    """The last test on this device: it ends the agent."""
    masters = fresh.device.processes()
    assert len(masters) == 1
    fresh.stack.kill_agent()
    fresh.stack.wait_until_gone(TEMPERATURE.oid)
    assert fresh.device.processes() == masters


@pytest.fixture
def device(stack: Stack) -> Device:
    return Device(stack)


def test_a_running_master_is_replaced_and_prepared_directories_are_left_alone(stack: Stack, device: Device) -> None:
    device.install()
    stack.world.check("mkdir", "-p", SHARED_MIBS, "/etc/snmp")
    device.write("/etc/snmp/kept", "kept\n")
    running = stack.start_master()
    stack.start_simulator(SAMPLE_OBJECTS)
    launch(stack, name=("-n", "unused"))
    assert running.wait_for_end() == -signal.SIGKILL
    stack.wait_until_served()
    assert len(device.processes()) == 1
    assert device.files(SHARED_MIBS) == []
    assert device.files("/etc/snmp") == ["/etc/snmp/kept"]
    assert stack.output() == printed(stack, name="unused")


def test_a_second_start_replaces_the_master_of_the_first(stack: Stack, device: Device) -> None:
    device.install()
    stack.start_simulator(SAMPLE_OBJECTS)
    launch(stack)
    stack.wait_for_master()
    first = device.processes()
    stack.kill_agent()
    launch(stack)
    stack.wait_until_served()
    assert len(device.processes()) == 1
    assert device.processes() != first
    assert "again" in device.read("/run/launched")


def test_start_up_goes_on_without_a_master_that_can_be_launched(stack: Stack, device: Device) -> None:
    stack.start_simulator(SAMPLE_OBJECTS)
    launch(stack)
    assert stack.agent
    stack.agent.wait_for_output("init_snmp end....\n")
    assert stack.output() == printed(stack)
    # mkdir -p has created the directory; there was nothing to copy.
    assert device.files(SHARED_MIBS) == []
    stack.start_master()
    stack.wait_until_served()


def test_start_up_goes_on_where_there_is_no_place_for_the_settings(stack: Stack, device: Device) -> None:
    device.install()
    root = device.root_without_etc()
    stack.start_simulator(SAMPLE_OBJECTS)
    launch(stack, through=["chroot", root])
    stack.wait_until_served()
    assert stack.agent
    assert "mkdir: cannot create directory '/etc/snmp': No such file or directory" in stack.agent.errors()
    assert not device.exists(f"{root}/etc")
    assert stack.output() == printed(stack)


def test_the_mapping_is_loaded_before_a_master_is_launched(stack: Stack, device: Device) -> None:
    device.install()
    stack.start_simulator([*start_up_objects(), unsigned(0x0101, 7)])
    missing = stack.directory / "nowhere" / "mapping.db"
    stack.start_agent(
        "-d", missing, "-x", AGENTX_SOCKET, "-c", stack.write_master_configuration(), "-p", str(MASTER_PORT))
    assert stack.agent
    stack.agent.wait_for_output("wating for snmpd\n")
    assert stack.output().startswith(
        f"\ndbFath={missing}\ntransport={AGENTX_SOCKET}\nagentXName=null:name\n startSnmpd....\n"
        f"ERROR: open file {missing} failed! \ninitSnmpObjOid subsite 0 db open error\n"
        " subsite 0 get SNMP_TABLE_OBJ_TABLE error\ncmd->")


def test_settings_reach_the_shell_as_they_are(stack: Stack, device: Device) -> None:
    device.install()
    stack.start_simulator([*start_up_objects(), unsigned(0x0101, 7)])
    configuration = f"{stack.write_master_configuration()},/none.conf"
    stack.start_agent(
        "-d", stack.write_mapping(Mapping([Scalar(0x0101, (1, 1, 0))])), "-x", "unix:$PLACE", "-c", configuration, "-p",
        f"{MASTER_PORT} -r", env={"PLACE": "/run/elsewhere"})
    wait_until(lambda: device.exists("/run/environment"), "the master is launched")
    assert device.read("/run/launched").splitlines() == [
        "-x", "unix:/run/elsewhere", "-f", "-Le", "-c", configuration, f"UDP:{MASTER_PORT}", "-r"]


def test_the_launched_master_is_not_the_service_of_a_service_manager(stack: Stack, device: Device) -> None:
    device.install()
    stack.start_simulator(start_up_objects())
    stack.start_agent(
        "-d", stack.write_mapping(Mapping()), "-x", AGENTX_SOCKET, "-c", stack.write_master_configuration(), "-p",
        str(MASTER_PORT), env={"NOTIFY_SOCKET": "@nobody", "WATCHDOG_USEC": "60000000"})
    wait_until(lambda: device.exists("/run/environment"), "the master is launched")
    environment = device.read("/run/environment")
    assert "NOTIFY_SOCKET=" not in environment and "WATCHDOG_USEC=" not in environment
    # The agent serves although nobody takes its messages.
    assert stack.agent
    stack.agent.wait_for_output("init_snmp end....\n")

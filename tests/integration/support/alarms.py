"""A device with alarms that the master agent watches, and the managers that get its notifications."""
from __future__ import annotations

import re
import signal
from collections import Counter
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from pathlib import Path

from .mapping_tool import MappingTool, base_modules, smi_environment
from .program import Program
from .stack import AUTH_PASSWORD, PRIV_PASSWORD, Stack
from .waiting import LONGEST_WAIT, wait_until

BASE = ".1.3.6.1.4.1.32473.21"
MODULE = "SAMPLE-OVEN-MIB"
HEAT, MODE, NAME, VOLTAGE = 0x10, 0x11, 0x12, 0x13
STATES, LABELS = 0x100, 0x110
ROWS = 4
#: How often one poll of all alarms reads ovenHeat.
HEAT_READS = 4
#: One alarm of each condition, each polled every second.
SOURCE = f"""
module: {{name: {MODULE}, base: {BASE}, updated: 2026-01-15}}
scalars:
  - {{name: ovenHeat, oid: 1.1.1, object: {HEAT:#06x}, type: integer, units: degrees Celsius,
     device: {{kind: signed, width: 2, value: 20}}}}
  - {{name: ovenMode, oid: 1.1.2, object: {MODE:#06x}, type: integer,
     labels: {{0: idle, 1: heating, 2: baking, 3: cooling, 4: broken}}, device: {{kind: unsigned, width: 1, value: 2}}}}
  - {{name: ovenName, oid: 1.1.3, object: {NAME:#06x}, type: text, device: {{kind: string, width: 16, value: oven 1}}}}
  - {{name: ovenVoltage, oid: 1.1.4, object: {VOLTAGE:#06x}, type: text, conversion: decimal 1,
     device: {{kind: unsigned, width: 2, value: 2300}}}}
tables:
  - name: doorTable
    node: .2.1
    rows: {ROWS}
    columns:
      - {{name: doorState, first: {STATES:#06x}, type: integer, labels: {{0: shut, 1: open}},
         device: {{kind: unsigned, width: 1, value: 0}}}}
      - {{name: doorLabel, first: {LABELS:#06x}, type: text,
         device: {{kind: string, width: 8, values: [front, back, left, right]}}}}
alarms:
  - {{name: ovenHot, number: 1, object: ovenHeat, condition: above, raise: 80.5, clear: 75, every: 1, with: [ovenName]}}
  - {{name: ovenCold, number: 2, object: ovenHeat, condition: below, raise: -5.5, clear: 0, every: 1}}
  - {{name: ovenBroken, number: 3, object: ovenMode, condition: equal, raise: broken, every: 1}}
  - {{name: ovenNotBaking, number: 4, object: ovenMode, condition: not equal, raise: baking, every: 1}}
  - {{name: ovenUseless, number: 5, object: ovenMode, condition: one of, raise: [cooling, broken], every: 1}}
  - {{name: ovenUneven, number: 6, object: ovenMode, condition: one of, raise: [heating, cooling], every: 1}}
  - {{name: ovenRenamedByItsOwnersAgain, number: 7, object: ovenName, condition: changed, every: 1}}
  - {{name: ovenVoltageLow, number: 8, object: ovenVoltage, condition: below, raise: 210, every: 1}}
  - {{name: doorOpen, number: 9, object: doorState, condition: equal, raise: open, every: 1,
     with: [doorLabel, ovenHeat]}}
"""
#: What the master agent sends about a device that is well, as soon as it sees its values.
ALL_WELL = ("ovenHotClear", "ovenColdClear", "ovenBrokenClear", "ovenNotBakingClear", "ovenUselessClear",
            "ovenUnevenClear", "ovenRenamedByItsOwnersAgain", *(f"doorOpenClear {row + 1}" for row in range(ROWS)))

_TRAP_PORT = 1162
_LINE = re.compile(rf"OID: {MODULE}::([\w.]+)(.*)$", re.MULTILINE)
_OBJECT = re.compile(rf"\t{MODULE}::([\w.]+) = ([^\t]*)")
RECEIVER = f"127.0.0.1:{_TRAP_PORT}"
TRAPS = f"trap2sink {RECEIVER} public"
#: Repeated every second, so often that a receiver can start again meanwhile.
INFORMS = f"trapsess -Ci -v2c -c public -t 1 -r 20 {RECEIVER}"
SECURE_INFORMS = (
    f"trapsess -Ci -v3 -u operator -l authPriv -a SHA -A {AUTH_PASSWORD} -x AES -X {PRIV_PASSWORD} {RECEIVER}")


@dataclass(frozen=True)
class Notification:
    """A notification with what goes along, each as snmptrapd prints it."""

    name: str
    objects: dict[str, str]

    @property
    def text(self) -> str:
        """The name, and the row if it has one."""
        row = re.match(r"door\w+\.(\d+)\.0$", next(iter(self.objects), ""))
        return f"{self.name} {row[1]}" if row else self.name


def start_receiver(stack: Stack, modules: Path, module: str) -> Program:
    """Starts snmptrapd with a module of a directory. It prints a line for each notification."""
    path = stack.directory / "snmptrapd.conf"
    path.write_text(
        f'createUser operator SHA "{AUTH_PASSWORD}" AES "{PRIV_PASSWORD}"\nauthUser log operator priv\n'
        "authCommunity log public\n", encoding="ascii")
    receiver = stack.start(
        "snmptrapd", ["snmptrapd", "-f", "-Lo", "-n", "-C", "-c", path, "-m", module, "-F", "%v\n", f"udp:{RECEIVER}"],
        {"MIBDIRS": smi_environment(modules, base_modules())["MIBDIRS"],
         "SNMP_PERSISTENT_DIR": str(stack.directory / "receiver")})
    receiver.wait_for_output("NET-SNMP version")
    return receiver


def reads_of(stack: Stack, object_id: int | None = None) -> int:
    """How often the agent has read an object of the simulator, or anything."""
    assert stack.simulator
    counts = stack.simulator.command("stats" if object_id is None else f"stats {object_id:#x}")
    found = re.search(r"reads=(\d+)", counts)
    assert found, counts
    return int(found[1])


class AlarmedOven:
    """Verbs of somebody who changes the device and watches what its managers get."""

    def __init__(self, stack: Stack, tool: MappingTool) -> None:
        self.stack = stack
        self._directory = stack.directory
        self._receiver: Program | None = None
        self._known = 0
        self.source = self._directory / "oven.yaml"
        self.source.write_text(SOURCE, encoding="utf-8")
        self._database = tool.database(self.source, self._directory)
        self._modules = self._directory / "mibs"
        self._modules.mkdir()
        assert tool.run("mib", self.source, "-o", self._modules / MODULE).returncode == 0
        #: The alarms as the master agent includes them.
        self.configuration = self._directory / "alarms.conf"
        done = tool.run("alarms", self.source, "-o", self.configuration)
        assert done.returncode == 0
        self.remarks = done.stderr.splitlines()

    # Starting and stopping

    def start(self, destination: str = TRAPS) -> None:
        """Starts everything, and waits until the managers know that the device is well."""
        self.start_device()
        self.start_managers(destination)
        self.expect(*ALL_WELL)

    def start_device(self) -> None:
        self.stack.logs_frames = False
        self.stack.start_simulator_on(self.source)

    def start_managers(self, destination: str = TRAPS, *configuration: str) -> None:
        """Starts everything but the device; `configuration` is more of that of the master agent."""
        self.start_receiver()
        self.start_master(destination, *configuration)
        self.start_agent()

    def start_receiver(self) -> None:
        self._known = 0
        self._receiver = start_receiver(self.stack, self._modules, MODULE)

    def restart_receiver(self) -> None:
        assert self._receiver
        self._receiver.stop()
        self.start_receiver()

    def lose_a_notification(self, change: Callable[[], None]) -> None:
        """The managers are away while the device changes: what is sent gets lost on its way."""
        assert self._receiver
        self._receiver.stop()
        with self.stack.world.udp_socket() as nobody:
            nobody.bind(("127.0.0.1", _TRAP_PORT))
            nobody.settimeout(LONGEST_WAIT)
            change()
            nobody.recv(65535)
        self.start_receiver()

    def start_master(self, destination: str = TRAPS, *configuration: str) -> None:
        self.stack.start_master(f"includeFile {self.configuration}", destination, *configuration)

    def start_agent(self) -> None:
        self.stack.start_agent(mapping=self._database)
        self.wait_until_served()

    def wait_until_served(self) -> None:
        self.stack.wait_until_served(f"{BASE}.1.1.1.0")

    def reread_configuration(self) -> None:
        self.stack.signal_master(signal.SIGHUP)

    # The device

    def set(self, object_id: int, value: object) -> None:
        assert self.command(f"set {object_id:#x} {value}") == "ok"

    def command(self, line: str) -> str:
        assert self.stack.simulator
        return self.stack.simulator.command(line)

    def reads(self, object_id: int | None = None) -> int:
        """How often the agent has read an object, or anything."""
        return reads_of(self.stack, object_id)

    def wait_for_polls(self, looks: int = 1) -> None:
        """Waits until every monitor has polled this often again, and once more if a poll is going on."""
        wanted = self.reads(HEAT) + (looks + 1) * HEAT_READS
        wait_until(lambda: self.reads(HEAT) >= wanted, f"{looks} looks", interval=0.05)

    # The managers

    def received(self) -> list[Notification]:
        """All notifications that the test has not taken yet."""
        return self._received()[self._known:]

    def expect(self, *texts: str) -> Sequence[Notification]:
        """These come, in any order, and nothing else while every monitor polls again."""
        self.wait_for(*texts)
        self.wait_for_polls()
        assert self.taken() == Counter(texts)
        return self._received()[self._known - len(texts):self._known]

    def wait_for(self, *texts: str, timeout: float = LONGEST_WAIT) -> None:
        wait_until(lambda: Counter(texts) <= Counter(each.text for each in self.received()),
                   f"notifications {texts}", timeout)

    def taken(self) -> "Counter[str]":
        """What has come since the last time."""
        new = self.received()
        self._known += len(new)
        return Counter(each.text for each in new)

    def _received(self) -> list[Notification]:
        assert self._receiver
        return [Notification(name, dict(_OBJECT.findall(objects)))
                for name, objects in _LINE.findall(self._receiver.output())]

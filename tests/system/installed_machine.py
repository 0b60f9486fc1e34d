"""The packages on an emulated machine, with a master agent and a simulated device."""
from __future__ import annotations

from guest_agent import PATIENCE
from machine import BROUGHT, Machine
from support.device import BASE
from support.waiting import wait_until

AGENT = "tarnosnmp.service"
MASTER = "snmpd.service"
DEVICE = "device.service"
MAPPING = "/etc/tarnosnmp/mapping.db"
#: The last cell of the example: once it is served, everything is.
LAST = f"{BASE}.2.2.1.2.8.0"

_SETTINGS = """agentAddress udp:161
rocommunity public
rwcommunity private
dontLogTCPWrappersConnects yes
includeDir /etc/snmp/snmpd.conf.d
"""
#: A simulated device application, which is started again like a real one.
_DEVICE_UNIT = f"""[Unit]
Description=Simulated device
[Service]
ExecStart=/usr/bin/tarnoDeviceSim --mapping {MAPPING}
Restart=always
RestartSec=1
[Install]
WantedBy=multi-user.target
"""


class InstalledMachine:
    """Verbs for what runs on the machine."""

    def __init__(self, machine: Machine) -> None:
        self.machine = machine
        #: Seconds of the guest's clock from the start of the kernel until everything is served.
        self.boot_to_served: float | None = None

    def install(self) -> None:
        """From the files that were brought; all that they depend on is there."""
        self.machine.check(
            "sh", "-euc", 'DEBIAN_FRONTEND=noninteractive apt-get install --yes "$0"/*.deb', BROUGHT,
            timeout=900)

    def serve(self) -> None:
        """Starts everything with the example's mapping; it is also started at boot."""
        self.build_mapping("shelf")
        self.machine.write("/etc/snmp/snmpd.conf", _SETTINGS)
        self.machine.write(f"/etc/systemd/system/{DEVICE}", _DEVICE_UNIT)
        self.machine.check("systemctl", "enable", "--now", DEVICE)
        self.machine.check("systemctl", "restart", MASTER, AGENT)
        self.machine.wait_until_served(LAST)
        # Without it, a power cut in the next half a minute empties the files that are written here.
        self.machine.check("sync")

    def boot(self) -> None:
        """Once more, with everything that is started at boot."""
        self.machine.power_on()
        self.boot_to_served = self.machine.seconds_until_served(LAST)
        self.machine.wait_until_up()

    def build_mapping(self, name: str) -> str:
        """Returns the hash of the database."""
        self.machine.check("tarnoMapping", "build", f"{BROUGHT}/{name}.yaml", "-o", MAPPING)
        return self.hash_of(MAPPING)

    def hash_of(self, path: str) -> str:
        return self.machine.check("sha256sum", path).split()[0]

    def process(self, unit: str) -> int:
        """Of a service that runs."""
        wait_until(lambda: self.machine.property(unit, "ActiveState") == "active", f"{unit} runs", PATIENCE)
        return int(self.machine.property(unit, "MainPID"))

    def kill(self, unit: str) -> None:
        self.machine.check("systemctl", "kill", "--signal=KILL", unit)

    def waiting_requests(self) -> int:
        """Messages that the device has not taken."""
        lines = self.machine.check("cat", "/proc/sysvipc/msg").splitlines()[1:]
        return sum(int(line.split()[4]) for line in lines)

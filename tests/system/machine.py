"""A whole emulated ARM machine: Debian's kernel and packages on a disk, with a network of its own."""
from __future__ import annotations

import os
import subprocess
import time
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path

from guest_agent import PATIENCE, GuestAgent
from support.program import Program
from support.snmp import Snmp, SnmpError, SnmpTimeout
from support.waiting import wait_until
from support.world import World

#: Under the emulator, with the processor shared with others.
BOOT = 900.0
SERVED = 300.0
#: Where the second disk, with what the tests bring, is mounted.
BROUGHT = "/mnt"
_SNMP_PORT = 1161
_BROUGHT_SIZE = "128M"
#: The master agent's own object: the time since the kernel started, in hundredths.
_UPTIME = ".1.3.6.1.2.1.25.1.1.0"
_OFTEN = 0.1


@dataclass(frozen=True)
class Processor:
    """An emulator and its arguments."""

    emulator: str
    model: str
    #: As `uname -m` has it.
    name: str


PROCESSORS = {
    "armhf": Processor("qemu-system-arm", "cortex-a15", "armv7l"),
    "arm64": Processor("qemu-system-aarch64", "cortex-a53", "aarch64"),
}


class Machine:
    """Verbs to boot, use and interrupt the machine. Its clock counts instructions, one nanosecond each: times in the
    guest depend on what it does, and not on how busy this machine is. Ends with `close`, and with the process that
    created it."""

    def __init__(self, directory: Path, processor: Processor, system: Path, brought: Path) -> None:
        self._directory = directory
        self._processor = processor
        self._system = system
        self._disk = directory / "root.ext4"
        subprocess.run(["cp", "--sparse=always", system / "root.ext4", self._disk], check=True)
        self._brought_disk = directory / "brought.ext4"
        subprocess.run(["mke2fs", "-q", "-t", "ext4", "-L", "brought", "-d", brought, self._brought_disk,
                        _BROUGHT_SIZE], check=True)
        self.world = World()
        self._boots = 0
        self._emulator: Program | None = None
        self._agent: GuestAgent | None = None

    def close(self) -> None:
        if self._agent:
            self._agent.close()
        self.world.close()

    # Power

    def boot(self) -> None:
        """Returns once commands can be run. Services may still be starting."""
        self.power_on()
        self.wait_until_up()

    def power_on(self) -> None:
        self._boots += 1
        control = self._directory / f"control{self._boots}"
        self._emulator = Program(
            self.world, f"boot{self._boots}", self._command(control), self._directory, dict(os.environ))
        wait_until(control.exists, "the emulator starts")
        self._agent = GuestAgent(control)

    def wait_until_up(self) -> None:
        wait_until(self._is_up, "the guest boots", BOOT)
        self.check("mount", "-o", "ro", "LABEL=brought", BROUGHT)

    def cut_power(self) -> None:
        """Ends the machine between two instructions. What the guest has not written to its disk is lost."""
        assert self._emulator and self._agent
        self._emulator.kill()
        self._agent.close()

    # Use

    def run(self, arguments: Sequence[str | Path], timeout: float = PATIENCE) -> "subprocess.CompletedProcess[str]":
        assert self._agent
        return self._agent.run(["/usr/bin/env", *arguments], timeout)

    def check(self, *arguments: str | Path, timeout: float = PATIENCE) -> str:
        """Runs a command in the guest that must succeed; returns its standard output."""
        done = self.run(arguments, timeout)
        assert done.returncode == 0, f"{arguments} ended with {done.returncode}: {done.stdout}{done.stderr}"
        return done.stdout

    def write(self, path: str, text: str) -> None:
        self.check("sh", "-euc", 'mkdir -p "$(dirname "$0")"; printf %s "$1" >"$0"', path, text)

    def manager(self) -> Snmp:
        """A manager on this machine, in the network that the guest's port is forwarded to."""
        return Snmp(self.world.run, f"127.0.0.1:{_SNMP_PORT}", timeout=15)

    def serves(self, oid: str) -> bool:
        try:
            return self.manager().using(timeout=3).get(oid).type not in ("noSuchInstance", "noSuchObject")
        except (SnmpTimeout, SnmpError):
            return False

    def wait_until_served(self, oid: str) -> None:
        wait_until(lambda: self.serves(oid), "the guest serves", SERVED)

    def seconds_until_served(self, oid: str) -> float:
        """Waits for an object from the start of the kernel on; returns the guest's clock when it is first served."""
        end = time.monotonic() + BOOT
        while not self.serves(oid):
            assert time.monotonic() < end, "the guest does not serve"
            time.sleep(_OFTEN)
        return int(self.manager().get(_UPTIME).value) / 100

    def property(self, unit: str, name: str) -> str:
        return self.check("systemctl", "show", "--value", f"--property={name}", unit).strip()

    def _is_up(self) -> bool:
        assert self._emulator and self._agent
        assert self._emulator.is_running(), f"the machine ended: {self._console()}"
        return self._agent.is_up()

    def _console(self) -> str:
        assert self._emulator
        return self._emulator.errors() + self._emulator.output()[-2000:]

    def _command(self, control: Path) -> list[str | Path]:
        return [
            self._processor.emulator, "-machine", "virt", "-cpu", self._processor.model, "-m", "256",
            "-icount", "shift=0", "-nodefaults", "-no-reboot", "-display", "none", "-serial", "stdio",
            "-kernel", self._system / "vmlinuz", "-initrd", self._system / "initrd.img",
            "-append", "root=LABEL=root console=ttyAMA0 panic=-1",
            "-drive", f"if=none,id=root,format=raw,file={self._disk}", "-device", "virtio-blk-device,drive=root",
            "-drive", f"if=none,id=brought,format=raw,readonly=on,file={self._brought_disk}",
            "-device", "virtio-blk-device,drive=brought",
            "-netdev", f"user,id=net,hostfwd=udp:127.0.0.1:{_SNMP_PORT}-:161",
            "-device", "virtio-net-device,netdev=net",
            "-chardev", f"socket,id=control,server=on,wait=off,path={control}", "-device", "virtio-serial-device",
            "-device", "virtserialport,chardev=control,name=org.qemu.guest_agent.0",
        ]

"""The Net-SNMP command line clients as Python calls.

Values come back as text: numbers in decimal, octet strings with one character per byte (Latin-1), so
that every byte shows. Object ids are dotted numbers with a leading period.
"""
from __future__ import annotations

import re
import subprocess
from collections.abc import Callable, Sequence
from dataclasses import dataclass, field, replace

#: Clients run through this, which runs the command in the world of the stack.
Runner = Callable[[Sequence[str], float], "subprocess.CompletedProcess[str]"]


@dataclass(frozen=True)
class Varbind:
    """A value with its SNMP type. Comparisons ignore which object it came from."""

    type: str
    value: str = ""
    oid: str = field(default="", compare=False)


NO_SUCH_INSTANCE = Varbind("noSuchInstance")
NO_SUCH_OBJECT = Varbind("noSuchObject")
END_OF_MIB = Varbind("endOfMibView")


class SnmpError(Exception):
    """An answer with an error status: its name as the protocol spells it, and the varbind it refers to."""

    def __init__(self, status: str, failed_oid: str) -> None:
        super().__init__(f"{status} at {failed_oid or 'no varbind'}")
        self.status = status
        self.failed_oid = failed_oid


class SnmpTimeout(Exception):
    """No answer within the time-out and its retries."""


class SnmpRefused(Exception):
    """An SNMPv3 report: the other side rejects the user, the passphrase or the security level."""


def user_credentials(
    user: str, auth_passphrase: str = "", priv_passphrase: str = "", *, level: str = "authPriv", auth: str = "SHA-256",
    priv: str = "AES",
) -> tuple[str, ...]:
    """The clients' options for an SNMPv3 user; those that the level does not use are left out."""
    options: tuple[str, ...] = ("-v3", "-u", user, "-l", level)
    if level != "noAuthNoPriv":
        options += ("-a", auth, "-A", auth_passphrase)
    if level == "authPriv":
        options += ("-x", priv, "-X", priv_passphrase)
    return options


@dataclass(frozen=True)
class Snmp:
    """A manager with its credentials and patience; `using` creates a modified one."""

    run: Runner
    address: str
    community: str = "private"
    version: str = "2c"
    #: Replaces version and community, for SNMPv3: the clients' options.
    credentials: tuple[str, ...] = ()
    timeout: float = 15.0
    retries: int = 0

    def using(self, **changes: object) -> "Snmp":
        return replace(self, **changes)  # type: ignore[arg-type]

    def get(self, oid: str) -> Varbind:
        return self.get_all(oid)[0]

    def get_all(self, *oids: str) -> list[Varbind]:
        """Several varbinds in one request."""
        return self._ask("snmpget", ["-Cf"], oids)

    def getnext(self, oid: str) -> Varbind:
        return self.getnext_all(oid)[0]

    def getnext_all(self, *oids: str) -> list[Varbind]:
        return self._ask("snmpgetnext", ["-Cf"], oids)

    def getbulk(self, *oids: str, non_repeaters: int = 0, max_repetitions: int = 10) -> list[Varbind]:
        return self._ask("snmpbulkget", [f"-Cn{non_repeaters}", f"-Cr{max_repetitions}"], oids)

    def walk(self, oid: str) -> list[Varbind]:
        """Everything below an OID, by getnext; an empty list if there is nothing."""
        return _objects_only(self._ask("snmpwalk", ["-CI"], [oid]))

    def bulkwalk(self, oid: str, max_repetitions: int = 10) -> list[Varbind]:
        return _objects_only(self._ask("snmpbulkwalk", ["-Ci", f"-Cr{max_repetitions}"], [oid]))

    def set(self, oid: str, type: str, value: object) -> Varbind:
        """`type` is a type letter of snmpset: i, u, s, x, a, o, t, ..."""
        return self.set_all((oid, type, value))[0]

    def set_all(self, *assignments: tuple[str, str, object]) -> list[Varbind]:
        """Several assignments in one request."""
        arguments = [str(part) for assignment in assignments for part in assignment]
        return self._ask("snmpset", [], arguments)

    def _ask(self, client: str, options: Sequence[str], arguments: Sequence[str]) -> list[Varbind]:
        credentials = self.credentials or (f"-v{self.version}", "-c", self.community)
        # Numbers for names and enumerations, octets as unbroken hexadecimal: unambiguous.
        form = ("-m", "", "-OnexU", "--hexOutputLength=0")
        patience = ("-t", f"{self.timeout:g}", "-r", str(self.retries))
        bound = self.timeout * (self.retries + 1) * 20
        done = self.run([client, *credentials, *form, *patience, *options, self.address, *arguments], bound)
        _raise_error(done)
        return [_varbind(line) for line in done.stdout.splitlines() if line.startswith(".")]


def _objects_only(varbinds: list[Varbind]) -> list[Varbind]:
    return [each for each in varbinds if each.type not in ("noSuchInstance", "noSuchObject", "endOfMibView")]


_REFUSALS = re.compile(
    r"^snmp\w+: (Authentication failure|Unknown user name|Unsupported security level|Decryption error)", re.MULTILINE)


def _raise_error(done: "subprocess.CompletedProcess[str]") -> None:
    messages = done.stderr + done.stdout
    if "Timeout" in done.stderr:
        raise SnmpTimeout(done.stderr.strip())
    reason = re.search(r"^Reason: \(?(\w+)", messages, re.MULTILINE)
    if reason:
        failed = re.search(r"^Failed object: (\S+)", messages, re.MULTILINE)
        raise SnmpError(reason[1], failed[1] if failed else "")
    refused = _REFUSALS.search(done.stderr)
    if refused:
        raise SnmpRefused(refused[1])
    if done.returncode != 0:
        raise AssertionError(f"client failed with status {done.returncode}: {messages.strip()}")


_EXCEPTIONS = {
    "No Such Instance": "noSuchInstance",
    "No Such Object": "noSuchObject",
    "No more variables left": "endOfMibView",
}


def _varbind(line: str) -> Varbind:
    oid, value = line.split(" = ", 1)
    for start, name in _EXCEPTIONS.items():
        if value.startswith(start):
            return Varbind(name, "", oid)
    if value.strip() == '""':
        return Varbind("STRING", "", oid)
    if value.strip() == "NULL":
        return Varbind("NULL", "", oid)
    type, content = value.split(":", 1)
    content = content.strip()
    if type == "Hex-STRING":
        return Varbind("STRING", bytes.fromhex(content).decode("latin-1"), oid)
    ticks = re.match(r"\((\d+)\)", content) if type == "Timeticks" else None
    return Varbind(type, ticks[1] if ticks else content, oid)

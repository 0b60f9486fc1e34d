"""What scripts/demo shows: demo.py BUILD_DIRECTORY [--keep], in the root of the repository.

Prints each command as one can type it, and then what it prints. The device, the master agent and the agent run in
namespaces of their own, as in the tests.
"""
from __future__ import annotations

import csv
import os
import re
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from support.device import BASE
from support.mapping_tool import MappingTool
from support.program import Program
from support.stack import AUTH_PASSWORD, PRIV_PASSWORD, Build, Stack
from support.waiting import wait_until

SOURCE = "examples/sample.yaml"
MODULE = "SAMPLE-SHELF-MIB"
PORT = 16161
MANAGER = f"127.0.0.1:{PORT}"
RECEIVER = "127.0.0.1:16162"
READER = ("-v2c", "-c", "public")
WRITER = ("-v2c", "-c", "private")
OPERATOR = (
    "-v3", "-l", "authPriv", "-u", "operator", "-a", "SHA", "-A", AUTH_PASSWORD, "-x", "AES", "-X", PRIV_PASSWORD)
#: Numbers instead of names.
PLAIN = ("-m", "", "-On")
#: The object that the alarm of the demo watches, by its id.
AIR_INTAKE = "0x0120"
UNPRIVILEGED = ("setpriv", "--reuid", "nobody", "--regid", "nogroup", "--clear-groups", "--no-new-privs")
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


class Demo:
    """The steps of the demo, in the order in which they are called."""

    def __init__(self, stack: Stack) -> None:
        self._stack = stack
        self._directory = stack.directory
        self._commands = stack.directory / "commands"
        #: How much of the manager's output has been looked at.
        self._told = 0
        self._tool = MappingTool(stack.build)
        stack.snmp = stack.snmp.using(address=MANAGER)

    def make_from_source(self) -> None:
        title("Everything is made from one source: database, object values, MIB and alarms")
        (self._directory / "mibs").mkdir()
        self._show(self._tool.path, "build", SOURCE, "-o", self._directory / "mapping.db")
        self._show(self._tool.path, "simulate", SOURCE, "-o", self._directory / "objects.yaml")
        self._show(self._tool.path, "mib", SOURCE, "-o", self._directory / "mibs" / f"{MODULE}.txt")
        self._show(self._tool.path, "alarms", SOURCE, "-o", self._directory / "alarms.conf")
        self._show(self._tool.path, "check", self._directory / "mapping.db")

    def start_device(self) -> None:
        title(f"A simulated device with the objects of {SOURCE}")
        os.mkfifo(self._commands)
        # Open for writing, too: otherwise the device would see end of file after the first command.
        commands = os.open(self._commands, os.O_RDWR)
        self._device = self._stack.start("device", [
            self._stack.build.simulator, self._directory / "objects.yaml", "--log", self._stack.simulator_log_path,
        ], stdin=commands)
        os.close(commands)
        with self._awaited("the device is ready"):
            self._device.wait_for_output("ready\n")
        show_output(self._device)

    def verify_device(self) -> None:
        title("The mapping against the device, before the agent needs the link")
        self._show(self._tool.path, "verify", SOURCE)

    def start_manager(self) -> None:
        title(f"A manager on {RECEIVER} that waits for notifications")
        configuration = self._directory / "snmptrapd.conf"
        configuration.write_text("authCommunity log public\n", encoding="ascii")
        self._manager = self._stack.start("manager", [
            "snmptrapd", "-f", "-Lo", "-n", "-C", "-c", configuration, *(self._names() or PLAIN), "-F", "%v\\n",
            RECEIVER,
        ])
        with self._awaited("the manager is ready"):
            self._manager.wait_for_output("NET-SNMP version")
        show_output(self._manager)

    def start_master(self) -> None:
        title(f"A private master agent on {MANAGER}, without privileges")
        through: tuple[str, ...] = ()
        # Without root there is no other user in the namespaces, and there are no privileges to drop.
        if self._run(*UNPRIVILEGED, "true").returncode == 0:
            through = UNPRIVILEGED
            shutil.chown(self._stack.state, "nobody", "nogroup")
        with self._awaited("the master agent answers"):
            master = self._stack.start_master(
                f"includeFile {self._directory / 'alarms.conf'}", f"trap2sink {RECEIVER} public", port=PORT,
                through=through)
        self._show("cat", self._directory / "snmpd.conf")
        show_output(master)

    def start_agent(self) -> None:
        title("The agent on the mapping database")
        agent = self._stack.start_agent(mapping=self._directory / "mapping.db", name="demo")
        with self._awaited("the agent serves its scalars"):
            self._stack.wait_until_served(f"{BASE}.1.1.1.0")
        with self._awaited("the agent serves its tables"):
            self._stack.wait_until_served(f"{BASE}.2.2.1.2.8.0")
        show_output(agent)

    def show_scalars(self) -> None:
        title("All scalars: BASE.arc1.arc2.arc3.0")
        self._walk(f"{BASE}.1")
        title("One scalar")
        self._get(READER, f"{BASE}.1.2.2.0")
        title("A text is set, and read back")
        self._set(WRITER, f"{BASE}.1.1.3.0", "s", "night shift, ext. 4711")
        self._get(READER, f"{BASE}.1.1.3.0")
        title("A limit with a decimal place: the device keeps tenths")
        self._set(WRITER, f"{BASE}.1.2.4.0", "s", "72.5")
        self._get(READER, f"{BASE}.1.2.4.0")
        title("A read-only object refuses")
        self._set(WRITER, f"{BASE}.1.2.1.0", "i", "20")

    def show_tables(self) -> None:
        title("The table of the ports: BASE.2.1.1.column.row.0, 8 rows")
        self._walk(f"{BASE}.2.1")
        title("The table of the fans, 8 rows")
        self._walk(f"{BASE}.2.2")
        title("A cell is set by the SNMPv3 user, and read back")
        self._set(OPERATOR, f"{BASE}.2.1.1.2.8.0", "s", "customer 4")
        self._get(OPERATOR, f"{BASE}.2.1.1.2.8.0")

    def show_alarm(self) -> None:
        title("The air gets hot: the master agent polls every two seconds, and notifies the manager")
        self._notified("airHotClear")
        self._show_notification("50", "airHot")
        title("It cools down")
        self._show_notification("20", "airHotClear")

    def show_frames(self) -> None:
        title("What the device saw of the last get: a request and its answer")
        self._show("tail", "-n", "2", self._stack.simulator_log_path)

    def keep(self) -> None:
        """The network namespace is reachable from inside only, so the commands enter it."""
        title("It stays up. To try in another terminal:")
        for command in (
            ("snmpwalk", *READER, *PLAIN, MANAGER, BASE),
            ("snmpbulkwalk", *OPERATOR, *PLAIN, MANAGER, f"{BASE}.2.1"),
            ("snmpset", *WRITER, *PLAIN, MANAGER, f"{BASE}.1.1.4.0", "s", "Room 5"),
        ):
            print(shlex.join(self._stack.world.command(command)))
        print("\nThe device takes commands (set, get, fault, clear, stats), and answers in its log:")
        print(f"echo 'set {AIR_INTAKE} 31' >{self._commands}; tail -n 1 {self._device.output_path}")
        print(f"echo 'fault all delay 500' >{self._commands}")
        print(f"tail -f {self._stack.simulator_log_path}")
        if sys.stdin.isatty():
            print("\nEnter or Ctrl-C ends it.")
            sys.stdin.readline()
        else:
            print("\nStandard input is no terminal: it ends now.")

    def _get(self, who: tuple[str, ...], oid: str) -> None:
        self._show("snmpget", *who, *PLAIN, MANAGER, oid)

    def _set(self, who: tuple[str, ...], oid: str, kind: str, value: str) -> None:
        self._show("snmpset", *who, *PLAIN, MANAGER, oid, kind, value)

    def _walk(self, oid: str) -> None:
        """With names if this machine has the SMIv2 base modules; otherwise the names follow the numbers."""
        named = self._names()
        if named:
            self._show("snmpwalk", *READER, *named, MANAGER, oid)
            return
        show_command("snmpwalk", *READER, *PLAIN, MANAGER, oid)
        names = dict(row[:2] for row in csv.reader(self._tool.check("show", "--csv", SOURCE).splitlines()))
        for line in self._run("snmpwalk", *READER, *PLAIN, MANAGER, oid).stdout.splitlines():
            print(f"{line}{name_of(line.split(' = ')[0], names)}")

    def _names(self) -> tuple[str, ...]:
        """The options for names of the MIB; none if this machine lacks the base modules."""
        # "+" keeps the directories that the clients search themselves.
        directories = f"{os.environ['MIBDIRS']}:" if "MIBDIRS" in os.environ else "+"
        named = ("-M", f"{directories}{self._directory / 'mibs'}", "-m", MODULE)
        is_known = self._run("snmptranslate", *named, f"{MODULE}::shelfContact").returncode == 0
        return named if is_known else ()

    def _show_notification(self, value: str, name: str) -> None:
        command = f"set {AIR_INTAKE} {value}"
        print(f"\n$ echo {shlex.quote(command)} >{self._commands}")
        self._commands.write_text(f"{command}\n", encoding="ascii")
        line = self._notified(name)
        print(line if self._names() else f"{line}  ({name})")

    def _notified(self, name: str) -> str:
        """The next notification of the name that the manager prints."""
        oid = self._tool.show(SOURCE)["base"] + {"airHot": ".0.1", "airHotClear": ".0.2"}[name]
        is_meant = re.compile(rf".*(?:{MODULE}::{name}|{re.escape(oid)})\b(?!\.).*")

        def found() -> re.Match[str] | None:
            return is_meant.search(self._manager.output(), self._told)

        with self._awaited(f"the manager gets {name}"):
            wait_until(lambda: found() is not None, name)
        match = found()
        assert match
        self._told = match.end()
        return match[0]

    def _show(self, *command: str | Path) -> None:
        show_command(*command)
        done = self._run(*command)
        print(done.stdout + done.stderr, end="")

    def _run(self, *command: str | Path) -> "subprocess.CompletedProcess[str]":
        return self._stack.run(command, 30)

    @contextmanager
    def _awaited(self, what: str) -> Iterator[None]:
        try:
            yield
        except AssertionError:
            said = "\n".join(f"{name}:\n{content}" for name, content in self._stack.captures())
            sys.exit(f"demo: this did not happen: {what}. The programs said:\n{said}")


def title(text: str) -> None:
    print(f"\n== {text}")


def show_command(*command: str | Path) -> None:
    print(f"\n$ {shlex.join(str(word) for word in command)}")


def show_output(program: Program) -> None:
    show_command(*program.arguments)
    print(program.output(), end="")


def name_of(oid: str, names: dict[str, str]) -> str:
    """The list has a scalar with its instance, a cell by its column, without row and 0."""
    column, _, row = oid.removesuffix(".0").rpartition(".")
    if oid in names:
        return f"  ({names[oid]})"
    return f"  ({names[column]}.{row})" if column in names else ""


def run(stack: Stack, keep: bool) -> None:
    demo = Demo(stack)
    demo.make_from_source()
    demo.start_device()
    demo.verify_device()
    demo.start_manager()
    demo.start_master()
    demo.start_agent()
    demo.show_scalars()
    demo.show_tables()
    demo.show_alarm()
    demo.show_frames()
    if keep:
        demo.keep()
    title("Done")


def main(build: str, *options: str) -> None:
    for number in SIGNALS:
        signal.signal(number, lambda number, _: sys.exit(128 + number))
    with tempfile.TemporaryDirectory(prefix="tarno-demo.") as directory:
        os.chmod(directory, 0o755)
        try:
            stack = Stack(Path(directory), Build(Path(build)))
        except RuntimeError as error:
            sys.exit(f"demo: {error}")
        try:
            run(stack, "--keep" in options)
        finally:
            # A second signal, as sent by a closing terminal, must not interrupt this.
            for number in SIGNALS:
                signal.signal(number, signal.SIG_IGN)
            stack.close()


if __name__ == "__main__":
    main(*sys.argv[1:])

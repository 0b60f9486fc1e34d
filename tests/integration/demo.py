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
#: The object that the alarm of the demo watches.
AIR_INTAKE = "airIntake"
#: The cells of the last row, by number or name.
LAST_ROW = r".*\.8(\.0)?"
UNPRIVILEGED = ("setpriv", "--reuid", "nobody", "--regid", "nogroup", "--clear-groups", "--no-new-privs")
SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)


class Demo:
    """The steps of the demo, in the order in which they are called."""

    def __init__(self, stack: Stack) -> None:
        self._stack = stack
        self._directory = stack.directory
        self._commands = stack.directory / "commands"
        #: How the parts were started, line by line.
        self._preparation: list[str] = []
        #: How many of them a walk showed.
        self._scalars = self._cells = 0
        #: How much of the manager's output has been looked at.
        self._told = 0
        self._tool = MappingTool(stack.build)
        stack.snmp = stack.snmp.using(address=MANAGER)

    # The parts, in the order in which they start. They are shown at the end: the sets come first.

    def make_from_source(self) -> None:
        self._preparation.append("# Everything is made from one source: database, object values, MIB and alarms")
        (self._directory / "mibs").mkdir()
        self._prepare(self._tool.path, "build", SOURCE, "-o", self._directory / "mapping.db")
        self._prepare(self._tool.path, "simulate", SOURCE, "-o", self._directory / "objects.yaml")
        self._prepare(self._tool.path, "mib", SOURCE, "-o", self._directory / "mibs" / f"{MODULE}.txt")
        self._prepare(self._tool.path, "alarms", SOURCE, "-o", self._directory / "alarms.conf")
        self._prepare(self._tool.path, "check", self._directory / "mapping.db")

    def start_device(self) -> None:
        os.mkfifo(self._commands)
        # Open for writing, too: otherwise the device would see end of file after the first command.
        commands = os.open(self._commands, os.O_RDWR)
        self._device = self._stack.start("device", [
            self._stack.build.simulator, self._directory / "objects.yaml", "--log", self._stack.simulator_log_path,
        ], stdin=commands)
        os.close(commands)
        with self._awaited("the device is ready"):
            self._device.wait_for_output("ready\n")
        self._note_program(f"A simulated device with the objects of {SOURCE}", self._device)

    def verify_device(self) -> None:
        self._preparation.append("# The mapping against the device, before the agent needs the link")
        self._prepare(self._tool.path, "verify", SOURCE)

    def start_manager(self) -> None:
        configuration = self._directory / "snmptrapd.conf"
        configuration.write_text("authCommunity log public\n", encoding="ascii")
        self._manager = self._stack.start("manager", [
            "snmptrapd", "-f", "-Lo", "-n", "-C", "-c", configuration, *(self._names() or PLAIN), "-F", "%v\\n",
            RECEIVER,
        ])
        with self._awaited("the manager is ready"):
            self._manager.wait_for_output("NET-SNMP version")
        self._note_program(f"A manager on {RECEIVER} that waits for notifications", self._manager)

    def start_master(self) -> None:
        through: tuple[str, ...] = ()
        # Without root there is no other user in the namespaces, and there are no privileges to drop.
        if self._run(*UNPRIVILEGED, "true").returncode == 0:
            through = UNPRIVILEGED
            shutil.chown(self._stack.state, "nobody", "nogroup")
        with self._awaited("the master agent answers"):
            master = self._stack.start_master(
                f"includeFile {self._directory / 'alarms.conf'}", f"trap2sink {RECEIVER} public", port=PORT,
                through=through)
        self._note_program(f"A private master agent on {MANAGER}, without privileges", master)

    def start_agent(self) -> None:
        agent = self._stack.start_agent(mapping=self._directory / "mapping.db", name="demo")
        with self._awaited("the agent serves its scalars"):
            self._stack.wait_until_served(f"{BASE}.1.1.1.0")
        with self._awaited("the agent serves its tables"):
            self._stack.wait_until_served(f"{BASE}.2.2.1.2.8.0")
        self._note_program("The agent on the mapping database", agent)

    # What the managers see

    def show_sets(self) -> None:
        title("A text is set, and read back from the device")
        self._set_and_read_back(WRITER, READER, f"{BASE}.1.1.3.0", "night shift, ext. 4711")
        title("A limit with a decimal place: the device keeps tenths")
        self._set_and_read_back(WRITER, READER, f"{BASE}.1.2.4.0", "72.5")
        title("A cell of a table is set by the SNMPv3 user")
        self._set_and_read_back(OPERATOR, OPERATOR, f"{BASE}.2.1.1.2.8.0", "customer 4")
        title("A read-only object refuses")
        self._show("snmpset", *WRITER, *PLAIN, MANAGER, f"{BASE}.1.2.1.0", "i", "20")

    def show_scalars(self) -> None:
        title("All scalars: BASE.arc1.arc2.arc3.0")
        self._scalars = self._walk(f"{BASE}.1", r".*")

    def show_tables(self) -> None:
        title("The table of the ports: BASE.2.1.1.column.row.0; the last of its 8 rows")
        self._cells = self._walk(f"{BASE}.2.1", LAST_ROW)
        title("The table of the fans, likewise")
        self._cells += self._walk(f"{BASE}.2.2", LAST_ROW)

    def show_alarm(self) -> None:
        title("The air gets hot: the master agent polls every two seconds, and notifies the manager")
        self._notified("airHotClear")
        self._show_notification("50", "airHot")
        self._await_poll()
        title("It cools down")
        self._show_notification("20", "airHotClear")

    def show_frames(self) -> None:
        title("What the device saw of the last get: a request and its answer")
        self._show("tail", "-n", "2", self._stack.simulator_log_path)

    def show_preparation(self) -> None:
        title("How all this was started")
        print("\n".join(self._preparation))

    def conclude(self) -> None:
        title("What you saw")
        print(f"A manager set a text, a limit and a cell through the master agent and tarnoSnmp, and read them back.\n"
              f"It walked {self._scalars} scalars and {self._cells} cells, all made from {SOURCE}.\n"
              f"An alarm and its end came to the manager by themselves.")

    def keep(self) -> None:
        """The network namespace is reachable from inside only, so the commands enter it."""
        title("It stays up. To try in another terminal:")
        for command in (
            ("snmpwalk", *READER, *PLAIN, MANAGER, BASE),
            ("snmpbulkwalk", *OPERATOR, *PLAIN, MANAGER, f"{BASE}.2.1"),
            ("snmpset", *WRITER, *PLAIN, MANAGER, f"{BASE}.1.1.4.0", "s", "Room 5"),
        ):
            print(shlex.join(self._stack.world.command(command)))
        print("\nThe device takes commands (list, set, get, fault, help), and answers in a file:")
        print(f"echo 'set {AIR_INTAKE} 31' >{self._commands}; tail -n 1 {self._device.output_path}")
        print(f"echo 'fault all delay 500' >{self._commands}")
        print(f"tail -f {self._stack.simulator_log_path}")
        if sys.stdin.isatty():
            print("\nEnter or Ctrl-C ends it.")
            sys.stdin.readline()
        else:
            print("\nStandard input is no terminal: it ends now.")

    def _prepare(self, *command: str | Path) -> None:
        """Runs a command, and keeps it for later with the last line of its output."""
        said = self._run(*command).stdout.splitlines()
        self._preparation += [command_line(*command), *said[-1:]]

    def _note_program(self, what: str, program: Program) -> None:
        self._preparation += [f"# {what}", command_line(*program.arguments)]

    def _set_and_read_back(self, writer: tuple[str, ...], reader: tuple[str, ...], oid: str, value: str) -> None:
        self._show("snmpset", *writer, *PLAIN, MANAGER, oid, "s", value)
        if f'"{value}' not in self._show("snmpget", *reader, *PLAIN, MANAGER, oid):
            sys.exit(f"demo: {value!r} was not read back")

    def _walk(self, oid: str, shown: str) -> int:
        """Shows the lines of a walk whose instances match an expression; returns how many there are. With names if
        this machine has the SMIv2 base modules; otherwise the names follow the numbers."""
        named = self._names()
        command = ("snmpwalk", *READER, *(named or PLAIN), MANAGER, oid)
        show_command(*command)
        lines = self._run(*command).stdout.splitlines()
        names = {} if named else dict(
            row[:2] for row in csv.reader(self._tool.check("show", "--csv", SOURCE).splitlines()))
        for line in lines:
            instance = line.split(" = ")[0]
            if re.fullmatch(shown, instance):
                print(f"{line}{name_of(instance, names)}")
        left_out = sum(not re.fullmatch(shown, line.split(" = ")[0]) for line in lines)
        if left_out:
            print(f"... and {left_out} lines of the other rows")
        return len(lines)

    def _names(self) -> tuple[str, ...]:
        """The options for names of the MIB; none if this machine lacks the base modules."""
        # "+" keeps the directories that the clients search themselves.
        directories = f"{os.environ['MIBDIRS']}:" if "MIBDIRS" in os.environ else "+"
        named = ("-M", f"{directories}{self._directory / 'mibs'}", "-m", MODULE)
        is_known = self._run("snmptranslate", *named, f"{MODULE}::shelfContact").returncode == 0
        return named if is_known else ()

    def _show_notification(self, value: str, name: str) -> None:
        command = f"set {AIR_INTAKE} {value}"
        print(f"$ echo {shlex.quote(command)} >{self._commands}")
        self._commands.write_text(f"{command}\n", encoding="ascii")
        line = self._notified(name)
        print(line if self._names() else f"{line}  ({name})")

    def _await_poll(self) -> None:
        """The master agent polls once for either limit: the one that clears the alarm must see the heat, too."""
        def polls() -> int:
            return self._stack.simulator_log().count(f'read id=0x0120 name="{AIR_INTAKE}"')

        before = polls()
        with self._awaited("the master agent polls"):
            wait_until(lambda: polls() >= before + 2, "polls")

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

    def _show(self, *command: str | Path) -> str:
        show_command(*command)
        done = self._run(*command)
        print((done.stdout + done.stderr).rstrip("\n"))
        return done.stdout

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


def command_line(*command: str | Path) -> str:
    return f"$ {shlex.join(str(word) for word in command)}"


def show_command(*command: str | Path) -> None:
    print(command_line(*command))


def name_of(oid: str, names: dict[str, str]) -> str:
    """The list has a scalar with its instance, a cell by its column, without row and 0."""
    column, _, row = oid.removesuffix(".0").rpartition(".")
    if oid in names:
        return f"  ({names[oid]})"
    return f"  ({names[column]}.{row})" if column in names else ""


def run(stack: Stack, keep: bool) -> None:
    demo = Demo(stack)
    print("demo: starts a simulated device, a master agent and tarnoSnmp")
    demo.make_from_source()
    demo.start_device()
    demo.verify_device()
    demo.start_manager()
    demo.start_master()
    demo.start_agent()
    demo.show_sets()
    demo.show_scalars()
    demo.show_tables()
    demo.show_alarm()
    demo.show_frames()
    demo.show_preparation()
    demo.conclude()
    if keep:
        demo.keep()


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

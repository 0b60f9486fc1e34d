"""The command line: every option and every rejection, byte for byte, with its exit status."""
from __future__ import annotations

from pathlib import Path

import pytest

from support.stack import Stack

pytestmark = pytest.mark.xdist_group("command line")

USAGE = (
    "\nUsage:  PROGRAM [OPTIONS] [LISTENING ADDRESSES]"
    "\n  -c FILE[,...]\t\tif master agent,read FILE(s) as snmpd "
    "\n\t\t\t  configuration file(s),snmpd.conf."
    "\n  -d FILE[,...]\t\tRead FILE(s) as database configuration file(s)"
    "\n\t\t\t  the database contains the mapping relationship"
    "\n\t\t\t  between VQP4's OID and SNMP's OID."
    "\n  -X\t\t\tRun as an AgentX subagent rather than as an"
    "\n\t\t\t  SNMP master agent."
    "\n  -x ADDRESS\t\tUse ADDRESS as master agent listening address "
    "\n\t\t\t  or AgentX address."
    "\n  -n NAME\t\tUse NAME as AgentX NAME,each subagent name"
    "\n\t\t\t  cannot be the same."
    "\n  -p [PORT]\t\tif master agent,the snmp udp port."
    "\n  -h, --help\t\tDisplay this usage message"
    "\n  --version\t\tShow tarnoSnmp version."
    "\n\n"
)
VERSION = "tarnoSnmp version:  1.0.0\n"
NO_DATABASE = "\nerror: no database path.\n"
NO_ADDRESS = "\nerror: no AgentX address.\n"
NO_CONFIGURATION = "\nerror: no snmpd.conf path.\n"
NO_PORT = "\nerror: no snmp udp port.\n"
ERROR_OPTION = "PROGRAM: error option\n"

DATABASE = ("-d", "no.db")
ADDRESS = ("-x", "unix:/run/none")


def settings(db_path: str = "no.db", transport: str = "unix:/run/none", agentx_name: str = "null:name") -> str:
    return f"\ndbFath={db_path}\ntransport={transport}\nagentXName={agentx_name}\n "


def run(stack: Stack, *options: str) -> tuple[str, int]:
    """All of standard output, with PROGRAM in place of the program's name, and the exit status."""
    done = stack.run_agent(*options)
    return done.stdout.replace(str(stack.build.agent), "PROGRAM"), done.returncode


REFUSALS = {
    "no options": ((), NO_DATABASE),
    "only an address": (ADDRESS, NO_DATABASE),
    "only the mode": (("-X",), NO_DATABASE),
    "the database's sentinel": (("-d", "null:path", *ADDRESS, "-X"), NO_DATABASE),
    "the sentinel as the last of two databases": ((*DATABASE, "-d", "null:path", *ADDRESS), NO_DATABASE),
    "only a database": (DATABASE, NO_ADDRESS),
    "a database and the mode": ((*DATABASE, "-X"), NO_ADDRESS),
    "the address's sentinel": ((*DATABASE, "-x", "null:port", "-X"), NO_ADDRESS),
    "a name that spells the address's sentinel": ((*DATABASE, *ADDRESS, "-X", "-n", "null:port"), NO_ADDRESS),
    "arguments that are no options": (("udp:161", "file"), NO_DATABASE),
    "an unknown long option": (("--foo",), NO_DATABASE),
    "an unknown long option in front of others": (("--foo", *DATABASE), NO_ADDRESS),
    "a long option that only begins like one": (("--helpme",), NO_DATABASE),
    "options behind the end of options": (("--", *DATABASE, *ADDRESS, "-X"), NO_DATABASE),
    "an unknown option": (("-Z",), ERROR_OPTION),
    "an unknown option behind good ones": ((*DATABASE, *ADDRESS, "-X", "-q"), ERROR_OPTION),
    "-L with its argument": (("-L", "x"), ERROR_OPTION),
    "-L without an argument": (("-L",), ERROR_OPTION),
    "-L in front of the help": (("-L", "x", "-h"), ERROR_OPTION),
    "-c without an argument": (("-c",), ERROR_OPTION),
    "-d without an argument": (("-d",), ERROR_OPTION),
    "-n without an argument": (("-n",), ERROR_OPTION),
    "-p without an argument": (("-p",), ERROR_OPTION),
    "-x without an argument": ((*DATABASE, "-x"), ERROR_OPTION),
}

MASTER_REFUSALS = {
    "no configuration": ((*DATABASE, *ADDRESS), settings() + NO_CONFIGURATION),
    "the configuration's sentinel": (
        (*DATABASE, *ADDRESS, "-c", "null:path", "-p", "161"), settings() + NO_CONFIGURATION),
    "neither configuration nor port, but a name": (
        (*DATABASE, *ADDRESS, "-n", "me"), settings(agentx_name="me") + NO_CONFIGURATION),
    "a name that would be refused with -X": (
        (*DATABASE, *ADDRESS, "-n", "null:port"), settings(agentx_name="null:port") + NO_CONFIGURATION),
    "no port": ((*DATABASE, *ADDRESS, "-c", "snmpd.conf"), settings() + NO_PORT),
    "the port's sentinel": ((*DATABASE, *ADDRESS, "-c", "snmpd.conf", "-p", "null:port"), settings() + NO_PORT),
}

HELP = {
    "-h": ("-h",),
    "--help": ("--help",),
    "--HELP": ("--HELP",),
    "help behind all else": (*DATABASE, *ADDRESS, "-X", "--help"),
    "help in front of the version": ("-h", "--version"),
    "help in front of a mistake": ("-h", "-Z"),
}

VERSIONS = {
    "--version": ("--version",),
    "--VERSION": ("--VERSION",),
    "version in front of the help": ("--Version", "-h"),
    "version behind an unknown long option": ("--foo", "--version"),
    "version behind all else": (*DATABASE, *ADDRESS, "-X", "--version"),
}


@pytest.mark.parametrize("options, message", REFUSALS.values(), ids=REFUSALS.keys())
def test_is_refused_with_the_usage(shared_stack: Stack, options: tuple[str, ...], message: str) -> None:
    assert run(shared_stack, *options) == (message + USAGE, 1)


@pytest.mark.parametrize("options, message", MASTER_REFUSALS.values(), ids=MASTER_REFUSALS.keys())
def test_is_refused_behind_the_settings_in_master_mode(
    shared_stack: Stack, options: tuple[str, ...], message: str,
) -> None:
    assert run(shared_stack, *options) == (message + USAGE, 1)


@pytest.mark.parametrize("options", HELP.values(), ids=HELP.keys())
def test_the_help_is_the_usage_with_status_1(shared_stack: Stack, options: tuple[str, ...]) -> None:
    assert run(shared_stack, *options) == (USAGE, 1)


@pytest.mark.parametrize("options", VERSIONS.values(), ids=VERSIONS.keys())
def test_the_version_comes_with_status_0(shared_stack: Stack, options: tuple[str, ...]) -> None:
    assert run(shared_stack, *options) == (VERSION, 0)


def test_a_refusal_leaves_queues_database_and_running_master_alone(shared_stack: Stack, tmp_path: Path) -> None:
    master = shared_stack.start_master()
    database = tmp_path / "new.db"
    assert run(shared_stack, "-d", str(database), *ADDRESS)[1] == 1
    assert run(shared_stack, "-d", str(database), "-X")[1] == 1
    assert not database.exists()
    assert shared_stack.world.check("ipcs", "-q").count("0x0000400") == 0
    assert master.is_running()
    shared_stack.stop_master()


@pytest.mark.parametrize("behind", [("udp:161",), ("--foo",), ()], ids=["an argument", "a long option", "nothing"])
def test_what_is_not_used_does_not_keep_it_from_starting(stack: Stack, behind: tuple[str, ...]) -> None:
    database = stack.directory / "new.db"
    agent = stack.start_agent("-d", database, *ADDRESS, "-X", "-n", "me", *behind)
    agent.wait_for_output("objCount=0\n")
    assert agent.output().startswith(settings(str(database), agentx_name="me") + "netsnmp_ds_set_boolean....\n")


def test_a_missing_name_is_the_names_sentinel(stack: Stack) -> None:
    database = stack.directory / "new.db"
    agent = stack.start_agent("-d", database, *ADDRESS, "-X")
    agent.wait_for_output("init_agent rc=")
    assert agent.output().startswith(settings(str(database)) + "netsnmp_ds_set_boolean....\n")


def test_the_last_of_several_settings_counts(stack: Stack) -> None:
    database = stack.directory / "new.db"
    agent = stack.start_agent(
        "-d", "null:path", "-n", "first", "-X", "-x", "unix:/run/first", "-d", database, "-n", "second", *ADDRESS)
    agent.wait_for_output("init_agent rc=")
    assert agent.output().startswith(settings(str(database), agentx_name="second"))


def test_master_mode_settings_are_ignored_by_a_subagent(stack: Stack) -> None:
    agent = stack.start_agent(
        "-d", stack.directory / "new.db", *ADDRESS, "-X", "-c", "null:path", "-p", "null:port")
    agent.wait_for_output("init_agent rc=0....\n")

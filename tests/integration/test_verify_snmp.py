"""`verify --snmp`: the mapping tool as a manager of the real agent, behind the real master."""
from __future__ import annotations

import json
import re
import shutil
import signal
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path
from xml.etree import ElementTree

import pytest

from support.mapping import run_sql
from support.mapping_tool import EXAMPLES, ROOT, MappingTool, example
from support.stack import AUTH_PASSWORD, MASTER_PORT, PRIV_PASSWORD, Build, Stack

HOST = f"127.0.0.1:{MASTER_PORT}"
READER = ("-v", "2c", "-c", "public")
WRITER = ("-v", "2c", "-c", "private")
OPERATOR = ("-v", "3", "-u", "operator", "-l", "authPriv", "-a", "SHA", "-A", AUTH_PASSWORD, "-x", "AES", "-X",
            PRIV_PASSWORD)
IMPATIENT = ("-t", "0.5", "-r", "0")

#: A device whose values stand still, with an object for each way of storing one.
TANK = """
module: {name: TANK-MIB, base: .1.3.6.1.4.1.32473.40}
scalars:
  - {name: tankState, oid: 1.1.1, object: 0x0010, type: integer, labels: {0: empty, 1: full},
     device: {kind: unsigned, width: 1, value: 1}}
  - {name: tankLevel, oid: 1.1.2, object: 0x0011, type: integer, range: 0..100,
     device: {kind: unsigned, width: 1, value: 50}}
  - {name: tankName, oid: 1.1.3, object: 0x0012, type: text, access: read-write,
     device: {kind: string, width: 32, value: north}}
  - {name: tankLimit, oid: 1.1.4, object: 0x0013, type: integer, access: read-write,
     device: {kind: signed, width: 2, value: -5}}
  - {name: tankGain, oid: 1.1.5, object: 0x0014, type: integer, access: read-write, conversion: scaled 1,
     device: {kind: unsigned, width: 2, value: 130}}
  - {name: tankPressure, oid: 1.1.6, object: 0x0015, type: text, conversion: decimal 1,
     device: {kind: unsigned, width: 2, value: 125}}
  - {name: tankAddress, oid: 1.1.7, object: 0x0016, type: text, conversion: ipv4,
     device: {kind: other, width: 4, value: C0 00 02 01}}
tables:
  - name: pipeTable
    node: .2.1
    rows: 8
    columns:
      - {name: pipeFlow, first: 0x0100, type: integer, device: {kind: unsigned, width: 1, value: 3}}
      - {name: pipeName, first: 0x0110, type: text, access: read-write,
         device: {kind: string, width: 16, value: pipe}}
      - {name: pipeLimit, first: 0x0120, type: text, access: read-write, conversion: decimal 1,
         device: {kind: unsigned, width: 2, value: 15}}
"""
BASE = ".1.3.6.1.4.1.32473.40"


class Site:
    """A tank that is served, and the tool that verifies it."""

    def __init__(self, stack: Stack, tool: MappingTool, directory: Path) -> None:
        self.stack = stack
        self.tool = tool
        self.directory = directory
        self.mapping = self.source("tank", TANK)

    def source(self, name: str, text: str) -> Path:
        path = self.directory / f"{name}.yaml"
        path.write_text(text, encoding="utf-8")
        return path

    def changed(self, *changes: tuple[str, str]) -> Path:
        """The source of the tank with some of its text replaced."""
        text = TANK
        for old, new in changes:
            assert re.search(old, text), f"the source has no {old!r}"
            text = re.sub(old, new, text)
        return self.source("changed", text)

    def serve(self, mapping: Path | None = None, device: Path | None = None, rows: int = 8) -> None:
        """Starts everything; by default the mapping of the tank is served on its own device."""
        served = mapping or self.mapping
        self.stack.start_simulator_on(device or self.mapping)
        self.tell_device(f"set 0x0A41 {1 if rows == 8 else 0}")
        self.stack.start_master()
        self.stack.start_agent(mapping=self.tool.database(served, self.stack.directory))
        self.stack.wait_until_served(self.tool.show(served)["instances"][0]["oid"])

    def verify(
        self, *options: str, host: str = HOST, mapping: Path | None = None,
    ) -> "subprocess.CompletedProcess[str]":
        return self.stack.run([self.tool.path, "verify", mapping or self.mapping, "--snmp", host, *options], 60)

    def findings(self, *options: str, mapping: Path | None = None) -> list[str]:
        """The code, object and content of each finding."""
        done = self.verify(*options, "--json", mapping=mapping)
        assert not done.stderr, done.stderr
        return [f"{each['code']} {each['object'] or '-'}: {each['what']}"
                for each in json.loads(done.stdout)["findings"]]

    def tell_device(self, command: str) -> None:
        assert self.stack.simulator
        assert self.stack.simulator.command(command) == "ok"

    def device_values(self) -> dict[str, str]:
        assert self.stack.simulator
        rows = [f"0x{first + row:04X}" for first in (0x100, 0x110, 0x120) for row in range(8)]
        ids = re.findall(r"object: (0x\w+)", TANK) + rows
        return {each: self.stack.simulator.command(f"get {each}") for each in ids}


@pytest.fixture
def tool(build: Build) -> MappingTool:
    return MappingTool(build)


@pytest.fixture
def site(stack: Stack, tool: MappingTool, tmp_path: Path) -> Site:
    return Site(stack, tool, tmp_path)


@pytest.fixture
def tank(site: Site) -> Site:
    """The tank, served as it should be."""
    site.serve()
    return site


@pytest.mark.parametrize("name", EXAMPLES)
@pytest.mark.parametrize("options", [READER, (*WRITER, "--write"), (*OPERATOR, "--write")], ids=["2c", "sets", "3"])
def test_a_good_agent_has_no_finding(site: Site, name: str, options: tuple[str, ...]) -> None:
    site.serve(example(name), example(name), rows=4 if name == "small" else 8)
    done = site.verify(*options, mapping=example(name))
    assert done.stdout.startswith("0 errors, 0 warnings, 0 notes\n")
    assert (done.returncode, done.stderr) == (0, "")


def test_writing_back_changes_nothing_at_the_device(tank: Site) -> None:
    before = tank.device_values()
    done = tank.verify(*WRITER, "--write", "--json")
    report = json.loads(done.stdout)
    assert (done.returncode, report["findings"]) == (0, [])
    assert report["notSet"] == ["tankGain", "tankAddress"]
    assert report["set"] == 8
    assert tank.device_values() == before


def test_a_database_is_verified_as_its_source_is(tank: Site) -> None:
    database = tank.tool.database(tank.mapping, tank.directory)
    assert tank.verify(*WRITER, "--write", mapping=database).stdout.splitlines()[-1] == (
        "8 objects set to what they have, 2 not (--json names them)")


def test_a_database_that_says_nothing_of_the_device_is_not_written(tank: Site) -> None:
    database = run_sql(tank.tool.database(tank.mapping, tank.directory), "DROP TABLE TARNO_MAPPING_NOTES")
    done = tank.verify(*WRITER, "--write", mapping=database)
    assert done.stdout.splitlines()[-1] == "0 objects set to what they have, 10 not (--json names them)"
    assert "request write" not in tank.stack.simulator_log()


def test_without_write_nothing_is_set(tank: Site) -> None:
    assert tank.findings(*WRITER) == []
    assert "request write" not in tank.stack.simulator_log()


# A manager that gets no answers

def test_an_unknown_community_is_one_finding(tank: Site) -> None:
    assert tank.findings("-v", "2c", "-c", "stranger", *IMPATIENT) == ["TV501 -: Timeout, after 0 responses"]


def test_a_port_where_nobody_listens_is_one_finding(tank: Site) -> None:
    done = tank.verify(*READER, *IMPATIENT, host="127.0.0.1:1162")
    assert " error TV501: Timeout, after 0 responses\n" in done.stdout
    assert done.stdout.endswith("1 error, 0 warnings, 0 notes\n0 of 11 objects read\n")
    assert done.returncode == 2


def test_a_master_that_stops_answering_is_one_finding(tank: Site) -> None:
    tank.stack.signal_master(signal.SIGSTOP)
    assert tank.findings(*READER, *IMPATIENT) == ["TV501 -: Timeout, after 0 responses"]


def test_a_request_is_repeated_as_often_as_stated(tank: Site) -> None:
    started = time.monotonic()
    tank.findings("-v", "2c", "-c", "stranger", "-t", "0.5", "-r", "3")
    assert 2 <= time.monotonic() - started < 6


@pytest.mark.parametrize("changes, reason", [
    (("-u", "stranger"), "Unknown user name, after 0 responses"),
    (("-A", "wrongpassword"), "Authentication failure (incorrect password, community or key), after 0 responses"),
    (("-a", "SHA-256"), "Authentication failure (incorrect password, community or key), after 0 responses"),
    (("-l", "authNoPriv"), f"authorizationError at {BASE}"),
    (("-l", "noAuthNoPriv"), f"authorizationError at {BASE}"),
])
def test_a_user_who_is_refused_is_one_finding(tank: Site, changes: tuple[str, str], reason: str) -> None:
    options = list(OPERATOR)
    options[options.index(changes[0]) + 1] = changes[1]
    assert tank.findings(*options) == [f"TV502 -: {reason}"]


def test_a_wrong_privacy_passphrase_gets_no_answer(tank: Site) -> None:
    options = [*OPERATOR[:-1], "wrongpassword", *IMPATIENT]
    assert tank.findings(*options) == ["TV501 -: Timeout, after 0 responses"]


# An agent that serves nothing, or not everything

def test_an_agent_that_is_gone_is_one_finding(tank: Site) -> None:
    tank.stack.kill_agent()
    tank.stack.wait_until_gone(f"{BASE}.1.1.1.0")
    assert tank.findings(*READER) == [f"TV503 -: nothing below {BASE}"]


def test_another_base_is_one_finding(tank: Site) -> None:
    other = ".1.3.6.1.4.1.32473.41"
    assert tank.findings(*READER, "--base", other) == [f"TV503 -: nothing below {other}"]


def test_a_stopped_agent_is_one_finding(tank: Site) -> None:
    tank.stack.signal_agent(signal.SIGSTOP)
    assert tank.findings(*READER) == [f"TV508 -: genErr at {BASE}"]


def test_a_verification_ends_after_its_limit(tank: Site) -> None:
    tank.tell_device("fault all delay 300")
    [finding] = tank.findings(*READER, "--limit", "2")
    assert re.fullmatch(rf"TV103 -: 2 s are over at {re.escape(BASE)}[.0-9]+", finding)


def test_fewer_rows_are_one_finding(site: Site) -> None:
    site.serve(rows=4)
    assert site.findings(*READER) == ["TV504 -: 4 rows instead of 8"]


def test_more_rows_are_one_finding(site: Site) -> None:
    site.serve()
    fewer = site.changed(("rows: 8", "rows: 4"))
    assert site.findings(*READER, mapping=fewer) == ["TV504 -: 8 rows instead of 4"]


#: What is wrong in the mapping that the agent serves, and the finding.
OTHER_MAPPINGS = [
    pytest.param([(r"(?s)tables:.*", "")], "TV505 pipeTable: noSuchObject", id="no table"),
    pytest.param([(r"  - \{name: tankLevel[^}]*\}\}\n", "")], "TV506 tankLevel: noSuchObject", id="no scalar"),
    pytest.param([(r"      - \{name: pipeLimit[^}]*\}\}\n", "")], "TV506 pipeLimit: noSuchObject, rows 1..8",
                 id="no column"),
    pytest.param([("tables:", "  - {name: tankAge, oid: 1.1.9, object: 0x0030, type: integer}\ntables:")],
                 "TV511 -: 1 instance", id="one scalar more"),
    pytest.param([("0x0010, type: integer, labels: {0: empty, 1: full}", "0x0010, type: text")],
                 "TV512 tankState: OCTET STRING instead of INTEGER", id="another type"),
    pytest.param([("0x0015, type: text, conversion: decimal 1", "0x0015, type: text")],
                 'TV515 tankPressure: "}" is not a decimal number', id="no conversion"),
]


@pytest.mark.parametrize("changes, finding", OTHER_MAPPINGS)
def test_another_mapping_of_the_agent_is_one_finding(
    site: Site, changes: list[tuple[str, str]], finding: str,
) -> None:
    other = site.changed(*changes)
    site.serve(other, device=other)
    assert site.findings(*READER) == [finding]


def test_a_walk_that_goes_back_is_one_finding(site: Site) -> None:
    """The agent never does that, so a script behind the master answers in its place."""
    script = site.directory / "again"
    script.write_text(f"echo {BASE}.1.1.1.0; echo integer; echo 1", encoding="ascii")
    site.stack.start_master(f"pass {BASE} /bin/sh {script}")
    alone = site.changed((r"(?s)  - \{name: tankLevel.*", ""))
    assert site.findings(*READER, mapping=alone) == [f"TV510 -: the walk ends after {BASE}.1.1.1.0"]


# Values

@pytest.mark.parametrize("command, finding", [
    ("fault 0x0011 error", "TV507 tankLevel: noSuchInstance"),
    ("set 0x0011 101", "TV513 tankLevel: 101 is not in 0..100"),
    ("set 0x0010 2", "TV514 tankState: 2 has no label"),
])
def test_a_fault_of_the_device_is_one_finding(tank: Site, command: str, finding: str) -> None:
    tank.tell_device(command)
    assert tank.findings(*READER) == [finding]


def test_an_object_that_only_a_get_finds_is_one_finding(tank: Site) -> None:
    tank.tell_device("fault 0x0011 error times 2")
    assert tank.findings(*READER) == ["TV509 tankLevel: a get finds it, a walk does not"]


# Sets

def test_a_manager_who_may_only_read_is_one_finding(tank: Site) -> None:
    assert tank.findings(*READER, "--write") == [f"TV521 -: noAccess at {BASE}.1.1.1.0"]


READ_ONLY_NAME = ("0x0012, type: text, access: read-write", "0x0012, type: text")
READ_ONLY_PIPE = ("0x0110, type: text, access: read-write", "0x0110, type: text")


@pytest.mark.parametrize("changes, finding", [
    (READ_ONLY_NAME, "TV522 tankName: a set fails: notWritable"),
    (READ_ONLY_PIPE, "TV522 pipeName: a set fails: genErr, rows 1..8"),
])
def test_a_writable_object_that_the_agent_has_as_read_only_is_one_finding(
    site: Site, changes: tuple[str, str], finding: str,
) -> None:
    site.serve(site.changed(changes))
    assert site.findings(*WRITER, "--write") == [finding]


@pytest.mark.parametrize("changes, finding", [
    (READ_ONLY_NAME, "TV522 tankName: a set fails: badValue"),
    (READ_ONLY_PIPE, "TV522 pipeName: a set fails: genErr, rows 1..8"),
])
def test_a_writable_object_that_the_device_does_not_write_is_one_finding(
    site: Site, changes: tuple[str, str], finding: str,
) -> None:
    site.serve(device=site.changed(changes))
    assert site.findings(*WRITER, "--write") == [finding]


@pytest.mark.parametrize("is_writable_at_the_device, finding", [
    (True, "TV523 tankName: a set succeeds"),
    (False, "TV523 tankName: a set fails: badValue"),
])
def test_a_read_only_scalar_that_the_agent_sets_is_one_finding(
    site: Site, is_writable_at_the_device: bool, finding: str,
) -> None:
    promised = site.changed(READ_ONLY_NAME)
    site.serve(device=site.mapping if is_writable_at_the_device else promised)
    assert site.findings(*WRITER, "--write", mapping=promised) == [finding]


def test_a_read_only_column_that_the_agent_sets_is_one_finding(site: Site) -> None:
    promised = site.changed(READ_ONLY_PIPE)
    site.serve()
    assert site.findings(*WRITER, "--write", mapping=promised) == ["TV523 pipeName: a set succeeds, rows 1..8"]


def test_a_value_that_reads_back_differently_is_one_finding(site: Site) -> None:
    site.serve(site.changed(("0x0014, type: integer, access: read-write, conversion: scaled 1",
                             "0x0014, type: integer, access: read-write, conversion: scaled 2")))
    promised = site.changed((", conversion: scaled 1", ""))
    assert site.findings(*WRITER, "--write", mapping=promised) == ["TV524 tankGain: 130 reads back as 13000"]


COUNTING = f"""
import sys
lines = iter(sys.stdin.readline, "")
number = 0
for command in map(str.strip, lines):
    if command == "PING":
        print("PONG")
    elif command == "set":
        print("DONE", next(lines)[:0], next(lines)[:0], sep="")
    elif next(lines).strip() != "{BASE}" and command == "getnext":
        print("NONE")
    else:
        number += 1
        print("{BASE}.1.1.1.0", "integer", number, sep="\\n")
    sys.stdout.flush()
"""


def test_a_value_that_moves_by_itself_is_no_finding(site: Site) -> None:
    """The simulator's values stop when they are set, so a script behind the master answers in its place."""
    script = site.directory / "counting.py"
    script.write_text(COUNTING, encoding="ascii")
    site.stack.start_master(f"pass_persist {BASE} {sys.executable} {script}")
    alone = site.changed((r"(?s)  - \{name: tankLevel.*", ""),
                         (r"labels: \{.*?\},", "access: read-write,"))
    report = json.loads(site.verify(*WRITER, "--write", "--json", mapping=alone).stdout)
    assert (report["findings"], report["set"]) == ([], 1)


def test_an_object_with_a_finding_is_not_set(tank: Site) -> None:
    tank.tell_device("set 0x0013 500")
    promised = tank.changed(("0x0013, type: integer", "0x0013, type: integer, range: 0..100"))
    done = tank.verify(*WRITER, "--write", "--json", mapping=promised)
    assert "tankLimit" in json.loads(done.stdout)["notSet"]


# The report

def test_a_source_accepts_a_finding_of_a_manager(tank: Site) -> None:
    tank.tell_device("set 0x0011 101")
    accepting = tank.changed(("range: 0..100,", "range: 0..100, accept: {TV513: It overflows.},"))
    done = tank.verify(*READER, mapping=accepting)
    assert done.stdout.startswith("0 errors, 0 warnings, 0 notes, 1 accepted\n")
    assert done.returncode == 0


def test_a_warning_ends_with_status_1(tank: Site) -> None:
    tank.tell_device("set 0x0011 101")
    done = tank.verify(*READER)
    assert re.match(r"\S+/tank.yaml:\d+:\d+: warning TV513: tankLevel: 101 is not in 0..100\n", done.stdout)
    assert done.returncode == 1


def test_a_finding_has_its_row_in_a_database(tank: Site) -> None:
    tank.tell_device("set 0x0011 101")
    done = tank.verify(*READER, mapping=tank.tool.database(tank.mapping, tank.directory))
    assert done.stdout.startswith("SNMP_GENERAL_OBJ_TABLE, row 2: warning TV513: tankLevel: 101")


def test_junit_has_a_case_for_each_object(tank: Site) -> None:
    tank.tell_device("set 0x0011 101")
    report = tank.directory / "report.xml"
    tank.verify(*READER, "--junit", str(report))
    suite = ElementTree.parse(report).getroot()
    failed = [case.get("name") for case in suite.iter("testcase") if case.find("failure") is not None]
    assert (suite.get("tests"), failed) == ("12", ["tankLevel"])


# The command line

def test_what_is_not_stated_comes_from_the_configuration_of_the_clients(tank: Site) -> None:
    configuration = tank.stack.directory / "none" / "snmp.conf"
    configuration.write_text(
        f"defSecurityName operator\ndefSecurityLevel authPriv\ndefAuthType SHA\ndefAuthPassphrase {AUTH_PASSWORD}\n"
        f"defPrivType AES\ndefPrivPassphrase {PRIV_PASSWORD}\n", encoding="ascii")
    assert tank.findings("--write") == []
    configuration.write_text("defVersion 2c\ndefCommunity public\n", encoding="ascii")
    assert tank.findings() == []


@pytest.mark.parametrize("options, error", [
    (("-v", "2c"), "SNMPv2c needs a community: -c, or defCommunity in snmp.conf"),
    (("-v", "3"), "SNMPv3 needs a user: -u, or defSecurityName in snmp.conf; -v 2c chooses SNMPv2c"),
    (("-v", "3", "-u", "operator", "-A", "short"), "the passphrase of -A is shorter than 8 characters"),
])
def test_incomplete_credentials_are_an_error(tank: Site, options: tuple[str, ...], error: str) -> None:
    done = tank.verify(*options)
    assert (done.returncode, done.stdout, done.stderr) == (2, "", f"error: {error}\n")


def test_a_host_without_an_address_is_an_error(tank: Site) -> None:
    done = tank.verify(*READER, host="nowhere.invalid")
    assert (done.returncode, done.stdout) == (2, "")
    assert done.stderr.startswith("error: --snmp: Unknown host")


def test_an_agent_is_reached_over_other_transports(tank: Site) -> None:
    assert tank.verify(*READER, host=f"udp:{HOST}").returncode == 0


def test_no_mib_is_read(tank: Site) -> None:
    configuration = tank.stack.directory / "none" / "snmp.conf"
    configuration.write_text("mibs NO-SUCH-MIB\n", encoding="ascii")
    done = tank.verify(*READER)
    assert (done.returncode, done.stderr) == (0, "")


# The page

def section_of_the_page() -> str:
    page = (ROOT / "docs" / "mapping.md").read_text(encoding="utf-8")
    return page.split("## `verify --snmp`\n", 1)[1].split("\n## ", 1)[0]


def commands_of_the_page() -> list[str]:
    return re.findall(r"^    (tarnoMapping .*)$", section_of_the_page(), flags=re.MULTILINE)


@dataclass(frozen=True)
class Reader:
    """Follows the page: the sample is the shelf."""

    site: Site

    def serves(self, mapping: Path) -> None:
        shutil.copy(example("sample"), self.site.directory / "shelf.yaml")
        self.site.serve(mapping, device=example("sample"))

    def types(self, command: str) -> "subprocess.CompletedProcess[str]":
        typed = command.replace("tarnoMapping", str(self.site.tool.path)).replace("HOST", HOST)
        return self.site.stack.run(["sh", "-c", f"cd {self.site.directory} && {typed}"], 60)


@pytest.fixture
def reader(site: Site) -> Reader:
    return Reader(site)


def test_the_commands_of_the_page_find_nothing_wrong_with_a_good_agent(reader: Reader) -> None:
    reader.serves(example("sample"))
    assert len(commands_of_the_page()) == 2
    for command in commands_of_the_page():
        done = reader.types(command)
        assert (done.returncode, done.stderr) == (0, ""), command


def test_the_configuration_of_the_page_is_enough(reader: Reader) -> None:
    reader.serves(example("sample"))
    settings = re.findall(r"^    (def.*\n)", section_of_the_page(), flags=re.MULTILINE)
    (reader.site.stack.directory / "none" / "snmp.conf").write_text("".join(settings), encoding="ascii")
    assert "`tarnoMapping verify shelf.yaml --snmp HOST` is enough" in section_of_the_page()
    done = reader.types("tarnoMapping verify shelf.yaml --snmp HOST")
    assert (done.returncode, done.stderr) == (0, "")


def test_the_page_shows_a_finding_as_it_is_printed(reader: Reader) -> None:
    column = r"(?s)      - name: portErroredSeconds.*?(?=  - name: fanTable)"
    older = re.sub(column, "", example("sample").read_text(encoding="utf-8"))
    reader.serves(reader.site.source("older", older))
    done = reader.types(commands_of_the_page()[0])
    finding = done.stdout.split("1 error,")[0]
    assert "".join(f"    {line}\n" for line in finding.splitlines()) in section_of_the_page()
    assert finding


def test_every_rule_of_a_manager_has_a_planted_fault(tool: MappingTool) -> None:
    rules = re.findall(r"^TV5\d\d", tool.check("verify", "--rules"), flags=re.MULTILINE)
    planted = set(re.findall(r"[\"'](TV5\d\d) ", Path(__file__).read_text(encoding="utf-8")))
    assert sorted(planted) == rules

"""verify: its findings about devices that store objects differently, whom it refuses, and what it leaves behind."""
from __future__ import annotations

import json
import random
import signal
import time
from collections.abc import Callable
from pathlib import Path
from typing import Any
from xml.etree import ElementTree

import pytest
import yaml

from support.device import ANSWER_QUEUE, REQUEST_QUEUE
from support.mapping_tool import EXAMPLES, MappingTool, example
from support.program import Program
from support.stack import Build, Stack
from support.verifying import Report, Verifier
from support.waiting import wait_until

_SMALL = example("small")


@pytest.fixture
def verifier(build: Build, stack: Stack) -> Verifier:
    """Of the pump, without its device."""
    return Verifier(build, stack, _SMALL, starts_device=False)


Change = Callable[[dict[int, dict[str, Any]]], None]


def start_changed(verifier: Verifier, change: Change, *options: str) -> None:
    """Starts the device of the mapping with its objects changed, by their ids."""
    path = verifier.stack.directory / "changed.yaml"
    file = yaml.safe_load(verifier.tool.check("simulate", verifier.source, "-o", "-"))
    change({each["id"]: each for each in file["objects"]})
    path.write_text(yaml.safe_dump(file, allow_unicode=True), encoding="utf-8")
    verifier.stack.start_simulator(path, *options)


def changed(verifier: Verifier, object_id: int, *options: str, **keys: object) -> Report:
    """What verify says of the device with one changed object."""
    start_changed(verifier, lambda objects: objects[object_id].update(keys))
    return verifier.verify(*options)


# A good device


@pytest.mark.parametrize("name", EXAMPLES)
def test_the_device_of_an_example_has_no_finding(build: Build, stack: Stack, name: str) -> None:
    report = Verifier(build, stack, example(name)).verify("--write", "--probe")
    assert (report.codes, report.status, report.answered) == ([], 0, report.asked)


def test_a_database_is_verified_like_its_source(build: Build, stack: Stack) -> None:
    database = MappingTool(build).database(_SMALL, stack.directory)
    report = Verifier(build, stack, database).verify()
    assert (report.codes, report.answered) == ([], 13)


def test_the_last_line_has_the_number_of_objects_and_the_times(verifier: Verifier) -> None:
    verifier.start_device()
    lines = verifier.run().stdout.splitlines()
    assert lines[0] == "0 errors, 0 warnings, 0 notes"
    assert lines[1].startswith("device application: tarnoDeviceSim (process ")
    assert lines[2].startswith("13 of 13 objects read, median ") and " ms, worst " in lines[2]


def test_a_table_shows_the_values_as_a_manager_gets_them(verifier: Verifier) -> None:
    start_changed(verifier, lambda objects: objects[0x0011].pop("motion"))
    rows = {line.split()[1]: line for line in verifier.run("--table").stdout.splitlines()[:7]}
    assert rows["NAME"].endswith("VALUE")
    assert rows["pumpState"].endswith("  2 (running)")
    assert rows["pumpPressure"].endswith("bar                4.12")
    assert rows["pumpOperator"].endswith("  ops@example.net")
    assert rows["valveRow"].endswith("  1, 2, 3, 4")
    assert rows["valveOpening"].endswith("  100, 100, 50, 0")
    assert rows["valveFlow"].endswith("  12.00, 11.80, 6.10, 0.00")


def test_a_junit_file_has_a_test_case_for_each_object(verifier: Verifier, tmp_path: Path) -> None:
    changed(verifier, 0x0012, "--junit", tmp_path / "verify.xml", writable=False)
    suite = ElementTree.parse(tmp_path / "verify.xml").getroot()
    failed = [case.get("name") for case in suite.iter("testcase") if case.find("failure") is not None]
    assert (suite.get("tests"), suite.get("failures"), failed) == ("8", "1", ["pumpOperator"])


# A device that stores an object differently


@pytest.mark.parametrize("object_id, keys, code", [
    (0x0010, {"kind": "signed"}, "TV301"),
    (0x0010, {"kind": "other", "value": "02"}, "TV301"),
    (0x0010, {"kind": "string", "value": "2"}, "TV301"),
    (0x0012, {"kind": "other", "value": "61", "width": 4}, "TV301"),
    (0x0010, {"width": 2}, "TV302"),
    (0x0010, {"width": 4}, "TV302"),
    (0x0012, {"width": 16}, "TV302"),
    (0x0101, {"width": 4}, "TV302"),
    (0x0012, {"writable": False}, "TV305"),
    (0x0102, {"writable": False}, "TV305"),
    (0x0010, {"writable": True}, "TV306"),
    (0x0012, {"value": "ab\0cd"}, "TV313"),
    (0x0010, {"value": 3}, "TV322"),
    (0x80BA, {"value": "32473.1", "width": 64}, "TV401"),
    (0x80BA, {"value": ".1.3.6.1.x", "width": 64}, "TV401"),
    (0x80BA, {"value": ".1.3.6.1.4.1.32473.21", "width": 64}, "TV402"),
    (0x0A41, {"value": 2}, "TV403"),
    (0x0A41, {"value": 1}, "TV404"),
])
def test_an_object_that_differs_from_the_source_is_one_finding(
    verifier: Verifier, object_id: int, keys: dict[str, object], code: str,
) -> None:
    report = changed(verifier, object_id, **keys)
    assert report.codes == [code]
    assert f"{object_id:#06x}" in report.what[0].lower()


def test_a_finding_has_the_name_the_oid_and_the_place_of_its_object(verifier: Verifier) -> None:
    finding = changed(verifier, 0x0102, writable=False).content["findings"][0]
    assert (finding["object"], finding["oid"]) == ("valveOpening", ".1.3.6.1.4.1.32473.20.2.1.1.2.3.0")
    lines = _SMALL.read_text(encoding="utf-8").splitlines()
    assert finding["source"]["line"] == 1 + lines.index("        access: read-write")
    assert finding["what"].startswith("row 3, 0x0102: ")


def source_of(*lines: str) -> str:
    """A source with these scalars."""
    return "\n".join(["module: {name: SOME-MIB, base: .1.3.6.1.4.1.32473.20}", "scalars:",
                      *(f"  - {{{line}}}" for line in lines)])


def test_a_text_that_a_manager_does_not_see_whole_is_a_warning(build: Build, stack: Stack) -> None:
    verifier = Verifier(
        build, stack, source_of("name: note, oid: 1.1.1, object: 0x0001, type: text"), starts_device=False)
    start_changed(verifier, lambda objects: objects[1].update(width=100))
    verifier.command("set 0x0001 " + "x" * 65)
    report = verifier.verify()
    assert (report.codes, report.status) == (["TV312"], 1)
    verifier.command("set 0x0001 " + "x" * 64)
    assert verifier.verify().codes == []


def test_a_text_in_another_character_set_is_a_warning(verifier: Verifier) -> None:
    verifier.start_device()
    # The answer is that of the device, with a letter in Latin-1.
    text = b"Z\xfcrich".hex() + "00" * 26
    verifier.command("fault 0x0012 raw 122310021200" + text + " only reads")
    assert verifier.verify().codes == ["TV311"]


def test_a_number_outside_the_range_of_the_source_is_a_warning(build: Build, stack: Stack) -> None:
    verifier = Verifier(build, stack, source_of(
        "name: heat, oid: 1.1.1, object: 0x0001, type: integer, range: -20..60, "
        "device: {kind: signed, width: 1, value: -20}"))
    assert verifier.verify().codes == []
    verifier.command("set 0x0001 -21")
    report = verifier.verify()
    assert (report.codes, report.what) == (["TV321"], ["0x0001: -21 is not in -20..60"])


@pytest.mark.parametrize("mapped, kind, width, code", [
    ("type: integer", "string", 8, "TV303"),
    ("type: integer", "other", 8, "TV303"),
    ("type: text", "unsigned", 2, "TV303"),
    ("type: text, conversion: ipv4", "other", 2, "TV303"),
    ("type: text, conversion: decimal 2", "string", 8, "TV303"),
    ("type: integer", "signed", 2, None),
    ("type: text", "string", 20, None),
    ("type: text, conversion: ipv4", "unsigned", 4, None),
    ("type: text, conversion: decimal 2", "unsigned", 2, None),
])
def test_without_a_word_in_the_source_the_form_must_suit_type_and_conversion(
    build: Build, stack: Stack, mapped: str, kind: str, width: int, code: str | None,
) -> None:
    verifier = Verifier(build, stack, source_of(f"name: it, oid: 1.1.1, object: 0x0001, {mapped}"), starts_device=False)

    def change(objects: dict[int, dict[str, Any]]) -> None:
        objects[1] |= {"kind": kind, "width": width, "value": {"string": "", "other": ""}.get(kind, 0)}

    start_changed(verifier, change)
    assert verifier.verify().codes == ([] if code is None else [code])


def test_a_refused_base_is_no_fault_if_the_mapping_has_the_default_of_the_agent(build: Build, stack: Stack) -> None:
    source = source_of("name: it, oid: 1.1.1, object: 0x0001, type: integer").replace(
        ".32473.20", ".32473.8.2.2.3.8")
    verifier = Verifier(build, stack, source)
    verifier.command("fault 0x80BA error")
    assert verifier.verify().codes == []


def test_a_number_that_a_manager_sees_as_negative_is_a_warning(build: Build, stack: Stack) -> None:
    verifier = Verifier(build, stack, source_of(
        "name: sum, oid: 1.1.1, object: 0x0001, type: integer, device: {kind: unsigned, width: 4}"))
    verifier.command("set 0x0001 2147483647")
    assert verifier.verify().codes == []
    verifier.command("set 0x0001 2147483648")
    assert verifier.verify().codes == ["TV323"]


# Writes


def test_a_write_leaves_every_value_as_it_was(verifier: Verifier) -> None:
    verifier.start_device()
    before = [verifier.command(f"get {object_id}") for object_id in ("0x0012", "0x0100", "0x0102")]
    assert verifier.verify("--write").codes == []
    assert [verifier.command(f"get {object_id}") for object_id in ("0x0012", "0x0100", "0x0102")] == before
    writes = [line for line in verifier.stack.simulator_log().splitlines() if " request write " in line]
    assert len(writes) == 5


def test_nothing_is_written_without_the_option(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.verify()
    assert " request write " not in verifier.stack.simulator_log()


def test_a_text_that_loses_the_bytes_after_its_end_does_not_read_back(verifier: Verifier) -> None:
    assert changed(verifier, 0x0012, "--write", value="ab\0cd").codes == ["TV313", "TV603"]


# Order


def test_answers_out_of_order_are_one_finding(verifier: Verifier) -> None:
    verifier.start_device("--concurrent")
    verifier.command("fault 0x0012 delay 20")
    assert verifier.verify().codes == ["TV213"]


def test_an_answer_that_others_overtake_by_far_is_not_taken_for_another_one(verifier: Verifier) -> None:
    verifier.start_device("--concurrent")
    verifier.command("fault 0x0012 delay 700")
    report = verifier.verify()
    assert (sorted(report.codes), report.answered) == (["TV209", "TV213"], report.asked)
    assert verifier.is_link_empty()


def test_a_request_in_a_row_that_gets_no_answer_is_one_finding(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.command("fault all delay 25")
    program = start_verify(verifier, "--json")
    # By then every object has been read once.
    wait_until(lambda: verifier.stack.simulator_log().count(" request ") > 60, "the device gets requests in a row")
    verifier.command("fault 0x0012 silent times 1")
    program.wait_for_end()
    report = json.loads(program.output())
    assert [each["code"] for each in report["findings"]] == ["TV214"]
    assert verifier.is_link_empty()


# Who uses the link


def test_without_queues_there_is_no_device_application(verifier: Verifier) -> None:
    report = verifier.verify()
    assert (report.codes, report.status) == (["TV101"], 2)
    assert verifier.stack.queue_tool("depth", hex(REQUEST_QUEUE), "depth", hex(ANSWER_QUEUE)) == "none\nnone\n"


def test_a_device_application_that_has_ended_is_found(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.stack.stop_simulator()
    report = verifier.verify()
    assert (report.codes, report.answered) == (["TV102"], 0)
    assert verifier.is_link_empty()


def test_requests_of_an_earlier_agent_are_left_to_the_device(verifier: Verifier) -> None:
    verifier.stack.queue_tool("create", hex(ANSWER_QUEUE), "send", hex(REQUEST_QUEUE), "02 07 10 00 00 00 00 00")
    report = verifier.verify()
    assert report.codes == ["TV102"]
    assert verifier.stack.queue_depth(REQUEST_QUEUE) == 1


def test_answers_to_an_earlier_agent_are_no_finding(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.stack.send_answer("12 04 00 00 10 00 01")
    verifier.stack.send_answer("12 04 00 00 12 00 01")
    assert verifier.verify().codes == []
    assert verifier.is_link_empty()


def test_a_running_agent_is_named_and_left_alone(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.stack.start_master()
    verifier.stack.start_agent(mapping=verifier.tool.database(_SMALL, verifier.stack.directory))
    verifier.stack.wait_until_served(".1.3.6.1.4.1.32473.20.1.1.1.0")
    done = verifier.run()
    assert (done.returncode, done.stdout) == (3, "")
    assert "the link is in use by tarnoSnmp (process " in done.stderr
    verifier.stack.stop_agent()
    assert verifier.verify().codes == []


def test_an_agent_that_waits_for_its_device_is_named(verifier: Verifier) -> None:
    verifier.stack.start_master()
    verifier.stack.start_agent(mapping=verifier.tool.database(_SMALL, verifier.stack.directory))
    wait_until(lambda: verifier.stack.queue_depth(REQUEST_QUEUE) == 1, "the agent asks")
    done = verifier.run()
    assert done.returncode == 3
    assert "tarnoSnmp" in done.stderr
    assert verifier.stack.queue_depth(REQUEST_QUEUE) == 1


def test_an_agent_that_starts_meanwhile_gets_the_link(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.command("fault all delay 200")
    program = start_verify(verifier)
    wait_until(lambda: " request " in verifier.stack.simulator_log(), "the device is asked")
    verifier.stack.start_master()
    verifier.stack.start_agent(mapping=verifier.tool.database(_SMALL, verifier.stack.directory))
    assert program.wait_for_end() == 3
    assert program.errors() == "error: another program has begun to use the link: nothing was verified\n"
    verifier.command("clear")
    verifier.stack.wait_until_served(".1.3.6.1.4.1.32473.20.1.1.1.0")


def test_a_mapping_that_cannot_be_read_ends_with_3(verifier: Verifier, tmp_path: Path) -> None:
    verifier.source = tmp_path / "none.db"
    assert verifier.run().returncode == 3


# Ends


def start_verify(verifier: Verifier, *options: str) -> Program:
    return verifier.stack.start("verify", [verifier.tool.path, "verify", verifier.source, *options])


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM])
@pytest.mark.parametrize("fault", ["delay 400", "pause 600 times 100"])
def test_a_signal_ends_it_without_a_request_or_an_answer_left(
    verifier: Verifier, number: signal.Signals, fault: str,
) -> None:
    verifier.start_device()
    verifier.command(f"fault all {fault}")
    program = start_verify(verifier)
    wait_until(lambda: " request " in verifier.stack.simulator_log(), "the device is asked")
    program.signal(number)
    assert program.wait_for_end() in (-number, 128 + number)
    assert verifier.is_link_empty()
    time.sleep(0.8)
    assert verifier.is_link_empty()


def test_a_silent_device_with_many_objects_takes_less_than_40_s(build: Build, stack: Stack) -> None:
    verifier = Verifier(build, stack, example("full-size"))
    verifier.command("fault all silent")
    start = time.monotonic()
    report = verifier.verify()
    assert report.codes == ["TV102"]
    assert time.monotonic() - start < 40


def test_half_a_silent_device_is_read_in_time(build: Build, stack: Stack) -> None:
    verifier = Verifier(build, stack, _SMALL)
    for object_id in ("0x0010", "0x0012", "0x0101", "0x0103", "0x0111"):
        verifier.command(f"fault {object_id} silent")
    start = time.monotonic()
    assert verifier.verify().codes == ["TV201"] * 5
    assert time.monotonic() - start < 5


def test_the_limit_ends_it(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.command("fault all delay 300")
    report = verifier.verify("--limit", "1")
    assert "TV103" in report.codes
    assert verifier.is_link_empty()


def test_a_device_that_dies_meanwhile_is_found(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.command("fault all delay 100")
    program = start_verify(verifier, "--json")
    wait_until(lambda: verifier.stack.simulator_log().count(" request ") > 3, "the device is asked")
    verifier.stack.kill_simulator()
    assert program.wait_for_end() == 2
    assert '"TV105"' in program.output()
    assert verifier.is_link_empty()


def test_queues_that_are_removed_meanwhile_are_found(verifier: Verifier) -> None:
    verifier.start_device()
    verifier.command("fault all delay 100")
    program = start_verify(verifier, "--json")
    wait_until(lambda: verifier.stack.simulator_log().count(" request ") > 3, "the device is asked")
    verifier.stack.queue_tool("remove", hex(REQUEST_QUEUE), "remove", hex(ANSWER_QUEUE))
    assert program.wait_for_end() == 2
    assert '"TV104"' in program.output()


# Random mappings


_FORMS = [
    ("type: integer", ["kind: unsigned, width: 1, value: 200", "kind: unsigned, width: 2", "kind: signed, width: 4"]),
    ("type: text", ["kind: string, width: 64, value: text", "kind: string, width: 0", "kind: string, width: 5"]),
    ("type: text, conversion: decimal 2", ["kind: unsigned, width: 2", "kind: signed, width: 1"]),
    ("type: text, conversion: ipv4", ["kind: other, width: 4", "kind: unsigned, width: 4"]),
    ("type: text, conversion: dateTime", ["kind: unsigned, width: 4", "kind: other, width: 7"]),
    ("type: integer, conversion: uint16", ["kind: unsigned, width: 2"]),
    ("type: integer, conversion: scaled 1", ["kind: signed, width: 2"]),
]


def random_source(number: int) -> str:
    """A mapping without errors, with scalars and up to two tables."""
    chance = random.Random(number)
    ids = iter(chance.sample(range(0x1000, 0x8000, 8), 40))

    def described() -> str:
        mapped, forms = chance.choice(_FORMS)
        writable = chance.random() < 0.3 and "signed" not in forms[-1] and "conversion" not in mapped
        device = chance.choice([None, *forms])
        return (mapped + (", access: read-write" if writable else "")
                + ("" if device is None else f", device: {{{device}}}"))

    lines = ["module: {name: RANDOM-MIB, base: .1.3.6.1.4.1.32473." + str(number + 1) + "}", "scalars:"]
    lines += [f"  - {{name: scalar{each}, oid: 1.1.{each}, object: {next(ids):#06x}, {described()}}}"
              for each in range(1, chance.randint(2, 12))]
    tables, rows = chance.randint(0, 2), chance.choice([4, 8])
    if tables:
        lines.append("tables:")
    for table in range(1, tables + 1):
        lines += [f"  - {{name: t{table}Table, node: .2.{table}, rows: {rows}, columns: ["]
        lines += [f"      {{name: t{table}Cell{each}, first: {next(ids):#06x}, {described()}}},"
                  for each in range(1, chance.randint(2, 5))]
        lines.append("    ]}")
    return "\n".join(lines)


@pytest.mark.parametrize("lane", range(4))
def test_the_devices_of_random_mappings_have_no_finding(build: Build, stack: Stack, lane: int) -> None:
    stack.logs_frames = False
    for number in range(lane, 200, 4):
        verifier = Verifier(build, stack, random_source(number))
        report = verifier.verify("--write", "--probe")
        stack.stop_simulator()
        assert (report.codes, report.answered) == ([], report.asked), (number, report.what)


def test_an_alarm_polled_more_often_than_the_device_answers_is_found(build: Build, stack: Stack) -> None:
    device = Verifier(build, stack, """
scalars: [{name: level, oid: 1.1.1, object: 0x0101, type: integer, device: {kind: unsigned, width: 1}}]
alarms: [{name: full, number: 1, object: level, condition: above, raise: 9,
  every: 1}]
""")
    assert device.verify().codes == []
    device.command("fault 0x0101 delay 200")
    report = device.verify()
    assert report.codes == ["TV209", "TV215"]
    assert report.objects[1] == "full"
    assert report.what[1].startswith("120 exchanges per minute of 20")

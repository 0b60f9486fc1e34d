"""verify against a device application with one fault: exactly one finding, with the code of the fault."""
from __future__ import annotations

from collections.abc import Iterator

import pytest

from support.device import ANSWER_QUEUE, REQUEST_QUEUE
from support.stack import Build, Stack
from support.verifying import Verifier

pytestmark = pytest.mark.xdist_group("verify faults")

_SOURCE = """
module: {name: VERIFY-MIB, base: .1.3.6.1.4.1.32473.20}
scalars:
  - {name: level, oid: 1.1.1, object: 0x0101, type: integer, access: read-write,
     device: {kind: unsigned, width: 1, value: 7}}
  - {name: speed, oid: 1.1.2, object: 0x0102, type: integer, device: {kind: unsigned, width: 2, value: 300}}
  - {name: label, oid: 1.1.3, object: 0x0103, type: text, access: read-write,
     device: {kind: string, width: 16, value: pump}}
  - {name: third, oid: 1.1.4, object: 0x0912, type: integer, device: {kind: unsigned, width: 4, value: 9}}
tables:
  - name: portTable
    node: .2.1
    rows: 4
    columns:
      - {name: portState, first: 0x0201, type: integer, device: {kind: unsigned, width: 1, value: 1}}
"""

_BASE, _SPEED, _LABEL, _PORT, _GROUP = "0x80BA", "0x0102", "0x0103", "0x0203", "0x083A"


@pytest.fixture(scope="module")
def device(build: Build, shared_stack: Stack) -> Verifier:
    return Verifier(build, shared_stack, _SOURCE)


@pytest.fixture(autouse=True)
def _clean(device: Verifier) -> Iterator[None]:
    """Every test leaves the device without faults and the link empty."""
    device.command("clear")
    yield
    device.stack.queue_tool("empty", hex(REQUEST_QUEUE), "empty", hex(ANSWER_QUEUE))


def test_a_good_device_has_no_finding(device: Verifier) -> None:
    report = device.verify("--write", "--probe")
    assert (report.codes, report.status) == ([], 0)


@pytest.mark.parametrize("object_id", [_SPEED, _LABEL, _PORT, _GROUP])
@pytest.mark.parametrize("fault, code", [
    ("delay 120", "TV209"),
    ("delay 1200", "TV210"),
    ("pause 1200", "TV210"),
    ("silent", "TV201"),
    ("error", "TV202"),
    ("error 0x55", "TV202"),
    ("length 9", "TV204"),
    ("wrong-id 0x0777", "TV203"),
    ("wrong-id 0x0101", "TV203"),
    ("extra 1", "TV206"),
    ("extra 900", "TV206"),
    ("extra 1100", "TV207"),
    ("extra 7900", "TV207"),
    ("truncate 0", "TV205"),
    ("truncate 3", "TV205"),
    ("truncate 6", "TV204"),
    ("raw 777777", "TV212"),
    ("raw 12040000010107", "TV203"),
    ("size 300", "TV212"),
    ("size 8192", "TV207"),
    ("duplicate", "TV208"),
    ("duplicate 5", "TV208"),
])
def test_a_fault_of_one_object_is_one_finding(device: Verifier, object_id: str, fault: str, code: str) -> None:
    device.command(f"fault {object_id} {fault}")
    report = device.verify("--write", "--probe")
    assert report.codes == [code]
    assert object_id in report.what[0] or (object_id == _GROUP and "0x0912" in report.what[0])
    assert device.is_link_empty()


@pytest.mark.parametrize("fault", ["pause 3400", "delay 3400"])
def test_an_object_that_takes_longer_than_the_agent_waits_is_one_finding(device: Verifier, fault: str) -> None:
    device.command(f"fault {_SPEED} {fault}")
    report = device.verify()
    assert (report.codes, report.answered) == (["TV211"], report.asked)
    assert device.is_link_empty()


@pytest.mark.parametrize("object_id", [_BASE, "0x0A41"])
@pytest.mark.parametrize("fault, code", [
    ("pause 1200", "TV210"), ("pause 3400", "TV211"), ("silent", "TV201"), ("wrong-id 0x0777", "TV203"),
    ("extra 1", "TV206"), ("truncate 6", "TV204"), ("duplicate", "TV208"), ("error", "TV202"),
])
def test_a_fault_of_an_object_of_the_start_is_one_finding(
    device: Verifier, object_id: str, fault: str, code: str,
) -> None:
    device.command(f"fault {object_id} {fault}")
    report = device.verify()
    assert report.codes == [code]
    assert object_id in report.what[0]


@pytest.mark.parametrize("fault, code", [
    ("delay 60", "TV209"),
    ("pause 1200", "TV210"),
    ("pause 3400", "TV211"),
    ("silent", "TV102"),
    ("error", "TV202"),
    ("length 200", "TV204"),
    ("wrong-id 0x0777", "TV203"),
    ("extra 1", "TV206"),
    ("extra 2000", "TV207"),
    ("truncate 4", "TV205"),
    ("raw 55", "TV212"),
    ("size 2000", "TV207"),
    ("duplicate", "TV208"),
])
def test_a_fault_of_the_whole_device_is_one_finding(device: Verifier, fault: str, code: str) -> None:
    device.command(f"fault all {fault}")
    report = device.verify()
    assert report.codes == [code]


@pytest.mark.parametrize("fault, code", [
    ("delay 120", "TV209"),
    ("pause 1200", "TV210"),
    ("silent", "TV601"),
    ("error", "TV602"),
    ("wrong-id 0x0777", "TV604"),
    ("length 99", "TV604"),
    ("truncate 2", "TV604"),
    ("extra 1", "TV604"),
    ("extra 100", "TV605"),
    ("size 2000", "TV605"),
    ("duplicate", "TV208"),
])
def test_a_fault_of_writes_is_one_finding(device: Verifier, fault: str, code: str) -> None:
    device.command(f"fault {_LABEL} {fault} only writes")
    report = device.verify("--write")
    assert report.codes == [code]
    assert device.is_link_empty()


def test_a_fault_of_writes_is_not_looked_for_unless_asked(device: Verifier) -> None:
    device.command(f"fault {_LABEL} error only writes")
    assert device.verify().codes == []


def test_unknown_ids_are_probed_only_on_request(device: Verifier) -> None:
    device.command("fault 0xFFFE silent")
    assert device.verify().codes == []
    assert device.verify("--probe").codes == ["TV701"]


def test_a_write_of_a_read_only_object_that_is_not_answered_is_found_by_a_probe(device: Verifier) -> None:
    device.command(f"fault {_BASE} silent only writes")
    assert device.verify("--probe").codes == ["TV702"]


def test_a_write_of_a_read_only_object_that_is_accepted_is_found_by_a_probe(device: Verifier) -> None:
    device.command(f"fault {_BASE} raw 1143BA80 only writes")
    assert device.verify("--probe").codes == ["TV703"]

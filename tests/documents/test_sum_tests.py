"""How scripts/sum-tests sums up the results of CTest."""
from __future__ import annotations

import subprocess
from pathlib import Path

import pytest

from pages import ROOT

PASSED = '<testcase name="{}" status="run"><system-out>said</system-out></testcase>'
FAILED = '<testcase name="{}" status="fail"><failure message="Failed"/><system-out>{}</system-out></testcase>'
NOT_RUN = '<testcase name="{}" status="notrun"><skipped message="Fixture dependency failed"/></testcase>'
SKIPPED = '<testcase name="{}" status="notrun"><skipped message="SKIP_REGULAR_EXPRESSION_MATCHED"/></testcase>'


class Run:
    """The results of one run of CTest."""

    def __init__(self, directory: Path) -> None:
        self.path = directory / "ctest.xml"

    def has(self, *cases: str) -> Run:
        self.path.write_text(f'<testsuite name="run">{"".join(cases)}</testsuite>', encoding="utf-8")
        return self

    def where(self, test: str, own: str) -> Run:
        """The cases that a test reported itself."""
        self.path.with_name(f"{test}.xml").write_text(own, encoding="utf-8")
        return self

    def summed(self) -> tuple[int, list[str]]:
        done = subprocess.run(
            [ROOT / "scripts" / "sum-tests", self.path], capture_output=True, text=True, timeout=60, check=False)
        assert done.stderr == ""
        return done.returncode, done.stdout.splitlines()


@pytest.fixture(name="run")
def empty_run(tmp_path: Path) -> Run:
    return Run(tmp_path)


def suites(*cases: str) -> str:
    return f'<testsuites><testsuite name="own">{"".join(cases)}</testsuite></testsuites>'


def test_tests_that_passed_are_counted(run: Run) -> None:
    status, lines = run.has(PASSED.format("one"), PASSED.format("two")).summed()
    assert (status, lines[-1]) == (0, "2 passed, 0 failed")


def test_a_failure_is_named_with_what_it_said(run: Run) -> None:
    status, lines = run.has(PASSED.format("one"), FAILED.format("two", "it broke")).summed()
    assert (status, lines[-1]) == (1, "1 passed, 1 failed")
    assert "    two: failure: Failed" in lines
    assert "        it broke" in lines


def test_a_skipped_test_fails(run: Run) -> None:
    status, lines = run.has(PASSED.format("one"), SKIPPED.format("two")).summed()
    assert (status, lines[-1]) == (1, "1 passed, 1 failed")


def test_cases_of_a_test_count_in_its_place(run: Run) -> None:
    run.has(PASSED.format("suite")).where("suite", suites(PASSED.format("a"), PASSED.format("b")))
    assert run.summed()[1][-1] == "2 passed, 0 failed"


def test_a_failed_case_counts_once(run: Run) -> None:
    run.has(FAILED.format("suite", "")).where("suite", suites(PASSED.format("a"), FAILED.format("b", "")))
    assert run.summed()[1][-1] == "1 passed, 1 failed"


def test_a_case_that_passed_at_its_second_attempt_is_listed_with_its_first_failure(run: Run) -> None:
    case = '<testcase name="a"><properties><property name="failure" value="it was late"/></properties></testcase>'
    status, lines = run.has(PASSED.format("suite")).where("suite", suites(case)).summed()
    assert (status, lines[-1]) == (0, "1 passed, 0 failed")
    assert "    passed at the second attempt: a: it was late" in lines


def test_a_case_that_failed_twice_fails(run: Run) -> None:
    properties = '<properties><property name="failure" value="it was late"/></properties>'
    case = f'<testcase name="a">{properties}<failure message="Failed"></failure></testcase>'
    assert run.has(PASSED.format("suite")).where("suite", suites(case)).summed()[1][-1] == "0 passed, 1 failed"


def test_a_skipped_case_fails(run: Run) -> None:
    run.has(PASSED.format("suite")).where("suite", suites(PASSED.format("a"), SKIPPED.format("b")))
    assert run.summed()[1][-1] == "1 passed, 1 failed"


def test_a_disabled_case_of_a_program_fails(run: Run) -> None:
    disabled = '<testcase name="b" status="notrun" result="suppressed"/>'
    run.has(PASSED.format("suite")).where("suite", suites(PASSED.format("a"), disabled))
    assert run.summed()[1][-1] == "1 passed, 1 failed"


def test_a_crash_after_good_cases_fails(run: Run) -> None:
    run.has(FAILED.format("suite", "")).where("suite", suites(PASSED.format("a")))
    assert run.summed()[1][-1] == "1 passed, 1 failed"


def test_a_test_without_cases_fails(run: Run) -> None:
    status, lines = run.has(PASSED.format("suite")).where("suite", suites()).summed()
    assert (status, lines[-1]) == (1, "0 passed, 1 failed")
    assert "    suite: ran no test" in lines


def test_cases_that_were_cut_off_fail(run: Run) -> None:
    run.has(PASSED.format("suite")).where("suite", "<testsuites><testsu")
    assert run.summed()[1][-1] == "0 passed, 1 failed"


def test_what_is_missing_is_one_failure(run: Run) -> None:
    run.has(FAILED.format("netbase", "package netbase is missing"), NOT_RUN.format("a"), NOT_RUN.format("b"))
    status, lines = run.summed()
    assert (status, lines[-1]) == (1, "0 passed, 1 failed")
    assert "        package netbase is missing" in lines
    assert "    not run without it: 2 tests, such as a" in lines


def test_a_run_of_nothing_fails(run: Run) -> None:
    status, lines = run.has().summed()
    assert (status, lines[-1]) == (1, "0 passed, 1 failed")


def test_a_run_that_left_nothing_fails(run: Run) -> None:
    status, lines = run.summed()
    assert (status, lines[-1]) == (1, "0 passed, 1 failed")

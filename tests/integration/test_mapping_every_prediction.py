"""Every rule of the checker that predicts something is in a test that tries the prediction."""
from __future__ import annotations

import re
from pathlib import Path

import pytest

from support.mapping_tool import MappingTool
from support.stack import Build

#: Rules that predict nothing.
_PREDICT_NOTHING = {
    "TM918": "the device cannot hold the number, so there is nothing to see",
    "TM991": "is about the source alone",
}


@pytest.fixture
def rules(build: Build) -> set[str]:
    return {line.split()[0] for line in MappingTool(build).check("check", "--rules").splitlines()}


def tried() -> set[str]:
    """The codes in the tests of predictions."""
    files = Path(__file__).parent.glob("test_mapping_*predictions.py")
    return {code for each in files for code in re.findall(r"\bTM\d{3}\b", each.read_text(encoding="utf-8"))}


def test_every_prediction_is_tried(rules: set[str]) -> None:
    assert rules - tried() == _PREDICT_NOTHING.keys()


def test_no_prediction_is_one_of_a_rule_that_is_gone(rules: set[str]) -> None:
    assert tried() - rules == set()

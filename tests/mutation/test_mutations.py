"""What counts as a change of a source, and what is left alone."""
from __future__ import annotations

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

from mutations import mutants_of


def changes_of(body: str) -> list[str]:
    return [mutant.change for mutant in mutants_of("src/X.cpp", f"int f(int a, int b)\n{{\n{body}\n}}\n")]


@pytest.mark.parametrize(("body", "change"), [
    ("return a < b;", "'a < b' -> 'a <= b'"),
    ("return a < b;", "'a < b' -> 'a >= b'"),
    ("return a && b;", "'a && b' -> 'a || b'"),
    ("return a - b;", "'a - b' -> 'a + b'"),
    ("return a;", "'a' -> '{}'"),
    ("return -1;", "'return -1' -> 'return 1'"),
    ("x(0x7F);", "'0x7F' -> '0x80'"),
    ("x(2'000U);", "'2'000U' -> '2001U'"),
    ("x(1.50F);", "'1.50F' -> '2.50F'"),
    ("x(0666);", "'0666' -> '0667'"),
    ("x(true);", "'true' -> 'false'"),
    ("x('0');", "''0'' -> ''1''"),
    ("++a;", "'++a' removed"),
    ("g.h(a);", "'g.h(a)' removed"),
    ("*p = a;", "'*p = a' removed"),
    ("if (a) {\n}", "'a' -> '!(a)'"),
    ("return a ? b : 0;", "'a' -> '!(a)'"),
    ("switch (a) {\ncase 1:\n    g(a);\n    break;\n}", "'g(a)' removed"),
    ("switch (a) {\ncase 1:\n    break;\n}", "'break' removed"),
])
def test_what_is_changed(body: str, change: str) -> None:
    assert change in changes_of(body)


@pytest.mark.parametrize("body", [
    "// if (a < 1) g(2);",
    "/* a + 1 */",
    'const char *const text = "a + 1";',
    "std::vector<std::vector<int>> numbers;",
    "const Mutex::Guard guard(mutex);",
    "static_assert(sizeof(int) == 4);",
    "int &c = a;",
    "return nullptr;",
])
def test_what_is_left_alone(body: str) -> None:
    assert changes_of(body) == []


def test_declarations_are_left_alone() -> None:
    source = ("class X : public Y\n{\npublic:\n    X();\n"
              "    virtual void f(int *a) = 0;\n    X &operator=(const X &) = delete;\n};\n")
    assert mutants_of("src/X.h", source) == []


def test_only_the_change_is_made() -> None:
    source = "int f(int a)\n{\n    return a + a;\n}\n"
    sums = [mutant.applied(source) for mutant in mutants_of("src/X.cpp", source) if "-" in mutant.replacement]
    assert sums == [source.replace("+", "-")]


def test_equal_changes_of_equal_lines_are_told_apart() -> None:
    mutants = mutants_of("src/X.cpp", "void f()\n{\n    g();\n    h();\n    g();\n}\n")
    assert [(mutant.change, mutant.occurrence) for mutant in mutants] == [
        ("'g()' removed", 1), ("'h()' removed", 1), ("'g()' removed", 2)]

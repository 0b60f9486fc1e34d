"""One version everywhere."""
from __future__ import annotations

import re

from pages import text_of


def test_build_program_package_and_changelog_have_the_same_version() -> None:
    build = re.findall(r"project\(tarnoSnmp VERSION (\S+)", text_of("CMakeLists.txt"))
    program = re.findall(r'"tarnoSnmp version:  ([^"]+)"', text_of("src", "CommandLine.cpp"))
    changelog = re.findall(r"^## \[(\d[^\]]*)\]", text_of("CHANGELOG.md"), flags=re.MULTILINE)
    package = re.findall(r"^tarnosnmp \((\S+)\)", text_of("packaging", "debian", "changelog"), flags=re.MULTILINE)
    assert build == program == changelog[:1] == package[:1]


def test_the_header_of_the_library_has_the_version_of_the_build() -> None:
    header = text_of("device", "include", "tarnodevice.h")
    version = [re.findall(rf"#define TARNO_VERSION_{part} (\d+)", header)[0] for part in ("MAJOR", "MINOR")]
    assert [".".join(version)] == re.findall(r"project\(tarnoSnmp VERSION (\d+\.\d+)", text_of("CMakeLists.txt"))

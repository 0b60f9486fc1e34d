"""The manual pages are well-formed and match the programs and formats that they describe."""
from __future__ import annotations

import re
import subprocess
from pathlib import Path

import pytest

from pages import MANUAL_PAGES, name_of, text_of

# Depends on the machine's other manual pages.
ABOUT_THE_MACHINE = ("referenced manual not found", "outdated mandoc.db")
HELP = {"h", "help"}


def lint(page: Path) -> list[str]:
    """What mandoc reports about a page."""
    result = subprocess.run(
        ["mandoc", "-T", "lint", page], capture_output=True, text=True, timeout=20, check=False)
    said = (result.stdout + result.stderr).splitlines()
    return [line for line in said if not any(each in line for each in ABOUT_THE_MACHINE)]


def rendered(page: Path) -> list[str]:
    """The lines of a page on a terminal of 80 columns."""
    done = subprocess.run(
        ["mandoc", "-T", "ascii", "-O", "width=78", page], capture_output=True, text=True, timeout=20, check=True)
    return [re.sub(r".\x08", "", line) for line in done.stdout.splitlines()]


def manual(name: str) -> str:
    return text_of("docs", "man", name)


def options_in(macros: str) -> set[str]:
    """The options after the macro Fl: for ".It Fl h , Fl \\-help" those are h and help."""
    options = set()
    for line in macros.splitlines():
        for arguments in re.findall(r"\bFl ((?:[^\sA-Z]\S* ?|[A-Z] ?(?![a-z])|[,|] ?)+)", line):
            options |= {word.removeprefix(r"\-") for word in arguments.split() if word not in (",", "|", ";", ".")}
    return options


def items_in(page: str, macro: str) -> list[str]:
    return re.findall(rf"^\.It {macro} (\S+)", page, flags=re.MULTILINE)


def section(page: str, macro: str, title: str) -> str:
    """The text from one heading to the next."""
    return re.split(r"^\.S[hs] ", page.split(f".{macro} {title}\n", 1)[1], maxsplit=1, flags=re.MULTILINE)[0]


def described_options(page: str) -> set[str]:
    return options_in("\n".join(line for line in page.splitlines() if line.startswith(".It ")))


def agent_options() -> set[str]:
    """The accepted options; -L is known but rejected."""
    source = text_of("src", "CommandLine.cpp")
    letters = re.findall(r'optionString = "([^"]+)"', source)[0]
    return set(letters) - set(":-L") | set(re.findall(r'strcasecmp\(argument, "(\w+)"\)', source))


def mapping_commands() -> str:
    """The source of the mapping tool's commands."""
    names = ("Commands.cpp", "VerifyCommand.cpp", "SnmpOptions.cpp")
    return "".join(text_of("tools", "mapping", name) for name in names)


def tool_options(source: str) -> set[str]:
    names = re.findall(r'(?:add_(?:option|flag)|set_version_flag)\(\s*"(-[^"]+)"', source)
    return {name.lstrip("-") for each in names for name in each.split(",")} | HELP


OPTIONS = {
    "tarnoSnmp.8": agent_options(),
    "tarnoMapping.1": tool_options(mapping_commands()),
    "tarnoDeviceSim.1": tool_options(text_of("tools", "deviceSim", "main.cpp")),
}


@pytest.mark.parametrize("page", MANUAL_PAGES, ids=name_of)
def test_no_entry_of_a_table_breaks_on_a_terminal(page: Path) -> None:
    assert [line for line in rendered(page) if line.startswith(" " * 36)] == []


@pytest.mark.parametrize("page", MANUAL_PAGES, ids=name_of)
def test_a_manual_page_is_well_formed(page: Path) -> None:
    assert not lint(page)


def test_a_page_that_is_not_is_noticed(tmp_path: Path) -> None:
    page = tmp_path / "broken.1"
    page.write_text(".Dd November 21, 2026\n.Dt BROKEN 1\n.Os\n.Sh NAME\n.Nm broken\n.Bl -tag\n", encoding="utf-8")
    assert lint(page)


def test_every_program_format_and_library_has_a_manual_page() -> None:
    assert {page.name for page in MANUAL_PAGES} == {
        *OPTIONS, "tarnosnmp-mapping.5", "tarnosnmp-device-link.7", "tarnodevice.3", "tarnodevice.7"}


@pytest.mark.parametrize("page", MANUAL_PAGES, ids=name_of)
def test_a_manual_page_refers_to_pages_that_are_there(page: Path) -> None:
    ours = re.findall(r"^\.Xr (tarno\S+) (\d)", page.read_text(encoding="utf-8"), flags=re.MULTILINE)
    assert ours
    assert [f"{name}.{number}" for name, number in ours if not (page.parent / f"{name}.{number}").is_file()] == []


@pytest.mark.parametrize("page", OPTIONS)
def test_the_options_of_a_program_are_described_and_no_others(page: str) -> None:
    assert described_options(manual(page)) == OPTIONS[page]
    assert options_in(manual(page)) <= OPTIONS[page]


def test_the_usage_and_the_manual_page_name_the_same_options() -> None:
    pieces = re.findall(r"usageText =(.*?);\n", text_of("src", "CommandLine.cpp"), flags=re.DOTALL)[0]
    usage = "".join(re.findall(r'"([^"]*)"', pieces)).replace("\\n", "\n")
    named = {name for line in re.findall(r"^  (-.*)", usage, re.MULTILINE) for name in re.findall(r"-(\w+)", line)}
    assert named == described_options(manual("tarnoSnmp.8"))


def test_the_commands_of_the_mapping_tool_are_described_and_no_others() -> None:
    commands = re.findall(r'add_subcommand\(\s*"(\w+)"', mapping_commands())
    assert sorted(items_in(manual("tarnoMapping.1"), "Cm")) == sorted(commands)


def names_in(source: str, table: str) -> list[str]:
    """The first member of each row of a table in the simulator."""
    rows = text_of("tools", "deviceSim", source).split(f"{table}{{{{", 1)[1]
    return re.findall(r'^    {("[\w-]+"|Fault::ofAnotherId), ', rows, re.MULTILINE)


def test_commands_and_faults_of_the_simulator_are_described_and_no_others() -> None:
    commands, faults = names_in("CommandReader.cpp", "s_commands"), names_in("Faults.cpp", "forms")
    another_id = re.findall(r"ofAnotherId = (\".*\");", text_of("tools", "deviceSim", "Faults.h"))[0]
    page = manual("tarnoDeviceSim.1")
    assert items_in(section(page, "Ss", "Commands"), "Ic") == [each.strip('"') for each in commands]
    assert items_in(section(page, "Ss", "Faults"), "Cm") == [
        each.replace("Fault::ofAnotherId", another_id).strip('"') for each in faults]


def words(text: str) -> str:
    return " ".join(text.split())


def prototypes_of(synopsis: str) -> set[str]:
    """Name and parameters of the functions after Ft, whether by Fn or by Fo, Fa and Fc."""
    found = {match[1]: re.findall(r'"([^"]*)"|\b(void)$', match[2], re.MULTILINE)
             for match in re.finditer(r"^\.Fn (\w+) (.*)$", synopsis, re.MULTILINE)}
    found |= {match[1]: re.findall(r'"([^"]*)"()', match[2])
              for match in re.finditer(r"^\.Fo (\w+)\n(.*?)^\.Fc", synopsis, re.MULTILINE | re.DOTALL)}
    return {f"{name}({', '.join(quoted or bare for quoted, bare in parameters)})" for name, parameters in found.items()}


def test_the_functions_of_the_library_are_described_and_no_others() -> None:
    header = text_of("device", "include", "tarnodevice.h")
    declared = {words(each).replace("( ", "(") for each in re.findall(
        r"^TARNO_API [^;]*?(\w+\([^;]*\));", header, re.MULTILINE)}
    page = manual("tarnodevice.3")
    assert declared
    assert prototypes_of(section(page, "Sh", "SYNOPSIS")) == declared
    assert set(re.findall(r"^\.Nm (\w+)", page, re.MULTILINE)) == {each.split("(")[0] for each in declared}


def test_members_and_constants_of_the_library_are_described() -> None:
    header = text_of("device", "include", "tarnodevice.h")
    pages = manual("tarnodevice.3") + manual("tarnodevice.7")
    members = [name for kind in ("value", "object", "options", "statistics") for name in re.findall(
        r"^    \w+ \*?(\w+);", header.split(f"typedef struct tarno_{kind} {{")[1].split("\n}")[0], re.MULTILINE)]
    constants = set(re.findall(r"^(?:#define|   ) (TARNO_\w+)\b", header, re.MULTILINE)) - {"TARNO_API"}
    assert len(members) > 20 and len(constants) > 10
    assert [name for name in (*members, *constants) if not re.search(rf"\b{name}\b", pages)] == []


def test_the_page_of_the_link_has_its_keys_and_objects() -> None:
    page = manual("tarnosnmp-device-link.7")
    for source in ("ComPortAdapter.h", "DeviceObjects.h"):
        numbers = re.findall(r"inline constexpr .* = .*?(0x?[0-9A-F]{3,});", text_of("src", "link", source))
        assert numbers
        assert [number for number in numbers if number not in page] == [], source


@pytest.mark.parametrize(("columns", "table"), [
    ("scalarColumns", "SNMP_GENERAL_OBJ_TABLE"), ("cellColumns", "SNMP_TABLE_OBJ_TABLE")])
def test_the_page_of_the_database_has_its_columns(columns: str, table: str) -> None:
    schema = re.findall(rf"{columns}\{{\{{(.*?)\}}\}};", text_of("src", "mapping", "MappingSchema.h"), re.DOTALL)[0]
    fields = text_of("src", "mapping", "MappingRecords.h")
    bits = {name: number for number, name in re.findall(r"std::uint(\d+)_t (\w+) = 0;", fields)}
    bases = {"hexadecimal": "16", "decimal": "10", "text": "text", "carriedText": "text"}
    expected = [
        (name, bases[reading], bits.get(number_field, '""'))
        for number_field, name, reading in re.findall(
            r'(?:&\w+::(\w+)>|<\w+>)\("(\w+)", Reading::(\w+)', schema)]
    page = manual("tarnosnmp-mapping.5").split(f".Sy {table}\n", 1)[1].split(".El", 1)[0]
    assert expected
    assert re.findall(r"^\.It (\w+) Ta (\S+) Ta (\S+) Ta", page, flags=re.MULTILINE) == expected


def test_a_manual_page_has_the_name_and_section_of_its_file() -> None:
    sections = {page.name: page.read_text(encoding="utf-8").split(".Dt ", 1)[1].split()[:2] for page in MANUAL_PAGES}
    assert sections == {name: [Path(name).stem.upper(), name[-1]] for name in sections}

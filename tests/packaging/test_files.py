"""The content of the packages, and what `cmake --install` installs below another prefix."""
from __future__ import annotations

import os
import re
import subprocess
from pathlib import Path

import pytest

_ROOT = Path(__file__).resolve().parents[2]
_MANUALS = _ROOT / "docs" / "man"


def field(package: Path, name: str) -> str:
    return subprocess.run(
        ["dpkg-deb", "--field", package, name], check=True, capture_output=True, text=True).stdout.strip()


def files_of(package: Path) -> set[str]:
    listed = subprocess.run(
        ["dpkg-deb", "--contents", package], check=True, capture_output=True, text=True).stdout.splitlines()
    return {line.split()[5].lstrip(".") for line in listed if not line.startswith("d")}


def dependencies(listed: str) -> set[str]:
    """Each with its version, except those of the compiler's and the C library, which differ between architectures."""
    return {re.sub(r"^(libc6|libgcc-s1) .*", r"\1", each.strip()) for each in listed.split(",")}


def manuals_of(*sections: str) -> set[str]:
    """Where the manuals of some sections are installed."""
    return {f"/usr/share/man/man{path.suffix[1:]}/{path.name}.gz"
            for section in sections for path in _MANUALS.glob(f"*.{section}")}


def of_documents(name: str) -> set[str]:
    return {f"/usr/share/doc/{name}/copyright", f"/usr/share/doc/{name}/changelog.gz"}


def test_the_agents_package_has_the_service_and_the_agents_manuals(packages: list[Path]) -> None:
    assert len(manuals_of("8")) == 1
    assert files_of(packages[1]) == {
        "/etc/default/tarnosnmp", "/etc/init.d/tarnosnmp", "/etc/snmp/snmpd.conf.d/tarnosnmp.conf",
        "/usr/lib/systemd/system/tarnosnmp.service", "/usr/sbin/tarnoSnmp",
        "/usr/share/doc/tarnosnmp/examples/snmpd.conf", *of_documents("tarnosnmp"), *manuals_of("5", "7", "8")}


def test_the_tools_package_has_the_tools_their_completion_and_their_manuals(packages: list[Path]) -> None:
    assert len(manuals_of("1")) == 2
    assert files_of(packages[0]) == {
        "/usr/bin/tarnoDeviceSim", "/usr/bin/tarnoMapping", "/usr/share/bash-completion/completions/tarnoMapping",
        "/usr/share/zsh/vendor-completions/_tarnoMapping", "/usr/share/tarnosnmp-tools/mapping.schema.json",
        *(f"/usr/share/doc/tarnosnmp-tools/examples/{name}.yaml" for name in ("sample", "small", "full-size")),
        *of_documents("tarnosnmp-tools"), *manuals_of("1")}


def test_the_changelog_has_the_packages_version(packages: list[Path]) -> None:
    newest = subprocess.run(
        ["dpkg-parsechangelog", "--file", _ROOT / "packaging" / "debian" / "changelog", "--show-field", "Version"],
        check=True, capture_output=True, text=True).stdout.strip()
    assert {field(package, "Version") for package in packages} == {newest}


def test_the_dependencies_listed_by_hand_are_those_found_here(packages: list[Path]) -> None:
    """For other architectures cmake/Packages.cmake lists them; the set of libraries does not differ."""
    listed = (_ROOT / "cmake" / "Packages.cmake").read_text(encoding="ascii").replace("\\\n", "")
    for package, component in zip(packages, ("TOOLS", "AGENT")):
        found = re.search(rf'CPACK_DEBIAN_{component}_PACKAGE_DEPENDS\s+"([^"]+)"\)', listed)
        assert found
        needs = re.search(r'set\(AGENT_NEEDS "([^"]+)"\)', listed)
        assert needs
        by_hand = found[1].replace("${AGENT_NEEDS}", needs[1])
        assert dependencies(by_hand) == dependencies(field(package, "Depends"))


@pytest.fixture(scope="module")
def elsewhere(packages: list[Path], tmp_path_factory: pytest.TempPathFactory) -> Path:
    """An installation with the prefix /opt/tarno, staged into a directory."""
    stage = tmp_path_factory.mktemp("stage")
    subprocess.run(
        ["cmake", "--install", packages[0].parent.parent, "--prefix", "/opt/tarno"], check=True, capture_output=True,
        env=os.environ | {"DESTDIR": str(stage)})
    return stage


def test_an_installation_stays_below_its_prefix(elsewhere: Path) -> None:
    files = {f"/{path.relative_to(elsewhere)}" for path in elsewhere.rglob("*") if path.is_file()}
    assert {"/opt/tarno/sbin/tarnoSnmp", "/opt/tarno/bin/tarnoMapping", "/opt/tarno/bin/tarnoDeviceSim"} <= files
    assert all(path.startswith("/opt/tarno/") for path in files)


def test_its_service_names_the_places_of_its_prefix(elsewhere: Path) -> None:
    prefix = elsewhere / "opt/tarno"
    service = (prefix / "lib/systemd/system/tarnosnmp.service").read_text(encoding="ascii")
    assert "ExecStart=/opt/tarno/sbin/tarnoSnmp -X " in service
    assert "EnvironmentFile=/opt/tarno/etc/default/tarnosnmp\n" in service
    assert "DAEMON=/opt/tarno/sbin/tarnoSnmp\n" in (prefix / "etc/init.d/tarnosnmp").read_text(encoding="ascii")
    settings = (prefix / "etc/default/tarnosnmp").read_text(encoding="ascii")
    assert "TARNOSNMP_MAPPING=/opt/tarno/etc/tarnosnmp/mapping.db\n" in settings

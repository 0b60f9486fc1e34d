"""The content of the packages, and what `cmake --install` installs below another prefix."""
from __future__ import annotations

import os
import platform
import re
import shutil
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
    """Without their versions."""
    return {re.sub(r" \(.*?\)", "", each.strip()) for each in listed.split(",")}


def upstream_version(package: Path) -> str:
    """Without the release of Debian."""
    return field(package, "Version").split("~")[0]


def manuals_of(*sections: str) -> set[str]:
    """Where the manuals of some sections are installed."""
    return {f"/usr/share/man/man{path.suffix[1:]}/{path.name}.gz"
            for section in sections for path in _MANUALS.glob(f"*.{section}")}


def manuals_of_library() -> set[str]:
    return {manual for manual in manuals_of("3", "7") if "/tarnodevice." in manual}


def of_documents(name: str) -> set[str]:
    return {f"/usr/share/doc/{name}/copyright", f"/usr/share/doc/{name}/changelog.gz"}


def test_the_agents_package_has_the_service_and_the_agents_manuals(packages: dict[str, Path]) -> None:
    assert len(manuals_of("8")) == 1
    assert files_of(packages["tarnosnmp"]) == {
        "/etc/default/tarnosnmp", "/etc/init.d/tarnosnmp", "/etc/snmp/snmpd.conf.d/tarnosnmp.conf",
        "/usr/lib/systemd/system/tarnosnmp.service", "/usr/libexec/tarnosnmp/check-mapping", "/usr/sbin/tarnoSnmp",
        *(f"/usr/share/doc/tarnosnmp/examples/{name}" for name in ("snmpd.conf", "tarnosnmp.openrc", "tarnosnmp.procd")),
        *of_documents("tarnosnmp"),
        *manuals_of("5", "7", "8") - manuals_of_library()}


def test_the_pages_package_has_the_pages_as_in_the_sources(packages: dict[str, Path]) -> None:
    """So that every link between them works."""
    pages = [path.relative_to(_ROOT) for path in [*_ROOT.glob("*.md"), *_ROOT.glob("docs/**/*")] if path.is_file()]
    shipped = {f"/usr/share/doc/tarnosnmp/{page}" for page in pages if not page.is_relative_to("docs/diagrams")}
    assert "/usr/share/doc/tarnosnmp/docs/security.md" in shipped
    assert files_of(packages["tarnosnmp-doc"]) == shipped | of_documents("tarnosnmp-doc")
    assert field(packages["tarnosnmp-doc"], "Architecture") == "all"


def test_the_tools_package_has_the_tools_their_completion_and_their_manuals(packages: dict[str, Path]) -> None:
    assert len(manuals_of("1")) == 2
    assert files_of(packages["tarnosnmp-tools"]) == {
        "/usr/bin/tarnoDeviceSim", "/usr/bin/tarnoMapping", "/usr/share/bash-completion/completions/tarnoMapping",
        "/usr/share/zsh/vendor-completions/_tarnoMapping", "/usr/share/tarnosnmp-tools/mapping.schema.json",
        *(f"/usr/share/doc/tarnosnmp-tools/examples/{name}.yaml" for name in ("sample", "small", "full-size")),
        *of_documents("tarnosnmp-tools"), *manuals_of("1")}


def directory_of_libraries(package: Path) -> str:
    query = ["dpkg-architecture", f"--host-arch={field(package, 'Architecture')}", "--query=DEB_HOST_MULTIARCH"]
    return f"/usr/lib/{subprocess.run(query, check=True, capture_output=True, text=True).stdout.strip()}"


def functions_of_library() -> list[str]:
    header = (_ROOT / "device" / "include" / "tarnodevice.h").read_text(encoding="ascii")
    return re.findall(r"^TARNO_API .*?(\w+)\(", header, re.MULTILINE)


def test_the_librarys_package_has_the_shared_library(packages: dict[str, Path]) -> None:
    package = packages["libtarnodevice1"]
    version = upstream_version(package)
    assert files_of(package) == {
        *(f"{directory_of_libraries(package)}/libtarnodevice.so.{each}" for each in (version.split(".")[0], version)),
        *of_documents("libtarnodevice1")}


def test_what_is_linked_with_the_library_depends_on_its_package(packages: dict[str, Path], tmp_path: Path) -> None:
    package = packages["libtarnodevice1"]
    subprocess.run(["dpkg-deb", "--control", package, tmp_path], check=True)
    assert (tmp_path / "shlibs").read_text(encoding="ascii") == (
        f"libtarnodevice 1 libtarnodevice1 (>= {upstream_version(package)}~)\n")
    assert (tmp_path / "triggers").read_text(encoding="ascii") == "activate-noawait ldconfig\n"


def test_the_librarys_package_needs_the_c_library_and_nothing_else(packages: dict[str, Path], tmp_path: Path) -> None:
    package = packages["libtarnodevice1"]
    subprocess.run(["dpkg-deb", "--extract", package, tmp_path], check=True)
    (tmp_path / "debian").mkdir()
    (tmp_path / "debian" / "control").write_text("Source: a\n\nPackage: b\nArchitecture: any\n", encoding="ascii")
    (library,) = tmp_path.rglob("libtarnodevice.so.*.*")
    found = subprocess.run(
        ["dpkg-shlibdeps", "-O", library], cwd=tmp_path, check=True, capture_output=True, text=True).stdout
    assert found.removeprefix("shlibs:Depends=").strip() == field(package, "Depends")
    assert dependencies(field(package, "Depends")) == {"libc6"}


def test_the_development_package_has_what_programs_are_built_with(packages: dict[str, Path]) -> None:
    package = packages["libtarnodevice-dev"]
    libraries = directory_of_libraries(package)
    assert manuals_of_library() == {f"/usr/share/man/man{each}/tarnodevice.{each}.gz" for each in (3, 7)}
    assert files_of(package) == {
        "/usr/include/tarnodevice.h", f"{libraries}/libtarnodevice.a", f"{libraries}/libtarnodevice.so",
        f"{libraries}/pkgconfig/tarnodevice.pc",
        *(f"{libraries}/cmake/tarnodevice/tarnodeviceConfig{each}.cmake" for each in ("", "-release", "Version")),
        *(f"/usr/share/doc/libtarnodevice-dev/examples/{name}"
          for name in ("pump.c", "event_loop.c", "device.py", "pump.yaml")),
        *(f"/usr/share/man/man3/{name}.3.gz" for name in functions_of_library()), *manuals_of_library(),
        *of_documents("libtarnodevice-dev")}


def test_the_library_exports_its_functions_and_nothing_else(packages: dict[str, Path], tmp_path: Path) -> None:
    subprocess.run(["dpkg-deb", "--extract", packages["libtarnodevice1"], tmp_path], check=True)
    (library,) = tmp_path.rglob("libtarnodevice.so.*.*")
    exported = subprocess.run(
        ["nm", "--dynamic", "--defined-only", "--format=just-symbols", library], check=True, capture_output=True,
        text=True).stdout.split()
    assert sorted(exported) == sorted(functions_of_library())


@pytest.mark.parametrize("name", ["libtarnodevice1", "libtarnodevice-dev"])
def test_the_library_can_be_installed_for_several_architectures(packages: dict[str, Path], name: str) -> None:
    assert field(packages[name], "Multi-Arch") == "same"


def test_the_version_is_that_of_the_changelog_for_this_release(packages: dict[str, Path]) -> None:
    newest = subprocess.run(
        ["dpkg-parsechangelog", "--file", _ROOT / "packaging" / "debian" / "changelog", "--show-field", "Version"],
        check=True, capture_output=True, text=True).stdout.strip()
    release = platform.freedesktop_os_release()["VERSION_ID"]
    assert {field(package, "Version") for package in packages.values()} == {f"{newest}~deb{release}"}


def test_an_upgrade_of_debian_upgrades_the_packages(packages: dict[str, Path]) -> None:
    version = field(packages["tarnosnmp"], "Version")
    upstream, release = version.split("~deb")
    for higher in (f"{upstream}~deb{int(release) + 1}", upstream):
        subprocess.run(["dpkg", "--compare-versions", version, "lt", higher], check=True)


def test_the_dependencies_for_other_architectures_are_those_found_here(
    packages: dict[str, Path], tmp_path: Path,
) -> None:
    script = tmp_path / "list.cmake"
    script.write_text(
        f"set(CMAKE_CXX_COMPILER_VERSION 0)\ninclude({_ROOT}/cmake/RuntimePackages.cmake)\nlistLibraries()\n"
        'message("${AGENT_LIBRARIES}\\n${TOOLS_LIBRARIES}")\n', encoding="utf-8")
    listed = subprocess.run(["cmake", "-P", script], check=True, capture_output=True, text=True).stderr.splitlines()
    rules = (_ROOT / "cmake" / "Packages.cmake").read_text(encoding="ascii")
    needs = re.findall(r'set\(AGENT_NEEDS "([^"]+)"\)', rules)
    assert dependencies(f"{listed[0]}, {needs[0]}") == dependencies(field(packages["tarnosnmp"], "Depends"))
    assert dependencies(listed[1]) == dependencies(field(packages["tarnosnmp-tools"], "Depends"))


@pytest.fixture(scope="module")
def elsewhere(packages: dict[str, Path], tmp_path_factory: pytest.TempPathFactory) -> Path:
    """An installation with the prefix /opt/tarno, staged into a directory."""
    stage = tmp_path_factory.mktemp("stage")
    subprocess.run(
        ["cmake", "--install", packages["tarnosnmp"].parent.parent, "--prefix", "/opt/tarno"], check=True,
        capture_output=True, env=os.environ | {"DESTDIR": str(stage)})
    return stage


def test_an_installation_stays_below_its_prefix(elsewhere: Path) -> None:
    files = {f"/{path.relative_to(elsewhere)}" for path in elsewhere.rglob("*") if path.is_file()}
    assert {"/opt/tarno/sbin/tarnoSnmp", "/opt/tarno/bin/tarnoMapping", "/opt/tarno/bin/tarnoDeviceSim"} <= files
    assert all(path.startswith("/opt/tarno/") for path in files)


def test_its_service_names_the_places_of_its_prefix(elsewhere: Path) -> None:
    prefix = elsewhere / "opt/tarno"
    service = (prefix / "lib/systemd/system/tarnosnmp.service").read_text(encoding="ascii")
    assert "ExecStart=/opt/tarno/libexec/tarnosnmp/check-mapping ${TARNOSNMP_MAPPING} \\\n" in service
    assert " /opt/tarno/sbin/tarnoSnmp -X " in service
    assert "EnvironmentFile=/opt/tarno/etc/default/tarnosnmp\n" in service
    assert "DAEMON=/opt/tarno/sbin/tarnoSnmp\n" in (prefix / "etc/init.d/tarnosnmp").read_text(encoding="ascii")
    settings = (prefix / "etc/default/tarnosnmp").read_text(encoding="ascii")
    assert "TARNOSNMP_MAPPING=/opt/tarno/etc/tarnosnmp/mapping.db\n" in settings


def test_cmake_finds_the_library_below_its_prefix(elsewhere: Path, tmp_path: Path) -> None:
    page = (_ROOT / "docs" / "device-makers.md").read_text(encoding="utf-8")
    commands = page.split("```cmake\n")[1].split("```")[0]
    (tmp_path / "CMakeLists.txt").write_text(
        f"cmake_minimum_required(VERSION 3.25)\nproject(pump LANGUAGES C)\n{commands}", encoding="ascii")
    shutil.copy(_ROOT / "examples" / "device" / "pump.c", tmp_path)
    for arguments in (["-S", ".", "-B", "build", f"-DCMAKE_PREFIX_PATH={elsewhere}/opt/tarno"], ["--build", "build"]):
        subprocess.run(["cmake", *arguments], cwd=tmp_path, check=True, capture_output=True)
    linked = subprocess.run(["ldd", tmp_path / "build" / "pump"], check=True, capture_output=True, text=True).stdout
    assert f"libtarnodevice.so.1 => {elsewhere}/opt/tarno/lib/" in linked


def test_pkg_config_finds_the_library_below_its_prefix(elsewhere: Path) -> None:
    (description,) = elsewhere.rglob("tarnodevice.pc")
    told = subprocess.run(
        ["pkg-config", "--cflags", "--libs", description], check=True, capture_output=True, text=True).stdout
    libraries = description.relative_to(elsewhere).parent.parent
    assert told.split() == ["-I/opt/tarno/include", f"-L/{libraries}", "-ltarnodevice"]

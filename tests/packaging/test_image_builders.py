"""What Buildroot and Yocto build. Neither is in Debian: stand-ins take Buildroot's part in make, and the build is
run with exactly the options that the package gives."""
from __future__ import annotations

import hashlib
import os
import re
import subprocess
from pathlib import Path

import pytest

_ROOT = Path(__file__).resolve().parents[2]
_BUILDROOT = _ROOT / "packaging" / "buildroot"
_PACKAGE = _BUILDROOT / "package" / "tarnosnmp"
#: Beside the release build, whose compiled files the compiler cache then has for it.
_BUILD = _ROOT / "build" / "buildroot"
_RECIPE = _ROOT / "packaging" / "yocto" / "recipes-tarnosnmp" / "tarnosnmp" / "tarnosnmp_1.0.bb"

#: cmake-package configures, builds and installs the package, and then installs the files of the init system.
_STAND_IN = """
BR2_CMAKE = cmake
INSTALL = install
define cmake-package
all:
\tcmake -S $$(TARNOSNMP_SITE) -B $$(TARNOSNMP_BUILDDIR) -G Ninja -DCMAKE_BUILD_TYPE=Release \\
\t\t-DCMAKE_INSTALL_PREFIX=/usr -DBUILD_SHARED_LIBS=ON $$(TARNOSNMP_CONF_OPTS)
\tcmake --build $$(TARNOSNMP_BUILDDIR) -j2
\t$$(TARNOSNMP_INSTALL_TARGET_CMDS)
\t$$(TARNOSNMP_INSTALL_INIT_$$(INIT))
endef
include $(BR2_EXTERNAL_TARNOSNMP_PATH)/external.mk
"""


def build(directory: Path, init: str) -> Path:
    """Builds and installs the package as Buildroot does; returns the target's root directory."""
    makefile = directory / "Makefile"
    makefile.write_text(_STAND_IN, encoding="ascii")
    target = directory / "target"
    subprocess.run(
        ["make", "-f", makefile, f"BR2_EXTERNAL_TARNOSNMP_PATH={_BUILDROOT}", f"TARGET_DIR={target}", f"INIT={init}",
         f"TARNOSNMP_BUILDDIR={_BUILD}"],
        check=True, capture_output=True, env=os.environ | {
            "CCACHE_BASEDIR": str(_ROOT), "CCACHE_NOHASHDIR": "1", "CCACHE_SLOPPINESS": "pch_defines,time_macros"})
    return target


@pytest.fixture(scope="module")
def target(tmp_path_factory: pytest.TempPathFactory) -> Path:
    return build(tmp_path_factory.mktemp("buildroot"), "OPENRC")


def test_buildroots_target_has_the_agent_its_check_and_its_services(target: Path) -> None:
    files = {f"/{path.relative_to(target)}" for path in target.rglob("*") if path.is_file()}
    assert {"/usr/sbin/tarnoSnmp", "/usr/libexec/tarnosnmp/check-mapping", "/usr/lib/systemd/system/tarnosnmp.service",
            "/etc/default/tarnosnmp", "/etc/snmp/snmpd.conf.d/tarnosnmp.conf", "/etc/init.d/tarnosnmp"} <= files
    assert not [name for name in files if "tarnoMapping" in name or "tarnodevice" in name]
    assert (target / "etc/init.d/tarnosnmp").read_text(encoding="ascii").startswith("#!/sbin/openrc-run\n")


def test_buildroots_agent_runs_and_needs_the_shared_runtime(target: Path) -> None:
    agent = target / "usr/sbin/tarnoSnmp"
    assert subprocess.run([agent, "--version"], check=True, capture_output=True).stdout
    needed = subprocess.run(["readelf", "--dynamic", agent], check=True, capture_output=True, text=True).stdout
    assert "libstdc++.so.6" in needed


def test_buildroot_checks_the_licence_that_the_tree_has() -> None:
    recorded = re.findall(r"^sha256  (\w+)  (\S+)$", (_PACKAGE / "tarnosnmp.hash").read_text(encoding="ascii"), re.M)
    assert [(hashlib.sha256((_ROOT / path).read_bytes()).hexdigest(), path) for _, path in recorded] == recorded
    assert recorded


def options_of(path: Path) -> set[str]:
    return set(re.findall(r"-DTARNO_\w+=\w+", path.read_text(encoding="ascii")))


def test_both_give_the_same_options_which_the_build_has() -> None:
    assert options_of(_RECIPE) == options_of(_PACKAGE / "tarnosnmp.mk")
    known = (_ROOT / "CMakeLists.txt").read_text(encoding="ascii")
    for option in options_of(_RECIPE):
        assert f"option({option[2:].split('=')[0]} " in known


def test_both_have_the_version_of_the_build() -> None:
    found = re.search(r"project\(tarnoSnmp VERSION (\d+\.\d+)\.(\d+)", (_ROOT / "CMakeLists.txt").read_text("ascii"))
    assert found
    assert _RECIPE.name == f"tarnosnmp_{found[1]}.bb"
    assert f"TARNOSNMP_VERSION = {found[1]}.{found[2]}\n" in (_PACKAGE / "tarnosnmp.mk").read_text("ascii")

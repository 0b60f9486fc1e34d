"""What the tests need of the machine: python3 -m support.machine namespaces|netbase|modules [BUILD_DIRECTORY]

Says in one line what is missing; the exit status is then 1.
"""
from __future__ import annotations

import subprocess
import sys
from pathlib import Path

from .mapping_tool import base_modules
from .stack import Build
from .world import World


def missing_namespaces() -> str | None:
    """Also that programs can be run in them."""
    try:
        World().close()
    except RuntimeError as error:
        reason = str(error).rpartition("unshare: ")[2]
        return f"this machine does not allow namespaces ({reason}): run as root"
    return None


def missing_netbase() -> str | None:
    there = all(Path(each).is_file() for each in ("/etc/protocols", "/etc/services"))
    return None if there else "package netbase is missing"


def missing_modules(build: Build) -> str | None:
    try:
        base_modules(build)
    except (AssertionError, subprocess.TimeoutExpired) as error:
        if "not installed" in str(error):
            return "npm is not installed"
        reason = next((line for line in str(error).splitlines() if line.startswith("npm ERR") or "npm error" in line), error)
        return f"the npm registry cannot be reached ({reason})"
    return None


def main(arguments: list[str]) -> int:
    checks = {"namespaces": missing_namespaces, "netbase": missing_netbase}
    missing = missing_modules(Build(Path(arguments[1]))) if arguments[0] == "modules" else checks[arguments[0]]()
    if missing is None:
        return 0
    print(missing)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

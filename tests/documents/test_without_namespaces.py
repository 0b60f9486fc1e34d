"""A machine without namespaces is reported before anything is installed or built."""
from __future__ import annotations

import os
import subprocess
from pathlib import Path

import pytest

from pages import ROOT

_REFUSES = "#!/bin/sh\necho 'unshare: unshare failed: Operation not permitted' >&2\nexit 1\n"
_LEAVES_A_TRACE = '#!/bin/sh\ntouch "${0%/*}/${0##*/}.ran"\nexit 1\n'


@pytest.fixture
def programs(tmp_path: Path) -> Path:
    """Comes first in the path: no namespaces, and programs that install and build leave traces."""
    for name, text in {"unshare": _REFUSES, **dict.fromkeys(
            ("apt-get", "sudo", "dpkg-query", "cmake", "ninja"), _LEAVES_A_TRACE)}.items():
        (tmp_path / name).write_text(text, encoding="ascii")
        (tmp_path / name).chmod(0o755)
    return tmp_path


@pytest.mark.parametrize("script", ["test", "test-robustness", "test-packages", "test-arm", "test-zabbix"])
def test_the_script_ends_at_once_with_the_reason(script: str, programs: Path) -> None:
    done = subprocess.run(
        [ROOT / "scripts" / script], env={**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"},
        capture_output=True, text=True, timeout=20, check=False)
    assert done.returncode == 1
    first, last = done.stdout.splitlines()
    assert "this machine allows no namespaces" in first
    assert "unshare failed: Operation not permitted" in first
    assert last == "0 passed, 1 failed"
    assert not list(programs.glob("*.ran"))


def test_so_does_the_demo(programs: Path) -> None:
    done = subprocess.run(
        [ROOT / "scripts" / "demo"], env={**os.environ, "PATH": f"{programs}:{os.environ['PATH']}"},
        capture_output=True, text=True, timeout=20, check=False)
    assert (done.returncode, done.stdout) == (1, "")
    assert done.stderr.startswith("demo: this machine allows no namespaces")
    assert not list(programs.glob("*.ran"))

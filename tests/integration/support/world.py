"""A private world for a few programs: IPC, network, mount and PID namespaces with a common lifetime."""
from __future__ import annotations

import os
import select
import signal
import socket
import subprocess
import sys
from collections.abc import Mapping, Sequence
from pathlib import Path

# The first process of the world. It adopts orphans, and ends with the test that started it, even if that crashes: its
# standard input closes. Everything in the world ends with it.
_ANCHOR = "ip link set lo up && mount -t tmpfs none /run && echo up && read -r _"


_SEND_SOCKET = """
import socket, sys
made = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
socket.send_fds(socket.socket(fileno=int(sys.argv[1])), [b"."], [made.fileno()])
"""


def _identity_options() -> tuple[list[str], list[str]]:
    if os.geteuid() == 0:
        return [], []
    return ["--user", "--map-root-user"], ["--user", "--preserve-credentials"]


class World:
    """Nothing inside is visible outside and vice versa, except files; /run is empty and private.

    Ends with `close`, and with the process that created it.
    """

    def __init__(self) -> None:
        make_options, self._enter_options = _identity_options()
        self._anchor = subprocess.Popen(
            ["unshare", *make_options, "--ipc", "--net", "--mount", "--pid", "--fork", "--kill-child",
             "--mount-proc", "bash", "-c", _ANCHOR],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        assert self._anchor.stdout
        ready = select.select([self._anchor.stdout], [], [], 20)[0]
        if not ready or self._anchor.stdout.readline() != "up\n":
            self._anchor.kill()
            reason = self._anchor.communicate()[1].strip()
            raise RuntimeError(
                "this machine allows no namespaces: run as root, or allow unprivileged user namespaces; in a chroot, "
                f"make its root a mount point first (mount --bind ROOT ROOT). unshare says: {reason}")
        self._target = str(child_of(self._anchor.pid))

    @property
    def root(self) -> Path:
        """The files as programs inside see them, for instance `root / "run/socket"`."""
        return Path("/proc") / self._target / "root"

    def command(self, arguments: Sequence[str | Path]) -> list[str]:
        """The command prefix that runs a command inside. It also enters the root directory of the world: entering the
        mounts alone would leave a chroot."""
        return ["nsenter", "--target", self._target, *self._enter_options, "--ipc", "--net", "--mount", "--pid",
                "--root", "--wd", "--", *(str(argument) for argument in arguments)]

    def run(
        self, arguments: Sequence[str | Path], timeout: float = 30, env: Mapping[str, str] | None = None,
    ) -> "subprocess.CompletedProcess[str]":
        """Runs a command to its end inside, without standard input, and captures its output."""
        return subprocess.run(
            self.command(arguments), stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=timeout,
            env=env, check=False)

    def check(self, *arguments: str | Path) -> str:
        """Runs a command inside that must succeed; returns its standard output."""
        done = self.run(arguments)
        assert done.returncode == 0, f"{arguments} failed: {done.stderr}"
        return done.stdout

    def udp_socket(self) -> socket.socket:
        """A socket of the network inside, for this process outside."""
        ours, theirs = socket.socketpair()
        with ours, theirs:
            subprocess.run(
                self.command([sys.executable, "-c", _SEND_SOCKET, str(theirs.fileno())]),
                pass_fds=[theirs.fileno()], check=True, timeout=20)
            descriptors = socket.recv_fds(ours, 1, 1)[1]
        return socket.socket(fileno=descriptors[0])

    def hide_directory(self, path: str | Path) -> None:
        """Mounts an empty directory over an existing one, inside only."""
        self.check("mount", "-t", "tmpfs", "none", path)

    def replace_directory(self, path: str | Path, source: str | Path) -> None:
        """Shows the directory `source` at an existing `path`, inside only."""
        self.check("mount", "--bind", source, path)

    def close(self) -> None:
        """Ends everything inside, and returns once it has ended."""
        first = child_of(self._anchor.pid)
        if first is not None:
            os.kill(first, signal.SIGKILL)
        self._anchor.communicate(timeout=20)


def child_of(pid: int) -> int | None:
    """The only child of a process, such as unshare and nsenter have; None if it is gone."""
    try:
        children = Path(f"/proc/{pid}/task/{pid}/children").read_text(encoding="ascii").split()
    except (FileNotFoundError, ProcessLookupError):
        return None
    return int(children[0]) if children else None

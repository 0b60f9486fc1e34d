"""A real browser without a window, in a world of its own, driven over its debugging pipe."""
from __future__ import annotations

import json
import os
import select
import shutil
import subprocess
import tempfile
import time
from pathlib import Path
from typing import Any

from .world import World

_LONGEST_WAIT = 30.0
_COMMAND = ("exec chromium --headless=new --no-sandbox --disable-gpu --no-first-run --user-data-dir={profile}"
            " --remote-debugging-pipe about:blank 3<&{requests} 4>&{answers}")


class Browser:
    """Verbs of somebody who looks at a page."""

    def __init__(self, world: World, profile: Path) -> None:
        assert shutil.which("chromium"), "missing package: chromium; scripts/install-packages browser installs it"
        requests, self._requests = os.pipe()
        self._answers, answers = os.pipe()
        script = _COMMAND.format(profile=profile, requests=requests, answers=answers)
        # It leaves files there when it is ended. The path of a socket in it must stay short.
        self._temporary = tempfile.TemporaryDirectory(prefix="browser.")
        self._running = subprocess.Popen(
            world.command(["bash", "-c", script]), pass_fds=[requests, answers], stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, env={**os.environ, "TMPDIR": self._temporary.name})
        os.close(requests)
        os.close(answers)
        self._received = b""
        self._last = 0
        self._session: dict[str, str] = {}
        target = self._call("Target.createTarget", url="about:blank")["targetId"]
        self._session = {"sessionId": self._call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]}

    def open(self, page: Path) -> None:
        """Returns once the page is loaded."""
        self._call("Page.enable")
        self._call("Page.navigate", url=page.as_uri())
        while self._next_message().get("method") != "Page.loadEventFired":
            pass

    def resize(self, width: int, height: int = 900) -> None:
        self._call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                   mobile=width < 600)

    def prefer(self, scheme: str) -> None:
        """Light or dark."""
        self._call("Emulation.setEmulatedMedia", features=[{"name": "prefers-color-scheme", "value": scheme}])

    def print(self) -> None:
        """Shows the page as on paper."""
        self._call("Emulation.setEmulatedMedia", media="print")

    def forbid_scripts(self) -> None:
        """For pages that are opened from now on."""
        self._call("Emulation.setScriptExecutionDisabled", value=True)

    def evaluate(self, expression: str) -> Any:
        done = self._call("Runtime.evaluate", expression=expression, returnByValue=True)
        assert "exceptionDetails" not in done, done
        return done["result"].get("value")

    def close(self) -> None:
        os.close(self._requests)
        os.close(self._answers)
        self._running.terminate()
        self._running.wait(_LONGEST_WAIT)
        self._temporary.cleanup()

    def _call(self, method: str, **parameters: Any) -> dict[str, Any]:
        self._last += 1
        message = {"id": self._last, "method": method, "params": parameters, **self._session}
        os.write(self._requests, json.dumps(message).encode() + b"\0")
        while (answer := self._next_message()).get("id") != self._last:
            pass
        assert "error" not in answer, answer
        result: dict[str, Any] = answer["result"]
        return result

    def _next_message(self) -> dict[str, Any]:
        deadline = time.monotonic() + _LONGEST_WAIT
        while b"\0" not in self._received:
            readable = select.select([self._answers], [], [], max(0.0, deadline - time.monotonic()))[0]
            assert readable, "the browser does not answer"
            piece = os.read(self._answers, 65536)
            assert piece, "the browser has ended"
            self._received += piece
        message, _, self._received = self._received.partition(b"\0")
        parsed: dict[str, Any] = json.loads(message)
        return parsed

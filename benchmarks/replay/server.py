"""A community server of one's own for a replay, and its operator's socket."""
from __future__ import annotations

import json
import pathlib
import random
import socket
import subprocess
import tempfile
import time


class Server:
    """Runs until the end of the context, at a loopback address that nobody else has."""

    def __init__(self, program: str, config: str | None):
        self._program, self._config = program, config

    def __enter__(self) -> Server:
        self._folder = tempfile.TemporaryDirectory(prefix="brmx-replay-")
        self.address = f"127.{random.randrange(64, 128)}.{random.randrange(256)}.{random.randrange(1, 255)}"
        command = [self._program, "--state", self._folder.name, "--listen", self.address]
        command += ["--config", self._config] if self._config else []
        self._process = subprocess.Popen(command, stderr=subprocess.PIPE, text=True)
        path = pathlib.Path(self._folder.name) / "control"
        self._control = socket.socket(socket.AF_UNIX)
        for _ in range(500):
            if self._process.poll() is not None:
                raise RuntimeError(self._process.stderr.read())
            try:
                self._control.connect(str(path))
                break
            except OSError:
                time.sleep(0.01)
        self._lines = self._control.makefile("rb")
        return self

    def __exit__(self, *_) -> None:
        self._control.close()
        self._process.terminate()
        self._process.wait(30)
        self._process.stderr.close()
        self._folder.cleanup()

    def command(self, name: str, message: bytes = b"", **arguments) -> dict:
        request = {"command": name, **arguments}
        if message:
            request["bytes"] = len(message)
        self._control.sendall(json.dumps(request).encode() + b"\n" + message)
        answer = json.loads(self._lines.readline())
        if "error" in answer:
            raise RuntimeError(f"{name}: {answer['error']}")
        return answer

    def mailboxes(self, count: int) -> list[tuple[int, str]]:
        """Ids and secrets of new mailboxes."""
        first = self.command("credential add", mailboxes=count, why="replay")["id"]
        return [(one["id"], one["secret"])
                for one in (self.command("credential mailbox", id=first + i) for i in range(count))]

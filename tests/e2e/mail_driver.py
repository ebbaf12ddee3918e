"""A program that sends many mails over one connection, where a process for each mail takes too long."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
from pathlib import Path
from typing import Any

from product import Product

_PROGRAM = Path(os.environ.get("QX_MAIL_DRIVER", "MailDriver.exe"))
_CONTROL = 0x4E00FF
_SEND = 2


class MailDriver:
    def __init__(self, product: Product, suffix: str = "_M") -> None:
        name = f"MailDriver{suffix}.exe"
        if not (product.root / name).exists():
            shutil.copy2(_PROGRAM, product.root / name)
        self._process = subprocess.Popen(
            ["wine", f"{product.windows_root}\\{name}"],
            env=product.desktop.environment,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
            encoding="utf-8",
        )

    def __enter__(self) -> MailDriver:
        return self

    def __exit__(self, *_: object) -> None:
        assert self._process.stdin is not None
        self._process.stdin.close()
        self._process.wait(30)

    def mail(self, plugin: int, mail: int, request: object) -> tuple[int, int, str]:
        """What the call gave, what the service said, and the reply's text."""
        assert self._process.stdin is not None and self._process.stdout is not None
        self._process.stdin.write(f"{plugin} {mail} {json.dumps(request)}\n")
        self._process.stdin.flush()
        line = self._process.stdout.readline()
        assert line, "the driver has ended"
        call, result, reply = line.rstrip("\n").split(" ", 2)
        return int(call), int(result), reply

    def send(self, command: str, process: int = 0) -> dict[str, Any]:
        """Sends a command to a client: {"processId", "status", "reply"}."""
        request = {"processId": process, "command": command, "timeoutMs": 60000}
        call, _, reply = self.mail(_CONTROL, _SEND, request)
        assert call >= 0, f"the service did not answer: {call}"
        answer: dict[str, Any] = json.loads(reply)
        return answer

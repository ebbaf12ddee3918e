"""Talks to winprobe, the program that looks at the desktop from inside it."""

from __future__ import annotations

import os
import select
import subprocess
import time
from pathlib import Path

_ESCAPES = {"\\": "\\\\", "\t": "\\t", "\n": "\\n", "\r": "\\r"}
_UNESCAPES = {"\\": "\\", "t": "\t", "n": "\n", "r": "\r"}
_REPLY_LIMIT = 60.0

Record = dict[str, str]


class ProbeError(Exception):
    """A command of the probe failed; `error` is the system's error code."""

    def __init__(self, command: str, error: int) -> None:
        super().__init__(f"{command}: error {error}")
        self.error = error


def _escape(value: str) -> str:
    return "".join(_ESCAPES.get(c, c) for c in value)


def _unescape(value: str) -> str:
    plain, rest = [], iter(value)
    for c in rest:
        plain.append(_UNESCAPES.get(next(rest, ""), "") if c == "\\" else c)
    return "".join(plain)


def _parse(line: str) -> Record:
    fields = (field.split("=", 1) for field in line.split("\t") if "=" in field)
    return {name: _unescape(value) for name, value in fields}


class Probe:
    """One running winprobe. Not for use by several threads at once."""

    def __init__(self, program: Path, environment: dict[str, str]) -> None:
        self._buffer = b""
        self._process = subprocess.Popen(
            ["wine", str(program)],
            env=environment,
            stdin=subprocess.PIPE,
            stdout=subprocess.PIPE,
            stderr=subprocess.DEVNULL,
        )

    def request(self, command: str, **fields: str | int) -> list[Record]:
        """Sends one command. The records behind the first one; raises ProbeError when the command failed."""
        first, *rest = self._exchange(command, fields)
        error = int(first["error"])
        if error != 0:
            raise ProbeError(command, error)
        return rest

    def ask(self, command: str, **fields: str | int) -> Record:
        """Sends one command and returns the first record, which holds the error code."""
        return self._exchange(command, fields)[0]

    def close(self) -> None:
        assert self._process.stdin is not None and self._process.stdout is not None
        self._process.stdin.close()
        try:
            self._process.wait(10)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process.stdout.close()

    def _exchange(self, command: str, fields: dict[str, str | int]) -> list[Record]:
        assert self._process.stdin is not None
        line = "\t".join(f"{name}={_escape(str(value))}" for name, value in {"do": command, **fields}.items())
        self._process.stdin.write(line.encode() + b"\n")
        self._process.stdin.flush()
        records, deadline = [], time.monotonic() + _REPLY_LIMIT
        while text := self._read_line(deadline):
            records.append(_parse(text))
        return records

    def _read_line(self, deadline: float) -> str:
        assert self._process.stdout is not None
        descriptor = self._process.stdout.fileno()
        while b"\n" not in self._buffer:
            ready, _, _ = select.select([descriptor], [], [], max(0.0, deadline - time.monotonic()))
            chunk = os.read(descriptor, 65536) if ready else b""
            if not chunk:
                raise RuntimeError("winprobe gave no answer")
            self._buffer += chunk
        line, self._buffer = self._buffer.split(b"\n", 1)
        return line.rstrip(b"\r").decode()

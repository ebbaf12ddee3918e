"""An agent's log while it grows."""

from __future__ import annotations

import os
import re
from dataclasses import dataclass
from pathlib import Path

_LINE = re.compile(r"\S+ \S+ ([0-9a-f]+):([0-9a-f]+) \S+ <QxSessionAgent> (.*) - (\w+)\(\d+\)", re.S)
_WATCH = "CVzRpcClientHelper::ReconnectProc"


@dataclass(frozen=True)
class Line:
    thread: int
    text: str
    source: str


class Tail:
    """What has come to a file since the last look, and to the ones that were full meanwhile."""

    def __init__(self, folder: Path, pattern: str, end: bytes) -> None:
        self._folder = folder
        self._pattern = pattern
        self._end = end
        self._read: dict[int, int] = {}  # how much of each; a full one gets another name

    def lines(self) -> list[str]:
        files = sorted(self._folder.glob(self._pattern), key=lambda path: path.stat().st_mtime_ns)
        return [line.decode("utf-8") for path in files for line in self._new_lines(path)]

    def _new_lines(self, path: Path) -> list[bytes]:
        with path.open("rb") as file:
            number = os.fstat(file.fileno()).st_ino
            start = self._read.get(number, 0)
            file.seek(start)
            text, end, _ = file.read().rpartition(self._end)
        self._read[number] = start + len(text) + len(end)
        return text.split(self._end) if text else []


class LogTail:
    """What has come to the log of one process since the last look."""

    def __init__(self, folder: Path, process: int) -> None:
        self._tail = Tail(folder, "*", b"\r\n")
        self._process = process

    def lines(self) -> list[Line]:
        return [line for line in map(self._line, self._tail.lines()) if line]

    def _line(self, text: str) -> Line | None:
        match = _LINE.fullmatch(text)
        if match is None or int(match[1], 16) != self._process:
            return None
        return Line(int(match[2], 16), match[3], match[4])


class Watches:
    """The threads that the registrations of an agent left, by what they log."""

    def __init__(self) -> None:
        self._answered: dict[int, bool] = {}  # the threads that are there
        self._begun = 0
        self.reconnects = 0

    def take(self, lines: list[Line]) -> None:
        for line in lines:
            if line.text.endswith(f"==> {_WATCH}"):
                self._answered[line.thread] = False
                self._begun += 1
            elif line.text.endswith(f"<== {_WATCH}"):
                del self._answered[line.thread]
            elif line.thread in self._answered and line.text.endswith("ParseJsonString, ret=0"):
                self._answered[line.thread] = True
            elif line.text.endswith("Reconnect the RPC..."):
                self.reconnects += 1

    def is_set(self, registrations: int) -> bool:
        """One for each registration has begun, and only one is there, waiting for the service's end."""
        return self._begun == registrations and list(self._answered.values()) == [True]

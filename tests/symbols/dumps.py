"""Programs that crash, and what "./qx symbols" tells of the dumps that they leave."""

from __future__ import annotations

import functools
import re
import subprocess
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
_LIMIT = 120


@dataclass(frozen=True)
class Crash:
    dump: Path
    program: Path
    thread: int = 0  # as the program itself printed it

    @functools.cache
    def read(self, programs: Path | None = None, *options: str) -> str:
        done = read_dump(self.dump, "--programs", str(programs or self.program.parent), *options)
        assert done.returncode == 0, done.stderr
        return done.stdout

    def functions(self, report: str | None = None) -> list[str]:
        """Those of the program, the innermost first, without their namespace and arguments."""
        pattern = re.escape(self.program.name) + r"  (?:\(anonymous namespace\)::)?(\w+)"
        found = (re.match(pattern, line) for line in stack(report or self.read()))
        return [line[1] for line in found if line]


def read_dump(file: Path, *options: str) -> subprocess.CompletedProcess[str]:
    command = ["/usr/bin/python3", str(ROOT / "scripts/symbols.py"), str(file), *options]
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=_LIMIT)


def run(program: Path, *arguments: str) -> str:
    """To the end that the crash handlers of the programs give them. What it printed."""
    command = [str(ROOT / "scripts/winerun"), str(program), *arguments]
    done = subprocess.run(command, capture_output=True, text=True, check=False, timeout=_LIMIT)
    assert done.returncode == 1, f"the dump was not written: {done}"
    return done.stdout


def windows_path(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


def stack(report: str) -> list[str]:
    """The lines below the heading of the stack of the thread that crashed."""
    lines = report.split("\nstack of the thread that crashed\n", 1)[1].split("\n\n", 1)[0].splitlines()
    return [re.sub(r"^ +[\d?]+ +0x[\da-f]{16}  ", "", line) for line in lines]


def line_of(source: str, text: str) -> str:
    """The place of the line that holds the text."""
    lines = (ROOT / source).read_text("utf-8").splitlines()
    return f"{source}:{next(number for number, line in enumerate(lines, 1) if text in line)}"

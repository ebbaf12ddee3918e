"""The code in docs/service-link.md, as a product team would take it from there."""

from __future__ import annotations

import re
import shlex
import subprocess
from pathlib import Path

_ROOT = Path(__file__).resolve().parents[2]
_SDK = _ROOT / "sdk"
_DOCUMENT = (_ROOT / "docs/service-link.md").read_text("utf-8")


def block_below(heading: str) -> str:
    """The first C++ block of the section with that heading."""
    section = _DOCUMENT.split(f"\n### {heading}\n", 1)[1].split("\n### ", 1)[0]
    found = re.search(r"^```cpp\n(.*?)^```$", section, re.DOTALL | re.MULTILINE)
    assert found, f"no code below {heading}"
    return found.group(1)


def words_of(code: str) -> list[str]:
    """The code without comments and layout."""
    return re.sub(r"//[^\n]*", "", code).split()


def compile_document(folder: Path, source: str) -> None:
    """Runs the document's own line on the source, which then stands in EventLog.cpp."""
    (folder / "EventLog.cpp").write_text(source, "utf-8")
    (line,) = re.findall(r"^ {4}(x86_64-w64-mingw32-g\+\+ .*)$", _DOCUMENT, re.MULTILINE)
    command = [word.replace("<folder>", str(_SDK)) for word in shlex.split(line.replace("<folder>", "'<folder>'"))]
    done = subprocess.run(
        [*command, "-Wall", "-Wextra", "-Werror"], cwd=folder, capture_output=True, text=True, check=False
    )
    assert done.returncode == 0, done.stderr


def test_the_complete_plug_in_builds_with_the_line_of_the_document(tmp_path: Path) -> None:
    compile_document(tmp_path, block_below("A complete plug-in"))
    assert b"CreateHostPlugin\0" in (tmp_path / "EventLog.dll").read_bytes()


def test_the_interface_is_all_of_the_header() -> None:
    assert words_of(block_below("The interface")) == words_of((_SDK / "HostPlugin.h").read_text("utf-8"))

"""The template and the tables of docs/engine-sdk.md, as somebody who writes an engine would take them."""

from __future__ import annotations

import os
import re
import shlex
import shutil
import subprocess
from pathlib import Path

_ROOT = Path(__file__).resolve().parents[2]
_DOCUMENT = (_ROOT / "docs/engine-sdk.md").read_text("utf-8")


def build_lines() -> list[list[str]]:
    """The document's own commands, with its places filled in."""
    (first, second) = re.findall(r"^ {4}(cmake -S .*?)\n {4}(cmake --build .*?)$", _DOCUMENT, re.DOTALL | re.M)[0]
    places = {
        "$(<tree>/scripts/dependencies.sh)": os.environ["QX_DEPENDENCIES"],
        "<tree>": str(_ROOT),
        "\\\n": "",
    }
    for place, value in places.items():
        first = first.replace(place, value)
    return [shlex.split(first), shlex.split(second)]


def test_a_copy_of_the_template_builds_with_the_lines_of_the_document(tmp_path: Path) -> None:
    shutil.copytree(_ROOT / "devkit/engine-template", tmp_path / "engine-template")
    (configure, build) = build_lines()
    # What is built is not run: it need not be fast.
    for line in ([*configure, "-DCMAKE_CXX_FLAGS_RELEASE=-O0"], build):
        done = subprocess.run(line, cwd=tmp_path, capture_output=True, text=True, check=False)
        assert done.returncode == 0, done.stdout + done.stderr
    assert b"CreateSpecialEngine\0" in (tmp_path / "build/Quenta.dll").read_bytes()


def test_the_operations_are_told_in_the_order_of_the_header() -> None:
    header = (_ROOT / "sdk/Quenta.h").read_text("utf-8")
    declared = re.findall(r"virtual [\w:]+ (\w+)\(", header)
    told = re.findall(r"^\| `(\w+)\(", _DOCUMENT, re.MULTILINE)
    assert told == declared and len(told) == 11


def test_the_actions_are_those_of_the_agent() -> None:
    actions = (_ROOT / "agent/engine/EngineAction.h").read_text("utf-8")
    known = {int(number, 16) for number in re.findall(r"= (0x\w+);", actions)}
    rows = re.findall(r"^\| (0x[\dA-F]{4}) \| (\d+) \|", _DOCUMENT, re.MULTILINE)
    assert {int(number, 16) for number, _ in rows} == known
    assert all(int(number, 16) == int(decimal) for number, decimal in rows)

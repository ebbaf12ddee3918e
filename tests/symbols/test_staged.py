"""The staged programs name their debug information: it is there, fits, and holds nothing of the builder's folders."""

from __future__ import annotations

import os
import subprocess
import zlib
from pathlib import Path

import pytest

_ROOT = Path(__file__).resolve().parents[2]
_STAGE = Path(os.environ["QX_STAGE"])
_SYMBOLS = _STAGE.with_name(_STAGE.name + ".debug")
_FOREIGN = {"libexpat.dll"}
_PROGRAMS = [
    file for file in sorted(_STAGE.rglob("*")) if file.suffix in (".exe", ".dll") and file.name not in _FOREIGN
]
_DEBUG_FILES = sorted(_SYMBOLS.iterdir())


def sections(file: Path) -> dict[str, tuple[int, int]]:
    """Size and place in the file of each section."""
    listing = subprocess.run(
        ["x86_64-w64-mingw32-objdump", "--section-headers", file], capture_output=True, text=True, check=True
    ).stdout
    rows = [line.split() for line in listing.splitlines() if line.split()[:1] and line.split()[0].isdigit()]
    return {row[1]: (int(row[2], 16), int(row[5], 16)) for row in rows}


def debug_link(file: Path) -> tuple[str, int]:
    size, place = sections(file)[".gnu_debuglink"]
    content = file.read_bytes()[place : place + size]
    name = content.split(b"\0", 1)[0]
    start = (len(name) + 4) & ~3
    return name.decode(), int.from_bytes(content[start : start + 4], "little")


@pytest.mark.parametrize("program", _PROGRAMS, ids=lambda program: str(program.relative_to(_STAGE)))
def test_a_program_names_its_debug_information(program: Path) -> None:
    name, checksum = debug_link(program)
    assert zlib.crc32((_SYMBOLS / name).read_bytes()) == checksum
    assert not [section for section in sections(program) if section.startswith(".debug")]


@pytest.mark.parametrize("program", _PROGRAMS, ids=lambda program: str(program.relative_to(_STAGE)))
def test_the_sections_of_a_program_begin_at_whole_pages_of_the_file(program: Path) -> None:
    mapped = {name: place for name, (_, place) in sections(program).items() if name != ".gnu_debuglink"}
    assert [name for name, place in mapped.items() if place % 4096] == []


def test_there_is_debug_information_of_nothing_else() -> None:
    assert {file.name for file in _DEBUG_FILES} == {debug_link(program)[0] for program in _PROGRAMS}


@pytest.mark.parametrize("file", _DEBUG_FILES, ids=lambda file: file.name)
def test_debug_information_has_functions_and_lines_without_the_builders_folder(file: Path) -> None:
    assert {".debug_info", ".debug_line"} <= set(sections(file))
    assert str(_ROOT).encode() + b"/" not in file.read_bytes()

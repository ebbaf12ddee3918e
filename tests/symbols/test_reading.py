"""Dumps of a program that faults on purpose, read back by "./qx symbols"."""

from __future__ import annotations

import os
import re
import shutil
import subprocess
from dataclasses import dataclass
from pathlib import Path

import pytest

_ROOT = Path(__file__).resolve().parents[2]
_FAULTING = Path(os.environ["QX_FAULTING"])
_LIMIT = 120


@dataclass(frozen=True)
class Crash:
    dump: Path
    thread: int  # as the program itself printed it

    def read(self, programs: Path = _FAULTING.parent, *options: str) -> str:
        done = read_dump(self.dump, "--programs", str(programs), *options)
        assert done.returncode == 0, done.stderr
        return done.stdout


def read_dump(file: Path, *options: str) -> subprocess.CompletedProcess[str]:
    command = ["/usr/bin/python3", str(_ROOT / "scripts/symbols.py"), str(file), *options]
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=_LIMIT)


def crash(folder: Path, kind: str, *options: str) -> Crash:
    dump = folder / f"{kind}.dmp"
    windows_dump = "Z:" + str(dump).replace("/", "\\")
    command = [str(_ROOT / "scripts/winerun"), str(_FAULTING), kind, windows_dump, *options]
    done = subprocess.run(command, capture_output=True, text=True, check=False, timeout=_LIMIT)
    assert done.returncode == 1, f"the dump was not written: {done}"
    return Crash(dump, int(done.stdout))


@pytest.fixture(scope="module")
def folder(tmp_path_factory: pytest.TempPathFactory) -> Path:
    return tmp_path_factory.mktemp("dumps")


@pytest.fixture(scope="module")
def crashed(folder: Path) -> Crash:
    return crash(folder, "write")


def stack(report: str) -> list[str]:
    """The lines below the heading of the stack of the thread that crashed."""
    lines = report.split("\nstack of the thread that crashed\n", 1)[1].split("\n\n", 1)[0].splitlines()
    return [re.sub(r"^ +\d+ +0x[\da-f]{16}  ", "", line) for line in lines]


def functions(report: str) -> list[str]:
    """Those of the program, the innermost first."""
    found = (re.match(r"Faulting\.exe  (?:\(anonymous namespace\)::)?(\w+)", line) for line in stack(report))
    return [line[1] for line in found if line]


def line_of(text: str) -> int:
    source = (_ROOT / "tests/programs/Faulting/Faulting.cpp").read_text("utf-8").splitlines()
    return next(number for number, line in enumerate(source, 1) if text in line)


def test_the_exception_and_its_thread_are_told(crashed: Crash) -> None:
    report = crashed.read()
    assert re.match(r"exception  0xc0000005 access violation at 0x[\da-f]{16}\n", report)
    assert f"\nthread     {crashed.thread} ({crashed.thread:#x}) of " in report


def test_the_modules_are_listed_with_their_places(crashed: Crash) -> None:
    listed = crashed.read().split("\nmodules\n", 1)[1].split("\n\n", 1)[0].splitlines()
    names = [re.fullmatch(r"  0x[\da-f]{16}  (\S+)(?:  .*)?", line)[1].lower() for line in listed]  # type: ignore[index]
    assert {"faulting.exe", "ntdll.dll", "kernel32.dll", "dbghelp.dll"} <= set(names)
    (own,) = (line for line in listed if "Faulting.exe" in line)
    assert own.endswith("symbols of Faulting.exe.debug")


def test_the_stack_names_the_faulting_function_and_its_callers(crashed: Crash) -> None:
    report = crashed.read()
    assert functions(report)[:4] == ["WriteToNothing", "FaultAs", "FaultWhere", "wmain"]
    assert stack(report)[0].endswith(f"tests/programs/Faulting/Faulting.cpp:{line_of('*where = 1;')}")


@pytest.mark.parametrize(
    "kind, code, name, top",
    [
        ("divide", 0xC0000094, "integer division by zero", ["DivideBy", "FaultAs"]),
        ("raise", 0xE0000042, "", []),
        ("thread-write", 0xC0000005, "access violation", ["WriteToNothing", "FaultAs", "FaultInThread"]),
    ],
)
def test_other_faults_are_told_as_well(folder: Path, kind: str, code: int, name: str, top: list[str]) -> None:
    other = crash(folder, kind, "small")
    report = other.read()
    assert report.startswith(f"exception  {code:#010x} {name}".rstrip() + " at ")
    assert f"\nthread     {other.thread} (" in report
    assert functions(report)[: len(top)] == top


def test_a_full_and_a_small_dump_name_the_same_functions(folder: Path, crashed: Crash, tmp_path: Path) -> None:
    small = crash(tmp_path, "write", "small")
    assert functions(small.read()) == functions(crashed.read())
    assert small.dump.stat().st_size < crashed.dump.stat().st_size


def test_all_threads_are_shown_on_demand(folder: Path) -> None:
    threads = crash(folder, "thread-write", "small")
    report = threads.read(_FAULTING.parent, "--all")
    (waiting,) = (part for part in report.split("\n\n") if part.startswith("stack of thread ") and "wmain" in part)
    assert str(threads.thread) not in waiting.splitlines()[0].split()


def test_a_program_of_another_build_is_not_used(crashed: Crash, tmp_path: Path) -> None:
    shutil.copy(_FAULTING.with_name("Faulting.exe.debug"), tmp_path)
    other = bytearray(_FAULTING.read_bytes())
    other[int.from_bytes(other[0x3C:0x40], "little") + 0x58] ^= 1  # the checksum in the header
    (tmp_path / "Faulting.exe").write_bytes(other)
    report = crashed.read(tmp_path)
    assert "Faulting.exe  not used: the file here is of another build" in report
    assert functions(report) == []


def test_debug_information_of_another_build_is_not_used(crashed: Crash, tmp_path: Path) -> None:
    shutil.copy(_FAULTING, tmp_path)
    (tmp_path / "Faulting.exe.debug").write_bytes(_FAULTING.with_name("Faulting.exe.debug").read_bytes() + b"\0")
    report = crashed.read(tmp_path)
    assert "Faulting.exe  its debug information is not here, or of another build" in report
    assert "WriteToNothing" not in report


def test_debug_information_is_found_in_the_folder_beside(crashed: Crash, tmp_path: Path) -> None:
    (tmp_path / "tree/win32").mkdir(parents=True)
    (tmp_path / "tree.debug").mkdir()
    shutil.copy(_FAULTING, tmp_path / "tree/win32/FAULTING.EXE")
    shutil.copy(_FAULTING.with_name("Faulting.exe.debug"), tmp_path / "tree.debug")
    assert "WriteToNothing" in crashed.read(tmp_path / "tree")


def test_without_the_program_the_rest_is_told(crashed: Crash, tmp_path: Path) -> None:
    report = crashed.read(tmp_path)
    assert report.startswith("exception  0xc0000005 access violation")
    assert f"\nthread     {crashed.thread} (" in report
    assert "Faulting.exe" in report and "WriteToNothing" not in report


@pytest.mark.parametrize("content", [b"", b"no dump", b"MDMP" + bytes(60)], ids=["empty", "text", "header"])
def test_what_is_no_dump_is_refused(content: bytes, tmp_path: Path) -> None:
    file = tmp_path / "broken.dmp"
    file.write_bytes(content)
    done = read_dump(file)
    assert done.returncode == 1
    assert done.stderr.startswith(f"qx: {file} is not read: ")


def test_a_missing_file_is_refused(tmp_path: Path) -> None:
    done = read_dump(tmp_path / "none.dmp")
    assert done.returncode == 1
    assert "none.dmp is not read: " in done.stderr


def test_a_dump_that_was_cut_off_is_refused_or_told_as_far_as_it_goes(crashed: Crash, tmp_path: Path) -> None:
    content = crashed.dump.read_bytes()
    for size in (100, 1000, len(content) // 2):
        file = tmp_path / f"{size}.dmp"
        file.write_bytes(content[:size])
        done = read_dump(file, "--programs", str(_FAULTING.parent))
        assert done.returncode in (0, 1) and "Traceback" not in done.stderr

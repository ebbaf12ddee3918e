"""Dumps of a program that faults on purpose, read back by "./qx symbols"."""

from __future__ import annotations

import os
import re
import shutil
from pathlib import Path

import pytest
from dumps import Crash, line_of, read_dump, run, stack, windows_path

_FAULTING = Path(os.environ["QX_FAULTING"])


def crash(folder: Path, kind: str, *options: str) -> Crash:
    dump = folder / f"{kind}{''.join(options)}.dmp"
    return Crash(dump, _FAULTING, int(run(_FAULTING, kind, windows_path(dump), *options)))


@pytest.fixture(scope="module")
def folder(tmp_path_factory: pytest.TempPathFactory) -> Path:
    return tmp_path_factory.mktemp("dumps")


@pytest.fixture(scope="module")
def full(folder: Path) -> Crash:
    return crash(folder, "write")


@pytest.fixture(scope="module")
def small(folder: Path) -> Crash:
    return crash(folder, "write", "small")


def test_the_exception_and_its_thread_are_told(small: Crash) -> None:
    report = small.read()
    assert re.match(r"exception  0xc0000005 access violation at 0x[\da-f]{16}\n", report)
    assert f"\nthread     {small.thread} ({small.thread:#x}) of " in report


def test_the_modules_are_listed_with_their_places(small: Crash) -> None:
    listed = small.read().split("\nmodules\n", 1)[1].split("\n\n", 1)[0].splitlines()
    names = [re.fullmatch(r"  0x[\da-f]{16}  (\S+)(?:  .*)?", line)[1].lower() for line in listed]  # type: ignore[index]
    assert {"faulting.exe", "ntdll.dll", "kernel32.dll", "dbghelp.dll"} <= set(names)
    (own,) = (line for line in listed if "Faulting.exe" in line)
    assert "symbols of Faulting.exe.debug" in own


def test_the_stack_names_the_faulting_function_and_its_callers(small: Crash) -> None:
    assert small.functions()[:4] == ["WriteToNothing", "FaultAs", "FaultWhere", "wmain"]
    assert stack(small.read())[0].endswith(line_of("tests/programs/Faulting/Faulting.cpp", "*where = 1;"))


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
    assert other.functions()[: len(top)] == top


def test_a_full_and_a_small_dump_tell_the_same(full: Crash, small: Crash) -> None:
    assert full.read().startswith("exception  0xc0000005 access violation at ")
    assert f"\nthread     {full.thread} (" in full.read()
    assert full.functions() == small.functions()
    assert full.dump.stat().st_size > small.dump.stat().st_size


def test_all_threads_are_shown_on_demand(folder: Path) -> None:
    threads = crash(folder, "thread-write", "small")
    report = threads.read(_FAULTING.parent, "--all")
    (waiting,) = (part for part in report.split("\n\n") if part.startswith("stack of thread ") and "wmain" in part)
    assert str(threads.thread) not in waiting.splitlines()[0].split()


def test_a_program_of_another_build_is_not_used(full: Crash, tmp_path: Path) -> None:
    shutil.copy(_FAULTING.with_name("Faulting.exe.debug"), tmp_path)
    other = bytearray(_FAULTING.read_bytes())
    other[int.from_bytes(other[0x3C:0x40], "little") + 0x58] ^= 1  # the checksum in the header
    (tmp_path / "Faulting.exe").write_bytes(other)
    report = full.read(tmp_path)
    assert "Faulting.exe  not used: the file here is of another build" in report
    assert full.functions(report) == []


def test_debug_information_of_another_build_is_not_used(full: Crash, tmp_path: Path) -> None:
    shutil.copy(_FAULTING, tmp_path)
    (tmp_path / "Faulting.exe.debug").write_bytes(_FAULTING.with_name("Faulting.exe.debug").read_bytes() + b"\0")
    report = full.read(tmp_path)
    assert "Faulting.exe  its debug information is not here, or of another build" in report
    assert "WriteToNothing" not in report


def test_debug_information_is_found_in_the_folder_beside(small: Crash, tmp_path: Path) -> None:
    (tmp_path / "tree/win32").mkdir(parents=True)
    (tmp_path / "tree.debug").mkdir()
    shutil.copy(_FAULTING, tmp_path / "tree/win32/FAULTING.EXE")
    shutil.copy(_FAULTING.with_name("Faulting.exe.debug"), tmp_path / "tree.debug")
    assert "WriteToNothing" in small.read(tmp_path / "tree")


def test_without_the_program_the_rest_is_told(small: Crash, tmp_path: Path) -> None:
    report = small.read(tmp_path)
    assert report.startswith("exception  0xc0000005 access violation")
    assert f"\nthread     {small.thread} (" in report
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


def test_a_dump_that_was_cut_off_is_refused_or_told_as_far_as_it_goes(small: Crash, tmp_path: Path) -> None:
    content = small.dump.read_bytes()
    for size in (100, 1000, len(content) // 2):
        file = tmp_path / f"{size}.dmp"
        file.write_bytes(content[:size])
        done = read_dump(file, "--programs", str(_FAULTING.parent))
        assert done.returncode in (0, 1) and "Traceback" not in done.stderr

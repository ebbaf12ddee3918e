"""Dumps that the crash handler writes, of programs that die in ways of which the walk along the stack knows little."""

from __future__ import annotations

import os
from pathlib import Path

import pytest
from dumps import Crash, line_of, run, stack, windows_path

_CRASHING = Path(os.environ["QX_CRASHING"])


def die(folder: Path, place: str, death: str, *options: str) -> Crash:
    product = folder / "Norvane Soft/Melvio"
    product.mkdir(parents=True)
    run(_CRASHING, windows_path(folder), "none", place, death, *options)
    (dump,) = (product / "dump").iterdir()
    return Crash(dump, _CRASHING)


@pytest.mark.parametrize(
    "place, death, exception, functions",
    [
        ("main", "overflow", "0xc00000fd stack overflow", ["Recurse"]),
        ("main", "throw", "0x20474343 uncaught C++ exception", ["OnTerminate", "Throw", "DieOf", "wmain"]),
        ("thread", "throw", "0x20474343 uncaught C++ exception", ["Throw", "DieOf", "DieInThread"]),
        ("main", "abort", "0x40000015 abort", ["__wrap_abort", "Abort", "DieOf", "wmain"]),
        ("main", "smash", "0xc0000409 fail fast", ["__wrap___stack_chk_fail", "SmashStack", "DieIn", "wmain"]),
    ],
)
def test_the_function_that_died_is_named(
    tmp_path: Path, place: str, death: str, exception: str, functions: list[str]
) -> None:
    crash = die(tmp_path, place, death, "small")
    report = crash.read()
    assert report.startswith(f"exception  {exception} at ")
    named = [function for function in dict.fromkeys(crash.functions()) if function in functions]
    assert named == functions
    assert not [line for line in stack(report) if "??" in line]


def test_a_full_dump_is_read_as_well(tmp_path: Path) -> None:
    crash = die(tmp_path, "main", "write", "full")
    report = crash.read()
    assert report.startswith("exception  0xc0000005 access violation at ")
    assert stack(report)[0].endswith("Write  " + line_of("tests/programs/Crashing/Deaths.cpp", "{16})) = 1;"))
    assert f"{_CRASHING.name}  symbols of {_CRASHING.name}.debug" in report

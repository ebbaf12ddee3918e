#!/usr/bin/env python3
"""Tells a person what a dump of a crashed program holds: the exception, the thread, the modules, and the stack by the
names of functions and the lines of the sources.

LLDB reads the dump. It gets the programs of the staged tree, and the debug information that the build keeps beside it;
a file of another build than the one that crashed is not used, for its names would be wrong.
"""

from __future__ import annotations

import argparse
import bisect
import functools
import importlib
import re
import struct
import subprocess
import sys
import tempfile
import zlib
from dataclasses import dataclass
from pathlib import Path
from typing import Any

_ROOT = Path(__file__).resolve().parents[1]
_MOST_FRAMES = 64
_MOST_FOUND = 24
_MOST_STACK = 0x1000000
_HEADER_SIZE = 0x1000

_EXCEPTIONS = {
    0x80000003: "breakpoint",
    0xC0000005: "access violation",
    0xC0000006: "in-page error",
    0xC000001D: "illegal instruction",
    0xC0000025: "noncontinuable exception",
    0xC0000094: "integer division by zero",
    0xC0000095: "integer overflow",
    0xC00000FD: "stack overflow",
    0xC0000374: "heap corruption",
    0xC0000409: "fail fast",
    0x20474343: "uncaught C++ exception",
    0x40000015: "abort",
}

# Where threads begin: a walk that gets there has seen the whole stack.
_FIRST_FUNCTIONS = {"BaseThreadInitThunk", "RtlUserThreadStart"}


def _load_lldb() -> Any:
    """Debian's package puts the module out of Python's own path, and its link to the library leads nowhere."""
    for folder in sorted(Path("/usr/lib").glob("llvm-*"), reverse=True):
        packages = next(folder.glob("lib/python3*/*-packages/lldb/__init__.py"), None)
        library = next(folder.glob("lib/liblldb.so*"), None)
        if packages is None or library is None:
            continue
        with tempfile.TemporaryDirectory() as links:
            Path(links, "_lldb.so").symlink_to(library)
            sys.path.insert(0, links)
            sys.modules["lldb._lldb"] = importlib.import_module("_lldb")
            sys.path.remove(links)
        sys.path.insert(0, str(packages.parents[1]))
        break
    import lldb

    return lldb


lldb = _load_lldb()


class UnreadableDump(Exception):
    """The file is no dump, or nothing that the reader understands."""


@dataclass(frozen=True)
class Image:
    """What of a program's headers tells one build from another."""

    timestamp: int
    checksum: int
    code_size: int

    @staticmethod
    def of(header: bytes) -> Image | None:
        if len(header) < 0x40 or header[:2] != b"MZ":
            return None
        (start,) = struct.unpack_from("<I", header, 0x3C)
        if start + 0x5C > len(header) or header[start : start + 4] != b"PE\0\0":
            return None
        (timestamp,) = struct.unpack_from("<I", header, start + 0x08)
        (code_size,) = struct.unpack_from("<I", header, start + 0x1C)
        (checksum,) = struct.unpack_from("<I", header, start + 0x58)
        return Image(timestamp, checksum, code_size)


class Files:
    """The programs of some folders by name, and the debug information beside those folders."""

    def __init__(self, folders: list[Path]) -> None:
        self._programs: dict[str, list[Path]] = {}
        self._debug_folders = [folder.with_name(folder.name + ".debug") for folder in folders]
        for file in (file for folder in folders for file in sorted(folder.rglob("*"))):
            if file.suffix.lower() in (".exe", ".dll"):
                self._programs.setdefault(file.name.lower(), []).append(file)

    def programs(self, name: str) -> list[Path]:
        return self._programs.get(name.lower(), [])

    def debug_file(self, program: Path, link: bytes) -> Path | None:
        """The file that the program's link names, if it is there and of the same build."""
        name = link.split(b"\0", 1)[0]
        (checksum,) = struct.unpack_from("<I", link, (len(name) + 4) & ~3)
        for folder in (program.parent, *self._debug_folders):
            file = folder / name.decode()
            if file.is_file() and zlib.crc32(file.read_bytes()) == checksum:
                return file
        return None


class Dump:
    """A dump as LLDB sees it, with a folder of the files that it may use."""

    def __init__(self, debugger: Any, file: Path) -> None:
        self.target = debugger.CreateTarget("")
        error = lldb.SBError()
        self.process = self.target.LoadCore(str(file), error)
        if error.Fail() or not self.process.IsValid():
            raise UnreadableDump(f"{file} is not read: {error.GetCString() or 'no dump'}")

    def close(self, debugger: Any) -> None:
        debugger.DeleteTarget(self.target)

    def modules(self) -> list[Any]:
        return sorted(self.target.module_iter(), key=self.base)

    def base(self, module: Any) -> int:
        return module.GetObjectFileHeaderAddress().GetLoadAddress(self.target)

    def image(self, module: Any) -> Image | None:
        """As it was in the memory of the program; small dumps do not hold that."""
        error = lldb.SBError()
        header = self.process.ReadMemory(self.base(module), _HEADER_SIZE, error)
        return Image.of(header) if error.Success() and header else None


@dataclass
class Symbols:
    """What is used for one module, or why nothing is."""

    program: Path | None = None
    debug_file: Path | None = None
    remark: str = ""


def choose_program(image: Image | None, candidates: list[Path]) -> Symbols:
    if not candidates:
        return Symbols()
    if image is None:
        return Symbols(candidates[0], remark="taken by its name alone: the dump does not tell the build")
    for file in candidates:
        with file.open("rb") as program:
            if Image.of(program.read(_HEADER_SIZE)) == image:
                return Symbols(file)
    return Symbols(remark="not used: the file here is of another build")


def debug_link(debugger: Any, program: Path) -> bytes:
    target = debugger.CreateTarget("")
    try:
        module = target.AddModule(str(program), None, None)
        section = module.FindSection(".gnu_debuglink")
        if not section.IsValid():
            return b""
        with program.open("rb") as content:
            content.seek(section.GetFileOffset())
            return content.read(section.GetFileByteSize())
    finally:
        debugger.DeleteTarget(target)


def choose_symbols(debugger: Any, dump: Dump, files: Files) -> dict[str, Symbols]:
    chosen = {}
    for module in dump.modules():
        name = module.GetFileSpec().GetFilename()
        symbols = choose_program(dump.image(module), files.programs(name))
        link = debug_link(debugger, symbols.program) if symbols.program else b""
        if symbols.program and link:
            symbols.debug_file = files.debug_file(symbols.program, link)
            if symbols.debug_file is None:
                symbols.remark = symbols.remark or "its debug information is not here, or of another build"
        chosen[name.lower()] = symbols
    return chosen


def use_symbols(dump: Dump, chosen: dict[str, Symbols]) -> None:
    """Puts the programs in the place of the modules of which the dump knows no more than where they were."""
    for module in dump.modules():
        symbols = chosen[module.GetFileSpec().GetFilename().lower()]
        if symbols.program is None:
            continue
        base = dump.base(module)
        wanted = lldb.SBModuleSpec()
        wanted.SetFileSpec(lldb.SBFileSpec(str(symbols.program)))
        dump.target.RemoveModule(module)
        program = dump.target.AddModule(wanted)
        dump.target.SetModuleLoadAddress(program, base - program.GetObjectFileHeaderAddress().GetFileAddress())


def exception_of(thread: Any) -> tuple[int, int] | None:
    """Code and address, if the thread is the one that crashed."""
    found = re.fullmatch(r"Exception (0x[\da-f]+) encountered at address (0x[\da-f]+)", thread.GetStopDescription(200))
    return (int(found[1], 16), int(found[2], 16)) if found else None


@functools.cache
def functions_of(debug_file: Path) -> tuple[list[int], list[str]]:
    """Where the functions begin, and their names: also of the runtime's, which has no debug information."""
    done = subprocess.run(["x86_64-w64-mingw32-nm", "-n", "-C", debug_file], capture_output=True, text=True, check=True)
    rows = [line.split(maxsplit=2) for line in done.stdout.splitlines()]
    rows = [row for row in rows if len(row) == 3 and row[1] in "tT" and not row[2].startswith(".")]
    return [int(row[0], 16) for row in rows], [row[2] for row in rows]


def names_of(address: int, debug_file: Path) -> list[tuple[str, str]]:
    """Function and line, innermost first: more than one where functions were inlined. LLDB's knowledge of the debug
    information in such files is incomplete, so the tool of the tool chain gives the names."""
    done = subprocess.run(["x86_64-w64-mingw32-addr2line", "-f", "-i", "-C", "-e", debug_file, hex(address)],
                          capture_output=True, text=True, check=True)
    lines = done.stdout.splitlines()
    if lines[0] != "??":
        return list(zip(lines[::2], map(place_in_sources, lines[1::2]), strict=True))
    places, names = functions_of(debug_file)
    before = bisect.bisect_right(places, address)
    return [(names[before - 1] if before else "?", "")]


def place_in_sources(place: str) -> str:
    """Paths are relative to where the compiler ran; what lies in the sources is told from their root."""
    place = place.split(" (discriminator")[0]
    if place.startswith("??"):
        return ""
    parts = Path(place.rsplit(":", 1)[0]).parts
    for start in range(len(parts)):
        if (_ROOT / Path(*parts[start:])).is_file() and parts[start] != "/":
            return "/".join(parts[start:]) + ":" + place.rsplit(":", 1)[1]
    return place


def show_place(mark: str, dump: Dump, address: int, chosen: dict[str, Symbols], is_caller: bool = True) -> None:
    """A caller is at the instruction behind its call, which may be another line's or even another function's."""
    place = dump.target.ResolveLoadAddress(address - is_caller)
    module = place.GetModule().GetFileSpec().GetFilename() or "?"
    debug_file = chosen.get(module.lower(), Symbols()).debug_file
    if debug_file:
        names = names_of(place.GetFileAddress(), debug_file)
    else:
        names = [(place.GetFunction().GetName() or place.GetSymbol().GetName() or "?", "")]
    for index, (function, line) in enumerate(names):
        inlined = " [inlined]" if index + 1 < len(names) else ""
        print(f"  {mark:>3}  {address:#018x}  {module}  {function}{inlined}  {line}".rstrip())


def code_of(dump: Dump, chosen: dict[str, Symbols]) -> list[range]:
    """Where the code lies of the modules that have debug information."""
    own = (module for module in dump.modules() if chosen[module.GetFileSpec().GetFilename().lower()].debug_file)
    sections = (section for module in own for section in module.section_iter())
    code = [section for section in sections if section.GetSectionType() == lldb.eSectionTypeCode]
    starts = [(section.GetLoadAddress(dump.target), section.GetByteSize()) for section in code]
    return sorted((range(start, start + size) for start, size in starts), key=lambda part: part.start)


def is_behind_call(dump: Dump, address: int) -> bool:
    longest = 7
    code = dump.target.ReadMemory(dump.target.ResolveLoadAddress(address - longest), longest, lldb.SBError())
    if not code or len(code) < longest:
        return False
    through_address = any(code[-n] == 0xFF and code[1 - n] & 0x38 == 0x10 for n in (2, 3, 4, 6, 7))
    return through_address or code[-5] == 0xE8


def stack_above(dump: Dump, stack_pointer: int) -> bytes:
    """What the dump holds of it."""
    stack = b""
    while len(stack) < _MOST_STACK:
        next_page = (stack_pointer + len(stack) | 0xFFF) + 1
        error = lldb.SBError()
        part = dump.process.ReadMemory(stack_pointer + len(stack), next_page - stack_pointer - len(stack), error)
        if error.Fail() or not part:
            break
        stack += part
    return stack


def show_found(dump: Dump, stack_pointer: int, chosen: dict[str, Symbols]) -> None:
    """What looks like a caller in our own programs, each place once: the walk gives up at overwritten stacks, and at
    functions that say nothing, or something that LLDB does not understand, about their frames."""
    code = code_of(dump, chosen)
    starts = [part.start for part in code]
    stack = stack_above(dump, stack_pointer)
    found: list[int] = []
    for (value,) in struct.iter_unpack("<Q", stack[: len(stack) & ~7]):
        part = bisect.bisect_right(starts, value) - 1
        if part >= 0 and value in code[part] and value not in found and is_behind_call(dump, value):
            found.append(value)
        if len(found) == _MOST_FOUND:
            break
    if found:
        print("  the walk ends here; calls that have left their traces further up, some of them over already:")
    for value in found:
        show_place("?", dump, value, chosen)


def show_stack(dump: Dump, thread: Any, chosen: dict[str, Symbols]) -> None:
    frames = [thread.GetFrameAtIndex(index) for index in range(thread.GetNumFrames())]
    for index, frame in enumerate(frames[:_MOST_FRAMES]):
        show_place(str(index), dump, frame.GetPC(), chosen, is_caller=index > 0)
    if len(frames) > _MOST_FRAMES:
        print(f"  and {len(frames) - _MOST_FRAMES} more")
    elif not _FIRST_FUNCTIONS.intersection(frame.GetFunctionName() for frame in frames):
        show_found(dump, frames[-1].GetSP(), chosen)


def show_exception(dump: Dump) -> Any:
    """The thread that crashed."""
    for thread in dump.process:
        exception = exception_of(thread)
        if exception is not None:
            code, address = exception
            print(f"exception  {code:#010x} {_EXCEPTIONS.get(code, '')}".rstrip() + f" at {address:#018x}")
            print(f"thread     {thread.GetThreadID()} ({thread.GetThreadID():#x}) of {dump.process.GetNumThreads()}")
            return thread
    print("exception  none: the program did not crash")
    return None


def show_modules(dump: Dump, chosen: dict[str, Symbols]) -> None:
    print("\nmodules")
    for module in dump.modules():
        name = module.GetFileSpec().GetFilename()
        symbols = chosen[name.lower()]
        remarks = [symbols.remark] if symbols.remark else []
        if symbols.debug_file is not None:
            remarks.insert(0, f"symbols of {symbols.debug_file.name}")
        print(f"  {dump.base(module):#018x}  {name}  {'; '.join(remarks)}".rstrip())


def show(dump: Dump, chosen: dict[str, Symbols], all_threads: bool) -> None:
    crashed = show_exception(dump)
    show_modules(dump, chosen)
    if crashed is not None:
        print("\nstack of the thread that crashed")
        show_stack(dump, crashed, chosen)
    for thread in dump.process if all_threads else []:
        if crashed is None or thread.GetThreadID() != crashed.GetThreadID():
            print(f"\nstack of thread {thread.GetThreadID()} ({thread.GetThreadID():#x})")
            show_stack(dump, thread, chosen)


def main() -> int:
    parser = argparse.ArgumentParser(prog="./qx symbols", description="Tells what a dump of a crashed program holds.")
    parser.add_argument("dump", type=Path, metavar="FILE.dmp")
    parser.add_argument("--programs", type=Path, action="append", metavar="FOLDER",
                        help="where the programs are (out/stage); their debug information is there, or in FOLDER.debug")
    parser.add_argument("--all", action="store_true", help="the stacks of all threads")
    arguments = parser.parse_args()

    wine = list(Path("/usr/lib").glob("*/wine/x86_64-windows"))
    files = Files([folder.resolve() for folder in arguments.programs or [_ROOT / "out/stage"]] + wine)
    debugger = lldb.SBDebugger.Create()
    try:
        dump = Dump(debugger, arguments.dump)
        chosen = choose_symbols(debugger, dump, files)
        use_symbols(dump, chosen)
        show(dump, chosen, arguments.all)
    except UnreadableDump as problem:
        print(f"qx: {problem}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())

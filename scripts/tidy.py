#!/usr/bin/env python3
"""Static analysis of the product's sources by clang-tidy, with the commands of the cross build.

Arguments: the build folder, then the files (all product sources when there are none).

Most of the work on a file goes into the headers that it includes, so files that are built alike are checked
together, as one source. Where a batch has a finding, or does not compile because two of its
files use one name, it is parted until a part is clean or one file is left, whose answer counts.
"""
import concurrent.futures
import json
import os
import pathlib
import shlex
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ("agent", "Common", "QxCommon", "libs", "devkit")
BATCH = 8


def product_sources():
    patterns = [f"{folder}/*.cpp" for folder in FOLDERS]
    names = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard", "--", *patterns],
                           cwd=ROOT, check=True, capture_output=True, text=True).stdout.split()
    return [ROOT / name for name in names if "/tests/" not in name]


def target_options():
    """The database is GCC's: the target and its C++ headers have to be named, and its own options passed over."""
    library = subprocess.run(["x86_64-w64-mingw32-g++-posix", "-print-libgcc-file-name"],
                             check=True, capture_output=True, text=True).stdout.strip()
    headers = pathlib.Path(library).parent / "include" / "c++"
    return ["--target=x86_64-w64-mingw32", f"-isystem{headers}", f"-isystem{headers}/x86_64-w64-mingw32",
            "-Qunused-arguments", "-Wno-unknown-warning-option"]


def options_of(entry):
    """The options of a compile command: neither compilers nor files."""
    words = iter(shlex.split(entry["command"]))
    options = []
    for word in words:
        if word in ("-o", "-c"):
            next(words)
        elif options or word.startswith("-"):
            options.append(word)
    return tuple(options)


def options_by_file(build):
    entries = json.loads((build / "compile_commands.json").read_text())
    return {pathlib.Path(entry["file"]): options_of(entry) for entry in entries if entry["file"].endswith(".cpp")}


def options_for(file, options):
    """What this build leaves out, such as a template to be copied, is checked as its nearest neighbour is."""
    if file in options:
        return options[file]
    nearest = max(options, key=lambda other: len(os.path.commonpath([file, other])))
    return options[nearest]


def batches(files, options):
    alike = {}
    for file in files:
        alike.setdefault(options_for(file, options), []).append(file)
    for group, members in alike.items():
        count = -(-len(members) // BATCH)
        # Neighbours by name are the likeliest to use one name for two things.
        for first in range(count):
            yield group, members[first::count]


def tidy(source, options, checks=""):
    result = subprocess.run(["clang-tidy", "--quiet", f"--config-file={ROOT / '.clang-tidy'}", f"--checks={checks}",
                             str(source), "--", *options], capture_output=True, text=True, cwd=ROOT)
    return result.returncode == 0, result.stdout


def includes_twice(file):
    lines = [line for line in file.read_text().splitlines() if line.startswith("#include")]
    return len(lines) != len(set(lines))


def is_clean_together(files, options):
    # One behind the other, not by #include: the analyzer follows the paths of the main file alone.
    folders = [f"-iquote{folder}" for folder in sorted({file.parent for file in files})]
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "batch.cpp"
        source.write_text("".join(file.read_text() for file in files))
        clean, _ = tidy(source, [*folders, *options], "-readability-duplicate-include")
        return clean and not any(includes_twice(file) for file in files)


def findings(files, options):
    if len(files) == 1:
        clean, text = tidy(files[0], options)
        return [] if clean else [text]
    if is_clean_together(files, options):
        return []
    return findings(files[::2], options) + findings(files[1::2], options)


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    options = options_by_file(build)
    files = [pathlib.Path(name).resolve() for name in sys.argv[2:]] or product_sources()
    target = target_options()
    found = False
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for texts in pool.map(lambda batch: findings(batch[1], [*batch[0], *target]), list(batches(files, options))):
            for text in texts:
                found = True
                print(text, flush=True)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())

#!/usr/bin/env python3
"""Checks that a built program holds the four pieces of the product's key, and no two of them side by side.

Usage: check_key.py KEY_SOURCE PROGRAM...
"""
import itertools
import pathlib
import re
import struct
import sys


def key_pieces(source):
    values = dict(re.findall(r"Piece(\d) = (0x[0-9A-Fa-f]+);", source.read_text()))
    return [struct.pack("<I", int(values[number], 16)) for number in "0123"]


def faults(program, pieces):
    for number, piece in enumerate(pieces):
        if piece not in program:
            yield f"piece {number} is not there: nothing is proven"
    for first, second in itertools.permutations(range(4), 2):
        if pieces[first] + pieces[second] in program:
            yield f"pieces {first} and {second} stand side by side"
    digits = b"".join(pieces).hex()
    for text in (digits, digits.upper()):
        for encoding in ("ascii", "utf-16-le"):
            if text.encode(encoding) in program:
                yield f"the whole key stands there as {encoding} digits"


def main():
    source, *programs = map(pathlib.Path, sys.argv[1:])
    found = [f"{path}: {fault}" for path in programs for fault in faults(path.read_bytes(), key_pieces(source))]
    print("\n".join(found) or "no two pieces stand together")
    return 1 if found or not programs else 0


sys.exit(main())

"""The data files that the product ships, read the strict way: the programs forgive nearly everything."""

from __future__ import annotations

import json
import os
import re
import struct
import subprocess
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from lxml import etree

ROOT = Path(__file__).parents[2]
STAGE = Path(os.environ["QX_STAGE"])
SOURCES = Path(__file__).resolve().parents[2] / "product"
PROFILE = STAGE / "Configuration/UiDeskTrayProfile.xml"
START_MODES = STAGE / "Configuration/QxSessionAgentCfg.json"
LANGUAGES = STAGE / "Configuration/localeInfo.json"
TEXTS = "UiDeskTrayString.json"

_STRING_OR_COMMENT = re.compile(r'("(?:\\.|[^"\\])*")|//[^\n]*|/\*.*?\*/', re.DOTALL)


def without_comments(text: str) -> str:
    return _STRING_OR_COMMENT.sub(lambda found: found.group(1) or " ", text)


def _unique_members(pairs: list[tuple[str, Any]]) -> dict[str, Any]:
    names = [name for name, _ in pairs]
    assert len(set(names)) == len(names), f"a name twice: {names}"
    return dict(pairs)


def read_json(file: Path) -> Any:
    """Fails for a byte-order mark, a name that stands twice, and whatever is no JSON."""
    return json.loads(without_comments(file.read_bytes().decode("utf-8")), object_pairs_hook=_unique_members)


def locales() -> list[str]:
    return sorted({entry["localeName"] for entry in read_json(LANGUAGES)["localMapping"]})


def locale_file(locale: str, name: str) -> Path:
    return STAGE / "Misc/Resource" / locale / name


def texts_of(locale: str) -> dict[str, dict[str, str]]:
    return read_json(locale_file(locale, TEXTS))


def profile() -> etree._Element:
    return etree.parse(PROFILE, etree.XMLParser(remove_comments=True)).getroot()


def number(text: str) -> int:
    """As the program reads a number of the profile: 32 bits that wrap round."""
    sign = -1 if text.startswith("-") else 1
    digits = text.lstrip("+-").lower()
    if digits.startswith("0x"):
        value = int(digits, 16)
    else:
        value = int(digits, 8 if digits.startswith("0") else 10)
    return sign * value % 2**32


def units(text: str) -> int:
    """The length as the programs count it."""
    return len(text.encode("utf-16-le")) // 2


@dataclass(frozen=True)
class Picture:
    width: int
    height: int
    pixels: bytes  # red, green, blue and alpha of each

    @staticmethod
    def read(file: Path) -> Picture:
        size = subprocess.run(["identify", "-format", "%w %h", file], capture_output=True, check=True).stdout.split()
        pixels = subprocess.run(["convert", file, "-depth", "8", "rgba:-"], capture_output=True, check=True).stdout
        width, height = map(int, size)
        assert len(pixels) == width * height * 4
        return Picture(width, height, pixels)

    def at(self, x: int, y: int) -> tuple[int, int, int, int]:
        red, green, blue, alpha = self.pixels[(y * self.width + x) * 4 :][:4]
        return red, green, blue, alpha

    def border(self) -> Iterator[tuple[int, int, int, int]]:
        for x in range(self.width):
            yield from (self.at(x, 0), self.at(x, self.height - 1))
        for y in range(self.height):
            yield from (self.at(0, y), self.at(self.width - 1, y))


@dataclass(frozen=True)
class IconImage:
    size: int
    bits: int
    data: bytes  # a PNG file, or a bitmap without its file header

    @property
    def is_compressed(self) -> bool:
        return self.data.startswith(b"\x89PNG")


def icon_images(content: bytes) -> list[IconImage]:
    """The images of an icon file, in its order."""
    reserved, kind, count = struct.unpack_from("<HHH", content)
    assert (reserved, kind) == (0, 1)
    images = []
    for index in range(count):
        width, height, _, _, _, bits, length, offset = struct.unpack_from("<BBBBHHII", content, 6 + 16 * index)
        assert width == height and offset + length <= len(content)
        images.append(IconImage(width or 256, bits, content[offset : offset + length]))
    return images

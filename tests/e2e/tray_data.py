"""The tray's menu as the data files describe it, read without the agent, and ways to describe another one."""

from __future__ import annotations

import json
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from xml.etree import ElementTree

MENU_BASE = 32789
FIXED_SIZE_BLOCK = 1024


@dataclass(frozen=True)
class Expected:
    """An entry of the menu that the data files promise."""

    depth: int
    id: int
    text: str
    separator: bool = False
    checked: bool = False
    greyed: bool = False
    default: bool = False
    submenu: bool = False


def _entries(parent: ElementTree.Element, texts: dict[str, str], depth: int) -> Iterator[Expected]:
    for element in parent:
        kind = element.get("type", "").lower()
        text = texts.get(element.get("name", ""), "")
        children = list(element)
        if kind == "separator":
            yield Expected(depth, 0, "", separator=True, greyed=True)  # the system greys each of them
        elif kind == "string" and children:
            yield Expected(depth, 0, text, submenu=True)
            yield from _entries(element, texts, depth + 1)
        elif kind == "string":
            yield Expected(
                depth,
                MENU_BASE + int(element.get("id", "0"), 0),
                text,
                checked=element.get("checked", "") not in ("", "0"),
                greyed=element.get("enabled", "") not in ("", "1"),
                default=element.get("font", "").lower() == "bold",
            )


def strings_file(root: Path, locale: str = "en-us") -> Path:
    return root / "Misc/Resource" / locale / "UiDeskTrayString.json"


def profile_file(root: Path) -> Path:
    return root / "Configuration/UiDeskTrayProfile.xml"


def read_texts(root: Path, locale: str = "en-us") -> dict[str, dict[str, str]]:
    texts: dict[str, dict[str, str]] = json.loads(strings_file(root, locale).read_text("utf-8"))
    return texts


def expected_menu(root: Path, locale: str = "en-us") -> list[Expected]:
    """All entries of the menu in the order of the profile."""
    menus = ElementTree.parse(profile_file(root)).getroot().find("Menus")
    assert menus is not None
    return list(_entries(menus, read_texts(root, locale)["Menus"], 0))


def write_profile(root: Path, menus: str, rest: str = "") -> None:
    """Replaces the profile by one with these menu elements, and these sections behind them."""
    text = f"<Profile><Menus>{menus}</Menus>{rest}</Profile>"
    if len(text.encode()) % FIXED_SIZE_BLOCK == 0:
        text += " "  # a file of whole blocks is not read
    profile_file(root).write_text(text, "utf-8")


def write_texts(root: Path, locale: str = "en-us", **menus: str) -> None:
    """Replaces the texts of the menu entries."""
    texts = {**read_texts(root, locale), "Menus": menus}
    strings_file(root, locale).write_text(json.dumps(texts), "utf-8")


def write_locale(root: Path, locale: str) -> None:
    """Lets the product speak this language, whatever the user's is."""
    info = json.dumps({"localMapping": [], "defaultLocal": locale})
    (root / "Configuration/localeInfo.json").write_text(info, "utf-8")

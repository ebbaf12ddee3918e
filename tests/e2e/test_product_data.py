"""The staged data files, read the strict way: the agent itself would start with a damaged one."""

from __future__ import annotations

import json
import os
import re
from pathlib import Path
from typing import Any

STAGE = Path(os.environ["QX_STAGE"])
START_FUNCTIONS = {"ShowQxUi", "ShowSplash"}


def read(name: str) -> Any:
    text = (STAGE / "Configuration" / name).read_bytes().decode("utf-8")
    without_comments = re.sub(r"^\s*//.*$", "", text, flags=re.MULTILINE)
    return json.loads(without_comments, object_pairs_hook=unique_members)


def unique_members(pairs: list[tuple[str, Any]]) -> dict[str, Any]:
    names = [name for name, _ in pairs]
    assert len(set(names)) == len(names), f"a name twice: {names}"
    return dict(pairs)


def test_every_start_mode_item_is_complete() -> None:
    for name, item in read("QxSessionAgentCfg.json")["startMode"].items():
        assert item["startFunc"] in START_FUNCTIONS, name
        assert isinstance(item["sequence"], int), name
        assert item["modeId"] and all(isinstance(mode, int) for mode in item["modeId"]), name
        assert set(item) <= {"sequence", "startFunc", "startArgs", "modeId"}, name


def test_no_two_items_of_a_mode_share_a_sequence() -> None:
    places = [
        (mode, item["sequence"])
        for item in read("QxSessionAgentCfg.json")["startMode"].values()
        for mode in item["modeId"]
    ]
    assert len(set(places)) == len(places)


def test_the_default_start_opens_nothing() -> None:
    items = read("QxSessionAgentCfg.json")["startMode"].values()
    assert not [item for item in items if 5 in item["modeId"]]


def test_each_language_has_one_locale_and_the_default_is_one_of_them() -> None:
    info = read("localeInfo.json")
    numbers = [entry["lcid"] for entry in info["localMapping"]]
    assert len(set(numbers)) == len(numbers)
    assert info["defaultLocal"] in {entry["localeName"] for entry in info["localMapping"]}


def names_of(texts: dict[str, dict[str, str]]) -> dict[str, set[str]]:
    return {section: set(entries) for section, entries in texts.items()}


def test_each_locale_has_all_texts() -> None:
    def texts_of(locale: str) -> dict[str, dict[str, str]]:
        file = STAGE / "Misc/Resource" / locale / "UiDeskTrayString.json"
        return json.loads(file.read_text(encoding="utf-8"))

    info = read("localeInfo.json")
    reference = names_of(texts_of(info["defaultLocal"]))
    for entry in info["localMapping"]:
        texts = texts_of(entry["localeName"])
        assert names_of(texts) == reference
        assert all(text for section in texts.values() for text in section.values())


def test_programs_and_libraries_lie_where_they_belong() -> None:
    expected = {"VzDbgLog.dll", "libexpat.dll", "vzdbg.ini"}
    expected |= {f"QxSessionAgent{suffix}.exe" for suffix in ("", "_M", "_B")}
    expected |= {f"win32/QxMainConsole{suffix}.exe" for suffix in ("", "_M", "_B")}
    expected |= {"win32/VzDbgLog.dll", "win32/vzdbg.ini"}  # a program finds its log beside itself
    assert {name for name in expected if not (STAGE / name).is_file()} == set()

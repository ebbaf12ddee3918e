"""The tray's profile and its texts fit each other, and what the program makes of them."""

from __future__ import annotations

import subprocess
from pathlib import Path

import pytest
from lxml import etree

from shipped import PROFILE, SOURCES, STAGE, locales, number, profile, texts_of, units

FUNCTIONS = {1: "console", 2: "scan", 3: "exit", 4: "monitor", 5: "game console"}
IDLE, SCANNING = 1, 2
BASE_OF_ICONS = 33089
CHECK = SOURCES / "resources/check-profile.cmake"


def items() -> list[etree._Element]:
    return list(profile().find("Menus").iter("Item"))


def levels() -> list[list[etree._Element]]:
    """The entries of each menu, the submenus' by themselves."""
    menus = profile().find("Menus")
    return [list(menus), *(list(menu) for menu in menus.iter("Menu"))]


def tooltips() -> dict[int, str]:
    return {number(entry.get("id")): entry.get("name") for entry in profile().find("Tooltips")}


def access_key(text: str) -> str:
    return text.replace("&&", "").partition("&")[2][:1].lower()


@pytest.mark.parametrize("locale", locales())
def test_each_name_of_the_profile_has_a_text_and_each_text_a_name(locale: str) -> None:
    texts = texts_of(locale)
    for section in ("Menus", "Tooltips", "MsgBoxes"):
        names = {entry.get("name") for entry in profile().find(section).iter() if entry.get("name")}
        assert set(texts[section]) == names


@pytest.mark.parametrize("locale", locales())
def test_a_text_is_not_left_in_another_language(locale: str) -> None:
    if locale != "en-us":
        ours, english = texts_of(locale), texts_of("en-us")
        same = {name for name in ours["Menus"] if ours["Menus"][name] == english["Menus"][name]}
        assert same <= {"showMonitor"}
        # The copyright line may be the same: at its size only Latin letters are sure to be read.
        assert all(ours[section] != english[section] for section in ours if section != "Splash")


def test_each_function_has_an_entry() -> None:
    assert {number(item.get("function_id", "0")) for item in items()} - {0} == set(FUNCTIONS)


def test_the_default_entry_opens_the_console_as_the_double_click_does() -> None:
    bold = [item for item in items() if item.get("font", "").lower() == "bold"]
    assert [number(item.get("function_id")) for item in bold] == [1]


def test_only_an_entry_that_does_nothing_is_greyed() -> None:
    assert {item.get("name") for item in items() if item.get("enabled") == "0"} == {
        item.get("name") for item in items() if item.get("function_id") is None
    }


def test_the_menu_shows_all_that_there_is_to_show() -> None:
    assert profile().find("Menus/Menu") is not None
    assert profile().find("Menus/Separator") is not None
    assert [item for item in items() if item.get("checked") == "1"]
    assert [item for item in items() if item.get("enabled") == "0"]


def test_no_two_entries_share_a_number_in_whatever_spelling() -> None:
    for group in (items(), *(list(profile().find(name)) for name in ("Tooltips", "MsgBoxes", "Icons"))):
        numbers = [number(entry.get("id")) for entry in group]
        assert len(set(numbers)) == len(numbers)


def test_a_separator_stands_between_entries() -> None:
    for level in levels():
        kinds = [entry.tag for entry in level]
        assert "Separator" not in (kinds[0], kinds[-1])
        assert ("Separator", "Separator") not in zip(kinds, kinds[1:])


@pytest.mark.parametrize("locale", locales())
def test_no_two_entries_of_a_menu_share_an_access_key(locale: str) -> None:
    texts = texts_of(locale)["Menus"]
    for level in levels():
        usable = [entry for entry in level if entry.get("name") and entry.get("enabled") != "0"]
        keys = [access_key(texts[entry.get("name")]) for entry in usable]
        assert "" not in keys
        assert len(set(keys)) == len(keys)


@pytest.mark.parametrize("locale", locales())
def test_the_tooltips_fit_into_the_icon(locale: str) -> None:
    texts = texts_of(locale)["Tooltips"]
    idle, scanning = texts[tooltips()[IDLE]], texts[tooltips()[SCANNING]]
    assert "%" not in idle
    assert scanning.count("%progress%") == 1
    assert max(units(idle), units(scanning.replace("%progress%", "100%"))) <= 127


@pytest.mark.parametrize("locale", locales())
def test_the_copyright_line_fits_into_the_splash(locale: str) -> None:
    text = texts_of(locale)["Splash"]["CopyRight"]
    assert units(text) <= 99
    assert "Norvane Soft" in text


def test_the_scanning_series_has_exactly_the_frames_that_the_program_looks_for() -> None:
    (icon,) = (icon for icon in profile().find("Icons") if number(icon.get("id")) == 1)
    folder = STAGE.joinpath(*icon.get("path").split("\\"))
    frames = (number(icon.get("count")) + BASE_OF_ICONS) % 2**32
    expected = {f"{icon.get('name')}{frame}.ico" for frame in range(1, frames + 1)}
    assert 1 < frames <= 100
    assert {file.name for file in folder.iterdir()} == expected


def check_of(file: Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        ["cmake", "-D", f"profile={file}", "-P", CHECK], capture_output=True, text=True, check=False
    )


def test_the_build_accepts_the_size_of_the_profile() -> None:
    assert PROFILE.stat().st_size % 1024 != 0
    assert check_of(PROFILE).returncode == 0


@pytest.mark.parametrize("size", [0, 1024, 2048, 102400])
def test_the_build_refuses_a_profile_that_ends_with_a_full_block(tmp_path: Path, size: int) -> None:
    file = tmp_path / "profile.xml"
    file.write_bytes(b" " * size)
    assert "multiple of 1024" in " ".join(check_of(file).stderr.split())
    file.write_bytes(b" " * (size + 1))
    assert check_of(file).returncode == 0

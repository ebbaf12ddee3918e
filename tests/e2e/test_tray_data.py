"""The tray's data files that are missing or bad: whether the agent starts, and what it says."""

from __future__ import annotations

import shutil

import pytest

from desktop import Process
from product import Product
from tray import RIGHT, Tray
from tray_data import profile_file, strings_file, write_locale, write_profile

WM_TIMER = 0x0113
ITEM = '<i id="1" name="openConsole" type="string" function_id="1"/>'


def does_not_start(product: Product) -> Process:
    """The agent ends by itself, without a frame and without an icon."""
    process = product.start()
    assert process.wait() == 0
    assert len(product.log_lines(": [ERROR] LoadConfig failed...", process)) == 1
    assert product.has_ended()
    return process


def refuses_profile(product: Product) -> Process:
    process = does_not_start(product)
    assert product.log_lines(": [ERROR] Parse QxSessionAgent profile file failed...", process)
    return process


def test_without_a_profile_there_is_no_start(product: Product) -> None:
    profile_file(product.root).unlink()
    process = refuses_profile(product)
    path = f"{product.windows_root}\\Configuration\\UiDeskTrayProfile.xml"
    assert product.log_lines(
        f": [ERROR] UiDeskTrayProfile.xml file does not exist. Path: {path} - ", process
    )


MALFORMED = {
    "empty": (b"", 38),
    "no XML": (b"menus, please", 2),
    "cut off": (b"<P><Menus><i id='1'/></Menus>", 3),
    "wrong end tag": (b"<P><Menus></Icons></P>", 7),
    "two roots": (b"<P/><P/>", 9),
    "zero bytes": (bytes(100), 4),
    "whole blocks": (b"<P/>" + b" " * 1020, 38),
}


NAMES = [name.replace(" ", "-") for name in MALFORMED]


@pytest.mark.parametrize("content, code", MALFORMED.values(), ids=NAMES)
def test_a_malformed_profile_ends_the_start(product: Product, content: bytes, code: int) -> None:
    profile_file(product.root).write_bytes(content)
    process = refuses_profile(product)
    assert product.log_lines(f": [ERROR] Excpetion when reading XML file: {code} - ", process)


def test_a_profile_without_sections_gives_an_icon_and_an_empty_menu(tray: Tray) -> None:
    profile_file(tray.product.root).write_text("<P/>")
    process = tray.start()
    tray.click(RIGHT)
    tray.double_click()  # arrives behind the click
    tray.desktop.wait_for_consoles(1)
    assert not tray.popups()
    assert tray.pixels() == tray.idle_picture()
    assert process.running


def test_a_failed_section_ends_the_reading_and_not_the_start(tray: Tray) -> None:
    sections = "<Menus/><Tooltips><Tooltip id='1' name='idle'/></Tooltips>"
    profile_file(tray.product.root).write_text(f"<P>{sections}</P>")
    process = tray.start()
    assert tray.product.log_lines(": [ERROR] Parse element from Shortcut.xml failed...", process)
    assert not tray.product.log_lines("32890Name: idle", process)


def test_without_the_folder_of_the_locale_there_is_no_start(product: Product) -> None:
    shutil.rmtree(strings_file(product.root).parent)
    process = does_not_start(product)
    path = f"{product.windows_root}\\Misc\\Resource\\en-us\\UiDeskTrayString.json"
    assert product.log_lines(
        f": [ERROR] UiDeskTrayString.json file does not exist. Path: {path} - ", process
    )
    assert product.log_lines(": [ERROR] Parse QxSessionAgent L10n resource file failed...", process)


def test_a_locale_without_a_folder_takes_no_other_one(product: Product) -> None:
    write_locale(product.root, "nl-nl")
    process = does_not_start(product)
    assert product.log_lines("\\Misc\\Resource\\nl-nl\\UiDeskTrayString.json - ", process)


def test_texts_that_cannot_be_opened_end_the_start(product: Product) -> None:
    strings_file(product.root).unlink()
    strings_file(product.root).mkdir()
    process = does_not_start(product)
    assert product.log_lines(": [ERROR] Parse QxSessionAgent L10n resource file failed...", process)


@pytest.mark.parametrize("content", ["", "{}", '{"Menus": 1}', "texts, please", '{"Menus": {"open'])
def test_missing_texts_leave_empty_entries(tray: Tray, content: str) -> None:
    write_profile(tray.product.root, ITEM)
    strings_file(tray.product.root).write_text(content)
    tray.start()
    assert [item.text for item in tray.open_menu().items()] == [""]

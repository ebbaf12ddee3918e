"""The icon in the notification area and its clicks, with the real mouse on the real screen."""

from __future__ import annotations

import time

import pytest

from desktop import WM_CLOSE, Desktop, wait_until, windows_path
from tray import BESIDE, Tray

WM_CANCELMODE = 0x001F
WM_LBUTTONUP = 0x0202
WM_RBUTTONUP = 0x0205
TRAY_CALLBACK = 0x800A
ICON_ID = 314
PRODUCTS_WITHOUT = {"QxSessionAgent.exe": "Oravex", "QxSessionAgent_B.exe": "Brisketta"}


def seconds_of_double_click(desktop: Desktop) -> float:
    return int(desktop.probe.ask("doubleClickTime")["milliseconds"]) / 1000


def test_the_programs_own_icon_stands_in_the_notification_area(tray: Tray) -> None:
    tray.start()
    picture = tray.idle_picture()
    wait_until(lambda: tray.pixels() == picture, "the agent's icon", 5)
    frame = windows_path(tray.product.root / "Misc/Icons/scanning1.ico")
    assert tray.pixels() != tray.picture_of(file=frame), "another icon would look the same"


@pytest.mark.parametrize("end", ["exit event", "WM_CLOSE"])
def test_the_icon_goes_with_the_agent(tray: Tray, end: str) -> None:
    process = tray.start()
    wait_until(lambda: not tray.is_empty(), "the icon")
    if end == "WM_CLOSE":
        tray.product.frame().post(WM_CLOSE)
    else:
        tray.product.signal_exit()
    assert process.wait() == 0
    assert tray.is_empty()
    assert not tray.product.log_lines("RemoveIcon failed...")


def test_a_right_click_opens_the_menu_at_once(tray: Tray) -> None:
    tray.start()
    seconds = []
    for _ in range(3):  # the machine may be busy once
        clicked = time.monotonic()
        tray.open_menu()
        seconds.append(time.monotonic() - clicked)
        tray.desktop.click(*BESIDE)
        tray.wait_until_closed()
    assert min(seconds) < seconds_of_double_click(tray.desktop)
    assert tray.product.opened_nothing()


def test_a_single_left_click_opens_the_menu_after_the_double_click_time(tray: Tray) -> None:
    tray.start()
    limit = seconds_of_double_click(tray.desktop)
    clicked = time.monotonic()
    tray.click()
    tray.wait_for_menu()
    assert time.monotonic() - clicked >= limit
    assert tray.product.opened_nothing()


def test_a_double_click_opens_the_console_and_no_menu(tray: Tray) -> None:
    tray.start()
    limit = seconds_of_double_click(tray.desktop)
    tray.double_click()
    clicked = time.monotonic()
    tray.desktop.wait_for_consoles(1)
    while time.monotonic() < clicked + 2 * limit:
        assert not tray.popups()
    assert tray.product.console_arguments() == [""]


def test_a_double_click_after_a_double_click_opens_another_console(tray: Tray) -> None:
    tray.start()
    for count in (1, 2):
        tray.double_click()
        tray.desktop.wait_for_consoles(count)
    tray.click()
    tray.wait_for_menu()


def test_a_click_beside_the_menu_closes_it(tray: Tray) -> None:
    tray.start()
    tray.open_menu()
    tray.desktop.click(*BESIDE)
    tray.wait_until_closed()
    tray.open_menu()
    assert tray.product.opened_nothing()


def test_the_menu_opens_again_and_again(tray: Tray) -> None:
    tray.start()
    for _ in range(5):
        first = tray.open_menu().items()
        tray.desktop.click(*BESIDE)
        tray.wait_until_closed()
    assert tray.open_menu().items() == first


@pytest.mark.parametrize("end", ["exit event", "WM_CLOSE"])
def test_the_agent_can_be_ended_while_its_menu_is_open(tray: Tray, end: str) -> None:
    process = tray.start()
    tray.open_menu()
    if end == "WM_CLOSE":
        tray.product.frame().post(WM_CLOSE)
    else:
        tray.product.signal_exit()
    assert process.wait() == 0
    assert not tray.popups()
    assert tray.is_empty()


def test_the_agent_can_be_ended_before_a_single_click_has_become_a_menu(tray: Tray) -> None:
    process = tray.start()
    tray.click()
    tray.product.frame().post(WM_CLOSE)
    assert process.wait() == 0
    assert not tray.popups()
    assert tray.is_empty()


def test_clicks_on_the_icon_while_the_menu_is_open_do_no_harm(tray: Tray) -> None:
    process = tray.start()
    frame = tray.product.frame()
    tray.open_menu()
    for event in (WM_RBUTTONUP, WM_LBUTTONUP, WM_RBUTTONUP, WM_LBUTTONUP, WM_RBUTTONUP):
        frame.post(TRAY_CALLBACK, ICON_ID, event)
    assert frame.send(0) == 0

    def all_are_closed() -> bool:
        frame.send(WM_CANCELMODE)
        return not tray.popups()

    wait_until(all_are_closed, "the end of all menus")
    tray.product.signal_exit()
    assert process.wait() == 0
    assert tray.is_empty()


@pytest.mark.parametrize("name", PRODUCTS_WITHOUT)
def test_the_other_products_have_no_icon_and_need_no_profile(tray: Tray, name: str) -> None:
    (tray.product.root / "Configuration/UiDeskTrayProfile.xml").unlink()
    process = tray.start(name)
    product_id = PRODUCTS_WITHOUT[name]
    assert tray.product.frame(product_id).process == process.number
    assert tray.is_empty()
    tray.product.signal_exit(product_id)
    assert process.wait() == 0

"""What a thousand uses of the menu and the icon leave behind in the agent: nothing."""

from __future__ import annotations

import time
from collections.abc import Callable

from desktop import Process, wait_until
from product import ProductPath
from tray import Tray

WM_CANCELMODE = 0x001F
WM_COMMAND = 0x0111
WM_RBUTTONUP = 0x0205
GET_MENU_OF_POPUP = 0x01E1
TRAY_CALLBACK = 0x800A
ICON_ID = 314
SCAN_COMMAND = 32791
TIMES = 1000
MEMORY_UNREST = 128 << 10  # bytes


def soon(condition: Callable[[], bool], what: str) -> None:
    """As wait_until, but without a pause between two looks."""
    deadline = time.monotonic() + 10
    while not condition():
        assert time.monotonic() < deadline, f"not in time: {what}"


def assert_no_growth(process: Process, before: dict[str, int]) -> None:
    allowed = {**before, "memory": before["memory"] + MEMORY_UNREST}
    wait_until(
        lambda: all(now <= allowed[name] for name, now in process.counts().items()),
        f"counts not above {allowed}; last {process.counts()}",
        5,
    )


def test_a_thousand_menus_leave_nothing_behind(tray: Tray) -> None:
    process = tray.start()
    frame = tray.product.frame()

    def open_and_close_the_menu() -> int:
        """The number of the place that the system had for it."""
        frame.post(TRAY_CALLBACK, ICON_ID, WM_RBUTTONUP)
        soon(lambda: bool(tray.popups()), "the menu")
        menu = tray.popups()[0].window.send(GET_MENU_OF_POPUP)
        frame.send(WM_CANCELMODE)
        soon(lambda: not tray.popups(), "the end of the menu")
        return menu & 0xFFFF

    first = max(open_and_close_the_menu() for _ in range(TIMES // 10))
    before = process.counts()
    assert min(before.values()) > 0, "nothing was counted"
    last = max(open_and_close_the_menu() for _ in range(TIMES))
    assert_no_growth(process, before)
    assert last < first + TIMES // 10, "menus are not destroyed"


def test_a_thousand_icon_changes_leave_nothing_behind(tray: Tray, product_path: ProductPath) -> None:
    product_path.set(tray.product.windows_root)
    process = tray.start()
    frame = tray.product.frame()

    def restart_the_scan(times: int) -> None:
        for _ in range(times):
            frame.send(WM_COMMAND, SCAN_COMMAND)

    restart_the_scan(TIMES // 10)
    before = process.counts()
    restart_the_scan(TIMES)
    assert_no_growth(process, before)
    assert not tray.product.log_lines("Change tray icon failed...")

"""The taskbar that goes, comes back and refuses: played by a window that stands before the real one."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import Desktop, wait_until
from product import Product, ProductPath
from tray import Tray
from tray_data import read_texts

ADD, MODIFY, DELETE = 0, 1, 2
MESSAGE, ICON, TIP, STATE = 1, 2, 4, 8
WHOLE = MESSAGE | ICON | TIP
ICON_ID = 314
TRAY_CALLBACK = 0x800A
WM_TIMER = 0x0113
SCAN_TIMER = 2
BUSY = ": [WARN] explorer.exe is still busy or not running."
DONE = ": [WARN] retry to update tray state successfully."


class Taskbar:
    """Takes the place of the real taskbar, until it is closed."""

    def __init__(self, desktop: Desktop) -> None:
        self._probe = desktop.probe

    def open(self, refuse: bool = False) -> None:
        self._probe.request("openTaskbar", refuse=int(refuse))

    def refuse(self, refuse: bool) -> None:
        self._probe.request("setTaskbar", refuse=int(refuse))

    def close(self) -> None:
        self._probe.request("closeTaskbar")

    def tell_created(self) -> None:
        self._probe.request("broadcast", name="TaskbarCreated")

    def calls(self) -> list[dict[str, str]]:
        return self._probe.request("taskbarCalls")

    def asked(self) -> list[tuple[int, int]]:
        """Message and flags of each call, in their order."""
        return [(int(call["message"]), int(call["flags"])) for call in self.calls()]

    def wait_for_calls(self, count: int) -> list[tuple[int, int]]:
        wait_until(lambda: len(self.calls()) >= count, f"{count} calls to the taskbar")
        return self.asked()


@pytest.fixture
def taskbar(desktop: Desktop) -> Iterator[Taskbar]:
    taskbar = Taskbar(desktop)
    yield taskbar
    taskbar.close()


def tooltip(tray: Tray, name: str) -> str:
    return read_texts(tray.product.root)["Tooltips"][name]


def test_the_icon_is_added_once_with_all_that_belongs_to_it(taskbar: Taskbar, tray: Tray) -> None:
    taskbar.open()
    tray.product.start_running()
    (call,) = taskbar.calls()
    assert (int(call["message"]), int(call["flags"])) == (ADD, WHOLE)
    assert int(call["id"]) == ICON_ID
    assert int(call["callbackMessage"]) == TRAY_CALLBACK
    assert int(call["window"]) == tray.product.frame().handle
    assert call["tooltip"] == tooltip(tray, "idle")


def test_the_icon_is_deleted_at_the_end(taskbar: Taskbar, tray: Tray) -> None:
    taskbar.open()
    process = tray.product.start_running()
    tray.product.signal_exit()
    assert process.wait() == 0
    assert [message for message, _ in taskbar.asked()] == [ADD, DELETE]


def test_a_taskbar_that_refuses_the_icon_ends_the_start(taskbar: Taskbar, tray: Tray) -> None:
    taskbar.open(refuse=True)
    process = tray.product.start()
    process.wait()
    assert [message for message, _ in taskbar.asked()] == [ADD, MODIFY]
    for line in ("m_sysTray.Create Failed...", "Install system tray failed..."):
        assert len(tray.product.log_lines(f": [ERROR] {line}", process)) == 1
    assert tray.product.log_lines("Shell_NotifyIcon (Add to Status Area), GetLastError =", process)
    assert tray.product.has_ended()


def test_a_taskbar_that_comes_back_gets_the_icon_anew(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    taskbar.open()
    taskbar.tell_created()
    assert taskbar.wait_for_calls(1) == [(ADD, WHOLE)]
    assert taskbar.calls()[0]["tooltip"] == tooltip(tray, "idle")
    assert len(tray.product.log_lines(": [WARN] OnTaskbarCreated", process)) == 1


def test_a_taskbar_that_comes_back_and_refuses_is_told_again_at_its_next_coming(
    taskbar: Taskbar, tray: Tray
) -> None:
    tray.start()
    taskbar.open(refuse=True)
    taskbar.tell_created()
    assert taskbar.wait_for_calls(1) == [(ADD, WHOLE)]
    taskbar.refuse(False)
    taskbar.tell_created()
    assert taskbar.wait_for_calls(2) == [(ADD, WHOLE), (ADD, WHOLE)]


def test_a_busy_taskbar_is_asked_each_second_until_it_accepts(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    taskbar.open(refuse=True)
    frame = tray.product.frame()
    frame.post(WM_TIMER, SCAN_TIMER)  # a tick refreshes the tooltip
    calls = taskbar.wait_for_calls(5)
    retry = [(MODIFY, ICON | TIP | STATE), (ADD, WHOLE | STATE)]
    assert calls[:5] == [(MODIFY, TIP), *retry, *retry]
    assert len(tray.product.log_lines(BUSY, process)) >= 2
    frame.send(WM_TIMER, SCAN_TIMER)  # a second failure starts no second timer
    assert len(tray.product.log_lines(": [ERROR] SetTooltipText failed...Tooltip = ", process)) == 2
    assert not tray.product.log_lines(DONE, process)

    taskbar.refuse(False)
    tray.product.wait_for_log(DONE, process)
    assert taskbar.asked()[-1] == retry[0]
    assert taskbar.calls()[-1]["tooltip"] == tooltip(tray, "scanning").replace("%progress%", "0%")
    after = len(taskbar.calls())
    frame.send(WM_TIMER, SCAN_TIMER)
    assert taskbar.asked()[after:] == [(MODIFY, TIP)], "nobody asks any more"


def test_a_new_taskbar_that_knows_no_icon_gets_it_from_the_retry(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    picture = tray.idle_picture()
    taskbar.open(refuse=True)
    tray.product.frame().post(WM_TIMER, SCAN_TIMER)
    tray.product.wait_for_log(BUSY, process)
    taskbar.close()  # the real one is there again
    tray.product.wait_for_log(DONE, process)
    assert tray.pixels() == picture


def test_it_ends_while_the_taskbar_refuses(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    taskbar.open(refuse=True)
    tray.product.signal_exit()
    assert process.wait() == 0
    assert tray.product.log_lines(": [ERROR] RemoveIcon failed...", process)
    assert {message for message, _ in taskbar.asked()} == {DELETE}


# At bad moments.


def test_the_taskbar_may_come_back_while_the_menu_is_open(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    menu = tray.open_menu()
    before = menu.items()
    taskbar.open()
    taskbar.tell_created()
    assert taskbar.wait_for_calls(1) == [(ADD, WHOLE)]
    assert [item.text for item in menu.items()] == [item.text for item in before]
    menu.click(before[0].text.replace("&", ""))
    tray.desktop.wait_for_consoles(1)
    assert process.running


def test_the_taskbar_may_come_back_while_a_scan_runs(
    taskbar: Taskbar, tray: Tray, product_path: ProductPath
) -> None:
    product_path.set(tray.product.windows_root)
    process = tray.start()
    tray.choose(read_texts(tray.product.root)["Menus"]["startScan"].replace("&", ""))
    frames = tray.scanning_pictures()
    wait_until(lambda: tray.pixels() in frames, "a frame of the scan")
    taskbar.open(refuse=True)
    tray.product.wait_for_log(BUSY, process)
    taskbar.refuse(False)
    taskbar.tell_created()
    wait_until(lambda: (ADD, WHOLE) in taskbar.asked(), "the icon's coming back")
    tray.product.wait_for_log(DONE, process)
    taskbar.close()
    wait_until(lambda: tray.pixels() in frames, "the scan to go on")
    now = tray.pixels()
    wait_until(lambda: tray.pixels() in frames and tray.pixels() != now, "the next frame")


def test_the_taskbar_may_come_back_many_times(taskbar: Taskbar, tray: Tray) -> None:
    process = tray.start()
    taskbar.open()
    for _ in range(20):
        taskbar.tell_created()
    assert taskbar.wait_for_calls(20) == [(ADD, WHOLE)] * 20
    assert process.running


def test_the_products_without_a_tray_take_no_notice(taskbar: Taskbar, product: Product) -> None:
    taskbar.open()
    process = product.start_running(name="QxSessionAgent_B.exe")
    taskbar.tell_created()
    product.signal_exit("Brisketta")
    assert process.wait() == 0
    assert taskbar.calls() == []

"""The splash on the screen: what it looks like, what ends it, and what opens behind it."""

from __future__ import annotations

import json
import shutil
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest

from desktop import WM_CLOSE, Process, Window, wait_until
from host import HostService
from link_log import SUCCESS, signed
from product import PLANTED, Product

MARKER = "NorvaneSoftMelvio uiDeskTray.exe splash"
WIDTH, HEIGHT = 474, 238
LEFT, TOP = (1280 - WIDTH) // 2, (800 - HEIGHT) // 2
IMAGES = [("splash.png", 0, 0), ("productname_splash.png", 33, 60), ("ic_vzlogo_splash.png", 377, 197)]
# From here on the line of text may stand.
TEXT_TOP = 205


class Splash:
    """The splash of the agents of one product tree."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.desktop = product.desktop
        self.host = HostService(product)
        self.behind = self.pixels()

    @property
    def folder(self) -> Path:
        return self.product.root / "Misc" / "Resource" / "en-us"

    def windows(self) -> list[Window]:
        return [window for window in self.desktop.windows() if window.property(MARKER) == 1]

    def wait(self) -> Window:
        wait_until(self.windows, "the splash")
        (window,) = self.windows()
        window.send(0)  # its loop runs
        return window

    def wait_for_end(self) -> None:
        wait_until(lambda: not self.windows(), "the end of the splash")

    def start(self) -> Process:
        """Starts the agent with the splash; it can be sent commands then."""
        process = self.product.start_running("3")
        self.host.wait_for_event(process.number, 18)
        return process

    def end(self) -> None:
        assert self.host.send({"JD_COMMAND_ID": 1010})["retCode"] == signed(SUCCESS)

    def pixels(self) -> list[bytes]:
        """The place of the splash on the screen: red, green and blue of each pixel."""
        return _chunks(self.desktop.pixels(LEFT, TOP, WIDTH, HEIGHT), 3)

    def picture(self, missing: str = "") -> list[bytes]:
        """The images over each other: red, green, blue and opacity of each pixel."""
        command = ["convert", "-size", f"{WIDTH}x{HEIGHT}", "xc:none"]
        for name, x, y in IMAGES:
            if name != missing:
                command += [str(self.folder / name), "-geometry", f"+{x}+{y}", "-composite"]
        command += ["-depth", "8", "rgba:-"]
        return _chunks(subprocess.run(command, stdout=subprocess.PIPE, check=True, timeout=60).stdout, 4)

    def is_on_the_screen(self, missing: str = "") -> bool:
        """Whether it covers the desktop where the picture is opaque, and only there."""
        shown, opaque, clear = self.pixels(), 0, 0
        for index, (seen, behind, pixel) in enumerate(zip(shown, self.behind, self.picture(missing), strict=True)):
            if index // WIDTH >= TEXT_TOP:
                continue
            if pixel[3] == 255:
                opaque += 1
                if max(abs(a - b) for a, b in zip(seen, pixel, strict=False)) > 3:
                    return False
            elif pixel[3] == 0:
                clear += 1
                if seen != behind:
                    return False
        return opaque > 0 and clear > 0


def _chunks(data: bytes, size: int) -> list[bytes]:
    return [data[begin : begin + size] for begin in range(0, len(data), size)]


@pytest.fixture
def splash(product: Product) -> Iterator[Splash]:
    wait_until(lambda: not product.desktop.consoles(), "an empty desktop")
    yield Splash(product)


def test_it_covers_the_middle_of_the_screen_until_the_service_ends_it(splash: Splash) -> None:
    process = splash.start()
    window = splash.wait()
    assert window.visible
    assert window.process == process.number
    assert window.center == (640, 400)
    wait_until(splash.is_on_the_screen, "the picture on the screen", 10)
    assert splash.product.opened_nothing()

    splash.end()
    splash.wait_for_end()
    splash.desktop.wait_for_consoles(1)
    assert splash.product.console_arguments() == [""]
    assert len(splash.product.log_lines(": [INFO] Close Splash... - ", process)) == 1
    assert splash.product.log_lines("Wait for signal event failed") == []


def test_its_line_of_text_stands_below_the_picture(splash: Splash) -> None:
    splash.start()
    splash.wait()
    wait_until(splash.is_on_the_screen, "the picture on the screen", 10)
    picture, shown = splash.picture(), splash.pixels()
    rows = range(210 * WIDTH, 225 * WIDTH)
    changed = [i % WIDTH for i in rows if picture[i][3] == 255 and picture[i][:3] != shown[i]]
    assert changed and min(changed) >= 12


def test_the_agent_ends_although_it_is_shown(splash: Splash) -> None:
    process = splash.start()
    splash.wait()
    splash.product.signal_exit()
    assert process.wait() == 0
    assert splash.windows() == []
    assert splash.product.opened_nothing()


def test_a_command_that_comes_before_it_does_not_end_it(splash: Splash) -> None:
    first = splash.product.start_running()
    splash.host.wait_for_event(first.number, 18)
    splash.end()
    second = splash.product.start("3")
    splash.wait()
    assert second.running
    assert splash.product.opened_nothing()
    splash.end()
    splash.wait_for_end()
    assert second.wait() == 0


def test_a_second_start_shows_it_too_and_opens_the_console_behind_it(splash: Splash) -> None:
    first = splash.product.start_running()
    splash.host.wait_for_event(first.number, 18)
    second = splash.product.start("3")
    assert splash.wait().process == second.number
    splash.end()
    assert second.wait() == 0
    splash.desktop.wait_for_consoles(1)
    assert splash.windows() == []
    assert first.running


def test_the_console_waits_for_the_service_when_the_user_closes_it(splash: Splash) -> None:
    splash.start()
    splash.wait().send(WM_CLOSE)
    splash.wait_for_end()
    wait_until(lambda: splash.pixels() == splash.behind, "the desktop behind it", 10)
    assert splash.product.opened_nothing()
    splash.end()
    splash.desktop.wait_for_consoles(1)


def test_another_process_may_signal_the_event_itself(splash: Splash) -> None:
    splash.start()
    splash.wait()
    name = "Global\\GLOBAL_EVENT_SPLASH_NOTIFYMelvio"
    assert splash.desktop.probe.ask("setEvent", name=name)["error"] == "0"
    splash.wait_for_end()
    splash.desktop.wait_for_consoles(1)


def test_an_event_that_is_not_to_be_had_leaves_it_on_the_screen(splash: Splash) -> None:
    name = "Global\\GLOBAL_EVENT_SPLASH_NOTIFYMelvio"
    taken = splash.desktop.probe.ask("create", kind="mutex", name=name)
    try:
        process = splash.start()
        window = splash.wait()
        splash.product.wait_for_log(": [ERROR] CreateMultipleGlobal failed... ErrorCode=6", process)
        splash.product.wait_for_log(": [ERROR] Call the start function failed with ", process)
        splash.desktop.wait_for_consoles(1)  # the next item of the mode
        assert window.handle in [shown.handle for shown in splash.windows()]
    finally:
        splash.desktop.probe.request("close", id=taken["id"])


def test_it_is_there_and_seen_through_without_any_image(splash: Splash) -> None:
    for name, _, _ in IMAGES:
        (splash.folder / name).unlink()
    process = splash.start()
    window = splash.wait()
    assert window.visible
    assert window.center == (640, 400)
    assert splash.pixels() == splash.behind
    assert len(splash.product.log_lines("Common wstrFullPath: ", process)) == len(IMAGES)
    splash.end()
    splash.wait_for_end()


BROKEN = {"empty": b"", "text": b"no image", "cut": b"\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0"}


@pytest.mark.parametrize("data", BROKEN.values(), ids=BROKEN)
def test_a_broken_image_is_missing_and_nothing_else(splash: Splash, data: bytes) -> None:
    name = "productname_splash.png"
    (splash.folder / name).write_bytes(data)
    process = splash.start()
    splash.wait()
    wait_until(lambda: splash.is_on_the_screen(missing=name), "the picture without the name", 10)
    assert splash.product.log_lines("Common wstrFullPath: ", process) == []
    splash.end()
    splash.wait_for_end()
    splash.desktop.wait_for_consoles(1)


def test_a_language_takes_from_english_what_it_lacks(splash: Splash) -> None:
    resources = splash.folder.parent
    locales = splash.product.root / "Configuration" / "localeInfo.json"
    locales.write_text(json.dumps({"localMapping": [], "defaultLocal": "qq-qq"}))
    shutil.copytree(resources / "en-us", resources / "qq-qq")
    (resources / "qq-qq" / "splash.png").unlink()
    process = splash.start()
    splash.wait()
    wait_until(splash.is_on_the_screen, "the picture on the screen", 10)
    begin = f": [INFO] Common wstrFullPath: {splash.product.windows_root}\\misc\\Resource\\en-us"
    (line,) = splash.product.log_lines("Common wstrFullPath: ", process)
    assert f"{begin}\\splash.png - Splash(" in line
    assert len(splash.product.log_lines("Localized wstrFullPath: ", process)) == len(IMAGES)


def test_it_takes_no_drawing_library_from_beside_the_program(splash: Splash) -> None:
    shutil.copy2(PLANTED, splash.product.root / "gdiplus.dll")
    process = splash.start()
    splash.wait()
    wait_until(splash.is_on_the_screen, "the picture on the screen", 10)
    assert not list(splash.product.root.rglob("*.loaded"))
    assert any(path.lower().endswith("\\system32\\gdiplus.dll") for path in process.modules())

"""The agent's icon in the notification area and its menu: clicked with the real mouse, read back from the
screen and from the menu itself."""

from __future__ import annotations

import os
from dataclasses import dataclass
from pathlib import Path

from desktop import Desktop, Process, Window, wait_until, windows_path
from product import Product

MENU_READER = Path(os.environ.get("QX_MENU_READER", "MenuReader.dll"))
POPUP_CLASS = "#32768"
ICON_SIZE = 16
ICON_RESOURCE = 128
# The cell of the first icon: its corner from the screen's right and lower edge.
_CELL = (1280 - 18, 800 - 18)
_CENTRE = (_CELL[0] + ICON_SIZE // 2, _CELL[1] + ICON_SIZE // 2)
# Where the pointer neither touches the icon nor covers the menu.
BESIDE = (300, 300)

RIGHT, LEFT = 3, 1


@dataclass(frozen=True)
class MenuItem:
    """An entry of a menu as it is on the screen. Those of a submenu stand behind its entry, one deeper."""

    depth: int
    id: int
    text: str
    separator: bool
    checked: bool
    greyed: bool
    default: bool
    selected: bool
    submenu: bool
    center: tuple[int, int]


def _item(record: dict[str, str]) -> MenuItem:
    flags = {
        name: record[name] == "1"
        for name in ("separator", "checked", "greyed", "default", "selected", "submenu")
    }
    center = (int(record.get("x", "0")), int(record.get("y", "0")))
    return MenuItem(int(record["depth"]), int(record["id"]), record["text"], center=center, **flags)


class Popup:
    """A menu's window on the screen."""

    def __init__(self, desktop: Desktop, window: Window) -> None:
        self._desktop = desktop
        self.window = window

    def items(self) -> list[MenuItem]:
        reader = windows_path(MENU_READER)
        records = self._desktop.probe.request("menu", window=self.window.handle, reader=reader)
        return [_item(record) for record in records]

    def item(self, text: str) -> MenuItem:
        """The entry of that text, without the mark of its access key."""
        return next(item for item in self.items() if item.text.replace("&", "") == text)

    def selected(self) -> str:
        """The entry that the keys have reached, without the mark of its access key; empty if none."""
        return next((item.text.replace("&", "") for item in self.items() if item.selected), "")

    def click(self, text: str) -> None:
        self._desktop.click(*self.item(text).center)


class Tray:
    """The icon of the agent that runs from a product tree."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.desktop = product.desktop

    def start(self, name: str = "QxSessionAgent_M.exe") -> Process:
        """Starts the agent and waits until it has come up, its icon the only one."""
        wait_until(self.is_empty, "the end of every other icon")
        self.desktop.move_pointer(*BESIDE)
        return self.product.start_running(name=name)

    # The icon

    def pixels(self) -> bytes:
        """Three bytes a pixel, red, green and blue, from the cell of the first icon."""
        return self.desktop.pixels(*_CELL, ICON_SIZE, ICON_SIZE)

    def is_empty(self) -> bool:
        pixels = self.pixels()
        return pixels == pixels[:3] * ICON_SIZE**2

    def background(self) -> bytes:
        return self.desktop.pixels(_CELL[0] - 200, _CELL[1], 1, 1)

    def picture_of(self, **source: str | int) -> bytes:
        """What the cell looks like with an icon: of a "file", or of a "program" and its resource "id"."""
        background = int.from_bytes(self.background(), "big")
        reply = self.desktop.probe.ask("drawIcon", size=ICON_SIZE, background=background, **source)
        assert reply["error"] == "0", source
        return bytes.fromhex(reply["colours"])

    def idle_picture(self, name: str = "QxSessionAgent_M.exe") -> bytes:
        program = windows_path(self.product.program(name))
        return self.picture_of(program=program, id=ICON_RESOURCE)

    def scanning_pictures(self) -> list[bytes]:
        """What the cell looks like with each frame of a running scan."""
        folder = self.product.root / "Misc/Icons"
        files = sorted(folder.glob("scanning*.ico"), key=lambda file: int(file.stem.removeprefix("scanning")))
        return [self.picture_of(file=windows_path(file)) for file in files]

    # The menu

    def click(self, button: int = LEFT) -> None:
        self.desktop.click(*_CENTRE, button)

    def hover(self) -> None:
        """Rests the pointer on the icon."""
        for x in (_CENTRE[0] - 3, _CENTRE[0]):
            self.desktop.move_pointer(x, _CENTRE[1])

    def double_click(self) -> None:
        self.desktop.click(*_CENTRE, repeat=2)

    def popups(self) -> list[Popup]:
        """The menus on the screen, the one that opened last first."""
        windows = self.desktop.windows(POPUP_CLASS)
        return [Popup(self.desktop, window) for window in windows if window.visible]

    def wait_for_menu(self, count: int = 1) -> Popup:
        """The menu that opened last, once there are so many."""
        wait_until(lambda: len(self.popups()) == count, f"{count} menus on the screen", 10)
        return self.popups()[0]

    def wait_until_closed(self) -> None:
        wait_until(lambda: not self.popups(), "the end of the menu", 10)

    def open_menu(self) -> Popup:
        self.click(RIGHT)
        return self.wait_for_menu()

    def choose(self, *texts: str) -> None:
        """Opens the menu and clicks through its submenus to an entry."""
        menu = self.open_menu()
        for depth, text in enumerate(texts, start=1):
            menu.click(text)
            if depth < len(texts):
                menu = self.wait_for_menu(depth + 1)
        self.wait_until_closed()

    def rest_keys_on_menu(self, menu: Popup) -> None:
        """A display without a window manager gives the keys to the window under the pointer. Puts that where
        it selects nothing."""
        x, y = menu.window.corner
        self.desktop.move_pointer(x, y)

    def close(self) -> None:
        """Ends the agent as a person would, so that its icon does not stay behind."""
        frame = self.product.find_frame()
        if frame is not None:
            self.product.signal_exit()
            wait_until(self.product.has_ended, "the end of the agent")

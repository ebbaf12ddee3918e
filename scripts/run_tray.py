"""What the person at the desktop sees of the product: splash, icon, tooltip and menu, in one language."""

from __future__ import annotations

from desktop import WM_CLOSE, Process, Window, console_command_line, wait_until
from host import HostService
from narration import Camera, detail, expect
from product import Product
from tray import BESIDE, Tray
from tray_data import read_texts

_SPLASH = "NorvaneSoftMelvio uiDeskTray.exe splash"
_SPLASH_END = {"JD_COMMAND_ID": 1010}
_START_FINISHED = 18
_MIDDLE = (640, 400)


class TrayPlay:
    """The steps for a language, whose desktop starts the agent."""

    def __init__(self, product: Product, host: HostService, camera: Camera, locale: str) -> None:
        self._product = product
        self._desktop = product.desktop
        self._host = host
        self._camera = camera
        self._locale = locale
        self._tray = Tray(product)
        texts = read_texts(product.root, locale)["Menus"]
        self._texts = {name: text.replace("&", "") for name, text in texts.items()}

    def run(self) -> None:
        self._desktop.move_pointer(*BESIDE)
        self._host.start()
        agent = self._show_splash()
        self._show_tooltip()
        self._show_menu()
        self._open_console_from_menu()
        self._open_console_by_double_click()
        self._exit(agent)

    def _show_splash(self) -> Process:
        agent = self._product.start("3")
        detail(f"process {agent.number}: QxSessionAgent_M.exe 3, the start with a splash")
        wait_until(self._splash, "the splash in the middle of the screen")
        wait_until(lambda: self._tray.pixels() == self._tray.idle_picture(), "the icon")
        self._host.wait_for_event(agent.number, _START_FINISHED)
        detail("the splash is in the middle of the screen; the icon stands")
        self._picture("splash")
        expect(int(self._host.send(_SPLASH_END)["retCode"]) >= 0, "the splash's event is signalled")
        wait_until(lambda: self._splash() is None, "the end of the splash")
        self._desktop.wait_for_consoles(1)
        detail("command 1010 has ended it, and the console has opened behind it")
        self._close_consoles()
        return agent

    def _show_tooltip(self) -> None:
        self._tray.hover()
        wait_until(lambda: any(w.visible for w in self._desktop.windows("tooltips_class32")), "the tooltip")
        self._picture("tooltip")
        self._desktop.move_pointer(*BESIDE)

    def _show_menu(self) -> None:
        menu = self._tray.open_menu()
        for item in menu.items():
            marks = [name for name in ("default", "checked", "greyed", "submenu") if getattr(item, name)]
            entry = "-" * 8 if item.separator else f"{item.text}  {' '.join(marks)}".rstrip()
            detail("  | " + 4 * item.depth * " " + entry)
        menu.click(self._texts["show"])
        self._tray.wait_for_menu(2)
        self._picture("menu")
        self._desktop.click(*BESIDE)
        self._tray.wait_until_closed()

    def _open_console_from_menu(self) -> None:
        self._tray.choose(self._texts["openConsole"])
        (console,) = self._desktop.wait_for_consoles(1)
        detail(f'"{self._texts["openConsole"]}" has started {console_command_line(console)}')
        self._picture("console-from-the-menu")
        self._close_consoles()

    def _open_console_by_double_click(self) -> None:
        self._tray.double_click()
        self._desktop.wait_for_consoles(1)
        detail("a double-click on the icon has opened the console")
        self._picture("console-by-double-click")

    def _exit(self, agent: Process) -> None:
        self._tray.choose(self._texts["exit"])
        expect(agent.wait() == 0, "the agent ends")
        expect(not self._desktop.consoles(), "its consoles are closed")
        wait_until(self._tray.is_empty, "the end of the icon")
        detail(f'"{self._texts["exit"]}" has closed the console and ended the agent; the icon is gone')
        self._host.stop()

    def _splash(self) -> Window | None:
        windows = (w for w in self._desktop.windows() if w.center == _MIDDLE and w.visible)
        return next((window for window in windows if window.property(_SPLASH) == 1), None)

    def _close_consoles(self) -> None:
        for console in self._desktop.consoles():
            console.post(WM_CLOSE)
        wait_until(lambda: not self._desktop.consoles(), "the end of the consoles")

    def _picture(self, name: str) -> None:
        self._camera.take(f"{self._locale}-{name}")

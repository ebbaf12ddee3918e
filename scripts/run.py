"""Plays the agent's main job on the desktop that "./qx run" has brought up, tells what happens, and keeps
pictures of the screen in out/run."""

from __future__ import annotations

import os
import shutil
import sys
from pathlib import Path, PureWindowsPath

_ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(_ROOT / "tests/e2e"))
sys.dont_write_bytecode = True

from desktop import Desktop, Process, console_command_line, wait_until  # noqa: E402
from product import Product  # noqa: E402

_PICTURES = _ROOT / "out/run"
_BUILD = _ROOT / "out/build" / os.environ.get("QX_PRESET", "win64")
_DRIVE_C = Path(os.environ["WINEPREFIX"]) / "drive_c"
_INSTALLED = Path("Program Files/Norvane Soft/Melvio")
_LOG = Path("ProgramData/Norvane Soft/Log")
_TOLD = ("Start Mode: ", "A program instance", "Show QX UI.", "exit")


def tell(text: str) -> None:
    print(f"\n{text}", flush=True)


def detail(text: str) -> None:
    print(f"    {text}", flush=True)


def expect(holds: bool, what: str) -> None:
    if not holds:
        raise AssertionError(what)


class Play:
    """The steps of the main job, in their order."""

    def __init__(self, product: Product) -> None:
        self._product = product
        self._desktop = product.desktop
        self._pictures = 0
        self._lines_told: set[str] = set()
        self._consoles_told: set[int] = set()

    def run(self) -> None:
        agent = self._start_first()
        self._start_second(agent)
        self._start_support_mode(agent)
        self._signal_exit(agent)
        self._close_consoles()

    def _start_first(self) -> Process:
        tell("1. The agent starts in mode 2, whose one item opens the console.")
        agent = self._product.start_running("2")
        detail(f"process {agent.number}: QxSessionAgent_M.exe 2")
        self._desktop.wait_for_consoles(1)
        frame = self._product.frame()
        detail(f"its hidden window {frame.handle:#x} carries the mark of the product's agent")
        self._show_consoles()
        self._tell_log()
        self._picture("console")
        return agent

    def _start_second(self, agent: Process) -> None:
        tell("2. A second start in the same session opens the console again, and leaves.")
        second = self._product.start("2")
        exit_code = second.wait()
        detail(f"process {second.number} has ended with code {exit_code}; process {agent.number} runs on")
        expect(exit_code == 0 and agent.running, "the second start leaves, the first one stays")
        self._desktop.wait_for_consoles(2)
        self._show_consoles()
        self._tell_log()
        self._picture("second-start")

    def _start_support_mode(self, agent: Process) -> None:
        tell("3. A start in mode 6, which has three items, opens one console after the other.")
        third = self._product.start("6")
        expect(third.wait() == 0 and agent.running, "a later start leaves as well")
        self._desktop.wait_for_consoles(5)
        self._show_consoles()
        self._tell_log()
        self._picture("mode-6")

    def _signal_exit(self, agent: Process) -> None:
        tell('4. Another program of the product signals "Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio".')
        self._product.signal_exit()
        exit_code = agent.wait()
        detail(f"process {agent.number} has ended with code {exit_code}")
        expect(exit_code == 0, "a clean end")
        expect(self._product.has_ended(), "no window and no mutex left")
        detail("its window, its mutex and its event are gone; the consoles are left to the user")
        self._tell_log()

    def _close_consoles(self) -> None:
        tell("5. The user closes the consoles.")
        for console in self._desktop.consoles():
            console.post(0x0010)
        wait_until(lambda: not self._desktop.consoles(), "the end of the consoles")
        self._picture("end")

    def _show_consoles(self) -> None:
        for console in reversed(self._desktop.consoles()):
            if console.handle not in self._consoles_told:
                detail(f"on the screen: {console.title}, process {console.process}")
                detail(f"    started as {console_command_line(console)}")
                self._consoles_told.add(console.handle)

    def _tell_log(self) -> None:
        # Each running instance writes a file of its own; the time in front brings the lines into order.
        text = self._product.log_text()
        lines = [line for line in text.splitlines() if any(word in line for word in _TOLD)]
        detail("the log says:")
        for line in sorted(set(lines) - self._lines_told):
            detail(f"  | {line}")
        self._lines_told.update(lines)

    def _picture(self, name: str) -> None:
        self._pictures += 1
        path = _PICTURES / f"{self._pictures}-{name}.png"
        self._desktop.screenshot(path)
        detail(f"picture: {path.relative_to(_ROOT)}")


def install(desktop: Desktop) -> Product:
    """Puts the staged tree where an installer would."""
    shutil.copytree(_ROOT / "out/stage", _DRIVE_C / _INSTALLED)
    windows_root = str(PureWindowsPath("C:/") / _INSTALLED)
    return Product(desktop, _DRIVE_C / _INSTALLED, _DRIVE_C / _LOG, windows_root)


def main() -> int:
    shutil.rmtree(_PICTURES, ignore_errors=True)
    desktop = Desktop(dict(os.environ), _BUILD / "tests/programs/winprobe/winprobe.exe")
    product = install(desktop)
    try:
        Play(product).run()
    except AssertionError as failure:
        desktop.screenshot(_PICTURES / "failure.png")
        detail("all that the log says:")
        print(product.log_text(), flush=True)
        tell(f"FAILED: {failure}; see out/run/failure.png")
        return 1
    finally:
        product.end()
        desktop.close()
    tell("The main job works: started, console opened, opened again, left when told. Pictures: out/run/")
    return 0


if __name__ == "__main__":
    sys.exit(main())

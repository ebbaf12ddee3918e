"""Plays the family's main job on the desktop that "./qx run" has brought up, tells what happens, and keeps
pictures of the screen in out/run."""

from __future__ import annotations

import json
import os
import shutil
import sys
from pathlib import Path, PureWindowsPath

_ROOT = Path(__file__).resolve().parents[1]
sys.path.insert(0, str(_ROOT / "tests/e2e"))
sys.dont_write_bytecode = True

from desktop import Desktop, Process, Window, console_command_line, wait_until  # noqa: E402
from host import HostService, Json  # noqa: E402
from narration import PICTURES, Camera, detail, expect, tell  # noqa: E402
from product import Product  # noqa: E402
from run_crash import CrashPlay  # noqa: E402
from run_session import SessionPlay  # noqa: E402
from run_tray import TrayPlay  # noqa: E402

_STAGE = Path(os.environ.get("QX_STAGE", _ROOT / "out/stage"))
_BUILD = _ROOT / "out/build" / os.environ.get("QX_PRESET", "win64")
_WINPROBE = _BUILD / "tests/programs/winprobe/winprobe.exe"
_DRIVE_C = Path(os.environ["WINEPREFIX"]) / "drive_c"
_INSTALLED = Path("Program Files/Norvane Soft/Melvio")
_LOG = Path("ProgramData/Norvane Soft/Log")
_AGENT = "QxSessionAgent_M.exe"
_START_MENU = ("ClassicStartMenu.CStartHookWindow", "StartHookWindow")
_WM_CLOSE = 0x0010


def is_event(record: Json, event: int) -> bool:
    return record["request"].get("eventId") == event


class Play:
    """The steps of the main job, in their order."""

    def __init__(self, product: Product, host: HostService, camera: Camera) -> None:
        self._product = product
        self._desktop = product.desktop
        self._host = host
        self._camera = camera
        self._consoles_told: set[int] = set()

    def run(self) -> None:
        watchdog = self._start_family()
        self._start_second()
        self._send_console_commands()
        self._send_shell_command()
        self._close_start_menu()
        self._arm_reporters()
        self._lock_and_unlock()
        self._drive_engine()
        self._crash_agent()
        self._kill_service()
        self._end_all(watchdog)

    # The steps

    def _start_family(self) -> Process:
        tell("1. The host service is installed; the watchdog starts it, and the agent in mode 2.")
        self._host.install()
        detail('installed: the service "Melvio Host Service"')
        command = f'"{self._product.windows_root}\\win32\\QxWatchDog_M.exe" --mode 2 --until-exit'
        watchdog = self._desktop.start(command, self._product.windows_root)
        detail(f"process {watchdog.number}: QxWatchDog_M.exe --mode 2 --until-exit")
        self._desktop.wait_for_consoles(1)
        self._wait_for_client()
        frame = self._product.frame()
        detail(f"the agent's hidden window {frame.handle:#x} carries the mark of the product's agent")
        self._show_consoles()
        self._show_status()
        self._wait_for_event(18)
        self._wait_for_event(23)
        self._picture("console")
        return watchdog

    def _start_second(self) -> None:
        tell("2. A second start in the same session opens the console again, and leaves.")
        second = self._product.start("2")
        exit_code = second.wait()
        detail(f"process {second.number} has ended with code {exit_code}; the first agent runs on")
        expect(exit_code == 0, "the second start leaves")
        self._desktop.wait_for_consoles(2)
        self._show_consoles()
        self._close_consoles()

    def _send_console_commands(self) -> None:
        tell("3. The service opens the console in a mode, and a popup of it: commands 1001 and 1000.")
        self._send({"JD_COMMAND_ID": 1001, "modeId": 7})
        self._desktop.wait_for_consoles(1)
        popup = {"nFeatureId": "Scan", "popupId": 3, "param": {"found": 2, "where": "C:"}}
        self._send({"JD_COMMAND_ID": 1000, **popup})
        self._desktop.wait_for_consoles(2)
        self._show_consoles()
        self._picture("commands-1001-1000")
        self._close_consoles()

    def _send_shell_command(self) -> None:
        tell("4. The service opens a text file for the person at the desktop: command 1101.")
        note = self._product.root / "Misc" / "note.txt"
        note.write_text("A service cannot show this. Its session agent can.\r\n")
        path = f"{self._product.windows_root}\\Misc\\note.txt"
        self._send({"JD_COMMAND_ID": 1101, "file": path, "action": "open", "param": ""})
        editor = self._wait_for_window("note.txt")
        detail(f"on the screen: {editor.title}, process {editor.process}")
        self._picture("command-1101")
        editor.post(_WM_CLOSE)

    def _close_start_menu(self) -> None:
        tell("5. The service has a replaced start menu's window closed: command 3000.")
        class_name, title = _START_MENU
        self._desktop.probe.request("openWindow", **{"class": class_name, "title": title})
        self._wait_for_window(title)
        self._picture("before-command-3000")
        self._send({"JD_COMMAND_ID": 3000})
        wait_until(lambda: not self._find_window(title), "the end of the start menu's window")
        self._picture("after-command-3000")

    def _arm_reporters(self) -> None:
        tell("6. The service asks for the foreground process and the last input, once a second: 1011, 1100.")
        self._send({"JD_COMMAND_ID": 1011, "interval": 1})
        self._send({"JD_COMMAND_ID": 1100, "interval": 1})
        self._desktop.start(f'"{self._product.console_path()}"')
        self._desktop.wait_for_consoles(1)
        self._desktop.click(*self._desktop.consoles()[0].center)
        for mail in (0x10031, 0x10060):
            (record,) = self._wait_for_records(lambda record, mail=mail: record.get("mailId") == mail, 1)
            detail(f"received: {json.dumps(record)}")

    def _lock_and_unlock(self) -> None:
        tell("7. The session is locked and unlocked: the agent drops its link and its reports, and comes back.")
        self._session_play().leave_and_return()

    def _drive_engine(self) -> None:
        tell("8. The service has an engine of Quenta.dll created, performed, queried and ended: command 2000.")
        self._session_play().drive_engine()

    def _crash_agent(self) -> None:
        tell("9. An engine faults on purpose. The agent leaves a dump, and the watchdog starts it again.")
        CrashPlay(self._product, self._host, self._camera).run()
        self._desktop.wait_for_consoles(2)  # the next agent has opened one
        self._send({"JD_COMMAND_ID": 1001, "modeId": 9})
        self._desktop.wait_for_consoles(3)
        self._show_consoles()
        self._close_consoles()

    def _kill_service(self) -> None:
        tell("10. The service is killed. The watchdog starts it again, and the agent comes back by itself.")
        agent = self._client()["processId"]
        killed = self._host.kill()
        detail(f"killed: process {killed}")
        wait_until(lambda: self._host.process_id() not in (0, killed), "a new service")
        self._wait_for_client()
        expect(self._client()["processId"] == agent, "the same agent is registered again")
        self._show_status()
        self._send({"JD_COMMAND_ID": 1001, "modeId": 8})
        self._desktop.wait_for_consoles(1)
        self._show_consoles()
        self._picture("after-the-service-died")

    def _end_all(self, watchdog: Process) -> None:
        tell('11. The exit event, "Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXITMelvio", ends all of it.')
        self._host.qxctl("exit")
        wait_until(self._product.has_ended, "the end of the agent")
        detail("its window, its mutex and its event are gone; the consoles are left to the user")
        self._close_consoles()
        expect(watchdog.wait() == 0, "the watchdog ends")
        expect(self._host.process_id() == 0, "the service is stopped")
        detail("the watchdog has stopped the service and has ended")
        self._host.uninstall()
        detail("the service is removed")
        running = [name for _, name in self._desktop.processes() if name.startswith("Qx")]
        expect(not running, f"no program of the family is left, but {running}")
        self._picture("end")

    # What they are made of

    def _send(self, command: Json) -> None:
        detail(f"qxctl send '{json.dumps(command)}'")
        reply = self._host.send(command)
        detail(f"  reply: {json.dumps(reply)}")
        expect(int(reply["retCode"]) >= 0, "the command succeeds")

    def _session_play(self) -> SessionPlay:
        return SessionPlay(self._host, self._client()["processId"])

    def _clients(self) -> list[Json]:
        return self._host.status().get("clients", [])

    def _client(self) -> Json:
        (client,) = self._clients()
        return client

    def _wait_for_client(self) -> None:
        wait_until(lambda: len(self._clients()) == 1, "one registered agent")

    def _show_status(self) -> None:
        detail("qxctl status")
        for line in self._host.status_text().splitlines():
            detail(f"  | {line}")

    def _wait_for_records(self, wanted, count: int) -> list[Json]:
        found: list[Json] = []

        def enough() -> bool:
            found[:] = [record for record in self._host.journal() if wanted(record)][:count]
            return len(found) == count

        wait_until(enough, f"{count} records in the service's journal")
        return found

    def _wait_for_event(self, event: int) -> None:
        (record,) = self._wait_for_records(lambda r: r["kind"] == "event" and is_event(r, event), 1)
        detail(f"received: {json.dumps(record)}")

    def _find_window(self, title: str) -> Window | None:
        return next((w for w in self._desktop.windows() if title in w.title and w.visible), None)

    def _wait_for_window(self, title: str) -> Window:
        return wait_until(lambda: self._find_window(title), f"a window <{title}>")

    def _close_consoles(self) -> None:
        for console in self._desktop.consoles():
            console.post(_WM_CLOSE)
        wait_until(lambda: not self._desktop.consoles(), "the end of the consoles")

    def _show_consoles(self) -> None:
        for console in reversed(self._desktop.consoles()):
            if console.handle not in self._consoles_told:
                detail(f"on the screen: {console.title}, process {console.process}")
                detail(f"    started as {console_command_line(console)}")
                self._consoles_told.add(console.handle)

    def _picture(self, name: str) -> None:
        self._camera.take(name)


def install(desktop: Desktop) -> Product:
    """Puts the staged tree where an installer would."""
    shutil.copytree(_STAGE, _DRIVE_C / _INSTALLED)
    windows_root = str(PureWindowsPath("C:/") / _INSTALLED)
    return Product(desktop, _DRIVE_C / _INSTALLED, _DRIVE_C / _LOG, windows_root)


def show_tray(product: Product, camera: Camera, step: int, locale: str, environment_locale: str) -> None:
    tell(f"{step}. The person at the desktop, in the language {locale}: splash, icon, tooltip, menu, exit.")
    environment = {**product.desktop.environment, "LC_ALL": environment_locale}
    desktop = Desktop(environment, _WINPROBE)
    speaking = Product(desktop, product.root, product.log_folder, product.windows_root)
    host = HostService(speaking)
    host.install()
    try:
        TrayPlay(speaking, host, camera, locale).run()
    finally:
        desktop.close()
    HostService(product).uninstall()


def main() -> int:
    shutil.rmtree(PICTURES, ignore_errors=True)
    desktop = Desktop(dict(os.environ), _WINPROBE)
    product = install(desktop)
    camera = Camera(desktop)
    try:
        Play(product, HostService(product), camera).run()
        show_tray(product, camera, 12, "en-us", "en_US.UTF-8")
        show_tray(product, camera, 13, "ja-jp", "ja_JP.UTF-8")
    except Exception as failure:  # whatever it is, the picture and the log tell more
        desktop.screenshot(PICTURES / "failure.png")
        detail("all that the log says:")
        print(product.log_text(), flush=True)
        tell(f"FAILED: {failure!r}; see out/run/failure.png")
        return 1
    finally:
        product.end()
        desktop.close()
    tell(
        "The main job works: service and agent up, commands run, a session left and met again, an engine driven,\n"
        "a crash of the agent and a dead service survived, the tray and its menu used in two languages.\n"
        "Pictures: out/run/"
    )
    return 0


if __name__ == "__main__":
    sys.exit(main())

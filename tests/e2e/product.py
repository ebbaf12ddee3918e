"""A product tree, its data files, what runs of it and what it logged."""

from __future__ import annotations

import json
import os
import shutil
from pathlib import Path

from desktop import Desktop, Process, Window, console_command_line, wait_until, windows_path

# A library without exports, to stand where it does not belong.
PLANTED = Path(os.environ.get("QX_PLANTED", "planted.dll"))

# What the installer makes for each product below the common application data: the crash handler wants it.
_DATA_FOLDERS = [f"Norvane Soft/{product_id}" for product_id in ("Oravex", "Melvio", "Brisketta")]

# Level bits of the log: information, warnings and traces, errors, debug lines.
LOG_EVERYTHING = 0x1111


def exit_event(product_id: str = "Melvio") -> str:
    return f"Global\\WATCHDOG_NOTIFY_UIDESKTRAY_EXIT{product_id}"


def item(
    function: str, modes: list[object], sequence: object = 1, arguments: object = ""
) -> dict[str, object]:
    """One entry of the start modes."""
    return {"startFunc": function, "modeId": modes, "sequence": sequence, "startArgs": arguments}


def _link(source: str, target: str) -> None:
    """Programs are shared with the stage; whoever wants another one removes it first."""
    if source.endswith((".exe", ".dll")):
        try:
            os.link(source, target)
            return
        except OSError:
            pass  # another file system
    shutil.copy2(source, target)


def _write_log_settings(folder: Path, level: int, enable: int, target: str, robust: int = 1) -> None:
    keys = f"Enable={enable}\r\nLevel={level:#x}\r\nLogFolder={target}\r\nRobust={robust}\r\n"
    text = f"[InteractiveSession]\r\n{keys}[ServiceSession]\r\n{keys}"
    (folder / "vzdbg.ini").write_text(text, newline="")


def _text_of_files(folder: Path) -> str:
    files = sorted(folder.glob("*")) if folder.is_dir() else []
    contents = (file.read_bytes() for file in files if file.is_file())
    return b"".join(contents).decode("utf-8", errors="replace")


def _matching(lines: list[str], text: str, process: Process | None) -> list[str]:
    writer = "" if process is None else f" {process.number:04x}:"
    return [line for line in lines if text in line and writer in line]


class Product:
    """Starts the agent from one tree, and reads what it logged and what it opened."""

    def __init__(
        self, desktop: Desktop, root: Path, log_folder: Path, windows_root: str | None = None
    ) -> None:
        self.desktop = desktop
        self.root = root
        self.windows_root = windows_root or windows_path(root)
        self.log_folder = log_folder
        # The other programs have one of their own, so that it does not stand between the agent's lines.
        self.win32_log_folder = log_folder.with_name(f"{log_folder.name}-win32")
        for folder in _DATA_FOLDERS:
            (self.data / folder).mkdir(parents=True, exist_ok=True)

    def move(self, folder: Path) -> None:
        """Puts the tree under another name."""
        self.root = self.root.rename(folder)
        self.windows_root = windows_path(folder)

    @property
    def data(self) -> Path:
        """The common application data."""
        return Path(self.desktop.environment["WINEPREFIX"], "drive_c/ProgramData")

    def dumps(self, product_id: str = "Melvio") -> list[Path]:
        """The dumps of the product, in the order of their names."""
        return sorted((self.data / "Norvane Soft" / product_id / "dump").glob("*.dmp"))

    # Data files

    @property
    def configuration(self) -> Path:
        return self.root / "Configuration" / "QxSessionAgentCfg.json"

    def configure(self, items: dict[str, dict[str, object]]) -> None:
        """Writes the start modes: item name to its members."""
        self.configuration.write_text(json.dumps({"startMode": items}))

    def write_log_settings(
        self, level: int, enable: int = 1, folder: str | None = None, robust: int = 1
    ) -> None:
        """Of the agent."""
        target = windows_path(self.log_folder) if folder is None else folder
        _write_log_settings(self.root, level, enable, target, robust)

    def write_win32_log_settings(self, level: int) -> None:
        """Of the programs in win32."""
        _write_log_settings(self.root / "win32", level, 1, windows_path(self.win32_log_folder))

    # Running

    def program(self, name: str) -> Path:
        return self.root / name

    def start(self, arguments: str | None = None, name: str = "QxSessionAgent_M.exe") -> Process:
        """Starts the agent. `arguments` go behind the quoted path as they are; None leaves nothing there."""
        path = f"{self.windows_root}\\{name}"
        command_line = f'"{path}"' if arguments is None else f'"{path}" {arguments}'
        return self.desktop.start(command_line, self.windows_root)

    def start_running(self, arguments: str | None = None, name: str = "QxSessionAgent_M.exe") -> Process:
        """Starts the agent and waits until it has come up."""
        process = self.start(arguments, name)
        self.wait_for_log("Create thread for waiting exit event...", process)
        return process

    def run(self, arguments: str | None = None, name: str = "QxSessionAgent_M.exe") -> int:
        """Starts the agent and waits for its end: the exit code."""
        return self.start(arguments, name).wait()

    def frame(self, product_id: str = "Melvio") -> Window:
        """The agent's hidden main window, found as other programs of the product find it."""
        return wait_until(lambda: self.find_frame(product_id), f"the frame of {product_id}")

    def find_frame(self, product_id: str = "Melvio") -> Window | None:
        name = f"Norvane Soft {product_id} SessionAgent"
        return next((window for window in self.desktop.windows() if window.property(name) == 1), None)

    def has_ended(self, product_id: str = "Melvio") -> bool:
        """No frame, no mutex: the session is free for another instance."""
        mutex = self.desktop.probe.ask("query", kind="mutex", name=f"Local\\{product_id}_QxSessionAgent")
        return self.find_frame(product_id) is None and mutex["error"] == "2"

    def signal_exit(self, product_id: str = "Melvio") -> None:
        """Signals the exit event as soon as it is there: the agent's thread for it may still be starting."""
        probe, name = self.desktop.probe, exit_event(product_id)
        wait_until(lambda: probe.ask("setEvent", name=name)["error"] == "0", f"the event {name}")

    def wait_until_waiting(self, product_id: str = "Melvio") -> None:
        """Waits for the agent's exit event, where its log cannot tell."""
        probe, name = self.desktop.probe, exit_event(product_id)
        wait_until(lambda: probe.ask("query", kind="event", name=name)["error"] == "0", "the exit event")

    def console_path(self, suffix: str = "_M") -> str:
        return f"{self.windows_root}\\win32\\QxMainConsole{suffix}.exe"

    def console_arguments(self, root: Path | None = None) -> list[str]:
        """What the open consoles were given behind their quoted path, sorted."""
        folder = windows_path(root) if root else self.windows_root
        start = f'"{folder}\\win32\\QxMainConsole_M.exe" '
        lines = [console_command_line(console) for console in self.desktop.consoles()]
        assert all(line.startswith(start) for line in lines), lines
        return sorted(line[len(start) :] for line in lines)

    def opened_nothing(self) -> bool:
        """No console on the screen, and none on its way there."""
        return not self.desktop.consoles() and not self.log_lines("Show QX UI.")

    def end(self) -> None:
        self.desktop.end_programs("QxSessionAgent", "QxMainConsole")

    # Log

    def log_text(self) -> str:
        return _text_of_files(self.log_folder)

    def win32_log_text(self) -> str:
        return _text_of_files(self.win32_log_folder)

    def all_log_lines(self) -> list[str]:
        """The lines whole: JSON text in a line keeps its own line feeds."""
        return self.log_text().split("\r\n")[:-1]

    def log_lines(self, text: str, process: Process | None = None) -> list[str]:
        """The lines that hold the text, all or those of one process."""
        return _matching(self.all_log_lines(), text, process)

    def win32_log_lines(self, text: str, process: Process) -> list[str]:
        """The same of a program in win32."""
        return _matching(self.win32_log_text().split("\r\n")[:-1], text, process)

    def wait_for_log(self, text: str, process: Process | None = None, limit: float = 30.0) -> list[str]:
        wait_until(lambda: self.log_lines(text, process), f"<{text}> in the log", limit)
        return self.log_lines(text, process)


class ProductPath:
    """The registry value that moves a product's data away from its program."""

    def __init__(self, desktop: Desktop, product_id: str = "Melvio") -> None:
        self._desktop = desktop
        self._place = {"subkey": f"SOFTWARE\\NorvaneSoft\\{product_id}", "name": "ProductPath"}

    def set(self, value: str) -> None:
        self._desktop.probe.request("setRegistry", value=value, **self._place)

    def remove(self) -> None:
        self._desktop.probe.ask("setRegistry", **self._place)


def copy_product(desktop: Desktop, stage: Path, folder: Path) -> Product:
    """A tree of one's own that logs everything into two folders beside it."""
    shutil.copytree(stage, folder / "product", copy_function=_link)
    product = Product(desktop, folder / "product", folder / "log")
    product.write_log_settings(level=LOG_EVERYTHING)
    product.write_win32_log_settings(level=LOG_EVERYTHING)
    return product

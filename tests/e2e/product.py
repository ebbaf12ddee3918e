"""A private copy of the staged product tree, its data files and its log."""

from __future__ import annotations

import json
import os
import shutil
from pathlib import Path

from desktop import Desktop, Process, Window, console_command_line, wait_until, windows_path

# Level bits of the log: information, warnings and traces, errors, debug lines.
LOG_EVERYTHING = 0x1111


def _link(source: str, target: str) -> None:
    """Programs are shared with the stage; whoever wants another one removes it first."""
    if source.endswith((".exe", ".dll")):
        try:
            os.link(source, target)
            return
        except OSError:
            pass  # another file system
    shutil.copy2(source, target)


class Product:
    """Starts the agent from a tree of its own, and reads what it logged and what it opened."""

    def __init__(self, desktop: Desktop, stage: Path, root: Path) -> None:
        self.desktop = desktop
        self.root = root
        self.log_folder = root.parent / "log"
        shutil.copytree(stage, root, copy_function=_link)
        self.write_log_settings(level=LOG_EVERYTHING)

    # Data files

    @property
    def configuration(self) -> Path:
        return self.root / "Configuration" / "QxSessionAgentCfg.json"

    def configure(self, items: dict[str, dict[str, object]]) -> None:
        """Writes the start modes: item name to its members."""
        self.configuration.write_text(json.dumps({"startMode": items}))

    def write_log_settings(self, level: int, enable: int = 1, folder: str | None = None) -> None:
        target = windows_path(self.log_folder) if folder is None else folder
        keys = f"Enable={enable}\r\nLevel={level:#x}\r\nLogFolder={target}\r\nRobust=1\r\n"
        text = f"[InteractiveSession]\r\n{keys}[ServiceSession]\r\n{keys}"
        (self.root / "vzdbg.ini").write_text(text, newline="")

    # Running

    def program(self, name: str) -> Path:
        return self.root / name

    def start(self, arguments: str | None = None, name: str = "QxSessionAgent_M.exe") -> Process:
        """Starts the agent. `arguments` go behind the quoted path as they are; None leaves nothing there."""
        path = windows_path(self.program(name))
        command_line = f'"{path}"' if arguments is None else f'"{path}" {arguments}'
        return self.desktop.start(command_line, windows_path(self.root))

    def start_running(self, arguments: str | None = None, name: str = "QxSessionAgent_M.exe") -> Process:
        """Starts the agent and waits until it has its frame and waits for its end."""
        process = self.start(arguments, name)
        self.wait_for_log("Create thread for waiting exit event...")
        return process

    def frame(self, product_id: str = "Melvio") -> Window:
        """The agent's hidden main window, found as other programs of the product find it."""
        return wait_until(lambda: self.find_frame(product_id), f"the frame of {product_id}")

    def find_frame(self, product_id: str = "Melvio") -> Window | None:
        name = f"Norvane Soft {product_id} SessionAgent"
        return next((window for window in self.desktop.windows() if window.property(name) == 1), None)

    def console_path(self, suffix: str = "_M") -> str:
        return windows_path(self.root / "win32" / f"QxMainConsole{suffix}.exe")

    def console_arguments(self) -> list[str]:
        """What the open consoles were given behind their quoted path, sorted."""
        start = f'"{self.console_path()}" '
        lines = [console_command_line(console) for console in self.desktop.consoles()]
        assert all(line.startswith(start) for line in lines), lines
        return sorted(line[len(start) :] for line in lines)

    def end(self) -> None:
        self.desktop.end_programs("QxSessionAgent", "QxMainConsole")

    # Log

    def log_text(self) -> str:
        files = sorted(self.log_folder.glob("*")) if self.log_folder.is_dir() else []
        return "".join(file.read_text("utf-8", errors="replace") for file in files if file.is_file())

    def log_lines(self, text: str) -> list[str]:
        return [line for line in self.log_text().splitlines() if text in line]

    def wait_for_log(self, text: str, count: int = 1, limit: float = 30.0) -> list[str]:
        wait_until(lambda: len(self.log_lines(text)) >= count, f"<{text}> in the log, {count} times", limit)
        return self.log_lines(text)

"""A private Windows desktop: a Wine prefix and a display of its own, and what stands and runs on it."""

from __future__ import annotations

import os
import subprocess
import time
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from typing import TypeVar

from probe import Probe

T = TypeVar("T")

_HERE = Path(__file__).parent
CONSOLE_CLASS = "QxMainConsoleWindow"
WM_CLOSE = 0x0010


def wait_until(condition: Callable[[], T], what: str, limit: float = 30.0) -> T:
    """Polls until the condition holds, and returns its value. `what` is what the failure says was missing."""
    deadline = time.monotonic() + limit
    while not (value := condition()):
        if time.monotonic() > deadline:
            raise AssertionError(f"not within {limit:.0f} s: {what}")
        time.sleep(0.05)
    return value


def windows_path(path: Path) -> str:
    """The path as a Windows program sees it."""
    return "Z:" + str(path).replace("/", "\\")


@dataclass(frozen=True)
class Window:
    """A window as it was when the desktop was asked."""

    probe: Probe
    handle: int
    class_name: str
    title: str
    process: int
    thread: int
    visible: bool
    center: tuple[int, int]
    corner: tuple[int, int]

    def property(self, name: str) -> int:
        return int(self.probe.ask("property", window=self.handle, name=name)["value"])

    def text_of_child(self, class_name: str) -> str:
        children = self.probe.request("children", window=self.handle)
        return next(child["title"] for child in children if child["class"].lower() == class_name.lower())

    def post(self, message: int, w_param: int = 0, l_param: int = 0) -> None:
        self.probe.request("post", window=self.handle, message=message, wParam=w_param, lParam=l_param)

    def send(self, message: int, w_param: int = 0, l_param: int = 0, limit: int = 10000) -> int:
        fields = {"message": message, "wParam": w_param, "lParam": l_param, "limit": limit}
        reply = self.probe.ask("send", window=self.handle, **fields)
        assert reply["error"] == "0", f"message {message:#x} was not answered: error {reply['error']}"
        return int(reply["result"])


@dataclass(frozen=True)
class Process:
    """A program that the desktop started."""

    probe: Probe
    number: int

    @property
    def running(self) -> bool:
        return self.probe.ask("status", process=self.number)["running"] == "1"

    def wait(self, limit: float = 60.0) -> int:
        """The exit code, once the process has ended."""
        wait_until(lambda: not self.running, f"the end of process {self.number}", limit)
        return int(self.probe.ask("status", process=self.number)["exitCode"])

    def counts(self) -> dict[str, int]:
        reply = self.probe.ask("counts", process=self.number)
        return {name: int(reply[name]) for name in ("handles", "gdi", "windows", "threads", "memory")}

    def modules(self) -> list[str]:
        return [record["path"] for record in self.probe.request("modules", process=self.number)]

    def threads(self) -> list[int]:
        return [int(record["thread"]) for record in self.probe.request("threads", process=self.number)]

    def place(self, content: bytes) -> int:
        """Puts bytes into the process's memory; behind them there is none. Their address."""
        reply = self.probe.ask("place", process=self.number, bytes=content.hex())
        assert reply["error"] == "0", f"no memory in process {self.number}: error {reply['error']}"
        return int(reply["address"])

    def terminate(self) -> None:
        self.probe.ask("terminate", process=self.number, exitCode=1)


class Desktop:
    """A desktop that stands: the environment names it, and winprobe runs on it until close."""

    def __init__(self, environment: dict[str, str], winprobe: Path) -> None:
        self.environment = environment
        self.probe = Probe(winprobe, environment)

    def close(self) -> None:
        self.probe.close()

    def start(self, command_line: str, folder: str = "") -> Process:
        reply = self.probe.ask("start", commandLine=command_line, folder=folder)
        assert reply["error"] == "0", f"starting <{command_line}> failed: error {reply['error']}"
        return Process(self.probe, int(reply["process"]))

    def windows(self, class_name: str = "") -> list[Window]:
        """Every window, or those of one class; the topmost first."""
        records = self.probe.request("windows", **({"class": class_name} if class_name else {}))
        return [self._window(record) for record in records]

    def consoles(self) -> list[Window]:
        """The consoles on the screen, the topmost first."""
        return [window for window in self.windows() if window.class_name == CONSOLE_CLASS and window.visible]

    def wait_for_consoles(self, count: int) -> list[Window]:
        wait_until(lambda: len(self.consoles()) >= count, f"{count} consoles on the screen")
        return self.consoles()

    def processes(self) -> list[tuple[int, str]]:
        """Number and file name of every process of the desktop."""
        return [(int(record["process"]), record["name"]) for record in self.probe.request("processes")]

    def end_programs(self, *prefixes: str) -> None:
        """Ends every program whose file name begins so, and waits until none is left."""
        lowered = tuple(prefix.lower() for prefix in prefixes)

        def left() -> list[int]:
            return [number for number, name in self.processes() if name.lower().startswith(lowered)]

        def are_ended() -> bool:
            # One of them may have been starting another one.
            for number in left():
                self.probe.ask("terminate", process=number, exitCode=1)
            return not left()

        wait_until(are_ended, f"the end of {', '.join(prefixes)}")

    def screenshot(self, path: Path) -> None:
        path.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["import", "-window", "root", str(path)], env=self.environment, check=True, timeout=60)

    def pixels(self, x: int, y: int, width: int, height: int) -> bytes:
        """A part of the screen, three bytes a pixel: red, green and blue."""
        part = f"{width}x{height}+{x}+{y}"
        command = ["import", "-silent", "-window", "root", "-crop", part, "-depth", "8", "rgb:-"]
        done = subprocess.run(command, env=self.environment, check=True, timeout=60, capture_output=True)
        assert len(done.stdout) == 3 * width * height
        return done.stdout

    def click(self, x: int, y: int, button: int = 1, repeat: int = 1) -> None:
        times = ["--repeat", str(repeat), "--delay", "60"] if repeat > 1 else []
        self._drive("mousemove", str(x), str(y), "click", *times, str(button))

    def move_pointer(self, x: int, y: int) -> None:
        self._drive("mousemove", str(x), str(y))

    def press(self, *keys: str) -> None:
        """Presses keys one after the other, by the names that the display has for them."""
        self._drive("key", *keys)

    def type_text(self, text: str) -> None:
        """Types into the window that has the focus."""
        self._drive("type", text)

    def _drive(self, *command: str) -> None:
        subprocess.run(["xdotool", *command], env=self.environment, check=True, timeout=30)

    def _window(self, record: dict[str, str]) -> Window:
        return Window(
            probe=self.probe,
            handle=int(record["window"]),
            class_name=record["class"],
            title=record["title"],
            process=int(record["process"]),
            thread=int(record["thread"]),
            visible=record["visible"] == "1",
            center=(int(record["x"]), int(record["y"])),
            corner=(int(record["left"]), int(record["top"])),
        )


@contextmanager
def private_desktop(name: str, winprobe: Path) -> Iterator[Desktop]:
    """A desktop of one's own, taken down at the end."""
    script = str(_HERE / "desktop.sh")
    started = subprocess.run(
        [script, "start", name], stdout=subprocess.PIPE, text=True, check=True, timeout=300
    )
    environment = {**os.environ, **dict(line.split("=", 1) for line in started.stdout.splitlines())}
    try:
        desktop = Desktop(environment, winprobe)
        yield desktop
        desktop.close()
    finally:
        subprocess.run([script, "stop"], env=environment, check=False, timeout=60)


def console_command_line(console: Window) -> str:
    """The command line that the console was started with, read from its window as soon as that answers."""
    return wait_until(lambda: console.text_of_child("Edit"), "the console's command line")

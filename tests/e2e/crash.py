"""An agent that dies, and what it leaves: its dump, its lines in the log and the watchdog's signal."""

from __future__ import annotations

import json
import re
import shutil
import struct
from dataclasses import dataclass
from pathlib import Path

from desktop import Process
from family import CRASH_SIGNAL
from host import HostService
from link_log import Entry, entries
from product import Product

ACCESS_VIOLATION = 0xC0000005
NOWHERE = 16  # an address without memory behind it

# A full dump takes its time, the more so on a busy machine.
END_LIMIT = 120.0

_EXCEPTION_STREAM, _THREAD_STREAM = 6, 3
_NAME = re.compile(r"Melvio\d{8}_\d{6}Full\.dmp")
_SOURCES = ("CrashFilter", "CrashDump", "FaultInfo", "FaultReport", "InvalidParameter")
_CREATE, _PERFORM, _PUT_DETAILS = 0x1001, 0x2001, 0x2005


@dataclass(frozen=True)
class Dump:
    """What a dump says of the crash."""

    thread: int
    code: int
    address: int
    threads: list[int]


def read_dump(path: Path) -> Dump:
    with path.open("rb") as file:

        def read(layout: str, offset: int) -> tuple[int, ...]:
            file.seek(offset)
            return struct.unpack(layout, file.read(struct.calcsize(layout)))

        signature, _, count, directory = read("<4I", 0)
        assert signature == 0x504D444D, f"{path} is no dump"
        rows = [read("<3I", directory + 12 * row) for row in range(count)]
        places = {kind: place for kind, _, place in rows}
        (thread,) = read("<I", places[_EXCEPTION_STREAM])
        code, _, _, address = read("<2I2Q", places[_EXCEPTION_STREAM] + 8)
        (thread_count,) = read("<I", places[_THREAD_STREAM])
        threads = [read("<I", places[_THREAD_STREAM] + 4 + 48 * row)[0] for row in range(thread_count)]
    return Dump(thread, code, address, threads)


class CrashScene:
    """A product whose agents die. Its dump folder is empty at first."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.host = HostService(product)
        remove(self.folder)

    @property
    def folder(self) -> Path:
        return self.product.data / "Norvane Soft/Melvio/dump"

    @property
    def windows_folder(self) -> str:
        return "C:\\ProgramData\\Norvane Soft\\Melvio\\dump"

    def forbid_dumps(self) -> None:
        """A file in the place of the folder: everything but the dump is done, and much sooner."""
        remove(self.folder)
        self.folder.write_text("no dumps")

    # What makes it die

    def order_fault(self, **details: str | int) -> None:
        """Has the sample library's engine for it made and told what to do."""
        track = self._act(_CREATE, itemId="fault", sessionId="s")["data"]["trackId"]
        self._act(_PUT_DETAILS, trackId=track, details=details)
        # The agent may be gone before it answers.
        command = {"JD_COMMAND_ID": 2000, "action": _PERFORM, "trackId": track}
        self.host.qxctl("send", json.dumps(command), "--json", limit=END_LIMIT)

    def derail(self, thread: int) -> None:
        """The thread faults, one that waits as soon as its wait is over."""
        reply = self.product.desktop.probe.ask("derail", thread=thread, address=NOWHERE)
        assert reply["error"] == "0", f"thread {thread}: error {reply['error']}"

    def inject(self, process: Process) -> int:
        """A further thread of the process faults at its begin."""
        reply = self.product.desktop.probe.ask("inject", process=process.number, address=NOWHERE)
        assert reply["error"] == "0", f"no thread in process {process.number}: error {reply['error']}"
        return int(reply["thread"])

    # What it leaves

    def the_dump(self) -> Path:
        """The only one."""
        (path,) = self.product.dumps()
        assert _NAME.fullmatch(path.name), path.name
        return path

    def main_log(self, process: Process) -> list[Entry]:
        """What the handling wrote to the main log."""
        return entries(self.product, process, _SOURCES)

    def logged_code(self, process: Process) -> int:
        """The exception's code in the log."""
        start = ": [INFO] Exception Code: "
        (code,) = [entry.text for entry in self.main_log(process) if entry.text.startswith(start)]
        return int(code.removeprefix(start), 16)

    def channel_lines(self, channel: str, process: Process) -> list[str]:
        return self.product.log_lines(f" <{channel}> ", process)

    def _act(self, action: int, **members: object) -> dict[str, object]:
        reply = self.host.send({"JD_COMMAND_ID": 2000, "action": action, **members})
        assert reply["retCode"] >= 0, reply
        return reply


class WatchdogSignal:
    """The event for the agent's signal, in the watchdog's place."""

    def __init__(self, product: Product, kind: str = "event", no_rights: bool = False) -> None:
        self._probe = product.desktop.probe
        reply = self._probe.ask("create", kind=kind, name=CRASH_SIGNAL, noRights=int(no_rights))
        assert reply["error"] == "0", f"the event is there already: {reply['error']}"
        self._id = reply["id"]

    def is_set(self) -> bool:
        return self._probe.ask("query", kind="event", name=CRASH_SIGNAL)["set"] == "1"

    def close(self) -> None:
        self._probe.ask("close", id=self._id)


def remove(path: Path) -> None:
    """Whatever it is."""
    if path.is_symlink() or path.is_file():
        path.unlink()
    elif path.exists():
        shutil.rmtree(path)

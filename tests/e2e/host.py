"""The product's host service as a person at a command line meets it: installed, started, watched and driven by
the programs of the dev kit."""

from __future__ import annotations

import json
import subprocess
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from desktop import wait_until
from product import Product

PRODUCT_IDS = {"": "Oravex", "_M": "Melvio", "_B": "Brisketta"}

Json = dict[str, Any]


@dataclass(frozen=True)
class Finished:
    """A program of the dev kit that has ended."""

    code: int
    out: str
    err: str


class HostService:
    """One product's service, run from the product's tree."""

    def __init__(self, product: Product, suffix: str = "_M") -> None:
        self._product = product
        self._suffix = suffix

    @property
    def program(self) -> str:
        return f"QxSvcHost{self._suffix}.exe"

    # The service

    def control(self, option: str) -> Finished:
        """Runs the service's program with one of its options, to its end."""
        return self._run(self.program, option)

    def install(self) -> None:
        self._must("--install")

    def start(self) -> None:
        self._must("--start")

    def stop(self) -> None:
        self._must("--stop")

    def uninstall(self) -> None:
        self._must("--uninstall")

    def process_id(self) -> int:
        """The process that runs as the service; 0 if there is none."""
        running = (n for n, name in self._product.desktop.processes() if name.lower() == self.program.lower())
        return next(running, 0)

    def kill(self) -> int:
        """Ends the service's process as a crash would, and returns its number."""
        process = self.process_id()
        assert process != 0, "the service does not run"
        self._product.desktop.probe.ask("terminate", process=process, exitCode=1)
        wait_until(lambda: self.process_id() != process, "the end of the service's process")
        return process

    # The command line

    def qxctl(self, *arguments: str, limit: float = 90.0) -> Finished:
        product = self._suffix.removeprefix("_") or "none"
        return self._run(f"qxctl{self._suffix}.exe", *arguments, "--product", product, limit=limit)

    def status(self) -> Json:
        """What `qxctl status --json` tells; empty while the service cannot be reached."""
        finished = self.qxctl("status", "--json")
        return json.loads(finished.out) if finished.code == 0 else {}

    def status_text(self) -> str:
        return self.qxctl("status").out

    def clients(self) -> list[Json]:
        return self.status().get("clients", [])

    def wait_for_clients(self, count: int = 1) -> list[Json]:
        wait_until(lambda: len(self.clients()) == count, f"{count} registered clients")
        return self.clients()

    def send(self, command: Json | str, *options: str) -> Json:
        """Sends a command to the registered agent and returns its reply."""
        text = command if isinstance(command, str) else json.dumps(command)
        finished = self.qxctl("send", text, "--json", *options)
        assert finished.out, f"no reply to {text}: {finished.err}"
        return json.loads(finished.out)

    def answer(self, plugin: int, mail: int, *options: str) -> None:
        finished = self.qxctl("answer", "--plugin", str(plugin), "--mail", str(mail), *options)
        assert finished.code == 0, finished.err

    def journal(self) -> list[Json]:
        """Everything that the service's journal holds by now."""
        finished = self.qxctl("watch", "--all", "--everything", "--timeout", "0")
        return [json.loads(line) for line in finished.out.splitlines()]

    def journal_file(self) -> Path:
        drive = Path(self._product.desktop.environment["WINEPREFIX"], "drive_c")
        return drive / "ProgramData/Norvane Soft/Host" / f"{PRODUCT_IDS[self._suffix]}.journal.jsonl"

    def records(self, process: int, *kinds: str) -> list[Json]:
        """What the journal's file holds of one client, all or those of some kinds."""
        text = self.journal_file().read_text("utf-8")
        all_records = [json.loads(line) for line in text.splitlines()]
        return [r for r in all_records if r["processId"] == process and (not kinds or r["kind"] in kinds)]

    def wait_for_records(self, process: int, kind: str, count: int = 1) -> list[Json]:
        wait_until(lambda: len(self.records(process, kind)) >= count, f"{count} records of kind {kind}")
        return self.records(process, kind)

    def wait_for_event(self, process: int, event: int) -> None:
        def came() -> bool:
            requests = [json.loads(record["request"]) for record in self.records(process, "event")]
            return event in [request["eventId"] for request in requests]

        wait_until(came, f"event {event}")

    def _must(self, option: str) -> None:
        finished = self.control(option)
        assert finished.code == 0, f"{self.program} {option}: {finished.code} {finished.out}{finished.err}"

    def _run(self, name: str, *arguments: str, limit: float = 90.0) -> Finished:
        command = ["wine", f"{self._product.windows_root}\\win32\\{name}", *arguments]
        done = subprocess.run(
            command, env=self._product.desktop.environment, capture_output=True, timeout=limit, check=False
        )
        return Finished(done.returncode, done.stdout.decode("utf-8"), done.stderr.decode("utf-8"))

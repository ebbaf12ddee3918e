"""A crash on purpose: an engine faults, and the agent comes back."""

from __future__ import annotations

import json

from desktop import wait_until
from host import HostService, Json
from narration import Camera, detail, expect
from product import Product
from tray import BESIDE, Tray

_FAULT = {"fault": "write", "where": "command"}
_CREATE, _PERFORM, _PUT_DETAILS = 0x1001, 0x2001, 0x2005
_LIMIT = 120.0  # seconds; a full dump takes most of them


class CrashPlay:
    """The step for a registered agent under its watchdog."""

    def __init__(self, product: Product, host: HostService, camera: Camera) -> None:
        self._product = product
        self._host = host
        self._camera = camera
        self._tray = Tray(product)

    def run(self) -> None:
        self._tray.desktop.move_pointer(*BESIDE)
        known = self._product.dumps()
        crashed = self._agent()
        detail(f"process {crashed} is the registered agent")
        self._order_fault()
        self._show_dump(known)
        self._show_return(crashed)
        self._show_icon()

    def _order_fault(self) -> None:
        track = self._send(_CREATE, itemId="fault", sessionId="run")["data"]["trackId"]
        self._send(_PUT_DETAILS, trackId=track, details=_FAULT)
        command = json.dumps({"JD_COMMAND_ID": 2000, "action": _PERFORM, "trackId": track})
        detail(f"qxctl send '{command}'")
        finished = self._host.qxctl("send", command, limit=_LIMIT)
        expect(finished.code != 0, "the agent that crashes gives no reply")
        detail(f"  {finished.err.strip()}")

    def _show_dump(self, known: list) -> None:
        def is_told() -> bool:
            return bool(self._product.log_lines("Crash dump generation succeed at path: "))

        wait_until(is_told, "the dump", _LIMIT)
        (dump,) = [path for path in self._product.dumps() if path not in known]
        detail(f"dump: {dump.name}, {dump.stat().st_size >> 20} MB; ./qx symbols reads it")
        for text in ("Crash catched!", "[Crash] start to write dump", "Exception Code: "):
            (line,) = self._product.log_lines(text)
            detail(f"  | {line}")

    def _show_return(self, crashed: int) -> None:
        wait_until(lambda: self._agents() not in ([], [crashed]), "the next agent", _LIMIT)
        detail(f"the watchdog has started the next agent, process {self._agent()}")
        for line in self._host.status_text().splitlines():
            detail(f"  | {line}")

    def _show_icon(self) -> None:
        idle = self._tray.idle_picture()
        wait_until(lambda: self._tray.pixels() == idle, "the tray icon")
        detail("its icon is in the tray")
        self._camera.take("after-the-crash")

    def _agents(self) -> list[int]:
        return [int(client["processId"]) for client in self._host.clients()]

    def _agent(self) -> int:
        (agent,) = self._agents()
        return agent

    def _send(self, action: int, **members: object) -> Json:
        command = {"JD_COMMAND_ID": 2000, "action": action, **members}
        detail(f"qxctl send '{json.dumps(command)}'")
        reply = self._host.send(command)
        detail(f"  reply: {json.dumps(reply)}")
        expect(int(reply["retCode"]) >= 0, "the command succeeds")
        return reply

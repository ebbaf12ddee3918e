"""A registered agent whose frame is told, by window messages, what happens to the session, the network and
the power, and what came of it."""

from __future__ import annotations

import json
import uuid

from host import HostService, Json
from link_log import Entry, entries
from product import Product

WM_POWERBROADCAST = 0x0218
WM_WTSSESSION_CHANGE = 0x02B1
NETWORK_MADE, NETWORK_MADE_NO_QOC, NETWORK_LOST = 0x0430, 0x0431, 0x0432

# Session states
CONSOLE_CONNECT, CONSOLE_DISCONNECT, REMOTE_CONNECT, REMOTE_DISCONNECT = 1, 2, 3, 4
LOGON, LOGOFF, LOCK, UNLOCK = 5, 6, 7, 8

# Power codes and settings
SUSPEND, RESUME, AUTOMATIC_RESUME, SETTING_CHANGE = 4, 7, 0x12, 0x8013
POWER_SOURCE = uuid.UUID("5d3e9a59-e9d5-4b00-a6bd-ff34ff516548")
BATTERY = uuid.UUID("a7ad8041-b45a-4cae-87a3-eecbb468a9e1")
SCHEME = uuid.UUID("245d8541-3943-4422-b025-13a784f679b7")
POWER_EVENT = 0x8000

_SOURCES = ("MailHelper", "MainFrm_MsgHelper", "MainFrm_Session", "OuterClientHelper", "PowerEventHandler")


def setting_bytes(setting: uuid.UUID, length: int = 4, value: bytes = b"\1\0\0\0") -> bytes:
    """A setting as the system hands it over: what it is, the length of its value, its value."""
    return setting.bytes_le + length.to_bytes(4, "little") + value


class Session:
    def __init__(self, product: Product) -> None:
        self.product = product
        self.host = HostService(product)
        self.process = product.start_running()
        self.host.wait_for_event(self.process.number, 23)
        self.frame = product.frame()

    # What happens to it

    def change(self, state: int, session: int = 1) -> None:
        assert self.frame.send(WM_WTSSESSION_CHANGE, state, session) == 0

    def network(self, message: int, kind: int) -> None:
        assert self.frame.send(message, kind) == 0

    def power(self, code: int, setting: int = 0) -> None:
        assert self.frame.send(WM_POWERBROADCAST, code, setting) == 0

    def setting(self, setting: uuid.UUID) -> None:
        self.power(SETTING_CHANGE, self.process.place(setting_bytes(setting)))

    # What the service got

    def requests(self) -> list[Json]:
        return [json.loads(record["request"]) for record in self.host.records(self.process.number, "event")]

    def later(self, known: int) -> list[Json]:
        """The requests behind the known ones, without the session's number."""
        return [{k: v for k, v in r.items() if k != "winSessionId"} for r in self.requests()[known:]]

    def kinds(self) -> list[str]:
        """Of what the journal holds of this agent, but for the question of a registration's thread."""
        return [r["kind"] for r in self.host.records(self.process.number) if r["kind"] != "mail"]

    # What it logged

    def errors(self) -> list[str]:
        return self.product.log_lines("Send event failed", self.process)

    def log(self) -> list[Entry]:
        """What its main thread wrote of the link and of these messages."""
        found = entries(self.product, self.process, _SOURCES)
        return [entry for entry in found if entry.thread == found[0].thread]

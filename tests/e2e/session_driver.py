"""Takes an agent and its service through the steps of a sequence and reads what each of them leaves."""

from __future__ import annotations

import json
import re
import uuid
from collections.abc import Callable
from dataclasses import dataclass, field

from desktop import Process, wait_until
from link_log import SUCCESS
from log_tail import LogTail, Tail, Watches
from mail_driver import MailDriver
from session import BATTERY, POWER_SOURCE, SCHEME, SETTING_CHANGE, Session, setting_bytes
from session_model import LINK_FAILED, NO_CLIENT, Event, Model, Step

_CONTROL, _STATUS, _SEND = 0x4E00FF, 1, 2
_STRANGE = uuid.UUID(int=POWER_SOURCE.int ^ 1)  # but for its last bit the first one
_SETTINGS = (POWER_SOURCE, BATTERY, SCHEME, _STRANGE)
_SOURCES = ("CallbackHelper", "MainFrm_MsgHelper", "MainFrm_Session", "PowerEventHandler")
_ERROR_CODE = re.compile(r"(Error Code=|Error Code = 0x)(?:(e0ff001a)|-\d+|[89a-f][0-9a-f]{7})$")


@dataclass
class Outcome:
    """What one step left behind."""

    records: list[tuple[str, Event]] = field(default_factory=list)  # of the service's journal
    lines: list[str] = field(default_factory=list)  # of the agent's handlers
    answered: bool | None = None  # whether the agent answered the command


def _without_status(text: str) -> str:
    return _ERROR_CODE.sub(lambda match: match[1] + (NO_CLIENT if match[2] else LINK_FAILED), text)


class Driver:
    def __init__(self, session: Session, mails: MailDriver) -> None:
        self._session = session
        self._mails = mails
        self._agent = session.process
        self._settings = [self._agent.place(setting_bytes(setting)) for setting in _SETTINGS]
        self._log = LogTail(session.product.log_folder, self._agent.number)
        journal = session.host.journal_file()
        self._journal = Tail(journal.parent, f"{journal.name}*", b"\n")
        self._watches = Watches()
        self._service = Process(self._agent.probe, session.host.process_id())
        self._registrations = 0
        self._came = Outcome()
        self._look()

    def run(self, step: Step, model: Model) -> Outcome:
        """Takes the step; the model, which has taken it, tells what has to be waited for."""
        self._came = Outcome()
        if step.what == "death":
            self._end_service(model.registered)
        elif step.what == "birth":
            self._begin_service(model.registered)
        else:
            self._change(step)
        self._look()
        return self._came

    def _change(self, step: Step) -> None:
        what, values = step
        if what == "session":
            self._session.change(*values)
        elif what == "network":
            self._session.network(*values)
        elif what == "power":
            self._session.power(*values)
        elif what == "setting":
            self._session.power(SETTING_CHANGE, self._settings[values[0]])
        else:
            self._came.answered = self._command(*values)

    def _command(self, command: int) -> bool:
        sent = {"JD_COMMAND_ID": command, "interval": 1000}
        request = {"processId": self._agent.number, "command": json.dumps(sent)}
        call, result, reply = self._mails.mail(_CONTROL, _SEND, request)
        if call < 0 or result < 0:
            return False
        assert json.loads(json.loads(reply)["reply"]) == {**sent, "retCode": SUCCESS}
        return True

    # The service

    def _end_service(self, watched: bool) -> None:
        if watched:
            self._wait(lambda: self._watches.is_set(self._registrations), "the watch of the service")
        reconnects = self._watches.reconnects + watched
        self._service.terminate()
        self._wait(lambda: self._watches.reconnects == reconnects, "the end of the service, noticed")

    def _begin_service(self, registers: bool) -> None:
        program = f"{self._session.product.windows_root}\\win32\\QxSvcHost_M.exe"
        self._service = self._session.product.desktop.start(f'"{program}" --console')
        wait_until(lambda: self._mails.mail(_CONTROL, _STATUS, {})[0] >= 0, "the service")
        if registers:
            self._wait(lambda: self._came.records != [], "the registration with the next service")

    # What came

    def _wait(self, condition: Callable[[], bool], what: str) -> None:
        def holds() -> bool:
            self._look()
            return condition()

        wait_until(holds, what)

    def _look(self) -> None:
        for record in map(json.loads, self._journal.lines()):
            kind = record["kind"]
            if record["processId"] == self._agent.number and kind not in ("mail", "command"):
                self._registrations += kind == "register"
                event = json.loads(record["request"]) if kind == "event" else {}
                self._came.records.append((kind, event))
        lines = self._log.lines()
        self._watches.take(lines)
        texts = [line.text for line in lines if line.source in _SOURCES]
        self._came.lines += [_without_status(text) for text in texts if text.startswith(": ")]

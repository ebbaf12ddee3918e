"""What the service meets when the session is left and comes back, and an engine that it drives there."""

from __future__ import annotations

import json

from desktop import wait_until
from host import HostService, Json
from narration import detail, expect

_LEFT, _BACK = 17, 16
_INPUT_MAIL = 0x10060
_REPORT_INPUT = {"JD_COMMAND_ID": 1100, "interval": 1}
_CREATE, _END, _PERFORM, _QUERY = 0x1001, 0x1002, 0x2001, 0x2003
_LONGEST_LINE = 240


class SessionPlay:
    """The steps for a registered agent that reports the last input once a second."""

    def __init__(self, host: HostService, agent: int) -> None:
        self._host = host
        self._agent = agent

    def leave_and_return(self) -> None:
        self._wait_for_report()
        self._simulate("lock")
        self._show_event(_LEFT)
        expect(self._host.clients() == [], "the registration has ended")
        self._expect_no_report()
        detail("no client is registered, and no report has come for three seconds")
        self._simulate("unlock")
        self._show_event(_BACK)
        (client,) = self._host.clients()
        expect(client["processId"] == self._agent, "the same agent is registered again")
        self._expect_no_report()
        detail("the agent is registered again; the reports stay off until they are ordered anew")
        self._send(_REPORT_INPUT)
        self._wait_for_report()

    def drive_engine(self) -> None:
        created = self._act(_CREATE, itemId="inspection", sessionId="run")
        track = created["data"]["trackId"]
        self._act(_PERFORM, trackId=track)
        findings = self._act(_QUERY, trackId=track)["data"]["findings"]
        expect(len(findings) > 0, "the inspection has found something")
        detail(f"engine {track} has found: {', '.join(f['details']['title'] for f in findings)}")
        self._act(_END, trackId=track)

    def _simulate(self, change: str) -> None:
        detail(f"qxctl simulate {change}")
        finished = self._host.qxctl("simulate", change)
        expect(finished.code == 0, f"the change is handled: {finished.err}")
        detail(f"  {finished.out.strip()}")

    def _wait_for_report(self) -> None:
        known = self._reports()
        wait_until(lambda: self._reports() > known, "a report of the last input")

    def _expect_no_report(self) -> None:
        known = self._reports()
        self._host.qxctl("watch", "--timeout", "3")
        expect(self._reports() == known, "no report comes")

    def _reports(self) -> int:
        mails = self._host.records(self._agent, "mail")
        return len([mail for mail in mails if mail.get("mailId") == _INPUT_MAIL])

    def _show_event(self, event: int) -> None:
        self._host.wait_for_event(self._agent, event)
        events = [record for record in self._host.journal() if record["kind"] == "event"]
        detail(f"received: {json.dumps(next(r for r in events if r['request']['eventId'] == event))}")

    def _act(self, action: int, **members: str | int) -> Json:
        return self._send({"JD_COMMAND_ID": 2000, "action": action, **members})

    def _send(self, command: Json) -> Json:
        detail(f"qxctl send '{json.dumps(command)}'")
        reply = self._host.send(command)
        line = json.dumps(reply)
        detail(f"  reply: {line if len(line) <= _LONGEST_LINE else line[:_LONGEST_LINE] + ' ...'}")
        expect(int(reply["retCode"]) >= 0, "the command succeeds")
        return reply

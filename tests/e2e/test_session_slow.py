"""Changes that arrive while the service is slow to answer the mail before them, and a service that dies
meanwhile."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import wait_until
from host import HostService, Json
from link_log import SUCCESS
from product import Product
from session import (
    LOCK,
    LOGOFF,
    LOGON,
    NETWORK_LOST,
    NETWORK_MADE,
    RESUME,
    UNLOCK,
    WM_POWERBROADCAST,
    WM_WTSSESSION_CHANGE,
    Session,
)

EVENT_MAIL, UNREGISTER, REGISTER = (5, 0x1802), (0, 0x2053), (0, 0x2052)
MADE = {"eventId": 23, "type": 1}
LOST = {"eventId": 24, "type": 1}
LEFT, CAME, LOGGED_OFF = {"eventId": 17}, {"eventId": 16}, {"eventId": 1}
RESUMED = {"eventId": 0x8000, "eventType": 5}
SLOW = ("--delay", "1500", "--times", "1")
FOR_EVER = ("--delay", "600000", "--times", "1")

Message = tuple[int, int]


class Waiting(Session):
    """Its messages are posted, so that they wait while the agent waits for the service."""

    def __init__(self, product: Product) -> None:
        super().__init__(product)
        self.known = len(self.requests())
        self.first = len(self.kinds())

    def post(self, *messages: Message) -> None:
        for message, parameter in messages:
            self.frame.post(message, parameter, 1)

    def begin(self, *message: int) -> None:
        """Posts a message and waits until the service has its mail."""
        known = len(self.kinds())
        self.frame.post(*message, 1)
        wait_until(lambda: len(self.kinds()) > known, "the mail")

    def came(self) -> list[Json]:
        """The events, once the frame has taken everything that was posted."""
        lines = len(self.last_lines())
        self.post((WM_WTSSESSION_CHANGE, LOGON))
        wait_until(lambda: len(self.last_lines()) > lines, "the last message")
        return self.later(self.known)

    def last_lines(self) -> list[str]:
        return self.product.log_lines(f"SessionState: {LOGON},", self.process)


@pytest.fixture
def session(product: Product) -> Iterator[Waiting]:
    host = HostService(product)
    if host.process_id() == 0:
        host.start()
    session = Waiting(product)
    yield session
    host.qxctl("answer", "--reset")


def test_a_change_during_a_mail_waits_for_its_turn(session: Waiting) -> None:
    session.host.answer(*EVENT_MAIL, *SLOW)
    session.begin(NETWORK_MADE, 1)
    session.post((NETWORK_LOST, 1), (WM_POWERBROADCAST, RESUME))
    session.post((WM_WTSSESSION_CHANGE, LOCK), (NETWORK_MADE, 1))
    assert session.came() == [MADE, LOST, RESUMED, LEFT]
    assert session.kinds()[session.first :] == ["event"] * 4 + ["unregister"]
    assert session.errors() == []


def test_a_session_that_comes_back_while_it_tells_that_it_was_left(session: Waiting) -> None:
    session.host.answer(*EVENT_MAIL, *SLOW)
    session.begin(WM_WTSSESSION_CHANGE, LOCK)
    session.post((NETWORK_LOST, 1), (WM_WTSSESSION_CHANGE, UNLOCK), (NETWORK_MADE, 1))
    assert session.came() == [LEFT, CAME, MADE]
    assert session.kinds()[session.first :] == ["event", "unregister", "register", "event", "event"]
    assert len(session.host.clients()) == 1


@pytest.mark.parametrize("state", [LOCK, LOGOFF])
def test_a_session_that_is_left_while_it_registers(session: Waiting, state: int) -> None:
    session.change(LOCK)
    session.host.answer(*REGISTER, *SLOW)
    session.begin(WM_WTSSESSION_CHANGE, UNLOCK)
    session.post((WM_WTSSESSION_CHANGE, state), (NETWORK_LOST, 1))
    assert session.came() == [LEFT, CAME, LEFT if state == LOCK else LOGGED_OFF]
    assert session.host.clients() == []


def test_a_session_that_comes_back_while_its_registration_ends(session: Waiting) -> None:
    session.host.answer(*UNREGISTER, *SLOW)
    session.post((WM_WTSSESSION_CHANGE, LOCK))
    wait_until(lambda: session.kinds()[session.first :] == ["event", "unregister"], "the last mail")
    session.post((WM_WTSSESSION_CHANGE, UNLOCK))
    assert session.came() == [LEFT, CAME]
    assert len(session.host.clients()) == 1


def test_commands_are_answered_during_a_mail(session: Waiting) -> None:
    session.host.answer(*EVENT_MAIL, *FOR_EVER)
    session.begin(NETWORK_MADE, 1)
    session.post((WM_WTSSESSION_CHANGE, LOCK))
    assert session.host.send({"JD_COMMAND_ID": 3000})["retCode"] == SUCCESS
    assert session.host.send({"JD_COMMAND_ID": 1100, "interval": 1000})["retCode"] == SUCCESS
    assert session.later(session.known) == [MADE], "the mail is under way"
    session.host.kill()
    assert session.came() == [MADE]


def test_a_session_is_left_though_the_service_dies_as_it_is_told(session: Waiting) -> None:
    session.host.answer(*EVENT_MAIL, *FOR_EVER)
    session.begin(WM_WTSSESSION_CHANGE, LOCK)
    session.host.kill()
    assert session.came() == [LEFT]
    (line,) = session.errors()
    assert ": [ERROR] Send event failed...EventId=17 - " in line
    session.host.start()
    session.network(NETWORK_LOST, 1)
    assert session.came() == [LEFT]
    assert session.host.clients() == []
    session.change(UNLOCK)
    assert session.came() == [LEFT, CAME]
    assert len(session.host.clients()) == 1


def test_a_resume_outlives_the_service_that_dies_during_its_mail(session: Waiting) -> None:
    session.host.answer(*EVENT_MAIL, *FOR_EVER)
    session.begin(WM_POWERBROADCAST, RESUME)
    session.host.kill()
    assert session.came() == [RESUMED]
    (line,) = session.product.log_lines("Failed to handle power event", session.process)
    assert ": [ERROR] Failed to handle power event. Error Code = 0xe0fe" in line
    session.host.start()
    assert len(session.host.wait_for_clients()) == 1
    session.power(RESUME)
    assert session.came() == [RESUMED, RESUMED]

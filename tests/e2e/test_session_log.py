"""What the changes of session, network and power leave in the agent's log, to the letter, and in the
service's journal."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import wait_until
from host import HostService
from link_log import (
    end_of_registration,
    error,
    event,
    failed,
    lost_event,
    mail,
    power_event,
    power_failure,
    registration,
    session_change,
    signed,
    texts,
    trace,
)
from product import Product
from session import (
    AUTOMATIC_RESUME,
    BATTERY,
    LOCK,
    LOGOFF,
    LOGON,
    NETWORK_LOST,
    NETWORK_MADE,
    NETWORK_MADE_NO_QOC,
    POWER_SOURCE,
    RESUME,
    SUSPEND,
    UNLOCK,
    Session,
)

NO_CLIENT = 0xE0FF001A
NO_ENDPOINT = 0xE0FE0002
CONNECTS, LEAVES = (1, 3, 8), (2, 4, 6, 7)
HANDLERS = {
    NETWORK_MADE: "CMainFrame::OnNetworkConnectionMadeNotify",
    NETWORK_MADE_NO_QOC: "CMainFrame::OnNetworkConnectionMadeNoQocNotify",
    NETWORK_LOST: "CMainFrame::OnNetworkConnectionLostNotify",
}
REGISTER_FAILED = error(f"RegisterRPC failed...Error Code={signed(NO_ENDPOINT)}", "")


class Letters(Session):
    """Compares what each change leaves with what is expected of it."""

    def __init__(self, product: Product) -> None:
        super().__init__(product)
        self.number = self.process.number
        self.main = self.log()[0].thread
        (client,) = self.host.clients()
        self.winsession = client["sessionId"]
        self.read = len(self.log())
        self.known = len(self.kinds())

    def assert_log(self, *lines: str) -> None:
        """What has been logged since the last time."""
        came = texts(self.log())
        assert came[self.read :] == list(lines)
        self.read = len(came)

    def assert_journal(self, *kinds: str) -> None:
        """What the service has got since the last time."""
        came = self.kinds()
        assert came[self.known :] == list(kinds)
        self.known = len(came)

    def event(self, number: int) -> list[str]:
        return event(number, self.winsession, self.number, self.main)

    def mail(self) -> list[str]:
        return mail(self.number, self.main)

    def failed_mail(self) -> list[str]:
        line = [failed(NO_ENDPOINT)]
        return mail(self.number, self.main, line, line, -1)

    def lost(self, number: int) -> list[str]:
        return lost_event(number, self.winsession)

    def failed_event(self, number: int) -> list[str]:
        begin, request, end = lost_event(number, self.winsession)[:3]
        return [begin, request, *self.failed_mail(), end, error(f"Send event failed...EventId={number}", "")]

    def lock(self) -> None:
        self.change(LOCK)
        self.read, self.known = len(self.log()), len(self.kinds())

    def without_service(self) -> None:
        self.host.stop()
        self.read, self.known = len(self.log()), len(self.kinds())


@pytest.fixture
def session(product: Product) -> Iterator[Letters]:
    yield Letters(product)
    host = HostService(product)
    if host.process_id() == 0:
        host.start()
        wait_until(lambda: host.process_id() != 0, "the service")


# Session


@pytest.mark.parametrize("leave, come", list(zip(LEAVES, (*CONNECTS, UNLOCK))))
def test_a_session_that_is_left_and_comes_back(session: Letters, leave: int, come: int) -> None:
    number = 1 if leave == LOGOFF else 17
    session.change(leave, 77)
    session.assert_log(*session_change(leave, *session.event(number), *end_of_registration(), session=77))
    session.assert_journal("event", "unregister")
    session.change(come, 0xFFFFFFFF)
    session.assert_log(*session_change(come, *registration(), *session.event(16), session=0xFFFFFFFF))
    session.assert_journal("register", "event")


@pytest.mark.parametrize("state", CONNECTS)
def test_a_session_that_comes_back_twice_is_told_twice(session: Letters, state: int) -> None:
    session.change(state)
    session.assert_log(*session_change(state, *trace("RegisterRPC"), *session.event(16)))
    session.assert_journal("event")


@pytest.mark.parametrize("state", LEAVES)
def test_a_session_that_is_left_twice_is_told_once(session: Letters, state: int) -> None:
    session.lock()
    session.change(state)
    number = 1 if state == LOGOFF else 17
    session.assert_log(*session_change(state, *session.lost(number), *trace("UnRegisterRPC")))
    session.assert_journal()


@pytest.mark.parametrize("state", [LOGON, 0, 9, 10, 0x7FFFFFFF, 0xFFFFFFFF])
def test_any_other_state_is_logged_alone(session: Letters, state: int) -> None:
    session.change(state)
    session.assert_log(*session_change(state))
    session.lock()
    session.change(state)
    session.assert_log(*session_change(state))
    session.assert_journal()


def test_a_session_that_comes_back_without_the_service(session: Letters) -> None:
    session.lock()
    session.without_service()
    session.change(UNLOCK)
    session.assert_log(
        *session_change(
            UNLOCK, *registration(failed(NO_ENDPOINT)), REGISTER_FAILED, *session.failed_event(16)
        )
    )
    session.change(UNLOCK)
    session.assert_log(*session_change(UNLOCK, *trace("RegisterRPC"), *session.failed_event(16)))


def test_the_client_of_a_failed_registration_sends_events_once_the_service_is_there(session: Letters) -> None:
    session.lock()
    session.without_service()
    session.change(UNLOCK)
    session.host.start()
    assert session.host.clients() == []
    session.change(UNLOCK)
    session.network(NETWORK_LOST, 2)
    session.power(RESUME)
    session.assert_journal("event", "event", "event")
    session.change(LOCK)  # there is no registration to end
    session.assert_journal("event")
    session.change(UNLOCK)
    session.assert_journal("register", "event")


# Network


@pytest.mark.parametrize("message", HANDLERS)
def test_the_network_with_and_without_a_client(session: Letters, message: int) -> None:
    session.network(message, 1)
    session.assert_log(*trace(HANDLERS[message], *session.mail()))
    session.assert_journal("event")
    session.lock()
    session.network(message, 1)
    session.assert_log(*trace(HANDLERS[message]))
    session.assert_journal()


def test_the_network_without_the_service(session: Letters) -> None:
    session.lock()
    session.without_service()
    session.change(UNLOCK)
    session.read = len(session.log())
    session.network(NETWORK_LOST, 1)
    session.assert_log(*trace(HANDLERS[NETWORK_LOST], *session.failed_mail()))


# Power


def test_a_resume_in_every_state_of_the_link(session: Letters) -> None:
    session.power(RESUME)
    session.assert_log(*trace("RegisterRPC"), *power_event(5, *session.mail()))
    session.assert_journal("event")
    session.lock()
    session.power(RESUME)
    session.assert_log(*registration(), *power_event(5, *session.mail()))
    session.assert_journal("register", "event")
    session.change(UNLOCK)
    session.assert_log(*session_change(UNLOCK, *trace("RegisterRPC"), *session.event(16)))
    session.lock()
    session.without_service()
    session.power(RESUME)
    session.assert_log(
        *registration(failed(NO_ENDPOINT)),
        REGISTER_FAILED,
        *power_event(5, *session.failed_mail(), power_failure(NO_ENDPOINT)),
    )


def test_a_setting_without_a_client_is_a_failure(session: Letters) -> None:
    session.setting(POWER_SOURCE)
    session.assert_log()
    session.lock()
    session.setting(POWER_SOURCE)
    session.assert_log(*power_event(2, power_failure(NO_CLIENT)))
    session.setting(BATTERY)
    session.assert_log()
    session.change(UNLOCK)
    session.read, session.known = len(session.log()), len(session.kinds())
    session.setting(BATTERY)
    session.assert_log(*power_event(3, *session.mail()))
    session.assert_journal("event")


@pytest.mark.parametrize("code", [0, SUSPEND, 6, 10, AUTOMATIC_RESUME, 0x8012, 0xFFFFFFFF])
def test_any_other_power_code_leaves_nothing(session: Letters, code: int) -> None:
    session.power(code, 0x10)
    session.lock()
    session.power(code)
    session.assert_log()
    session.assert_journal()

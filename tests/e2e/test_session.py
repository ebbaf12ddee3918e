"""What the service hears of the session, the network and the power, and what a session that is left keeps."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import wait_until
from link_log import SUCCESS
from product import Product
from session import (
    NETWORK_LOST,
    NETWORK_MADE,
    NETWORK_MADE_NO_QOC,
    RESUME,
    SUSPEND,
    Session,
)

ACTIVE_WINDOW_TIMER, INPUT_INFO_TIMER = 1011, 1100


@pytest.fixture
def session(product: Product) -> Iterator[Session]:
    yield Session(product)


@pytest.mark.parametrize(
    "leave, event, come",
    [(7, 17, 8), (2, 17, 1), (4, 17, 3), (6, 1, 8)],
    ids=["lock", "console", "remote", "logoff"],
)
def test_a_session_that_is_left_drops_its_link_until_it_comes_back(
    session: Session, leave: int, event: int, come: int
) -> None:
    known = len(session.requests())
    session.change(leave)
    assert session.later(known) == [{"eventId": event}]
    assert session.host.clients() == []
    session.change(come)
    assert session.later(known) == [{"eventId": event}, {"eventId": 16}]
    (client,) = session.host.clients()
    assert client["processId"] == session.process.number
    assert session.host.send({"JD_COMMAND_ID": 4711})["retCode"] == SUCCESS
    assert session.errors() == []


def test_the_reports_stay_off_until_they_are_ordered_anew(session: Session) -> None:
    def order() -> int:
        for command in (ACTIVE_WINDOW_TIMER, INPUT_INFO_TIMER):
            session.host.send({"JD_COMMAND_ID": command, "interval": 1000})
        return len(session.product.log_lines("Set timer for ", session.process))

    assert order() == 2
    assert order() == 2, "they are armed"
    session.change(7)
    session.change(8)
    assert order() == 4


def test_a_session_that_only_logs_on_sends_nothing(session: Session) -> None:
    known = len(session.requests())
    session.change(5)
    session.change(99)
    assert session.later(known) == []
    assert len(session.host.clients()) == 1


def test_a_change_of_the_network_is_told_with_its_type(session: Session) -> None:
    known = len(session.requests())
    for message, kind in ((NETWORK_MADE, 1), (NETWORK_MADE_NO_QOC, 2), (NETWORK_LOST, 0xFFFFFFFF)):
        session.network(message, kind)
    expected = [{"eventId": 23, "type": 1}, {"eventId": 23, "type": 2}, {"eventId": 24, "type": 0xFFFFFFFF}]
    assert session.requests()[known:] == expected


def test_a_change_of_the_network_is_lost_while_the_session_is_locked(session: Session) -> None:
    known = len(session.requests())
    session.change(7)
    session.network(NETWORK_LOST, 1)
    session.change(8)
    assert session.later(known) == [{"eventId": 17}, {"eventId": 16}]
    assert session.errors() == []


def test_a_resume_is_told_and_a_suspend_is_not(session: Session) -> None:
    known = len(session.requests())
    for code in (SUSPEND, RESUME):
        session.power(code)
    assert session.requests()[known:] == [{"eventId": 0x8000, "eventType": 5}]


def test_a_resume_brings_the_link_of_a_locked_session_back(session: Session) -> None:
    session.change(7)
    session.power(RESUME)
    assert len(session.host.clients()) == 1


def test_an_unlock_without_the_service_waits_for_the_next_one(session: Session) -> None:
    session.change(7)
    session.host.stop()
    session.change(8)
    (line,) = session.product.log_lines("RegisterRPC failed...Error Code=", session.process)
    assert "[ERROR]" in line
    assert len(session.errors()) == 1
    session.host.start()
    wait_until(lambda: session.host.process_id() != 0, "the service")
    assert session.host.clients() == []
    session.change(7)
    session.change(8)
    assert len(session.host.wait_for_clients()) == 1

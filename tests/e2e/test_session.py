"""What the service hears of the session, the network and the power, and what a session that is left keeps."""

from __future__ import annotations

import uuid
from collections.abc import Iterator

import pytest

from desktop import wait_until
from link_log import SUCCESS
from product import Product
from session import (
    BATTERY,
    NETWORK_LOST,
    NETWORK_MADE,
    NETWORK_MADE_NO_QOC,
    POWER_SOURCE,
    RESUME,
    SCHEME,
    SETTING_CHANGE,
    SUSPEND,
    Session,
    setting_bytes,
)
from tray import Tray

ACTIVE_WINDOW_TIMER, INPUT_INFO_TIMER = 1011, 1100
INPUT_INFO = 0x10060


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


def test_no_report_comes_after_the_session_was_left(session: Session) -> None:
    def reports() -> int:
        mails = session.host.records(session.process.number, "mail")
        return len([mail for mail in mails if mail["mailId"] == INPUT_INFO])

    session.host.send({"JD_COMMAND_ID": INPUT_INFO_TIMER, "interval": 1})
    wait_until(lambda: reports() >= 2, "two reports")
    session.change(7)
    session.change(8)
    known = reports()
    session.host.qxctl("watch", "--timeout", "3")
    assert reports() == known
    session.host.send({"JD_COMMAND_ID": INPUT_INFO_TIMER, "interval": 1})
    wait_until(lambda: reports() > known, "a report that was ordered anew")


def test_a_session_that_is_left_keeps_the_tray_and_the_process(product: Product, tray: Tray) -> None:
    wait_until(tray.is_empty, "the end of every other icon")
    session = Session(product)
    wait_until(lambda: tray.pixels() == tray.idle_picture(), "the icon")
    for state in (7, 6, 4, 2):
        session.change(state)
    assert tray.pixels() == tray.idle_picture()
    assert tray.open_menu().items() != []
    assert session.process.running


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


def test_of_the_networks_parameters_the_low_half_of_the_first_one_counts(session: Session) -> None:
    known = len(session.requests())
    for parameter in (0, 0x1_0000_0002, 0xFFFFFFFF_FFFFFFFF, 0x80000000):
        assert session.frame.send(NETWORK_MADE, parameter, 0xFFFFFFFF_FFFFFFFF) == 0
    expected = [{"eventId": 23, "type": kind} for kind in (0, 2, 0xFFFFFFFF, 0x80000000)]
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


def test_each_setting_is_told_from_its_second_notice_on(session: Session) -> None:
    known = len(session.requests())
    for setting in (POWER_SOURCE, POWER_SOURCE, BATTERY, POWER_SOURCE, SCHEME, BATTERY, SCHEME, SCHEME):
        session.setting(setting)
    types = [request["eventType"] for request in session.requests()[known:]]
    assert types == [2, 2, 3, 4, 4]
    assert session.requests()[known] == {"eventId": 0x8000, "eventType": 2}


def test_a_setting_that_nobody_knows_is_told_to_nobody(session: Session) -> None:
    known = len(session.requests())
    strange = (
        uuid.UUID(int=0),
        uuid.UUID(int=POWER_SOURCE.int ^ 1),
        uuid.UUID(int=BATTERY.int ^ (1 << 127)),
        uuid.UUID(bytes_le=SCHEME.bytes),
    )
    for setting in (*strange, *strange):
        session.setting(setting)
    session.setting(POWER_SOURCE)
    assert session.requests()[known:] == [], "the first notice of its own"


@pytest.mark.parametrize("size", [1, 15])
def test_a_notice_without_a_whole_setting_is_ignored(session: Session, size: int) -> None:
    known = len(session.requests())
    cut = session.process.place(POWER_SOURCE.bytes_le[:size])
    for place in (cut, cut, 0, 1, 0xFFFF_FFFF_FFFF_FFFF):
        session.power(SETTING_CHANGE, place)
    session.power(RESUME)
    assert session.requests()[known:] == [{"eventId": 0x8000, "eventType": 5}]


def test_of_a_setting_nothing_but_its_name_is_read(session: Session) -> None:
    known = len(session.requests())
    no_value = setting_bytes(POWER_SOURCE, 0, b"")
    too_long = setting_bytes(POWER_SOURCE, 1 << 31)
    for content in (POWER_SOURCE.bytes_le, no_value, too_long):
        session.power(SETTING_CHANGE, session.process.place(content))
    assert session.requests()[known:] == [{"eventId": 0x8000, "eventType": 2}] * 2


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

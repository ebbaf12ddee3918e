"""Every way in which the running agent ends."""

from __future__ import annotations

import pytest

from desktop import WM_CLOSE, wait_until
from product import Product, exit_event

WM_QUERYENDSESSION = 0x0011
WM_ENDSESSION = 0x0016
EXITING = "SendMessage to exit QxSessionAgent..."


def test_the_exit_event_ends_it_cleanly(product: Product) -> None:
    process = product.start_running("2")
    product.desktop.wait_for_consoles(1)
    product.signal_exit()
    assert process.wait() == 0
    (line,) = product.log_lines(EXITING)
    assert f" .w. <QxSessionAgent> : [INFO] {EXITING} - " in line
    assert product.has_ended()
    assert product.desktop.probe.ask("query", kind="event", name=exit_event())["error"] == "2"
    assert len(product.desktop.consoles()) == 1, "the event is for the agent alone"


def test_an_event_that_is_already_signalled_ends_it_right_after_the_start(product: Product) -> None:
    early = product.desktop.probe.ask("create", kind="event", name=exit_event(), set=1)
    try:
        process = product.start("2")
        assert process.wait() == 0
        assert product.log_lines(EXITING, process)
    finally:
        product.desktop.probe.request("close", id=early["id"])


def test_an_event_that_exists_is_waited_for(product: Product) -> None:
    early = product.desktop.probe.ask("create", kind="event", name=exit_event())
    try:
        process = product.start_running()
        product.frame()
        assert process.running
        product.signal_exit()
        assert process.wait() == 0
    finally:
        product.desktop.probe.request("close", id=early["id"])


@pytest.mark.parametrize("kind, no_rights, error", [("mutex", 0, 6), ("semaphore", 0, 6), ("event", 1, 5)])
def test_a_squatted_event_name_leaves_the_frame_to_end_it(
    product: Product, kind: str, no_rights: int, error: int
) -> None:
    squatter = product.desktop.probe.ask("create", kind=kind, name=exit_event(), noRights=no_rights)
    try:
        process = product.start()
        (line,) = product.wait_for_log("CreateMultipleGlobal failed", process)
        assert f"!!! <QxSessionAgent> : [ERROR] CreateMultipleGlobal failed... ErrorCode={error} - " in line
        product.frame().send(WM_CLOSE)
        assert process.wait() == 0
    finally:
        product.desktop.probe.request("close", id=squatter["id"])


def test_closing_the_frame_ends_it_and_leaves_the_consoles(product: Product) -> None:
    process = product.start_running("2")
    product.desktop.wait_for_consoles(1)
    product.frame().post(WM_CLOSE)
    assert process.wait() == 0
    assert product.log_lines(EXITING) == []
    assert len(product.desktop.consoles()) == 1


def test_many_close_messages_end_it_once(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    for _ in range(50):
        product.desktop.probe.ask("post", window=frame.handle, message=WM_CLOSE)
    product.desktop.probe.ask("setEvent", name=exit_event())
    assert process.wait() == 0
    assert product.has_ended()


def test_it_lets_the_session_end(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    assert frame.send(WM_QUERYENDSESSION) == 1
    frame.send(WM_ENDSESSION, w_param=1)
    frame.post(WM_CLOSE)
    assert process.wait() == 0


def test_a_session_end_that_was_called_off_changes_nothing(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    assert frame.send(WM_QUERYENDSESSION) == 1
    frame.send(WM_ENDSESSION, w_param=0)
    assert process.running
    product.signal_exit()
    assert process.wait() == 0
    assert product.log_lines(EXITING)


def test_it_can_be_ended_while_its_start_functions_still_run(product: Product) -> None:
    process = product.start("6")
    wait_until(product.find_frame, "the frame").post(WM_CLOSE)
    assert process.wait() == 0
    assert product.has_ended()

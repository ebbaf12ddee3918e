"""What the agent makes of every answer that the service can give: refusals, incomplete answers, texts that
are no JSON, calls that fail. Compared to the letter."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import Process, wait_until
from host import HostService
from link_log import (
    AGAIN,
    FAILURE,
    INVALID_PARAMETER,
    NO_PARAMETER,
    NO_RESULT,
    NOT_FOUND,
    RECONNECT,
    UNKNOWN_CLIENT,
    Entry,
    entries,
    error,
    failed,
    helper_trace,
    mail,
    no_message,
    no_text,
    texts,
    trace,
)
from product import Product

MESSAGE_ID = 0x10014
EVENT_MAIL = (5, 0x1802)
HANDLE_MAIL = (0x4E000C, 0x8C1E)
REGISTER = (0, 0x2052)
UNREGISTER = (0, 0x2053)
INIT = helper_trace("InitProduct")


@pytest.fixture
def host(product: Product) -> Iterator[HostService]:
    service = HostService(product)
    yield service
    reset = service.qxctl("answer", "--reset")
    assert reset.code == 0, reset.err


def link_lines(product: Product, agent: Process) -> list[Entry]:
    return entries(product, agent, ("OuterClientHelper", "MailHelper"))


def operation(found: list[Entry], name: str) -> list[str]:
    """The main thread's lines from an operation's first beginning to its last end."""
    lines = texts(entry for entry in found if entry.thread == found[0].thread)
    begin = next(i for i, line in enumerate(lines) if line.endswith(f"==> {name}"))
    end = max(i for i, line in enumerate(lines) if line.endswith(f"<== {name}"))
    return lines[begin : end + 1]


# The registration

REFUSALS = [
    (["--result", "0xE0FF0001"], [], FAILURE),
    (["--drop", "result"], [NO_RESULT], INVALID_PARAMETER),
    (["--status", "0xE0FF0001"], [failed(FAILURE)], FAILURE),
    (["--status", "0xE0010803", "--times", "2"], [AGAIN, *INIT, failed(UNKNOWN_CLIENT)], UNKNOWN_CLIENT),
]


@pytest.mark.parametrize(
    "options, lines, status", REFUSALS, ids=["refused", "no-result", "failed", "unknown"]
)
def test_a_registration_that_fails_ends_the_start(
    product: Product, host: HostService, options: list[str], lines: list[str], status: int
) -> None:
    host.answer(*REGISTER, *options)
    agent = product.start("2")
    assert agent.wait() == 0
    assert operation(link_lines(product, agent), "RegisterRPC") == trace(
        "RegisterRPC",
        *helper_trace("CVzRpcClientHelper", *INIT),
        *helper_trace("RegisterProcess", *lines),
    )
    (line,) = product.log_lines("Register Callback to RPC server failed", agent)
    assert f": [ERROR] Register Callback to RPC server failed with 0x{status:x} - StartHelper(" in line
    assert product.opened_nothing() and product.has_ended()


def test_a_service_that_forgot_the_client_once_gets_a_new_one(product: Product, host: HostService) -> None:
    host.answer(*REGISTER, "--status", "0xE0010803", "--times", "1")
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    expected = helper_trace("RegisterProcess", AGAIN, *INIT)
    assert operation(link_lines(product, agent), "CVzRpcClientHelper::RegisterProcess") == expected
    assert host.send({"JD_COMMAND_ID": 4711})["JD_COMMAND_ID"] == 4711
    assert len(host.clients()) == 1


def test_a_slow_registration_holds_up_the_start(product: Product, host: HostService) -> None:
    host.answer(*REGISTER, "--delay", "3000", "--times", "1")
    agent = product.start("2")
    host.wait_for_records(agent.number, "register")
    product.wait_for_log("==> CVzRpcClientHelper::RegisterProcess", agent)
    assert product.find_frame() is None and product.opened_nothing()
    product.desktop.wait_for_consoles(1)


# Mails

ANSWERS: list[tuple[str, list[str], list[str], list[str], int]] = [
    ("refused", ["--result", "0xE0FF0001"], [], [failed(FAILURE)], -1),
    ("no result", ["--drop", "result"], [NO_RESULT], [failed(INVALID_PARAMETER)], -1),
    ("no index", ["--drop", "param"], [NO_PARAMETER, no_message(0)], [failed(INVALID_PARAMETER)], -1),
    ("no message", ["--drop", "message"], [no_message(MESSAGE_ID)], [failed(INVALID_PARAMETER)], -1),
    (
        "neither",
        ["--drop", "param", "--drop", "message"],
        [NO_PARAMETER, no_message(0)],
        [failed(INVALID_PARAMETER)],
        -1,
    ),
    ("no text", ["--drop", "json", "--json", "{}"], [], [no_text(NOT_FOUND)], 87),
    ("no JSON", ["--text", '{"a":'], [], [], 87),
    ("an array", ["--json", "[1,2]"], [], [], 0),
    ("refused with a reply", ["--result", "0xE0FF000E", "--json", "{}"], [], [failed(NOT_FOUND)], -1),
    ("failed", ["--status", "0xE0FE0005"], [failed(0xE0FE0005)], [failed(0xE0FE0005)], -1),
    ("forgotten once", ["--status", "0xE0010803", "--times", "1"], [AGAIN, *INIT], [], 0),
    (
        "forgotten twice",
        ["--status", "0xE0010803", "--times", "2"],
        [AGAIN, *INIT, failed(UNKNOWN_CLIENT)],
        [failed(UNKNOWN_CLIENT)],
        -1,
    ),
]


@pytest.mark.parametrize("name, options, message, text, last", ANSWERS, ids=[row[0] for row in ANSWERS])
def test_an_event_bears_every_answer(
    product: Product,
    host: HostService,
    name: str,
    options: list[str],
    message: list[str],
    text: list[str],
    last: int,
) -> None:
    host.answer(*EVENT_MAIL, *options)
    agent = product.start_running()
    product.wait_for_log("<== SendEventToEventCenter", agent)
    log = link_lines(product, agent)
    sent = operation(log, "SendEventToEventCenter")
    assert sent[2:-1] == mail(agent.number, log[0].thread, message, text, last)
    product.signal_exit()
    assert agent.wait() == 0
    complaints = product.log_lines("Send event failed...EventId=18", agent)
    assert len(complaints) == (1 if last < 0 else 0)


# The handle of the service's process

HANDLES: list[tuple[str, list[str], list[str], list[str], int, list[str]]] = [
    (
        "none",
        ["--json", '{"handle":18446744073709551615}'],
        [],
        [],
        0,
        [error("No privilege to open process!")],
    ),
    ("a negative one", ["--json", '{"handle":-1}'], [], [], 0, []),
    ("one of nothing", ["--json", '{"handle":286331153}'], [], [], 0, []),
    ("no handle", ["--json", "{}"], [], [], 0, []),
    ("no JSON", ["--text", "handle"], [], [], 87, []),
    ("refused", ["--result", "0xE0FF0001"], [], [failed(FAILURE)], -1, []),
]


@pytest.mark.parametrize("name, options, message, text, last, end", HANDLES, ids=[row[0] for row in HANDLES])
def test_without_a_handle_the_service_is_not_watched(
    product: Product,
    host: HostService,
    name: str,
    options: list[str],
    message: list[str],
    text: list[str],
    last: int,
    end: list[str],
) -> None:
    host.answer(*HANDLE_MAIL, *options)
    agent = product.start_running()
    product.wait_for_log("<== CVzRpcClientHelper::ReconnectProc", agent)
    log = link_lines(product, agent)
    others = [entry for entry in log if entry.thread != log[0].thread]
    sent = mail(agent.number, others[0].thread, message, text, last)
    assert texts(others) == helper_trace("ReconnectProc", *sent, *end)
    assert RECONNECT not in texts(log)
    assert host.send({"JD_COMMAND_ID": 4711})["JD_COMMAND_ID"] == 4711
    product.signal_exit()
    assert agent.wait() == 0


# The end of the registration

FAREWELLS = [
    (["--result", "0xE0FF0001"], [], FAILURE),
    (["--drop", "result"], [NO_RESULT], INVALID_PARAMETER),
    (["--status", "0xE0FF0001"], [failed(FAILURE)], FAILURE),
]


@pytest.mark.parametrize("options, lines, status", FAREWELLS, ids=["refused", "no-result", "failed"])
def test_the_agent_ends_whatever_the_service_says_to_it(
    product: Product, host: HostService, options: list[str], lines: list[str], status: int
) -> None:
    host.answer(*UNREGISTER, *options)
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    product.signal_exit()
    assert agent.wait() == 0
    sent = operation(link_lines(product, agent), "CVzRpcClientHelper::UnregisterProcess")
    assert sent == helper_trace("UnregisterProcess", *lines)
    (line,) = product.log_lines("UnRegisterRPC failed", agent)
    assert f": [ERROR] UnRegisterRPC failed with error 0x{status:x} - StartHelper(" in line
    wait_until(lambda: host.clients() == [], "no client")

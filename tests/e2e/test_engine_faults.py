"""An agent whose engine library throws, takes its time or is none: one command fails, and the agent lives on."""

from __future__ import annotations

import os
import shutil
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path

import pytest

from desktop import wait_until
from host import HostService, Json
from link_log import FAILURE, NO_ENGINE, SUCCESS, signed
from product import PLANTED, Product

PROBE = Path(os.environ.get("QX_ENGINE_PROBE", "EngineProbe.dll"))

CREATE, END = 0x1001, 0x1002
PERFORM, SIGNAL, QUERY, QUERY_BY_KEY, PUT_DETAILS = range(0x2001, 0x2006)
PERFORM_FIX, QUERY_FIX, QUERY_FIX_DETAIL = 0x4001, 0x4003, 0x4004
OPERATIONS = {
    "Perform": PERFORM,
    "Signal": SIGNAL,
    "Query": QUERY,
    "QueryByKey": QUERY_BY_KEY,
    "PutDetails": PUT_DETAILS,
    "PerformFix": PERFORM_FIX,
    "QueryFix": QUERY_FIX,
    "QueryFixDetail": QUERY_FIX_DETAIL,
    "end": END,
}

PERFORMED = 4711  # the probe library's own status

WM_WTSSESSION_CHANGE, LOCK, UNLOCK = 0x02B1, 7, 8


class Engines:
    """A registered agent with a library of the test's."""

    def __init__(self, product: Product, library: Path) -> None:
        (product.root / "Quenta.dll").unlink()
        shutil.copy2(library, product.root / "Quenta.dll")
        self.product = product
        self.host = HostService(product)
        self.process = product.start_running()
        self.host.wait_for_event(self.process.number, 18)

    def act(self, action: int, **members: object) -> Json:
        return self.host.send({"JD_COMMAND_ID": 2000, "action": action, **members})

    def create(self, item: str, session: str = "s") -> int:
        track: int = self.act(CREATE, itemId=item, sessionId=session)["data"]["trackId"]
        return track


@pytest.fixture
def engines(product: Product) -> Engines:
    return Engines(product, PROBE)


def begin_to_perform(engines: Engines, threads: ThreadPoolExecutor, track: int) -> Future[Json]:
    """Performs on a thread, and waits until the agent has the command."""
    known = len(engines.product.log_lines("==> CSpecialEngineHost::Dispatch", engines.process))
    reply = threads.submit(engines.act, PERFORM, trackId=track)

    def has_begun() -> bool:
        lines = engines.product.log_lines("==> CSpecialEngineHost::Dispatch", engines.process)
        return len(lines) > known

    wait_until(has_begun, "the command")
    return reply


@pytest.mark.parametrize("operation", OPERATIONS)
def test_an_operation_that_throws_fails_alone(engines: Engines, operation: str) -> None:
    track = engines.create(f"throws {operation}", "exception")
    reply = engines.act(OPERATIONS[operation], trackId=track)
    assert reply == {"data": None, "retCode": signed(FAILURE)}
    (line,) = engines.product.log_lines("Special engine threw an exception", engines.process)
    text = f": [ERROR] Special engine threw an exception, [operation={operation}][what=no power] - "
    assert text in line
    assert engines.process.running
    assert engines.act(PERFORM, trackId=engines.create("plain"))["retCode"] == PERFORMED


@pytest.mark.parametrize("place", ["CreateSpecialEngine", "Initialize"])
def test_a_library_that_throws_at_the_beginning_makes_no_engine(engines: Engines, place: str) -> None:
    reply = engines.act(CREATE, itemId=f"throws {place}", sessionId="own")
    assert (reply["data"], reply["retCode"]) == (None, signed(FAILURE))
    assert engines.create("plain") == 1


def test_a_slow_operation_stands_in_nobodys_way(engines: Engines) -> None:
    slow, other = engines.create("slow"), engines.create("plain")
    with ThreadPoolExecutor() as threads:
        reply = begin_to_perform(engines, threads, slow)
        assert engines.host.send({"JD_COMMAND_ID": 3000})["retCode"] == SUCCESS
        assert engines.act(PERFORM, trackId=other)["retCode"] == PERFORMED
        assert engines.act(END, trackId=other)["retCode"] == SUCCESS
        assert not reply.done()
        assert engines.act(SIGNAL, trackId=slow)["retCode"] == SUCCESS
        assert reply.result() == {"data": None, "retCode": PERFORMED}


def test_a_session_is_locked_and_unlocked_while_an_engine_works(engines: Engines) -> None:
    slow = engines.create("slow")
    frame = engines.product.frame()
    with ThreadPoolExecutor() as threads:
        reply = begin_to_perform(engines, threads, slow)
        frame.send(WM_WTSSESSION_CHANGE, LOCK, 1)
        assert engines.host.clients() == []
        frame.send(WM_WTSSESSION_CHANGE, UNLOCK, 1)
        assert len(engines.host.clients()) == 1
        assert engines.act(SIGNAL, trackId=slow)["retCode"] == SUCCESS
        assert reply.exception() is not None or reply.result()["retCode"] != PERFORMED, "its client is gone"
    assert engines.act(QUERY, trackId=slow)["data"] == {"from": "Query"}


def test_an_agent_ends_while_an_engine_works(engines: Engines) -> None:
    slow = engines.create("slow")
    engines.create("plain")
    with ThreadPoolExecutor() as threads:
        reply = begin_to_perform(engines, threads, slow)
        engines.product.signal_exit()
        assert engines.process.wait() == 0
        assert reply.exception() is not None or reply.result()["retCode"] < 0


def test_a_library_without_the_factory_leaves_the_agent_without_engines(product: Product) -> None:
    engines = Engines(product, PLANTED)
    for error in ("GetProcAddress result: [m_bInited=0][dwError=127]", "[dwError=5010]"):
        command = {"JD_COMMAND_ID": 2000, "action": CREATE}
        assert engines.act(CREATE) == {**command, "retCode": signed(NO_ENGINE)}
        assert len(engines.product.log_lines(error, engines.process)) == 1
    assert engines.host.send({"JD_COMMAND_ID": 3000})["retCode"] == SUCCESS

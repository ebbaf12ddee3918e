"""Engines of the sample library, driven by the service's command 2000 from the command line."""

from __future__ import annotations

import json
import os
import shutil
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any

import pytest

from desktop import wait_until
from host import HostService, Json
from link_log import FAILURE, INVALID_PARAMETER, NO_ENGINE, NO_SUCH_ENGINE, SUCCESS, signed
from product import Product

ALREADY_WORKING = 0xE0FF000A
NOT_MADE = 0xE0FF001E

TEMPLATE = Path(os.environ.get("QX_ENGINE_TEMPLATE", "Quenta.dll"))

CREATE, END = 0x1001, 0x1002
PERFORM, SIGNAL, QUERY, QUERY_BY_KEY, PUT_DETAILS = range(0x2001, 0x2006)
PERFORM_FIX, QUERY_FIX, QUERY_FIX_DETAIL = 0x4001, 0x4003, 0x4004


class Engines:
    """The engines of one registered agent, as its service drives them."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.host = HostService(product)
        self.process = product.start_running()
        self.host.wait_for_event(self.process.number, 18)

    def send(self, action: int, **members: Any) -> Json:
        command = {"JD_COMMAND_ID": 2000, "action": action, **members}
        finished = self.host.qxctl("send", json.dumps(command))
        reply: Json = json.loads(finished.out)
        assert finished.code == (1 if reply["retCode"] < 0 else 0), finished
        return reply

    def create(self, item: str) -> int:
        command = {"JD_COMMAND_ID": 2000, "action": CREATE, "itemId": item, "sessionId": "s"}
        reply = self.send(CREATE, itemId=item, sessionId="s")
        track: int = reply["data"]["trackId"]
        assert reply == {**command, "data": {"trackId": track}, "retCode": SUCCESS}
        return track

    def act(self, action: int, track: int, code: int = SUCCESS, **members: Any) -> Any:
        """Runs the action; the answer."""
        reply = self.send(action, trackId=track, **members)
        assert set(reply) == {"data", "retCode"}
        assert reply["retCode"] == signed(code)
        return reply["data"]

    def debug_lines(self, text: str) -> list[str]:
        return [line for line in self.product.log_lines(text, self.process) if "[DEBUG]" in line]


@pytest.fixture
def engines(product: Product) -> Engines:
    return Engines(product)


def test_an_engine_is_created_performed_queried_and_ended(engines: Engines) -> None:
    first = engines.create("inspection")
    assert (first, engines.create("notes")) == (1, 2)
    assert engines.act(QUERY, first, FAILURE) is None
    assert engines.act(PERFORM, first) is None
    assert [finding["id"] for finding in engines.act(QUERY, first)["findings"]] == [1, 2, 3]
    assert engines.act(END, first) is None
    assert engines.act(END, first, NO_SUCH_ENGINE) is None
    assert engines.create("notes") == 3
    (line,) = engines.debug_lines("GetProcAddress result: ")
    assert "GetProcAddress result: [m_bInited=1][dwError=0]" in line


def test_the_notes_answer_from_memory(engines: Engines) -> None:
    notes = engines.create("notes")
    assert engines.act(QUERY, notes, FAILURE) is None
    value = {"text": "\u00fc\u4e1c \"q\"", "list": [1, None, {"a": []}]}
    assert engines.act(PUT_DETAILS, notes, details=value) is None
    assert engines.act(QUERY, notes) == engines.act(QUERY, notes) == value
    assert engines.act(QUERY_BY_KEY, notes) == {"puts": 1}
    assert engines.act(SIGNAL, notes) is None
    assert engines.act(QUERY, notes, FAILURE) is None


def test_work_goes_on_beside_other_commands_and_stops_at_a_signal(engines: Engines) -> None:
    work = engines.create("work")
    engines.act(PUT_DETAILS, work, details={"seconds": 600})
    engines.act(PERFORM, work)
    engines.act(PERFORM, work, ALREADY_WORKING)
    wait_until(lambda: engines.act(QUERY, work)["done"] > 0, "some work")
    reply = engines.host.send({"JD_COMMAND_ID": 3000})
    assert reply["retCode"] == SUCCESS
    engines.act(SIGNAL, work)
    state = wait_until(lambda: not (now := engines.act(QUERY, work))["working"] and now, "the work's end")
    assert state["stopped"] == 1 and 0 < state["done"] < state["total"] == 6000
    engines.act(PUT_DETAILS, work, details={"seconds": 1})
    engines.act(PERFORM, work)
    state = wait_until(lambda: not (now := engines.act(QUERY, work))["working"] and now, "the work's end")
    assert state == {"working": 0, "done": 10, "total": 10, "stopped": 0}


def test_the_inspection_reports_details_and_a_fix(engines: Engines) -> None:
    inspection = engines.create("inspection")
    engines.act(PERFORM, inspection)
    assert engines.act(QUERY_FIX, inspection, FAILURE, fixSessionId="f") is None
    engines.act(PERFORM_FIX, inspection, INVALID_PARAMETER, fixSessionId="f", param={"ids": [1, 3]})
    assert engines.act(QUERY_FIX, inspection, FAILURE, fixSessionId="f") is None
    engines.act(PERFORM_FIX, inspection, fixSessionId="f", param={"ids": [2]})
    engines.act(PERFORM_FIX, inspection, fixSessionId="all")
    assert engines.act(QUERY_FIX, inspection, fixSessionId="f") == {"fixed": 1}
    assert engines.act(QUERY_FIX_DETAIL, inspection, fixSessionId="f") == {"ids": [2]}
    assert engines.act(QUERY_FIX_DETAIL, inspection, fixSessionId="all") == {"ids": [1, 2]}
    findings = engines.act(QUERY, inspection)["findings"]
    assert [finding["fixed"] for finding in findings] == [1, 1, 0]
    assert all(finding["details"]["title"] for finding in findings)


def test_an_item_that_the_library_does_not_know_is_refused(engines: Engines) -> None:
    command = {"JD_COMMAND_ID": 2000, "action": CREATE, "itemId": "x", "sessionId": "s"}
    reply = engines.send(CREATE, itemId="x", sessionId="s")
    assert reply == {**command, "data": None, "retCode": signed(NOT_MADE)}
    (line,) = engines.product.log_lines("Failed to create special engine", engines.process)
    assert ": [ERROR] Failed to create special engine, [wstrPtnId=x][wstrSessionId=s] - " in line


def test_a_library_that_comes_later_is_found(product: Product, tmp_path: Path) -> None:
    library = product.root / "Quenta.dll"
    aside = library.rename(tmp_path / "Quenta.dll")
    engines = Engines(product)
    path = f"[wstrQuentaDll={product.windows_root}\\Quenta.dll][dwError=126]"
    for count in (1, 2):
        command = {"JD_COMMAND_ID": 2000, "action": CREATE, "itemId": "notes"}
        assert engines.send(CREATE, itemId="notes") == {**command, "retCode": signed(NO_ENGINE)}
        lines = engines.debug_lines("Failed to load Quenta.dll, ")
        assert len(lines) == count and all(path in line for line in lines)
    aside.rename(library)
    assert engines.create("notes") == 1


def test_the_template_works_as_it_stands(product: Product) -> None:
    library = product.root / "Quenta.dll"
    library.unlink()
    shutil.copy2(TEMPLATE, library)
    engines = Engines(product)
    first = engines.create("template")
    engines.act(PERFORM, first)
    engines.act(PERFORM, first)
    assert engines.act(QUERY, first) == {"performed": 2}
    assert engines.act(QUERY_BY_KEY, first, FAILURE) is None
    assert engines.act(END, first) is None


def test_engines_outlive_a_restart_of_the_service(engines: Engines) -> None:
    notes = engines.create("notes")
    engines.act(PUT_DETAILS, notes, details=[7])
    engines.host.stop()
    engines.host.start()
    engines.host.wait_for_clients()
    assert engines.act(QUERY, notes) == [7]
    assert engines.create("notes") == notes + 1


def test_an_agent_with_working_engines_ends_as_any_other(engines: Engines) -> None:
    work = engines.create("work")
    engines.act(PUT_DETAILS, work, details={"seconds": 600})
    engines.act(PERFORM, work)
    engines.product.signal_exit()
    assert engines.process.wait() == 0


def test_each_of_many_replies_is_of_its_own_engine(engines: Engines) -> None:
    tracks = [engines.create("notes") for _ in range(3)]
    for track in tracks:
        engines.act(PUT_DETAILS, track, details=track)
    with ThreadPoolExecutor() as threads:
        assert list(threads.map(lambda track: engines.act(QUERY, track), tracks * 2)) == tracks * 2

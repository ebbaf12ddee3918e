"""Every command of the service, sent from the command line, with its effect seen from outside."""

from __future__ import annotations

import json
import os
import shutil
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest

from desktop import WM_CLOSE, Window, wait_until, windows_path
from host import HostService, Json
from link_log import (
    FAILURE,
    NO_ENGINE,
    NO_SUCH_ENGINE,
    NOT_FOUND,
    SUCCESS,
    entries,
    error,
    helper_trace,
    info,
    signed,
    texts,
)
from product import Product

SPLASH_EVENT = "Global\\GLOBAL_EVENT_SPLASH_NOTIFY"
RECORDER = Path(os.environ.get("QX_LAUNCH_RECORDER", "LaunchRecorder.exe"))
CALLBACK_BEGINS = "[INFO],[OuterClientHelper], ==> CVzRpcClientHelper::RegisterProcessCallback"
PLUGIN = 0x4E0003
ACTIVE_WINDOW = 0x10031
INPUT_INFO = 0x10060


class Agent:
    """A registered agent under the command line's hand."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.host = HostService(product)
        self.process = product.start_running()
        self.host.wait_for_event(self.process.number, 18)

    def send(self, command: Json, code: int) -> Json:
        """Sends the command; the reply, which says the status and is the command in everything else."""
        finished = self.host.qxctl("send", json.dumps(command))
        reply: Json = json.loads(finished.out)
        assert reply["retCode"] == signed(code)
        assert finished.code == (1 if signed(code) < 0 else 0), finished
        assert {key: reply[key] for key in command} == command
        return reply

    def lines(self) -> list[str]:
        """What the last command wrote, without the debug line that repeats it."""
        sources = ("OuterClientHelper", "CallbackHelper", "ShellExecution", "UiLaunch")
        found = entries(self.product, self.process, sources)
        begin = max(i for i, entry in enumerate(found) if entry.text == CALLBACK_BEGINS)
        mine = [entry.text for entry in found[begin:] if entry.thread == found[begin].thread]
        return [text for text in mine if "[DEBUG]" not in text]

    def end_consoles(self) -> None:
        self.product.desktop.end_programs("QxMainConsole")

    def mails(self, mail: int) -> list[Json]:
        records = self.host.records(self.process.number, "mail")
        return [json.loads(r["request"]) for r in records if (r["pluginId"], r["mailId"]) == (PLUGIN, mail)]


@pytest.fixture
def agent(product: Product) -> Agent:
    return Agent(product)


def received(command: Json) -> str:
    """The line that repeats the command, which the service hands on as it was typed."""
    return info(f"Receive ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING={json.dumps(command)}")


def callback(command: Json, *inside: str) -> list[str]:
    return helper_trace("RegisterProcessCallback", received(command), *inside)


def show(agent: Agent, arguments: str) -> str:
    return info(f'Show QX UI. Command-line: "{agent.product.console_path()}" {arguments}', "")


# The console


def test_1001_opens_the_console_in_a_mode(agent: Agent) -> None:
    for mode, argument in [(100, "100"), (4294967295, "-1"), ("7", "7"), (None, "0")]:
        command = {"JD_COMMAND_ID": 1001} if mode is None else {"JD_COMMAND_ID": 1001, "modeId": mode}
        assert agent.send(command, SUCCESS) == {**command, "modeId": mode, "retCode": SUCCESS}
        agent.product.desktop.wait_for_consoles(1)
        assert agent.product.console_arguments() == [f"-m {argument}"]
        assert agent.lines() == callback(command, show(agent, f"-m {argument}"))
        agent.end_consoles()


def test_a_console_that_cannot_start_is_reported(agent: Agent) -> None:
    (agent.product.root / "win32" / "QxMainConsole_M.exe").unlink()
    command = {"JD_COMMAND_ID": 1001, "modeId": 4294967295}
    agent.send(command, 0xE0FE0002)
    (failure,) = [text for text in agent.lines() if "[ERROR]" in text and "Monitor" in text]
    assert failure == error("SHow Monitor Failed..., ModeID: 4294967295", "")
    agent.send({"JD_COMMAND_ID": 1000}, 0xE0FE0002)
    assert error("Show Popup failed...", "") in agent.lines()
    assert agent.product.desktop.consoles() == []


POPUPS: list[tuple[Json, str]] = [
    ({"nFeatureId": "Scan", "popupId": 7, "param": "x"}, '-p "Scan" 7 "\\"x\\""'),
    (
        {"nFeatureId": "a b", "popupId": 2, "param": {"key": [1, True, 'q"']}},
        '-p "a b" 2 "{\\"key\\":[1,true,\\"q\\\\"\\"]}"',
    ),
    ({"nFeatureId": "f", "popupId": 4294967295, "param": 5}, '-p "f" -1 "5"'),
    ({}, '-p "" 0 "null"'),
]


def test_1000_opens_a_popup(agent: Agent) -> None:
    for keys, arguments in POPUPS:
        command = {"JD_COMMAND_ID": 1000, **keys}
        reply = agent.send(command, SUCCESS)
        missing = {key: None for key in ("param", "nFeatureId", "popupId") if key not in keys}
        assert reply == {**command, **missing, "retCode": SUCCESS}
        agent.product.desktop.wait_for_consoles(1)
        assert agent.product.console_arguments() == [arguments]
        assert agent.lines() == callback(command, show(agent, arguments))
        agent.end_consoles()


# The splash


def test_1010_signals_the_splash_event(agent: Agent) -> None:
    probe, name = agent.product.desktop.probe, SPLASH_EVENT + "Melvio"
    command = {"JD_COMMAND_ID": 1010}
    waiting = probe.ask("create", kind="event", name=name)
    try:
        assert probe.ask("query", kind="event", name=name)["set"] == "0"
        assert agent.send(command, SUCCESS) == {**command, "retCode": SUCCESS}
        assert probe.ask("query", kind="event", name=name)["set"] == "1"
    finally:
        probe.request("close", id=waiting["id"])
    line = info("RRPC_ID_CLOUD_BROKER_MANUAL_SYNC_COMPLETE", "")
    assert agent.lines() == callback(command, line)
    agent.send(command, SUCCESS)  # nobody waits
    assert probe.ask("query", kind="event", name=name)["error"] == "2"


@pytest.mark.parametrize("kind, no_rights, code", [("mutex", 0, 6), ("event", 1, 5)])
def test_1010_reports_a_splash_event_that_is_not_to_be_had(
    agent: Agent, kind: str, no_rights: int, code: int
) -> None:
    probe, name = agent.product.desktop.probe, SPLASH_EVENT + "Melvio"
    taken = probe.ask("create", kind=kind, name=name, noRights=no_rights)
    try:
        agent.send({"JD_COMMAND_ID": 1010}, 0xE0FE0000 | code)
    finally:
        probe.request("close", id=taken["id"])
    assert error(f"CreateMultipleGlobal failed with {code}", "") in agent.lines()


# The reporters


def open_window(agent: Agent, class_name: str, title: str = "") -> int:
    reply = agent.product.desktop.probe.ask("openWindow", **{"class": class_name, "title": title})
    assert reply["error"] == "0"
    return int(reply["window"])


def close_windows(agent: Agent, class_name: str) -> None:
    def left() -> list[Window]:
        return [window for window in agent.product.desktop.windows() if window.class_name == class_name]

    for window in left():
        window.post(WM_CLOSE)
    wait_until(lambda: not left(), f"the end of {class_name}")


def test_1011_reports_the_foreground_once_a_change(agent: Agent) -> None:
    first = {"JD_COMMAND_ID": 1011, "interval": 1}
    assert agent.send(first, SUCCESS) == {**first, "retCode": SUCCESS}
    assert agent.lines() == callback(first, info("Set timer for Active Window Agent...", ""))
    second = {"JD_COMMAND_ID": 1011, "interval": 4000000}
    assert agent.send(second, SUCCESS) == {**second, "retCode": SUCCESS}
    assert agent.lines() == callback(second)

    agent.send({"JD_COMMAND_ID": 1001, "modeId": 1}, SUCCESS)
    (console,) = agent.product.desktop.wait_for_consoles(1)
    agent.product.desktop.click(*console.center)
    # The first period still holds.
    wait_until(lambda: {"processId": console.process} in agent.mails(ACTIVE_WINDOW), "the console's report")
    before = agent.mails(ACTIVE_WINDOW)
    assert before.count({"processId": console.process}) == 1
    open_window(agent, "QxForegroundTest")
    (window,) = [w for w in agent.product.desktop.windows() if w.class_name == "QxForegroundTest"]
    try:
        agent.product.desktop.click(*window.center)
        wait_until(lambda: agent.mails(ACTIVE_WINDOW)[-1] == {"processId": window.process}, "the next report")
    finally:
        close_windows(agent, "QxForegroundTest")


def test_1100_reports_the_last_input_at_each_tick(agent: Agent) -> None:
    command = {"JD_COMMAND_ID": 1100, "interval": 1}
    assert agent.send(command, SUCCESS) == {**command, "retCode": SUCCESS}
    assert agent.lines() == callback(command, info("Set timer for Input Info Agent...", ""))
    agent.send({"JD_COMMAND_ID": 1100, "interval": 0}, SUCCESS)
    ticks = [mail["lastInputTicket"] for mail in wait_for_mails(agent, INPUT_INFO, 2)]
    assert ticks == sorted(ticks)
    agent.product.desktop.type_text("x")
    wait_until(lambda: agent.mails(INPUT_INFO)[-1]["lastInputTicket"] > ticks[-1], "a later tick")
    assert len(agent.product.log_lines("Set timer for Input Info Agent...")) == 1


def wait_for_mails(agent: Agent, mail: int, count: int) -> list[Json]:
    wait_until(lambda: len(agent.mails(mail)) >= count, f"{count} mails {mail:#x}")
    return agent.mails(mail)


# The shell


def recorded(agent: Agent, tmp_path: Path, keys: Json) -> tuple[Json, str, str]:
    """Starts the recorder by the command: the reply, the show command and what stood behind the program."""
    program = tmp_path / "Launch Recorder.exe"
    shutil.copy2(RECORDER, program)
    result = tmp_path / "result.txt"
    command = {
        "JD_COMMAND_ID": 1101,
        "file": windows_path(program),
        "param": f'"{windows_path(result)}" one "t w o"',
        **keys,
    }
    reply = agent.send(command, SUCCESS)
    wait_until(result.exists, "the recorder's file")
    show_command, line = result.read_text("utf-16-le").splitlines()
    result.unlink()
    assert windows_path(program) in line
    return reply, show_command, line.split(".exe", 1)[1].lstrip('"').strip()


def test_1101_starts_a_program(agent: Agent, tmp_path: Path) -> None:
    for keys, expected in [({}, 5), ({"showCmd": 0}, 0), ({"showCmd": 2}, 2), ({"showCmd": None}, 0)]:
        reply, shown, arguments = recorded(agent, tmp_path, {"action": "open", **keys})
        assert shown == str(expected)
        assert arguments == f'"{windows_path(tmp_path)}\\result.txt" one "t w o"'
        names = ("JD_COMMAND_ID", "file", "param", "action", *keys)
        assert set(reply) == {*names, "windowHandle", "retCode"}
        assert agent.lines() == callback({key: reply[key] for key in names})


def test_1101_refuses_a_file_that_is_not_there(agent: Agent) -> None:
    for keys in ({"file": "Z:\\no such file.exe"}, {"file": ""}, {}):
        command = {"JD_COMMAND_ID": 1101, "param": "x", **keys}
        reply = agent.send(command, NOT_FOUND)
        assert reply == {**command, "file": keys.get("file"), "retCode": signed(NOT_FOUND)}
        line = error(f"Fail to execute, file = {keys.get('file', '')}", "")
        assert agent.lines() == callback(command, line)


def test_1101_reports_what_the_shell_refuses(agent: Agent, tmp_path: Path) -> None:
    file = tmp_path / "no program.exe"
    file.write_text("no program")
    command = {"JD_COMMAND_ID": 1101, "file": windows_path(file), "action": "open", "param": "p q"}
    with ThreadPoolExecutor() as threads:
        sent = threads.submit(agent.send, command, FAILURE)
        box = wait_until(lambda: boxes(agent), "the shell's message")[0]
        assert not sent.done()
        box.post(WM_CLOSE)
        sent.result()
    (line,) = [text for text in agent.lines() if "[ERROR]" in text]
    groups = f"[wstrFile={windows_path(file)}][wstrParam=p q][wstrVerb=open][GetLastError()="
    assert line.startswith(error(f"Failed to execute, {groups}", ""))
    assert line.endswith("]")


def boxes(agent: Agent) -> list[Window]:
    return [w for w in agent.product.desktop.windows() if w.class_name == "#32770" and w.visible]


# Engines, and what is not in the table


def test_2000_goes_to_the_engine_host(agent: Agent) -> None:
    command = {"JD_COMMAND_ID": 2000, "action": "x", "trackId": 5}
    finished = agent.host.qxctl("send", json.dumps(command))
    assert json.loads(finished.out) == {"data": None, "retCode": signed(NO_SUCH_ENGINE)}
    assert finished.code == 1


def test_2000_without_the_engine_library_is_refused(product: Product) -> None:
    (product.root / "Quenta.dll").unlink()
    command = {"JD_COMMAND_ID": 2000, "action": "x", "trackId": 5}
    assert Agent(product).send(command, NO_ENGINE) == {**command, "retCode": signed(NO_ENGINE)}


def test_3000_closes_the_start_menus_hook_and_nothing_else(agent: Agent) -> None:
    hook, command = "ClassicStartMenu.CStartHookWindow", {"JD_COMMAND_ID": 3000}
    agent.send(command, SUCCESS)  # there is none
    assert agent.lines() == callback(command)
    other = open_window(agent, hook, "Another title")
    agent.send(command, SUCCESS)
    assert other in [window.handle for window in agent.product.desktop.windows()]
    close_windows(agent, hook)
    handle = open_window(agent, hook, "StartHookWindow")
    agent.send(command, SUCCESS)
    wait_until(lambda: handle not in [w.handle for w in agent.product.desktop.windows()], "the hook's end")


def test_an_id_outside_the_table_does_nothing(agent: Agent) -> None:
    commands: list[tuple[Json, Json]] = [
        ({"JD_COMMAND_ID": 4711, "a": [1, {"b": None}]}, {}),
        ({"a": 1}, {"JD_COMMAND_ID": None}),
        ({"JD_COMMAND_ID": "text"}, {}),
        ({"JD_COMMAND_ID": -1, "retCode": "mine"}, {}),
    ]
    for command, added in commands:
        finished = agent.host.qxctl("send", json.dumps(command))
        assert json.loads(finished.out) == {**command, **added, "retCode": SUCCESS}
        assert agent.lines() == callback(command)

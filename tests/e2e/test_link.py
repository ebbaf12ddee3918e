"""The agent beside its host service: how it registers, tells of itself and leaves, and what it does without
the link's library."""

from __future__ import annotations

import json
import shutil
from pathlib import Path

import pytest

from desktop import windows_path
from host import HostService
from link_log import SUCCESS, entries, event, helper_trace, mail, manager_end, texts, trace
from product import PLANTED, Product

NETWORK_MADE = 23
MAIN_LINES = ("OuterClientHelper", "MailHelper")


def events(host: HostService, process: int) -> list[int]:
    return [json.loads(record["request"])["eventId"] for record in host.records(process, "event")]


def test_the_agent_registers_and_tells_that_it_has_started(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running()
    host.wait_for_event(agent.number, NETWORK_MADE)
    (client,) = host.clients()
    assert (client["clientName"], client["processId"]) == ("QxSystemTray", agent.number)
    register, *rest = host.records(agent.number)
    assert (register["kind"], register["status"]) == ("register", SUCCESS)
    assert register["request"] == "QxSystemTray"
    sent = [record for record in rest if record["kind"] == "event"]
    assert [record["event"] for record in sent] == ["StartFinished", "NetworkConnected"]
    started, network = [json.loads(record["request"]) for record in sent]
    assert started == {"eventId": 18, "winSessionId": client["sessionId"]}
    assert network == {"eventId": NETWORK_MADE, "type": 1}
    (handle,) = [record for record in rest if record["kind"] == "mail"]
    assert (handle["pluginId"], handle["mailId"]) == (0x4E000C, 0x8C1E)
    assert json.loads(handle["request"]) == {"pid": agent.number}


def test_mode_one_is_announced_before_anything_else(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running("1")
    host.wait_for_event(agent.number, NETWORK_MADE)
    assert events(host, agent.number) == [0, 18, NETWORK_MADE]


def test_start_and_end_are_logged_to_the_letter(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running("1")
    host.wait_for_event(agent.number, NETWORK_MADE)
    (client,) = host.clients()
    product.signal_exit()
    assert agent.wait() == 0

    number, session = agent.number, client["sessionId"]
    log = entries(product, agent, MAIN_LINES)
    main = log[0].thread
    assert texts(entry for entry in log if entry.thread == main) == [
        *trace(
            "RegisterRPC",
            *helper_trace("CVzRpcClientHelper", *helper_trace("InitProduct")),
            *helper_trace("RegisterProcess"),
        ),
        *event(0, session, number, main),
        *event(18, session, number, main),
        *mail(number, main),  # the network
        *trace(
            "UnRegisterRPC",
            *helper_trace("UnregisterProcess"),
            *helper_trace("~CVzRpcClientHelper", *manager_end(SUCCESS)),
        ),
    ]
    others = [entry for entry in log if entry.thread != main]
    assert len({entry.thread for entry in others}) == 1
    watching = helper_trace("ReconnectProc", *mail(number, others[0].thread))
    # Its last line comes when the process may be gone already.
    assert texts(others) in (watching, watching[:-1])


def test_leaving_tells_the_service(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    product.signal_exit()
    assert agent.wait() == 0
    assert host.records(agent.number)[-1]["kind"] == "unregister"
    assert host.records(agent.number, "gone") == []
    assert host.clients() == []


def test_a_killed_agent_is_gone_from_the_service(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    agent.terminate()
    host.wait_for_records(agent.number, "gone")
    assert host.clients() == []
    assert product.start_running().running


# Without the library


def ends_its_start(product: Product, status: str, line: str, folder: Path | None = None) -> None:
    folder_name = windows_path(folder) if folder else product.windows_root
    agent = product.desktop.start(f'"{product.windows_root}\\QxSessionAgent_M.exe" 2', folder_name)
    assert agent.wait() == 0
    assert product.has_ended()
    (found,) = [text for text in product.log_lines("svcLink.dll", agent) if "[ERROR]" in text]
    assert f": [ERROR] {line} - LinkLibrary(" in found
    (failure,) = product.log_lines("Register Callback to RPC server failed", agent)
    assert f": [ERROR] Register Callback to RPC server failed with 0x{status} - StartHelper(" in failure
    assert product.log_lines("Send", agent) == []
    assert product.opened_nothing()
    assert not product.log_lines("Crash catched!")


@pytest.mark.parametrize("library, error", [("missing", 126), ("no library", 193), ("a folder", 5)])
def test_a_library_that_does_not_load_ends_the_start(product: Product, library: str, error: int) -> None:
    path = product.root / "svcLink.dll"
    path.unlink()
    if library == "no library":
        path.write_text("no library")
    elif library == "a folder":
        path.mkdir()
    line = f"failed to load <{product.windows_root}\\svcLink.dll>, error={error}"
    ends_its_start(product, f"e0fe{error:04x}", line)


def test_a_library_without_the_exports_ends_the_start(product: Product) -> None:
    path = product.root / "svcLink.dll"
    path.unlink()
    shutil.copy2(PLANTED, path)
    agent = product.start()
    assert agent.wait() == 0
    (line,) = product.log_lines("lacks the export", agent)
    assert f": [ERROR] <{product.windows_root}\\svcLink.dll> lacks the export " in line
    assert ", error=127 - LinkLibrary(" in line
    assert product.log_lines("Register Callback to RPC server failed with 0xe0fe007f", agent)
    assert product.has_ended()


@pytest.mark.parametrize("planted", ["whole", "without exports"])
def test_a_library_in_the_current_folder_is_not_taken(product: Product, tmp_path: Path, planted: str) -> None:
    folder = tmp_path / "elsewhere"
    folder.mkdir()
    library = product.root / "svcLink.dll"
    shutil.copy2(library if planted == "whole" else PLANTED, folder / "svcLink.dll")
    library.unlink()
    line = f"failed to load <{product.windows_root}\\svcLink.dll>, error=126"
    ends_its_start(product, "e0fe007e", line, folder)
    assert [path.name for path in folder.iterdir()] == ["svcLink.dll"]


def test_the_library_stands_in_the_programs_folder_whatever_the_current_one(
    product: Product, tmp_path: Path
) -> None:
    folder = tmp_path / "elsewhere"
    folder.mkdir()
    shutil.copy2(PLANTED, folder / "svcLink.dll")
    program = f'"{product.windows_root}\\QxSessionAgent_M.exe"'
    agent = product.desktop.start(program, windows_path(folder))
    HostService(product).wait_for_event(agent.number, 18)
    assert [path.name for path in folder.iterdir()] == ["svcLink.dll"]
    assert f"{product.windows_root}\\svcLink.dll".lower() in [path.lower() for path in agent.modules()]


# Two products


def test_the_products_of_the_family_have_services_of_their_own(product: Product) -> None:
    hosts = {suffix: HostService(product, suffix) for suffix in ("_M", "_B", "")}
    agents = {suffix: product.start_running(name=f"QxSessionAgent{suffix}.exe") for suffix in hosts}
    for suffix, host in hosts.items():
        number = agents[suffix].number
        host.wait_for_event(number, 18)
        assert [client["processId"] for client in host.clients()] == [number]
    assert hosts["_B"].send({"JD_COMMAND_ID": 4711})["retCode"] == SUCCESS
    for suffix, host in hosts.items():
        commands = [text for text in texts(entries(product, agents[suffix])) if "4711" in text]
        assert bool(commands) == (suffix == "_B")
    refused = hosts["_M"].qxctl("send", "{}", "--pid", str(agents["_B"].number))
    assert refused.code != 0 and refused.out == ""

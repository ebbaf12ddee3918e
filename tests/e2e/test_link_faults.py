"""The service dies, hangs and comes back: while the agent is idle, in the middle of each exchange, and while
the session ends. And the agent dies in the middle of a command."""

from __future__ import annotations

import json
import re
from collections.abc import Iterator
from concurrent.futures import Future, ThreadPoolExecutor
from pathlib import Path

import pytest

from desktop import WM_CLOSE, Process, Window, wait_until, windows_path
from host import Finished, HostService
from link_log import SUCCESS, assert_reconnected, entries, info, registrations, texts
from product import Product

WM_QUERYENDSESSION = 0x0011
WM_ENDSESSION = 0x0016
EVENT_MAIL = (5, 0x1802)
HANDLE_MAIL = (0x4E000C, 0x8C1E)
REGISTER = (0, 0x2052)
FOR_EVER = ("--delay", "600000")


@pytest.fixture
def host(product: Product) -> Iterator[HostService]:
    """The service, as long as the test lasts; the next test gets a new one."""
    service = HostService(product)
    if service.process_id() == 0:
        service.start()
    yield service
    product.desktop.end_programs("QxSvcHost_M")


@pytest.fixture
def threads() -> Iterator[ThreadPoolExecutor]:
    with ThreadPoolExecutor() as running:
        yield running


def start_in_foreground(product: Product) -> Process:
    """A service that is up faster than one that the service manager starts."""
    return product.desktop.start(f'"{product.windows_root}\\win32\\QxSvcHost_M.exe" --console')


def start_registered(product: Product, host: HostService) -> Process:
    """An agent that watches the service."""
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    wait_for_watch(product, agent, 1)
    return agent


def wait_for_watch(product: Product, agent: Process, count: int) -> None:
    """Until the thread of that registration has the handle of the service's process."""

    def watches() -> bool:
        threads = registrations(entries(product, agent))
        return len(threads) == count and info("after invoking ParseJsonString, ret=0") in texts(threads[-1])

    wait_until(watches, f"the watch of registration {count}")


def boxes(product: Product) -> list[Window]:
    return [w for w in product.desktop.windows() if w.class_name == "#32770" and w.visible]


def begin_callback(
    product: Product, host: HostService, threads: ThreadPoolExecutor, folder: Path
) -> tuple[Future[Finished], Window]:
    """A command that stays in the agent for as long as its message stays on the screen."""
    file = folder / "no program.exe"
    file.write_text("no program")
    command = {"JD_COMMAND_ID": 1101, "file": windows_path(file), "action": "open"}
    sent = threads.submit(host.qxctl, "send", json.dumps(command))
    return sent, wait_until(lambda: boxes(product), "the shell's message")[0]


def assert_takes_commands(host: HostService) -> None:
    assert host.send({"JD_COMMAND_ID": 4711}) == {"JD_COMMAND_ID": 4711, "retCode": SUCCESS}


# The service dies


def test_a_service_that_is_stopped_and_started_gets_its_agent_back(
    product: Product, host: HostService
) -> None:
    agent = start_registered(product, host)
    host.stop()
    product.wait_for_log("Reconnect the RPC...", agent)
    product.wait_for_log("executing command failed", agent)
    host.start()
    wait_for_watch(product, agent, 2)
    assert_reconnected(registrations(entries(product, agent))[0])
    assert len(product.log_lines("Reconnect the RPC...", agent)) == 1
    assert_takes_commands(host)


def test_a_service_that_dies_while_nothing_happens_gets_its_agent_back(
    product: Product, host: HostService
) -> None:
    agent = start_registered(product, host)
    for number in range(3):
        host.kill()
        start_in_foreground(product)
        wait_for_watch(product, agent, number + 2)
        assert_reconnected(registrations(entries(product, agent))[number])
    assert len(product.log_lines("Reconnect the RPC...", agent)) == 3
    assert_takes_commands(host)
    product.signal_exit()
    assert agent.wait() == 0


def test_a_mail_that_is_under_way_fails_at_once(product: Product, host: HostService) -> None:
    host.answer(*EVENT_MAIL, *FOR_EVER)
    agent = product.start("1")
    host.wait_for_event(agent.number, 0)
    wait_for_watch(product, agent, 1)
    host.kill()
    product.wait_for_log("Sent event failed...EventId=0", agent, limit=5)
    start_in_foreground(product)
    wait_for_watch(product, agent, 2)
    assert_takes_commands(host)
    product.signal_exit()
    assert agent.wait() == 0


def test_a_registration_that_is_under_way_ends_the_start(product: Product, host: HostService) -> None:
    host.answer(*REGISTER, *FOR_EVER)
    agent = product.start()
    host.wait_for_records(agent.number, "register")
    host.kill()
    assert agent.wait(10) == 0
    (line,) = product.log_lines("executing command failed, err=", agent)
    (status,) = re.findall(r"err=(-\d+) ", line)
    (end,) = product.log_lines("Register Callback to RPC server failed", agent)
    assert f"failed with 0x{int(status) + (1 << 32):x} - " in end
    assert product.has_ended()


def test_a_service_that_dies_while_the_agent_registers_again_is_tried_again(
    product: Product, host: HostService
) -> None:
    agent = start_registered(product, host)
    freeze(product, agent.number)
    host.kill()
    second = start_in_foreground(product)
    order = ("answer", "--plugin", "0", "--mail", "0x2052", *FOR_EVER)
    wait_until(lambda: host.qxctl(*order).code == 0, "the order to the new service")
    thaw(product, agent.number)
    host.wait_for_records(agent.number, "register", 2)
    second.terminate()
    product.wait_for_log("executing command failed", agent)
    start_in_foreground(product)
    wait_for_watch(product, agent, 2)
    assert_reconnected(registrations(entries(product, agent))[0])
    assert_takes_commands(host)


def test_a_service_that_dies_before_it_gave_its_handle_is_not_missed(
    product: Product, host: HostService
) -> None:
    host.answer(*HANDLE_MAIL, *FOR_EVER)
    agent = product.start_running()
    host.wait_for_records(agent.number, "mail")
    host.kill()
    product.wait_for_log("<== CVzRpcClientHelper::ReconnectProc", agent)
    assert product.log_lines("Reconnect the RPC...", agent) == []
    assert agent.running
    product.signal_exit()
    assert agent.wait() == 0


def test_a_command_that_is_under_way_survives_the_service(
    product: Product, host: HostService, threads: ThreadPoolExecutor, tmp_path: Path
) -> None:
    agent = start_registered(product, host)
    sent, box = begin_callback(product, host, threads, tmp_path)
    host.kill()
    assert sent.result().code != 0
    start_in_foreground(product)
    wait_for_watch(product, agent, 2)
    assert_takes_commands(host)  # while the first one is still under way
    box.post(WM_CLOSE)
    product.wait_for_log("[INFO],[OuterClientHelper], <== CVzRpcClientHelper::RegisterProcessCallback", agent)
    assert_reconnected(registrations(entries(product, agent))[0])
    assert_takes_commands(host)
    product.signal_exit()
    assert agent.wait() == 0


def test_the_agent_can_leave_while_a_command_is_under_way(
    product: Product, host: HostService, threads: ThreadPoolExecutor, tmp_path: Path
) -> None:
    agent = start_registered(product, host)
    sent, _ = begin_callback(product, host, threads, tmp_path)
    product.signal_exit()
    assert agent.wait() == 0
    assert sent.result().code != 0
    assert host.clients() == []


# The service hangs


def freeze(product: Product, process: int) -> None:
    assert product.desktop.probe.ask("suspend", process=process)["error"] == "0"


def thaw(product: Product, process: int) -> None:
    assert product.desktop.probe.ask("resume", process=process)["error"] == "0"


def end_session(product: Product) -> None:
    """As the system tells every program of the session. The system then ends the process itself."""
    frame = product.frame()
    assert frame.send(WM_QUERYENDSESSION) == 1
    frame.post(WM_ENDSESSION, 1)


def close_frame(product: Product) -> None:
    product.frame().post(WM_CLOSE)


@pytest.mark.parametrize("end", [end_session, close_frame, Product.signal_exit])
@pytest.mark.parametrize("rescue", ["lives", "dies"])
def test_a_service_that_hangs_holds_up_the_end_and_no_more(
    product: Product, host: HostService, end: object, rescue: str
) -> None:
    agent = start_registered(product, host)
    service = host.process_id()
    freeze(product, service)
    assert callable(end)
    end(product)
    product.wait_for_log("==> CVzRpcClientHelper::UnregisterProcess", agent)
    assert agent.running
    if rescue == "lives":
        thaw(product, service)
    else:
        host.kill()
    product.wait_for_log("<== UnRegisterRPC", agent)
    assert end is end_session or agent.wait() == 0
    (failure,) = product.log_lines("executing command failed", agent) or [""]
    assert bool(failure) == (rescue == "dies")


# The agent dies


def test_the_service_is_none_the_worse_for_agents_that_die_in_a_command(
    product: Product, host: HostService, threads: ThreadPoolExecutor, tmp_path: Path
) -> None:
    service = Process(product.desktop.probe, host.process_id())
    counts = []
    for _ in range(20):
        agent = product.start()
        host.wait_for_event(agent.number, 18)
        sent, _ = begin_callback(product, host, threads, tmp_path)
        agent.terminate()
        assert sent.result().code != 0
        host.wait_for_records(agent.number, "gone")
        wait_until(lambda: not boxes(product), "the end of the message")
        counts.append(service.counts())
    assert host.status()["clients"] == []
    assert counts[-1]["handles"] <= max(count["handles"] for count in counts[2:8]) + 4
    assert counts[-1]["threads"] <= max(count["threads"] for count in counts[2:8]) + 4
    start_registered(product, host)
    assert_takes_commands(host)

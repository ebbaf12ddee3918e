"""A stranger owns the name of the service's endpoint before the service does."""

from __future__ import annotations

import os
from collections.abc import Iterator
from pathlib import Path

import pytest

from desktop import Process, wait_until, windows_path
from host import HostService
from link_log import SUCCESS, assert_reconnected, entries, failed, helper_trace, registrations, texts
from product import Product

ENDPOINT = "\\\\.\\pipe\\Melvio Host Service"
DENIED = 0xE0FE0005
ENDPOINT_TAKEN = 9
CALLS_BACK = "after invoking ParseJsonString, ret=0"
_PROGRAM = Path(os.environ.get("QX_SQUATTER", "Squatter.exe"))


@pytest.fixture
def host(product: Product) -> Iterator[HostService]:
    service = HostService(product)
    if service.process_id() == 0:
        service.start()
    yield service
    product.desktop.end_programs("QxSvcHost_M", "Squatter")


def squat(product: Product, clients: int) -> Process:
    """Takes the name, and so many clients that come. Its exit code is 0 if none of them sent anything."""
    probe = product.desktop.probe
    squatter = product.desktop.start(f'"{windows_path(_PROGRAM)}" "{ENDPOINT}" {clients}')
    wait_until(lambda: probe.ask("query", kind="pipe", name=ENDPOINT)["error"] == "0", "the squatter")
    return squatter


def test_a_start_that_meets_a_squatter_ends(product: Product, host: HostService) -> None:
    host.kill()
    squatter = squat(product, 1000)
    agent = product.start("2")
    assert agent.wait() == 0
    found = [entry for entry in entries(product, agent) if entry.source == "OuterClientHelper"]
    assert texts(found)[-3:] == helper_trace("RegisterProcess", failed(DENIED))
    (line,) = product.log_lines("Register Callback to RPC server failed", agent)
    assert f": [ERROR] Register Callback to RPC server failed with 0x{DENIED:x} - StartHelper(" in line
    assert product.has_ended() and product.opened_nothing()
    assert squatter.running, "nothing was sent to it"


def test_an_agent_that_was_registered_waits_for_the_true_service(product: Product, host: HostService) -> None:
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    # Two events and the watch itself.
    wait_until(lambda: product.log_text().count(CALLS_BACK) == 3, "the watch of the service")
    host.kill()
    squatter = squat(product, 5)
    assert squatter.wait() == 0, "it got a byte of the agent's"
    product.desktop.start(f'"{product.windows_root}\\win32\\QxSvcHost_M.exe" --console')
    wait_until(lambda: len(registrations(entries(product, agent))) == 2, "the second registration")
    wait_until(lambda: product.log_text().count(CALLS_BACK) == 4, "the agent at the true service")
    thread = registrations(entries(product, agent))[0]
    assert failed(DENIED) in texts(thread)
    assert_reconnected(thread)
    assert host.send({"JD_COMMAND_ID": 4711}) == {"JD_COMMAND_ID": 4711, "retCode": SUCCESS}
    product.signal_exit()
    assert agent.wait() == 0


def test_a_service_says_that_its_endpoint_is_taken(product: Product, host: HostService) -> None:
    host.stop()
    squat(product, 1000)
    foreground = host.control("--console")
    assert foreground.code == ENDPOINT_TAKEN
    assert foreground.err.strip() == "Another process owns the endpoint of the product."
    service = host.control("--start")
    assert service.code == ENDPOINT_TAKEN
    assert service.err.strip() == "The service ended: another process owns the endpoint of the product."
    asked = host.qxctl("status")
    assert asked.code != 0 and asked.out == ""

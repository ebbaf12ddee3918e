"""The exit from the menu: what closes, in which order, and what is left."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import wait_until
from host import HostService
from product import Product, exit_event
from tray import Tray
from tray_data import read_texts

OWN_SERVICES = True
SESSION_AGENT_EXITS = 19


@pytest.fixture
def service(product: Product) -> Iterator[HostService]:
    """Brought up and, on request, down by its watchdog."""
    service = HostService(product)
    service.install()
    program = f'"{product.windows_root}\\win32\\QxWatchDog_M.exe"'
    watchdog = product.desktop.start(f"{program} --no-agent", product.windows_root)
    wait_until(lambda: service.status(), "the service")
    yield service
    product.end()
    assert product.desktop.start(f"{program} --stop").wait() == 0
    assert watchdog.wait() == 0
    service.control("--stop")
    service.uninstall()


def choose_exit(tray: Tray) -> None:
    tray.choose(read_texts(tray.product.root)["Menus"]["exit"].replace("&", ""))


def open_consoles(tray: Tray, count: int) -> None:
    for number in range(1, count + 1):
        tray.double_click()
        tray.desktop.wait_for_consoles(number)


def test_it_closes_the_consoles_tells_the_service_stops_it_and_ends(
    service: HostService, tray: Tray
) -> None:
    process = tray.start()
    service.wait_for_clients()
    open_consoles(tray, 2)
    choose_exit(tray)
    assert process.wait() == 0
    assert tray.desktop.consoles() == []
    service.wait_for_event(process.number, SESSION_AGENT_EXITS)
    wait_until(lambda: service.process_id() == 0, "the end of the service")
    assert tray.is_empty()
    assert tray.product.has_ended()
    stopping, ending = (
        tray.product.log_lines(text, process)
        for text in ("Try to stop service if it is running...", "SendMessage to exit QxSessionAgent...")
    )
    lines = tray.product.all_log_lines()
    assert lines.index(stopping[0]) < lines.index(ending[0])


def test_it_ends_without_a_watchdog_too(product: Product, tray: Tray) -> None:
    service = HostService(product)
    service.install()
    service.start()
    process = tray.start()
    service.wait_for_clients()
    service.stop()
    open_consoles(tray, 1)
    choose_exit(tray)
    assert process.wait() == 0
    assert tray.desktop.consoles() == []
    assert tray.is_empty()
    assert tray.product.log_lines("QxWatchDog is already exit...", process)
    service.uninstall()


def test_a_squatted_exit_event_leaves_the_agent_alive(service: HostService, tray: Tray) -> None:
    squatter = tray.desktop.probe.ask("create", kind="mutex", name=exit_event())
    try:
        process = tray.product.start()
        wait_until(tray.product.find_frame, "the frame")
        service.wait_for_clients()
        open_consoles(tray, 1)
        choose_exit(tray)
        failed = "CreateMultipleGlobal failed... ErrorCode=6"
        # Once by the thread that would wait for it, once by the menu's entry.
        wait_until(lambda: len(tray.product.log_lines(failed, process)) == 2, "the refused event")
        assert tray.desktop.consoles() == []
        wait_until(lambda: service.process_id() == 0, "the end of the service")
        assert process.running
        assert tray.pixels() == tray.idle_picture()
    finally:
        tray.desktop.probe.request("close", id=squatter["id"])
        tray.product.end()

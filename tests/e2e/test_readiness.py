"""The agent and a host service that does not run yet, on each version of the system that makes a difference."""

from __future__ import annotations

import subprocess
from collections.abc import Iterator

import pytest

from desktop import wait_until
from host import HostService
from product import Product

OWN_SERVICES = True

AGENT = "QxSessionAgent_M.exe"
START_REQUEST = "Global\\WATCHDOG_EVENT_START_SERVICEMelvio"
NOT_YET = "VzCommon::Service::Base::WaitStatus() failed... ErrorCode = 1460"


@pytest.fixture
def service(product: Product) -> Iterator[HostService]:
    """Installed, and stopped."""
    service = HostService(product)
    service.install()
    yield service
    product.end()
    service.control("--stop")
    service.uninstall()


def run_as(product: Product, version: str) -> None:
    """The version of Windows that the agent finds at its next start."""
    key = f"HKCU\\Software\\Wine\\AppDefaults\\{AGENT}"
    command = ["wine", "reg", "add", key, "/v", "Version", "/d", version, "/f"]
    environment = product.desktop.environment
    subprocess.run(command, env=environment, check=True, capture_output=True, timeout=60)


@pytest.mark.parametrize("version", ["win8", "win10"])
def test_the_start_at_logon_ends_where_no_watchdog_is(
    product: Product, service: HostService, version: str
) -> None:
    run_as(product, version)
    process = product.start("1")
    assert process.wait() == 0
    assert product.log_lines(f": [ERROR] {NOT_YET} - ", process)
    assert product.log_lines(": [WARN] QxWatchDog does not exist, just return... - ", process)
    assert product.log_lines(": [ERROR] Check QX service failed with 0xe0ff000e - ", process)
    assert service.process_id() == 0, "nobody was asked to start it"


def test_the_start_at_logon_of_an_older_system_waits_for_the_service(
    product: Product, service: HostService
) -> None:
    run_as(product, "win7")
    process = product.start("1")
    product.wait_for_log(NOT_YET, process)
    assert process.running
    assert product.find_frame() is None
    service.start()
    product.wait_for_log("Create thread for waiting exit event...", process)
    assert not product.log_lines("QxWatchDog does not exist", process)


@pytest.mark.parametrize("version", ["win7", "win8", "win10"])
def test_a_start_by_hand_starts_the_service(product: Product, service: HostService, version: str) -> None:
    run_as(product, version)
    process = product.start_running("2")
    assert service.process_id() != 0
    assert process.running


@pytest.mark.parametrize("mode", ["1", "2"])
def test_the_watchdog_starts_the_service_for_the_agent(
    product: Product, service: HostService, mode: str
) -> None:
    run_as(product, "win10")
    folder = f"{product.windows_root}\\win32"
    watchdog = product.desktop.start(f'"{folder}\\QxWatchDog_M.exe" --service-only', folder)
    probe = product.desktop.probe
    wait_until(lambda: probe.ask("query", kind="event", name=START_REQUEST)["error"] == "0", "the watchdog")
    try:
        product.start_running(mode)
        assert service.process_id() != 0
    finally:
        product.end()
        assert product.desktop.start(f'"{folder}\\QxWatchDog_M.exe" --stop', folder).wait() == 0
        assert watchdog.wait() == 0


def test_a_service_that_runs_is_left_alone(product: Product, service: HostService) -> None:
    run_as(product, "win10")
    service.start()
    running = service.process_id()
    product.start_running("1")
    assert not product.log_lines("WaitStatus() failed")
    product.end()
    product.start_running("2")
    assert product.log_lines("Service is already running... - ")
    assert service.process_id() == running

"""The family under its watchdog: brought up, and brought back after each way of going down but the intended one."""

from __future__ import annotations

from collections.abc import Iterator

import pytest

from desktop import Process, wait_until
from family import CRASH_SIGNAL, Family, bring_up
from host import HostService
from product import Product

OWN_SERVICES = True

START_REQUEST = "Global\\WATCHDOG_EVENT_START_SERVICEMelvio"
STOP_REQUEST = "Global\\WATCHDOG_EVENT_STOP_SERVICEMelvio"
LEFT = "and without a crash; it is left so. - "
WARM_UP = 5
ROUNDS = 100
STARTED = "The agent is started in mode 2. - "


@pytest.fixture
def family(product: Product) -> Iterator[Family]:
    with bring_up(product) as family:
        yield family


def test_a_crashed_agent_is_back_at_the_service(family: Family) -> None:
    crashed = family.agent()
    family.crash_agent()
    family.wait_for_agent(crashed)
    family.wait_to_be_told(STARTED, 2)


def test_an_agent_that_was_asked_to_end_stays_away(family: Family) -> None:
    family.agent()
    family.product.signal_exit()
    family.wait_to_be_told(LEFT)
    assert family.product.has_ended()
    # The next thing that the watchdog does about the agent is the answer to the next crash.
    family.signal(CRASH_SIGNAL)
    family.wait_to_be_told("it is started again in 1 s. - ")
    family.agent()
    family.wait_to_be_told(STARTED, 2)


def test_an_agent_that_crashes_again_and_again_is_given_up(family: Family) -> None:
    family.crash_agent()
    for crashes in range(1, 5):
        family.wait_to_be_told("The agent has crashed; it is started again in ", crashes)
        family.signal(CRASH_SIGNAL)
    family.wait_to_be_told("[ERROR] The agent has crashed 5 times within a minute; it is not started again. - ")


def test_a_killed_service_is_back_with_its_agent(family: Family) -> None:
    agent, killed = family.agent(), family.service.kill()
    wait_until(lambda: family.service.process_id() not in (0, killed), "a new service")
    assert family.agent() == agent


def test_the_service_stops_and_starts_on_request(family: Family) -> None:
    agent = family.agent()
    family.signal(STOP_REQUEST)
    family.wait_to_be_told("The service is stopped. - ")
    wait_until(lambda: family.service.process_id() == 0, "the end of the service")
    family.signal(START_REQUEST)
    wait_until(lambda: family.service.process_id() != 0, "a new service")
    assert family.agent() == agent


def test_a_hundred_stops_and_starts_on_request_leave_no_trace(family: Family) -> None:
    agent = Process(family.product.desktop.probe, family.agent())
    rounds = 0

    def stop_and_start() -> None:
        nonlocal rounds
        rounds += 1
        family.signal(STOP_REQUEST)
        family.wait_to_be_told("The service is stopped. - ", rounds)
        family.signal(START_REQUEST)
        family.wait_to_be_told("The service runs. - ", rounds + 1)
        family.wait_for_watches(rounds + 1)

    family.wait_for_watches(1)
    for _ in range(WARM_UP):
        stop_and_start()
    before = [family.watchdog.counts(), agent.counts()]
    for _ in range(ROUNDS):
        stop_and_start()
    after = [family.watchdog.counts(), agent.counts()]

    for was, became in zip(before, after):
        assert became["handles"] <= was["handles"] + 2
        assert became["threads"] <= was["threads"]
        assert became["memory"] <= was["memory"] + 512 * 1024
    assert family.agent() == agent.number
    assert len(family.product.log_lines("Reconnect the RPC...", agent)) == rounds
    assert len(family.service.records(agent.number, "register")) == rounds + 1


def test_the_exit_event_ends_all_if_the_watchdog_is_told_so(product: Product) -> None:
    service = HostService(product)
    service.install()
    program = f'"{product.windows_root}\\win32\\QxWatchDog_M.exe" --mode 2 --until-exit'
    watchdog = product.desktop.start(program, product.windows_root)
    try:
        service.wait_for_clients()
        assert service.qxctl("exit").code == 0
        assert watchdog.wait() == 0
        assert product.has_ended()
        assert service.process_id() == 0
    finally:
        service.uninstall()
    # The agent took leave of a service that was still there.
    assert product.log_lines("CVzRpcClientHelper::UnregisterProcess")
    assert not product.log_lines("executing command failed")

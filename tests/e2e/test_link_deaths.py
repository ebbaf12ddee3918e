"""A hundred deaths of the service in a row: the agent is there at the end and has not grown."""

from __future__ import annotations

from desktop import Process, wait_until
from host import HostService
from link_log import SUCCESS, assert_reconnected, entries, registrations
from product import Product

DEATHS = 100
WARM_UP = 20
CALLS_BACK = "after invoking ParseJsonString, ret=0"


class Deaths:
    """Services in the foreground, one after the other, and what became of the agent by then."""

    def __init__(self, product: Product, host: HostService) -> None:
        self._product = product
        self._service = Process(product.desktop.probe, host.process_id())
        self._replies = self._count(CALLS_BACK)

    def _count(self, text: str) -> int:
        return self._product.log_text().count(text)

    def one_more(self) -> None:
        self._service.terminate()
        program = f"{self._product.windows_root}\\win32\\QxSvcHost_M.exe"
        self._service = self._product.desktop.start(f'"{program}" --console')
        self._replies += 1
        wait_until(lambda: self._count(CALLS_BACK) == self._replies, "the agent at its new service")


def test_a_hundred_deaths_of_the_service_leave_no_trace(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    # Two events and the watch itself.
    wait_until(lambda: product.log_text().count(CALLS_BACK) == 3, "the watch of the service")
    deaths = Deaths(product, host)
    for _ in range(WARM_UP):
        deaths.one_more()
    before = agent.counts()
    for _ in range(DEATHS - WARM_UP):
        deaths.one_more()
    after = agent.counts()

    assert after["handles"] <= before["handles"] + 2
    assert after["threads"] <= before["threads"]
    assert after["windows"] == before["windows"] and after["gdi"] == before["gdi"]
    assert after["memory"] <= before["memory"] + 512 * 1024
    assert len(product.log_lines("Reconnect the RPC...", agent)) == DEATHS
    *threads, _ = registrations(entries(product, agent))
    assert len(threads) == DEATHS
    for thread in threads:
        assert_reconnected(thread)
    assert len(host.records(agent.number, "register")) == DEATHS + 1
    assert [client["processId"] for client in host.clients()] == [agent.number]
    assert host.send({"JD_COMMAND_ID": 4711}) == {"JD_COMMAND_ID": 4711, "retCode": SUCCESS}
    product.signal_exit()
    assert agent.wait() == 0

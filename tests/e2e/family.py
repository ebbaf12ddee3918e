"""The family under its watchdog: brought up, and taken down again."""

from __future__ import annotations

from collections.abc import Iterator
from contextlib import contextmanager

from desktop import Process, wait_until
from host import HostService
from product import Product

CRASH_SIGNAL = "Global\\WATCHDOG_EVENT_RESTART_QX_SESSIONAGENTMelvio"


class Family:
    """Watchdog, service and agent of one product."""

    def __init__(self, product: Product, service: HostService, watchdog: Process) -> None:
        self.product = product
        self.service = service
        self.watchdog = watchdog

    def agent(self) -> int:
        """The process of the one agent that is registered."""
        return int(self.service.wait_for_clients()[0]["processId"])

    def wait_for_agent(self, before: int, limit: float = 30.0) -> int:
        """Waits for the registration of another agent than that one."""

        def another() -> int:
            numbers = [int(client["processId"]) for client in self.service.clients()]
            return next((number for number in numbers if number != before), 0)

        return wait_until(another, "a new agent at the service", limit)

    def signal(self, event: str) -> None:
        assert self.product.desktop.probe.ask("setEvent", name=event)["error"] == "0"

    def crash_agent(self) -> None:
        """An agent that crashes signals it and ends."""
        agent = self.agent()
        self.signal(CRASH_SIGNAL)
        self.product.desktop.probe.ask("terminate", process=agent, exitCode=1)

    def wait_for_watches(self, count: int) -> None:
        """Waits until the agent has got that often the process to watch. Its start sends two mails more."""

        def have_come() -> bool:
            return self.product.log_text().count("after invoking ParseJsonString, ret=0") == count + 2

        wait_until(have_come, f"{count} watches of the service")

    def wait_to_be_told(self, text: str, count: int = 1) -> None:
        def is_told() -> bool:
            return len(self.product.win32_log_lines(text, self.watchdog)) == count

        wait_until(is_told, f"{count} lines <{text}> in the watchdog's log")


@contextmanager
def bring_up(product: Product, *options: str, mode: int = 2) -> Iterator[Family]:
    """Up, with the agent registered. For files that run the services themselves."""
    service = HostService(product)
    service.install()
    program = f'"{product.windows_root}\\win32\\QxWatchDog_M.exe"'
    watchdog = product.desktop.start(" ".join([program, f"--mode {mode}", *options]), product.windows_root)
    service.wait_for_clients()
    yield Family(product, service, watchdog)
    product.end()
    assert product.desktop.start(f"{program} --stop").wait() == 0
    assert watchdog.wait() == 0
    service.control("--stop")
    service.uninstall()

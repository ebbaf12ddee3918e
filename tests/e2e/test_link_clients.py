"""Many clients at once on one service."""

from __future__ import annotations

import json
import os
import shutil
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from desktop import Process, wait_until
from host import HostService
from mail_driver import MailDriver
from product import Product

CLIENTS = 64
_PROGRAM = Path(os.environ.get("QX_LINK_CLIENTS", "LinkClients.exe"))


def start_clients(product: Product, processes: int, managers: int = 1) -> list[Process]:
    """Processes with so many registered managers each."""
    program = product.root / "LinkClients_M.exe"
    if not program.exists():
        shutil.copy2(_PROGRAM, program)
    command = f'"{product.windows_root}\\{program.name}" {managers}'
    return [product.desktop.start(command, product.windows_root) for _ in range(processes)]


def call_back(product: Product, processes: list[Process]) -> list[str]:
    """Sends a command to each, in turn over one connection; the names that answered."""
    with MailDriver(product) as driver:
        answers = [driver.send('{"JD_COMMAND_ID":4711}', process.number) for process in processes]
    assert [answer["processId"] for answer in answers] == [process.number for process in processes]
    assert all(answer["status"] >= 0 for answer in answers)
    return [json.loads(answer["reply"])["client"] for answer in answers]


def test_sixty_four_clients_are_served_at_once(product: Product) -> None:
    host = HostService(product)
    service = Process(product.desktop.probe, host.process_id())
    before = service.counts()
    clients = start_clients(product, CLIENTS)
    try:
        host.wait_for_clients(CLIENTS)
        quarters = [clients[i::4] for i in range(4)]
        with ThreadPoolExecutor(4) as threads:
            found = threads.map(lambda some: call_back(product, some), quarters)
        assert len({name for names in found for name in names}) == CLIENTS
    finally:
        product.desktop.end_programs("LinkClients")
    wait_until(lambda: host.clients() == [], "the end of all clients")
    assert all(len(host.records(client.number, "gone")) == 1 for client in clients)
    wait_until(lambda: service.counts()["handles"] <= before["handles"] + 8, "the service's handles")
    # Its threads go when they have had nothing to do for a while.
    wait_until(lambda: service.counts()["threads"] <= before["threads"] + 1, "the service's threads")


def test_one_process_may_hold_sixty_four_connections(product: Product) -> None:
    host = HostService(product)
    agent = product.start_running()
    host.wait_for_event(agent.number, 18)
    (process,) = start_clients(product, 1, CLIENTS)
    try:
        clients = host.wait_for_clients(CLIENTS + 1)
        assert sorted(c["clientName"] for c in clients if c["processId"] == process.number) == sorted(
            f"client {number}" for number in range(CLIENTS)
        )
        assert len(call_back(product, [process])) == 1
        assert host.send({"JD_COMMAND_ID": 4711}, "--pid", str(agent.number))["JD_COMMAND_ID"] == 4711
    finally:
        process.terminate()
    host.wait_for_clients(1)
    assert host.send({"JD_COMMAND_ID": 4711})["JD_COMMAND_ID"] == 4711

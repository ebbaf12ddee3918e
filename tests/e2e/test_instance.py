"""One instance a session: what a second start does, and what stands in the way of the first."""

from __future__ import annotations

import pytest

from desktop import wait_until
from product import Product, exit_event

ALREADY_RUNNING = "A program instance is already running, just show main console and return..."
MUTEX = "Local\\Melvio_QxSessionAgent"


def test_a_second_start_opens_the_console_and_leaves(product: Product) -> None:
    first = product.start_running("2")
    frame = product.frame()
    product.desktop.wait_for_consoles(1)

    second = product.start("6")
    assert second.wait() == 0
    product.desktop.wait_for_consoles(4)
    assert product.console_arguments() == ["", "-m 100", "-m 200", '-p "MainConsole" 7 "x"']
    (line,) = product.log_lines(ALREADY_RUNNING)
    assert f" {second.number:04x}:" in line
    assert f" .w. <QxSessionAgent> : [INFO] {ALREADY_RUNNING} - " in line

    assert first.running
    assert product.frame().handle == frame.handle
    assert not product.log_lines("Create thread for waiting exit event...", second)


def test_a_second_start_without_a_number_only_leaves(product: Product) -> None:
    product.start_running()
    assert product.run() == 0
    assert len(product.log_lines(ALREADY_RUNNING)) == 1
    assert product.opened_nothing()


def test_a_second_start_needs_the_configuration(product: Product) -> None:
    first = product.start_running()
    product.configuration.unlink()
    assert product.run("2") == 0
    assert product.log_lines(ALREADY_RUNNING) == []
    assert product.opened_nothing()
    assert first.running


def test_the_next_instance_starts_when_the_first_has_ended(product: Product) -> None:
    for _ in range(3):
        process = product.start_running()
        product.signal_exit()
        assert process.wait() == 0
        assert product.has_ended()
    assert product.log_lines(ALREADY_RUNNING) == []


def test_an_instance_that_was_killed_leaves_nothing_behind(product: Product) -> None:
    product.start_running().terminate()
    wait_until(product.has_ended, "the end of the killed instance")
    assert product.start_running().running


def test_of_many_starts_at_once_one_stays(product: Product) -> None:
    starts = [product.start("2") for _ in range(8)]
    product.desktop.wait_for_consoles(8)
    wait_until(lambda: len(product.log_lines(ALREADY_RUNNING)) == 7, "seven second instances")
    wait_until(lambda: sum(process.running for process in starts) == 1, "seven ends")
    assert all(process.wait() == 0 for process in starts if not process.running)


def test_the_products_of_the_family_run_side_by_side(product: Product) -> None:
    products = {"": "Oravex", "_M": "Melvio", "_B": "Brisketta"}
    running = [product.start_running(name=f"QxSessionAgent{suffix}.exe") for suffix in products]
    assert all(process.running for process in running)
    assert len({product.frame(product_id).handle for product_id in products.values()}) == 3
    product.signal_exit("Melvio")
    assert running[1].wait() == 0
    assert running[0].running and running[2].running


@pytest.mark.parametrize(
    "kind, no_rights",
    [("event", 0), ("mutex", 0), ("semaphore", 0), ("timer", 0), ("section", 0), ("event", 1), ("mutex", 1)],
)
def test_a_squatted_mutex_name_makes_every_start_a_second_one(
    product: Product, kind: str, no_rights: int
) -> None:
    squatter = product.desktop.probe.ask("create", kind=kind, name=MUTEX, noRights=no_rights)
    try:
        assert product.run("2") == 0
        product.desktop.wait_for_consoles(1)
        assert len(product.log_lines(ALREADY_RUNNING)) == 1
        assert product.desktop.probe.ask("query", kind="event", name=exit_event())["error"] == "2"
    finally:
        product.desktop.probe.request("close", id=squatter["id"])
    assert product.start_running().running

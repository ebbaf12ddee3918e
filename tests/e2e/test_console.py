"""The main console: what it shows, how the agent finds it, how it ends."""

from __future__ import annotations

import pytest

from desktop import WM_CLOSE, Desktop, console_command_line
from product import Product

WM_NULL = 0x0000
WM_QUERYENDSESSION = 0x0011


@pytest.mark.parametrize(
    "arguments",
    ["", "-m 100", '-p "MainConsole" 7 "x"', '"" \\" \'%^&', "grüße 你好 😀", "x" * 30000],
    ids=["none", "mode", "popup", "quotes", "unicode", "long"],
)
def test_shows_its_exact_command_line(desktop: Desktop, product: Product, arguments: str) -> None:
    command_line = f'"{product.console_path()}" {arguments}'
    desktop.start(command_line)
    (console,) = desktop.wait_for_consoles(1)
    assert console_command_line(console) == command_line


@pytest.mark.parametrize("suffix, product_id", [("", "Oravex"), ("_M", "Melvio"), ("_B", "Brisketta")])
def test_carries_title_and_marker_of_its_product(
    desktop: Desktop, product: Product, suffix: str, product_id: str
) -> None:
    desktop.start(f'"{product.console_path(suffix)}"')
    (console,) = desktop.wait_for_consoles(1)
    assert console.title == f"{product_id} Console"
    assert console.property(f"NorvaneSoft {product_id} uiDeskConsole.exe") == 1


def test_a_second_start_opens_a_second_window(desktop: Desktop, product: Product) -> None:
    desktop.start(f'"{product.console_path()}" first')
    desktop.wait_for_consoles(1)
    desktop.start(f'"{product.console_path()}" second')
    desktop.wait_for_consoles(2)
    assert product.console_arguments() == ["first", "second"]


def test_what_it_shows_cannot_be_typed_over(desktop: Desktop, product: Product) -> None:
    command_line = f'"{product.console_path()}" -m 100'
    desktop.start(command_line)
    (console,) = desktop.wait_for_consoles(1)
    desktop.click(*console.center)
    desktop.type_text("typed")
    console.send(WM_NULL)
    assert console_command_line(console) == command_line


def test_ends_with_its_window(desktop: Desktop, product: Product) -> None:
    process = desktop.start(f'"{product.console_path()}"')
    (console,) = desktop.wait_for_consoles(1)
    console.send(WM_CLOSE)
    assert process.wait() == 0
    assert desktop.consoles() == []


def test_lets_the_session_end(desktop: Desktop, product: Product) -> None:
    desktop.start(f'"{product.console_path()}"')
    (console,) = desktop.wait_for_consoles(1)
    assert console.send(WM_QUERYENDSESSION) == 1

"""Which product a program is, and where its files lie."""

from __future__ import annotations

import shutil
from collections.abc import Iterator
from pathlib import Path

import pytest

from desktop import Desktop, windows_path
from host import PRODUCT_IDS
from product import Product, ProductPath, item

WM_COMMAND = 0x0111
DEFAULT_COMMAND = 32789

NAMES = [
    ("QxSessionAgent.exe", "Oravex"),
    ("QxSessionAgent_M.exe", "Melvio"),
    ("QxSessionAgent_m.exe", "Melvio"),
    ("QxSessionAgent_B.exe", "Brisketta"),
    ("Agent_b.exe", "Brisketta"),
    ("a_b_M.exe", "Melvio"),
    ("a_.exe", "Oravex"),
]


def renamed(product: Product, name: str) -> str:
    target = product.root / name
    if not target.exists():
        shutil.copy2(product.root / "QxSessionAgent.exe", target)
    return name


@pytest.mark.parametrize("name, product_id", NAMES, ids=[row[0] for row in NAMES])
def test_the_file_name_tells_the_product(product: Product, name: str, product_id: str) -> None:
    process = product.start_running(name=renamed(product, name))
    try:
        assert product.frame(product_id).process == process.number
        mutex = f"Local\\{product_id}_QxSessionAgent"
        assert product.desktop.probe.ask("query", kind="mutex", name=mutex)["error"] == "0"
        product.signal_exit(product_id)
        assert process.wait() == 0
    finally:
        process.terminate()


@pytest.mark.parametrize("name", ["my_copy.exe", "a_EndFlag.exe", "a_M.x.exe"])
def test_a_program_of_no_product_finds_no_service_and_ends(product: Product, name: str) -> None:
    process = product.start(name=renamed(product, name))
    assert process.wait() == 0
    assert product.log_lines(" VzCommon::Service::Base::Open() failed: 0x00000424 - ", process)
    assert product.log_lines(": [ERROR] Check QX service failed with 0xe0fe0424 - ", process)
    assert product.has_ended("")


@pytest.mark.parametrize("name, product_id", [row for row in NAMES if row[1] == "Melvio"])
def test_every_spelling_of_the_product_opens_its_own_console(
    product: Product, name: str, product_id: str
) -> None:
    process = product.start_running("2", renamed(product, name))
    (console,) = product.desktop.wait_for_consoles(1)
    assert console.title == f"{product_id} Console"
    process.terminate()


@pytest.fixture
def data(product: Product, tmp_path: Path) -> Path:
    """The product's data in a folder away from the program, with a configuration that names that folder."""
    folder = tmp_path / "Daten für Melvio"
    for part in ("Configuration", "Misc", "win32"):
        shutil.copytree(product.root / part, folder / part)
    shutil.copy2(product.root / "libexpat.dll", folder)  # it is looked for where the data are
    (folder / "Configuration/QxSessionAgentCfg.json").write_text(
        '{"startMode": {"console": {"startFunc": "ShowQxUi", "startArgs": "elsewhere", "modeId": [2]}}}'
    )
    return folder


@pytest.mark.parametrize("tail", ["", "\\"], ids=["plain", "trailing-backslash"])
def test_data_and_console_come_from_the_product_path(
    product: Product, product_path: ProductPath, data: Path, tail: str
) -> None:
    product_path.set(windows_path(data) + tail)
    product.start_running("2")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments(data) == ["elsewhere"]
    (line,) = product.log_lines("Show QX UI. Command-line: ")
    assert f'"{windows_path(data)}\\win32\\QxMainConsole_M.exe" elsewhere' in line


def test_an_empty_product_path_means_the_program_s_folder(
    product: Product, product_path: ProductPath
) -> None:
    product_path.set("")
    product.configure({"console": item("ShowQxUi", [2], arguments="here")})
    product.start_running("2")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == ["here"]


@pytest.fixture
def relative_paths(desktop: Desktop) -> Iterator[None]:
    """All products have their data in the current folder's folder "data"."""
    paths = [ProductPath(desktop, product_id) for product_id in PRODUCT_IDS.values()]
    for path in paths:
        path.set("data")
    yield
    for path in paths:
        path.remove()


def test_a_relative_product_path_counts_from_the_current_folder(
    product: Product, relative_paths: None, data: Path
) -> None:
    data.rename(product.root / "data")
    product.start_running(name="QxSessionAgent_B.exe")
    product.frame("Brisketta").post(WM_COMMAND, DEFAULT_COMMAND)
    (line,) = product.wait_for_log("Show QX UI. Command-line: ")
    assert 'Command-line: "data\\win32\\QxMainConsole_B.exe" ' in line
    product.desktop.wait_for_consoles(1)


def test_no_library_is_taken_from_a_relative_product_path(
    product: Product, relative_paths: None, data: Path
) -> None:
    data.rename(product.root / "data")
    process = product.start()
    assert process.wait() == 0
    assert product.log_lines(": [ERROR] Excpetion when reading XML file: 126 - ", process)
    assert product.log_lines(": [ERROR] LoadConfig failed...", process)


BAD_PATHS = ["Z:\\no such folder", "?*<>|", "%ProgramData%", "Z:\\" + "long folder name\\" * 40, "x" * 3000]


@pytest.mark.parametrize("path", BAD_PATHS, ids=["missing", "forbidden", "variable", "over-260", "over-3000"])
def test_a_bad_product_path_is_taken_as_it_stands(
    product: Product, product_path: ProductPath, path: str
) -> None:
    product_path.set(path)
    assert product.run("2") == 0
    (line,) = product.log_lines("failed to open file <")
    separator = "" if path.endswith("\\") else "\\"
    assert f"<{path}{separator}Configuration\\QxSessionAgentCfg.json>" in line


def test_the_product_path_of_another_product_does_not_count(product: Product, desktop: Desktop) -> None:
    other = ProductPath(desktop, "Brisketta")
    other.set("Z:\\no such folder")
    try:
        assert product.start_running().running
    finally:
        other.remove()


def test_a_program_folder_may_have_blanks_and_any_letters(product: Product, tmp_path: Path) -> None:
    folder = tmp_path / "Köln 东京 & (x86) %TEMP%"
    product.move(folder)
    product.configure({"console": item("ShowQxUi", [2], arguments="here")})
    product.start_running("2")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == ["here"]

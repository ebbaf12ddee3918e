"""The hidden main window: how it is found, what it answers, and that nothing piles up."""

from __future__ import annotations

import random
import shutil
from pathlib import Path
from xml.etree import ElementTree

import pytest

from desktop import WM_CLOSE, wait_until, windows_path
from product import PLANTED, Product
from tray_data import MENU_BASE, profile_file

WM_COMMAND = 0x0111
WM_TIMER = 0x0113
WM_USER = 0x0400
TRAY_CALLBACK = 0x800A
DEFAULT_COMMAND = 32789


def shipped_entries(product: Product) -> list[ElementTree.Element]:
    """The entries of the shipped menu, those of its submenus too."""
    menus = ElementTree.parse(profile_file(product.root)).getroot().find("Menus")
    assert menus is not None
    return list(menus.iter())[1:]


def command_of(entry: ElementTree.Element) -> int:
    return MENU_BASE + int(entry.get("id", "0"), 0)


def test_it_is_hidden_and_carries_the_marker(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    assert frame.process == process.number
    assert not frame.visible
    assert frame.property("Norvane Soft Melvio SessionAgent") == 1
    own = [window for window in product.desktop.windows() if window.process == process.number]
    assert not [window for window in own if window.visible]


def test_the_default_command_opens_the_console(product: Product) -> None:
    product.start_running()
    product.frame().post(WM_COMMAND, DEFAULT_COMMAND)
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == [""]


@pytest.mark.parametrize("name", ["QxSessionAgent.exe", "QxSessionAgent_B.exe"])
def test_the_default_command_serves_every_product(product: Product, name: str) -> None:
    product.start_running(name=name)
    product.frame("Oravex" if name == "QxSessionAgent.exe" else "Brisketta").post(WM_COMMAND, DEFAULT_COMMAND)
    product.desktop.wait_for_consoles(1)


def test_a_command_of_the_menu_does_what_its_entry_says(product: Product) -> None:
    consoles = {"1": "", "4": "-m 100", "5": "-m 200"}
    entries = [entry for entry in shipped_entries(product) if entry.get("function_id") in consoles]
    assert {entry.get("function_id") for entry in entries} == set(consoles)
    product.start_running()
    frame = product.frame()
    for entry in entries:
        frame.send(WM_COMMAND, command_of(entry))
    product.desktop.wait_for_consoles(len(entries))
    expected = sorted(consoles[entry.get("function_id", "")] for entry in entries)
    assert product.console_arguments() == expected


def test_no_other_command_does_anything(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    without_function = [e for e in shipped_entries(product) if e.get("id") and not e.get("function_id")]
    assert without_function, "the profile has no entry without a function"
    known = {command_of(entry) for entry in shipped_entries(product) if entry.get("id")}
    near = range(DEFAULT_COMMAND + 1, DEFAULT_COMMAND + 50)
    lacking = [*(number for number in near if number not in known), DEFAULT_COMMAND - 1, 0, 1, 0xE141, 0xFFFF]
    for command in [*lacking, *map(command_of, without_function)]:
        frame.send(WM_COMMAND, command)
        frame.send(WM_COMMAND, command | 0x10000)
    assert process.running
    assert product.opened_nothing()


@pytest.mark.parametrize("name", ["QxSessionAgent.exe", "QxSessionAgent_B.exe"])
def test_the_products_without_a_tray_know_the_default_command_alone(product: Product, name: str) -> None:
    process = product.start_running(name=name)
    frame = product.frame("Oravex" if name == "QxSessionAgent.exe" else "Brisketta")
    for command in range(DEFAULT_COMMAND + 1, DEFAULT_COMMAND + 10):
        frame.send(WM_COMMAND, command)
    assert process.running
    assert product.opened_nothing()


def test_forged_messages_neither_crash_nor_end_it(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()
    numbers = random.Random(7)
    for message in (WM_COMMAND, WM_TIMER, TRAY_CALLBACK, *range(WM_USER, WM_USER + 0x80), 0xC123, 0xFFFF):
        for _ in range(3):
            # Nothing that means the exit or the default command, which do what they are for.
            w_param = numbers.choice([0, 1, 6, 0x7FFF, 0xFFFE, numbers.getrandbits(32)])
            frame.post(message, w_param, numbers.choice([0, 1, numbers.getrandbits(31)]))
    assert frame.send(0) == 0
    assert process.running
    product.signal_exit()
    assert process.wait() == 0


def test_its_objects_stay_the_same_over_repeated_use(product: Product) -> None:
    process = product.start_running()
    frame = product.frame()

    def open_and_close_a_console() -> None:
        frame.send(WM_COMMAND, DEFAULT_COMMAND)
        product.desktop.wait_for_consoles(1)[0].send(WM_CLOSE)
        wait_until(lambda: not product.desktop.consoles(), "the end of the console")

    for _ in range(3):
        open_and_close_a_console()
    before = process.counts()
    assert min(before.values()) > 0, "nothing was counted"
    for _ in range(20):
        open_and_close_a_console()
        frame.send(WM_TIMER, 4711)
    wait_until(
        lambda: all(after <= before[name] for name, after in process.counts().items()),
        f"object counts not above {before}; last {process.counts()}",
    )


# Libraries that programs of this kind are known to take from the wrong place.
LIBRARIES = """
version wtsapi32 sensapi dbghelp wer faultrep winmm uxtheme dwmapi userenv cryptbase cryptsp secur32 sspicli
propsys oleacc msimg32 powrprof iphlpapi netapi32 profapi apphelp ntmarta samlib winsta dnsapi mswsock
""".split()


def traces_of_planted_libraries(folder: Path) -> list[str]:
    """The planted libraries that some program has loaded from there."""
    return sorted(trace.name for trace in folder.rglob("*.loaded"))


def test_a_planted_library_leaves_its_trace_when_it_is_loaded(product: Product) -> None:
    (product.root / "VzDbgLog.dll").unlink()
    shutil.copy2(PLANTED, product.root / "VzDbgLog.dll")
    product.start("2")
    product.desktop.wait_for_consoles(1)
    assert traces_of_planted_libraries(product.root) == ["VzDbgLog.dll.loaded"]


def test_no_library_is_taken_from_beside_the_program(product: Product) -> None:
    for library in LIBRARIES:
        shutil.copy2(PLANTED, product.root / f"{library}.dll")
    process = product.start_running("2")
    product.frame()
    product.desktop.wait_for_consoles(1)
    product.signal_exit()
    assert process.wait() == 0
    assert traces_of_planted_libraries(product.root) == []


def test_no_library_is_taken_from_the_current_folder(product: Product, tmp_path: Path) -> None:
    folder = tmp_path / "current"
    folder.mkdir()
    for library in LIBRARIES:
        shutil.copy2(PLANTED, folder / f"{library}.dll")
    shutil.copy2(PLANTED, folder / "VzDbgLog.dll")
    program = windows_path(product.program("QxSessionAgent_M.exe"))
    process = product.desktop.start(f'"{program}" 2', windows_path(folder))
    product.wait_for_log("Create thread for waiting exit event...", process)
    product.desktop.wait_for_consoles(1)
    assert f"{product.windows_root}\\VzDbgLog.dll".lower() in [path.lower() for path in process.modules()]
    product.signal_exit()
    assert process.wait() == 0
    assert traces_of_planted_libraries(folder) == []

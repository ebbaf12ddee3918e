"""The log as an administrator meets it: lines, levels, and every way in which it can be absent."""

from __future__ import annotations

import re
import shutil

import pytest

from desktop import windows_path
from product import LOG_EVERYTHING, PLANTED, Product

LINE = re.compile(
    r"\d\d/\d\d/\d{4} \d\d:\d\d:\d\d\.\d{3} [0-9a-f]{4,}:[0-9a-f]{4,} "
    r"(\.w\.|@@@|!!!|\?\?\?) <QxSessionAgent> .*? - \w+\(\d+\)",
    re.DOTALL,
)


def runs_without_a_log(product: Product) -> None:
    """The agent does its work and leaves no line."""
    process = product.start("2")
    product.frame()
    product.desktop.wait_for_consoles(1)
    product.wait_until_waiting()
    product.signal_exit()
    assert process.wait() == 0
    assert product.log_text() == ""


def test_every_line_has_the_same_form(product: Product) -> None:
    process = product.start_running("2")
    product.signal_exit()
    assert process.wait() == 0
    lines = product.all_log_lines()
    assert len(lines) > 10
    assert [line for line in lines if not LINE.fullmatch(line)] == []


def test_the_start_is_logged_in_its_order(product: Product) -> None:
    process = product.start_running("2")
    product.desktop.wait_for_consoles(1)
    product.signal_exit()
    assert process.wait() == 0
    text = product.log_text()
    milestones = [
        "[INFO],[], ==> CStartHelper::PreInit - StartHelper(",
        "[INFO],[], ==> CStartHelper::ParseCmdLine - StartHelper(",
        "[INFO] Start Mode: 2 - StartHelper(",
        "[INFO],[], <== CStartHelper::ParseCmdLine - StartHelper(",
        "[INFO] Push console to 2 - StartMode(",
        "[INFO],[], ==> CStartHelper::HandleInstanceExist - StartHelper(",
        "[INFO],[], <== CStartHelper::PreInit - StartHelper(",
        "[INFO],[], ==> CStartHelper::HandleStartMode - StartHelper(",
        "[INFO] Create thread for waiting exit event... - StartHelper(",
        "[INFO] SendMessage to exit QxSessionAgent... - ExitWait(",
    ]
    places = [text.find(milestone) for milestone in milestones]
    assert -1 not in places, milestones[places.index(-1)]
    assert places == sorted(places)


@pytest.mark.parametrize(
    "level, tags",
    [
        (0x1, {".w."}),
        (0x10, {"@@@"}),
        (0x1000, {"???"}),
        (0x11, {".w.", "@@@"}),
        (0x100, {"!!!"}),  # every end of the service link says two errors
        (0, set()),
    ],
)
def test_levels_are_switched_one_by_one(product: Product, level: int, tags: set[str]) -> None:
    product.write_log_settings(level)
    process = product.start("2")
    product.desktop.wait_for_consoles(1)
    product.wait_until_waiting()
    product.signal_exit()
    assert process.wait() == 0
    assert {LINE.fullmatch(line)[1] for line in product.all_log_lines()} == tags


def test_the_log_folder_is_made(product: Product) -> None:
    target = product.log_folder / "some" / "where"
    product.write_log_settings(LOG_EVERYTHING, folder=windows_path(target))
    product.start("2")
    product.desktop.wait_for_consoles(1)
    assert "Start Mode: 2" in "".join(file.read_text("utf-8") for file in target.iterdir())


def test_a_log_switched_off_stays_silent(product: Product) -> None:
    product.write_log_settings(LOG_EVERYTHING, enable=0)
    runs_without_a_log(product)


def test_it_runs_without_log_settings(product: Product) -> None:
    (product.root / "vzdbg.ini").unlink()
    runs_without_a_log(product)


@pytest.mark.parametrize("library", ["missing", "without exports", "no library", "a folder"])
def test_it_runs_without_the_log_library(product: Product, library: str) -> None:
    path = product.root / "VzDbgLog.dll"
    path.unlink()
    if library == "without exports":
        shutil.copy2(PLANTED, path)
    elif library == "no library":
        path.write_text("no library")
    elif library == "a folder":
        path.mkdir()
    runs_without_a_log(product)


@pytest.mark.parametrize("folder", ["Q:\\no drive", "Z:\\proc\\nothing", "?*<>|", "\\\\nobody\\nothing"])
def test_it_runs_where_the_log_folder_cannot_be_made(product: Product, folder: str) -> None:
    product.write_log_settings(LOG_EVERYTHING, folder=folder)
    runs_without_a_log(product)


def test_it_runs_where_a_file_stands_in_the_log_folder_s_place(product: Product) -> None:
    product.log_folder.write_text("")
    runs_without_a_log(product)


def test_two_instances_write_whole_lines_into_one_log(product: Product) -> None:
    product.start_running("2")
    for _ in range(5):
        assert product.run("2") == 0
    lines = product.all_log_lines()
    assert [line for line in lines if not LINE.fullmatch(line)] == []
    assert len([line for line in lines if "Start Mode: 2" in line]) == 6

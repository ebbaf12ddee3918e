"""What each start mode opens: the number on the command line, and the items of the configuration."""

from __future__ import annotations

import pytest

from product import Product, item

# Arguments behind the program's path, and the mode that they mean.
MODES = [
    (None, 5),
    ("", 5),
    ("2", 2),
    ("0x2", 2),
    ('"2"', 2),
    ("2 7 8", 2),
    ("2abc", 2),
    ("2e3", 2),
    ("010", 8),
    ("08", 0),
    ("abc", 0),
    ('""', 0),
    ('"', 0),
    ("\\", 0),
    ("ü2", 0),
    ("😀", 0),
    ("-1", -1),
    ("+7", 7),
    ("99999999999", 2147483647),
    ("4294967295", 2147483647),
    ("-99999999999", -2147483648),
    ("9" * 20000, 2147483647),
]


@pytest.mark.parametrize("arguments, mode", MODES, ids=[str(row[0])[:12] for row in MODES])
def test_reads_the_mode_as_c_reads_a_number(product: Product, arguments: str | None, mode: int) -> None:
    product.configure({})
    process = product.start_running(arguments)
    (line,) = product.log_lines("Start Mode: ", process)
    assert f": [INFO] Start Mode: {mode} - " in line


def test_hexadecimal_one_is_mode_one(product: Product) -> None:
    product.configure({"logon": item("ShowQxUi", [1], arguments="-m 100")})
    product.start_running("0x1")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == ["-m 100"]


STAGED_MODES = [
    ("1", ["-m 100"]),
    ("2", [""]),
    ("6", ["-m 100", "-m 200", '-p "MainConsole" 7 "x"']),
    ("7", ["", '-p "MainConsole" 7 "x"']),
]


@pytest.mark.parametrize("mode, consoles", STAGED_MODES, ids=[row[0] for row in STAGED_MODES])
def test_opens_what_the_staged_configuration_says(product: Product, mode: str, consoles: list[str]) -> None:
    product.start_running(mode)
    product.desktop.wait_for_consoles(len(consoles))
    assert product.console_arguments() == consoles


def test_reads_every_item_of_the_staged_configuration(product: Product) -> None:
    process = product.start_running()
    pushed = [line.split("Push ")[1].split(" - ")[0] for line in product.log_lines("Push ", process)]
    assert pushed == [
        "console to 2",
        "consoleAfterSplash to 3",
        "logonMonitor to 1",
        "splash to 3",
        "supportConsole to 7",
        "supportGameConsole to 6",
        "supportMonitor to 6",
        "supportPopup to 6",
        "supportPopup to 7",
    ]


def test_a_start_without_a_number_opens_nothing_and_stays(product: Product) -> None:
    process = product.start_running()
    (line,) = product.wait_for_log("Can not find the start mode ", process)
    assert " @@@ <QxSessionAgent> : [WARN] Can not find the start mode 5 - " in line
    assert process.running
    assert product.opened_nothing()


def test_runs_items_in_the_order_of_their_sequence(product: Product) -> None:
    product.configure(
        {
            "a": item("ShowQxUi", [4], sequence=3, arguments="third"),
            "b": item("ShowQxUi", [4], sequence="2", arguments="second"),
            "c": item("ShowQxUi", [4], sequence=-5, arguments="before"),
            "d": item("ShowQxUi", [4], sequence="x", arguments="first"),
        }
    )
    product.start_running("4")
    product.desktop.wait_for_consoles(4)
    path = f'Show QX UI. Command-line: "{product.console_path()}" '
    started = [line.split(path)[1].split(" - ")[0] for line in product.log_lines(path)]
    assert started == ["before", "first", "second", "third"]


def test_passes_arguments_to_the_console_unchanged(product: Product) -> None:
    arguments = ['-p "MainConsole" 7 "größe\\"', "%d %s 100%", " two  blanks ", "你好 😀", '"']
    product.configure(
        {str(i): item("ShowQxUi", [4], sequence=i, arguments=text) for i, text in enumerate(arguments)}
    )
    product.start_running("4")
    product.desktop.wait_for_consoles(len(arguments))
    assert product.console_arguments() == sorted(arguments)


def test_logs_each_item_with_its_modes_in_the_order_of_names(product: Product) -> None:
    product.configure(
        {
            "z": item("ShowQxUi", [8]),
            "both": item("ShowQxUi", [8, "9", -3, 4294967295]),
            "none": item("ShowQxUi", []),
            "number": {"startFunc": "ShowQxUi", "modeId": 8},
        }
    )
    product.start_running()
    pushed = [line.split(": [INFO] ")[1].split(" - ")[0] for line in product.log_lines("Push ")]
    assert pushed == ["Push both to 8", "Push both to 9", "Push both to 0", "Push both to -1", "Push z to 8"]


@pytest.mark.parametrize("function", ["", "showqxui", "Nothing"])
def test_an_unknown_function_does_not_stop_the_next_one(product: Product, function: str) -> None:
    product.configure(
        {
            "bad": item(function, [4], sequence=1),
            "good": item("ShowQxUi", [4], sequence=2, arguments="good"),
        }
    )
    product.start_running("4")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == ["good"]
    (unknown,) = product.log_lines("Can't find the start function: ")
    assert f"!!! <QxSessionAgent> : [ERROR] Can't find the start function: {function} - " in unknown
    assert len(product.log_lines(": [ERROR] Call the start function failed with  - ")) == 1


def test_a_console_that_is_missing_is_an_error_and_no_end(product: Product) -> None:
    product.program("win32/QxMainConsole_M.exe").unlink()
    process = product.start_running("2")
    (line,) = product.wait_for_log("InvokeProcessAsynch", process)
    assert ": [ERROR] VzCommon::Process::InvokeProcessAsynch() failed. 2 - " in line
    product.wait_for_log("Call the start function failed with ", process)
    assert process.running


@pytest.mark.parametrize("name", ["QxSessionAgent.exe", "QxSessionAgent_B.exe"])
def test_the_other_products_read_the_modes_and_run_none(product: Product, name: str) -> None:
    product.configure({"console": item("ShowQxUi", [2])})
    for mode in ("2", "77"):
        process = product.start_running(mode, name)
        assert product.log_lines("Push console to 2", process)
        product.signal_exit("Brisketta" if "_B" in name else "Oravex")
        assert process.wait() == 0
    assert product.opened_nothing()
    assert product.log_lines("Can not find the start mode ") == []

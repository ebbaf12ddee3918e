"""The configuration file in every state that it can be found in, plain and enciphered."""

from __future__ import annotations

import json
import re
import shutil
import subprocess
from pathlib import Path

import pytest

from desktop import windows_path
from product import Product, item

ITEMS = {"console": item("ShowQxUi", [2], arguments="from the file")}
TEXT = json.dumps({"startMode": ITEMS}).encode()
KEY_SOURCE = Path(__file__).parents[2] / "Common/VzCommon/VzComn_StringCryptKey.cpp"


def product_key() -> str:
    """The key of the enciphered files as OpenSSL wants it: of each piece the lowest byte first."""
    pieces = dict(re.findall(r"Piece(\d) = 0x([0-9A-Fa-f]{8});", KEY_SOURCE.read_text()))
    return "".join(bytes.fromhex(pieces[number])[::-1].hex() for number in sorted(pieces))


def encipher(text: bytes, key: str, *options: str) -> str:
    command = ["openssl", "enc", "-aes-128-cbc", "-K", key, "-iv", "0" * 32, *options]
    return subprocess.run(command, input=text, capture_output=True, check=True).stdout.hex()


def start_opens(product: Product, content: bytes, arguments: str = "from the file") -> None:
    product.configuration.write_bytes(content)
    product.start("2")
    product.desktop.wait_for_consoles(1)
    assert product.console_arguments() == [arguments]


def start_ends(product: Product, content: bytes) -> str:
    """The agent refuses the content: the status in its log."""
    product.configuration.write_bytes(content)
    assert product.run("2") == 0
    assert product.opened_nothing()
    (line,) = product.log_lines("Initialize start mode config failed with ")
    assert "!!! <QxSessionAgent> : [ERROR] " in line
    return line.split("failed with ")[1].split(" - ")[0]


@pytest.mark.parametrize("what, error", [("file", 2), ("folder", 3), ("a folder of that name", 5)])
def test_without_the_file_there_is_no_start(product: Product, what: str, error: int) -> None:
    product.configuration.unlink()
    if what == "folder":
        shutil.rmtree(product.configuration.parent)
    elif error == 5:
        product.configuration.mkdir()
    assert product.run("2") == 0
    (opened,) = product.log_lines("failed to open file <")
    path = windows_path(product.configuration)
    assert " !!! <QxSessionAgent> QxCommon: [ERROR] failed to open file <" in opened
    assert f"<{path}>, error = {error} - " in opened
    (failed,) = product.log_lines("QxCommon::JsonDb::ParseFromFile failed with ")
    assert "failed with 0xe0ff0012 - " in failed


REFUSED = {
    "empty": b"",
    "blank": b" \r\n\t",
    "no JSON": b"start mode 2, please",
    "byte-order mark": b"\xef\xbb\xbf" + TEXT,
    "UTF-16": TEXT.decode().encode("utf-16"),
    "zero bytes": bytes(4096),
    "random bytes": bytes(range(256)) * 16,
    "an array": b'["startMode"]',
    "a number": b"2",
    "no startMode": b'{"StartMode": {}}',
    "only a bracket": b"{",
    "too deep": b"[" * 100000,
    "magic alone": b"QXJSONDB",
    "container of garbage": b"QXJSONDB" + b"5a" * 4096,
    "container of no digits": b"QXJSONDB" + TEXT,
}


@pytest.mark.parametrize("content", REFUSED.values(), ids=[name.replace(" ", "-") for name in REFUSED])
def test_a_file_without_start_modes_ends_the_start(product: Product, content: bytes) -> None:
    assert start_ends(product, content) == "0xe0ff0023"


def test_a_refused_configuration_is_shown_in_the_log(product: Product) -> None:
    assert start_ends(product, b'{"startmode": [1, "zwei"]}') == "0xe0ff0023"
    text = product.log_text()
    shown = text[text.index(": [ERROR] Invalid JSON config: ") :]
    assert '{\n   "startmode" : [ 1, "zwei" ]\n}\n - StartMode(' in shown.replace("\r\n", "\n")


ACCEPTED = {
    "comments": b"// one\n/* two */ " + TEXT.replace(b"{", b"{ // three\n", 1),
    "line ends": json.dumps({"startMode": ITEMS}, indent=1).replace("\n", "\r\n").encode(),
    "text behind it": TEXT + b" and more",
    "end of file mark": TEXT + b"\x1a}}}",
    "zero byte": TEXT + b"\0}}}",
    "missing brackets": TEXT[:-2],
    "comma too many": TEXT[:-1] + b",}",
    "unknown members": TEXT[:-1] + b', "other": [1, {"a": null}]}',
}


@pytest.mark.parametrize("content", ACCEPTED.values(), ids=[name.replace(" ", "-") for name in ACCEPTED])
def test_a_file_that_holds_the_item_is_good_enough(product: Product, content: bytes) -> None:
    start_opens(product, content)


def test_a_cut_off_file_gives_the_items_before_the_cut(product: Product) -> None:
    two = json.dumps({"startMode": {**ITEMS, "later": item("ShowQxUi", [2], sequence=2)}}).encode()
    start_opens(product, two[: two.index(b'"later"')])


def test_ten_megabytes_are_read(product: Product) -> None:
    other = {f"item{i:06}": item("ShowQxUi", [3], arguments="x" * 40) for i in range(90000)}
    content = json.dumps({"startMode": {**other, **ITEMS}}).encode()
    assert len(content) > 10_000_000
    product.write_log_settings(level=0x110)  # not a line for each of the items
    start_opens(product, content)


@pytest.mark.parametrize("levels, read", [(990, True), (1001, False)])
def test_nesting_has_a_limit_and_no_crash(product: Product, levels: int, read: bool) -> None:
    deep = b"[" * levels + b"]" * levels
    content = b'{"deep": ' + deep + b", " + TEXT[1:]
    if read:
        start_opens(product, content)
    else:
        assert start_ends(product, content) == "0xe0ff0023"


def test_the_shipped_file_starts_the_agent_as_a_container_too(product: Product) -> None:
    shipped = product.configuration.read_bytes()
    start_opens(product, b"QXJSONDB" + encipher(shipped, product_key()).encode(), arguments="")


@pytest.mark.parametrize("case", [str.lower, str.upper], ids=["lower", "upper"])
def test_a_container_made_by_openssl_is_read(product: Product, case: object) -> None:
    digits = encipher(TEXT, product_key())
    start_opens(product, b"QXJSONDB" + case(digits).encode())  # type: ignore[operator]


def test_a_container_may_end_in_an_odd_digit(product: Product) -> None:
    start_opens(product, b"QXJSONDB" + encipher(TEXT, product_key()).encode() + b"7")


def test_a_container_without_padding_keeps_its_last_block(product: Product) -> None:
    text = TEXT + b" " * (-len(TEXT) % 16)
    start_opens(product, b"QXJSONDB" + encipher(text, product_key(), "-nopad").encode())


def test_a_container_of_another_key_is_no_configuration(product: Product) -> None:
    assert start_ends(product, b"QXJSONDB" + encipher(TEXT, "00" * 16).encode()) == "0xe0ff0023"


def test_a_large_container_is_read(product: Product) -> None:
    content = b'{"filler": "' + b"x" * 3_000_000 + b'", ' + TEXT[1:]
    start_opens(product, b"QXJSONDB" + encipher(content, product_key()).encode())

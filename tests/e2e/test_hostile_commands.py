"""Commands that no service of good will sends: the agent answers or refuses each, says so, and goes on."""

from __future__ import annotations

import json
import random
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest

from desktop import windows_path
from host import HostService
from link_log import NOT_FOUND, SUCCESS, entries, error, info, signed, texts
from mail_driver import MailDriver
from product import Product

KEYS = [
    "modeId",
    "param",
    "nFeatureId",
    "popupId",
    "interval",
    "file",
    "action",
    "windowHandle",
    "showCmd",
    "trackId",
]
IDS = [1000, 1001, 1010, 1011, 1100, 1101, 2000, 3000]
RECEIVED = "Receive ID_DATA_PRODUCTADAPTER_COMM_JSON_STRING="


class Target:
    """A registered agent that has been sent nothing good yet."""

    def __init__(self, product: Product, folder: Path) -> None:
        self.product = product
        self.host = HostService(product)
        # No console is to open: it is the agent that is tested.
        (product.root / "win32" / "QxMainConsole_M.exe").unlink()
        self.process = product.start_running()
        self.host.wait_for_event(self.process.number, 18)
        self._file = folder / "command.json"

    def send(self, text: str | bytes) -> str:
        """Sends the text through a file, as it stands; the reply, empty if there is none."""
        self._file.write_bytes(text if isinstance(text, bytes) else text.encode())
        return self.host.qxctl("send", "--file", windows_path(self._file)).out.rstrip("\r\n")

    def reply(self, text: str) -> Any:
        return json.loads(self.send(text))

    def is_unharmed(self) -> None:
        good = {"JD_COMMAND_ID": 4711, "text": "good"}
        assert self.reply(json.dumps(good)) == {**good, "retCode": SUCCESS}
        assert self.process.running

    def lines(self, text: str) -> list[str]:
        return [line for line in texts(entries(self.product, self.process)) if text in line]


@pytest.fixture
def target(product: Product, tmp_path: Path) -> Iterator[Target]:
    hostile = Target(product, tmp_path)
    yield hostile
    hostile.is_unharmed()
    product.signal_exit()
    assert hostile.process.wait() == 0


def test_numbers_out_of_range_count_as_nothing(target: Target) -> None:
    for number in ["99999999999999999999999", "-99999999999999999999999", "1e999", "0x", "", " ", "12abc"]:
        reply = target.reply(json.dumps({"JD_COMMAND_ID": number}))
        assert reply == {"JD_COMMAND_ID": number, "retCode": SUCCESS}
        command = {"JD_COMMAND_ID": 1011, "interval": number}
        assert target.reply(json.dumps(command))["retCode"] == SUCCESS
        command = {"JD_COMMAND_ID": 1001, "modeId": number}
        assert target.reply(json.dumps(command))["retCode"] == signed(0xE0FE0002)
    for number in ["1e400", "-1e400", "1" + "0" * 400, "1.5", "18446744073709551616", "-9223372036854775809"]:
        target.send(f'{{"JD_COMMAND_ID":{number}}}')
        target.send(f'{{"JD_COMMAND_ID":1101,"file":"x","windowHandle":{number},"showCmd":{number}}}')
    assert target.process.running


def test_a_thousand_levels_are_read_and_one_more_is_refused(target: Target) -> None:
    depth = 1000 - 1  # the command is a level itself
    deep = target.send('{"JD_COMMAND_ID":4711,"a":' + "[" * depth + "]" * depth + "}")
    assert deep.startswith('{"JD_COMMAND_ID":4711,"a":[[[') and deep.endswith(f',"retCode":{SUCCESS}}}')
    for levels in (depth + 1, 100_000):
        target.send('{"JD_COMMAND_ID":3000,"a":' + "[" * levels + "]" * levels + "}")
        assert target.process.running
    as_param = '{"JD_COMMAND_ID":1000,"param":' + "[" * depth + "]" * depth + "}"
    assert target.send(as_param).endswith(f'"retCode":{signed(0xE0FE0002)}}}')


def test_megabytes_of_text_come_through(target: Target) -> None:
    text = "x" * 2_000_000
    assert target.reply(json.dumps({"JD_COMMAND_ID": 4711, "a": text}))["a"] == text
    assert target.reply(json.dumps({"JD_COMMAND_ID": 1101, "file": text}))["retCode"] == signed(NOT_FOUND)
    assert target.reply(json.dumps({"JD_COMMAND_ID": 1000, "param": text}))["retCode"] < 0
    assert target.reply(json.dumps({"JD_COMMAND_ID": text, text: 1}))["retCode"] == SUCCESS


def test_nuls_and_lone_surrogates_do_no_harm(target: Target) -> None:
    nuls, halves = ["\\u0000", "a\\u0000b"], ["\\ud800", "\\udc00", "\\ud800\\ud800", "\\udc00\\ud800x"]
    for piece in [*nuls, *halves, "\\uffff"]:
        for identity in IDS:
            if identity not in (1011, 1100):
                target.send(
                    f'{{"JD_COMMAND_ID":{identity},"file":"{piece}","action":"{piece}","param":"{piece}",'
                    f'"nFeatureId":"{piece}","{piece}":"{piece}"}}'
                )
        assert target.process.running
    assert target.reply('{"JD_COMMAND_ID":1101,"file":"C:\\\\\\u0000x"}')["retCode"] <= SUCCESS


def test_what_is_no_json_is_refused_and_logged(target: Target) -> None:
    cut_off = ['{"JD_COMMAND_ID":3000', '{"JD_COMMAND_ID":3000,}']
    for text in ["not JSON", *cut_off, "'", "{]", "\ufeff{}"]:
        assert target.reply(text) == {"JD_COMMAND_ID": None, "retCode": SUCCESS}
        assert target.lines(RECEIVED)[-1] == info(f"{RECEIVED}{text}")
    target.send("")
    target.send(b"\xff\xfe\xfd\x80")
    assert target.process.running


def test_roots_that_are_no_objects_are_answered_unchanged(target: Target) -> None:
    for text in ["[1,2]", "[]", '[{"JD_COMMAND_ID":3000}]']:
        assert target.reply(text) == json.loads(text)
    assert target.reply("{}") == {"JD_COMMAND_ID": None, "retCode": SUCCESS}


def test_wrong_types_under_every_key_read_as_nothing(target: Target, product: Product) -> None:
    values: list[object] = [None, True, False, -1, 1.5, "", "text", [], [1, [2]], {}, {"a": {"b": 1}}]
    with MailDriver(product) as driver:
        for identity in IDS:
            for value in values:
                command = {"JD_COMMAND_ID": identity, **{key: value for key in KEYS if key != "file"}}
                command["file"] = value if value not in ("text",) else "Z:\\nothing"
                answer = driver.send(json.dumps(command))
                reply = json.loads(answer["reply"])
                assert reply["retCode"] == answer["status"], command
                if identity != 2000:
                    assert {key: reply[key] for key in KEYS} == {key: command[key] for key in KEYS}
        for value in values:
            answer = driver.send(json.dumps({"JD_COMMAND_ID": value}))
            assert json.loads(answer["reply"]) == {"JD_COMMAND_ID": value, "retCode": SUCCESS}
    missing = error("Fail to execute, file = ", "")
    assert missing in target.lines("Fail to execute")


# At random


def any_value(source: random.Random, depth: int = 0) -> object:
    kind = source.randrange(9 if depth < 4 else 7)
    if kind == 0:
        return source.choice([None, True, False])
    if kind == 1:
        edges = [0, 1, -1, 2**31, 2**32, 2**63, 2**64, -(2**63)]
        return source.choice([*edges, source.randrange(-(10**20), 10**20)])
    if kind == 2:
        return source.choice([0.1, -1e300, 1e-300, source.uniform(-1e12, 1e12)])
    if kind <= 4:
        letters = '"\\/\x00\x01\n\t {}[]%*?<>|:\u00fc\u4e1c\ud83d\ude00\ud800\udfff' + "ax0"
        return "".join(source.choice(letters) for _ in range(source.randrange(source.choice([2, 10, 300]))))
    if kind <= 6:
        return str(source.choice([source.randrange(10**30), "0x7fffffff", "-2147483649", "1e5"]))
    if kind == 7:
        return [any_value(source, depth + 1) for _ in range(source.randrange(5))]
    return {str(any_value(source, 9)): any_value(source, depth + 1) for _ in range(source.randrange(5))}


def any_command(source: random.Random) -> str:
    command: dict[str, object] = {"JD_COMMAND_ID": source.choice([*IDS, any_value(source)])}
    for key in source.sample(KEYS, source.randrange(len(KEYS))):
        command[key] = any_value(source)
    if isinstance(command.get("file"), str):
        command["file"] = "Z:\\no folder\\" + str(command["file"])  # nothing that exists is to start
    if "interval" in command:
        command["interval"] = source.choice([60, 4294967, "60", -1.5e9])
    text = json.dumps(command)
    if source.randrange(4) == 0:
        cut = source.randrange(len(text))
        text = text[:cut] + source.choice(["", '"', "}", "\\", "\\ud800", "[" * 2000]) + text[cut + 1 :]
    return text


def test_two_hundred_commands_at_random(target: Target, product: Product) -> None:
    seed = random.SystemRandom().randrange(1 << 32)
    print(f"seed {seed}")
    source = random.Random(seed)
    with MailDriver(product) as driver:
        for number in range(200):
            command = any_command(source)
            answer = driver.send(command)
            assert answer["processId"] == target.process.number, (seed, number, command)
            assert target.process.running, (seed, number, command)

"""The command line of the dev kit, against a real service and a real agent."""

from __future__ import annotations

import json
import os
import shutil
import subprocess
from collections.abc import Iterator
from pathlib import Path

import pytest

from desktop import wait_until
from host import HostService, Json
from product import Product, exit_event

OWN_SERVICES = True

EVENT_CENTER, EVENT_MAIL = 5, 0x1802
INPUT_MAIL = 0x10060
STARTED = 18
NETWORK_MADE = 23


@pytest.fixture
def installed(product: Product) -> Iterator[HostService]:
    service = HostService(product)
    service.install()
    yield service
    product.end()
    service.uninstall()


@pytest.fixture
def service(installed: HostService) -> HostService:
    installed.start()
    return installed


class Watch:
    """`qxctl watch`, running."""

    def __init__(self, product: Product, notes: Path, *arguments: str) -> None:
        self._notes = notes
        self._process = subprocess.Popen(
            ["wine", f"{product.windows_root}\\win32\\qxctl.exe", "watch", *arguments],
            env=product.desktop.environment,
            stdout=subprocess.PIPE,
            stderr=notes.open("wb"),
        )
        self.wait_for_note("watching Melvio Host Service")

    def wait_for_note(self, text: str) -> None:
        wait_until(lambda: text in self._notes.read_text("utf-8"), f"<{text}> from qxctl watch")

    def end(self) -> tuple[int, list[Json]]:
        out, _ = self._process.communicate(timeout=90)
        return self._process.returncode, [json.loads(line) for line in out.decode("utf-8").splitlines()]


def test_status_tells_of_a_service_that_is_not_there(product: Product) -> None:
    absent = HostService(product).qxctl("status")
    assert (absent.code, absent.out) == (3, "")
    assert absent.err == "qxctl: Melvio Host Service is not installed; install it with QxSvcHost --install\n"


def test_status_tells_of_a_service_that_is_stopped(installed: HostService) -> None:
    stopped = installed.qxctl("status", "--json")
    assert stopped.code == 3
    assert json.loads(stopped.out)["service"] == {"name": "Melvio Host Service", "state": "stopped"}
    assert "Melvio Host Service is stopped" in stopped.err


def test_status_tells_of_a_service_that_was_killed(service: HostService) -> None:
    service.kill()
    killed = service.qxctl("status")
    assert killed.code == 3
    assert killed.err.startswith("qxctl: Melvio Host Service ")


def test_status_lists_the_registered_agent(product: Product, service: HostService) -> None:
    agent = product.start_running()
    (client,) = service.wait_for_clients()
    assert client["processId"] == agent.number
    lines = service.status_text().splitlines()
    assert lines[0] == "Service  Melvio Host Service, running"
    assert lines[2] == "Clients  1"
    assert lines[4].split() == ["PROCESS", "SESSION", "NAME", "REGISTERED", "MAILS"]
    assert lines[5].split()[0] == str(agent.number)


def test_product_decides_whose_service_it_is(product: Product, service: HostService) -> None:
    other = HostService(product, "_B")
    refused = other.qxctl("status")
    assert refused.code == 3
    assert "Brisketta Host Service is not installed" in refused.err
    assert service.status()["service"]["product"] == "Melvio"
    assert service.status()["service"]["state"] == "running"


def test_send_prints_the_reply_and_fails_with_it(product: Product, service: HostService) -> None:
    product.start_running()
    service.wait_for_clients()
    opened = service.qxctl("send", '{"JD_COMMAND_ID": 1001, "modeId": 100}')
    assert opened.code == 0, opened.err
    assert json.loads(opened.out)["modeId"] == 100
    product.desktop.wait_for_consoles(1)
    unknown = service.qxctl("send", '{"JD_COMMAND_ID": 99999, "text": "a\\"b c\\\\ *"}')
    assert json.loads(unknown.out)["text"] == 'a"b c\\ *'
    assert (unknown.code == 0) == (json.loads(unknown.out)["retCode"] >= 0)


def test_send_takes_a_file_and_any_text(product: Product, service: HostService, tmp_path: Path) -> None:
    product.start_running()
    service.wait_for_clients()
    (tmp_path / "command.json").write_text('{"JD_COMMAND_ID": 1001, "modeId": 101}\n')
    windows = "Z:" + str(tmp_path / "command.json").replace("/", "\\")
    assert service.qxctl("send", "--file", windows).code == 0
    assert "retCode" in service.send("no JSON")
    assert len(service.clients()) == 1


def test_send_needs_a_client(service: HostService) -> None:
    assert service.qxctl("send", "{}").code == 1
    nobody = service.qxctl("send", "{}", "--pid", "4")
    assert (nobody.code, nobody.out) == (1, "")
    assert "no client of process 4" in nobody.err


def test_watch_prints_the_events_of_a_start(product: Product, service: HostService, tmp_path: Path) -> None:
    watch = Watch(product, tmp_path / "notes", "--timeout", "8")
    agent = product.start_running()
    code, records = watch.end()
    assert code == 0
    assert {record["kind"] for record in records} == {"event", "mail"}
    events = [record for record in records if record["kind"] == "event"]
    assert events and all(record["processId"] == agent.number for record in events)
    assert (events[0]["pluginId"], events[0]["mailId"]) == (EVENT_CENTER, EVENT_MAIL)
    assert events[0]["time"] and events[0]["event"]
    assert STARTED in [record["request"]["eventId"] for record in events]


def test_watch_waits_for_a_mail_beyond_the_command_for_it(
    product: Product, service: HostService, tmp_path: Path
) -> None:
    agent = product.start_running()
    service.wait_for_event(agent.number, NETWORK_MADE)  # the last event of a start
    service.wait_for_records(agent.number, "mail")  # the last one by itself, for the service's handle
    mail = Watch(product, tmp_path / "notes", "--count", "1", "--timeout", "60")
    everything = Watch(product, tmp_path / "more notes", "--everything", "--count", "1", "--timeout", "60")
    assert service.send({"JD_COMMAND_ID": 1100, "interval": 1})["retCode"] > 0
    code, (first,) = mail.end()
    assert (code, first["kind"], first["mailId"]) == (0, "mail", INPUT_MAIL)
    code, (first,) = everything.end()
    assert (code, first["kind"]) == (0, "command")


def test_watch_goes_on_with_the_next_service(
    product: Product, service: HostService, tmp_path: Path
) -> None:
    watch = Watch(product, tmp_path / "notes", "--count", "1", "--timeout", "60")
    service.kill()
    watch.wait_for_note("the service is gone")
    service.start()
    watch.wait_for_note("the service is back")
    product.start_running()
    code, records = watch.end()
    assert (code, len(records)) == (0, 1)


def test_watch_fails_without_its_count(service: HostService) -> None:
    assert service.qxctl("watch", "--count", "1", "--timeout", "1").code == 4
    assert service.qxctl("watch", "--timeout", "0").code == 0


def test_answer_sets_what_the_agent_gets(product: Product, service: HostService) -> None:
    service.answer(EVENT_CENTER, EVENT_MAIL, "--result", "0xE0FF000E", "--times", "1")
    agent = product.start_running()
    assert product.wait_for_log("executing command failed, err=-520159218", agent)
    assert service.qxctl("answer", "--reset").out == "Every answer is as usual.\n"


def test_mail_reaches_a_plug_in(service: HostService) -> None:
    event = service.qxctl("mail", "--plugin", "5", "--mail", "0x1802", '{"eventId": 18}')
    assert (event.code, event.out, event.err) == (0, "{}\n", "")
    (record,) = service.journal()
    assert (record["kind"], record["event"]) == ("event", "StartFinished")
    unknown = service.qxctl("mail", "--plugin", "0x123456", "--mail", "1")
    assert (unknown.code, unknown.out) == (1, "")
    assert unknown.err == "qxctl: refused: 0xe0ff000e, not found\n"


def test_mail_reaches_a_plug_in_of_ones_own(product: Product, installed: HostService) -> None:
    plugins = product.root / "win32/plugins"
    plugins.mkdir()
    shutil.copy(os.environ["QX_SAMPLE_PLUGIN"], plugins)
    installed.start()
    greeted = installed.qxctl("mail", "--plugin", "0x4E0100", "--mail", "1")
    assert greeted.code == 0, greeted.err
    assert json.loads(greeted.out)["greeting"].startswith("Hello, process ")


def test_exit_ends_the_agent(product: Product, service: HostService) -> None:
    nobody = service.qxctl("exit")
    assert nobody.code == 1
    assert "there is no exit event of Melvio" in nobody.err
    agent = product.start_running()
    probe = product.desktop.probe
    wait_until(lambda: probe.ask("query", kind="event", name=exit_event())["error"] == "0", "the exit event")
    assert service.qxctl("exit").code == 0
    assert agent.wait() == 0


def test_the_command_line_is_explained_and_checked(product: Product) -> None:
    qxctl = HostService(product).qxctl
    assert "Exit codes" in qxctl("--help").out
    assert "--plugin N" in qxctl("answer", "--help").out
    for wrong in (["stats"], ["status", "--count", "1"], ["answer", "--plugin", "1", "--mail", "1", "--json", "{"]):
        finished = qxctl(*wrong)
        assert (finished.code, finished.out) == (2, "")
        assert finished.err.count("\n") == 1

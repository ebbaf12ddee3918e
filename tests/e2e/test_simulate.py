"""Changes of session, network and power that nobody made: `qxctl simulate` against a running agent, as its
service hears of them."""

from __future__ import annotations

import json
from collections.abc import Iterator

import pytest

from desktop import Process
from host import Finished, HostService, Json
from link_log import SUCCESS
from product import Product


class Simulation:
    """A registered agent, and what its service hears once it has started."""

    def __init__(self, product: Product) -> None:
        self.product = product
        self.host = HostService(product)
        self.process: Process = product.start_running()
        self.host.wait_for_event(self.process.number, 23)
        self._known = len(self._requests())

    def simulate(self, *words: str) -> Finished:
        return self.host.qxctl("simulate", *words)

    def change(self, *words: str) -> None:
        finished = self.simulate(*words)
        told = f"Process {self.process.number} was told: {' '.join(words)}\n"
        assert finished == Finished(0, told, "")

    def heard(self) -> list[Json]:
        """The requests since the last time, without the session's number."""
        requests = self._requests()
        new, self._known = requests[self._known :], len(requests)
        return [{k: v for k, v in request.items() if k != "winSessionId"} for request in new]

    def _requests(self) -> list[Json]:
        return [json.loads(record["request"]) for record in self.host.records(self.process.number, "event")]


@pytest.fixture
def simulation(product: Product) -> Iterator[Simulation]:
    simulation = Simulation(product)
    yield simulation
    simulation.host.qxctl("answer", "--reset")


def test_each_change_of_the_session_is_met(simulation: Simulation) -> None:
    for leave, event, come in (
        ("lock", 17, "unlock"),
        ("console-disconnect", 17, "console-connect"),
        ("remote-disconnect", 17, "remote-connect"),
        ("logoff", 1, "unlock"),
    ):
        simulation.change(leave)
        assert simulation.heard() == [{"eventId": event}], leave
        assert simulation.host.clients() == [], leave
        simulation.change(come)
        assert simulation.heard() == [{"eventId": 16}], come
        assert len(simulation.host.clients()) == 1, come
    simulation.change("logon")
    assert simulation.heard() == []
    states = simulation.product.log_lines("Session Changed... SessionState: ", simulation.process)
    told = [line.split("SessionState: ")[1].split(",")[0] for line in states]
    assert told == ["7", "8", "2", "1", "4", "3", "6", "8", "5"]
    (event, *_) = simulation.host.records(simulation.process.number, "event")
    assert all(f"SessionId: {event['sessionId']} - " in line for line in states)


def test_a_locked_session_keeps_neither_its_link_nor_its_reports(simulation: Simulation) -> None:
    def arm() -> int:
        assert simulation.host.send({"JD_COMMAND_ID": 1100, "interval": 1000})["retCode"] == SUCCESS
        return len(simulation.product.log_lines("Set timer for ", simulation.process))

    assert (arm(), arm()) == (1, 1)
    simulation.change("lock")
    simulation.change("network-lost")
    assert simulation.host.qxctl("send", "{}").code == 1
    assert simulation.heard() == [{"eventId": 17}]
    simulation.change("unlock")
    assert arm() == 2


def test_the_network_has_a_type(simulation: Simulation) -> None:
    simulation.change("network-made")
    simulation.change("network-made", "2")
    simulation.change("network-lost", "0xFFFFFFFF")
    expected = [{"eventId": 23, "type": 1}, {"eventId": 23, "type": 2}, {"eventId": 24, "type": 0xFFFFFFFF}]
    assert simulation.heard() == expected


def test_each_power_setting_is_told_from_its_second_notice_on(simulation: Simulation) -> None:
    schemes = (["scheme", "power-saver"], ["scheme", "{8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c}"])
    changes = (
        (["power-source", "battery"], ["power-source", "mains"], 2),
        (["battery", "35"], ["battery", "34"], 3),
        (*schemes, 4),
    )
    for first, second, kind in changes:
        simulation.change(*first)
        assert simulation.heard() == [], "the state at the start"
        simulation.change(*second)
        assert simulation.heard() == [{"eventId": 0x8000, "eventType": kind}]
    simulation.change("resume")
    assert simulation.heard() == [{"eventId": 0x8000, "eventType": 5}]
    lines = simulation.product.log_lines("SERVICE_CONTROL_POWEREVENT triggered, EventType = ")
    assert len(lines) == 4


def test_an_agent_that_waits_for_its_service_is_given_time(simulation: Simulation) -> None:
    simulation.host.answer(5, 0x1802, "--delay", "4000", "--times", "2")
    late = simulation.simulate("network-lost", "--timeout", "1")
    assert (late.code, late.out) == (4, "")
    assert late.err.startswith(f"qxctl: the agent, process {simulation.process.number}, did not answer in time")
    simulation.change("network-made")
    assert [request["eventId"] for request in simulation.heard()] == [24, 23]


def test_programs_get_json(simulation: Simulation) -> None:
    finished = simulation.simulate("network-made", "--json", "--pid", str(simulation.process.number))
    assert finished.code == 0, finished.err
    assert json.loads(finished.out) == {"change": "network-made", "processId": simulation.process.number}


def test_there_has_to_be_an_agent_of_the_product(simulation: Simulation) -> None:
    nobody = HostService(simulation.product, "_B").qxctl("simulate", "lock")
    assert nobody == Finished(3, "", "qxctl: no agent of Brisketta is running\n")
    stranger = simulation.simulate("lock", "--pid", "4")
    assert (stranger.code, stranger.out) == (1, "")
    assert "process 4 is no agent of Melvio in this session" in stranger.err
    assert simulation.heard() == []


def test_what_is_no_change_is_refused_in_one_line(product: Product) -> None:
    for words, error in (
        ([], "simulate needs a change, such as lock"),
        (["lok"], "unknown change lok"),
        (["lock", "1"], "lock takes no value"),
        (["battery"], "battery needs a value: PERCENT"),
        (["battery", "101"], 'battery: "101" is not a percentage, 0 to 100'),
        (["scheme", "{8c5e7fda}"], 'scheme: "{8c5e7fda}" is not power-saver, balanced, high-performance or a GUID'),
    ):
        finished = HostService(product).qxctl("simulate", *words)
        assert finished == Finished(2, "", f"qxctl: {error}; see qxctl --help\n")

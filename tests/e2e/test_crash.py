"""The road of a crash: an engine faults, the agent leaves a dump, and the watchdog brings the next agent. Again
and again, as often as QX_CRASHES says."""

from __future__ import annotations

import os
import random
import threading
from collections.abc import Iterator

import pytest

from crash import ACCESS_VIOLATION, END_LIMIT, CrashScene, read_dump
from desktop import Process, wait_until
from family import Family, bring_up
from host import HostService
from link_log import SUCCESS
from product import Product
from tray import Tray

OWN_SERVICES = True

ROUNDS = int(os.environ.get("QX_CRASHES", "3"))
KEPT = 3
STARTED = "The agent is started in mode 5. - "
CONSOLE = {"JD_COMMAND_ID": 1001, "modeId": 7}


@pytest.fixture
def scene(product: Product) -> CrashScene:
    return CrashScene(product)


@pytest.fixture
def family(scene: CrashScene) -> Iterator[Family]:
    """Under a watchdog that never gives up, and starts no consoles: hundreds are more than the display takes."""
    with bring_up(scene.product, "--crash-limit 0", mode=5) as family:
        yield family


def agent_of(family: Family) -> Process:
    agent = Process(family.product.desktop.probe, family.agent())
    assert agent.running
    return agent


def test_a_crashed_agent_leaves_a_dump_and_is_back(family: Family, scene: CrashScene) -> None:
    product, tray = family.product, Tray(family.product)
    tray.desktop.move_pointer(300, 300)
    idle = tray.idle_picture()
    wait_until(lambda: tray.pixels() == idle, "the tray icon")
    crashed = agent_of(family)

    scene.order_fault(fault="write")
    assert crashed.wait(END_LIMIT) == 1
    dump = scene.the_dump()
    path = f"{scene.windows_folder}\\{dump.name}"
    found = scene.main_log(crashed)
    assert [entry.text for entry in found][:4] == [
        ": [ERROR]  [Crash] start to write dump by Crash Handler request.",
        f": [INFO] Crash dump generation succeed at path: {path}",
        ": [INFO] Fault Module Name: Quenta.dll",
        ": [INFO] Fault Module Version0.0.0.0",
    ]
    assert found[4].text == ": [INFO] Exception Code: c0000005"
    assert found[5].text.startswith(": [INFO] Exception Offset: 0000000000")
    assert [entry.text for entry in found][6:] == [": [INFO] Set crash event..."]
    (event,) = scene.channel_lines("Event", crashed)
    assert " <Event> :  Crash catched! - CrashFilter(" in event
    fault = read_dump(dump)
    assert (fault.code, fault.thread) == (ACCESS_VIOLATION, found[0].thread)
    assert fault.thread in fault.threads

    family.wait_for_agent(crashed.number)
    family.wait_to_be_told("The agent has crashed; it is started again in 1 s. - ")
    family.wait_to_be_told(STARTED, 2)
    wait_until(lambda: tray.pixels() == idle, "the tray icon of the new agent")
    assert family.service.send(CONSOLE)["retCode"] == SUCCESS
    product.desktop.wait_for_consoles(1)
    assert product.dumps() == [dump]


class Load:
    """Commands for the agent, one after the other, whatever becomes of them."""

    def __init__(self, service: HostService) -> None:
        self._service = service
        self._end = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def __enter__(self) -> Load:
        self._thread.start()
        return self

    def __exit__(self, *_: object) -> None:
        self._end.set()
        self._thread.join()

    def _run(self) -> None:
        while not self._end.is_set():
            self._service.qxctl("send", '{"JD_COMMAND_ID": 3000}', "--timeout", "2")


def crash(family: Family, scene: CrashScene, agent: Process, dice: random.Random) -> None:
    """In one way or another, at a moment that nobody has chosen."""
    dice.choice(
        [
            lambda: scene.inject(agent),
            lambda: scene.order_fault(fault=dice.choice(["read", "execute", "overflow", "illegal"])),
            lambda: scene.order_fault(fault="throw", where="thread", threads=dice.randrange(1, 9)),
            lambda: derail_main(family, scene),
        ]
    )()


def derail_main(family: Family, scene: CrashScene) -> None:
    frame = family.product.frame()
    scene.derail(frame.thread)
    frame.post(0)


def test_a_series_of_crashes_loses_no_dump_and_no_agent(family: Family, scene: CrashScene) -> None:
    dice = random.Random(4711)
    kept: list[str] = []
    with Load(family.service):
        for crashes in range(1, ROUNDS + 1):
            agent = agent_of(family)
            crash(family, scene, agent, dice)
            assert agent.wait(END_LIMIT) == 1, f"crash {crashes}"
            dumps = [path.name for path in family.product.dumps()]
            assert dumps[:-1] == kept and dumps[-1] not in kept, f"crash {crashes}"
            assert read_dump(family.product.dumps()[-1]).thread != 0
            following = family.wait_for_agent(agent.number, END_LIMIT)
            assert following != agent.number
            kept = dumps[-KEPT:]
            wait_until(lambda: [path.name for path in family.product.dumps()] == kept, "the retention")
    assert family.service.send(CONSOLE)["retCode"] == SUCCESS
    family.wait_to_be_told(STARTED, ROUNDS + 1)

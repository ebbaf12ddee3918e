"""Each way in which an engine makes the agent die, and each thread of the agent that dies of a fault from
outside: one dump, the watchdog's signal, and the process ends with 1."""

from __future__ import annotations

from collections.abc import Callable, Iterator

import pytest

from crash import ACCESS_VIOLATION, END_LIMIT, NOWHERE, CrashScene, WatchdogSignal, read_dump, remove
from desktop import wait_until
from host import HostService
from product import LOG_EVERYTHING, Product, ProductPath

WRITING = ": [ERROR]  [Crash] start to write dump by Crash Handler request."
WATCH = "==> CVzRpcClientHelper::ReconnectProc"
SPLASH = "NorvaneSoftMelvio uiDeskTray.exe splash"
SPLASH_END = "Global\\GLOBAL_EVENT_SPLASH_NOTIFYMelvio"
BY_ABORT = 0x40000015
REGISTER, UNREGISTER = 0x2052, 0x2053
PROMPT = 10.0  # seconds for an end without a dump


class Death(CrashScene):
    """A registered agent without a watchdog, but with the watchdog's event."""

    def __init__(self, product: Product, mode: str, registered: bool) -> None:
        super().__init__(product)
        self.signal = WatchdogSignal(product)
        self.agent = product.start(mode)
        if registered:
            self.host.wait_for_event(self.agent.number, 18)

    def assert_handled(self, code: int = ACCESS_VIOLATION) -> int:
        """The agent has died of that, and one thread has handled it. That thread."""
        assert self.agent.wait(END_LIMIT) == 1
        assert self.signal.is_set()
        assert self.logged_code(self.agent) == code
        found = self.main_log(self.agent)
        assert found[0].text == WRITING
        assert found[-1].text == ": [INFO] Set crash event..."
        assert [entry.text for entry in found].count(WRITING) == 1
        assert self.channel_lines("Event", self.agent)
        (thread,) = {entry.thread for entry in found}
        return thread

    def assert_dumped(self, code: int = ACCESS_VIOLATION) -> int:
        """The same, and it has left one dump of it."""
        thread = self.assert_handled(code)
        fault = read_dump(self.the_dump())
        assert (fault.code, fault.thread) == (code, thread), hex(fault.code)
        assert thread in fault.threads
        return thread

    def thread_of(self, line: str) -> int:
        """That writes the line."""
        lines = self.product.wait_for_log(line, self.agent)
        return int(lines[-1].split()[2].split(":")[1], 16)


Start = Callable[..., Death]


@pytest.fixture
def start(product: Product) -> Iterator[Start]:
    started: list[Death] = []

    def begin(mode: str = "2", registered: bool = True) -> Death:
        started.append(Death(product, mode, registered))
        return started[-1]

    yield begin
    for death in started:
        death.signal.close()
        remove(death.folder)


@pytest.fixture
def dumping(start: Start) -> Death:
    return start()


@pytest.fixture
def death(start: Start) -> Death:
    """Where no dump can be written, which takes most of the time."""
    death = start()
    death.forbid_dumps()
    return death


@pytest.mark.parametrize(
    ("fault", "where", "code"),
    [
        ("read", "command", ACCESS_VIOLATION),
        ("write", "thread", ACCESS_VIOLATION),
        ("execute", "command", ACCESS_VIOLATION),
        ("overflow", "command", 0xC00000FD),
        ("overflow", "thread", 0xC00000FD),
        ("divide", "thread", 0xC0000094),
        ("illegal", "command", 0xC000001D),
        ("throw", "thread", BY_ABORT),
        ("abort", "command", BY_ABORT),
        ("pure-call", "thread", BY_ABORT),
        ("raise", "command", 0xE0000042),
    ],
)
def test_an_engine_that_faults_ends_the_agent(death: Death, fault: str, where: str, code: int) -> None:
    death.order_fault(fault=fault, where=where)
    death.assert_handled(code)


def test_an_exception_in_a_command_is_no_crash(death: Death) -> None:
    death.order_fault(fault="throw")
    assert death.host.send({"JD_COMMAND_ID": 3000})["retCode"] >= 0
    assert death.agent.running and not death.signal.is_set()


def test_an_overflowed_stack_leaves_a_dump(dumping: Death) -> None:
    dumping.order_fault(fault="overflow", where="thread")
    dumping.assert_dumped(0xC00000FD)


@pytest.mark.parametrize(("fault", "code"), [("write", ACCESS_VIOLATION), ("throw", BY_ABORT)])
def test_eight_threads_that_fault_at_once_leave_one_dump(dumping: Death, fault: str, code: int) -> None:
    dumping.order_fault(fault=fault, where="thread", threads=8)
    dumping.assert_dumped(code)
    assert 1 <= len(dumping.channel_lines("Event", dumping.agent)) <= 8


@pytest.mark.parametrize("threads", [2, 4, 8])
def test_threads_that_fault_at_once_are_handled_once(death: Death, threads: int) -> None:
    death.order_fault(fault="read", where="thread", threads=threads)
    death.assert_handled()


def test_a_crash_behind_the_end_of_the_log_leaves_no_dump_and_tells_the_watchdog(dumping: Death) -> None:
    death = dumping
    death.order_fault(fault="write", where="end")
    assert death.agent.running
    death.product.signal_exit()
    assert death.agent.wait(PROMPT) == 1
    assert death.signal.is_set()
    assert death.product.dumps() == []
    (line,) = death.channel_lines("Event", death.agent)
    assert " <Event> :  Crash catched! - CrashFilter(" in line
    assert death.main_log(death.agent) == []


def test_threads_that_fault_at_their_begin_leave_one_dump(dumping: Death) -> None:
    injected = [dumping.inject(dumping.agent) for _ in range(4)]
    assert dumping.assert_dumped() in injected
    assert read_dump(dumping.the_dump()).address == NOWHERE


def test_the_main_thread_faults(death: Death) -> None:
    frame = death.product.frame()
    death.derail(frame.thread)
    frame.post(0)
    assert death.assert_handled() == frame.thread


def test_the_thread_that_waits_for_the_exit_faults(death: Death) -> None:
    main = death.product.frame().thread
    for thread in death.agent.threads():
        if thread != main:
            death.derail(thread)
    death.product.signal_exit()
    assert death.assert_handled() != main


def test_the_thread_that_watches_the_service_faults(death: Death) -> None:
    wait_until(lambda: death.product.log_text().count("after invoking ParseJsonString, ret=0") == 3, "the watch")
    watch = death.thread_of(WATCH)
    death.derail(watch)
    death.host.kill()
    assert death.assert_handled() == watch
    death.host.start()


def test_a_thread_that_takes_commands_faults(death: Death) -> None:
    main, watch = death.product.frame().thread, death.thread_of(WATCH)
    for thread in death.agent.threads():
        if thread not in (main, watch):
            death.derail(thread)
    death.host.qxctl("send", '{"JD_COMMAND_ID": 3000}', limit=END_LIMIT)
    assert death.assert_handled() not in (main, watch)


def test_the_thread_of_the_splash_faults(start: Callable[..., Death]) -> None:
    death = start("3")
    death.forbid_dumps()
    desktop = death.product.desktop
    (splash,) = wait_until(lambda: [w for w in desktop.windows() if w.property(SPLASH) == 1], "the splash")
    death.derail(splash.thread)
    splash.post(0)
    assert death.assert_handled() == splash.thread


def test_the_thread_of_the_start_mode_faults(start: Callable[..., Death]) -> None:
    death = start("3")
    death.forbid_dumps()
    desktop = death.product.desktop
    (splash,) = wait_until(lambda: [w for w in desktop.windows() if w.property(SPLASH) == 1], "the splash")
    wait_until(lambda: desktop.probe.ask("query", kind="event", name=SPLASH_END)["error"] == "0", "its event")
    others = (death.product.frame().thread, death.thread_of(WATCH), splash.thread)
    for thread in death.agent.threads():
        if thread not in others:
            death.derail(thread)
    assert death.agent.running
    # Nobody else waits for this.
    assert desktop.probe.ask("setEvent", name=SPLASH_END)["error"] == "0"
    assert death.assert_handled() not in others


def test_a_crash_before_the_service_has_answered_is_handled(start: Start, product: Product) -> None:
    HostService(product).answer(0, REGISTER, "--delay", "5000", "--times", "1")
    death = start(registered=False)
    product.wait_for_log("==> CVzRpcClientHelper::RegisterProcess", death.agent)
    death.forbid_dumps()
    death.inject(death.agent)
    death.assert_handled()
    assert not death.product.log_lines("Create thread for waiting exit event...", death.agent)


def test_a_crash_while_the_agent_ends_is_handled(death: Death) -> None:
    death.host.answer(0, UNREGISTER, "--delay", "5000", "--times", "1")
    death.product.signal_exit()
    death.product.wait_for_log("==> CVzRpcClientHelper::UnregisterProcess", death.agent)
    death.inject(death.agent)
    death.assert_handled()


def test_all_threads_fault_at_once(death: Death) -> None:
    probe, frame = death.product.desktop.probe, death.product.frame()
    probe.request("suspend", process=death.agent.number)
    for thread in death.agent.threads():
        death.derail(thread)
    probe.request("resume", process=death.agent.number)
    frame.post(0)
    death.product.signal_exit()
    death.assert_handled()


def test_lines_that_the_log_gathers_are_written_before_the_end(start: Start, product: Product) -> None:
    product.write_log_settings(LOG_EVERYTHING, robust=0)
    death = start()
    death.forbid_dumps()
    death.inject(death.agent)
    death.assert_handled()


def test_the_channels_speak_although_the_log_is_off(product: Product, product_path: ProductPath) -> None:
    product.write_log_settings(level=0, enable=0)
    product_path.set(product.windows_root)
    scene, agent = CrashScene(product), product.start("2")
    scene.host.wait_for_event(agent.number, 18)
    scene.forbid_dumps()
    scene.inject(agent)
    assert agent.wait(END_LIMIT) == 1
    remove(scene.folder)
    lines = [line.split(" - ")[0] for line in product.all_log_lines()]
    assert [line.split(" ??? ")[1] for line in lines] == [
        "<Event> :  Crash catched!",
        "<FeedbackError> [Crash]:  QxSessionAgent",
    ]

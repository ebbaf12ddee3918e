"""What a sequence of changes is to leave behind: told by the tables of session, network and power alone."""

from __future__ import annotations

from dataclasses import dataclass, field
from random import Random
from typing import NamedTuple

Event = dict[str, int]

_CONNECTS = (1, 3, 8)
_LEAVES = {2: 17, 4: 17, 6: 1, 7: 17}
_NETWORK_EVENTS = {0x430: 23, 0x431: 23, 0x432: 24}
_SETTING_EVENTS = {0: 2, 1: 3, 2: 4}  # source, battery, scheme; nobody knows any other
_REPORTS = {1011: "Active Window Agent", 1100: "Input Info Agent"}
RESUME = 7

# What stands for a status in the expected lines.
NO_CLIENT = "<no client>"
LINK_FAILED = "<failed>"


class Step(NamedTuple):
    what: str  # "session", "network", "power", "setting", "command"; the service's "death", "birth"
    values: tuple[int, ...] = ()

    def __str__(self) -> str:
        return " ".join([self.what, *(f"{value:#x}" for value in self.values)])


@dataclass
class Expected:
    """What one step is to leave behind."""

    records: list[tuple[str, Event]] = field(default_factory=list)  # of the service's journal
    lines: list[str] = field(default_factory=list)  # of the agent's log, behind the head
    optional: str = ""  # a line that may be there or not
    answered: bool | None = None  # whether the agent answers the command; None: there was none


@dataclass
class Model:
    """The agent and its service between two steps."""

    session: int  # in the events
    service: bool = True
    client: bool = True
    registered: bool = True  # with the service that runs, or with the next one as soon as it does
    reports: set[int] = field(default_factory=set)
    seen: set[int] = field(default_factory=set)  # the settings whose first notice has come

    def after(self, step: Step) -> Expected:
        expected: Expected = getattr(self, f"_{step.what}")(*step.values)
        return expected

    def _session(self, state: int, session: int) -> Expected:
        expected = Expected(lines=[info(f"Session Changed... SessionState: {state}, SessionId: {session}")])
        if state in _CONNECTS:
            self._register(expected)
            self._tell_session(16, expected)
        elif state in _LEAVES:
            self._tell_session(_LEAVES[state], expected)
            self.reports.clear()
            self._unregister(expected)
        return expected

    def _network(self, message: int, kind: int) -> Expected:
        expected = Expected()
        self._tell({"eventId": _NETWORK_EVENTS[message], "type": kind}, expected)
        return expected

    def _power(self, code: int) -> Expected:
        expected = Expected()
        if code == RESUME:
            self._register(expected)
            self._tell_power(5, expected)
        return expected

    def _setting(self, setting: int) -> Expected:
        expected = Expected()
        if setting in self.seen:
            self._tell_power(_SETTING_EVENTS[setting], expected)
        elif setting in _SETTING_EVENTS:
            self.seen.add(setting)
        return expected

    def _command(self, command: int) -> Expected:
        expected = Expected(answered=self.service and self.registered)
        if expected.answered and command in _REPORTS and command not in self.reports:
            self.reports.add(command)
            expected.lines.append(info(f"Set timer for {_REPORTS[command]}..."))
        return expected

    def _death(self) -> Expected:
        self.service = False
        return Expected()

    def _birth(self) -> Expected:
        self.service = True
        return Expected(records=[("register", {})] if self.registered else [])

    # Their parts

    def _register(self, expected: Expected) -> None:
        if self.client:
            return
        self.client = True
        self.registered = self.service
        if self.service:
            expected.records.append(("register", {}))
        else:
            expected.lines.append(error(f"RegisterRPC failed...Error Code={LINK_FAILED}"))

    def _unregister(self, expected: Expected) -> None:
        if self.registered and self.service:
            expected.records.append(("unregister", {}))
        elif self.registered:  # not any more once it has tried to register anew
            expected.optional = error(f"UnRegisterRPC failed...Error Code={LINK_FAILED}")
        self.client = self.registered = False

    def _tell(self, event: Event, expected: Expected) -> bool:
        arrives = self.client and self.service
        if arrives:
            expected.records.append(("event", event))
        return arrives

    def _tell_session(self, number: int, expected: Expected) -> None:
        if not self._tell({"eventId": number, "winSessionId": self.session}, expected):
            expected.lines.append(error(f"Send event failed...EventId={number}"))

    def _tell_power(self, kind: int, expected: Expected) -> None:
        expected.lines.append(info(f"SERVICE_CONTROL_POWEREVENT triggered, EventType = {kind}"))
        if not self._tell({"eventId": 0x8000, "eventType": kind}, expected):
            status = LINK_FAILED if self.client else NO_CLIENT
            expected.lines.append(error(f"Failed to handle power event. Error Code = 0x{status}"))


def info(text: str) -> str:
    return f": [INFO] {text}"


def error(text: str) -> str:
    return f": [ERROR] {text}"


# Sequences

_STATES = (1, 3, 8, 8, 8, 2, 4, 6, 6, 7, 7, 5, 0, 9, 0xFFFFFFFF)
_SESSIONS = (0, 1, 77, 0xFFFFFFFF)
_KINDS = (0, 1, 2, 3, 0x80000000, 0xFFFFFFFF)
_CODES = (RESUME, RESUME, RESUME, 4, 0x12, 0, 0xFFFFFFFF)
_SETTINGS = (0, 1, 2, 3)
_COMMANDS = (3000, 4711, *_REPORTS, *_REPORTS)


def sequence(seed: int, number: int, death_rate: float) -> list[Step]:
    """Three to ten changes, the same ones for the same numbers. In a few sequences the service dies, and
    comes back some steps later."""
    random = Random(f"{seed}.{number}")
    steps = [_step(random) for _ in range(random.randint(3, 10))]
    if random.random() < death_rate:
        dies = random.randint(0, len(steps))
        comes = random.randint(dies, len(steps))
        steps.insert(comes, Step("birth"))
        steps.insert(dies, Step("death"))
    return steps


def _step(random: Random) -> Step:
    what = random.choices(("session", "network", "power", "setting", "command"), (8, 4, 2, 3, 3))[0]
    if what == "session":
        return Step(what, (random.choice(_STATES), random.choice(_SESSIONS)))
    if what == "network":
        return Step(what, (random.choice(list(_NETWORK_EVENTS)), random.choice(_KINDS)))
    return Step(what, (random.choice({"power": _CODES, "setting": _SETTINGS, "command": _COMMANDS}[what]),))


def way_to_rest(model: Model) -> list[Step]:
    """The steps after which the agent is registered again. What it has seen and is to report stays as it is,
    if it is registered already."""
    steps: list[Step] = [] if model.service else [Step("birth")]
    if not (model.client and model.registered):
        steps += [Step("session", (7, 1)), Step("session", (8, 1))]
    return steps


def way_from_start(model: Model) -> list[Step]:
    """The steps that bring an agent that has just started to where one at rest is."""
    settings = [Step("setting", (setting,)) for setting in sorted(model.seen)]
    return settings + [Step("command", (command,)) for command in sorted(model.reports)]

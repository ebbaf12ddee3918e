"""Random sequences of session, network and power changes, commands and deaths of the service, against a model
of what they are to leave behind.

The seed is QX_SESSION_SEED, or a new one. QX_SESSION_SEQUENCES, a number or first-last, runs those alone."""

from __future__ import annotations

import os
import secrets
from collections.abc import Iterator

import pytest

from host import HostService
from mail_driver import MailDriver
from product import Product
from session import Session
from session_driver import Driver, Outcome
from session_model import Expected, Model, Step, sequence, way_from_start, way_to_rest

SEQUENCES = 1000
AGENTS = 10
DEATH_RATE = 0.03
SEED = int(os.environ.get("QX_SESSION_SEED") or secrets.randbits(32))
ONLY = os.environ.get("QX_SESSION_SEQUENCES")
WITHOUT_DEBUG = 0x0111


def sequences_of(agent: int) -> range:
    each = SEQUENCES // AGENTS
    return range(agent * each, (agent + 1) * each)


@pytest.fixture
def driven(product: Product) -> Iterator[tuple[Driver, Model]]:
    """An agent at rest, and the model of it."""
    host = HostService(product)
    if host.process_id() == 0:
        host.start()
    product.write_log_settings(level=WITHOUT_DEBUG)
    session = Session(product)
    with MailDriver(product) as mails:
        (client,) = host.clients()
        yield Driver(session, mails), Model(session=client["sessionId"])


def differences(expected: Expected, came: Outcome) -> list[str]:
    optional = [expected.optional] if expected.optional in came.lines else []
    pairs = {
        "journal": (expected.records, came.records),
        "log": ([*expected.lines, *optional], came.lines),
        "command answered": (expected.answered, came.answered),
    }
    return [f"{name}: expected {a}, came {b}" for name, (a, b) in pairs.items() if a != b]


def take(driver: Driver, model: Model, steps: list[Step]) -> None:
    for index, step in enumerate(steps):
        expected = model.after(step)
        wrong = differences(expected, driver.run(step, model))
        if wrong:
            before = [f"   {i + 1:2} {step}" for i, step in enumerate(steps[: index + 1])]
            raise AssertionError("\n".join(["after the last of", *before, *wrong]))


def take_sequence(driver: Driver, model: Model, number: int) -> None:
    way = way_to_rest(model)
    try:
        take(driver, model, [*way, *sequence(SEED, number, DEATH_RATE)])
    except Exception as problem:
        raise AssertionError(
            f"sequence {number} of seed {SEED}, which {len(way)} steps go before\n{problem}\n"
            f"Again, alone: QX_SESSION_SEED={SEED} QX_SESSION_SEQUENCES={number}\n"
            f"or with some before it: QX_SESSION_SEQUENCES={max(number - 5, 0)}-{number}"
        ) from None


def take_sequences(driver: Driver, model: Model, numbers: range) -> None:
    for number in numbers:
        take_sequence(driver, model, number)
    take(driver, model, way_to_rest(model))


def model_before(number: int) -> Model:
    """Of the agent that takes this sequence after others."""
    model = Model(session=0)
    first = sequences_of(number // (SEQUENCES // AGENTS)).start
    for other in range(first, number):
        for step in [*way_to_rest(model), *sequence(SEED, other, DEATH_RATE)]:
            model.after(step)
    for step in way_to_rest(model):
        model.after(step)
    return model


@pytest.mark.skipif(ONLY is not None, reason="one sequence alone")
@pytest.mark.parametrize("agent", range(AGENTS))
def test_what_a_random_sequence_leaves_is_what_the_model_says(
    driven: tuple[Driver, Model], agent: int
) -> None:
    take_sequences(*driven, sequences_of(agent))


@pytest.mark.skipif(ONLY is None, reason="all sequences")
def test_some_sequences_again(driven: tuple[Driver, Model]) -> None:
    assert ONLY is not None
    first, _, last = ONLY.partition("-")
    take(*driven, way_from_start(model_before(int(first))))
    take_sequences(*driven, range(int(first), int(last or first) + 1))

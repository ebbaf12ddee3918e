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


def take(driver: Driver, model: Model, number: int, steps: list[Step]) -> None:
    """Takes the steps of a sequence, or some before or behind it."""
    for index, step in enumerate(steps):
        expected = model.after(step)
        try:
            wrong = differences(expected, driver.run(step, model))
        except Exception as problem:
            wrong = [repr(problem)]
        if wrong:
            taken = [f"   {i + 1:2} {step}" for i, step in enumerate(steps[: index + 1])]
            again = [
                f"Again, alone: QX_SESSION_SEED={SEED} QX_SESSION_SEQUENCES={number}",
                f"or with some before it: QX_SESSION_SEQUENCES={max(number - 5, 0)}-{number}",
            ]
            head = f"sequence {number} of seed {SEED}, after the last of"
            raise AssertionError("\n".join([head, *taken, *wrong, *again]))


def take_sequences(driver: Driver, model: Model, numbers: range) -> None:
    for number in numbers:
        take(driver, model, number, [*way_to_rest(model), *sequence(SEED, number, DEATH_RATE)])
    take(driver, model, numbers[-1], way_to_rest(model))


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
    numbers = range(int(first), int(last or first) + 1)
    take(*driven, numbers[0], way_from_start(model_before(numbers[0])))
    take_sequences(*driven, numbers)

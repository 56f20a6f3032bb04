# SPDX-License-Identifier: GPL-2.0-or-later
"""Random work, requests and faults against a model of the catalogue (tests/faults/model goes on for hours)."""
import os
import sys
import time

import pytest

from harness.sandbox import TREE
from harness.store_faults import patience_of_tests

sys.path.insert(0, str(TREE / "tests/faults"))
from complete_model import CompleteStorm  # noqa: E402 pylint: disable=wrong-import-position
from storm import Storm  # noqa: E402 pylint: disable=wrong-import-position

pytestmark = pytest.mark.tracing

SEED = int(os.environ.get("VELU_SEED") or time.time_ns() % 1000000)
# Without a time the same is done on every machine, so that a seed gives the same again.
SECONDS = float(os.environ.get("VELU_MODEL_SECONDS") or 0)
EPOCHS, COMPLETE_EPOCHS = (0, 0) if SECONDS else (150, 50)
READERS_SPEED = 50  # of a clock at which readers answer in their time


@pytest.mark.parametrize("part", range(2))
def test_the_catalogue_is_what_the_model_says(make_placed, part):
    storm = Storm(make_placed(), SEED * 2 + part)
    storm.go_on(EPOCHS, SECONDS)
    print(f"VELU_SEED={SEED}: {storm.epochs} epochs, {storm.runs} runs, {storm.kinds}")
    assert storm.epochs > 5


def test_what_is_known_of_files_is_what_the_model_says(make_placed):
    """By the rules `complete`, with rows, states, facts, covers and entries."""
    daemon = make_placed(speed=READERS_SPEED)
    patience_of_tests(daemon, rules="complete")
    storm = CompleteStorm(daemon, SEED)
    storm.go_on(COMPLETE_EPOCHS, SECONDS)
    print(f"VELU_SEED={SEED}: {storm.epochs} epochs, {storm.runs} runs, {storm.kinds}")
    assert storm.epochs > 5

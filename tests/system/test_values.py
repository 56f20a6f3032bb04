# SPDX-License-Identifier: GPL-2.0-or-later
"""The tables of how many values of the readers are those of other programs."""
import os
import subprocess

from harness import values
from harness.sandbox import TREE


def test_the_document_has_what_comes_out_and_every_difference_its_reason(binary):
    done = subprocess.run([TREE / "tests/values", "--markdown"], capture_output=True, text=True, check=False,
                          env=dict(os.environ, VELU_BINARY=str(binary)))
    assert (done.returncode, done.stderr) == (0, "")
    assert done.stdout == (TREE / "docs/formats.md").read_text(encoding="utf-8"), "tests/values --markdown > docs/formats.md"


def table_of(*fields, explained=()):
    found = [values.Value("row", "a.mp3", field, 1, theirs, theirs == 1, reason) for field, theirs, reason in fields]
    return values.Table("Title", "About.", {"column": ("track", "disc", "year")}, found, {("a.mp3", field) for field in explained})


def test_a_difference_without_a_reason_and_a_reason_without_a_difference_are_faults():
    assert not values.faults(table_of(("track", 1, None), ("disc", 2, "counts from one"), explained=["disc"]))
    assert values.faults(table_of(("track", 2, None))) == ["a.mp3: track: 1 instead of 2"]
    assert values.faults(table_of(("track", 1, "none"), explained=["track"])) == ["a.mp3: track: is explained and does not differ"]


def test_shares_are_rounded_down():
    found = table_of(("track", 1, None), ("disc", 1, None), ("year", 2, "another calendar"))
    assert "| row | 1 | 66 |" in values.document([found])
    assert "- row: `year` of `a.mp3`: another calendar." in values.document([found])
    assert "| row | 1 | 2/3 |" in values.report([found])

# SPDX-License-Identifier: GPL-2.0-or-later
"""The sample of /etc/veluinfo.conf that is installed with the daemon."""
import re

import pytest

from harness.sandbox import TREE


@pytest.fixture(scope="module")
def sample(binary):
    return (binary.parents[1] / "packaging/veluinfo.conf").read_text(encoding="utf-8")


def test_the_sample_has_every_key_that_is_documented(sample):
    table = (TREE / "docs/operating.md").read_text(encoding="utf-8").split("## Configuration")[1].split("\n## ")[0]
    documented = dict(re.findall(r"^\| `(\w+)` \| `([^`]*)`", table, re.MULTILINE))
    keys = dict(re.findall(r'^#?(\w+)="([^"]*)"$', sample, re.MULTILINE))
    assert set(keys) == set(documented)
    # What is not switched on is the default.
    for key in re.findall(r"^#(\w+)=", sample, re.MULTILINE):
        assert keys[key] == documented[key]


def test_raw_aac_files_are_read_with_the_sample(box, samples, binary, sample):
    program = re.search(r'^aacdecoder="(/.*/veluaacinfo)"$', sample, re.MULTILINE)[1]
    box.configure(sample.replace(program, str(binary.with_name("veluaacinfo"))))
    path = "/volume1/music/tone.aac"
    box.copy(samples / "tone.aac", path)
    box.start().index(f"a:{path}")
    row = box.row("music", path)
    assert row["sample_rate"] == 44100
    assert row["duration"] >= 1

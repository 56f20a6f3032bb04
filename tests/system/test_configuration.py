# SPDX-License-Identifier: GPL-2.0-or-later
"""What is installed with the daemon about /etc/veluinfo.conf."""
import re

import pytest


@pytest.fixture(scope="module")
def sample(binary):
    return (binary.parents[1] / "packaging/veluinfo.conf").read_text(encoding="utf-8")


@pytest.fixture(scope="module")
def manual(binary):
    """The keys of the manual page by file: name, text and default."""
    page = (binary.parents[1] / "packaging/man/veluinfo.conf.5").read_text(encoding="utf-8").replace("\\-", "-")
    files = re.split(r"^\.SS (/.*)$", page.split(".SH NOTES")[0], flags=re.MULTILINE)[1:]
    entry = re.compile(r"^\.TP\n\\fB(\w+)\\fR\n(.+)\nDefault:\n\.BR (\S+) \.$", re.MULTILINE)
    return {file: entry.findall(text) for file, text in zip(files[::2], files[1::2])}


def test_manual_and_sample_agree_on_every_key(manual, sample):
    documented = {name: default for name, _, default in manual["/etc/veluinfo.conf"]}
    keys = dict(re.findall(r'^#?(\w+)="([^"]*)"$', sample, re.MULTILINE))
    assert len(documented) >= 5 and set(keys) == set(documented)
    # What is not switched on is the default.
    for key in re.findall(r"^#(\w+)=", sample, re.MULTILINE):
        assert keys[key] == documented[key]
    plain = " ".join(line.removeprefix("# ") for line in sample.splitlines())
    for _, text, _ in manual["/etc/veluinfo.conf"]:
        assert text.rsplit(" Read ", 1)[0] in plain
    assert [name for name, _, _ in manual["/etc.defaults/veluinfo.conf"]] == ["supportphoto", "supportcinehall"]


def test_raw_aac_files_are_read_with_the_sample(box, samples, binary, sample):
    program = re.search(r'^aacdecoder="(/.*/veluaacinfo)"$', sample, re.MULTILINE)[1]
    box.configure(sample.replace(program, str(binary.with_name("veluaacinfo"))))
    path = "/volume1/music/tone.aac"
    box.copy(samples / "tone.aac", path)
    box.start().index(f"a:{path}")
    row = box.row("music", path)
    assert row["sample_rate"] == 44100
    assert row["duration"] >= 1

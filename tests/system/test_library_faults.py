# SPDX-License-Identifier: GPL-2.0-or-later
"""Calls that fail in and below the libraries of the readers, each in its turn with a file of its own: the daemon lives,
what it could not read is told or done again, and the next file is read in full."""
import errno
import itertools
import os
from typing import NamedTuple

import pytest

from harness.daemon import wait_for
from harness.faults import build_library, calls_seen, end_faults, set_faults
from harness.sandbox import TREE

# A sanitizer has its own allocator in the place of the one that fails here, and functions of its own around reads.
pytestmark = pytest.mark.tracing

MUSIC = "/volume1/music"
OUT_OF_MEMORY = "Out of memory."
NOT_READ = "Failed to parse media metadata of file [%s]."
FLAC_NOT_READ, FLAC_NO_TAGS = "Can't get Flac stream info: %s.", "Can't get Flac comment tags: %s."
FORMAT_NOT_OPENED = "Failed to av_open_input_file() file [%s]."
# What is missing from a row then.
FLAC_UNTAGGED = {"album": "music", "artist": "", "year": 0}
FLAC_UNREAD = {"duration": 0, "audio_bitrate": 0, "sample_rate": 0, "channels": 0}
PHOTO_UNREAD = {"camera_make": "", "camera_model": "", "date_taken": "", "iso_speed": 0}
# Slow enough for a look at the rows before what was kept is done again, after half a second.
SPEED = 20
# Seconds for one run over some thousand files, a call of each failing, on a slow machine that builds beside.
RUN_PATIENCE = 900

SAMPLES = {".mp3": ("tagged.mp3", "music"), ".flac": ("tagged.flac", "music"), ".jpg": ("exif.jpg", "photo"),
           ".m4a": ("tone.m4a", "music"), ".avi": ("clip.avi", "video")}
# What the name and the hour make of a row, not the file's content.
OUTSIDE = ("path", "title", "create_time", "modify_time")


class Fault(NamedTuple):
    """Calls that are to fail, one with each file of a kind: every one of them, or one in so many. `certain`: how many
    there are at least, where it hangs on how long a child is waited for."""
    call: str
    ext: str
    code: int
    step: int = 1
    certain: int = 0

    def path(self, name):
        return f"{MUSIC}/{self.call}-{errno.errorcode[self.code]}-{name}{self.ext}"


class Outcome(NamedTuple):
    """A file with which a call was to fail, and the file after it."""
    fault: Fault
    bad: str
    after: str
    fired: bool


@pytest.fixture(scope="session")
def library(once):
    """The library that makes calls fail."""
    source = TREE / "tests/faults/faults.cpp"
    return once("failing", lambda folder: build_library(source, folder / "faults.so")) / "faults.so"


@pytest.fixture
def make(make_daemon, samples, library):
    """Makes a daemon with rules for failing calls, and with files: the samples, and others that are the same."""
    def make_it(rules, paths):
        daemon = make_daemon(speed=SPEED)
        for ext, (sample, _) in SAMPLES.items():
            daemon.copy(samples / sample, f"{MUSIC}/whole{ext}")
        for path in paths:
            os.link(daemon.box.path(f"{MUSIC}/whole{os.path.splitext(path)[1]}"), daemon.box.path(path))
        set_faults(daemon, library, rules)
        return daemon.start()
    return make_it


def index(daemon, paths):
    """Indexes the samples and then the files. Gives the log of the run."""
    return daemon.index(*(f"a:{MUSIC}/whole{ext}" for ext in SAMPLES), *(f"a:{path}" for path in paths), timeout=RUN_PATIENCE)


def count_calls(make, faults):
    """How many calls there are to fail, the fewest and the most with any of a few files: what is kept of many files
    together grows now and then."""
    paths = [[fault.path(f"counted-{number}") for number in range(4)] for fault in faults]
    rules = [(fault.call, path, 0, 0) for fault, names in zip(faults, paths) for path in names]
    daemon = make(rules, itertools.chain(*paths))
    index(daemon, itertools.chain(*paths))
    seen = iter(calls_seen(daemon, len(rules)))
    counts = [[next(seen) for _ in names] for names in paths]
    return [(min(counted), max(counted)) for counted in counts]


def fail_each(make, *faults):
    """Has the calls fail. Gives the daemon, what came out, and the log of the run."""
    counts = count_calls(make, faults)
    numbered = [(fault, number) for fault, (_, most) in zip(faults, counts)
                for number in range(1, most + most // 4 + fault.step + 1, fault.step)]
    pairs = [(fault.path(number), fault.path(f"{number}-after")) for fault, number in numbered]
    rules = [(fault.call, bad, fault.code, number) for (fault, number), (bad, _) in zip(numbered, pairs)]
    daemon = make(rules, itertools.chain(*pairs))
    lines = index(daemon, itertools.chain(*pairs))
    seen = calls_seen(daemon, len(rules))
    end_faults(daemon, len(rules))
    outcomes = [Outcome(fault, bad, after, calls >= number)
                for (fault, number), (bad, after), calls in zip(numbered, pairs, seen)]
    for fault, (fewest, _) in zip(faults, counts):
        fired = [outcome.fired for outcome in outcomes if outcome.fault == fault]
        certain = fault.certain or fewest * 3 // 4
        assert fewest > 0 and all(fired[:certain // fault.step]), (fault, fewest, fired)
        assert fault.certain or not all(fired), f"{fault}: there are more calls than were made to fail"
    assert daemon.alive() and daemon.children() == []
    return daemon, outcomes, lines


def contents(daemon):
    """What the rows tell of their files, by path."""
    return {row["path"]: {key: value for key, value in row.items() if key not in OUTSIDE}
            for table in ("music", "photo", "video") for row in daemon.rows(table)}


def whole(rows, path):
    return rows[f"{MUSIC}/whole{os.path.splitext(path)[1]}"]


def named(lines, text):
    return any(text in line for line in lines)


def check_rows_in_full(daemon, paths):
    rows = contents(daemon)
    for path in paths:
        assert rows.get(path) == whole(rows, path), path


@pytest.mark.sqlite
def test_memory_that_is_refused_once(make):
    # The probe's child allocates close to a thousand times. Without memory the library that makes its filter may do
    # anything, up to a hang that the watchdog has to end.
    daemon, outcomes, lines = fail_each(
        make, *(Fault("alloc", ext, errno.ENOMEM) for ext in (".mp3", ".flac", ".jpg")),
        Fault("alloc", ".m4a", errno.ENOMEM, certain=20), Fault("child-alloc", ".m4a", errno.ENOMEM, step=240))
    rows = contents(daemon)
    # The line may have ended before it had a path to name, and with it the batch that held the rows of lines before.
    given_up = [path for outcome in outcomes for path in (outcome.bad, outcome.after)
                if path not in rows and not named(lines, path)]
    assert not given_up or (named(lines, OUT_OF_MEMORY) and named(lines, "Failed to store all rows. ")), (given_up, lines)
    for bad, after in ((outcome.bad, outcome.after) for outcome in outcomes):
        assert bad not in rows or rows[bad]["file_size"] == whole(rows, bad)["file_size"]
        assert after not in rows or rows[after] == whole(rows, after), after
    # What could not be stored is done again. What was stored without its metadata, for want of memory to read them, is
    # read when it is asked for again.
    daemon.wait_done()
    rows = contents(daemon)
    assert all(path in rows for outcome in outcomes for path in (outcome.bad, outcome.after))
    check_rows_in_full(daemon, [outcome.after for outcome in outcomes])
    index(daemon, [outcome.bad for outcome in outcomes])
    check_rows_in_full(daemon, [outcome.bad for outcome in outcomes])


def test_a_stream_that_cannot_be_read(make):
    """The libraries for FLAC and EXIF read through streams, for which an interrupted call is a failed one."""
    daemon, outcomes, lines = fail_each(make, *(Fault("fread", ext, code) for ext in (".flac", ".jpg")
                                                for code in (errno.EIO, errno.EINTR)))
    rows = contents(daemon)
    for fault, bad, _, fired in outcomes:
        expected = whole(rows, bad)
        told = [line for line in lines if bad in line]
        if not fired:
            assert rows[bad] == expected and not any(NOT_READ % bad in line for line in told)
        elif fault.ext == ".jpg":
            assert rows[bad] == {**expected, **PHOTO_UNREAD} and told == []
        else:
            unread = any(line.endswith(FLAC_NOT_READ % bad) for line in told)
            assert unread or any(line.endswith(FLAC_NO_TAGS % bad) for line in told)
            assert any(line.endswith(NOT_READ % bad) for line in told)
            assert rows[bad] == {**expected, **FLAC_UNTAGGED, **(FLAC_UNREAD if unread else {})}
    check_rows_in_full(daemon, [outcome.after for outcome in outcomes])


def test_a_child_that_cannot_read(make):
    """The child's filter is in force: no system call is made that it would have to judge."""
    daemon, outcomes, lines = fail_each(make, *(Fault("read", ".avi", code) for code in (errno.EIO, errno.EINTR)))
    rows = contents(daemon)
    for fault, bad, _, fired in outcomes:
        told = [line for line in lines if bad in line]
        if rows[bad] == whole(rows, bad):
            continue # interrupted and done again, or behind what the values need
        assert fired and fault.code == errno.EIO
        assert rows[bad]["file_size"] == whole(rows, bad)["file_size"] and rows[bad]["width"] == 0
        assert any(line.endswith(FORMAT_NOT_OPENED % bad) for line in told)
        assert any(line.endswith(NOT_READ % bad) for line in told)
    assert rows[outcomes[0].bad]["width"] == 0, "nothing is known of a film whose begin cannot be read"
    check_rows_in_full(daemon, [outcome.after for outcome in outcomes])

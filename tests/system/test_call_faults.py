# SPDX-License-Identifier: GPL-2.0-or-later
"""System calls that fail under the readers: the row keeps what does not need them, the log tells why, the run goes on,
and the next run reads the file in full."""
import errno

import pytest

from harness.faults import failing, injections

# What fails lies in front of the store, whatever its engine.
pytestmark = [pytest.mark.tracing, pytest.mark.sqlite]

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
READS = "read,pread64,readv,preadv"
REFUSALS = (errno.EACCES, errno.EMFILE, errno.ENFILE, errno.ENOMEM, errno.EIO)

# The daemon's own readers. The libraries read through the C library's streams, which rely on interrupted calls being
# begun again by the kernel.
OWN_READERS = ("tagged.mp3", "tone.aiff", "tone.m4a", "clip.dat")
# The probe's filter ends a child whose system call strace has taken away.
READ_UNFILTERED = ("tagged.mp3", "tagged.flac", "tone.aiff", "tone.m4a", "clip.dat", "exif.jpg")

# The sample, the table of its row, a field that only its reader fills, and what the log says when the file cannot be
# opened and when it cannot be read.
NOT_READ = "Failed to parse media metadata of file [%s]."
FLAC_NOT_READ = ("Can't get Flac stream info: %s.", "Failed to parse music metadata.", NOT_READ)
MP4_NOT_READ = ("Failed to parse mp4 metadata from [%s].", "Failed to parse mp4 metadata.", NOT_READ)
READERS = {
    "tagged.mp3": ("music", "artist", ("Unable to open %s ", NOT_READ), ("Can't find valid mpeg header: %s", NOT_READ)),
    "tagged.flac": ("music", "artist", FLAC_NOT_READ, FLAC_NOT_READ),
    "tone.aiff": ("music", "sample_rate", (), ()),
    "tone.m4a": ("music", "artist", MP4_NOT_READ, MP4_NOT_READ),
    "clip.dat": ("video", "width", ("Unable to open %s ", NOT_READ), ("Did not find video nor audio. Skip meta info", NOT_READ)),
    "tone.ogg": ("music", "sample_rate", ("Failed to av_open_input_file() file [%s].", NOT_READ), ()),
    "exif.jpg": ("photo", "camera_make", (), ()),
}


@pytest.fixture
def running(box, samples):
    """A running daemon with one file of each kind."""
    for name in READERS:
        box.copy(samples / ("clip.mpg" if name == "clip.dat" else name), f"{MUSIC}/{name}")
    return box.start()


def full_row(daemon, name):
    table, field = READERS[name][:2]
    path = f"{MUSIC}/{name}"
    daemon.index(f"a:{path}")
    row = daemon.row(table, path)
    assert row[field], f"{name} is read in full: {row}"
    return row


def index_failing(daemon, name, calls, code, when="1+"):
    path = f"{MUSIC}/{name}"
    with failing(daemon, calls, path, code, when):
        daemon.index(f"a:{path}")
        assert injections(daemon) > 0, daemon.lines("/tmp/trace")
    assert daemon.alive() and daemon.children() == []
    return daemon.row(READERS[name][0], path)


def check_lines(daemon, name, messages):
    for message in messages:
        assert daemon.logged(None, message.replace("%s", f"{MUSIC}/{name}")) >= 1, (message, daemon.log.texts())


@pytest.mark.parametrize("code", REFUSALS, ids=errno.errorcode.get)
@pytest.mark.parametrize("name", READERS)
def test_a_file_that_cannot_be_opened(running, name, code):
    row = index_failing(running, name, "open,openat", code)
    assert row["title"] == name.rsplit(".", 1)[0] and row["file_size"] > 0 and not row[READERS[name][1]]
    check_lines(running, name, READERS[name][2])
    full_row(running, name)


@pytest.mark.parametrize("name", READ_UNFILTERED)
def test_a_file_that_cannot_be_read(running, name):
    row = index_failing(running, name, READS, errno.EIO)
    assert row["title"] == name.rsplit(".", 1)[0] and row["file_size"] > 0 and not row[READERS[name][1]]
    check_lines(running, name, READERS[name][3])
    full_row(running, name)


@pytest.mark.parametrize("when", ["1", "1+3"])
@pytest.mark.parametrize("name", OWN_READERS)
def test_a_read_that_a_signal_interrupts_is_done_again(running, name, when):
    expected = full_row(running, name)
    assert index_failing(running, name, READS, errno.EINTR, when) == expected

# SPDX-License-Identifier: GPL-2.0-or-later
"""System calls that fail under what the daemon writes: covers, the queue's take-over and the queues of the converters.
Nothing is left half-written, and no request is lost that is not given up in words."""
import errno
import os
from typing import NamedTuple

import pytest

from harness import media
from harness.daemon import FLV_DAEMON, FLV_QUEUE, QUEUE, THUMB_DAEMON, THUMB_QUEUE, WORKING_COPY, wait_for
from harness.faults import cover_path, failing, files_below, injections

# What fails lies in front of the store, whatever its engine.
pytestmark = [pytest.mark.tracing, pytest.mark.sqlite]

SONG, SONGS = "/volume1/music/song.mp3", ["/volume1/music/a.pcm", "/volume1/music/b.pcm"]
PICTURE = "/volume1/photo/Trip/a.jpg"
READ_AT_ONCE, LINE = 65536, 64  # bytes of the working copy, and of a line that asks for nothing
COVER, COVER_PNG = cover_path(SONG), cover_path(SONG, "0_1.png")
COVERS = "/var/lib/velu/covers"
OPENS, WRITES, RENAMES, UNLINKS = "open,openat", "write,pwrite64,writev", "rename,renameat,renameat2", "unlink,unlinkat"
MODES, OWNERS = "chmod,fchmod,fchmodat", "chown,fchown,lchown,fchownat"

COVER_FAULTS = [
    *((OPENS, code, "FAILED TO OPEN {}, reason={}") for code in (errno.EACCES, errno.ENOSPC, errno.EMFILE, errno.ENOMEM, errno.EIO)),
    *((WRITES, code, "FAILED TO WRITE PIC FILE, reason={1}") for code in (errno.ENOSPC, errno.EIO)),
    (MODES, errno.EIO, "FAILED TO chmod {}, reason: {}"),
    (OWNERS, errno.EACCES, "FAILED TO chown {} to uid=0, gid=0, reason: {}"),
]


@pytest.fixture
def song(box, samples):
    """A running daemon with a song that has a cover."""
    box.copy(samples / "tagged.mp3", SONG)
    return box.start()


@pytest.mark.parametrize("calls, code, message", COVER_FAULTS)
def test_a_cover_that_cannot_be_stored(song, calls, code, message):
    with failing(song, calls, COVER, code):
        song.index(f"a:{SONG}")
        assert injections(song) > 0
    line = message.format(COVER, os.strerror(code))
    assert any(text.endswith(line) for text in song.log.texts()), song.log.texts()
    row = song.row("music", SONG)
    assert row["artist"] == "The Players" and row["has_cover"] == 0
    assert files_below(song, COVERS) == []
    song.index(f"a:{SONG}")
    assert song.row("music", SONG)["has_cover"] == 1


def test_a_cover_cut_short_by_a_full_disk_is_removed(song, tmp_path):
    wav, picture = f"{tmp_path}/tone.wav", f"{tmp_path}/large.png"
    media.tone(wav)
    media.picture(picture, 400, 400)
    media.mp3(song.box.path(SONG), wav, cover=picture)
    with failing(song, WRITES, COVER_PNG, errno.ENOSPC, "2+"):
        song.index(f"a:{SONG}")
        assert injections(song) == 1
    assert song.row("music", SONG)["has_cover"] == 0 and files_below(song, COVERS) == []
    song.index(f"a:{SONG}")
    assert song.read(COVER_PNG) == (tmp_path / "large.png").read_bytes()


def test_a_cover_that_does_not_reach_the_disk_is_stored_again(song):
    with failing(song, "syncfs", COVERS, errno.EIO, "1"):
        song.queue(f"a:{SONG}")
        song.signal()
        line = f"Failed to bring the covers to the disk. ({os.strerror(errno.EIO)})"
        wait_for(lambda: song.logged("store.c", line), "the log line")
        song.wait_done()
    assert song.logged("store.c", line) == 1
    assert song.row("music", SONG)["has_cover"] == 1 and song.exists(COVER)


def test_a_write_of_a_cover_that_a_signal_interrupts_is_done_again(song):
    song.index(f"a:{SONG}")
    whole = song.read(COVER)
    with failing(song, WRITES, COVER, errno.EINTR, "1"):
        song.index(f"a:{SONG}")
        assert injections(song) == 1
    assert song.read(COVER) == whole and song.row("music", SONG)["has_cover"] == 1


@pytest.fixture
def songs(box):
    """A running daemon with two files that are asked for."""
    for path in SONGS:
        box.write(path)
    box.start()
    box.queue(*(f"a:{path}" for path in SONGS))
    return box


def finish(daemon):
    """Lets the daemon do what is left."""
    wait_for(daemon.idle, "the main loop")
    if not daemon.done():
        daemon.signal()
        daemon.wait_done()
    assert daemon.paths("music") == SONGS


@pytest.mark.parametrize("code", [errno.EACCES, errno.ENOSPC, errno.EIO, errno.EINTR], ids=errno.errorcode.get)
@pytest.mark.parametrize("when, lines", [("1", 1), ("1..15", 15), ("1+", 16)])
def test_a_queue_that_cannot_be_taken_over(songs, code, when, lines):
    with failing(songs, RENAMES, QUEUE, code, when):
        songs.signal()
        wait_for(lambda: injections(songs) == lines, "the attempts")
        if lines == 16:
            wait_for(lambda: songs.logged("veluindexd.c", f"Failed to open {WORKING_COPY}. (No such file or directory)"),
                     "the end of the run")
            assert songs.exists(QUEUE)
    finish(songs)
    assert songs.logged("veluindexd.c", f"Failed to rename {QUEUE}. ({os.strerror(code)})") == lines


@pytest.mark.parametrize("code", [errno.EIO, errno.ENOMEM], ids=errno.errorcode.get)
def test_a_working_copy_that_cannot_be_read_is_kept_and_done_again(songs, code):
    with failing(songs, "read,pread64", WORKING_COPY, code):
        songs.signal()
        wait_for(lambda: songs.logged("veluindexd.c", f"Failed to read {WORKING_COPY}. ({os.strerror(code)})"), "the log line")
        assert songs.exists(WORKING_COPY)
    wait_for(lambda: not songs.exists(WORKING_COPY), "the copy to be done")
    finish(songs)


def test_a_line_whose_rest_cannot_be_read_waits_for_it(songs):
    songs.index_queue_as_it_is()
    # What the first read has of the last line asks for the rename of another file.
    torn = f"N:/volume1/music/new.pcm:{SONGS[0]}"
    filler = READ_AT_ONCE - len(torn)
    fillers = ["U:" + "x" * (LINE - 3)] * (filler // LINE - 1) + ["U:" + "x" * (LINE + filler % LINE - 3)]
    with failing(songs, "pread64", WORKING_COPY, errno.EIO, "2+"):
        songs.queue(*fillers, torn + ".old")
        songs.signal()
        wait_for(lambda: songs.logged("veluindexd.c", f"Failed to read {WORKING_COPY}. ({os.strerror(errno.EIO)})"), "the line")
        assert songs.paths("music") == SONGS
    finish(songs)
    assert not songs.logged(None, "Warning! No new line here.")


@pytest.mark.parametrize("code", [errno.EMFILE, errno.ENOMEM, errno.EIO, errno.EACCES], ids=errno.errorcode.get)
def test_a_working_copy_that_cannot_be_opened_is_given_up_in_words(songs, code):
    with failing(songs, OPENS, WORKING_COPY, code):
        songs.signal()
        wait_for(lambda: songs.logged("veluindexd.c", f"Failed to open {WORKING_COPY}. ({os.strerror(code)})"), "the line")
    assert not songs.exists(WORKING_COPY) and songs.peer_signals("dms") == []
    songs.index(*(f"a:{path}" for path in SONGS))
    assert songs.paths("music") == SONGS


def test_a_read_of_the_working_copy_that_a_signal_interrupts_is_done_again(songs):
    with failing(songs, "pread64", WORKING_COPY, errno.EINTR, "1"):
        songs.signal()
        wait_for(lambda: not songs.exists(QUEUE) and not songs.exists(WORKING_COPY), "the end of the run")
        assert injections(songs) == 1
    finish(songs)


@pytest.mark.parametrize("code", [errno.EACCES, errno.EIO], ids=errno.errorcode.get)
def test_a_working_copy_that_cannot_be_removed_is_done_again(songs, code):
    with failing(songs, UNLINKS, WORKING_COPY, code):
        songs.index_queue_as_it_is()
        assert songs.logged("veluindexd.c", f"Failed to unlink {WORKING_COPY}. ({os.strerror(code)})") == 1
        assert songs.exists(WORKING_COPY) and songs.paths("music") == SONGS
    finish(songs)


class Converter(NamedTuple):
    """A daemon that makes something of what stands in its queue."""
    daemon: str
    queue: str
    sample: str
    path: str
    line: str # what the path puts into the queue
    table: str


QUEUED = "/volume1/photo/Earlier\n"
CLIP = "/volume1/photo/Trip/a.avi"
THUMB = Converter(THUMB_DAEMON, THUMB_QUEUE, "picture.jpg", PICTURE, "/volume1/photo/Trip", "photo_image")
FLV = Converter(FLV_DAEMON, FLV_QUEUE, "clip.avi", CLIP, CLIP, "video")
CONVERTER_FAULTS = [
    *((OPENS, code, "open({queue}, ") for code in (errno.ENOSPC, errno.EMFILE, errno.ENOMEM, errno.EIO)),
    *(("flock", code, "failed to lock file descriptor of {queue}") for code in (errno.EINTR, errno.ENOLCK)),
    *((WRITES, code, "failed to write ({line}, {length}) into {queue}") for code in (errno.ENOSPC, errno.EIO)),
]


def start_beside(box, samples, converter):
    """Starts the daemon beside a converter whose queue holds an earlier line."""
    box.copy(samples / converter.sample, converter.path)
    box.write(converter.queue, QUEUED)
    box.start_peer(converter.daemon)
    return box.start()


@pytest.mark.parametrize("calls, code, message", CONVERTER_FAULTS)
@pytest.mark.parametrize("converter", [THUMB, FLV], ids=["thumbnail", "flash"])
def test_a_line_for_a_converter_that_cannot_be_written(box, samples, converter, calls, code, message):
    daemon = start_beside(box, samples, converter)
    with failing(daemon, calls, converter.queue, code):
        daemon.index(f"a:{converter.path}")
        assert injections(daemon) > 0
    wanted = message.format(queue=converter.queue, line=converter.line, length=len(converter.line))
    told = [text for text in daemon.log.texts() if wanted in text]
    assert len(told) == 1 and f"reason={os.strerror(code)}" in told[0]
    assert daemon.read(converter.queue).decode() == QUEUED
    assert daemon.row(converter.table, converter.path), "the file itself is in the library"
    assert daemon.wakes(converter.daemon) == 0
    daemon.index(f"a:{converter.path}")
    assert daemon.read(converter.queue).decode() == f"{QUEUED}{converter.line}\n"


def test_a_converter_queue_that_is_shut_for_a_moment_is_waited_for(box, samples):
    picture = start_beside(box, samples, THUMB)
    # Each attempt opens the queue to look the line up and again to write; the look-up alone may fail.
    with failing(picture, OPENS, THUMB_QUEUE, errno.EACCES, "2..6+2"):
        picture.index(f"a:{PICTURE}")
    assert picture.read(THUMB_QUEUE).decode() == QUEUED + "/volume1/photo/Trip\n"
    assert len([text for text in picture.log.texts() if f"reason={os.strerror(errno.EACCES)}" in text]) == 3

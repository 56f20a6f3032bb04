# SPDX-License-Identifier: GPL-2.0-or-later
"""SQLite files that cannot be written for a while: nothing that was asked is forgotten, and the daemon goes on by itself
when they can be written again."""
import errno
import os
import sqlite3

import pytest

from harness import id3, photo, short_songs
from harness.daemon import KEPT, wait_for
from harness.store_faults import patience_of_tests

pytestmark = pytest.mark.sqlite

MUSIC = "/volume1/music"
FOLDER = "/var/lib/velu/small"
COVERS = "/var/lib/velu/covers"
READERS_SPEED = 20  # of the clock, at which readers have their time
KEPT_LINE = f"Failed to store all rows. Requests kept in {KEPT}: 1."


def mount(daemon, *options):
    """Mounts in the sandbox, which the host does not see."""
    done = daemon.box.ask("run", arguments=["/bin/mount", *options], environment={}, timeout=60)
    assert done["status"] == 0, done


@pytest.fixture
def small(box):
    """A running daemon whose catalogue lies on a file system of one megabyte."""
    box.mkdir(FOLDER)
    mount(box, "-t", "tmpfs", "-o", "size=1m", "none", FOLDER)
    box.configure(mediadb=f"sqlite:{FOLDER}/mediaserver.db")
    return box.start()


def run_until_kept(daemon, *lines):
    daemon.queue(*lines)
    daemon.signal()
    wait_for(lambda: daemon.logged("veluindexd.c", KEPT_LINE), "the log line")
    assert daemon.exists(KEPT)


def music_rows(daemon):
    """The rows of the small file system, which only the sandbox can read."""
    copied = daemon.box.ask("run", arguments=["/bin/cp", "-a", f"{FOLDER}/.", "/var/lib/velu"], environment={},
                            timeout=60)
    assert copied["status"] == 0, copied
    return daemon.paths("music")


def test_a_disk_that_is_full(small):
    files = [f"{MUSIC}/{number % 20}/{'x' * 200}{number}.pcm" for number in range(3000)]
    for path in files:
        small.write(path)
    run_until_kept(small, f"A:{MUSIC}")
    assert any("database or disk is full" in text for text in small.log.texts())
    mount(small, "-o", "remount,size=64m", FOLDER)
    small.wait_done()
    assert music_rows(small) == sorted(files)


def test_a_disk_that_is_full_to_its_last_byte_is_told_as_such(small):
    """Not even the files beside the database can be made then."""
    small.write(f"{MUSIC}/first.pcm")
    small.index(f"a:{MUSIC}/first.pcm")
    small.stop()
    emptied = small.box.ask("run", arguments=["/bin/sh", "-c", f"rm -f {FOLDER}/*-wal {FOLDER}/*-shm; cat /dev/zero > {FOLDER}/all"],
                            environment={}, timeout=60)
    assert "No space left" in emptied["err"], emptied
    small.start()
    small.write(f"{MUSIC}/second.pcm")
    run_until_kept(small, f"a:{MUSIC}/second.pcm")
    texts = small.log.texts()
    assert any("database or disk is full" in text for text in texts)
    assert not any("disk I/O error" in text or "unable to open" in text for text in texts), texts
    status, out = small.ctl("status")["status"], small.ctl("status")["out"]
    assert "disk is full" in " ".join(out.split()), (status, out)
    mount(small, "-o", "remount,size=64m", FOLDER)
    small.wait_done()
    assert music_rows(small) == [f"{MUSIC}/first.pcm", f"{MUSIC}/second.pcm"]


def test_a_file_system_that_is_read_only(small):
    small.write(f"{MUSIC}/first.pcm")
    small.index(f"a:{MUSIC}/first.pcm")
    mount(small, "-o", "remount,ro", FOLDER)
    small.write(f"{MUSIC}/second.pcm")
    run_until_kept(small, f"a:{MUSIC}/second.pcm")
    assert any("readonly database" in text or "unable to open database file" in text for text in small.log.texts())
    mount(small, "-o", "remount,rw", FOLDER)
    small.wait_done()
    assert music_rows(small) == [f"{MUSIC}/first.pcm", f"{MUSIC}/second.pcm"]


def test_a_file_that_another_writer_holds(daemon):
    daemon.write(f"{MUSIC}/first.pcm")
    daemon.index(f"a:{MUSIC}/first.pcm")
    other = sqlite3.connect(daemon.box.path("/var/lib/velu/mediaserver.db"), isolation_level=None)
    other.execute("begin immediate")
    daemon.write(f"{MUSIC}/second.pcm")
    run_until_kept(daemon, f"a:{MUSIC}/second.pcm")
    assert any("database is locked" in text for text in daemon.log.texts())
    other.execute("rollback")
    other.close()
    daemon.wait_done()
    assert daemon.paths("music") == [f"{MUSIC}/first.pcm", f"{MUSIC}/second.pcm"]


@pytest.mark.parametrize("keep", [0, 100])
def test_a_file_that_is_damaged_is_left_alone_until_somebody_takes_it_away(daemon, keep):
    daemon.write(f"{MUSIC}/first.pcm")
    daemon.index(f"a:{MUSIC}/first.pcm")
    name = daemon.box.path("/var/lib/velu/mediaserver.db")
    with open(name, "rb") as file:
        content = file.read()
    damaged = content[:keep] + b"\xa5" * (len(content) - keep)
    for suffix in ("-wal", "-shm"):
        os.unlink(name + suffix)
    with open(name, "wb") as file:
        file.write(damaged)
    run_until_kept(daemon, f"a:{MUSIC}/first.pcm")
    assert any("not a database" in text or "malformed" in text for text in daemon.log.texts())
    with open(name, "rb") as file:
        assert file.read() == damaged
    os.unlink(name)
    daemon.wait_done()
    assert daemon.paths("music") == [f"{MUSIC}/first.pcm"]


def with_few_covers(make_daemon):
    """A daemon, not started yet, whose covers have no room."""
    box = make_daemon(speed=READERS_SPEED)
    patience_of_tests(box, rules="complete")
    box.mkdir(COVERS)
    mount(box, "-t", "tmpfs", "-o", "size=4k", "none", COVERS)
    return box


def test_covers_without_room_are_told_once(make_daemon):
    box = with_few_covers(make_daemon)
    for number in range(9):
        box.write(f"/volume1/music/{number}.mp3",
                  id3.tag(4, id3.picture(4, photo.jpeg(3, 2) + bytes([number]) * 20000)) + short_songs.FRAME * 3)
    box.start()
    run_until_kept(box, "R:music")
    wait_for(lambda: box.logged("veluindexd.c", KEPT_LINE) >= 3, "two more attempts")
    assert sum("Failed to store the cover" in text for text in box.log.texts()) == 1
    mount(box, "-o", "remount,size=1m", COVERS)
    box.wait_done()
    assert all(row["has_cover"] == 1 for row in box.rows("music"))


def test_a_cover_without_room_has_its_request_kept_by_the_rules_complete(make_daemon):
    box = with_few_covers(make_daemon)
    song = box.write("/volume1/music/song.mp3",
                     id3.tag(4, id3.text(4, "TIT2", "T"), id3.picture(4, photo.jpeg(3, 2) + bytes(20000))) + short_songs.FRAME * 3)
    box.start()
    run_until_kept(box, f"A:{os.path.dirname(song)}")
    assert any(text.endswith(f"Failed to store the cover of {song}. ({os.strerror(errno.ENOSPC)})") for text in box.log.texts())
    row = box.row("music", song)
    assert (row["title"], row["has_cover"]) == ("T", 0), "what there was room for is stored"
    mount(box, "-o", "remount,size=1m", COVERS)
    box.wait_done()
    assert box.row("music", song)["has_cover"] == 1
    assert not box.exists(KEPT)

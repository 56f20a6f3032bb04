# SPDX-License-Identifier: GPL-2.0-or-later
"""What cannot be looked at is not forgotten: folders that cannot be read, storage that is away, a store that was away for
a moment. One line names the place; when all is well again, what is gone goes."""
import errno
import os
import re
import shutil
import time

import pytest

from harness import photo
from harness.catalogue import ON_SERVER
from harness.daemon import QUEUE, THUMB_DAEMON, THUMB_QUEUE, WORKING_COPY, wait_for
from harness.photo import albums, pictures
from harness.places import HOLD, MOUNTS, REDIRECT, Rule, mount, unmount, write_inside
from harness.store_faults import AWAY, PHOTO as PHOTO_STORE, store_fault

# The library of failing calls does not go with a sanitizer.
pytestmark = pytest.mark.tracing

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
USB = f"{MUSIC}/usb"
FSTAB, REMEMBERED = "/etc/fstab", "/var/lib/velu/mounts"
DONE = 0
WORD_OF_KEEPING = re.compile(r"\b(kept|keeps|left alone|away)\b")

# How a folder is kept from being read to its end.
UNREADABLE = {
    **{f"opendir {errno.errorcode[code]}": [("opendir", code, 1)]
       for code in (errno.EACCES, errno.EIO, errno.ESTALE, errno.ENOENT)},
    "first entry": [("readdir", errno.EIO, 1)],
    "breaks off": [("readdir", errno.EIO, 4)],
    "stale in the middle": [("readdir", errno.ESTALE, 3)],
}


def fault(kind, folder):
    return [Rule(call, folder, code, first) for call, code, first in UNREADABLE[kind]]


def lines_of_keeping(lines, place):
    """The lines that say that the rows at a place are kept."""
    return [line for line in lines if WORD_OF_KEEPING.search(line) and place in line]


def done(daemon):
    return not daemon.exists(QUEUE) and not daemon.exists(WORKING_COPY)


def write(daemon, *paths):
    for path in paths:
        daemon.write(path, photo.jpeg(3, 2) if path.endswith(".jpg") else b"")


def take_away(daemon, path):
    os.rename(daemon.box.path(path), daemon.box.path(f"/tmp/{path.replace('/', ' ')}"))


# --- folders that cannot be read


@pytest.fixture
def library(placed):
    """A running daemon with albums, one of which has gone since."""
    write(placed, *(f"{PHOTO}/{name}.jpg" for name in ("top", "Trips/1", "Trips/2", "Trips/2009/3", "Trips/2009/May/4",
                                                       "Other/5", "Other/sub/6", "Gone/7")))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed', hits = 7 where sharename like 'Trips%'")
    placed.store("insert into photo_access_right select 5, shareid, 'then' from photo_share")
    take_away(placed, f"{PHOTO}/Gone")
    return placed


def album_rows(daemon, name):
    return [row for row in daemon.rows("photo_share") if row["sharename"] == name or row["sharename"].startswith(f"{name}/")]


@pytest.mark.parametrize("kind", UNREADABLE)
def test_a_photo_resync_keeps_the_rows_of_a_folder_that_cannot_be_read(library, kind):
    before = pictures(library)
    typed, rights = album_rows(library, "Trips"), library.rows("photo_access_right")
    with library.places.failing(*fault(kind, f"{PHOTO}/Trips")):
        lines = library.index("R:photo")
    assert pictures(library) == [path for path in before if not path.startswith("Gone")]
    assert {**albums(library)}.keys() == {"Trips", "Trips/2009", "Other", "Other/sub"}
    assert [row["title"] for row in album_rows(library, "Trips")] == ["typed", "typed"]
    assert [row["shareid"] for row in album_rows(library, "Trips")] == [row["shareid"] for row in typed]
    assert [right for right in rights if right in library.rows("photo_access_right")], "rights stay"
    assert 1 <= len(lines_of_keeping(lines, f"{PHOTO}/Trips")) <= 2, "one line for pictures, one for albums at most"
    shutil.rmtree(library.box.path(f"{PHOTO}/Trips/2009"))
    library.index("R:photo")
    assert pictures(library) == ["Other/5.jpg", "Other/sub/6.jpg", "Trips/1.jpg", "Trips/2.jpg", "top.jpg"]
    assert albums(library).keys() == {"Trips", "Other", "Other/sub"}


def test_a_photo_resync_keeps_what_is_below_a_folder_that_vanishes_on_the_way(library):
    """Its name was read, and then it is not there: that says nothing of what is below it."""
    with library.places.failing(Rule("opendir", f"{PHOTO}/Trips/2009", errno.ENOENT)):
        library.index("R:photo")
    assert "Trips/2009/3.jpg" in pictures(library) and "Trips/2009/May/4.jpg" in pictures(library)
    assert "Trips/2009" in albums(library) and "Gone/7.jpg" not in pictures(library)


def test_a_photo_resync_keeps_all_rows_when_the_share_itself_cannot_be_read(library):
    before = library.snapshot()
    for kind in UNREADABLE:
        with library.places.failing(*fault(kind, PHOTO)):
            library.index("R:photo")
        kept = library.snapshot()
        assert [row["path"] for row in kept["photo_image"]] == [row["path"] for row in before["photo_image"]], kind
        assert {row["sharename"]: row["title"] for row in kept["photo_share"]} == {
            row["sharename"]: row["title"] for row in before["photo_share"]}, kind


@pytest.mark.parametrize("kind", AWAY)
def test_a_photo_resync_whose_store_was_away_sweeps_nothing(library, kind):
    before = [path for path in pictures(library) if not path.startswith("Gone")]
    with store_fault(library, kind, PHOTO_STORE):
        library.index("R:photo")
        if kind != "stopped" or not ON_SERVER:
            assert set(before) <= set(pictures(library)), "before the request is done again"
    wait_for(lambda: done(library) and not library.exists(f"{QUEUE}.kept"), "the request to be done again")
    library.index("R:photo")
    assert pictures(library) == before
    assert albums(library).keys() == {"Trips", "Trips/2009", "Other", "Other/sub"}
    assert [row["title"] for row in album_rows(library, "Trips")] == ["typed", "typed"]


def test_a_photo_resync_whose_store_was_away_for_a_moment_sweeps_nothing(library):
    library.index("R:photo")
    before, albums_before = pictures(library), albums(library)
    for moment in range(1, 25):
        with store_fault(library, "broken", PHOTO_STORE, moment):
            library.index("R:photo")
        assert (pictures(library), albums(library)) == (before, albums_before), f"write {moment}, before it is done again"
        wait_for(lambda: done(library) and not library.exists(f"{QUEUE}.kept"), "the request to be done again")
        assert (pictures(library), albums(library)) == (before, albums_before), f"write {moment}"


def test_an_album_whose_name_is_too_long_to_be_marked_stays(placed):
    name = f"{'x' * 240}'/{'y' * 240}"
    write(placed, f"{PHOTO}/{name}/1.jpg")
    placed.index("R:photo")
    placed.store("update photo_share set title = 'typed'")
    before = placed.rows("photo_share")
    assert [row["sharename"] for row in before] == sorted([name.split("/")[0], name])
    placed.index("R:photo")
    placed.index("R:photo")
    assert placed.rows("photo_share") == before


@pytest.fixture
def collection(placed):
    """A running daemon with music, a part of which has gone since."""
    write(placed, *(f"{MUSIC}/{name}.pcm" for name in ("top", "a/1", "a/2", "a/3", "a/deep/er/4", "b/5", "b/gone", "gone/6")))
    placed.index("R:all")
    take_away(placed, f"{MUSIC}/gone")
    take_away(placed, f"{MUSIC}/b/gone.pcm")
    return placed


KEPT_MUSIC = sorted(f"{MUSIC}/{name}.pcm" for name in ("top", "a/1", "a/2", "a/3", "a/deep/er/4", "b/5"))
ALL_MUSIC = sorted([*KEPT_MUSIC, f"{MUSIC}/b/gone.pcm", f"{MUSIC}/gone/6.pcm"])


@pytest.mark.parametrize("kind", UNREADABLE)
def test_a_reindex_keeps_the_rows_of_a_folder_that_cannot_be_read(collection, kind):
    for word in ("music", "all"):
        with collection.places.failing(*fault(kind, f"{MUSIC}/a")):
            lines = collection.index(f"R:{word}")
        assert collection.paths("music") == KEPT_MUSIC, "what lies elsewhere and is gone goes"
        assert {f"{MUSIC}/a", f"{MUSIC}/a/deep", f"{MUSIC}/a/deep/er"} <= set(collection.paths("directory"))
        assert len(lines_of_keeping(lines, f"{MUSIC}/a")) == 1
    take_away(collection, f"{MUSIC}/a/deep")
    collection.index("R:music")
    assert collection.paths("music") == [path for path in KEPT_MUSIC if "deep" not in path]
    directories = [path for path in collection.paths("directory") if path.startswith(MUSIC)]
    assert directories == [MUSIC, f"{MUSIC}/a", f"{MUSIC}/b"]


@pytest.mark.parametrize("code", [errno.EACCES, errno.EIO], ids=errno.errorcode.get)
def test_a_folder_that_cannot_be_looked_at_keeps_its_own_row_and_is_named(collection, code):
    """What is in it can be read all the same."""
    before = collection.row("directory", f"{MUSIC}/a")
    write(collection, f"{MUSIC}/a/new.pcm")
    for first in (1, 2):
        with collection.places.failing(Rule("stat", f"{MUSIC}/a", code, first)):
            lines = collection.index("R:music")
        assert collection.row("directory", f"{MUSIC}/a") == before, first
        assert len(lines_of_keeping(lines, f"{MUSIC}/a")) == 1
        assert f"{MUSIC}/a/new.pcm" in collection.paths("music")


def test_a_reindex_keeps_all_rows_when_the_share_itself_cannot_be_read(collection):
    for kind in UNREADABLE:
        with collection.places.failing(*fault(kind, MUSIC)):
            collection.index("R:music")
        assert set(KEPT_MUSIC) <= set(collection.paths("music")), kind


def test_a_reindex_marks_the_tables_as_ever(collection):
    """The music server is told, since rows are deleted or might have been."""
    collection.wakes("mt-daapd")  # the signal of the run before has arrived: two that wait are one
    before = collection.peer_signals("mt-daapd").count("SIGHUP")
    collection.index("R:music")
    collection.wakes("mt-daapd")
    assert collection.peer_signals("mt-daapd").count("SIGHUP") == before + 1


# --- paths that cannot be looked at


@pytest.mark.parametrize("line", ["D:{}/a", "d:{}/a/1.pcm", "D:{}/a/1.pcm"])
def test_a_removal_of_what_cannot_be_looked_at_keeps_the_rows(collection, line):
    for code in (errno.EACCES, errno.EIO, errno.ESTALE):
        with collection.places.failing(Rule("stat", f"{MUSIC}/a*", code), Rule("opendir", f"{MUSIC}/a*", code)):
            lines = collection.index(line.format(MUSIC))
        assert set(KEPT_MUSIC) <= set(collection.paths("music")), errno.errorcode[code]
        assert len(lines_of_keeping(lines, f"{MUSIC}/a")) == 1


@pytest.mark.parametrize("code", [errno.EACCES, errno.EIO], ids=errno.errorcode.get)
def test_a_removal_of_an_album_that_cannot_be_looked_at_keeps_it(library, code):
    before = library.snapshot()
    with library.places.failing(Rule("stat", f"{PHOTO}/Trips*", code), Rule("opendir", f"{PHOTO}/Trips*", code)):
        library.index(f"D:{PHOTO}/Trips", f"d:{PHOTO}/Trips/1.jpg")
    assert library.snapshot() == before


def test_forgetting_on_purpose(collection):
    """The rows of what cannot be looked at go when somebody says so."""
    mount(collection, collection.mkdir(USB))
    write_inside(collection, f"{USB}/u.pcm")
    collection.index("R:music")
    unmount(collection, USB)
    collection.index(f"D:{USB}")
    assert f"{USB}/u.pcm" in collection.paths("music")
    assert collection.ctl("forget", USB)["status"] == DONE
    wait_for(lambda: f"{USB}/u.pcm" not in collection.paths("music"), "the rows to go")
    assert collection.paths("music") == KEPT_MUSIC


# --- storage that is away


def away_known_from_fstab(daemon, place):
    daemon.write(FSTAB, f"# a disk\nUUID=1234-5678 {place} ext4 defaults 0 2\n")
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)


def away_known_from_fstab_noauto(daemon, place):
    daemon.write(FSTAB, f"server:/export {place.replace(' ', chr(92) + '040')} nfs noauto,ro 0 0\n")
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)


def away_known_from_the_last_walk(daemon, place):
    unmount(daemon, place)


def away_known_from_the_last_walk_of_a_daemon_before(daemon, place):
    daemon.kill()
    unmount(daemon, place)
    daemon.start()


def away_known_from_an_automount(daemon, place):
    unmount(daemon, place)
    if daemon.exists(REMEMBERED):
        daemon.remove(REMEMBERED)
    with open("/proc/self/mountinfo", encoding="utf-8") as file:
        others = file.read()
    daemon.write("/tmp/mountinfo", others + f"900 1 0:99 / {place} rw,relatime - autofs systemd-1 rw,fd=5,direct\n")
    daemon.write("/tmp/mounts", f"systemd-1 {place} autofs rw,relatime,fd=5,direct 0 0\n")
    daemon.places.set(*(Rule("open", name, REDIRECT, other="/tmp/mountinfo" if "mountinfo" in name else "/tmp/mounts")
                        for name in (*MOUNTS, "/proc/thread-self/mountinfo")))


AWAY_STORAGE = [away_known_from_fstab, away_known_from_fstab_noauto, away_known_from_the_last_walk,
                away_known_from_the_last_walk_of_a_daemon_before, away_known_from_an_automount]
AWAY_NAMES = [take.__name__.removeprefix("away_known_from_").replace("_", " ") for take in AWAY_STORAGE]


@pytest.fixture
def stick(placed):
    """A running daemon whose music share is a file system of its own."""
    mount(placed, MUSIC)
    for name in ("top", "a/1", "a/deep/2"):
        write_inside(placed, f"{MUSIC}/{name}.pcm")
    placed.index("R:all")
    assert len(placed.paths("music")) == 3
    return placed


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_reindex_of_a_share_that_is_not_mounted_keeps_its_rows(stick, take):
    before = stick.snapshot()
    take(stick, MUSIC)
    for line in ("R:music", "R:all", f"A:{MUSIC}", f"D:{MUSIC}/a", f"d:{MUSIC}/top.pcm"):
        lines = stick.index(line)
        assert {table: stick.snapshot()[table] for table in ("music", "directory")} == {
            table: before[table] for table in ("music", "directory")}, line
        if line[0] == "R":
            assert len(lines_of_keeping(lines, MUSIC)) == 1, (line, lines)
    stick.places.clear()
    mount(stick, MUSIC)
    write_inside(stick, f"{MUSIC}/a/1.pcm")
    stick.index("R:music")
    assert stick.paths("music") == [f"{MUSIC}/a/1.pcm"]


def test_a_stray_file_where_nothing_is_mounted_does_not_make_it_a_share(stick):
    unmount(stick, MUSIC)
    stick.write(f"{MUSIC}/stray.pcm")
    before = stick.paths("music")
    stick.index("R:music")
    assert stick.paths("music") == before, "neither emptied nor indexed anew"


@pytest.mark.parametrize("line", [f"a:{MUSIC}/stray.pcm", f"A:{MUSIC}/stray.pcm", f"A:{MUSIC}/new"])
def test_what_is_written_where_a_disk_was_does_not_cost_the_disk_its_rows(stick, line):
    """It would be something that the catalogue has, and the disk would count as there."""
    before = stick.paths("music")
    unmount(stick, MUSIC)
    write(stick, f"{MUSIC}/stray.pcm", f"{MUSIC}/new/stray.pcm")
    lines = stick.index(line)
    assert [text for text in lines if "is away: it is not indexed" in text]
    stick.index("R:music")
    assert stick.paths("music") == before


def test_a_tree_that_is_renamed_to_itself_keeps_what_is_away(placed):
    """That is how the watcher has a tree indexed anew."""
    write(placed, f"{MUSIC}/d/top.pcm", f"{MUSIC}/d/gone.pcm", f"{MUSIC}/d/shut/1.pcm")
    mount(placed, placed.mkdir(f"{MUSIC}/d/usb"))
    write_inside(placed, f"{MUSIC}/d/usb/2.pcm")
    placed.index("R:music")
    unmount(placed, f"{MUSIC}/d/usb")
    placed.remove(f"{MUSIC}/d/gone.pcm")
    kept = [f"{MUSIC}/d/shut/1.pcm", f"{MUSIC}/d/top.pcm", f"{MUSIC}/d/usb/2.pcm"]
    for path in (f"{MUSIC}/d", f"{MUSIC}/d/usb", f"{MUSIC}/d/shut"):
        with placed.places.failing(Rule("opendir", f"{MUSIC}/d/shut", errno.EIO)):
            lines = placed.index(f"N:{path}:{path}")
        assert placed.paths("music") == kept
        for place in (f"{MUSIC}/d/usb", f"{MUSIC}/d/shut"):
            assert len(lines_of_keeping(lines, place)) == (1 if place.startswith(path) else 0)


@pytest.mark.parametrize("below", ["", "/music"])
def test_storage_that_a_link_in_a_share_leads_to(placed, below):
    """Without it the link leads to an empty folder, or nowhere."""
    disk = placed.mkdir("/volume1/disk")
    mount(placed, disk)
    write_inside(placed, f"{disk}{below}/d/1.pcm")
    write_inside(placed, f"{disk}{below}/d/1.jpg", photo.jpeg(3, 2))
    for share in (MUSIC, PHOTO):
        write(placed, f"{share}/a/2.jpg", f"{share}/a/2.pcm")
        os.symlink(f"{disk}{below}", placed.box.path(f"{share}/link"))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed'")
    before = placed.snapshot()
    assert len(before["music"]) == len(before["photo"]) == 4 and len(before["photo_share"]) == 3
    unmount(placed, disk)
    for line, keeping in (("R:music", 1), ("R:photo", 2), ("R:all", 2), (f"D:{MUSIC}/link/d", 1), (f"d:{MUSIC}/link/d/1.pcm", 1),
                          (f"D:{PHOTO}/link/d", 1), (f"D:{MUSIC}/link", below != "")):
        lines = placed.index(line)
        assert placed.snapshot() == before, line
        assert len(lines_of_keeping(lines, "/link")) == keeping, (line, lines)
    assert placed.ctl("check", "--fix")["status"] != DONE
    wait_for(lambda: done(placed), "what was queued")
    assert placed.snapshot() == before
    os.unlink(placed.box.path(f"{MUSIC}/link"))
    placed.index("R:music")
    assert placed.paths("music") == [path for path in (row["path"] for row in before["music"])
                                     if not path.startswith(f"{MUSIC}/link")], "a link that was removed is gone"
    mount(placed, disk)
    placed.index("R:all", "R:photo")
    assert not [path for path in placed.paths("photo") if "/link/" in path], "an empty disk is empty"


def test_a_disk_that_is_mounted_and_empty_is_empty(stick):
    unmount(stick, MUSIC)
    mount(stick, MUSIC)
    stick.index("R:music")
    assert stick.paths("music") == []


def test_a_share_that_never_was_a_mount_and_is_empty_now_is_empty(placed):
    write(placed, f"{MUSIC}/a/1.pcm")
    placed.index("R:music")
    take_away(placed, f"{MUSIC}/a")
    placed.index("R:music")
    assert placed.paths("music") == [] and placed.paths("directory") == [MUSIC]


@pytest.mark.parametrize("word", ["music", "photo", "all"])
def test_a_link_that_leads_nowhere_keeps_the_rows(placed, word):
    write(placed, f"{MUSIC}/a/1.pcm", f"{PHOTO}/Trips/2.jpg")
    placed.index("R:all", "R:photo")
    before = placed.snapshot()
    for share in (MUSIC, PHOTO):
        take_away(placed, share)
    lines = placed.index(f"R:{word}")
    assert placed.snapshot() == before
    assert any(share in line for share in (MUSIC, PHOTO) for line in lines)


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_photo_resync_of_a_share_that_is_not_mounted_keeps_its_rows(placed, take):
    mount(placed, PHOTO)
    for name in ("top", "Trips/1", "Trips/2009/2"):
        write_inside(placed, f"{PHOTO}/{name}.jpg", photo.jpeg(3, 2))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed'")
    before = placed.snapshot()
    assert len(before["photo_image"]) == 3 and len(before["photo_share"]) == 2
    take(placed, PHOTO)
    for line in ("R:photo", "U:photo", f"D:{PHOTO}/Trips", f"A:{PHOTO}"):
        placed.index(line)
        now = placed.snapshot()
        assert [row["path"] for row in now["photo_image"]] == [row["path"] for row in before["photo_image"]], line
        assert [(row["sharename"], row["title"], row["shareid"]) for row in now["photo_share"]] == [
            (row["sharename"], row["title"], row["shareid"]) for row in before["photo_share"]], line
        assert now["photo"] == before["photo"], line


@pytest.mark.parametrize("take", AWAY_STORAGE, ids=AWAY_NAMES)
def test_a_mount_inside_a_share_that_is_away_keeps_its_rows_and_no_others(placed, take):
    write(placed, f"{MUSIC}/top.pcm", f"{MUSIC}/gone.pcm")
    mount(placed, placed.mkdir(USB))
    write_inside(placed, f"{USB}/a/1.pcm")
    placed.index("R:music")
    take(placed, USB)
    placed.remove(f"{MUSIC}/gone.pcm")
    lines = placed.index("R:music")
    assert placed.paths("music") == [f"{MUSIC}/top.pcm", f"{USB}/a/1.pcm"]
    assert f"{USB}/a" in placed.paths("directory")
    assert len(lines_of_keeping(lines, USB)) == 1


def test_a_share_inside_a_mount_that_is_away_keeps_its_rows(placed):
    """The mount is above the share, whose folder is gone with it."""
    disk = placed.mkdir("/volume1/disk")
    mount(placed, disk)
    write_inside(placed, f"{disk}/music/1.pcm")
    os.unlink(placed.box.path("/var/services/music"))
    os.symlink(f"{disk}/music", placed.box.path("/var/services/music"))
    placed.index("R:music")
    assert placed.paths("music") == [f"{disk}/music/1.pcm"]
    unmount(placed, disk)
    for prepare in (lambda: None, lambda: placed.mkdir(f"{disk}/music")):
        prepare()
        placed.index("R:music")
        assert placed.paths("music") == [f"{disk}/music/1.pcm"]


def test_the_control_tool_does_not_mend_what_is_away(stick):
    before = stick.snapshot()
    unmount(stick, MUSIC)
    stick.ctl("check", "--fix")
    wait_for(lambda: not stick.exists(QUEUE) and not stick.exists(WORKING_COPY), "what was queued")
    assert stick.snapshot() == before


def test_the_control_tool_does_not_mend_what_is_away_inside_a_share(placed):
    write(placed, f"{MUSIC}/top.pcm", f"{MUSIC}/gone.pcm")
    mount(placed, placed.mkdir(USB))
    write_inside(placed, f"{USB}/a/1.pcm")
    placed.index("R:music")
    unmount(placed, USB)
    placed.remove(f"{MUSIC}/gone.pcm")
    placed.ctl("check", "--fix")
    wait_for(lambda: f"{MUSIC}/gone.pcm" not in placed.paths("music"), "what is gone to go")
    assert placed.paths("music") == [f"{MUSIC}/top.pcm", f"{USB}/a/1.pcm"]


# --- slow files


def test_no_file_is_read_under_an_old_write_transaction(make_placed):
    """A batch of one catalogue, while only the other gets rows."""
    daemon = make_placed(speed=50).start()
    write(daemon, f"{MUSIC}/1.pcm", f"{PHOTO}/1.jpg", f"{PHOTO}/2.jpg")
    daemon.index("U:photo")
    daemon.places.set(*(Rule("open", f"{PHOTO}/{number}.jpg", HOLD, last=1) for number in (1, 2)))
    daemon.queue(f"a:{MUSIC}/1.pcm", "U:photo")
    daemon.signal()
    for place in ("first", "second"):
        daemon.places.wait_held()
        if place == "second":
            assert daemon.row("music", f"{MUSIC}/1.pcm"), "it is written for good before the next picture is read"
        time.sleep(2 / daemon.speed)
        daemon.places.release()


def test_nobody_waits_for_a_converters_queue_under_an_old_write_transaction(make_placed):
    daemon = make_placed(speed=50)
    daemon.start_peer(THUMB_DAEMON)
    daemon.start()
    write(daemon, f"{PHOTO}/1.jpg")
    # Each attempt opens the queue once or twice, a second apart from the next.
    daemon.places.set(Rule("open", THUMB_QUEUE, HOLD, first=9, last=9), Rule("open", THUMB_QUEUE, errno.EACCES))
    daemon.queue(f"a:{PHOTO}/1.jpg")
    daemon.signal()
    daemon.places.wait_held()
    assert daemon.row("photo", f"{PHOTO}/1.jpg") and daemon.row("photo_image", f"{PHOTO}/1.jpg")
    daemon.places.clear()

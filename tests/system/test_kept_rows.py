# SPDX-License-Identifier: GPL-2.0-or-later
"""What cannot be looked at is not forgotten: folders that cannot be read, a store that was away for a moment. One line names
the place; when all is well again, what is gone goes."""
import errno
import shutil
import time

import pytest

from harness.catalogue import ON_SERVER
from harness.daemon import THUMB_DAEMON, THUMB_QUEUE, wait_for
from harness.keeping import DONE, MUSIC, PHOTO, USB, lines_of_keeping, take_away, write
from harness.photo import albums, pictures
from harness.places import HOLD, Rule, mount, unmount, write_inside
from harness.store_faults import AWAY, PHOTO as PHOTO_STORE, store_fault

# The library of failing calls does not go with a sanitizer.
pytestmark = pytest.mark.tracing

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
    library.wait_done()
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
        library.wait_done()
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

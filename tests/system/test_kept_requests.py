# SPDX-License-Identifier: GPL-2.0-or-later
"""A request is forgotten when its rows are on disk. What a catalogue could not take is kept, in order, and done again; all
else is done with at once."""
import errno
import os
import re
import time

import pytest

from harness import photo
from harness.catalogue import ON_SERVER
from harness.daemon import QUEUE, WORKING_COPY, wait_for
from harness.keeping import MUSIC, PHOTO, write
from harness.photo import albums, pictures
from harness.places import HOLD, Rule, kill_when_held
from harness.store_faults import AWAY, MEDIA, PHOTO as PHOTO_STORE, REFUSED, store_fault

pytestmark = pytest.mark.tracing

KEPT = f"{QUEUE}.kept"
PICTURE, SONG = f"{PHOTO}/Trip/a.jpg", f"{MUSIC}/a.pcm"
LINE = re.compile(r"(\d+) (.+)")
WEEK = 7 * 24 * 3600


def move(daemon, old, new):
    os.makedirs(os.path.dirname(daemon.box.path(new)), exist_ok=True)
    os.rename(daemon.box.path(old), daemon.box.path(new))


def kept(daemon):
    """The lines that are kept."""
    return [LINE.fullmatch(line)[2] for line in daemon.lines(KEPT)]


def ages(daemon):
    """For how long each of them has been, in seconds of running time."""
    return [int(LINE.fullmatch(line)[1]) for line in daemon.lines(KEPT)]


def done(daemon):
    return not any(map(daemon.exists, (QUEUE, WORKING_COPY, KEPT)))


def with_files(placed):
    write(placed, SONG, PICTURE)
    placed.index("R:all", "R:photo")
    return placed


@pytest.fixture
def library(placed):
    """A running daemon with two files, whose catalogues are there."""
    return with_files(placed)


@pytest.fixture
def slow_library(make_placed):
    """The same; its next attempt comes a second after a run, for tests that look at one run by itself."""
    return with_files(make_placed(speed=10).start())


# --- what is kept and what is not


@pytest.mark.parametrize("kind", AWAY[:-1])
def test_a_photo_catalogue_that_is_away_does_not_hold_up_music(library, kind):
    write(library, f"{MUSIC}/b.pcm", f"{PHOTO}/Trip/b.jpg")
    with store_fault(library, kind, PHOTO_STORE):
        library.index(f"a:{PHOTO}/Trip/b.jpg", f"a:{MUSIC}/b.pcm")
        assert not library.exists(QUEUE) and not library.exists(WORKING_COPY)
        assert kept(library) == [f"a:{PHOTO}/Trip/b.jpg"]
        assert library.paths("music") == [SONG, f"{MUSIC}/b.pcm"]
        write(library, f"{MUSIC}/c.pcm")
        library.index(f"a:{MUSIC}/c.pcm")
        assert library.paths("music") == [SONG, f"{MUSIC}/b.pcm", f"{MUSIC}/c.pcm"]
        assert kept(library) == [f"a:{PHOTO}/Trip/b.jpg"]
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "Trip/b.jpg"]


@pytest.mark.parametrize("kind", AWAY[:-1])
def test_a_media_catalogue_that_is_away_does_not_hold_up_the_photo_library(library, kind):
    library.store("update photo_image set width = 99")
    with store_fault(library, kind, MEDIA):
        library.index("U:photo", f"a:{SONG}")
        assert kept(library) == [f"a:{SONG}"]
        assert library.row("photo_image", PICTURE)["width"] == 3
    library.wait_done()


def test_a_row_that_is_refused_for_its_own_values_is_not_kept(library):
    bad, good = f"{MUSIC}/{REFUSED}.pcm", f"{MUSIC}/good.pcm"
    write(library, bad, good)
    with store_fault(library, "row", MEDIA):
        lines = library.index(f"a:{bad}", f"a:{good}")
        assert done(library) and library.paths("music") == [SONG, good]
        assert any(bad in line for line in lines)


@pytest.mark.parametrize("kind", AWAY)
def test_whatever_breaks_everything_is_done_in_the_end(library, kind):
    names = [f"{number:03}" for number in range(60)]
    write(library, *(f"{MUSIC}/{name}.pcm" for name in names), *(f"{PHOTO}/Trip/{name}.jpg" for name in names))
    for key in (MEDIA, PHOTO_STORE):
        with store_fault(library, kind, key, moment=7):
            library.index(f"A:{MUSIC}", *(f"a:{PHOTO}/Trip/{name}.jpg" for name in ("a", *names)))
        library.wait_done()
        assert library.paths("music") == sorted([*(f"{MUSIC}/{name}.pcm" for name in names), SONG])
        assert pictures(library) == sorted([*(f"Trip/{name}.jpg" for name in names), "Trip/a.jpg"])
        library.index("T:music", "T:photo_image")


# --- the kept file


def test_kept_lines_stay_in_their_order_and_equal_ones_once(library):
    names = "dbcad"
    write(library, *(f"{PHOTO}/{name}.jpg" for name in names))
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(*(f"a:{PHOTO}/{name}.jpg" for name in names))
        assert kept(library) == [f"a:{PHOTO}/{name}.jpg" for name in "dbca"]
        library.index(*(f"a:{PHOTO}/{name}.jpg" for name in "xca"), f"a:{PHOTO}/none.jpg")
        assert kept(library)[:4] == [f"a:{PHOTO}/{name}.jpg" for name in "dbca"]
        assert all(re.fullmatch(r"\d+ a:/volume1/photo/.*", line) for line in library.lines(KEPT))
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "a.jpg", "b.jpg", "c.jpg", "d.jpg"]


def test_the_earlier_of_equal_lines_keeps_its_age(library):
    write(library, f"{PHOTO}/b.jpg")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(f"a:{PHOTO}/b.jpg")
        wait_for(lambda: ages(library)[0] >= 60, "time to pass")
        library.index(f"a:{PHOTO}/b.jpg", f"a:{PICTURE}")
        assert kept(library) == [f"a:{PHOTO}/b.jpg", f"a:{PICTURE}"]
        assert ages(library)[0] >= 60 > ages(library)[1]


def test_names_of_any_bytes_are_kept_as_they_are(library):
    names = [b"a b", b" lead", b"trail ", b"tab\t", b"caf\xe9", b"\xff\xfe", b"100%s", b"back\\slash", b"1 2", b"a:b"]
    lines = [b"a:" + PHOTO.encode() + b"/" + name + b".jpg" for name in names]
    for line in lines:
        library.write(line[2:], photo.jpeg(3, 2))
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(*lines)
        assert [line.encode("latin-1") for line in kept(library)] == lines
        library.kill()
        library.start()
    library.wait_done()
    assert len(pictures(library)) == len(names) + 1


def test_the_working_copy_goes_only_when_the_kept_lines_are_on_disk(library):
    write(library, f"{PHOTO}/b.jpg")
    with store_fault(library, "locked", PHOTO_STORE):
        library.places.set(Rule("unlink", WORKING_COPY, HOLD))
        library.queue(f"a:{PHOTO}/b.jpg", f"a:{SONG}")
        library.signal()
        library.places.wait_held()
        assert kept(library) == [f"a:{PHOTO}/b.jpg"]
        kill_when_held(library)
    library.start()
    library.wait_done()
    assert "b.jpg" in pictures(library)


@pytest.mark.parametrize("call, code", [("open", errno.EROFS), ("write", errno.ENOSPC), ("sync", errno.EIO),
                                        ("rename", errno.EACCES)], ids=["open", "write", "sync", "rename"])
def test_a_kept_file_that_cannot_be_written_leaves_the_working_copy(slow_library, call, code):
    write(slow_library, f"{PHOTO}/b.jpg", f"{MUSIC}/b.pcm")
    with store_fault(slow_library, "locked", PHOTO_STORE):
        slow_library.places.set(Rule(call, KEPT if call == "rename" else f"{KEPT}.new", code))
        lines = slow_library.index(f"a:{PHOTO}/b.jpg", f"a:{MUSIC}/b.pcm")
        assert slow_library.lines(WORKING_COPY) == [f"a:{PHOTO}/b.jpg", f"a:{MUSIC}/b.pcm"]
        assert sum(KEPT in line for line in lines) == 1
        assert f"{MUSIC}/b.pcm" in slow_library.paths("music")
    slow_library.places.clear()
    slow_library.wait_done()
    assert "b.jpg" in pictures(slow_library)


def test_a_kept_file_that_was_torn_or_damaged_costs_the_damaged_lines_alone(library):
    write(library, *(f"{PHOTO}/{name}.jpg" for name in "bcd"))
    library.stop()
    library.write(KEPT, f"0 a:{PHOTO}/b.jpg\nnonsense\n\n12 \n99999999999999999999999 a:{PHOTO}/c.jpg\n-1 a:{PHOTO}/x.jpg\n3 a:{PHOTO}/d.jpg\n")
    library.start()
    library.wait_done()
    assert {"b.jpg", "d.jpg"} <= set(pictures(library))


def test_a_kept_file_that_breaks_off_when_it_is_read_once_more_costs_no_other_line(library):
    """It is read a second time when the run is over and tells what has failed."""
    write(library, f"{MUSIC}/b.pcm")
    library.stop()
    library.write(KEPT, "0 U:photo\n")
    library.write(WORKING_COPY, f"a:{MUSIC}/b.pcm\n")
    with store_fault(library, "stopped", MEDIA):
        library.places.set(*library.places.rules, Rule("read", KEPT, errno.EIO, first=4))
        library.start()
        wait_for(lambda: any(f"Failed to read {KEPT}" in text for text in library.log.texts()) and library.idle(),
                 "the kept file to break off")
    library.places.clear()
    library.wait_done()
    assert f"{MUSIC}/b.pcm" in library.paths("music")


# --- when they are done again


def test_kept_lines_are_done_again_by_the_clock(library):
    write(library, f"{PHOTO}/b.jpg")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(f"a:{PHOTO}/b.jpg")
    library.wait_done()
    assert "b.jpg" in pictures(library), "nobody has signalled"


def test_the_time_between_two_attempts_grows(make_placed):
    library = make_placed(speed=200).start()
    write(library, f"{PHOTO}/b.jpg")
    library.index("R:photo")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(f"a:{PHOTO}/b.jpg")
        time.sleep(8) # 1600 seconds: 10, 30, 70, 150, 310, 630, 1230, 1830
        attempts = sum("Failed to open the database" in text for text in library.log.texts())
    assert 5 <= attempts <= 10


@pytest.mark.parametrize("end", ["stop", "kill"])
def test_kept_lines_survive_the_daemons_end(library, end):
    write(library, f"{PHOTO}/b.jpg")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(f"a:{PHOTO}/b.jpg")
        wait_for(lambda: ages(library)[0] > 30, "time to pass")
        getattr(library, end)()
        assert kept(library) == [f"a:{PHOTO}/b.jpg"]
        before = ages(library)
        library.start()
        assert kept(library) == [f"a:{PHOTO}/b.jpg"] and before[0] <= ages(library)[0]
    library.wait_done()
    assert "b.jpg" in pictures(library)


def test_a_hundred_runs_do_not_make_the_daemon_forget(library):
    write(library, f"{PHOTO}/b.jpg", f"{MUSIC}/b.pcm")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.queue(f"a:{PHOTO}/b.jpg")
        for _ in range(110):
            library.index(f"a:{MUSIC}/b.pcm")
        assert kept(library) == [f"a:{PHOTO}/b.jpg"]
    assert not any("given up" in text for text in library.log.texts())
    library.wait_done()
    assert "b.jpg" in pictures(library)


def test_after_seven_days_of_running_time_a_line_is_given_up_and_told(library):
    write(library, *(f"{PHOTO}/{name}.jpg" for name in "bc"))
    library.stop()
    library.write(KEPT, f"{WEEK - 60} a:{PHOTO}/b.jpg\n5 a:{PHOTO}/c.jpg\n")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.start()
        wait_for(lambda: kept(library) == [f"a:{PHOTO}/c.jpg"], "the old line to be given up")
        assert sum(f"a:{PHOTO}/b.jpg" in text and "given up" in text for text in library.log.texts()) == 1
        assert not any(f"a:{PHOTO}/c.jpg" in text and "given up" in text for text in library.log.texts())
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "c.jpg"]


def test_time_while_the_daemon_does_not_run_does_not_count(library):
    write(library, f"{PHOTO}/b.jpg")
    library.stop()
    library.write(KEPT, f"{WEEK - 3600} a:{PHOTO}/b.jpg\n")
    os.utime(library.box.path(KEPT), (1, 1))
    with store_fault(library, "stopped", PHOTO_STORE):
        library.start()
        assert kept(library) == [f"a:{PHOTO}/b.jpg"]
    library.wait_done()
    assert "b.jpg" in pictures(library)


# --- what waits behind a kept line


# A line that is kept, and a later one.
TOUCHING = [
    (f"a:{PICTURE}", f"d:{PICTURE}"),
    (f"a:{PICTURE}", f"D:{PHOTO}/Trip"),
    (f"A:{PHOTO}/Trip", f"d:{PICTURE}"),
    (f"N:{PHOTO}/Trip:{PHOTO}/Old", f"d:{PICTURE}"),
    (f"N:{PHOTO}/New:{PHOTO}/Trip/sub", f"D:{PHOTO}/Trip"),
    ("R:photo", f"d:{PICTURE}"),
    ("U:photo", f"d:{PICTURE}"),
    ("T:photo_image", f"d:{PICTURE}"),
    ("T:photo_share", f"d:{PICTURE}"),
]


@pytest.mark.parametrize("first, later", TOUCHING)
def test_later_lines_that_touch_a_kept_one_are_kept_untried(library, first, later):
    """The media catalogue, which is there, tells whether the later line was tried."""
    write(library, f"{PICTURE}.jpg", f"{PHOTO}/Trip2/b.jpg", f"{PHOTO}/New/c.jpg")
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(first)
        assert kept(library) == [first] and PICTURE in library.paths("photo")
        move(library, f"{PHOTO}/Trip", "/volume1/elsewhere")
        library.index(later)
        assert kept(library) == [first, later]
        assert PICTURE in library.paths("photo"), "untried"
    library.wait_done()
    assert library.row("photo", PICTURE) is None and "Trip/a.jpg" not in pictures(library)


@pytest.mark.parametrize("first", ["T:music", "R:music"])
def test_behind_a_line_for_a_whole_catalogue_all_of_it_waits_and_nothing_of_the_other(library, first):
    library.store("update photo_image set width = 99")
    write(library, f"{MUSIC}/b.pcm")
    with store_fault(library, "locked", MEDIA):
        library.index(first, f"a:{MUSIC}/b.pcm", "U:photo")
        assert kept(library) == [first, f"a:{MUSIC}/b.pcm"]
        assert library.row("photo_image", PICTURE)["width"] == 3
    library.wait_done()
    assert f"{MUSIC}/b.pcm" in library.paths("music")


def test_a_table_that_is_emptied_between_two_lines_is_emptied_between_them(library):
    write(library, *(f"{PHOTO}/{name}.jpg" for name in "bc"))
    with store_fault(library, "stopped", PHOTO_STORE):
        library.index(f"a:{PHOTO}/b.jpg", "T:photo_image", f"a:{PHOTO}/c.jpg")
        library.index(f"a:{PICTURE}")
        assert kept(library) == [f"a:{PHOTO}/b.jpg", "T:photo_image", f"a:{PHOTO}/c.jpg", f"a:{PICTURE}"]
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "c.jpg"]


# --- renames


def typed_picture(daemon, path):
    row = daemon.row("photo_image", path)
    return row and (row["id"], row["title"])


def type_title(daemon, path, title):
    daemon.store("update photo_image set title = ? where path = ?", title, path)


def test_a_chain_of_renames_is_done_again_in_its_order(library):
    type_title(library, PICTURE, "typed")
    number = library.row("photo_image", PICTURE)["id"]
    with store_fault(library, "stopped", PHOTO_STORE):
        old = PICTURE
        for name in ("b", "c", "d"):
            move(library, old, f"{PHOTO}/Trip/{name}.jpg")
            library.index(f"N:{PHOTO}/Trip/{name}.jpg:{old}")
            old = f"{PHOTO}/Trip/{name}.jpg"
    library.wait_done()
    assert pictures(library) == ["Trip/d.jpg"] and typed_picture(library, old) == (number, "typed")
    assert library.paths("photo") == [old]


def test_a_name_that_is_made_anew_while_its_rename_is_kept_has_its_own_row(library):
    type_title(library, PICTURE, "typed")
    new = f"{PHOTO}/Trip/b.jpg"
    with store_fault(library, "stopped", PHOTO_STORE):
        move(library, PICTURE, new)
        library.index(f"N:{new}:{PICTURE}")
        write(library, PICTURE)
        library.index(f"a:{PICTURE}")
        assert kept(library) == [f"N:{new}:{PICTURE}", f"a:{PICTURE}"]
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "Trip/b.jpg"]
    assert library.paths("photo") == [PICTURE, new]
    assert typed_picture(library, PICTURE)[1] == "typed", "the row of a file that is there stays where it is"


def test_a_folder_that_is_made_anew_while_its_rename_is_kept(library):
    """Of its rows those move whose files are gone; the rest is added."""
    write(library, f"{PHOTO}/Trip/z.jpg")
    library.index(f"A:{PHOTO}/Trip")
    for name in "az":
        type_title(library, f"{PHOTO}/Trip/{name}.jpg", f"typed {name}")
    with store_fault(library, "stopped", PHOTO_STORE):
        move(library, f"{PHOTO}/Trip", f"{PHOTO}/New")
        library.index(f"N:{PHOTO}/New:{PHOTO}/Trip")
        write(library, PICTURE, f"{PHOTO}/Trip/n.jpg")
        library.index(f"A:{PHOTO}/Trip")
    library.wait_done()
    assert pictures(library) == ["New/a.jpg", "New/z.jpg", "Trip/a.jpg", "Trip/n.jpg"]
    assert library.paths("photo") == library.paths("photo_image")
    assert typed_picture(library, f"{PHOTO}/New/z.jpg")[1] == "typed z"
    assert typed_picture(library, PICTURE)[1] == "typed a"
    assert albums(library).keys() == {"New", "Trip"}


def test_a_rename_done_again_after_a_kill_loses_nothing(library):
    """The working copy was left, so that all of it is done again, with the disk as it is now."""
    type_title(library, PICTURE, "typed")
    new = f"{PHOTO}/Trip/b.jpg"
    move(library, PICTURE, new)
    library.places.set(Rule("unlink", WORKING_COPY, HOLD))
    library.queue(f"N:{new}:{PICTURE}")
    library.signal()
    library.places.wait_held()
    kill_when_held(library)
    write(library, PICTURE)
    library.queue(f"a:{PICTURE}")
    library.start()
    library.wait_done()
    assert pictures(library) == ["Trip/a.jpg", "Trip/b.jpg"]
    assert library.paths("photo") == [PICTURE, new]
    assert typed_picture(library, new)[1] == "typed"


def test_a_rename_of_a_videos_texts_is_accounted_for(make_placed):
    """It is the only statement of its line for the photo catalogue, on a connection whose rows are open."""
    library = make_placed(speed=50).start() # the video is probed
    old, new = f"{PHOTO}/a.avi", f"{PHOTO}/b.avi"
    write(library, new)
    library.index("U:photo")
    library.store("delete from video_desc")
    for table in ("video_desc", "video_comment"):
        library.store(f"insert into {table} (path) values (?)", old)
    with store_fault(library, "locked", PHOTO_STORE) if not ON_SERVER else locked_texts(library):
        library.index(f"N:{new}:{old}")
        assert kept(library) == [f"N:{new}:{old}"]
    library.wait_done()
    assert library.paths("video_desc") == [new] and library.paths("video_comment") == [new]


def locked_texts(library):
    import contextlib # pylint: disable=import-outside-toplevel
    import psycopg2 # pylint: disable=import-outside-toplevel
    other = psycopg2.connect(library.catalogue.keys[PHOTO_STORE])
    other.cursor().execute("lock table video_desc in share row exclusive mode")
    return contextlib.closing(other)


# --- writers


def test_a_line_that_comes_after_the_last_look_is_done(library):
    """Its writer still has the file open when its name goes."""
    write(library, f"{MUSIC}/late.pcm", f"{MUSIC}/b.pcm")
    with open(library.box.path(QUEUE), "ab", buffering=0) as writer:
        writer.write(f"a:{MUSIC}/b.pcm\n".encode())
        library.places.set(Rule("unlink", WORKING_COPY, HOLD))
        library.signal()
        library.places.wait_held()
        writer.write(f"a:{MUSIC}/late.pcm\n".encode())
        library.places.clear()
        wait_for(lambda: f"{MUSIC}/late.pcm" in library.paths("music"), "the late line to be done", timeout=5)
    library.wait_done()


def test_late_lines_are_kept_before_they_are_done(library):
    write(library, f"{MUSIC}/late.pcm")
    with open(library.box.path(QUEUE), "ab", buffering=0) as writer:
        writer.write(f"a:{SONG}\n".encode())
        library.places.set(Rule("unlink", WORKING_COPY, HOLD), Rule("stat", f"{MUSIC}/late.pcm", HOLD))
        library.signal()
        library.places.wait_held()
        writer.write(f"a:{MUSIC}/late.pcm\n".encode())
        library.places.release()
        wait_for(lambda: library.exists(KEPT), "the late line to be kept", timeout=5)
        library.places.wait_held()
        assert library.lines(KEPT) == [f"0 a:{MUSIC}/late.pcm"] and not library.exists(WORKING_COPY)
        kill_when_held(library)
    library.start()
    library.wait_done()
    assert f"{MUSIC}/late.pcm" in library.paths("music")


# --- what is told


def of_first_run(lines):
    """Those up to what a run tells at its end; on this clock the next one may have begun by the time that the log is read."""
    ends = [number for number, line in enumerate(lines) if "Failed to store all rows." in line]
    assert ends, lines
    return lines[:ends[0] + 1]


@pytest.mark.parametrize("kind", ["locked", "stopped", "full", "read-only"])
def test_a_store_that_is_away_costs_one_line_a_run(library, kind):
    names = [f"{number:03}" for number in range(37)]
    write(library, *(f"{PHOTO}/Trip/{name}.jpg" for name in names))
    with store_fault(library, kind, PHOTO_STORE):
        lines = of_first_run(library.index(f"A:{PHOTO}/Trip"))
    reasons = [line for line in lines if "catalogue failed at" in line or "Failed to open the database" in line]
    assert len(reasons) <= 1
    assert sum("Failed to save photo info." in line for line in lines) == 38, "the indexers' lines stay, one a file"
    assert [line for line in lines if re.search(r"\b(38|39|4\d)\b", line) and line.startswith("store.c")], \
        "how many rows it stands for"
    library.wait_done()

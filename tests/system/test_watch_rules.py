# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher by the rules `complete`: it asks for nothing that they leave out, follows changes of what says so, and has rows go
with what is renamed."""
import os

import pytest

from harness.daemon import QUEUE
from harness.watcher import SHARES, Watcher, check_equal

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
LONG = 600
CALM = 1  # seconds: what a test writes at once comes at once, also on a busy machine


@pytest.fixture(name="box")
def complete_box(make_daemon):
    """Where no daemon takes the queue away."""
    box = make_daemon()
    box.configure(rules="complete")
    return box


@pytest.fixture(name="running")
def complete_daemon(make_daemon):
    daemon = make_daemon()
    daemon.configure(rules="complete")
    return daemon.start()


def move(box, old, new):
    os.rename(box.box.path(old), box.box.path(new))


def paths(box, table="music"):
    return sorted(row["path"].removeprefix("/volume1/") for row in box.rows(table))


def test_nothing_is_asked_for_that_is_left_out(box):
    box.write(f"{MUSIC}/quiet/.nomedia")
    box.write(f"{MUSIC}/quiet/deeper/a.mp3")
    box.write(f"{MUSIC}/.veluignore", "*.tmp.mp3\nDrafts/\n/here/raw\n!kept.tmp.mp3\n")
    box.write(f"{MUSIC}/here/.veluignore", "!b.tmp.mp3\n")
    for name in ("Drafts/a.mp3", "here/raw/a.mp3", "elsewhere/raw/a.mp3", ".hidden/a.mp3", "lost+found/a.mp3"):
        box.write(f"{MUSIC}/{name}")
    watcher = Watcher(box, settle=CALM)
    os.symlink("elsewhere", box.box.path(f"{MUSIC}/link"))
    assert watcher.requests() == [f"A:{MUSIC}/link"]
    for folder in ("quiet", "quiet/deeper", "quiet/new", "Drafts", "Drafts/new", "here/raw", ".hidden", "lost+found"):
        box.write(f"{MUSIC}/{folder}/b.mp3")
        move(box, f"{MUSIC}/{folder}/b.mp3", f"{MUSIC}/{folder}/c.mp3")
        box.remove(f"{MUSIC}/{folder}/c.mp3")
    move(box, f"{MUSIC}/link", f"{MUSIC}/here/Drafts")
    os.symlink("../elsewhere", box.box.path(f"{MUSIC}/elsewhere/Drafts"))
    box.write(f"{MUSIC}/a.tmp.mp3")
    box.write(f"{MUSIC}/.b.mp3")
    assert watcher.requests() == [f"D:{MUSIC}/link"], "a directory's link, which has left for such a name"
    for name in ("kept.tmp.mp3", "here/b.tmp.mp3", "elsewhere/raw/b.mp3"):
        box.write(f"{MUSIC}/{name}")
    assert watcher.requests() == [f"a:{MUSIC}/{name}" for name in ("elsewhere/raw/b.mp3", "here/b.tmp.mp3", "kept.tmp.mp3")]
    watcher.stop()


def test_files_are_asked_for_that_have_rows_or_give_values(box):
    useful = ("cover.jpg", "film.srt", "list.m3u8", "photo.CR3", "photo.xmp", "song.mp3")
    box.write(f"{MUSIC}/d/song.mp3")
    watcher = Watcher(box, settle=CALM)
    for name in ("notes.txt", "without", "disc.ifo", "song.mp3.part", "photo.xmp.bak", *useful):
        box.write(f"{MUSIC}/d/{name}")
    assert watcher.requests() == [f"a:{MUSIC}/d/{name}" for name in useful]
    box.remove(f"{MUSIC}/d/notes.txt")
    assert watcher.requests() == [f"d:{MUSIC}/d/notes.txt"], "other rules may have given it a row"
    move(box, f"{MUSIC}/d/without", f"{MUSIC}/d/with.mp3")
    assert watcher.requests() == [f"N:{MUSIC}/d/with.mp3:{MUSIC}/d/without"]
    watcher.stop()


def test_patterns_that_name_all_but_directories(box):
    box.write(f"{MUSIC}/.veluignore", "*\n!*/\n!*.flac\n!mark*\n")
    box.write("/volume1/elsewhere/a.flac")
    watcher = Watcher(box, settle=CALM)
    os.symlink("/volume1/elsewhere", box.box.path(f"{MUSIC}/link"))
    box.write(f"{MUSIC}/d/a.flac")
    box.write(f"{MUSIC}/e.mp3")
    box.write(f"{MUSIC}/f.flac")
    assert watcher.requests() == [f"A:{MUSIC}/d", f"a:{MUSIC}/f.flac", f"A:{MUSIC}/link"]
    box.write("/volume1/elsewhere/b.flac")
    box.write("/volume1/elsewhere/c.mp3")
    move(box, f"{MUSIC}/link", f"{MUSIC}/other")
    assert watcher.requests() == [f"D:{MUSIC}/link", f"A:{MUSIC}/other"]
    watcher.stop()


def test_what_leaves_for_a_place_that_is_left_out_is_gone_and_what_comes_from_there_is_new(box):
    box.write(f"{MUSIC}/.veluignore", "Drafts/\n*.tmp.mp3\n")
    for name in ("Drafts/a.mp3", "Drafts/d/b.mp3", "c.mp3", "e/f.mp3", "g.tmp.mp3"):
        box.write(f"{MUSIC}/{name}")
    watcher = Watcher(box, settle=CALM)
    move(box, f"{MUSIC}/Drafts/a.mp3", f"{MUSIC}/a.mp3")
    move(box, f"{MUSIC}/Drafts/d", f"{MUSIC}/d")
    move(box, f"{MUSIC}/c.mp3", f"{MUSIC}/c.tmp.mp3")
    move(box, f"{MUSIC}/e", f"{MUSIC}/Drafts/e")
    move(box, f"{MUSIC}/g.tmp.mp3", f"{MUSIC}/g.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/a.mp3", f"d:{MUSIC}/c.mp3", f"A:{MUSIC}/d", f"D:{MUSIC}/e", f"a:{MUSIC}/g.mp3"]
    box.write(f"{MUSIC}/Drafts/e/more.mp3")
    box.write(f"{MUSIC}/d/more.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/d/more.mp3"]
    watcher.stop()


def test_a_folder_is_asked_for_when_what_it_leaves_out_changes(box):
    for name in ("a/b/c.mp3", "loud/d.mp3"):
        box.write(f"{MUSIC}/{name}")
    watcher = Watcher(box, settle=CALM)
    anew = f"N:{MUSIC}/a:{MUSIC}/a"
    box.write(f"{MUSIC}/a/.nomedia")
    assert watcher.requests() == [anew]
    box.write(f"{MUSIC}/a/b/new.mp3")
    box.write(f"{MUSIC}/a/b/.veluignore", "x\n")
    box.write(f"{MUSIC}/a/.veluignore", "b\n")
    assert watcher.requests() == [], "all of it is left out as before"
    box.remove(f"{MUSIC}/a/.nomedia")
    assert watcher.requests() == [anew]
    box.write(f"{MUSIC}/a/b/new.mp3", "other")
    assert watcher.requests() == [], "its pattern counts now"
    box.write(f"{MUSIC}/a/other", "!b\n")
    move(box, f"{MUSIC}/a/other", f"{MUSIC}/a/.veluignore")
    assert watcher.requests() == [anew]
    box.write(f"{MUSIC}/a/b/new.mp3", "another")
    assert watcher.requests() == [f"a:{MUSIC}/a/b/new.mp3"]
    box.write(f"{PHOTO}/.nomedia")
    assert watcher.requests() == [f"N:{PHOTO}:{PHOTO}", "R:photo"]
    watcher.stop()


def test_files_of_rules_that_come_with_their_folder_cost_nothing_more(box):
    watcher = Watcher(box, settle=LONG)
    box.write(f"{MUSIC}/t/.veluignore", "raw/\n")
    box.write(f"{MUSIC}/t/raw/a.mp3")
    watcher.stop()
    assert box.lines(QUEUE) == [f"A:{MUSIC}/t"]


def test_a_path_below_something_that_is_left_out(box):
    box.write(f"{MUSIC}/quiet/.nomedia")
    box.write(f"{MUSIC}/quiet/d/a.mp3")
    box.write(f"{VIDEO}/.veluignore", "d/raw\n")
    box.write(f"{VIDEO}/d/raw/a.avi")
    watcher = Watcher(box, f"{MUSIC}/quiet/d", f"{VIDEO}/d", settle=LONG)
    box.write(f"{MUSIC}/quiet/d/b.mp3")
    box.write(f"{VIDEO}/d/raw/b.avi")
    box.write(f"{VIDEO}/d/c.avi")
    watcher.stop()
    assert box.lines(QUEUE) == [f"a:{VIDEO}/d/c.avi"]


def test_the_catalogue_follows_changed_rules(running, stream):
    for name in ("a/b.mp3", "a/raw/c.mp3", "a/d.tmp.mp3", "e/f.mp3"):
        running.write(f"{MUSIC}/{name}", stream[:2000])
    running.index(*(f"A:{share}" for share in SHARES))
    assert len(paths(running)) == 4
    watcher = Watcher(running)
    running.write(f"{MUSIC}/a/.veluignore", "raw/\n*.tmp.mp3\n")
    running.write(f"{MUSIC}/e/.nomedia")
    watcher.settle()
    assert paths(running) == ["music/a/b.mp3"]
    running.write(f"{MUSIC}/a/.veluignore", "raw/\n")
    running.remove(f"{MUSIC}/e/.nomedia")
    watcher.settle()
    assert paths(running) == ["music/a/b.mp3", "music/a/d.tmp.mp3", "music/e/f.mp3"]
    move(running, f"{MUSIC}/e", f"{MUSIC}/a/raw2")
    os.makedirs(running.box.path(f"{MUSIC}/g/raw"))
    running.write(f"{MUSIC}/g/raw/h.mp3", stream[:2000])
    watcher.settle()
    assert paths(running) == ["music/a/b.mp3", "music/a/d.tmp.mp3", "music/a/raw2/f.mp3", "music/g/raw/h.mp3"]
    move(running, f"{MUSIC}/g", f"{MUSIC}/a/g")
    watcher.settle()
    assert paths(running) == ["music/a/b.mp3", "music/a/d.tmp.mp3", "music/a/raw2/f.mp3"], "a/g/raw is named by a's patterns"
    check_equal(running)
    watcher.stop()


def test_rows_go_with_what_is_renamed(running, stream):
    for name in ("a/b.mp3", "a/c/d.mp3", "e.mp3"):
        running.write(f"{MUSIC}/{name}", stream[:2000])
    running.index(*(f"A:{share}" for share in SHARES))
    running.catalogue.store("update file_state set added = '2001-02-03T04:05:06Z'", (), table="file_state")
    watcher = Watcher(running)
    move(running, f"{MUSIC}/a", f"{MUSIC}/x")
    move(running, f"{MUSIC}/e.mp3", f"{VIDEO}/f.mp3")
    watcher.settle()
    assert paths(running) == ["music/x/b.mp3", "music/x/c/d.mp3", "video/f.mp3"]
    assert {row["added"] for row in running.rows("file_state") if row["path"].endswith(".mp3")} == {"2001-02-03T04:05:06Z"}
    check_equal(running)
    watcher.stop()


def test_new_names_that_no_line_can_carry_are_asked_for_by_their_directory(box):
    box.write(f"{MUSIC}/d/old.mp3")
    watcher = Watcher(box, settle=LONG)
    box.write(f"{MUSIC}/d/one\nline.mp3")
    box.write(f"{MUSIC}/d/two\nlines.mp3")
    box.write(f"{MUSIC}/d/tree\nof one/deep/a.mp3")
    box.write(f"{MUSIC}/d/plain.mp3")
    box.remove(f"{MUSIC}/d/two\nlines.mp3")
    watcher.stop()
    assert box.lines(QUEUE) == [f"a:{MUSIC}/d/plain.mp3", f"A:{MUSIC}/d"] or \
        box.lines(QUEUE) == [f"A:{MUSIC}/d", f"a:{MUSIC}/d/plain.mp3"]
    assert len(watcher.told("cannot be queued")) == 1 and watcher.told(r"two\x0Alines.mp3 cannot be queued"), "it is gone"


def test_they_are_catalogued(running, samples):
    running.copy(samples / "tagged.mp3", f"{MUSIC}/d/old.mp3")
    running.index("R:all")
    watcher = Watcher(running)
    running.copy(samples / "tagged.mp3", f"{MUSIC}/d/one\nline.mp3")
    running.copy(samples / "tagged.mp3", f"{MUSIC}/tree\nof one/deep/a.mp3")
    watcher.settle()
    assert paths(running) == ["music/d/old.mp3", "music/d/one\nline.mp3", "music/tree\nof one/deep/a.mp3"]
    watcher.stop()


@pytest.mark.parametrize("rules", ["complete", "appliance"])
def test_a_start_that_catches_up_asks_for_the_shares_where_what_is_unchanged_costs_nothing(make_daemon, rules):
    box = make_daemon()
    box.configure(rules=rules)
    Watcher(box, "--catch-up", settle=LONG).stop()
    assert bool(box.lines(QUEUE)) == (rules == "complete")


def test_what_came_and_went_while_nobody_watched_is_caught_up_on(running):
    running.write(f"{MUSIC}/stays.mp3", b"")
    running.write(f"{MUSIC}/goes.mp3", b"")
    first = Watcher(running, "--catch-up")
    first.settle()
    first.stop()
    os.unlink(running.box.path(f"{MUSIC}/goes.mp3"))
    running.write(f"{MUSIC}/comes.mp3", b"")
    second = Watcher(running, "--catch-up")
    second.marks = first.marks
    second.settle()
    check_equal(running)
    assert paths(running) == ["music/comes.mp3", "music/stays.mp3"]

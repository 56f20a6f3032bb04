# SPDX-License-Identifier: GPL-2.0-or-later
"""Catalogues that cannot be written: each failure is logged, and no failure stops a run or the daemon."""
import re

import pytest

MUSIC = "/volume1/music"


@pytest.fixture
def cut_off(box):
    """A running daemon whose media catalogue can neither be made nor opened."""
    box.configure(mediadb="sqlite:/dev/null/media.db", photodb="sqlite:/dev/null/photo.db")
    return box.start()


@pytest.mark.parametrize("name, message",
                         [("x.mp3", "Failed to save media info to database."),
                          ("x.wma", "Failed to save media info to database."),
                          ("x.pcm", "Failed to save media info to database."),
                          ("x.avi", "Failed to save media info to database."),
                          ("x.srt", "Failed to save media info to database."),
                          ("x.dat", "Failed to save media info to database."),
                          ("x.m3u", "Failed to save playlist info."),
                          ("x.png", "Failed to save playlist info.")])
def test_a_record_that_cannot_be_saved(cut_off, name, message):
    cut_off.write(f"{MUSIC}/{name}", "content")
    cut_off.index(f"a:{MUSIC}/{name}")
    assert cut_off.logged(None, message) == 1
    assert cut_off.alive()


@pytest.mark.parametrize("name, message",
                         [("x.mp3", "Failed to remove [%s] from database"),
                          ("x.wma", "Failed to remove [%s] from database"),
                          ("x.avi", "Failed to remove [%s] from database"),
                          ("x.dat", "Failed to remove [%s] from database"),
                          ("x.m3u", "Failed to remove %s from database."),
                          ("x.png", "Failed to remove %s from database.")])
def test_a_record_that_cannot_be_removed(cut_off, name, message):
    cut_off.index(f"d:{MUSIC}/{name}")
    assert cut_off.logged(None, message % f"{MUSIC}/{name}") == 1


def test_a_directory_that_cannot_be_recorded_is_logged_and_the_walk_goes_on(cut_off):
    cut_off.write(f"{MUSIC}/album/x.pcm")
    cut_off.index(f"A:{MUSIC}")
    assert cut_off.logged("directory.c", "Failed to save directory info to database.") == 2
    assert cut_off.logged(None, "Failed to save media info to database.") == 1


def test_each_failure_names_the_database_once_for_an_operation(cut_off):
    cut_off.write(f"{MUSIC}/x.pcm")
    lines = cut_off.index(f"a:{MUSIC}/x.pcm")
    modules = [re.match(r"\w+\.c", line)[0] for line in lines]
    assert modules == ["veludb.c", "media.c", "veluindexd.c"], "the store, the indexer, the run as a whole"


def test_the_daemon_recovers_when_the_catalogue_can_be_written_again(cut_off):
    cut_off.write(f"{MUSIC}/x.pcm")
    cut_off.index(f"a:{MUSIC}/x.pcm")
    cut_off.configure()
    cut_off.index(f"a:{MUSIC}/x.pcm")
    assert cut_off.paths("music") == [f"{MUSIC}/x.pcm"]


@pytest.mark.sqlite
def test_a_database_file_of_garbage_is_an_error_for_each_operation_and_not_the_end(box):
    box.write("/var/lib/velu/mediaserver.db", b"this is no database" * 500)
    box.write(f"{MUSIC}/x.pcm")
    box.start()
    box.index(f"a:{MUSIC}/x.pcm")
    assert box.logged(None, "Failed to save media info to database.") == 1
    assert box.alive()


def test_the_old_row_of_a_renamed_file_that_cannot_be_removed_does_not_stop_the_new_one(cut_off):
    cut_off.write(f"{MUSIC}/new.pcm")
    cut_off.index(f"N:{MUSIC}/new.pcm:{MUSIC}/old.pcm", "bad line")
    assert cut_off.logged(None, f"Failed to remove [{MUSIC}/old.pcm] from database") == 1
    assert cut_off.logged(None, "Failed to save media info to database.") == 1
    assert cut_off.logged("veluindexd.c", "Bad format [bad line].") == 1


@pytest.mark.sqlite
@pytest.mark.parametrize("text", ['supportphoto="yes', "\0\0\0", "x" * 100000, 'supportphoto = "yes"\nsupportphoto="no"\n'])
def test_a_damaged_configuration_does_not_stop_the_start(box, text):
    box.write("/etc.defaults/veluinfo.conf", text)
    box.write("/etc/veluinfo.conf", text)
    box.write(f"{MUSIC}/x.pcm")
    box.start()
    box.index(f"a:{MUSIC}/x.pcm")
    assert box.paths("music") == [f"{MUSIC}/x.pcm"]


@pytest.mark.sqlite
def test_without_any_configuration_the_defaults_hold(box):
    box.remove("/etc.defaults/veluinfo.conf")
    box.remove("/etc/veluinfo.conf")
    box.write(f"{MUSIC}/x.pcm")
    box.start()
    box.index(f"a:{MUSIC}/x.pcm")
    assert box.paths("music") == [f"{MUSIC}/x.pcm"]

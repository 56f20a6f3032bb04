# SPDX-License-Identifier: GPL-2.0-or-later
"""The queue: how it is taken over, the grammar of its lines, and the signals at the end of a run."""
import os
import random
import socket

import pytest

from harness.daemon import QUEUE, WORKING_COPY, wait_for
from harness.limits import LIMITS

LINE_SIZE = 4111
NO_NEWLINE = "Warning! No new line here."
PCM = "/volume1/music/a.pcm"


@pytest.fixture
def song(daemon):
    """A running daemon whose music share holds one file."""
    daemon.write(PCM)
    return daemon


@pytest.mark.parametrize(
    "line",
    ["", "A", "x", "no colon", "x:/volume1/music", "n:/a:/b", "Z:", "::", "A /volume1/music", "%s%n%s%n"],
)
def test_a_line_that_is_no_command_is_logged_and_changes_nothing(song, line):
    song.index(line)
    assert song.logged("veluindexd.c", f"Bad format [{line}].") == 1
    assert song.media_paths() == [] and song.rows("directory") == []


def test_the_letters_case_matters(song):
    song.index("r:music", "t:music", "u:photo")
    assert [song.logged("veluindexd.c", f"Bad format [{line}].") for line in ("r:music", "t:music", "u:photo")] == \
        [1, 1, 1]


def test_a_last_line_without_a_newline_is_executed_after_a_warning(song):
    song.write(QUEUE, f"bad line\na:{PCM}")
    song.index_queue_as_it_is()
    assert song.logged("veluindexd.c", NO_NEWLINE) == 1
    assert song.paths("music") == [PCM]


def test_a_torn_last_line_of_a_left_over_copy_is_executed_as_far_as_it_goes(box):
    box.write(PCM)
    box.write("/volume1/music/b.pcm")
    box.write(WORKING_COPY, f"a:{PCM}\na:/volume1/music/b.p")
    box.start()
    box.wait_run(0)
    assert box.logged("veluindexd.c", NO_NEWLINE) == 1
    assert box.paths("music") == [PCM]


def test_a_longer_line_is_split_where_the_reading_buffer_ends(song):
    head = "x" * LINE_SIZE
    song.index(f"{head}a:{PCM}")
    assert song.logged("veluindexd.c", f"Bad format [{head}].") == 1
    assert song.logged("veluindexd.c", NO_NEWLINE) == 1
    assert song.paths("music") == [PCM]


def test_a_line_that_just_fits_is_not_split(song):
    line = "x" * (LINE_SIZE - 1)
    song.index(line, f"a:{PCM}")
    assert song.logged("veluindexd.c", f"Bad format [{line}].") == 1
    assert song.logged("veluindexd.c", NO_NEWLINE) == 0
    assert song.paths("music") == [PCM]


def test_a_command_longer_than_any_path_changes_nothing_else(song):
    song.index("A:/" + "y" * 9000, f"a:{PCM}")
    assert song.paths("music") == [PCM]


def test_nul_bytes_and_garbage_change_nothing(song):
    song.index(f"a:{PCM}")
    kept = song.snapshot()
    dice = random.Random(20090317)
    garbage = [bytes(dice.randrange(256) for _ in range(dice.randrange(400))).replace(b"\n", b"") for _ in range(300)]
    song.index(*[line for line in garbage if line[1:2] != b":"], b"\0", b"\0\0\0", b"A\0:/volume1", b"D:\0" + PCM.encode(),
               b"\xff\xfe:", b"a:", b"d:", b"A:", b"N:", b"N::", b"N:::", b"N:/x", b"U:", b"T:")
    assert song.snapshot() == kept
    song.index(f"a:{PCM}")
    assert song.paths("music") == [PCM]


def test_a_carriage_return_belongs_to_the_path(song):
    song.index(f"a:{PCM}\r")
    assert song.media_paths() == []


def test_lines_are_executed_in_their_order(song):
    song.index(f"a:{PCM}", "T:music")
    assert song.paths("music") == []
    song.index("T:music", f"a:{PCM}")
    assert song.paths("music") == [PCM]


def test_ten_thousand_lines_in_one_run(daemon):
    for number in range(10000):
        daemon.write(f"/volume1/music/{number:05}.pcm")
    daemon.index(*[f"a:/volume1/music/{number:05}.pcm" for number in range(10000)])
    assert len(daemon.paths("music")) == 10000


# --- taking over


def test_lines_that_come_during_a_run_wait_for_the_next(song):
    song.index("bad line")
    assert not song.exists(WORKING_COPY) and not song.exists(QUEUE)
    song.index(f"a:{PCM}")
    assert song.paths("music") == [PCM]


def test_a_signal_without_a_queue_fails_sixteen_times_and_tells_nobody(daemon):
    daemon.signal()
    wait_for(lambda: daemon.logged("veluindexd.c", f"Failed to open {WORKING_COPY}. (No such file or directory)"),
             "the end of the run")
    assert daemon.logged("veluindexd.c", f"Failed to rename {QUEUE}. (No such file or directory)") == \
        LIMITS["kQueueTakeOversMax"]
    wait_for(daemon.idle, "the main loop")
    assert daemon.peer_signals("dms") == []


def test_a_working_copy_that_cannot_be_opened_is_removed_and_the_queue_stays(daemon):
    broken = socket.socket(socket.AF_UNIX)
    place = os.getcwd()
    os.chdir(daemon.box.path("/var/spool"))
    broken.bind("velu_indexing_queue.tmp")
    os.chdir(place)
    broken.close()
    daemon.queue("bad line")
    daemon.signal()
    wait_for(lambda: not daemon.exists(WORKING_COPY), "the removal of the copy")
    wait_for(lambda: daemon.logged("veluindexd.c", f"Failed to open {WORKING_COPY}. (No such device or address)"),
             "the message")
    assert daemon.exists(QUEUE) and daemon.peer_signals("dms") == []
    daemon.index()
    assert daemon.logged("veluindexd.c", "Bad format [bad line].") == 1


def test_a_left_over_copy_is_finished_first_and_the_queue_stays_for_the_next_run(daemon):
    daemon.write(WORKING_COPY, "1 left over\n")
    daemon.index("2 queued")
    assert daemon.logged("veluindexd.c", "Bad format [1 left over].") == 1
    assert daemon.logged("veluindexd.c", "Bad format [2 queued].") == 0
    assert daemon.exists(QUEUE)
    daemon.index()
    assert daemon.logged("veluindexd.c", "Bad format [2 queued].") == 1


# --- the end of a run


def test_an_empty_queue_signals_only_the_dlna_server(daemon):
    daemon.index()
    assert daemon.peer_signals("dms") == ["SIGUSR1"]
    assert daemon.peer_signals("mt-daapd") == []


@pytest.mark.parametrize("name, told", [("a.pcm", True), ("a.srt", True), ("a.m3u", False), ("a.png", False)])
def test_the_music_server_is_told_when_a_music_or_video_table_has_changed(daemon, name, told):
    daemon.write(f"/volume1/music/{name}")
    daemon.index(f"a:/volume1/music/{name}")
    # Another process notes it: the run may be over before that has happened.
    wait_for(lambda: not told or daemon.peer_signals("mt-daapd"), "the music server's signal")
    assert daemon.peer_signals("mt-daapd") == (["SIGHUP"] if told else [])
    daemon.index("bad line")
    assert daemon.peer_signals("mt-daapd") == (["SIGHUP"] if told else []), "each run starts clean"


@pytest.mark.parametrize("text", [None, "", "0", "-1", "none"])
def test_a_pid_file_without_a_pid_means_no_signal(daemon, text):
    for name in ("mt-daapd", "dms"):
        if text is None:
            daemon.remove(f"/var/run/{name}.pid")
        else:
            daemon.write(f"/var/run/{name}.pid", text)
    daemon.write(PCM)
    daemon.queue(f"a:{PCM}")
    daemon.signal()
    wait_for(lambda: not daemon.exists(QUEUE) and not daemon.exists(WORKING_COPY), "the run")
    wait_for(daemon.idle, "the main loop")
    assert daemon.paths("music") == [PCM]
    assert daemon.peer_signals("dms") == [] and daemon.peer_signals("mt-daapd") == []
    assert daemon.alive()


def test_the_peers_see_a_catalogue_that_is_complete(daemon):
    for number in range(2000):
        daemon.write(f"/volume1/music/{number}.pcm")
    daemon.index("A:/volume1/music")
    assert len(daemon.paths("music")) == 2000, "all rows stand when the server is signalled"

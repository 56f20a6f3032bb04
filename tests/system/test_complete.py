# SPDX-License-Identifier: GPL-2.0-or-later
"""The daemon under the rules `complete`, with readers that do what the first line of a file says (tests/readers)."""
import os
import random
import re

import pytest

from harness import readers
from harness.catalogue import ON_SERVER
from harness.daemon import wait_for

MUSIC = "/volume1/music"


@pytest.fixture
def box(make_daemon, binary):
    """A daemon beside scripted readers. It has the real clock, which its bounds are meant for: what is queued before its start is
    done at once."""
    daemon = make_daemon(speed=1)
    daemon.configure(rules="complete")
    readers.put_beside(daemon, binary, {name: binary.with_name("scripted_reader") for name in readers.READERS})
    return daemon


def run(box, *lines):
    """Has lines done by a daemon that is started for them. Gives what it logged."""
    first = len(box.log.lines)
    box.queue(*lines)
    box.start()
    return box.log.texts()[first:]


def scripts(box, count, script=lambda number: f"title T{number}"):
    """Writes files in ten directories. Gives their paths."""
    return [box.write(f"{MUSIC}/{number % 10}/{number}.mp3", script(number)) for number in range(count)]


def titles(box, table="music"):
    return {row["path"]: row["title"] for row in box.rows(table)}


def test_each_file_gets_what_its_reader_says(box):
    paths = scripts(box, 200)
    assert run(box, f"A:{MUSIC}") == []
    assert titles(box) == {path: f"T{number}" for number, path in enumerate(paths)}
    assert len(box.rows("directory")) == 11


def test_no_reader_and_no_descriptor_outlives_a_run(box):
    scripts(box, 40, lambda number: "picture 3000 x" if number % 3 else "crash")
    run(box, f"A:{MUSIC}")
    wait_for(box.idle, "the end of the run")
    assert readers.left_behind(box) == []


def test_a_file_that_ends_its_reader_costs_itself(box):
    faults = {3: "crash", 7: "exit 7", 11: "garbage", 12: "number", 13: "abort", 14: "failed its header is damaged"}
    paths = scripts(box, 30, lambda number: faults.get(number, f"title T{number}"))
    lines = run(box, f"A:{MUSIC}")
    assert titles(box) == {path: str(number) if number in faults else f"T{number}" for number, path in enumerate(paths)}
    told = [re.search(r"(\S+) cannot be read: (.*)\.$", line).groups() for line in lines]
    assert dict(told) == {paths[3]: "its reader ended by signal 11 (SIGSEGV)", paths[7]: "its reader ended with status 7",
                          paths[11]: "its reader did not keep to what was agreed",
                          paths[12]: "its reader did not keep to what was agreed",
                          paths[13]: "its reader ended by signal 6 (SIGABRT)", paths[14]: "its header is damaged"}
    assert len(told) == len(faults)


def test_what_no_reader_is_there_for_is_said_once(box):
    box.remove(readers.place("velureader-films"))
    paths = [box.write(f"{MUSIC}/{number}.avi", "film F") for number in range(5)]
    song = box.write(f"{MUSIC}/song.mp3", "song S")
    lines = run(box, f"A:{MUSIC}")
    assert titles(box, "video") == {path: str(number) for number, path in enumerate(paths)}
    assert titles(box) == {song: "S"}
    assert len([line for line in lines if "The package veluindexd-films brings their reader." in line]) == 1


def test_a_daemon_that_is_killed_leaves_no_reader(box):
    box.write(f"{MUSIC}/x.mp3", "silent")
    box.queue(f"A:{MUSIC}")
    box.start(idle=False)
    started = wait_for(box.children, "a reader")
    box.kill()
    wait_for(lambda: not any(box.alive(pid) for pid in started), "the readers' end")


def test_readers_that_are_killed_cost_no_row(box):
    paths = scripts(box, 1500)
    box.queue(f"R:{MUSIC.rsplit('/', 1)[1]}")
    box.start(idle=False)
    killed, chance = 0, random.Random(15)
    while not box.done():
        working = box.children()
        # The first one for sure: on a busy machine there are few looks.
        if working and (killed == 0 or chance.random() < 0.01):
            killed += box.box.ask("kill", pid=chance.choice(working), number=9)["sent"]
    box.wait_done()
    assert box.log.texts() == [], killed
    assert titles(box) == {path: f"T{number}" for number, path in enumerate(paths)}
    assert killed > 0


def test_a_reindex_removes_what_is_gone_and_keeps_the_rest(box):
    paths = scripts(box, 60, lambda number: "crash" if number == 30 else f"title T{number}")
    run(box, "R:music")
    box.stop()
    for path in paths[3::10]:
        box.remove(path)
    box.remove(paths[4])
    os.rmdir(box.box.path(f"{MUSIC}/3"))
    box.write(paths[5], "film F")
    run(box, "R:music")
    left = {path: f"T{number}" for number, path in enumerate(paths) if number % 10 != 3 and number not in (4, 5)}
    assert titles(box) == {**left, paths[30]: "30"}
    assert titles(box, "video") == {paths[5]: "F"}
    assert f"{MUSIC}/3" not in [row["path"] for row in box.rows("directory")]


def test_memory_stays_where_it_is(box, sanitized):
    scripts(box, 400, lambda number: f"picture {100_000 if number % 4 else 1_000_000} T{number}")
    run(box, f"A:{MUSIC}")
    assert len(titles(box)) == 400 and all(row["has_cover"] for row in box.rows("music"))
    if not sanitized:  # the server's library takes its own share
        assert int(box.status_field("VmHWM")) <= (16 if ON_SERVER else 8) * 1024

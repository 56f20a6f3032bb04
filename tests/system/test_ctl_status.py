# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl status: the last run and what came of it, the run that goes on, what is kept and why, the watcher, room on the disk."""
import os
import re
import shutil
import time

import pytest
from harness import readers, short_songs
from harness.daemon import wait_for
from harness.limits import LIMITS

MUSIC = "/volume1/music"
SLOW = 20  # times as fast as the real clock: a silent reader has some seconds
RUN, LAST_RUN = "/var/lib/velu/run", "/var/lib/velu/last_run"


def song(title):
    return short_songs.song(4, title=title)


@pytest.fixture
def library(box):
    """A running daemon by the rules `complete`, with songs at rest."""
    box.configure(rules="complete")
    for number in range(4):
        box.write(f"{MUSIC}/{number}.mp3", song(f"T{number}"))
        os.utime(box.box.path(f"{MUSIC}/{number}.mp3"), (1e9, 1e9))
    box.write(f"{MUSIC}/broken.mp3", b"no song at all")
    box.write(f"{MUSIC}/text.txt", b"x")
    box.write(f"{MUSIC}/.hidden.mp3", b"x")
    return box.start()


def widest(text):
    """The columns that a screen takes; a server's address is a word that nothing cuts, and so is its own reason."""
    return max(len(line) for line in text.splitlines() if "postgresql:" not in line and "relation" not in line)


def last_run(box):
    told = box.ctl_json("status")["last_run_files"]
    return {name: told[name] for name in ("new", "changed", "gone", "unchanged", "troubled")}


def test_what_does_not_run_has_the_command_that_starts_it(box):
    told = box.ctl("status")["out"]
    assert re.search(r"^daemon +not running; to start: sudo veluindexd$", told, re.MULTILINE), told
    assert "watcher          not running; to start: sudo systemctl enable --now veluwatchd\n" in told
    box.write("/etc/init.d/veluindexd", "#!/bin/sh\n")
    os.chmod(box.box.path("/etc/init.d/veluindexd"), 0o755)
    assert "to start: sudo service veluindexd start\n" in box.ctl("status")["out"]
    box.mkdir("/run/systemd/system")
    assert "to start: sudo systemctl start veluindexd\n" in box.ctl("status")["out"]
    box.write(f"{MUSIC}/a.pcm")
    assert "To start it: sudo systemctl start veluindexd\n" in box.ctl("add", f"{MUSIC}/a.pcm")["err"]
    assert box.ctl_json("why", f"{MUSIC}/a.pcm")["command"] == "sudo systemctl start veluindexd"
    assert widest(told) <= 80
    box.start()
    told = box.ctl("status")["out"]
    assert told.startswith("daemon           running as process ") and "start veluindexd" not in told


def test_what_came_of_the_last_run(library):
    begun = int(time.time())
    library.index(f"A:{MUSIC}")
    told = library.ctl_json("status")["last_run_files"]
    assert told["new"] == len(library.media_paths()) == 5 and told["left_out"] == {"hidden": 1, "of no known kind": 1}
    assert told["troubled"] == sum(row["trouble"] != "" for row in library.rows("file_state"))
    assert abs(told["end"] - begun) < 3600 and told["end"] >= told["begin"] and told["requests"] == 1 and told["seconds"] >= 0
    library.write(f"{MUSIC}/1.mp3", song("another"))
    os.unlink(library.box.path(f"{MUSIC}/2.mp3"))
    library.write(f"{MUSIC}/5.mp3", song("new"))
    before = {row["path"]: row for row in library.rows("file_state")}
    library.index("R:music")
    told = last_run(library)
    assert (told["new"], told["gone"]) == (1, 1)
    assert told["changed"] + told["unchanged"] >= len(before) - 1 - told["troubled"] and told["changed"] >= 1
    library.index(f"D:{MUSIC}/none")
    assert last_run(library) == {"new": 0, "changed": 0, "gone": 0, "unchanged": 0, "troubled": 0}
    text = library.ctl("status")["out"]
    assert "0 new, 0 changed, 0 gone, 0 unchanged, 0 in trouble" in text and widest(text) <= 80
    assert library.exists(LAST_RUN) and not library.exists(RUN) and not library.exists(f"{LAST_RUN}.new")


def test_a_tree_that_is_gone_counts_its_rows(library):
    for number in range(3):
        library.write(f"{MUSIC}/tree/{number}.mp3", song("x"))
    library.index(f"A:{MUSIC}/tree")
    shutil.rmtree(library.box.path(f"{MUSIC}/tree"))
    library.index("R:music")
    assert last_run(library)["gone"] == 3


def test_the_rules_of_the_appliance_write_nothing_of_it(daemon):
    daemon.write(f"{MUSIC}/a.mp3", song("x"))
    daemon.index("R:music")
    state = daemon.ctl_json("status")
    assert state["last_run_files"] is None and state["last_run"] is not None and state["working_copy"]["files"] is None
    assert not daemon.exists(LAST_RUN) and not daemon.exists(RUN)


def test_a_record_of_before_is_not_taken_for_that_of_the_last_run(library):
    """After a run by other rules, or when it is damaged."""
    library.index(f"A:{MUSIC}")
    os.utime(library.box.path("/run/veluindexd.last_run"), (time.time() + 7200,) * 2)
    state = library.ctl_json("status")
    assert state["last_run_files"] is None and state["last_run"] > time.time() + 7000
    library.write(LAST_RUN, b"\xff\0 nonsense\nbegin")
    assert library.ctl_json("status")["last_run_files"] is None


def test_how_far_the_run_is(make_daemon, binary, hostile_reader):
    """While a reader is silent the daemon counts what lies ahead, by its rules and without a line."""
    box = make_daemon(speed=SLOW)
    box.configure(rules="complete", readers="2")
    readers.put_beside(box, binary, {"velureader": hostile_reader})
    box.copy(binary.parent / "veluctl", box.ctl_program)
    os.chmod(box.box.path(box.ctl_program), 0o755)
    for number in range(1500):
        box.write(f"{MUSIC}/{number // 100}/{number}.mp3", "anything")
    box.write(f"{MUSIC}/0/silent.mp3", "hostile:sleep")
    for path in ("left out/.nomedia", "left out/x.mp3", "ignored/x.mp3"):
        box.write(f"{MUSIC}/{path}")
    box.write(f"{MUSIC}/.veluignore", "ignored\n" + "#" * LIMITS["kIgnoreFileMax"])
    os.mkfifo(box.box.path(f"{MUSIC}/pipe.mp3"))
    box.queue(f"A:{MUSIC}")
    # What a daemon that was killed has left is not this one's.
    box.write(RUN, "pid 999999\nbegin 5\nfiles 7\nknown 9\nfolder /x")
    box.start(idle=False)
    wait_for(lambda: box.ctl_json("status")["working_copy"]["files_counted"], "all to be counted", 60)
    state = box.ctl_json("status")
    work = state["working_copy"]
    assert work["files_known"] == 1501 and 0 <= work["files"] < 1501 and state["readers"] == 2 and work["folder"].startswith(MUSIC), work
    text = box.ctl("status")["out"]
    assert re.search(r"running, \d+ of 1501 files", text) and widest(text) <= 80
    wait_for(box.done, "the run's end", 60)
    assert not box.exists(RUN) and sum("is too long" in line for line in box.log.texts()) == 1
    last = box.ctl_json("status")["last_run_files"]
    assert last["left_out"] == {"marked by .nomedia": 1, "named by .veluignore": 1, "no regular files": 1, "hidden": 1}, last


def record(pid, **numbers):
    numbers = {"begin": int(time.time()), "milliseconds": 20_000, "request": 1, "files": 100, "known": 1100, "counted": 1, **numbers}
    return f"pid {pid}\n" + "".join(f"{name} {value}\n" for name, value in numbers.items()) + f"folder {MUSIC}/Some Artist/\x1b[31mAlbum"


def test_what_is_shown_of_a_run(library):
    """As its record tells it: the queue's copy is there, and the daemon has it open."""
    pid = library.pid
    library.write("/var/spool/velu_indexing_queue.tmp", f"A:{MUSIC}\n")
    library.write(RUN, record(pid))
    # Nobody works on the copy: it is kept, whatever is written.
    assert library.ctl_json("status")["working_copy"]["files"] is None
    assert "kept for the next try" in library.ctl("status")["out"]
    # A user who may not look at the daemon's files assumes that it does.
    library.box.ask("run", arguments=["/bin/chmod", "-R", "o+rX", "/var/lib/velu", "/var/spool"], environment={}, timeout=9)
    answer = library.ctl("status", user=65534)
    assert "running, 100 of 1100 files, 5.0/s, 3 minutes left" in answer["out"] and "\\x1B[31mAlbum" in answer["out"], answer
    library.write(RUN, record(pid + 1))
    assert "of 1100 files" not in library.ctl("status", user=65534)["out"]


def test_what_is_kept_and_why(box):
    box.write("/var/spool/velu_indexing_queue.kept", "".join(f"{age} a:{MUSIC}/{age}.mp3\n" for age in (7300, 100, 40, 3, 2)))
    os.rmdir(box.box.path(MUSIC))
    box.write("/etc/fstab", f"/dev/x {MUSIC} ext4 defaults 0 0\n")
    state = box.ctl_json("status")
    assert state["kept"]["requests"] == 5 and [one["path"] for one in state["away"]] == [MUSIC]
    text = box.ctl("status")["out"]
    lines = [line.strip() for line in text.splitlines()]
    assert f"a:{MUSIC}/7300.mp3, for 2 hours" in lines and "and 2 more" in lines and f"a:{MUSIC}/3.mp3, for 3 seconds" not in lines
    assert f"storage away     {MUSIC}: its rows are kept" in text and widest(text) <= 80


def test_room_and_readers_and_the_watcher(library):
    library.index(f"A:{MUSIC}")
    state = library.ctl_json("status")
    assert state["watcher"] == {"running": False, "pid": None, "since": None, "directories": None} and state["readers"] == 0
    space = os.statvfs(library.box.path("/var/lib/velu"))
    assert state["covers"]["folder"] == "/var/lib/velu/covers" and abs(state["covers"]["free_bytes"] - space.f_bavail * space.f_frsize) < 2e9

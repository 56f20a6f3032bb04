# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher's life: its start and end, shares that come and go, what it cannot watch, and what it misses."""
import os
import pathlib
import signal
import time

import pytest

from harness.daemon import QUEUE, wait_for
from harness.limits import LIMITS
from harness.watcher import Watcher, check_equal

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
LONG = 600
OFTEN = ("--check", "0.3")
EVENTS_MAX = int(pathlib.Path("/proc/sys/fs/inotify/max_queued_events").read_text(encoding="ascii"))


def test_the_end_queues_what_waits(box):
    watcher = Watcher(box, settle=LONG)
    box.write(f"{MUSIC}/a.mp3")
    box.write(f"{PHOTO}/t/b.jpg")
    watcher.stop()
    assert box.lines(QUEUE) == [f"a:{MUSIC}/a.mp3", f"A:{PHOTO}/t"]
    assert not box.exists("/var/run/veluwatchd.pid")


def test_there_is_one_watcher(box):
    first = Watcher(box)
    assert box.read("/var/run/veluwatchd.pid") == f"{first.pid}\n".encode()
    second = Watcher(box)
    assert second.wait() == 1 and "another one runs already" in second.words()
    first.signal(signal.SIGKILL)
    first.wait()
    Watcher(box).stop()


@pytest.mark.parametrize("arguments, status, text", [
    (["--help"], 0, "--settle SECONDS"), (["--version"], 0, "veluwatchd "), (["--nothing"], 2, "--help"),
    (["--rescan", "0"], 2, "no number of seconds"), (["--rescan", "x"], 2, "no number of seconds")])
def test_the_command_line(box, arguments, status, text):
    watcher = Watcher(box, *arguments)
    assert watcher.wait() == status and text in watcher.words()


def test_a_start_asks_for_nothing_unless_told(box):
    box.write(f"{MUSIC}/a.mp3")
    watcher = Watcher(box)
    assert watcher.requests() == []
    watcher.stop()
    Watcher(box, "--reindex-at-start", settle=LONG).stop()
    assert box.lines(QUEUE)[1:] == ["R:music", f"N:{PHOTO}:{PHOTO}", "R:video", "R:photo"]


def test_directories_that_are_given(box):
    box.mkdir("/volume1/books")
    watcher = Watcher(box, "/volume1/books")
    box.write("/volume1/books/a.mp3")
    box.write(f"{MUSIC}/a.mp3")
    assert watcher.requests("/volume1/books") == ["a:/volume1/books/a.mp3"]
    watcher.stop()


def test_a_queue_that_cannot_be_written_is_tried_again(box):
    box.mkdir(QUEUE)
    watcher = Watcher(box)
    box.write(f"{MUSIC}/a.mp3")
    wait_for(lambda: watcher.told("cannot write"), "the watcher to tell")
    box.write(f"{MUSIC}/b.mp3")
    wake_ups = watcher.wake_ups()
    os.rmdir(box.box.path(QUEUE))
    wait_for(lambda: box.lines(QUEUE) == [f"a:{MUSIC}/a.mp3", f"a:{MUSIC}/b.mp3"], "the requests")
    assert watcher.wake_ups() - wake_ups < 100, "it sleeps until then"
    assert len(watcher.told("cannot write")) == 1 and watcher.told("is written again")
    watcher.stop()


def test_more_files_leave_at_once_than_wait_for_their_place(box):
    names = [f"{number:03}.mp3" for number in range(LIMITS["kLeavingMax"] + 1)]
    box.mkdir(f"{MUSIC}/#recycle")
    for name in names:
        box.write(f"{MUSIC}/{name}")
    watcher = Watcher(box)
    watcher.signal(signal.SIGSTOP)
    for name in names:
        os.rename(box.box.path(f"{MUSIC}/{name}"), box.box.path(f"{MUSIC}/#recycle/{name}"))
    watcher.signal(signal.SIGCONT)
    assert sorted(watcher.requests()) == [f"d:{MUSIC}/{name}" for name in names]
    watcher.stop()


def test_more_changes_are_queued_without_waiting(box):
    limit = LIMITS["kChangesMax"]
    box.write("/volume1/one.mp3")
    box.mkdir(f"{MUSIC}/d")
    watcher = Watcher(box, settle=LONG)
    def link(number):
        os.link(box.box.path("/volume1/one.mp3"), box.box.path(f"{MUSIC}/d/{number:05}.mp3"))
    for number in range(limit):
        link(number)
        if number % 1000 == 0:
            time.sleep(0.1)  # less than the kernel keeps of events
    time.sleep(1)
    assert not box.exists(QUEUE)
    link(limit)
    wait_for(lambda: len(box.lines(QUEUE)) > limit, "all changes to be queued")
    assert box.lines(QUEUE) == [f"a:{MUSIC}/d/{number:05}.mp3" for number in range(limit + 1)]
    assert not watcher.told("too many events")
    watcher.stop()


def test_a_share_that_is_away_keeps_its_rows(box):
    """It is indexed anew when it is back, and where its link leads elsewhere, that is."""
    box.write(f"{MUSIC}/d/a.mp3")
    watcher = Watcher(box, *OFTEN)
    os.rename(box.box.path(MUSIC), box.box.path("/volume1/elsewhere"))
    wait_for(lambda: watcher.told("music is away"), "the watcher to notice")
    assert not box.lines(QUEUE)
    os.rename(box.box.path("/volume1/elsewhere"), box.box.path(MUSIC))
    wait_for(lambda: "R:music" in box.lines(QUEUE), "the share to be indexed")
    box.write(f"{MUSIC}/d/b.mp3")
    assert watcher.requests()[-1] == f"a:{MUSIC}/d/b.mp3"
    box.mkdir("/volume1/films")
    os.unlink(box.box.path("/var/services/video"))
    os.symlink("/volume1/films", box.box.path("/var/services/video"))
    wait_for(lambda: "R:video" in box.lines(QUEUE), "the other place to be indexed")
    box.write("/volume1/films/a.avi")
    assert "a:/volume1/films/a.avi" in watcher.requests()
    assert not [line for line in box.lines(QUEUE) if line.startswith("D")]
    watcher.stop()


def test_what_is_unmounted_keeps_its_rows(box):
    """A file system in the share goes and comes back; the directory under it is not taken for it."""
    folder = f"{MUSIC}/disk"
    box.mkdir(f"{folder}")
    watcher = Watcher(box, *OFTEN, wrapper=["/usr/bin/unshare", "-m", "/bin/sh", "-c",
                                            f'mount -t tmpfs disk {folder} && mkdir {folder}/d && exec "$0" "$@"'])
    def inside(command):
        done = box.box.ask("run", arguments=["/usr/bin/nsenter", "-m", "-t", str(watcher.pid), "/bin/sh", "-c", command],
                           environment={}, timeout=LONG)
        assert done["status"] == 0, done
    inside(f"touch {folder}/d/a.mp3")
    assert watcher.requests() == [f"a:{folder}/d/a.mp3"]
    inside(f"touch {folder}/d/a.mp3 && umount {folder}")
    wait_for(lambda: watcher.told("was unmounted"), "the watcher to notice")
    assert watcher.requests() == []
    inside(f"mount -t tmpfs disk {folder} && touch {folder}/b.mp3")
    wait_for(lambda: f"N:{folder}:{folder}" in box.lines(QUEUE), "the tree to be indexed")
    inside(f"touch {folder}/c.mp3")
    assert watcher.requests()[-1] == f"a:{folder}/c.mp3"
    watcher.stop()


@pytest.mark.tracing
def test_a_failure_asks_for_all(box):
    """What it has not heard of nobody would know."""
    failing = ["/usr/bin/strace", "-D", "-qq", "-o", "/tmp/trace", "-e", "inject=poll,ppoll:error=ENOMEM:when=2"]
    watcher = Watcher(box, settle=LONG, wrapper=failing)
    box.write(f"{MUSIC}/a.mp3")
    assert watcher.wait() == 1
    wait_for(lambda: watcher.told("cannot watch"), "the reason")
    assert box.lines(QUEUE) == ["R:music", f"N:{PHOTO}:{PHOTO}", "R:video", "R:photo"]


@pytest.mark.tracing
def test_what_a_killed_watcher_has_not_asked_for_is_asked_for_by_the_next(box):
    watcher = Watcher(box, settle=30)
    box.write(f"{MUSIC}/a.mp3")
    watcher.signal(signal.SIGKILL)
    watcher.wait()
    watcher = Watcher(box)
    assert len(watcher.told("broken off")) == 1
    wait_for(lambda: "R:music" in box.lines(QUEUE), "the share to be indexed")
    watcher.stop()
    assert not box.exists("/var/run/veluwatchd.pid")
    Watcher(box).stop()
    assert len(watcher.told("broken off")) == 1, "one that ends in order is not followed by an index"


def test_the_limit_of_watches(box):
    """What is beyond it is told once, and indexed anew from time to time."""
    for number in range(3):
        box.write(f"{MUSIC}/d/{number}/a.mp3")
    refused = ["/usr/bin/strace", "-D", "-qq", "-o", "/tmp/trace", "-e",
               "inject=inotify_add_watch:error=ENOSPC:when=3..7"]
    watcher = Watcher(box, "--rescan", "4", wrapper=refused)
    assert len(watcher.told("max_user_watches")) == 1
    wait_for(lambda: [line for line in box.lines(QUEUE) if line.startswith(f"N:{MUSIC}/d/")], "a tree to be indexed")
    wait_for(lambda: len({line for line in box.lines(QUEUE) if line.startswith("N:")}) >= 3, "all trees")
    box.write(f"{MUSIC}/d/2/b.mp3")
    assert f"a:{MUSIC}/d/2/b.mp3" in watcher.requests(), "it is watched when the limit allows"
    watcher.stop()


def test_events_that_are_read_late(box):
    """What they tell of has left meanwhile, or is elsewhere. They are all there when the watcher goes on."""
    out = f"{MUSIC}/#recycle"
    for folder in (f"{MUSIC}/d", f"{MUSIC}/e/below", f"{out}/f", f"{MUSIC}/p"):
        box.mkdir(folder)
    watcher = Watcher(box)
    watcher.signal(signal.SIGSTOP)
    def move(old, new):
        os.rename(box.box.path(old), box.box.path(new))
    move(f"{MUSIC}/d", f"{out}/d")
    box.mkdir(f"{out}/d/made")
    move(f"{MUSIC}/e", f"{out}/e")
    move(f"{out}/f", f"{out}/e/f")
    box.mkdir(f"{MUSIC}/a")
    move(f"{MUSIC}/p", f"{out}/p")
    box.mkdir(f"{MUSIC}/z")
    move(f"{MUSIC}/a", f"{out}/p/a")
    move(f"{out}/p/a", f"{MUSIC}/a")
    move(f"{out}/p", f"{MUSIC}/a/p")
    watcher.signal(signal.SIGCONT)
    assert watcher.requests() == [f"N:{MUSIC}/a:{MUSIC}/a", f"D:{MUSIC}/d", f"D:{MUSIC}/e", f"D:{MUSIC}/p", f"A:{MUSIC}/z"]
    box.write(f"{MUSIC}/a/p/x.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/a/p/x.mp3"], "it is watched where it is"
    watcher.stop()


def test_more_events_than_the_kernel_keeps(make_daemon):
    daemon = make_daemon().start()
    for number in range(200):
        daemon.write(f"{MUSIC}/{number % 10}/{number}.pcm")
    daemon.write(f"{PHOTO}/p/gone.jpg", "x")
    daemon.index(*(f"A:{share}" for share in (MUSIC, VIDEO, PHOTO)))
    watcher = Watcher(daemon)
    watcher.signal(signal.SIGSTOP)
    for number in range(0, 200, 2):
        daemon.remove(f"{MUSIC}/{number % 10}/{number}.pcm")
    daemon.remove(f"{PHOTO}/p/gone.jpg")
    for _ in range(EVENTS_MAX // 2):
        daemon.write(f"{MUSIC}/0/x.pcm")
        daemon.remove(f"{MUSIC}/0/x.pcm")
    os.rename(daemon.box.path(f"{MUSIC}/1"), daemon.box.path(f"{MUSIC}/new"))
    daemon.write(f"{MUSIC}/new/y.pcm")
    watcher.signal(signal.SIGCONT)
    wait_for(lambda: watcher.told("too many events"), "the watcher to tell")
    wait_for(lambda: "overflows 1" in daemon.lines("/var/run/veluwatchd.state"), "its state to tell it, too")
    wait_for(lambda: daemon.row("music", f"{MUSIC}/new/y.pcm"), "the shares to be indexed", pause=0.1)
    daemon.write(f"{MUSIC}/new/z.pcm")
    watcher.settle()
    assert daemon.row("music", f"{MUSIC}/new/z.pcm"), "the tree is watched again"
    watcher.stop()
    check_equal(daemon)

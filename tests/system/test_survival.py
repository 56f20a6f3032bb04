# SPDX-License-Identifier: GPL-2.0-or-later
"""What was asked is done, whenever the daemon is killed: a restart completes the catalogue."""
import os
import signal

import pytest

from harness.daemon import WORKING_COPY, QUEUE

MUSIC = "/volume1/music"
SOON = 5  # seconds in which a run that was asked for begins, on the clock of the tests


@pytest.fixture
def work(box, samples):
    """A tree with some of everything, the queue lines for it, and the catalogue of an undisturbed run."""
    for number in range(2500):
        box.write(f"{MUSIC}/{number % 25}/{number}.{('pcm', 'srt', 'm3u', 'txt')[number % 4]}")
    for name in ("plain.mp3", "tagged.mp3", "picture.png", "exif.jpg"):
        box.copy(samples / name, f"{MUSIC}/real/{name}")
    lines = ["bad line", f"A:{MUSIC}", f"d:{MUSIC}/none.pcm", f"T:playlist", f"A:{MUSIC}/7"]
    box.start()
    box.index(*lines)
    undisturbed = box.snapshot()
    assert len(undisturbed["music"]) > 600
    box.stop()
    box.catalogue.forget()
    return lines, undisturbed


def finish(box):
    """Starts the daemon anew and waits until it has done what was left."""
    before = box.wakes("dms")
    box.start()
    box.wait_run(before)
    if box.exists(QUEUE):
        box.index()


def test_killed_before_the_run(box, work):
    lines, undisturbed = work
    box.start()
    box.queue(*lines)
    box.signal()
    box.kill()
    finish(box)
    assert box.snapshot() == undisturbed


def test_killed_during_the_run_at_several_moments(box, work):
    lines, undisturbed = work
    interrupted = 0
    for delay in (0, 0.005, 0.02, 0.05, 0.1):
        box.start()
        box.queue(*lines)
        box.kill_in_run(delay)
        if box.exists(WORKING_COPY):
            interrupted += 1
            finish(box)
        assert box.snapshot() == undisturbed, f"killed {delay} s into the run"
        if box.pid:
            box.stop()
        box.catalogue.forget()
    assert interrupted >= 2


def kill_in_this_run(box, lines, delay, number=signal.SIGKILL):
    """Ends the daemon in the run that goes on, or in another one when that was over before anybody looked."""
    while True:
        if box.box.ask("kill_when", pid=box.pid, number=int(number), path=WORKING_COPY, delay=delay, timeout=SOON)["sent"]:
            box.wait_gone()
            box.pid = 0
            if box.exists(WORKING_COPY):
                return
            box.start()
        box.queue(*lines)
        box.signal()


def test_killed_again_and_again_and_still_complete(box, work):
    lines, undisturbed = work
    box.start()
    box.queue(*lines)
    box.signal()
    for delay in (0.002, 0.004, 0.008):
        kill_in_this_run(box, lines, delay)
        box.start(idle=False)
    box.kill()
    if box.exists(WORKING_COPY):
        finish(box)
    else:  # on a busy machine the last run may be over before the kill comes
        box.start()
    assert box.snapshot() == undisturbed


def test_killed_after_the_run(box, work):
    lines, undisturbed = work
    box.start()
    box.index(*lines)
    box.kill()
    assert box.snapshot() == undisturbed, "all of it stands when the media server is told"
    box.start()
    assert box.snapshot() == undisturbed


def test_stopped_during_the_run(box, work):
    lines, undisturbed = work
    box.start()
    box.queue(*lines)
    box.signal()
    kill_in_this_run(box, lines, 0.002, signal.SIGTERM)
    finish(box)
    assert box.snapshot() == undisturbed


def test_lines_queued_while_the_daemon_is_dead_come_after_the_left_over_ones(box, work):
    lines, undisturbed = work
    box.start()
    box.queue(*lines)
    box.signal()
    kill_in_this_run(box, lines, 0.002)
    os.rename(box.box.path(f"{MUSIC}/0"), box.box.path("/tmp/0"))
    box.queue(f"D:{MUSIC}/0")
    finish(box)
    os.rename(box.box.path("/tmp/0"), box.box.path(f"{MUSIC}/0"))
    inside = f"{MUSIC}/0/"
    for table in ("music", "video", "playlist"):
        assert box.paths(table) == [row["path"] for row in undisturbed[table] if not row["path"].startswith(inside)]

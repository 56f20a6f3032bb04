# SPDX-License-Identifier: GPL-2.0-or-later
"""The main loop: how long it waits after a signal, when it is forced, and when it compacts the databases."""
import time

import pytest

from harness.catalogue import ON_SERVER
from harness.daemon import QUEUE, SPEED, WORKING_COPY, wait_for

HOUR = 3600
SLEEP = 10 / SPEED
# The client library of the server, and what it links, are loaded with the first connection.
RESIDENT_LIMIT_KB = (14 if ON_SERVER else 6) * 1024


def taken(daemon):
    return not daemon.exists(QUEUE) and not daemon.exists(WORKING_COPY)


def test_a_signal_during_every_sleep_puts_the_run_off(daemon):
    daemon.queue("bad line")
    for _ in range(20):
        daemon.signal()
        time.sleep(SLEEP / 2)
        assert not taken(daemon)
    daemon.wait_run(0)
    assert daemon.logged("veluindexd.c", "Bad format [bad line].") == 1


def test_without_a_signal_the_queue_stays(daemon):
    daemon.queue("bad line")
    time.sleep(SLEEP * 5)
    assert daemon.exists(QUEUE)


def test_one_signal_makes_one_run(daemon):
    daemon.index("bad line")
    time.sleep(SLEEP * 5)
    assert daemon.peer_signals("dms") == ["SIGUSR1"]


def test_vacuum_before_a_run_once_twelve_hours_have_passed(make_daemon):
    daemon = make_daemon(moving_clock=True)
    daemon.configure(mediadb="sqlite:/dev/null/media.db", photodb="sqlite:/dev/null/photo.db")
    daemon.start()

    def vacuums():
        media = daemon.logged("veluindexd.c", "vaccuum mediaserver failed.")
        assert daemon.logged("veluindexd.c", "vaccuum photodb failed.") == media
        return media

    daemon.index()
    assert vacuums() == 1, "the start compacts, a run soon after it does not"
    daemon.set_clock(11 * HOUR)
    daemon.index()
    assert vacuums() == 1, "eleven hours are not enough"
    daemon.set_clock(13 * HOUR)
    time.sleep(SLEEP * 4)
    assert vacuums() == 1, "an idle daemon never compacts"
    daemon.index()
    assert vacuums() == 2, "the run after twelve hours compacts first"
    daemon.index()
    assert vacuums() == 2, "the time counts from the last vacuum"


def test_ten_thousand_signals_force_a_run_and_a_vacuum(make_daemon):
    daemon = make_daemon(speed=1)
    daemon.configure(mediadb="sqlite:/dev/null/media.db")
    daemon.start()
    daemon.queue("bad line")
    first = daemon.box.ask("flood", pid=daemon.pid, number=10, until=QUEUE, limit=9999)
    assert not first["gone"], "9999 signals must not force a run"
    rest = daemon.box.ask("flood", pid=daemon.pid, number=10, until=QUEUE, limit=200000)
    assert rest["gone"]
    daemon.wait_run(0)
    assert daemon.logged("veluindexd.c", "Bad format [bad line].") == 1
    assert daemon.logged("veluindexd.c", "vaccuum mediaserver failed.") == 2


@pytest.mark.real_clock
def test_on_the_real_clock_it_sleeps_soundly_and_runs_10_to_20_seconds_after_a_signal(make_daemon):
    daemon = make_daemon(speed=1)
    daemon.write("/volume1/music/a.pcm")
    daemon.start()
    wait_for(daemon.idle, "the main loop")

    assert int(daemon.status_field("VmRSS")) < RESIDENT_LIMIT_KB
    before = int(daemon.status_field("voluntary_ctxt_switches"))
    time.sleep(25)
    wakeups = int(daemon.status_field("voluntary_ctxt_switches")) - before
    assert 2 <= wakeups <= 3, "one wake-up every ten seconds"

    begin = time.monotonic()
    daemon.index("a:/volume1/music/a.pcm")
    assert 10 <= time.monotonic() - begin <= 21
    assert daemon.paths("music") == ["/volume1/music/a.pcm"]
    wait_for(daemon.idle, "the main loop")
    assert int(daemon.status_field("VmRSS")) < RESIDENT_LIMIT_KB

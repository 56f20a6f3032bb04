# SPDX-License-Identifier: GPL-2.0-or-later
"""A primary that is killed and a standby that takes its place: the daemon finds it by itself, and with a synchronous one
nothing is lost that was done with."""
import os
import random
import time

import pytest

from harness.clusters import Clusters, Route
from harness.daemon import KEPT, wait_for
from harness.documented import documented

pytestmark = pytest.mark.postgresql

MUSIC = "/volume1/music"
SPEED = 100
EARLIER, FILES, FEW = 300, 3000, 1000
SEED = int(os.environ.get("VELU_SEED") or time.time_ns() % 1000000)
SYNCHRONOUS = documented("postgresql.conf of db1", {})


@pytest.fixture
def make_pair(template):
    made = []

    def make(settings):
        made.append(Clusters(template))
        return made[-1].start_pair(settings)
    yield make
    for clusters in made:
        clusters.close()


def route(primary, standby, first):
    """A way on which daemons find whichever of them takes writes; `first` is asked first."""
    second = standby if first is primary else primary
    return Route(primary, f"127.0.0.1:{first.port},127.0.0.1:{second.port}", ["target_session_attrs=read-write"],
                 [standby])


def fill(daemon, folder, files):
    for number in range(files):
        daemon.write(f"{MUSIC}/{folder}/{number % 20}/{number}.{('pcm', 'srt', 'm3u')[number % 3]}")


def count(daemon):
    return sum(daemon.catalogue.count(table) for table in ("music", "video", "playlist"))


def promote(daemon, standby):
    standby.promote()
    daemon.catalogue.server.node = standby


def check_failover(make_pair, make_daemon, rows):
    """The primary is killed when so many rows are there."""
    primary, standby = make_pair(SYNCHRONOUS)
    daemon = make_daemon(server=route(primary, standby, primary), speed=SPEED).start()
    fill(daemon, "earlier", EARLIER)
    fill(daemon, "now", FILES)
    daemon.index(f"A:{MUSIC}")
    undisturbed = daemon.snapshot()
    assert sum(len(undisturbed[table]) for table in ("music", "video", "playlist")) == EARLIER + FILES
    daemon.catalogue.forget()
    daemon.index(f"A:{MUSIC}/earlier")
    daemon.queue(f"A:{MUSIC}", f"A:{MUSIC}/now")
    daemon.signal()
    wait_for(lambda: count(daemon) >= rows, "some rows", pause=0)
    primary.kill()
    wait_for(lambda: daemon.exists(KEPT), "requests that wait")
    promote(daemon, standby)
    daemon.wait_done()
    assert daemon.snapshot() == undisturbed


@pytest.mark.parametrize("rows", [EARLIER + 1, EARLIER + 2000])
def test_a_failover_in_the_middle_of_a_run_loses_nothing(make_pair, make_daemon, rows):
    check_failover(make_pair, make_daemon, rows)


@pytest.mark.parametrize("moment", range(10))
def test_a_failover_at_any_moment(make_pair, make_daemon, moment):
    rows = random.Random(SEED + moment).randrange(EARLIER + 1, EARLIER + FILES - 100)
    print(f"VELU_SEED={SEED}: killed at {rows} rows")
    check_failover(make_pair, make_daemon, rows)


def test_what_is_done_with_is_on_a_synchronous_standby(make_pair, make_daemon):
    primary, standby = make_pair(SYNCHRONOUS)
    # The standby is asked first, and takes no writes yet.
    daemon = make_daemon(server=route(primary, standby, standby), speed=SPEED).start()
    fill(daemon, "now", EARLIER)
    daemon.queue(f"A:{MUSIC}")
    daemon.signal()
    wait_for(daemon.done, "the end of the run", pause=0.0005)
    primary.kill()
    promote(daemon, standby)
    assert count(daemon) == EARLIER
    assert not daemon.exists(KEPT)
    fill(daemon, "later", 30)
    daemon.index(f"A:{MUSIC}/later")
    assert count(daemon) == EARLIER + 30


def test_a_synchronous_standby_that_is_away_is_waited_for(make_pair, make_daemon):
    primary, standby = make_pair(SYNCHRONOUS)
    # So fast that its patience with a statement ends within a test's.
    daemon = make_daemon(server=route(primary, standby, primary), speed=500).start()
    fill(daemon, "now", EARLIER)
    standby.stop()
    daemon.queue(f"A:{MUSIC}")
    daemon.signal()
    wait_for(lambda: daemon.exists(KEPT), "requests that wait")
    standby.start()
    daemon.wait_done()
    assert count(daemon) == EARLIER


def test_a_wait_for_a_standby_that_is_broken_off_confirms_nothing(make_pair, make_daemon):
    """The server answers the commit with success, and a warning."""
    primary, standby = make_pair(SYNCHRONOUS)
    daemon = make_daemon(server=route(primary, standby, primary), speed=SPEED).start()
    fill(daemon, "now", EARLIER)
    standby.stop()
    daemon.queue(f"A:{MUSIC}")
    daemon.signal()
    wait_for(lambda: primary.ask("select pg_cancel_backend(pid) from pg_stat_activity where wait_event = 'SyncRep'"),
             "a wait for the standby")
    try:
        wait_for(lambda: daemon.exists(KEPT) or daemon.done(), "the end of the run")
        assert daemon.exists(KEPT)
        assert any("the wait for a synchronous standby was broken off" in text for text in daemon.log.texts())
    finally:
        standby.start()
    daemon.wait_done()
    assert count(daemon) == EARLIER


def test_what_a_standby_lacked_is_found_by_check(make_pair, make_daemon):
    """Without a synchronous one, what is done with may be lost, and only that."""
    primary, standby = make_pair("")
    daemon = make_daemon(server=route(primary, standby, primary), speed=SPEED).start()
    fill(daemon, "earlier", EARLIER)
    daemon.index(f"A:{MUSIC}/earlier")
    daemon.catalogue.server.wait_followed()
    standby.follow_nobody()
    fill(daemon, "unseen", EARLIER)
    daemon.index(f"A:{MUSIC}/unseen")
    fill(daemon, "now", FEW)
    daemon.queue(f"A:{MUSIC}/now")
    daemon.signal()
    wait_for(lambda: count(daemon) >= 2 * EARLIER + 400, "some rows", pause=0)
    primary.kill()
    promote(daemon, standby)
    daemon.wait_done()
    assert count(daemon) == EARLIER + FEW
    daemon.ctl("check", "--fix", "--wait", clock=True)
    daemon.wait_done()
    assert count(daemon) == 2 * EARLIER + FEW

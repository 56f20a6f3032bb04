# SPDX-License-Identifier: GPL-2.0-or-later
"""A PostgreSQL server that goes away, also in the middle of a run: nothing that was asked is forgotten, and the daemon
goes on by itself when the server is back."""
import pytest

from harness.daemon import KEPT, wait_for
from harness.server import OwnServer, SmallServer

pytestmark = pytest.mark.postgresql

MUSIC = "/volume1/music"
KEPT_LINE = f"Failed to store all rows. Requests kept in {KEPT}: 1."


@pytest.fixture(scope="module")
def server():
    own = OwnServer()
    yield own
    own.close()


@pytest.fixture
def daemon(make_daemon, server):
    """A running daemon with a server that the test may end."""
    return make_daemon(server=server).start()


STILL_TRIES = 4


def fill(daemon, files):
    for number in range(files):
        daemon.write(f"{MUSIC}/{number % 20}/{number}.{('pcm', 'srt', 'm3u')[number % 3]}")


def begin(daemon, *lines):
    daemon.queue(*lines)
    daemon.signal()


def test_a_server_that_is_away_is_waited_for(daemon, server):
    daemon.write(f"{MUSIC}/x.pcm")
    server.stop()
    try:
        begin(daemon, f"a:{MUSIC}/x.pcm")
        wait_for(lambda: daemon.logged("veluindexd.c", KEPT_LINE), "the log line")
        assert daemon.exists(KEPT)
        assert any("Failed to open the database of the media catalogue. (" in text and "Connection refused" in text
                   for text in daemon.log.texts())
    finally:
        server.start()
    daemon.wait_done()
    assert daemon.paths("music") == [f"{MUSIC}/x.pcm"]


@pytest.mark.parametrize("end", ["fast", "immediate", "crash"])
@pytest.mark.parametrize("rows", [1, 300, 900])
def test_a_server_that_ends_in_the_middle_of_a_run(daemon, server, end, rows):
    fill(daemon, 1500)
    daemon.index(f"A:{MUSIC}")
    undisturbed = daemon.snapshot()
    assert len(undisturbed["music"]) == 500
    daemon.catalogue.forget()
    begin(daemon, f"A:{MUSIC}", f"A:{MUSIC}/7")
    wait_for(lambda: sum(daemon.catalogue.count(table) for table in ("music", "video", "playlist")) >= rows,
             "some rows", pause=0)
    if end == "crash":
        server.crash()
    else:
        server.stop(end)
        server.start()
    daemon.wait_done()
    assert daemon.snapshot() == undisturbed


@pytest.fixture
def small():
    own = SmallServer()
    yield own
    own.close()


def test_a_server_whose_disk_is_full(small, make_daemon):
    daemon = make_daemon(server=small).start()
    files = [f"{MUSIC}/{number % 20}/{'x' * 200}{number}.pcm" for number in range(6000)]
    for path in files:
        daemon.write(path)
    small.leave(kilobytes=2000)
    begin(daemon, f"A:{MUSIC}")
    wait_for(lambda: daemon.logged("veluindexd.c", KEPT_LINE), "the log line")
    assert daemon.exists(KEPT)
    assert any("No space left on device" in text for text in daemon.log.texts())
    small.leave(kilobytes=100000)
    daemon.wait_done()
    assert daemon.paths("music") == sorted(files)


def test_a_server_that_stands_still_does_not_hold_the_daemon(daemon, server):
    fill(daemon, 6000)  # most of which is to come when the server has been stopped
    daemon.configure(**{key: uri.replace("connect_timeout=600", "connect_timeout=60")
                        for key, uri in daemon.catalogue.keys.items()})
    # The statement that had no answer is done again, and that on a connection that is not to be had. The end of a batch is not done
    # again in the same run: when that is what had no answer, there is another try.
    for _ in range(4):
        begin(daemon, f"A:{MUSIC}")
        stand_still_in_a_run(daemon, server)
        daemon.wait_done()
        assert len(daemon.paths("music")) == 2000
        if any("timeout expired" in text for text in daemon.log.texts()):
            return
        begin(daemon, "T:music", "T:playlist", "T:video")
        daemon.wait_done()
    raise AssertionError(f"no new connection was tried: {daemon.log.texts()[-12:]}")


def stand_still_in_a_run(daemon, server):
    """Until the requests of the run are kept."""
    kept = daemon.logged("veluindexd.c", KEPT_LINE)
    wait_for(lambda: daemon.catalogue.count("music") >= 1, "some rows", pause=0)
    stopped = server.stand_still()
    assert stopped
    try:
        wait_for(lambda: daemon.logged("veluindexd.c", KEPT_LINE) > kept, "the log line")
    finally:
        server.go_on(stopped)


def test_a_password_that_is_wrong_is_told_but_not_shown(daemon):
    daemon.write(f"{MUSIC}/x.pcm")
    daemon.configure(mediadb=daemon.catalogue.keys["mediadb"].replace("secret", "mistaken"))
    begin(daemon, f"a:{MUSIC}/x.pcm")
    wait_for(lambda: daemon.logged("veluindexd.c", KEPT_LINE), "the log line")
    assert any("password authentication failed" in text for text in daemon.log.texts())
    assert not any("mistaken" in text for text in daemon.log.texts())
    daemon.configure()
    daemon.wait_done()
    assert daemon.paths("music") == [f"{MUSIC}/x.pcm"]

# SPDX-License-Identifier: GPL-2.0-or-later
"""kill -9 of the daemon, and of the server with all that belongs to it, at random moments of a run: when the daemon is
at rest again, the catalogue is that of an undisturbed run."""
import os
import random
import time

import pytest

from harness.catalogue import ON_SERVER
from harness.daemon import WORKING_COPY, wait_for

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
# A moment beside a server costs four times as much as one without, half of it the server's.
MOMENTS = int(os.environ.get("VELU_MOMENTS") or (24 if ON_SERVER else 50))
FILES = 1000 if ON_SERVER else 3000  # which take a fast machine a tenth of a second
PARTS = 3 if ON_SERVER else 5  # so that several workers share them
MOMENTS_OF_A_PART = range(MOMENTS // PARTS)
SEED = int(os.environ.get("VELU_SEED") or time.time_ns() % 1000000)
LINES = ["bad line", f"A:{MUSIC}", f"d:{MUSIC}/none.pcm", f"A:{PHOTO}", f"a:{PHOTO}/Trips", "T:playlist", f"A:{MUSIC}/7",
         f"N:{PHOTO}/Trips:{PHOTO}/Old", f"A:{VIDEO}", "U:photo"]

every_part = pytest.mark.parametrize("part", range(PARTS))


class Moments:
    """Seconds into a run that takes `span` of them, or fewer: what the first run took is a guess only."""

    def __init__(self, part, span):
        self.generator = random.Random(SEED * PARTS + part)
        self.span = span
        self.interrupted = 0

    def __iter__(self):
        for _ in MOMENTS_OF_A_PART:
            yield self.generator.uniform(0, self.span)

    def tell(self, moment, interrupted):
        """Whether the run still went on at that moment."""
        self.interrupted += interrupted
        if not interrupted:
            self.span = moment

    def check(self):
        print(f"VELU_SEED={SEED}: {self.interrupted} of {len(MOMENTS_OF_A_PART)} runs were interrupted")
        assert self.interrupted >= len(MOMENTS_OF_A_PART) // 3


def state(daemon):
    """All rows of the catalogue, and the covers."""
    covers = daemon.box.path("/var/lib/velu/covers")
    files = sorted(name for _, _, names in os.walk(covers) for name in names)
    return daemon.snapshot() | {"covers": files}


def began(daemon):
    """When the queue was taken over, by the clock of its file system: whoever looks may be late. None before and after the run."""
    try:
        return os.stat(daemon.box.path(WORKING_COPY)).st_ctime
    except FileNotFoundError:
        return None


def undisturbed(daemon, samples):
    """Fills the shares. Gives the state after an undisturbed run, and how long that takes."""
    for number in range(FILES):
        daemon.write(f"{(MUSIC, VIDEO)[number % 2]}/{number % 13}/caf\xe9'{number}.{('pcm', 'srt', 'm3u')[number % 3]}")
    for name in ("plain.mp3", "tagged.mp3", "picture.png", "exif.jpg"):
        daemon.copy(samples / name, f"{MUSIC}/real/{name}")
        daemon.copy(samples / name, f"{PHOTO}/Trips/{name}")
    for number in range(60):
        daemon.copy(samples / "exif.jpg", f"{PHOTO}/Trips/{number}.jpg")
    daemon.start()
    daemon.queue(*LINES)
    daemon.signal()
    begin = wait_for(lambda: began(daemon), "the run", pause=0)
    wait_for(daemon.done, "the end of the run", pause=0.001)
    span = time.time() - begin
    expected = state(daemon)
    assert all(expected[table] for table in ("music", "video", "photo_image", "photo_share", "covers"))
    assert span > 0.05, "too short to be hit"
    return expected, span


@every_part
def test_the_daemon_is_killed(box, samples, part):
    expected, span = undisturbed(box, samples)
    moments = Moments(part, span)
    for moment in moments:
        box.catalogue.forget()
        box.queue(*LINES)
        box.kill_in_run(moment)
        moments.tell(moment, box.exists(WORKING_COPY))
        box.start()
        box.wait_done()
        assert state(box) == expected, f"VELU_SEED={SEED}: killed {moment} s into the run"
    moments.check()


if ON_SERVER:
    from harness.server import OwnServer

    @pytest.fixture(scope="module")
    def server():
        own = OwnServer()
        yield own
        own.close()


@pytest.mark.postgresql
@every_part
def test_the_server_is_killed(make_daemon, server, samples, part):
    daemon = make_daemon(server=server)
    expected, span = undisturbed(daemon, samples)
    moments = Moments(part, span)
    for moment in moments:
        daemon.catalogue.forget()
        daemon.queue(*LINES)
        daemon.signal()
        wait_for(lambda: daemon.exists(WORKING_COPY), "the run", pause=0.0005)
        time.sleep(moment)
        goes_on = daemon.exists(WORKING_COPY)  # a run without its server ends soon
        server.kill()
        moments.tell(moment, goes_on)
        server.start()
        daemon.wait_done()
        assert state(daemon) == expected, f"VELU_SEED={SEED}: killed {moment} s into the run"
    moments.check()

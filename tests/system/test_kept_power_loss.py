# SPDX-License-Identifier: GPL-2.0-or-later
"""The power fails while requests are kept and texts are handed over, after each single change of a file: whatever the disk
holds then, no request and no text is lost."""
import errno
import random
from typing import NamedTuple

import pytest

from harness import photo
from harness.daemon import QUEUE, WORKING_COPY, wait_for
from harness.photo import attribute_file
from harness.places import HOLD, Rule
from harness.powerloss import FOLDERS, Disk, recorded, restore

pytestmark = [pytest.mark.tracing, pytest.mark.sqlite]

SPOOL, SHARE = "/var/spool", "/volume1/photo/Trip"
MUSIC = "/volume1/music"
KEPT, TEXTS = f"{QUEUE}.kept", f"{QUEUE}.texts"
A, B = f"{SHARE}/a.jpg", f"{SHARE}/b.jpg"
TITLES = f"{SHARE}/@eaDir"
SEED = 13
TOPS = (*FOLDERS, TITLES)

# What survives of the writes that were not synchronised, and the folders whose changes wait to be.
MODELS = {
    "all": (lambda rng: lambda write: True, ()),
    "none": (lambda rng: lambda write: False, ()),
    "some": (lambda rng: lambda write: rng.random() < 0.5, ()),
    "no folder": (lambda rng: lambda write: True, (SPOOL,)),
    "nothing": (lambda rng: lambda write: False, (SPOOL,)),
}


def prepare(daemon):
    for path in (A, B):
        daemon.write(path, photo.jpeg(3, 2))
    daemon.write(f"{MUSIC}/x.pcm")
    daemon.start()
    daemon.index(f"A:{SHARE}", f"a:{MUSIC}/x.pcm")


def hand_over(daemon):
    for path, title in ((A, "first\n"), (B, "second\n")):
        daemon.write(attribute_file(path, "TITLE"), title)
    daemon.write(attribute_file(A, "DESC"), "described")


class Stage(NamedTuple):
    """What is kept before, what is queued, and whether the catalogue of pictures is away."""
    kept: tuple
    queued: tuple
    away: bool


STAGES = {
    "first failure": Stage((), (f"a:{A}", f"a:{MUSIC}/x.pcm", f"a:{B}"), True),
    "more failures": Stage((f"a:{A}",), (f"a:{B}", f"a:{A}", f"A:{SHARE}"), True),
    "recovery": Stage((f"a:{A}", f"a:{B}"), (f"a:{MUSIC}/x.pcm",), False),
}
AWAY = Rule("open", "*/photo.db*", errno.EIO)


def record(daemon, stage, late):
    """Has the stage come about. Gives the disk before, and what was done to it."""
    daemon.places.set(AWAY)
    if stage.kept:
        daemon.index(*stage.kept)
    # The queue is taken over when the daemon is traced.
    daemon.places.set(Rule("rename", WORKING_COPY, HOLD, last=1), *([AWAY] if stage.away else []))
    daemon.queue(*stage.queued)
    daemon.signal()
    daemon.places.wait_held()
    before = daemon.wakes("dms")
    disk, operations = Disk(daemon, TOPS, late), []
    with recorded(daemon, operations, TOPS):
        daemon.places.release()
        daemon.wait_run(before)
        daemon.kill()
    daemon.places.forget()
    return disk, operations


def images(disk, operations, keep):
    """What the disk may hold, each with the number of operations before; the same one twice in a row counts once."""
    last = None
    for number in range(len(operations) + 1):
        if number:
            disk.apply(operations[number - 1])
        image = disk.image(keep)
        if image != last:
            yield number, image
        last = image


@pytest.mark.parametrize("model", MODELS)
@pytest.mark.parametrize("stage", STAGES)
def test_the_power_fails_while_requests_are_kept(make_placed, stage, model):
    daemon = make_placed()
    prepare(daemon)
    hand_over(daemon)
    keep, late = MODELS[model]
    disk, operations = record(daemon, STAGES[stage], late)
    cuts = 0
    for number, image in images(disk, operations, keep(random.Random(SEED))):
        where = f"{model}, after {number} of {len(operations)}: {operations[max(number - 3, 0):number]}"
        restore(daemon, image, TOPS)
        daemon.start()
        wait_for(lambda: not any(map(daemon.exists, (QUEUE, WORKING_COPY, KEPT))), f"all requests to be done; {where}")
        # The disk may have had the hand-over files still, whose line was done with.
        daemon.index(f"a:{A}", f"a:{B}")
        rows = {row["path"]: (row["title"], row["description"]) for row in daemon.rows("photo_image")}
        assert rows == {A: ("first", "described"), B: ("second", "")}, where
        assert daemon.paths("music") == [f"{MUSIC}/x.pcm"], where
        assert not daemon.exists(TEXTS) or not daemon.read(TEXTS), where
        daemon.stop()
        cuts += 1
    assert cuts >= 5, "the stage has this many states at least"

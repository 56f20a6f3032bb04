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
from harness.powerloss import FOLDERS, Disk, Operation, recorded, restore

pytestmark = [pytest.mark.tracing, pytest.mark.sqlite]

SPOOL, SHARE = "/var/spool", "/volume1/photo/Trip"
MUSIC = "/volume1/music"
SONG, LATE = f"{MUSIC}/x.pcm", f"{MUSIC}/late.pcm"
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

# The catalogue of pictures cannot be opened, so that nothing of a request is tried; or its rows are refused when they come
# to the disk, and everything of it was.
AWAY = Rule("open", "*/photo.db*", errno.EIO)
REFUSED = Rule("write", "*/photo.db-wal", errno.EIO)


class Stage(NamedTuple):
    """What is queued, what is kept before that, and what fails then and now."""
    queued: tuple
    kept: tuple = ()
    before: tuple = ()
    faults: tuple = ()
    newer: bool = False # a title is handed over once more in between
    breaks: bool = False # the catalogue takes the row of the first picture, and no more
    late: bool = False # a line comes between the last look at the working copy and its end
    states: int = 5 # that the disk goes through, at the least


STAGES = {
    "first failure": Stage((f"a:{A}", f"a:{SONG}", f"a:{B}"), faults=(AWAY,)),
    "nothing tried": Stage((f"a:{B}", f"a:{A}", f"A:{SHARE}"), (f"a:{A}",), (AWAY,), (AWAY,), states=4),
    "more failures": Stage((f"a:{B}", f"a:{A}", f"A:{SHARE}"), (f"a:{A}",), (AWAY,), (REFUSED,)),
    "recovery": Stage((f"a:{SONG}",), (f"a:{A}", f"a:{B}"), (AWAY,)),
    "newer text": Stage((f"a:{SONG}",), (f"a:{A}", f"a:{B}"), (REFUSED,), newer=True, breaks=True),
    "late line": Stage((f"a:{B}",), (f"a:{A}",), (AWAY,), (AWAY,), late=True),
}


def prepare(daemon):
    for path in (A, B):
        daemon.write(path, photo.jpeg(3, 2))
    for path in (SONG, LATE):
        daemon.write(path)
    daemon.start()
    daemon.index(f"A:{SHARE}", f"a:{SONG}")


def hand_over(daemon):
    for path, title in ((A, "first\n"), (B, "second\n")):
        daemon.write(attribute_file(path, "TITLE"), title)
    daemon.write(attribute_file(A, "DESC"), "described")


def on_the_way(daemon, stage, writer):
    """Does what a stage has happen while the requests are carried out."""
    if stage.breaks:
        daemon.places.wait_held()
        daemon.places.change(REFUSED)
        daemon.places.release()
    if stage.late:
        daemon.places.wait_held()
        writer.write(f"a:{LATE}\n".encode())
        daemon.places.release()


def record(daemon, stage, late):
    """Has the stage come about. Gives the disk before, and what was done to it."""
    daemon.places.set(*stage.before)
    if stage.kept:
        daemon.index(*stage.kept)
    # The queue is taken over when the daemon is traced.
    daemon.places.set(Rule("rename", WORKING_COPY, HOLD, last=1), *stage.before)
    daemon.queue(*stage.queued)
    daemon.signal()
    daemon.places.wait_held()
    if stage.newer:
        daemon.write(attribute_file(A, "TITLE"), "newer\n")
    before = daemon.wakes("dms")
    disk, operations = Disk(daemon, TOPS, late), []
    faults = list(stage.faults)
    if stage.breaks:
        faults.append(Rule("stat", B, HOLD, last=1))
    if stage.late:
        faults.append(Rule("unlink", WORKING_COPY, HOLD, last=1))
    daemon.places.change(*faults)
    with open(daemon.box.path(QUEUE), "ab", buffering=0) as writer, recorded(daemon, operations, TOPS):
        daemon.places.release()
        on_the_way(daemon, stage, writer)
        daemon.wait_run(before)
        daemon.kill()
    daemon.places.forget()
    if stage.late:
        gone = operations.index(Operation("unlink", WORKING_COPY))
        operations.insert(gone, Operation("write", WORKING_COPY, f"a:{LATE}\n".encode()))
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
    stage = STAGES[stage]
    disk, operations = record(daemon, stage, late)
    cuts, promised = 0, False
    for number, image in images(disk, operations, keep(random.Random(SEED))):
        where = f"{model}, after {number} of {len(operations)}: {operations[max(number - 3, 0):number]}"
        restore(daemon, image, TOPS)
        # A line that comes too late for the working copy is the daemon's once it is kept.
        promised = promised or LATE.encode() in dict(image[1]).get(KEPT, b"")
        daemon.start()
        wait_for(lambda: not any(map(daemon.exists, (QUEUE, WORKING_COPY, KEPT))), f"all requests to be done; {where}")
        # The disk may have had the hand-over files still, whose line was done with.
        daemon.index(f"a:{A}", f"a:{B}")
        rows = {row["path"]: (row["title"], row["description"]) for row in daemon.rows("photo_image")}
        assert rows == {A: ("newer" if stage.newer else "first", "described"), B: ("second", "")}, where
        songs = daemon.paths("music")
        assert SONG in songs and (LATE in songs or not promised), where
        assert not daemon.exists(TEXTS) or not daemon.read(TEXTS), where
        daemon.stop()
        cuts += 1
    assert promised == stage.late
    assert cuts >= stage.states, "the stage has this many states at least"

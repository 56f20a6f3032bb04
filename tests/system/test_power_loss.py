# SPDX-License-Identifier: GPL-2.0-or-later
"""The power fails at any moment of a run. The files are brought to what the disk may hold then, and the daemon is started:
what the catalogue has before that is what some first lines of the queue explain, and after it, everything is done."""
import random

import pytest

from harness import readers
from harness.daemon import THUMB_DAEMON, THUMB_QUEUE
from harness.faults import files_below
from harness.powerloss import Disk, recorded, restore

pytestmark = [pytest.mark.tracing, pytest.mark.sqlite]

MUSIC = "/volume1/music"
SEED = 7
# What a reader may take is long enough at this speed, and a file that has just been written has a stamp.
SPEED_WITH_READERS = 20

# What survives of the writes that were not synchronised.
MODELS = {
    "all": lambda rng: lambda write: True,
    "none": lambda rng: lambda write: False,
    "some": lambda rng: lambda write: rng.random() < 0.5,
}


def outcome(daemon):
    """All that a run leaves."""
    covers = {path: open(path, "rb").read() for path in sorted(files_below(daemon, "/var/lib/velu/covers"))}
    known = [(row["path"], row["trouble"]) for row in daemon.rows("file_state")]
    facts = sorted((row["path"], row["name"], row["position"], row["value"]) for row in daemon.rows("fact"))
    return daemon.snapshot(), covers, daemon.lines(THUMB_QUEUE), known, facts


def songs(daemon):
    return daemon.paths("music")


class History:
    """A recorded run: how the disk was before, the operations, and what the music table holds after each line."""

    def __init__(self, daemon, samples, fresh, put):
        self.daemon = daemon
        daemon.start_peer(THUMB_DAEMON)
        names = ("tagged.mp3", "tagged.flac", "tone.m4a")
        for name in names:
            put(name)
        daemon.write(f"{MUSIC}/old.pcm")
        daemon.copy(samples / "exif.jpg", "/volume1/photo/Trip/a.jpg")
        daemon.start()
        if not fresh:
            daemon.index(f"a:{MUSIC}/old.pcm")
        daemon.remove(f"{MUSIC}/old.pcm")
        lines = [*(f"a:{MUSIC}/{name}" for name in names), f"d:{MUSIC}/old.pcm", "a:/volume1/photo/Trip/a.jpg"]
        table = set() if fresh else {f"{MUSIC}/old.pcm"}
        self.explained = [sorted(table)]
        for line in lines:
            path = line[2:]
            if path.startswith(MUSIC):
                table = table | {path} if line[0] == "a" else table - {path}
            self.explained.append(sorted(table))
        daemon.queue(*lines)
        self.disk = Disk(daemon)
        self.operations = []
        with recorded(daemon, self.operations):
            daemon.index_queue_as_it_is()
        self.outcome = outcome(daemon)
        daemon.stop()

    def images(self, keep):
        """What the disk may hold, each with the number of operations before; the same one twice in a row counts once."""
        last = None
        for number in range(len(self.operations) + 1):
            if number:
                self.disk.apply(self.operations[number - 1])
            image = self.disk.image(keep)
            if image != last:
                yield number, image
            last = image


def go_through(history, model):
    """Has the power fail at each moment."""
    box, cuts = history.daemon, 0
    for number, image in history.images(MODELS[model](random.Random(SEED))):
        where = f"{model} of the writes, after {number} of {len(history.operations)}: {history.operations[number - 1:number]}"
        restore(box, image)
        assert songs(box) in history.explained, where
        box.start()
        if not box.done():
            box.index_queue_as_it_is()
        assert outcome(box) == history.outcome, where
        assert box.done(), where
        box.stop()
        cuts += 1
    assert cuts >= 15, "the run has this many states at least"


@pytest.mark.parametrize("model, fresh", [("all", False), ("none", False), ("some", False), ("none", True)])
def test_the_power_fails_during_a_run(box, samples, model, fresh):
    """`fresh`: the catalogue is made by this very run."""
    go_through(History(box, samples, fresh, lambda name: box.copy(samples / name, f"{MUSIC}/{name}")), model)


def test_the_power_fails_during_a_run_by_the_rules_complete(make_daemon, binary, samples):
    """Songs have covers and facts, and all have stamps by which they count as unchanged when they are asked for again."""
    box = make_daemon(speed=SPEED_WITH_READERS)
    box.configure(rules="complete")
    readers.put_beside(box, binary, {name: binary.with_name("scripted_reader") for name in readers.READERS})
    history = History(box, samples, True, lambda name: box.write(f"{MUSIC}/{name}", f"tagged {name}"))
    assert len(history.outcome[1]) == 6 and all(row["stamp"] for row in box.rows("file_state") if row["path"].startswith(MUSIC))
    go_through(history, "none")

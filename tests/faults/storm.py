# SPDX-License-Identifier: GPL-2.0-or-later
"""A daemon under random work (work.py) and random faults (random_faults.py), from a seed; after each fault the catalogue is
held against the model (rows_model.py), and now and then against the disk itself."""
import random
import time

from harness.catalogue import ON_SERVER
from harness.daemon import QUEUE, wait_for
from harness.places import kill_at
from harness.world import TEXTS, World
from random_faults import RandomFaults
from rows_model import ABSENT, MAYBE, NO, PHOTO, TABLES, UNKNOWN, YES, Line, Rows, compare, touch
from work import MOUNTS, Work

RECOVERY = 60


class Wrong(Exception):
    """What the daemon has done is not what it should."""


class Storm:
    """A daemon in the middle of it. `told` has what was done since the last time that all was well. `whole`: the lines that bring all
    in step."""
    make_work, make_rows, whole = Work, Rows, ("R:all", "R:photo")

    def __init__(self, daemon, seed):
        self.random = random.Random(seed)
        self.seed = seed
        self.daemon = daemon
        self.world = World(daemon, MOUNTS)
        self.work = self.make_work(self.random, self.world, self.tell)
        self.faults = RandomFaults(self.random, daemon, self.world, MOUNTS)
        self.epochs = self.runs = 0
        self.told = []
        self.kinds = {}
        daemon.start()
        self.daemon.index(*self.whole)
        self.model = self.make_rows()
        self.learn()

    def tell(self, text):
        self.told.append(text)

    # --- what there is

    def actual(self):
        rows = {}
        for table in TABLES:
            for row in self.daemon.rows(table):
                texts = (row["title"], row["description"]) if table in ("photo_image", "photo_share") else ("", "")
                rows[table, row["sharename" if table == "photo_share" else "path"]] = texts
        return rows

    def learn(self):
        """What the model was not certain of is what the catalogue has."""
        actual = self.actual()
        for key, (there, texts) in list(self.model.rows.items()):
            if there == MAYBE:
                self.model.rows[key] = (YES, actual[key]) if key in actual else ABSENT
            elif there == YES and texts is UNKNOWN:
                self.model.rows[key] = (YES, actual[key])
        for key, texts in actual.items():
            self.model.rows.setdefault(key, (YES, texts))
        self.model.rows = {key: value for key, value in self.model.rows.items() if value[0] != NO}
        self.model.renamed_over.clear()

    def check(self, model, when):
        actual = self.actual()
        # A row of which nobody has ever heard is told by `compare`, so that what may come has to be known.
        wrong = compare(model, actual)
        if wrong:
            raise Wrong(f"{when}:\n  " + "\n  ".join(wrong[:12]))

    def check_in_step(self):
        """What else holds when all is in step with the disk."""

    # --- epochs

    def run(self, lines):
        self.runs += 1
        if self.random.random() < 0.12:
            step = self.random.choice((self.random.randrange(1, 60), self.random.randrange(1, 600)))
            killed = kill_at(self.daemon, step, *lines)
            self.tell(f"run{f', killed at step {step} and started again' if killed else ''}")
            if killed:
                wait_for(lambda: not self.daemon.exists(QUEUE) and self.daemon.idle(), "the queue", RECOVERY)
            return killed
        self.daemon.index(*lines)
        self.tell("run")
        return False

    def recover(self):
        self.daemon.places.clear()
        wait_for(lambda: self.daemon.done() and self.daemon.idle(), "all requests to be done", RECOVERY)

    def epoch(self):
        """Something fails for a while, or nothing does. The model takes each line as done at its time, as done at the end,
        or, where it was not to be done, as not done."""
        self.epochs += 1
        self.told = self.told[-200:]
        kind, context, places, name = self.faults.choose(self.work.disk())
        self.kinds[kind] = self.kinds.get(kind, 0) + 1
        self.tell(f"--- {self.epochs}: {name}")
        # `at_once` has each line done in its turn. Where one may be done again, `possible` has all that may come of it.
        at_once, unswept, possible, again = self.model.copy(), self.model.copy(), self.model.copy(), places is None
        all_lines, disks = [], []
        all_handed = set(self.work.handed)
        with context:
            for _ in range(self.random.choice((1, 1, 1, 2, 4))):
                lines = self.work.work()
                handed = dict(self.work.handed)
                all_handed.update(handed)
                disk = self.work.disk()
                disks.append(set(disk))
                for line in map(Line, lines):
                    all_lines.append((line, len(disks) - 1, handed))
                    not_done = at_once.copy()
                    at_once.apply(line, disk, handed)
                    if places and any(touch(place, other) for place in places for other in line.places()):
                        for rows in (not_done, *not_done.unseen(line, disk, places)):
                            at_once = at_once.merged(rows)
                    unswept.apply(line, disk, handed, sweeps=False)
                    possible = possible.merged(at_once).merged(unswept)
                at_once, unswept = (self.settled_run(rows, disk, places) for rows in (at_once, unswept))
                possible = possible.merged(at_once).merged(unswept)
                again = self.run(lines) or again
                self.work.forget_taken()
                for done in self.done_again(possible, all_lines):
                    possible = possible.merged(done)
                if places is not None or not (ON_SERVER and " stopped" in name):
                    self.check(possible if again else at_once, f"during {name}")
                if self.random.random() < 0.1:
                    getattr(self.daemon, self.random.choice(("kill", "stop")))()
                    self.daemon.start()
                    self.tell("restarted")
        self.recover()
        after = at_once
        if again:
            after = self.settled(at_once, possible, all_lines, disks)
        self.settle_handed(after, all_handed)
        self.model = after
        self.check(after, f"after {name}")
        self.learn()
        if self.daemon.exists(TEXTS) and self.daemon.read(TEXTS):
            raise Wrong("the spool has a text when all is done")

    @staticmethod
    def settled_run(rows, disk, places):
        """The rows at a run's end; what lies on storage that is away may stay."""
        done = rows.copy()
        done.settle(disk)
        rows.moved_settled()
        return done.merged(rows) if places else done

    def done_again(self, rows, lines):
        """What comes of lines that are done with the disk as it is now: of the first, of the first two, and so on."""
        rows, disk = rows.copy(), self.work.disk()
        for line, _, handed in lines:
            rows.apply(line, disk, handed, again=True)
            done = rows.copy()
            done.settle(disk)
            yield done

    def settled(self, at_once, possible, lines, disks):
        """What all lines have come to, whether they were done at once, again at the end or in between, which is all the same
        where nothing came or went after them. `lines`: each with the number of the disk that it was asked for with, and what
        was handed over then."""
        after = at_once
        for done in self.done_again(possible, lines):
            after = at_once.merged(done)
        disks.append(set(self.work.disk()))
        for line, at, _ in lines:
            unsteady = set.union(*disks[at:]) - set.intersection(*disks[at:])
            for path in unsteady:
                if any(touch(path, place) for place in line.places()):
                    for table, key in list(after.rows):
                        if key == (path[len(PHOTO) + 1:] if table == "photo_share" else path):
                            after.rows[table, key] = (MAYBE, UNKNOWN)
        return after

    def settle_handed(self, after, paths):
        """A text whose file is gone has arrived; one of two is nobody's to foretell."""
        for path in paths:
            there, _ = after.get("photo_image", path)
            left = self.work.handed_files(path)
            if there == MAYBE or any(left) and not all(left):
                after.rows["photo_image", path] = (there, UNKNOWN)
        self.work.forget_taken()

    def in_step(self):
        """All is brought in step with the disk, and then it has what the disk has."""
        self.told = self.told[-200:]
        self.tell("--- in step")
        self.run_whole(*self.whole)
        disk = self.work.disk()
        for line in map(Line, self.whole):
            self.model.apply(line, disk, self.work.handed)
        self.settle_handed(self.model, set(self.work.handed))
        self.check(self.model, "in step with the disk")
        self.check_in_step()
        self.learn()
        self.type_in()

    def type_in(self):
        """Somebody types texts about pictures and albums, when all is at rest."""
        for table, key in sorted(key for key, (there, _) in self.model.rows.items()
                                 if there == YES and key[0] in ("photo_image", "photo_share")):
            if self.random.random() < 0.2:
                texts = self.work.texts()
                name = "path" if table == "photo_image" else "sharename"
                self.daemon.store(f"update {table} set title = ?, description = ? where {name} = ?", *texts, key)
                self.model.set(table, key, (YES, texts))
                self.tell(f"typed: {key} {texts}")

    def run_whole(self, *lines):
        self.daemon.index(*lines)
        self.recover()

    def go_on(self, epochs=None, seconds=None):
        """For so many more epochs, or until the time is over."""
        last, end = self.epochs + (epochs or 0), time.monotonic() + (seconds or 0)
        while self.epochs < last or time.monotonic() < end:
            try:
                self.epoch()
                if self.random.random() < 0.1:
                    self.in_step()
            except (Wrong, AssertionError) as problem:
                raise AssertionError(f"seed {self.seed}, epoch {self.epochs}: {problem}\n" + "\n".join(self.told[-60:]) +
                                     "\nthe log's end:\n" + "\n".join(self.daemon.log.texts()[-20:])) from None
        self.in_step()

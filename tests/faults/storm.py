# SPDX-License-Identifier: GPL-2.0-or-later
"""Random work on the shares, random requests and random faults, from a seed; after each fault the catalogue is held against
the model (rows_model.py), and now and then against the disk itself."""
import contextlib
import errno
import os
import random
import time

from harness.catalogue import ON_SERVER
from harness.daemon import QUEUE, WORKING_COPY, wait_for
from harness.photo import attribute_file
from harness.places import Rule, kill_at
from harness.store_faults import AWAY, MEDIA as MEDIA_STORE, PHOTO as PHOTO_STORE, store_fault
from harness.world import KEPT, TEXTS, World
from rows_model import (ABSENT, MAYBE, MUSIC, NO, PHOTO, SHARES, TABLES, UNKNOWN, YES, Line, Rows, below, compare, share_of,
                        touch)

DISK, STICK = f"{MUSIC}/disk", f"{PHOTO}/stick"
MOUNTS = (MUSIC, PHOTO, DISK, STICK)
FOLDERS = ("a", "b", "c d", "it's", "100%", "a_b", "back\\slash")
NAMES = ("1", "2", "x y", "q'", "u_v", "%s", "1.2")
EXTENSIONS = {MUSIC: (".pcm", ".pcm", ".m3u", ".txt"), "/volume1/video": (".srt", ".txt"), PHOTO: (".jpg", ".jpg", ".m3u")}
CODES = (errno.EACCES, errno.EIO, errno.ESTALE)
FILES_MAX = 60
RECOVERY = 60


class Wrong(Exception):
    """What the daemon has done is not what it should."""


class Storm:
    """A daemon in the middle of it. `told` has what was done since the last time that all was well."""

    def __init__(self, daemon, seed):
        self.random = random.Random(seed)
        self.seed = seed
        self.daemon = daemon
        self.world = World(daemon, MOUNTS, {}, {})
        self.number = self.epochs = self.runs = 0
        self.told = []
        self.handed = {}
        self.kinds = {}
        daemon.start()
        self.daemon.index("R:all", "R:photo")
        self.model = Rows()
        self.learn()

    def tell(self, text):
        self.told.append(text)

    # --- what there is

    def disk(self):
        """What is on the disk, mounted or not, by path."""
        found = {}
        for place in (*MOUNTS, "/volume1/video"):
            top = self.world.path(f"{place}/").rstrip("/")
            for folder, folders, names in os.walk(top):
                folders[:] = [name for name in folders if name != "@eaDir"]
                inside = place + folder[len(top):]
                found[inside] = "dir"
                found.update((f"{inside}/{name}", "file") for name in names)
        return found

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

    def check(self, model, when):
        actual = self.actual()
        # A row of which nobody has ever heard is told by `compare`, so that what may come has to be known.
        wrong = compare(model, actual)
        if wrong:
            raise Wrong(f"{when}:\n  " + "\n  ".join(wrong[:12]))

    # --- work on the disk; each gives the line that a watcher would write, or none

    def some_folder(self, disk):
        return self.random.choice([path for path, kind in disk.items() if kind == "dir"])

    def some_file(self, disk):
        files = [path for path, kind in disk.items() if kind == "file"]
        return self.random.choice(files) if files else None

    def name_in(self, folder):
        return f"{folder}/{self.random.choice(NAMES)}{self.random.choice(EXTENSIONS[share_of(folder)])}"

    def new_file(self, disk):
        path = self.name_in(self.some_folder(disk))
        if disk.get(path) == "dir" or len(disk) > FILES_MAX * 2:
            return self.delete(disk)
        self.world.write(path)
        return f"a:{path}"

    def new_folder(self, disk):
        top = self.some_folder(disk)
        folder = f"{top}/{self.random.choice(FOLDERS)}"
        if folder in disk or folder.count("/") > 6 or len(disk) > FILES_MAX * 2:
            return None
        os.makedirs(self.world.path(folder))
        for _ in range(self.random.randrange(4)):
            self.world.write(self.name_in(folder))
        return f"A:{folder}"

    def delete(self, disk):
        path = self.some_file(disk)
        if path is None:
            return None
        self.world.remove(path)
        self.handed.pop(path, None)
        return f"d:{path}"

    def _movable(self, disk):
        folders = [path for path, kind in disk.items() if kind == "dir" and path not in SHARES
                   and not any(below(place, path) for place in MOUNTS)]
        return self.random.choice(folders) if folders else None

    def delete_folder(self, disk):
        path = self._movable(disk)
        if path is None:
            return None
        self.world.remove(path)
        self.drop_handed(path)
        return f"D:{path}"

    def rename(self, disk):
        old = self.some_file(disk)
        if old is None:
            return None
        folder = os.path.dirname(old)
        if self.random.random() < 0.4:
            folder = self.random.choice([path for path, kind in disk.items()
                                         if kind == "dir" and share_of(path) == share_of(old)])
        new = f"{folder}/{self.random.choice(NAMES)}{os.path.splitext(old)[1]}"
        if new == old or disk.get(new) == "dir" or self.world.mount_of(new) != self.world.mount_of(old):
            return None
        self.world.move(old, new)
        self.handed.pop(old, None)
        self.handed.pop(new, None)
        return f"N:{new}:{old}"

    def rename_folder(self, disk):
        old = self._movable(disk)
        if old is None:
            return None
        parent = os.path.dirname(old)
        if self.random.random() < 0.3:
            parent = self.random.choice([path for path, kind in disk.items() if kind == "dir"
                                         and share_of(path) == share_of(old) and not below(path, old)])
        new = f"{parent}/{self.random.choice(FOLDERS)}"
        if new in disk or self.world.mount_of(new) != self.world.mount_of(old):
            return None
        self.world.move(old, new)
        self.drop_handed(old)
        return f"N:{new}:{old}"

    def drop_handed(self, top):
        self.handed = {path: texts for path, texts in self.handed.items() if not below(path, top)}

    def hand_over(self, disk):
        pictures = [path for path, kind in disk.items() if kind == "file" and path.endswith(".jpg")]
        if not pictures:
            return None
        path = self.random.choice(pictures)
        self.number += 1
        texts = (f"handed over {self.number}", f"with {self.number}")
        for attribute, text in zip(("TITLE", "DESC"), texts):
            self.world.write(attribute_file(path, attribute), text.encode())
        self.handed[path] = texts
        return f"a:{path}"

    def ask(self, disk):
        """A request for which nothing has happened."""
        folder = self.some_folder(disk)
        path = self.some_file(disk) or folder
        return self.random.choice([f"A:{folder}", f"a:{path}", f"D:{folder}", f"d:{path}", f"A:{share_of(folder)}", "R:music",
                                   "R:video", "R:photo", "R:all", "U:photo", "R:photo", "U:photo", f"a:{folder}",
                                   f"D:{folder}/none", self.random.choice(["T:music", "T:photo_image", "T:photo_share",
                                                                           "T:directory", "bad line", "U:else"])])

    def work(self):
        """A few things happen. Gives the lines."""
        kinds = {self.new_file: 10, self.new_folder: 4, self.delete: 4, self.delete_folder: 2, self.rename: 6,
                 self.rename_folder: 5, self.hand_over: 3, self.ask: 6}
        lines = []
        for _ in range(self.random.choice((1, 1, 2, 3, 6))):
            kind = self.random.choices(list(kinds), list(kinds.values()))[0]
            line = kind(self.disk())
            if line is None:
                continue
            noticed = kind in (self.hand_over, self.ask) or self.random.random() < 0.9
            self.tell(f"{kind.__name__}: {line}{'' if noticed else ' (nobody asks)'}")
            if noticed:
                lines.append(line)
                if self.random.random() < 0.05:
                    lines.append(line)
        return lines

    def type_in(self):
        """Somebody types texts about pictures and albums, when all is at rest."""
        for table, key in sorted(key for key, (there, _) in self.model.rows.items()
                                 if there == YES and key[0] in ("photo_image", "photo_share")):
            if self.random.random() < 0.2:
                self.number += 1
                texts = (f"typed {self.number}", self.random.choice(["", f"more {self.number}"]))
                name = "path" if table == "photo_image" else "sharename"
                self.daemon.store(f"update {table} set title = ?, description = ? where {name} = ?", *texts, key)
                self.model.set(table, key, (YES, texts))
                self.tell(f"typed: {key} {texts}")

    # --- faults

    def no_fault(self, _):
        return contextlib.nullcontext(), [], "nothing fails"

    def store_fault(self, _):
        kind, key = self.random.choice(AWAY), self.random.choice((MEDIA_STORE, PHOTO_STORE))
        moment = self.random.randrange(1, 12)
        return store_fault(self.daemon, kind, key, moment), None, f"{key} {kind} {moment}"

    def call_fault(self, disk):
        place = self.random.choice(list(disk))
        calls = ["stat", "open"] if disk[place] == "file" else ["opendir", "readdir", "readdir", "stat"]
        rule = Rule(self.random.choice(calls), place, self.random.choice(CODES), self.random.choice((1, 1, 2, 3, 5)))
        return self.daemon.places.failing(rule), [place], f"{rule.call} {rule.first} {errno.errorcode[rule.action]} at {place}"

    def storage_fault(self, _):
        place = self.random.choice(MOUNTS)

        @contextlib.contextmanager
        def away():
            self.world.unmount(place)
            try:
                yield
            finally:
                self.world.mount_again(place)
        return away(), [place], f"{place} is not mounted"

    # --- epochs

    def requests_left(self):
        return any(map(self.daemon.exists, (QUEUE, WORKING_COPY, KEPT)))

    def run(self, lines):
        self.runs += 1
        if self.random.random() < 0.12:
            step = self.random.choice((self.random.randrange(1, 60), self.random.randrange(1, 600)))
            killed = kill_at(self.daemon, step, *lines)
            self.tell(f"run{f', killed at step {step} and started again' if killed else ''}")
            if killed:
                wait_for(lambda: not self.daemon.exists(QUEUE), "the queue", RECOVERY)
            return killed
        self.daemon.index(*lines)
        self.tell("run")
        return False

    def recover(self):
        self.daemon.places.clear()
        wait_for(lambda: not self.requests_left(), "all requests to be done", RECOVERY)

    def epoch(self):
        """Something fails for a while, or nothing does. The model takes each line as done at its time, as done at the end,
        or, where it was not to be done, as not done."""
        self.epochs += 1
        self.told = self.told[-200:]
        fault = self.random.choices((self.no_fault, self.store_fault, self.call_fault, self.storage_fault), (3, 6, 3, 3))[0]
        context, places, name = fault(self.disk())
        self.kinds[fault.__name__] = self.kinds.get(fault.__name__, 0) + 1
        self.tell(f"--- {self.epochs}: {name}")
        # `at_once` has each line done in its turn. Where one may be done again, `possible` has all that may come of it.
        at_once, possible, again = self.model.copy(), self.model.copy(), places is None
        all_lines, disks = [], []
        handed = dict(self.handed)
        with context:
            for _ in range(self.random.choice((1, 1, 1, 2, 4))):
                lines = self.work()
                handed.update(self.handed)
                disk = self.disk()
                disks.append(set(disk))
                for line in map(Line, lines):
                    all_lines.append((line, len(disks) - 1))
                    not_done = at_once.copy()
                    at_once.apply(line, disk, handed)
                    if places and any(touch(place, other) for place in places for other in line.places()):
                        at_once = at_once.merged(not_done)
                again = self.run(lines) or again
                possible = possible.merged(at_once).merged(
                    self.done_again(possible, [line for line, _ in all_lines], handed))
                if places is not None or not (ON_SERVER and " stopped" in name):
                    self.check(possible if again else at_once, f"during {name}")
                if self.random.random() < 0.1:
                    getattr(self.daemon, self.random.choice(("kill", "stop")))()
                    self.daemon.start()
                    self.tell("restarted")
        self.recover()
        after = at_once
        if again:
            after = self.settled(at_once, possible, all_lines, disks, handed)
        self.settle_handed(after, handed)
        self.model = after
        self.check(after, f"after {name}")
        self.learn()
        if self.daemon.exists(TEXTS) and self.daemon.read(TEXTS):
            raise Wrong("the spool has a text when all is done")

    def done_again(self, rows, lines, handed):
        """What comes of lines that are done with the disk as it is now."""
        rows, disk = rows.copy(), self.disk()
        for line in lines:
            rows.apply(line, disk, handed)
        return rows

    def settled(self, at_once, possible, lines, disks, handed):
        """What all lines have come to, whether they were done at once, again at the end or in between, which is all the same
        where nothing came or went after them. `lines`: each with the number of the disk that it was asked for with."""
        after = at_once.merged(self.done_again(possible, [line for line, _ in lines], handed))
        disks.append(set(self.disk()))
        for line, at in lines:
            unsteady = set.union(*disks[at:]) - set.intersection(*disks[at:])
            for path in unsteady:
                if any(touch(path, place) for place in line.places()):
                    for table, key in list(after.rows):
                        if key == (path[len(PHOTO) + 1:] if table == "photo_share" else path):
                            after.rows[table, key] = (MAYBE, UNKNOWN)
        return after

    def settle_handed(self, after, handed):
        """A text whose file is gone has arrived; one whose picture was renamed meanwhile is nobody's to foretell."""
        for path, texts in handed.items():
            there, _ = after.get("photo_image", path)
            taken = [not os.path.exists(self.world.path(attribute_file(path, name))) for name in ("TITLE", "DESC")]
            if all(taken):
                self.handed.pop(path, None)
            elif any(taken):
                self.handed.pop(path, None)
                after.rows["photo_image", path] = (there, UNKNOWN)
            if there == MAYBE or path not in self.handed and not all(taken):
                after.rows["photo_image", path] = (there, UNKNOWN)

    def in_step(self):
        """All is brought in step with the disk, and then it has what the disk has."""
        self.told = self.told[-200:]
        self.tell("--- in step")
        self.run_whole("R:all", "R:photo")
        disk = self.disk()
        for line in map(Line, ("R:all", "R:photo")):
            self.model.apply(line, disk, self.handed)
        self.settle_handed(self.model, dict(self.handed))
        self.check(self.model, "in step with the disk")
        self.learn()
        self.type_in()

    def run_whole(self, *lines):
        self.daemon.index(*lines)
        self.recover()

    def go_on(self, seconds):
        """Until the time is over."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            try:
                self.epoch()
                if self.random.random() < 0.1:
                    self.in_step()
            except (Wrong, AssertionError) as problem:
                raise AssertionError(f"seed {self.seed}, epoch {self.epochs}: {problem}\n" + "\n".join(self.told[-60:]) +
                                     "\nthe log's end:\n" + "\n".join(self.daemon.log.texts()[-20:])) from None
        self.in_step()

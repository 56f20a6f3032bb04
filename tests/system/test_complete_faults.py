# SPDX-License-Identifier: GPL-2.0-or-later
"""kill -9 at random moments, and catalogues that fail, under the rules `complete`: a row is never there without its facts, its state and its cover, never twice,
and when a file was added is never lost, wherever the file has moved."""
import itertools
import os
import random
import shutil
import time

import pytest

from harness import readers
from harness.daemon import wait_for
from harness.faults import files_below
from harness.known import covers_below
from harness.places import KILL, Rule
from harness.store_faults import AWAY, COMMIT, KINDS, MEDIA, REFUSED, patience_of_tests, store_fault

MUSIC = "/volume1/music"
COVERS = "/var/lib/velu/covers"
MOMENTS = int(os.environ.get("VELU_MOMENTS") or 12)
SEED = int(os.environ.get("VELU_SEED") or 7)  # of the work; the moments in it are the machine's
# The quiet interval and the rest that a file needs for its stamp are short at this speed, and what a reader may take is long
# enough.
SPEED = 20
FILES = 60
STORE_FAULTS = 4  # of those that there are


class Library:
    """Songs on the disk, each with what its reader says, and when it was added as far as that is to be known."""

    def __init__(self, box, chance):
        self.box, self.random = box, chance
        self.number = 0
        self.songs, self.added = {}, {}
        for _ in range(FILES):
            self.write(self.some_path())

    def some_path(self):
        self.number += 1
        return f"{MUSIC}/{self.random.choice('ABC')}/{self.random.choice('xyz')}/{self.number}.mp3"

    def write(self, path):
        self.number += 1
        self.songs[path] = f"T{self.number}"
        self.box.write(path, f"tagged T{self.number}")

    # --- each gives the line that asks for it

    def come(self):
        path = self.some_path()
        self.write(path)
        return f"a:{path}"

    def change(self):
        path = self.random.choice(list(self.songs))
        self.write(path)
        return self.random.choice((f"a:{path}", f"A:{os.path.dirname(path)}"))

    def go(self):
        path = self.random.choice(list(self.songs))
        del self.songs[path]
        self.added.pop(path, None)
        self.box.remove(path)
        return f"d:{path}"

    def move(self):
        old = self.random.choice(list(self.songs))
        new = self.some_path()
        os.makedirs(os.path.dirname(self.box.box.path(new)), exist_ok=True)
        return self._moved(old, new)

    def move_folder(self):
        self.number += 1
        old = os.path.dirname(os.path.dirname(self.random.choice(list(self.songs))))
        return self._moved(old, f"{MUSIC}/{old.rsplit('/', 1)[1][0]}{self.number}")

    def _moved(self, old, new):
        os.rename(self.box.box.path(old), self.box.box.path(new))
        for known in (self.songs, self.added):
            for path in [path for path in known if f"{path}/".startswith(f"{old}/")]:
                known[new + path[len(old):]] = known.pop(path)
        return f"N:{new}:{old}"

    def work(self):
        kinds = [self.come, self.change, self.go, self.move, self.move_folder]
        return [self.random.choice(kinds)() for _ in range(self.random.randrange(1, 6))]

    # --- what there has to be

    def check(self, when):
        box = self.box
        rows = {row["path"]: row for row in box.rows("music")}
        assert sorted(rows) == box.media_paths() == box.paths("file_state") == sorted(self.songs), when
        assert {path: (row["title"], row["artist"], row["has_cover"]) for path, row in rows.items()} == \
            {path: (text, text, 1) for path, text in self.songs.items()}, when
        facts = sorted((row["path"], row["position"], row["value"]) for row in box.rows("fact") if row["name"] == "artist")
        assert facts == sorted((path, 0, text) for path, text in self.songs.items()), when
        known = {row["id"] for row in box.rows("file_state")}
        assert {row["file"] for row in box.rows("file_fact")} <= known, when
        covers = [path for path in files_below(box, COVERS) if "/3_1." in path]
        assert sorted(os.path.getsize(path) for path in covers) == sorted(200 + len(text) for text in self.songs.values()), when
        states = {row["path"]: row["added"] for row in box.rows("file_state")}
        assert {path: states[path] for path in self.added} == self.added, when
        for path in set(self.songs) - set(self.added):
            self.number += 1
            self.added[path] = f"mark {self.number}"
            box.catalogue.store("update file_state set added = ? where path = ?", (self.added[path], path), "file_state")


def queued_library(box, binary, chance):
    """A library that is yet to be read."""
    box.configure(rules="complete")
    readers.put_beside(box, binary, {name: binary.with_name("scripted_reader") for name in readers.READERS})
    library = Library(box, chance)
    box.queue(f"A:{MUSIC}")
    return library


def run(box):
    """Has what is queued done by a daemon that is started for it."""
    box.start()
    box.wait_done()
    box.stop()


def test_kills_leave_what_is_known_of_files_whole(make_daemon, binary):
    chance = random.Random(SEED)
    box = make_daemon(speed=SPEED)
    library = queued_library(box, binary, chance)
    begin = time.monotonic()
    run(box)
    span = time.monotonic() - begin
    library.check("at first")
    interrupted = 0
    for number in range(MOMENTS):
        lines = library.work()
        box.queue(*lines)
        if chance.random() < 0.5:  # at the end: what is gone before a line says where to has lost its row
            box.queue("R:music")
        moment = chance.uniform(0, span)
        box.start(idle=False)
        time.sleep(moment)
        if box.done():  # what the first run took was a guess only
            span = moment
        else:
            interrupted += 1
        box.kill()
        run(box)
        library.check(f"VELU_SEED={SEED}, {number}: {lines}, killed after {moment}")
    print(f"VELU_SEED={SEED}: {interrupted} of {MOMENTS} runs were interrupted")
    assert interrupted >= 1


@pytest.mark.sqlite
def test_failures_of_the_store_leave_what_is_known_of_files_whole(make_placed, binary):
    chance = random.Random(SEED)
    box = make_placed(speed=SPEED)
    library = queued_library(box, binary, chance)
    run(box)
    library.check("at first")
    box.start()
    for kind in chance.sample((*AWAY, COMMIT), STORE_FAULTS):
        moment = chance.randrange(1, 12)
        with store_fault(box, kind, MEDIA, moment):
            lines = library.work()
            box.index(*lines)
        wait_for(lambda: box.done() and box.idle(), "all requests to be done")
        library.check(f"VELU_SEED={SEED}: {lines} while the store was {kind}, {moment}")


def test_a_song_that_goes_before_its_row_is_stored_leaves_no_cover(make_placed, binary):
    box = make_placed(speed=SPEED)
    patience_of_tests(box, rules="complete")
    readers.put_beside(box, binary, {name: binary.with_name("scripted_reader") for name in readers.READERS})
    stays = box.write(f"{MUSIC}/stays.mp3", "tagged stays")
    box.start()
    box.index(f"A:{MUSIC}")
    covers = covers_below(box)
    assert len(covers) == 1
    for kind in (*KINDS, COMMIT):
        songs = [box.write(f"{MUSIC}/{kind}/{REFUSED} {number}.mp3", f"tagged {kind} {number}") for number in range(3)]
        with store_fault(box, kind, MEDIA, 1):
            box.index(f"A:{MUSIC}/{kind}")
            for song in songs:
                box.remove(song)
        box.index("R:music")  # behind what waits
        assert box.done() and (box.paths("music"), covers_below(box)) == ([stays], covers), kind


def killed_at(box, rule, line):
    """Asks for something with a rule that may end the daemon, and tells whether it did."""
    box.places.set(rule)
    box.queue(line)
    box.signal()
    wait_for(lambda: not box.alive() or (box.done() and box.idle()), "the daemon's end, or that of the run")
    if box.alive():
        box.places.clear()
        return False
    box.wait_gone()
    box.pid = 0
    box.places.forget()
    return True


def left_of_covers(box):
    """All that lies in their folder, but for folders that several files share."""
    top = box.box.path(COVERS)
    found = [os.path.relpath(os.path.join(above, name), top) for above, folders, files in os.walk(top) for name in folders + files]
    return sorted(name for name in found if len(name) > 2)


@pytest.mark.parametrize("work, call, place, apart", [("come", "step", f"{COVERS}*", 1), ("come", "write", "*/mediaserver.db*", 3),
                                                     ("move", "step", f"{COVERS}*", 2), ("move", "write", "*/mediaserver.db*", 4)])
@pytest.mark.sqlite
def test_a_kill_leaves_no_cover_of_songs_that_go_before_they_are_asked_for_again(make_placed, binary, work, call, place, apart):
    box = make_placed(speed=SPEED)
    patience_of_tests(box, rules="complete", quiet="1")
    readers.put_beside(box, binary, {name: binary.with_name("scripted_reader") for name in readers.READERS})
    stays = box.write(f"{MUSIC}/stays.mp3", "tagged stays")
    box.start()
    box.index(f"A:{MUSIC}")
    covers = left_of_covers(box)
    kills = 0
    for moment in itertools.count(1, apart):
        folder = f"{MUSIC}/{moment}"
        line = f"A:{folder}"
        for number in range(3):
            box.write(f"{folder}/{number}.mp3", f"tagged {number}")
        if work == "move":
            box.index(line)
            os.rename(box.box.path(folder), box.box.path(f"{folder} new"))
            line = f"N:{folder} new:{folder}"
            folder = f"{folder} new"
        killed = killed_at(box, Rule(call, place, KILL, first=moment), line)
        shutil.rmtree(box.box.path(folder))
        if killed:
            box.start()
            wait_for(lambda: box.done() and box.idle(), "what was broken off to be done")
        box.index(f"D:{folder}")
        assert (box.media_paths(), left_of_covers(box)) == ([stays], covers), (work, moment)
        kills += killed
        if not killed:
            break
    print(f"{kills} kills")
    assert kills >= 5, "songs with covers take more calls than that"

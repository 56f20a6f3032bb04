# SPDX-License-Identifier: GPL-2.0-or-later
"""What the watcher queues for what is done to a share. No daemon takes it away."""
import os
import re
import time

import pytest

from harness.daemon import Daemon, QUEUE, wait_for
from harness.watcher import Watcher

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
# Long enough that a busy machine does not come to rest in the midst of what is done.
SETTLE = 0.6
LONG = 600


class Place:
    """A folder in which something is done."""

    def __init__(self, box, path):
        self.box = box
        self.path = path
        os.makedirs(self.host(""))

    def host(self, name):
        return self.box.box.path(f"{self.path}/{name}".encode("latin-1"))

    def write(self, name, content=b"x"):
        os.makedirs(os.path.dirname(self.host(name)), exist_ok=True)
        with open(self.host(name), "wb") as file:
            file.write(content)

    def move(self, old, new):
        os.rename(self.host(old), self.host(new))

    def remove(self, name):
        os.unlink(self.host(name))


def write_twice(place):
    place.write("old.mp3", b"1")
    place.write("old.mp3", b"2")


def write_as_programs_do(place):
    place.write(".old.mp3.Xy12")
    place.move(".old.mp3.Xy12", "old.mp3")


def make_tree(place):
    place.write("t/u/v/w/a.mp3")
    place.write("t/b.mp3")


def make_again(place):
    place.remove("d/in.mp3")
    os.rmdir(place.host("d"))
    place.write("d/other.mp3")


def move_twice(place):
    place.move("d", "e")
    place.move("e", "f")


def move_and_change(place):
    place.move("d", "e")
    place.write("e/new.mp3")
    place.remove("e/in.mp3")


def exchange(place):
    place.move("old.mp3", "t")
    place.move("other.mp3", "old.mp3")
    place.move("t", "other.mp3")


def become_a_file(place):
    place.remove("d/in.mp3")
    os.rmdir(place.host("d"))
    place.write("d")


def become_a_directory(place):
    place.remove("old.mp3")
    place.write("old.mp3/x.mp3")


def attributes(place):
    place.write("@eaDir/old.mp3/VELUPHOTO:TITLE", b"t")
    place.write("d/@eaDir/x.jpg")
    place.write("._old.mp3")
    place.write("@eaDir.mp3")


# What is done in a folder with old.mp3, other.mp3 and d/in.mp3, and the requests; $ is the folder.
ANYWHERE = {
    "written twice": (write_twice, ["a:$/old.mp3"]),
    "written under another name first": (write_as_programs_do, ["d:$/.old.mp3.Xy12", "a:$/old.mp3"]),
    "removed": (lambda place: place.remove("old.mp3"), ["d:$/old.mp3"]),
    "created and removed": (lambda place: (place.write("x.mp3"), place.remove("x.mp3")), ["d:$/x.mp3"]),
    "times set": (lambda place: os.utime(place.host("old.mp3"), (1, 1)), ["a:$/old.mp3"]),
    "rights set": (lambda place: os.chmod(place.host("old.mp3"), 0o600), ["a:$/old.mp3"]),
    "a further name": (lambda place: os.link(place.host("old.mp3"), place.host("l.mp3")), ["a:$/l.mp3"]),
    "a link": (lambda place: os.symlink("old.mp3", place.host("s.mp3")), ["a:$/s.mp3"]),
    "a new tree": (make_tree, ["A:$/t"]),
    "a tree removed": (lambda place: (place.remove("d/in.mp3"), os.rmdir(place.host("d"))), ["D:$/d"]),
    "a tree made again": (make_again, ["N:$/d:$/d"]),
    "a tree become a file": (become_a_file, ["N:$:$"]),
    "a file become a tree": (become_a_directory, ["N:$/old.mp3:$/old.mp3"]),
    "odd names": (lambda place: (place.write("a:b c.mp3"), place.write("\xe9\xff%s.mp3")), ["a:$/a:b c.mp3", "a:$/\xe9\xff%s.mp3"]),
    "a newline": (lambda place: place.write("a\nb.mp3"), []),
    "attributes": (attributes, ["a:$/@eaDir.mp3"]),
    "a bin in a folder": (lambda place: place.move("old.mp3", "d/#recycle"), ["a:$/d/#recycle", "d:$/old.mp3"]),
}

MEDIA = {
    "renamed": (lambda place: place.move("old.mp3", "new.mp3"), ["a:$/new.mp3", "d:$/old.mp3"]),
    "renamed over another": (lambda place: place.move("old.mp3", "other.mp3"), ["d:$/old.mp3", "a:$/other.mp3"]),
    "exchanged": (exchange, ["a:$/old.mp3", "a:$/other.mp3", "d:$/t"]),
    "a tree renamed": (lambda place: place.move("d", "e"), ["D:$/d", "A:$/e"]),
    "a tree renamed twice": (move_twice, ["D:$/d", "D:$/e", "A:$/f"]),
    "a tree renamed and changed": (move_and_change, ["D:$/d", "A:$/e", "d:$/e/in.mp3"]),
}

# In the photo library, titles and albums follow a rename.
LIBRARY = {
    "renamed": (lambda place: place.move("old.mp3", "new.mp3"), ["N:$/new.mp3:$/old.mp3"]),
    "renamed over another": (lambda place: place.move("old.mp3", "other.mp3"), ["N:$/other.mp3:$/old.mp3"]),
    "renamed to a picture": (lambda place: place.move("old.mp3", "new.jpg"), ["a:$/new.jpg", "d:$/old.mp3"]),
    "renamed to a name with a colon": (lambda place: place.move("old.mp3", "a:b.mp3"), ["a:$/a:b.mp3", "d:$/old.mp3"]),
    "exchanged": (exchange, ["N:$/t:$/old.mp3", "N:$/old.mp3:$/other.mp3", "N:$/other.mp3:$/t"]),
    "a tree renamed": (lambda place: place.move("d", "e"), ["N:$/e:$/d"]),
    "a tree renamed twice": (move_twice, ["N:$/f:$/d"]),
    "a tree renamed and changed": (move_and_change, ["N:$/e:$/d", "d:$/e/in.mp3", "a:$/e/new.mp3"]),
    "a tree made again": (make_again, ["N:$/d:$/d"]),
}

CASES = [(MUSIC, name, *case) for name, case in {**ANYWHERE, **MEDIA}.items()] + [
    (PHOTO, name, *case) for name, case in LIBRARY.items()]


@pytest.fixture(scope="module", name="watched")
def watched_shares(binary, faketime):
    """A watcher and no daemon, for tests that have folders of their own."""
    box = Daemon(binary, faketime)
    watcher = Watcher(box, settle=SETTLE)
    yield box, watcher
    watcher.stop()
    box.check_sanitizers()
    box.close()


def test_what_is_queued(box):
    """All at once, as each is in its own folder, and at the watcher's end: nothing depends on the time that it takes."""
    places = []
    for number, (share, *_) in enumerate(CASES):
        places.append(Place(box, f"{share}/case{number}"))
        for name in ("old.mp3", "other.mp3", "d/in.mp3"):
            places[-1].write(name)
    watcher = Watcher(box, settle=LONG)
    for place, (_, _, act, _) in zip(places, CASES):
        act(place)
    watcher.stop()
    queued = box.lines(QUEUE)
    for place, (share, name, _, lines) in zip(places, CASES):
        own = [line for line in queued if re.search(f"{place.path}(?=[/:]|$)", line)]
        assert own == [line.replace("$", place.path) for line in lines], (share, name)
        queued = [line for line in queued if line not in own]
    assert queued == ["R:photo"], "for the tree of the library that was made again"
    wait_for(lambda: watcher.told(r"a\x0Ab.mp3 cannot be queued: it has a newline"), "the refusal")


def test_a_file_is_queued_when_its_writer_rests(watched):
    """Not while it is being written, however long that takes."""
    box, watcher = watched
    place = Place(box, f"{MUSIC}/writer")
    watcher.requests()
    for attempt in range(20):
        pause = 0
        with open(place.host(f"{attempt}.mp3"), "wb", buffering=0) as file:
            for _ in range(4):
                begin = time.monotonic()
                file.write(b"x")
                time.sleep(SETTLE / 2)
                pause = max(pause, time.monotonic() - begin)
        lines = watcher.requests()
        if pause < SETTLE * 0.8:
            assert lines == [f"a:{place.path}/{attempt}.mp3"]
            return
    pytest.fail("the machine is too busy to write a byte in time")


def test_moves_across_the_edge_of_the_shares(watched):
    box, watcher = watched
    inside, outside = Place(box, f"{MUSIC}/edge"), Place(box, "/tmp/outside")
    watcher.requests()
    outside.write("t/u/a.mp3")
    outside.write("b.mp3")
    os.rename(outside.host("t"), inside.host("t"))
    os.rename(outside.host("b.mp3"), inside.host("b.mp3"))
    assert sorted(watcher.requests()) == [f"A:{MUSIC}/edge/t", f"a:{MUSIC}/edge/b.mp3"]
    inside.write("t/u/c.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/edge/t/u/c.mp3"]
    os.rename(inside.host("t"), outside.host("t"))
    os.makedirs(box.box.path(f"{MUSIC}/#recycle"))
    os.rename(inside.host("b.mp3"), box.box.path(f"{MUSIC}/#recycle/b.mp3"))
    assert sorted(watcher.requests()) == [f"D:{MUSIC}/edge/t", f"d:{MUSIC}/edge/b.mp3"]
    outside.write("t/u/d.mp3")
    assert watcher.requests() == [], "what has left is not watched"


def test_links_are_followed_as_the_walk_does(watched):
    box, watcher = watched
    inside, outside = Place(box, f"{MUSIC}/links"), Place(box, "/tmp/linked")
    watcher.requests()
    os.symlink("/tmp/linked", inside.host("l"))
    os.symlink("..", inside.host("loop"))
    assert sorted(watcher.requests()) == [f"A:{MUSIC}/links/l", f"A:{MUSIC}/links/loop"]
    outside.write("t/a.mp3")
    assert watcher.requests() == [f"A:{MUSIC}/links/l/t"]
    os.symlink("/tmp/linked", inside.host("again"))
    watcher.requests()
    outside.write("t/b.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/links/again/t/b.mp3", f"a:{MUSIC}/links/l/t/b.mp3"]
    inside.remove("l")
    assert watcher.requests() == [f"D:{MUSIC}/links/l"]
    outside.write("t/b.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/links/again/t/b.mp3"]


def test_what_links_below_two_links_lead_to_is_watched_at_both_places(watched):
    box, watcher = watched
    inside, common = Place(box, f"{MUSIC}/collections"), Place(box, "/tmp/common")
    for name in ("x", "y"):
        collection = Place(box, f"/tmp/collection-{name}")
        os.symlink("/tmp/common", collection.host("common"))
        os.symlink(f"/tmp/collection-{name}", inside.host(name))
    watcher.requests()
    common.write("b.mp3")
    assert watcher.requests() == [f"a:{MUSIC}/collections/{name}/common/b.mp3" for name in ("x", "y")]

# SPDX-License-Identifier: GPL-2.0-or-later
"""Which requests meet which faults: the world before, what happens on the disk, the line, and how something fails under it.
A selection has each pair of values of two properties at least once."""
import errno
import itertools
import os
from typing import Callable, NamedTuple

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
DISK, STICK = f"{MUSIC}/disk", f"{PHOTO}/Stick"  # file systems of their own inside the shares

# Files by the kind of their content. "refused" is what a catalogue refuses in one of the faults.
FILES = {
    f"{MUSIC}/top.pcm": "", f"{MUSIC}/a/1.pcm": "", f"{MUSIC}/a/2.m3u": "", f"{MUSIC}/a/refused.pcm": "",
    f"{MUSIC}/a/deep/3.pcm": "", f"{MUSIC}/a/deep/er/4.pcm": "", f"{MUSIC}/a/cover.mp3": "music",
    f"{MUSIC}/old/5.pcm": "", f"{MUSIC}/old/in/6.pcm": "", f"{MUSIC}/gone/7.pcm": "", f"{MUSIC}/gone/cover.mp3": "music",
    f"{DISK}/d/8.pcm": "", f"{VIDEO}/v/1.srt": "", f"{VIDEO}/v/w/2.iso": "", f"{VIDEO}/gone/3.srt": "",
    f"{PHOTO}/top.jpg": "picture", f"{PHOTO}/Trip/1.jpg": "picture", f"{PHOTO}/Trip/2.jpg": "picture",
    f"{PHOTO}/Trip/refused.jpg": "picture", f"{PHOTO}/Trip/sub/3.jpg": "picture", f"{PHOTO}/Trip/sub/er/4.jpg": "picture",
    f"{PHOTO}/Old/5.jpg": "picture", f"{PHOTO}/Old/in/6.jpg": "picture", f"{PHOTO}/Gone/7.jpg": "picture",
    f"{PHOTO}/Gone/in/8.jpg": "picture", f"{STICK}/9.jpg": "picture", f"{STICK}/s/10.jpg": "picture",
}
# Titles and descriptions that somebody has typed.
TYPED = {f"{PHOTO}/{name}.jpg": (f"typed {name}", f"more about {name}")
         for name in ("Trip/1", "Trip/sub/3", "Trip/refused", "Old/5", "Stick/9")}


class Request(NamedTuple):
    """Lines, what has happened on the disk before, and where faults strike: at the top of what the lines are about, at a
    folder in it and at a file of that. `sweeps`: the rows of what is gone go by it, so that a line has to tell what was
    kept from that."""
    name: str
    lines: tuple
    change: Callable
    top: str
    inner: str
    file: str
    sweeps: bool = False
    exists: bool = False  # a removal of what is there

    @property
    def share(self):
        return "/".join(self.top.split("/")[:3])


def added(*paths):
    return lambda world: [world.write(path) for path in paths]


def removed(*paths):
    return lambda world: [world.remove(path) for path in paths]


def moved(old, new):
    return lambda world: world.move(old, new)


def together(*changes):
    return lambda world: [change(world) for change in changes]


def nothing(_):
    """No change of the disk."""


def _tree(share, word):
    """A request for a whole share, from which a folder has gone and into which files have come."""
    if share == PHOTO:
        change = together(removed(f"{PHOTO}/Gone"), added(f"{PHOTO}/Trip/new.jpg", f"{PHOTO}/Trip/sub/new.jpg"))
        places = (PHOTO, f"{PHOTO}/Trip", f"{PHOTO}/Trip/1.jpg")
    elif share == VIDEO:
        change = together(removed(f"{VIDEO}/gone"), added(f"{VIDEO}/v/new.srt"))
        places = (VIDEO, f"{VIDEO}/v", f"{VIDEO}/v/1.srt")
    else:
        change = together(removed(f"{MUSIC}/gone"), added(f"{MUSIC}/a/new.pcm", f"{MUSIC}/a/deep/new.pcm"))
        places = (MUSIC, f"{MUSIC}/a", f"{MUSIC}/a/1.pcm")
    return Request(word, (word,), change, *places, sweeps=word[0] == "R")


M, P = MUSIC, PHOTO
REQUESTS = [
    Request("A music", (f"A:{M}/a",), added(f"{M}/a/new.pcm", f"{M}/a/deep/new.pcm"), f"{M}/a", f"{M}/a/deep", f"{M}/a/1.pcm"),
    Request("A photo", (f"A:{P}/Trip",), added(f"{P}/Trip/new.jpg", f"{P}/Trip/more/new.jpg"), f"{P}/Trip", f"{P}/Trip/sub",
            f"{P}/Trip/1.jpg"),
    Request("A file", (f"A:{P}/Trip/new.jpg",), added(f"{P}/Trip/new.jpg"), f"{P}/Trip", f"{P}/Trip", f"{P}/Trip/new.jpg"),
    Request("a music", (f"a:{M}/a/new.pcm", f"a:{M}/a/cover.mp3"), added(f"{M}/a/new.pcm"), f"{M}/a", f"{M}/a",
            f"{M}/a/new.pcm"),
    Request("a photo", (f"a:{P}/Trip/new.jpg", f"a:{P}/Trip/1.jpg"), added(f"{P}/Trip/new.jpg"), f"{P}/Trip", f"{P}/Trip",
            f"{P}/Trip/1.jpg"),
    Request("a album", (f"a:{P}/Made", f"a:{P}/Trip"), added(f"{P}/Made/x.jpg"), f"{P}/Made", f"{P}/Trip", f"{P}/Made/x.jpg"),
    Request("D music", (f"D:{M}/gone",), removed(f"{M}/gone"), f"{M}/gone", f"{M}/gone", f"{M}/gone/7.pcm"),
    Request("D photo", (f"D:{P}/Gone",), removed(f"{P}/Gone"), f"{P}/Gone", f"{P}/Gone/in", f"{P}/Gone/7.jpg"),
    Request("D what is there", (f"D:{M}/a", f"D:{P}/Trip"), nothing, f"{M}/a", f"{P}/Trip", f"{M}/a/1.pcm", exists=True),
    Request("d music", (f"d:{M}/gone/7.pcm",), removed(f"{M}/gone/7.pcm"), f"{M}/gone", f"{M}/gone", f"{M}/gone/7.pcm"),
    Request("d photo", (f"d:{P}/Gone/7.jpg",), removed(f"{P}/Gone/7.jpg"), f"{P}/Gone", f"{P}/Gone", f"{P}/Gone/7.jpg"),
    Request("d what is there", (f"d:{M}/a/1.pcm", f"d:{P}/Trip/1.jpg"), nothing, f"{M}/a/1.pcm", f"{P}/Trip/1.jpg",
            f"{P}/Trip/1.jpg", exists=True),
    Request("N file", (f"N:{M}/a/moved.pcm:{M}/a/1.pcm",), moved(f"{M}/a/1.pcm", f"{M}/a/moved.pcm"), f"{M}/a", f"{M}/a",
            f"{M}/a/moved.pcm"),
    Request("N picture", (f"N:{P}/Old/moved.jpg:{P}/Old/5.jpg",), moved(f"{P}/Old/5.jpg", f"{P}/Old/moved.jpg"), f"{P}/Old",
            f"{P}/Old", f"{P}/Old/moved.jpg"),
    Request("N folder", (f"N:{M}/moved:{M}/old",), moved(f"{M}/old", f"{M}/moved"), f"{M}/moved", f"{M}/moved/in",
            f"{M}/moved/5.pcm"),
    Request("N album", (f"N:{P}/Moved:{P}/Old",), moved(f"{P}/Old", f"{P}/Moved"), f"{P}/Moved", f"{P}/Moved/in",
            f"{P}/Moved/5.jpg"),
    _tree(MUSIC, "R:music"), _tree(VIDEO, "R:video"), _tree(PHOTO, "R:photo"), _tree(MUSIC, "R:all"), _tree(PHOTO, "U:photo"),
    Request("T media", ("T:music",), nothing, f"{M}/a", f"{M}/a", f"{M}/a/1.pcm"),
    Request("T photo", ("T:photo_image",), nothing, f"{P}/Trip", f"{P}/Trip", f"{P}/Trip/1.jpg"),
]


class CallFault(NamedTuple):
    """Calls that fail at a place of the request."""
    call: str
    code: int
    where: str
    first: int = 1

    def __str__(self):
        return f"{self.call}{f' {self.first}' if self.first > 1 else ''} {errno.errorcode[self.code]} at its {self.where}"


class StorageFault(NamedTuple):
    """A file system that is away, and how that is known."""
    known: str

    def __str__(self):
        return f"storage away, {self.known}"


class StoreFault(NamedTuple):
    """A catalogue that takes no rows."""
    kind: str
    catalogue: str

    def __str__(self):
        return f"{self.catalogue} {self.kind}"


class Kill(NamedTuple):
    """kill -9 so far into a request, as a part of it."""
    moment: float

    def __str__(self):
        return f"killed at {self.moment:.3f}"


CODES = (errno.EACCES, errno.EIO, errno.ESTALE, errno.ENOENT)
CALLS = (("opendir", 1), ("readdir", 1), ("readdir", 4), ("stat", 1), ("stat", 2), ("open", 1))
CALL_FAULTS = [CallFault(call, code, where, first) for (call, first), code, where in
               itertools.product(CALLS, CODES, ("top", "inner", "file"))
               if (where != "file" or call in ("stat", "open")) and (call != "open" or where == "file")
               and (call != "readdir" or code != errno.EACCES)]
STORAGE_FAULTS = [StorageFault(known) for known in ("fstab", "noauto", "last walk", "dangling", "inside a share")]
STORE_FAULTS = [StoreFault(kind, catalogue) for kind in ("locked", "read-only", "full", "stopped", "broken", "row")
                for catalogue in ("mediadb", "photodb")]
KILLS = 40  # as many moments as are tried when all are


def possible(request, fault):
    if isinstance(fault, CallFault):
        # What is not there in the eyes of the daemon is removed when that is asked for.
        return not (request.exists and fault.code == errno.ENOENT) and request.name[0] != "T"
    if isinstance(fault, StorageFault):
        return request.share != VIDEO and request.name[0] != "T"
    return True


def whole():
    """All requests with all faults."""
    kills = [Kill((number + 0.5) / KILLS) for number in range(KILLS)]
    return [(request, fault) for request in REQUESTS
            for fault in (*CALL_FAULTS, *STORAGE_FAULTS, *STORE_FAULTS, *kills) if possible(request, fault)]


def _pairs(request, fault):
    values = [("request", request.name), ("kind", type(fault).__name__), *zip(fault._fields, fault)]
    return set(itertools.combinations(values, 2))


def selection():
    """Some of all, so that each two values that come together in a case do so in one of them; and three kills a request."""
    left = {(request, fault): _pairs(request, fault) for request, fault in whole() if not isinstance(fault, Kill)}
    chosen = []
    while any(left.values()):
        best = max(left, key=lambda case: len(left[case]))
        chosen.append(best)
        met = left.pop(best)
        left = {case: pairs - met for case, pairs in left.items()}
    kills = [(request, Kill(((number + 1) * 0.61803 * (at + 1)) % 1)) for at, request in enumerate(REQUESTS)
             for number in range(3)]
    return chosen + kills


def cases():
    """What VELU_FAULTS=whole asks for, or the selection; in the order of the requests."""
    chosen = whole() if os.environ.get("VELU_FAULTS") == "whole" else selection()
    return {request: [fault for one, fault in chosen if one is request] for request in REQUESTS}

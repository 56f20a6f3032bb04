# SPDX-License-Identifier: GPL-2.0-or-later
"""Which requests meet which faults: the world before, what happens on the disk, the line, and how something fails under it.
A selection has each pair of values of two properties at least once."""
import errno
import itertools
import os
from typing import Callable, NamedTuple

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
DISK, STICK = f"{MUSIC}/disk", f"{PHOTO}/Stick"  # file systems of their own inside the shares


def files(sound, film):
    """The paths of the first state, with the extensions that songs and films have. "refused" is what a catalogue refuses in one of
    the faults."""
    return (
        f"{MUSIC}/top{sound}", f"{MUSIC}/a/1{sound}", f"{MUSIC}/a/2.m3u", f"{MUSIC}/a/refused{sound}", f"{MUSIC}/a/cover.mp3",
        f"{MUSIC}/a/deep/3{sound}", f"{MUSIC}/a/deep/er/4{sound}", f"{MUSIC}/old/5{sound}", f"{MUSIC}/old/in/6{sound}",
        f"{MUSIC}/gone/7{sound}", f"{MUSIC}/gone/cover.mp3", f"{DISK}/d/8{sound}",
        f"{VIDEO}/v/1{film}", f"{VIDEO}/v/w/2.iso", f"{VIDEO}/gone/3{film}",
        f"{PHOTO}/top.jpg", f"{PHOTO}/Trip/1.jpg", f"{PHOTO}/Trip/2.jpg", f"{PHOTO}/Trip/refused.jpg", f"{PHOTO}/Trip/sub/3.jpg",
        f"{PHOTO}/Trip/sub/er/4.jpg", f"{PHOTO}/Old/5.jpg", f"{PHOTO}/Old/in/6.jpg", f"{PHOTO}/Gone/7.jpg", f"{PHOTO}/Gone/in/8.jpg",
        f"{STICK}/9.jpg", f"{STICK}/s/10.jpg",
    )


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
    beside: bool = False  # its file gives values to others

    @property
    def share(self):
        return "/".join(self.top.split("/")[:3])


def added(*paths):
    return lambda world: [world.write(path) for path in paths]


def removed(*paths):
    return lambda world: [world.remove(path) for path in paths]


def changed(path):
    return lambda world: world.write(path, world.content(path) + b"changed")


def moved(old, new):
    return lambda world: world.move(old, new)


def together(*changes):
    return lambda world: [change(world) for change in changes]


def nothing(_):
    """No change of the disk."""


def _tree(share, word, sound, film):
    """A request for a whole share, from which a folder has gone and into which files have come."""
    if share == PHOTO:
        change = together(removed(f"{PHOTO}/Gone"), added(f"{PHOTO}/Trip/new.jpg", f"{PHOTO}/Trip/sub/new.jpg"))
        places = (PHOTO, f"{PHOTO}/Trip", f"{PHOTO}/Trip/1.jpg")
    elif share == VIDEO:
        change = together(removed(f"{VIDEO}/gone"), added(f"{VIDEO}/v/new{film}"))
        places = (VIDEO, f"{VIDEO}/v", f"{VIDEO}/v/1{film}")
    else:
        change = together(removed(f"{MUSIC}/gone"), added(f"{MUSIC}/a/new{sound}", f"{MUSIC}/a/deep/new{sound}"))
        places = (MUSIC, f"{MUSIC}/a", f"{MUSIC}/a/1{sound}")
    return Request(word, (word,), change, *places, sweeps=word[0] == "R")


def requests(sound, film):
    """All requests, about songs and films with these extensions."""
    M, P, s = MUSIC, PHOTO, sound  # pylint: disable=invalid-name
    return [
        Request("A music", (f"A:{M}/a",), added(f"{M}/a/new{s}", f"{M}/a/deep/new{s}"), f"{M}/a", f"{M}/a/deep", f"{M}/a/1{s}"),
        Request("A photo", (f"A:{P}/Trip",), added(f"{P}/Trip/new.jpg", f"{P}/Trip/more/new.jpg"), f"{P}/Trip", f"{P}/Trip/sub",
                f"{P}/Trip/1.jpg"),
        Request("A file", (f"A:{P}/Trip/new.jpg",), added(f"{P}/Trip/new.jpg"), f"{P}/Trip", f"{P}/Trip", f"{P}/Trip/new.jpg"),
        Request("a music", (f"a:{M}/a/new{s}", f"a:{M}/a/cover.mp3"), added(f"{M}/a/new{s}"), f"{M}/a", f"{M}/a",
                f"{M}/a/new{s}"),
        Request("a photo", (f"a:{P}/Trip/new.jpg", f"a:{P}/Trip/1.jpg"), added(f"{P}/Trip/new.jpg"), f"{P}/Trip", f"{P}/Trip",
                f"{P}/Trip/1.jpg"),
        Request("a album", (f"a:{P}/Made", f"a:{P}/Trip"), added(f"{P}/Made/x.jpg"), f"{P}/Made", f"{P}/Trip", f"{P}/Made/x.jpg"),
        Request("D music", (f"D:{M}/gone",), removed(f"{M}/gone"), f"{M}/gone", f"{M}/gone", f"{M}/gone/7{s}"),
        Request("D photo", (f"D:{P}/Gone",), removed(f"{P}/Gone"), f"{P}/Gone", f"{P}/Gone/in", f"{P}/Gone/7.jpg"),
        Request("D what is there", (f"D:{M}/a", f"D:{P}/Trip"), nothing, f"{M}/a", f"{P}/Trip", f"{M}/a/1{s}", exists=True),
        Request("d music", (f"d:{M}/gone/7{s}",), removed(f"{M}/gone/7{s}"), f"{M}/gone", f"{M}/gone", f"{M}/gone/7{s}"),
        Request("d photo", (f"d:{P}/Gone/7.jpg",), removed(f"{P}/Gone/7.jpg"), f"{P}/Gone", f"{P}/Gone", f"{P}/Gone/7.jpg"),
        Request("d what is there", (f"d:{M}/a/1{s}", f"d:{P}/Trip/1.jpg"), nothing, f"{M}/a/1{s}", f"{P}/Trip/1.jpg",
                f"{P}/Trip/1.jpg", exists=True),
        Request("N file", (f"N:{M}/a/moved{s}:{M}/a/1{s}",), moved(f"{M}/a/1{s}", f"{M}/a/moved{s}"), f"{M}/a", f"{M}/a",
                f"{M}/a/moved{s}"),
        Request("N picture", (f"N:{P}/Old/moved.jpg:{P}/Old/5.jpg",), moved(f"{P}/Old/5.jpg", f"{P}/Old/moved.jpg"), f"{P}/Old",
                f"{P}/Old", f"{P}/Old/moved.jpg"),
        Request("N folder", (f"N:{M}/moved:{M}/old",), moved(f"{M}/old", f"{M}/moved"), f"{M}/moved", f"{M}/moved/in",
                f"{M}/moved/5{s}"),
        Request("N album", (f"N:{P}/Moved:{P}/Old",), moved(f"{P}/Old", f"{P}/Moved"), f"{P}/Moved", f"{P}/Moved/in",
                f"{P}/Moved/5.jpg"),
        *(_tree(share, word, sound, film) for share, word in (
            (MUSIC, "R:music"), (VIDEO, "R:video"), (PHOTO, "R:photo"), (MUSIC, "R:all"), (PHOTO, "U:photo"))),
        Request("T media", ("T:music",), nothing, f"{M}/a", f"{M}/a", f"{M}/a/1{s}"),
        Request("T photo", ("T:photo_image",), nothing, f"{P}/Trip", f"{P}/Trip", f"{P}/Trip/1.jpg"),
    ]


def of_neighbours(cover, subtitle, sidecar, companion):
    """Requests about files that give values to those beside them, and about what is known of files."""
    return [
        Request("song by cover", (f"a:{MUSIC}/a/1.mp3",), changed(cover), f"{MUSIC}/a", f"{MUSIC}/a", cover, beside=True),
        Request("song", (f"a:{MUSIC}/a/1.mp3",), changed(f"{MUSIC}/a/1.mp3"), f"{MUSIC}/a", f"{MUSIC}/a", cover, beside=True),
        Request("film by subtitle", (f"a:{VIDEO}/v/1.mp4",), nothing, f"{VIDEO}/v", f"{VIDEO}/v", subtitle, beside=True),
        Request("photo by sidecar", (f"A:{PHOTO}/Trip",), nothing, f"{PHOTO}/Trip", f"{PHOTO}/Trip", sidecar, beside=True),
        Request("photo by companion", (f"a:{PHOTO}/Trip/1.jpg",), nothing, f"{PHOTO}/Trip", f"{PHOTO}/Trip", companion, beside=True),
        Request("d companion", (f"d:{companion}",), removed(companion), f"{PHOTO}/Trip", f"{PHOTO}/Trip", f"{PHOTO}/Trip/1.jpg"),
        Request("a cover", (f"a:{cover}",), changed(cover), f"{MUSIC}/a", f"{MUSIC}/a", cover, beside=True),
        Request("d cover", (f"d:{cover}",), removed(cover), f"{MUSIC}/a", f"{MUSIC}/a", f"{MUSIC}/a/1.mp3"),
        Request("d subtitle", (f"d:{subtitle}",), removed(subtitle), f"{VIDEO}/v", f"{VIDEO}/v", f"{VIDEO}/v/1.mp4"),
        Request("left out", (f"A:{MUSIC}/a",), added(f"{MUSIC}/a/.nomedia"), f"{MUSIC}/a", f"{MUSIC}/a", f"{MUSIC}/a/.nomedia"),
        Request("T states", ("T:file_state", f"A:{MUSIC}/a"), nothing, f"{MUSIC}/a", f"{MUSIC}/a", f"{MUSIC}/a/1.mp3"),
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
SAMPLED = ("N folder", "R:all")  # the requests of a few cases
WHOLE = os.environ.get("VELU_FAULTS") == "whole"
KILLS = 40  # as many moments as are tried when all are


def possible(request, fault):
    if isinstance(fault, CallFault):
        # What is not there in the eyes of the daemon is removed when that is asked for, and gives no values.
        taken_for_gone = fault.code == errno.ENOENT and (request.exists or (request.beside and fault.where == "file"))
        return not taken_for_gone and request.name[0] != "T"
    if isinstance(fault, StorageFault):
        return request.share != VIDEO and request.name[0] != "T"
    return True


def renames(request):
    """The new and the old path of each of its renames."""
    return [line.split(":")[1:] for line in request.lines if line.startswith("N:")]


def newly_added(request, fault):
    """Whether files that were renamed are added anew: where their new names led to none."""
    return bool(renames(request)) and isinstance(fault, CallFault) and fault.code == errno.ENOENT


def whole(asked):
    """All requests with all faults."""
    kills = [Kill((number + 0.5) / KILLS) for number in range(KILLS)]
    return [(request, fault) for request in asked
            for fault in (*CALL_FAULTS, *STORAGE_FAULTS, *STORE_FAULTS, *kills) if possible(request, fault)]


def _pairs(request, fault):
    values = [("request", request.name), ("kind", type(fault).__name__), *zip(fault._fields, fault)]
    return set(itertools.combinations(values, 2))


def selection(asked):
    """Some of all, so that each two values that come together in a case do so in one of them; and three kills a request."""
    left = {(request, fault): _pairs(request, fault) for request, fault in whole(asked) if not isinstance(fault, Kill)}
    chosen = []
    while any(left.values()):
        best = max(left, key=lambda case: len(left[case]))
        chosen.append(best)
        met = left.pop(best)
        left = {case: pairs - met for case, pairs in left.items()}
    kills = [(request, Kill(((number + 1) * 0.61803 * (at + 1)) % 1)) for at, request in enumerate(asked)
             for number in range(3)]
    return chosen + kills


def sample(asked):
    """A few of the selection: of some requests, the first with each kind of fault."""
    chosen = selection([request for request in asked if request.name in SAMPLED])
    return [next(case for case in chosen if case[0] is request and isinstance(case[1], kind)) for request in asked
            for kind in (CallFault, StorageFault, StoreFault, Kill) if request.name in SAMPLED]


def cases(asked, few):
    """What VELU_FAULTS=whole wants, or the selection, or a few of that; by request."""
    chosen = whole(asked) if WHOLE else sample(asked) if few else selection(asked)
    return {request: faults for request in asked if (faults := [fault for one, fault in chosen if one is request])}

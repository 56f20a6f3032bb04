# SPDX-License-Identifier: GPL-2.0-or-later
"""Faults at chosen places that come and go while a daemon runs: calls that fail (tests/faults/places.cpp), file systems
that are mounted and unmounted."""
import contextlib
import mmap
import os
import struct
from typing import NamedTuple

from .daemon import QUEUE, WORKING_COPY, wait_for
from .faults import build_library
from .sandbox import TREE

TABLE = "/tmp/places"
RECORD = 512
RULES = 127
SHAPE = struct.Struct("=16s240s240siIII")
NO_LAST = (1 << 32) - 1

# What a rule does where it is no error's number.
COUNT, KILL, HOLD, REDIRECT = 0, -1, -2, -3

MOUNTS = ("/proc/self/mountinfo", "/proc/self/mounts", "/proc/mounts", "/etc/mtab")


class Rule(NamedTuple):
    """Calls of a kind (open, opendir, readdir, stat, readlink, statfs, read, write, sync, rename, unlink, mkdir, send; step
    for any) on paths of a pattern ("*" for any, without a look), what happens to them, and to the how manyeth of them."""
    call: str
    place: str
    action: int
    first: int = 1
    last: int = NO_LAST
    other: str = ""

    def packed(self):
        return SHAPE.pack(self.call.encode(), self.place.encode("latin-1"), self.other.encode(), self.action, self.first,
                          self.last, 0)


def build_places(once):
    """The library of such faults, made once for all workers."""
    return once("places", lambda folder: build_library(TREE / "tests/faults/places.cpp", folder / "places.so")) / "places.so"


class Places:
    """The rules of one daemon, which is not started yet when they are made."""

    def __init__(self, daemon, library):
        daemon.copy(library, "/tmp/places.so")
        daemon.write(TABLE, bytes(RECORD * (RULES + 1)))
        daemon.library += " /tmp/places.so"
        self.rules = ()
        with open(daemon.box.path(TABLE), "r+b") as file:
            self.table = mmap.mmap(file.fileno(), 0)

    def set(self, *rules):
        """From now on these rules hold and no others."""
        self.clear()
        self.change(*rules)

    def change(self, *rules):
        """The same, but a call that is held stays so."""
        self.rules = rules
        for number, rule in enumerate(rules):
            self.table[(number + 1) * RECORD:(number + 2) * RECORD] = rule.packed()
        self.table[:4] = struct.pack("=I", len(rules))

    def clear(self):
        """No rule holds any more, and a call that is held goes on."""
        self.rules = ()
        self.table[:4] = bytes(4)
        self.release()

    def forget(self):
        """As `clear`, when the process that was held is no more."""
        self.rules = ()
        self.table[:RECORD] = bytes(RECORD)

    @contextlib.contextmanager
    def failing(self, *rules):
        self.set(*rules)
        try:
            yield self
        finally:
            self.clear()

    def seen(self, number=0):
        """How many calls a rule has matched."""
        return struct.unpack_from("=I", self.table, (number + 2) * RECORD - 4)[0]

    def _holds(self):
        """How many calls were held and how many of those went on, added up."""
        return struct.unpack_from("=I", self.table, 8)[0]

    def _held(self):
        return self._holds() % 2 == 1

    def wait_held(self):
        wait_for(self._held, "the call that is to be held", pause=0.001)

    def release(self):
        """A call that is held goes on. Another may be held at once."""
        before = self._holds()
        self.table[4:8] = struct.pack("=I", struct.unpack_from("=I", self.table, 4)[0] + 1 & NO_LAST)
        wait_for(lambda: before % 2 == 0 or self._holds() != before, "the held call to go on", pause=0.0002)


def run_inside(daemon, *arguments):
    """Runs a program in the sandbox, which has to succeed."""
    done = daemon.box.ask("run", arguments=list(arguments), environment={}, timeout=60)
    assert done["status"] == 0, (arguments, done)
    return done["out"]


def mount(daemon, place, *options):
    """Mounts in the sandbox, which the host does not see: a file system in memory unless the options say otherwise."""
    run_inside(daemon, "/bin/mount", *(options or ("-t", "tmpfs", "none")), place)


def unmount(daemon, place):
    """Takes the file system away, also one that is still in use."""
    run_inside(daemon, "/bin/umount", "-l", place)


def inside(daemon, path):
    """The host's path of a file of the sandbox with all that is mounted there."""
    return f"/proc/{_last_descendant(daemon.box.agent.pid)}/root{path}"


def _last_descendant(pid):
    """The agent itself, below the programs that have made its sandbox."""
    while not _name(pid).startswith("python"):
        with open(f"/proc/{pid}/task/{pid}/children", encoding="ascii") as text:
            pid = int(text.read().split()[0])
    return pid


def _name(pid):
    with open(f"/proc/{pid}/comm", encoding="ascii") as text:
        return text.read().strip()


def write_inside(daemon, path, content=b""):
    """Writes a file, and the folders above it, where something is mounted. Gives its path."""
    place = inside(daemon, path)
    os.makedirs(os.path.dirname(place), exist_ok=True)
    with open(place, "wb") as file:
        file.write(content.encode("latin-1") if isinstance(content, str) else content)
    return path


def kill_at(daemon, step, *lines):
    """Has lines worked through by a daemon that ends itself at so manyeth of its calls, and starts it again; what fails
    otherwise goes on to fail. False when it was done before."""
    others = daemon.places.rules
    daemon.places.set(Rule("step", "*", KILL, first=step), *others)
    daemon.queue(*lines)
    daemon.signal()
    wait_for(lambda: not daemon.alive() or not any(map(daemon.exists, (QUEUE, WORKING_COPY))), "the daemon's end")
    killed = not daemon.alive()
    if not killed:
        daemon.places.set(*others)
        wait_for(lambda: not daemon.alive() or daemon.idle(), "the end of the run")
        killed = not daemon.alive()
    if killed:
        daemon.wait_gone()
        daemon.pid = 0
        daemon.places.forget()
        daemon.places.set(*others)
        daemon.start()
    return killed


def kill_when_held(daemon):
    """Kills a daemon whose call is held."""
    daemon.kill()
    daemon.places.forget()

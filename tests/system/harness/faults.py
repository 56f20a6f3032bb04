# SPDX-License-Identifier: GPL-2.0-or-later
"""Calls of a running daemon that fail: strace stands between the daemon and the kernel for a while, or a library of the
tests' between the daemon and the C library from its start."""
import contextlib
import errno
import hashlib
import os
import signal
import struct
import subprocess

from .daemon import wait_for
from .sandbox import TREE

TRACE = "/tmp/trace"


def cover_path(media, name="0_1.jpg"):
    """Where the cover of a media file is; of the type that lame writes, unless the name says otherwise."""
    digest = hashlib.sha256(media.encode("latin-1")).hexdigest()
    return f"/var/lib/velu/covers/{digest[:2]}/{digest}/{name}"


@contextlib.contextmanager
def traced(daemon, *options):
    """The daemon under strace, whose output goes to TRACE."""
    # strace wants the files that it watches to be where their names say, or nowhere.
    command = " ".join(f"'{option}'" for option in ("/usr/bin/strace", "-f", "-qq", "-o", TRACE, "-p", str(daemon.pid),
                                                    *options))
    daemon.box.ask("run", arguments=["/bin/sh", "-c", f"{command} </dev/null >/tmp/strace 2>&1 &"], environment={},
                   timeout=10)
    tracer = wait_for(lambda: int(daemon.status_field("TracerPid") or 0), "strace")
    try:
        yield
    finally:
        # Again and again: a signal that comes right before strace waits for the daemon ends nothing until that does something.
        wait_for(lambda: not daemon.box.ask("kill", pid=tracer, number=int(signal.SIGTERM))["sent"]
                 or daemon.status_field("TracerPid") in ("0", None), "the end of strace")


def failing(daemon, calls, path, code, when="1+"):
    """Has system calls on a file fail with an error, `when` saying which of them, as strace counts."""
    return traced(daemon, "-P", path, "-e", f"trace={calls}",
                  "-e", f"inject={calls}:error={errno.errorcode[code]}:when={when}")


def injections(daemon):
    """How many calls were made to fail."""
    return sum("(INJECTED)" in line for line in daemon.lines(TRACE))


def files_below(daemon, folder):
    return [os.path.join(at, name) for at, _, names in os.walk(daemon.box.path(folder)) for name in names]


def build_library(source, library):
    """Compiles a shared library of the tests' own."""
    subprocess.run(["g++", "-std=c++20", "-shared", "-fPIC", "-Wall", "-Werror", "-I", TREE, source, "-o", library], check=True)


def set_faults(daemon, library, rules):
    """Has a daemon that is not started yet run with the library of failing calls (tests/faults). A rule is a call, a part
    of a path, an error's number and which of the calls fails."""
    daemon.copy(library, "/tmp/faults.so")
    daemon.write("/tmp/faults", "".join(f"{call} {path} {code} {which}\n" for call, path, code, which in rules))
    daemon.library += " /tmp/faults.so"


def calls_seen(daemon, rules):
    """How many calls were made of those that the first rules are for."""
    return struct.unpack(f"={rules}I", daemon.read("/tmp/faults.seen")[:4 * rules])


def end_faults(daemon, rules):
    """Has no more call fail: they are all beyond the one that is to."""
    with open(daemon.box.path("/tmp/faults.seen"), "r+b") as seen:
        seen.write(struct.pack(f"={rules}I", *[1 << 31] * rules))

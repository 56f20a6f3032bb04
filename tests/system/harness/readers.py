# SPDX-License-Identifier: GPL-2.0-or-later
"""A copy of the daemon beside readers of a test's own: it looks for them where it lies itself."""
import os
import time

from .daemon import PATIENCE

INSTALLED = "/tmp/installed"
READERS = "velureader", "velureader-films"


def place(name):
    """Where a reader is, or a module."""
    return f"{INSTALLED}/lib/velu/{name}"


def put_beside(daemon, binary, readers):
    """Has the daemon run from a copy beside `readers`, files by their names. None has the real clock's bounds but at speed 1."""
    modules = binary.parent.parent / "lib/velu"
    files = {f"{INSTALLED}/bin/veluindexd": binary, **{place(path.name): path for path in modules.glob("*.so")},
             **{place(name): source for name, source in readers.items()}}
    for path, source in files.items():
        daemon.copy(source, path)
        os.chmod(daemon.box.path(path), 0o755)
    daemon.binary = f"{INSTALLED}/bin/veluindexd"


def left_behind(daemon):
    """Readers that still run, and descriptors that a run should not have left. A killed reader takes a while to go on a busy
    machine; the daemon, whose clock is fast, looks again when it wakes up."""
    def look():
        links = daemon.box.ask("descriptors", pid=daemon.pid)["links"]
        mine = [link for link in links if "memfd" in link or "pidfd" in link or "socket" in link and "log" not in link]
        return daemon.children() + mine[1:]  # the log's own socket
    end = time.monotonic() + PATIENCE
    found = look()
    while found and time.monotonic() < end:
        time.sleep(0.05)
        found = look()
    return found

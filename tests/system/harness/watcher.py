# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher beside a daemon in its sandbox, and the comparison of what they have made with a fresh index."""
import os
import re
import signal

from .catalogue import MEDIA_TABLES
from .daemon import PATIENCE, QUEUE, WORKING_COPY, wait_for

SHARES = ("/volume1/music", "/volume1/video", "/volume1/photo")
SETTLE = 0.2
PROGRAM = "veluwatchd"
WORDS = "/tmp/watcher.words"

# A row that was there stays as it is when something happens around it: a directory's when an entry comes or goes, which
# changes the directory's times; a picture's when it is renamed, which keeps the title and changes the file's.
KEPT = {
    "directory": {"create_time", "modify_time"},
    "photo_image": {"id", "title", "create_time", "date_taken"},
    "photo_share": {"shareid"},
}
COMPARED = (*MEDIA_TABLES, "directory", "photo_image", "photo_share")


class Watcher:
    """One watcher of the daemon's shares, or of the paths that are given. It goes by the real clock."""

    def __init__(self, daemon, *arguments, settle=SETTLE, wrapper=()):
        self.daemon = daemon
        self.marks = self.seen = 0
        program = os.path.join(os.path.dirname(daemon.binary), PROGRAM)
        before = len(self.told("watching"))
        self.pid = daemon.box.ask("start", arguments=[*wrapper, program, "--settle", str(settle), *arguments],
                                  environment={**daemon.environment(), "LD_PRELOAD": ""}, out=WORDS)["pid"]
        wait_for(lambda: len(self.told("watching")) > before or not daemon.alive(self.pid), "the watcher's start")

    def told(self, text):
        """What the watcher has logged with this text in it."""
        return [line.text for line in self.daemon.log.lines if line.program == PROGRAM and text in line.text]

    def words(self):
        return self.daemon.read(WORDS).decode("latin-1")

    def wake_ups(self):
        """How often it has slept and gone on."""
        status = self.daemon.box.ask("run", arguments=["/bin/cat", f"/proc/{self.pid}/status"], environment={},
                                     timeout=PATIENCE)["out"]
        return int(re.search(r"^voluntary_ctxt_switches:\s*(\d+)", status, re.MULTILINE)[1])

    def signal(self, number):
        self.daemon.box.ask("kill", pid=self.pid, number=int(number))

    def wait(self):
        """Its exit status."""
        return self.daemon.box.ask("wait", pid=self.pid, timeout=PATIENCE)["status"]

    def stop(self):
        self.signal(signal.SIGTERM)
        assert self.wait() == 0, self.words()

    def requests(self, share="/volume1/music"):
        """What has been queued since the last call, where no daemon takes it away."""
        self.marks += 1
        mark = f"a:{self.daemon.write(f'{share}/mark{self.marks}.m3u', '#')}"
        wait_for(lambda: mark in self.daemon.lines(QUEUE), "the last change to be queued")
        lines = self.daemon.lines(QUEUE)[self.seen:]
        self.seen += len(lines)
        return [line for line in lines if line != mark]

    def settle(self, share="/volume1/music", timeout=PATIENCE):
        """Waits until all that has happened so far is done by the daemon: so is what happens last. Twice, since the first
        mark may be found by the walk of an earlier request, before its own is queued."""
        for _ in range(2):
            self.marks += 1
            mark = self.daemon.write(f"{share}/mark{self.marks}.m3u", "#")
            wait_for(lambda: self.daemon.row("playlist", mark), "the last change to be catalogued", timeout, pause=0.1)
            wait_for(lambda: not self.daemon.exists(QUEUE) and not self.daemon.exists(WORKING_COPY), "the queue's end",
                     timeout)


def catalogue_rows(daemon):
    """All rows that a fresh index gives as well, without what a row keeps: by table, then by path."""
    return {table: {row.get("path", row.get("sharename")):
                    {name: value for name, value in row.items() if name not in KEPT.get(table, ())}
                    for row in daemon.rows(table)} for table in COMPARED}


def fresh_rows(daemon, shares=SHARES, timeout=PATIENCE):
    """The rows of another daemon that begins with an empty catalogue."""
    daemon.stop()
    daemon.catalogue.forget()
    daemon.start()
    daemon.index(*(f"A:{share}" for share in shares), "R:photo", timeout=timeout)
    return catalogue_rows(daemon)


def differences(found, fresh):
    """What one has and the other has not: the first few of each table."""
    told = []
    for table in COMPARED:
        have, want = found[table], fresh[table]
        told += [f"{table}: stale {path!r}" for path in have if path not in want][:5]
        told += [f"{table}: missing {path!r}" for path in want if path not in have][:5]
        told += [f"{table}: {path!r} has {name} {have[path][name]!r}, not {value!r}"
                 for path, row in want.items() if path in have
                 for name, value in row.items() if have[path][name] != value][:5]
    return told


def check_equal(daemon, timeout=PATIENCE):
    """Ends the daemon and compares what it has with a fresh index."""
    found = catalogue_rows(daemon)
    different = differences(found, fresh_rows(daemon, timeout=timeout))
    assert not different, "\n".join(different)
    return found

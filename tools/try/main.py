# SPDX-License-Identifier: GPL-2.0-or-later
"""What ./try does once the daemon is built: sandbox, queue, signal, wait, table."""
import collections
import os
import pathlib
import sys
import time

TREE = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(TREE / "tests/system"))
sys.dont_write_bytecode = True

import library  # noqa: E402
import table  # noqa: E402
from harness import catalogue  # noqa: E402
from harness.daemon import WORKING_COPY, Daemon  # noqa: E402
from harness.log import LOG_ERR  # noqa: E402
from harness.media import MediaError  # noqa: E402
from harness.sandbox import SandboxError  # noqa: E402

BINARY = TREE / "build/try/bin/veluindexd"
PAGE = TREE / "build/try/report.html"
ROWS_SHOWN = 40
LOG_SHOWN = 20
QUIET = (10, 20)
# Longest wait for a run to begin: the quiet time, and some for a busy machine.
PATIENCE = 40
PHOTOS = {"jpg", "jpeg", "jpe", "bmp", "gif", "ico", "png", "psd", "tif", "tiff", "ufo", "heic", "heif", "avif", "webp", "jxl",
          "dng", "cr2", "cr3", "nef", "arw", "orf", "rw2", "raf"}
VIDEOS = {"avi", "mpg", "mpeg", "dat", "asf", "wmv", "vob", "mov", "rm", "rmvb", "mp4", "divx", "xvid", "flv", "mkv",
          "ts", "m2ts", "m2t", "mts", "m4v", "3gp", "3g2", "qt", "swf", "dvr-ms", "iso", "ifo", "trp", "tp", "webm", "ogv"}


class TryError(Exception):
    """Something is wrong, in words for the user."""


def share_of(folder):
    """The share that a folder belongs in: that of most of its files."""
    counts = collections.Counter()
    for _, _, names in os.walk(folder):
        for name in names:
            extension = name.rpartition(".")[2].lower()
            counts["photo" if extension in PHOTOS else "video" if extension in VIDEOS else "music"] += 1
    others = counts["music"]
    if counts["photo"] > max(others, counts["video"]):
        return "photo"
    return "video" if counts["video"] > others else "music"


class Progress:
    """One line that is written over on a terminal; elsewhere a line for each new phase."""

    def __init__(self):
        self.live = sys.stdout.isatty()
        self.phase = None

    def show(self, phase, detail=""):
        if self.live:
            print(f"\r\033[K{phase}{detail}", end="", flush=True)
        elif phase != self.phase:
            print(phase, flush=True)
        self.phase = phase

    def end(self):
        if self.live and self.phase:
            print("\r\033[K", end="")
        self.phase = None


def wait_for_run(daemon, progress):
    """Shows the phases of one run. Gives the seconds until its begin and those that it took."""
    signalled = time.monotonic()
    begun = None
    while not daemon.peer_signals("dms"):
        if not daemon.alive():
            raise TryError("the daemon has died")
        now = time.monotonic()
        if begun is None and (daemon.exists(WORKING_COPY) or daemon.catalogue.count("directory")):
            begun = now
        if begun is None:
            progress.show("signalled; the daemon waits until no signal has come for 10 to 20 seconds",
                          f": {now - signalled:.0f} s")
            if now - signalled > PATIENCE:
                raise TryError(f"the run has not begun within {PATIENCE} s")
        else:
            rows = sum(daemon.catalogue.count(kind) for kind in catalogue.MEDIA_TABLES)
            progress.show("the run goes on", f": {rows} rows after {now - begun:.0f} s")
        time.sleep(0.02 if begun is None else 0.1)
    progress.end()
    end = time.monotonic()
    begun = begun or end
    return begun - signalled, end - begun


def print_log(daemon):
    lines = daemon.log.lines
    print(f"\nsystem log: {len(lines)} lines" + (" (errors are marked with !)" if lines else ""))
    for line in lines[:LOG_SHOWN]:
        mark = "!" if line.severity <= LOG_ERR else " "
        text = line.text.encode("latin-1").decode("utf-8", "replace")
        print(f"  {mark} {''.join(char if char.isprintable() else '?' for char in text)}")
    if len(lines) > LOG_SHOWN:
        print(f"  ... and {len(lines) - LOG_SHOWN} more")


def show(daemon, place):
    tables = {kind: daemon.rows(kind) for kind in catalogue.MEDIA_TABLES}
    count = sum(len(rows) for rows in tables.values())
    if count:
        print()
        table.print_rows({kind: rows for kind, rows in tables.items() if rows}, place, ROWS_SHOWN)
    photos = len(daemon.rows("photo_image"))
    print(f"\n{count} files: " + ", ".join(f"{len(rows)} in {kind}" for kind, rows in tables.items()) +
          f"; {len(daemon.rows('directory'))} directories; {photos} pictures in the photo library")
    return count


def write_page(daemon):
    done = daemon.ctl("report", "-")
    if done["status"] != 0:
        raise TryError(f"veluctl report: {done['err']}")
    PAGE.write_bytes(done["out"].encode("latin-1"))


def main(rules, folder):
    progress = Progress()
    binds = []
    if folder:
        name = os.path.basename(folder) or "folder"
        place = f"/volume1/{share_of(folder)}/{name}"
        if "\n" in folder:
            raise TryError("a folder whose name holds a newline cannot be named in the queue")
        binds = [folder, place]
    daemon = Daemon(BINARY, None, speed=1, binds=binds)
    try:
        if not folder:
            place = "/volume1/music/library"
            library.make(daemon.box.path(place), lambda what: progress.show("making a small library: ", what))
            progress.end()
        daemon.configure(rules=rules, aacdecoder=os.path.join(os.path.dirname(BINARY), "veluaacinfo"))
        daemon.start()
        print(f"the daemon runs in its sandbox (root: {daemon.box.root}) by the rules {rules!r}; queued: A:{place}")
        daemon.queue(f"A:{place}")
        daemon.signal()
        waited, took = wait_for_run(daemon, progress)
        count = show(daemon, place)
        print(f"the run began {waited:.1f} s after the signal (a quiet interval of {QUIET[0]} to {QUIET[1]} s) "
              f"and took {took:.2f} s" + (f", {1000 * took / count:.1f} ms a file" if count else ""))
        print(f"resident memory of the daemon: {int(daemon.status_field('VmRSS')) / 1024:.1f} MB")
        print_log(daemon)
        write_page(daemon)
        print(f"\na page about the catalogue, for a browser: {PAGE.relative_to(TREE)}")
        daemon.stop()
        if not count:
            raise TryError("no file of a known kind was found" if folder else "nothing was catalogued")
    finally:
        daemon.close()


if __name__ == "__main__":
    try:
        main(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else None)
    except (TryError, SandboxError, MediaError, AssertionError) as problem:
        print(f"\ntry: {problem}", file=sys.stderr)
        sys.exit(1)
    except KeyboardInterrupt:
        print("\ntry: interrupted", file=sys.stderr)
        sys.exit(130)

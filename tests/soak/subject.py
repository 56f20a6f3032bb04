# SPDX-License-Identifier: GPL-2.0-or-later
"""A daemon under a soak: it is fed batches of files and looked at after each."""
import os
import re
import shutil

from harness.daemon import Daemon, wait_for

SHARES = ("/volume1/music/soak", "/volume1/photo/soak")
GOOD = "/volume1/music/good"
TABLES = ("music", "video", "photo", "playlist")
# Columns that a good file's row has from its place and the moment.
OWN = frozenset(("path", "title", "create_time", "modify_time"))
BATCH_PATIENCE = 180
SETTLE_PATIENCE = 20
UNREAD = r"(/.*) cannot be read: (.*)\.$"  # a path, and why
# With a quarantine of its own size the sanitizer's allocator stops growing soon.
SANITIZER = ":quarantine_size_mb=8:thread_local_quarantine_size_kb=64"
WARM_UP = 3  # batches
# On the clock of the other tests readers would have two seconds to start, which they take on a machine that builds beside.
SPEED = 10
GROWTH_KB = {True: 48 << 10, False: 2 << 10}  # VmRSS after the warm-up, with the sanitizers and without


class Finding(Exception):
    """The daemon did what it never may."""


class SoakDaemon(Daemon):
    """A daemon whose sanitizers give memory back soon, so that what grows is the daemon's."""

    def environment(self):
        setting = super().environment()
        return {**setting, "ASAN_OPTIONS": setting["ASAN_OPTIONS"] + SANITIZER}


class Subject:
    """`good` are whole files by name. Their rows, of the first time, are what they always have to be."""

    def __init__(self, binary, library, good, rules):
        with open(binary, "rb") as program:
            self.sanitized = b"__asan_init" in program.read()
        self.daemon = SoakDaemon(binary, library, speed=SPEED)
        self.good = sorted(good.items())
        self.batches = 0
        self.files = 0
        self.killed = {}
        self.most = {}  # the bounds of what may remain, from the warm-up
        self.peak_growth = 0
        self.complete = rules == "complete"
        self.daemon.configure(rules=rules, aacdecoder=binary.with_name("veluaacinfo"), **self.daemon.catalogue.keys)
        self.daemon.start()
        self.expected = {name: self._index_good(name) for name, _ in self.good}
        self._forget()
        self.daemon.index("no request")  # opens the system log
        self.baseline = self._remains()

    def _index_good(self, name):
        path = self.daemon.write(f"{GOOD}/{self.batches}-{name}", dict(self.good)[name])
        self.daemon.index(f"a:{path}", timeout=BATCH_PATIENCE)
        return self._good_row(path)

    def _good_row(self, path):
        found = [(table, row) for table in TABLES if (row := self.daemon.row(table, path))]
        if len(found) != 1:
            raise Finding(f"{path} has {len(found)} rows")
        table, row = found[0]
        return table, {key: value for key, value in row.items() if key not in OWN}

    def feed(self, files):
        """Has a batch indexed: pairs of a name with a folder of SHARES before it, and the bytes."""
        daemon = self.daemon
        self.batches += 1
        self.files += len(files)
        for path, content in files:
            daemon.write(path, content)
        name, content = self.good[self.batches % len(self.good)]
        good = daemon.write(f"{GOOD}/{self.batches}-{name}", content)
        first = len(daemon.log.lines)
        daemon.index(*(f"A:{share}" for share in SHARES), f"a:{good}", timeout=BATCH_PATIENCE)
        texts = daemon.log.texts()[first:]
        self._count_kills(texts)
        daemon.check_sanitizers()
        if self._good_row(good) != self.expected[name]:
            raise Finding(f"the row of {good} is {self._good_row(good)}, and not {self.expected[name]}")
        rows = set(daemon.media_paths())
        for path, _ in files:
            if path not in rows:
                raise Finding(f"{path} has no row")
        if self.complete:
            self._check_states(texts)
        self._forget()
        self._check_remains()

    def _forget(self):
        """Takes the batch away again, files and rows."""
        for folder in (*SHARES, GOOD):
            shutil.rmtree(self.daemon.box.path(self.daemon.mkdir(folder)))
        self.daemon.index(*(f"D:{share}" for share in SHARES), f"D:{GOOD}", timeout=BATCH_PATIENCE)
        left = self.daemon.media_paths() + (self.daemon.paths("file_state") if self.complete else [])
        if left:
            raise Finding(f"rows of files that are gone: {left[:3]}")

    def _check_states(self, texts):
        """One row and one state a path, and one line for each file that is in trouble."""
        paths = self.daemon.media_paths()
        if len(set(paths)) != len(paths):
            raise Finding(f"paths with two rows: {sorted(path for path in set(paths) if paths.count(path) > 1)[:3]}")
        states = {row["path"]: row["trouble"] for row in self.daemon.rows("file_state")}
        if sorted(states) != sorted(paths):
            raise Finding(f"rows and states differ: {sorted(set(states) ^ set(paths))[:3]}")
        told = sorted(found[1] for text in texts if (found := re.search(UNREAD, text)))
        if told != sorted(path for path, trouble in states.items() if trouble):
            raise Finding(f"told: {told}; in trouble: {states}")

    def _count_kills(self, texts):
        """Children of the probe, or readers, that were ended, by how, and their files, which deserve a look. The watchdogs' 90
        seconds are nine of the daemon's fast clock."""
        for text in texts:
            if (found := re.search(UNREAD, text)) and re.match("its reader ended|it takes", found[2]):
                self.killed.setdefault(found[2], []).append(os.path.basename(found[1]))
        for text, following in zip(texts, [*texts[1:], ""]):
            found = re.search(r"Process \d+ (killed by signal \d+|exceeded max \w+)", text)
            if found:
                file = re.search(r"\[(.*)\]", following)
                self.killed.setdefault(found[1], []).append(os.path.basename(file[1]) if file else "?")

    def _remains(self):
        """What a batch must not leave more of."""
        daemon = self.daemon
        folders = ("/tmp", "/var/tmp", "/run", "/var/spool", "/var/lib/velu")
        files = {os.path.join(folder, name) for top in folders
                 for folder, _, names in os.walk(daemon.box.path(top)) for name in names}
        return {
            "descriptors": daemon.box.ask("descriptors", pid=daemon.pid)["links"],
            "children": daemon.children(),
            "files": sorted(files),
        }

    def _left_behind(self):
        """What there is more of than at first, in a sentence, or None."""
        for what, now in self._remains().items():
            more = [one for one in now if one not in self.baseline[what]]
            if len(now) > len(self.baseline[what]) or (what == "files" and more):
                return f"{what} that stay behind: {more or now}"
        return None

    def _check_remains(self):
        # The run says that it is over before it lets go of its queue.
        try:
            wait_for(lambda: not self._left_behind(), "what a run holds to be let go of", SETTLE_PATIENCE)
        except AssertionError as late:
            raise Finding(self._left_behind() or str(late)) from None
        memory = int(self.daemon.status_field("VmRSS"))
        if self.batches <= WARM_UP:
            self.most["memory"] = max(memory, self.most.get("memory", 0))
            return
        growth = memory - self.most["memory"]
        self.peak_growth = max(self.peak_growth, growth)
        if growth > GROWTH_KB[self.sanitized]:
            raise Finding(f"VmRSS has grown by {growth} KiB since the warm-up")

    def close(self):
        self.daemon.close()

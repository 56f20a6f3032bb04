# SPDX-License-Identifier: GPL-2.0-or-later
"""The programs that are compared: how each scans a tree once, cold, in a sandbox of its own."""
import json
import os
import pathlib
import re
import sqlite3
import subprocess
import tempfile

from corpus import OF_TODAY, music_files, without_newer

TREE = pathlib.Path(__file__).resolve().parents[2]
MEASURE = pathlib.Path(__file__).resolve().with_name("measure.py")
BINARIES = TREE / "build/release/bin"
TIMEOUT = 1800

# Of the rules `complete`.
READERS = 2

# Servers get a network of their own that holds nothing but the loopback.
ALONE = ["/usr/bin/unshare", "-n", "/bin/sh", "-c", 'ip link set lo up && exec "$0" "$@"']

# One that wants a network with an address gets two ends of a cable, and neither an address that it would have to wait for.
CABLED = ["/usr/bin/unshare", "-n", "/bin/sh", "-c",
          "ip link set lo up && ip link add box0 type veth peer name box1 && ip address add 192.0.2.1/24 dev box0 && "
          "ip link set box0 addrgenmode none up && ip link set box1 addrgenmode none up && ip route add default dev box0 && "
          'exec "$0" "$@"']

MINIDLNA_CONFIGURATION = """
media_dir={share}
db_dir=/tmp/minidlna
log_dir=/tmp/minidlna
port=18200
network_interface=lo
inotify=no
notify_interval=86400
"""

MPD_CONFIGURATION = """
music_directory "{share}"
db_file "/tmp/mpd/database"
state_file "/tmp/mpd/state"
sticker_file "/tmp/mpd/sticker"
bind_to_address "/tmp/mpd/socket"
audio_output {{
    type "null"
    name "none"
}}
"""


class BenchError(Exception):
    """A program is missing, or did not index what it was given."""


def count(database, sql):
    connection = sqlite3.connect(f"file:{database}?mode=ro", uri=True)
    try:
        return connection.execute(sql).fetchone()[0]
    finally:
        connection.close()


def share_of(kind):
    return "/volume1/photo" if kind.startswith("photo") else "/volume1/music"


def set_up(root, name, configuration, kind):
    """Makes a program's own folder and its configuration, which is set for the share of a corpus. Gives its path."""
    (root / f"tmp/{name}").mkdir()
    (root / f"tmp/{name}.conf").write_text(configuration.format(share=share_of(kind)))
    return f"/tmp/{name}.conf"


class Contender:
    """One that takes every corpus of formats that are not new, and indexes all of its files."""

    @staticmethod
    def takes(kind):
        return kind not in OF_TODAY

    @staticmethod
    def expected(_kind, files):
        return files


class Counting(Contender):
    """One that ends by itself, and prints how many files it has done."""

    @staticmethod
    def indexed(root, _told):
        return int(re.match(r"(\d+) files", (root / "tmp/output").read_text())[1])


class Floor(Counting):
    name = "floor"
    program = BINARIES / "peers_floor"

    def prepare(self, _root, kind):
        return {"arguments": [str(self.program), share_of(kind)], "end": "exit"}


class Libraries(Counting):
    """What the readers' libraries cost alone."""
    name = "libraries"
    program = BINARIES / "peers_libraries"

    @staticmethod
    def takes(kind):
        return kind != "photo-library"

    def prepare(self, _root, kind):
        return {"arguments": [str(self.program), share_of(kind), "/tmp/begun"], "end": "exit", "begin": "/tmp/begun"}


class Velu(Contender):
    """The daemon by one of its rule sets."""
    program = BINARIES / "veluindexd"

    def __init__(self, name, rules):
        self.name, self.rules = name, rules

    def takes(self, kind):
        return self.rules == "complete" or kind not in OF_TODAY

    def prepare(self, root, kind):
        """What waits in the queue at the start is done at once: no time passes between the start and the run."""
        (root / "etc").mkdir()
        (root / "etc/veluinfo.conf").write_text(f'rules="{self.rules}"\nreaders="{READERS}"\n')
        library = "yes" if kind == "photo-library" else "no"
        (root / "etc.defaults/veluinfo.conf").write_text(f'supportphoto="{library}"\nsupportcinehall="no"\n')
        return self.again(root, f"A:{share_of(kind)}")

    def again(self, root, line):
        """The same with the catalogue that it has by then."""
        (root / "var/spool/velu_indexing_queue").write_text(f"{line}\n")
        return {"arguments": [str(self.program)], "end": "signal", "begin": "/var/spool/velu_indexing_queue"}

    @staticmethod
    def indexed(root, _told):
        media = " + ".join(f"(select count(*) from {table})" for table in ("music", "video", "photo"))
        return count(root / "var/lib/velu/mediaserver.db", f"select {media}")

    def expected(self, kind, files):
        return files if self.rules == "complete" else without_newer(kind, files)


class Minidlna(Contender):
    name = "minidlna"
    program = pathlib.Path("/usr/sbin/minidlnad")

    @staticmethod
    def takes(kind):
        return kind != "photo-library" and kind not in OF_TODAY

    def prepare(self, root, kind):
        file = set_up(root, self.name, MINIDLNA_CONFIGURATION, kind)
        return {"arguments": [*ALONE, str(self.program), "-S", "-R", "-f", file, "-P", "/tmp/minidlna.pid"],
                "end": "line", "path": "/tmp/minidlna/minidlna.log", "text": "Finished parsing playlists",
                "begin": "/tmp/minidlna/minidlna.log", "begin_text": "Scanning " + share_of(kind)}

    @staticmethod
    def indexed(root, _told):
        return count(root / "tmp/minidlna/files.db", "select count(*) from DETAILS where MIME is not null")

    @staticmethod
    def expected(kind, files):
        return without_newer(kind, files)


class Mpd(Contender):
    name = "mpd"
    program = pathlib.Path("/usr/bin/mpd")

    @staticmethod
    def takes(kind):
        return not kind.startswith(("photo", "film")) and kind != "mixed"

    def prepare(self, root, kind):
        file = set_up(root, self.name, MPD_CONFIGURATION, kind)
        return {"arguments": [*ALONE, str(self.program), "--no-daemon", file], "end": "update",
                "path": "/tmp/mpd/socket", "begin": "/tmp/mpd/socket"}

    def again(self, root, _line):
        """The same with the database that it has by then, which it has to be told to look after."""
        (root / "tmp/mpd/socket").unlink(missing_ok=True)
        return {"arguments": [*ALONE, str(self.program), "--no-daemon", "/tmp/mpd.conf"], "end": "update", "ask": "update",
                "path": "/tmp/mpd/socket", "begin": "/tmp/mpd/socket"}

    @staticmethod
    def indexed(_root, told):
        return told["songs"]

    @staticmethod
    def expected(kind, files):
        return music_files(kind, files)


class Gerbera(Contender):
    """As its package sets it up, but for where it keeps its files. It tells nobody when it has added all, and keeps the last rows to itself
    until it is ended."""
    name = "gerbera"
    program = pathlib.Path("/usr/bin/gerbera")
    packaged = pathlib.Path("/etc/gerbera/config.xml")
    DATABASE = "/tmp/gerbera/gerbera.db"
    # Items of files; each has others that refer to it, for the views by artist, album and so on.
    ITEMS = "select count(*) from mt_cds_object where object_type & 2 and ref_id is null"

    @staticmethod
    def takes(kind):
        return kind != "photo-library" and kind not in OF_TODAY

    def prepare(self, root, kind):
        if not self.packaged.exists():
            raise BenchError(f"{self.packaged} is missing: run `scripts/deps bench`")
        (root / "tmp/gerbera").mkdir()
        (root / "tmp/gerbera.xml").write_text(self.packaged.read_text().replace("/var/lib/gerbera", "/tmp/gerbera"))
        return {"arguments": [*CABLED, str(self.program), "-c", "/tmp/gerbera.xml", "-e", "box0", "-a", share_of(kind)],
                "end": "rows", "path": self.DATABASE, "sql": self.ITEMS, "begin": self.DATABASE}

    def indexed(self, root, _told):
        return count(root / self.DATABASE[1:], self.ITEMS)


class Tags(Counting):
    """A script that reads tags."""
    name = "script"
    program = pathlib.Path(__file__).resolve().with_name("tags")
    takes = staticmethod(Mpd.takes)
    expected = staticmethod(Mpd.expected)

    def prepare(self, _root, kind):
        return {"arguments": [str(self.program), share_of(kind), "/tmp/songs.db"], "end": "exit"}


CONTENDERS = (Velu("complete", "complete"), Libraries(), Velu("veluindexd", "appliance"), Minidlna(), Mpd(), Gerbera(), Tags(), Floor())


# With a real-time priority of the lowest kind, so that whatever else the machine does waits meanwhile.
AHEAD_OF_ALL = ("/usr/bin/chrt", "--rr", "1")


def measure(contender, tree, kind, files, roots, ahead=False, calls=False):
    """One cold run over a tree: seconds of wall and processor time, what was written, and the peak of memory; with `calls` also the
    system calls of all processes, which are counted in place of time. The run's files stay in a folder below `roots`: file
    systems are slow to give out the inodes of files that have just been deleted."""
    root = new_root(roots)
    request = {**contender.prepare(root, kind), "calls": calls}
    told = measure_in(root, contender, request, tree, kind, ahead)
    found, expected = contender.indexed(root, told), contender.expected(kind, files)
    if found != expected:
        raise BenchError(f"{contender.name} has indexed {found} of {expected} files of {tree}")
    return told


def new_root(roots):
    """A folder for the files of a run, or of several of one program."""
    root = pathlib.Path(tempfile.mkdtemp(prefix="run-", dir=roots))
    for folder in ("tmp", "etc.defaults", "var/spool"):
        (root / folder).mkdir(parents=True)
    return root


def measure_in(root, contender, request, tree, kind, ahead=False):
    """One run in a folder of files, as the request says."""
    if not contender.program.exists():
        raise BenchError(f"{contender.program} is missing: run `scripts/deps bench` and build veluindexd and peers_floor")
    environment = {**os.environ, "SANDBOX_ROOT": str(root), "SANDBOX_BIND": f"{tree}\n{share_of(kind)}"}
    done = subprocess.run([*(AHEAD_OF_ALL if ahead else ()), TREE / "tests/sandbox", "/usr/bin/python3", "-S", MEASURE, json.dumps({**request, "ahead": ahead, "timeout": TIMEOUT})],
                          env=environment, capture_output=True, text=True, check=False)
    output = root / "tmp/output"
    if done.returncode:
        raise BenchError(f"{contender.name}: {done.stderr}{output.read_text() if output.exists() else ''}")
    return json.loads(done.stdout)

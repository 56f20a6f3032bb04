# SPDX-License-Identifier: GPL-2.0-or-later
"""Other programs read the catalogues while the daemon writes, on either engine and without a right to write."""
import json
import os
import pathlib
import time

from harness import reader
from harness.catalogue import SqliteCatalogues
from harness.daemon import wait_for

MUSIC, PHOTO = "/volume1/music", "/volume1/photo"
READER = pathlib.Path(__file__).with_name("harness") / "reader.py"
SONGS, PICTURES = 600, 150
STOP, OUT = "/tmp/stop", "/tmp/reader"


class State:
    """What all files of the shares are at a time: their size and the time of their last change."""

    def __init__(self, size, when):
        self.size, self.when = size, when

    def told(self):
        return {"size": self.size, "time": time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(self.when))}

    def make(self, daemon, songs=SONGS, pictures=PICTURES):
        files = [f"{MUSIC}/{number % 7}/{number}.pcm" for number in range(songs)]
        files += [f"{PHOTO}/{number % 3}/{number}.jpg" for number in range(pictures)]
        for path in files:
            # Replaced whole, so that the daemon never sees a file that is half changed.
            daemon.write("/volume1/new", b"\1" * self.size)
            os.utime(daemon.box.path("/volume1/new"), (self.when, self.when))
            os.makedirs(os.path.dirname(daemon.box.path(path)), exist_ok=True)
            os.rename(daemon.box.path("/volume1/new"), daemon.box.path(path))


def places_for_a_reader(daemon):
    """The URIs that a program uses which may only read."""
    if isinstance(daemon.catalogue, SqliteCatalogues):
        return daemon.catalogue.places.values()
    server, role = daemon.catalogue.server, f"reader_{time.time_ns()}"
    server.query(f"{server.uri}/postgres", f"create role {role} login password 'reading' in role pg_read_all_data")
    return [uri.replace("velu:secret", f"{role}:reading") for uri in daemon.catalogue.places.values()]


def start_reader(daemon, states):
    """Starts it in the sandbox, as another user where that can be."""
    other = ["setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups"] if os.getuid() == 0 else []
    arguments = ["sh", "-c", 'out=$1; shift; exec >"$out" 2>&1; "$@" &', "sh", OUT, *other, "/usr/bin/python3", "-S", "-c",
                 "import sys; sys.path.append('/usr/lib/python3/dist-packages')\n" + READER.read_text(encoding="utf-8"),
                 STOP, json.dumps([state.told() for state in states]), *places_for_a_reader(daemon)]
    daemon.box.ask("run", arguments=arguments, environment={}, timeout=60)


def test_a_reader_never_sees_an_error_half_a_row_or_a_row_that_has_gone(daemon):
    states = State(1000, 1_000_000_000), State(2000, 1_200_000_000)
    lines = f"A:{MUSIC}", f"A:{PHOTO}"
    states[0].make(daemon, SONGS // 2, PICTURES // 2)
    daemon.index(*lines)
    start_reader(daemon, states)
    for state in (states[0], states[1], states[0]):
        state.make(daemon)
        daemon.index(*lines)
        assert {row["file_size"] for table in reader.COLUMNS for row in daemon.rows(table)} == {state.size}
    daemon.write(STOP)
    told = wait_for(lambda: daemon.read(OUT), "the reader's end")
    found = json.loads(told)
    assert found["problems"] == []
    assert found["seen"] == {"music": SONGS, "photo_image": PICTURES}
    assert found["reads"] > 40

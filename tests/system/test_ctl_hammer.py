# SPDX-License-Identifier: GPL-2.0-or-later
"""Writers that append while the daemon takes the queue over, again and again."""
import os

import pytest

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

WRITERS = 4
TAKE_OVERS = 1000

# Ten seconds of the daemon's sleep pass in two milliseconds: what remains of a run is the work.
HASTE = 5000


def test_four_writers_and_a_thousand_take_overs_lose_and_tear_no_line(make_daemon):
    daemon = make_daemon(speed=HASTE).start()
    folders = [f"/volume1/music/{number}" for number in range(WRITERS)]
    done = daemon.box.ask("hammer", program=daemon.ctl_program, folders=folders, pid=daemon.pid,
                          journal="/tmp/peer.dms", runs=TAKE_OVERS, timeout=300)
    assert done == {"runs": TAKE_OVERS, "statuses": [0] * WRITERS}
    daemon.index("bad line at the end")  # whatever was still in the queue is done before it
    asked = sorted(f"{folder}/{name}" for folder in folders for name in os.listdir(daemon.box.path(folder)))
    # A slow writer now and then comes too late for one.
    assert len(asked) >= TAKE_OVERS * 3 // 4, "most take-overs had something to take"
    assert daemon.paths("music") == asked
    assert daemon.logged("veluindexd.c", "Bad format [bad line at the end].") == 1
    others = [text for text in daemon.log.texts() if "Bad format" in text or "No new line" in text or "rename" in text]
    assert len(others) == 1, "no other line was torn, and the queue was there at every take-over"

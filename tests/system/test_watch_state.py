# SPDX-License-Identifier: GPL-2.0-or-later
"""What the watcher tells of itself in its file under /run, and how few lines it needs for storage that goes."""
import os
import signal

import pytest

from harness.daemon import QUEUE, wait_for
from harness.keeping import MUSIC
from harness.places import mount, unmount
from harness.watcher import Watcher

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

STATE = "/var/run/veluwatchd.state"
OFTEN = ("--check", "0.1")


def state(box):
    """Word -> what the lines with it say."""
    said = {}
    for line in box.lines(STATE):
        word, _, rest = line.partition(" ")
        said.setdefault(word, []).append(rest)
    return said


def says(box, word, *texts):
    wait_for(lambda: state(box).get(word) == list(texts), f"{word} {texts} in {STATE}")


def test_it_tells_what_it_watches_and_takes_the_file_away(box):
    box.mkdir(f"{MUSIC}/a/b")
    watcher = Watcher(box, *OFTEN)
    assert state(box) == {"pid": [str(watcher.pid)], "settle": ["0.2"], "directories": ["5"], "unwatched": ["0"], "overflows": ["0"],
                          "watched": [MUSIC, "/volume1/video", "/volume1/photo"]}
    assert os.stat(box.box.path(STATE)).st_mode & 0o777 == 0o644
    box.mkdir(f"{MUSIC}/c")
    says(box, "directories", "6")
    os.rename(box.box.path("/volume1/video"), box.box.path("/volume1/elsewhere"))
    says(box, "away", "/volume1/video")
    says(box, "watched", MUSIC, "/volume1/photo")
    os.rename(box.box.path("/volume1/elsewhere"), box.box.path("/volume1/video"))
    says(box, "watched", MUSIC, "/volume1/video", "/volume1/photo")
    watcher.stop()
    assert not box.exists(STATE) and not box.exists(STATE + ".new")


def test_it_tells_what_went_wrong_last(box):
    watcher = Watcher(box, *OFTEN)
    box.mkdir(QUEUE)
    box.write(f"{MUSIC}/a.mp3")
    wait_for(lambda: state(box).get("fault", [""])[0].startswith("queue "), "the queue's fault")
    watcher.signal(signal.SIGKILL)
    watcher.wait()
    assert box.exists(STATE)
    os.rmdir(box.box.path(QUEUE))
    watcher = Watcher(box, *OFTEN)
    assert state(box)["pid"] == [str(watcher.pid)] and state(box)["fault"][0].startswith("broken-off ")
    watcher.stop()


def test_an_odd_name_of_a_share_is_one_line(box):
    odd = "/volume1/odd\nname"
    box.mkdir(odd)
    watcher = Watcher(box, odd)
    assert state(box)["watched"] == [r"/volume1/odd\x0Aname"]
    watcher.stop()


@pytest.mark.tracing
@pytest.mark.parametrize("place", [MUSIC, f"{MUSIC}/usb"], ids=["a share", "inside a share"])
def test_storage_that_goes_costs_one_line(placed, place):
    mount(placed, placed.mkdir(place))
    for number in range(30):
        placed.box.ask("run", arguments=["/bin/mkdir", "-p", f"{place}/{number}/deep/er"], environment={}, timeout=9)
    watcher = Watcher(placed, *OFTEN)
    says(placed, "directories", str(3 + 30 * 3 + (place != MUSIC)))
    unmount(placed, place)
    if place == MUSIC:
        says(placed, "away", MUSIC)
    wait_for(lambda: watcher.told("rows are left alone"), "the watcher to notice")
    watcher.settle("/volume1/video")
    says(placed, "directories", str(2 if place == MUSIC else 4))
    assert watcher.told("rows are left alone") == [f"{place} was unmounted: its rows are left alone"]
    watcher.stop()

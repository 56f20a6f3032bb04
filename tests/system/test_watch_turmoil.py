# SPDX-License-Identifier: GPL-2.0-or-later
"""The watcher beside random work on the shares: the catalogue ends as a fresh index of the final tree.

VELU_WATCH_FILES: how many operations (4,000). VELU_WATCH_SEED: their order, which is printed.
"""
import os
import random
import time

import pytest

from harness.turmoil import Turmoil
from harness.watcher import SHARES, Watcher, check_equal

# What is tried lies in front of the store, whatever its engine.
pytestmark = pytest.mark.sqlite

FILES = int(os.environ.get("VELU_WATCH_FILES", "4000"))
SEED = int(os.environ.get("VELU_WATCH_SEED", str(random.randrange(1 << 32))))
# Far more than it takes; the 50,000 need a minute or two.
PATIENCE = 60 + FILES // 100


@pytest.mark.parametrize("rules", ["appliance", "complete"])
def test_the_catalogue_ends_as_a_fresh_index(make_daemon, samples, stream, rules):
    print(f"VELU_WATCH_FILES={FILES} VELU_WATCH_SEED={SEED}")
    daemon = make_daemon()
    daemon.configure(rules=rules)
    daemon.start()
    daemon.index(*(f"A:{share}" for share in SHARES))
    watcher = Watcher(daemon)
    contents = {".mp3": stream[:2000], ".jpg": (samples / "exif.jpg").read_bytes(), ".m3u": b"#EXTM3U\n"}
    begin = time.monotonic()
    Turmoil(daemon.box.root, contents, SEED).work(FILES)
    worked = time.monotonic()
    watcher.settle(timeout=PATIENCE)
    settled = time.monotonic()
    print(f"worked {worked - begin:.1f} s, settled {settled - worked:.1f} s")
    print(watcher.told(""))
    found = check_equal(daemon, PATIENCE)
    assert len(found["music"]) > FILES / 100 and len(found["photo_image"]) > 10, "there was something to compare"
    assert not watcher.told("too many events")
    watcher.stop()

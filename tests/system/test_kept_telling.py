# SPDX-License-Identifier: GPL-2.0-or-later
"""What is told while a catalogue is away: that it is, once, and then a line for each attempt, whatever there is to do. When it is
back, that."""
import re

import pytest

from harness.daemon import KEPT, wait_for
from harness.keeping import MUSIC, PHOTO as PICTURES, write
from harness.store_faults import AWAY, MEDIA, PHOTO, patience_of_tests, store_fault

pytestmark = pytest.mark.tracing

FILES = 300
TRIED = 100  # by the rules `appliance`, each with its lines, when the catalogue is found to be away
ATTEMPTS = 5
OF_STORE = re.compile(r"Failed to open the database|catalogue failed at|Failed to prepare")
# What one attempt may cost: its line, and those of the first row where only a row shows that the catalogue is away.
AN_ATTEMPT = 4


@pytest.mark.parametrize("rules, tried", [("appliance", TRIED), ("complete", 1)])
@pytest.mark.parametrize("line, key, name", [("R:music", MEDIA, f"{MUSIC}/%d/%03d.pcm"), ("R:photo", PHOTO, f"{PICTURES}/%d/%03d.jpg"),
                                             (f"A:{MUSIC}", MEDIA, f"{MUSIC}/%d/%03d.pcm")])
@pytest.mark.parametrize("kind", AWAY[:-1])
def test_a_catalogue_that_is_away_is_told_once_and_not_for_each_file(make_placed, rules, tried, line, key, name, kind):
    daemon = make_placed(speed=200)
    patience_of_tests(daemon, rules=rules)
    daemon.start()
    daemon.index("R:all", "R:photo")
    write(daemon, *(name % (number // 50, number) for number in range(FILES)))
    with store_fault(daemon, kind, key):
        first = daemon.index(line)
        assert len(first) <= 2 * tried + 3 * AN_ATTEMPT
        begin = len(daemon.log.texts())
        wait_for(lambda: sum(map(bool, map(OF_STORE.search, daemon.log.texts()[begin:]))) >= ATTEMPTS, "some attempts")
        again = daemon.log.texts()[begin:]
        attempts = sum(map(bool, map(OF_STORE.search, again)))
        assert len(again) <= AN_ATTEMPT * attempts
    daemon.wait_done()
    which = {MEDIA: "media", PHOTO: "photo"}[key]
    assert daemon.logged("veluindexd.c", f"The {which} catalogue is back. Requests kept in {KEPT}: 0.") == 1
    assert len(daemon.paths("music" if key == MEDIA else "photo_image")) == FILES


@pytest.mark.parametrize("kind", ["stopped", "read-only"])
def test_a_fault_that_lasts_costs_a_line_an_attempt(make_placed, kind):
    daemon = make_placed(speed=200).start()
    daemon.index("R:all")
    write(daemon, *(f"{MUSIC}/{number}.pcm" for number in range(FILES)))
    with store_fault(daemon, kind, MEDIA):
        daemon.index("R:music")
        begin = len(daemon.log.texts())
        wait_for(lambda: len(daemon.log.texts()) >= begin + ATTEMPTS, "some attempts")
        assert all(OF_STORE.search(text) for text in daemon.log.texts()[begin:])
    daemon.wait_done()

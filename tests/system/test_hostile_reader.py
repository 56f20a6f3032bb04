# SPDX-License-Identifier: GPL-2.0-or-later
"""The daemon under the rules `complete`, with a reader that files take over (tests/hostile_reader)."""
import re

import pytest

from harness import readers
from harness.daemon import wait_for

MUSIC = "/volume1/music"

# The clock of the daemon is fast, so that its 90 seconds are soon over.
LIES = ("lie-magic", "lie-status", "lie-content", "lie-picture", "lie-picture-kind", "lie-picture-size", "lie-facts", "lie-one-fact",
        "lie-reason", "lie-entries", "lie-more-entries", "lie-no-entries", "lie-fact-name", "lie-fact-size", "lie-text", "lie-no-picture", "lie-small-picture", "lie-small-picture-cut",
        "lie-small-picture-longer", "lie-no-small-picture", "cut", "longer", "huge", "empty", "hello",
        "of-the-next", "of-the-last", "of-nothing", "hang-up")
ENDS = "abort", "leave", "open-write", "kill-parent", "be-killed"
SILENT = "sleep", "stop"
UNAGREED = "its reader did not keep to what was agreed"


@pytest.fixture
def box(make_daemon, binary, hostile_reader):
    daemon = make_daemon()
    daemon.configure(rules="complete")
    readers.put_beside(daemon, binary, {"velureader": hostile_reader})
    return daemon


def share(box, words):
    """Writes a file of each word among honest ones. Gives their paths by word, and those of the honest."""
    of = {word: box.write(f"{MUSIC}/{number % 4}/of {word}.mp3", f"hostile:{word}") for number, word in enumerate(words)}
    return of, [box.write(f"{MUSIC}/{number % 4}/{number}.mp3", "anything") for number in range(2 * len(words))]


def told(box, first):
    """Of each file, by path, why it could not be read; nothing else is in the log."""
    found = [re.search(r"(\S+/.*\.mp3) cannot be read: (.*)\.$", line) for line in box.log.texts()[first:]]
    assert all(found), box.log.texts()[first:]
    paths = [match[1] for match in found]
    assert len(set(paths)) == len(paths), "told twice"
    return {match[1]: match[2] for match in found}


def expect_rows(box, of, honest):
    assert {row["path"]: row["title"] for row in box.rows("music")} == {
        **{path: f"of {word}" for word, path in of.items()}, **{path: "honest" for path in honest}}
    assert not box.rows("video") and not box.rows("photo") and not box.rows("playlist")
    assert readers.left_behind(box) == []


def test_files_that_take_readers_over_cost_themselves(box):
    of, honest = share(box, LIES + ENDS + SILENT)
    box.start()
    first = len(box.log.lines)
    box.index(f"A:{MUSIC}")
    wait_for(box.idle, "the end of the run")
    reasons = told(box, first)
    expect_rows(box, of, honest)
    assert {word: reasons.pop(of[word]) for word in LIES} == {word: UNAGREED for word in LIES}
    assert {word: reasons.pop(of[word]) for word in SILENT} == {word: "it takes too long" for word in SILENT}
    assert {word: reasons.pop(of[word]).startswith("its reader ended ") for word in ENDS} == {word: True for word in ENDS}
    assert reasons == {}
    # What is theirs is remembered; what the machine may have done is tried again.
    first = len(box.log.lines)
    box.index(f"A:{MUSIC}")
    assert sorted(told(box, first)) == sorted(of[word] for word in SILENT + ("be-killed",))
    expect_rows(box, of, honest)
    # Who has not changed is not tried, until one asks for it.
    first = len(box.log.lines)
    box.index("T:file_state", f"A:{MUSIC}")
    assert sorted(told(box, first)) == sorted(of.values())
    expect_rows(box, of, honest)
    # A file that has become an honest one is.
    box.write(of["cut"], "anything else")
    first = len(box.log.lines)
    box.index("R:music")
    assert of["cut"] not in told(box, first)
    expect_rows(box, {word: path for word, path in of.items() if word != "cut"}, honest + [of["cut"]])
    assert {row["path"]: row["trouble"] for row in box.rows("file_state")}[of["cut"]] == ""


def test_two_answers_give_no_other_file_one(box):
    paths = [box.write(f"{MUSIC}/{number}.mp3", "anything" if number % 3 else "hostile:twice") for number in range(60)]
    box.start()
    first = len(box.log.lines)
    box.index(f"A:{MUSIC}")
    blamed = told(box, first)
    titles = {row["path"]: row["title"] for row in box.rows("music")}
    for number, path in enumerate(paths):
        assert titles[path] == ("honest" if number % 3 else str(number) if path in blamed else "twice")
        assert number % 3 == 0 or path not in blamed
    assert readers.left_behind(box) == []

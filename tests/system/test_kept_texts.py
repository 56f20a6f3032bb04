# SPDX-License-Identifier: GPL-2.0-or-later
"""What people typed about a picture stays when the picture is read again, and what they hand over arrives, whatever fails
in between."""
import errno
import os

import pytest

from harness import photo
from harness.daemon import QUEUE, WORKING_COPY
from harness.photo import attribute_file
from harness.places import COUNT, HOLD, Rule, kill_at, kill_when_held
from harness.store_faults import AWAY, PHOTO as PHOTO_STORE, store_fault

pytestmark = pytest.mark.tracing

PHOTO = "/volume1/photo"
A, B = f"{PHOTO}/Trip/a.jpg", f"{PHOTO}/Trip/b.jpg"
KEPT, TEXTS = f"{QUEUE}.kept", f"{QUEUE}.texts"
READ_AGAIN = [f"a:{A}", f"A:{PHOTO}/Trip", f"A:{A}", "U:photo", "R:photo"]
EMPTY = ["", "\n", "\nmore"]


def add(daemon, *paths):
    for path in paths:
        daemon.write(path, photo.jpeg(3, 2))


def typed(daemon, path=A):
    row = daemon.row("photo_image", path)
    return row and (row["title"], row["description"])


def type_in(daemon, title, description, path=A):
    daemon.store("update photo_image set title = ?, description = ? where path = ?", title, description, path)


def hand_over(daemon, title=None, description=None, path=A):
    for attribute, text in (("TITLE", title), ("DESC", description)):
        if text is not None:
            daemon.write(attribute_file(path, attribute), text)


def handed_over(daemon, path=A):
    """The hand-over files that are still there."""
    return [name for name in ("TITLE", "DESC") if daemon.exists(attribute_file(path, name))]


def run_until_kept(daemon, *lines):
    daemon.index(*lines)
    assert daemon.exists(KEPT) and not daemon.exists(WORKING_COPY)


@pytest.fixture
def library(placed):
    add(placed, A, B)
    placed.index(f"A:{PHOTO}/Trip")
    assert typed(placed) == ("a", "")
    return placed


# --- in the row


@pytest.mark.parametrize("line", READ_AGAIN)
def test_a_picture_that_is_read_again_keeps_what_was_typed(library, line):
    """Its mode has changed, which is what a watcher tells of."""
    type_in(library, "Holiday", "A day\nat the lake")
    os.chmod(library.box.path(A), 0o600)
    library.index(line)
    assert typed(library) == ("Holiday", "A day\nat the lake")
    assert typed(library, B) == ("b", "")


def test_one_typed_text_stays_without_the_other(library):
    type_in(library, "Holiday", "")
    type_in(library, "b", "the lake", B)
    for line in READ_AGAIN:
        library.index(line, f"a:{B}")
        assert typed(library) == ("Holiday", "") and typed(library, B) == ("b", "the lake"), line


def test_what_the_file_tells_is_read_anew_all_the_same(library):
    type_in(library, "Holiday", "the lake")
    library.write(A, photo.jpeg(30, 20))
    library.index(f"a:{A}")
    row = library.row("photo_image", A)
    assert (row["width"], row["title"], row["description"]) == (30, "Holiday", "the lake")


@pytest.mark.parametrize("line", READ_AGAIN)
def test_an_empty_hand_over_brings_the_default_back(library, line):
    for empty in EMPTY:
        type_in(library, "Holiday", "the lake")
        hand_over(library, empty, empty)
        library.index(line)
        assert typed(library) == ("a", "") and handed_over(library) == [], repr(empty)


def test_an_empty_hand_over_of_one_text_leaves_the_other(library):
    type_in(library, "Holiday", "the lake")
    hand_over(library, title="\n")
    library.index(f"a:{A}")
    assert typed(library) == ("a", "the lake")
    type_in(library, "Holiday", "the lake")
    hand_over(library, description="\n")
    library.index(f"a:{A}")
    assert typed(library) == ("Holiday", "")


def test_a_hand_over_takes_the_place_of_what_was_typed(library):
    type_in(library, "Holiday", "the lake")
    hand_over(library, "Journey", "the sea")
    library.index(f"a:{A}")
    assert typed(library) == ("Journey", "the sea")
    library.index(f"a:{A}")
    assert typed(library) == ("Journey", "the sea")


def move(daemon, old, new):
    os.makedirs(os.path.dirname(daemon.box.path(new)), exist_ok=True)
    os.rename(daemon.box.path(old), daemon.box.path(new))


def test_a_rename_turns_a_default_title_into_that_of_the_new_name(library):
    move(library, A, f"{PHOTO}/Trip/beach.v2.jpg")
    library.index(f"N:{PHOTO}/Trip/beach.v2.jpg:{A}")
    assert typed(library, f"{PHOTO}/Trip/beach.v2.jpg") == ("beach.v2", "")
    library.index("R:photo")
    assert typed(library, f"{PHOTO}/Trip/beach.v2.jpg") == ("beach.v2", "")


def test_a_rename_keeps_what_was_typed(library):
    type_in(library, "Holiday", "the lake")
    move(library, A, f"{PHOTO}/Trip/beach.jpg")
    library.index(f"N:{PHOTO}/Trip/beach.jpg:{A}", "R:photo")
    assert typed(library, f"{PHOTO}/Trip/beach.jpg") == ("Holiday", "the lake")


def test_a_directorys_rename_keeps_default_and_typed_titles(library):
    type_in(library, "Holiday", "the lake")
    move(library, f"{PHOTO}/Trip", f"{PHOTO}/New")
    library.index(f"N:{PHOTO}/New:{PHOTO}/Trip", "R:photo")
    assert typed(library, f"{PHOTO}/New/a.jpg") == ("Holiday", "the lake")
    assert typed(library, f"{PHOTO}/New/b.jpg") == ("b", "")


def test_a_title_that_is_cut_to_its_place_is_a_default_still(library):
    """Names of any length and of any bytes: the default is known again as it was stored."""
    for old, new in ((f"{'n' * 250}.jpg", "short.jpg"), ("caf\xe9.jpg", "tea.jpg"), ("  blanks .jpg", "none.jpg"),
                     ("a.b.c.jpg", "d.jpg"), ("it's.jpg", "its.jpg")):
        add(library, f"{PHOTO}/Trip/{old}".encode("latin-1"))
        library.index(f"a:{PHOTO}/Trip/{old}")
        os.rename(library.box.path(f"{PHOTO}/Trip/{old}".encode("latin-1")), library.box.path(f"{PHOTO}/Trip/{new}"))
        library.index(f"N:{PHOTO}/Trip/{new}:{PHOTO}/Trip/{old}")
        assert typed(library, f"{PHOTO}/Trip/{new}") == (new.removesuffix(".jpg"), ""), old


def test_an_album_keeps_what_belongs_to_it(library):
    library.store("update photo_share set title = 'typed', description = 'more', hits = 7, public = ?", True)
    library.store("insert into photo_access_right select 5, shareid, 'then' from photo_share")
    before = library.rows("photo_share"), library.rows("photo_access_right")
    for line in (*READ_AGAIN, "R:all", "R:photo"):
        library.index(line)
        assert (library.rows("photo_share"), library.rows("photo_access_right")) == before, line


# --- what is handed over and does not arrive at once


@pytest.mark.parametrize("kind", AWAY)
def test_a_text_arrives_though_the_store_was_away(library, kind):
    for line in READ_AGAIN:
        hand_over(library, f"Journey {line}", "the sea")
        with store_fault(library, kind, PHOTO_STORE):
            library.index(line)
        library.wait_done()
        assert typed(library) == (f"Journey {line}", "the sea") and handed_over(library) == []
        library.index(line)
        assert typed(library) == (f"Journey {line}", "the sea")
        assert not library.exists(TEXTS) or not library.read(TEXTS), "nothing is left in the spool"


def test_a_text_for_a_picture_that_cannot_be_looked_at_waits_for_it(library):
    """Nothing keeps its request: the disk is at fault, and no store."""
    for call, first in (("stat", 1), ("stat", 2), ("stat", 3)):
        hand_over(library, f"Journey {first}")
        with library.places.failing(Rule(call, A, errno.EIO, first)):
            library.index("U:photo")
        library.index("U:photo")
        assert typed(library)[0] == f"Journey {first}"


def test_a_file_that_is_handed_over_is_gone_once_it_is_read(library):
    """As it always was; the spool has its text then."""
    hand_over(library, "Journey\n", "the sea\n")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
        assert handed_over(library) == [] and os.path.getsize(library.box.path(TEXTS)) > 0
        assert os.stat(library.box.path(TEXTS)).st_mode & 0o077 == 0
    library.wait_done()
    assert not library.exists(TEXTS) or not library.read(TEXTS)


@pytest.mark.parametrize("restart", ["stop", "kill"])
def test_a_text_arrives_after_a_restart(library, restart):
    hand_over(library, "Journey", "the sea")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
        getattr(library, restart)()
        library.start()
    library.wait_done()
    assert typed(library) == ("Journey", "the sea")


def test_an_empty_text_arrives_too(library):
    type_in(library, "Holiday", "the lake")
    hand_over(library, "\n", "")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
    library.wait_done()
    assert typed(library) == ("a", "")


def test_the_newer_of_two_texts_arrives(library):
    hand_over(library, "Journey", "the sea")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
        hand_over(library, title="Voyage")
    library.index(f"a:{A}")
    library.wait_done()
    assert typed(library) == ("Voyage", "the sea")


def test_a_text_that_was_delivered_is_not_delivered_again(library):
    """What is typed after it stays."""
    hand_over(library, "Journey")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
    library.wait_done()
    type_in(library, "Holiday", "")
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
    library.wait_done()
    assert typed(library) == ("Holiday", "")


def test_a_text_in_the_spool_is_for_its_own_picture_and_attribute(library):
    type_in(library, "Holiday", "the lake", B)
    hand_over(library, title="Journey", path=B)
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{B}", f"a:{A}")
    library.wait_done()
    assert typed(library, B) == ("Journey", "the lake") and typed(library) == ("a", "")


@pytest.mark.parametrize("what", ["file", "folder"])
def test_a_text_follows_a_rename(library, what):
    hand_over(library, "Journey", "the sea")
    old, new = (A, f"{PHOTO}/Trip/beach.jpg") if what == "file" else (f"{PHOTO}/Trip", f"{PHOTO}/New")
    path = new if what == "file" else f"{new}/a.jpg"
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}")
        move(library, old, new)
        library.index(f"N:{new}:{old}")
    library.wait_done()
    assert typed(library, path) == ("Journey", "the sea")


def test_a_text_of_a_first_line_arrives_for_a_new_picture(placed):
    add(placed, A)
    hand_over(placed, "Journey")
    placed.index("U:photo")
    placed.store("delete from photo_image")
    hand_over(placed, "Voyage")
    with store_fault(placed, "locked", PHOTO_STORE):
        run_until_kept(placed, f"A:{PHOTO}/Trip")
    placed.wait_done()
    assert typed(placed) == ("Voyage", "")


def test_texts_of_any_bytes_arrive(library):
    """As they would have if nothing had failed."""
    text = ("\xff\x01\t'" + "x" * 400 + "\n").encode("latin-1")
    old = A
    for name in ("it's", "100%", "caf\xe9", "back\\slash", "tab\there", "\xff\xfe", "a b"):
        path = f"{PHOTO}/Trip/{name}.jpg"
        os.rename(library.box.path(old.encode("latin-1")), library.box.path(path.encode("latin-1")))
        old = path
        write_bytes(library, attribute_file(path, "TITLE"), text)
        library.index(f"a:{path}")
        expected = typed(library, path)
        library.store("delete from photo_image")
        write_bytes(library, attribute_file(path, "TITLE"), text)
        with store_fault(library, "stopped", PHOTO_STORE):
            run_until_kept(library, f"a:{path}")
        library.wait_done()
        assert typed(library, path) == expected and expected[0] != name


def write_bytes(daemon, path, text):
    place = daemon.box.path(path.encode("latin-1"))
    os.makedirs(os.path.dirname(place), exist_ok=True)
    with open(place, "wb") as file:
        file.write(text)


def test_a_spool_that_cannot_be_written_leaves_the_file_where_it_is(library):
    """Or has its text arrive; it is never lost."""
    for code in (errno.ENOSPC, errno.EROFS, errno.EIO):
        for call in ("open", "write", "sync"):
            hand_over(library, f"Journey {code} {call}")
            with store_fault(library, "locked", PHOTO_STORE), library.places.failing(Rule(call, f"{TEXTS}*", code)):
                library.index(f"a:{A}")
            library.wait_done()
            library.index(f"a:{A}")
            assert typed(library)[0] == f"Journey {code} {call}"


def test_killed_at_every_step_of_a_hand_over(library):
    """Between the reading, the copy, the removal and the row."""
    with library.places.failing(Rule("step", "*", COUNT)):
        hand_over(library, "counted")
        library.index(f"a:{A}")
        steps = library.places.seen()
    assert steps > 10
    for step in range(1, steps + 1, max(1, steps // 40)):
        hand_over(library, f"step {step}")
        kill_at(library, step, f"a:{A}")
        library.index(f"a:{A}")
        library.wait_done()
        assert typed(library) == (f"step {step}", ""), f"killed at step {step} of {steps}"


def test_killed_when_a_text_is_taken_away(library):
    for attribute in ("TITLE", "DESC"):
        hand_over(library, f"Journey {attribute}", f"the sea {attribute}")
        library.places.set(Rule("unlink", f"*VELUPHOTO:{attribute}", HOLD))
        library.queue(f"a:{A}")
        library.signal()
        library.places.wait_held()
        kill_when_held(library)
        library.start()
        library.wait_done()
        assert typed(library) == (f"Journey {attribute}", f"the sea {attribute}")


def test_a_spool_that_is_damaged_costs_the_damaged_text_alone(library):
    hand_over(library, "first", path=A)
    hand_over(library, "second", path=B)
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}", f"a:{B}")
        spool = library.read(TEXTS)
        library.write(TEXTS, spool + spool[:len(spool) // 4])
    library.wait_done()
    assert typed(library) == ("first", "") and typed(library, B) == ("second", "")
    hand_over(library, "third", path=A)
    hand_over(library, "fourth", path=B)
    with store_fault(library, "stopped", PHOTO_STORE):
        run_until_kept(library, f"a:{A}", f"a:{B}")
        spool = bytearray(library.read(TEXTS))
        spool[spool.index(b"third")] ^= 0xFF
        library.write(TEXTS, bytes(spool))
    library.wait_done()
    assert typed(library, B) == ("fourth", "")

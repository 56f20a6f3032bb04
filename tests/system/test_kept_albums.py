# SPDX-License-Identifier: GPL-2.0-or-later
"""Albums and pictures whose request breaks off half-way: done again, it finds all that the first attempt has left undone."""
import os

import pytest

from harness.daemon import QUEUE, WORKING_COPY
from harness.photo import albums, jpeg, pictures
from harness.places import COUNT, Rule, kill_at
from harness.store_faults import MEDIA, PHOTO as PHOTO_STORE, store_fault

pytestmark = pytest.mark.tracing

PHOTO = "/volume1/photo"
KEPT = f"{QUEUE}.kept"
SUBS = ("2007", "2008", "2009")
USERS = [5, 6]
KILLS = 60


def write(daemon, *names):
    for name in names:
        daemon.write(f"{PHOTO}/{name}", jpeg(3, 2))


def move(daemon, old, new):
    os.rename(daemon.box.path(f"{PHOTO}/{old}"), daemon.box.path(f"{PHOTO}/{new}"))


def typed_albums(daemon):
    """The numbers and titles of albums, by their names."""
    return {row["sharename"]: (row["shareid"], row["title"]) for row in daemon.rows("photo_share")}


def rights(daemon, album):
    number = typed_albums(daemon)[album][0]
    return sorted(row["userid"] for row in daemon.rows("photo_access_right") if row["shareid"] == number)


def done(daemon):
    return not any(map(daemon.exists, (QUEUE, WORKING_COPY, KEPT)))


@pytest.fixture
def library(placed):
    """A running daemon with an album that two users may see, and one in it."""
    write(placed, "Trips/0.jpg", *(f"Trips/{sub}/1.jpg" for sub in SUBS))
    placed.index("R:all", "R:photo")
    placed.store("update photo_share set title = 'typed ' || substr(sharename, 7), public = ?", False)
    for user in USERS:
        placed.store("insert into photo_access_right select ?, shareid, 'then' from photo_share where sharename = 'Trips'",
                     user)
    return placed


def steps_of(daemon, work):
    """At how manyeth of its calls a daemon is to be killed that works: some of all, and how many those are."""
    with daemon.places.failing(Rule("step", "*", COUNT)):
        work()
        steps = daemon.places.seen()
    assert steps > 10
    return range(1, steps + 1, max(1, steps // KILLS))


def test_killed_at_every_step_of_an_albums_rename(library):
    """No album in it loses its number, on which its rights hang, or what was typed."""
    before = {name[len("Trips"):]: value for name, value in typed_albums(library).items()}
    assert len(before) == 1 + len(SUBS)
    names = ["Trips", "Travel"]

    def rename():
        names.reverse()
        move(library, names[1], names[0])
        return f"N:{PHOTO}/{names[0]}:{PHOTO}/{names[1]}"

    for step in steps_of(library, lambda: library.index(rename())):
        kill_at(library, step, rename())
        library.wait_done()
        assert typed_albums(library) == {names[0] + name: value for name, value in before.items()}, f"killed at step {step}"


def test_killed_at_every_step_of_a_new_album_in_another(library):
    """It is there with the rights of its album, or not at all: nobody sees it who must not, and everybody who may."""
    number = 0

    def add():
        nonlocal number
        number += 1
        write(library, f"Trips/new {number}/1.jpg")
        return f"A:{PHOTO}/Trips/new {number}"

    library.configure(albumdefpublic="yes")
    for step in steps_of(library, lambda: library.index(add())):
        kill_at(library, step, add())
        library.wait_done()
        album = f"Trips/new {number}"
        assert albums(library)[album] == ("f", "t"), f"killed at step {step}"
        assert rights(library, album) == USERS, f"killed at step {step}"


def test_a_chain_of_album_renames_that_is_kept_loses_no_album(library):
    """Also where the names between look like those of files."""
    before = typed_albums(library)
    with store_fault(library, "stopped", PHOTO_STORE):
        for old, new in (("Trips", "2009.05"), ("2009.05", "Travel")):
            move(library, old, new)
            library.index(f"N:{PHOTO}/{new}:{PHOTO}/{old}")
    library.wait_done()
    assert typed_albums(library) == {name.replace("Trips", "Travel"): value for name, value in before.items()}
    assert rights(library, "Travel") == USERS
    assert pictures(library) == sorted(["Travel/0.jpg", *(f"Travel/{sub}/1.jpg" for sub in SUBS)])
    assert library.paths("photo") == library.paths("photo_image")
    assert not [path for path in library.paths("directory") if "Trips" in path or "2009.05" in path]


def test_what_is_new_in_a_directory_whose_rename_is_kept_gets_its_row(library):
    with store_fault(library, "stopped", PHOTO_STORE):
        write(library, "Trips/new.jpg", "Trips/2010/1.jpg")
        library.index(f"a:{PHOTO}/Trips/new.jpg", f"A:{PHOTO}/Trips/2010")
        move(library, "Trips", "Travel")
        library.index(f"N:{PHOTO}/Travel:{PHOTO}/Trips")
        assert not done(library)
    library.wait_done()
    assert pictures(library) == sorted(["Travel/0.jpg", "Travel/new.jpg", *(f"Travel/{sub}/1.jpg" for sub in (*SUBS, "2010"))])
    assert set(albums(library)) == {"Travel", *(f"Travel/{sub}" for sub in (*SUBS, "2010"))}


def test_a_picture_gets_both_its_rows_though_one_was_lost_at_the_commit(library):
    new = [f"{PHOTO}/Trips/{number}.jpg" for number in range(1, 6)]
    write(library, *(path.removeprefix(f"{PHOTO}/") for path in new))
    with store_fault(library, "commit", MEDIA):
        library.index("R:photo")
        assert set(new) & set(library.paths("photo_image")) - set(library.paths("photo")), "some have one row only"
        assert not done(library)
    library.wait_done()
    assert library.paths("photo") == library.paths("photo_image")

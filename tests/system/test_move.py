# SPDX-License-Identifier: GPL-2.0-or-later
"""velumovedb: a catalogue goes from one engine to the other and back, row by row."""
import os

import pytest

from harness.catalogue import SqliteCatalogues, everything, snapshot

pytestmark = pytest.mark.postgresql

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
CATALOGUES = {"media": "mediadb", "photo": "photodb"}
HOSTILE = (b"\xff\xfe.pcm", b"caf\xe9.pcm", b"it's 100%_\\.pcm", b"\"$1\".pcm", b"new\nline.pcm", b" \x01 .pcm",
           "\u65e5\u672c.pcm".encode())


@pytest.fixture
def move(binary):
    """Runs velumovedb in a daemon's sandbox."""
    program = binary.with_name("velumovedb")
    assert program.is_file(), f"{program} is not built"

    def run(daemon, *arguments):
        return daemon.box.ask("run", arguments=[str(program), *arguments], environment={}, timeout=60)
    return run


@pytest.fixture
def move_all(move):
    """Moves both catalogues of a daemon, and checks what is printed."""
    def run(daemon, source, target):
        for name, key in CATALOGUES.items():
            done = move(daemon, name, source.places[key], target.places[key])
            assert (done["status"], done["err"]) == (0, ""), done
            for line in done["out"].splitlines():
                table, rows = line.removesuffix(" rows").split(": ")
                assert int(rows) == source.count(table)
    return run


@pytest.fixture
def files(daemon):
    """The catalogues of a daemon whose keys name files."""
    catalogues = SqliteCatalogues(daemon.box)
    daemon.configure(**catalogues.places)
    return catalogues


def library(daemon, samples):
    """Indexes some of everything, and names of any bytes."""
    for name in sorted(os.listdir(samples)):
        for share in (MUSIC, VIDEO, PHOTO):
            daemon.copy(samples / name, f"{share}/Trips/{name}")
    for name in HOSTILE:
        with open(daemon.box.path(f"{MUSIC}/Trips/".encode() + name), "wb") as file:
            file.write(b"x")
    daemon.index(f"A:{MUSIC}", f"A:{VIDEO}", f"A:{PHOTO}", f"a:{PHOTO}/Trips", "U:photo")


def other_programs_rows(files):
    """What the daemon does not write itself: missing values, doubled rows, gaps in the keys, more than one portion."""
    files.store("insert into video_comment (id, path, name, comment, date) "
                "with recursive n (i) as (select 1 union all select i + 1 from n where i < 1600) "
                "select 3 * i, case when i % 5 then ? || i % 7 end, null, '\\', case when i % 3 then '' end from n",
                ("/p'\xe9\u65e5/",))
    for number, flag in enumerate(("t", "f", None)):
        files.store("insert into photo_share (shareid, sharename, title, public, hits, is_subdir) values "
                    "(?, ?, ?, ?, ?, ?)", (900 + number, f"share {number}", None, flag, number or None, flag))
    for _ in range(2):
        files.store("insert into photo_access_right values (?, ?, ?)", (7, 900, None))
    files.store("delete from photo_image where id = 2", ())


def moved(source, target):
    """The rows of `source`, which must be those of `target`, each with its key."""
    rows = everything(source)
    for table, expected in rows.items():
        assert everything(target)[table] == expected, table
    assert source.versions() == target.versions()
    assert all(source.versions())
    return rows


def test_there_and_back_each_row_is_the_same(daemon, files, samples, move_all):
    library(daemon, samples)
    other_programs_rows(files)
    before = everything(files)
    move_all(daemon, files, daemon.catalogue)
    rows = moved(files, daemon.catalogue)
    assert rows == before
    assert all(rows.values()), "each table has rows"
    assert len(rows["music"]) > len(HOSTILE) + 10
    back = SqliteCatalogues(daemon.box, "/tmp/back")
    move_all(daemon, daemon.catalogue, back)
    assert moved(daemon.catalogue, back) == before


@pytest.mark.parametrize("to_server", [True, False])
def test_the_daemon_goes_on_with_what_was_moved(daemon, files, samples, move_all, to_server):
    stay, go = files, daemon.catalogue
    if not to_server:
        daemon.configure()
        stay, go = go, stay
    library(daemon, samples)
    before = everything(stay)
    move_all(daemon, stay, go)
    more = f"{PHOTO}/Trips/more.jpg"
    daemon.copy(samples / "exif.jpg", more)
    lines = (f"a:{more}", f"a:{PHOTO}/Trips/picture.png", f"A:{MUSIC}")
    daemon.index(*lines)
    untouched = everything(go)
    assert untouched == before
    daemon.configure(**go.places)
    daemon.index(*lines)
    assert snapshot(stay) == snapshot(go)
    assert more in [row["path"] for row in go.rows("photo_image")]
    ids = {row["path"]: row["id"] for row in go.rows("photo_image")}
    assert len(set(ids.values())) == len(ids)
    assert {row["path"]: row["id"] for row in before["photo_image"]} == {
        path: number for path, number in ids.items() if path != more}


def nothing_moved(done, *words):
    assert done["status"] == 1
    assert done["out"] == ""
    assert done["err"].endswith("velumovedb: failed; FROM is as it was\n")
    for word in words:
        assert word in done["err"], done["err"]


def test_a_database_with_rows_is_left_alone(daemon, files, move):
    daemon.write(f"{MUSIC}/x.pcm")
    daemon.index(f"a:{MUSIC}/x.pcm")
    daemon.configure()
    daemon.write(f"{VIDEO}/y.pcm")
    daemon.index(f"a:{VIDEO}/y.pcm", f"A:{VIDEO}")
    before = everything(files), everything(daemon.catalogue)
    for source, target in ((files, daemon.catalogue), (daemon.catalogue, files)):
        nothing_moved(move(daemon, "media", source.places["mediadb"], target.places["mediadb"]),
                      "the table has rows already")
    assert (everything(files), everything(daemon.catalogue)) == before


def test_a_row_that_has_no_place_in_the_target_keeps_all_the_others_where_they_are(daemon, files, move):
    daemon.write(f"{PHOTO}/x.jpg", b"x")
    daemon.index(f"A:{PHOTO}")
    files.store("insert into video_desc (path, title) values (?, ?)", ("/a", "b"))
    files.store("insert into photo_share (shareid, hits) values (1, ?)", ("many",))
    nothing_moved(move(daemon, "photo", files.places["photodb"], daemon.catalogue.places["photodb"]),
                  "[photo_share: 1]", "invalid input syntax for type integer")
    assert not any(snapshot(daemon.catalogue).values())
    files.store("update photo_share set hits = 1", ())
    assert move(daemon, "photo", files.places["photodb"], daemon.catalogue.places["photodb"])["status"] == 0


def test_what_is_no_catalogue_is_told(daemon, files, move):
    server = daemon.catalogue.places["mediadb"]
    daemon.catalogue.forget()
    nothing_moved(move(daemon, "media", "/tmp/none.db", server), "/tmp/none.db: No such file or directory")
    assert not daemon.exists("/tmp/none.db")
    nothing_moved(move(daemon, "media", server, "/tmp/new.db"), "schema_version")
    nothing_moved(move(daemon, "media", server.replace("secret", "mistaken"), "/tmp/new.db"), "password")
    nothing_moved(move(daemon, "media", "mysql://x/y", server), 'no database is known as "mysql"')
    assert not daemon.exists("/tmp/new.db")
    daemon.write(f"{MUSIC}/x.pcm")
    daemon.index(f"a:{MUSIC}/x.pcm")
    nothing_moved(move(daemon, "photo", files.places["mediadb"], server), "photo_image")
    nothing_moved(move(daemon, "media", files.places["mediadb"], files.places["mediadb"]), "the same")
    assert not any(daemon.catalogue.versions())
    for arguments in ((), ("media",), ("media", "/a"), ("music", "/a", "/b"), ("media", "/a", "/b", "/c")):
        done = move(daemon, *arguments)
        assert done["status"] == 2
        assert done["err"].startswith("usage: velumovedb media|photo FROM TO\n")

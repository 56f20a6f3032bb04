# SPDX-License-Identifier: GPL-2.0-or-later
"""An administrator has divided the largest table of a server into partitions: facts are as they were, and follow their files."""
import pytest

from harness.short_songs import song

pytestmark = pytest.mark.postgresql

MUSIC = "/volume1/music"
SONGS, PARTS = 40, 4
DIVIDED = ["alter table file_fact rename to file_fact_whole",
           "create table file_fact (like file_fact_whole including all) partition by hash (file)",
           *(f"create table file_fact_{part} partition of file_fact for values with (modulus {PARTS}, remainder {part})" for part in range(PARTS)),
           "insert into file_fact select * from file_fact_whole"]


def content(number):
    return song(artist=f"Artist {number % 4}", albumartist=f"Band {number % 4}", album=f"Album {number % 10}", title=f"Title {number}")


@pytest.fixture(name="box")
def _box(make_daemon):
    box = make_daemon()
    box.configure(rules="complete")
    for number in range(SONGS):
        box.write(f"{MUSIC}/{number % 5}/{number}.mp3", content(number))
    return box.start()


def ask(box, sql):
    return box.catalogue.server.query(box.catalogue.keys["mediadb"], sql)


def divide(box):
    view = ask(box, "select pg_get_viewdef('fact') as text")[0]["text"]
    for sql in ["drop view fact", *DIVIDED, "drop table file_fact_whole", f"create view fact as {view}"]:
        ask(box, sql)


def facts(box):
    """By the file's name; a path changes."""
    return sorted((row["path"].rsplit("/", 1)[1], row["name"], row["position"], row["value"]) for row in ask(box, "select * from fact"))


def test_facts_in_partitions(box):
    box.index(f"A:{MUSIC}")
    before = facts(box)
    assert len({name for name, *_ in before}) == SONGS
    divide(box)
    assert facts(box) == before
    box.box.ask("run", arguments=["/bin/mv", f"{MUSIC}/0", f"{MUSIC}/0 b"], environment={}, timeout=60)
    box.index(f"N:{MUSIC}/0 b:{MUSIC}/0", "R:all")
    assert facts(box) == before
    box.write(f"{MUSIC}/1/1.mp3", content(1001))
    box.write(f"{MUSIC}/1/new.mp3", content(7))
    box.remove(f"{MUSIC}/2/2.mp3")
    box.index(f"a:{MUSIC}/1/1.mp3", f"a:{MUSIC}/1/new.mp3", f"d:{MUSIC}/2/2.mp3")
    kept = [fact for fact in facts(box) if fact[0] not in ("1.mp3", "new.mp3")]
    assert kept == [fact for fact in before if fact[0] not in ("1.mp3", "2.mp3")]
    assert {row["path"] for row in box.ctl_json("find", "albumartist=Band 3")} >= {f"{MUSIC}/1/new.mp3", f"{MUSIC}/3/3.mp3"}
    assert all(row["count"] for row in ask(box, "select tableoid, count(*) as count from file_fact group by 1"))
    assert box.ctl_json("check") == []

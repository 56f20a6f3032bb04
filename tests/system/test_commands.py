# SPDX-License-Identifier: GPL-2.0-or-later
"""The eight commands of the queue."""
import os

import pytest

MUSIC, VIDEO, PHOTO = "/volume1/music", "/volume1/video", "/volume1/photo"
EXISTS = "Dir or File exists (%s). Skip remove it from database."


@pytest.fixture
def shares(daemon):
    """A running daemon with one file in each share, catalogued."""
    for path in (f"{MUSIC}/a.pcm", f"{VIDEO}/b.srt", f"{PHOTO}/c.png"):
        daemon.write(path)
    daemon.index(f"A:{MUSIC}", f"A:{VIDEO}", f"A:{PHOTO}")
    assert daemon.media_paths() == [f"{MUSIC}/a.pcm", f"{PHOTO}/c.png", f"{VIDEO}/b.srt"]
    return daemon


# --- A and a


def test_add_tree(daemon):
    daemon.write(f"{MUSIC}/a.pcm")
    daemon.write(f"{MUSIC}/album/b.pcm")
    daemon.index(f"A:{MUSIC}/album")
    assert daemon.paths("music") == [f"{MUSIC}/album/b.pcm"]
    assert daemon.paths("directory") == [f"{MUSIC}/album"]


def test_add_tree_of_a_single_file(daemon):
    daemon.write(f"{MUSIC}/a.pcm")
    daemon.index(f"A:{MUSIC}/a.pcm")
    assert daemon.paths("music") == [f"{MUSIC}/a.pcm"]
    assert daemon.paths("directory") == []


def test_add_tree_that_does_not_exist(daemon):
    daemon.index(f"A:{MUSIC}/none")
    assert daemon.media_paths() == [] and daemon.paths("directory") == []


def test_add_file(daemon):
    daemon.write(f"{MUSIC}/a.pcm", "12345")
    daemon.index(f"a:{MUSIC}/a.pcm")
    assert daemon.row("music", f"{MUSIC}/a.pcm")["file_size"] == 5


def test_add_file_again_refreshes_its_row(daemon):
    path = daemon.write(f"{MUSIC}/a.pcm", "12345")
    daemon.index(f"a:{path}")
    daemon.write(path, "1234567")
    daemon.index(f"a:{path}")
    assert [row["file_size"] for row in daemon.rows("music")] == [7]


def test_add_file_on_a_directory_records_the_directory_alone(daemon):
    daemon.write(f"{MUSIC}/album/a.pcm")
    daemon.index(f"a:{MUSIC}/album")
    assert daemon.paths("directory") == [f"{MUSIC}/album"]
    assert daemon.media_paths() == []


@pytest.mark.parametrize("command", ["a", "A"])
def test_a_photo_share_file_that_cannot_be_read_goes_to_the_converter(daemon, samples, command):
    path = f"{PHOTO}/broken %s.avi"
    daemon.copy(samples / "broken.avi", path)
    daemon.index(f"{command}:{path}")
    assert daemon.converter_calls() == [f"-f {path}"]
    assert daemon.paths("video") == [path]


@pytest.mark.parametrize("command", ["a", "A"])
def test_no_converter_without_the_photo_library(make_daemon, samples, command):
    daemon = make_daemon(photo=False)
    daemon.copy(samples / "broken.avi", f"{PHOTO}/broken.avi")
    daemon.start()
    daemon.index(f"{command}:{PHOTO}/broken.avi")
    assert daemon.converter_calls() == []
    assert daemon.paths("video") == [f"{PHOTO}/broken.avi"]


@pytest.mark.parametrize("folder, photo_share",
                         [("photo", True), ("PHOTO", True), ("Photo/2009", True), ("photos", False), ("music", False),
                          ("music/photo", False)])
def test_what_counts_as_the_photo_share(daemon, samples, folder, photo_share):
    path = f"/volume1/{folder}/broken.avi"
    daemon.copy(samples / "broken.avi", path)
    daemon.index(f"a:{path}")
    assert daemon.converter_calls() == ([f"-f {path}"] if photo_share else [])


# --- D and d


@pytest.mark.parametrize("command, path", [("D", MUSIC), ("D", f"{MUSIC}/a.pcm"), ("d", f"{MUSIC}/a.pcm"), ("d", MUSIC)])
def test_remove_of_what_still_exists_does_nothing(shares, command, path):
    kept = shares.snapshot()
    shares.index(f"{command}:{path}")
    assert shares.logged("veluindexd.c", EXISTS % path) == 1
    assert shares.snapshot() == kept


def test_remove_tree_takes_everything_below_and_no_sibling(daemon):
    inside = [f"{MUSIC}/album/a.pcm", f"{MUSIC}/album/deep/b.srt", f"{MUSIC}/album/c.m3u", f"{MUSIC}/album/d.png"]
    beside = [f"{MUSIC}/album 2/a.pcm", f"{MUSIC}/albu/a.pcm", f"{MUSIC}/album.pcm", f"{MUSIC}/album%/a.pcm"]
    for path in inside + beside:
        daemon.write(path)
    daemon.index(f"A:{MUSIC}")
    assert daemon.media_paths() == sorted(inside + beside)
    os.rename(daemon.box.path(f"{MUSIC}/album"), daemon.box.path("/tmp/gone"))
    daemon.index(f"D:{MUSIC}/album")
    assert daemon.media_paths() == sorted(beside)
    assert daemon.paths("directory") == sorted([MUSIC, f"{MUSIC}/album 2", f"{MUSIC}/albu", f"{MUSIC}/album%"])


@pytest.mark.parametrize("name, table",
                         [("a.pcm", "music"), ("a.mp3", "music"), ("a.wav", "music"), ("a.srt", "video"),
                          ("a.avi", "video"), ("a.dat", "video"), ("a.png", "photo"), ("a.m3u", "playlist")])
def test_remove_file(daemon, name, table):
    path = daemon.write(f"{MUSIC}/{name}", "not what it seems")
    daemon.index(f"a:{path}")
    assert daemon.paths(table) == [path]
    daemon.remove(path)
    daemon.index(f"d:{path}")
    assert daemon.media_paths() == []


def test_remove_file_does_not_take_what_lies_below(shares):
    os.rename(shares.box.path(MUSIC), shares.box.path("/tmp/gone"))
    shares.index(f"d:{MUSIC}")
    assert shares.paths("music") == [f"{MUSIC}/a.pcm"]


# --- N


def test_rename_file(shares):
    os.rename(shares.box.path(f"{MUSIC}/a.pcm"), shares.box.path(f"{MUSIC}/z.pcm"))
    shares.index(f"N:{MUSIC}/z.pcm:{MUSIC}/a.pcm")
    assert shares.paths("music") == [f"{MUSIC}/z.pcm"]
    assert shares.row("music", f"{MUSIC}/z.pcm")["title"] == "z"


def test_rename_file_into_another_kind(shares):
    os.rename(shares.box.path(f"{MUSIC}/a.pcm"), shares.box.path(f"{MUSIC}/a.srt"))
    shares.index(f"N:{MUSIC}/a.srt:{MUSIC}/a.pcm")
    assert shares.paths("music") == [] and f"{MUSIC}/a.srt" in shares.paths("video")


def test_rename_directory(daemon):
    daemon.write(f"{MUSIC}/old/deep/a.pcm")
    daemon.write(f"{MUSIC}/older/b.pcm")
    daemon.index(f"A:{MUSIC}")
    os.rename(daemon.box.path(f"{MUSIC}/old"), daemon.box.path(f"{MUSIC}/new"))
    daemon.index(f"N:{MUSIC}/new:{MUSIC}/old")
    assert daemon.paths("music") == [f"{MUSIC}/new/deep/a.pcm", f"{MUSIC}/older/b.pcm"]
    assert daemon.paths("directory") == [MUSIC, f"{MUSIC}/new", f"{MUSIC}/new/deep", f"{MUSIC}/older"]


def test_rename_ignores_a_third_path(shares):
    shares.write(f"{MUSIC}/third.pcm")
    os.rename(shares.box.path(f"{MUSIC}/a.pcm"), shares.box.path(f"{MUSIC}/z.pcm"))
    shares.index(f"N:{MUSIC}/z.pcm:{MUSIC}/a.pcm:{MUSIC}/third.pcm")
    assert shares.paths("music") == [f"{MUSIC}/z.pcm"]


def test_rename_takes_runs_of_colons_as_one(shares):
    os.rename(shares.box.path(f"{MUSIC}/a.pcm"), shares.box.path(f"{MUSIC}/z.pcm"))
    shares.index(f"N::{MUSIC}/z.pcm:::{MUSIC}/a.pcm")
    assert shares.paths("music") == [f"{MUSIC}/z.pcm"]


def test_rename_keeps_the_row_of_an_old_file_that_is_still_there(shares):
    shares.write(f"{MUSIC}/z.pcm")
    lines = shares.index(f"N:{MUSIC}/z.pcm:{MUSIC}/a.pcm")
    assert shares.paths("music") == [f"{MUSIC}/a.pcm", f"{MUSIC}/z.pcm"]
    assert any(line.endswith(" File exists. Skip remove it from database.") for line in lines)


# --- R, T, U


@pytest.mark.parametrize("word, renewed",
                         [("music", {MUSIC}), ("video", {VIDEO}), ("all", {MUSIC, VIDEO, PHOTO}),
                          ("", {MUSIC, VIDEO, PHOTO}), ("Music", {MUSIC, VIDEO, PHOTO})])
def test_reindex_renews_the_shares_that_the_word_names(shares, word, renewed):
    for share in (MUSIC, VIDEO, PHOTO):
        shares.write(f"{share}/new.pcm")
        for name in ("a.pcm", "b.srt", "c.png"):
            if shares.exists(f"{share}/{name}"):
                shares.remove(f"{share}/{name}")
    shares.index(f"R:{word}")
    old = {MUSIC: "a.pcm", VIDEO: "b.srt", PHOTO: "c.png"}
    assert shares.media_paths() == sorted(
        f"{share}/{'new.pcm' if share in renewed else name}" for share, name in old.items())


def test_reindex_of_a_share_that_lies_elsewhere(shares):
    shares.write("/volume1/other place/x.pcm")
    shares.remove("/var/services/music")
    os.symlink("/volume1/other place", shares.box.path("/var/services/music"))
    shares.index("R:music")
    assert shares.paths("music") == [f"{MUSIC}/a.pcm", "/volume1/other place/x.pcm"]


def test_reindex_without_the_share_link_keeps_the_catalogue(shares):
    kept = shares.snapshot()
    shares.remove("/var/services/music")
    shares.mkdir("/var/services/music")
    shares.index("R:music")
    assert shares.snapshot() == kept


def test_reindex_of_the_photo_library_adds_only_new_pictures_to_the_media_catalogue(shares):
    kept = {table: shares.rows(table) for table in ("music", "video", "photo", "playlist", "directory")}
    shares.write(f"{PHOTO}/new.png")
    shares.index("R:photo")
    now = {table: shares.rows(table) for table in kept}
    new = [row for row in now["photo"] if row["path"] == f"{PHOTO}/new.png"]
    assert len(new) == 1
    now["photo"].remove(new[0])
    assert now == kept


@pytest.mark.parametrize("table", ["music", "video", "photo", "playlist", "directory"])
def test_truncate_empties_one_table(shares, table):
    shares.write(f"{MUSIC}/l.m3u")
    shares.index(f"A:{MUSIC}")
    kept = shares.snapshot()
    assert kept[table]
    shares.index(f"T:{table}")
    assert shares.snapshot() == kept | {table: []}


@pytest.mark.parametrize("name", ["sqlite_master", "schema_version", "music;drop table video", "nothing", '"music"'])
def test_truncate_of_any_other_table_is_refused(shares, name):
    kept = shares.snapshot()
    assert shares.index(f"T:{name}"), "a refusal is logged"
    assert shares.snapshot() == kept


def test_update_of_the_photo_share_leaves_the_media_catalogue_alone(shares):
    kept = {table: shares.rows(table) for table in ("music", "video", "photo", "playlist", "directory")}
    shares.write(f"{PHOTO}/new.png")
    shares.index("U:photo")
    assert {table: shares.rows(table) for table in kept} == kept
    assert shares.peer_signals("mt-daapd") == ["SIGHUP"], "of the first run alone"


def test_update_without_the_photo_link_is_logged(shares):
    shares.remove("/var/services/photo")
    shares.mkdir("/var/services/photo")
    shares.index("U:photo")
    assert shares.logged("veluindexd.c", "Failed to read link of /var/services/photo") == 1


@pytest.mark.parametrize("word", ["music", "", "Photo", "photos"])
def test_update_of_anything_else_does_nothing(shares, word):
    kept = shares.snapshot()
    shares.remove("/var/services/photo")
    assert shares.index(f"U:{word}") == []
    assert shares.snapshot() == kept

# SPDX-License-Identifier: GPL-2.0-or-later
"""The records of real files: names, folders, sizes, times, and what happens when a file cannot be read."""
import os
import time

import pytest

from harness.log import LOG_NOTICE

MUSIC = "/volume1/music"
UNREADABLE = "Failed to parse media metadata of file [%s]."
TEXT_LIMIT = 254


def index_one(daemon, table, path):
    daemon.index(f"a:{path}")
    return daemon.row(table, path)


@pytest.mark.parametrize("name, table", [("x.pcm", "music"), ("x.srt", "video"), ("x.m3u", "playlist"), ("x.png", "photo"),
                                         ("x.avi", "video"), ("x.mp3", "music"), ("x.wma", "music"), ("x.dat", "video")])
def test_title_and_album_come_from_the_path(daemon, name, table):
    path = daemon.write(f"{MUSIC}/Some Artist/The Album/{name}", "0123456789")
    row = index_one(daemon, table, path)
    assert (row["title"], row["album"], row["file_size"]) == ("x", "The Album", 10)


@pytest.mark.parametrize("name, title", [("one.two.pcm", "one.two"), ("a.b.c.d.pcm", "a.b.c.d"), (".pcm", ""), ("..pcm", ".")])
def test_the_title_loses_the_last_extension_alone(daemon, name, title):
    assert index_one(daemon, "music", daemon.write(f"{MUSIC}/{name}"))["title"] == title


def test_a_title_is_cut_to_its_field(daemon):
    # Names on disk end at 255 bytes, so the directory's name shows the same bound for the album.
    path = daemon.write(f"{MUSIC}/{'f' * 255}/{'t' * 251}.pcm")
    row = index_one(daemon, "music", path)
    assert row["title"] == "t" * 251
    assert row["album"] == "f" * TEXT_LIMIT


def test_a_character_that_the_cut_halves_goes(daemon):
    path = daemon.write(b"/volume1/music/" + b"x" + "\u00e9".encode() * 127 + b"/a.pcm")
    daemon.index(b"a:/volume1/music/" + b"x" + "\u00e9".encode() * 127 + b"/a.pcm")
    row = daemon.row("music", path.decode("latin-1"))
    assert row["album"].encode("latin-1").decode("utf-8") == "x" + "\u00e9" * 126


def test_latin_1_names_become_utf_8_titles(daemon):
    daemon.write(b"/volume1/music/caf\xe9.pcm")
    daemon.index(b"a:/volume1/music/caf\xe9.pcm")
    assert daemon.rows("music")[0]["title"].encode("latin-1").decode("utf-8") == "caf\u00e9"


@pytest.mark.parametrize("name, table, form", [("x.pcm", "music", "%Y-%m-%d %H:%M:%S"), ("x.srt", "video", "%Y-%m-%d %H:%M:%S"),
                                               ("x.png", "photo", "%Y-%m-%d %H:%M:%S")])
def test_the_times_are_local_time_as_text(daemon, name, table, form):
    path = daemon.write(f"{MUSIC}/{name}")
    os.utime(daemon.box.path(path), (1236413350, 1236413350))
    row = index_one(daemon, table, path)
    changed = os.stat(daemon.box.path(path)).st_ctime
    assert row["modify_time"] == "2009-03-07 08:09:10"
    assert row["create_time"] == time.strftime(form, time.gmtime(int(changed)))


def test_the_times_of_a_playlist_are_in_the_form_of_ctime(daemon):
    path = daemon.write(f"{MUSIC}/x.m3u", "a.mp3\n")
    os.utime(daemon.box.path(path), (1236413350, 1236413350))
    row = index_one(daemon, "playlist", path)
    assert row["modify_time"].strip() == "Sat Mar  7 08:09:10 2009"
    assert row["file_size"] == 6


@pytest.mark.parametrize("name", ["x.m3u", "x.wpl"])
def test_a_playlist_that_is_a_directory_or_a_pipe_is_not_indexed(daemon, name):
    daemon.mkdir(f"{MUSIC}/folder.m3u")
    os.mkfifo(daemon.box.path(f"{MUSIC}/{name}"))
    assert daemon.index(f"a:{MUSIC}/{name}", f"a:{MUSIC}/folder.m3u") == []
    assert daemon.media_paths() == []


def test_files_without_a_reader_are_saved_without_a_word(daemon):
    for name in ("a.pcm", "a.srt", "a.iso", "a.m3u"):
        daemon.write(f"{MUSIC}/{name}", "anything")
    assert daemon.index(f"A:{MUSIC}") == []
    assert len(daemon.media_paths()) == 4


@pytest.mark.parametrize("sample, table, reader",
                         [("broken.mp3", "music", "Failed to parse music metadata."),
                          ("broken.wma", "music", "Failed to parse music metadata from file [%s]."),
                          ("broken.avi", "video", "Failed to parse media metadata from file [%s]."),
                          ("broken.dat", "video", "Failed to parse dat metadata.")])
def test_a_file_that_cannot_be_read_is_saved_and_reported(daemon, samples, sample, table, reader):
    path = f"{MUSIC}/100%s {sample}"
    daemon.copy(samples / f"broken.{'mp3' if sample.endswith('mp3') else 'avi'}", path)
    row = index_one(daemon, table, path)
    assert row["title"] == path.rsplit("/", 1)[1].rsplit(".", 1)[0]
    assert row["album"] == "music" and row["file_size"] == 176
    assert daemon.logged(None, reader.replace("[%s]", f"[{path}]")) == 1
    assert daemon.logged("index.c", UNREADABLE % path) == 1
    notices = [line.text for line in daemon.log.lines if line.severity == LOG_NOTICE]
    assert len(notices) == 1 and "0x11B00510" in notices[0] and path in notices[0]


def test_an_mp3_file_without_tags_gets_its_names_from_the_path(daemon, samples):
    daemon.copy(samples / "plain.mp3", f"{MUSIC}/The Album/A Song.mp3")
    row = index_one(daemon, "music", f"{MUSIC}/The Album/A Song.mp3")
    assert (row["title"], row["album"]) == ("A Song", "The Album")
    assert row["file_size"] == (samples / "plain.mp3").stat().st_size


@pytest.mark.parametrize("sample, width, height", [("picture.jpg", 120, 80), ("picture.png", 90, 60), ("picture.gif", 50, 40),
                                                   ("picture.bmp", 30, 20), ("picture.tif", 40, 30), ("exif.jpg", 200, 100)])
def test_pictures_get_their_size(daemon, samples, sample, width, height):
    daemon.copy(samples / sample, f"{MUSIC}/{sample}")
    row = index_one(daemon, "photo", f"{MUSIC}/{sample}")
    assert (row["width"], row["height"]) == (width, height)
    assert row["file_size"] == (samples / sample).stat().st_size


def test_a_picture_that_cannot_be_read_is_saved_without_a_size(daemon, samples):
    daemon.copy(samples / "broken.jpg", f"{MUSIC}/broken.jpg")
    row = index_one(daemon, "photo", f"{MUSIC}/broken.jpg")
    assert (row["title"], row["width"], row["height"]) == ("broken", 0, 0)


def test_real_files_of_every_family_are_catalogued(daemon, samples):
    kinds = {"music": "plain.mp3 tagged.mp3 tagged.flac tone.m4a tone.aac tone.ogg tone.wma tone.mp2 tone.ac3 tone.aiff "
                      "tone.pcm tone.wav",
             "photo": "picture.jpg picture.png exif.jpg", "playlist": "list.m3u"}
    films = "clip.avi clip.mpg"
    for name in " ".join([*kinds.values(), films]).split():
        daemon.copy(samples / name, f"{MUSIC}/{name}")
    daemon.index(f"A:{MUSIC}")
    for table, names in {**kinds, "video": films}.items():
        assert daemon.paths(table) == sorted(f"{MUSIC}/{name}" for name in names.split())
        for row in daemon.rows(table):
            assert row["file_size"] == (samples / os.path.basename(row["path"])).stat().st_size

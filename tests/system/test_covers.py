# SPDX-License-Identifier: GPL-2.0-or-later
"""Cover pictures of music files: which are stored, byte for byte, whose they are, and when they go."""
import os
import stat

import mutagen.mp4
import pytest

from harness import media

MUSIC, COVERS = "/volume1/music", "/var/lib/velu/covers"
JPEG, PNG = mutagen.mp4.MP4Cover.FORMAT_JPEG, mutagen.mp4.MP4Cover.FORMAT_PNG
JPEG_HEAD, PNG_HEAD = b"\xff\xd8\xff\xe0", b"\x89PNG\r\n\x1a\n"
OWNER, GROUP = 1234, 567


def stored(daemon):
    """The covers: contents by name, less the folders, which have no meaning."""
    found = {}
    for folder, _, names in os.walk(daemon.box.path(COVERS)):
        for name in names:
            assert name not in found
            with open(os.path.join(folder, name), "rb") as file:
                found[name] = file.read()
    return found


def cover_path(daemon, name):
    return next(os.path.join(folder, name) for folder, _, names in os.walk(daemon.box.path(COVERS)) if name in names)


def song(daemon, samples, *covers, name="a.m4a"):
    """A song with pictures, of (bytes, kind), in the music share. Gives its path."""
    path = f"{MUSIC}/{name}"
    daemon.copy(samples / "tone.m4a", path)
    file = mutagen.mp4.MP4(daemon.box.path(path))
    file["covr"] = [mutagen.mp4.MP4Cover(content, kind) for content, kind in covers]
    file.save()
    return path


@pytest.fixture
def large(tmp_path):
    """Real pictures that take many reads, by kind."""
    found = {}
    for kind in ("jpg", "png"):
        media.picture(str(tmp_path / f"large.{kind}"), 500, 400, "-quality", "95")
        found[kind] = (tmp_path / f"large.{kind}").read_bytes()
        assert len(found[kind]) > 1 << 16
    return found


@pytest.mark.parametrize("kind, code, name", [("jpg", JPEG, "3_1.jpg"), ("png", PNG, "3_1.png"), ("jpg", 0, "3_1.jpg"),
                                              ("png", 0, "3_1.png")])
def test_the_picture_of_an_mp4_file_is_stored_as_it_is(daemon, samples, large, kind, code, name):
    path = song(daemon, samples, (large[kind], code))
    os.chown(daemon.box.path(path), OWNER, GROUP)
    assert daemon.index(f"a:{path}") == []
    assert stored(daemon) == {name: large[kind]}
    assert daemon.row("music", path)["has_cover"] == 1
    status = os.stat(cover_path(daemon, name))
    assert stat.S_IMODE(status.st_mode) == 0o777
    assert (status.st_uid, status.st_gid) == (OWNER, GROUP)


@pytest.mark.parametrize("content, code, name", [(JPEG_HEAD + b"123456", JPEG, "3_1.jpg"),
                                                 (JPEG_HEAD + b"12345", JPEG, None),
                                                 (PNG_HEAD, PNG, "3_1.png"), (PNG_HEAD[:7], PNG, None)])
def test_a_picture_shorter_than_its_head_is_left_out_without_a_word(daemon, samples, content, code, name):
    path = song(daemon, samples, (content, code))
    assert daemon.index(f"a:{path}") == []
    assert stored(daemon) == ({name: content} if name else {})
    assert daemon.row("music", path)["has_cover"] == (1 if name else 0)


def test_a_picture_of_another_kind_is_refused(daemon, samples):
    path = song(daemon, samples, (b"GIF89a" + bytes(40), 12))
    daemon.index(f"a:{path}")
    assert daemon.logged("mp4.c", f"Wrong file type 12 of cover art of {path}.") == 1
    assert stored(daemon) == {} and daemon.row("music", path)["has_cover"] == 0


def test_the_first_of_several_pictures_is_stored(daemon, samples, large):
    daemon.index(f"a:{song(daemon, samples, (large['png'], PNG), (large['jpg'], JPEG))}")
    assert stored(daemon) == {"3_1.png": large["png"]}


def test_a_new_picture_takes_the_place_of_the_old_and_goes_with_the_file(daemon, samples, large):
    daemon.index(f"a:{song(daemon, samples, (large['png'], PNG))}")
    path = song(daemon, samples, (large["jpg"], JPEG))
    daemon.index(f"a:{path}")
    assert stored(daemon) == {"3_1.jpg": large["jpg"]}
    daemon.copy(samples / "tone.m4a", path)
    daemon.index(f"a:{path}")
    assert stored(daemon) == {} and daemon.row("music", path)["has_cover"] == 0


def test_the_cover_of_a_file_that_has_gone_is_removed(daemon, samples, large):
    path = song(daemon, samples, (large["jpg"], JPEG))
    daemon.index(f"a:{path}")
    daemon.remove(path)
    daemon.index(f"d:{path}")
    assert stored(daemon) == {} and daemon.rows("music") == []


def test_the_picture_of_an_mp3_file_is_stored_as_it_is(daemon, samples):
    daemon.copy(samples / "tagged.mp3", f"{MUSIC}/a.mp3")
    daemon.index(f"a:{MUSIC}/a.mp3")
    # The encoder calls the picture "other", which is the first of the kinds.
    assert stored(daemon) == {"0_1.jpg": (samples / "cover.jpg").read_bytes()}
    assert daemon.rows("music")[0]["has_cover"] == 1


def test_pictures_of_flac_files_and_films_are_not_stored(daemon, samples, large, tmp_path):
    (tmp_path / "cover.jpg").write_bytes(large["jpg"])
    media.flac(daemon.box.path(f"{MUSIC}/a.flac"), samples / "tone.wav", cover=tmp_path / "cover.jpg")
    assert large["jpg"] in daemon.read(f"{MUSIC}/a.flac")
    daemon.copy(daemon.box.path(song(daemon, samples, (large["jpg"], JPEG), name="b.m4a")), f"{MUSIC}/c.mp4")
    daemon.remove(f"{MUSIC}/b.m4a")
    assert daemon.index(f"A:{MUSIC}") == []
    assert daemon.paths("music") == [f"{MUSIC}/a.flac"] and daemon.paths("video") == [f"{MUSIC}/c.mp4"]
    assert stored(daemon) == {}


def test_a_cover_folder_that_cannot_be_written_loses_the_cover_alone(box, samples, large):
    box.configure(coverdir="/dev/null/covers")
    path = song(box.start(), samples, (large["jpg"], JPEG))
    assert box.index(f"a:{path}"), "it is logged"
    assert box.row("music", path)["has_cover"] == 0 and box.row("music", path)["title"] == "Third Song"

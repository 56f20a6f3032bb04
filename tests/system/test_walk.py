# SPDX-License-Identifier: GPL-2.0-or-later
"""Path rules and the tree walk: which files are taken, by which indexer, and which are passed over."""
import os

import pytest

MUSIC = "/volume1/music"

# Families that save a file of garbage too, by the table that they save it in.
ANY_CONTENT = {
    "music": "mp1 mp2 mpa wma wav ogg ac3 ram ra pcm ape mp3",
    "video": "avi mpg mpeg dat asf wmv vob mov rm rmvb mp4 divx xvid flv mkv ts m2ts m2t mts m4v 3gp 3g2 qt swf dvr-ms "
             "iso ifo srt ass ssa idx sub smi psb trp tp",
    "photo": "jpg jpeg jpe bmp gif ico png psd tif tiff ufo",
    "playlist": "m3u wpl",
}
# Families that are given a real file here.
REAL_CONTENT = {"m4a": "tone.m4a", "m4p": "tone.m4a", "m4b": "tone.m4a", "aac": "tone.aac", "flac": "tagged.flac",
                "aiff": "tone.aiff", "aif": "tone.aiff"}
NOT_INDEXED = ["txt", "mp", "mp33", "mp3~", "jpg.part", "db", "m3u8", "html"]


@pytest.mark.parametrize("change", [str.lower, str.upper])
def test_the_extension_decides_the_table_and_its_case_does_not_matter(box, samples, change):
    expected = {table: [] for table in ANY_CONTENT}
    for table, extensions in ANY_CONTENT.items():
        for extension in extensions.split():
            expected[table].append(box.write(f"{MUSIC}/x.{change(extension)}", "no media file"))
    for extension, sample in REAL_CONTENT.items():
        path = f"{MUSIC}/x.{change(extension)}"
        box.copy(samples / sample, path)
        expected["music"].append(path)
    assert sum(len(paths) for paths in expected.values()) == 68
    for extension in NOT_INDEXED:
        box.write(f"{MUSIC}/x.{extension}")
    box.write(f"{MUSIC}/no extension")
    box.start()
    box.index(f"A:{MUSIC}")
    assert {table: box.paths(table) for table in expected} == \
        {table: sorted(paths) for table, paths in expected.items()}

    for paths in expected.values():
        for path in paths:
            box.remove(path)
    box.index(*[f"d:{path}" for paths in expected.values() for path in paths])
    assert box.media_paths() == []


@pytest.mark.parametrize("name", ["x.txt", "x", "._x.pcm", "._x"])
def test_a_file_that_is_not_indexed_is_passed_over_silently(daemon, name):
    daemon.write(f"{MUSIC}/{name}")
    assert daemon.index(f"a:{MUSIC}/{name}", f"A:{MUSIC}/{name}") == []
    assert daemon.media_paths() == []


def test_resource_forks_are_passed_over_in_a_walk(daemon):
    daemon.write(f"{MUSIC}/._a.pcm")
    daemon.write(f"{MUSIC}/.a.pcm")
    daemon.write(f"{MUSIC}/a._b.pcm")
    assert daemon.index(f"A:{MUSIC}") == []
    assert daemon.paths("music") == [f"{MUSIC}/.a.pcm", f"{MUSIC}/a._b.pcm"]


def test_the_recycle_bin_of_a_share_is_passed_over_and_one_deeper_is_walked(daemon):
    daemon.write(f"{MUSIC}/#recycle/a.pcm")
    daemon.write(f"{MUSIC}/#recycle/deep/a.pcm")
    daemon.write(f"{MUSIC}/#recycled/a.pcm")
    daemon.write(f"{MUSIC}/#recycle.old/a.pcm")
    daemon.write(f"{MUSIC}/album/#recycle/a.pcm")
    daemon.index(f"A:{MUSIC}", f"A:{MUSIC}/#recycle", f"A:{MUSIC}/#recycle/deep")
    walked = [f"{MUSIC}/#recycle.old", f"{MUSIC}/#recycled", f"{MUSIC}/album/#recycle"]
    assert daemon.paths("music") == [f"{folder}/a.pcm" for folder in walked]
    assert daemon.paths("directory") == sorted([MUSIC, f"{MUSIC}/album", *walked])


def test_attribute_folders_are_passed_over_at_every_level(daemon):
    daemon.write(f"{MUSIC}/@eaDir/a.pcm")
    daemon.write(f"{MUSIC}/album/@eaDir/b.pcm")
    daemon.write(f"{MUSIC}/album/x@eaDir/c.pcm")
    daemon.index(f"A:{MUSIC}")
    assert daemon.paths("music") == [f"{MUSIC}/album/x@eaDir/c.pcm"]
    assert f"{MUSIC}/@eaDir" not in daemon.paths("directory")


def test_a_picture_in_an_attribute_folder_has_no_row_even_when_it_is_named(daemon, samples):
    daemon.copy(samples / "picture.png", f"{MUSIC}/@eaDir/a.png")
    daemon.index(f"a:{MUSIC}/@eaDir/a.png")
    assert daemon.media_paths() == []


def test_every_directory_is_recorded_with_its_name(daemon):
    daemon.mkdir(f"{MUSIC}/empty")
    daemon.mkdir(f"{MUSIC}/a/b.c")
    daemon.index(f"A:{MUSIC}")
    assert {row["path"]: row["title"] for row in daemon.rows("directory")} == {
        MUSIC: "music", f"{MUSIC}/empty": "empty", f"{MUSIC}/a": "a", f"{MUSIC}/a/b.c": "b.c"}


def test_a_directory_that_cannot_be_opened_is_logged(daemon):
    daemon.index(f"A:{MUSIC}/none")
    assert daemon.logged("index.c", f"Failed to open directory {MUSIC}/none ") == 1


def test_a_named_pipe_a_socket_or_a_dangling_link_does_not_hold_the_walk_up(daemon):
    daemon.write(f"{MUSIC}/a.pcm")
    for name in ("pipe.pcm", "pipe.mp3", "pipe.avi", "pipe.m3u", "pipe.jpg"):
        os.mkfifo(daemon.box.path(f"{MUSIC}/{name}"))
    os.symlink("/nowhere", daemon.box.path(f"{MUSIC}/dangling.pcm"))
    daemon.index(f"A:{MUSIC}", f"a:{MUSIC}/pipe.mp3")
    assert daemon.media_paths() == [f"{MUSIC}/a.pcm"]


# --- links


def test_a_link_to_a_directory_is_followed(daemon):
    daemon.write("/volume1/elsewhere/a.pcm")
    os.symlink("/volume1/elsewhere", daemon.box.path(f"{MUSIC}/link"))
    daemon.index(f"A:{MUSIC}")
    assert daemon.paths("music") == [f"{MUSIC}/link/a.pcm"]


@pytest.mark.parametrize("target", [".", "..", "../..", MUSIC, "/volume1"])
def test_a_link_to_an_ancestor_is_not_followed(daemon, target):
    daemon.write(f"{MUSIC}/album/deep/a.pcm")
    os.symlink(target, daemon.box.path(f"{MUSIC}/album/deep/loop"))
    daemon.index("A:/volume1")
    assert daemon.paths("music") == [f"{MUSIC}/album/deep/a.pcm"]


def test_two_directories_that_link_to_each_other(daemon):
    daemon.write(f"{MUSIC}/a/1.pcm")
    daemon.write(f"{MUSIC}/b/2.pcm")
    os.symlink("../b", daemon.box.path(f"{MUSIC}/a/link"))
    os.symlink("../a", daemon.box.path(f"{MUSIC}/b/link"))
    daemon.index(f"A:{MUSIC}")
    assert daemon.paths("music") == [f"{MUSIC}/a/1.pcm", f"{MUSIC}/a/link/2.pcm", f"{MUSIC}/b/2.pcm",
                                     f"{MUSIC}/b/link/1.pcm"]


def test_a_link_to_itself(daemon):
    os.symlink("self", daemon.box.path(f"{MUSIC}/self"))
    os.symlink("self.pcm", daemon.box.path(f"{MUSIC}/self.pcm"))
    daemon.write(f"{MUSIC}/z.pcm")
    daemon.index(f"A:{MUSIC}")
    assert daemon.paths("music") == [f"{MUSIC}/z.pcm"]


# --- names of any bytes

NAMES = [b"plain", b"two words", b"quote ' quote", b'double "', b"semi;colon", b"100%", b"%s%n%x%d", b"back\\slash",
         b"under_score", b"x'); drop table music;--", b"\xff\xfe\x80", b"caf\xc3\xa9", b"caf\xe9", b"\xf0\x9f\x8e\xb5",
         b"new\nline", b"tab\tbed", b"\x01\x1b[31m", b"-rf", b"$(touch x)", b"`touch x`", b"* ? [a]", b" ",
         b"#hash", b"@at", b"~", b"a:b:c", b"dot.dot..", b"\xed\xa0\x80", b"\r"]


@pytest.mark.parametrize("extension", [b"pcm", b"avi", b"m3u", b"png"])
def test_names_of_any_bytes_are_kept_byte_by_byte(daemon, extension):
    folder = b"/volume1/music/any"
    names = [name + b"." + extension for name in NAMES] + [b"sub " + name + b"/x." + extension for name in NAMES]
    for name in names:
        daemon.write(folder + b"/" + name, b"content")
    daemon.index("A:/volume1/music/any")
    assert daemon.media_paths() == sorted((folder + b"/" + name).decode("latin-1") for name in names)
    for table in ("music", "video", "photo", "playlist", "directory"):
        for row in daemon.rows(table):
            row["title"].encode("latin-1").decode("utf-8")

    kept = daemon.media_paths()
    gone = [name for name in names if b"\n" not in name]
    for name in gone:
        daemon.remove(folder + b"/" + name)
    daemon.index(*[b"d:" + folder + b"/" + name for name in gone])
    left = [path for path in kept if "\n" in path]
    assert daemon.media_paths() == left and len(left) == 2
    os.rename(daemon.box.path(folder), daemon.box.path(b"/tmp/any"))
    daemon.index("D:/volume1/music/any")
    assert daemon.media_paths() == [] and daemon.rows("directory") == []


def test_a_directory_of_any_bytes_is_removed_without_its_siblings(daemon):
    for name in (b"a%", b"a_", b"ab", b"a\\", b"a'", b"a\xff"):
        daemon.write(b"/volume1/music/" + name + b"/x.pcm")
    daemon.index("A:/volume1/music")
    for name in (b"a%", b"a_", b"a\\", b"a'", b"a\xff"):
        os.rename(daemon.box.path(b"/volume1/music/" + name), daemon.box.path(b"/tmp/" + name))
        daemon.index(b"D:/volume1/music/" + name)
    assert daemon.paths("music") == ["/volume1/music/ab/x.pcm"]

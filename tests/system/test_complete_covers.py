# SPDX-License-Identifier: GPL-2.0-or-later
"""Covers of directories under the rules `complete`, of songs that their readers know and of what is left of damaged ones."""
from harness.known import COVERS, covers_below, place_of
from test_complete_facts import again, box  # noqa: F401  (box is a fixture)

MUSIC = "/volume1/music"
FOLDER = f"{MUSIC}/An Album"
PICTURE = f"{FOLDER}/folder.jpg"
HEAD = b"\xff\xd8\xff\xe0"
ASF_HEADER_SIZE = 30


def cover_of(box, song):  # noqa: F811
    """The bytes of its cover, of which its row is to know; None without."""
    has_cover, = (row["has_cover"] for row in box.rows("music") if row["path"] == song)
    covers = [path for path in covers_below(box) if place_of(song) in path]
    assert len(covers) == has_cover
    return box.read(f"{COVERS}/{place_of(song)}/{covers[0].rpartition('/')[2]}") if covers else None


def damage(box, song):  # noqa: F811
    """Leaves what it is, and nothing of what it says."""
    content = box.read(song)
    box.write(song, content[:ASF_HEADER_SIZE] + bytes(len(content) - ASF_HEADER_SIZE))


def test_of_directories_follow_damaged_songs_too(box, sounds, tmp_path):  # noqa: F811
    songs = [box.copy(sounds.copy("wma", tmp_path), f"{FOLDER}/{name}.wma") for name in ("damaged", "whole")]
    box.write(PICTURE, HEAD + b"first")
    again(box, f"A:{MUSIC}")
    assert [cover_of(box, song) for song in songs] == [HEAD + b"first"] * 2
    damage(box, songs[0])
    again(box, f"a:{songs[0]}")
    assert box.rows("file_state")[0]["trouble"] and [cover_of(box, song) for song in songs] == [HEAD + b"first"] * 2
    for picture in (b"another", b"one more"):
        box.write(PICTURE, HEAD + picture)
        again(box, f"a:{PICTURE}")
        assert [cover_of(box, song) for song in songs] == [HEAD + picture] * 2
    box.remove(PICTURE)
    again(box, f"d:{PICTURE}")
    assert [cover_of(box, song) for song in songs] == [None] * 2
    box.write(PICTURE, HEAD + b"the last")
    again(box, f"A:{MUSIC}")
    assert [cover_of(box, song) for song in songs] == [HEAD + b"the last"] * 2

# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of sound finds in tags, beside what mutagen reads of the same file."""
import pytest
from harness import sound_tags
from harness.sounds import ENCODERS, dump

PNG = b"\x89PNG\r\n\x1a\n" + bytes(range(256)) * 5


def assert_same(path, found, expected):
    assert found["status"] == "read"
    differences = [(fact, mine, theirs) for fact, mine, theirs, alike in sound_tags.compare(expected, found)
                   if not alike and not sound_tags.reason(path.name, fact, mine, theirs)]
    assert not differences


@pytest.mark.parametrize("kind", [kind for kind in ENCODERS])
def test_every_fact_in_every_format(sounds, tmp_path, kind):
    path = sounds.copy(kind, tmp_path)
    sound_tags.write(path)
    expected = sound_tags.read(path)
    assert expected.keys() == {*sound_tags.FACTS, "year"}, "mutagen reads all that it has written"
    assert_same(path, dump(kind, path), expected)


@pytest.mark.parametrize("encoding", [0, 1, 2, 3])
@pytest.mark.parametrize("version", [3, 4])
def test_id3_versions_and_encodings(sounds, tmp_path, version, encoding):
    path = sounds.copy("mp3", tmp_path)
    sound_tags.write(path, encoding, v2_version=version, v23_sep="/" if version == 3 else None)
    assert_same(path, dump("mp3", path), sound_tags.read(path))


@pytest.mark.parametrize("kind", [kind for kind in ENCODERS])
def test_the_front_cover_comes_first(sounds, tmp_path, kind):
    path = sounds.copy(kind, tmp_path)
    front = PNG + b"front"
    sound_tags.picture_add(path, [(4, PNG + b"back"), (3, front)])
    assert dump(kind, path, picture=tmp_path / "cover")["picture"] == len(front)
    assert (tmp_path / "cover").read_bytes() == front


def test_no_picture_is_made_of_what_is_none(sounds, tmp_path):
    path = sounds.copy("mp3", tmp_path)
    sound_tags.picture_add(path, [(3, b"no picture at all")])
    assert dump("mp3", path)["picture"] == 0

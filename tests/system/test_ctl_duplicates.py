# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl duplicates: files with the same bytes, and songs that are one recording."""
import csv
import io
import os

import pytest
from harness import id3, media, short_songs

DONE, FOUND, USAGE, UNREACHABLE = 0, 1, 2, 6
MUSIC, PHOTO = "/volume1/music", "/volume1/photo"


def song(title, artist, seconds, padding=0):
    """A song; with padding, one of another size and the same length."""
    return short_songs.song(4, id3.UTF_8, short_songs.FRAMES_OF_A_SECOND * seconds, title=title, artist=artist, composer="x" * padding)


@pytest.fixture
def library(box):
    box.configure(rules="complete")
    files = {f"{MUSIC}/a/one.mp3": song("One", "Nina", 3), f"{MUSIC}/b/eins.mp3": song("One", "Nina", 3),
             f"{MUSIC}/b/ONE louder.mp3": song("ONE", "nina", 4, padding=500), f"{MUSIC}/b/one live.mp3": song("One", "Nina", 20),
             f"{MUSIC}/a/two.mp3": song("Two", "Nina", 3), f"{MUSIC}/a/untold.mp3": song("", "", 3), f"{MUSIC}/b/untold.mp3": song("", "", 3, padding=9),
             f"{PHOTO}/1.jpg": b"\xff\xd8" + b"j" * 300_000, f"{PHOTO}/2.jpg": b"\xff\xd8" + b"j" * 150_000 + b"k" + b"j" * 149_999,
             f"{PHOTO}/empty.jpg": b"", f"{PHOTO}/empty too.jpg": b""}
    for path, content in files.items():
        box.write(path, content)
    box.copy(box.box.path(f"{PHOTO}/1.jpg"), f"{PHOTO}/below/3.jpg")
    for name in ("linked.mp3", "linked again.mp3"):
        os.link(box.box.path(f"{MUSIC}/a/one.mp3"), box.box.path(f"{MUSIC}/{name}"))
    os.link(box.box.path(f"{MUSIC}/a/two.mp3"), box.box.path(f"{MUSIC}/zwei.mp3"))
    box.start().index("R:all")
    return box


def groups(box, *arguments):
    """What is listed, by groups: (kind, [(copy, path)])."""
    listed = {}
    for row in box.ctl_json("duplicates", *arguments):
        listed.setdefault((row["same"], row["group"]), []).append((row["copy"], row["path"]))
    return [(same, names) for (same, _), names in listed.items()]


PHOTOS = ("bytes", [(1, f"{PHOTO}/1.jpg"), (2, f"{PHOTO}/below/3.jpg")])
SONGS = ("bytes", [(1, f"{MUSIC}/a/one.mp3"), (2, f"{MUSIC}/b/eins.mp3"), (1, f"{MUSIC}/linked again.mp3"), (1, f"{MUSIC}/linked.mp3")])
RECORDING = ("recording", [(1, f"{MUSIC}/b/ONE louder.mp3"), (2, f"{MUSIC}/a/one.mp3"), (3, f"{MUSIC}/b/eins.mp3"), (2, f"{MUSIC}/linked again.mp3"),
                           (2, f"{MUSIC}/linked.mp3")])


def test_the_same_bytes_whatever_their_names(library):
    """Sizes alone, or the ends of files, say nothing; hard links are no copies; empty files are none of each other."""
    assert groups(library, "files") == [PHOTOS, SONGS]
    assert groups(library, "files", "-n", "1") == [PHOTOS] and groups(library, "-n", "0") == []
    assert groups(library, "files", "--dir", f"{MUSIC}/b") == []
    rows = library.ctl_json("duplicates", "files")
    size = os.path.getsize(library.box.path(f"{MUSIC}/a/one.mp3"))
    assert [row["freed"] for row in rows] == [0, 300_002, 0, size, 0, 0] and all(row["file_size"] in (300_002, size) for row in rows)


def test_the_same_recording_by_tags_and_length(library):
    assert groups(library, "recordings") == [RECORDING, ]
    assert groups(library, "recordings", "--tolerance", "0") == [("recording", [(copy, path) for copy, path in SONGS[1]])]
    wide = groups(library, "recordings", "--tolerance", "100")
    assert f"{MUSIC}/b/one live.mp3" in [path for _, path in wide[0][1]]
    assert groups(library) == [PHOTOS, SONGS, RECORDING], "what is listed already is not listed again by itself"
    assert groups(library, "--tolerance", "0") == [PHOTOS, SONGS]


def test_what_people_read(library):
    answer = library.ctl("duplicates")
    lines = answer["out"].splitlines()
    assert answer["status"] == FOUND and answer["err"] == "" and max(map(len, lines)) <= 80
    assert lines[0].split() == ["SAME", "GROUP", "COPY", "SIZE", "TIME", "PATH"]
    freed = 300_002 + os.path.getsize(library.box.path(f"{MUSIC}/a/one.mp3"))
    assert f"Same bytes: 6 names in 2 groups; {freed / 1000:.0f} kB could be freed." in lines
    assert "Not listed: 1 more name (hard links) of files without a copy." in lines
    rows = list(csv.DictReader(io.StringIO(library.ctl("duplicates", "--csv")["out"], newline="")))
    assert [row["path"] for row in rows] == [path for group in (PHOTOS, SONGS, RECORDING) for _, path in group[1]]
    alone = library.ctl("duplicates", "--dir", f"{MUSIC}/none")
    assert alone == {"status": DONE, "out": "", "err": "No duplicates.\n"}
    assert library.ctl("duplicates", "colours")["status"] == USAGE and library.ctl("duplicates", "--tolerance", "-1")["status"] == USAGE


def test_what_is_gone_or_has_changed_meanwhile_is_named(library):
    """It costs itself alone."""
    os.unlink(library.box.path(f"{MUSIC}/b/eins.mp3"))
    library.write(f"{PHOTO}/below/3.jpg", b"another")
    answer = library.ctl("duplicates", "--json")
    assert answer["status"] == FOUND
    assert f"left out: '{MUSIC}/b/eins.mp3': No such file or directory" in answer["err"]
    assert f"left out: '{PHOTO}/below/3.jpg': has another size than in the catalogue" in answer["err"]
    assert [same for same, _ in groups(library)] == ["recording"]
    for number in range(30):
        library.write(f"{MUSIC}/many/{number}.mp3", song("Many", "Nina", 1, padding=number))
    library.index(f"A:{MUSIC}/many")
    for number in range(30):
        os.unlink(library.box.path(f"{MUSIC}/many/{number}.mp3"))
    errors = library.ctl("duplicates", "recordings")["err"].splitlines()
    assert len(errors) == 21 and errors[-1] == "veluctl: left out: 11 more"
    assert "Left out: 31 files (see above)." in library.ctl("duplicates", "recordings")["out"]


def test_what_this_user_may_not_read_is_named(library):
    os.chmod(library.box.path(f"{PHOTO}/below/3.jpg"), 0)
    answer = library.ctl("duplicates", "files", "--json", user=65534)
    if answer["status"] == UNREACHABLE:
        pytest.fail(answer["err"])
    assert f"left out: '{PHOTO}/below/3.jpg': Permission denied" in answer["err"]


def test_of_a_recording_what_is_lossless_stays(box, samples):
    box.configure(rules="complete")
    box.write(f"{MUSIC}/x/1.mp3", song("One", "Nina", 1, padding=90_000))
    media.flac(box.box.path(f"{MUSIC}/y/1.flac"), samples / "tone.wav", title="One", artist="Nina")
    assert os.path.getsize(box.box.path(f"{MUSIC}/y/1.flac")) < 90_000
    box.start().index("R:music")
    assert groups(box, "recordings") == [("recording", [(1, f"{MUSIC}/y/1.flac"), (2, f"{MUSIC}/x/1.mp3")])]


def test_by_the_rules_of_the_appliance(daemon):
    for name in ("a", "b"):
        daemon.write(f"{MUSIC}/{name}.mp3", song("One", "Nina", 3))
    daemon.index("R:music")
    assert groups(daemon) == [("bytes", [(1, f"{MUSIC}/a.mp3"), (2, f"{MUSIC}/b.mp3")])]
    assert len(groups(daemon, "recordings")) == 1


def test_another_word_is_told_which_there_are(box):
    answer = box.ctl("duplicates", "songs")
    assert answer["status"] == 2 and answer["err"] == "veluctl: there is no list of 'songs': there are files, recordings\n"


def test_a_catalogue_that_cannot_be_read_is_no_answer(box):
    box.configure(mediadb="sqlite:/dev/null/media.db")
    for what in ([], ["files"], ["recordings"]):
        assert box.ctl("duplicates", *what)["status"] == UNREACHABLE, what


@pytest.mark.parametrize("rules", ["complete", "appliance"])
def test_the_name_of_a_file_proves_no_recording(rules, box):
    box.configure(rules=rules)
    for place, title in (("a/Track 01", ""), ("b/Track 01", ""), ("c/Track 02", "Track 01")):
        box.write(f"{MUSIC}/{place}.mp3", song(title, "Nina", 3, padding=len(place)))
    box.start().index("R:all")
    answer = box.ctl("duplicates", "recordings")
    if rules == "complete":
        assert groups(box, "recordings") == [] and "Not compared: 2 songs without a title" in answer["out"], answer
    else:
        assert [len(names) for _, names in groups(box, "recordings")] == [3] and "Not compared" not in answer["out"], "rows do not say it"

# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of photos says of pictures of every format, field by field beside exiftool."""
import subprocess

import pytest

from harness import pictures
from harness.photo_facts import EXPLAINED, compare, library, read


@pytest.fixture(scope="session")
def folder():
    return library()


@pytest.fixture(scope="session")
def corpus(folder):
    return pictures.every(folder)


@pytest.fixture(scope="session")
def answers(binary, corpus):
    return read(binary, *corpus)


def test_every_field_as_exiftool_reads_it(folder, answers):
    differences = []
    for name, tags in pictures.exiftool(folder).items():
        for fact, mine, theirs, alike in compare(tags, answers[str(folder / name)]["facts"]):
            if not alike and (name, fact) not in EXPLAINED:
                differences.append(f"{name}: {fact}: {mine} instead of {theirs}")
    assert not differences, "\n".join(differences)


def test_every_size_as_coded(corpus, answers):
    wrong = {path.name: answers[str(path)]["facts"] for path in corpus
             if [answers[str(path)]["facts"].get(side) for side in ("width", "height")] != [[48], [36]]}
    assert not wrong


def test_all_of_them_are_read(answers):
    assert not {path: answer["reason"] for path, answer in answers.items() if answer["status"] != "read"}


def test_text_of_single_bytes_is_latin_1_when_it_is_no_utf_8(answers):
    facts = next(answer["facts"] for path, answer in answers.items() if path.endswith("/latin1.jpg"))
    assert (facts["description"], facts["artist"]) == (["Straße"], ["René"])


def test_where_the_date_comes_from(answers):
    found = {path.rsplit("/", 1)[1]: (answer["facts"].get("date_source"), answer["facts"].get("date_offset"))
             for path, answer in answers.items()}
    assert found["exif-II.jpg"] == (["exif"], ["+02:00"])
    assert found["xmp.png"] == (["xmp"], ["+09:00"])
    assert found["iptc.jpg"] == (["iptc"], ["+01:00"])
    assert found["date-changed.jpg"] == (["exif"], None)
    assert found["date-xmp-fraction.jpg"] == (["xmp"], ["+00:00"])
    assert found["date-unset.jpg"] == (None, None)


def test_a_sidecar_counts_more_than_the_file(binary, corpus, tmp_path):
    sidecar = tmp_path / "a.xmp"
    subprocess.run(["exiftool", "-q", "-XMP-dc:Title=Beside", "-XMP-dc:Subject=own", "-XMP-xmp:Rating=5",
                    "-XMP-exif:DateTimeOriginal=2020:01:02 03:04:05", sidecar], check=True)
    path = next(path for path in corpus if path.name == "everything.jpg")
    facts = read(binary, "--sidecar", sidecar, path)[str(path)]["facts"]
    assert (facts["title"], facts["keyword"], facts["rating"]) == (["Beside"], ["own"], [5])
    assert (facts["date_taken"], facts["date_source"]) == (["2020-01-02 03:04:05"], ["xmp"])
    assert (facts["camera_make"], facts["description"]) == (["Maker & Sons"], ["Über alles"])

# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of photos says of pictures of every format, field by field beside exiftool."""
import json
import re
import subprocess

import pytest

from harness import pictures

# For each fact the tags that exiftool may have it under, in the order in which the reader prefers them.
TAGS = {
    "camera_make": ("IFD0:Make", "XMP-tiff:Make"),
    "camera_model": ("IFD0:Model", "XMP-tiff:Model"),
    "exposure_time": ("ExifIFD:ExposureTime", "XMP-exif:ExposureTime"),
    "f_number": ("ExifIFD:FNumber", "XMP-exif:FNumber"),
    "iso_speed": ("ExifIFD:ISO", "ExifIFD:RecommendedExposureIndex", "XMP-exif:ISO"),
    "orientation": ("IFD0:Orientation", "XMP-tiff:Orientation"),
    "lens": ("ExifIFD:LensModel", "XMP-aux:Lens"),
    "focal_length": ("ExifIFD:FocalLength", "XMP-exif:FocalLength"),
    "title": ("XMP-dc:Title", "IPTC:ObjectName", "IFD0:XPTitle"),
    "description": ("XMP-dc:Description", "IPTC:Caption-Abstract", "IFD0:ImageDescription"),
    "artist": ("XMP-dc:Creator", "IPTC:By-line", "IFD0:Artist", "IFD0:XPAuthor"),
    "comment": ("ExifIFD:UserComment", "IFD0:XPComment", "File:Comment"),
    "rating": ("XMP-xmp:Rating", "IFD0:Rating"),
    "date_taken": ("ExifIFD:DateTimeOriginal", "ExifIFD:CreateDate", "XMP-exif:DateTimeOriginal", "XMP-photoshop:DateCreated",
                   "XMP-xmp:CreateDate", "IPTC:DateCreated", "IFD0:ModifyDate"),
    "gps_latitude": ("Composite:GPSLatitude", "XMP-exif:GPSLatitude"),
    "gps_longitude": ("Composite:GPSLongitude", "XMP-exif:GPSLongitude"),
    "gps_altitude": ("Composite:GPSAltitude",),
}
# Numbers divided by 0, and dates that a camera has left blank.
UNSET = re.compile(r"|undef|inf|[0 :]+:[0 :]+")
# What exiftool reads that the reader does not, and why.
EXPLAINED = {
    # Exiv2 reads the size of a GIF alone.
    "all.gif": set(TAGS) | {"keyword"},
    # A code stream without a container is read for its size.
    "plain.j2k": {"comment"},
    # exiftool takes EXIF for one character set only, which for the others is UTF-8: see below.
    "latin1.jpg": {"description", "artist"},
}


def first(tags, names):
    return next((tags[name] for name in names if name in tags and not UNSET.fullmatch(str(tags[name]))), None)


def shown_time(seconds):
    return f"1/{1 / seconds:.0f} sec." if 0 < seconds < 1 else f"{seconds:.0f} sec."


def texts(value, between=None):
    values = value if isinstance(value, list) else [value]
    if between:
        values = [part for one in values for part in str(one).split(between)]
    return list(dict.fromkeys(str(one).strip() for one in values))


def expected(tags):
    """The facts that exiftool's tags amount to."""
    facts = {}
    for fact, names in TAGS.items():
        # Where EXIF has no limit of 16 bits left, the number stands in the next tag.
        value = first({key: tag for key, tag in tags.items() if tag != 65535}, names)
        if value is None:
            continue
        if fact == "exposure_time":
            facts[fact] = [shown_time(float(value))]
        elif fact == "f_number":
            facts[fact] = [f"f/{float(value):.1f}"]
        elif fact == "date_taken":
            time = tags.get("IPTC:TimeCreated", "") if value == tags.get("IPTC:DateCreated") else ""
            digits = re.findall(r"\d+", f"{value} {time}")
            facts[fact] = ["{}-{}-{} {}:{}:{}".format(*(digits[:6] + ["00"] * 6)[:6])]
        elif fact == "artist":
            facts[fact] = texts(value, None if "XMP-dc:Creator" in tags else ";")
        elif isinstance(value, (int, float)) and fact not in ("title", "description", "comment"):
            facts[fact] = [float(value)]
        else:
            facts[fact] = texts(value)
    keywords = [*texts(tags.get("XMP-dc:Subject", [])), *texts(tags.get("IPTC:Keywords", [])),
                *(texts(tags["IFD0:XPKeywords"], ";") if "IFD0:XPKeywords" in tags else [])]
    if keywords:
        facts["keyword"] = list(dict.fromkeys(keywords))
    return facts


def read(binary, *arguments):
    done = subprocess.run([binary.parent / "reader_dump", *map(str, arguments)], capture_output=True, check=True)
    assert done.stderr == b""
    answers = {}
    for line in done.stdout.decode().splitlines():
        answer = json.loads(line)
        facts = {}
        for fact in answer["facts"]:
            facts.setdefault(fact["name"], []).append(fact["value"])
        answers[answer["path"]] = answer | {"facts": facts}
    return answers


@pytest.fixture(scope="module")
def corpus(tmp_path_factory):
    return pictures.make(tmp_path_factory.mktemp("pictures"))


@pytest.fixture(scope="module")
def answers(binary, corpus):
    return read(binary, *corpus)


def alike(mine, theirs):
    if len(mine) != len(theirs):
        return False
    return all(abs(a - b) < 1e-6 * max(1, abs(b)) if isinstance(b, float) else str(a) == b for a, b in zip(mine, theirs))


def test_every_field_as_exiftool_reads_it(corpus, answers):
    differences = []
    for path, tags in pictures.exiftool(corpus).items():
        facts = answers[path]["facts"]
        wanted = expected(tags)
        for fact in (*TAGS, "keyword"):
            mine, theirs = facts.get(fact, []), wanted.get(fact, [])
            if not alike(mine, theirs) and fact not in EXPLAINED.get(path.rsplit("/", 1)[1], ()):
                differences.append(f"{path.rsplit('/', 1)[1]}: {fact}: {mine} instead of {theirs}")
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

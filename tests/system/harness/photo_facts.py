# SPDX-License-Identifier: GPL-2.0-or-later
"""Photos: what exiftool says of one in the words of the reader, and where the reader has reasons to say otherwise."""
import json
import pathlib
import re
import subprocess

from . import pictures
from .encoded import encoded

# For each fact the tags that exiftool may have it under, in the order in which the reader prefers them.
TAGS = {
    "camera_make": ("IFD0:Make", "XMP-tiff:Make", "CanonRaw:Make"),
    "camera_model": ("IFD0:Model", "XMP-tiff:Model", "CanonRaw:Model"),
    "exposure_time": ("ExifIFD:ExposureTime", "XMP-exif:ExposureTime", "Canon:ExposureTime"),
    "f_number": ("ExifIFD:FNumber", "XMP-exif:FNumber", "Canon:FNumber"),
    "iso_speed": ("ExifIFD:ISO", "ExifIFD:RecommendedExposureIndex", "XMP-exif:ISO", "Composite:ISO"),
    "orientation": ("IFD0:Orientation", "XMP-tiff:Orientation"),
    "lens": ("ExifIFD:LensModel", "XMP-aux:Lens"),
    "focal_length": ("ExifIFD:FocalLength", "XMP-exif:FocalLength", "Canon:FocalLength"),
    "title": ("XMP-dc:Title", "IPTC:ObjectName", "IFD0:XPTitle"),
    "description": ("XMP-dc:Description", "IPTC:Caption-Abstract", "IFD0:ImageDescription"),
    "artist": ("XMP-dc:Creator", "IPTC:By-line", "IFD0:Artist", "IFD0:XPAuthor"),
    "comment": ("ExifIFD:UserComment", "IFD0:XPComment", "File:Comment"),
    "rating": ("XMP-xmp:Rating", "IFD0:Rating"),
    "date_taken": ("ExifIFD:DateTimeOriginal", "ExifIFD:CreateDate", "XMP-exif:DateTimeOriginal", "XMP-photoshop:DateCreated",
                   "XMP-xmp:CreateDate", "IPTC:DateCreated", "IFD0:ModifyDate", "CanonRaw:DateTimeOriginal"),
    "gps_latitude": ("Composite:GPSLatitude", "XMP-exif:GPSLatitude"),
    "gps_longitude": ("Composite:GPSLongitude", "XMP-exif:GPSLongitude"),
    "gps_altitude": ("Composite:GPSAltitude",),
}
# Numbers divided by 0, and dates that a camera has left blank.
UNSET = re.compile(r"|undef|inf|[0 :]+:[0 :]+")
LATIN_1 = "exiftool takes the texts of EXIF for one character set alone, here for UTF-8; these are ISO-8859-1 and read as such"
CODED = "in blocks and units of the maker's own, which are not decoded"
PAIR = "exiftool shows both values; the first is the sensitivity"
# Of which file and fact the reader says otherwise or nothing, and why.
EXPLAINED = {
    ("raw.crw", "iso_speed"): CODED, ("raw.crw", "focal_length"): CODED,
    ("latin1.jpg", "description"): LATIN_1, ("latin1.jpg", "artist"): LATIN_1,
    ("camera-iso-pair-II.jpg", "iso_speed"): PAIR, ("camera-iso-pair-MM.jpg", "iso_speed"): PAIR,
    ("plain.tga", "size"): "exiftool reads no TGA; it is 48 by 36",
}


def library():
    """The folder of the pictures."""
    return encoded("pictures", pictures.make, pathlib.Path(pictures.__file__), pathlib.Path(pictures.raws.__file__),
                   pathlib.Path(pictures.camera_exif.__file__))


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
    if "CanonRaw:Rotation" in tags:
        facts["orientation"] = [{0: 1.0, 90: 6.0, 180: 3.0, 270: 8.0}[tags["CanonRaw:Rotation"]]]
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


def alike(mine, theirs):
    if len(mine) != len(theirs):
        return False
    return all(abs(a - b) < 1e-6 * max(1, abs(b)) if isinstance(b, float) else str(a) == b for a, b in zip(mine, theirs))


def compare(tags, facts):
    """Each fact as (fact, the reader's, exiftool's, whether they are alike)."""
    wanted = expected(tags)
    for fact in (*TAGS, "keyword"):
        mine, theirs = facts.get(fact, []), wanted.get(fact, [])
        yield fact, mine, theirs, alike(mine, theirs)
    mine = [*facts.get("width", []), *facts.get("height", [])]
    theirs = [int(side) for side in tags.get("Composite:ImageSize", "").split()]
    yield "size", mine, theirs, mine == theirs

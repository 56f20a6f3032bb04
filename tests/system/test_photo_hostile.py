# SPDX-License-Identifier: GPL-2.0-or-later
"""EXIF blocks that were made, or cut, to do harm: each picture keeps its row, and the daemon its memory."""
import pytest

from harness import photo
from harness.catalogue import ON_SERVER
from harness.photo import ASCII, EXIF_POINTER, LONG, RATIONAL, SHORT, TIFF_HEADER, UNDEFINED, directory, tiff

PHOTO = "/volume1/photo"
MAKE, EXPOSURE, ISO, WIDTH = 0x010F, 0x829A, 0x8827, 0xA002
GPS_POINTER, INTEROPERABILITY_POINTER = 0x8825, 0xA005
WHOLE_COUNT = 0xFFFFFFFF
# 7 MB are used, 14 with the client library of a server; copies of values without a bound take 9 MB more.
LIMIT_KB = (19 if ON_SERVER else 12) * 1024

BLOCKS = {
    "directory that follows itself": tiff(directory((MAKE, ASCII, 4, 0x004B5A5A), following=TIFF_HEADER)),
    "directory inside itself": tiff(directory((EXIF_POINTER, LONG, 1, TIFF_HEADER))),
    "two directories inside each other": tiff(directory((EXIF_POINTER, LONG, 1, TIFF_HEADER + 18)),
                                              directory((EXIF_POINTER, LONG, 1, TIFF_HEADER))),
    "directory of 65535 entries": tiff(directory((MAKE, ASCII, 4, 0x004B5A5A), count=0xFFFF)),
    "text of 4 GiB": tiff(directory((MAKE, ASCII, WHOLE_COUNT, 0))),
    "text that ends 4 GiB further on": tiff(directory((MAKE, ASCII, 64, WHOLE_COUNT - 8))),
    "fractions whose size wraps around": tiff(directory((EXPOSURE, RATIONAL, 0x20000001, TIFF_HEADER))),
    "fraction without a divisor": tiff(directory((EXIF_POINTER, LONG, 1, TIFF_HEADER + 18)),
                                       directory((EXPOSURE, RATIONAL, 1, TIFF_HEADER + 36)), tail=b"\1\0\0\0\0\0\0\0"),
    "types that do not exist": tiff(directory((MAKE, 0, 1, 0), (ISO, 13, 1, 0), (WIDTH, 0xFFFF, 1, 0))),
    "number without values": tiff(directory((EXIF_POINTER, LONG, 1, TIFF_HEADER + 18)),
                                  directory((ISO, SHORT, 0, 0), following=0)),
    "first directory beyond the end": tiff(first=WHOLE_COUNT),
    "first directory in the header": tiff(first=0),
    "nothing but a header": tiff(),
    "no header": b"",
    "neither byte order": b"IM" + tiff()[2:],
    "every tag on the same 60 KiB, in all directories": tiff(directory(
        *[(tag, LONG, 1, TIFF_HEADER) for tag in (EXIF_POINTER, GPS_POINTER, INTEROPERABILITY_POINTER)],
        *[(tag, UNDEFINED, 60000, TIFF_HEADER) for tag in (*range(0x340), *range(0x8290, 0x9300), *range(0xA000, 0xA500))
          if tag not in (EXIF_POINTER, GPS_POINTER, INTEROPERABILITY_POINTER)][:5300], following=TIFF_HEADER)),
}


@pytest.fixture(scope="module")
def whole():
    """A good block: a maker and a number, in two directories."""
    return tiff(directory((MAKE, ASCII, 4, 0x00636261), (EXIF_POINTER, LONG, 1, TIFF_HEADER + 30)),
                directory((ISO, SHORT, 1, 200)))


def check(box, names, sanitized):
    """Indexes the pictures: every one has a row in both catalogues, with its size."""
    box.start()
    box.index(f"A:{PHOTO}")
    for table in ("photo", "photo_image"):
        assert {row["path"]: (row["width"], row["height"]) for row in box.rows(table)} == {name: (3, 2) for name in names}
    if not sanitized:
        assert int(box.status_field("VmHWM")) < LIMIT_KB


def test_blocks_made_to_do_harm(box, sanitized):
    check(box, [box.write(f"{PHOTO}/{name}.jpg", photo.with_exif(photo.jpeg(3, 2), block))
                for name, block in BLOCKS.items()], sanitized)
    assert box.row("photo_image", f"{PHOTO}/directory that follows itself.jpg")["make"] == "ZZK"


def test_a_block_cut_at_every_byte(box, whole, sanitized):
    check(box, [box.write(f"{PHOTO}/{length:03}.jpg", photo.with_exif(photo.jpeg(3, 2), whole[:length]))
                for length in range(len(whole) + 1)], sanitized)
    row = box.row("photo_image", f"{PHOTO}/{len(whole):03}.jpg")
    assert (row["make"], row["iso"]) == ("abc", 200)


def test_a_block_with_each_byte_at_its_extremes(box, whole, sanitized):
    pictures = []
    for at in range(len(whole)):
        for value in (0x00, 0x7F, 0xFF):
            block = whole[:at] + bytes((value,)) + whole[at + 1:]
            pictures.append(box.write(f"{PHOTO}/{at:02} {value:02x}.jpg", photo.with_exif(photo.jpeg(3, 2), block)))
    check(box, pictures, sanitized)


def test_a_picture_that_ends_inside_its_block(box, whole):
    picture = photo.with_exif(photo.jpeg(3, 2), whole)
    end = picture.index(whole) + len(whole)
    names = [box.write(f"{PHOTO}/{length:03}.jpg", picture[:length]) for length in range(1, end)]
    box.start()
    box.index(f"A:{PHOTO}")
    assert box.paths("photo_image") == box.paths("photo") == names
    assert {(row["width"], row["height"]) for row in box.rows("photo_image")} == {(0, 0)}

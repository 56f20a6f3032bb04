# SPDX-License-Identifier: GPL-2.0-or-later
"""What cameras write into pictures, as it arrives in both catalogues."""
import os
import re

import pytest

from harness import media, photo

PHOTO = "/volume1/photo"
FIELDS = {"Make": "Maker & Sons", "Model": "Model <1>", "ExposureTime": "1/125", "FNumber": "2.8", "ISO": "400",
          "DateTimeOriginal": "2009:03:07 08:09:10", "ExifImageWidth": "321", "ExifImageHeight": "123"}
# With every field, a position and a thumbnail's directory: all five directories of an EXIF block.
BEYOND = {"GPSLatitude": "48.1", "GPSLatitudeRef": "N", "GPSLongitude": "11.5", "GPSLongitudeRef": "E",
          "InteropIndex": "R98"}
FILE_DATE = re.compile(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d")


@pytest.mark.parametrize("order", ["II", "MM"])
def test_every_field_in_either_byte_order(box, samples, order):
    path = f"{PHOTO}/a.jpg"
    box.copy(samples / "picture.jpg", path)
    media.exif(box.box.path(path), **FIELDS, **BEYOND, ExifByteOrder=order)
    assert (b"Exif\0\0" + order.encode()) in box.read(path)
    box.start()
    box.index(f"a:{path}")
    row = box.row("photo_image", path)
    assert {key: row[key] for key in ("make", "model", "exposure", "fnumber", "date_taken", "iso", "width", "height")} == {
        "make": "Maker & Sons", "model": "Model <1>", "exposure": "1/125 sec.", "fnumber": "f/2.8",
        "date_taken": "2009:03:07 08:09:10", "iso": 400, "width": 120, "height": 80}
    row = box.row("photo", path)
    assert {key: row[key] for key in ("camera_make", "camera_model", "exposure_time", "f_number", "date_taken",
                                      "iso_speed", "width", "height")} == {
        "camera_make": "Maker & Sons", "camera_model": "Model <1>", "exposure_time": "1/125 sec.",
        "f_number": "f/2.8", "date_taken": "2009-3-7 8:9:10", "iso_speed": 400, "width": 120, "height": 80}


def test_the_size_that_the_camera_says_counts_when_there_is_no_frame(box):
    widths = {321: 321, 8000: 8000, 8001: 0, 0xFFFFFFFF: 0}
    for said in widths:
        block = photo.tiff(photo.directory((photo.EXIF_POINTER, photo.LONG, 1, photo.TIFF_HEADER + 18)),
                           photo.directory((0xA002, photo.LONG, 1, said), (0xA003, photo.LONG, 1, 123)))
        box.write(f"{PHOTO}/{said}.jpg", photo.with_exif(b"\xff\xd8\xff\xd9", block))
    box.start()
    box.index(f"A:{PHOTO}")
    for table in ("photo", "photo_image"):
        assert {row["path"]: (row["width"], row["height"]) for row in box.rows(table)} == {
            f"{PHOTO}/{said}.jpg": (width, 123) for said, width in widths.items()}


def test_a_picture_wider_than_8000_has_no_width_in_the_library_but_one_in_the_media_catalogue(daemon):
    path = daemon.write(f"{PHOTO}/wide.jpg", photo.jpeg(8001, 10))
    daemon.write(f"{PHOTO}/most.jpg", photo.jpeg(8000, 8000))
    daemon.index(f"A:{PHOTO}")
    sizes = {table: {row["path"][len(PHOTO) + 1:]: (row["width"], row["height"]) for row in daemon.rows(table)}
             for table in ("photo_image", "photo")}
    assert sizes == {"photo_image": {"wide.jpg": (0, 10), "most.jpg": (8000, 8000)},
                     "photo": {"wide.jpg": (8001, 10), "most.jpg": (8000, 8000)}}
    assert path in daemon.paths("photo")


# The text of the tag, whether the library takes it, and what the media catalogue makes of it.
DATES = [
    ("2009:03:07 08:09:10", True, "2009-3-7 8:9:10"),
    ("2009:12:31 23:59:59", True, "2009-12-31 23:59:59"),
    ("2009:3:7 8:9:1", True, "2009-3-7 8:9:1"),
    ("2009: 3: 7  8: 9: 1", True, "2009-3-7 8:9:1"),
    ("2009:03:07 08:09:10+01:00", True, "2009-3-7 8:9:10"),
    ("2009:02:31 08:09:10", True, "2009-2-31 8:9:10"),
    ("2009-03-07 08:09:10", False, ""),
    ("2009:03:07", False, ""),
    ("2009:13:07 08:09:10", False, ""),
    ("2009:03:07 24:09:10", False, ""),
    ("0000:00:00 00:00:00", False, ""),
    ("    :  :     :  :  ", False, ""),
    ("yesterday", False, ""),
    ("2009:03:07 08:09:10\x01", False, ""),
    ("2009:03:07 08:09:10\xe9", False, ""),
]


def exif_with_date(text):
    content = text.encode("latin-1") + b"\0"
    values = photo.TIFF_HEADER + 2 * 18
    return photo.tiff(photo.directory((photo.EXIF_POINTER, photo.LONG, 1, photo.TIFF_HEADER + 18)),
                      photo.directory((0x9003, photo.ASCII, len(content), values)), tail=content)


def test_dates_of_every_form(box):
    paths = {}
    for number, (text, *_) in enumerate(DATES):
        paths[text] = box.write(f"{PHOTO}/{number}.jpg", photo.with_exif(photo.jpeg(3, 2), exif_with_date(text)))
    box.start()
    box.index(f"A:{PHOTO}")
    library = {row["path"]: row["date_taken"] for row in box.rows("photo_image")}
    catalogue = {row["path"]: row["date_taken"] for row in box.rows("photo")}
    for text, taken, written in DATES:
        if taken:
            assert library[paths[text]] == text
        else:
            assert FILE_DATE.fullmatch(library[paths[text]]), f"{text!r} became {library[paths[text]]!r}"
        assert catalogue[paths[text]] == written, text


def test_camera_names_that_are_no_plain_ascii_are_left_out_whole_and_long_ones_are_cut(box, samples):
    for name, make, model in (("odd", "Caf\u00e9", "Model\t1"), ("long", "M" * 300, "N" * 100)):
        path = f"{PHOTO}/{name}.jpg"
        box.copy(samples / "picture.jpg", path)
        media.exif(box.box.path(path), Make=make, Model=model, ISO="100")
    box.start()
    box.index(f"A:{PHOTO}")
    row = box.row("photo_image", f"{PHOTO}/odd.jpg")
    assert (row["make"], row["model"], row["iso"]) == ("", "", 100)
    row = box.row("photo", f"{PHOTO}/odd.jpg")
    assert (row["camera_make"], row["camera_model"], row["iso_speed"]) == ("", "", 100)
    row = box.row("photo_image", f"{PHOTO}/long.jpg")
    assert (row["make"], row["model"]) == ("M" * 99, "N" * 99)


def test_exif_is_read_in_a_picture_of_another_format_by_the_library_alone(box, samples):
    path = f"{PHOTO}/a.tif"
    box.copy(samples / "exif.jpg", path)
    box.start()
    box.index(f"a:{path}")
    assert box.row("photo_image", path)["make"] == "Maker"
    assert box.row("photo", path)["camera_make"] == ""


def test_a_date_that_is_missing_is_that_of_the_file(box, samples):
    path = f"{PHOTO}/a.jpg"
    box.copy(samples / "picture.jpg", path)
    box.start()
    box.index(f"a:{path}")
    row = box.row("photo_image", path)
    assert FILE_DATE.fullmatch(row["date_taken"])
    assert re.fullmatch(r"\w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4}", row["create_time"])
    assert row["date_taken"][11:] == row["create_time"][11:19], "one time, written in two ways"
    assert row["file_size"] == os.stat(box.box.path(path)).st_size
    assert box.row("photo", path)["date_taken"] == ""

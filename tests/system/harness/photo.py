# SPDX-License-Identifier: GPL-2.0-or-later
"""Pictures byte by byte, what EXIF writers would never make, places of attribute files, the library's content."""
import struct

ASCII, SHORT, LONG, RATIONAL, UNDEFINED = 2, 3, 4, 5, 7
EXIF_POINTER = 0x8769
TIFF_HEADER = 8


def attribute_file(path, attribute):
    """Where the other programs of the appliance leave what a user typed about a picture or a directory."""
    folder, name = path.rsplit("/", 1)
    return f"{folder}/@eaDir/{name}/VELUPHOTO:{attribute}"


def jpeg(width, height):
    """The headers of a JPEG: enough to tell its size, and small."""
    frame = struct.pack(">BHHB", 8, height, width, 1) + b"\x01\x11\x00"
    return b"\xff\xd8" + segment(0xC0, frame) + b"\xff\xd9"


def segment(marker, content):
    return bytes((0xFF, marker)) + struct.pack(">H", len(content) + 2) + content


def with_exif(picture, tiff):
    """A JPEG with a TIFF structure as its EXIF block."""
    return picture[:2] + segment(0xE1, b"Exif\0\0" + tiff) + picture[2:]


def tiff(*directories, order="<", first=TIFF_HEADER, tail=b""):
    """A TIFF structure: its header, directories one behind the other, and what they point at."""
    mark = b"II" if order == "<" else b"MM"
    return mark + struct.pack(order + "HI", 42, first) + b"".join(directories) + tail


def directory(*entries, following=0, order="<", count=None):
    """An image file directory. An entry: tag, type, number of values, value or offset. `count`: a number of
    entries other than the true one."""
    body = b"".join(struct.pack(order + "HHII", *entry) for entry in entries)
    return struct.pack(order + "H", len(entries) if count is None else count) + body + struct.pack(order + "I", following)


def pictures(daemon):
    """The paths of the library's pictures, without the share's."""
    return [path.removeprefix("/volume1/photo/") for path in daemon.paths("photo_image")]


def albums(daemon):
    """Whether each album is public, and whether it is a sub-album."""
    return {row["sharename"]: (row["public"], row["is_subdir"]) for row in daemon.rows("photo_share")}

# SPDX-License-Identifier: GPL-2.0-or-later
"""EXIF data as cameras, phones and editors write it, and none of the tools does: for each shape the TIFF structure of a JPEG."""
import struct

from . import photo

BYTE, ASCII, SHORT, LONG, RATIONAL, SBYTE, UNDEFINED, SSHORT, SLONG, SRATIONAL, DOUBLE = 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12
SIZES = {BYTE: 1, ASCII: 1, SHORT: 2, LONG: 4, RATIONAL: 8, SBYTE: 1, UNDEFINED: 1, SSHORT: 2, SLONG: 4, SRATIONAL: 8, DOUBLE: 8}
LETTERS = {BYTE: "B", SHORT: "H", LONG: "I", SBYTE: "b", SSHORT: "h", SLONG: "i", DOUBLE: "d"}
MAKE, MODEL, ORIENTATION, DESCRIPTION, ARTIST, CHANGED = 0x010F, 0x0110, 0x0112, 0x010E, 0x013B, 0x0132
EXPOSURE, F_NUMBER, ISO, TAKEN, DIGITIZED, OFFSET, FOCAL, COMMENT, MAKER_NOTE, LENS = (
    0x829A, 0x829D, 0x8827, 0x9003, 0x9004, 0x9011, 0x920A, 0x9286, 0x927C, 0xA434)
EXIF, GPS = 0x8769, 0x8825


def value(kind, values, order):
    """The bytes of an entry's values."""
    if kind in (ASCII, UNDEFINED):
        return values
    if kind in (RATIONAL, SRATIONAL):
        return b"".join(struct.pack(order + ("II" if kind == RATIONAL else "ii"), *pair) for pair in values)
    return b"".join(struct.pack(order + LETTERS[kind], one) for one in values)


class Block:
    """Directories, one behind the other, and values behind each."""

    def __init__(self, order="<"):
        self.order = order

    def directory(self, at, entries, following=0, sort=True):
        """A directory that begins at an offset. An entry: tag, type, values, and the count that it claims, if another one."""
        entries = sorted(entries, key=lambda entry: entry[0]) if sort else entries
        body, behind = b"", b""
        start = at + 2 + 12 * len(entries) + 4
        for tag, kind, values, *claimed in entries:
            content = value(kind, values, self.order)
            count = claimed[0] if claimed else len(content) // SIZES[kind]
            body += struct.pack(self.order + "HHI", tag, kind, count)
            if len(content) <= 4:
                body += content.ljust(4, b"\0")
            else:
                body += struct.pack(self.order + "I", start + len(behind))
                behind += content + b"\0" * (len(content) % 2)
        return struct.pack(self.order + "H", len(entries)) + body + struct.pack(self.order + "I", following) + behind

    def tiff(self, main, exif=None, gps=None, following=0, sort=True):
        """The main directory with its two, each behind the other."""
        pointers = [(tag, LONG, [0]) for tag, entries in ((EXIF, exif), (GPS, gps)) if entries is not None]
        size = photo.TIFF_HEADER + len(self.directory(photo.TIFF_HEADER, main + pointers, following, sort))
        places, parts = {}, []
        for tag, entries in ((EXIF, exif), (GPS, gps)):
            if entries is not None:
                places[tag] = size
                parts.append(self.directory(size, entries, 0, sort))
                size += len(parts[-1])
        main = main + [(tag, LONG, [place]) for tag, place in places.items()]
        return photo.tiff(self.directory(photo.TIFF_HEADER, main, following, sort), *parts, order=self.order)


CAMERA = [(MAKE, ASCII, b"Maker Ltd.\0"), (MODEL, ASCII, b"Model 9\0")]
WHEN = (TAKEN, ASCII, b"2011:02:03 04:05:06\0")


def exif(*entries, order="<", main=(), **more):
    return Block(order).tiff(CAMERA + list(main), [WHEN, *entries], **more)


def degrees(*parts):
    return [(number, divisor) for number, divisor in parts]


def gps(north, east, order="<", latitude=b"N\0", longitude=b"W\0", altitude=()):
    return Block(order).tiff(CAMERA, [WHEN], [(0, BYTE, [2, 3, 0, 0]), (1, ASCII, latitude), (2, RATIONAL, north), (3, ASCII, longitude),
                                              (4, RATIONAL, east), *altitude])


def with_note(note, order="<"):
    return exif((MAKER_NOTE, UNDEFINED, note), (ISO, SHORT, [320]), (F_NUMBER, RATIONAL, [(28, 10)]), order=order)


def canon_note(order):
    """A directory without a head, whose offsets count from the EXIF block's begin: here they lead behind its end."""
    return struct.pack(order + "HHHII", 1, 0x0001, SHORT, 46, 60000) + struct.pack(order + "I", 0)


def nikon_note():
    """A TIFF structure of its own, in another order than the block's."""
    return b"Nikon\0\x02\x10\0\0" + b"MM\0\x2a\0\0\0\x08" + struct.pack(">HHHI4sI", 1, 0x0001, UNDEFINED, 4, b"0210", 0)


def fuji_note():
    """Always little-endian, with offsets that count from its own begin."""
    return b"FUJIFILM" + struct.pack("<I", 12) + struct.pack("<HHHI4sI", 1, 0x0000, UNDEFINED, 4, b"0130", 0)


def olympus_note(order):
    return b"OLYMPUS\0" + (b"II" if order == "<" else b"MM") + struct.pack(order + "H", 3) + struct.pack(order + "HI", 0, 0)


def comment(charset, text):
    return (COMMENT, UNDEFINED, charset.ljust(8, b"\0") + text)


def shapes():
    """For each name the EXIF block."""
    made = {}
    for name, order in (("II", "<"), ("MM", ">")):
        made |= {
            f"iso-byte-{name}": exif((ISO, BYTE, [200]), order=order),
            f"iso-long-{name}": exif((ISO, LONG, [12800]), order=order),
            f"iso-pair-{name}": exif((ISO, SHORT, [100, 200]), order=order),
            f"iso-signed-{name}": exif((ISO, SSHORT, [400]), order=order),
            f"exposure-signed-{name}": exif((EXPOSURE, SRATIONAL, [(1, 60)]), (F_NUMBER, SRATIONAL, [(56, 10)]), order=order),
            f"orientation-long-{name}": exif(order=order, main=[(ORIENTATION, LONG, [6])]),
            f"orientation-byte-{name}": exif(order=order, main=[(ORIENTATION, BYTE, [8])]),
            f"rationals-zero-{name}": exif((EXPOSURE, RATIONAL, [(0, 0)]), (F_NUMBER, RATIONAL, [(0, 0)]), (FOCAL, RATIONAL, [(50, 0)]),
                                           (ISO, SHORT, [100]), order=order),
            f"comment-plain-{name}": exif(comment(b"ASCII", b"in a field  "), order=order),
            f"comment-wide-{name}": exif(comment(b"UNICODE", "Höhe 世".encode("utf-16-le" if order == "<" else "utf-16-be")), order=order),
            f"comment-blank-{name}": exif(comment(b"ASCII", b" " * 40), order=order),
            f"comment-zeros-{name}": exif(comment(b"", b"\0" * 40), order=order),
            f"comment-undefined-{name}": exif(comment(b"", b"nobody says how\0"), order=order),
            f"note-canon-{name}": with_note(canon_note(order), order),
            f"note-nikon-{name}": with_note(nikon_note(), order),
            f"note-fuji-{name}": with_note(fuji_note(), order),
            f"note-olympus-{name}": with_note(olympus_note(order), order),
            f"note-rubbish-{name}": with_note(bytes(range(200)), order),
            f"unsorted-{name}": exif((FOCAL, RATIONAL, [(35, 1)]), (ISO, SHORT, [640]), (EXPOSURE, RATIONAL, [(1, 125)]), order=order, sort=False),
            f"lens-{name}": exif((LENS, ASCII, b"24-70mm f/2.8\0"), (FOCAL, RATIONAL, [(700, 10)]), order=order),
            f"gps-seconds-{name}": gps(degrees((48, 1), (8, 1), (1234, 100)), degrees((11, 1), (34, 1), (59, 1)), order),
            f"gps-minutes-{name}": gps(degrees((48, 1), (81234, 10000), (0, 1)), degrees((11, 1), (349999, 10000), (0, 1)), order,
                                       b"S\0", b"E\0"),
            f"gps-below-the-sea-{name}": gps(degrees((31, 1), (30, 1), (0, 1)), degrees((35, 1), (30, 1), (0, 1)), order, b"N\0", b"E\0",
                                             [(5, BYTE, [1]), (6, RATIONAL, [(430, 1)])]),
            f"next-behind-the-end-{name}": exif((ISO, SHORT, [50]), order=order, following=65000),
            f"without-exif-directory-{name}": Block(order).tiff(CAMERA + [(CHANGED, ASCII, b"2001:01:02 03:04:05\0")]),
            f"exif-directory-alone-{name}": Block(order).tiff([], [WHEN, (ISO, SHORT, [80])]),
        }
    made |= {
        "make-padded": Block().tiff([(MAKE, ASCII, b"Maker Ltd.      \0"), (MODEL, ASCII, b"  Model 9\0\0\0\0")], [WHEN]),
        "make-without-end": Block().tiff([(MAKE, ASCII, b"MAKERS"), (MODEL, ASCII, b"M9")], [WHEN]),
        "make-empty": Block().tiff([(MAKE, ASCII, b"\0"), (MODEL, ASCII, b"Model 9\0")], [WHEN]),
        "date-without-end": Block().tiff(CAMERA, [(TAKEN, ASCII, b"2011:02:03 04:05:06")]),
        "date-zones": exif((OFFSET, ASCII, b"+05:30\0")),
        "date-digitized-alone": Block().tiff(CAMERA, [(DIGITIZED, ASCII, b"2011:02:03 04:05:06\0")]),
        "twice": Block().tiff(CAMERA, [WHEN, (ISO, SHORT, [100]), (EXPOSURE, RATIONAL, [(10, 600)])]),
    }
    return made

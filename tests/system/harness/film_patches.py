# SPDX-License-Identifier: GPL-2.0-or-later
"""Films that no encoder here makes: what is missing is put into real ones, by the formats' own words."""
import struct


def box(kind, content):
    """A box of ISO/IEC 14496-12."""
    return struct.pack(">I4s", len(content) + 8, kind) + content


def grown(film, path, place, added):
    """The film with bytes put in at a place; the boxes of the path around it, which are the first of their kind, grow."""
    data = bytearray(film[:place] + added + film[place:])
    at = 0
    for kind in path:
        at = film.index(kind, at)
        size, = struct.unpack_from(">I", data, at - 4)
        struct.pack_into(">I", data, at - 4, size + len(added))
    return bytes(data)


def dolby_vision(film):
    """An MP4 film, its index last, whose HEVC track says in a box of its own that it is of profile 8.1."""
    entry = film.index(b"hvc1", film.index(b"stsd"))
    configuration = bytes([1, 0, 8 << 1 | 1 >> 5, (1 & 31) << 3 | 0b101, 1 << 4]) + bytes(19)
    size, = struct.unpack_from(">I", film, entry - 4)
    path = (b"moov", b"trak", b"mdia", b"minf", b"stbl", b"stsd", b"hvc1")
    return grown(film, path, entry - 4 + size, box(b"dvvC", configuration))


def bits(*fields):
    """Fields of (value, width), filled up to bytes with ones."""
    text = "".join(f"{value:0{width}b}" for value, width in fields)
    text += "1" * (-len(text) % 8)
    return bytes(int(text[place:place + 8], 2) for place in range(0, len(text), 8))


# SMPTE ST 2094-40 in ITU-T T.35's words: a country, a provider, its code, application 4 of version 1; one window, the display's
# luminance, no table of it; the largest of each colour, their mean, one percentile, the bright part; no curve, no saturation.
DYNAMIC_METADATA = bytes.fromhex("b5003c00010401") + bits(
    (1, 2), (0x1555555, 27), (0, 1), (0x15555, 17), (0x15555, 17), (0x15555, 17), (0x15555, 17), (1, 4), (99, 7), (0x15555, 17),
    (0x155, 10), (0, 1), (0, 1), (0, 1))


def message(kind, payload):
    """A prefix SEI message of ITU-T H.265 as a NAL unit after a start code. The payload has no run of zeros."""
    size = b"\xff" * (len(payload) // 255) + bytes([len(payload) % 255])
    return b"\0\0\0\1\x4e\x01" + bytes([kind]) + size + payload + b"\x80"


def dynamic_hdr10(stream, filler=0):
    """An HEVC stream of start codes with such metadata before each picture, behind so many bytes of another message."""
    before = message(4, b"\xb5" + b"\x11" * filler) if filler else b""
    parts = stream.split(b"\0\0\1")
    picture = before + message(4, DYNAMIC_METADATA)
    out = [parts[0]]
    for part in parts[1:]:
        kind = part[0] >> 1 & 63
        # slices are the kinds below 32; their first bit says that a picture begins
        if kind < 32 and part[2] & 0x80:
            out[-1] = out[-1].rstrip(b"\0") + picture + (b"\0" if out[-1].endswith(b"\0") else b"")
        out.append(part)
    return b"\0\0\1".join(out)

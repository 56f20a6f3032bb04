# SPDX-License-Identifier: GPL-2.0-or-later
"""Writes ID3 tags byte by byte: the versions and the damage that no tagging program makes. Formats: id3.org 2.2.0, 2.3.0, 2.4.0
and ID3v1.1."""
LATIN_1, UTF_16, UTF_16_BE, UTF_8 = range(4)
CODECS = {LATIN_1: "latin-1", UTF_16: "utf-16", UTF_16_BE: "utf-16-be", UTF_8: "utf-8"}

UNSYNCHRONISED, EXTENDED, FOOTER = 0x80, 0x40, 0x10


def synchsafe(number):
    """Four bytes of seven bits."""
    return bytes(number >> shift & 0x7F for shift in (21, 14, 7, 0))


def frame(version, name, content, size=None):
    """A frame; `size` is what it claims when that is not the truth."""
    size = len(content) if size is None else size
    if version == 2:
        return name.encode() + size.to_bytes(3, "big") + content
    return name.encode() + (synchsafe(size) if version == 4 else size.to_bytes(4, "big")) + b"\0\0" + content


def text(version, name, value, encoding=LATIN_1):
    return frame(version, name, bytes([encoding]) + value.encode(CODECS[encoding]))


def comment(version, value, language="eng", description="", encoding=LATIN_1):
    end = b"\0\0" if encoding in (UTF_16, UTF_16_BE) else b"\0"
    return frame(version, "COM" if version == 2 else "COMM",
                 bytes([encoding]) + language.encode() + description.encode(CODECS[encoding]) + end
                 + value.encode(CODECS[encoding]))


def picture(version, image, kind=3, mime="image/jpeg", description="", size=None):
    """`mime` is "JPG" or "PNG" in version 2."""
    head = mime.encode() + (b"" if version == 2 else b"\0") + bytes([kind]) + description.encode("latin-1") + b"\0"
    return frame(version, "PIC" if version == 2 else "APIC", bytes([LATIN_1]) + head + image, size)


def tag(version, *frames, flags=0, padding=0, size=None):
    """An ID3v2 tag; `size` is what it claims when that is not the truth."""
    content = b"".join(frames) + bytes(padding)
    head = bytes([version, 0, flags]) + synchsafe(len(content) if size is None else size)
    return b"ID3" + head + content + (b"3DI" + head if flags & FOOTER else b"")


def unsynchronised(content):
    """Content as it stands in an unsynchronised tag: no byte FF before a zero or before what looks like a header."""
    out = bytearray()
    for index, byte in enumerate(content):
        out.append(byte)
        following = content[index + 1] if index + 1 < len(content) else 0
        if byte == 0xFF and (following == 0 or following >= 0xE0):
            out.append(0)
    return bytes(out)


def id3v1(title=b"", artist=b"", album=b"", year=b"", comment=b"", genre=255, track=None, fill=b"\0"):
    """An ID3v1 tag, or with a track an ID3v1.1 one."""
    remark = comment.ljust(30, fill) if track is None else comment.ljust(28, fill) + bytes([0, track])
    content = b"TAG" + b"".join(value.ljust(30, fill) for value in (title, artist, album))
    content += year.ljust(4, fill) + remark + bytes([genre])
    assert len(content) == 128
    return content

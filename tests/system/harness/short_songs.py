# SPDX-License-Identifier: GPL-2.0-or-later
"""Songs of some milliseconds of MPEG audio (ISO/IEC 11172-3, layer 3, 128 kbit/s), with the tags that a test wants."""
from . import id3

FRAME = b"\xff\xfb\x90\x64" + bytes(413)  # 26 ms
FRAMES_OF_A_SECOND = 38
FRAMES = {"title": "TIT2", "artist": "TPE1", "album": "TALB", "albumartist": "TPE2", "genre": "TCON", "track": "TRCK", "disc": "TPOS",
          "composer": "TCOM", "year": "TYER", "date": "TDRC"}


def song(version=3, encoding=id3.LATIN_1, sound=3, **tags):
    """`sound` counts frames. A tag of nothing is left out, and with all of them the whole ID3 tag."""
    frames = [id3.text(version, FRAMES[name], value, encoding) for name, value in tags.items() if value]
    return (id3.tag(version, *frames) if frames else b"") + FRAME * sound

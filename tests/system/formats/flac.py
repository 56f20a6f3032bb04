# SPDX-License-Identifier: GPL-2.0-or-later
"""FLAC files: the stream's numbers, each tag in turn, and what stands beside them."""
import mutagen.flac

from harness import media

from .case import SECONDS, TAGGED, WHOLE_SECONDS, Case, of_size, sound, text, then

NOT_READ = ("Failed to parse music metadata.", "Failed to parse media metadata of file [%s].")


def row(rate=44100, channels=2, **others):
    return {"duration": WHOLE_SECONDS, "sample_rate": rate, "channels": channels, "audio_bitrate": of_size(share=0.001),
            **others}


def tagged(*tags):
    """Sound with just these tags, in this order: NAME=VALUE."""
    def change(path):
        file = mutagen.flac.FLAC(path)
        file.tags.clear()
        file.tags.extend(tuple(tag.split("=", 1)) for tag in tags)
        file.save()
    return then(sound("-c:a", "flac"), change)


def with_picture(path):
    media.picture(f"{path}.jpg", 40, 30)
    media.sound(f"{path}.wav", seconds=SECONDS)
    media.flac(path, f"{path}.wav", cover=f"{path}.jpg", title="A Title")


def tags_removed(path):
    """Takes the block of the tags away, which encoders always write."""
    with open(path, "rb") as file:
        content = file.read()
    at, blocks, last = 4, [], False
    while not last:
        last, kind = bool(content[at] & 0x80), content[at] & 0x7F
        end = at + 4 + int.from_bytes(content[at + 1:at + 4], "big")
        if kind != 4:
            blocks.append(bytearray(content[at:end]))
        at = end
    for block in blocks:
        block[0] &= 0x7F
    blocks[-1][0] |= 0x80
    with open(path, "wb") as file:
        file.write(b"fLaC" + b"".join(blocks) + content[at:])


def length_unknown(path):
    """Sets the 36 bits of the number of samples to 0, as in a stream that was never ended."""
    with open(path, "r+b") as file:
        content = bytearray(file.read())
        content[21] &= 0xF0
        content[22:26] = bytes(4)
        file.seek(0)
        file.write(content)


CASES = (
    Case("stereo.flac", sound(), row()),
    Case("96 kHz mono.flac", sound("-c:a", "flac", "-sample_fmt", "s32", rate=96000, channels=1), row(96000, 1)),
    Case("5.1.flac", sound(rate=48000, channels=6), row(48000, 6)),
    Case("every tag.flac", tagged("TITLE=A Title", "ARTIST=The Artist", "ALBUM=The Album", "GENRE=Jazz", "DATE=2004",
                                  "TRACKNUMBER=7/12", "COMPOSER=not read", "DISCNUMBER=2", "COMMENT=not read"),
         row(**TAGGED)),
    Case("lower case.flac", tagged("title=A Title", "artist=The Artist", "album=The Album", "genre=Jazz", "date=2004",
                                   "tracknumber=7"), row(**TAGGED)),
    Case("empty tags.flac", tagged("TITLE=", "ALBUM=", "ARTIST=", "DATE=", "TRACKNUMBER="), row()),
    Case("twice.flac", tagged("TITLE=First", "TITLE=Last", "ARTIST=One", "artist=Two"), row(title="Last", artist="Two")),
    Case("whole date.flac", tagged("DATE=2007-09-17"), row()),
    Case("accents.flac", tagged("TITLE=Caf\u00e9"), row(title="Caf\u00e9".encode().decode("latin-1"))),
    Case("long title.flac", tagged("TITLE=" + "x" * 300), row(title="x" * 254)),
    Case("picture.flac", with_picture, row(title="A Title")),
    Case("no length.flac", then(sound(), length_unknown), row(duration=0, audio_bitrate=0)),
    Case("no tags at all.flac", then(sound(), tags_removed), row(),
         lines=("Can't get Flac comment tags: %s.", *NOT_READ)),
    Case("torn.flac", text(b"this is no FLAC file"), {}, lines=("Can't get Flac stream info: %s.", *NOT_READ)),
)

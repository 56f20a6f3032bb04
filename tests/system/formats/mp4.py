# SPDX-License-Identifier: GPL-2.0-or-later
"""Files of the MP4 reader. It names tags, lengths and pictures; the probe's values of the sound, those of the last
sound track, take the place of its own."""
import mutagen.mp4

from harness import media

from .case import SECONDS, TAGGED, TAGS, WHOLE_SECONDS, Case, Near, film, of_size, sound, text, then

JPEG, PNG = mutagen.mp4.MP4Cover.FORMAT_JPEG, mutagen.mp4.MP4Cover.FORMAT_PNG
EVERY_TAG = {"\xa9nam": "A Title", "\xa9ART": "The Artist", "\xa9alb": "The Album", "\xa9gen": "Jazz",
             "\xa9cmt": "A Comment", "\xa9wrt": "The Writer", "\xa9day": "2004", "trkn": [(7, 12)], "disk": [(2, 3)]}
EVERY_FIELD = {**TAGGED, "comment": "A Comment", "composer": "The Writer", "disc": 2}
ROCK = 17


def picture(path, kind):
    """A cover picture as the bytes of a file of that kind."""
    name = f"{path}.{kind}"
    media.picture(name, 40, 30)
    with open(name, "rb") as file:
        return file.read()


def tagged(options, kind=None, code=None, **tags):
    """Sound with tags, and with a cover picture when its kind is given, all written by mutagen."""
    def change(path):
        file = mutagen.mp4.MP4(path)
        for key, value in (tags or EVERY_TAG).items():
            file[key] = value
        if kind:
            file["covr"] = [mutagen.mp4.MP4Cover(picture(path, kind), code)]
        file.save()
    return then(sound(*options), change)


def genre_number(path):
    """Puts the genre as the number of the ID3v1 list, counted from 1, where its text has been."""
    number = f"\0{chr(ROCK + 1)}"
    file = mutagen.mp4.MP4(path)
    file["\xa9gen"] = number
    file.save()
    with open(path, "r+b") as file:
        content = file.read()
        assert content.count(b"\xa9gen") == 1
        file.seek(content.index(b"\xa9gen"))
        file.write(b"gnre")


def two_sound_tracks(path):
    media.sound(f"{path}.1.m4a", "-c:a", "aac", seconds=SECONDS, rate=44100)
    media.sound(f"{path}.2.m4a", "-c:a", "aac", "-b:a", "48k", seconds=SECONDS, rate=22050, channels=1)
    media.remux(path, "-i", f"{path}.1.m4a", "-i", f"{path}.2.m4a", "-map", "0", "-map", "1", "-c", "copy")


def two_video_tracks(path):
    media.clip(f"{path}.1.mp4", "-c:v", "mpeg4", "-q:v", "31", "-c:a", "aac", seconds=SECONDS, size="96x64")
    media.clip(f"{path}.2.mp4", *MPEG_4, "-an", seconds=SECONDS, size="320x240")
    media.remux(path, "-i", f"{path}.1.mp4", "-i", f"{path}.2.mp4", "-map", "0", "-map", "1", "-c", "copy", "-f", "mp4")


MPEG_4 = ("-c:v", "mpeg4", "-q:v", "1")
HEVC = ("-c:v", "libx265", "-x265-params", "log-level=none:crf=4")
H264 = ("-c:v", "libx264", "-crf", "4")
# What the encoder takes for mono sound when nothing is asked for.
SOUND = 69000
AAC = ("-c:a", "aac", "-b:a", "96k")


def row(rate=44100, channels=2, bits=Near(96000, 0.3), **others):
    return {"duration": WHOLE_SECONDS, "sample_rate": rate, "channels": channels, "audio_bitrate": bits, **others}


def film_row(width=320, height=240):
    """Of a film so finely coded that its rate is nearly that of the file less the sound's."""
    return row(channels=1, bits=Near(SOUND, 0.3), width=width, height=height,
               video_bitrate=lambda size: Near(size * 8 / SECONDS - SOUND, 0.3))


CASES = (
    Case("plain.m4a", sound(*AAC), row()),
    Case("protected by name alone.m4p", sound(*AAC, "-f", "ipod"), row()),
    Case("book.m4b", sound(*AAC, "-f", "ipod", rate=22050, channels=1, **TAGS), row(22050, 1, Near(64000, 0.6), **TAGGED)),
    Case("mono.m4a", sound("-c:a", "aac", "-b:a", "64k", channels=1), row(channels=1, bits=Near(64000, 0.3))),
    Case("5.1.m4a", sound("-c:a", "aac", "-b:a", "256k", rate=48000, channels=6), row(48000, 6, Near(256000, 0.9))),
    Case("tags of the encoder.m4a", sound(*AAC, **TAGS), row(**TAGGED)),
    Case("every tag.m4a", tagged(AAC), row(**EVERY_FIELD)),
    Case("jpeg.m4a", tagged(AAC, "jpg", JPEG), row(**EVERY_FIELD, has_cover=1)),
    Case("png.m4b", tagged((*AAC, "-f", "ipod"), "png", PNG), row(**EVERY_FIELD, has_cover=1)),
    Case("picture of no stated kind.m4a", tagged(AAC, "png", 0), row(**EVERY_FIELD, has_cover=1)),
    Case("genre by number.m4a", then(tagged(AAC, **{"\xa9nam": "A Title"}), genre_number),
         row(title="A Title", genre="Rock")),
    Case("whole date.m4a", tagged(AAC, **{"\xa9day": "2008-05-01"}), row()),
    Case("accents.m4a", tagged(AAC, **{"\xa9nam": "Caf\u00e9"}), row(title="Caf\u00e9".encode().decode("latin-1"))),
    Case("lossless.m4a", sound("-c:a", "alac"), row(bits=of_size())),
    Case("dolby.m4a", sound("-c:a", "ac3", "-b:a", "192k", "-f", "mp4", rate=48000), row(48000, 2, 192000)),
    Case("enhanced dolby.m4a", sound("-c:a", "eac3", "-b:a", "128k", "-f", "mp4", rate=48000), row(48000, 2, Near(128000))),
    Case("mp3 inside.m4a", sound("-c:a", "libmp3lame", "-b:a", "128k", "-f", "mp4"), row(bits=Near(128000, 0.02))),
    Case("index first.m4a", sound(*AAC, "-movflags", "faststart", **TAGS), row(**TAGGED)),
    Case("fragments.m4a", sound(*AAC, "-f", "mp4", "-frag_duration", "500000", "-movflags", "empty_moov"), row()),
    # The sound comes a second late: an empty edit at the head.
    Case("edit list.m4a", sound(*AAC, "-af", "anull", "-output_ts_offset", "1"), row(duration=WHOLE_SECONDS + 1)),
    Case("two sound tracks.m4a", two_sound_tracks, row(22050, 1, Near(48000, 0.3))),
    Case("film.m4a", film(*MPEG_4, "-c:a", "aac", "-f", "mp4", size="320x240"), film_row()),
    Case("hevc film.m4a", film(*HEVC, "-c:a", "aac", "-f", "mp4", size="256x144"), film_row(256, 144)),
    Case("h264 film.m4b", film(*H264, "-c:a", "aac", "-f", "mp4", size="320x240"), film_row()),
    Case("two video tracks.m4a", two_video_tracks, film_row()),
    Case("torn.m4a", text(b"this is no MP4 file\n" * 9), {},
         lines=("Failed to parse mp4 metadata from [%s].", "Failed to parse mp4 metadata.",
                "Failed to av_open_input_file() file [%s].", "Failed to get Misc Media Info from [%s].",
                "Failed to parse media metadata of file [%s].")),
    # Only the probe can read it: the sound is known, the tags are not, and the reader's failure is reported.
    Case("wave inside.m4a", sound("-c:a", "pcm_s16le", "-f", "wav", **TAGS), row(bits=1411200),
         lines=("Failed to parse mp4 metadata from [%s].", "Failed to parse mp4 metadata.",
                "Failed to parse media metadata of file [%s].")),
)

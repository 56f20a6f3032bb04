# SPDX-License-Identifier: GPL-2.0-or-later
"""MPEG films under .dat, which the daemon reads itself. Lengths come from the stated rate, rates and channels are in the
units that the catalogue's readers know: see each field."""
from . import handmade
from .case import SECONDS, Case, Near, film, text

# A Video CD's rates; the sequence header states its one in units of 400 bit/s, and the catalogue has a thousand of each.
VIDEO_CD_RATE, VIDEO_CD_SOUND = 1150000, 224000
STEREO, MONO = 0, 3
RATE_800K = ("-c:v", "mpeg1video", "-b:v", "800k", "-maxrate", "800k", "-bufsize", "320k")


def row(rate, width, height, **others):
    return {"duration": lambda size: Near(size * 8 / rate, 1e-6), "video_bitrate": rate // 400 * 1000, "width": width,
            "height": height, **others}


def with_sound(bits, rate, mode):
    """The catalogue has a thousand for each bit/s of the sound, and the mode of the channels for their number."""
    return {"audio_bitrate": bits * 1000, "sample_rate": rate, "channels": mode}


DISC_SOUND = with_sound(VIDEO_CD_SOUND, 44100, STEREO)

CASES = (
    Case("pal disc.dat", film("-target", "pal-vcd", "-ac", "2", "-f", "vcd"), row(VIDEO_CD_RATE, 352, 288, **DISC_SOUND)),
    Case("ntsc disc.dat", film("-target", "ntsc-vcd", "-ac", "2", "-f", "vcd"), row(VIDEO_CD_RATE, 352, 240, **DISC_SOUND)),
    Case("raw sectors.dat", lambda path: handmade.video_cd_file(path, SECONDS), row(VIDEO_CD_RATE, 352, 288, **DISC_SOUND)),
    Case("mono.dat", film(*RATE_800K, "-c:a", "mp2", "-b:a", "64k", "-f", "mpeg"),
         row(800000, 160, 120, **with_sound(64000, 44100, MONO))),
    Case("mpeg 2.dat", film("-c:v", "mpeg2video", "-b:v", "2000k", "-maxrate", "2000k", "-bufsize", "1835k", "-c:a", "mp2",
                            "-b:a", "128k", "-ac", "2", "-ar", "48000", "-f", "svcd", size="480x576"),
         row(2000000, 480, 576, **with_sound(128000, 48000, STEREO))),
    Case("pictures alone.dat", film(*RATE_800K, "-an", "-f", "mpeg1video"), row(800000, 160, 120)),
    Case("torn.dat", text(b"this is no film\n" * 9), {},
         lines=("couldn't find any valid video.", "Did not find video nor audio. Skip meta info",
                "Failed to parse dat metadata.", "Failed to parse media metadata of file [%s].")),
)

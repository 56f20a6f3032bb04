# SPDX-License-Identifier: GPL-2.0-or-later
"""Sound files that the probe, the MP3, the AIFF and the AAC readers take; FLAC and MP4 have tables of their own."""
import mutagen.apev2
import mutagen.id3

from . import handmade
from .case import SECONDS, TAGGED, TAGS, Case, Near, of_size, probed_sound, sound, text, then

# Frames and padding beyond what was asked for.
LENGTH = Near(SECONDS, 0.04)


def ape_tags(path):
    tags = mutagen.apev2.APEv2()
    for key, value in (("Title", "A Title"), ("Artist", "The Artist"), ("Album", "The Album"), ("Genre", "Jazz"),
                       ("Year", "2004"), ("Track", "7/12")):
        tags[key] = value
    tags.save(path)


def id3_tags(path):
    tags = mutagen.id3.ID3()
    for frame in (mutagen.id3.TIT2(encoding=3, text="A Title"), mutagen.id3.TPE1(encoding=0, text="The Artist"),
                  mutagen.id3.TALB(encoding=0, text="The Album"), mutagen.id3.TCON(encoding=0, text="Jazz"),
                  mutagen.id3.TDRC(encoding=0, text="2004"), mutagen.id3.TRCK(encoding=0, text="7/12")):
        tags.add(frame)
    tags.save(path)


def own_rate(rate, channels, bits, **others):
    """The row of a reader of the daemon's own, which knows the exact length and nothing of films."""
    return {"duration": LENGTH, "sample_rate": rate, "channels": channels, "audio_bitrate": bits, **others}


# The AAC reader's bit rate counts the frames, which are the whole file but for a tag.
AAC_FILE = of_size(share=0.04)
ADIF_RATE = 64000

CASES = (
    # MPEG audio: layer I is made by hand, since the encoders at hand make layers II and III only.
    Case("cbr.mp3", sound("-b:a", "128k"), own_rate(44100, 2, 128000)),
    Case("tags.mp3", sound("-b:a", "160k", "-id3v2_version", "3", rate=48000, channels=1, **TAGS),
         own_rate(48000, 1, 160000, **TAGGED)),
    # The frame that has the year in version 2.4 is not one of those that are read.
    Case("tags 2.4.mp3", sound("-b:a", "128k", "-id3v2_version", "4", **TAGS), 
         own_rate(44100, 2, 128000, **TAGGED | {"year": 0})),
    Case("vbr.mp3", sound("-q:a", "4", rate=32000), own_rate(32000, 2, of_size())),
    Case("UPPER.MP3", sound("-b:a", "128k"), own_rate(44100, 2, 128000)),
    Case("layer one.mp1", lambda path: handmade.layer_1(path, SECONDS), probed_sound(48000, 2, 384000)),
    Case("layer two.mp2", sound("-c:a", "mp2", "-b:a", "192k", rate=48000), probed_sound(48000, 2, 192000)),
    Case("layer two mono.mpa", sound("-c:a", "mp2", "-b:a", "96k", "-f", "mp2", rate=32000, channels=1),
         probed_sound(32000, 1, 96000)),
    Case("id3 tag.mp2", then(sound("-c:a", "mp2", "-b:a", "128k"), id3_tags), probed_sound(44100, 2, 128000, **TAGGED)),
    # Windows Media, RealAudio, Dolby. A .ram file names an address, so that only a wrongly named one holds sound.
    Case("windows.wma", sound("-c:a", "wmav2", "-b:a", "128k", **TAGS), probed_sound(44100, 2, 128000, **TAGGED)),
    Case("windows 1.wma", sound("-c:a", "wmav1", "-b:a", "64k", rate=22050, channels=1), probed_sound(22050, 1, 64000)),
    Case("real.ra", sound("-c:a", "ac3", "-b:a", "128k", "-f", "rm", title="A Title", author="The Artist"),
         probed_sound(44100, 2, 128000, title="A Title", artist="The Artist")),
    Case("real 14.4.ra", sound("-c:a", "real_144", "-f", "rm", rate=8000, channels=1),
         {"sample_rate": 8000, "channels": 1, "audio_bitrate": 8000}),
    Case("misnamed.ram", sound("-c:a", "ac3", "-b:a", "96k", "-f", "rm", channels=1), probed_sound(44100, 1, 96000)),
    Case("address.ram", text(b"rtsp://radio.example/live.ra\n"), {},
         lines=("Failed to av_open_input_file() file [%s].", "Failed to get Misc Media Info from [%s].",
                "Failed to parse music metadata from file [%s].", "Failed to parse media metadata of file [%s].")),
    Case("dolby.ac3", sound("-c:a", "ac3", "-b:a", "448k", rate=48000, channels=6), probed_sound(48000, 6, 448000)),
    # Plain samples in WAV: the rate follows from the sample's size.
    Case("16 bits.wav", sound("-c:a", "pcm_s16le"), probed_sound(44100, 2, 1411200)),
    Case("8 bits.wav", sound("-c:a", "pcm_u8", rate=11025, channels=1), probed_sound(11025, 1, 88200)),
    Case("u-law.wav", sound("-c:a", "pcm_mulaw", rate=8000, channels=1), probed_sound(8000, 1, 64000)),
    Case("a-law.wav", sound("-c:a", "pcm_alaw", rate=8000), probed_sound(8000, 2, 128000)),
    Case("24 bits.wav", sound("-c:a", "pcm_s24le", rate=96000), probed_sound(96000, 2, 96000 * 2 * 24)),
    Case("tags.wav", sound("-c:a", "pcm_s16le", **TAGS), probed_sound(44100, 2, 1411200, **TAGGED)),
    # Ogg has its tags in the stream.
    Case("vorbis.ogg", sound("-c:a", "libvorbis", "-b:a", "112k", **TAGS), probed_sound(44100, 2, Near(112000), **TAGGED)),
    Case("opus.ogg", sound("-c:a", "libopus", "-b:a", "64k", rate=48000, channels=1, **TAGS),
         probed_sound(48000, 1, **TAGGED)),
    Case("flac.ogg", sound("-c:a", "flac", "-f", "ogg", **TAGS), probed_sound(44100, 2, **TAGGED)),
    Case("speex.ogg", sound("-c:a", "libspeex", "-f", "ogg", rate=16000, channels=1, title="A Title"),
         probed_sound(16000, 1, Near(27800, 0.5), title="A Title")),
    Case("accents.ogg", sound("-c:a", "libvorbis", title="Caf\u00e9 \u266b", date="1999-12-31", track="3/12"),
         probed_sound(44100, 2, Near(112000), title="Caf\u00e9 \u266b".encode().decode("latin-1"), year=1999, track=3)),
    # Monkey's Audio is made by hand: no encoder is to be had.
    Case("monkey.ape", lambda path: handmade.monkeys_audio(path, SECONDS, 48000, 2), probed_sound(48000, 2)),
    Case("monkey tags.ape", then(lambda path: handmade.monkeys_audio(path, SECONDS, 44100, 1), ape_tags),
         probed_sound(44100, 1, **TAGGED)),
    # AIFF: no tags, the rate of the samples.
    Case("apple.aiff", sound("-c:a", "pcm_s16be"), own_rate(44100, 2, 1411200, duration=SECONDS)),
    Case("24 bits.aiff", sound("-c:a", "pcm_s24be", rate=96000, channels=1),
         own_rate(96000, 1, 96000 * 24, duration=SECONDS)),
    Case("compressed.aif", sound("-c:a", "pcm_alaw", "-f", "aiff", rate=8000, channels=1),
         own_rate(8000, 1, 8000 * 13, duration=SECONDS)),
    Case("tags are not read.aif", sound("-c:a", "pcm_s16be", "-f", "aiff", title="A Title", author="The Artist"),
         own_rate(44100, 2, 1411200, duration=SECONDS)),
    # AAC through the decoder program.
    Case("adts.aac", sound("-c:a", "aac", "-b:a", "96k"), own_rate(44100, 2, AAC_FILE)),
    Case("adts mono.aac", sound("-c:a", "aac", "-b:a", "48k", rate=24000, channels=1), own_rate(24000, 1, AAC_FILE)),
    Case("adts 5.1.aac", sound("-c:a", "aac", "-b:a", "256k", rate=48000, channels=6), own_rate(48000, 6, AAC_FILE)),
    Case("adts with a tag.aac", then(sound("-c:a", "aac", "-b:a", "128k"), id3_tags),
         own_rate(44100, 2, Near(128000, 0.5))),
    Case("it's $HOME `ls`.aac", sound("-c:a", "aac", "-b:a", "96k"), own_rate(44100, 2, AAC_FILE)),
    Case("adif.aac", lambda path: handmade.adif(path, ADIF_RATE, seconds=SECONDS),
         {"duration": lambda size: Near(size * 8 / ADIF_RATE, 1e-6), "sample_rate": 44100, "channels": 2,
          "audio_bitrate": ADIF_RATE}),
    Case("mp4 inside.aac", sound("-c:a", "aac", "-f", "mp4"), {}, lines=("Failed to parse media metadata of file [%s].",)),
)

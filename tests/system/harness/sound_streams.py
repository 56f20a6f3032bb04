# SPDX-License-Identifier: GPL-2.0-or-later
"""Streams of sound: the ways in which encoders write them, what ffprobe says of one in the words of the reader, and where the
reader has reasons to say otherwise."""
from .containers import container_names
from .sounds import ffprobe, ffprobe_packets

# Options of lame.
LAME = (["-b", "128"], ["-t", "-b", "320"], ["-V2"], ["--abr", "160"], ["-m", "m", "-b", "64"], ["--resample", "22.05", "-b", "64"],
        ["-t", "--resample", "24", "-b", "32"], ["--resample", "8", "-b", "16"], ["--resample", "11.025", "-V4"],
        ["--resample", "48", "-V0"])
# Options of ffmpeg, behind extensions or names where the format depends on them.
LAYER_TWO = (["-c:a", "libtwolame", "-b:a", "192k"], ["-c:a", "mp2", "-ar", "22050", "-b:a", "64k"])
PCM = (
    ("wav", ["-c:a", "pcm_mulaw"]), ("wav", ["-c:a", "pcm_alaw"]), ("wav", ["-c:a", "pcm_f32le"]),
    ("wav", ["-c:a", "pcm_s24le", "-ac", "6"]), ("wav", ["-c:a", "adpcm_ms"]), ("wav", ["-c:a", "adpcm_ima_wav"]),
    ("wav", ["-rf64", "always"]), ("wav", ["-c:a", "pcm_u8"]),
    ("aiff", ["-c:a", "pcm_s24be"]), ("aif", ["-c:a", "pcm_s16le"]), ("aif", ["-c:a", "pcm_mulaw"]), ("aif", ["-c:a", "pcm_f32be"]),
    ("aif", ["-c:a", "adpcm_ima_qt"]),
)
MP4 = (
    ("ac3.m4a", ["-c:a", "ac3", "-f", "mp4"]), ("eac3.m4a", ["-c:a", "eac3", "-f", "mp4"]),
    ("flac.mp4", ["-c:a", "flac", "-strict", "-2"]), ("opus.mp4", ["-c:a", "libopus", "-strict", "-2"]),
    ("mp3.mp4", ["-c:a", "libmp3lame"]), ("aac.3ga", ["-c:a", "aac", "-f", "3gp"]),
    ("surround.m4a", ["-c:a", "aac", "-ac", "6"]), ("pcm.mov", ["-c:a", "pcm_s24be"]),
    ("fragments.m4a", ["-c:a", "aac", "-movflags", "frag_keyframe+empty_moov", "-frag_duration", "200000"]),
)
ASF = ("wmav1", "libmp3lame", "pcm_s16le")
# Of one channel with samples of 24 bits: rates that the formats know.
HIGH = {"flac": 96000, "m4a": 48000, "vorbis": 48000, "wavpack": 96000}

# ffprobe gives no bit rate of these, or the nominal one. The mean is that of the packets, with what the container has around them.
NO_BITRATE = ("flac", "ogg", "wv", "tta")
# Whose length and bit rate ffprobe guesses from the first frames, unless it goes through all of them.
GUESSED = ("bare.mp3",)

DSD_RATE = "ffprobe divides the rate of DSD by eight"
DSD_BITS = "a sample of DSD is one bit, to ffprobe eight"
# Of which file and field the reader says otherwise, and why.
EXPLAINED = {
    ("dsf.dsf", "sample_rate"): DSD_RATE, ("dsf.dsf", "bits_per_sample"): DSD_BITS,
    ("dsdiff.dff", "sample_rate"): DSD_RATE, ("dsdiff.dff", "bits_per_sample"): DSD_BITS,
}


def ask(path):
    """What ffprobe says of the sound in a file."""
    stream, container = ffprobe(path)
    if path.name in GUESSED:
        container["duration"] = ffprobe_packets(path, "duration_time")
        stream["bit_rate"] = ffprobe_packets(path) * 8 / container["duration"]
    return {"stream": stream, "format": container,
            "packets": ffprobe_packets(path) if container["format_name"] in NO_BITRATE else None}


def alike(field, mine, theirs, told):
    """Lengths within 50 ms; bit rates within 2 %, and where packets are counted within 5 % or 2,500 bit/s."""
    if mine is None or theirs is None:
        return mine == theirs
    if field == "duration":
        return abs(mine - theirs) <= 0.05
    if field == "audio_bitrate":
        bound = theirs * 0.02 if told["packets"] is None else max(theirs * 0.05, 2500)
        return abs(mine - theirs) <= bound
    return mine == theirs


def compare(told, found):
    """Each field as (field, the reader's, ffprobe's, whether they are alike)."""
    stream, whole = told["stream"], told["format"]
    duration = float(whole["duration"]) if "duration" in whole else None
    rate = int(stream.get("bit_rate", 0)) if told["packets"] is None else told["packets"] * 8 / found["duration"][0]
    theirs = {
        "duration": duration, "sample_rate": int(stream["sample_rate"]), "channels": stream["channels"],
        "codec": stream["codec_name"], "audio_bitrate": rate or None,
        "bits_per_sample": (stream.get("bits_per_sample") or int(stream.get("bits_per_raw_sample") or 0)) or None,
    }
    for field, value in theirs.items():
        mine, = found.get(field, [None])
        yield field, mine, value, alike(field, mine, value, told)
    names = container_names(whole)
    yield "container", found.get("container"), sorted(names), set(found.get("container", ["none"])) == names

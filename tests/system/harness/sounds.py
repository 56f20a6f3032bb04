# SPDX-License-Identifier: GPL-2.0-or-later
"""Sound of every format by real encoders, small, without tags; and what the reader of sound says of a file."""
import json
import os
import pathlib
import shutil
import struct
import subprocess

from harness import media, started
from harness.encoded import encoded
from harness.sandbox import TREE

SECONDS = 0.7
WAV = "from.wav"

# Name: (what the reader calls the format, extension, how it is made of a WAV: a program, or ffmpeg's options).
ENCODERS = {
    "mp3": ("mpeg_audio", "mp3", ["lame", "--quiet", "-t", "-b", "128", "{wav}", "{out}"]),
    "mp2": ("mpeg_audio", "mp2", ["-c:a", "mp2"]),
    "aac": ("aac", "aac", ["-c:a", "aac"]),
    "flac": ("flac", "flac", ["flac", "--silent", "--force", "-o", "{out}", "{wav}"]),
    "vorbis": ("ogg_vorbis", "ogg", ["-c:a", "libvorbis"]),
    "opus": ("ogg_opus", "opus", ["-c:a", "libopus"]),
    "speex": ("ogg_speex", "spx", ["-c:a", "libspeex", "-ar", "16000"]),
    "oggflac": ("ogg_flac", "oga", ["-c:a", "flac"]),
    "m4a": ("mp4_sound", "m4a", ["-c:a", "aac"]),
    "alac": ("mp4_sound", "m4a", ["-c:a", "alac"]),
    "wma": ("asf_sound", "wma", ["-c:a", "wmav2"]),
    "aiff": ("aiff", "aiff", ["-c:a", "pcm_s16be"]),
    "wav": ("wav", "wav", ["-c:a", "pcm_s16le"]),
    "wavpack": ("wavpack", "wv", ["-c:a", "wavpack"]),
    "trueaudio": ("trueaudio", "tta", ["-c:a", "tta"]),
    "dsf": ("dsf", "dsf", None),
    "dsdiff": ("dsdiff", "dff", None),
}


def wave(path, rate=44100, channels=2, bits=16, seconds=SECONDS):
    media.call("sox", "-n", "-r", str(rate), "-c", str(channels), "-b", str(bits), str(path), "synth", str(seconds),
               "pinknoise", "vol", "0.3")


def dsf_bytes(rate=2822400, channels=2, seconds=SECONDS):
    """Sony's DSF without a tag."""
    samples = int(rate * seconds)
    blocks = -(-samples // (4096 * 8))
    data = b"\x69" * (blocks * 4096 * channels)
    form = struct.pack("<4sQLLLLLLQLL", b"fmt ", 52, 1, 0, 2, channels, rate, 1, samples, 4096, 0)
    size = 28 + len(form) + 12 + len(data)
    return struct.pack("<4sQQQ", b"DSD ", 28, size, 0) + form + struct.pack("<4sQ", b"data", 12 + len(data)) + data


def dsdiff_bytes(rate=2822400, channels=2, seconds=SECONDS):
    """Philips' DSDIFF without a tag."""
    def chunk(name, content):
        return struct.pack(">4sQ", name, len(content)) + content + b"\0" * (len(content) % 2)
    properties = b"SND " + chunk(b"FS  ", struct.pack(">L", rate)) + chunk(
        b"CHNL", struct.pack(">H", channels) + b"SLFTSRGT"[:4 * channels]) + chunk(b"CMPR", b"DSD \x0enot compressed\0")
    body = b"DSD " + chunk(b"FVER", b"\x01\x05\0\0") + chunk(b"PROP", properties) + chunk(
        b"DSD ", b"\x69" * (int(rate * seconds) * channels // 8))
    return struct.pack(">4sQ", b"FRM8", len(body)) + body


def make_sounds(folder):
    """Fills a folder with one file of each kind, and with the WAV that they are made of."""
    wav = folder / WAV
    wave(wav)
    for kind, (_, extension, how) in ENCODERS.items():
        path = folder / f"{kind}.{extension}"
        if kind == "dsf":
            path.write_bytes(dsf_bytes())
        elif kind == "dsdiff":
            path.write_bytes(dsdiff_bytes())
        elif how[0].startswith("-"):
            media.ffmpeg("-i", str(wav), "-map_metadata", "-1", *how, str(path))
        else:
            media.call(*[part.format(wav=wav, out=path) for part in how])


class Sounds:
    """What make_sounds() has made."""

    def __init__(self, folder):
        self.folder = folder
        self.wav = folder / WAV

    def copy(self, kind, path):
        """A file of a kind for oneself. Returns its path."""
        made = self.folder / f"{kind}.{ENCODERS[kind][1]}"
        path = pathlib.Path(path) / made.name
        shutil.copyfile(made, path)
        return path


def plain_sounds():
    """One file of each kind, made once."""
    return Sounds(encoded("sounds", make_sounds, pathlib.Path(__file__)))


def dump(kind_or_format, path, charset="", picture=None):
    """The facts of a file, each a list of values."""
    program = pathlib.Path(os.environ.get("VELU_BINARY", TREE / "build/release/bin/veluindexd")).resolve().parent / "sound_dump"
    form = ENCODERS[kind_or_format][0] if kind_or_format in ENCODERS else kind_or_format
    environment = dict(os.environ, VELU_CHARSET=charset, **({"VELU_PICTURE": str(picture)} if picture else {}))
    done = subprocess.run([program, form, str(path)], capture_output=True, check=True, env=environment)
    return json.loads(done.stdout.decode("utf-8"))


def ffprobe(path):
    """The first stream of sound and the container, as ffprobe tells them."""
    found = json.loads(started.said("ffprobe", "-v", "error", "-of", "json", "-select_streams", "a:0", "-show_streams",
                                    "-show_format", path))
    return found["streams"][0], found["format"]


def ffprobe_packets(path, field="size"):
    """The sum over the packets of sound: of "size" in bytes, of "duration_time" in seconds."""
    packets = started.said("ffprobe", "-v", "error", "-of", "csv=p=0", "-select_streams", "a:0", "-show_entries",
                           f"packet={field}", path)
    return sum(float(one.strip(b",")) for one in packets.split())

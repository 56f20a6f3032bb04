# SPDX-License-Identifier: GPL-2.0-or-later
"""Makes small real media files with real encoders."""
import os
import subprocess

from harness import started


class MediaError(Exception):
    """An encoder failed."""


def call(*arguments):
    _succeeded(subprocess.run(arguments, stdin=subprocess.DEVNULL, capture_output=True, check=False))


def _succeeded(done):
    if done.returncode:
        raise MediaError(f"{done.args[0]}: {done.stderr.decode(errors='replace')[-500:]}")


def ffmpeg(*arguments):
    _succeeded(started.run("ffmpeg", "-nostdin", "-loglevel", "error", "-y", *arguments))


# Files that one call writes: each has streams, encoders and a muxer of its own in memory.
TOGETHER_MAX = 16


def ffmpeg_together(jobs, *options):
    """Writes several files with one call. A job is (inputs, words, path): for each input its words, which end with -i and what it
    is, and the words of the output, into which all inputs go; as if each were written by a call of its own."""
    before, behind, count = [], [], 0
    for inputs, words, path in jobs:
        before += [word for one in inputs for word in one]
        behind += [word for number in range(count, count + len(inputs)) for word in ("-map", number)]
        behind += ["-map_metadata", count, *words, path]
        count += len(inputs)
    ffmpeg(*options, *map(str, before + behind))


def _folder_of(path):
    os.makedirs(os.path.dirname(path), exist_ok=True)


def tone(path, seconds=1, pitch=440):
    """A stereo sine as WAV: what the audio encoders start from."""
    _folder_of(path)
    call("sox", "-n", "-r", "44100", "-c", "2", "-b", "16", path, "synth", str(seconds), "sine", str(pitch),
          "vol", "0.3")


def mp3(path, wav, cover=None, **tags):
    """`tags`: title, artist, album, genre, year, track, comment as lame names them (tt, ta, tl, tg, ty, tn, tc)."""
    _folder_of(path)
    names = {"title": "--tt", "artist": "--ta", "album": "--tl", "genre": "--tg", "year": "--ty", "track": "--tn",
             "comment": "--tc"}
    options = [part for key, value in tags.items() for part in (names[key], str(value))]
    if cover:
        options += ["--ti", cover]
    call("lame", "--quiet", "-b", "128", *(["--add-id3v2"] if tags or cover else []), *options, wav, path)


def flac(path, wav, cover=None, **tags):
    _folder_of(path)
    call("flac", "--silent", "--force", *[f"--tag={key.upper()}={value}" for key, value in tags.items()],
          *([f"--picture={cover}"] if cover else []), "-o", path, wav)


def audio(path, wav, *options, **tags):
    """Any audio format that ffmpeg knows by the extension."""
    _folder_of(path)
    metadata = [part for key, value in tags.items() for part in ("-metadata", f"{key}={value}")]
    ffmpeg("-i", wav, *options, *metadata, path)


def sound(path, *options, seconds=1, rate=44100, channels=2, **tags):
    """A sine in any audio format that ffmpeg knows by the extension or by the options."""
    _folder_of(path)
    metadata = [part for key, value in tags.items() for part in ("-metadata", f"{key}={value}")]
    ffmpeg("-f", "lavfi", "-i", f"sine=frequency=440:sample_rate={rate}:duration={seconds}", "-ac", str(channels),
            *options, *metadata, path)


def remux(path, *inputs_and_options):
    """Whatever ffmpeg makes of files that are there already."""
    _folder_of(path)
    ffmpeg(*inputs_and_options, path)


def picture(path, width, height, *options, kind=None):
    """A picture in the format of the extension, or of a kind that ImageMagick names."""
    _folder_of(path)
    call("convert", "-size", f"{width}x{height}", "plasma:navy-orange", *options, f"{kind}:{path}" if kind else path)


def exif(path, **tags):
    """Writes EXIF tags (Make, Model, DateTimeOriginal, ISO, FNumber, ExposureTime) into a picture."""
    call("exiftool", "-q", "-overwrite_original", *[f"-{key}={value}" for key, value in tags.items()], path)


def clip(path, *options, seconds=1, size="160x120", **tags):
    """A short film with sound, in the format of the extension."""
    _folder_of(path)
    metadata = [part for key, value in tags.items() for part in ("-metadata", f"{key}={value}")]
    ffmpeg("-f", "lavfi", "-i", f"testsrc=size={size}:rate=25:duration={seconds}",
            "-f", "lavfi", "-i", f"sine=frequency=440:duration={seconds}", *options, *metadata, path)


# What the tests copy into the shares: real files of every family, by name.
def make_samples(folder):
    wav = f"{folder}/tone.wav"
    cover = f"{folder}/cover.jpg"
    tone(wav)
    picture(cover, 64, 64)
    mp3(f"{folder}/plain.mp3", wav)
    mp3(f"{folder}/tagged.mp3", wav, cover=cover, title="First Song", artist="The Players", album="Early Works",
        genre="Jazz", year=2004, track=3, comment="made for a test")
    flac(f"{folder}/tagged.flac", wav, title="Second Song", artist="The Players", album="Early Works", date="2005")
    audio(f"{folder}/tone.m4a", wav, title="Third Song", artist="The Players")
    audio(f"{folder}/tone.aac", wav)
    audio(f"{folder}/tone.ogg", wav, "-c:a", "libvorbis", title="Fourth Song")
    audio(f"{folder}/tone.wma", wav)
    audio(f"{folder}/tone.mp2", wav)
    audio(f"{folder}/tone.ac3", wav)
    audio(f"{folder}/tone.aiff", wav)
    audio(f"{folder}/tone.pcm", wav, "-f", "s16le")
    clip(f"{folder}/clip.avi", "-c:v", "mpeg4", "-c:a", "mp3")
    clip(f"{folder}/clip.mpg", "-c:v", "mpeg1video", "-c:a", "mp2")
    clip(f"{folder}/clip.mp4", "-c:v", "mpeg4", "-c:a", "aac")
    picture(f"{folder}/picture.jpg", 120, 80)
    picture(f"{folder}/picture.png", 90, 60)
    picture(f"{folder}/picture.gif", 50, 40)
    picture(f"{folder}/picture.bmp", 30, 20)
    picture(f"{folder}/picture.tif", 40, 30)
    picture(f"{folder}/exif.jpg", 200, 100)
    exif(f"{folder}/exif.jpg", Make="Maker", Model="Model 1", DateTimeOriginal="2009:03:07 08:09:10", ISO=200)
    with open(f"{folder}/list.m3u", "w", encoding="ascii") as playlist:
        playlist.write("#EXTM3U\nplain.mp3\n")
    for name in ("broken.avi", "broken.mp3", "broken.jpg"):
        with open(f"{folder}/{name}", "wb") as file:
            file.write(b"this is no media file\n" * 8)

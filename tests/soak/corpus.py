# SPDX-License-Identifier: GPL-2.0-or-later
"""The whole files that a soak starts from: the samples and format cases of the system tests."""
import concurrent.futures
import os

from formats.tables import CASES
from harness import media

# Larger files take longer to write than to index, and what is behind the first megabyte is sound and pictures.
LARGEST = 1 << 20

# How often a mutated file is of a format: those that the daemon reads itself come most, since its own readers are what
# is tested; the rest goes to the confined probe, or to nothing but the path rules.
WEIGHTS = {
    "mp3": 20, "flac": 10, "m4a": 6, "mp4": 6, "m4v": 3, "m4b": 2, "m4p": 2, "3gp": 2, "mov": 2, "aac": 4, "aiff": 5, "aif": 3,
    "dat": 5, "jpg": 14, "png": 3, "gif": 2, "bmp": 2, "tif": 5, "m3u": 1, "ogg": 2, "avi": 2, "wma": 1, "mpg": 2,
    "mp2": 1, "ac3": 1, "wav": 1, "wmv": 1, "mkv": 1,
}
PICTURES = frozenset(("jpg", "png", "gif", "bmp", "tif"))


def _extension(name):
    return name.rsplit(".", 1)[1].lower()


def _more_pictures(folder):
    """Headers of more than one shape for each picture format."""
    media.picture(f"{folder}/progressive.jpg", 300, 200, "-interlace", "JPEG")
    media.picture(f"{folder}/many-tags.jpg", 64, 48)
    media.exif(f"{folder}/many-tags.jpg", Make="Maker", Model="M" * 60, DateTimeOriginal="2009:03:07 08:09:10", ISO=200,
               FNumber=8, ExposureTime="1/125", Artist="A" * 200, ImageDescription="D" * 500, GPSLatitude=1)
    media.picture(f"{folder}/big-endian.tif", 33, 22, "-define", "tiff:endian=msb")
    media.picture(f"{folder}/strips.tif", 200, 300, "-compress", "LZW")


def make_corpus(folder):
    """The corpus by extension: lists of a name and its bytes, in a fixed order."""
    os.makedirs(folder, exist_ok=True)
    jobs = [lambda: media.make_samples(folder), lambda: _more_pictures(folder)]
    for _, case in CASES:
        if _extension(case.name) in WEIGHTS:
            jobs.append(lambda case=case: case.make(f"{folder}/{case.name}"))
    with concurrent.futures.ThreadPoolExecutor(2) as pool:
        for job in [pool.submit(job) for job in jobs]:
            job.result()
    corpus = {}
    for name in sorted(os.listdir(folder)):
        path = f"{folder}/{name}"
        if "." in name and _extension(name) in WEIGHTS and 0 < os.path.getsize(path) <= LARGEST:
            with open(path, "rb") as file:
                corpus.setdefault(_extension(name), []).append((name, file.read()))
    return corpus

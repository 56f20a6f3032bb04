# SPDX-License-Identifier: GPL-2.0-or-later
"""The whole files that a soak starts from: the samples and format cases of the system tests."""
import concurrent.futures
import os
import pathlib

from formats.tables import CASES
from harness import film_facts, media, photo_facts, sound_library

# Larger files take longer to write than to index, and what is behind the first megabyte is sound and pictures.
LARGEST = 1 << 20

# How often a mutated file is of a format: those that the daemon reads itself come most, since its own readers are what
# is tested; the rest goes to the confined probe, or to nothing but the path rules.
WEIGHTS = {
    "mp3": 20, "flac": 10, "m4a": 6, "mp4": 6, "m4v": 3, "m4b": 2, "m4p": 2, "3gp": 2, "mov": 2, "aac": 4, "aiff": 5, "aif": 3,
    "dat": 5, "jpg": 14, "png": 3, "gif": 2, "bmp": 2, "tif": 5, "m3u": 1, "ogg": 2, "avi": 2, "wma": 1, "mpg": 2,
    "mp2": 1, "ac3": 1, "wav": 1, "wmv": 1, "mkv": 1,
}
# And of those that the rules `complete` read besides.
MORE_WEIGHTS = {
    "opus": 4, "oga": 2, "spx": 2, "wv": 3, "tta": 2, "dsf": 3, "dff": 3, "caf": 1, "au": 1, "w64": 1, "dts": 1, "eac3": 1, "amr": 1,
    "mka": 2, "3ga": 1, "webm": 3, "ogv": 2, "m2v": 1, "mxf": 2, "flv": 2, "wtv": 2, "nut": 1, "dv": 1, "ts": 4, "vob": 1, "rm": 1,
    "h264": 1, "hevc": 1, "asf": 1, "heic": 4, "avif": 3, "webp": 4, "jxl": 3, "jp2": 3, "psd": 3, "ico": 1, "tga": 1, "dng": 1,
    "nef": 2, "arw": 1, "sr2": 1, "pef": 1, "srw": 1, "orf": 1, "cr2": 3, "cr3": 3, "rw2": 3, "raf": 3, "crw": 3, "x3f": 2, "mrw": 2,
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


def _take(corpus, folder, weights):
    for path in sorted(pathlib.Path(folder).rglob("*.*")):
        if _extension(path.name) in weights and path.is_file() and 0 < path.stat().st_size <= LARGEST:
            corpus.setdefault(_extension(path.name), []).append((path.name, path.read_bytes()))


def weights_of(rules):
    return {**WEIGHTS, **MORE_WEIGHTS} if rules == "complete" else WEIGHTS


def make_corpus(folder, rules):
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
    _take(corpus, folder, WEIGHTS)
    if rules == "complete":
        for library in (sound_library.library(), film_facts.library(), photo_facts.library()):
            _take(corpus, library, weights_of(rules))
    return corpus

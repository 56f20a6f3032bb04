# SPDX-License-Identifier: GPL-2.0-or-later
"""Music with known contents: tones of an exact number of samples, what encoders make of them, and the rows that the daemon
makes of that."""
import array
import functools
import math
import os
import wave

from . import media

ALBUM = "/volume1/music/Some Artist/The Album"
TAG_COLUMNS = ("title", "artist", "album", "genre", "composer", "comment", "track", "disc", "year")


@functools.cache
def _second(rate, channels):
    """A second of a rising and falling tone."""
    one = array.array("h", [int(12000 * math.sin(math.pi * i / rate) * math.sin(500 * math.pi * (i / rate) ** 2)) for i in range(rate)])
    every = array.array("h", bytes(one.itemsize * channels * rate))
    for channel in range(channels):
        every[channel::channels] = one
    return every.tobytes()


def tone(path, samples, rate=44100, channels=2):
    """Exactly so many samples, as WAV. No program makes it, so that no default of one can change how many there are."""
    size = channels * array.array("h").itemsize
    content = _second(rate, channels) * (samples // rate + 1)
    with wave.open(path, "wb") as file:
        file.setparams((channels, size // channels, rate, samples, "NONE", ""))
        file.writeframes(content[:samples * size])
    return path


def lame(path, wav, *options):
    media.call("lame", "--quiet", *options, wav, path)
    return path


def catalogue(daemon, files, folder=ALBUM):
    """Puts files ({name: contents, or a path of the host}) into a folder, queues a line for each, waits for the run, and gives
    {name: row} with the texts as characters."""
    for name, content in files.items():
        if isinstance(content, bytes):
            daemon.write(f"{folder}/{name}", content)
        else:
            daemon.copy(content, f"{folder}/{name}")
    daemon.index(*(f"a:{folder}/{name}" for name in files))
    rows = {os.path.basename(row["path"]): row for row in daemon.rows("music") if os.path.dirname(row["path"]) == folder}
    assert sorted(rows) == sorted(files)
    return {name: {column: value.encode("latin-1").decode("utf-8") if isinstance(value, str) else value
                   for column, value in row.items()} for name, row in rows.items()}


def part(rows, *columns):
    """Those columns alone, for a comparison of whole tables."""
    return {name: {column: row[column] for column in columns} for name, row in rows.items()}


def tags(name, **known):
    """What the tag columns of a file are: the known values, and for the others what a file without a tag gets."""
    nothing = dict.fromkeys(TAG_COLUMNS, "") | {"track": 0, "disc": 0, "year": 0}
    return nothing | {"title": os.path.splitext(name)[0], "album": os.path.basename(ALBUM)} | known


def check_tags(daemon, cases):
    """`cases`: {name: (contents, the known tag columns)}. All are indexed in one run."""
    rows = catalogue(daemon, {name: content for name, (content, _) in cases.items()})
    assert part(rows, *TAG_COLUMNS) == {name: tags(name, **known) for name, (_, known) in cases.items()}
    return rows

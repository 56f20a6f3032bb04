# SPDX-License-Identifier: GPL-2.0-or-later
"""One file of the tables: how it is made and what its row must hold."""
import functools
import tempfile
from collections.abc import Callable
from dataclasses import dataclass, field

from harness import media

# Half a second over, so that neither an encoder's padding nor the cut to whole seconds hides a wrong length.
SECONDS = 3.5
WHOLE_SECONDS = 3
FOLDER = "/volume1/music/formats"

TAGS = {"title": "A Title", "artist": "The Artist", "album": "The Album", "genre": "Jazz", "date": "2004", "track": "7"}
TAGGED = {"title": "A Title", "artist": "The Artist", "album": "The Album", "genre": "Jazz", "year": 2004, "track": 7}


@dataclass(frozen=True)
class Near:
    """A number that an encoder is only asked for: what it makes of it may differ by a share."""

    value: float
    share: float = 0.15

    def __eq__(self, other):
        return abs(other - self.value) <= self.share * self.value


def of_size(seconds=SECONDS, share=0.15):
    """The bit rate of the whole file: its size over its length."""
    return lambda size: Near(size * 8 / seconds, share)


@dataclass(frozen=True)
class Case:
    """`row` names the fields that are not at their default: title and album from the path, the rest empty or 0.
    A value that is a function is asked with the file's size. `lines`: the error lines that the file gives, less module
    and line; the path stands for %s."""

    name: str
    make: Callable[[str], None]
    row: dict = field(default_factory=dict)
    lines: tuple = ()

    @property
    def path(self):
        return f"{FOLDER}/{self.name}"

    @property
    def extension(self):
        return self.name.rsplit(".", 1)[1].lower()

    def expected(self, size):
        texts = dict.fromkeys(("artist", "genre", "composer", "comment"), "")
        numbers = dict.fromkeys(("track", "disc", "year", "duration", "audio_bitrate", "video_bitrate", "sample_rate",
                                 "channels", "width", "height", "has_cover"), 0)
        names = {"title": self.name.rsplit(".", 1)[0], "album": "formats"}
        row = {"file_size": size, **texts, **numbers, **names, **self.row}
        return {key: value(size) if callable(value) else value for key, value in row.items()}


# --- makers


@functools.cache
def _encoded(ending, options, settings):
    """The bytes of a sound file. Many cases start from the same one, and starting an encoder is slow."""
    with tempfile.TemporaryDirectory() as folder:
        path = f"{folder}/sound.{ending}"
        media.sound(path, *options, **dict(settings))
        with open(path, "rb") as file:
            return file.read()


def sound(*options, **settings):
    """A maker of sound files: see media.sound."""
    def make(path):
        text(_encoded(path.rsplit(".", 1)[1], options, tuple({"seconds": SECONDS, **settings}.items())))(path)
    return make


def film(*options, **settings):
    """A maker of films with sound: see media.clip."""
    return lambda path: media.clip(path, *options, **{"seconds": SECONDS, **settings})


def text(content):
    def make(path):
        with open(path, "wb") as file:
            file.write(content)
    return make


def then(make, change):
    """Makes a file and lets `change` work on it."""
    def both(path):
        make(path)
        change(path)
    return both


# --- rows


def probed_sound(rate, channels, bits=0, **others):
    """The row of a sound file that the probe reads; the field of films holds the rate of the whole file."""
    return {"duration": WHOLE_SECONDS, "sample_rate": rate, "channels": channels, "audio_bitrate": bits,
            "video_bitrate": of_size(), **others}


def probed_film(rate, channels, bits=0, width=160, height=120, **others):
    return probed_sound(rate, channels, bits, width=width, height=height, **others)

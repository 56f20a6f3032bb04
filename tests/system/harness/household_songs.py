# SPDX-License-Identifier: GPL-2.0-or-later
"""The songs of a household's library: every kind of sound tagged in many ways, and what mutagen and ffprobe say of each."""
import functools
import itertools
import json
import pathlib
import shutil
from concurrent.futures import ThreadPoolExecutor

import mutagen

from . import film_facts, sound_library, sound_streams, sound_tags
from .encoded import HARNESS, encoded

ASKED = "asked.json"
COPIES = 24  # of each kind of sound, tagged anew
TITLES = (["Plain"], ["Ünïcödé – ﬁne"], ["題名 ソング"], ["Песня"], ["שיר"], ["🎵 and 𝄞"], ["Slash / back \\ slash"], ['Quote "x" \'y\''],
          ["A; B"], ["One", "Two"], ["  blanks  "], ["x" * 200], ["1999"], ["100% of_it"])
ARTISTS = (["Somebody"], ["Sigur Rós"], ["Ärtist A", "Artist B"], ["AC/DC"], ["久石譲"], ["The Beatles"], ["Simon & Garfunkel feat. X"])
GENRES = (["Jazz"], ["17"], ["(17)"], ["Post-Rock", "Ambient"], ["Rock & Roll"], ["Blues"], ["Электро"])
DATES = ("2004", "2004-05", "2004-05-06", "1969")
OPTIONS = ({"encoding": 0, "v2_version": 3, "v23_sep": "/"}, {"encoding": 1, "v2_version": 3, "v23_sep": "/"}, {"encoding": 3},
           {"encoding": 1}, {"encoding": 2}, {"encoding": 0})

# Of the library of films what the reader of sound reads: other programs are asked about it, once more.
SOUND_OF_FILMS = {*(f"sound.{extension}" for extension in "aac aiff flac mp3 mp2 ogg opus spx tta wv wav".split()), "sound_only.wma",
                  "vorbis_only.ogv"}


def facts_of(number):
    """What a tagger writes into the song of that number."""
    facts = {"title": TITLES[number % len(TITLES)], "artist": ARTISTS[number % len(ARTISTS)]}
    if number % 4:
        facts |= {"album": [f"Älbum {number // 12}"], "genre": GENRES[number % len(GENRES)], "date": [DATES[number % len(DATES)]],
                  "track": [number % 12 + 1], "tracktotal": [12]}
    if number % 4 > 1:
        rest = {fact: values for fact, values in sound_tags.FACTS.items() if fact not in facts}
        facts |= {**rest, "comment": [f"Cömment {number}"], "bpm": [60 + number % 140]}
    return facts


def _tagged_anew(folder):
    """Copies of every sound with tags of their own. Yields (path, origin, row)."""
    kinds = sound_library.asked()["streams"]
    for number, (copy, (path, row, _)) in enumerate(itertools.product(range(COPIES), [kind[:3] for kind in kinds])):
        origin = pathlib.Path(path)
        made = folder / f"{number}{origin.suffix}"
        shutil.copyfile(sound_library.library() / path, made)
        options = OPTIONS[copy % len(OPTIONS)]
        is_id3 = made.suffix in (".aac", ".mp2") or isinstance(getattr(_opened(made), "tags", None), mutagen.id3.ID3) or made.suffix == ".mp3"
        if copy % 6 != 5 and (made.suffix in (".aac", ".mp2") or _opened(made) is not None):
            sound_tags.write(made, facts=facts_of(number), **(options if is_id3 else {}))
        yield made, origin.name, row


def _sound_of_films(folder):
    for name in sorted(SOUND_OF_FILMS):
        shutil.copyfile(film_facts.library() / name, folder / name)
        yield folder / name, name, name.rpartition(".")[2]


def _opened(path):
    try:
        return mutagen.File(path)
    except mutagen.MutagenError:
        return None


def _make(folder):
    made = [*_tagged_anew(folder), *_sound_of_films(folder)]
    with ThreadPoolExecutor(2) as pool:
        streams = list(pool.map(sound_streams.ask, [path for path, _, _ in made]))
    told = [(path.name, origin, row, {"streams": stream, "tags": _tags_of(path)})
            for (path, origin, row), stream in zip(made, streams)]
    (folder / ASKED).write_text(json.dumps(told), encoding="utf-8")


def _tags_of(path):
    """What mutagen reads; None for a file that it does not know."""
    return sound_tags.read(path) if path.suffix in (".aac", ".mp2") or _opened(path) is not None else None


@functools.cache
def library():
    """The folder of the songs that are tagged anew, and of each (name, origin, row, what is said of it)."""
    scripts = ("household_songs.py", "films.py", "sound_library.py", "sound_streams.py", "sound_tags.py", "sounds.py", "containers.py")
    folder = encoded("household_songs", _make, *(HARNESS / script for script in scripts))
    return folder, json.loads((folder / ASKED).read_text(encoding="utf-8"))

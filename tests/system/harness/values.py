# SPDX-License-Identifier: GPL-2.0-or-later
"""How many values of the readers are those of mutagen, ffprobe and exiftool, by format and kind of fact, over the libraries that the
tests make."""
import collections
import pathlib
import textwrap
import typing

from . import film_facts, films, photo_facts, pictures, sound_library, sound_streams, sound_tags, sounds
from .containers import container_names


class Value(typing.NamedTuple):
    """A field of a file; `mine` is the reader's, `theirs` the reference's. `reason` is why they differ, when it is known."""
    row: str
    name: str
    field: str
    mine: object
    theirs: object
    alike: bool
    reason: typing.Optional[str]


class Table(typing.NamedTuple):
    """`columns` are the fields of each column; `explained` the (name, field) for which reasons stand ready."""
    title: str
    about: str
    columns: dict
    values: list
    explained: set


TAGS = {"names": ("title", "album", "artist", "albumartist", "genre"),
        "people": ("composer", "conductor", "lyricist", "publisher"),
        "numbers": ("track", "tracktotal", "disc", "disctotal", "compilation", "bpm"),
        "dates": ("date", "year", "originaldate"), "texts": ("comment", "lyrics", "language", "isrc"),
        "sorting": ("titlesort", "artistsort", "albumsort"),
        "loudness": ("replaygain_track_gain", "replaygain_album_gain"),
        "MusicBrainz": ("musicbrainz_trackid", "musicbrainz_albumid", "musicbrainz_artistid")}
STREAMS = {"container": ("container",), "codec": ("codec",), "duration": ("duration",), "bit rate": ("audio_bitrate",),
           "sample rate": ("sample_rate",), "channels": ("channels",), "bits": ("bits_per_sample",)}
FILMS = {"container": ("container",), "film or sound": ("content",), "duration": ("duration",),
         "picture": ("video_codec", "width", "height", "rotation", "hdr"), "frame rate": ("frame_rate",),
         "sound": ("codec", "sample_rate", "channels", "bits_per_sample"), "bit rates": ("audio_bitrate", "video_bitrate"),
         "tags": ("title", "artist", "album", "genre", "composer", "comment", "date", "year", "albumartist", "description", "show",
                  "publisher", "lyrics", "track", "disc"),
         "languages": ("audio_language", "subtitle_language"), "chapters": ("chapter",)}
PHOTOS = {"size": ("size",), "camera": ("camera_make", "camera_model", "lens"),
          "exposure": ("exposure_time", "f_number", "iso_speed", "focal_length"), "orientation": ("orientation",),
          "date": ("date_taken",), "place": ("gps_latitude", "gps_longitude", "gps_altitude"),
          "texts": ("title", "description", "artist", "comment"), "keywords": ("keyword",), "rating": ("rating",)}


def _sound(part, compare, reason):
    folder = sound_library.library()
    for path, row, form, told in sound_library.asked()[part]:
        name = pathlib.Path(path).name
        for field, mine, theirs, alike in compare(told, sounds.dump(form, folder / path)):
            yield Value(row, name, field, mine, theirs, alike, None if alike else reason(name, field, mine, theirs))


def _films(binary):
    folder, asked = film_facts.library(), film_facts.asked()
    order = [name for name in (*films.FILES, *films.OTHERS) if name in asked]
    order += sorted(asked.keys() - set(order))
    for name, found in zip(order, film_facts.dump(binary, *(folder / name for name in order))):
        row = "webm" if name.endswith((".webm", ".weba")) else min(container_names(asked[name]["format"]))
        for field, mine, theirs, alike in film_facts.compare(asked[name], found):
            yield Value(row, name, field, mine, theirs, alike, None if alike else film_facts.reason(name, field, mine))


def _photos(binary):
    folder = photo_facts.library()
    answers = photo_facts.read(binary, *pictures.every(folder))
    for name, tags in pictures.exiftool(folder).items():
        row = pathlib.Path(name).suffix[1:]
        for fact, mine, theirs, alike in photo_facts.compare(tags, answers[str(folder / name)]["facts"]):
            yield Value(row, name, fact, mine, theirs, alike, photo_facts.EXPLAINED.get((name, fact)))


def tables(binary):
    """Asks the readers beside the binary for everything and returns the tables."""
    def table(title, about, columns, values, explained):
        told = [value for value in values if value.mine not in (None, []) or value.theirs not in (None, [])]
        return Table(title, about, columns, told, set(explained))

    return [
        table("Tags of sound", "Beside mutagen, which has also written them but for ID3v1, ID3v2.2 and the headers that are named.", TAGS,
              _sound("tags", sound_tags.compare, sound_tags.reason), sound_tags.OTHER_ORDER),
        table("Streams of sound", "Beside ffprobe. Durations count as equal within 50 ms, bit rates within 2 %. Of FLAC, Ogg, WavPack and "
              "True Audio ffprobe knows no bit rate or the nominal one: there it is the sum of its packets, and equal within 5 % or "
              "2,500 bit/s.", STREAMS,
              _sound("streams", sound_streams.compare, lambda name, field, *_: sound_streams.EXPLAINED.get((name, field))),
              sound_streams.EXPLAINED),
        table("Films", "Beside ffprobe, with the sound that the library of films alone reads. Numbers count as equal within 0.001. ffprobe "
              "does not tell Matroska and WebM apart: of these rows the extension decides.", FILMS, _films(binary),
              film_facts.TOLD_OTHERWISE),
        table("Photos", "Beside exiftool, which has also written the metadata.", PHOTOS, _photos(binary), photo_facts.EXPLAINED),
    ]


def cells(table):
    """For each row its files' names and for each column the values' count and how many of them are alike."""
    column_of = {field: column for column, fields in table.columns.items() for field in fields}
    counts, files = collections.defaultdict(lambda: [0, 0]), collections.defaultdict(set)
    for value in table.values:
        files[value.row].add(value.name)
        count = counts[value.row, column_of[value.field]]
        count[0] += 1
        count[1] += value.alike
    return files, counts


def faults(table):
    """One line for each difference without a reason, and for each reason without a difference."""
    unlike = [value for value in table.values if not value.alike]
    lines = [f"{value.name}: {value.field}: {value.mine} instead of {value.theirs}" for value in unlike if not value.reason]
    stale = table.explained - {(value.name, value.field) for value in unlike}
    return lines + [f"{name}: {field}: is explained and does not differ" for name, field in sorted(stale)]


def reasons(table):
    """Each reason once, as (reason, rows, fields, names of files)."""
    found = collections.defaultdict(lambda: ({}, {}, {}))
    for value in table.values:
        if not value.alike:
            for names, name in zip(found[value.reason or "no reason is known"], (value.row, value.field, value.name)):
                names[name] = None
    return [(reason, *map(list, names)) for reason, names in found.items()]


def _share(count, words):
    total, alike = count
    return words.format(alike=alike, total=total, share=100 * alike // total) if total else ""


def lines_of(table, words):
    """The table as lines of Markdown; `words` is what a cell says."""
    files, counts = cells(table)
    yield "| format | files | " + " | ".join(table.columns) + " |"
    yield "| --- | " + " | ".join(["---:"] * (len(table.columns) + 1)) + " |"
    for row, names in files.items():
        shares = [_share(counts[row, column], words) for column in table.columns]
        yield f"| {row} | {len(names)} | " + " | ".join(shares) + " |"


HEAD = """# What the readers read, beside other programs

How many of the values that the readers of the rules `complete` find are those that mutagen, ffprobe and exiftool find in the
same files, in percent, rounded down. A cell is empty where the files have no such value. The files are those that the system
tests make with real encoders: every kind of tag in every encoding, every container with the codecs that people have in it,
every format of pictures; raw photos are TIFF of another name, or put together as their makers lay them out. Below each table stands why a cell has less than 100.

`tests/values --markdown` writes this document; without the option it prints counts and both values of each difference. A test
sees to it that this is what comes out, and that no difference is without a reason.
"""


def document(found):
    """docs/formats.md."""
    lines = [HEAD]
    for table in found:
        lines += [f"## {table.title}", "", _wrapped(table.about), "", *lines_of(table, "{share}"), ""]
        for reason, rows, fields, names in reasons(table):
            code = [", ".join(f"`{name}`" for name in names) for names in (fields, names)]
            lines.append(_wrapped(f"- {', '.join(rows)}: {code[0]} of {code[1]}: {reason}.", "  "))
        lines += [""] if reasons(table) else []
    return "\n".join(lines).rstrip("\n") + "\n"


def _wrapped(text, indent=""):
    return textwrap.fill(text, 125, subsequent_indent=indent, break_long_words=False, break_on_hyphens=False)


def report(found):
    """For people at a terminal: counts, and every difference with both values."""
    lines = []
    for table in found:
        lines += [f"{table.title}. {table.about}", *lines_of(table, "{alike}/{total}"), ""]
        lines += [f"{value.name}: {value.field}: {value.mine} instead of {value.theirs}: {value.reason or 'NO REASON IS KNOWN'}"
                  for value in table.values if not value.alike] + [""]
    return "\n".join(lines)

# SPDX-License-Identifier: GPL-2.0-or-later
"""The library of a household beside what the catalogue has of it: which files have rows, where, why others have none, and field by
field whether columns and facts are what mutagen, ffprobe and exiftool say."""
import collections
import functools
import hashlib
import re
import time
import unicodedata

from mutagen.id3 import TCON

from . import film_facts, household, photo_facts, sound_library, sound_streams, sound_tags, values

TABLES = ("music", "video", "photo", "playlist")
ROOT = "/volume1/"
COVERS = "/var/lib/velu/covers"
# Columns that hold what facts of the same name do not; 0 and "" are nothing.
TEXTS = ("title", "album", "comment")
JOINED = ("artist", "genre", "composer")
NUMBERS = ("track", "disc", "year", "duration", "audio_bitrate", "video_bitrate", "sample_rate", "channels", "width", "height")
CAMERA = ("camera_make", "camera_model", "exposure_time", "f_number", "iso_speed", "date_taken")
TITLE_BYTES = 254  # of a record's field


def readable(text):
    """A column or path of the harness, whose characters are bytes, as people read it."""
    data = text.encode("latin-1")
    try:
        return data.decode()
    except UnicodeDecodeError:
        return data.decode("latin-1")


def name_as_text(name):
    """What a name of a file or folder is as the text of a row."""
    text = "".join(" " if unicodedata.category(letter) == "Cc" else letter for letter in readable(name)).strip()
    return text.encode()[:TITLE_BYTES].decode(errors="ignore")


def defaults(path):
    """The title and album of a file that says nothing."""
    folder, _, name = path.rpartition("/")
    return name_as_text(name.rpartition(".")[0]), name_as_text(folder.rpartition("/")[2])


def number_or_text(value):
    try:
        return int(value) if re.fullmatch(r"-?\d+", value) else float(value)
    except ValueError:
        return value


class Catalogue:
    """What a daemon's catalogue has, by path."""

    def __init__(self, daemon):
        self.daemon = daemon
        self.rows = collections.defaultdict(dict)
        for table in TABLES:
            for row in daemon.rows(table):
                self.rows[row["path"]][table] = row
        self.facts = collections.defaultdict(lambda: collections.defaultdict(list))
        for row in sorted(daemon.rows("fact"), key=lambda row: (row["path"], row["name"], row["position"])):
            self.facts[row["path"]][row["name"]].append(row["value"].encode("latin-1").decode())
        self.entries = collections.defaultdict(list)
        for row in sorted(daemon.rows("playlist_entry"), key=lambda row: (row["path"], row["position"])):
            self.entries[row["path"]].append((row["target"], row["found"].removeprefix(ROOT)))
        self.states = collections.Counter(row["path"] for row in daemon.rows("file_state"))

    def found(self, path):
        """Columns and facts under the names that the readers have for them, each a list; nothing for a default."""
        (row,), facts = self.rows[path].values(), self.facts[path]
        found = {name: [number_or_text(value) if name in sound_tags.NUMBERS or name in sound_tags.DECIMALS else value for value in texts]
                 for name, texts in facts.items()}
        for name in NUMBERS:
            found[name] = [row[name]] if row[name] else []
        title, album = defaults(path)
        for name in TEXTS:
            text = readable(row[name])
            found[name] = [text] if text and text != {"title": title, "album": album}.get(name) else []
        return {name: values for name, values in found.items() if values}


def wrong_places(catalogue, files):
    """One line for each file that is not where it is to be, and for each row without a file."""
    expected = {ROOT + item.path: item for item in files}
    for path, item in expected.items():
        tables = tuple(catalogue.rows.get(path, ()))
        if tables != ((item.table,) if item.table else ()):
            yield f"{path!r}: in {tables}, not in {item.table}"
        if catalogue.states[path] != (1 if item.table else 0):
            yield f"{path!r}: has {catalogue.states[path]} states"
    for path in catalogue.rows.keys() - expected.keys():
        yield f"{path!r}: has a row and is no file"
    for path in catalogue.facts.keys() - {path for path, item in expected.items() if item.table}:
        yield f"{path!r}: has facts and no row"


def wrong_looks(catalogue, files):
    """What a look at a file tells, defaults, playlists and covers."""
    for number, item in enumerate(files):
        if not item.table or ROOT + item.path not in catalogue.rows:
            continue
        path = ROOT + item.path
        row, = catalogue.rows[path].values()
        written = time.strftime("%Y-%m-%d %H:%M:%S", time.gmtime(household.WRITTEN + number * 60))
        with open(catalogue.daemon.box.path(path.encode("latin-1")), "rb") as file:
            size = len(file.read())
        if (row["file_size"], row["modify_time"]) != (size, written):
            yield f"{path!r}: {row['file_size']} {row['modify_time']} instead of {size} {written}"
        if not row["title"] or not row["album"]:
            yield f"{path!r}: no title or album"
        if item.entries and catalogue.entries[path] != item.entries:
            yield f"{path!r}: {catalogue.entries[path]} instead of {item.entries}"
        yield from wrong_cover(catalogue, item, row)


def cover_of(daemon, path):
    """The bytes of a file's cover; None when there is none."""
    digest = hashlib.sha256(path.encode("latin-1")).hexdigest()
    for kind in ("jpg", "png", "webp", "gif"):
        place = f"{COVERS}/{digest[:2]}/{digest}/3_1.{kind}"
        if daemon.exists(place):
            return daemon.read(place)
    return None


def wrong_cover(catalogue, item, row):
    """A song or film that is known to bring no picture has that of its folder."""
    if item.cover is None or brings_picture(item):
        return
    wanted = None
    if item.cover:
        source = next(other for other in household.items(False) if other.path.endswith("Folder.jpg"))
        with open(source.source, "rb") as file:
            wanted = file.read()
    if cover_of(catalogue.daemon, row["path"]) != wanted or row["has_cover"] != (wanted is not None):
        yield f"{row['path']!r}: has_cover {row['has_cover']}, the cover is another than {item.cover!r}"


def brings_picture(item):
    streams = item.told.get("film", {}).get("streams", [])
    return any(stream["codec_type"] in ("video", "attachment") and (stream["disposition"]["attached_pic"] or
               stream["codec_type"] == "attachment" or stream.get("codec_name") == "mjpeg") for stream in streams)


# Why a field is another than what the reference programs say, where the file's own library does not tell.
GENRE_NUMBER = re.compile(r"\(?(\d+)\)?")
SAME_SOUND = "as ffprobe says of the same sound without these tags, which make it guess from the size of the file"


def named(genres):
    """Numbers are names in whatever tag; mutagen looks for them in ID3 alone."""
    numbers = [GENRE_NUMBER.fullmatch(genre) for genre in genres]
    return [TCON.GENRES[int(number[1])] if number else genre for number, genre in zip(numbers, genres)]


def without_blanks(told):
    """The text of a row has no blanks at its ends."""
    return {name: [value.strip() if isinstance(value, str) else value for value in found] for name, found in told.items()}


@functools.cache
def plain_durations():
    """What ffprobe says of each sound before it is tagged."""
    return {name.rpartition("/")[2]: float(told["format"].get("duration", 0)) for name, _, _, told in sound_library.asked()["streams"]}


def joined(expected, found, catalogue, path):
    """The columns that hold all values of a fact, and what they are to hold."""
    (row,) = catalogue.rows[path].values()
    for name in JOINED:
        if name in expected:
            text = "; ".join(str(value) for value in expected[name])
            mine = readable(row[name])
            yield f"{name} (column)", mine, text, mine == text


def _value(item, field, mine, theirs, alike, reason):
    return values.Value(item.row or item.path.rpartition(".")[2].lower(), item.path, field, mine, theirs, bool(alike), None if alike else reason)


def _tags(catalogue, item, found):
    told = item.told["tags"]
    if told is None:
        return
    path = ROOT + item.path
    told = without_blanks(told)
    if "genre" in told:
        told["genre"] = named(told["genre"])
    expected = {name: ["; ".join(map(str, one))] if name in TEXTS else one for name, one in told.items()}
    for fact, mine, theirs, alike in sound_tags.compare(expected, found):
        values_of = [text.split("; ") for text in (mine[0], theirs[0])] if mine and fact in TEXTS else (mine, theirs)
        yield _value(item, fact, mine, theirs, alike, _order(item, *values_of))
    for field, mine, theirs, alike in joined(told, found, catalogue, path):
        yield _value(item, field, mine, theirs, alike, _order(item, mine.split("; "), theirs.split("; ")))
    for name in TEXTS[:2]:
        if name not in told:
            yield _value(item, f"{name} (default)", found.get(name, []), [], not found.get(name),
                         "mutagen reads no RIFF INFO" if item.origin == "sound.wav" else None)


def _order(item, mine, theirs):
    if list(dict.fromkeys(theirs)) == mine:
        return "the same value stands in the header and in an attribute; it is kept once"
    return sound_tags.ORDER if item.row == "ASF" and sorted(mine) == sorted(theirs) else None


def _streams(catalogue, item, found):
    numbers = {name: [float(value) if isinstance(value, str) and name in ("bits_per_sample",) else value for value in one]
               for name, one in found.items()}
    if "duration" not in numbers:
        yield _value(item, "duration", None, item.told["streams"]["format"].get("duration"), False, None)
        return
    for field, mine, theirs, alike in sound_streams.compare(item.told["streams"], numbers):
        reason = sound_streams.EXPLAINED.get((item.origin, field))
        if field == "duration" and abs(mine - plain_durations().get(item.origin, -1)) <= 0.05:
            reason = SAME_SOUND
        yield _value(item, field, mine, theirs, alike, reason)


def _film(catalogue, item, found):
    numbers = {name: [number_or_text(value) if isinstance(value, str) and name in ("bits_per_sample", "frame_rate", "rotation") else value
                      for value in one] for name, one in found.items()}
    numbers["content"] = ["film" if item.table == "video" else "sound"]
    numbers["content"] = ["film" if "video" in catalogue.rows[ROOT + item.path] else "sound"]
    for field, mine, theirs, alike in film_facts.compare(item.told["film"], numbers):
        yield _value(item, field, mine, theirs, alike, film_facts.reason(item.origin, field, mine))


def _photo(catalogue, item, found):
    row, = catalogue.rows[ROOT + item.path].values()
    facts = {name: [number_or_text(value) if name in ("orientation", "focal_length", "rating", "gps_latitude", "gps_longitude",
                                                      "gps_altitude") else value for value in one] for name, one in found.items()}
    for name in CAMERA:
        text = row[name]
        facts[name] = [readable(text) if isinstance(text, str) else text] if text else []
    if facts.get("date_source", ["file"])[0] in ("name", "file"):
        facts["date_taken"] = []
    for fact, mine, theirs, alike in photo_facts.compare(item.told["photo"], facts):
        if fact in TEXTS and len(theirs) > 1:
            theirs = ["; ".join(theirs)]
            alike = mine == theirs
        yield _value(item, fact, mine, theirs, alike, photo_facts.EXPLAINED.get((item.origin, fact)))


PARTS = {"tags": ("Tags", _tags, {**values.TAGS, "columns": tuple(f"{name} (column)" for name in JOINED),
                                  "defaults": ("title (default)", "album (default)")}),
         "streams": ("Streams", _streams, values.STREAMS), "film": ("Films", _film, values.FILMS),
         "photo": ("Photos", _photo, values.PHOTOS)}


def tables(catalogue, files):
    """Every value of every file beside those of the reference programs, as tables that `values` prints."""
    found = {part: [] for part in PARTS}
    for item in files:
        path = ROOT + item.path
        if not item.table or path not in catalogue.rows:
            continue
        for part in item.told:
            found[part] += PARTS[part][1](catalogue, item, catalogue.found(path))
    return [values.Table(title, "", columns, [one for one in found[part] if one.mine not in (None, []) or one.theirs not in (None, [])], set())
            for part, (title, _, columns) in PARTS.items()]


def wrong_reasons(lines, files):
    """What the run's line about files without rows says beside what it is to say."""
    wanted = collections.Counter(item.reason for item in files if item.reason)
    told = re.findall(r"Not catalogued: (.*)\.$", "\n".join(lines), re.MULTILINE)
    counts = {words: int(count) for part in told for count, words in [one.split(" ", 1) for one in part.split(", ")]}
    if counts != dict(wanted) or len(told) != 1:
        yield f"the run says {told}, not {dict(wanted)}"

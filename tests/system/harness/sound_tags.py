# SPDX-License-Identifier: GPL-2.0-or-later
"""Tags by mutagen: every fact written in the way of each format, and what mutagen reads back, as facts.

The names of keys here are those of taggers, put down apart from the reader's own tables."""
import base64
import re

import mutagen
import mutagen.apev2
import mutagen.asf
import mutagen.flac
import mutagen.id3
import mutagen.mp4

NUMBERS = ("track", "disc", "tracktotal", "disctotal", "compilation", "year")
DECIMALS = ("bpm", "replaygain_track_gain", "replaygain_album_gain")

# One value of each fact, two where several are kept.
FACTS = {
    "title": ["Tïtle 題", "Second tïtle"], "album": ["Älbum", "Second älbum"], "artist": ["Ärtist A", "Artist / B"], "albumartist": ["Various Ärtists"],
    "genre": ["Post-Rock", "Ambient"], "composer": ["Cömposer", "Second"], "comment": ["A cömment"],
    "track": [3], "tracktotal": [12], "disc": [1], "disctotal": [2], "date": ["2004-05-06"], "originaldate": ["1999-01"],
    "compilation": [1], "bpm": [128], "conductor": ["Cönductor"], "lyricist": ["Lyricist Ö"], "publisher": ["Läbel"],
    "isrc": ["USRC17607839"], "language": ["deu"], "lyrics": ["La la\nlä"], "replaygain_track_gain": [-7.89],
    "replaygain_album_gain": [1.5], "musicbrainz_trackid": ["8f3471b5-7e6a-48da-86a9-c1c07a0f47ae"],
    "musicbrainz_albumid": ["f205627f-b70a-409d-adbe-66289b614e80"],
    "musicbrainz_artistid": ["0383dadf-2a4e-4d10-a46a-e9e041da8eb3", "1383dadf-2a4e-4d10-a46a-e9e041da8eb3"],
    "titlesort": ["Title, The"], "artistsort": ["A, Artist"], "albumsort": ["Album, The"],
}

ID3_TEXTS = {"title": "TIT2", "album": "TALB", "artist": "TPE1", "albumartist": "TPE2", "genre": "TCON", "composer": "TCOM",
             "date": "TDRC", "originaldate": "TDOR", "bpm": "TBPM", "conductor": "TPE3", "lyricist": "TEXT", "publisher": "TPUB",
             "isrc": "TSRC", "language": "TLAN", "compilation": "TCMP", "titlesort": "TSOT", "artistsort": "TSOP",
             "albumsort": "TSOA"}
ID3_DESCRIBED = {"replaygain_track_gain": "replaygain_track_gain", "replaygain_album_gain": "replaygain_album_gain",
                 "musicbrainz_albumid": "MusicBrainz Album Id", "musicbrainz_artistid": "MusicBrainz Artist Id"}
XIPH = {"title": "TITLE", "album": "ALBUM", "artist": "ARTIST", "albumartist": "ALBUMARTIST", "genre": "GENRE",
        "composer": "COMPOSER", "comment": "COMMENT", "track": "TRACKNUMBER", "tracktotal": "TRACKTOTAL", "disc": "DISCNUMBER",
        "disctotal": "DISCTOTAL", "date": "DATE", "originaldate": "ORIGINALDATE", "compilation": "COMPILATION", "bpm": "BPM",
        "conductor": "CONDUCTOR", "lyricist": "LYRICIST", "publisher": "LABEL", "isrc": "ISRC", "language": "LANGUAGE",
        "lyrics": "LYRICS", "replaygain_track_gain": "REPLAYGAIN_TRACK_GAIN",
        "replaygain_album_gain": "REPLAYGAIN_ALBUM_GAIN", "musicbrainz_trackid": "MUSICBRAINZ_TRACKID",
        "musicbrainz_albumid": "MUSICBRAINZ_ALBUMID", "musicbrainz_artistid": "MUSICBRAINZ_ARTISTID",
        "titlesort": "TITLESORT", "artistsort": "ARTISTSORT", "albumsort": "ALBUMSORT"}
APE = {**{fact: key.title() for fact, key in XIPH.items()}, "albumartist": "Album Artist", "date": "Year", "bpm": "BPM"}
del APE["tracktotal"], APE["disctotal"], APE["track"], APE["disc"]
MP4 = {"title": "\xa9nam", "album": "\xa9alb", "artist": "\xa9ART", "albumartist": "aART", "genre": "\xa9gen",
       "composer": "\xa9wrt", "comment": "\xa9cmt", "date": "\xa9day", "lyrics": "\xa9lyr", "titlesort": "sonm",
       "artistsort": "soar", "albumsort": "soal"}
MP4_FREE = {"originaldate": "ORIGINALDATE", "conductor": "CONDUCTOR", "lyricist": "LYRICIST", "publisher": "LABEL",
            "isrc": "ISRC", "language": "LANGUAGE", "replaygain_track_gain": "replaygain_track_gain",
            "replaygain_album_gain": "replaygain_album_gain", "musicbrainz_trackid": "MusicBrainz Track Id",
            "musicbrainz_albumid": "MusicBrainz Album Id", "musicbrainz_artistid": "MusicBrainz Artist Id"}
ASF = {"title": "Title", "album": "WM/AlbumTitle", "artist": "Author", "albumartist": "WM/AlbumArtist", "genre": "WM/Genre",
       "composer": "WM/Composer", "comment": "Description", "date": "WM/Year", "originaldate": "WM/OriginalReleaseTime",
       "compilation": "WM/IsCompilation", "bpm": "WM/BeatsPerMinute", "conductor": "WM/Conductor", "lyricist": "WM/Writer",
       "publisher": "WM/Publisher", "isrc": "WM/ISRC", "language": "WM/Language", "lyrics": "WM/Lyrics",
       "replaygain_track_gain": "replaygain_track_gain", "replaygain_album_gain": "replaygain_album_gain",
       "musicbrainz_trackid": "MusicBrainz/Track Id", "musicbrainz_albumid": "MusicBrainz/Album Id",
       "musicbrainz_artistid": "MusicBrainz/Artist Id", "titlesort": "WM/TitleSortOrder",
       "artistsort": "WM/ArtistSortOrder", "albumsort": "WM/AlbumSortOrder"}


def texts(fact, values=None, facts=FACTS):
    """The values of a fact as a tagger writes them."""
    values = facts[fact] if values is None else values
    unit = " dB" if fact.startswith("replaygain") else ""
    return [f"{value}{unit}" for value in values]


def latin_1(fact, facts=FACTS):
    """The values of a fact, without letters that ISO-8859-1 lacks."""
    return [re.sub(r"[^\0-\xff]", "ÿ", value) if isinstance(value, str) else value for value in facts[fact]]


def pair(number, total, facts=FACTS):
    return f"{facts[number][0]}/{facts[total][0]}"


def _written(table, facts):
    """What a table names and there is a value of: (fact, key, texts)."""
    return [(fact, key, texts(fact, facts=facts)) for fact, key in table.items() if fact in facts]


def id3_frames(encoding=3, facts=FACTS):
    """Frames with all facts, for any of mutagen's ID3 containers."""
    id3 = mutagen.id3
    frames = [getattr(id3, name)(encoding=encoding, text=texts(fact, latin_1(fact, facts)) if encoding == 0 else found)
              for fact, name, found in _written(ID3_TEXTS, facts)]
    frames += [id3.TXXX(encoding=encoding, desc=name, text=found) for _, name, found in _written(ID3_DESCRIBED, facts)]
    frames += [getattr(id3, name)(encoding=encoding, text=pair(fact, total, facts))
               for fact, total, name in (("track", "tracktotal", "TRCK"), ("disc", "disctotal", "TPOS")) if fact in facts]
    made = {"comment": lambda found: id3.COMM(encoding=encoding, lang="eng", desc="", text=found),
            "lyrics": lambda found: id3.USLT(encoding=encoding, lang="eng", desc="", text=found[0]),
            "musicbrainz_trackid": lambda found: id3.UFID(owner="http://musicbrainz.org", data=found[0].encode())}
    frames += [make(texts(fact, facts=facts)) for fact, make in made.items() if fact in facts]
    return [*frames, id3.COMM(encoding=0, lang="eng", desc="iTunNORM", text="000")]


def apev2_file(path):
    """An MP3 that has this tag alone, which mutagen does not look for in one; None for any other file."""
    if path.suffix != ".mp3" or mutagen.File(path).tags is not None:
        return None
    try:
        return mutagen.apev2.APEv2File(path)
    except mutagen.apev2.error:
        return None


def write(path, encoding=3, facts=FACTS, **id3_options):
    """Writes facts, all that there are if none are given, into a file in the way of its format. A number and its total come
    together."""
    if path.suffix in (".aac", ".mp2"):
        tags = mutagen.id3.ID3()
        for frame in id3_frames(encoding, facts):
            tags.add(frame)
        tags.save(path, **id3_options)
        return
    file = apev2_file(path) or mutagen.File(path)
    if file.tags is None:
        file.add_tags()
    if isinstance(file.tags, mutagen.id3.ID3):
        for frame in id3_frames(encoding, facts):
            file.tags.add(frame)
        file.save(path, **id3_options)
        return
    if isinstance(file.tags, mutagen.apev2.APEv2):
        _write_pairs(file.tags, "Track", "Disc", facts)
        table = APE
    elif isinstance(file.tags, mutagen.mp4.MP4Tags):
        _write_mp4(file.tags, facts)
        table = MP4
    elif isinstance(file.tags, mutagen.asf.ASFTags):
        _write_pairs(file.tags, "WM/TrackNumber", "WM/PartOfSet", facts)
        table = ASF
    else:
        table = XIPH
    for _, key, found in _written(table, facts):
        file.tags[key] = found
    if table is ASF and "compilation" in facts:
        file.tags["WM/IsCompilation"] = [mutagen.asf.ASFBoolAttribute(True)]
    file.save()


def _write_pairs(tags, track, disc, facts):
    for fact, total, key in (("track", "tracktotal", track), ("disc", "disctotal", disc)):
        if fact in facts:
            tags[key] = pair(fact, total, facts)


def _write_mp4(tags, facts):
    for _, key, found in _written(MP4_FREE, facts):
        tags[f"----:com.apple.iTunes:{key}"] = [value.encode() for value in found]
    for fact, total, key in (("track", "tracktotal", "trkn"), ("disc", "disctotal", "disk")):
        if fact in facts:
            tags[key] = [(facts[fact][0], facts[total][0])]
    if "compilation" in facts:
        tags["cpil"] = True
    if "bpm" in facts:
        tags["tmpo"] = facts["bpm"]


def _number_pair(facts, name, total, text):
    match = re.match(r"\s*(\d+)?(?:\s*/\s*(\d+))?", str(text))
    for fact, number in ((name, match[1]), (total, match[2])):
        if number and int(number):
            facts[fact] = [int(number)]


def _id3(tags):
    facts = {fact: [str(text) for text in tags[name].text] for fact, name in ID3_TEXTS.items() if name in tags}
    if "TCON" in tags:
        facts["genre"] = tags["TCON"].genres
    for fact, name in ID3_DESCRIBED.items():
        if f"TXXX:{name}" in tags:
            facts[fact] = [str(text) for text in tags[f"TXXX:{name}"].text]
    for fact, name in (("comment", "COMM"), ("lyrics", "USLT")):
        found = [frame for frame in tags.getall(name) if frame.desc in ("", "ID3v1 Comment")]
        if found:
            facts[fact] = [found[0].text] if name == "USLT" else [str(text) for text in found[0].text]
    if "UFID:http://musicbrainz.org" in tags:
        facts["musicbrainz_trackid"] = [tags["UFID:http://musicbrainz.org"].data.decode()]
    for name, total, frame in (("track", "tracktotal", "TRCK"), ("disc", "disctotal", "TPOS")):
        if frame in tags:
            _number_pair(facts, name, total, tags[frame].text[0])
    return facts


def _keyed(tags, table, text=str):
    return {fact: [text(value) for value in tags[key]] for fact, key in table.items() if key in tags}


def _mp4(tags):
    facts = _keyed(tags, MP4)
    facts.update(_keyed(tags, {fact: f"----:com.apple.iTunes:{key}" for fact, key in MP4_FREE.items()}, lambda value: bytes(value).decode()))
    for key, name, total in (("trkn", "track", "tracktotal"), ("disk", "disc", "disctotal")):
        if key in tags:
            _number_pair(facts, name, total, "{}/{}".format(*tags[key][0]))
    if tags.get("cpil"):
        facts["compilation"] = [1]
    if "tmpo" in tags:
        facts["bpm"] = tags["tmpo"]
    return facts


def _typed(facts):
    for fact, values in facts.items():
        if fact in NUMBERS:
            facts[fact] = [int(value) for value in values]
        elif fact in DECIMALS:
            facts[fact] = [float(str(value).replace("dB", "")) for value in values]
        elif fact in ("date", "originaldate"):
            facts[fact] = [str(values[0]).replace("T", " ")]
    if "date" in facts:
        facts["year"] = [int(facts["date"][0][:4])]
    return facts


def read(path):
    """What mutagen reads of a file, as facts."""
    if path.suffix in (".aac", ".mp2"):
        try:
            return _typed(_id3(mutagen.id3.ID3(path)))
        except mutagen.id3.ID3NoHeaderError:
            return {}
    tags = (apev2_file(path) or mutagen.File(path)).tags
    if tags is None:
        return {}
    if isinstance(tags, mutagen.id3.ID3):
        return _typed(_id3(tags))
    if isinstance(tags, mutagen.mp4.MP4Tags):
        return _typed(_mp4(tags))
    if isinstance(tags, mutagen.apev2.APEv2):
        facts = _keyed(tags, APE)
        for key, name, total in (("Track", "track", "tracktotal"), ("Disc", "disc", "disctotal")):
            if key in tags:
                _number_pair(facts, name, total, tags[key])
        return _typed(facts)
    if isinstance(tags, mutagen.asf.ASFTags):
        facts = _keyed(tags, ASF, lambda value: str(int(value.value)) if isinstance(value.value, bool) else str(value))
        for key, name, total in (("WM/TrackNumber", "track", "tracktotal"), ("WM/PartOfSet", "disc", "disctotal")):
            if key in tags:
                _number_pair(facts, name, total, tags[key][0])
        return _typed(facts)
    facts = _keyed(tags, XIPH)
    for name, total in (("track", "tracktotal"), ("disc", "disctotal")):
        if "/" in facts.get(name, [""])[0]:
            _number_pair(facts, name, total, facts.pop(name)[0])
    return _typed(facts)


ORDER = ("mutagen writes the first value into one object of the header and the others into another, which stands before it, and reads "
         "the objects in an order of its own; the reader gives the values as they stand in the file")
# Of which file and fact the reader gives the values in another order, and why.
OTHER_ORDER = dict.fromkeys((("wma.wma", "album"), ("wma.wma", "genre"), ("wma.wma", "composer"), ("wma.wma", "musicbrainz_artistid")), ORDER)


def compare(expected, found):
    """Each fact of mutagen's as (fact, the reader's, mutagen's, whether they are alike)."""
    for fact, theirs in expected.items():
        mine = found.get(fact, [])
        if fact in ("date", "originaldate"):
            mine = [value.replace("T", " ") for value in mine]
        if fact in DECIMALS:
            same = len(mine) == len(theirs) and all(abs(one - other) < 1e-6 for one, other in zip(mine, theirs))
        else:
            same = mine == theirs
        yield fact, mine, theirs, same


def reason(name, fact, mine, theirs):
    """Why a fact is another than mutagen's; None for no reason."""
    return OTHER_ORDER.get((name, fact)) if sorted(mine) == sorted(theirs) else None


def picture_add(path, pictures):
    """Adds (type, bytes) in that order; type 3 is the front cover."""
    if path.suffix in (".aac", ".mp2"):
        tags = mutagen.id3.ID3()
        file = None
    else:
        file = mutagen.File(path)
        if file.tags is None:
            file.add_tags()
        tags = file.tags
    if isinstance(tags, mutagen.id3.ID3):
        for number, (kind, data) in enumerate(pictures):
            tags.add(mutagen.id3.APIC(encoding=3, mime="image/png", type=kind, desc=str(number), data=data))
    elif isinstance(tags, mutagen.mp4.MP4Tags):
        tags["covr"] = [mutagen.mp4.MP4Cover(data, mutagen.mp4.MP4Cover.FORMAT_PNG) for kind, data in pictures if kind == 3]
    elif isinstance(tags, mutagen.apev2.APEv2):
        for kind, data in pictures:
            name = "Cover Art (Front)" if kind == 3 else "Cover Art (Back)"
            tags[name] = mutagen.apev2.APEValue(b"cover.png\0" + data, mutagen.apev2.BINARY)
    elif isinstance(tags, mutagen.asf.ASFTags):
        tags["WM/Picture"] = [mutagen.asf.ASFByteArrayAttribute(
            bytes([kind]) + len(data).to_bytes(4, "little") + "image/png\0".encode("utf-16-le") + b"\0\0" + data)
            for kind, data in pictures]
    else:
        blocks = []
        for kind, data in pictures:
            block = mutagen.flac.Picture()
            block.type, block.mime, block.data = kind, "image/png", data
            blocks.append(block)
        if isinstance(file, mutagen.flac.FLAC):
            for block in blocks:
                file.add_picture(block)
        else:
            tags["METADATA_BLOCK_PICTURE"] = [base64.b64encode(block.write()).decode() for block in blocks]
    (tags if file is None else file).save(path)

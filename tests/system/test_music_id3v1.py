# SPDX-License-Identifier: GPL-2.0-or-later
"""ID3v1 tags of tagging programs and byte by byte, and how they fill what an ID3v2 tag leaves empty."""
import shutil

from mutagen import id3 as mutagen

from harness import id3, media, music

WORDS = {"title": "A Title", "artist": "A Singer", "album": "A Record", "comment": "a remark", "year": 2004}


def test_what_programs_write(daemon, tmp_path, samples):
    wav = str(samples / "tone.wav")
    options = ("--tt", "A Title", "--ta", "A Singer", "--tl", "A Record", "--ty", "2004", "--tc", "a remark", "--tg", "Rock")
    cases = {}
    for name, more, track in (("lame.mp3", (), 0), ("lame 1.1.mp3", ("--tn", "3"), 3),
                              ("lame blanks.mp3", ("--space-id3v1",), 0)):
        cases[name] = (music.lame(str(tmp_path / name), wav, "--id3v1-only", *options, *more),
                       WORDS | {"genre": "Rock", "track": track})
    for name, more, track in (("id3v2.mp3", (), 0), ("id3v2 1.1.mp3", ("-T", "3/12"), 3)):
        path = str(shutil.copy(samples / "plain.mp3", tmp_path / name))
        media.call("id3v2", "-1", "-t", "A Title", "-a", "A Singer", "-A", "A Record", "-y", "2004", "-c", "a remark", "-g",
                   "17", *more, path)
        cases[name] = (path, WORDS | {"genre": "Rock", "track": track})
    path = str(tmp_path / "ffmpeg.mp3")
    media.audio(path, wav, "-id3v2_version", "3", "-write_id3v1", "1", title="A Title", artist="A Singer", album="A Record",
                date="2004",
                comment="a remark", genre="Rock", track="3")
    mutagen.delete(path, delete_v1=False)
    cases["ffmpeg.mp3"] = (path, WORDS | {"genre": "Rock", "track": 3})
    path = shutil.copy(samples / "plain.mp3", tmp_path / "mutagen.mp3")
    tag = mutagen.ID3()
    for frame in (mutagen.TIT2(text=["Größe"]), mutagen.TPE1(text=["Motörhead"]), mutagen.TRCK(text=["9"]),
                  mutagen.TCON(text=["Rock"])):
        tag.add(frame)
    tag.save(path, v1=2)
    mutagen.delete(path, delete_v1=False)
    cases["mutagen.mp3"] = (path.read_bytes(), {"title": "Größe", "artist": "Motörhead", "track": 9, "genre": "Rock"})
    music.check_tags(daemon, cases)


def test_texts_fill_their_fields_and_lose_their_blanks(daemon, stream):
    full = bytes(range(ord("A"), ord("A") + 26)) + b"1234"
    cases = {
        "full.mp3": (dict(title=full, artist=full[::-1], album=full.lower(), comment=full),
                     {"title": full.decode(), "artist": full[::-1].decode(), "album": full.lower().decode(),
                      "comment": full.decode()}),
        "full 1.1.mp3": (dict(comment=full[:28], track=255), {"comment": full[:28].decode(), "track": 255}),
        "blank.mp3": (dict(title=b" " * 30, artist=b" " * 30, album=b" " * 30, comment=b" " * 30, year=b"    "), {}),
        "blanks.mp3": (dict(title=b"  A Title  ", artist=b" x", year=b"1999", fill=b" "),
                       {"title": "A Title", "artist": "x", "year": 1999}),
        "zero first.mp3": (dict(title=b"\0hidden", artist=b"  \0hidden"), {}),
        "years.mp3": (dict(year=b"99"), {}), "words.mp3": (dict(year=b"19xx"), {}), "early.mp3": (dict(year=b"1199"), {}),
        "track of blank.mp3": (dict(comment=b"x", track=0x20), {"comment": "x"}),
        "no track.mp3": (dict(comment=b"x" * 29 + b"\5"), {"comment": "x" * 29}),
        "latin.mp3": (dict(title="Ace of Spädes".encode("latin-1")), {"title": "Ace of Spädes"}),
        "utf-8.mp3": (dict(title="Ночь".encode()), {"title": "Ночь"}),
        "full utf-8.mp3": (dict(title=("Ж" * 15).encode()), {"title": "Ж" * 15}),
    }
    music.check_tags(daemon, {name: (stream + id3.id3v1(**given), known) for name, (given, known) in cases.items()})


def test_genres_by_number(daemon, stream):
    genres = {0: "", 1: "Classic Rock", 17: "Rock", 67: "Psychadelic", 85: "Bebob", 123: "A capella", 133: "NegerPunk",
              134: "Polsk Punk",
              140: "Contemporary C", 147: "SynthPop", 148: "", 191: "", 254: "", 255: ""}
    music.check_tags(daemon, {f"{number}.mp3": (stream + id3.id3v1(genre=number), {"genre": genre})
                              for number, genre in genres.items()})


def test_id3v2_comes_first_and_id3v1_fills_the_rest(daemon, stream):
    old = id3.id3v1(b"Old Title", b"Old Singer", b"Old Record", b"1999", b"old remark", 17, 9)
    known = {"title": "Old Title", "artist": "Old Singer", "album": "Old Record", "year": 1999, "comment": "old remark",
             "genre": "Rock", "track": 9}
    text = id3.text
    cases = {
        "title.mp3": (id3.tag(3, text(3, "TIT2", "New")), {"title": "New"}),
        "artist.mp3": (id3.tag(3, text(3, "TPE1", "New")), {"artist": "New"}),
        "wide.mp3": (id3.tag(3, text(3, "TALB", "Ночь", id3.UTF_16)), {"album": "Ночь"}),
        "all.mp3": (id3.tag(4, text(4, "TIT2", "a"), text(4, "TPE1", "b"), text(4, "TALB", "c"), text(4, "TYER", "2004"),
                            text(4, "TCON", "Jazz"),
                            text(4, "TRCK", "1/2"), text(4, "TPOS", "2"), text(4, "TCOM", "d"), id3.comment(4, "e")),
                    {"title": "a", "artist": "b", "album": "c", "year": 2004, "genre": "Jazz", "track": 1, "disc": 2,
                     "composer": "d", "comment": "e"}),
        "empty frame.mp3": (id3.tag(3, text(3, "TIT2", "")), {}),
        # A value that is there and says nothing still stands in front of the old one.
        "bad year.mp3": (id3.tag(3, text(3, "TYER", "2004-05")), {"year": 0}),
        "bad genre.mp3": (id3.tag(3, text(3, "TCON", "(RX)")), {"genre": ""}),
        "bad track.mp3": (id3.tag(3, text(3, "TRCK", "A1")), {"track": 0}),
        "recording time.mp3": (id3.tag(4, text(4, "TDRC", "2005")), {}),
        "version 2.mp3": (id3.tag(2, text(2, "TT2", "New")), {"title": "New"}),
        "unread.mp3": (id3.tag(3, bytes(10), text(3, "TIT2", "New")), {}),
        "none.mp3": (b"", {}),
    }
    music.check_tags(daemon, {name: (tag + stream + old, known | new) for name, (tag, new) in cases.items()})

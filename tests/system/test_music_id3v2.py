# SPDX-License-Identifier: GPL-2.0-or-later
"""ID3v2 tags of tagging programs: every version and text encoding that they write, and what the catalogue shows of them."""
import shutil

import pytest
from mutagen import id3 as mutagen

from harness import id3, media, music

# One language of each kind: one byte, two bytes, three bytes, and characters outside the basic plane.
TEXTS = {
    "latin": {"title": "Ace of Spädes", "artist": "Motörhead", "album": "Größte Hits", "genre": "Härte",
              "composer": "Søren Ã",
              "comment": "déjà vu"},
    "cyrillic": {"title": "Группа крови", "artist": "Кино", "album": "Ночь", "genre": "Рок", "composer": "Виктор Цой",
                 "comment": "запись"},
    "chinese": {"title": "七里香", "artist": "周杰倫", "album": "十一月", "genre": "流行", "composer": "作曲家", "comment": "評論"},
    "outside": {"title": "𝄞 key 🎵", "artist": "🎤🎸", "album": "𠜎𠜱", "genre": "🎹", "composer": "𝕏", "comment": "👍🏽"},
}
NUMBERS = {"track": 3, "disc": 1, "year": 2004}


@pytest.fixture
def tagged(tmp_path, samples):
    """Has mutagen write a tag: frames, the minor version, and its options. Gives the file's contents."""
    def write(version, *frames, **options):
        path = shutil.copy(samples / "plain.mp3", tmp_path / "x.mp3")
        tag = mutagen.ID3()
        for frame in frames:
            tag.add(frame)
        tag.save(path, v2_version=version, v1=0, **options)
        return path.read_bytes()
    return write


def mutagen_frames(encoding, texts):
    frames = {"title": mutagen.TIT2, "artist": mutagen.TPE1, "album": mutagen.TALB, "genre": mutagen.TCON,
              "composer": mutagen.TCOM}
    made = [kind(encoding=encoding, text=[texts[name]]) for name, kind in frames.items()]
    # A description in UTF-16 hides the comment: it ends at its first zero byte.
    plain = encoding if encoding in (id3.LATIN_1, id3.UTF_8) else None
    if plain is not None:
        made.append(mutagen.COMM(encoding=plain, lang="rus", desc="", text=[texts["comment"]]))
    return made + [mutagen.TRCK(encoding=0, text=["3/12"]), mutagen.TPOS(encoding=0, text=["1/2"]),
                   mutagen.TYER(encoding=0, text=["2004"])]


def test_every_text_encoding_of_versions_3_and_4(daemon, tagged):
    cases = {}
    for version, encodings in ((3, (id3.LATIN_1, id3.UTF_16)), (4, tuple(id3.CODECS))):
        for encoding in encodings:
            for language, texts in TEXTS.items():
                if encoding == id3.LATIN_1 and language != "latin":
                    continue
                content = tagged(version, *mutagen_frames(encoding, texts))
                shown = texts if encoding in (id3.LATIN_1, id3.UTF_8) else texts | {"comment": ""}
                cases[f"{version}.{encoding}.{language}.mp3"] = (content, shown | NUMBERS)
    music.check_tags(daemon, cases)


def test_every_text_encoding_of_version_2(daemon, stream):
    """No program writes it any more; players of its time did."""
    names = {"title": "TT2", "artist": "TP1", "album": "TAL", "genre": "TCO", "composer": "TCM"}
    numbers = [id3.text(2, "TRK", "3/12"), id3.text(2, "TPA", "1/2"), id3.text(2, "TYE", "2004")]
    cases = {}
    for language, texts in TEXTS.items():
        for encoding in (id3.LATIN_1, id3.UTF_16):
            if encoding == id3.LATIN_1 and language != "latin":
                continue
            frames = [id3.text(2, frame, texts[column], encoding) for column, frame in names.items()]
            remark = id3.comment(2, "remark", "deu", "about")
            cases[f"{language}.{encoding}.mp3"] = (id3.tag(2, *frames, remark, *numbers, padding=50) + stream,
                                                   texts | NUMBERS | {"comment": "remark"})
    music.check_tags(daemon, cases)


@pytest.mark.parametrize("codec", ["utf-16-le", "utf-16-be"])
def test_both_byte_orders(daemon, stream, codec):
    mark = "\ufeff".encode(codec)
    cases = {}
    for version, name in ((2, "TT2"), (3, "TIT2"), (4, "TIT2")):
        for end in (b"", b"\0\0"):
            frame = id3.frame(version, name, b"\1" + mark + "Ночь 🎵".encode(codec) + end)
            cases[f"{version} {len(end)}.mp3"] = (id3.tag(version, frame) + stream, {"title": "Ночь 🎵"})
    music.check_tags(daemon, cases)


def test_numbers_are_read_from_single_byte_text_alone(daemon, tagged):
    def numbers(encoding):
        return [mutagen.TRCK(encoding=encoding, text=["3/12"]), mutagen.TPOS(encoding=encoding, text=["1"]),
                mutagen.TYER(encoding=encoding, text=["2004"])]
    cases = {f"{version} {encoding}.mp3": (tagged(version, *numbers(encoding)),
                                           NUMBERS if encoding in (id3.LATIN_1, id3.UTF_8) else {})
             for version, encoding in ((3, id3.LATIN_1), (3, id3.UTF_16), (4, id3.LATIN_1), (4, id3.UTF_16),
                                       (4, id3.UTF_16_BE), (4, id3.UTF_8))}
    music.check_tags(daemon, cases)


def test_tracks_discs_and_years(daemon, tagged):
    def number(frame, text, **column):
        return tagged(4, frame(encoding=3, text=[text])), column
    cases = {
        "track.mp3": number(mutagen.TRCK, "12", track=12), "track of.mp3": number(mutagen.TRCK, "007/100", track=7),
        "track words.mp3": number(mutagen.TRCK, "5 of 9", track=5), "track no.mp3": number(mutagen.TRCK, "A1"),
        "disc of.mp3": number(mutagen.TPOS, "2/3", disc=2), "disc words.mp3": number(mutagen.TPOS, "2 of 3"),
        "year.mp3": number(mutagen.TYER, "1999", year=1999), "date in year.mp3": number(mutagen.TYER, "2005-03-01"),
        "first year.mp3": number(mutagen.TYER, "1200", year=1200), "before.mp3": number(mutagen.TYER, "1199"),
        "last year.mp3": number(mutagen.TYER, "2200", year=2200), "after.mp3": number(mutagen.TYER, "2201"),
        # The year of version 4 is not read: its frame is another.
        "recording time.mp3": number(mutagen.TDRC, "2005"),
    }
    music.check_tags(daemon, cases)


def test_genres(daemon, tagged, stream):
    genres = {"(17)": "Rock", "(17)Rock": "Rock", "(0)": "Blues", "(147)": "SynthPop", "(148)": "148", "(200)": "200",
              "(RX)": "",
              "(4)(17)": "", "Trance": "Trance", "17": "17", "Rock (live)": "", "Drum & Bass": "Drum & Bass", "(67)": "Psychadelic",
              "((Not a number": "((Not a number"}
    cases = {f"{index}.mp3": (tagged(3, mutagen.TCON(encoding=0, text=[text])), {"genre": genre})
             for index, (text, genre) in enumerate(genres.items())}
    cases["several 3.mp3"] = (tagged(3, mutagen.TCON(encoding=0, text=["Rock", "Pop"])), {"genre": "Rock/Pop"})
    cases["several 4.mp3"] = (tagged(4, mutagen.TCON(encoding=3, text=["Rock", "Pop"])), {"genre": "Rock"})
    cases["several 16.mp3"] = (tagged(4, mutagen.TCON(encoding=1, text=["Рок", "Pop"])), {"genre": "Рок"})
    cases["2.mp3"] = (id3.tag(2, id3.text(2, "TCO", "(17)")) + stream, {"genre": "Rock"})
    music.check_tags(daemon, cases)


def test_several_values_and_padding(daemon, tagged):
    title = mutagen.TIT2(encoding=3, text=["First", "Second"])
    artist = mutagen.TPE1(encoding=1, text=["Кино", "Цой"])
    both = {"title": "First", "artist": "Кино"}
    cases = {"4.mp3": (tagged(4, title, artist), both),
             "3.mp3": (tagged(3, mutagen.TPE1(encoding=0, text=["A", "B"])), {"artist": "A/B"}),
             **{f"padding {size}.mp3": (tagged(4, title, artist, padding=lambda info, size=size: size), both)
                for size in (0, 1, 9, 10, 70_000)}}
    music.check_tags(daemon, cases)


def test_what_lame_and_ffmpeg_write(daemon, tmp_path, samples):
    wav = str(samples / "tone.wav")
    # Without --id3v2-latin1 lame writes UTF-16, in which numbers and comments are not read.
    words = {"title": "A Title", "artist": "A Singer", "album": "A Record", "genre": "Rock"}
    all_read = words | {"year": 2004, "track": 3, "comment": "a remark"}
    lame = {"latin.mp3": (all_read, "Rock", "--id3v2-only", "--id3v2-latin1"),
            "number.mp3": (all_read, "17", "--id3v2-only", "--id3v2-latin1"),
            "padded.mp3": (all_read, "Rock", "--id3v2-only", "--id3v2-latin1", "--pad-id3v2-size", "3000"),
            "wide.mp3": (words, "Rock", "--id3v2-only"),
            "both.mp3": (words | {"comment": "a remark"}, "Rock", "--add-id3v2")}
    cases = {}
    for name, (known, genre, *options) in lame.items():
        path = music.lame(str(tmp_path / name), wav, *options, "--tt", "A Title", "--ta", "A Singer", "--tl", "A Record",
                          "--ty", "2004",
                          "--tn", "3/12", "--tg", genre, "--tc", "a remark")
        cases[name] = (path, known)
    texts = {column: TEXTS["cyrillic"][column] for column in ("title", "artist", "album", "genre", "composer")}
    for version in ("3", "4"):
        path = str(tmp_path / f"ffmpeg {version}.mp3")
        media.audio(path, wav, "-id3v2_version", version, "-write_id3v1", "0", **texts, track="3/12", disc="1/2")
        cases[f"ffmpeg {version}.mp3"] = (path, texts | {"track": 3, "disc": 1})
    music.check_tags(daemon, cases)


def test_what_the_program_id3v2_writes(daemon, tmp_path, samples):
    cases = {}
    for kind, remark in (("-2", "a remark"), ("", "a remark"), ("-2", "about:a remark:deu")):
        name = f"{len(cases)}.mp3"
        shutil.copy(samples / "plain.mp3", tmp_path / name)
        media.call("id3v2", *filter(None, [kind]), "-t", "A Title", "-a", "A Singer", "-A", "A Record", "-y", "2004", "-T",
                   "3/12", "-g", "17",
                   "-c", remark, "--TCOM", "A Composer", "--TPOS", "1/2", str(tmp_path / name))
        cases[name] = (str(tmp_path / name), NUMBERS | {"title": "A Title", "artist": "A Singer", "album": "A Record",
                                                        "genre": "Rock",
                                                       "composer": "A Composer", "comment": "a remark"})
    music.check_tags(daemon, cases)

# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl find: words and fields, order, groups, playlists, what is said of a search that means nothing."""
import time
import unicodedata

import pytest

from harness import id3, media, short_songs
from harness.limits import LIMITS

DONE, FOUND, USAGE = range(3)

SONGS = {  # title, artists, album, genre, year
    "a": ("Feeling Good", "Nina Simone", "I Put a Spell on You", "Jazz", "1965"),
    "b": ("Feeling Blue", "Nina Hagen", "Live at Home", "Punk", "1990"),
    "c": ("Halo", "Beyoncé", "I Am", "Pop", "2008"),
    "d": ("Hoppípolla", "Sigur Rós\0Jónsi", "Takk", "Post-Rock\0Pop", ""),
    "e": ("Straße (live) 100%", "ΑΘΉΝΑ", "Ａlbum", "Jazz", "1999"),
    "f": ("Or [a.b] it's", "Москва", "Ёлка", "", "2001"),
}
VIDEO, PHOTO, LIST = "/volume1/video/clip.mp4", "/volume1/photo/Trip/exif.jpg", "/volume1/music/list.m3u"


def song(title, artist, album, genre, year):
    return short_songs.song(4, id3.UTF_8, 40, title=title, artist=artist, album=album, genre=genre, date=year)


def place(name):
    return f"/volume1/music/{name}.mp3"


def fill(box, samples):
    for name, tags in SONGS.items():
        box.write(place(name), song(*tags))
    box.copy(samples / "tagged.mp3", place("cover"))
    for source, path in (("clip.mp4", VIDEO), ("exif.jpg", PHOTO), ("list.m3u", LIST)):
        box.copy(samples / source, path)
    box.index("R:all", "R:photo")
    return box


FILMS_SPEED = 20  # a reader of films has 90 seconds of this clock


@pytest.fixture
def library(make_daemon, samples):
    """A catalogue by the rules `complete`."""
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules="complete")
    return fill(box.start(), samples)


@pytest.fixture
def plain(daemon, samples):
    """One by the appliance's."""
    return fill(daemon, samples)


def bytes_of(word):
    """A word as the harness has it."""
    return word.encode().decode("latin-1")


def found(box, *words):
    return box.ctl_json("find", *map(bytes_of, words))


def paths(box, *words):
    return [row["path"] for row in found(box, *words)]


def names(box, *words):
    """The songs found, by their letters."""
    letters = (path.removeprefix("/volume1/music/").removesuffix(".mp3") for path in paths(box, *words, "--kind", "music"))
    return "".join(name for name in letters if name in SONGS)


def without_marks(text):
    return "".join(c for c in unicodedata.normalize("NFKD", text) if unicodedata.category(c)[0] != "M")


def folded(text):
    return unicodedata.normalize("NFKC", without_marks(without_marks(text).casefold()))


def test_words_are_folded_and_all_have_to_hold(library):
    assert names(library, "nina") == "ab" and names(library, "NINA", "good") == "a"
    assert names(library, "nina good") == "a", "one argument or two"
    assert names(library, "beyonce") == names(library, "BEYONCÉ") == "c"
    assert names(library, "good feeling") == "a" and names(library, '"good feeling"') == ""
    assert names(library, '"feeling good"') == "a"
    assert names(library, "nina", "-good") == "b" and names(library, "nina", '-"feeling good"') == "b"
    assert names(library, "halo", "or", "nina", "good") == "ac"
    assert names(library, "100%") == "e" and names(library, "1%0") == "" and names(library, "it's") == "f"
    assert names(library, "\"or\" [a.b]") == "f"


@pytest.mark.parametrize("rules", ["complete", "appliance"])
def test_text_is_found_however_it_is_spelled(rules, box, samples):
    """On both engines as the catalogue's document says it."""
    box.configure(rules=rules)
    fill(box.start(), samples)
    for typed in ("feeling", "FEELING GOOD", "hoppipolla", "HOPPÍPOLLA", "strasse", "straße", "tak", "album", "ａｌｂ", "i am", "елка", "live) 100%", "[a.b"):
        for field, at in (("title", 0), ("album", 2)):
            wanted = {sign: "".join(name for name, tags in SONGS.items() if fits(folded(tags[at])))
                      for sign, fits in (("~", lambda text, part=folded(typed): part in text),
                                         ("=", lambda text, whole=folded(typed): text == whole))}
            for sign, expected in wanted.items():
                assert names(box, f'{field}{sign}"{typed}"') == expected, (field, sign, typed)


def test_fields(library):
    assert names(library, "artist=nina simone") == names(library, "artist=nina", "simone", "or", "title=feeling good") == "a"
    assert names(library, "artist=jonsi") == names(library, "artist=sigur ros") == "d", "value by value"
    assert names(library, "artist=nina") == "" and names(library, "artist~nina") == "ab"
    assert names(library, "artist=αθηνα") == "e" and names(library, "artist~МОСК") == "f"
    assert names(library, "genre=pop") == "cd" and names(library, "-genre=pop", "-genre=jazz") == "bf"
    assert names(library, "year=1990..1999") == "be" and names(library, "year=2001..") == "cf"
    assert names(library, "year<1990") == "a", "unknown years are no early ones"
    assert names(library, "year>1990", "year<=2001") == "ef"
    assert names(library, "missing:year") == "d" and names(library, "has:year", "-year=1990") == "acef"
    assert names(library, "missing:genre") == "f" and names(library, "-has:genre") == "f"
    assert names(library, "duration<0:02", "duration>=0:01") == "abcdef" and names(library, "duration>10:00") == ""
    assert names(library, "size>1kB", "size<1MB") == "abcdef" and names(library, "size=1GB..") == ""
    assert names(library, "codec=mp3", "container=mp3") == "abcdef" and names(library, "codec~MP") == "abcdef"
    assert names(library, "sample_rate=44100", "channels=1..2") == "abcdef"
    assert paths(library, "has:cover") == paths(library, "cover=yes") == [place("cover")]
    assert paths(library, f"path={VIDEO}") == [VIDEO] and paths(library, "path~CLIP") == [VIDEO]


def test_nothing_found_says_how_parts_of_texts_are_found(library):
    answer = library.ctl("find", "artist=nina", "year>1900")
    assert answer["status"] == FOUND and answer["err"] == "No rows.\n= is the whole text; a part of it is found by 'artist~nina'.\n", answer
    assert library.ctl("find", "kind=song", "nothing of the kind")["err"] == "No rows.\n"
    assert library.ctl("find", "year>1900", "nothing of the kind")["err"] == "No rows.\n"
    assert library.ctl("find", "artist=nina", "--json")["err"] == ""


def test_languages_go_by_all_their_words(make_daemon):
    library = make_daemon(speed=FILMS_SPEED)
    library.configure(rules="complete")
    tracks = {"codes": ("ger", "eng"), "terms": ("deu", "fre"), "other": ("jpn", "zxx")}
    for name, languages in tracks.items():
        media.clip(library.box.path(f"/volume1/video/{name}.mkv"), "-map", "0", "-map", "1", "-map", "1",
                   *(word for at, language in enumerate(languages) for word in (f"-metadata:s:a:{at}", f"language={language}")))
    library.start().index("A:/volume1/video")
    german = [f"/volume1/video/{name}.mkv" for name in ("codes", "terms")]
    for word in ("german", "German", "de", "ger", "deu"):
        assert paths(library, "kind=film", f"audio_language={word}") == german, word
    assert paths(library, "audio_language=french") == paths(library, "audio_language=fra") == german[1:]
    assert paths(library, "audio_language=zxx") == ["/volume1/video/other.mkv"] and paths(library, "audio_language=klingon") == []


def test_years_of_songs_and_photos(library):
    taken = int(library.row("photo", PHOTO)["date_taken"][:4])
    decade = f"{taken // 10}x"
    assert names(library, "year=1990s") == names(library, "year=199x") == names(library, "year=90s") == names(library, "year=1990-1999") == "be"
    assert paths(library, "kind=photo", f"year={taken}") == paths(library, "kind=photo", f"year={decade}") == [PHOTO]
    assert paths(library, "kind=photo", f"year<{taken}") == paths(library, "kind=photo", f"year={taken + 1}..") == []
    assert paths(library, "kind=photo", f"taken={taken}") == paths(library, "kind=library", f"year={taken}") == [PHOTO]
    both = paths(library, f"year=..{taken}", "--sort", "-year")
    assert PHOTO == both[0] and place("a") in both
    assert paths(library, "kind=photo", "missing:year") == [], "what nobody misses there"
    groups = found(library, "kind=photo", "or", "kind=song", "--group", "year")
    assert {group["year"]: group["files"] for group in groups}[taken] >= 1


def test_fields_that_two_tables_name_otherwise(library):
    media.exif(library.box.path(PHOTO), Make="Canon", Model="EOS 5D", ExposureTime="1/125", FNumber=5.6, ISO=200)
    library.index("R:photo", f"a:{PHOTO}")
    row = library.row("photo", PHOTO)
    for field, column in (("make", "camera_make"), ("model", "camera_model"), ("camera", "camera_model"), ("exposure", "exposure_time"),
                          ("fnumber", "f_number"), ("iso", "iso_speed")):
        for name in (field, column):
            for kind in ("photo", "library"):
                assert paths(library, f"kind={kind}", f'{name}="{row[column]}"') == [PHOTO], (name, kind)
                assert paths(library, f"kind={kind}", f"missing:{name}") == [], (name, kind)


def test_all_of_a_kind_or_a_directory(library):
    assert paths(library, "--kind", "film") == paths(library, "--kind", "video") == [VIDEO]
    assert paths(library, "--kind", "song", "--kind", "film") == [*sorted(library.paths("music")), VIDEO]
    assert paths(library, "--dir", "/volume1/video") == [VIDEO]
    answer = library.ctl("find")
    assert answer["status"] == USAGE and "say what to look for" in answer["err"]


@pytest.mark.parametrize("words, meant", [
    (["4k"], "resolution=4k"), (["kind=song", "1080p"], "resolution=1080p"), (["films"], "kind=film"), (["1970s"], "year=1970s"),
    (["halo", "1953"], "year=1953"), (["yesterday"], "added=yesterday"), (["deutsch"], "subtitles=deutsch"), (["nina", "or", "4k"], None),
    (["-4k", "nobody knows"], None), (["nobody"], None), (["de"], None), (["7"], None)])
def test_nothing_found_says_which_field_may_have_been_meant(words, meant, library):
    answer = library.ctl("find", *words)
    if meant is None:
        assert "looked for as a text" not in answer["err"], answer
    else:
        assert answer["status"] == FOUND and answer["err"].startswith("No rows.\n") and meant in answer["err"], answer
    assert library.ctl("find", *words, "--json")["err"] == ""


def test_the_part_that_finds_nothing_is_named(library):
    answer = library.ctl("find", "codec=mp3", "artist=nina", "genre=jazz")
    assert answer["err"] == "No rows.\n= is the whole text; a part of it is found by 'artist~nina'.\n", answer
    assert library.ctl("find", "codec=mp3", "artist=nobody")["err"] == "No rows.\n", "nor would a part be found"
    assert library.ctl("list", "artist=nina")["err"] == answer["err"]


def test_dates(library):
    today = time.strftime("%Y-%m-%d", time.gmtime())
    assert names(library, "added>2026-10") == names(library, "added>=2001") == "abcdef"
    assert names(library, f"added=2001..{int(today[:4]) + 1}") == "abcdef"
    assert names(library, "added<2001") == names(library, f"added>{int(today[:4]) + 1}") == ""
    assert names(library, "added>=week") == names(library, "added>=Yesterday") == "abcdef"
    assert names(library, "added<week") == names(library, "added<month") == ""
    assert paths(library, "date_taken>1990", "-date_taken>3000") == [PHOTO]
    assert names(library, "modify_time>=2001") == "abcdef" and names(library, "modify_time<2001") == ""


def test_kinds(library):
    assert paths(library, "kind=film") == paths(library, "kind=video") == [VIDEO]
    assert paths(library, "kind=photo", "or", "kind=playlist") == [PHOTO, LIST]
    assert names(library, "kind=song", "nina") == "ab"
    assert PHOTO in paths(library, "-kind=music") and LIST in paths(library, "-kind=music")
    row, = found(library, "kind=library", "make=maker")
    assert row["kind"] == "library" and row["path"] == PHOTO
    assert [row["sharename"] for row in found(library, "kind=album", "public=no", "sharename~tri")] == ["Trip"]
    assert found(library, "kind=photo", "camera=model 1")[0]["camera_model"] == "Model 1"
    assert library.ctl("find", "kind=library", "or", "kind=film")["status"] == USAGE
    assert library.ctl("find", "kind=film", "kind=song", "--json") == {"status": FOUND, "out": "[]\n", "err": ""}
    codec, = (part["video_codec"] for part in library.ctl_json("show", VIDEO) if part["part"] == "facts")
    assert paths(library, f"codec={codec}") == paths(library, f"video_codec={codec}") == [VIDEO]


def test_order_and_number(library):
    order = [place(name) for name in "abefc"]
    assert paths(library, "has:year", "-path~cover", "--sort", "year", "-k", "music") == order
    assert paths(library, "has:year", "-path~cover", "-k", "music", "--sort", "-year", "-n", "2") == order[:-3:-1]
    assert paths(library, "genre=jazz", "or", "genre=pop", "--sort", "genre,-year") == [place(name) for name in ("cover", *"eacd")]
    assert paths(library, "artist~nina", "--sort", "-artist")[0] == place("a")
    assert len(paths(library, "kind=song", "--sort", "added,title")) == len(SONGS) + 1
    assert library.ctl("find", "nina", "-n", "0", "--json") == {"status": DONE, "out": "[]\n", "err": ""}
    whole = paths(library, "path~/")
    assert len(whole) == len(SONGS) + 4
    for count in range(1, len(whole) + 2):
        assert paths(library, "path~/", "-n", str(count)) == whole[:count], "over all tables"
    assert paths(library, "kind=song", "or", "kind=film", "--sort", "-codec,path")[1:] == [place(name) for name in ("a", "b", "c", "cover", "d", "e", "f")]
    assert paths(library, "kind=song", "--dir", "/volume1/video") == []
    assert names(library, "nina", "--dir", "/var/services/music") == "ab"


def test_groups(library):
    groups = found(library, "kind=song", "has:year", "-path~cover", "--group", "genre", "--sort", "-files,genre")
    assert [(group["genre"], group["files"]) for group in groups] == [("Jazz", 2), ("", 1), ("Pop", 1), ("Punk", 1)]
    pop, = found(library, "artist=jonsi", "--group", "genre", "-n", "1")
    assert pop["genre"] == "Pop" and pop["files"] == 1 and pop["file_size"] > 1000 and pop["duration"] > 0.5
    albums = found(library, "nina", "--group", "album", "--sort", "-album")
    assert [(album["album"], album["albumartist"], album["files"]) for album in albums] == [
        ("Live at Home", "", 1), ("I Put a Spell on You", "", 1)]
    kinds = found(library, "kind=song", "or", "kind=film", "--group", "kind")
    assert [(kind["kind"], kind["files"]) for kind in kinds] == [("music", len(SONGS) + 1), ("video", 1)]
    codecs = {group["codec"]: group["files"] for group in found(library, "kind=song", "or", "kind=film", "--group", "codec")}
    assert codecs.pop("mp3") == len(SONGS) + 1 and list(codecs.values()) == [1]
    assert sum(group["files"] for group in found(library, "nina", "--group", "added,kind", "--sort", "-added")) == 2
    table = library.ctl("find", "nina", "--group", "album")["out"].splitlines()
    assert len(table) == 3 and table[0].split()[0] == "ALBUM"
    assert library.ctl("find", "nina", "--group", "codec")["out"].split()[0] == "CODEC"


def test_a_playlist_of_what_is_found(library):
    lines = library.ctl("find", "nina", "or", "kind=photo", "or", "kind=film", "--m3u")["out"].splitlines()
    assert lines[0] == "#EXTM3U" and lines[2::2] == [place("a"), place("b"), VIDEO]
    assert lines[1] == "#EXTINF:1,Nina Simone - Feeling Good"
    assert all(line.startswith("#EXTINF:") for line in lines[1::2])
    assert library.ctl("find", "nina", "--sort", "-year", "-n", "1", "--m3u")["out"].splitlines()[2:] == [place("b")]
    assert library.ctl("find", "nothing of that", "--m3u")["out"] == ""
    assert library.ctl("find", "kind=photo", "--m3u")["status"] == USAGE
    assert library.ctl("find", "nina", "--m3u", "--json")["status"] == USAGE


@pytest.mark.parametrize("words, marked, said", [
    (["love", "artits=X"], "artits", "did you mean artist?"),
    (["year=abc"], "abc", "a number"),
    (["title>m"], "title", "is a text"),
    (["artist", "=", "X"], "artist =", "without blanks: artist=X"),
    (["love", "artist", "=X"], "artist =X", "without blanks"),
    (["artist ~ X"], "artist ~", "without blanks"),
    (["year=", "1990"], "year=", "right behind year="),
    (["year=19x"], "19x", "199x"),
    (["year~9"], "year", "no text"),
    (["nina", "or"], "or", "stands between"),
    (['"nina'], '"', "not closed"),
    (["has:covr"], "covr", "did you mean cover?"),
    (["kind=flim"], "flim", "music, video"),
    (["nina", "--sort", "title,yaer"], "yaer", "did you mean year?"),
    (["nina", "--group", "albun"], "albun", "did you mean album?"),
    (["nina", "--group", "Format"], "Format", "did you mean codec?"),
    (["nina", "--group", "album", "--sort", "year"], "year", "groups have no year"),
    (["nina", "--sort", "files"], "files", "have no field files"),
    (["kind=film", "sharename=x"], "sharename", "rows of the kind video have no field sharename"),
])
def test_what_means_nothing_is_marked(words, marked, said, library):
    answer = library.ctl("find", *words)
    assert answer["status"] == USAGE and answer["out"] == ""
    *sentence, text, mark = answer["err"].splitlines()
    assert said in " ".join(line.strip() for line in sentence)
    at = mark.index("^")
    assert text[at:at + mark.count("^")] == marked and mark.strip("^ ") == ""
    assert max(len(line) for line in answer["err"].splitlines()) <= 80


def test_a_terminal_has_an_edge(library):
    for words, status in ((["year=abc"], USAGE), (["date=1990-1999"], USAGE), (["1970s"], FOUND), (["artist=nina"], FOUND)):
        answer = library.box.ask("run", arguments=["/usr/bin/script", "-qec", f"stty cols 60; {library.ctl_program} find {words[0]}", "/dev/null"],
                                 environment={"LC_ALL": "C.UTF-8", "TERM": "xterm"}, timeout=60)
        lines = answer["out"].replace("\r", "").splitlines()
        assert answer["status"] == status and len(lines) >= 2 and all(line.strip() and len(line) <= 60 for line in lines), answer


def test_by_the_rules_appliance_facts_are_refused_with_the_reason(plain):
    for word in ("codec=mp3", "added>2026-10", "has:lens", "missing:albumartist"):
        answer = plain.ctl("find", word)
        assert answer["status"] == USAGE, word
        assert "has no column" in answer["err"] and "rules appliance" in " ".join(answer["err"].split()), word
    assert names(plain, "artist=nina simone", "genre=jazz", "missing:year") == "a"
    assert names(plain, "artist=beyonce") == "c"
    assert plain.ctl("find", "nina", "--sort", "albumartist")["status"] == USAGE
    assert [group["album"] for group in found(plain, "nina", "--group", "album")] == ["I Put a Spell on You", "Live at Home"]
    plain.configure(rules="complete")
    assert "once a run by the rules complete" in " ".join(plain.ctl("find", "codec=mp3")["err"].split())


def test_what_is_typed_is_never_a_statement(library):
    for word in ("artist=' or 1=1 --", "title~$1", "title~'; drop table music", "path=' or ''='", "genre=\\", "artist~%", "title=_"):
        assert names(library, word) == "", word
    assert len(library.paths("music")) == len(SONGS) + 1


def test_large_searches_are_answered_or_refused(library):
    most = LIMITS["kSearchTermsMax"]
    assert names(library, *["nina"] * most) == "ab"
    assert names(library, *(["-halo"] * (most - 1)), "nina") == "ab"
    assert names(library, *(["nina", "or"] * (most - 1)), "halo") == "abc"
    assert names(library, *[f"artist~{letter}" for letter in "nina" * (most // 4)]) == "ab"
    assert library.ctl("find", *["nina"] * (most + 1))["status"] == USAGE
    for letter in ("a", "é", "ﬃ"):
        longest = letter * (LIMITS["kSearchValueMax"] // len(letter.encode()))
        assert names(library, longest) == "" and names(library, f'title="{longest}"') == ""
        assert library.ctl("find", bytes_of(longest + "aaaa"))["status"] == USAGE
    assert library.ctl("find", "path=/" + "a" * LIMITS["kSearchTextMax"])["status"] == USAGE
    fields = ["title"] * LIMITS["kSearchOrderMax"]
    assert names(library, "nina", "--sort", ",".join(fields)) == "ba"
    assert library.ctl("find", "nina", "--sort", ",".join(fields + ["year"]))["status"] == USAGE


def test_a_large_answer_comes_whole_and_in_order(daemon):
    count = 2345
    for number in range(count):
        daemon.write(f"/volume1/music/{number:05}.pcm")
    daemon.index("A:/volume1/music")
    assert paths(daemon, "path~/") == daemon.paths("music")
    assert paths(daemon, "path~/", "--sort", "-path") == daemon.paths("music")[::-1]
    for most in (150, 1001):
        assert paths(daemon, "path~/", "-n", str(most)) == daemon.paths("music")[:most]


def completed(box, *words):
    quoted = " ".join(f"'{word}'" for word in words)
    script = (f". /tmp/completion; compopt() {{ :; }}; COMP_WORDS=(veluctl find {quoted}); COMP_CWORD={len(words) + 1}; _veluctl; "
              "echo ${COMPREPLY[*]}")
    return box.box.ask("run", arguments=["/bin/bash", "-c", script], environment={}, timeout=9)["out"].split()


def test_the_shell_completes_names_of_fields(box):
    box.write("/tmp/completion", box.ctl("--completion")["out"])
    assert completed(box, "albuma") == ["albumartist="]
    assert completed(box, "mis") == ["missing:"]
    assert completed(box, "has", ":", "albuma") == ["albumartist"]
    assert completed(box, "kind", "=", "fil") == ["film"]
    assert completed(box, "-kind", "=", "fil") == ["film"]
    assert completed(box, "resolution", "=", "43") == ["4320p"]
    assert set(completed(box, "added", "=")) == {"today", "yesterday", "week", "month", "year"}
    assert completed(box, "subtitles", "=", "deut") == ["deutsch"]
    assert completed(box, "title", "=", "fil") == [] and completed(box, "codec", "=") == []
    assert completed(box, "--sort", "year,-albuma") == ["year,-albumartist"]


def test_the_help_and_the_manual_tell_the_language_with_examples(box):
    texts = box.ctl("find", "--help")["out"], box.ctl("--man")["out"].replace("\\-", "-").replace("\\e", "\\")
    for text in texts:
        for word in ("title~part", "year=1990..1999", "duration>10:00", "size=100k..", "subtitle_file_language", "exposure fnumber date_taken", "missing:year", "kind=film", "albumartist", "--m3u > evening.m3u8"):
            assert word in text, word
    assert "\nExamples:\n" in texts[0] and ".SH EXAMPLES\n" in texts[1]
    *lines, = texts[0].split("\nExit codes:")[0].splitlines()
    assert [line for line in lines if len(line) > 80] == [line for line in lines if "KIND:{" in line]

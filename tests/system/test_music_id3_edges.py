# SPDX-License-Identifier: GPL-2.0-or-later
"""ID3v2 tags byte by byte: the flags that are not looked at, long texts, the order of frames, comments."""
from harness import id3, music

TITLE = id3.text(3, "TIT2", "A Title")
ARTIST = id3.text(3, "TPE1", "A Singer")


def check(daemon, stream, tags):
    """`tags`: {name: (an ID3v2 tag, the known columns)}."""
    music.check_tags(daemon, {name: (tag + stream, known) for name, (tag, known) in tags.items()})


def test_flags_of_the_tag(daemon, stream):
    both = {"title": "A Title", "artist": "A Singer"}
    extended = (6).to_bytes(4, "big") + bytes(6)
    accented = id3.text(3, "TIT2", "ÿ\0 end") + ARTIST
    marked = id3.text(3, "TIT2", "Ночь", id3.UTF_16) + ARTIST
    check(daemon, stream, {
        "unsynchronised.mp3": (id3.tag(3, id3.unsynchronised(TITLE + ARTIST), flags=id3.UNSYNCHRONISED), both),
        "unsynchronised 4.mp3": (id3.tag(4, TITLE, ARTIST, flags=id3.UNSYNCHRONISED), both),
        # The zero that unsynchronisation puts behind an FF byte is text as it stands: it ends single-byte text.
        "put in.mp3": (id3.tag(3, id3.unsynchronised(accented), flags=id3.UNSYNCHRONISED), {"title": "ÿ"}),
        # It parts the byte-order mark only before what looks like a header: FF FE does.
        "parted mark.mp3": (id3.tag(3, id3.unsynchronised(marked), flags=id3.UNSYNCHRONISED), {"title": "ÿ"}),
        "extended.mp3": (id3.tag(3, extended, TITLE, ARTIST, flags=id3.EXTENDED), {}),
        "extended flag alone.mp3": (id3.tag(3, TITLE, ARTIST, flags=id3.EXTENDED), both),
        "footer.mp3": (id3.tag(4, TITLE, ARTIST, flags=id3.FOOTER), both),
        "version 5.mp3": (id3.tag(5, TITLE, ARTIST), both), "version 1.mp3": (id3.tag(1, TITLE, ARTIST), {}),
        "version 0.mp3": (id3.tag(0, TITLE, ARTIST), {}), "empty.mp3": (id3.tag(3), {}),
    })


def test_frame_sizes_of_each_version(daemon, stream):
    """Frame sizes of more than 127 bytes differ: version 4 leaves bit 7 out."""
    text = "x" * 200
    cases = {f"{version}.mp3": (id3.tag(version, id3.text(version, "TIT2", text), id3.text(version, "TPE1", "A Singer")),
                                {"title": text, "artist": "A Singer"}) for version in (3, 4)}
    cases["5.mp3"] = (id3.tag(5, id3.text(4, "TIT2", text), id3.text(4, "TPE1", "A Singer")),
                      {"title": text, "artist": "A Singer"})
    cases["2.mp3"] = (id3.tag(2, id3.text(2, "TT2", text * 3), id3.text(2, "TP1", "A Singer")),
                      {"title": (text * 3)[:254], "artist": "A Singer"})
    check(daemon, stream, cases)


def test_long_texts_are_cut_at_a_character(daemon, stream):
    def titled(text, encoding):
        return id3.tag(3, id3.text(3, "TIT2", text, encoding), ARTIST)
    check(daemon, stream, {
        "1.mp3": (titled("x" * 254, id3.LATIN_1), {"title": "x" * 254, "artist": "A Singer"}),
        "2.mp3": (titled("x" * 255, id3.LATIN_1), {"title": "x" * 254, "artist": "A Singer"}),
        "3.mp3": (titled("x" * 1022, id3.LATIN_1), {"title": "x" * 254, "artist": "A Singer"}),
        "4.mp3": (titled("é" * 400, id3.UTF_8), {"title": "é" * 127, "artist": "A Singer"}),
        "5.mp3": (titled("xé" + "é" * 400, id3.UTF_8), {"title": "x" + "é" * 126, "artist": "A Singer"}),
        "6.mp3": (titled("七" * 300, id3.UTF_8), {"title": "七" * 84, "artist": "A Singer"}),
        "7.mp3": (titled("🎵" * 200, id3.UTF_8), {"title": "🎵" * 63, "artist": "A Singer"}),
        # 254 bytes of UTF-16 are its mark and 126 units; a pair that the field cuts in half goes.
        "8.mp3": (titled("七" * 500, id3.UTF_16), {"title": "七" * 126, "artist": "A Singer"}),
        "9.mp3": (titled("🎵" * 200, id3.UTF_16), {"title": "🎵" * 63, "artist": "A Singer"}),
        "10.mp3": (titled("x" + "🎵" * 200, id3.UTF_16), {"title": "x" + "🎵" * 62, "artist": "A Singer"}),
        "11.mp3": (titled("x" * 2000, id3.LATIN_1), {}),
        "12.mp3": (id3.tag(3, ARTIST, id3.text(3, "TIT2", "x" * 1023)), {"artist": "A Singer"}),
        "13.mp3": (id3.tag(3, id3.text(3, "USLT", "x" * 1023), ARTIST), {}),
        "14.mp3": (id3.tag(3, id3.text(3, "TCON", "x" * 1000)), {"genre": "x" * 127}),
    })


def test_order_and_repetition(daemon, stream):
    check(daemon, stream, {
        "second title.mp3": (id3.tag(3, TITLE, id3.text(3, "TIT2", "Another")), {"title": "Another"}),
        "unknown.mp3": (id3.tag(3, id3.text(3, "TXXX", "a\0b"), id3.frame(3, "PRIV", b"x" * 500), TITLE),
                        {"title": "A Title"}),
        "padding inside.mp3": (id3.tag(3, TITLE, bytes(20), ARTIST), {"title": "A Title"}),
        "junk.mp3": (id3.tag(3, TITLE, b"a" * 20, ARTIST), {"title": "A Title"}),
        "lower case.mp3": (id3.tag(3, id3.text(3, "Tit2", "A Title")), {"title": "A Title"}),
        "empty title.mp3": (id3.tag(3, id3.text(3, "TIT2", ""), ARTIST), {"artist": "A Singer"}),
        "blank title.mp3": (id3.tag(3, id3.text(3, "TIT2", "   "), ARTIST), {"artist": "A Singer"}),
        "trimmed.mp3": (id3.tag(3, id3.text(3, "TIT2", "  A\tTitle\n ")), {"title": "A Title"}),
        "claims less.mp3": (id3.tag(3, TITLE, ARTIST, size=len(TITLE)), {"title": "A Title"}),
    })


def test_comments(daemon, stream):
    def remarks(*comments, version=3):
        return id3.tag(version, *comments)
    check(daemon, stream, {
        "first.mp3": (remarks(id3.comment(3, "one", "eng"), id3.comment(3, "two", "deu")), {"comment": "one"}),
        "empty first.mp3": (remarks(id3.comment(3, "", "eng"), id3.comment(3, "two", "deu")), {"comment": "two"}),
        "described.mp3": (remarks(id3.comment(3, "one", "eng", "about it")), {"comment": "one"}),
        "no language.mp3": (remarks(id3.comment(4, "eins", "\0\0\0", encoding=id3.UTF_8), version=4), {"comment": "eins"}),
        "utf-8.mp3": (remarks(id3.comment(4, "запись", "rus", "о", id3.UTF_8), version=4), {"comment": "запись"}),
        # The description ends at its first zero byte in UTF-16 too: the rest of it is what is left of the comment.
        "utf-16.mp3": (remarks(id3.comment(3, "one", "eng", "ab", id3.UTF_16)), {"comment": "b"}),
        "no end.mp3": (remarks(id3.frame(3, "COMM", b"\0engno end")), {}),
        "short.mp3": (remarks(id3.frame(3, "COMM", b"\0en")), {}),
    })

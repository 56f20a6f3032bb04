# SPDX-License-Identifier: GPL-2.0-or-later
"""Music files that lie: each is indexed in bounded time, costs only itself, and leaves nothing behind."""
import os
import time

import pytest

from harness import id3, media, music

# Generous for a loaded machine and an instrumented binary: what it must tell apart is seconds from hours.
BOUND = 40
COVERS = "/var/lib/velu/covers"
GOOD = {"duration": pytest.approx(1, abs=0.2), "audio_bitrate": 128_000, "sample_rate": 44100, "channels": 2}
GOOD_AIFF = {"duration": 1, "audio_bitrate": 1_411_200, "sample_rate": 44100, "channels": 2}
TITLE = id3.text(3, "TIT2", "A Title")


@pytest.fixture(scope="session")
def good(samples, tmp_path_factory):
    """An MP3 stream and an AIFF file."""
    folder = tmp_path_factory.mktemp("good")
    media.audio(f"{folder}/x.aiff", music.tone(f"{folder}/x.wav", 44100))
    return (samples / "plain.mp3").read_bytes(), (folder / "x.aiff").read_bytes()


@pytest.fixture
def check(daemon, good):
    """Indexes hostile files and good ones behind them, and gives the rows."""
    def index(files):
        begin = time.monotonic()
        rows = music.catalogue(daemon, {**files, "good.mp3": good[0], "good.aiff": good[1]})
        assert time.monotonic() - begin < BOUND
        assert music.part({"x": rows["good.mp3"], "y": rows["good.aiff"]}, *GOOD) == {"x": GOOD, "y": GOOD_AIFF}
        assert {name: rows[name]["file_size"] for name in files} == {name: len(content) for name, content in files.items()}
        return rows
    return index


def test_beginnings_of_good_files(check, good):
    """Every file of 0 to 128 bytes, of a stream, a tag with a picture, an end with an old tag, and an AIFF file."""
    picture = id3.tag(3, TITLE, id3.picture(3, b"\xff\xd8" + b"x" * 200)) + good[0]
    old = id3.id3v1(b"Old Title", b"Old Singer", b"Old Record")
    files = {}
    for size in range(129):
        files |= {f"stream {size}.mp3": good[0][:size], f"tag {size}.mp3": picture[:size], f"old {size}.mp3": old[:size],
                  f"{size}.aif": good[1][:size]}
    rows = check(files)
    for name in files:
        # No two frames of the stream fit into so few bytes, so that nothing of a tag counts.
        if name.endswith(".mp3"):
            expected = dict.fromkeys(GOOD, 0) | music.tags(name)
            assert music.part({name: rows[name]}, *expected)[name] == expected
    # An AIFF file is known once its COMM chunk is whole: 12 bytes of FORM, 8 of the chunk's header, 18 of COMM.
    assert {size: rows[f"{size}.aif"]["channels"] for size in range(129)} == {size: 2 * (size >= 38) for size in range(129)}


def test_sizes_that_lie(check, daemon, good):
    """Tags, frames and pictures that claim more than the file has, up to all that their fields can hold."""
    stream, image = good[0], b"\xff\xd8" + b"x" * 200
    bit_7 = TITLE[:4] + b"\x80\x80\x80\x80" + TITLE[8:]
    files = {
        "picture of 4 GiB in 30 bytes.mp3": id3.tag(3, id3.picture(3, b"", size=0xFFFFFFFF))[:30].ljust(30, b"\xff"),
        "picture of 4 GiB.mp3": id3.tag(3, TITLE, id3.picture(3, image, size=0xFFFFFFFF)) + stream,
        "picture of 16 MiB.mp3": id3.tag(2, id3.picture(2, image, mime="JPG", size=0xFFFFFF)) + stream,
        "picture of 256 MiB.mp3": id3.tag(4, id3.picture(4, image, size=0x0FFFFFFF)) + stream,
        "picture of no size.mp3": id3.tag(3, id3.picture(3, image, size=0)) + stream,
        "picture of one byte.mp3": id3.tag(3, id3.picture(3, image, size=1)) + stream,
        "tag of 256 MiB.mp3": id3.tag(3, TITLE, size=0x0FFFFFFF) + stream,
        "tag of bit 7.mp3": b"ID3\3\0\0" + b"\x80\x80\x80\x80" + TITLE + stream,
        "tag of all bits.mp3": b"ID3\3\0\0" + b"\xff" * 4 + TITLE + stream,
        "frame of bit 7, 3.mp3": id3.tag(3, bit_7) + stream, "frame of bit 7, 4.mp3": id3.tag(4, bit_7) + stream,
        "frame of all bits.mp3": id3.tag(4, TITLE[:4] + b"\xff" * 4 + TITLE[8:]) + stream,
        "comment of 1023.mp3": id3.tag(3, id3.frame(3, "COMM", b"\0eng", size=1023)),
        "text of 1023.mp3": id3.tag(3, id3.frame(3, "TIT2", b"\1\xff\xfe", size=1023)),
    }
    rows = check(files)
    assert [name for name in files if rows[name]["has_cover"]] == []
    assert [name for _, _, names in os.walk(daemon.box.path(COVERS)) for name in names] == []


def test_a_million_empty_frames(check, good):
    """The frames before the title are walked over, one by one."""
    count = 1_000_000
    rows = check({f"{version}.mp3": id3.tag(version, id3.frame(version, name, b"") * count,
                                            id3.text(version, title, "A Title")) + good[0]
                  for version, name, title in ((2, "TT2", "TT2"), (3, "TIT2", "TIT2"), (4, "COMM", "TIT2"))})
    assert {row["title"] for name, row in rows.items() if not name.startswith("good")} == {"A Title"}
    assert {row["sample_rate"] for row in rows.values()} == {44100}


def test_streams_made_to_be_searched_for_ever(check):
    """Candidates for a header without end, runs of zeros behind each, notes that are searched for and not there."""
    size = 3_000_000
    header = b"\xff\xfb\x90\x64"
    files = {"ones.mp3": b"\xff" * size, "zeros.mp3": bytes(size), "headers.mp3": header * (size // 4),
             "headers before zeros.mp3": header * (size // 8) + bytes(size // 2),
             "headers parted by zeros.mp3": (header + bytes(2000)) * (size // 2004), "signs.mp3": b"Xin" * (size // 3),
             "signs of both.mp3": b"VBRXin" * (size // 6), "one header.mp3": header + bytes(size)}
    check(files)


def test_aiff_files_that_lie(check, good):
    form, body = good[1][:12], good[1][12:]
    assert body[:4] == b"COMM"
    comm, rest = body[:26], body[26:]

    def described(channels=b"\0\2", frames=b"\0\0\xac\x44", bits=b"\0\x10", rate=comm[16:26], size=b"\0\0\0\x12"):
        return form + b"COMM" + size + channels + frames + bits + rate + rest
    files = {
        "size.aif": described(size=b"\xff" * 4), "short.aif": described(size=b"\0\0\0\x11"),
        "no size.aif": described(size=bytes(4)),
        "frames.aif": described(frames=b"\xff" * 4), "channels.aif": described(channels=b"\xff" * 2),
        "bits.aif": described(bits=b"\xff" * 2),
        "rate 0.aif": described(rate=bytes(10)), "rate infinite.aif": described(rate=b"\x7f\xff\x80" + bytes(7)),
        "rate no number.aif": described(rate=b"\x7f\xff" + b"\xc0" + bytes(7)),
        "rate negative.aif": described(rate=b"\xc0\x0e\xac\x44" + bytes(6)),
        "rate tiny.aif": described(rate=bytes(9) + b"\1"), "chunks.aif": form + b"ANNO\0\0\0\0" * 400_000 + body,
        "chunk of 4 GiB.aif": form + b"ANNO\xff\xff\xff\xfe" + body, "no form.aif": b"RIFF" + good[1][4:],
        "other form.aif": good[1][:8] + b"8SVX" + body,
    }
    rows = check(files)
    # What is no time at all is 0, and every row can be read back.
    unread = dict.fromkeys(GOOD, 0)
    for name in ("short.aif", "no size.aif", "chunks.aif", "chunk of 4 GiB.aif", "no form.aif", "other form.aif"):
        assert music.part({name: rows[name]}, *GOOD)[name] == unread
    for name in ("rate 0.aif", "rate no number.aif", "rate negative.aif", "rate infinite.aif"):
        assert rows[name]["duration"] == 0
    assert rows["frames.aif"]["duration"] == pytest.approx(0xFFFFFFFF / 44100, rel=1e-6)
    assert all(row["title"] == name.rsplit(".", 1)[0] for name, row in rows.items())

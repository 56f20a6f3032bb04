# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of films finds in a library of them, field by field against ffprobe, which reads them to the end of its patience."""
import functools
import json
import os
import subprocess

import pytest

from harness import film_facts, films
from harness.limits import LIMITS
from harness.media import ffmpeg


@pytest.fixture(scope="session")
def library():
    return sorted(path for path in film_facts.library().iterdir() if path.is_file())


@pytest.fixture(scope="session")
def dump(binary):
    """Facts of files by the reader."""
    return functools.partial(film_facts.dump, binary)


def test_every_field_is_what_ffprobe_says(library, dump):
    asked = film_facts.asked()
    known = [path for path in library if path.name in asked]
    wrong, explained = [], set()
    for path, ours in zip(known, dump(*known)):
        for field, mine, theirs, alike in film_facts.compare(asked[path.name], ours):
            if (path.name, field) in film_facts.TOLD_OTHERWISE:
                explained.add((path.name, field))
                alike = film_facts.reason(path.name, field, mine)
            if not alike:
                wrong.append((path.name, field, mine, theirs))
    assert not wrong
    assert explained == film_facts.TOLD_OTHERWISE.keys()


def test_headers_give_the_same_as_the_search(library, dump):
    """A question that the headers leave open and nobody has thought of would show here."""
    short, long = dump(*library), dump("--search", *library)
    for path, one, other in zip(library, short, long):
        assert one | {"searched": ""} == other | {"searched": ""}, path.name
    answered = {path.name for path, one in zip(library, short) if not one["searched"]}
    # what people have most is not searched
    assert {"h264_aac.mp4", "hevc_aac.mp4", "hdr10.mp4", "h264_pcm.mov", "h264_aac.mkv", "h264_ac3_51.mkv", "h264_dts.mkv",
            "hevc_10.mkv", "vp9_opus.webm", "mpeg4_mp3.avi", "h264_aac.avi", "h264_mp3.mkv", "mpeg4_mp3.mkv",
            "h264_mp2.mkv"} <= answered
    assert "h264_mp3_vbr.mkv" not in answered


def peak_kilobytes(program, path):
    """The most memory that a program has taken for a file."""
    with subprocess.Popen([program, path], stdout=subprocess.DEVNULL) as process:
        _, status, usage = os.wait4(process.pid, 0)
        process.returncode = status
    assert status == 0
    return usage.ru_maxrss


@pytest.mark.parametrize("name, codec", [
    ("large.ts", ("libx264", "-preset", "ultrafast")), ("large.ts", films.X265[1:]),
    ("large.webm", (*films.PICTURES["vp9"][1:], "-live", "1"))])
def test_the_search_takes_no_memory_for_pictures(binary, library, dump, tmp_path, name, codec):
    """One picture of the larger film is 12 MB."""
    large = tmp_path / name
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=3840x2160:rate=25:duration=0.2", "-c:v", *codec, "-pix_fmt", "yuv420p", str(large))
    found, = dump(large)
    assert (found["width"], found["height"], found["frame_rate"]) == ([3840], [2160], [25])
    program = binary.parent / "film_dump"
    assert peak_kilobytes(program, large) < peak_kilobytes(program, library[0].parent / "h264_aac.ts") + 10000


def test_a_varying_rate_beside_large_pictures_takes_no_memory_for_them(binary, library, dump, tmp_path):
    """The mean that programs tell is that of the first frames, as many as they read until pictures were decoded. Where these are not,
    more frames are read, and it is the mean of the sound."""
    large, sound = tmp_path / "large.mkv", tmp_path / "sound.mp3"
    # Packets of one colour are small: the sanitizers keep what has been freed.
    ffmpeg("-f", "lavfi", "-i", "color=size=3840x2160:rate=25:duration=2", "-f", "lavfi", "-i", "anoisesrc=duration=2",
           "-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-c:a", "libmp3lame", "-q:a", "4", str(large))
    ffmpeg("-i", str(large), "-vn", "-c:a", "copy", "-write_xing", "0", "-id3v2_version", "0", str(sound))
    found, = dump(large)
    assert found["audio_bitrate"][0] == pytest.approx(sound.stat().st_size * 8 / 2, rel=0.05)
    program = binary.parent / "film_dump"
    assert peak_kilobytes(program, large) < peak_kilobytes(program, library[0].parent / "h264_aac.ts") + 10000


@pytest.mark.parametrize("name, container", [
    ("h264_aac.mp4", "mp4"), ("h264.m4v", "mp4"), ("sound_only.m4a", "m4a"), ("h264_pcm.mov", "mov"), ("h264.3gp", "3gp"),
    ("h264.3g2", "3g2"), ("h264_aac.mkv", "matroska"), ("sound_only.mka", "matroska"), ("vp9_opus.webm", "webm"),
    ("mpeg4_mp3.avi", "avi"), ("h264_aac.ts", "mpegts"), ("mpeg2_mp2.mpg", "mpeg"), ("wmv2_wma.wmv", "asf"),
    ("theora_vorbis.ogv", "ogg"), ("notes.mid", "midi"), ("speech.amr", "amr")])
def test_a_container_has_its_own_name_in_its_family(library, dump, name, container):
    found, = dump(library[0].parent / name)
    assert found["container"] == [container]


@pytest.mark.parametrize("name, picture", [
    ("cover.mp4", "front.jpg"), ("cover.m4a", "back.png"), ("cover.mkv", "front.jpg"), ("cover.mka", "front.jpg"),
    ("webp_cover.mka", "front.webp"), ("font.mkv", None), ("h264_aac.mp4", None)])
def test_a_picture_comes_out_whole_and_the_front_cover_first(library, dump, tmp_path, name, picture):
    folder = library[0].parent
    found, = dump(folder / name, VELU_PICTURE=str(tmp_path / "picture"))
    expected = (folder / "parts" / picture).read_bytes() if picture else b""
    assert (tmp_path / "picture").read_bytes() == expected
    assert found["picture"] == len(expected)
    assert found["content"] == ("sound" if name.endswith("a") else "film")


def test_a_place_is_told_in_degrees(library, dump):
    told, plain = dump(library[0].parent / "place.mp4", library[0].parent / "place.mov")
    assert (told["gps_latitude"], told["gps_longitude"], told["gps_altitude"]) == ([48.8577], [-2.295], [35.5])
    assert (plain["gps_latitude"], plain["gps_longitude"]) == ([-33.8568], [151.2153])
    assert "gps_altitude" not in plain


def test_totals_come_with_their_numbers(library, dump):
    for found in dump(*(library[0].parent / name for name in ("tagged.mp4", "tagged.mkv", "tagged.avi", "tagged.wmv"))):
        assert (found["track"], found["tracktotal"]) == ([3], [12])


def test_several_titles_of_a_stream_are_kept_and_those_of_another_stream_are_not(dump, tmp_path):
    """Ogg has its tags in the streams; libavformat joins those of one name."""
    path = tmp_path / "titles.ogv"
    ffmpeg("-f", "lavfi", "-i", "testsrc2=size=64x48:rate=25:duration=0.2", "-f", "lavfi", "-i", "sine=duration=0.2", "-c:v", "libtheora",
           "-c:a", "libvorbis", "-metadata:s:v", "title=Of the picture", "-metadata:s:v", "album=Album",
           "-metadata:s:a", "title=One;Two; too", str(path))
    found, = dump(path)
    assert (found["title"], found["album"]) == (["One", "Two; too"], ["Album"])


def test_what_names_other_content_is_not_read(dump, tmp_path, library):
    film = library[0].parent / "h264_aac.mp4"
    (tmp_path / "list.mp4").write_text(f"ffconcat version 1.0\nfile {film}\n", encoding="utf-8")
    (tmp_path / "list.ts").write_text(f"#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\n{film}\n", encoding="utf-8")
    (tmp_path / "session.avi").write_text("v=0\no=- 0 0 IN IP4 127.0.0.1\nc=IN IP4 127.0.0.1\nm=video 5004 RTP/AVP 96\n",
                                          encoding="utf-8")
    for found in dump(*sorted(tmp_path.iterdir())):
        assert found["content"] == "unknown"
        assert found["reason"]


def flash_of(pictures, size):
    """A film of so many pictures of a size before its first sound; its header says of neither what it is."""
    tags = [(9, b"\x22" + bytes(size))] * pictures + [(8, b"\x2f\xff\xfb\x90\x64" + bytes(413))] * 3
    film = b"FLV\1\5\0\0\0\x09" + bytes(4)
    for place, (kind, body) in enumerate(tags):
        tag = bytes([kind]) + len(body).to_bytes(3, "big") + (place * 40).to_bytes(3, "big") + bytes(4) + body
        film += tag + len(tag).to_bytes(4, "big")
    return film


def test_streams_are_looked_for_in_so_many_bytes(dump, tmp_path):
    part = LIMITS["kFilmProbeBytes"] // 5
    (tmp_path / "near.flv").write_bytes(flash_of(4, part))
    (tmp_path / "far.flv").write_bytes(flash_of(6, part))
    near, far = dump(tmp_path / "near.flv", tmp_path / "far.flv")
    assert (near["video_codec"], near["codec"]) == (["flv1"], ["mp3"])
    assert far["video_codec"] == ["flv1"]
    assert "codec" not in far


def test_a_film_whose_first_packet_is_far_has_no_dynamic_metadata(library, dump):
    """Of its sound more packets than kFilmPacketsMax come first."""
    found, = dump(library[0].parent / "dynamic_far.mkv")
    assert found["hdr"] == ["hdr10"]

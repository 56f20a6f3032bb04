# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of films finds in a library of them, field by field against ffprobe, which reads them to the end of its patience."""
import fractions
import json
import pathlib
import subprocess

import pytest

from harness import film_patches, films
from harness.limits import LIMITS

# What no reference says, or says otherwise, and why.
TOLD_OTHERWISE = {
    ("still.mp4", "content"): "sound",  # a track of one picture is a cover, to ffprobe a film
    ("still.mp4", "video_codec"): None,
    ("still.mp4", "width"): None,
    ("still.mp4", "height"): None,
    ("still.mp4", "frame_rate"): None,
    ("still.mp4", "video_bitrate"): None,
    ("statistics.mkv", "audio_bitrate"): 65432,  # the writer's own statistics, to ffprobe a tag
    ("statistics.mkv", "video_bitrate"): 123456,
    ("mpeg4_real.rm", "artist"): "Somebody",  # its "author"
    ("mpeg4_real.rm", "duration"): None,  # to ffprobe 0
    ("dynamic_late.mp4", "hdr"): "hdr10",  # the metadata are behind what is looked at
}
TAGS = {"title": "title", "artist": "artist", "album": "album", "genre": "genre", "composer": "composer", "comment": "comment",
        "date": "date", "albumartist": "album_artist", "description": "description", "show": "show", "publisher": "publisher",
        "lyrics": "lyrics"}
HDR = {"smpte2084": "hdr10", "arib-std-b67": "hlg"}


@pytest.fixture(scope="session")
def library(encoded):
    folder = encoded("films", films.make_films, pathlib.Path(films.__file__), pathlib.Path(film_patches.__file__))
    return sorted(path for path in folder.iterdir() if path.is_file())


@pytest.fixture(scope="session")
def dump(binary):
    """Facts of files by the reader."""
    def run(*arguments, **environment):
        done = subprocess.run([binary.parent / "film_dump", *map(str, arguments)], capture_output=True, text=True, check=True,
                              env=environment)
        assert not done.stderr
        return [json.loads(line) for line in done.stdout.splitlines()]
    return run


def number(text):
    return float(text) if text not in (None, "N/A") else None


def count(text):
    return number(text) or None


def expected(told):
    """What ffprobe says of a file, in our words."""
    whole, streams = told["format"], told["streams"]
    sound = next((one for one in streams if one["codec_type"] == "audio"), {})
    film = next((one for one in streams if one["codec_type"] == "video" and not one["disposition"]["attached_pic"]), {})
    tags = {key.lower(): value for key, value in whole.get("tags", {}).items()}
    if whole["format_name"] == "ogg":
        for stream in reversed(streams):
            tags |= {key.lower(): value for key, value in stream.get("tags", {}).items()}
    rate = next((film[key] for key in ("avg_frame_rate", "r_frame_rate") if film and not film[key].endswith("/0")), None)
    beside = film.get("side_data_list", [])
    turned = next((one["rotation"] for one in beside if "rotation" in one), 0)
    hdr = HDR.get(film.get("color_transfer"))
    if hdr == "hdr10" and told["dynamic"]:
        hdr = "hdr10plus"
    if any("DOVI" in one["side_data_type"] for one in beside):
        hdr = "dolby_vision"
    alone = not film and len(streams) == 1
    return {
        "content": "film" if film else "sound",
        "duration": number(whole.get("duration")),
        "codec": sound.get("codec_name"), "video_codec": film.get("codec_name"),
        "sample_rate": count(sound.get("sample_rate")), "channels": count(sound.get("channels")),
        "width": count(film.get("width")), "height": count(film.get("height")),
        "audio_bitrate": count(sound.get("bit_rate")) or (count(whole.get("bit_rate")) if alone else None),
        "video_bitrate": count(film.get("bit_rate")) or (count(whole.get("bit_rate")) if film else None),
        "bits_per_sample": count(sound.get("bits_per_sample")) or count(sound.get("bits_per_raw_sample")),
        "frame_rate": float(fractions.Fraction(rate)) if rate else None,
        "rotation": -turned % 360 or None, "hdr": hdr,
        "track": count(tags.get("track", "0").split("/")[0]), "disc": count(tags.get("disc", "0").split("/")[0]),
        "year": count(tags.get("date", "0")[:4]),
        "audio_language": languages(streams, "audio"), "subtitle_language": languages(streams, "subtitle"),
        "chapter": [chapter["tags"]["title"] for chapter in told["chapters"]] or None,
        **{ours: tags.get(theirs) or None for ours, theirs in TAGS.items()},
    }


def languages(streams, kind):
    found = [stream["tags"]["language"] for stream in streams
             if stream["codec_type"] == kind and stream.get("tags", {}).get("language", "und") != "und"]
    return list(dict.fromkeys(found)) or None


def alike(ours, theirs):
    if isinstance(ours, float | int) and isinstance(theirs, float | int):
        return abs(ours - theirs) <= 0.001
    return ours == theirs


def test_every_field_is_what_ffprobe_says(library, dump):
    asked = json.loads((library[0].parent / films.ASKED).read_text(encoding="utf-8"))
    known = [path for path in library if path.name in asked]
    wrong = []
    for path, ours in zip(known, dump(*known)):
        theirs = expected(asked[path.name])
        for field, value in theirs.items():
            value = TOLD_OTHERWISE.get((path.name, field), value)
            mine = ours.get(field)
            if isinstance(mine, list) and field not in ("audio_language", "subtitle_language", "chapter"):
                mine, = mine
            if not alike(mine, value):
                wrong.append((path.name, field, mine, value))
    assert not wrong
    assert {field for _, field in TOLD_OTHERWISE} <= set(theirs)


def test_headers_give_the_same_as_the_search(library, dump):
    """A question that the headers leave open and nobody has thought of would show here."""
    short, long = dump(*library), dump("--search", *library)
    for path, one, other in zip(library, short, long):
        assert one | {"searched": ""} == other | {"searched": ""}, path.name
    answered = {path.name for path, one in zip(library, short) if not one["searched"]}
    # what people have most is not searched
    assert {"h264_aac.mp4", "hevc_aac.mp4", "hdr10.mp4", "h264_pcm.mov", "h264_aac.mkv", "h264_ac3_51.mkv", "h264_dts.mkv",
            "hevc_10.mkv", "vp9_opus.webm", "mpeg4_mp3.avi", "h264_aac.avi"} <= answered


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

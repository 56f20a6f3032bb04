# SPDX-License-Identifier: GPL-2.0-or-later
"""Films: what ffprobe says of one in the words of the reader, and where the reader has reasons to say otherwise."""
import fractions
import json
import pathlib
import subprocess

from . import film_patches, films
from .containers import container_names
from .encoded import encoded

# What no reference says, or says otherwise, and why.
COVER = "a track of one picture is a cover, to ffprobe a film"
STATISTICS = "the writer's own statistics of the stream, to ffprobe only tags"
TOLD_OTHERWISE = {
    ("still.mp4", "content"): ("sound", COVER),
    ("still.mp4", "video_codec"): (None, COVER),
    ("still.mp4", "width"): (None, COVER),
    ("still.mp4", "height"): (None, COVER),
    ("still.mp4", "frame_rate"): (None, COVER),
    ("still.mp4", "video_bitrate"): (None, COVER),
    ("statistics.mkv", "audio_bitrate"): (65432, STATISTICS),
    ("statistics.mkv", "video_bitrate"): (123456, STATISTICS),
    ("mpeg4_real.rm", "artist"): ("Somebody", "RealMedia names its artist `author`, which ffprobe does not take for one"),
    ("mpeg4_real.rm", "duration"): (None, "unknown, to ffprobe 0"),
    ("dynamic_late.mp4", "hdr"): ("hdr10", "the dynamic metadata stand further back in the packet than they are looked "
                                           "for (`kFilmMessagesMax`)"),
}
TAGS = {"title": "title", "artist": "artist", "album": "album", "genre": "genre", "composer": "composer", "comment": "comment",
        "date": "date", "albumartist": "album_artist", "description": "description", "show": "show", "publisher": "publisher",
        "lyrics": "lyrics"}
HDR = {"smpte2084": "hdr10", "arib-std-b67": "hlg"}
LISTS = ("audio_language", "subtitle_language", "chapter")


def library():
    """The folder of the films."""
    return encoded("films", films.make_films, pathlib.Path(films.__file__), pathlib.Path(film_patches.__file__))


def asked():
    """What ffprobe says of each film, by its name."""
    return json.loads((library() / films.ASKED).read_text(encoding="utf-8"))


def dump(binary, *arguments, **environment):
    """The facts of films, by the reader's program beside the binary."""
    done = subprocess.run([binary.parent / "film_dump", *map(str, arguments)], capture_output=True, text=True, check=True,
                          env=environment)
    assert not done.stderr
    return [json.loads(line) for line in done.stdout.splitlines()]


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


def compare(told, found):
    """Each field as (field, the reader's, ffprobe's, whether they are alike)."""
    for field, theirs in expected(told).items():
        mine = found.get(field)
        if isinstance(mine, list) and field not in LISTS:
            mine, = mine
        yield field, mine, theirs, alike(mine, theirs)
    mine, theirs = found.get("container", ["none"]), container_names(told["format"])
    yield "container", mine, sorted(theirs), set(mine) <= theirs


def reason(name, field, mine):
    """Why a field of a film is another than ffprobe's; None for no reason."""
    value, why = TOLD_OTHERWISE.get((name, field), (mine, None))
    return why if alike(mine, value) else None

# SPDX-License-Identifier: GPL-2.0-or-later
"""A library of sound: every way in which streams and tags are written, and what ffprobe and mutagen say of each file."""
import json

import mutagen.apev2
import mutagen.id3

from . import id3, media, sound_streams, sound_tags
from .encoded import HARNESS, encoded
from .sounds import ENCODERS, plain_sounds, wave

ASKED = "asked.json"
ENCODINGS = ("ISO-8859-1", "UTF-16", "UTF-16BE", "UTF-8")
NAMES = {"mp3": "MP3", "mp2": "MP2", "aac": "AAC", "flac": "FLAC", "vorbis": "Ogg Vorbis", "opus": "Ogg Opus", "speex": "Ogg Speex",
         "oggflac": "Ogg FLAC", "m4a": "MP4", "alac": "MP4", "wma": "ASF", "aiff": "AIFF", "wav": "WAV", "wavpack": "WavPack",
         "trueaudio": "True Audio", "dsf": "DSF", "dsdiff": "DSDIFF"}
ID3V2_2 = {"title": "TT2", "album": "TAL", "artist": "TP1", "albumartist": "TP2", "genre": "TCO", "composer": "TCM", "bpm": "TBP",
           "conductor": "TP3", "lyricist": "TXT", "publisher": "TPB", "isrc": "TRC", "language": "TLA", "compilation": "TCP",
           "titlesort": "TST", "artistsort": "TSP", "albumsort": "TSA"}


def library():
    """The folder of the library."""
    scripts = ("sound_library.py", "sound_streams.py", "sound_tags.py", "sounds.py", "containers.py", "id3.py")
    return encoded("sound_library", make, *(HARNESS / script for script in scripts))


def asked():
    """What was asked: "streams" and "tags", each a list of (file's name, row, the reader's name of the format, answer)."""
    return json.loads((library() / ASKED).read_text(encoding="utf-8"))


def _streams(folder):
    """Writes every way of coding. Yields (path, row, format)."""
    plain = plain_sounds()

    def lame(name, *options, wav=plain.wav):
        media.call("lame", "--quiet", *options, str(wav), str(folder / name))
        return folder / name, "MP3", "mpeg_audio"

    def ffmpeg(name, row, form, *options, wav=plain.wav):
        media.ffmpeg("-i", str(wav), *options, str(folder / name))
        return folder / name, row, form

    for kind in ENCODERS:
        yield plain.copy(kind, folder), NAMES[kind], ENCODERS[kind][0]
    for number, options in enumerate(sound_streams.LAME):
        yield lame(f"lame{number}.mp3", *options)
    for number, options in enumerate(sound_streams.LAYER_TWO):
        yield ffmpeg(f"layer{number}.mp2", "MP2", "mpeg_audio", *options)
    for number, (extension, options) in enumerate(sound_streams.PCM):
        form = "wav" if extension == "wav" else "aiff"
        yield ffmpeg(f"pcm{number}.{extension}", form.upper(), form, *options)
    for name, options in sound_streams.MP4:
        yield ffmpeg(name, "MP4", "mp4_sound", *options)
    for codec in sound_streams.ASF:
        yield ffmpeg(f"{codec}.wma", "ASF", "asf_sound", "-c:a", codec, "-f", "asf")
    for kind, rate in sound_streams.HIGH.items():
        source = folder / f"{rate}.wav"
        wave(source, rate=rate, channels=1, bits=24)
        form, extension, _ = ENCODERS[kind]
        yield ffmpeg(f"high.{extension}", NAMES[kind], form, *(["-c:a", "libvorbis"] if kind == "vorbis" else []), wav=source)
    # Which have no header that tells the length, or two of them.
    wave(folder / "long.wav", seconds=5)
    media.call("sox", str(folder / "long.wav"), str(folder / "swell.wav"), "fade", "t", "4")
    yield lame("bare.mp3", "-t", "-V2", wav=folder / "swell.wav")
    path, row, form = lame("joined.mp3", "-V2")
    path.write_bytes(path.read_bytes() * 2)
    yield path, row, form


def _id3v2_2(encoding):
    def frame(name, *values):
        return id3.frame(2, name, bytes([encoding]) + "/".join(values).encode(id3.CODECS[encoding]))

    end = b"\0\0" if encoding == id3.UTF_16 else b"\0"
    described = [id3.frame(2, "TXX", bytes([encoding]) + name.encode(id3.CODECS[encoding]) + end
                           + "/".join(sound_tags.texts(fact)).encode(id3.CODECS[encoding]))
                 for fact, name in sound_tags.ID3_DESCRIBED.items()]
    lyrics = bytes([encoding]) + b"eng" + end + sound_tags.texts("lyrics")[0].encode(id3.CODECS[encoding])
    year, month, day = sound_tags.FACTS["date"][0].split("-")
    return id3.tag(
        2, *(frame(name, *sound_tags.texts(fact, sound_tags.latin_1(fact) if encoding == id3.LATIN_1 else None))
             for fact, name in ID3V2_2.items()), *described,
        frame("TYE", year), frame("TDA", day + month), frame("TOR", sound_tags.FACTS["originaldate"][0][:4]),
        frame("TRK", sound_tags.pair("track", "tracktotal")), frame("TPA", sound_tags.pair("disc", "disctotal")),
        id3.comment(2, sound_tags.FACTS["comment"][0], encoding=encoding), id3.frame(2, "ULT", lyrics),
        id3.frame(2, "UFI", b"http://musicbrainz.org\0" + sound_tags.FACTS["musicbrainz_trackid"][0].encode()))


def _body(path):
    """The frames of the tag that mutagen has written before a file, with the padding behind them."""
    return path.read_bytes()[10:mutagen.id3.ID3(path).size]


def _shapes(version, body):
    """Tags with headers and codings that mutagen does not write."""
    if version == 3:
        return {"extended header": id3.tag(3, (6).to_bytes(4, "big") + bytes(6) + body, flags=id3.EXTENDED),
                "unsynchronised": id3.tag(3, id3.unsynchronised(body), flags=id3.UNSYNCHRONISED)}
    return {"extended header": id3.tag(4, id3.synchsafe(6) + b"\1\0" + body, flags=id3.EXTENDED),
            "footer": id3.tag(4, body.rstrip(b"\0") + b"\0\0", flags=id3.FOOTER)}


def _tags(folder):
    """Writes every fact in every kind of tag. Yields (path, row, format)."""
    plain = plain_sounds()
    sound = (plain.folder / "mp3.mp3").read_bytes()

    def mp3(name, content=sound):
        path = folder / f"{name}.mp3"
        path.write_bytes(content)
        return path, "mpeg_audio"

    path, form = mp3("id3v1", sound + id3.id3v1(*(text.encode("latin-1") for text in ("Tïtle", "Ärtist", "Älbum", "2004", "A cömment")),
                                                genre=17, track=3))
    yield path, "MP3, ID3v1", form
    for encoding in (id3.LATIN_1, id3.UTF_16):
        path, form = mp3(f"id3v2.2-{encoding}", _id3v2_2(encoding) + sound)
        yield path, f"MP3, ID3v2.2, {ENCODINGS[encoding]}", form
    for version in (3, 4):
        for encoding, name in enumerate(ENCODINGS):
            path, form = mp3(f"id3v2.{version}-{encoding}")
            sound_tags.write(path, encoding, v2_version=version, v23_sep="/" if version == 3 else None)
            yield path, f"MP3, ID3v2.{version}, {name}", form
        for shape, tag in _shapes(version, _body(folder / f"id3v2.{version}-{id3.UTF_16}.mp3")).items():
            path, form = mp3(f"id3v2.{version}-{shape}", tag + sound)
            yield path, f"MP3, ID3v2.{version}, {shape}", form
    path, form = mp3("apev2")
    mutagen.apev2.APEv2().save(path)
    sound_tags.write(path)
    yield path, "MP3, APEv2", form
    for kind in ENCODERS:
        if kind != "mp3":
            path = plain.copy(kind, folder)
            sound_tags.write(path)
            yield path, "MP4, ALAC" if kind == "alac" else NAMES[kind], ENCODERS[kind][0]


def make(folder):
    """Fills a folder with the library."""
    told = {}
    for part, write, ask in (("streams", _streams, sound_streams.ask), ("tags", _tags, sound_tags.read)):
        (folder / part).mkdir()
        told[part] = [(f"{part}/{path.name}", row, form, ask(path)) for path, row, form in write(folder / part)]
    (folder / ASKED).write_text(json.dumps(told), encoding="utf-8")

# SPDX-License-Identifier: GPL-2.0-or-later
"""A library as a household has it: the sounds, films and photos of the other libraries under names, in folders and with company as
people keep them, what no row is made of, and damage. Each file knows what the catalogue is to have of it.

The small one has each file of those libraries once; for the large one songs are tagged anew, and mutagen and ffprobe are asked again.
"""
import functools
import itertools
import os
import pathlib
import shutil
import typing

from . import film_facts, household_songs, photo_facts, pictures, sound_library
from .sounds import plain_sounds

MUSIC, VIDEO, PHOTO = "music", "video", "photo"
WRITTEN = 1_300_000_000  # when the first file was; each further one a minute later

# What people call files; {} is a number. Bytes, as file systems have them: UTF-8 composed and not, ISO-8859-1, Shift JIS.
NAMES = (b"%02d - Song", "Café %d".encode(), "Cafe\u0301 %d".encode(), b"caf\xe9 %d", b"\x83e\x83X\x83g %d", "東京 %d".encode(),
         "Привет %d".encode(), "🎵 %d".encode(), b"It's \"%d\"", b"100%% of_%d", b"back\\slash %d", b"a;b:c %d", b"-n %d",
         b"[%d] (live) {x}", b"dots...%d", b"new\nline %d", b"tab\t%d", b"  blanks  %d", b"%d " + b"long " * 40, b"%d",
         b"$(HOME) `x` %d", b"star * ? %d", b"Track %d.mp3.bak")
FOLDERS = (b"Plain", "Sigur Rós".encode(), "Mo\u0308tley".encode(), b"Bj\xf6rk", "久石譲".encode(), b"AC; DC", b"100%_", b"Who's \"Who\"",
           b"R.E.M.", b"a'b")
# Extensions that are known, by the table of a file whose content says nothing else.
EXTENSIONS = {
    MUSIC: "mp3 mp1 mp2 mpa wma wav ogg m4a aac ac3 ram ra m4p flac aiff aif pcm m4b ape opus oga spx wv tta mpc mka dsf dff m4r caf au "
           "weba w64 dts eac3 ac4 thd mid midi 3ga amr",
    VIDEO: "avi mpg mpeg dat asf wmv vob mov rm rmvb mp4 divx xvid flv mkv ts m2ts m2t mts m4v 3gp 3g2 qt swf dvr-ms iso trp tp webm ogv "
           "m2v mxf f4v dv wtv nut mk3d m1v mpe mpv 3gpp h264 hevc",
    PHOTO: "jpg jpeg jpe bmp gif ico png psd tif tiff ufo heic heif avif webp jxl jp2 svg tga cr2 cr3 crw dng nef nrw arw srf sr2 orf rw2 "
           "raf pef srw x3f 3fr erf kdc mrw raw rwl iiq",
}
TABLE_OF = {extension: table for table, extensions in EXTENSIONS.items() for extension in extensions.split()}
# Names that lie: content that tells by itself what it is.
LIES = {"mp4": "avi", "mkv": "mp4", "avi": "mpg", "flac": "mp3", "ogg": "wav", "wav": "flac", "m4a": "mkv", "webm": "mp3", "jpg": "png",
        "png": "jpg", "webp": "jpg", "gif": "png", "opus": "m4a", "wmv": "wma"}

OF_SYSTEMS = ("@eaDir", "#recycle", "$RECYCLE.BIN", "System Volume Information", "lost+found")
UNKNOWN = ("txt", "nfo", "log", "db", "ini", "sfv", "md5", "zip", "pdf", "doc", "exe", "url", "html", "torrent", "part", "bak", "j2k")
SUBTITLES = ("srt", "ass", "ssa", "sub", "idx", "smi", "psb", "vtt", "sup")


class Item(typing.NamedTuple):
    """A file. `path` is below the shares, its bytes as latin-1; `source` a file of the host, or `content` what is in it. `table` is
    where it belongs, or None with what the run's line says of it in `reason` (None: its directory's is said). `told` is what the
    reference programs say of it, by their parts; `origin` the name by which differences are explained."""
    path: str
    table: typing.Optional[str] = None
    source: typing.Optional[str] = None
    content: str = ""
    reason: typing.Optional[str] = None
    told: dict = {}
    origin: str = ""
    row: str = ""
    entries: list = []
    cover: typing.Optional[str] = None  # the file that has the picture; "" for none


def _text(name):
    return name.decode("latin-1")


def _named(number, extension):
    """A name for the file of that number, of extension in either case."""
    name = NAMES[number % len(NAMES)] % number
    return _text(name) + "." + (extension.upper() if number % 11 == 5 else extension)


def _folder(share, number):
    return f"{share}/{_text(FOLDERS[number // 12 % len(FOLDERS)])}/{number // 12:03} {_text(FOLDERS[number // 5 % len(FOLDERS)])}"


def _is_known(path):
    return pathlib.PurePath(path).suffix[1:].lower() in TABLE_OF


def _songs(large):
    """(source, origin, row, told)"""
    folder = sound_library.library()
    for part, files in sound_library.asked().items():
        for path, row, _, told in files:
            yield folder / path, pathlib.Path(path).name, row, {part: told}
    if large:
        made, files = household_songs.library()
        for name, origin, row, told in files:
            yield made / name, origin, row, told


def _films():
    folder = film_facts.library()
    for name, told in film_facts.asked().items():
        if name in household_songs.SOUND_OF_FILMS:
            continue
        content = film_facts.TOLD_OTHERWISE.get((name, "content"), (film_facts.expected(told)["content"],))[0]
        yield folder / name, name, VIDEO if content == "film" else MUSIC, {"film": told}


def _photos():
    folder = photo_facts.library()
    for name, told in pictures.exiftool(folder).items():
        yield folder / name, name, {"photo": told}


def _extension(name, number):
    extension = name.rpartition(".")[2].lower()
    return LIES[extension] if number % 9 == 4 and extension in LIES else extension


def _media(large):
    number = itertools.count()
    for source, origin, row, told in _songs(large):
        n = next(number)
        yield Item(f"{_folder(MUSIC, n)}/{_named(n, source.suffix[1:])}", MUSIC, str(source), told=told, origin=origin, row=row)
    pictures = [(VIDEO, source, origin, table, told, copy)
                for copy in range(3 if large else 1) for source, origin, table, told in _films()]
    pictures += [(PHOTO, source, origin, PHOTO, told, copy)
                 for copy in range(6 if large else 1) for source, origin, told in _photos()]
    for share, source, origin, table, told, copy in pictures:
        n = next(number)
        extension = _extension(origin, n if copy else 0)
        path = f"{_folder(share, n)}/{_named(n, extension)}"
        known = _is_known(path)
        yield Item(path, table if known else None, str(source), told=told, origin=origin, row=extension,
                   reason=None if known else "of no known kind")


def _left_out():
    """What has no row. Of a directory that is left out, the first file counts for all."""
    for number, extension in enumerate(UNKNOWN):
        yield Item(f"{_folder(MUSIC, number * 12)}/{_named(number, extension)}", content="x", reason="of no known kind")
    yield Item(f"{MUSIC}/Plain/README", content="x", reason="of no known kind")
    for extension in SUBTITLES:
        yield Item(f"{VIDEO}/Subtitles/Film.de.{extension}", content="x", reason="subtitles")
    for name in ("VIDEO_TS/VIDEO_TS.ifo", "VIDEO_TS/VIDEO_TS.bup"):
        yield Item(f"{VIDEO}/Disc/{name}", content="x", reason="of discs beside their films")
    for share in (MUSIC, VIDEO, PHOTO):
        for name in (".DS_Store", "._song.mp3", ".hidden.mp3", ".Trash-1000/song.mp3", ".thumbnails/a.jpg"):
            yield Item(f"{share}/Hidden/{name}", content="x", reason="hidden")
        for folder in OF_SYSTEMS:
            yield Item(f"{share}/Systems/{folder}/song.mp3", content="x", reason="of the system's")
        yield Item(f"{share}/Quiet/.nomedia", reason="marked by .nomedia")
        yield Item(f"{share}/Quiet/deeper/song.mp3", content="x")
        yield Item(f"{share}/Ignored/.veluignore", content="*.tmp.mp3\nDrafts/\n!keep.tmp.mp3\n", reason="hidden")
        for name in ("a.tmp.mp3", "Drafts/b.mp3"):
            yield Item(f"{share}/Ignored/{name}", content="x", reason="named by .veluignore")


def _damaged():
    """Files that are broken, as downloads and disks leave them: each has a row by its name or by what is still there."""
    sounds = plain_sounds()
    for number, (kind, name) in enumerate((("mp3", "mp3"), ("flac", "flac"), ("vorbis", "ogg"), ("m4a", "m4a"), ("wma", "wma"),
                                           ("wav", "wav"), ("aiff", "aiff"), ("opus", "opus"), ("wavpack", "wv"))):
        whole = next(sounds.folder.glob(f"{kind}.*")).read_bytes()
        yield from _broken(f"{MUSIC}/Broken", f"{number} song", name, whole, MUSIC)
    for number, name in enumerate(("h264_aac.mp4", "h264_aac.mkv", "mpeg4_mp3.avi", "h264_aac.ts", "wmv2_wma.wmv", "vp9_opus.webm")):
        whole = (film_facts.library() / name).read_bytes()
        yield from _broken(f"{VIDEO}/Broken", f"{number} film", name.rpartition(".")[2], whole, VIDEO)
    for number, name in enumerate(("exif-II.jpg", "exif-MM.png", "exif-II.tif", "all.heic", "raw.dng", "all.webp")):
        whole = (photo_facts.library() / name).read_bytes()
        yield from _broken(f"{PHOTO}/Broken", f"{number} photo", name.rpartition(".")[2], whole, PHOTO)


def _broken(folder, name, extension, whole, table):
    for how, content in {"empty": b"", "cut": whole[:len(whole) // 2], "begin": whole[:37], "zeros": bytes(len(whole)),
                         "end of zeros": whole[:len(whole) // 2] + bytes(len(whole) - len(whole) // 2),
                         "text": b"<html>404 not found</html>\n", "twice": whole + whole[:1000]}.items():
        yield Item(f"{folder}/{name} {how}.{extension}", table, content=content.decode("latin-1"), row="damaged")


def _lists(items):
    """Playlists beside the songs of some folders."""
    folders = {}
    for item in items:
        if item.table == MUSIC and item.path.startswith(MUSIC) and "\n" not in item.path and item.path.isascii():
            folders.setdefault(item.path.rpartition("/")[0], []).append(item.path)
    for number, (folder, songs) in enumerate(sorted(folders.items())):
        names = [path.rpartition("/")[2] for path in songs if path == path.strip() and "\\" not in path and "%" not in path]
        names = [name for name in names if not name.startswith(" ") and "\t" not in name]
        if len(names) < 2 or "%" in folder:
            continue
        found = [f"{folder}/{name}" for name in names] + [""]
        if number % 2:
            content = "".join(f"{name}\r\n" for name in ("#EXTM3U", *names, "gone.mp3"))
            yield Item(f"{folder}/list.m3u", "playlist", content=content, row="m3u",
                       entries=list(zip([*names, "gone.mp3"], found)))
        else:
            content = "[playlist]\n" + "".join(f"File{place}={name}\n" for place, name in enumerate([*names, "gone.mp3"], 1))
            yield Item(f"{folder}/list.pls", "playlist", content=content + "Version=2\n", row="pls",
                       entries=list(zip([*names, "gone.mp3"], found)))


def _covers(items):
    """A picture for every third folder of music, which its songs have that bring none."""
    folders = sorted({item.path.rpartition("/")[0] for item in items if item.path.startswith(MUSIC) and item.told})
    for folder in folders[::3]:
        yield Item(f"{folder}/Folder.jpg", PHOTO, str(photo_facts.library() / "plain.jpg"), told={"photo": _told_of("plain.jpg")},
                   origin="plain.jpg", row="jpg")


def _told_of(name):
    return pictures.exiftool(photo_facts.library())[name]


@functools.cache
def items(large):
    """Every file of the library."""
    media = list(_media(large))
    others = [*_left_out(), *_damaged(), *_lists(media), *_covers(media)]
    folders = {item.path.rpartition("/")[0]: item.path for item in others if item.path.endswith("/Folder.jpg")}
    covered = [item._replace(cover=folders.get(item.path.rpartition("/")[0], "")) if item.table in (MUSIC, VIDEO) else item
               for item in media]
    found = [*covered, *others]
    assert len({item.path for item in found}) == len(found)
    return found


def fill(root, large):
    """Puts the library below a folder of the host, which stands for /volume1."""
    for number, item in enumerate(items(large)):
        path = os.fsencode(root) + b"/" + item.path.encode("latin-1")
        os.makedirs(os.path.dirname(path), exist_ok=True)
        if item.source:
            shutil.copyfile(item.source, path)
        else:
            with open(path, "wb") as file:
                file.write(item.content.encode("latin-1"))
        os.utime(path, (WRITTEN + number * 60,) * 2)

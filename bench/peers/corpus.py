# SPDX-License-Identifier: GPL-2.0-or-later
"""The corpora: a few files of each kind from real encoders, copied with tags, dates or pictures that differ."""
import os
import pathlib
import sys

from mutagen.flac import FLAC
from mutagen.id3 import APIC, ID3, TALB, TCON, TDRC, TIT2, TPE1, TRCK
from mutagen.mp4 import MP4
from mutagen.oggopus import OggOpus
from mutagen.oggvorbis import OggVorbis

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "tests/system"))
from harness import media, raws  # noqa: E402

KINDS = ("mp3", "mp3-cover", "mp3-long", "flac", "sound", "photo", "photo-heic", "photo-raw", "film", "mixed")
# Which the peers do not know, nor the rules `appliance` all of them.
OF_TODAY = ("photo-heic", "photo-raw")
FILES_OF_A_FOLDER = 16
LONG_SECONDS = 240

# What an encoder writes into a file once and the copies replace by a text of the same length.
TITLE = b"Title 000000"
DATE = b"2009:03:07 08:09:10"

# Of twenty files of the mixed tree: music mostly, with a cover here and there, photos, a few of other formats.
MIX = ("mp3",) * 8 + ("mp3-cover",) * 2 + ("flac",) * 3 + ("photo",) * 5 + ("m4a",) + ("avi",)

# Other music, in turn.
SOUND = {"ogg": ("-c:a", "libvorbis"), "opus": ("-c:a", "libopus"), "m4a": ("-c:a", "aac")}

# Films as people have them, short: what a header says of them all that is wanted.
FILM_SECONDS = 5
FILM_PICTURE = ("-f", "lavfi", "-i", f"testsrc2=size=320x240:rate=25:duration={FILM_SECONDS}", "-f", "lavfi", "-i",
                f"aevalsrc=0.3*sin(440*2*PI*t)|0.2*sin(554*2*PI*t):s=48000:d={FILM_SECONDS}")
H264 = ("-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p", "-threads", "1")
FILMS = {
    "mp4": (*H264, "-c:a", "aac"),
    "mkv": (*H264, "-c:a", "aac"),
    "avi": ("-c:v", "mpeg4", "-q:v", "8", "-c:a", "libmp3lame", "-b:a", "128k"),
    "mov": (*H264, "-c:a", "aac"),
    "webm": ("-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8", "-b:v", "200k", "-c:a", "libopus"),
}


def make_bases(folder):
    """Encodes what all copies start from; gives the paths by format."""
    music = []
    for number, pitch in enumerate((330, 440, 550)):
        wav = f"{folder}/{number}.wav"
        media.call("sox", "-n", "-r", "44100", "-c", "2", "-b", "16", wav, "synth", str(4 + number), "sine", str(pitch),
                   "tremolo", "3", "vol", "0.3")
        music.append(wav)
    bases = {"mp3": [], "mp3-long": [], "flac": [], "photo": [], "photo-heic": [], "photo-raw": [], "cover": []}
    for number, wav in enumerate(music):
        for name, mode in (("cbr", ("-b", "128")), ("vbr", ("-V", "4"))):
            media.call("lame", "--quiet", *mode, wav, f"{folder}/{name}{number}.mp3")
            bases["mp3"].append(f"{folder}/{name}{number}.mp3")
        media.flac(f"{folder}/{number}.flac", wav)
        bases["flac"].append(f"{folder}/{number}.flac")
        # A camera's picture has its thumbnail in the EXIF block.
        picture, small = f"{folder}/{number}.jpg", f"{folder}/small{number}.jpg"
        media.picture(picture, 1024, 768, "-quality", "80")
        media.call("convert", picture, "-thumbnail", "160x120", small)
        camera = {"Make": "Maker", "Model": f"Model {number}", "DateTimeOriginal": DATE.decode(), "CreateDate": DATE.decode(),
                  "ISO": 200, "FNumber": 4, "ExposureTime": "1/125"}
        media.exif(picture, **camera, **{"ThumbnailImage<": small})
        bases["photo"].append(picture)
        heic, raw = f"{folder}/{number}.heic", f"{folder}/{number}.cr2"
        media.call("heif-enc", "-q", "50", picture, "-o", heic)
        media.exif(heic, **camera)
        bases["photo-heic"].append(heic)
        pathlib.Path(raw).write_bytes(raws.cr2(pathlib.Path(picture).read_bytes()))
        media.exif(raw, **camera)
        bases["photo-raw"].append(raw)
        media.picture(f"{folder}/cover{number}.jpg", 300, 300, "-quality", "80")
        bases["cover"].append(f"{folder}/cover{number}.jpg")
    whole = f"{folder}/long.wav"
    media.call("sox", music[0], whole, "repeat", str(LONG_SECONDS // 4 - 1))
    for name, mode in (("cbr", ("-b", "128")), ("vbr", ("-V", "4"))):
        media.call("lame", "--quiet", *mode, whole, f"{folder}/{name}-long.mp3")
        bases["mp3-long"].append(f"{folder}/{name}-long.mp3")
    media.audio(f"{folder}/base.m4a", music[0], title=TITLE.decode())
    media.clip(f"{folder}/base.avi", "-c:v", "mpeg4", "-c:a", "mp3", title=TITLE.decode())
    bases["m4a"], bases["avi"] = [f"{folder}/base.m4a"], [f"{folder}/base.avi"]
    for name, options in SOUND.items():
        media.ffmpeg("-i", music[0], *options, f"{folder}/sound.{name}")
        bases[f"sound.{name}"] = [f"{folder}/sound.{name}"]
    for name, options in FILMS.items():
        film = f"{folder}/film.{name}"
        media.ffmpeg(*FILM_PICTURE, *options, "-metadata", f"title={TITLE.decode()}", film)
        bases[f"film.{name}"] = [film]
    return {name: [pathlib.Path(path).read_bytes() for path in paths] for name, paths in bases.items()}


def write_mp3(path, number, base, cover):
    path.write_bytes(base)
    tag = ID3()
    tag.add(TIT2(encoding=3, text=f"Title {number:06}"))
    tag.add(TPE1(encoding=3, text=f"Artist {number // 192:04}"))
    tag.add(TALB(encoding=3, text=f"Album {number // FILES_OF_A_FOLDER:05}"))
    tag.add(TCON(encoding=3, text="Jazz"))
    tag.add(TDRC(encoding=3, text=str(1960 + number % 60)))
    tag.add(TRCK(encoding=3, text=f"{number % FILES_OF_A_FOLDER + 1}/{FILES_OF_A_FOLDER}"))
    if cover:
        # A reader does not mind bytes after the picture's end, and they keep one cover from being that of all.
        tag.add(APIC(encoding=0, mime="image/jpeg", type=3, desc="", data=cover + f"{number:08}".encode()))
    tag.save(path, v2_version=3)


def write_comments(path, number, base, form):
    path.write_bytes(base)
    file = form(path)
    file.update({"title": f"Title {number:06}", "artist": f"Artist {number // 192:04}", "genre": "Jazz",
                 "album": f"Album {number // FILES_OF_A_FOLDER:05}", "date": str(1960 + number % 60),
                 "tracknumber": str(number % FILES_OF_A_FOLDER + 1)})
    file.save()


def write_items(path, number, base):
    path.write_bytes(base)
    file = MP4(path)
    file.update({"\xa9nam": f"Title {number:06}", "\xa9ART": f"Artist {number // 192:04}", "\xa9gen": "Jazz",
                 "\xa9alb": f"Album {number // FILES_OF_A_FOLDER:05}", "\xa9day": str(1960 + number % 60),
                 "trkn": [(number % FILES_OF_A_FOLDER + 1, FILES_OF_A_FOLDER)]})
    file.save()


def write_photo(path, number, base):
    date = f"20{number // 1728000 % 60:02}:{number // 86400 % 12 + 1:02}:{number // 3600 % 28 + 1:02} " \
           f"{number // 3600 % 24:02}:{number // 60 % 60:02}:{number % 60:02}"
    # What follows is a box of HEIC, and nothing to the others.
    path.write_bytes(base.replace(DATE, date.encode()) + raws.box(b"free", f"{number:08}".encode()))


# Forms with such comments, and what writes them.
COMMENTS = {"flac": FLAC, "sound.ogg": OggVorbis, "sound.opus": OggOpus}


def write_file(folder, number, form, bases):
    choice = bases["mp3" if form == "mp3-cover" else form]
    base = choice[number % len(choice)]
    extension = {"mp3-cover": "mp3", "mp3-long": "mp3", "photo": "jpg", "photo-heic": "heic", "photo-raw": "cr2"}.get(
        form, form.split(".")[-1])
    path = folder / f"{number:06}.{extension}"
    if form.startswith("mp3"):
        write_mp3(path, number, base, bases["cover"][number % 3] if form == "mp3-cover" else None)
    elif form in COMMENTS:
        write_comments(path, number, base, COMMENTS[form])
    elif form == "sound.m4a":
        write_items(path, number, base)
    elif form.startswith("photo"):
        write_photo(path, number, base)
    else:
        path.write_bytes(base.replace(TITLE, f"Title {number:06}".encode()))


def form_of(kind, number):
    if kind == "film":
        return f"film.{list(FILMS)[number % len(FILMS)]}"
    if kind == "sound":
        return f"sound.{list(SOUND)[number % len(SOUND)]}"
    return MIX[number * 7 % len(MIX)] if kind == "mixed" else kind


def folder_of(number):
    return f"artist-{number // 192:04}/album-{number // FILES_OF_A_FOLDER:05}"


def music_files(kind, files):
    """How many of a corpus are music, and so of a music player's concern."""
    return sum(form_of(kind, number).startswith(("mp3", "flac", "m4a", "sound")) for number in range(files))


def without_newer(kind, files):
    """How many of a corpus those index that know neither WebM nor Opus."""
    return sum(form_of(kind, number) not in ("film.webm", "sound.opus") for number in range(files))


class Corpora:
    """Trees under a folder, each made once: the largest from the bases, a smaller one of hard links into it."""

    def __init__(self, folder, largest, of_their_own):
        self.folder = pathlib.Path(folder)
        self.largest = largest
        self.of_their_own = of_their_own  # kinds that have no larger tree
        self.bases = None

    def tree(self, kind, files):
        tree = self.folder / f"{kind}-{files}"
        done = self.folder / f"{kind}-{files}.done"
        if done.exists():
            return tree
        print(f"making {kind}, {files} files", file=sys.stderr)
        source = self.tree(kind, self.largest) if files < self.largest and kind not in self.of_their_own else None
        if not source and not self.bases:
            os.makedirs(self.folder / "bases", exist_ok=True)
            self.bases = make_bases(str(self.folder / "bases"))
        for number in range(files):
            folder = tree / folder_of(number)
            folder.mkdir(parents=True, exist_ok=True)
            if source:
                for found in (source / folder_of(number)).glob(f"{number:06}.*"):
                    (folder / found.name).unlink(missing_ok=True)
                    os.link(found, folder / found.name)
            else:
                write_file(folder, number, form_of(kind, number), self.bases)
        done.touch()
        return tree


def read_all(tree):
    """Brings every file into the page cache."""
    for folder, _, names in os.walk(tree):
        for name in names:
            with open(os.path.join(folder, name), "rb", buffering=0) as file:
                while file.read(1 << 20):
                    pass

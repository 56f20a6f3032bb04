# SPDX-License-Identifier: GPL-2.0-or-later
"""The matrix by either rules: which files there are at first, and what is in them."""
import pathlib
from typing import Callable, NamedTuple

from harness import id3, photo
from harness.known import torn
from harness.world import plain
from matrix import MUSIC, PHOTO, VIDEO, files, of_neighbours, requests

READERS_SPEED = 50  # of a clock at which readers answer in their time

# What gives values to its neighbours: to films one that is there before its film.
FOLDER_COVER, SUBTITLE, SIDECAR = f"{MUSIC}/a/folder.jpg", f"{VIDEO}/v/1.srt", f"{PHOTO}/Trip/2.xmp"
COMPANION = f"{PHOTO}/Trip/1.cr2"
NEIGHBOURS = (FOLDER_COVER, f"{MUSIC}/old/folder.jpg", SIDECAR, SUBTITLE, f"{VIDEO}/v/new.srt", f"{VIDEO}/gone/3.en.srt", COMPANION)
SOUND = (b"\xff\xfb\x90\x64" + bytes(413)) * 3
COVER = photo.jpeg(3, 2) + b"in songs"


def song(path, cover):
    """One of two artists, so that no other file has its facts; beside a cover in it the folder's does not count."""
    name = path.rsplit("/", 1)[1]
    frames = [id3.text(4, "TIT2", f"the song {name}"), id3.text(4, "TPE1", f"{name}\0and others")]
    return id3.tag(4, *frames, *([id3.picture(4, COVER)] if cover else [])) + SOUND


def sidecar(path):
    return ('<x:xmpmeta xmlns:x="adobe:ns:meta/"><rdf:RDF xmlns:rdf="http://www.w3.org/1999/02/22-rdf-syntax-ns#"><rdf:Description '
            'rdf:about="" xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:title><rdf:Alt><rdf:li xml:lang="x-default">'
            f'beside {path}</rdf:li></rdf:Alt></dc:title></rdf:Description></rdf:RDF></x:xmpmeta>').encode()


def playlist(path):
    """Of songs that stay, go and move, and of one that has never been."""
    targets = ["1.mp3", f"{MUSIC}/gone/7.mp3", f"{MUSIC}/old/5.mp3", f"{MUSIC}/a/new.mp3", "none.mp3"]
    return "".join(f"{line}\n" for line in ("#EXTM3U", f"#PLAYLIST:{path}", *targets)).encode()


class Rules(NamedTuple):
    """`keys` of the configuration, and `speed` of the clock. `first`: how many rows and covers there are at first. `torn` tells
    what is known of one file and is not of it."""
    name: str
    keys: dict
    speed: dict
    files: tuple
    requests: list
    content: Callable
    first: dict
    torn: Callable


def appliance(samples: pathlib.Path):
    def content(path):
        return (samples / "tagged.mp3").read_bytes() if path.endswith(".mp3") else plain(path)
    return Rules("appliance", {}, {}, files(".pcm", ".srt"), requests(".pcm", ".srt"), content,
                 {"photo_image": 12, "photo_share": 8, "covers": 2, "file_state": 0},
                 lambda *_: ())


def complete(samples: pathlib.Path):
    kinds = {".mp3": lambda path: song(path, path.endswith("/cover.mp3")), ".m3u": playlist, ".xmp": sidecar,
             ".mp4": lambda _: (samples / "clip.mp4").read_bytes(), ".jpg": lambda path: plain(path) + path.encode(),
             ".cr2": lambda path: plain(".jpg") + path.encode()}

    def content(path):
        return kinds.get(path[-4:], plain)(path)
    return Rules("complete", {"rules": "complete"}, {"speed": READERS_SPEED},
                 (*files(".mp3", ".mp4"), *NEIGHBOURS), requests(".mp3", ".mp4") + of_neighbours(FOLDER_COVER, SUBTITLE, SIDECAR, COMPANION), content,
                 {"photo_image": 13, "photo_share": 8, "covers": 5, "file_state": 30}, torn)


RULES = {"appliance": appliance, "complete": complete}

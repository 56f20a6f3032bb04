# SPDX-License-Identifier: GPL-2.0-or-later
"""Pictures, and files that are catalogued by their names alone."""
from harness import media

from .case import Case, text

WIDTH, HEIGHT = 96, 64


def picture(kind):
    return lambda path: media.picture(path, WIDTH, HEIGHT, kind=kind)


def camera_picture(path):
    media.picture(path, 200, 100)
    media.exif(path, Make="Maker", Model="Model 1", DateTimeOriginal="2009:03:07 08:09:10", ISO=200)


SIZE = {"width": WIDTH, "height": HEIGHT}
CAMERA = {"width": 200, "height": 100, "camera_make": "Maker", "camera_model": "Model 1", "iso_speed": 200}

PICTURES = (
    Case("photo.jpg", picture("jpeg"), SIZE), Case("photo.jpeg", picture("jpeg"), SIZE),
    Case("photo.jpe", picture("jpeg"), SIZE),
    Case("camera.jpg", camera_picture, CAMERA),
    Case("windows.bmp", picture("bmp3"), SIZE), Case("os2.bmp", picture("bmp2"), SIZE),
    Case("web.gif", picture("gif"), SIZE), Case("symbol.ico", picture("ico"), SIZE),
    Case("web.png", picture("png"), SIZE), Case("layers.psd", picture("psd"), SIZE),
    Case("scan.tif", picture("tiff"), SIZE), Case("scan.tiff", picture("tiff"), SIZE),
    # Nothing writes this format any more; files of the name that hold another are found.
    Case("misnamed.ufo", picture("jpeg"), SIZE),
)

PLAYLISTS = (
    Case("list.m3u", text(b"#EXTM3U\nstereo.flac\n")),
    Case("list.wpl", text(b'<?wpl version="1.0"?><smil><body><seq><media src="stereo.flac"/></seq></body></smil>')),
)

SAMPLES = (Case("samples.pcm", text(bytes(4096))),)

# Whatever they hold, nothing in it is read.
NAMES = tuple(Case(f"name.{extension}", text(b"1\n00:00:01,000 --> 00:00:02,000\nHere we are.\n"))
              for extension in ("iso", "ifo", "srt", "ass", "ssa", "idx", "sub", "smi", "psb"))

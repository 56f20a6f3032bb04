# SPDX-License-Identifier: GPL-2.0-or-later
"""Films of one picture, and a photo, by the size of the picture. They are made once, as the large ones take their time."""
import pathlib

from . import media
from .encoded import encoded

PICTURES = {"8k": "7680x4320", "4k": "3840x2160", "cropped": "3840x1600", "upright": "2160x3840", "wqhd": "2560x1440", "full": "1920x800",
            "tv": "1440x1080", "hd": "1276x716", "dvd": "720x576", "web": "640x360", "small": "160x120"}


def _make(folder):
    for name, size in PICTURES.items():
        # mpeg4 where mjpeg does not reach
        media.clip(f"{folder}/{name}.mkv", "-frames:v", "1", "-frames:a", "1", "-c:v", "mpeg4" if name == "8k" else "mjpeg", size=size)
    media.picture(f"{folder}/large.jpg", 4000, 3000)


def library():
    """A folder with a .mkv for each name, and large.jpg."""
    return encoded("film_sizes", _make, pathlib.Path(__file__))

# SPDX-License-Identifier: GPL-2.0-or-later
"""All cases, each with the table that its row belongs to."""
from . import flac, mp4, music, others, vcd, video

TABLES = {
    "music": (*music.CASES, *mp4.CASES, *flac.CASES, *others.SAMPLES),
    "video": (*video.CASES, *vcd.CASES, *others.NAMES),
    "photo": others.PICTURES,
    "playlist": others.PLAYLISTS,
}
CASES = [(table, case) for table, cases in TABLES.items() for case in cases]

EXTENSIONS = {
    "music": "mp3 mp1 mp2 mpa wma wav ogg m4a aac ac3 ram ra m4p flac aiff aif pcm m4b ape",
    "playlist": "m3u wpl",
    "video": "avi mpg mpeg dat asf wmv vob mov rm rmvb mp4 divx xvid flv mkv ts m2ts m2t mts m4v 3gp 3g2 qt swf dvr-ms "
             "iso ifo srt ass ssa idx sub smi psb trp tp",
    "photo": "jpg jpeg jpe bmp gif ico png psd tif tiff ufo",
}

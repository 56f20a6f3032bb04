# SPDX-License-Identifier: GPL-2.0-or-later
"""Makes the small library that ./try shows when it is given no folder."""
import os
import tempfile

from harness import media


def make(folder, say):
    """Fills `folder` with music, films and pictures of several formats."""
    with tempfile.TemporaryDirectory(prefix="velu-try-") as work:
        cover = f"{work}/cover.jpg"
        media.picture(cover, 300, 300)
        say("music")
        songs = (("First Light", 4), ("Harbour", 3), ("Long Way Round", 5))
        for track, (title, seconds) in enumerate(songs, start=1):
            wav = f"{work}/{track}.wav"
            media.tone(wav, seconds, 220 * track)
            media.mp3(f"{folder}/The Tides/Low Water/0{track} {title}.mp3", wav, cover=cover, title=title,
                      artist="The Tides", album="Low Water", genre="Folk", year=2008, track=track)
        wav = f"{work}/1.wav"
        media.mp3(f"{folder}/unsorted/no tags at all.mp3", wav)
        media.flac(f"{folder}/Quartet/Evening/1 Prelude.flac", wav, title="Prelude", artist="Quartet", album="Evening",
                   genre="Classical", date=2007, tracknumber=1)
        media.audio(f"{folder}/Quartet/Evening/2 Finale.m4a", wav, title="Finale", artist="Quartet", album="Evening")
        media.audio(f"{folder}/Quartet/Evening/3 Encore.ogg", wav, "-c:a", "libvorbis", title="Encore", artist="Quartet",
                    album="Evening")
        media.audio(f"{folder}/unsorted/memo.wav", wav)
        media.audio(f"{folder}/unsorted/field recording.aiff", wav)
        with open(f"{folder}/The Tides/Low Water/all.m3u", "w", encoding="ascii") as playlist:
            playlist.write("#EXTM3U\n" + "".join(f"0{n} {title}.mp3\n" for n, (title, _) in enumerate(songs, start=1)))
        say("films")
        media.clip(f"{folder}/films/Holiday.avi", "-c:v", "mpeg4", "-c:a", "mp3", seconds=4, size="320x240",
                   title="Holiday")
        media.clip(f"{folder}/films/Harbour.mpg", "-c:v", "mpeg2video", "-c:a", "mp2", seconds=3, size="352x288")
        media.clip(f"{folder}/films/Evening.mp4", "-c:v", "mpeg4", "-c:a", "aac", seconds=3, size="320x240",
                   title="An Evening")
        with open(f"{folder}/films/Holiday.srt", "w", encoding="ascii") as subtitles:
            subtitles.write("1\n00:00:01,000 --> 00:00:02,000\nHere we are.\n")
        say("pictures")
        media.picture(f"{folder}/pictures/pier.jpg", 640, 480)
        media.exif(f"{folder}/pictures/pier.jpg", Make="Maker", Model="Model 1", DateTimeOriginal="2009:03:07 08:09:10",
                   ISO=200, FNumber=5.6, ExposureTime="1/125")
        media.picture(f"{folder}/pictures/chart.png", 320, 200)
        media.picture(f"{folder}/pictures/old scan.tif", 400, 300)
        with open(f"{folder}/films/torn.avi", "wb") as torn:
            torn.write(os.urandom(2000))

# SPDX-License-Identifier: GPL-2.0-or-later
"""Films that the probe reads. A film's album is always the folder's name; the rate of the film is that of the file."""
from harness import media

from .case import (SECONDS, TAGGED, TAGS, WHOLE_SECONDS, Case, Near, film, of_size, probed_film, probed_sound, sound,
                   text)

# What a film's row takes of the tags.
TITLED = {key: value for key, value in TAGGED.items() if key != "album"}
NOT_READ = ("Failed to get Misc Media Info from [%s].", "Failed to parse media metadata from file [%s].",
            "Failed to parse media metadata of file [%s].")
X265 = ("-c:v", "libx265", "-x265-params", "log-level=none")
MP2 = ("-c:a", "mp2", "-b:a", "128k")
TRANSPORT = ("-c:v", "mpeg2video", *MP2, "-ac", "2", "-ar", "48000", "-f", "mpegts")
# Where it has not been said how much the sound is to take.
ABOUT_64K = Near(69000, 0.3)


def base_film(path):
    media.clip(path, "-c:v", "mpeg4", *MP2, seconds=SECONDS)


def in_matroska(path, *inputs):
    """A film and what else is named, in one Matroska file: (kind of file, its maker, options)."""
    base_film(f"{path}.film.mkv")
    names, maps, options = ["-i", f"{path}.film.mkv"], ["-map", "0"], []
    for number, (ending, make, more) in enumerate(inputs, start=1):
        make(f"{path}.{number}.{ending}")
        names += ["-i", f"{path}.{number}.{ending}"]
        maps += ["-map", str(number)]
        options += more
    media.remux(path, *names, *maps, "-c", "copy", *options)


def with_attachment(path):
    base_film(f"{path}.film.mkv")
    text(b"\0\1\0\0 a font")(f"{path}.ttf")
    media.remux(path, "-i", f"{path}.film.mkv", "-map", "0", "-c", "copy", "-attach", f"{path}.ttf",
                "-metadata:s:t", "mimetype=application/x-truetype-font", "-metadata", "title=A Title")


def with_cover(path):
    base_film(f"{path}.film.mkv")
    media.picture(f"{path}.jpg", 640, 480)
    media.remux(path, "-i", f"{path}.film.mkv", "-map", "0", "-c", "copy", "-attach", f"{path}.jpg",
                "-metadata:s:t", "mimetype=image/jpeg", "-metadata:s:t", "filename=cover.jpg")


def sound_with_cover(path):
    media.sound(f"{path}.mka", *MP2, "-f", "matroska", seconds=SECONDS, **TAGS)
    media.picture(f"{path}.jpg", 640, 480)
    media.remux(path, "-i", f"{path}.mka", "-map", "0", "-c", "copy", "-attach", f"{path}.jpg",
                "-metadata:s:t", "mimetype=image/jpeg", "-metadata:s:t", "filename=cover.jpg")


def subtitles_alone(path):
    SUBTITLES(f"{path}.srt")
    media.remux(path, "-i", f"{path}.srt")


SUBTITLES = text(b"1\n00:00:01,000 --> 00:00:02,000\nHere we are.\n")
SECOND_SOUND = sound("-c:a", "ac3", "-b:a", "192k", "-f", "matroska", rate=48000)
SECOND_FILM = film("-c:v", "mpeg4", "-an", size="96x64")

CASES = (
    Case("divx.avi", film("-c:v", "mpeg4", "-c:a", "mp3", "-b:a", "96k", **TAGS), probed_film(44100, 1, 96000, **TITLED)),
    Case("camera.avi", film("-c:v", "mjpeg", "-pix_fmt", "yuvj420p", "-c:a", "pcm_s16le", "-ac", "2"),
         probed_film(44100, 2, 1411200)),
    Case("two sounds.avi", film("-c:v", "mpeg4", *MP2, "-map", "0:v", "-map", "1:a", "-map", "1:a", "-ac:a:1", "2",
                                "-b:a:1", "192k"), probed_film(44100, 2, 192000)),
    Case("mpeg 1.mpg", film("-c:v", "mpeg1video", *MP2), probed_film(44100, 1, 128000)),
    Case("mpeg 2.mpeg", film("-c:v", "mpeg2video", "-c:a", "ac3", "-b:a", "192k", "-ar", "48000", "-f", "vob"),
         probed_film(48000, 1, 192000)),
    Case("dvd.vob", film("-target", "pal-dvd", "-ac", "2"), probed_film(48000, 2, 448000, 720, 576)),
    Case("streaming.asf", film("-c:v", "msmpeg4", "-c:a", "wmav1", "-b:a", "64k", **TAGS),
         probed_film(44100, 1, 64000, **TITLED)),
    Case("windows.wmv", film("-c:v", "wmv2", "-c:a", "wmav2", "-b:a", "96k", "-ac", "2", size="320x240", **TAGS),
         probed_film(44100, 2, 96000, 320, 240, **TITLED)),
    Case("recording.dvr-ms", film("-c:v", "mpeg2video", *MP2, "-f", "asf"), probed_film(44100, 1, 128000)),
    # The encoder writes no track number into this format, nor the sound's rate into Matroska below.
    Case("apple.mov", film("-c:v", "libx264", "-c:a", "aac", **TAGS),
         probed_film(44100, 1, ABOUT_64K, **TITLED | {"track": 0})),
    Case("plain samples.qt", film("-c:v", "mpeg4", "-c:a", "pcm_s16be", "-f", "mov"), probed_film(44100, 1, 705600)),
    Case("real.rm", film("-c:v", "rv20", "-c:a", "ac3", "-b:a", "96k", title="A Title", author="The Artist"),
         probed_film(44100, 1, 96000, title="A Title", artist="The Artist")),
    Case("real 10.rmvb", film("-c:v", "rv10", "-c:a", "ac3", "-b:a", "96k", "-f", "rm", size="176x144"),
         probed_film(44100, 1, 96000, 176, 144)),
    # MP4 among the films: the probe alone.
    Case("usual.mp4", film("-c:v", "libx264", "-c:a", "aac", **TAGS), probed_film(44100, 1, ABOUT_64K, **TITLED)),
    Case("hevc.mp4", film(*X265, "-c:a", "aac", size="256x144"), probed_film(44100, 1, ABOUT_64K, 256, 144)),
    Case("fragments.mp4", film("-c:v", "libx264", "-g", "25", "-c:a", "aac", "-movflags", "frag_keyframe+empty_moov"),
         probed_film(44100, 1, ABOUT_64K)),
    Case("index first.mp4", film("-c:v", "mpeg4", "-c:a", "aac", "-movflags", "faststart"),
         probed_film(44100, 1, ABOUT_64K)),
    Case("edit list.mp4", film("-c:v", "libx264", "-c:a", "aac", "-output_ts_offset", "1"),
         probed_film(44100, 1, ABOUT_64K, duration=WHOLE_SECONDS + 1, video_bitrate=of_size(SECONDS + 1))),
    Case("dolby.mp4", film("-c:v", "mpeg4", "-c:a", "ac3", "-b:a", "192k", "-ac", "6", "-ar", "48000"),
         probed_film(48000, 6, 192000)),
    Case("lossless sound.mp4", film("-c:v", "mpeg4", "-c:a", "alac"), probed_film(44100, 1, Near(300000, 0.9))),
    Case("silent.mp4", film("-c:v", "mpeg4", "-an"), probed_film(0, 0)),
    Case("sound alone.mp4", sound("-c:a", "aac", "-b:a", "96k", **TAGS), probed_sound(44100, 2, Near(96000, 0.3), **TAGGED)),
    Case("itunes.m4v", film("-c:v", "libx264", "-c:a", "aac", "-f", "ipod", **TAGS),
         probed_film(44100, 1, ABOUT_64K, **TITLED)),
    Case("phone.3gp", film("-c:v", "h263", "-c:a", "aac", "-ar", "16000", "-b:a", "24k", size="176x144"),
         probed_film(16000, 1, Near(24000, 0.5), 176, 144)),
    Case("phone.3g2", film("-c:v", "mpeg4", "-c:a", "aac", "-ar", "22050", "-b:a", "32k"),
         probed_film(22050, 1, Near(32000, 0.5))),
    Case("opendml.divx", film("-c:v", "mpeg4", "-vtag", "DX50", "-c:a", "mp3", "-b:a", "128k", "-f", "avi"),
         probed_film(44100, 1, 128000)),
    Case("xvid.xvid", film("-c:v", "libxvid", "-c:a", "mp3", "-b:a", "64k", "-f", "avi"), probed_film(44100, 1, 64000)),
    Case("flash.flv", film("-c:v", "flv", "-c:a", "mp3", "-b:a", "64k", title="A Title"),
         probed_film(44100, 1, 64000, title="A Title")),
    Case("flash h264.flv", film("-c:v", "libx264", "-c:a", "aac", "-ac", "2"), probed_film(44100, 2, Near(128000, 0.2))),
    # A player's file states neither its length nor a rate.
    Case("player.swf", film("-c:v", "flv", "-c:a", "mp3", "-b:a", "64k"),
         probed_film(44100, 1, 64000, duration=0, video_bitrate=0)),
    # Matroska
    Case("matroska.mkv", film("-c:v", "libx264", "-c:a", "libvorbis", "-ac", "2", **TAGS), probed_film(44100, 2, **TITLED)),
    Case("opus.mkv", film(*X265, "-c:a", "libopus", size="256x144"), probed_film(48000, 1, 0, 256, 144)),
    Case("vp9.mkv", film("-c:v", "libvpx-vp9", "-cpu-used", "8", "-deadline", "realtime", "-c:a", "flac"),
         probed_film(44100, 1)),
    Case("many streams.mkv", lambda path: in_matroska(path, ("mka", SECOND_SOUND, []), ("mkv", SECOND_FILM, []),
                                                      ("srt", SUBTITLES, ["-c:s", "srt"])),
         probed_film(48000, 2, 192000, 96, 64)),
    Case("font.mkv", with_attachment, probed_film(44100, 1, 128000, title="A Title"),
         lines=("Invalid stream type:4 from [%s].", *NOT_READ)),
    Case("cover.mkv", with_cover, probed_film(44100, 1, 128000)),
    Case("sound and cover.mkv", sound_with_cover, probed_sound(44100, 2, 128000, **TAGGED)),
    # What the container says has been kept before the lack of sound and picture is seen.
    Case("subtitles alone.mkv", subtitles_alone, {"duration": 2, "video_bitrate": of_size(2)}, lines=NOT_READ),
    # Transport streams, with and without the time stamps of a disc.
    Case("broadcast.ts", film(*TRANSPORT), probed_film(48000, 2, 128000)),
    Case("h264.ts", film("-c:v", "libx264", "-c:a", "aac", "-ac", "2"), probed_film(44100, 2, Near(128000, 0.3))),
    Case("disc.m2ts", film("-c:v", "libx264", "-c:a", "ac3", "-b:a", "192k", "-ar", "48000"), probed_film(48000, 1, 192000)),
    Case("camera.mts", film("-c:v", "libx264", "-c:a", "ac3", "-b:a", "192k", "-f", "mpegts", "-mpegts_m2ts_mode", "1"),
         probed_film(44100, 1, 192000)),
    Case("tape.m2t", film(*TRANSPORT), probed_film(48000, 2, 128000)),
    Case("topfield.trp", film(*TRANSPORT), probed_film(48000, 2, 128000)),
    Case("receiver.tp", film(*TRANSPORT), probed_film(48000, 2, 128000)),
    Case("torn.avi", text(b"this is no film\n" * 9), {}, lines=("Failed to av_open_input_file() file [%s].", *NOT_READ)),
    # A playlist under a film's name is not followed.
    Case("playlist.ts", text(b"#EXTM3U\n#EXT-X-TARGETDURATION:9\n#EXTINF:9,\nhttp://example.com/1.ts\n"), {},
         lines=("Failed to av_open_input_file() file [%s].", *NOT_READ)),
)

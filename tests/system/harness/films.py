# SPDX-License-Identifier: GPL-2.0-or-later
"""A library of films, and of the sound that a film's library alone reads: real encoders and muxers, every container with
the codecs that people have in it.

Each codec is encoded once, two seconds of it; the files are put together from those without encoding anew.
"""
import json
from concurrent.futures import ThreadPoolExecutor

from harness import started
from harness.film_patches import dolby_vision, dynamic_hdr10
from harness.limits import LIMITS
from harness.media import TOGETHER_MAX, ffmpeg, ffmpeg_together

ASKED = "parts/asked.json"
PICTURE = "testsrc2=size=160x120:rate=25:duration=2"
TONE = "aevalsrc=0.3*sin(440*2*PI*t)|0.2*sin(554*2*PI*t):s={rate}:d=2"

HDR10 = ("-pix_fmt", "yuv420p10le", "-color_primaries", "bt2020", "-color_trc", "smpte2084", "-colorspace", "bt2020nc")
HLG = ("-pix_fmt", "yuv420p10le", "-color_primaries", "bt2020", "-color_trc", "arib-std-b67", "-colorspace", "bt2020nc")
X265 = ("-c:v", "libx265", "-preset", "ultrafast", "-x265-params", "log-level=none:pools=1:frame-threads=1:keyint=25")

# Pictures: name -> encoder. The source is a Matroska file where nothing else is said.
PICTURES = {
    "h264": ("-c:v", "libx264", "-preset", "ultrafast", "-g", "25", "-pix_fmt", "yuv420p"),
    "h264b": ("-c:v", "libx264", "-preset", "veryfast", "-bf", "2", "-g", "25", "-pix_fmt", "yuv420p"),
    "h264_10": ("-c:v", "libx264", "-preset", "ultrafast", "-pix_fmt", "yuv420p10le"),
    "hevc": (*X265, "-pix_fmt", "yuv420p"),
    "hevc_10": (*X265, "-pix_fmt", "yuv420p10le"),
    "hevc_hdr10": (*X265, *HDR10),
    "hevc_hlg": (*X265, *HLG),
    "mpeg4": ("-c:v", "mpeg4", "-q:v", "5"),
    "msmpeg4": ("-c:v", "msmpeg4", "-q:v", "5"),
    "mpeg2": ("-c:v", "mpeg2video", "-q:v", "5"),
    "mpeg1": ("-c:v", "mpeg1video", "-q:v", "5"),
    "vp8": ("-c:v", "libvpx", "-deadline", "realtime", "-cpu-used", "8", "-b:v", "200k"),
    "vp9": ("-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8", "-b:v", "200k"),
    "vp9_hdr10": ("-c:v", "libvpx-vp9", "-deadline", "realtime", "-cpu-used", "8", "-profile:v", "2", *HDR10),
    "av1": ("-c:v", "libaom-av1", "-usage", "realtime", "-cpu-used", "8", "-b:v", "100k", "-threads", "1"),
    "av1_hdr10": ("-c:v", "libaom-av1", "-usage", "realtime", "-cpu-used", "8", "-b:v", "100k", "-threads", "1",
                  *HDR10),
    "theora": ("-c:v", "libtheora", "-q:v", "5"),
    "wmv2": ("-c:v", "wmv2", "-q:v", "5"),
    "mjpeg": ("-c:v", "mjpeg", "-q:v", "5"),
    "prores": ("-c:v", "prores_ks", "-profile:v", "0"),
    "ffv1": ("-c:v", "ffv1", "-level", "3"),
    "flv1": ("-c:v", "flv", "-q:v", "5"),
    "huffyuv": ("-c:v", "huffyuv", "-pix_fmt", "yuv422p"),
    "h263": ("-s", "176x144", "-c:v", "h263", "-q:v", "5"),
    "dv": ("-s", "720x576", "-c:v", "dvvideo", "-pix_fmt", "yuv420p"),
}

# Sound: name -> sample rate, encoder.
SOUNDS = {
    "aac": (44100, ("-c:a", "aac", "-b:a", "96k")),
    "aac_mono": (22050, ("-c:a", "aac", "-b:a", "48k", "-ac", "1")),
    "mp3": (44100, ("-c:a", "libmp3lame", "-b:a", "128k")),
    "mp3_vbr": (44100, ("-c:a", "libmp3lame", "-q:a", "4")),
    "mp2": (48000, ("-c:a", "mp2", "-b:a", "192k")),
    "ac3": (48000, ("-c:a", "ac3", "-b:a", "192k")),
    "ac3_51": (48000, ("-ac", "6", "-c:a", "ac3", "-b:a", "448k")),
    "eac3": (48000, ("-c:a", "eac3", "-b:a", "192k")),
    "dts": (48000, ("-ac", "2", "-c:a", "dca", "-strict", "-2", "-b:a", "768k")),
    "truehd": (48000, ("-c:a", "truehd", "-strict", "-2")),
    "flac": (44100, ("-c:a", "flac")),
    "flac_24": (96000, ("-sample_fmt", "s32", "-c:a", "flac", "-bits_per_raw_sample", "24")),
    "alac": (44100, ("-c:a", "alac")),
    "opus": (48000, ("-c:a", "libopus", "-b:a", "64k")),
    "vorbis": (44100, ("-c:a", "libvorbis", "-q:a", "3")),
    "speex": (16000, ("-ac", "1", "-c:a", "libspeex")),
    "pcm": (44100, ("-c:a", "pcm_s16le")),
    "pcm_be": (48000, ("-c:a", "pcm_s16be")),
    "pcm_24": (48000, ("-c:a", "pcm_s24le")),
    "pcm_dv": (48000, ("-ac", "2", "-c:a", "pcm_s16le")),
    "adpcm": (22050, ("-c:a", "adpcm_ima_wav")),
    "wma": (44100, ("-c:a", "wmav2", "-b:a", "128k")),
    "real": (8000, ("-ac", "1", "-c:a", "real_144")),
    "tta": (44100, ("-c:a", "tta")),
    "wavpack": (44100, ("-c:a", "wavpack")),
}

TAGS = {"title": "A Title – ünïcode", "artist": "An Artist", "album": "An Album", "genre": "Drama",
        "comment": "A comment", "date": "2019-07-14", "composer": "A Composer", "album_artist": "An Album Artist",
        "track": "3/12", "disc": "1/2", "description": "What it is about", "copyright": "Somebody",
        "show": "A Show", "season_number": "2", "episode_sort": "7", "publisher": "A Publisher", "lyrics": "La la"}
TAGGED = tuple(word for key, value in TAGS.items() for word in ("-metadata", f"{key}={value}"))
LANGUAGES = ("-metadata:s:a:0", "language=ger")

# Nut, which keeps every codec's timing, has no word for these.
PART_KINDS = {"alac": "mov", "truehd": "mkv", "real": "rm", "tta": "tta", "wavpack": "mkv", "opus": "mkv", "eac3": "mkv", "wma": "wma"}

# Files: name -> pictures, sounds, options of the muxer. An option that ends the name of an input names a file made before.
FILES = {
    # MP4 and its kin
    "h264_aac.mp4": ("h264", ["aac"], ()),
    "tagged.mp4": ("h264", ["aac"], (*TAGGED, *LANGUAGES)),
    "b_frames.mp4": ("h264b", ["aac"], ()),
    "faststart.mp4": ("h264", ["aac"], ("-movflags", "+faststart", *TAGGED)),
    "fragmented.mp4": ("h264", ["aac"], ("-movflags", "+frag_keyframe+empty_moov+default_base_moof")),
    "fragmented_delay.mp4": ("h264", ["aac"], ("-movflags", "+frag_keyframe+delay_moov", *TAGGED)),
    "fragmented_sidx.mp4": ("h264", ["aac"], ("-movflags", "+dash+global_sidx+frag_keyframe")),
    "cmaf.mp4": ("h264", [], ("-movflags", "+cmaf+frag_keyframe", "-f", "mp4")),
    "hevc_aac.mp4": ("hevc", ["aac"], ("-tag:v", "hvc1")),
    "hevc_10.mp4": ("hevc_10", ["aac"], ("-tag:v", "hvc1")),
    "hdr10.mp4": ("hevc_hdr10", ["aac"], ("-tag:v", "hvc1")),
    "hdr10_nocolr.mp4": ("hevc_hdr10", ["aac"], ("-tag:v", "hvc1", "-movflags", "-write_colr")),
    "hlg.mp4": ("hevc_hlg", ["aac"], ("-tag:v", "hvc1")),
    "hlg_nocolr.mp4": ("hevc_hlg", ["aac"], ("-tag:v", "hvc1", "-movflags", "-write_colr")),
    "h264_10.mp4": ("h264_10", ["aac"], ()),
    "mpeg4_mp3.mp4": ("mpeg4", ["mp3"], ()),
    "mpeg2_mp2.mp4": ("mpeg2", ["mp2"], ()),
    "ac3.mp4": ("h264", ["ac3"], ()),
    "eac3.mp4": ("h264", ["eac3"], ()),
    "dts.mp4": ("h264", ["dts"], ("-strict", "-2")),
    "truehd.mp4": ("h264", ["truehd"], ("-strict", "-2")),
    "flac.mp4": ("h264", ["flac"], ("-strict", "-2")),
    "alac.mp4": ("h264", ["alac"], ()),
    "opus.mp4": ("h264", ["opus"], ("-strict", "-2")),
    "av1_opus.mp4": ("av1", ["opus"], ("-strict", "-2")),
    "av1_hdr10.mp4": ("av1_hdr10", ["opus"], ("-strict", "-2")),
    "vp9_opus.mp4": ("vp9", ["opus"], ("-strict", "-2")),
    "mono.mp4": ("h264", ["aac_mono"], ()),
    "silent.mp4": ("h264", [], ()),
    "two_sounds.mp4": ("h264", ["aac", "ac3"], ("-metadata:s:a:0", "language=ger", "-metadata:s:a:1", "language=eng")),
    "rotated_90.mp4": ("h264", ["aac"], ("-metadata:s:v:0", "rotate=90")),
    "rotated_180.mov": ("h264", ["aac"], ("-metadata:s:v:0", "rotate=180")),
    "rotated_270.mp4": ("h264", ["aac"], ("-metadata:s:v:0", "rotate=270")),
    "sound_only.mp4": (None, ["aac"], TAGGED),
    "sound_only.m4a": (None, ["aac"], TAGGED),
    "alac_only.m4a": (None, ["alac"], TAGGED),
    "h264.m4v": ("h264", ["aac"], ("-f", "ipod")),
    "h264.3gp": ("h264", ["aac"], ()),
    "h263.3gp": ("h263", ["aac_mono"], ("-metadata", "title=Small", "-metadata", "artist=Phone", "-metadata",
                                        "date=2009")),
    "h264.3g2": ("h264", ["aac"], ()),
    "h264.f4v": ("h264", ["aac"], ()),
    "h264_pcm.mov": ("h264", ["pcm"], TAGGED),
    "h264_pcm_be.mov": ("h264", ["pcm_be"], ("-movflags", "use_metadata_tags", *TAGGED)),
    "prores_pcm24.mov": ("prores", ["pcm_24"], ()),
    "mjpeg_pcm.mov": ("mjpeg", ["pcm"], ()),
    "dv.mov": ("dv", ["pcm_dv"], ()),
    # Matroska
    "h264_aac.mkv": ("h264", ["aac"], ()),
    "tagged.mkv": ("h264", ["aac"], (*TAGGED, *LANGUAGES)),
    "b_frames.mkv": ("h264b", ["ac3"], ()),
    "hevc_ac3.mkv": ("hevc", ["ac3"], ()),
    "hevc_10.mkv": ("hevc_10", ["ac3"], ()),
    "hevc_eac3.mkv": ("hevc", ["eac3"], ()),
    "hdr10.mkv": ("hevc_hdr10", ["ac3"], ()),
    "hlg.mkv": ("hevc_hlg", ["aac"], ()),
    "h264_ac3_51.mkv": ("h264", ["ac3_51"], ()),
    "h264_dts.mkv": ("h264", ["dts"], ()),
    "h264_truehd.mkv": ("h264", ["truehd"], ()),
    "h264_flac.mkv": ("h264", ["flac"], ()),
    "h264_flac24.mkv": ("h264", ["flac_24"], ()),
    "h264_mp3.mkv": ("h264", ["mp3"], ()),
    "h264_mp3_vbr.mkv": ("h264", ["mp3_vbr"], ()),
    "h264_mp2.mkv": ("h264", ["mp2"], ()),
    "h264_pcm.mkv": ("h264", ["pcm"], ()),
    "h264_vorbis.mkv": ("h264", ["vorbis"], ()),
    "h264_opus.mkv": ("h264", ["opus"], ()),
    "mpeg4_mp3.mkv": ("mpeg4", ["mp3"], ()),
    "mpeg2_mp2.mkv": ("mpeg2", ["mp2"], ()),
    "ffv1_pcm.mkv": ("ffv1", ["pcm"], ()),
    "av1_opus.mkv": ("av1", ["opus"], ()),
    "vp9_hdr10.mkv": ("vp9_hdr10", ["opus"], ()),
    "av1_hdr10.mkv": ("av1_hdr10", ["opus"], ()),
    "three_sounds.mkv": ("h264", ["aac", "ac3", "mp3"], (
        "-metadata:s:a:0", "language=jpn", "-metadata:s:a:1", "language=eng", "-metadata:s:a:2", "language=jpn")),
    "streamed.mkv": ("h264", ["aac"], ("-live", "1")),
    "sound_only.mka": (None, ["aac"], TAGGED),
    "flac_only.mka": (None, ["flac"], TAGGED),
    "opus_only.mka": (None, ["opus"], TAGGED),
    "ac3_only.mka": (None, ["ac3"], ()),
    "sound_only.mkv": (None, ["vorbis"], ()),
    "vp8_vorbis.webm": ("vp8", ["vorbis"], ()),
    "vp9_opus.webm": ("vp9", ["opus"], TAGGED),
    "vp9_live.webm": ("vp9", ["opus"], ("-live", "1")),
    "av1_opus.webm": ("av1", ["opus"], ()),
    "sound_only.webm": (None, ["opus"], TAGGED),
    "sound_only.weba": (None, ["vorbis"], ("-f", "webm")),
    # AVI
    "mpeg4_mp3.avi": ("mpeg4", ["mp3"], ()),
    "tagged.avi": ("mpeg4", ["mp3"], TAGGED),
    "mpeg4_mp3_vbr.avi": ("mpeg4", ["mp3_vbr"], ("-vtag", "xvid")),
    "mpeg4_ac3.avi": ("mpeg4", ["ac3"], ("-vtag", "DX50")),
    "msmpeg4_mp3.avi": ("msmpeg4", ["mp3"], ()),
    "h264_aac.avi": ("h264", ["aac"], ()),
    "mjpeg_pcm.avi": ("mjpeg", ["pcm"], ()),
    "huffyuv_pcm.avi": ("huffyuv", ["pcm"], ()),
    "h264_mp2.avi": ("h264", ["mp2"], ()),
    "adpcm.avi": ("mjpeg", ["adpcm"], ()),
    "dv.avi": ("dv", ["pcm_dv"], ()),
    "silent.avi": ("mpeg4", [], ()),
    # Transport and program streams
    "h264_aac.ts": ("h264", ["aac"], LANGUAGES),
    "hevc_ac3.ts": ("hevc", ["ac3"], ()),
    "mpeg2_mp2.ts": ("mpeg2", ["mp2"], LANGUAGES),
    "mpeg2_ac3.ts": ("mpeg2", ["ac3"], ()),
    "h264_dts.ts": ("h264", ["dts"], ()),
    "hdr10.ts": ("hevc_hdr10", ["ac3"], ()),
    "h264_ac3.m2ts": ("h264", ["ac3"], ("-mpegts_m2ts_mode", "1")),
    "sound_only.ts": (None, ["aac"], ()),
    "mpeg2_mp2.mpg": ("mpeg2", ["mp2"], ("-f", "mpeg")),
    "mpeg2_ac3.vob": ("mpeg2", ["ac3"], ("-f", "vob")),
    "mpeg1_mp2.mpg": ("mpeg1", ["mp2"], ("-f", "mpeg")),
    "mpeg1.m1v": ("mpeg1", [], ("-f", "mpeg1video")),
    "mpeg2.m2v": ("mpeg2", [], ("-f", "mpeg2video")),
    "h264.h264": ("h264", [], ("-bsf:v", "dump_extra", "-f", "h264")),
    "hevc.hevc": ("hevc", [], ("-bsf:v", "dump_extra", "-f", "hevc")),
    "mpeg4.m4v": ("mpeg4", [], ("-bsf:v", "dump_extra", "-f", "m4v")),
    # ASF
    "wmv2_wma.wmv": ("wmv2", ["wma"], ()),
    "tagged.wmv": ("wmv2", ["wma"], (*TAGGED, *LANGUAGES)),
    "h264_aac.asf": ("h264", ["aac"], ()),
    "sound_only.wma": (None, ["wma"], TAGGED),
    # the others
    "flv1_mp3.flv": ("flv1", ["mp3"], ()),
    "h264_aac.flv": ("h264", ["aac"], TAGGED),
    "streamed.flv": ("h264", ["aac"], ("-flvflags", "no_duration_filesize+no_metadata")),
    "sound_only.flv": (None, ["mp3"], ()),
    "theora_vorbis.ogv": ("theora", ["vorbis"], TAGGED),
    "theora_opus.ogv": ("theora", ["opus"], ()),
    "theora.ogv": ("theora", [], ("-metadata:s:v:0", "title=Silent", "-metadata:s:v:0", "artist=Nobody")),
    "vorbis_only.ogv": (None, ["vorbis"], ("-f", "ogg", *TAGGED)),
    "mpeg2_pcm.mxf": ("mpeg2", ["pcm_24"], ("-ar", "48000")),
    "h264_aac.nut": ("h264", ["aac"], TAGGED),
    "mpeg2_mp2.wtv": ("mpeg2", ["mp2"], TAGGED),
    "dv.dv": ("dv", ["pcm_dv"], ("-f", "dv")),
    "mpeg4_real.rm": (None, ["real"], ("-f", "rm", "-metadata", "title=Real", "-metadata", "author=Somebody")),
    "ac3_rm.rm": (None, ["ac3"], ("-f", "rm", "-metadata", "title=Real", "-metadata", "copyright=Somebody")),
    "mpeg2.gxf": ("mpeg2", [], ("-s", "720x576", "-c:v", "mpeg2video", "-f", "gxf")),
    "vp8.ivf": ("vp8", [], ("-f", "ivf")),
    # Sound
    "sound.ac3": (None, ["ac3"], ()),
    "sound.eac3": (None, ["eac3"], ()),
    "sound.dts": (None, ["dts"], ()),
    "sound.thd": (None, ["truehd"], ("-f", "truehd")),
    "sound.au": (None, ["pcm_be"], TAGGED),
    "sound.caf": (None, ["pcm"], TAGGED),
    "alac.caf": (None, ["alac"], ()),
    "sound.w64": (None, ["pcm"], ()),
    "sound.nut": (None, ["vorbis"], TAGGED),
    "sound.voc": (None, ["pcm"], ("-c:a", "pcm_u8")),
    "sound.tta": (None, ["tta"], ()),
    "sound.wv": (None, ["wavpack"], ()),
    "sound.wav": (None, ["pcm"], TAGGED),
    "sound.mp3": (None, ["mp3"], TAGGED),
    "sound.mp2": (None, ["mp2"], ()),
    "sound.aac": (None, ["aac"], ()),
    "sound.flac": (None, ["flac"], TAGGED),
    "sound.ogg": (None, ["vorbis"], TAGGED),
    "sound.opus": (None, ["opus"], TAGGED),
    "sound.spx": (None, ["speex"], TAGGED),
    "sound.aiff": (None, ["pcm_be"], ("-write_id3v2", "1", *TAGGED)),
}


# Further files, by the words of the command; "@" is the folder of the parts.
OTHERS = {
    "cover.mp4": "-i @v_h264.nut -i @a_aac.nut -i @front.jpg -map 0 -map 1 -map 2 -c copy -disposition:v:1 attached_pic",
    "cover.m4a": "-i @a_aac.nut -i @back.png -map 0 -map 1 -c copy -disposition:v:0 attached_pic",
    "still.mp4": "-i @a_aac.nut -i @front.jpg -map 0 -map 1 -c copy",
    "cover.mkv": "-i @v_h264.nut -i @a_aac.nut -map 0 -map 1 -c copy -attach @back.png -metadata:s:2 mimetype=image/png "
                 "-metadata:s:2 filename=small_cover.png -attach @front.jpg -metadata:s:3 mimetype=image/jpeg "
                 "-metadata:s:3 filename=cover.jpg",
    "cover.mka": "-i @a_vorbis.nut -c copy -attach @front.jpg -metadata:s:1 mimetype=image/jpeg "
                 "-metadata:s:1 filename=cover.jpg",
    "webp_cover.mka": "-i @a_vorbis.nut -c copy -attach @front.webp -metadata:s:1 mimetype=image/webp "
                      "-metadata:s:1 filename=cover.webp",
    "font.mkv": "-i @v_h264.nut -c copy -attach @words.srt -metadata:s:1 mimetype=application/x-truetype-font "
                "-metadata:s:1 filename=a.ttf",
    "chapters.mp4": "-i @v_h264.nut -i @a_aac.nut -i @chapters.txt -map 0 -map 1 -map_metadata 2 -c copy",
    "chapters.mkv": "-i @v_h264.nut -i @a_aac.nut -i @chapters.txt -map 0 -map 1 -map_metadata 2 -c copy",
    "words.mkv": "-i @v_h264.nut -i @a_aac.nut -i @words.srt -i @words.srt -map 0 -map 1 -map 2 -map 3 -c copy "
                 "-metadata:s:s:0 language=eng -metadata:s:s:1 language=fre",
    "words.mp4": "-i @v_h264.nut -i @words.srt -map 0 -map 1 -c:v copy -c:s mov_text -metadata:s:s:0 language=ita",
    "uneven.mp4": "-i @v_uneven.nut -i @a_aac.nut -map 0 -map 1 -c copy",
    "uneven.mkv": "-i @v_uneven.nut -i @a_aac.nut -map 0 -map 1 -c copy",
    "uneven.webm": "-i @v_uneven.nut -c:v libvpx -deadline realtime -cpu-used 8 -threads 1",
    "statistics.mkv": "-i @v_h264.nut -i @a_aac.nut -map 0 -map 1 -c copy -metadata:s:0 BPS=123456 -metadata:s:1 BPS=65432",
    "place.mp4": "-i @v_h264.nut -c copy -metadata location=+48.8577-002.2950+035.5/",
    "place.mov": "-i @v_h264.nut -c copy -metadata location=-33.8568+151.2153/",
    "dynamic.mp4": "-i @v_dynamic.mp4 -c copy -tag:v hvc1",
    "dynamic.mkv": "-i @v_dynamic.mp4 -c copy",
    "dynamic_late.mp4": "-i @v_dynamic_late.mp4 -c copy -tag:v hvc1",
    "dynamic_far.mkv": "-itsoffset 1.9 -i @v_dynamic.mp4 -i @a_aac.nut -map 0 -map 1 -c copy",
}
CHAPTERS = """;FFMETADATA1
title=With chapters
[CHAPTER]
TIMEBASE=1/1000
START=0
END=900
title=First part
[CHAPTER]
TIMEBASE=1/1000
START=900
END=2000
title=Second – part
"""
# Metadata behind so many bytes of a packet is not looked for.
LATE_MESSAGE = LIMITS["kFilmMessagesMax"]


def make(*words):
    ffmpeg("-bitexact", *map(str, words))


def every(work, names):
    """Does it for every name, two at a time."""
    with ThreadPoolExecutor(2) as pool:
        list(pool.map(work, names))


def make_every(job, names):
    """Makes what `job` gives for each name, some with one call."""
    jobs = [job(name) for name in names]
    every(lambda some: ffmpeg_together(some, "-bitexact"), [jobs[at:at + TOGETHER_MAX] for at in range(0, len(jobs), TOGETHER_MAX)])


def sound_part(name):
    return f"a_{name}.{PART_KINDS.get(name, 'nut')}"


def encode(folder):
    """Encodes every codec once."""
    def picture(name):
        return [("-f", "lavfi", "-i", PICTURE)], (*PICTURES[name], "-threads", "1"), folder / f"v_{name}.nut"

    def sound(name):
        rate, encoder = SOUNDS[name]
        return [("-f", "lavfi", "-i", TONE.format(rate=rate))], encoder, folder / sound_part(name)

    make_every(picture, PICTURES)
    make_every(sound, SOUNDS)
    for name, size in {"front.jpg": "320x320", "back.png": "160x160", "front.webp": "64x64"}.items():
        make("-f", "lavfi", "-i", f"testsrc2=size={size}:rate=1:duration=1", "-frames:v", "1", folder / name)
    # Frames that do not come evenly, and one raw stream with metadata that no encoder here writes.
    make("-i", folder / "v_h264.nut", "-vf", "select='not(mod(n,3))*lt(n,25)+gte(n,25)'", "-vsync", "vfr",
         *PICTURES["h264"], folder / "v_uneven.nut")
    make("-i", folder / "v_hevc_hdr10.nut", "-c", "copy", "-bsf:v", "dump_extra", "-f", "hevc", folder / "v_hdr10.hevc")
    raw = (folder / "v_hdr10.hevc").read_bytes()
    for name, filler in {"dynamic": 0, "dynamic_late": LATE_MESSAGE}.items():
        (folder / f"{name}.hevc").write_bytes(dynamic_hdr10(raw, filler))
        make("-r", "25", "-f", "hevc", "-i", folder / f"{name}.hevc", "-c", "copy", "-tag:v", "hvc1", folder / f"v_{name}.mp4")
    (folder / "chapters.txt").write_text(CHAPTERS, encoding="utf-8")
    (folder / "words.srt").write_text("1\n00:00:00,100 --> 00:00:01,000\nWords\n", encoding="utf-8")


def ask(path):
    """What ffprobe says of a film, and whether its first frames have dynamic metadata."""
    def probe(*words):
        return started.said("ffprobe", "-v", "quiet", *words, path)

    told = json.loads(probe("-of", "json", "-show_format", "-show_streams", "-show_chapters"))
    if any(stream.get("color_transfer") == "smpte2084" for stream in told["streams"]):
        told["dynamic"] = b"SMPTE2094-40" in probe("-show_frames", "-read_intervals", "%+0.4")
    return told


def make_films(folder):
    """Fills a folder with the library. The parts that it is made of lie in a folder of their own in it, and what ffprobe says of
    each file in ASKED."""
    parts = folder / "parts"
    parts.mkdir()
    encode(parts)

    def one(name):
        picture, sounds, options = FILES[name]
        inputs = [f"v_{picture}.nut"] if picture else []
        inputs += [sound_part(sound) for sound in sounds]
        return [("-i", parts / part) for part in inputs], ("-c", "copy", *options), folder / name

    def another(name):
        make(*(parts / word[1:] if word.startswith("@") else word for word in OTHERS[name].split()), folder / name)

    make_every(one, FILES)
    every(another, OTHERS)
    (folder / "dolby_vision.mp4").write_bytes(dolby_vision((folder / "hdr10.mp4").read_bytes()))
    (folder / "speech.amr").write_bytes(b"#!AMR\n" + (b"\x3c" + bytes(31)) * 100)
    films = sorted(path for path in folder.iterdir() if path.is_file())
    with ThreadPoolExecutor(2) as pool:
        told = dict(zip([path.name for path in films], pool.map(ask, films)))
    (folder / ASKED).write_text(json.dumps(told), encoding="utf-8")
    # which no reference knows
    (folder / "notes.mid").write_bytes(b"MThd\0\0\0\6\0\0\0\1\0\x60MTrk\0\0\0\4\0\xff\x2f\0")

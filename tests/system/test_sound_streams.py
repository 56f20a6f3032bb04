# SPDX-License-Identifier: GPL-2.0-or-later
"""What the reader of sound finds in streams, beside what ffprobe finds in the same file."""
import shutil

import pytest
from harness import media
from harness.sound_streams import ASF, HIGH, LAME, LAYER_TWO, MP4, PCM, ask, compare
from harness.sounds import ENCODERS, dsdiff_bytes, dsf_bytes, dump, ffprobe, wave


def assert_as_ffprobe(form, path):
    found = dump(form, path)
    assert found["status"] == "read"
    differences = [difference for difference in compare(ask(path), found) if not difference[-1]]
    assert not differences


@pytest.mark.parametrize("kind", [kind for kind in ENCODERS if not kind.startswith("ds")])
def test_every_format(sounds, tmp_path, kind):
    assert_as_ffprobe(ENCODERS[kind][0], sounds.copy(kind, tmp_path))


@pytest.mark.parametrize("options", LAME, ids=" ".join)
def test_mp3(sounds, tmp_path, options):
    path = tmp_path / "a.mp3"
    media.call("lame", "--quiet", *options, str(sounds.wav), str(path))
    assert_as_ffprobe("mpeg_audio", path)


@pytest.mark.parametrize("options", LAYER_TWO)
def test_layer_two(sounds, tmp_path, options):
    path = tmp_path / "a.mp2"
    media.ffmpeg("-i", str(sounds.wav), *options, str(path))
    assert_as_ffprobe("mpeg_audio", path)


def test_what_is_no_sound_in_an_mp3_is_not_counted(sounds, tmp_path):
    plain = sounds.copy("mp3", tmp_path)
    seconds = dump("mp3", plain)["duration"]
    sound = plain.read_bytes()
    picture = b"\xff\xfb\x90\x64" * 50_000  # looks like sound
    ape_end = b"APETAGEX" + (2000).to_bytes(4, "little") + (len(picture) + 32).to_bytes(4, "little") + bytes(16)
    around = tmp_path / "around.mp3"
    around.write_bytes(bytes(range(1, 200)) * 20 + sound + picture + ape_end + b"TAG".ljust(128, b"\0"))
    assert dump("mp3", around)["duration"] == [pytest.approx(seconds[0], abs=0.03)]


def test_vbr_without_a_header_is_gone_through(tmp_path):
    """ffprobe guesses from the first frames here; the header that lame writes otherwise tells the truth."""
    wave(tmp_path / "long.wav", seconds=5)
    media.call("sox", str(tmp_path / "long.wav"), str(tmp_path / "swell.wav"), "fade", "t", "4")
    for name, more in (("bare.mp3", ["-t"]), ("told.mp3", [])):
        media.call("lame", "--quiet", *more, "-V2", str(tmp_path / "swell.wav"), str(tmp_path / name))
    told = dump("mp3", tmp_path / "told.mp3")["duration"][0]
    assert dump("mp3", tmp_path / "bare.mp3")["duration"] == [pytest.approx(told, abs=0.05)]


def test_two_joined_mp3_are_as_long_as_both(sounds, tmp_path):
    path = tmp_path / "a.mp3"
    media.call("lame", "--quiet", "-V2", str(sounds.wav), str(path))
    one = dump("mp3", path)["duration"][0]
    path.write_bytes(path.read_bytes() * 2)
    assert dump("mp3", path)["duration"] == [pytest.approx(2 * one, abs=0.06)]


def test_free_format(sounds, tmp_path):
    """ffprobe knows neither the rate nor the channels of it."""
    path = tmp_path / "a.mp3"
    media.call("lame", "--quiet", "--freeformat", "-b", "400", str(sounds.wav), str(path))
    found = dump("mp3", path)
    assert found["duration"] == [pytest.approx(dump("mp3", sounds.copy("mp3", tmp_path))["duration"][0], abs=0.05)]
    assert (found["sample_rate"], found["channels"], found["codec"]) == ([44100], [2], ["mp3"])


@pytest.mark.parametrize("extension, options", PCM, ids=str)
def test_wav_and_aiff(sounds, tmp_path, extension, options):
    path = tmp_path / f"a.{extension}"
    media.ffmpeg("-i", str(sounds.wav), *options, str(path))
    assert_as_ffprobe("wav" if extension == "wav" else "aiff", path)


@pytest.mark.parametrize("name, options", MP4)
def test_mp4(sounds, tmp_path, name, options):
    path = tmp_path / name
    media.ffmpeg("-i", str(sounds.wav), *options, str(path))
    assert_as_ffprobe("mp4_sound", path)


@pytest.mark.parametrize("codec", ASF)
def test_asf(sounds, tmp_path, codec):
    path = tmp_path / "a.wma"
    media.ffmpeg("-i", str(sounds.wav), "-c:a", codec, "-f", "asf", str(path))
    stream, container = ffprobe(path)
    found = dump("asf_sound", path)
    assert found["duration"] == [pytest.approx(float(container["duration"]), abs=0.05)]
    assert (found["codec"], found["container"]) == ([stream["codec_name"]], [container["format_name"]])
    if codec != "libmp3lame":  # of which the header leaves the bit rate open
        assert found["audio_bitrate"] == [pytest.approx(int(stream["bit_rate"]), rel=0.02)]


@pytest.mark.parametrize("form, make", [("dsf", dsf_bytes), ("dsdiff", dsdiff_bytes)])
def test_the_rate_of_dsd_is_that_of_its_bits(tmp_path, form, make):
    """ffprobe divides it by eight."""
    path = tmp_path / "a"
    path.write_bytes(make())
    stream, container = ffprobe(path)
    found = dump(form, path)
    assert found["sample_rate"] == [8 * int(stream["sample_rate"])] == [2822400]
    assert found["audio_bitrate"] == [5644800] == [int(stream["bit_rate"])]
    assert found["duration"] == [pytest.approx(float(container["duration"]), abs=0.05)]
    assert (found["codec"], found["container"], found["channels"]) == (
        [stream["codec_name"]], [container["format_name"]], [stream["channels"]])
    assert found["bits_per_sample"] == [1]


@pytest.mark.parametrize("kind, rate", HIGH.items())
def test_high_resolution_and_mono(tmp_path, kind, rate):
    wave(tmp_path / "a.wav", rate=rate, channels=1, bits=24)
    _, extension, _ = ENCODERS[kind]
    path = tmp_path / f"a.{extension}"
    media.ffmpeg("-i", str(tmp_path / "a.wav"), *(["-c:a", "libvorbis"] if kind == "vorbis" else []), str(path))
    assert_as_ffprobe(ENCODERS[kind][0], path)


def test_texts_of_riff_3gpp_and_aiff(sounds, tmp_path):
    """mutagen reads none of these, ffprobe only those of RIFF."""
    tags = {"title": "Tïtle", "artist": "Ärtist", "album": "Albüm", "genre": "Rock", "date": "2004", "comment": "cömment"}
    for form, name, options in (("wav", "a.wav", []), ("mp4_sound", "a.3gp", ["-c:a", "aac"])):
        path = tmp_path / name
        media.ffmpeg("-i", str(sounds.wav), *options, *[part for tag in tags.items() for part in ("-metadata", "=".join(tag))], str(path))
        found = dump(form, path)
        assert {tag: found[tag][0] for tag in tags} == tags
        assert found["year"] == [2004]


def test_a_cut_file_is_no_disaster(sounds, tmp_path):
    for kind, (form, _, _) in ENCODERS.items():
        path = sounds.copy(kind, tmp_path)
        whole = path.read_bytes()
        for size in (0, 3, 30, 200, len(whole) // 2):
            path.write_bytes(whole[:size])
            dump(form, path)
        shutil.copyfile("/dev/null", path)

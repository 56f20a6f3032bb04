# SPDX-License-Identifier: GPL-2.0-or-later
"""AIFF and AIFF-C files of sox and ffmpeg: what was fed to the encoder is what the catalogue shows."""
import pytest

from harness import media, music

COLUMNS = ("duration", "audio_bitrate", "sample_rate", "channels")
# Durations are single-precision.
PRECISION = 1e-6
RATES = (8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 192000)


def known(samples, rate, channels, bits):
    return {"duration": pytest.approx(samples / rate, rel=PRECISION), "audio_bitrate": bits * rate * channels,
            "sample_rate": rate,
            "channels": channels}


def check(daemon, cases):
    """`cases`: {name: (the file, samples, rate, channels, bits)}."""
    rows = music.catalogue(daemon, {name: case[0] for name, case in cases.items()})
    assert music.part(rows, *COLUMNS) == {name: known(*case[1:]) for name, case in cases.items()}
    assert music.part(rows, *music.TAG_COLUMNS) == {name: music.tags(name) for name in cases}
    return rows


def sox(folder, name, rate, channels, bits, *options):
    samples = rate // 2 + 17
    wav = music.tone(f"{folder}/tone.wav", samples, rate, channels)
    path = f"{folder}/{name}"
    media.call("sox", wav, "-b", str(bits), *options, path)
    return path, samples, rate, channels, bits


def test_sox_sizes_and_channels(daemon, tmp_path):
    cases = {}
    for bits in (8, 16, 24, 32):
        for channels in (1, 2, 6) if bits == 16 else (1, 2):
            for kind in ("aiff", "aifc"):
                name = f"{bits} {channels} {kind}.aif"
                cases[name] = sox(tmp_path, name, 44100, channels, bits, "-t", kind)
    check(daemon, cases)


def test_sox_rates(daemon, tmp_path):
    cases = {f"{rate}.aiff": sox(tmp_path, f"{rate}.aiff", rate, 2, 16) for rate in RATES}
    check(daemon, cases)


def test_ffmpeg(daemon, tmp_path):
    samples = 44100 // 2 + 17
    wav = music.tone(str(tmp_path / "tone.wav"), samples)
    cases = {}
    for codec, bits in (("pcm_s8", 8), ("pcm_s16be", 16), ("pcm_s24be", 24), ("pcm_s32be", 32), ("pcm_s16le", 16),
                        ("pcm_f32be", 32),
                        ("pcm_f64be", 64)):
        for channels in (1, 2):
            name = f"{codec} {channels}.aiff"
            media.audio(str(tmp_path / name), wav, "-c:a", codec, "-ac", str(channels))
            cases[name] = (str(tmp_path / name), samples, 44100, channels, bits)
    check(daemon, cases)


def test_logarithmic_samples_keep_their_time_and_channels(daemon, tmp_path):
    """How many bits such a sample stands for is a matter of view; its time is not."""
    samples = 8000 + 17
    wav = music.tone(str(tmp_path / "tone.wav"), samples, 8000, 1)
    names = {f"{codec}.aif": codec for codec in ("pcm_alaw", "pcm_mulaw")}
    for name, codec in names.items():
        media.audio(str(tmp_path / name), wav, "-c:a", codec)
    rows = music.catalogue(daemon, {name: str(tmp_path / name) for name in names})
    columns = ("duration", "sample_rate", "channels")
    assert music.part(rows, *columns) == music.part(dict.fromkeys(names, known(samples, 8000, 1, 0)), *columns)


def test_texts_and_pictures_in_a_file_are_not_read(daemon, tmp_path, samples):
    wav = music.tone(str(tmp_path / "tone.wav"), 44117)
    cases = {}
    for name, options in (("names.aiff", ()), ("tag.aiff", ("-write_id3v2", "1"))):
        media.audio(str(tmp_path / name), wav, *options, title="Another", author="Somebody", comment="Something",
                    album="Elsewhere")
        cases[name] = (str(tmp_path / name), 44117, 44100, 2, 16)
    media.ffmpeg("-i", wav, "-i", str(samples / "cover.jpg"), "-map", "0", "-map", "1", "-c:v", "copy", "-write_id3v2", "1",
                 str(tmp_path / "picture.aif"))
    cases["picture.aif"] = (str(tmp_path / "picture.aif"), 44117, 44100, 2, 16)
    media.call("sox", wav, "--comment", "a remark", str(tmp_path / "remark.live.aif"))
    cases["remark.live.aif"] = (str(tmp_path / "remark.live.aif"), 44117, 44100, 2, 16)
    rows = check(daemon, cases)
    assert not any(row["has_cover"] for row in rows.values())
    assert not daemon.exists("/var/lib/velu/covers")


def test_a_minute_and_a_file_that_is_gone(daemon, tmp_path):
    wav = music.tone(str(tmp_path / "tone.wav"), 60 * 44100)
    media.call("sox", wav, str(tmp_path / "minute.aiff"))
    check(daemon, {"minute.aiff": (str(tmp_path / "minute.aiff"), 60 * 44100, 44100, 2, 16)})
    path = f"{music.ALBUM}/minute.aiff"
    daemon.index(f"d:{path}")
    assert daemon.paths("music") == [path]
    daemon.remove(path)
    daemon.index(f"d:{path}")
    assert daemon.paths("music") == []

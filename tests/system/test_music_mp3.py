# SPDX-License-Identifier: GPL-2.0-or-later
"""The stream properties of MP3 files of real encoders, against what the encoder was fed: its samples, rates and channels."""
import os

import pytest

from harness import id3, media, music

MPEG_1_RATES = (32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320)
MPEG_2_RATES = (8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160)
SECONDS = 2

# An encoder's delay (lame: 576 samples, and 529 for the decoder's), the fill of the last frame, and the frame of its own notes
# add to the samples that it was fed: less than four frames of an MPEG-1 stream together.
EXTRA_SAMPLES = 4 * 1152

COLUMNS = ("duration", "audio_bitrate", "sample_rate", "channels")
# Durations are single-precision.
PRECISION = 1e-6


class Tones:
    """The tones that the tests encode, each made once. Odd numbers of samples, so that no encoder's frame is full."""

    def __init__(self, folder):
        self.folder = folder

    def wav(self, rate, channels, seconds=SECONDS):
        path = f"{self.folder}/{rate}-{channels}-{seconds}.wav"
        return path if os.path.exists(path) else music.tone(path, rate * seconds + 17, rate, channels)


@pytest.fixture
def tones(tmp_path):
    return Tones(tmp_path)


def constant(path, kbps):
    """The play time of a stream of one bit rate: its bytes are counted whole."""
    return pytest.approx(os.path.getsize(path) * 8 / (kbps * 1000), rel=PRECISION)


def check_against_input(rows, samples_of):
    """Each duration lies between that of the samples fed in and that with what an encoder adds."""
    wrong = {name: rows[name]["duration"] for name, (samples, rate) in samples_of.items()
             if not samples / rate <= rows[name]["duration"] <= (samples + EXTRA_SAMPLES) / rate}
    assert not wrong


def check_constant(daemon, tones, cases):
    """`cases`: (kbit/s, sample rate, channels fed in, channels expected, options of lame)."""
    files, expected, samples = {}, {}, {}
    for kbps, rate, channels_in, channels, options in cases:
        name = f"{kbps} {rate} {channels_in} {' '.join(options)}.mp3"
        path = music.lame(f"{tones.folder}/{name}", tones.wav(rate, channels_in), "--cbr", "-b", str(kbps),
                          "--resample", str(rate / 1000), *options)
        files[name] = path
        expected[name] = {"duration": constant(path, kbps), "audio_bitrate": kbps * 1000, "sample_rate": rate,
                          "channels": channels}
        samples[name] = (rate * SECONDS + 17, rate)
    rows = music.catalogue(daemon, files)
    assert music.part(rows, *COLUMNS) == expected
    check_against_input(rows, samples)


def test_every_constant_bit_rate_of_mpeg_1(daemon, tones):
    check_constant(daemon, tones, [(kbps, 44100, 2, 2, ()) for kbps in MPEG_1_RATES]
                   + [(kbps, rate, 2, 2, ()) for rate in (32000, 48000) for kbps in (32, 128, 320)])


def test_every_constant_bit_rate_of_mpeg_2(daemon, tones):
    check_constant(daemon, tones, [(kbps, 22050, 1, 1, ()) for kbps in MPEG_2_RATES]
                   + [(kbps, rate, 2, 2, ()) for rate in (16000, 24000) for kbps in (16, 64, 160)])


def test_channels_checksums_and_a_stream_without_the_encoders_notes(daemon, tones):
    check_constant(daemon, tones, [
        (128, 44100, 2, 2, ("-m", "s")), (128, 44100, 2, 2, ("-m", "j")), (128, 44100, 2, 2, ("-m", "f")),
        (128, 44100, 2, 2, ("-m", "d")), (64, 44100, 2, 1, ("-m", "m")), (64, 44100, 1, 1, ()),
        (64, 44100, 2, 1, ("-m", "l")), (128, 44100, 2, 2, ("-p",)), (128, 44100, 2, 2, ("-p", "-t")),
        (128, 44100, 2, 2, ("-t",)), (32, 22050, 1, 1, ("-t",)), (128, 44100, 2, 2, ("-c", "-o")),
        (128, 44100, 2, 2, ("-e", "5"))])


def samples_in_frames(content, fed):
    """How many samples the frames of a file of lame hold: by its own notes (two numbers of twelve bits), it put so many before
    and so many behind what it was fed."""
    head = content.index(b"LAME3.") + 21
    added = int.from_bytes(content[head:head + 3], "big")
    return fed + (added >> 12) + (added & 0xFFF)


VARIABLE = [("-V", "0"), ("-V", "2"), ("-V", "4"), ("-V", "6"), ("-V", "9"), ("-V", "2", "--vbr-old"), ("--abr", "96"),
            ("--abr", "160"), ("-V", "3", "-m", "m"), ("-V", "5", "-b", "64", "-B", "128")]


@pytest.mark.parametrize("rate", [44100, 48000, 32000, 22050, 16000])
def test_variable_bit_rates(daemon, tones, rate):
    files, expected, samples = {}, {}, {}
    fed = rate * SECONDS + 17
    for options in VARIABLE:
        name = f"{' '.join(options)}.mp3"
        files[name] = music.lame(f"{tones.folder}/{name}", tones.wav(rate, 2), "--resample", str(rate / 1000), *options)
        with open(files[name], "rb") as file:
            content = file.read()
        seconds = samples_in_frames(content, fed) / rate
        expected[name] = {"duration": pytest.approx(seconds, rel=PRECISION),
                          "audio_bitrate": int(len(content) / seconds * 8),
                          "sample_rate": rate, "channels": 1 if "-m" in options else 2}
        samples[name] = (fed, rate)
    rows = music.catalogue(daemon, files)
    assert music.part(rows, *COLUMNS) == expected
    check_against_input(rows, samples)


def test_a_variable_bit_rate_without_a_frame_count_is_taken_from_the_first_frame(daemon, tones):
    files, expected = {}, {}
    for quality in ("0", "4", "9"):
        path = music.lame(f"{tones.folder}/{quality}.mp3", tones.wav(44100, 2), "-V", quality, "-t", "--resample", "44.1")
        with open(path, "rb") as file:
            kbps = MPEG_1_RATES[(file.read(3)[2] >> 4) - 1]
        files[f"{quality}.mp3"] = path
        expected[f"{quality}.mp3"] = {"duration": constant(path, kbps), "audio_bitrate": kbps * 1000, "sample_rate": 44100,
                                      "channels": 2}
    assert music.part(music.catalogue(daemon, files), *COLUMNS) == expected


def test_other_encoders_and_layers(daemon, tones):
    wav = tones.wav(44100, 2)
    cases = {"layer 2.mp3": (192, ("-c:a", "mp2", "-b:a", "192k", "-f", "mp2")),
             "layer 2 64.mp3": (64, ("-c:a", "mp2", "-b:a", "64k", "-f", "mp2")),
             "constant.mp3": (160, ("-c:a", "libmp3lame", "-b:a", "160k", "-id3v2_version", "0")),
             "no notes.mp3": (160, ("-c:a", "libmp3lame", "-b:a", "160k", "-id3v2_version", "0", "-write_xing", "0"))}
    files, expected = {}, {}
    for name, (kbps, options) in cases.items():
        files[name] = f"{tones.folder}/{name}"
        media.audio(files[name], wav, *options)
        expected[name] = {"duration": constant(files[name], kbps), "audio_bitrate": kbps * 1000, "sample_rate": 44100,
                          "channels": 2}
    rows = music.catalogue(daemon, files)
    assert music.part(rows, *COLUMNS) == expected
    check_against_input(rows, dict.fromkeys(cases, (44100 * SECONDS + 17, 44100)))


def test_tags_around_the_stream_and_a_cut_beginning(daemon, tones):
    """What stands before the stream counts as played, a tag at its end does not."""
    with open(music.lame(f"{tones.folder}/x.mp3", tones.wav(44100, 2), "-b", "128", "-t"), "rb") as file:
        stream = file.read()
    before = id3.tag(3, id3.text(3, "TIT2", "x"), padding=99_978)
    assert len(before) == 100_000
    cases = {"both.mp3": (before + stream + id3.id3v1(title=b"x"), len(before) + len(stream)),
             "behind.mp3": (stream + id3.id3v1(), len(stream)), "before.mp3": (before + stream, len(before) + len(stream)),
             "cut.mp3": (stream[100:-100], len(stream) - 200), "zeros.mp3": (bytes(5000) + stream, len(stream) + 5000)}
    rows = music.catalogue(daemon, {name: content for name, (content, _) in cases.items()})
    assert music.part(rows, *COLUMNS) == {
        name: {"duration": pytest.approx(count * 8 / 128_000, rel=PRECISION), "audio_bitrate": 128_000, "sample_rate": 44100,
               "channels": 2}
        for name, (_, count) in cases.items()}
    assert {name: row["file_size"] for name, row in rows.items()} == {
        name: len(content) for name, (content, _) in cases.items()}


def test_five_megabytes(daemon, tones):
    seconds = 126
    path = music.lame(f"{tones.folder}/long.mp3", tones.wav(44100, 1, seconds), "--cbr", "-b", "320", "-q", "9")
    assert os.path.getsize(path) > 5_000_000
    rows = music.catalogue(daemon, {"long.mp3": path})
    assert music.part(rows, *COLUMNS) == {
        "long.mp3": {"duration": constant(path, 320), "audio_bitrate": 320_000, "sample_rate": 44100, "channels": 1}}
    check_against_input(rows, {"long.mp3": (44100 * seconds + 17, 44100)})


def test_streams_that_are_not_read_leave_the_record_without_their_tags(daemon, tones):
    cases = {f"{rate}.mp3": (rate, ("-b", "16", "--resample", str(rate / 1000))) for rate in (8000, 11025, 12000)}
    cases["free.mp3"] = (44100, ("--freeformat", "-b", "200"))
    files = {name: music.lame(f"{tones.folder}/{name}", tones.wav(rate, 1), *options, "--add-id3v2", "--tt", "A Title",
                              "--ta", "A Singer")
             for name, (rate, options) in cases.items()}
    rows = music.catalogue(daemon, files)
    assert music.part(rows, *COLUMNS, *music.TAG_COLUMNS) == {
        name: dict.fromkeys(COLUMNS, 0) | music.tags(name) for name in cases}
    assert [daemon.logged("metaid3.c", f"Can't find valid mpeg header: {music.ALBUM}/{name}") for name in cases] == [1] * len(cases)
    assert daemon.logged("music.c", "Failed to parse music metadata.") == len(cases)

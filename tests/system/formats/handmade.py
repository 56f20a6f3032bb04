# SPDX-License-Identifier: GPL-2.0-or-later
"""Formats that no encoder at hand writes, put together byte by byte."""
import struct

from harness import media

# MPEG-1 layer I at 384 kbit/s and 48 kHz, stereo: 12 x 384000 / 48000 slots of 4 bytes, for 384 samples.
LAYER_1_HEADER = b"\xff\xff\xc4\x00"
LAYER_1_FRAME = 12 * 384000 // 48000 * 4
LAYER_1_SAMPLES = 384


def layer_1(path, seconds):
    """MPEG-1 layer I: frames that give no bits to any band are silence."""
    frame = LAYER_1_HEADER.ljust(LAYER_1_FRAME, b"\0")
    with open(path, "wb") as file:
        file.write(frame * round(seconds * 48000 / LAYER_1_SAMPLES))


def monkeys_audio(path, seconds, rate, channels):
    """The head of a Monkey's Audio file, version 3.99, with frames of noughts where the sound would be."""
    frame_samples, frame_size = 73728, 4096
    samples = round(seconds * rate)
    frames = -(-samples // frame_samples)
    seek_table_size = 4 * frames
    descriptor = struct.pack("<4sHHIIIIIII16x", b"MAC ", 3990, 0, 52, 24, seek_table_size, 0, frames * frame_size, 0, 0)
    header = struct.pack("<HHIIIHHI", 2000, 0, frame_samples, samples - (frames - 1) * frame_samples, frames, 16, channels,
                         rate)
    first = len(descriptor) + len(header) + seek_table_size
    seek_table = b"".join(struct.pack("<I", first + index * frame_size) for index in range(frames))
    with open(path, "wb") as file:
        file.write(descriptor + header + seek_table + bytes(frames * frame_size))


SECTOR_DATA, SECTOR_CHECK = 2324, 4
SECTOR_HEAD = b"\0" + b"\xff" * 10 + b"\0" + b"\0\0\0\x02" + b"\0\0\x60\0" * 2


def video_cd_file(path, seconds, **settings):
    """A film as it is read off a Video CD: its packs in raw sectors (mode 2 form 2) in a RIFF of type CDXA."""
    media.clip(path, "-target", "pal-vcd", "-f", "vcd", seconds=seconds, **settings)
    with open(path, "rb") as file:
        packs = file.read()
    sectors = b"".join(SECTOR_HEAD + packs[at:at + SECTOR_DATA].ljust(SECTOR_DATA, b"\0") + bytes(SECTOR_CHECK)
                       for at in range(0, len(packs), SECTOR_DATA))
    head = struct.pack("<4sI4s4sI16x4sI", b"RIFF", len(sectors) + 36, b"CDXA", b"fmt ", 16, b"data", len(sectors))
    with open(path, "wb") as file:
        file.write(head + sectors)


class _Bits:
    def __init__(self):
        self.text = ""

    def put(self, value, width):
        self.text += f"{value:0{width}b}"
        return self

    def bytes(self):
        padded = self.text.ljust(-(-len(self.text) // 8) * 8, "0")
        return int(padded, 2).to_bytes(len(padded) // 8, "big")


def _adts_blocks(stream):
    """The raw data blocks of ADTS frames that have no checksum."""
    at = 0
    while at < len(stream):
        length = (int.from_bytes(stream[at + 3:at + 6], "big") >> 5) & 0x1FFF
        yield stream[at + 7:at + length]
        at += length


def adif(path, bit_rate, **settings):
    """AAC with one header for the whole file: the sound of an ADTS stream, stereo at 44100 Hz, behind a header that
    states a constant bit rate."""
    media.sound(path, "-c:a", "aac", "-f", "adts", rate=44100, channels=2, **settings)
    with open(path, "rb") as file:
        blocks = b"".join(_adts_blocks(file.read()))
    low_complexity, rate_44100 = 1, 4
    bits = _Bits().put(0, 1).put(0, 2).put(0, 1).put(bit_rate, 23).put(0, 4).put(0, 20)
    # One program configuration: a channel pair in front and nothing else.
    bits.put(0, 4).put(low_complexity, 2).put(rate_44100, 4)
    bits.put(1, 4).put(0, 4).put(0, 4).put(0, 2).put(0, 3).put(0, 4).put(0, 3).put(1, 1).put(0, 4)
    head = b"ADIF" + bits.bytes() + b"\0"
    with open(path, "wb") as file:
        file.write(head + blocks)

// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP4 files for tests, put together box by box.
#pragma once

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

// Big-endian numbers.
std::string U8(uint8_t value);
std::string U16(uint16_t value);
std::string U32(uint32_t value);
std::string U64(uint64_t value);
std::string Zeros(size_t count);

std::string BoxBytes(std::string_view type, std::string_view payload);
// The same with a 64-bit size, with a size of 0, and with a size that need not be true.
std::string LargeBox(std::string_view type, std::string_view payload);
std::string OpenBox(std::string_view type, std::string_view payload);
std::string LyingBox(uint32_t size, std::string_view type, std::string_view payload);

std::string FullBox(std::string_view type, std::string_view payload, uint8_t version = 0);

// --- Sample entries -----------------------------------------------------------------------------------------

std::string SoundEntry(std::string_view type, uint16_t channels, std::string_view children = {},
                       uint16_t bits = 16, uint16_t version = 0);
// QuickTime's version 2.
std::string SoundEntry2(std::string_view type, uint32_t channels, std::string_view children = {});
std::string VideoEntry(std::string_view type, uint16_t width, uint16_t height,
                       std::string_view children = {});
std::string Descriptor(uint8_t tag, std::string_view body, int length_bytes = 1);
// An elementary stream descriptor box.
std::string StreamDescriptor(uint32_t average_bit_rate, uint8_t object_type = 0x40, int length_bytes = 1,
                             uint8_t flags = 0, std::string_view stream_fields = {});

// --- Tables -------------------------------------------------------------------------------------------------

std::string SizeTable(const std::vector<uint32_t> &sizes);
std::string ConstantSizeTable(uint32_t size, uint32_t count);
std::string CompactSizeTable(uint8_t bits, uint32_t count, std::string_view entries);

// --- Tracks -------------------------------------------------------------------------------------------------

struct TrackParts {
    uint32_t id = 1;
    std::string handler = "soun";
    uint32_t time_scale = 44100;
    uint64_t duration = 441000;
    uint8_t media_header_version = 0;
    uint8_t track_header_version = 0;
    uint32_t shown_width = 0; // pixels, in the track header
    uint32_t shown_height = 0;
    std::string entries = SoundEntry("mp4a", 2, StreamDescriptor(128000));
    uint8_t description_version = 0;
    std::string sizes = SizeTable({1000, 2000});
    std::string leave_out = {}; // a box type
};

std::string TrackHeader(const TrackParts &parts);
std::string MediaHeader(const TrackParts &parts);
std::string Handler(std::string_view type);
std::string Track(const TrackParts &parts = {});
TrackParts VideoTrack(uint32_t id = 2, uint16_t width = 640, uint16_t height = 360);

// --- Tags ---------------------------------------------------------------------------------------------------

constexpr uint32_t kBytesCode = 0;
constexpr uint32_t kTextCode = 1;

std::string ItemData(std::string_view value, uint32_t type_code = kTextCode);
std::string ItemBox(std::string_view type, std::string_view value, uint32_t type_code = kTextCode);
std::string UserData(std::string_view items);

std::string MovieHeader(uint8_t version = 0);
// A whole file: `ftyp`, then `moov` of its header and what is given.
std::string MovieFile(std::string_view tracks, std::string_view items = {});

std::string JpegBytes(size_t size);
std::string PngBytes(size_t size);

// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/mp4_boxes.h"

namespace {

std::string Number(uint64_t value, int bytes) {
    std::string out;
    for (int i = bytes - 1; i >= 0; --i)
        out += static_cast<char>(value >> (8 * i));
    return out;
}

std::string Unless(const TrackParts &parts, std::string_view type, std::string box) {
    return parts.leave_out == type ? std::string() : box;
}

} // namespace

std::string U8(uint8_t value) {
    return Number(value, 1);
}

std::string U16(uint16_t value) {
    return Number(value, 2);
}

std::string U32(uint32_t value) {
    return Number(value, 4);
}

std::string U64(uint64_t value) {
    return Number(value, 8);
}

std::string Zeros(size_t count) {
    return std::string(count, '\0');
}

std::string LyingBox(uint32_t size, std::string_view type, std::string_view payload) {
    return U32(size) + std::string(type) + std::string(payload);
}

std::string BoxBytes(std::string_view type, std::string_view payload) {
    return LyingBox(static_cast<uint32_t>(payload.size() + 8), type, payload);
}

std::string LargeBox(std::string_view type, std::string_view payload) {
    return LyingBox(1, type, U64(payload.size() + 16) + std::string(payload));
}

std::string OpenBox(std::string_view type, std::string_view payload) {
    return LyingBox(0, type, payload);
}

std::string FullBox(std::string_view type, std::string_view payload, uint8_t version) {
    return BoxBytes(type, U8(version) + Zeros(3) + std::string(payload));
}

std::string SoundEntry(std::string_view type, uint16_t channels, std::string_view children, uint16_t bits,
                       uint16_t version) {
    const std::string appended = version == 1 ? Zeros(16) : std::string();
    return BoxBytes(type, Zeros(6) + U16(1) + U16(version) + Zeros(6) + U16(channels) + U16(bits) + Zeros(4) +
                              U32(44100U << 16) + appended + std::string(children));
}

std::string SoundEntry2(std::string_view type, uint32_t channels, std::string_view children) {
    return BoxBytes(type, Zeros(6) + U16(1) + U16(2) + Zeros(6) + U16(3) + U16(16) + U16(0xFFFE) + U16(0) +
                              U32(0x10000) + U32(72) + U64(0x40E5888000000000) + U32(channels) +
                              U32(0x7F000000) + U32(16) + U32(0) + U32(4) + U32(1) + std::string(children));
}

std::string VideoEntry(std::string_view type, uint16_t width, uint16_t height, std::string_view children) {
    return BoxBytes(type, Zeros(6) + U16(1) + Zeros(16) + U16(width) + U16(height) + Zeros(50) +
                              std::string(children));
}

std::string Descriptor(uint8_t tag, std::string_view body, int length_bytes) {
    std::string head = U8(tag);
    for (int i = length_bytes - 1; i >= 0; --i)
        head += static_cast<char>(((body.size() >> (7 * i)) & 0x7F) | (i > 0 ? 0x80 : 0));
    return head + std::string(body);
}

std::string StreamDescriptor(uint32_t average_bit_rate, uint8_t object_type, int length_bytes, uint8_t flags,
                             std::string_view stream_fields) {
    const std::string config = Descriptor(4,
                                          U8(object_type) + U8(0x15) + Zeros(3) + U32(320000) +
                                              U32(average_bit_rate) + Descriptor(5, "\x12\x10", length_bytes),
                                          length_bytes);
    return FullBox("esds",
                   Descriptor(3, U16(1) + U8(flags) + std::string(stream_fields) + config, length_bytes));
}

std::string SizeTable(const std::vector<uint32_t> &sizes) {
    std::string entries;
    for (const uint32_t size : sizes)
        entries += U32(size);
    return FullBox("stsz", U32(0) + U32(static_cast<uint32_t>(sizes.size())) + entries);
}

std::string ConstantSizeTable(uint32_t size, uint32_t count) {
    return FullBox("stsz", U32(size) + U32(count));
}

std::string CompactSizeTable(uint8_t bits, uint32_t count, std::string_view entries) {
    return FullBox("stz2", U32(bits) + U32(count) + std::string(entries));
}

std::string TrackHeader(const TrackParts &parts) {
    const bool is_long = parts.track_header_version == 1;
    return FullBox("tkhd",
                   Zeros(is_long ? 16 : 8) + U32(parts.id) + Zeros(4) + Zeros(is_long ? 8 : 4) + Zeros(52) +
                       U32(parts.shown_width << 16) + U32(parts.shown_height << 16),
                   parts.track_header_version);
}

std::string MediaHeader(const TrackParts &parts) {
    const bool is_long = parts.media_header_version == 1;
    return FullBox("mdhd",
                   Zeros(is_long ? 16 : 8) + U32(parts.time_scale) +
                       (is_long ? U64(parts.duration) : U32(static_cast<uint32_t>(parts.duration))) +
                       U16(0x55C4) + U16(0),
                   parts.media_header_version);
}

std::string Handler(std::string_view type) {
    return FullBox("hdlr", Zeros(4) + std::string(type) + Zeros(12) + "name" + U8(0));
}

std::string Track(const TrackParts &parts) {
    const std::string description = FullBox("stsd", U32(1) + parts.entries, parts.description_version);
    const std::string tables =
        Unless(parts, "stsd", description) + Unless(parts, "stts", FullBox("stts", U32(0))) +
        Unless(parts, "stsc", FullBox("stsc", U32(0))) + Unless(parts, "stsz", parts.sizes) +
        Unless(parts, "stco", FullBox("stco", U32(0)));
    const std::string media = Unless(parts, "mdhd", MediaHeader(parts)) +
                              Unless(parts, "hdlr", Handler(parts.handler)) +
                              Unless(parts, "minf", BoxBytes("minf", BoxBytes("stbl", tables)));
    return BoxBytes("trak", Unless(parts, "tkhd", TrackHeader(parts)) +
                                Unless(parts, "mdia", BoxBytes("mdia", media)));
}

TrackParts VideoTrack(uint32_t id, uint16_t width, uint16_t height) {
    TrackParts parts;
    parts.id = id;
    parts.handler = "vide";
    parts.time_scale = 90000;
    parts.duration = 900000;
    parts.entries = VideoEntry("avc1", width, height);
    parts.sizes = ConstantSizeTable(5000, 250);
    return parts;
}

std::string ItemData(std::string_view value, uint32_t type_code) {
    return BoxBytes("data", U32(type_code) + U32(0) + std::string(value));
}

std::string ItemBox(std::string_view type, std::string_view value, uint32_t type_code) {
    return BoxBytes(type, ItemData(value, type_code));
}

std::string UserData(std::string_view items) {
    return BoxBytes("udta", FullBox("meta", Handler("mdir") + BoxBytes("ilst", items)));
}

std::string MovieHeader(uint8_t version) {
    return FullBox("mvhd", Zeros(version == 1 ? 108 : 96), version);
}

std::string MovieFile(std::string_view tracks, std::string_view items) {
    return BoxBytes("ftyp", "M4A \0\0\0\0") +
           BoxBytes("moov",
                    MovieHeader() + std::string(tracks) + (items.empty() ? std::string() : UserData(items)));
}

std::string JpegBytes(size_t size) {
    std::string picture = "\xFF\xD8\xFF\xE0";
    picture.resize(size, 'j');
    return picture;
}

std::string PngBytes(size_t size) {
    std::string picture = "\x89PNG\r\n\x1A\n";
    picture.resize(size, 'p');
    return picture;
}

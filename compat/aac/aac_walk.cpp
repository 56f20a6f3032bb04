// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/aac/aac_walk.h"

#include "compat/aac/aac_bits.h"
#include "platform/bytes.h"
#include "platform/file.h"

#include <math.h>
#include <string.h>

#include <algorithm>
#include <memory>
#include <new>

namespace {

constexpr size_t kWindowSize = 65536;
constexpr size_t kAdtsHeaderSize = 7;
constexpr size_t kId3HeaderSize = 10; // id3.org 2.4.0 section 3.1
constexpr uint8_t kId3Footer = 0x10;
constexpr uint32_t kFrameSamples = 1024; // of one raw data block
constexpr size_t kProgramSizeMax = 128;  // more than the largest program_config_element before its comment
constexpr double kSamplesMax = 0x1p63;   // no time is that long: the bit rate is wrong
constexpr uint32_t kProgramElement = 5;  // ID_PCE
constexpr uint32_t kChannelsOfConfiguration[] = {0, 1, 2, 3, 4, 5, 6, 8};

// A file with the part of it that was read last.
struct Window {
    FdHandle file;
    uint64_t file_size = 0;
    uint64_t start = 0;
    size_t length = 0;
    uint8_t bytes[kWindowSize];
};

// The bytes at a place, up to `size` of them, fewer at the end of the file.
std::span<const uint8_t> BytesAt(Window *window, uint64_t offset, size_t size) {
    if (offset >= window->file_size)
        return {};
    size = static_cast<size_t>(std::min<uint64_t>(size, window->file_size - offset));
    if (offset < window->start || offset - window->start > window->length ||
        size > window->length - static_cast<size_t>(offset - window->start)) {
        window->start = offset;
        window->length = static_cast<size_t>(std::min<uint64_t>(kWindowSize, window->file_size - offset));
        if (!FileReadAt(window->file, offset, window->bytes, window->length)) {
            window->length = 0;
            return {};
        }
    }
    return {window->bytes + static_cast<size_t>(offset - window->start), size};
}

uint64_t Id3TagPass(Window *window) {
    const auto header = BytesAt(window, 0, kId3HeaderSize);
    if (header.size() < kId3HeaderSize || memcmp(header.data(), "ID3", 3) != 0)
        return 0;
    const uint64_t size = Syncsafe32(header.last<4>().data());
    return kId3HeaderSize + size + ((header[5] & kId3Footer) != 0 ? kId3HeaderSize : 0);
}

struct AdtsHeader {
    bool has_checksum;
    uint32_t sample_rate;
    uint32_t configuration;
    uint32_t length;
    uint32_t blocks;
};

// Reads the fixed and the variable header (6.2). False when there is none or the frame is cut.
bool AdtsHeaderRead(Window *window, uint64_t offset, AdtsHeader *header) {
    if (offset >= window->file_size)
        return false;
    AacBits bits = {.bytes = BytesAt(window, offset, kAdtsHeaderSize)};
    const uint32_t sync = AacBitsTake(&bits, 12);
    AacBitsTake(&bits, 1); // MPEG-2 or MPEG-4
    const uint32_t layer = AacBitsTake(&bits, 2);
    header->has_checksum = AacBitsTake(&bits, 1) == 0;
    AacBitsTake(&bits, 2); // profile
    header->sample_rate = AacSampleRate(AacBitsTake(&bits, 4));
    AacBitsTake(&bits, 1); // private
    header->configuration = AacBitsTake(&bits, 3);
    AacBitsTake(&bits, 4); // original, home, copyright bit and its start
    header->length = AacBitsTake(&bits, 13);
    AacBitsTake(&bits, 11); // buffer fullness
    header->blocks = AacBitsTake(&bits, 2) + 1;
    return !bits.overrun && sync == 0xFFF && layer == 0 && header->length >= kAdtsHeaderSize &&
           header->length <= window->file_size - offset;
}

// The channels of a frame whose header leaves them to the program configuration at the frame's begin.
uint32_t ProgramChannels(Window *window, uint64_t offset, const AdtsHeader &header) {
    // The checksum has two bytes, and so has the place of each block but the first.
    const size_t head = kAdtsHeaderSize + (header.has_checksum ? 2 * header.blocks : 0);
    if (head > header.length)
        return 0;
    AacBits bits = {
        .bytes = BytesAt(window, offset + head, std::min<size_t>(header.length - head, kProgramSizeMax))};
    AacProgram program = {};
    if (AacBitsTake(&bits, 3) != kProgramElement || !AacProgramTake(&bits, &program))
        return 0;
    return program.channels;
}

bool AdtsWalk(Window *window, uint64_t offset, AacInfo *info) {
    AdtsHeader header = {};
    if (!AdtsHeaderRead(window, offset, &header) || header.sample_rate == 0)
        return false;
    info->sample_rate = header.sample_rate;
    info->channels = header.configuration == 0 ? ProgramChannels(window, offset, header)
                                               : kChannelsOfConfiguration[header.configuration];
    uint64_t bytes = 0;
    uint64_t frames = 0;
    do {
        frames++;
        bytes += header.length;
        info->samples += uint64_t{kFrameSamples} * header.blocks;
        offset += header.length;
    } while (AdtsHeaderRead(window, offset, &header));
    // Other data may begin like one header, but not like two in their places.
    if (frames == 1 && offset < window->file_size)
        return false;
    info->bitrate = static_cast<uint32_t>(
        llround(static_cast<double>(bytes) * 8 * info->sample_rate / static_cast<double>(info->samples)));
    return true;
}

// Reads the ADIF header (6.1). The play time is that of the whole file at the header's bit rate.
bool AdifRead(Window *window, uint64_t offset, AacInfo *info) {
    constexpr size_t kAdifSizeMax = 32;
    const auto bytes = BytesAt(window, offset, kAdifSizeMax + kProgramSizeMax);
    if (bytes.size() < 4 || memcmp(bytes.data(), "ADIF", 4) != 0)
        return false;
    AacBits bits = {.bytes = bytes.subspan(4)};
    if (AacBitsTake(&bits, 1) == 1) {
        for (int i = 0; i < 9; i++) // copyright id
            AacBitsTake(&bits, 8);
    }
    AacBitsTake(&bits, 2); // original, home
    const bool variable_rate = AacBitsTake(&bits, 1) == 1;
    info->bitrate = AacBitsTake(&bits, 23);
    AacBitsTake(&bits, 4); // number of program configurations, less one
    if (!variable_rate)
        AacBitsTake(&bits, 20); // buffer fullness
    AacProgram program = {};
    if (!AacProgramTake(&bits, &program) || program.sample_rate == 0)
        return false;
    info->sample_rate = program.sample_rate;
    info->channels = program.channels;
    if (info->bitrate != 0) {
        const double samples =
            static_cast<double>(window->file_size - offset) * 8 * info->sample_rate / info->bitrate;
        info->samples = samples < kSamplesMax ? static_cast<uint64_t>(samples) : 0;
    }
    return true;
}

} // namespace

bool AacWalk(const char *path, AacInfo *info) {
    *info = {};
    const std::unique_ptr<Window> window(new (std::nothrow) Window);
    if (window == nullptr)
        return false;
    window->file = RegularFileOpen(path, &window->file_size);
    if (!window->file)
        return false;
    const uint64_t offset = Id3TagPass(window.get());
    return AdifRead(window.get(), offset, info) || AdtsWalk(window.get(), offset, info);
}

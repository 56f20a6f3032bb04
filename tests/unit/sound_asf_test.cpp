// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bit rate of sound in ASF whose header leaves it open.
#include <gtest/gtest.h>

#include <cmath>

#include "tests/unit/exif_bytes.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/sound_bytes.h"

namespace {

using namespace std::string_literals;

constexpr uint64_t kLayer3 = 0x55;

std::string Number(uint64_t number, size_t size) {
    return exif_bytes::Little(number, size);
}

std::string Object(const std::string &identifier, const std::string &content) {
    return identifier + Number(24 + content.size(), 8) + content;
}

// A frame of layer III at 44.1 kHz in stereo.
std::string Frame(uint8_t bitrate_index) {
    constexpr size_t kBytes[] = {0, 104, 130, 156, 182, 208, 261, 313, 365, 417};
    return "\xFF\xFB"s + static_cast<char>(bitrate_index << 4) + std::string(kBytes[bitrate_index] - 3, '\0');
}

constexpr uint8_t k128 = 9;
constexpr uint8_t k64 = 5;

// One packet of several payloads, each an object of stream 3, padded to `size`.
std::string Packet(const std::vector<std::string> &payloads, size_t size) {
    std::string body;
    for (const std::string &payload : payloads)
        body += "\x83\0"s + Number(0, 4) + Number(8, 1) + Number(0, 8) + Number(payload.size(), 2) + payload;
    // With error correction; numbers of two bytes for padding and payloads, of four for places, of one for the rest.
    const std::string head = "\x82\0\0"s + "\x11\x5D"s;
    const size_t used = head.size() + 2 + 6 + 1 + body.size();
    EXPECT_LE(used, size);
    return head + Number(size - used, 2) + Number(0, 6) + Number(0x80 | payloads.size(), 1) + body +
           std::string(size - used, '\xFF');
}

std::string Asf(uint64_t codec, const std::vector<std::string> &packets, size_t packet_size) {
    const std::string format =
        Number(codec, 2) + Number(2, 2) + Number(44100, 4) + Number(0, 4) + Number(1, 2) + Number(0, 2);
    const std::string stream = Object("\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"s,
                                      "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"s +
                                          std::string(32, '\0') + Number(3, 2) + Number(0, 4) + format);
    constexpr uint64_t kTenSeconds = 100'000'000;
    const std::string properties = Object("\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"s,
                                          std::string(40, '\0') + Number(kTenSeconds, 8) + Zeros(20) +
                                              Number(packet_size, 4) + Number(packet_size, 4) + Number(0, 4));
    const std::string header = "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s +
                               Number(30 + properties.size() + stream.size(), 8) + Number(2, 4) + "\x01\x02" +
                               properties + stream;
    std::string data;
    for (const std::string &packet : packets)
        data += packet;
    return header + Object("\x36\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s,
                           std::string(26, '\0') + data);
}

double RateOf(const std::string &file) {
    return SoundFind(file, ContentFormat::asf_sound).Number(FactName::audio_bitrate);
}

double MeanOf(const std::string &file) {
    return std::round(static_cast<double>(file.size()) * 8 / 10);
}

TEST(SoundAsf, TheBitRateThatFramesHaveInCommon) {
    const std::vector<std::string> frames(4, Frame(k128));
    EXPECT_EQ(RateOf(Asf(kLayer3, std::vector(8, Packet(frames, 2000)), 2000)), 128'000);
    // Several frames in one object.
    const std::vector<std::string> long_frames(2, Frame(k128) + Frame(k128));
    EXPECT_EQ(RateOf(Asf(kLayer3, std::vector(8, Packet(long_frames, 2000)), 2000)), 128'000);
}

TEST(SoundAsf, ElseTheMeanOfTheFile) {
    std::vector<std::string> packets(3, Packet(std::vector(4, Frame(k128)), 2000));
    packets.push_back(Packet({Frame(k64)}, 2000));
    const std::string varies = Asf(kLayer3, packets, 2000);
    EXPECT_EQ(RateOf(varies), MeanOf(varies));
    const std::string other = Asf(0x161, packets, 2000);
    EXPECT_EQ(RateOf(other), MeanOf(other));
    const std::string empty = Asf(kLayer3, {}, 2000);
    EXPECT_EQ(RateOf(empty), MeanOf(empty));
}

TEST(SoundAsf, PacketsAreBounded) {
    const auto with_packets_of = [](size_t size) {
        return Asf(kLayer3, {Packet(std::vector(30, Frame(k128)), size)}, size);
    };
    EXPECT_EQ(RateOf(with_packets_of(kSoundAsfPacketMax)), 128'000);
    const std::string beyond = with_packets_of(kSoundAsfPacketMax + 1);
    EXPECT_EQ(RateOf(beyond), MeanOf(beyond));
}

} // namespace

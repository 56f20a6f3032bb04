// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of MPEG video beside one that does the same a byte at a time, on hostile bytes.
#include <gtest/gtest.h>

#include <tuple>

#include "container/metavideo.h"
#include "platform/media_record.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/mpeg_header_reference.h"
#include "tests/unit/mpeg_video_bytes.h"

using namespace mpeg_header_reference;
using namespace mpeg_video_bytes;

namespace {

struct VideoReference {
    explicit VideoReference(const std::string &file)
        : audio_reference{file, static_cast<int64_t>(file.size())}, size(static_cast<int64_t>(file.size())) {}

    HeaderReference audio_reference;
    int64_t size;
    int version = 1;
    MpegSequenceInfo video = {};
    MpegHeaderInfo audio = {};
    std::vector<std::string> log = {};

    [[nodiscard]] int At(int64_t offset) const { return audio_reference.At(offset); }

    [[nodiscard]] int64_t Prefix(int64_t offset) const {
        for (; offset < size - 4 && offset <= 99999; ++offset) {
            if (At(offset) == 0 && At(offset + 1) == 0 && At(offset + 2) == 1)
                return offset;
        }
        return -1;
    }

    [[nodiscard]] int64_t Code(int64_t offset, int code) const {
        if (offset < 0)
            return -1;
        for (;;) {
            const int64_t prefix = Prefix(offset);
            if (prefix < 0 || At(prefix + 3) == code)
                return prefix;
            offset = prefix + 1;
        }
    }

    int Sequence(int64_t p) {
        if (At(p) != 0 || At(p + 1) != 0 || At(p + 2) != 1 || At(p + 3) != 0xB3)
            return -1;
        p += 4;
        video.width = (At(p) * 256 + At(p + 1)) / 16;
        video.height = (At(p + 1) * 256 + At(p + 2)) % 4096;
        static const double rates[16] = {0, 24000. / 1001, 24, 25, 30000. / 1001, 30, 50, 60000. / 1001, 60};
        video.frame_rate = rates[At(p + 3) % 16];
        video.aspect_ratio = static_cast<uint8_t>(At(p + 3) / 16);
        if (video.aspect_ratio == 0)
            log.emplace_back("invalid aspect_ratio.");
        video.bit_rate = (At(p + 4) * 256 + At(p + 5)) * 4 + At(p + 6) / 64;
        const volatile double per_second = video.bit_rate * 400.0;
        video.duration = static_cast<double>(size) * 8.0 / per_second;
        for (int64_t q = Prefix(p + 4); q >= 0; q = Prefix(q + 1)) {
            const int code = At(q + 3);
            if (code == 0xB8)
                break;
            if (code != 0xB5 || At(q + 4) / 16 != 1)
                continue;
            version = 2;
            video.width |= (At(q + 5) % 2) * 8192;
            video.height |= (At(q + 6) / 32 % 4) * 4096;
            video.bit_rate |= ((At(q + 6) % 32) * 128 + At(q + 7) / 2) * 262144;
            video.frame_rate *= (At(q + 9) / 32 % 4 + 1.0) / (At(q + 9) % 32 + 1.0);
        }
        return 0;
    }

    int Stream() {
        const int64_t header = Code(0, 0xB3);
        if (header < 0) {
            log.emplace_back("couldn't find any valid video.");
            return -1;
        }
        Sequence(header);
        const int64_t packet = Code(0, 0xC0);
        if (packet < 0 || packet > size - 15)
            return 0;
        int64_t pos = packet + 6;
        if (version == 1) {
            while (At(pos) >= 128)
                ++pos;
            if (At(pos) / 64 == 1)
                pos += 2;
            if (At(pos) / 16 == 2)
                pos += 5;
            else if (At(pos) / 16 == 3)
                pos += 10;
            else
                pos += 1;
        } else {
            pos = packet + 9 + At(packet + 8);
        }
        if (audio_reference.Find(&pos, &audio) == 1)
            return 0;
        while (pos < size - 10) {
            const int64_t old = pos;
            if (audio_reference.Find(&pos, &audio) == 0) {
                ++pos;
                continue;
            }
            int64_t next = audio.header_pos + audio.frame_size;
            while (next < size && At(next) == 0)
                ++next;
            if (audio_reference.Check(next) == 0)
                return 0;
            pos = old + 1;
        }
        return 0;
    }
};

// What the module has logged, other than bytes that could not be read, which the reader that works on pieces of
// the file has fewer of.
std::vector<std::string> LogOfParser() {
    std::vector<std::string> texts;
    for (const LogLine &line : LogTake()) {
        if (line.text.starts_with("metavideo.c (") && line.text.find("Invalid offset") == std::string::npos)
            texts.push_back(line.text.substr(line.text.find(") ") + 2));
    }
    return texts;
}

auto FieldsOf(const MpegSequenceInfo &video, const MpegHeaderInfo &audio) {
    return std::tuple(video.width, video.height, video.frame_rate, video.bit_rate, video.duration,
                      video.aspect_ratio, audio.bit_rate, audio.byte_rate, audio.sample_rate,
                      audio.channel_mode, audio.frame_size);
}

struct Tally {
    int videos = 0;
    int mpeg2 = 0;
    int confirmed = 0;
    int left_over = 0;
};

void ExpectLikeReference(const std::string &bytes, Random *random, Tally *tally) {
    LogTake();
    VideoReference reference(bytes);
    const int expected = reference.Stream();
    Parsed parsed(bytes);
    ASSERT_EQ(parsed.result, expected);
    ASSERT_EQ(LogOfParser(), reference.log);
    ASSERT_EQ(parsed.file.reader.version, reference.version);
    ASSERT_EQ(FieldsOf(parsed.video, parsed.audio), FieldsOf(reference.video, reference.audio));

    for (int i = 0; i < 5; ++i) {
        const int64_t from = random->Below(static_cast<int>(bytes.size()) + 10);
        const int code = i == 0 ? 0xC0 : random->Below(256);
        ASSERT_EQ(MpegFindPrefix(&parsed.file.reader, from), reference.Prefix(from));
        ASSERT_EQ(MpegFindStartCode(&parsed.file.reader, from, code), reference.Code(from, code));
    }

    LogTake();
    VideoReference whole(bytes);
    int result = whole.Sequence(0);
    if (result != 0)
        result = whole.Stream();
    MediaInfo record = {};
    ASSERT_EQ(MpegVideoInfoGet(parsed.file.path.c_str(), &record), result);
    ASSERT_EQ(record.width, static_cast<uint32_t>(whole.video.width));
    ASSERT_EQ(record.height, static_cast<uint32_t>(whole.video.height));
    ASSERT_EQ(record.video_bitrate, static_cast<uint32_t>(uint64_t{1000} * whole.video.bit_rate));
    ASSERT_EQ(record.duration, static_cast<float>(whole.video.duration));
    ASSERT_EQ(record.audio_bitrate, static_cast<uint32_t>(uint64_t{1000} * whole.audio.bit_rate));
    ASSERT_EQ(record.sample_rate, static_cast<uint32_t>(whole.audio.sample_rate));
    ASSERT_EQ(record.channels, static_cast<uint32_t>(whole.audio.channel_mode));

    tally->videos += expected == 0;
    tally->mpeg2 += reference.version == 2;
    const bool is_whole = reference.audio.bit_rate >= 8000;
    tally->confirmed += is_whole;
    tally->left_over += !is_whole && reference.audio.sample_rate != 0;
}

std::string PieceOf(Random *random) {
    static const int codes[] = {0xB3, 0xB5, 0xB8, 0xC0, 0xC0, 0xBA, 0x00, 0xE0};
    std::string piece;
    switch (random->Below(9)) {
    case 0:
        return std::string(static_cast<size_t>(random->Below(50)), '\0');
    case 1:
        return std::string(static_cast<size_t>(random->Below(30)), '\xFF');
    case 2:
        return SequenceHeader(random->Below(4096), random->Below(4096),
                              random->Below(3) == 0 ? 0 : random->Below(1 << 18), random->Below(256));
    case 3:
        return Extension(random->Below(3) == 0 ? random->Below(256) : 0x14, random->Below(256),
                         random->Below(256), random->Below(256), random->Below(256));
    case 4: {
        static const std::string times[] = {
            "\x0F"s,         "\x21tttt"s,          "\x31tttt\x11tttt"s, "\x60\x20\x21tttt"s,
            "\xFF\xFF\x0F"s, "\x80\x80\x05times"s, "\x80\x80\0"s,       ""s};
        return AudioPacket(times[random->Below(8)], Hostile(random, static_cast<size_t>(random->Below(300))));
    }
    case 5:
        return "\xFF\xF3\x10\xC0"s + std::string(22, 'a') + // 26 bytes a frame
               std::string(static_cast<size_t>(random->Below(3) * random->Below(20)), '\0') +
               "\xFF\xF3\x10\x40"s;
    case 6:
        return StartCode(codes[random->Below(static_cast<int>(std::size(codes)))]);
    case 7:
        return GroupOfPictures();
    default:
        return Hostile(random, static_cast<size_t>(random->Below(60)));
    }
}

std::string HostileVideo(Random *random, size_t size) {
    std::string bytes;
    while (bytes.size() < size)
        bytes += PieceOf(random);
    bytes.resize(size);
    return bytes;
}

TEST(MetavideoReference, HostileFiles) {
    Random random(11);
    Tally tally;
    for (int i = 0; i < 8000; ++i) {
        ExpectLikeReference(HostileVideo(&random, static_cast<size_t>(random.Below(700))), &random, &tally);
        ASSERT_FALSE(HasFatalFailure()) << "round " << i;
    }
    // The comparison met what it is for.
    EXPECT_GT(tally.videos, 800);
    EXPECT_GT(tally.mpeg2, 400);
    EXPECT_GT(tally.confirmed, 400);
    EXPECT_GT(tally.left_over, 8);
}

// What matters lies on both sides of an edge of the window, or of the last offset looked at.
TEST(MetavideoReference, HostileFilesAroundTheEdges) {
    Random random(12);
    Tally tally;
    for (int i = 0; i < 40; ++i) {
        const size_t edge = i % 8 == 0 ? 100'000 : kReaderWindow * static_cast<size_t>(1 + random.Below(2));
        std::string bytes = i % 2 == 0 ? HostileVideo(&random, static_cast<size_t>(random.Below(100))) : ""s;
        bytes.resize(edge - static_cast<size_t>(random.Below(300)), random.Below(2) == 0 ? '\0' : 'x');
        bytes += HostileVideo(&random, static_cast<size_t>(300 + random.Below(500)));
        ExpectLikeReference(bytes, &random, &tally);
        ASSERT_FALSE(HasFatalFailure()) << "round " << i;
    }
    EXPECT_GT(tally.videos, 8);
}

} // namespace

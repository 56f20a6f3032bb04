// SPDX-License-Identifier: GPL-2.0-or-later
//
// The header search as the rules of the format give it, a byte at a time: what the fast one is compared with,
// and bytes to do it on.
#pragma once

#include "audio/mpeg_header.h"

#include <gtest/gtest.h>

#include <stdint.h>

#include <iterator>
#include <random>
#include <string>
#include <tuple>

namespace mpeg_header_reference {

struct HeaderReference {
    const std::string &bytes;
    int64_t size;         // as in ByteSource
    size_t not_found = 0; // searches that came to the end

    [[nodiscard]] int At(int64_t pos) const {
        if (pos < 0 || pos >= static_cast<int64_t>(bytes.size()))
            return 17;
        return static_cast<uint8_t>(bytes[static_cast<size_t>(pos)]);
    }

    // 0 no sync, 1 sync, 2 sync of MPEG-2.5
    [[nodiscard]] int Sync(int64_t pos) const {
        if (At(pos) != 0xFF)
            return 0;
        if ((At(pos + 1) & 0xF0) == 0xF0)
            return 1;
        return (At(pos + 1) & 0xE0) == 0xE0 ? 2 : 0;
    }

    bool Decode(int64_t pos, int sync, MpegHeaderInfo *info) const {
        static const int rates_1_1[] = {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448};
        static const int rates_1_2[] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384};
        static const int rates_1_3[] = {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320};
        static const int rates_2_1[] = {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256};
        static const int rates_2_x[] = {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160};
        info->header_pos = pos;
        const int b1 = At(pos + 1);
        const int b2 = At(pos + 2);
        const int b3 = At(pos + 3);
        if (b1 & 0x08) {
            if (sync == 2)
                return false;
            info->version = 1;
        } else if (sync == 2) {
            info->version = 3;
        } else {
            info->version = 2;
        }
        switch ((b1 & 0x06) >> 1) {
        case 0:
            info->layer = -1;
            return false;
        case 1:
            info->layer = 3;
            break;
        case 2:
            info->layer = 2;
            break;
        case 3:
            info->layer = 1;
            break;
        }
        info->is_protected = (b1 & 1) ? 0 : 1;
        const int rate_index = b2 >> 4;
        const int sample_index = (b2 & 0x0F) >> 2;
        if (sample_index == 3 || rate_index == 15)
            return false;
        const int *rates = rates_2_x;
        if (info->version == 1)
            rates = info->layer == 1 ? rates_1_1 : info->layer == 2 ? rates_1_2 : rates_1_3;
        else if (info->layer == 1)
            rates = rates_2_1;
        const int kbps = rates[rate_index];
        static const int samples[] = {44100, 48000, 32000, 22050, 24000, 16000, 11025, 12000, 8000};
        info->bit_rate = kbps;
        info->sample_rate = samples[(info->version - 1) * 3 + sample_index];
        info->byte_rate = static_cast<float>(kbps * 1000 / 8.0);
        info->padding = (b2 & 2) ? 1 : 0;
        info->channel_mode = b3 >> 6;
        info->mode_extension = info->channel_mode == 1 ? (b3 >> 4) & 3 : -1;
        info->copyright = (b3 & 8) ? 1 : 0;
        info->original = (b3 & 4) ? 1 : 0;
        info->emphasis = b3 & 3;
        if (info->version == 1 && info->layer == 1)
            info->frame_size = static_cast<int>(kbps * 48000.0) / info->sample_rate + 4 * info->padding;
        else if (info->version == 1)
            info->frame_size = static_cast<int>(kbps * 144000.0) / info->sample_rate + info->padding;
        else if (info->version == 2 && info->layer == 1)
            info->frame_size = static_cast<int>(kbps * 24000.0) / info->sample_rate + 4 * info->padding;
        else if (info->version == 2)
            info->frame_size = static_cast<int>(kbps * 72000.0) / info->sample_rate + info->padding;
        else
            return false;
        return true;
    }

    int Find(int64_t *pos, MpegHeaderInfo *info) {
        int sync = 0;
        while (*pos < size - 10) {
            sync = Sync(*pos);
            if (sync != 0)
                break;
            *pos += 1;
        }
        if (sync == 0) {
            ++not_found;
            return 0;
        }
        if (!Decode(*pos, sync, info))
            return 0;
        if (info->frame_size == 0)
            return 0;
        const volatile double kbps = info->bit_rate;
        info->duration = static_cast<double>(size) / kbps * 0.008;
        info->bit_rate *= 1000;
        return 1;
    }

    [[nodiscard]] int Check(int64_t pos) const {
        MpegHeaderInfo local;
        const int sync = Sync(pos);
        return sync != 0 && Decode(pos, sync, &local) ? 0 : -1;
    }

    int Search(int64_t *pos, MpegHeaderInfo *info, FrameGap gap) {
        while (*pos < size - 10) {
            if (!Find(pos, info)) {
                *pos += 1;
                continue;
            }
            const int64_t next = *pos + info->frame_size;
            int64_t i = 0;
            if (gap == FrameGap::none) {
                while (next + i < size && At(next + i + 1) == 0)
                    ++i;
            } else {
                while (next + i < size && At(next + i) == 0)
                    ++i;
            }
            if (Check(next + i) == 0)
                return 1;
            *pos += 1;
        }
        return 0;
    }
};

inline testing::AssertionResult SameInfo(const MpegHeaderInfo &a, const MpegHeaderInfo &b) {
    const auto fields = [](const MpegHeaderInfo &i) {
        return std::tuple(i.version, i.layer, i.is_protected, i.bit_rate, i.byte_rate, i.sample_rate,
                          i.channel_mode, i.padding, i.mode_extension, i.emphasis, i.copyright, i.original,
                          i.duration, i.frame_size, i.header_pos);
    };
    return fields(a) == fields(b) ? testing::AssertionSuccess()
                                  : testing::AssertionFailure() << "infos differ";
}

// What a search that found nothing leaves behind.
inline testing::AssertionResult SameRates(const MpegHeaderInfo &a, const MpegHeaderInfo &b) {
    const auto fields = [](const MpegHeaderInfo &i) {
        return std::tuple(i.bit_rate, i.byte_rate, i.sample_rate, i.channel_mode, i.frame_size);
    };
    return fields(a) == fields(b) ? testing::AssertionSuccess()
                                  : testing::AssertionFailure() << "rates differ";
}

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    int Below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(engine_); }

private:
    std::mt19937 engine_;
};

// Bytes of which most are those that headers and padding are made of.
inline std::string Hostile(Random *random, size_t size) {
    static const int likely[] = {0xFF, 0xFF, 0xFF, 0xFB, 0xFA, 0xF3, 0xFD, 0xFE, 0xE3, 0xEB, 0xF9,
                                 0x90, 0x10, 0x12, 0x1A, 0x02, 0x00, 0x00, 0x00, 0x00, 0x44, 0xE2};
    const int noise = random->Below(4);
    std::string bytes;
    while (bytes.size() < size) {
        switch (random->Below(40)) {
        case 0:
            bytes.append(static_cast<size_t>(random->Below(200)), '\0');
            break;
        case 1:
            bytes.append(static_cast<size_t>(random->Below(60)), '\xFF');
            break;
        default:
            bytes.push_back(static_cast<char>(
                random->Below(8) < noise ? random->Below(256)
                                         : likely[random->Below(static_cast<int>(std::size(likely)))]));
        }
    }
    bytes.resize(size);
    return bytes;
}

} // namespace mpeg_header_reference

// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/vbr_header.h"

#include <string.h>

#include <algorithm>
#include <limits>

namespace {

constexpr size_t kMarkBytes = 4;

// Offsets from the first byte of the mark.
constexpr int64_t kXingFlags = 7; // the low byte of a 32-bit word
constexpr int64_t kXingFrames = 8;
constexpr int64_t kXingBytes = 12;
constexpr int64_t kVbriBytes = 10;
constexpr int64_t kVbriFrames = 14;

constexpr int kXingHasFrames = 1;
constexpr int kXingHasBytes = 2;

// By version (MPEG-1, MPEG-2) and layer.
constexpr int32_t kSamplesPerFrame[2][3] = {{384, 1152, 1152}, {384, 1152, 576}};

bool IsComplete(const MpegHeaderInfo &info) {
    return info.version != 0 && info.layer != 0 && info.bit_rate != 0 && info.sample_rate != 0;
}

// The position of the mark in the file's first quarter at or after `start`, or -1.
int64_t MarkFind(Mp3FileCtx *ctx, int64_t start, const char *mark) {
    const int64_t limit = ctx->file_size / 4;
    const ByteSource source = Mp3Source(ctx);
    int64_t pos = start;
    while (pos < limit) {
        const std::span<const uint8_t> bytes = Mp3Window(ctx, pos, kMarkBytes);
        if (bytes.size() < kMarkBytes)
            return -1;
        // Marks that begin in the window's last bytes are left to the next window.
        const auto whole_marks = static_cast<int64_t>(bytes.size() - kMarkBytes + 1);
        const auto count = static_cast<size_t>(std::min(limit - pos, whole_marks));
        const void *found = memmem(bytes.data(), count + kMarkBytes - 1, mark, kMarkBytes);
        if (found != nullptr)
            return pos + (static_cast<const uint8_t *>(found) - bytes.data());
        pos = ByteSourceAdvance(source, bytes.first(count), pos + static_cast<int64_t>(count));
    }
    return -1;
}

// Play time of `frames` frames; also stored in `info` when it is a possible one.
double DurationStore(MpegHeaderInfo *info, uint32_t frames) {
    const int32_t samples = kSamplesPerFrame[info->version == 1 ? 0 : 1][info->layer - 1];
    const double seconds = static_cast<double>(frames) * samples / info->sample_rate;
    if (seconds > 0 && seconds < kMp3DurationMax)
        info->duration = seconds;
    return seconds;
}

// The average bit rate of `bytes` over `seconds`, which is not 0.
void BitRateStore(MpegHeaderInfo *info, uint32_t bytes, double seconds) {
    constexpr double kMax = std::numeric_limits<int32_t>::max();
    const auto bit_rate = static_cast<int32_t>(std::min(bytes / seconds * 8.0, kMax));
    if (bit_rate > 0)
        info->bit_rate = bit_rate;
}

} // namespace

int XingHeaderRead(Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *info) {
    if (!IsComplete(*info))
        return -1;
    const int64_t mark = MarkFind(ctx, start, "Xing");
    if (mark < 0)
        return -1;
    const int flags = Mp3ReadByte(ctx, mark + kXingFlags);
    if ((flags & kXingHasFrames) == 0)
        return -1;
    const double seconds = DurationStore(info, Mp3ReadBE32(ctx, mark + kXingFrames));
    if ((flags & kXingHasBytes) != 0 && seconds > 0)
        BitRateStore(info, Mp3ReadBE32(ctx, mark + kXingBytes), seconds);
    return 0;
}

int VbriHeaderRead(Mp3FileCtx *ctx, int64_t start, MpegHeaderInfo *info) {
    if (!IsComplete(*info))
        return -1;
    const int64_t mark = MarkFind(ctx, start, "VBRI");
    if (mark < 0)
        return -1;
    const double seconds = DurationStore(info, Mp3ReadBE32(ctx, mark + kVbriFrames));
    if (seconds > 0)
        BitRateStore(info, Mp3ReadBE32(ctx, mark + kVbriBytes), seconds);
    return 0;
}

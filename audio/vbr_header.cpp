// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/vbr_header.h"

#include <string.h>

#include <algorithm>
#include <limits>

namespace {

constexpr size_t kMarkBytes = 4;
constexpr char kXingMark[] = "Xing";
constexpr char kVbriMark[] = "VBRI";

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

// Where `mark` begins within the first `count` bytes, which kMarkBytes - 1 others follow; `count` when it does not.
// The searches go through a quarter of a file of constant bit rate: memchr passes its bytes many at a time. Where first
// bytes of the mark abound memmem is faster, which takes the same time whatever it looks at.
size_t MarkFindIn(const uint8_t *bytes, size_t count, const char *mark) {
    constexpr int kFalseStartsMax = 128; // twice what a window of noise has
    size_t at = 0;
    for (int starts = 0; at < count && starts < kFalseStartsMax; ++starts, ++at) {
        const void *first = memchr(bytes + at, mark[0], count - at);
        if (first == nullptr)
            return count;
        at = static_cast<size_t>(static_cast<const uint8_t *>(first) - bytes);
        if (memcmp(bytes + at, mark, kMarkBytes) == 0)
            return at;
    }
    if (at >= count)
        return count;
    const void *found = memmem(bytes + at, count - at + kMarkBytes - 1, mark, kMarkBytes);
    return found == nullptr ? count : static_cast<size_t>(static_cast<const uint8_t *>(found) - bytes);
}

// The position of the first `mark` in the file's first quarter at or after `start`, or -1. The first VBRI mark that is
// passed on the way goes to `passed`, unless that is null.
int64_t MarkFind(Mp3FileCtx *ctx, int64_t start, const char *mark, MarksPassed *passed) {
    const int64_t limit = ctx->file_size / 4;
    const ByteSource source = Mp3Source(ctx);
    int64_t pos = start;
    while (pos < limit) {
        const std::span<const uint8_t> bytes = Mp3Window(ctx, pos, kMarkBytes);
        if (bytes.size() < kMarkBytes)
            break;
        // Marks that begin in the window's last bytes are left to the next window.
        const auto whole_marks = static_cast<int64_t>(bytes.size() - kMarkBytes + 1);
        const auto count = static_cast<size_t>(std::min(limit - pos, whole_marks));
        const size_t found = MarkFindIn(bytes.data(), count, mark);
        if (passed != nullptr && passed->vbri < 0) {
            const size_t vbri = MarkFindIn(bytes.data(), found, kVbriMark);
            passed->vbri = vbri < found ? pos + static_cast<int64_t>(vbri) : -1;
        }
        if (found < count)
            return pos + static_cast<int64_t>(found);
        pos = ByteSourceAdvance(source, bytes.first(count), pos + static_cast<int64_t>(count));
    }
    return -1;
}

// A file without a Xing mark is searched for the VBRI mark next: the one that this search passes is noted.
int64_t XingFind(Mp3FileCtx *ctx, int64_t start) {
    ctx->passed = {start, ctx->file_size, -1};
    const int64_t xing = MarkFind(ctx, start, kXingMark, &ctx->passed);
    if (xing >= 0)
        ctx->passed.end = xing;
    return xing;
}

int64_t VbriFind(Mp3FileCtx *ctx, int64_t start) {
    const bool passed = ctx->passed.start == start;
    if (passed && ctx->passed.vbri >= 0)
        return ctx->passed.vbri;
    return MarkFind(ctx, passed ? ctx->passed.end : start, kVbriMark, nullptr);
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
    const int64_t mark = XingFind(ctx, start);
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
    const int64_t mark = VbriFind(ctx, start);
    if (mark < 0)
        return -1;
    const double seconds = DurationStore(info, Mp3ReadBE32(ctx, mark + kVbriFrames));
    if (seconds > 0)
        BitRateStore(info, Mp3ReadBE32(ctx, mark + kVbriBytes), seconds);
    return 0;
}

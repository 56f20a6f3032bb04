// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/vbr_header.h"

#include <string.h>

#include <algorithm>
#include <array>
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

// True for the bytes of either mark. Of four bytes in a row that are a mark, each is such a byte, whichever stands at a
// place that the search looks at.
constexpr std::array<bool, 256> kByteOfMark = [] {
    std::array<bool, 256> found = {};
    for (const char *mark : {kXingMark, kVbriMark})
        for (size_t i = 0; i < kMarkBytes; ++i)
            found[static_cast<uint8_t>(mark[i])] = true;
    return found;
}();

bool IsMark(const uint8_t *bytes, const char *mark) {
    return memcmp(bytes, mark, kMarkBytes) == 0;
}

// Where the first mark begins within the first `count` bytes, which kMarkBytes - 1 others follow; `count` when none
// does. Looks at every fourth byte only: the searches go through a quarter of a file of constant bit rate.
size_t MarkFindIn(const uint8_t *bytes, size_t count) {
    for (size_t at = kMarkBytes - 1; at < count + kMarkBytes - 1; at += kMarkBytes) {
        if (!kByteOfMark[bytes[at]])
            continue;
        for (size_t begin = at - (kMarkBytes - 1); begin <= at && begin < count; ++begin)
            if (IsMark(bytes + begin, kXingMark) || IsMark(bytes + begin, kVbriMark))
                return begin;
    }
    return count;
}

// The first mark of either kind in the file's first quarter at or after `pos`.
struct Mark {
    int64_t pos; // -1 when there is none
    bool xing;
};

Mark MarkFind(Mp3FileCtx *ctx, int64_t pos) {
    const int64_t limit = ctx->file_size / 4;
    const ByteSource source = Mp3Source(ctx);
    while (pos < limit) {
        const std::span<const uint8_t> bytes = Mp3Window(ctx, pos, kMarkBytes);
        if (bytes.size() < kMarkBytes)
            break;
        // Marks that begin in the window's last bytes are left to the next window.
        const auto whole_marks = static_cast<int64_t>(bytes.size() - kMarkBytes + 1);
        const auto count = static_cast<size_t>(std::min(limit - pos, whole_marks));
        const size_t found = MarkFindIn(bytes.data(), count);
        if (found < count)
            return {pos + static_cast<int64_t>(found), IsMark(bytes.data() + found, kXingMark)};
        pos = ByteSourceAdvance(source, bytes.first(count), pos + static_cast<int64_t>(count));
    }
    return {-1, false};
}

// The position of the first Xing mark, or -1. What it passes on the way is noted, since a file without that mark is
// searched for the other one next.
int64_t XingFind(Mp3FileCtx *ctx, int64_t start) {
    ctx->passed = {start, std::max(start, ctx->file_size), -1};
    for (Mark mark = MarkFind(ctx, start); mark.pos >= 0; mark = MarkFind(ctx, mark.pos + 1)) {
        if (mark.xing) {
            ctx->passed.end = mark.pos;
            return mark.pos;
        }
        if (ctx->passed.vbri < 0)
            ctx->passed.vbri = mark.pos;
    }
    return -1;
}

// The position of the first VBRI mark, or -1.
int64_t VbriFind(Mp3FileCtx *ctx, int64_t start) {
    const bool passed = ctx->passed.start == start;
    if (passed && ctx->passed.vbri >= 0)
        return ctx->passed.vbri;
    Mark mark = MarkFind(ctx, passed ? ctx->passed.end : start);
    while (mark.pos >= 0 && mark.xing)
        mark = MarkFind(ctx, mark.pos + 1);
    return mark.pos;
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

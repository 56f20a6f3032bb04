// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/frame_walk.h"

#include "platform/limits.h"

namespace {

// The whole stream goes through it, so that reads are few.
constexpr int64_t kWalkPiece = 128 * 1024;

} // namespace

FrameTotals FramesAdd(ReaderInput *input, int64_t begin, int64_t end,
                      const std::function<FrameStep(Bytes)> &parse) {
    FrameTotals totals;
    const int64_t stop = std::min(end, begin + kSoundWalkMax);
    int64_t at = begin;
    while (at < stop) {
        const SoundBytes piece = SoundBytesRead(input, at, std::min(kWalkPiece, end - at));
        if (piece.size == 0)
            break;
        const bool last = at + static_cast<int64_t>(piece.size) >= end;
        size_t place = 0;
        while (place < piece.size && (last || place + kFrameHeaderMax <= piece.size)) {
            const FrameStep step =
                parse(piece.View().subspan(place, std::min(kFrameHeaderMax, piece.size - place)));
            totals.frames += step.bytes != 0 ? 1 : 0;
            totals.bytes += step.bytes;
            totals.samples += step.samples;
            place += std::max<size_t>(step.bytes, 1);
        }
        at += static_cast<int64_t>(place);
    }
    if (stop < end && at > begin)
        totals.samples *= static_cast<double>(end - begin) / static_cast<double>(at - begin);
    return totals;
}

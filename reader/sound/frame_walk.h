// SPDX-License-Identifier: GPL-2.0-or-later
//
// Going from frame to frame of a stream that has no table of them.
#pragma once

#include <functional>

#include "reader/sound/sound_bytes.h"

struct FrameStep {
    uint32_t bytes = 0; // of the frame; 0: here is none
    uint32_t samples = 0;
};

// What the frames of a stream are together.
struct FrameTotals {
    uint64_t frames = 0;
    uint64_t bytes = 0;
    double samples = 0;
};

inline constexpr size_t kFrameHeaderMax = 8;

// Adds up the frames from `begin` to `end`. `parse` looks at the first bytes of one, at most kFrameHeaderMax. What lies between
// frames is stepped over. Behind kSoundWalkMax bytes the rest counts as being like what was read.
FrameTotals FramesAdd(ReaderInput *input, int64_t begin, int64_t end,
                      const std::function<FrameStep(Bytes)> &parse);

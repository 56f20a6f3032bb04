// SPDX-License-Identifier: GPL-2.0-or-later
//
// The walk over the headers of a raw AAC file.
#include "compat/aac/aac_walk.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile input(data, size);
    AacInfo info;
    if (AacWalk(input.path.c_str(), &info) && info.sample_rate == 0)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_aac_walk", Try);

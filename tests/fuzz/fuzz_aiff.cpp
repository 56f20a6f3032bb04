// SPDX-License-Identifier: GPL-2.0-or-later
//
// The AIFF reader from the file to the record.
#include <cmath>

#include "catalogue/indexers.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile input(data, size);
    MediaInfo record;
    if (AiffInfoGet(input.path.c_str(), &record) != 0 || !std::isfinite(record.duration) ||
        record.duration < 0)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_aiff", Try);

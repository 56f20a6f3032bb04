// SPDX-License-Identifier: GPL-2.0-or-later
//
// The FLAC reader from the file to the record.
#include <string.h>

#include <cmath>

#include "catalogue/media_info.h"
#include "container/flac.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile input(data, size);
    MediaInfo record = {};
    FlacMetadataRead(input.path.c_str(), &record);
    if (!std::isfinite(record.duration) || record.duration < 0 ||
        strnlen(record.title, sizeof record.title) == sizeof record.title)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_flac", Try);

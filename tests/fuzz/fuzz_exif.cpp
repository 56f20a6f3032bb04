// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures with EXIF data, through libexif and its bounded memory.
#include "catalogue/exif.h"

#include <stdio.h>

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile file(data, size);
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", file.path.c_str());
    if (ExifInfoGet(&record) != 0 || record.id != 0)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_exif", Try);

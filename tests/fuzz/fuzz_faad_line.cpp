// SPDX-License-Identifier: GPL-2.0-or-later
//
// The line that an AAC decoder prints.
#include <stdint.h>
#include <stdlib.h>

#include <cmath>
#include <string>

#include "catalogue/media_info.h"
#include "container/faad_line.h"
#include "tests/fuzz/fuzz_target.h"

static int Try(const uint8_t *data, size_t size) {
    const std::string line(reinterpret_cast<const char *>(data), size);
    MediaInfo record = {};
    if ((FaadLineParse(line.c_str(), &record) && line.find("duration;") == std::string::npos) ||
        !std::isfinite(record.duration))
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_faad_line", Try);

// SPDX-License-Identifier: GPL-2.0-or-later
//
// The size readers of all picture formats, over a picture in memory.
#include "platform/image/image_formats.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <span>

#include "tests/fuzz/fuzz_target.h"

namespace {

size_t ReadMemory(void *context, uint64_t offset, uint8_t *out, size_t size) {
    const auto &bytes = *static_cast<const std::span<const uint8_t> *>(context);
    if (offset >= bytes.size())
        return 0;
    const auto rest = bytes.subspan(static_cast<size_t>(offset));
    const size_t length = std::min(size, rest.size());
    memcpy(out, rest.data(), length);
    return length;
}

} // namespace

static int Try(const uint8_t *data, size_t size) {
    std::span<const uint8_t> bytes(data, size);
    int width = 0;
    int height = 0;
    const bool found = PictureSizeRead({ReadMemory, &bytes}, &width, &height) == 0;
    if (found != (width >= 1 && height >= 1))
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_image_size", Try);

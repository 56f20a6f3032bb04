// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/image/image_bytes.h"

namespace {

// File offsets are signed, and readers may add a window to an offset that was good.
constexpr uint64_t kLargestOffset = static_cast<uint64_t>(INT64_MAX) - kImageWindow;

} // namespace

const uint8_t *ImageBytes(ImageReader *reader, uint64_t offset, size_t size) {
    if (offset > kLargestOffset || size > kImageWindow)
        return nullptr;
    const auto held = [&] {
        return offset >= reader->start && offset - reader->start <= reader->length &&
               size <= reader->length - static_cast<size_t>(offset - reader->start);
    };
    if (!held()) {
        reader->start = offset;
        reader->length =
            reader->source.read(reader->source.context, offset, reader->window.data(), kImageWindow);
        if (!held())
            return nullptr;
    }
    return reader->window.data() + (offset - reader->start);
}

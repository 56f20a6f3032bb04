// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/input.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>

#include "platform/limits.h"

namespace {

bool WriteFully(int fd, std::span<const std::byte> bytes) {
    off_t offset = 0;
    while (!bytes.empty()) {
        const ssize_t put = pwrite(fd, bytes.data(), bytes.size(), offset);
        if (put > 0) {
            offset += put;
            bytes = bytes.subspan(static_cast<size_t>(put));
        } else if (put == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace

bool PictureTake(PictureSink *sink, std::span<const std::byte> picture) {
    if (sink->format != PictureFormat::none)
        return true;
    const PictureFormat format = PictureFormatOf(picture.first(std::min(picture.size(), kPictureHeadSize)));
    if (!sink->wanted || format == PictureFormat::none || picture.size() > kReaderPictureMax ||
        !WriteFully(sink->fd, picture))
        return false;
    sink->format = format;
    sink->bytes = static_cast<uint32_t>(picture.size());
    return true;
}

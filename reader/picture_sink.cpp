// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/input.h"

#include <algorithm>
#include <string_view>

#include "platform/file.h"
#include "platform/limits.h"

static bool PicturePut(const PictureSink &sink, PictureFormat format, std::string_view picture) {
    if (sink.small == nullptr || !IsSmallPicture(format, picture.size()))
        return FileWriteAt(sink.fd, 0, picture);
    *sink.small = picture;
    return true;
}

bool PictureTake(PictureSink *sink, std::span<const std::byte> picture) {
    if (sink->format != PictureFormat::none)
        return true;
    const PictureFormat format = PictureFormatOf(picture.first(std::min(picture.size(), kPictureHeadSize)));
    if (!sink->wanted || format == PictureFormat::none || picture.size() > kReaderPictureMax ||
        !PicturePut(*sink, format, {reinterpret_cast<const char *>(picture.data()), picture.size()}))
        return false;
    sink->format = format;
    sink->bytes = static_cast<uint32_t>(picture.size());
    return true;
}

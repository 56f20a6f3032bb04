// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/picture_format.h"

#include <string_view>

PictureFormat PictureFormatOf(std::span<const std::byte> head) {
    const std::string_view bytes(reinterpret_cast<const char *>(head.data()), head.size());
    if (bytes.starts_with("\xFF\xD8\xFF"))
        return PictureFormat::jpeg;
    if (bytes.starts_with("\x89PNG\r\n\x1A\n"))
        return PictureFormat::png;
    if (bytes.starts_with("GIF87a") || bytes.starts_with("GIF89a"))
        return PictureFormat::gif;
    // RIFF has the size of the file between its own name and that of what it holds.
    if (bytes.size() >= kPictureHeadSize && bytes.starts_with("RIFF") && bytes.substr(8, 4) == "WEBP")
        return PictureFormat::webp;
    return PictureFormat::none;
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mpeg_reader.h"

#include <string.h>
#include <syslog.h>

#include <algorithm>

namespace {

constexpr char kLogName[] = "metavideo.c";

constexpr uint8_t kPrefix[] = {0x00, 0x00, 0x01};

// A start code in the file's last four bytes marks nothing that could be read.
constexpr int64_t kSearchTail = 4;

} // namespace

int MpegReadByte(MpegReader *reader, int64_t offset) {
    const std::span<const uint8_t> held = Mp3Window(&reader->bytes, offset, 1);
    if (!held.empty())
        return held[0];
    if (offset < 0)
        syslog(LOG_ERR, "%s (%d) AT EOF ", kLogName, __LINE__);
    else
        syslog(LOG_ERR, "%s (%d) Invalid offset ", kLogName, __LINE__);
    return kUnreadByte;
}

int64_t MpegFindPrefix(MpegReader *reader, int64_t offset) {
    const int64_t stop = std::min(reader->bytes.file_size - kSearchTail, kMpegPrefixOffsetMax + 1);
    int64_t pos = std::max<int64_t>(offset, 0);
    while (pos < stop) {
        const std::span<const uint8_t> held = Mp3Window(&reader->bytes, pos, sizeof kPrefix);
        if (held.size() < sizeof kPrefix)
            return -1;
        // A prefix may begin at any place below `stop`, and reaches two bytes beyond its first.
        const auto tail = static_cast<int64_t>(sizeof kPrefix - 1);
        const int64_t count = std::min(static_cast<int64_t>(held.size()), stop - pos + tail);
        const void *found = memmem(held.data(), static_cast<size_t>(count), kPrefix, sizeof kPrefix);
        if (found != nullptr)
            return pos + (static_cast<const uint8_t *>(found) - held.data());
        pos += count - tail;
    }
    return -1;
}

int64_t MpegFindStartCode(MpegReader *reader, int64_t offset, int code) {
    if (offset < 0)
        return -1;
    int64_t prefix = MpegFindPrefix(reader, offset);
    while (prefix >= 0 && MpegReadByte(reader, prefix + static_cast<int64_t>(sizeof kPrefix)) != code)
        prefix = MpegFindPrefix(reader, prefix + 1);
    return prefix;
}

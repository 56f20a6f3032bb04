// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mpeg_reader.h"

#include <string.h>
#include <syslog.h>

#include <algorithm>

namespace {

constexpr char kLogName[] = "metavideo.c";

constexpr int64_t kPrefixBytes = 3;

// A start code in the file's last four bytes marks nothing that could be read.
constexpr int64_t kSearchTail = 4;

// The first prefix that lies within [begin, end), or null. Looks for the byte 01, which is rare where runs of
// zeros are not; a general search stumbles over each zero.
const uint8_t *PrefixFind(const uint8_t *begin, const uint8_t *end) {
    for (const uint8_t *at = begin + kPrefixBytes - 1; at < end; ++at) {
        if (*at != 0x01) {
            at = static_cast<const uint8_t *>(memchr(at, 0x01, static_cast<size_t>(end - at)));
            if (at == nullptr)
                return nullptr;
        }
        if (at[-1] == 0x00 && at[-2] == 0x00)
            return at - (kPrefixBytes - 1);
    }
    return nullptr;
}

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
        const std::span<const uint8_t> held = Mp3Window(&reader->bytes, pos, kPrefixBytes);
        const auto size = static_cast<int64_t>(held.size());
        if (size < kPrefixBytes)
            return -1;
        // Only the first byte of a prefix has to lie below `stop`.
        const int64_t places = std::min(size - (kPrefixBytes - 1), stop - pos);
        const uint8_t *found = PrefixFind(held.data(), held.data() + places + kPrefixBytes - 1);
        if (found != nullptr)
            return pos + (found - held.data());
        pos += places;
    }
    return -1;
}

int64_t MpegFindStartCode(MpegReader *reader, int64_t offset, int code) {
    if (offset < 0)
        return -1;
    int64_t prefix = MpegFindPrefix(reader, offset);
    while (prefix >= 0 && MpegReadByte(reader, prefix + kPrefixBytes) != code)
        prefix = MpegFindPrefix(reader, prefix + 1);
    return prefix;
}

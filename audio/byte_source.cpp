// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/byte_source.h"

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

bool IsAllZero(std::span<const uint8_t> bytes) {
    // The first byte is zero, and each byte equals the one behind it: memcmp finds that faster than a loop.
    return !bytes.empty() && bytes[0] == 0 && memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

int64_t ByteSourceAdvance(const ByteSource &source, std::span<const uint8_t> bytes, int64_t pos) {
    return IsAllZero(bytes) ? std::max(pos, source.next_data(source.reader, pos)) : pos;
}

int64_t FileNextData(int fd, int64_t pos, int64_t end) {
    const int64_t data = lseek(fd, pos, SEEK_DATA);
    if (data >= 0)
        return std::min(data, end);
    // ENXIO: nothing but a hole up to the end.
    return errno == ENXIO ? end : pos;
}

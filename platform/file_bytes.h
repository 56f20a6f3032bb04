// SPDX-License-Identifier: GPL-2.0-or-later
//
// Bytes that are in memory or in a file: read, copied and compared in one way.
#pragma once

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/sendfile.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/file.h"

// What is compared at a time.
inline constexpr size_t kComparedBytes = 32768;

// Copies the first `bytes` of a file to where another one stands. False, with the reason in errno, when not all of them
// could be read or written; a file that has fewer is EIO.
[[nodiscard]] inline bool FileBytesCopy(int from, int to, uint64_t bytes) noexcept {
    off_t offset = 0;
    while (bytes > 0) {
        const ssize_t copied =
            sendfile(to, from, &offset, static_cast<size_t>(std::min<uint64_t>(bytes, SIZE_MAX / 2)));
        if (copied > 0) {
            bytes -= static_cast<uint64_t>(copied);
        } else if (copied == 0) {
            errno = EIO;
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// Bytes that somebody else keeps, in memory where `held` is not empty, else the first ones of a file.
struct BytesRef {
    uint64_t bytes = 0;
    int file = -1;
    std::string_view held = {}; // all of them
};

// Gives a part of them, which has to lie within them: where they are held, else what has been read to `out`, which has room for it.
// Null when it could not be read.
[[nodiscard]] inline const char *BytesPart(const BytesRef &all, uint64_t offset, size_t part,
                                           char *out) noexcept {
    if (!all.held.empty())
        return all.held.data() + offset;
    return FileReadUpTo(all.file, offset, out, part) == part ? out : nullptr;
}

// Writes them to a new file. False, with the reason in errno, when not all of them could be read or written.
[[nodiscard]] inline bool BytesWrite(const BytesRef &all, int to) noexcept {
    return all.held.empty() ? FileBytesCopy(all.file, to, all.bytes) : FileWriteAt(to, 0, all.held);
}

// Puts bytes in the place of a file, whole or not at all: they are written to PATH.new, which nobody else may have made. They are not
// brought to the disk. False, with the reason in errno; then the file is as it was.
[[nodiscard]] inline bool FileReplace(const char *path, std::string_view bytes, mode_t mode) {
    const std::string made = std::string(path) + ".new";
    unlink(made.c_str());
    const FdHandle file(open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, mode));
    if (file && FileWriteAt(file.get(), 0, bytes) && rename(made.c_str(), path) == 0)
        return true;
    const int error = errno;
    unlink(made.c_str());
    errno = error;
    return false;
}

// True when all of both are there and are the same.
[[nodiscard]] inline bool BytesEqual(const BytesRef &one, const BytesRef &other) noexcept {
    if (one.bytes != other.bytes)
        return false;
    char of_one[kComparedBytes];
    char of_other[kComparedBytes];
    for (uint64_t done = 0; done < one.bytes;) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(kComparedBytes, one.bytes - done));
        const char *part = BytesPart(one, done, wanted, of_one);
        const char *other_part = BytesPart(other, done, wanted, of_other);
        if (part == nullptr || other_part == nullptr || memcmp(part, other_part, wanted) != 0)
            return false;
        done += wanted;
    }
    return true;
}

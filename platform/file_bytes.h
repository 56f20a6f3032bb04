// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whole files of bytes: copied within the kernel, and compared.
#pragma once

#include <errno.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>
#include <sys/sendfile.h>

#include <algorithm>

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

// True when the first `bytes` of two files are there and are the same.
[[nodiscard]] inline bool FileBytesEqual(int one, int other, uint64_t bytes) noexcept {
    uint8_t of_one[kComparedBytes];
    uint8_t of_other[kComparedBytes];
    for (uint64_t done = 0; done < bytes;) {
        const auto wanted = static_cast<size_t>(std::min<uint64_t>(kComparedBytes, bytes - done));
        if (FileReadUpTo(one, done, of_one, wanted) != wanted ||
            FileReadUpTo(other, done, of_other, wanted) != wanted || memcmp(of_one, of_other, wanted) != 0)
            return false;
        done += wanted;
    }
    return true;
}

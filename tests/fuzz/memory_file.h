// SPDX-License-Identifier: GPL-2.0-or-later
//
// The input of a fuzz target as an open file, and as one with a path for readers that open their file
// themselves.
#pragma once

#include <stdint.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "platform/handle.h"

// One file serves all inputs: making one for each would cost more than reading it.
inline FdHandle MemoryFileOpen(const uint8_t *data, size_t size) {
    static const int file = memfd_create("input", MFD_CLOEXEC);
    if (file < 0 || ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size))
        abort();
    return FdHandle(dup(file));
}

struct MemoryFile {
    MemoryFile(const uint8_t *data, size_t size)
        : file(MemoryFileOpen(data, size)), path("/proc/self/fd/" + std::to_string(file.get())) {}

    FdHandle file;
    std::string path;
};

// SPDX-License-Identifier: GPL-2.0-or-later
//
// The input of a fuzz target as what a reader is handed.
#pragma once

#include "reader/readers.h"
#include "tests/fuzz/memory_file.h"

struct ReaderFile {
    ReaderFile(const uint8_t *data, size_t size) : file(MemoryFileOpen(data, size)) {
        input.fd = file.get();
        input.size = static_cast<int64_t>(size);
    }

    FdHandle file;
    ReaderInput input;
};

// SPDX-License-Identifier: GPL-2.0-or-later
//
// What tells whether files have the same bytes.
#pragma once

#include <stdint.h>

#include <functional>
#include <string>

// A file's content in short, or why it could not be read.
struct FileDigest {
    std::string value;
    std::string problem;
};

// Returns a hash of the first and the last bytes of a file of that size: most files of one size differ there, and need not be read
// any further. Equal hashes say nothing.
FileDigest EndsDigest(const std::string &path, uint64_t size);

// Returns the SHA-256 of all bytes. `read` is told of each portion.
FileDigest WholeDigest(const std::string &path, uint64_t size,
                       const std::function<void(uint64_t bytes)> &read);

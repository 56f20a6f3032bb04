// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/content_look.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/handle.h"

ContentFormat LookAt(std::string_view bytes, const std::string &extension) {
    const FdHandle file(memfd_create("content", MFD_CLOEXEC));
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(file.get(), bytes.data(), bytes.size()));
    ReaderInput input;
    input.fd = file.get();
    input.size = static_cast<int64_t>(bytes.size());
    input.extension = extension;
    return ContentLook(&input);
}

std::string LittleBytes(uint64_t value, size_t size) {
    std::string bytes;
    for (size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files made of a test's bytes, as the reader of photos gets them.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "platform/handle.h"
#include "reader/readers.h"

struct PhotoInput {
    FdHandle file;
    ReaderInput input;
};

// A file of these bytes that goes on with zeros up to `size`.
inline PhotoInput PhotoInputOf(std::string_view bytes, int64_t size = 0) {
    PhotoInput made = {FdHandle(memfd_create("photo", MFD_CLOEXEC)), {}};
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(made.file.get(), bytes.data(), bytes.size()));
    made.input.fd = made.file.get();
    made.input.size = std::max(size, static_cast<int64_t>(bytes.size()));
    EXPECT_EQ(0, ftruncate(made.file.get(), made.input.size));
    return made;
}

struct PhotoAnswer {
    ReadOutcome outcome;
    FactList facts;
};

inline PhotoAnswer PhotoAnswerOf(std::string_view bytes, int64_t size = 0) {
    PhotoReaderWarm();
    PhotoInput made = PhotoInputOf(bytes, size);
    PhotoAnswer answer;
    answer.outcome = PhotoFactsRead(&made.input, ContentLook(&made.input), &answer.facts);
    return answer;
}

inline std::string TextOf(const FactList &facts, FactName name) {
    const Fact *fact = FactFind(facts, name);
    return fact != nullptr ? fact->text : "";
}

inline double NumberOf(const FactList &facts, FactName name) {
    const Fact *fact = FactFind(facts, name);
    return fact != nullptr ? fact->number : -1;
}

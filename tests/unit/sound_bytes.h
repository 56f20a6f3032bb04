// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files of sound out of bytes, and what the reader of sound finds in them.
#pragma once

#include "platform/handle.h"
#include "platform/limits.h"
#include "reader/readers.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

struct SoundFound {
    ReadOutcome outcome;
    FactList facts;
    std::string picture;

    // The texts of a fact.
    std::vector<std::string> Texts(FactName name) const {
        std::vector<std::string> texts;
        for (const Fact &fact : facts.facts) {
            if (fact.name == name)
                texts.push_back(fact.text);
        }
        return texts;
    }
    std::string Text(FactName name) const {
        const Fact *fact = FactFind(facts, name);
        return fact != nullptr ? fact->text : "(none)";
    }
    double Number(FactName name) const {
        const Fact *fact = FactFind(facts, name);
        return fact != nullptr ? fact->number : -1;
    }
};

inline FdHandle SoundMemory(const std::string &bytes) {
    FdHandle file(memfd_create("sound", MFD_CLOEXEC));
    EXPECT_EQ(write(file.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    return file;
}

// `size`: what the file claims beyond its bytes, as a hole.
inline SoundFound SoundFind(const std::string &bytes, ContentFormat format, const char *charset = "",
                            int64_t size = 0) {
    const FdHandle file = SoundMemory(bytes);
    const FdHandle slot(memfd_create("picture", MFD_CLOEXEC));
    ReaderInput input;
    input.fd = file.get();
    input.size = size != 0 ? size : static_cast<int64_t>(bytes.size());
    EXPECT_EQ(ftruncate(file.get(), input.size), 0);
    input.charset = charset;
    PictureSink sink;
    sink.fd = slot.get();
    sink.wanted = true;
    SoundReaderWarm();
    SoundFound found;
    found.outcome = SoundFactsRead(&input, format, &found.facts, &sink);
    found.picture.resize(sink.bytes);
    EXPECT_EQ(pread(slot.get(), found.picture.data(), sink.bytes, 0), static_cast<ssize_t>(sink.bytes));
    return found;
}

inline std::string BigNumber(uint64_t number, size_t size) {
    std::string bytes;
    for (size_t i = size; i-- > 0;)
        bytes += static_cast<char>(number >> (8 * i));
    return bytes;
}

inline std::string LittleNumber(uint64_t number, size_t size) {
    const std::string big = BigNumber(number, size);
    return {big.rbegin(), big.rend()};
}

inline std::string SyncsafeNumber(size_t number) {
    std::string bytes;
    for (int shift = 21; shift >= 0; shift -= 7)
        bytes += static_cast<char>(number >> shift & 0x7F);
    return bytes;
}

// A frame of ID3v2; version 2 has names of three letters.
inline std::string SoundFrame(int version, const std::string &name, const std::string &data, int flags = 0) {
    if (version == 2)
        return name + BigNumber(data.size(), 3) + data;
    return name + (version == 4 ? SyncsafeNumber(data.size()) : BigNumber(data.size(), 4)) +
           BigNumber(static_cast<uint64_t>(flags), 2) + data;
}

inline std::string SoundTag(int version, const std::string &body, int flags = 0) {
    return "ID3" + BigNumber(static_cast<uint64_t>(version), 1) + '\0' + static_cast<char>(flags) +
           SyncsafeNumber(body.size()) + body;
}

// One second of silence at 128 kbit/s, 44.1 kHz, more or less.
inline std::string SoundMpeg(int frames = 38) {
    std::string sound;
    for (int i = 0; i < frames; ++i)
        sound += "\xFF\xFB\x90\x64" + std::string(413, '\0');
    return sound;
}

inline std::string Nul() {
    return std::string(1, '\0');
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// MP3 files built byte by byte, and readers over them.
#pragma once

#include "audio/mp3_file.h"

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>

namespace mp3_bytes {

using namespace std::string_literals;

inline FdHandle MemoryFile(const std::string &bytes) {
    FdHandle file(memfd_create("mp3", MFD_CLOEXEC));
    EXPECT_EQ(write(file.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    return file;
}

// A context over the bytes.
struct Opened {
    explicit Opened(const std::string &bytes) {
        Mp3FileAttach(&ctx, MemoryFile(bytes), static_cast<int64_t>(bytes.size()));
    }
    Mp3FileCtx ctx;
};

inline std::string Big32(uint32_t number) {
    return {static_cast<char>(number >> 24), static_cast<char>(number >> 16 & 0xFF),
            static_cast<char>(number >> 8 & 0xFF), static_cast<char>(number & 0xFF)};
}

inline std::string Syncsafe(uint32_t number) {
    return {static_cast<char>(number >> 21 & 0x7F), static_cast<char>(number >> 14 & 0x7F),
            static_cast<char>(number >> 7 & 0x7F), static_cast<char>(number & 0x7F)};
}

// --- ID3v2

inline std::string Tag(int version, const std::string &frames) {
    return "ID3"s + static_cast<char>(version) + "\0\0"s + Syncsafe(static_cast<uint32_t>(frames.size())) +
           frames;
}

// Frames of version 2.2, 2.3 and 2.4; `data` begins with the encoding byte.
inline std::string Frame22(const std::string &id, const std::string &data) {
    return id + Big32(static_cast<uint32_t>(data.size())).substr(1) + data;
}
inline std::string Frame23(const std::string &id, const std::string &data) {
    return id + Big32(static_cast<uint32_t>(data.size())) + "\0\0"s + data;
}
inline std::string Frame24(const std::string &id, const std::string &data) {
    return id + Syncsafe(static_cast<uint32_t>(data.size())) + "\0\0"s + data;
}

inline const std::string kJpeg = "\xFF\xD8\xFF\xE0 picture bytes"s;

// Data of a picture frame of version 2.3.
inline std::string Picture(const std::string &mime, int type, const std::string &image) {
    return "\0"s + mime + '\0' + static_cast<char>(type) + "front\0"s + image;
}

// --- ID3v1: `text` is what follows "TAG", filled up with zeros.
inline std::string Id3v1(std::string text) {
    text.resize(125);
    return "TAG" + text;
}

// --- Frames: MPEG-1 layer 3, 128 kbit/s, 44100 Hz, stereo: 417 bytes.

inline const std::string kHeader = "\xFF\xFB\x90\x00"s;
inline constexpr int kFrameSize = 417;

inline std::string Frame() {
    return kHeader + std::string(kFrameSize - 4, 'a');
}

inline std::string Frames(int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += Frame();
    return bytes;
}

// A file of its own that goes with the test.
struct SongFile {
    explicit SongFile(const std::string &bytes) { std::ofstream(path, std::ios::binary) << bytes; }
    ~SongFile() { unlink(path.c_str()); }
    SongFile(const SongFile &) = delete;
    SongFile &operator=(const SongFile &) = delete;

    const std::string path = "/volume1/music/song.mp3";
};

inline std::string Contents(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline bool Exists(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

} // namespace mp3_bytes

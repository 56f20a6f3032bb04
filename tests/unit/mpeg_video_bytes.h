// SPDX-License-Identifier: GPL-2.0-or-later
//
// MPEG video built byte by byte, and readers over it.
#pragma once

#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "container/mpeg_stream.h"
#include "platform/handle.h"

namespace mpeg_video_bytes {

using namespace std::string_literals;

inline std::string Byte(int value) {
    return {static_cast<char>(value)};
}

inline std::string StartCode(int code) {
    return "\0\0\1"s + Byte(code);
}

// Codes: 1 of 16 for the aspect ratio, 3 (25 frames per second) of the frame rate.
inline std::string SequenceHeader(int width, int height, int bit_rate, int aspect_and_rate = 0x13) {
    return StartCode(0xB3) + Byte(width >> 4) + Byte((width & 0x0F) << 4 | height >> 8) +
           Byte(height & 0xFF) + Byte(aspect_and_rate) + Byte(bit_rate >> 10) + Byte(bit_rate >> 2 & 0xFF) +
           Byte((bit_rate & 0x03) << 6 | 0x20) + Byte(0);
}

// Six bytes of payload; the upper half of `first` says which extension it is.
inline std::string Extension(int first, int b1, int b2, int b3, int b5) {
    return StartCode(0xB5) + Byte(first) + Byte(b1) + Byte(b2) + Byte(b3) + Byte(0x40) + Byte(b5);
}

inline std::string GroupOfPictures() {
    return StartCode(0xB8) + std::string(4, '\x40');
}

// A packet of the first audio stream: what its header holds behind the packet length, and its data.
inline std::string AudioPacket(const std::string &header, const std::string &data) {
    const size_t length = header.size() + data.size();
    return StartCode(0xC0) + Byte(static_cast<int>(length >> 8)) + Byte(static_cast<int>(length & 0xFF)) +
           header + data;
}

inline const std::string kNoTime = "\x0F"s;

// MPEG-1 layer 2, 44100 Hz, joint stereo; 224 kbit/s: 731 bytes, 128 kbit/s: 417 bytes.
inline const std::string kHeader224 = "\xFF\xFD\xB0\x44"s;
inline const std::string kHeader128 = "\xFF\xFD\x80\x44"s;

inline std::string Frame224() {
    return kHeader224 + std::string(731 - 4, 'a');
}

inline FdHandle MemoryFile(const std::string &bytes) {
    FdHandle file(memfd_create("video", MFD_CLOEXEC));
    EXPECT_EQ(write(file.get(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    return file;
}

// A reader over the bytes, and a path to them.
struct Opened {
    explicit Opened(const std::string &bytes) {
        FdHandle file = MemoryFile(bytes);
        path = "/proc/self/fd/" + std::to_string(file.get());
        Mp3FileAttach(&reader.bytes, std::move(file), static_cast<int64_t>(bytes.size()));
    }
    MpegReader reader;
    std::string path;
};

// What MpegParseStream says of the bytes.
struct Parsed {
    explicit Parsed(const std::string &bytes) : file(bytes) {
        result = MpegParseStream(&file.reader, &video, &audio);
    }
    Opened file;
    MpegSequenceInfo video;
    MpegHeaderInfo audio;
    int result;
};

} // namespace mpeg_video_bytes

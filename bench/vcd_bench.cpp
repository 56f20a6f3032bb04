// SPDX-License-Identifier: GPL-2.0-or-later
//
// What reading MPEG video costs, against reading the bytes of its files in which start codes are looked for,
// and against reading the whole of those whose audio has to be searched. Works in a folder of its own under
// /tmp.
#include "bench/cpu_time.h"
#include "container/metavideo.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/media_record.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

using namespace std::string_literals;

constexpr size_t kMega = 1000 * 1000;
constexpr off_t kStreamSize = 700 * 1000 * 1000; // a disc

const std::string kPack = "\0\0\1\xBA\x21\x00\x01\x00\x01\x80\x1B\x91"s;
const std::string kSequence = "\0\0\1\xB3\x16\x01\x20\x13\x02\xD0\x20\xA0\0\0\1\xB8\0\x08\0\x40"s;
const std::string kAudio = "\0\0\1\xC0\x08\xF0\x0F"s;
const std::string kBadHeader = "\xFF\xFD\xFF\x44"s;

std::string folder;

void ReadBytes(const std::string &path, int64_t most) {
    static char block[kReaderWindow];
    const FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    int64_t done = 0;
    while (done < most) {
        const ssize_t count = read(file.get(), block, sizeof block);
        if (count <= 0)
            return;
        done += count;
    }
}

// A file of `head` and, when it is to be larger, a hole behind.
void Report(const char *what, const std::string &head, off_t size, int calls, int64_t baseline_bytes) {
    const std::string path = folder + "/video.dat";
    std::ofstream(path, std::ios::binary) << head;
    if (size > static_cast<off_t>(head.size()) && truncate(path.c_str(), size) != 0) {
        perror("vcd_bench");
        exit(1);
    }
    MediaInfo record = {};
    const int result = MpegVideoInfoGet(path.c_str(), &record);
    const double micros = CpuMicros(calls, [&] { MpegVideoInfoGet(path.c_str(), &record); });
    const double baseline = CpuMicros(calls, [&] { ReadBytes(path, baseline_bytes); });
    printf("%-46s %s %10.1f us   reading alone %10.1f us   %.2f x\n", what, result == 0 ? "video" : "none ",
           micros, baseline, micros / baseline);
}

// Bytes as compressed pictures have them, but for start codes and sync patterns.
std::string Noise(size_t size) {
    std::string bytes(size, '\0');
    unsigned state = 1;
    for (char &byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>((state >> 24 & 0x7F) | 2);
    }
    return bytes;
}

std::string Repeat(const std::string &piece, size_t size) {
    std::string bytes;
    while (bytes.size() < size)
        bytes += piece;
    return bytes;
}

} // namespace

int main() {
    char name[] = "/tmp/vcd_bench.XXXXXX";
    if (mkdtemp(name) == nullptr) {
        perror("vcd_bench");
        return 1;
    }
    folder = name;
    constexpr int64_t kSearched = kMpegPrefixOffsetMax + 1;
    constexpr int kMany = 500;
    const std::string frame = "\xFF\xFD\xB0\x44"s + std::string(727, 'a');
    const std::string noise = Noise(200'000);

    Report("stream, 700 MB", kPack + kSequence + kAudio + frame + noise, kStreamSize, kMany, kSearched);
    Report("stream, audio 60 kB behind the video",
           kPack + kSequence + noise.substr(0, 60'000) + kAudio + frame + noise, kStreamSize, kMany,
           kSearched);
    Report("elementary stream", kSequence + noise, kStreamSize, kMany, kSearched);
    Report("no video", noise, 0, kMany, kSearched);
    Report("no video, zeros", std::string(200'000, '\0'), 0, kMany, kSearched);
    Report("start codes only, no video", Repeat("\0\0\1"s, 200'000), 0, kMany, kSearched);
    Report("extensions only", kPack + kSequence.substr(0, 12) + Repeat("\0\0\1\xB5\x14"s, 200'000), 0, kMany,
           kSearched);
    const size_t large = 64 * kMega;
    const auto all = static_cast<int64_t>(large);
    Report("stuffing without end, 64 MB", kPack + kSequence + kAudio + std::string(large, '\xFF'), 0, 1, all);
    Report("audio without a frame, 64 MB", kPack + kSequence + kAudio + kBadHeader + Noise(large), 0, 1, all);
    Report("headers that lead nowhere, 64 MB",
           kPack + kSequence + kAudio + kBadHeader + Repeat("\xFF\xFD\xB0\x44"s + "aaa"s, large), 0, 1, all);
    std::filesystem::remove_all(folder);
    return 0;
}

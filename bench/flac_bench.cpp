// SPDX-License-Identifier: GPL-2.0-or-later
//
// What reading FLAC files costs, against reading their metadata blocks once: tags, pictures and padding of growing
// sizes. The library is asked twice, and reads through all blocks each time. Works in a folder of its own under /tmp.
#include "bench/cpu_time.h"
#include "container/flac.h"
#include "platform/handle.h"
#include "platform/media_record.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// RFC 9639, section 8.
enum BlockType : char { kStreamInfo = 0, kPadding = 1, kVorbisComment = 4, kPicture = 6 };
constexpr char kLast = '\x80';

constexpr size_t kAudioSize = 5 * 1000 * 1000; // what nobody is to read

std::string folder;

std::string Big(uint64_t value, int size) {
    std::string bytes;
    for (int i = size - 1; i >= 0; i--)
        bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

std::string Little(uint32_t value) {
    const std::string bytes = Big(value, 4);
    return {bytes.rbegin(), bytes.rend()};
}

std::string Block(int type, const std::string &content) {
    return static_cast<char>(type) + Big(content.size(), 3) + content;
}

// Ten seconds of 44.1 kHz stereo in 16 bits.
std::string StreamInfo() {
    constexpr uint64_t kStream = uint64_t{44100} << 44 | uint64_t{1} << 41 | uint64_t{15} << 36 | 441000;
    return Block(kStreamInfo, Big(4096, 2) + Big(4096, 2) + std::string(6, '\0') + Big(kStream, 8) +
                                  std::string(16, '\0'));
}

// The usual tags, and so many others.
std::string Comments(size_t others, size_t size) {
    std::vector<std::string> entries = {"TITLE=Title", "ARTIST=Artist", "ALBUM=Album",
                                        "GENRE=Rock",  "DATE=2009",     "TRACKNUMBER=7"};
    entries.resize(entries.size() + others, "COMMENT=" + std::string(size, 'x'));
    std::string content = Little(5) + "bench" + Little(static_cast<uint32_t>(entries.size()));
    for (const std::string &entry : entries)
        content += Little(static_cast<uint32_t>(entry.size())) + entry;
    return Block(kVorbisComment | kLast, content);
}

// Reads the blocks in pieces.
void ReadBlocks(const std::string &path, size_t size) {
    static char piece[65536];
    const FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    while (size > 0) {
        const ssize_t count = read(file.get(), piece, std::min(size, sizeof piece));
        if (count <= 0)
            return;
        size -= static_cast<size_t>(count);
    }
}

void Report(const std::string &what, const std::string &between, const std::string &comments, int calls) {
    const std::string path = folder + "/song.flac";
    const std::string blocks = "fLaC" + StreamInfo() + between + comments;
    std::ofstream(path, std::ios::binary) << blocks;
    if (truncate(path.c_str(), static_cast<off_t>(blocks.size() + kAudioSize)) != 0) {
        perror("flac_bench");
        exit(1);
    }
    MediaInfo record = {};
    if (FlacMetadataRead(path.c_str(), &record) != 0 || record.title != "Title"s ||
        record.sample_rate != 44100) {
        fprintf(stderr, "flac_bench: %s cannot be read\n", what.c_str());
        exit(1);
    }
    const double micros = CpuMicros(calls, [&] { FlacMetadataRead(path.c_str(), &record); });
    const double baseline = CpuMicros(calls, [&] { ReadBlocks(path, blocks.size()); });
    printf("%-34s %9zu bytes of blocks %10.1f us   reading them %10.1f us   %6.2f x\n", what.c_str(),
           blocks.size(), micros, baseline, micros / baseline);
}

} // namespace

int main() {
    char name[] = "/tmp/flac_bench.XXXXXX";
    if (mkdtemp(name) == nullptr) {
        perror("flac_bench");
        return 1;
    }
    folder = name;
    constexpr int kMany = 1000;
    constexpr int kSome = 50;
    constexpr int kFew = 5;
    Report("tags only", "", Comments(0, 0), kMany);
    for (const size_t others : {100U, 1000U, 2000U, 4000U})
        Report(std::to_string(others) + " other tags of 200 bytes", "", Comments(others, 200), kSome);
    for (const size_t mega : {1U, 2U, 4U, 8U})
        Report("picture of " + std::to_string(mega) + " MB",
               Block(kPicture, std::string(mega * 1000 * 1000, 'p')), Comments(0, 0), kFew);
    for (const size_t count : {100U, 200U, 400U}) {
        std::string padding;
        for (size_t i = 0; i < count; ++i)
            padding += Block(kPadding, std::string(1000, '\0'));
        Report(std::to_string(count) + " blocks of padding", padding, Comments(0, 0), kSome);
    }
    std::filesystem::remove_all(folder);
    return 0;
}

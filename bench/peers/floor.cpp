// SPDX-License-Identifier: GPL-2.0-or-later
//
// The floor of an indexer's cost: walks a tree, opens each file once and reads only the bytes that its format makes
// necessary, without looking at what they say. No indexer can do with less.
//
//   peers_floor TREE
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/handle.h"

namespace {

constexpr size_t kHeadSize = 4096;       // of a file whose format is not read any further
constexpr size_t kId3v1Size = 128;       // at the end of an MP3
constexpr size_t kFrameHeaderSize = 192; // the first audio frame with its Xing header
constexpr size_t kBufferSize = 256 * 1024;

struct Totals {
    long files;
    long long bytes;
};

unsigned char buffer[kBufferSize];

size_t ReadAt(int fd, off_t at, size_t size, Totals &totals) {
    const ssize_t got = pread(fd, buffer, std::min(size, sizeof buffer), at);
    if (got <= 0)
        return 0;
    totals.bytes += got;
    return static_cast<size_t>(got);
}

uint32_t Big(const unsigned char *bytes, int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i)
        value = value << 8 | bytes[i];
    return value;
}

// The tag at the begin, the frame after it, the tag at the end.
void Mp3Read(int fd, off_t size, Totals &totals) {
    constexpr size_t kHeader = 10;
    off_t audio = 0;
    if (ReadAt(fd, 0, kHeader, totals) == kHeader && memcmp(buffer, "ID3", 3) == 0) {
        uint32_t length = 0;
        for (size_t i = 6; i < kHeader; ++i)
            length = length << 7 | (buffer[i] & 0x7f);
        audio = static_cast<off_t>(kHeader + length);
    }
    if (audio > 0)
        ReadAt(fd, kHeader, static_cast<size_t>(audio) - kHeader, totals);
    ReadAt(fd, audio, kFrameHeaderSize, totals);
    if (size >= static_cast<off_t>(kId3v1Size))
        ReadAt(fd, size - static_cast<off_t>(kId3v1Size), kId3v1Size, totals);
}

// The stream information and the comments; pictures and seek tables are stepped over.
void FlacRead(int fd, Totals &totals) {
    constexpr size_t kHeader = 4;
    constexpr int kComment = 4;
    off_t at = kHeader;
    for (bool last = false; !last && ReadAt(fd, at, kHeader, totals) == kHeader;) {
        last = (buffer[0] & 0x80) != 0;
        const int type = buffer[0] & 0x7f;
        const uint32_t length = Big(buffer + 1, 3);
        at += static_cast<off_t>(kHeader);
        if (type == 0 || type == kComment)
            ReadAt(fd, at, length, totals);
        at += static_cast<off_t>(length);
    }
}

// The segments before the picture, up to the one that tells its size; of them the EXIF block whole.
void JpegRead(int fd, Totals &totals) {
    constexpr size_t kHeader = 4;
    constexpr int kExif = 0xe1;
    constexpr int kFrameFirst = 0xc0;
    constexpr int kFrameLast = 0xc3;
    constexpr size_t kFrameSize = 9;
    off_t at = 2;
    while (ReadAt(fd, at, kHeader, totals) == kHeader && buffer[0] == 0xff) {
        const int marker = buffer[1];
        const uint32_t length = Big(buffer + 2, 2);
        if (marker == kExif)
            ReadAt(fd, at, length + 2, totals);
        if (marker >= kFrameFirst && marker <= kFrameLast) {
            ReadAt(fd, at, kFrameSize, totals);
            return;
        }
        at += static_cast<off_t>(length + 2);
    }
}

void FileRead(const std::string &path, Totals &totals) {
    const FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (file.get() < 0 || fstat(file.get(), &status) != 0)
        return;
    ++totals.files;
    const std::string_view name = path;
    if (name.ends_with(".mp3"))
        Mp3Read(file.get(), status.st_size, totals);
    else if (name.ends_with(".flac"))
        FlacRead(file.get(), totals);
    else if (name.ends_with(".jpg"))
        JpegRead(file.get(), totals);
    else
        ReadAt(file.get(), 0, kHeadSize, totals);
}

void TreeRead(const std::string &folder, Totals &totals) {
    const DirHandle directory(opendir(folder.c_str()));
    if (directory == nullptr)
        return;
    while (const dirent *entry = readdir(directory.get())) {
        if (entry->d_name[0] == '.')
            continue;
        const std::string path = folder + "/" + entry->d_name;
        if (entry->d_type == DT_DIR)
            TreeRead(path, totals);
        else
            FileRead(path, totals);
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fprintf(stderr, "use: peers_floor TREE\n");
        return 2;
    }
    Totals totals = {};
    TreeRead(argv[1], totals);
    printf("%ld files, %lld bytes\n", totals.files, totals.bytes);
}

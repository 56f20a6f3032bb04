// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the cover of an album costs: the same picture for many songs, by what remembers the last one, found by its content each
// time, and copied for each song in a plain loop; and the bytes that all of them take.
//
//   build/release/bin/cover_bench FOLDER [SONGS [BYTES]]     FOLDER: a new one, where the covers go and are removed again
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/file_bytes.h"
#include "platform/index/cover_store.h"
#include "platform/veluindex.h"

namespace fs = std::filesystem;

namespace {

constexpr int kSongs = 20'000;
constexpr uint64_t kBytes = 775'000;
constexpr int kCopies = 500; // of a plain loop: the disk is to be left alone

std::string SongPath(int song) {
    return "/volume1/music/Artist/Album/" + std::to_string(song) + ".mp3";
}

FdHandle PictureMake(uint64_t bytes) {
    FdHandle picture(memfd_create("picture", MFD_CLOEXEC));
    std::string content(bytes, '\0');
    uint32_t state = 1;
    for (char &byte : content)
        byte = static_cast<char>((state = state * 1664525 + 1013904223) >> 24);
    if (!picture || !FileWriteAt(picture.get(), 0, content)) {
        perror("picture");
        exit(1);
    }
    return picture;
}

// Returns microseconds a song.
template <typename Do>
double Measured(int songs, Do store) {
    const auto begin = std::chrono::steady_clock::now();
    for (int song = 0; song < songs; ++song) {
        if (!store(song)) {
            perror("cover");
            exit(1);
        }
    }
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count() /
           songs;
}

uint64_t BytesIn(const std::string &folder) {
    uint64_t bytes = 0;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        struct stat status;
        if (entry.is_regular_file() && stat(entry.path().c_str(), &status) == 0)
            bytes += static_cast<uint64_t>(status.st_size) / status.st_nlink;
    }
    return bytes;
}

void Report(const char *what, double microseconds, double plain, const std::string &folder) {
    printf("%-24s %8.1f us a song, %.3f of a plain copy; %.1f MB\n", what, microseconds, microseconds / plain,
           static_cast<double>(BytesIn(folder)) / 1e6);
    fs::remove_all(folder);
}

double PlainMeasure(const std::string &folder, const FdHandle &picture, uint64_t bytes) {
    return Measured(kCopies, [&](int song) {
        const std::string place = folder + '/' + std::to_string(song);
        fs::create_directories(place);
        const FdHandle file(
            open((place + "/3_1.jpg").c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
        return file && FileBytesCopy(picture.get(), file.get(), bytes);
    });
}

double StoreMeasure(int songs, const FdHandle &picture, uint64_t bytes, bool remembered) {
    CoverStored stored;
    return Measured(songs, [&](int song) {
        if (!remembered)
            stored = {};
        return CoverStore(SongPath(song).c_str(), {{bytes, picture.get()}, kCoverJpeg}, &stored) == 0;
    });
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: cover_bench FOLDER [SONGS [BYTES]]\n");
        return 2;
    }
    const std::string folder = argv[1];
    const int songs = argc > 2 ? atoi(argv[2]) : kSongs;
    const uint64_t bytes = argc > 3 ? strtoull(argv[3], nullptr, 10) : kBytes;
    const FdHandle picture = PictureMake(bytes);
    VELUIndexCoverDirSet(folder.c_str());
    const double plain = PlainMeasure(folder, picture, bytes);
    Report("a copy each", plain, plain, folder);
    for (const bool remembered : {true, false}) {
        const double measured = StoreMeasure(songs, picture, bytes, remembered);
        Report(remembered ? "the last one remembered" : "found by its content", measured, plain, folder);
    }
    return 0;
}

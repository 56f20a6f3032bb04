// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures requests about a photo share by the rules `complete`, with the real readers: all of it new, unchanged, a folder of
// 5,000 pictures renamed, and removed. In directories of 100 pictures, but for that one.
//
//   tests/sandbox build/release/bin/photo_library_bench PICTURE [PICTURES [REQUESTS]]
//
// PICTURE is the path of the file that all of them are copies of. With REQUESTS (of "naurd") only these are done, the first being
// needed by all others, so that `strace -f -c` counts the system calls of one by the difference to those before it.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "catalogue/features.h"
#include "catalogue/file_readers.h"
#include "daemon/path_rules.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "platform/index/file_state.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

namespace fs = std::filesystem;

const std::string kShare = "/volume1/photo";
constexpr int kDefaultPictures = 20000;
constexpr int kFolder = 5000;
constexpr int kPicturesOfADirectory = 100;
constexpr unsigned kRestSeconds = 4; // a file that has just changed gets no stamp

void PicturesMake(const std::string &folder, const std::string &picture, int count) {
    fs::create_directories(folder);
    for (int i = 0; i < count; ++i)
        fs::copy_file(picture, folder + "/IMG_" + std::to_string(i) + ".jpg");
}

double Seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double ProcessorTime(int who) {
    rusage usage = {};
    getrusage(who, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

void Measure(const char *what, const std::string &line, int pictures) {
    QueueRequest request;
    if (!QueueLineParse(line, request))
        exit(1);
    const auto start = std::chrono::steady_clock::now();
    const double own = ProcessorTime(RUSAGE_SELF);
    const double readers = ProcessorTime(RUSAGE_CHILDREN);
    VELUIndexRunBegin();
    VELUIndexRunRules(RuleSetActive());
    PhotoShareForget();
    QueueRequestExecute(request);
    const int result = VELUIndexRunEnd();
    FileReadersEnd();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    printf("%-34s %7d pictures %7.2f s, %6.1f us each; processor: daemon %6.1f us, readers %6.1f us each; "
           "peak %ld KiB%s\n",
           what, pictures, took.count(), took.count() * 1e6 / pictures,
           (ProcessorTime(RUSAGE_SELF) - own) * 1e6 / pictures,
           (ProcessorTime(RUSAGE_CHILDREN) - readers) * 1e6 / pictures, usage.ru_maxrss,
           result == 0 ? "" : "  FAILED");
    fflush(stdout);
}

} // namespace

int main(int argc, char **argv) {
    if (getenv("VELU_SANDBOX") == nullptr || argc < 2) {
        fprintf(stderr, "usage: tests/sandbox %s PICTURE [PICTURES [REQUESTS]]\n", argv[0]);
        return 2;
    }
    const int pictures = argc > 2 ? atoi(argv[2]) : kDefaultPictures;
    const std::string requests = argc > 3 ? argv[3] : "naurd";
    const auto is_asked = [&](char request) { return requests.find(request) != std::string::npos; };
    std::ofstream("/etc/veluinfo.conf") << "rules=\"complete\"\n";
    RuleSetRead();
    supportphoto = 1;
    const std::string one = kShare + "/One", other = kShare + "/Other";
    PicturesMake(one, argv[1], kFolder);
    for (int i = kFolder; i < pictures; i += kPicturesOfADirectory)
        PicturesMake(kShare + "/Album " + std::to_string(i), argv[1], kPicturesOfADirectory);
    sleep(kRestSeconds);
    Measure("A:/volume1/photo, all new", "A:" + kShare, pictures);
    if (is_asked('a'))
        Measure("A:/volume1/photo, unchanged", "A:" + kShare, pictures);
    if (is_asked('u'))
        Measure("R:photo, unchanged", "R:photo", pictures);
    if (is_asked('r')) {
        fs::rename(one, other);
        Measure("N, a folder renamed", "N:" + other + ":" + one, kFolder);
        fs::rename(other, one);
        Measure("N, and back", "N:" + one + ":" + other, kFolder);
    }
    if (is_asked('d')) {
        fs::remove_all(kShare + "/One");
        Measure("D, a folder", "D:" + one, kFolder);
    }
    return 0;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures the photo library in processor time: resyncs of a tree and refreshes of one directory at two sizes,
// the second twice the first; and imports beside a thumbnail queue of 10,000 lines.
//
//   tests/sandbox build/release/bin/photo_bench [PICTURES]
//
// The sandbox is needed: the program fills the photo share and points /etc/veluinfo.conf at databases in /tmp.
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "catalogue/features.h"
#include "photo/photo_index.h"
#include "photo/photo_sync.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

constexpr char kShare[] = "/volume1/photo";
constexpr char kStore[] = "/tmp/photo_bench.db";
constexpr char kMediaStore[] = "/tmp/photo_bench.media.db";
constexpr char kThumbQueue[] = "/var/spool/thumb_create.queue";
constexpr char kThumbPidFile[] = "/var/run/velumkthumbd.pid";

constexpr int kDefaultPictures = 10000;
constexpr int kPicturesOfADirectory = 100;
constexpr int kQueueLines = 10000;
constexpr int kImports = 500;
constexpr int kRounds = 3; // the best counts: others may use the machine

// Twice the work in this many times the time is still linear; four would be a square.
constexpr double kLinearFactor = 2.6;

// The headers of a JPEG of 3 by 2 pixels.
constexpr std::string_view kPicture = "\xff\xd8\xff\xc0\0\x0b\x08\0\2\0\3\1\1\x11\0\xff\xd9"sv;

struct Measure {
    double seconds;
    long peak; // KiB above what the process had before
};

// The processor's time for this process, its system calls included: it tells the same on a busy machine.
double Now() {
    timespec now = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

[[noreturn]] void Fail(const char *what) {
    fprintf(stderr, "photo_bench: %s failed\n", what);
    exit(1);
}

// A value of /proc/self/status in KiB.
long StatusOf(const std::string &key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, key.size(), key) == 0)
            return atol(line.c_str() + key.size());
    return 0;
}

void PicturesMake(const std::string &folder, int first, int count) {
    std::filesystem::create_directories(folder);
    for (int i = first; i < first + count; ++i)
        std::ofstream(folder + "/DSC" + std::to_string(i) + ".jpg") << kPicture;
}

void TreeMake(int pictures) {
    for (int i = 0; i < pictures; i += kPicturesOfADirectory)
        PicturesMake(kShare + "/Album "s + std::to_string(i / kPicturesOfADirectory), i,
                     kPicturesOfADirectory);
}

void Forget() {
    for (const char *end : {"", "-wal", "-shm"}) {
        unlink((kStore + std::string(end)).c_str());
        unlink((kMediaStore + std::string(end)).c_str());
    }
    for (const auto &entry : std::filesystem::directory_iterator(kShare))
        std::filesystem::remove_all(entry);
}

int Count() {
    const DatabaseHandle db(VELUDBOpen(("sqlite:"s + kStore).c_str()));
    const ResultHandle rows =
        VELUDBQuery(db.get(), "select count(*) as n from photo_image where updated = '1'");
    if (rows == nullptr)
        Fail("count");
    return atoi(VELUDBFetchField(rows.get(), 0, "n"));
}

// One run that brings the rows in step with the share, or with one directory of it.
Measure Resync(const char *path, int pictures) {
    std::ofstream("/proc/self/clear_refs") << "5";
    const long before = StatusOf("VmRSS:");
    const double start = Now();
    VELUIndexRunBegin();
    if (PhotoLibraryResync(path) != 0)
        Fail("PhotoLibraryResync");
    if (VELUIndexRunEnd() != 0)
        Fail("VELUIndexRunEnd");
    const Measure measure = {Now() - start, StatusOf("VmHWM:") - before};
    if (Count() != pictures)
        Fail("the number of rows");
    return measure;
}

void Print(const char *what, int pictures, const Measure &once, const Measure &twice) {
    const double factor = twice.seconds / once.seconds;
    printf("%-35s %6d: %5.2f s  %6d: %5.2f s   twice/once %.2f (%s)   memory +%ld, +%ld KiB\n", what,
           pictures, once.seconds, pictures * 2, twice.seconds, factor,
           factor < kLinearFactor ? "linear" : "NOT LINEAR", once.peak, twice.peak);
}

void Better(Measure *best, const Measure &measure) {
    if (best->seconds == 0 || measure.seconds < best->seconds)
        best->seconds = measure.seconds;
    best->peak = std::max(best->peak, measure.peak);
}

// `make` puts so many pictures into the share; `path` is what is resynced then, null for the share.
void BenchSizes(const std::string &what, const char *path, int pictures, void (*make)(int)) {
    Measure news[2] = {};
    Measure known[2] = {};
    for (int round = 0; round < kRounds; ++round) {
        for (int i = 0; i < 2; ++i) {
            Forget();
            make(pictures * (i + 1));
            Better(&news[i], Resync(path, pictures * (i + 1)));
            Better(&known[i], Resync(path, pictures * (i + 1)));
        }
    }
    Print((what + ", all new").c_str(), pictures, news[0], news[1]);
    Print((what + ", all known").c_str(), pictures, known[0], known[1]);
}

// Seconds for one import into a directory that stands in the queue already, behind so many others.
double Import(int lines) {
    Forget();
    const std::string folder = kShare + "/Import"s;
    PicturesMake(folder, 0, kImports);
    std::ofstream queue(kThumbQueue, std::ios::trunc);
    for (int i = 0; i < lines; ++i)
        queue << kShare << "/Waiting since yesterday/Album " << i << '\n';
    queue << folder << '\n';
    queue.close();
    const double start = Now();
    VELUIndexRunBegin();
    for (int i = 0; i < kImports; ++i)
        PhotoLibraryFileUpdate((folder + "/DSC" + std::to_string(i) + ".jpg").c_str(), kIndexAdd);
    if (VELUIndexRunEnd() != 0)
        Fail("VELUIndexRunEnd");
    const double seconds = (Now() - start) / kImports;
    if (Count() != kImports)
        Fail("the import");
    return seconds;
}

// Seconds for one plain scan of the queue for a line: large blocks, one memchr for each line.
double Scan() {
    const std::string wanted = kShare + "/Import"s;
    const double start = Now();
    int found = 0;
    for (int i = 0; i < kImports; ++i) {
        std::ifstream queue(kThumbQueue, std::ios::binary);
        std::string text(std::filesystem::file_size(kThumbQueue), '\0');
        if (!queue.read(text.data(), static_cast<std::streamsize>(text.size())))
            Fail("reading the queue");
        for (size_t at = 0; at < text.size();) {
            const size_t end = std::min(text.find('\n', at), text.size());
            found += std::string_view(text).substr(at, end - at) == wanted;
            at = end + 1;
        }
    }
    if (found != kImports)
        Fail("the scan");
    return (Now() - start) / kImports;
}

void BenchQueue() {
    signal(SIGUSR1, SIG_IGN); // this process stands in for the daemon that is woken
    std::ofstream(kThumbPidFile) << getpid() << '\n';
    double empty = Import(0);
    double full = Import(kQueueLines);
    double scan = Scan();
    for (int round = 1; round < kRounds; ++round) {
        empty = std::min(empty, Import(0));
        full = std::min(full, Import(kQueueLines));
        scan = std::min(scan, Scan());
    }
    printf("an import, queue of 1 line %26.1f us  of %d lines %.1f us   full/empty %.2f\n", empty * 1e6,
           kQueueLines, full * 1e6, full / empty);
    printf("a plain scan of that queue %26.1f us  the lookup's share %.1f us   lookup/scan %.2f\n",
           scan * 1e6, (full - empty) * 1e6, (full - empty) / scan);
    unlink(kThumbPidFile);
}

} // namespace

int main(int argc, char **argv) {
    if (getenv("VELU_SANDBOX") == nullptr) {
        fprintf(stderr, "usage: tests/sandbox %s [PICTURES]\n", argv[0]);
        return 2;
    }
    const int pictures = argc > 1 ? atoi(argv[1]) : kDefaultPictures;
    std::ofstream("/etc/veluinfo.conf")
        << "photodb=\"sqlite:" << kStore << "\"\nmediadb=\"sqlite:" << kMediaStore << "\"\n";
    supportphoto = 1;
    BenchSizes("resync of a tree", nullptr, pictures, TreeMake);
    static const std::string wide = kShare + "/wide"s;
    BenchSizes("refresh of one directory", wide.c_str(), pictures,
               [](int count) { PicturesMake(wide, 0, count); });
    BenchQueue();
    return 0;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the wall around a reader costs: files are opened, handed over and answered through socket, filter and slots. With an
// empty file, which no library looks at, that is all there is.
//
//   build/release/bin/reader_bench READER [FILE]     READER: build/release/lib/velu/velureader, say
#include "tests/unit/started_reader.h"

#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <chrono>

namespace {

constexpr int kRounds = 7;
constexpr int kFiles = 20'000;

double ReaderProcessorSeconds(const StartedReader &reader) {
    clockid_t clock = 0;
    timespec used = {};
    if (clock_getcpuclockid(reader.pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return 0;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

bool FileHandOver(StartedReader *reader, const char *path) {
    const FdHandle file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status = {};
    return file && fstat(file.get(), &status) == 0 && reader->HandOver(file.get(), status.st_size);
}

// Reads the file kFiles times, so many of them handed over ahead. False when the reader does not answer.
bool FilesRead(StartedReader *reader, const char *path, int ahead, Answer *answer) {
    static std::array<std::byte, kReaderAnswerSize> packet;
    int handed = 0;
    for (int answered = 0; answered < kFiles; ++answered) {
        for (; handed < kFiles && handed - answered < ahead; ++handed) {
            if (!FileHandOver(reader, path))
                return false;
        }
        const ssize_t got = PacketReceive(reader->socket.get(), packet, nullptr, 0, 0);
        if (got <= 0 || !AnswerDecode(std::span(packet).first(static_cast<size_t>(got)), answer))
            return false;
    }
    return true;
}

// Prints the best of some rounds. False when the reader does not answer.
bool Measure(StartedReader *reader, const char *path, int ahead) {
    double best = 1e9, best_used = 1e9;
    Answer answer;
    for (int round = 0; round < kRounds; ++round) {
        const double used = ReaderProcessorSeconds(*reader);
        const auto begin = std::chrono::steady_clock::now();
        if (!FilesRead(reader, path, ahead, &answer))
            return false;
        const std::chrono::duration<double, std::micro> took = std::chrono::steady_clock::now() - begin;
        best = std::min(best, took.count() / kFiles);
        best_used = std::min(best_used, (ReaderProcessorSeconds(*reader) - used) * 1e6 / kFiles);
    }
    printf("%d handed over ahead: %.1f us a file, %.1f us of the reader's processor time; %zu facts\n", ahead,
           best, best_used, answer.facts.facts.size());
    return true;
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 2) {
        fputs("reader_bench: name a reader\n", stderr);
        return 2;
    }
    const char *path = argc > 2 ? argv[2] : "/dev/shm/reader_bench.empty";
    if (argc == 2)
        close(creat(path, 0600));
    StartedReader reader(argv[1]);
    const bool good = reader.Receive().size() == sizeof(Hello) && Measure(&reader, path, 1) &&
                      Measure(&reader, path, kReaderSlots);
    if (argc == 2)
        unlink(path);
    if (!good)
        fputs("reader_bench: the reader does not answer\n", stderr);
    return good ? 0 : 1;
}

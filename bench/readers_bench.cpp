// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the pool of readers makes of each file many times over: files a second, processor time of this side and of the readers,
// and the memory of both. With tests/readers' program, which does nothing with a file, it is what handing over costs.
//
//   build/release/bin/readers_bench READERS PROGRAM FILE...     READERS: how many of them; a PROGRAM ...-films gets films
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <deque>
#include <string>
#include <string_view>
#include <utility>

#include "platform/file.h"
#include "reader/pool/reader_pool.h"

namespace {

constexpr int kFiles = 20'000;
constexpr int kLooked = 500; // files after which memory is looked at

double Seconds(const timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

double ProcessorSeconds(int who) {
    rusage usage = {};
    getrusage(who, &usage);
    return Seconds(usage.ru_utime) + Seconds(usage.ru_stime);
}

FileToRead FileOpen(const char *path, ReaderKind kind) {
    FileToRead file;
    file.kind = kind;
    struct stat status;
    file.file = OpenForReading(path);
    if (!file.file || fstat(file.file.get(), &status) != 0) {
        perror(path);
        exit(1);
    }
    file.size = status.st_size;
    const char *dot = strrchr(path, '.');
    file.extension = dot != nullptr ? dot + 1 : "";
    file.wants_picture = true;
    return file;
}

struct Measured {
    int answered = 0;
    int64_t resident = 0; // of the largest reader
};

Measured FilesRead(ReaderPool *pool, const char *path, ReaderKind kind) {
    Measured measured;
    std::deque<ReadTicket> ahead;
    for (int handed = 0; handed < kFiles || !ahead.empty();) {
        while (handed < kFiles && ahead.size() < kReaderAheadFiles) {
            ahead.push_back(ReaderPoolHandOver(pool, FileOpen(path, kind)));
            ++handed;
        }
        ReaderPoolServe(pool, !ReaderPoolIsRead(*pool, ahead.front()));
        for (; !ahead.empty() && ReaderPoolIsRead(*pool, ahead.front()); ahead.pop_front()) {
            const ReadResult read = ReaderPoolTake(pool, ahead.front());
            measured.answered +=
                read.end == ReadEnd::answered && read.answer.status == AnswerStatus::read ? 1 : 0;
        }
        if (handed % kLooked == 0)
            for (const PoolReader &reader : pool->readers)
                measured.resident = std::max(measured.resident, ReaderResidentBytes(reader.process));
    }
    return measured;
}

void Measure(int readers, const char *program, const char *path) {
    const double own = ProcessorSeconds(RUSAGE_SELF);
    const double theirs = ProcessorSeconds(RUSAGE_CHILDREN);
    const auto begin = std::chrono::steady_clock::now();
    ReaderPool pool;
    pool.kinds[0].program = pool.kinds[1].program = program;
    pool.readers_max = readers;
    const bool films = std::string_view(program).ends_with("-films");
    const Measured measured =
        FilesRead(&pool, path, films ? ReaderKind::films : ReaderKind::sound_and_photos);
    ReaderPoolEnd(&pool);
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    rusage usage = {};
    getrusage(RUSAGE_SELF, &usage);
    printf("%s: %d of %d read, %.0f a second; %.1f us of this side, %.1f us of readers; %ld kB, reader %lld "
           "kB\n",
           path, measured.answered, kFiles, kFiles / seconds,
           (ProcessorSeconds(RUSAGE_SELF) - own) / kFiles * 1e6,
           (ProcessorSeconds(RUSAGE_CHILDREN) - theirs) / kFiles * 1e6, usage.ru_maxrss,
           static_cast<long long>(measured.resident / 1024));
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 4) {
        fprintf(stderr, "usage: readers_bench READERS PROGRAM FILE...\n");
        return 2;
    }
    for (int i = 3; i < argc; ++i)
        Measure(atoi(argv[1]), argv[2], argv[i]);
    return 0;
}

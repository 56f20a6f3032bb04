// SPDX-License-Identifier: GPL-2.0-or-later
//
// Measures the reader of photos beside Exiv2 called plainly on the same files, in processor time.
//
//   build/release/bin/exiv2_bench FILE...
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bench/cpu_time.h"
#include "platform/handle.h"
#include "reader/photo/exiv2.h"
#include "reader/readers.h"

// The library's own smart pointer.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

constexpr int kReads = 500;

void ReadPlainly(const char *path) {
    const Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path);
    image->readMetadata();
}

size_t ReadByReader(const char *path) {
    const FdHandle file(open(path, O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0)
        return 0;
    ReaderInput input;
    input.fd = file.get();
    input.size = status.st_size;
    FactList facts;
    PhotoFactsRead(&input, ContentLook(&input), &facts);
    return facts.facts.size();
}

} // namespace

int main(int argc, char **argv) {
    PhotoReaderWarm();
    for (int i = 1; i < argc; ++i) {
        const char *path = argv[i];
        try {
            const double plain = CpuMicros(kReads, [path] { ReadPlainly(path); });
            const double reader = CpuMicros(kReads, [path] { ReadByReader(path); });
            printf("%s: %zu facts, %.1f us; Exiv2 plainly %.1f us; %.2f times\n", path, ReadByReader(path),
                   reader, plain, reader / plain);
        } catch (const std::exception &error) {
            printf("%s: Exiv2 alone does not read it: %s\n", path, error.what());
        }
    }
    return 0;
}

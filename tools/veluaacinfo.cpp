// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluaacinfo -i FILE: prints the play time and format of a raw AAC file as the daemon reads it,
//   AAC duration;SECONDS;samplerate;HZ;channel;COUNT;bitrate;BITS;
// or nothing, with exit status 1, for any other file.
#include "compat/aac/aac_walk.h"

#include <inttypes.h>
#include <stdio.h>
#include <string.h>

namespace {

constexpr int kNotAac = 1;
constexpr int kUsage = 2;
constexpr uint64_t kMicroseconds = 1'000'000;

} // namespace

int main(int argc, char **argv) {
    if (argc != 3 || strcmp(argv[1], "-i") != 0) {
        fputs("usage: veluaacinfo -i FILE\n", stderr);
        return kUsage;
    }
    AacInfo info;
    if (!AacWalk(argv[2], &info))
        return kNotAac;
    // Whole numbers on both sides of the point: no locale can make it a comma.
    printf("AAC duration;%" PRIu64 ".%06" PRIu64 ";samplerate;%" PRIu32 ";channel;%" PRIu32
           ";bitrate;%" PRIu32 ";\n",
           info.samples / info.sample_rate,
           info.samples % info.sample_rate * kMicroseconds / info.sample_rate, info.sample_rate,
           info.channels, info.bitrate);
    return fflush(stdout) == 0 ? 0 : kNotAac;
}

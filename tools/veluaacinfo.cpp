// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluaacinfo -i FILE: prints the play time and format of a raw AAC file as the daemon reads it,
//   AAC duration;SECONDS;samplerate;HZ;channel;COUNT;bitrate;BITS;
// or nothing, with exit status 1, for any other file.
#include "compat/aac/aac_walk.h"

#include <inttypes.h>
#include <stdio.h>

#include <string>

#include "tools/shared/command_line.h"
#include "tools/shared/help_text.h"

namespace {

constexpr int kNotAac = 1;
constexpr int kUsage = 2;
constexpr uint64_t kMicroseconds = 1'000'000;

} // namespace

int main(int argc, char **argv) {
    const HelpHead head = {"print the play time and format of a raw AAC file", "veluaacinfo", ""};
    std::string file;
    const CommandLine line = {{kHelpOption,
                               {.letter = 'i',
                                .name = nullptr,
                                .type = "FILE",
                                .description = "The file, which has to be named",
                                .target = &file}},
                              {}};
    std::string error;
    const CommandLineResult asked = CommandLineRead(line, argc, argv, &error);
    if (asked == CommandLineResult::help) {
        fputs(HelpText(head, line, {}, {}).c_str(), stdout);
        return 0;
    }
    if (asked == CommandLineResult::wrong || file.empty()) {
        fputs("usage: veluaacinfo -i FILE\n", stderr);
        return kUsage;
    }
    AacInfo info;
    if (!AacWalk(file.c_str(), &info))
        return kNotAac;
    // Whole numbers on both sides of the point: no locale can make it a comma.
    printf("AAC duration;%" PRIu64 ".%06" PRIu64 ";samplerate;%" PRIu32 ";channel;%" PRIu32
           ";bitrate;%" PRIu32 ";\n",
           info.samples / info.sample_rate,
           info.samples % info.sample_rate * kMicroseconds / info.sample_rate, info.sample_rate,
           info.channels, info.bitrate);
    return fflush(stdout) == 0 ? 0 : kNotAac;
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/options.h"

#include <errno.h>
#include <getopt.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tools/queue/request_path.h"

namespace {

void HelpPrint() {
    printf("Usage: veluwatchd [OPTION...] [DIRECTORY...]\n"
           "Watches the media shares, or the directories given, and queues what has changed\n"
           "there for veluindexd. Stays in the foreground.\n"
           "\n"
           "      --settle SECONDS    queue a change when nothing has happened for so long (%g)\n"
           "      --check SECONDS     look for shares that are away, so often (%g)\n"
           "      --rescan SECONDS    index anew what cannot be watched, so often (%g)\n"
           "      --reindex-at-start  index all that is watched anew, first\n"
           "  -h, --help              print this\n"
           "      --version           print the version\n",
           kSettleSeconds, kCheckSeconds, kRescanSeconds);
}

bool SecondsRead(const char *name, const char *text, double least, double most, double *seconds) {
    char *end = nullptr;
    const double value = strtod(text, &end);
    if (end != text && *end == '\0' && value >= least && value <= most) {
        *seconds = value;
        return true;
    }
    fprintf(stderr, "veluwatchd: %s: \"%s\" is no number of seconds from %g to %g\n", name, text, least,
            most);
    return false;
}

} // namespace

OptionsResult OptionsRead(int argc, char **argv, WatchOptions *options) {
    enum : int { settle = 1, check, rescan, reindex, version };
    constexpr option kOptions[] = {{"settle", required_argument, nullptr, settle},
                                   {"check", required_argument, nullptr, check},
                                   {"rescan", required_argument, nullptr, rescan},
                                   {"reindex-at-start", no_argument, nullptr, reindex},
                                   {"help", no_argument, nullptr, 'h'},
                                   {"version", no_argument, nullptr, version},
                                   {nullptr, 0, nullptr, 0}};
    for (int found = 0; (found = getopt_long(argc, argv, "h", kOptions, nullptr)) != -1;) {
        switch (found) {
        case settle:
            if (!SecondsRead("--settle", optarg, kSettleSecondsMin, kSettleSecondsMax, &options->settle))
                return OptionsResult::wrong;
            break;
        case check:
            if (!SecondsRead("--check", optarg, kCheckSecondsMin, kCheckSecondsMax, &options->check))
                return OptionsResult::wrong;
            break;
        case rescan:
            if (!SecondsRead("--rescan", optarg, kRescanSecondsMin, kRescanSecondsMax, &options->rescan))
                return OptionsResult::wrong;
            break;
        case reindex:
            options->reindex_at_start = true;
            break;
        case 'h':
            HelpPrint();
            return OptionsResult::done;
        case version:
            puts("veluwatchd " VELU_VERSION);
            return OptionsResult::done;
        default:
            fputs("Try \"veluwatchd --help\".\n", stderr);
            return OptionsResult::wrong;
        }
    }
    for (; optind < argc; ++optind) {
        options->paths.push_back(RequestPathMake(argv[optind]));
        if (options->paths.back().empty()) {
            fprintf(stderr, "veluwatchd: \"%s\": %s\n", argv[optind], strerror(errno));
            return OptionsResult::wrong;
        }
    }
    return OptionsResult::run;
}

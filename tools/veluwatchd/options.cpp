// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/options.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include "tools/queue/request_path.h"
#include "tools/shared/program_line.h"

namespace {

constexpr char kDescription[] =
    "watch the media shares, or the directories given, and queue what has changed there for veluindexd";

CommandOption Flag(const char *name, const char *description, bool *target) {
    return {.letter = '\0', .name = name, .type = nullptr, .description = description, .target = target};
}

CommandOption Seconds(const char *name, const std::string &description, SecondsTarget target) {
    return {.letter = '\0',
            .name = name,
            .type = "SECONDS",
            .description = description.c_str(),
            .target = target};
}

// With the value that holds unless another is given.
std::string Described(const char *what, double standard) {
    char text[128];
    snprintf(text, sizeof text, "%s (%g)", what, standard);
    return text;
}

} // namespace

ProgramLine OptionsRead(int argc, char **argv, WatchOptions *options) {
    const std::string settle =
        Described("Queue a change when nothing has happened for so long", options->settle);
    const std::string check = Described("Look for shares that are away, so often", options->check);
    const std::string rescan = Described("Index anew what cannot be watched, so often", options->rescan);
    bool version = false;
    const HelpHead head = {kDescription, "veluwatchd", ""};
    const CommandLine line = {
        {kHelpOption, Flag("version", "Print the version", &version),
         Seconds("settle", settle, {&options->settle, kSettleSecondsMin, kSettleSecondsMax}),
         Seconds("check", check, {&options->check, kCheckSecondsMin, kCheckSecondsMax}),
         Seconds("rescan", rescan, {&options->rescan, kRescanSecondsMin, kRescanSecondsMax}),
         Flag("reindex-at-start", "Index all that is watched anew, first", &options->reindex_at_start),
         Flag("catch-up", "Likewise, by the rules complete alone, which read what has changed",
              &options->catch_up)},
        {{"directory", "DIRECTORY", "What to watch instead of the shares", &options->paths}}};
    const ProgramLine asked = ProgramLineRead(head, line, argc, argv);
    if (asked != ProgramLine::run)
        return asked;
    if (version) {
        puts("veluwatchd " VELU_VERSION);
        return ProgramLine::done;
    }
    for (std::string &path : options->paths) {
        const std::string made = RequestPathMake(path);
        if (made.empty())
            return ProgramLineWrong(head, "\"" + path + "\": " + strerror(errno));
        path = made;
    }
    return ProgramLine::run;
}

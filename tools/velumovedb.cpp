// SPDX-License-Identifier: GPL-2.0-or-later
//
// velumovedb media|photo FROM TO: copies a catalogue into an empty database, of either engine. FROM and TO are
// the path of an SQLite file or what the keys mediadb and photodb take. Prints the number of rows of each table.
// Exit status 1, with the reason, on failure: FROM is then as it was, and TO not to be used.
#include <inttypes.h>
#include <stdio.h>
#include <syslog.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/index/catalogue_copy.h"
#include "platform/own_group.h"
#include "platform/rule_set.h"
#include "tools/shared/command_line.h"
#include "tools/shared/help_text.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

bool HasScheme(const std::string &place) {
    const size_t colon = place.find(':');
    return colon != std::string::npos && place.find('/') > colon;
}

std::string UriOf(const std::string &place) {
    return HasScheme(place) ? place : kVELUDBFileScheme + std::filesystem::absolute(place).string();
}

} // namespace

int main(int argc, char **argv) {
    std::string catalogue;
    std::string from;
    std::string to;
    const CommandLine line = {
        {kHelpOption},
        {{"catalogue", "CATALOGUE", "Which catalogue", &catalogue, true, {"media", "photo"}},
         {"from", "FROM", "The path of an SQLite file, sqlite:PATH or postgresql://...", &from, true},
         {"to", "TO", "An empty database, likewise", &to, true}}};
    std::string error;
    switch (CommandLineRead(line, argc, argv, &error)) {
    case CommandLineResult::help:
        fputs(HelpText({"copy a catalogue into another database", "velumovedb", ""}, line, {}, {}).c_str(),
              stdout);
        return 0;
    case CommandLineResult::wrong:
        fputs("usage: velumovedb media|photo FROM TO\n"
              "FROM and TO: the path of an SQLite file, sqlite:PATH or postgresql://...\n",
              stderr);
        return kUsage;
    case CommandLineResult::done:
        break;
    }
    openlog("velumovedb", LOG_PERROR, LOG_DAEMON); // the libraries tell the log what has failed
    RuleSetFollow();
    OwnGroupTake();
    std::vector<TableCopied> copied;
    if (CatalogueCopy(catalogue == "media" ? Catalogue::media : Catalogue::photo, UriOf(from).c_str(),
                      UriOf(to).c_str(), &copied) != 0) {
        fputs("velumovedb: failed; FROM is as it was\n", stderr);
        return kFailed;
    }
    for (const TableCopied &table : copied)
        printf("%s: %" PRId64 " rows\n", table.table.c_str(), table.rows);
    return fflush(stdout) == 0 ? 0 : kFailed;
}

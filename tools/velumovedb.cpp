// SPDX-License-Identifier: GPL-2.0-or-later
//
// velumovedb media|photo FROM TO: copies a catalogue into an empty database, of either engine. FROM and TO are
// the path of an SQLite file or what the keys mediadb and photodb take. Prints the number of rows of each table.
// Exit status 1, with the reason, on failure: FROM is then as it was, and TO not to be used.
#include <inttypes.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/index/catalogue_copy.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

struct Name {
    const char *text;
    Catalogue catalogue;
};
constexpr Name kNames[] = {{"media", Catalogue::media}, {"photo", Catalogue::photo}};

const Name *NameOf(const char *text) {
    for (const Name &name : kNames)
        if (strcmp(name.text, text) == 0)
            return &name;
    return nullptr;
}

bool HasScheme(const std::string &place) {
    const size_t colon = place.find(':');
    return colon != std::string::npos && place.find('/') > colon;
}

std::string UriOf(const std::string &place) {
    return HasScheme(place) ? place : kVELUDBFileScheme + std::filesystem::absolute(place).string();
}

} // namespace

int main(int argc, char **argv) {
    constexpr int kArguments = 4;
    const Name *name = argc == kArguments ? NameOf(argv[1]) : nullptr;
    if (name == nullptr) {
        fputs("usage: velumovedb media|photo FROM TO\n"
              "FROM and TO: the path of an SQLite file, sqlite:PATH or postgresql://...\n",
              stderr);
        return kUsage;
    }
    openlog("velumovedb", LOG_PERROR, LOG_DAEMON); // the libraries tell the log what has failed
    std::vector<TableCopied> copied;
    if (CatalogueCopy(name->catalogue, UriOf(argv[2]).c_str(), UriOf(argv[3]).c_str(), &copied) != 0) {
        fputs("velumovedb: failed; FROM is as it was\n", stderr);
        return kFailed;
    }
    for (const TableCopied &table : copied)
        printf("%s: %" PRId64 " rows\n", table.table.c_str(), table.rows);
    return fflush(stdout) == 0 ? 0 : kFailed;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogues: where they are, whether they can be reached, how large they are.
#include <stdlib.h>
#include <sys/stat.h>

#include <utility>
#include <vector>

#include "platform/veluindex.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/catalogue_reader.h"
#include "tools/veluctl/status/free_space.h"
#include "tools/veluctl/status/status.h"
#include "tools/veluctl/uri_text.h"

namespace {

int64_t FileSize(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 ? status.st_size : 0;
}

// Bytes on the disk: a file with its log, or what the server says. -1: not known.
int64_t DatabaseSize(CatalogueReader *reader, Catalogue catalogue, const char *uri) {
    if (const char *file = VELUDBFileGet(uri); file != nullptr)
        return FileSize(file) + FileSize(std::string(file) + "-wal");
    const ResultHandle rows =
        CatalogueQuery(reader, catalogue, "select pg_database_size(current_database()) as n", {});
    const char *size = rows != nullptr ? VELUDBFetchField(rows.get(), 0, "n") : nullptr;
    return size != nullptr ? strtoll(size, nullptr, 10) : -1;
}

struct Database {
    Catalogue catalogue;
    const char *name;
};
constexpr Database kDatabases[] = {{Catalogue::media, "media"}, {Catalogue::photo, "photo"}};

struct Table {
    const char *name;
    int64_t rows;       // -1: they cannot be counted
    std::string reason; // for which
};

// What was found of one.
struct Look {
    bool reached = false;
    int64_t bytes = -1;
    int64_t free_bytes = -1; // where its file is
    std::vector<Table> tables = {};
    std::string reason = {};                // why it, or a table of it, cannot be read
    std::vector<std::string> commands = {}; // that make a new one of it
};

Look CatalogueLook(CatalogueReader *reader, Catalogue catalogue, const char *uri) {
    Look look;
    *reader = {};
    look.reached = CatalogueConnect(reader, catalogue) != nullptr;
    if (look.reached)
        look.bytes = DatabaseSize(reader, catalogue, uri);
    if (const char *file = VELUDBFileGet(uri); file != nullptr)
        look.free_bytes = FreeBytes(file);
    for (const CatalogueTable &table : CatalogueTables()) {
        if (!look.reached || table.catalogue != catalogue)
            continue;
        const int64_t count = CatalogueCount(reader, table);
        look.tables.push_back({table.table, count, count < 0 ? reader->reason : ""});
    }
    look.reason = reader->reason;
    look.commands = reader->commands;
    return look;
}

void ForProgram(const Look &look, const std::string &place, Json *state) {
    JsonTextPut(state, "uri", place);
    (*state)["reachable"] = look.reached;
    if (!look.reason.empty())
        JsonTextPut(state, "reason", look.reason);
    if (!look.commands.empty())
        (*state)["commands"] = look.commands;
    (*state)["bytes"] = look.bytes >= 0 ? Json(look.bytes) : Json();
    (*state)["free_bytes"] = look.free_bytes >= 0 ? Json(look.free_bytes) : Json();
    (*state)["rows"] = Json::object();
    for (const Table &table : look.tables)
        (*state)["rows"][table.name] = table.rows >= 0 ? Json(table.rows) : Json();
}

void ForPerson(const Look &look, const char *name, const std::string &place) {
    printf("\n");
    StatusSay((std::string(name) + " catalogue").c_str(), SafeText(place));
    StatusSay("", look.reached
                      ? ValueShow(std::to_string(look.bytes), Type::bytes) + FreeText(", ", look.free_bytes)
                      : "not reachable: " + SafeText(look.reason));
    for (const Table &table : look.tables)
        printf("  %-14s %s\n", table.name,
               table.rows >= 0 ? std::to_string(table.rows).c_str() : SafeText(table.reason).c_str());
    if (!look.commands.empty())
        printf("It is damaged. A new one comes, and the old file is kept aside, by\n");
    for (const std::string &command : look.commands)
        printf("  %s\n", command.c_str());
}

} // namespace

bool CataloguesStatus(StatusView *status) {
    CatalogueReader reader;
    bool all_reached = true;
    for (const Database &database : kDatabases) {
        char uri[kCatalogueUriSize] = "";
        VELUIndexUriGet(database.catalogue, uri, sizeof uri);
        const Look look = CatalogueLook(&reader, database.catalogue, uri);
        all_reached = all_reached && look.reached && look.commands.empty();
        if (status->json)
            ForProgram(look, UriWithoutPassword(uri), &status->answer["catalogues"][database.name]);
        else
            ForPerson(look, database.name, UriWithoutPassword(uri));
    }
    return all_reached;
}

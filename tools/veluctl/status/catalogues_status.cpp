// SPDX-License-Identifier: GPL-2.0-or-later
//
// The catalogues: where they are, whether they can be reached, how large they are.
#include <stdlib.h>
#include <sys/stat.h>

#include "platform/veluindex.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/catalogue_reader.h"
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

} // namespace

bool CataloguesStatus(StatusView *status) {
    CatalogueReader reader;
    bool all_reached = true;
    for (const Database &database : kDatabases) {
        char uri[kCatalogueUriSize] = "";
        VELUIndexUriGet(database.catalogue, uri, sizeof uri);
        const std::string place = UriWithoutPassword(uri);
        const bool reached = CatalogueConnect(&reader, database.catalogue) != nullptr;
        all_reached = all_reached && reached;
        const int64_t size = reached ? DatabaseSize(&reader, database.catalogue, uri) : -1;
        Json state = Json::object();
        if (status->json) {
            JsonTextPut(&state, "uri", place);
            state["reachable"] = reached;
            if (!reached)
                JsonTextPut(&state, "reason", reader.failure);
            state["bytes"] = size >= 0 ? Json(size) : Json();
            state["rows"] = Json::object();
        } else {
            printf("\n");
            StatusSay((std::string(database.name) + " catalogue").c_str(), SafeText(place));
            StatusSay("", reached ? ValueShow(std::to_string(size), Type::bytes)
                                  : "not reachable: " + SafeText(reader.failure));
        }
        for (const CatalogueTable &table : CatalogueTables()) {
            if (!reached || table.catalogue != database.catalogue)
                continue;
            const int64_t count = CatalogueCount(&reader, table);
            if (status->json)
                state["rows"][table.table] = count >= 0 ? Json(count) : Json();
            else
                printf("  %-14s %s\n", table.table,
                       count >= 0 ? std::to_string(count).c_str() : SafeText(reader.failure).c_str());
        }
        if (status->json)
            status->answer["catalogues"][database.name] = state;
    }
    return all_reached;
}

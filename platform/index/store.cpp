// SPDX-License-Identifier: GPL-2.0-or-later
//
// Connections to the catalogues and the statements prepared on them.
#include "platform/index/store.h"

#include <stdio.h>

#include <algorithm>

#include "platform/velusdk.h"

namespace {

constexpr char kConfigFile[] = "/etc/veluinfo.conf";

struct Place {
    const char *key;
    const char *uri; // without the key
};

// By the numbers of Catalogue.
constexpr Place kPlaces[kCatalogues] = {
    {"mediadb", "sqlite:/var/lib/velu/mediaserver.db"},
    {"photodb", "sqlite:/var/lib/velu/photo.db"},
};

std::vector<std::string> &Statements() {
    static std::vector<std::string> statements;
    return statements;
}

constexpr int kNotPrepared = -1;

} // namespace

int VELUIndexUriGet(Catalogue catalogue, char *out, size_t size) {
    const Place &place = kPlaces[static_cast<size_t>(catalogue)];
    if (KLIBFileGetKeyValue(kConfigFile, place.key, out, size, 0) > 0)
        return 0;
    const int length = snprintf(out, size, "%s", place.uri);
    return length >= 0 && static_cast<size_t>(length) < size ? 0 : -1;
}

StoreConnectionRef StoreConnect(Catalogue catalogue) {
    char uri[kCatalogueUriSize] = "";
    if (VELUIndexUriGet(catalogue, uri, sizeof uri) != 0)
        return nullptr;
    auto connection = std::make_shared<StoreConnection>();
    connection->db = VELUDBOpen(uri);
    if (connection->db == nullptr || SchemaApply(connection->db, catalogue) != 0)
        return nullptr;
    return connection;
}

int StoreStatement(const std::string &sql) {
    std::vector<std::string> &statements = Statements();
    const auto found = std::find(statements.begin(), statements.end(), sql);
    if (found != statements.end())
        return static_cast<int>(found - statements.begin());
    statements.push_back(sql);
    return static_cast<int>(statements.size()) - 1;
}

int StoreRun(StoreConnection *connection, int statement, const VELUDBValue *values, size_t count,
             VELUDBResult **rows) {
    const auto number = static_cast<size_t>(statement);
    if (connection->prepared.size() <= number)
        connection->prepared.resize(number + 1, kNotPrepared);
    int &prepared = connection->prepared[number];
    if (prepared == kNotPrepared) {
        prepared = VELUDBPrepare(connection->db, Statements()[number].c_str());
        if (prepared < 0) {
            prepared = kNotPrepared;
            return -1;
        }
    }
    return VELUDBRun(connection->db, prepared, values, count, rows);
}

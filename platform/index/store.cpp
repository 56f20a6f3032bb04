// SPDX-License-Identifier: GPL-2.0-or-later
//
// Connections to the catalogues and the statements prepared on them.
#include "platform/index/store.h"

#include <algorithm>

#include "platform/configuration.h"

namespace {

// By the numbers of Catalogue.
constexpr const ConfigurationKey *kPlaces[kCatalogues] = {&ConfigurationKeyOf("mediadb"),
                                                          &ConfigurationKeyOf("photodb")};

std::vector<std::string> &Statements() {
    static std::vector<std::string> statements;
    return statements;
}

constexpr int kNotPrepared = -1;

} // namespace

int VELUIndexUriGet(Catalogue catalogue, char *out, size_t size) {
    return ConfigurationGet(*kPlaces[static_cast<size_t>(catalogue)], out, size);
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

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Connections to the catalogues and the statements prepared on them.
#include "platform/index/store.h"

#include "platform/configuration.h"
#include "platform/index/damage.h"
#include "platform/index/statements.h"

namespace {

// The keys of the catalogues, by the numbers of Catalogue.
constexpr const ConfigurationKey *kPlaces[kCatalogues] = {&ConfigurationKeyOf("mediadb"),
                                                          &ConfigurationKeyOf("photodb")};

constexpr int kNotPrepared = -1;

// A write without rows, on a table that few others lock: it costs nothing, needs no right that the daemon could do without,
// and keeps whoever deals out statements from asking a copy for the rest of the transaction.
constexpr const char *kFirstWrites[kCatalogues] = {"delete from directory where false",
                                                   "delete from video_comment where false"};

} // namespace

int VELUIndexUriGet(Catalogue catalogue, char *out, size_t size) {
    return ConfigurationGet(*kPlaces[static_cast<size_t>(catalogue)], out, size);
}

StoreConnectionRef StoreConnect(Catalogue catalogue, bool tell) {
    char uri[kCatalogueUriSize] = "";
    if (VELUIndexUriGet(catalogue, uri, sizeof uri) != 0)
        return nullptr;
    auto connection = std::make_shared<StoreConnection>();
    connection->catalogue = catalogue;
    std::string reason;
    connection->db.reset(VELUDBOpen(uri, CatalogueName(catalogue), tell, &reason));
    if (connection->db == nullptr && tell)
        DamageTell(catalogue, reason);
    bool *has_files = catalogue == Catalogue::media ? &connection->has_files : nullptr;
    if (connection->db == nullptr || SchemaApply(connection->db.get(), catalogue, tell, has_files) != 0)
        return nullptr;
    return connection;
}

int StoreRun(StoreConnection *connection, int statement, const VELUDBValue *values, size_t count,
             VELUDBResult **rows) {
    const auto number = static_cast<size_t>(statement);
    if (connection->prepared.size() <= number)
        connection->prepared.resize(number + 1, kNotPrepared);
    int &prepared = connection->prepared[number];
    if (prepared == kNotPrepared) {
        prepared = VELUDBPrepare(connection->db.get(), StatementText(statement).c_str());
        if (prepared < 0) {
            prepared = kNotPrepared;
            return -1;
        }
    }
    return VELUDBRun(connection->db.get(), prepared, values, count, rows);
}

int StoreWriteNothing(VELUDB *db, Catalogue catalogue) {
    return VELUDBExecute(db, kFirstWrites[static_cast<size_t>(catalogue)], nullptr) < 0 ? -1 : 0;
}

int StoreBegin(VELUDB *db, Catalogue catalogue, bool one_view) {
    if ((one_view ? VELUDBBeginOneView(db) : VELUDBBegin(db)) != 0)
        return -1;
    if (!VELUDBWordsOf(db).pooled || StoreWriteNothing(db, catalogue) == 0)
        return 0;
    VELUDBRollback(db);
    return -1;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reading rows of the catalogues: a result set together with the connection that it came from.
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <memory>
#include <string>

#include "platform/index/run.h"
#include "platform/veluindex.h"

struct VELUIndexRows {
    Catalogue catalogue;
    StoreConnectionRef connection;
    ResultHandle result;
};

namespace {

constexpr char kLogName[] = "catalogue_rows.c";

template <size_t N>
VELUIndexRows *Open(Catalogue catalogue, const char *const (&tables)[N], int table, const char *columns,
                    const char *condition, const char *order, int limit) {
    if (table < 0 || static_cast<size_t>(table) >= N || limit < 0) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return nullptr;
    }
    std::string sql = "select ";
    sql.append(columns != nullptr && *columns != '\0' ? columns : "*").append(" from ").append(tables[table]);
    if (condition != nullptr && *condition != '\0')
        sql.append(" where ").append(condition);
    if (order != nullptr && *order != '\0')
        sql.append(" order by ").append(order);
    if (limit > 0)
        sql.append(" limit ").append(std::to_string(limit));
    RunScope scope;
    // Callers run statements of their own on the rows' connection: those belong to no batch, and none is open
    // while the connection is lent.
    StoreConnectionRef connection = RunConnection(catalogue);
    if (connection == nullptr)
        return nullptr;
    ResultHandle result = RunQuery(catalogue, sql.c_str());
    if (result == nullptr) {
        const std::string reason = VELUDBErrorGet(connection->db.get());
        if (RunBorrowedFailed(catalogue, connection->db.get()))
            syslog(LOG_ERR, "%s (%d) Failed to read [%s]. (%s)", kLogName, __LINE__, sql.c_str(),
                   reason.c_str());
        return nullptr;
    }
    auto rows = std::make_unique<VELUIndexRows>();
    rows->catalogue = catalogue;
    rows->connection = std::move(connection);
    rows->result = std::move(result);
    return rows.release();
}

} // namespace

VELUIndexRows *MediaInfoDBOpen(int table, const char *columns, const char *condition, const char *order,
                               int limit) {
    return Open(Catalogue::media, kMediaTables, table, columns, condition, order, limit);
}

void MediaInfoDBClose(VELUIndexRows *rows) {
    delete rows;
}

VELUIndexRows *PhotoInfoDBOpen(int table, const char *columns, const char *condition, const char *order,
                               int limit) {
    return Open(Catalogue::photo, kPhotoTables, table, columns, condition, order, limit);
}

void PhotoInfoDBClose(VELUIndexRows *rows) {
    delete rows;
}

const VELUDBResult *VELUIndexRowsResult(const VELUIndexRows *rows) {
    return rows == nullptr ? nullptr : rows->result.get();
}

VELUDB *VELUIndexRowsConnection(const VELUIndexRows *rows) {
    return rows == nullptr ? nullptr : rows->connection->db.get();
}

int VELUIndexRowsExecute(const VELUIndexRows *rows, const char *sql) {
    VELUDB *db = VELUIndexRowsConnection(rows);
    if (db == nullptr)
        return -1;
    return StoreAlone(db, rows->catalogue, [&] { return VELUDBExecute(db, sql, nullptr); });
}

void VELUIndexRowsFailed(const VELUIndexRows *rows) {
    if (rows != nullptr)
        RunBorrowedFailed(rows->catalogue, rows->connection->db.get());
}

PhotoPathList *PhotoPathDBGet(const VELUIndexRows *rows) {
    const VELUDBResult *result = VELUIndexRowsResult(rows);
    PhotoPathList *first = nullptr;
    PhotoPathList **end = &first;
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;) {
        const char *field = VELUDBFetchField(result, row, "path");
        if (field == nullptr)
            continue;
        auto node = std::make_unique<PhotoPathList>();
        node->path = strdup(field);
        if (node->path == nullptr) {
            syslog(LOG_ERR, "%s (%d) Failed to duplicate string.", kLogName, __LINE__);
            break;
        }
        *end = node.release();
        end = &(*end)->next;
    }
    return first;
}

void FreePhotoPathList(PhotoPathList *list) {
    while (list != nullptr) {
        const std::unique_ptr<PhotoPathList> node(list);
        list = node->next;
        free(node->path);
    }
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// A connection under test, to a fresh database.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "databases.h"
#include "log_catcher.h"
#include "platform/veludb.h"

extern int sqlite_busy_milliseconds; // of the SQLite engine

class VeluDbFixture : public testing::Test {
protected:
    void TearDown() override {
        VELUDBClose(db);
        std::filesystem::remove_all(kFolder);
    }

    void Use(const std::string &engine) {
        std::filesystem::remove_all(kFolder);
        uri = engine == "sqlite" ? "sqlite:" + kFile : EmptyServerDatabase("unit_db");
        db = VELUDBOpen(uri.c_str());
        ASSERT_NE(db, nullptr);
    }

    int Exec(const std::string &sql) { return VELUDBExecute(db, sql.c_str(), nullptr); }

    // The field x of each row, joined by '|'; NULL is "-".
    std::string Query(const std::string &sql) {
        VELUDBResult *rows = nullptr;
        if (VELUDBExecute(db, sql.c_str(), &rows) < 0)
            return std::string("error: ") + VELUDBErrorGet(db);
        std::string all;
        for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
            const char *field = VELUDBFetchField(rows, row, "x");
            all += (row > 0 ? "|" : "") + std::string(field != nullptr ? field : "-");
        }
        VELUDBFreeResult(rows);
        return all;
    }

    // The field `name` of each row, a line each.
    std::string Lines(const std::string &sql, const char *name) {
        VELUDBResult *rows = nullptr;
        std::string all;
        if (VELUDBExecute(db, sql.c_str(), &rows) < 0)
            return VELUDBErrorGet(db);
        for (int row = -1; VELUDBFetchRow(rows, &row) == 0;)
            all += std::string(VELUDBFetchField(rows, row, name)) + "\n";
        VELUDBFreeResult(rows);
        return all;
    }

    const std::string kFolder = "/tmp/veludb_test";
    const std::string kFile = kFolder + "/a/b/test.db";
    std::string uri;
    VELUDB *db = nullptr;
};

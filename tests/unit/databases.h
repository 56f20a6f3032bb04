// SPDX-License-Identifier: GPL-2.0-or-later
//
// The engines that the store's tests run on, and empty databases of them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <set>
#include <string>

#include "platform/veludb.h"

#if VELU_POSTGRESQL
inline constexpr const char *kEngines[] = {"sqlite", "postgresql"};
#else
inline constexpr const char *kEngines[] = {"sqlite"};
#endif

#define ON_ALL_ENGINES(suite)                                                                                \
    INSTANTIATE_TEST_SUITE_P(On, suite, testing::ValuesIn(kEngines),                                         \
                             [](const auto &engine) { return std::string(engine.param); })

// The throw-away server that tests/postgres starts: its URI without a database.
inline std::string ServerUri() {
    const char *uri = getenv("VELU_POSTGRESQL");
    return uri != nullptr ? uri : "";
}

inline bool EngineIsReady(const std::string &engine) {
    return engine == "sqlite" || !ServerUri().empty();
}

inline constexpr char kNoServer[] = "there is no server: run the tests through tests/postgres";

// Runs statements that must succeed.
inline void MustExecute(const std::string &uri, const std::vector<std::string> &statements) {
    VELUDB *db = VELUDBOpen(uri.c_str());
    ASSERT_NE(db, nullptr) << uri;
    for (const std::string &sql : statements)
        EXPECT_GE(VELUDBExecute(db, sql.c_str(), nullptr), 0) << sql << ": " << VELUDBErrorGet(db);
    VELUDBClose(db);
}

// The URI of a database of the server, emptied.
inline std::string EmptyServerDatabase(const std::string &name) {
    static std::set<std::string> made;
    std::string uri = ServerUri() + "/" + name;
    if (made.insert(name).second)
        MustExecute(ServerUri() + "/postgres",
                    {"drop database if exists " + name, "create database " + name + " template template0"});
    else
        MustExecute(uri, {"drop schema public cascade", "create schema public"});
    return uri;
}

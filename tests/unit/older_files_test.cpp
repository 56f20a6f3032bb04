// SPDX-License-Identifier: GPL-2.0-or-later
//
// What an idle daemon looks for by the rules `complete` in a catalogue that nobody has written to by them.
#include "daemon/queue_older.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/rule_set.h"
#include "platform/veludb.h"
#include "tests/unit/databases.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace {

class OlderFilesLook : public testing::TestWithParam<const char *> {
protected:
    void SetUp() override {
        if (!EngineIsReady(GetParam()))
            GTEST_SKIP() << kNoServer;
        SandboxReset();
        const bool file = std::string(GetParam()) == "sqlite";
        uri = file ? "sqlite:/var/lib/velu/older.db" : EmptyServerDatabase("older");
        if (file)
            MustExecute(uri, {"create table of_another_program (path text)"});
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\nmediadb=\"" + uri + "\"\n");
        RuleSetRead();
        OlderFilesBegin();
        LogTake();
    }
    void TearDown() override {
        std::filesystem::remove("/etc/veluinfo.conf");
        RuleSetRead();
    }

    bool IsThere(const std::string &table) const {
        const DatabaseHandle db(VELUDBOpen(uri.c_str()));
        return VELUDBQuery(db.get(), ("select 1 from " + table).c_str()) != nullptr;
    }

    std::string uri;
};

} // namespace

TEST_P(OlderFilesLook, MakesNoTables) {
    EXPECT_EQ(OlderFilesRead([] { return false; }), 0u);
    EXPECT_TRUE(LogTake().empty());
    EXPECT_FALSE(IsThere("schema_version"));
    EXPECT_FALSE(IsThere("file_state"));
}

ON_ALL_ENGINES(OlderFilesLook);

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Files whose rows say something else than they do, and requests about them, under the rule set `complete`.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_rename.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"

inline std::string StampNow(const std::string &path) {
    struct stat status;
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return FileStampOf(status);
}

inline constexpr FileFact kKnownFacts[] = {{"artist", 0, "One", "one"}, {"artist", 1, "Two", "two"}};

// Saves a row of a file as it would be if the file had been read, long at rest, and had said something else than it does. `more`
// comes behind the file's own stamp.
inline void KnownSave(const std::string &path, const std::string &title, const std::string &album = "tagged",
                      const std::string &more = "", int kind = kMediaMusic) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.title, sizeof record.title, "%s", title.c_str());
    snprintf(record.album, sizeof record.album, "%s", album.c_str());
    const std::string stamp = StampNow(path) + more;
    char folder[4096];
    record.has_cover =
        GetCoverFolder(path.c_str(), folder, sizeof folder) != 0 && std::filesystem::exists(folder) ? 1 : 0;
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kind, &record, {.stamp = stamp, .facts = kKnownFacts}), 0); });
}

// In one run.
inline void Do(const Texts &lines) {
    InRun([&] {
        for (const std::string &line : lines) {
            QueueRequest request;
            ASSERT_TRUE(QueueLineParse(line, request)) << line;
            QueueRequestExecute(request);
        }
        RenamesSettle();
    });
}

inline void Do(const std::string &line) {
    Do(Texts{line});
}

inline std::string StateField(const std::string &path, const std::string &field) {
    return MediaRow("file_state", path)[field];
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// What tests of covers by the rules `complete` look at.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>
#include <string>

#include "catalogue/file_stamp.h"
#include "catalogue/folder_cover.h"
#include "daemon/queue_commands.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/test_files.h"

inline constexpr char kCovers[] = "/var/lib/velu/covers";
inline const std::string kJpegHead = "\xFF\xD8\xFF\xE0";

// The bytes of a media file's cover, of which its row is to know; empty for none.
inline std::string CoverOf(const std::string &media) {
    char folder[4096];
    EXPECT_EQ(GetCoverFolder(media.c_str(), folder, sizeof folder), 1);
    std::string cover;
    if (std::filesystem::exists(folder))
        for (const auto &entry : std::filesystem::directory_iterator(folder)) {
            EXPECT_EQ(cover, "") << "it has one";
            cover = entry.path();
        }
    const char *table = MediaRow("music", media).empty() ? "video" : "music";
    EXPECT_EQ(MediaRow(table, media)["has_cover"], cover.empty() ? "0" : "1") << media;
    return cover.empty() ? "" : FileRead(cover);
}

inline bool NothingIsKept() {
    return !std::filesystem::exists(kCovers) || std::filesystem::is_empty(kCovers);
}

// Pictures, however many names each has.
inline size_t FilesKept() {
    std::set<ino_t> files;
    for (const auto &entry : std::filesystem::recursive_directory_iterator(kCovers)) {
        struct stat status;
        if (entry.is_regular_file() && stat(entry.path().c_str(), &status) == 0)
            files.insert(status.st_ino);
    }
    return files.size();
}

inline void Ask(char command, const std::string &path, const std::string &old_path = "") {
    InRun([&] {
        QueueRequest request;
        request.command = static_cast<QueueCommand>(command);
        request.argument = path;
        request.old_path = old_path;
        QueueRequestExecute(request);
    });
}

inline void StampSet(const std::string &path, const std::string &stamp) {
    VELUDB *db = VELUDBOpen("sqlite:/var/lib/velu/mediaserver.db");
    ASSERT_NE(db, nullptr);
    const std::string sql = "update file_state set stamp = '" + stamp + "' where path = '" + path + "'";
    EXPECT_EQ(VELUDBExecute(db, sql.c_str(), nullptr), 1);
    VELUDBClose(db);
}

// Gives a file the stamp that it gets once it has been at rest for some seconds, with what that says of its cover.
inline void Settle(const std::string &path, const std::string &beside) {
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    StampSet(path, FileStampOf(status) + beside);
}

// What the stamps of files without a picture say of that of their directory.
inline std::string FolderStamp(const std::string &media) {
    FolderCovers covers;
    const FolderCoverRef cover = FolderCoverOf(&covers, media, false);
    return cover != nullptr ? cover->stamp : "";
}

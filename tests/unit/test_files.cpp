// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/test_files.h"

#include <gtest/gtest.h>

#include <algorithm>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/veludb.h"
#include "platform/velusdk.h"

namespace fs = std::filesystem;

namespace {

constexpr char kMediaDatabase[] = "sqlite:/var/lib/velu/mediaserver.db";

} // namespace

void FileWrite(const std::string &path, std::string_view content) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
    ASSERT_TRUE(IsFileExist(path.c_str(), nullptr)) << path;
}

std::string FileRead(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void SandboxReset() {
    for (const char *folder : {"/volume1/music", "/volume1/video", "/volume1/photo", "/var/spool",
                               "/var/lib/velu", "/usr/velu/bin", "/var/services"}) {
        fs::create_directories(folder);
        for (const auto &entry : fs::directory_iterator(folder))
            fs::remove_all(entry);
    }
    for (const char *share : {"music", "video", "photo"})
        fs::create_directory_symlink(std::string("/volume1/") + share, std::string("/var/services/") + share);
    fs::remove("/etc/veluinfo.conf");
    fs::remove("/etc.defaults/veluinfo.conf");
}

std::map<std::string, std::string> MediaRow(const std::string &table, const std::string &path) {
    std::map<std::string, std::string> row;
    VELUDB *database = VELUDBOpen(kMediaDatabase);
    EXPECT_NE(database, nullptr);
    std::string literal(path.size() * 2 + 1, '\0');
    literal.resize(VELUDBEscapeString(literal.data(), path.c_str(), path.size()));
    VELUDBResult *result = nullptr;
    const std::string columns = table == "directory" ? "path,title,create_time,modify_time"
                                : table == "file_state"
                                    ? "path,stamp,added,trouble"
                                    : "path,title,album,artist,genre,composer,comment,track,disc,year,"
                                      "duration,audio_bitrate,video_bitrate,sample_rate,channels,width,"
                                      "height,file_size,create_time,modify_time,has_cover,camera_make,"
                                      "camera_model,exposure_time,f_number,date_taken,iso_speed";
    EXPECT_GE(
        VELUDBExecute(database,
                      ("select " + columns + " from " + table + " where path='" + literal + "'").c_str(),
                      &result),
        0)
        << VELUDBErrorGet(database);
    if (VELUDBRowCount(result) > 0) {
        for (size_t start = 0; start < columns.size();) {
            const size_t end = std::min(columns.find(',', start), columns.size());
            const std::string column = columns.substr(start, end - start);
            const char *field = VELUDBFetchField(result, 0, column.c_str());
            row[column] = field == nullptr ? "NULL" : field;
            start = end + 1;
        }
    }
    VELUDBFreeResult(result);
    VELUDBClose(database);
    return row;
}

std::vector<std::string> MediaPaths(const std::string &table) {
    std::vector<std::string> paths;
    VELUDB *database = VELUDBOpen(kMediaDatabase);
    EXPECT_NE(database, nullptr);
    VELUDBResult *result = nullptr;
    // A store that nothing has been asked of yet has no tables.
    VELUDBExecute(database, ("select name from sqlite_master where name='" + table + "'").c_str(), &result);
    const bool has_table = VELUDBRowCount(result) == 1;
    VELUDBFreeResult(result);
    if (!has_table) {
        VELUDBClose(database);
        return paths;
    }
    EXPECT_GE(VELUDBExecute(database, ("select path from " + table + " order by path").c_str(), &result), 0);
    for (int row = -1; VELUDBFetchRow(result, &row) == 0;)
        paths.emplace_back(VELUDBFetchField(result, row, "path"));
    VELUDBFreeResult(result);
    VELUDBClose(database);
    return paths;
}

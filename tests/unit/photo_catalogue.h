// SPDX-License-Identifier: GPL-2.0-or-later
//
// The photo catalogue as tests look at it.
#pragma once

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "catalogue/features.h"
#include "photo/photo_index.h"
#include "photo/photo_share.h"
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

using Texts = std::vector<std::string>;

// The column x of a query, joined by "|"; NULL is "-".
inline std::string PhotoQuery(const std::string &sql) {
    PhotoDBExec("select 1"); // makes the tables of a new catalogue
    VELUDB *db = VELUDBOpen("sqlite:/var/lib/velu/photo.db");
    VELUDBResult *rows = nullptr;
    EXPECT_GE(VELUDBExecute(db, sql.c_str(), &rows), 0) << VELUDBErrorGet(db);
    std::string all;
    for (int row = -1; VELUDBFetchRow(rows, &row) == 0;) {
        const char *field = VELUDBFetchField(rows, row, "x");
        all += (row > 0 ? "|" : "") + std::string(field != nullptr ? field : "-");
    }
    VELUDBFreeResult(rows);
    VELUDBClose(db);
    return all;
}

inline std::string PhotoField(const std::string &column) {
    return PhotoQuery("select " + column + " as x from photo_image order by path");
}

inline std::string Albums(const std::string &columns = "sharename") {
    return PhotoQuery("select " + columns + " as x from photo_share order by sharename");
}

// Makes a picture with its row.
inline void PictureAdd(const std::string &path) {
    FileWrite(path, exif_bytes::PlainJpeg(4, 3));
    EXPECT_EQ(PhotoIndexAdd(path.c_str(), kIndexAdd), 0);
}

// Makes a directory of the photo share with its album, down to one level below the top.
inline void AlbumAdd(const std::string &name) {
    const std::string path = "/volume1/photo/" + name;
    std::filesystem::create_directories(path);
    PhotoShareUpdate(path.c_str(), 1);
}

// A converter that writes its arguments to /tmp/converted.
inline void ConverterInstall() {
    FileWrite("/usr/velu/bin/veluflvconv", "#!/bin/sh\necho \"$@\" >>/tmp/converted\n");
    chmod("/usr/velu/bin/veluflvconv", 0755);
    unlink("/tmp/converted");
}

class PhotoLibraryFixture : public testing::Test {
protected:
    PhotoLibraryFixture() {
        SandboxReset();
        ConverterInstall();
        supportphoto = 1;
        supportcinehall = 1;
        unlink("/var/run/velumkthumbd.pid");
        unlink("/var/run/velumkflvd.pid");
        LogTake();
    }
    ~PhotoLibraryFixture() override {
        supportphoto = 0;
        supportcinehall = 0;
    }
};

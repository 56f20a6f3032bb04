// SPDX-License-Identifier: GPL-2.0-or-later
//
// Media files made by ffmpeg in a folder of their own, and the probe over them.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <string>
#include <vector>

#include "container/metamedia.h"
#include "platform/media_record.h"
#include "tests/unit/log_capture.h"

using Texts = std::vector<std::string>;

struct ProbeTest : testing::Test {
    void SetUp() override {
        ASSERT_NE(nullptr, mkdtemp(folder));
        LogTake();
    }
    void TearDown() override { Shell(std::string("rm -rf ") + folder); }

    static void Shell(const std::string &command) { ASSERT_EQ(0, system(command.c_str())) << command; }

    [[nodiscard]] std::string Path(const std::string &name) const { return std::string(folder) + "/" + name; }

    // `arguments` of ffmpeg for the file `name`.
    std::string Make(const std::string &name, const std::string &arguments) {
        Shell("cd " + std::string(folder) + " && ffmpeg -v error -nostdin -y " + arguments + " " + name);
        return Path(name);
    }

    std::string Write(const std::string &name, const std::string &content) {
        FILE *file = fopen(Path(name).c_str(), "wb");
        EXPECT_EQ(content.size(), fwrite(content.data(), 1, content.size(), file));
        fclose(file);
        return Path(name);
    }

    int Get(const std::string &path) {
        record = std::make_unique<MediaInfo>();
        strcpy(record->title, "default title");
        strcpy(record->album, "default album");
        record->track = -1;
        return MiscMediaInfoGet(path.c_str(), record.get());
    }

    char folder[32] = "/tmp/probe.XXXXXX";
    std::unique_ptr<MediaInfo> record;
};

inline constexpr char kTone[] = "-f lavfi -i sine=r=44100:d=1";
inline constexpr char kPicture[] = "-f lavfi -i testsrc=s=320x240:r=10:d=1";
inline constexpr char kTags[] =
    " -metadata title=Title -metadata artist=Artist -metadata album=Album -metadata genre=Genre"
    " -metadata date=2004-05-01 -metadata track=7/12 ";

inline Texts ProbeFailure(const std::string &line, const std::string &path) {
    Texts lines;
    if (!line.empty())
        lines.push_back("metamedia.c# " + line);
    lines.push_back("metamedia.c# Failed to get Misc Media Info from [" + path + "].");
    return lines;
}

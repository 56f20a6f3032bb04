// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/page_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

constexpr char kFolder[] = "/tmp/page";
constexpr char kPage[] = "/tmp/page/page.html";

class PageFile : public testing::Test {
protected:
    void SetUp() override { std::filesystem::create_directory(kFolder); }
    void TearDown() override { std::filesystem::remove_all(kFolder); }

    static std::string Read() {
        std::ifstream file(kPage);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    static mode_t Rights() {
        struct stat status = {};
        stat(kPage, &status);
        return status.st_mode & 0777;
    }
    static long Entries() {
        return std::distance(std::filesystem::directory_iterator(kFolder),
                             std::filesystem::directory_iterator());
    }
};

} // namespace

TEST_F(PageFile, ANewOneHasTheRightsThatTheMaskLeaves) {
    const mode_t before = umask(027);
    EXPECT_EQ(PageFileWrite(kPage, "page"), "");
    umask(before);
    EXPECT_EQ(Read(), "page");
    EXPECT_EQ(Rights(), 0640u);
    EXPECT_EQ(Entries(), 1);
}

TEST_F(PageFile, OneThatIsReplacedKeepsItsRights) {
    std::ofstream(kPage) << "a longer page than the new one";
    chmod(kPage, 0600);
    EXPECT_EQ(PageFileWrite(kPage, "page"), "");
    EXPECT_EQ(Read(), "page");
    EXPECT_EQ(Rights(), 0600u);
    EXPECT_EQ(Entries(), 1);
}

TEST_F(PageFile, OneOfAnotherUserDoesNotSayWhoMayWriteIt) {
    constexpr uid_t kSomebody = 12345;
    std::ofstream(kPage) << "bait";
    chmod(kPage, 0666);
    ASSERT_EQ(chown(kPage, kSomebody, kSomebody), 0);
    const mode_t before = umask(027);
    EXPECT_EQ(PageFileWrite(kPage, "page"), "");
    umask(before);
    EXPECT_EQ(Read(), "page");
    EXPECT_EQ(Rights(), 0640u);
}

TEST_F(PageFile, WhatIsNoOrdinaryFileIsLeftAlone) {
    for (const char *path : {"/dev/null", kFolder})
        EXPECT_NE(PageFileWrite(path, "page"), "") << path;
    ASSERT_EQ(symlink("/tmp/page/other", kPage), 0);
    EXPECT_NE(PageFileWrite(kPage, "page"), "");
    EXPECT_EQ(Entries(), 1);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

TEST_F(PageFile, AFailureTellsWhyAndLeavesNothing) {
    EXPECT_EQ(PageFileWrite("/tmp/page/none/page.html", "page"), "No such file or directory");
    EXPECT_EQ(Entries(), 0);
}

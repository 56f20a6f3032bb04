// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <memory>

namespace {

constexpr const char *kAttribute = "VELUPHOTO:TITLE";
constexpr const char *kLink = "/tmp/files-link";

std::string AttributePath(const char *path, size_t size = 4095) {
    const std::unique_ptr<char[]> out(new char[size]);
    out[0] = 'x';
    if (VELUEAPath(path, kAttribute, out.get(), size) == 0)
        return out.get();
    EXPECT_STREQ(out.get(), "");
    return "(failed)";
}

} // namespace

TEST(SdkFiles, RegularFile) {
    const ScratchFile file("12345");
    uint64_t size = 0;
    EXPECT_EQ(IsFileExist(file.c_str(), &size), 1);
    EXPECT_EQ(size, 5u);
    EXPECT_EQ(IsFileExist(file.c_str(), nullptr), 1);
    EXPECT_EQ(BlKLIBFileExist(file.c_str()), 1);
    EXPECT_EQ(IsDirExist(file.c_str()), 0);
}

TEST(SdkFiles, SizeBeyondFourGigabytes) {
    const ScratchFile file("");
    ASSERT_EQ(truncate(file.c_str(), 5LL << 30), 0);
    uint64_t size = 0;
    EXPECT_EQ(IsFileExist(file.c_str(), &size), 1);
    EXPECT_EQ(size, 5ULL << 30);
}

TEST(SdkFiles, Directory) {
    uint64_t size = 77;
    EXPECT_EQ(IsDirExist("/tmp"), 1);
    EXPECT_EQ(IsDirExist("/tmp/"), 1);
    EXPECT_EQ(BlKLIBFileExist("/tmp"), 1);
    EXPECT_EQ(IsFileExist("/tmp", &size), 0);
    EXPECT_EQ(size, 77u);
}

TEST(SdkFiles, NeitherFileNorDirectory) {
    EXPECT_EQ(BlKLIBFileExist("/dev/null"), 1);
    EXPECT_EQ(IsFileExist("/dev/null", nullptr), 0);
    EXPECT_EQ(IsDirExist("/dev/null"), 0);
}

TEST(SdkFiles, MissingPathOrArgument) {
    for (const char *path : {"/tmp/no-such-file", "", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(BlKLIBFileExist(path), 0);
        EXPECT_EQ(IsFileExist(path, nullptr), 0);
        EXPECT_EQ(IsDirExist(path), 0);
    }
}

TEST(SdkFiles, LinksAreFollowed) {
    const ScratchFile file("123");
    uint64_t size = 0;
    ASSERT_EQ(symlink(file.c_str(), kLink), 0);
    EXPECT_EQ(IsFileExist(kLink, &size), 1);
    EXPECT_EQ(size, 3u);
    unlink(kLink);
    ASSERT_EQ(symlink("/tmp", kLink), 0);
    EXPECT_EQ(IsDirExist(kLink), 1);
    EXPECT_EQ(IsFileExist(kLink, nullptr), 0);
    unlink(kLink);
    ASSERT_EQ(symlink("/tmp/no-such-file", kLink), 0);
    EXPECT_EQ(BlKLIBFileExist(kLink), 0);
    EXPECT_EQ(IsFileExist(kLink, nullptr), 0);
    unlink(kLink);
}

TEST(SdkAttributePath, BesideTheFile) {
    EXPECT_EQ(AttributePath("/volume1/photo/a/b.jpg"), "/volume1/photo/a/@eaDir/b.jpg/VELUPHOTO:TITLE");
    EXPECT_EQ(AttributePath("/b.jpg"), "/@eaDir/b.jpg/VELUPHOTO:TITLE");
    EXPECT_EQ(AttributePath("a/b.jpg"), "a/@eaDir/b.jpg/VELUPHOTO:TITLE");
    EXPECT_EQ(AttributePath("/a/b \n\xff%s"), "/a/@eaDir/b \n\xff%s/VELUPHOTO:TITLE");
}

TEST(SdkAttributePath, DirectoryWithTrailingSlashes) {
    EXPECT_EQ(AttributePath("/volume1/photo/Trips/"), "/volume1/photo/@eaDir/Trips/VELUPHOTO:TITLE");
    EXPECT_EQ(AttributePath("/volume1/photo/Trips///"), "/volume1/photo/@eaDir/Trips/VELUPHOTO:TITLE");
}

TEST(SdkAttributePath, NoDirectoryPart) {
    for (const char *path : {"", "/", "//", "name", "name/"})
        EXPECT_EQ(AttributePath(path), "(failed)") << path;
}

TEST(SdkAttributePath, NothingIsCut) {
    const std::string full = "/a/@eaDir/b/VELUPHOTO:TITLE";
    EXPECT_EQ(AttributePath("/a/b", full.size() + 1), full);
    for (size_t size = 1; size <= full.size(); ++size)
        EXPECT_EQ(AttributePath("/a/b", size), "(failed)") << size;
}

TEST(SdkAttributePath, MissingArguments) {
    char out[64] = "x";
    EXPECT_NE(VELUEAPath(nullptr, kAttribute, out, sizeof out), 0);
    EXPECT_STREQ(out, "");
    EXPECT_NE(VELUEAPath("/a/b", nullptr, out, sizeof out), 0);
    EXPECT_NE(VELUEAPath("/a/b", "", out, sizeof out), 0);
    EXPECT_NE(VELUEAPath("/a/b", kAttribute, nullptr, sizeof out), 0);
    EXPECT_NE(VELUEAPath("/a/b", kAttribute, out, 0), 0);
}

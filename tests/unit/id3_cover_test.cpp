// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3_cover.h"

#include "log_catcher.h"
#include "mp3_bytes.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <filesystem>

using namespace mp3_bytes;

namespace {

// What fchmod fails with, unless it is 0. Nothing on the disk makes it fail for the maker of a file.
int fchmod_error = 0;

} // namespace

// Stands in for the C library's.
extern "C" int fchmod(int fd, mode_t mode) noexcept {
    if (fchmod_error == 0)
        return static_cast<int>(syscall(SYS_fchmod, fd, mode));
    errno = fchmod_error;
    return -1;
}

namespace {

class Id3Cover : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(chown(song.path.c_str(), 1234, 2345), 0); }
    void TearDown() override { std::filesystem::remove_all("/var/lib/velu/covers"); }

    // Saves the picture of a frame's data that stands in a file on its own.
    int Save(const std::string &data, int version = 3) {
        return SaveFrame((version == 2 ? Frame22("PIC", data) : Frame23("APIC", data)), data.size(), version);
    }

    int SaveFrame(const std::string &frame, size_t size, int version = 3) {
        Opened file("12345" + frame);
        return Id3CoverSave(&file.ctx, 5, 1, version, static_cast<uint32_t>(size), song.path.c_str());
    }

    [[nodiscard]] std::string Place(int type, int format) const {
        char path[4096] = "";
        EXPECT_EQ(GetCoverPath(song.path.c_str(), path, sizeof path, type, 1, format), 1);
        return path;
    }

    [[nodiscard]] std::string Folder() const {
        char path[4096] = "";
        EXPECT_EQ(GetCoverFolder(song.path.c_str(), path, sizeof path), 1);
        return path;
    }

    void ExpectLogged(const std::string &text) {
        const std::string line = log.Next();
        EXPECT_NE(line.find(text), std::string::npos) << line;
    }

    LogCatcher log;
    const SongFile song{"x"};
};

TEST_F(Id3Cover, StoresAJpeg) {
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg)), 1);
    EXPECT_EQ(Contents(Place(3, kCoverJpeg)), kJpeg);
    struct stat status;
    ASSERT_EQ(stat(Place(3, kCoverJpeg).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0777u);
    EXPECT_EQ(status.st_uid, 1234u);
    EXPECT_EQ(status.st_gid, 2345u);
    EXPECT_TRUE(log.Quiet());
}

TEST_F(Id3Cover, MimeTypesCompareWithoutCase) {
    EXPECT_EQ(Save(Picture("IMAGE/PNG", 0, "\x89PNG1234")), 1);
    EXPECT_EQ(Contents(Place(0, kCoverPng)), "\x89PNG1234");
    EXPECT_EQ(Save(Picture("Image/JPG", 20, kJpeg)), 1);
    EXPECT_TRUE(Exists(Place(20, kCoverJpeg)));
}

TEST_F(Id3Cover, Version2HasThreeLetters) {
    EXPECT_EQ(Save("\1JPG\3front\0"s + kJpeg, 2), 1);
    EXPECT_EQ(Contents(Place(3, kCoverJpeg)), kJpeg);
    EXPECT_EQ(Save("\1png\4\0"s + kJpeg, 2), 1);
    EXPECT_EQ(Contents(Place(4, kCoverPng)), kJpeg);
    EXPECT_EQ(Save("\1gif\4\0"s + kJpeg, 2), 0);
    ExpectLogged(") Wrong MIME type: gif, file:/volume1/music/song.mp3");
}

TEST_F(Id3Cover, OtherMimeTypesAreRefused) {
    EXPECT_EQ(Save(Picture("image/gif", 3, kJpeg)), 0);
    ExpectLogged(") Wrong MIME type: image/gif, file:/volume1/music/song.mp3");
    EXPECT_EQ(Save(Picture("", 3, kJpeg)), 0);
    ExpectLogged(") Wrong MIME type: , file:");
    EXPECT_EQ(Save(Picture("image/jpeg2", 3, kJpeg)), 0);
    ExpectLogged(") Wrong MIME type: image/jpeg2, file:");
    EXPECT_EQ(Save(""), 0);
    ExpectLogged(") Wrong MIME type: , file:");
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Id3Cover, OnlyThirtyOneBytesOfAMimeTypeAreRead) {
    const std::string longest(kId3MimeTypeMax, 'm');
    for (const char *behind : {"", "n"}) {
        EXPECT_EQ(Save(Picture(longest + behind, 3, kJpeg)), 0);
        ExpectLogged("type: " + longest + ", file:");
    }
}

TEST_F(Id3Cover, MimeTypeEndsWithTheFrame) {
    EXPECT_EQ(SaveFrame(Frame23("APIC", "\0image/jpeg"s) + "\0\0\3\0"s + kJpeg, 8), 0);
    ExpectLogged(") Wrong MIME type: image/j, file:");
    // Complete, but without its zero byte: the picture type is then two bytes behind, and no image is left.
    EXPECT_EQ(SaveFrame(Frame23("APIC", "\0image/jpeg"s) + "x\25" + kJpeg, 11), 0);
    ExpectLogged(") Wrong cover type: 21");
    EXPECT_EQ(SaveFrame(Frame23("APIC", "\0image/jpeg"s) + "x\3" + kJpeg, 11), 0);
    EXPECT_TRUE(log.Quiet());
}

TEST_F(Id3Cover, PictureTypesEndAtTwenty) {
    EXPECT_EQ(Save(Picture("image/png", 21, kJpeg)), 0);
    ExpectLogged(") Wrong cover type: 21");
    EXPECT_EQ(Save(Picture("image/png", 255, kJpeg)), 0);
    ExpectLogged(") Wrong cover type: 255");
}

TEST_F(Id3Cover, TooSmallPicturesAreIgnoredSilently) {
    EXPECT_EQ(Save(Picture("image/jpeg", 3, "123456789")), 0);
    EXPECT_EQ(Save(Picture("image/png", 3, "1234567")), 0);
    EXPECT_EQ(Save("\0image/png\0\3no end of the description"s), 0);
    EXPECT_EQ(Save("\0image/png\0\3"s), 0);
    EXPECT_TRUE(log.Quiet());
    EXPECT_FALSE(Exists(Folder()));
    EXPECT_EQ(Save(Picture("image/jpeg", 3, "1234567890")), 1);
    EXPECT_EQ(Save(Picture("image/png", 3, "12345678")), 1);
}

TEST_F(Id3Cover, LargePicturesAreCopiedWhole) {
    std::string image(kReaderWindow * 3 + 77, '\0');
    for (size_t i = 0; i < image.size(); ++i)
        image[i] = static_cast<char>(i * 7 + i / 1000);
    EXPECT_EQ(Save(Picture("image/jpeg", 3, image)), 1);
    EXPECT_EQ(Contents(Place(3, kCoverJpeg)), image);
}

TEST_F(Id3Cover, CutPicturesEndInFillerUpToOneWindow) {
    const std::string frame = Frame23("APIC", Picture("image/jpeg", 3, kJpeg));
    const size_t size = frame.size() - 10;
    EXPECT_EQ(SaveFrame(frame, size + kPictureFillMax), 1);
    EXPECT_EQ(Contents(Place(3, kCoverJpeg)), kJpeg + std::string(kPictureFillMax, '\x11'));
    std::filesystem::remove_all("/var/lib/velu/covers");
    EXPECT_EQ(SaveFrame(frame, size + kPictureFillMax + 1), 0);
    EXPECT_EQ(SaveFrame(frame, 0xFFFFFFFF), 0);
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Id3Cover, PictureFramesEndAt64MiB) {
    const std::string head = Frame23("APIC", Picture("image/jpeg", 3, kJpeg));
    FdHandle sparse = MemoryFile(head);
    ASSERT_EQ(ftruncate(sparse.get(), kPictureFrameMax + 100), 0);
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, std::move(sparse), kPictureFrameMax + 100);
    const auto limit = static_cast<uint32_t>(kPictureFrameMax);
    EXPECT_EQ(Id3CoverSave(&ctx, 0, 1, 3, limit + 1, song.path.c_str()), 0);
    EXPECT_FALSE(Exists(Folder()));
    EXPECT_EQ(Id3CoverSave(&ctx, 0, 1, 3, limit, song.path.c_str()), 1);
    EXPECT_EQ(std::filesystem::file_size(Place(3, kCoverJpeg)), limit - Picture("image/jpeg", 3, "").size());
}

TEST_F(Id3Cover, ReplacesAnOlderCoverAndNotWhatALinkPointsTo) {
    const std::string place = Place(3, kCoverJpeg);
    std::ofstream("/tmp/kept") << "kept";
    ASSERT_EQ(symlink("/tmp/kept", place.c_str()), 0);
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg)), 1);
    EXPECT_EQ(Contents(place), kJpeg);
    EXPECT_EQ(Contents("/tmp/kept"), "kept");
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg + "newer")), 1);
    EXPECT_EQ(Contents(place), kJpeg + "newer");
    unlink("/tmp/kept");
}

TEST_F(Id3Cover, UnlinkFailureIsLogged) {
    const std::string place = Place(3, kCoverJpeg);
    ASSERT_EQ(mkdir(place.c_str(), 0755), 0);
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg)), 0);
    ExpectLogged(") FAILED to unlink :" + place + ",  reason=Is a directory");
}

TEST_F(Id3Cover, NoPlaceIsLogged) {
    std::ofstream("/etc/veluinfo.conf") << "coverdir=\"relative\"\n";
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg)), 0);
    ExpectLogged(") FAILED to get CoverPath :/volume1/music/song.mp3");
    unlink("/etc/veluinfo.conf");
}

TEST_F(Id3Cover, OpenFailureIsLogged) {
    Opened file(Frame23("APIC", Picture("image/jpeg", 3, kJpeg)));
    struct rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const struct rlimit none = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const int saved = Id3CoverSave(&file.ctx, 0, 1, 3, 30, song.path.c_str());
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    EXPECT_EQ(saved, 0);
    ExpectLogged(") FAILED TO OPEN " + Place(3, kCoverJpeg) + ", reason=Too many open files");
}

TEST_F(Id3Cover, ACoverThatCannotBeOwnedIsRemovedAgain) {
    const std::string place = Place(3, kCoverJpeg);
    ASSERT_EQ(chmod(Folder().c_str(), 0777), 0);
    ASSERT_EQ(seteuid(4321), 0);
    const int saved = Save(Picture("image/jpeg", 3, kJpeg));
    ASSERT_EQ(seteuid(0), 0);
    EXPECT_EQ(saved, 0);
    ExpectLogged("FAILED TO chown " + place + " to uid=1234, gid=2345, reason: Operation not permitted");
    EXPECT_FALSE(Exists(place));
}

// The following leave neither the picture nor its folder behind.

TEST_F(Id3Cover, ModeFailureIsLogged) {
    const std::string place = Place(3, kCoverJpeg);
    fchmod_error = EROFS;
    const int saved = Save(Picture("image/jpeg", 3, kJpeg));
    fchmod_error = 0;
    EXPECT_EQ(saved, 0);
    ExpectLogged(") FAILED TO chmod " + place + ", reason: Read-only file system");
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Id3Cover, WriteFailureIsLogged) {
    struct rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const struct rlimit small = {100, before.rlim_max};
    Opened file(Frame23("APIC", Picture("image/jpeg", 3, kJpeg + std::string(5000, 'p'))));
    const auto handler = signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const int saved = Id3CoverSave(&file.ctx, 0, 1, 3, 5050, song.path.c_str());
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    signal(SIGXFSZ, handler);
    EXPECT_EQ(saved, 0);
    ExpectLogged(") FAILED TO WRITE PIC FILE, reason=File too large");
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Id3Cover, MissingMediaFileIsLogged) {
    unlink(song.path.c_str());
    EXPECT_EQ(Save(Picture("image/jpeg", 3, kJpeg)), 0);
    ExpectLogged(") FAILED TO stat /volume1/music/song.mp3, reason: No such file or directory");
    EXPECT_FALSE(Exists(Folder()));
}

TEST_F(Id3Cover, MissingArguments) {
    Opened file("x");
    EXPECT_EQ(Id3CoverSave(nullptr, 0, 1, 3, 10, "/a"), 0);
    ExpectLogged(") Bad parameters.");
    EXPECT_EQ(Id3CoverSave(&file.ctx, 0, 1, 3, 10, nullptr), 0);
    ExpectLogged(") Bad parameters.");
}

} // namespace

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which files the MP4 reader opens, and how it walks their boxes.
#include <gtest/gtest.h>

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/handle.h"
#include "platform/limits.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/mp4_open.h"

namespace {

uint32_t TracksOf(std::string_view content) {
    const OpenMovie movie(content);
    return MP4GetNumberOfTracks(movie.handle);
}

std::string NameOf(std::string_view content) {
    const OpenMovie movie(content);
    return TextOf(movie.handle, MP4GetMetadataName);
}

size_t OpenFiles() {
    size_t count = 0;
    DIR *folder = opendir("/proc/self/fd");
    while (readdir(folder) != nullptr)
        ++count;
    closedir(folder);
    return count;
}

const std::string kMoov = BoxBytes("moov", MovieHeader() + Track());

} // namespace

TEST(Mp4FileTest, FilesWithoutAMovieHeaderAreRefused) {
    EXPECT_EQ(MP4Read(nullptr, 0), nullptr);
    EXPECT_EQ(MP4Read("", 0), nullptr);
    EXPECT_EQ(MP4Read("/tmp/there-is-no-such-file.mp4", 0), nullptr);
    EXPECT_EQ(MP4Read("/tmp", 0), nullptr);
    EXPECT_FALSE(Opens(""));
    EXPECT_FALSE(Opens("1234567"));
    EXPECT_FALSE(Opens("This is a text and not a film at all.\n"));
    EXPECT_FALSE(Opens(BoxBytes("ftyp", "isom") + BoxBytes("mdat", Zeros(100))));
    EXPECT_FALSE(Opens(BoxBytes("moov", "")));
    EXPECT_FALSE(Opens(BoxBytes("moov", Track())));
    EXPECT_TRUE(Opens(BoxBytes("moov", MovieHeader())));
}

TEST(Mp4FileTest, AMovieHeaderMustBeWhole) {
    const std::string file = BoxBytes("moov", MovieHeader());
    EXPECT_FALSE(Opens(std::string_view(file).substr(0, file.size() - 1)));
    const std::string file1 = BoxBytes("moov", MovieHeader(1));
    EXPECT_TRUE(Opens(file1));
    EXPECT_FALSE(Opens(std::string_view(file1).substr(0, file1.size() - 1)));
    // Only the first one counts.
    EXPECT_FALSE(Opens(BoxBytes("moov", BoxBytes("mvhd", "") + MovieHeader())));
}

TEST(Mp4FileTest, OnlyTheFirstMovieCounts) {
    EXPECT_EQ(TracksOf(BoxBytes("moov", MovieHeader()) + kMoov), 0u);
    EXPECT_EQ(TracksOf(kMoov + BoxBytes("moov", MovieHeader())), 1u);
    EXPECT_FALSE(Opens(BoxBytes("moov", "") + kMoov));
}

TEST(Mp4FileTest, NeitherNameNorBrandNorPlaceMatter) {
    EXPECT_EQ(TracksOf(kMoov), 1u);
    EXPECT_EQ(TracksOf(BoxBytes("ftyp", "qt  ") + kMoov), 1u);
    EXPECT_EQ(TracksOf(BoxBytes("mdat", Zeros(9000)) + BoxBytes("free", "") + kMoov), 1u);
    EXPECT_EQ(TracksOf(BoxBytes("uuid", Zeros(16) + "anything") + BoxBytes("what", "ever") + kMoov), 1u);
}

TEST(Mp4FileTest, ThreeKindsOfSizesAreKnown) {
    EXPECT_EQ(TracksOf(LargeBox("mdat", Zeros(50)) + LargeBox("moov", MovieHeader() + Track())), 1u);
    EXPECT_EQ(TracksOf(OpenBox("moov", MovieHeader() + Track())), 1u);
    EXPECT_EQ(TracksOf(OpenBox("mdat", Zeros(50)) + kMoov), 0u);
    // In a parent the end of the file is beyond its own end.
    EXPECT_EQ(
        TracksOf(BoxBytes("moov", MovieHeader() + OpenBox("trak", std::string_view(Track()).substr(8))) +
                 BoxBytes("free", Zeros(100))),
        1u);
}

TEST(Mp4FileTest, ABoxThatRunsPastItsParentIsCut) {
    const std::string content = MovieHeader() + Track();
    EXPECT_EQ(TracksOf(LyingBox(0xFFFFFFFF, "moov", content)), 1u);
    EXPECT_EQ(TracksOf(LyingBox(1, "moov", U64(UINT64_MAX) + content)), 1u);
    EXPECT_EQ(TracksOf(LyingBox(1, "mdat", U64(INT64_MAX)) + kMoov), 0u);
    EXPECT_EQ(TracksOf(BoxBytes("moov", MovieHeader() + Track() + LyingBox(5000, "udta", "")) + kMoov), 1u);
}

TEST(Mp4FileTest, ASizeBelowItsHeaderEndsTheWalkOfItsParent) {
    EXPECT_EQ(TracksOf(LyingBox(7, "free", "") + kMoov), 0u);
    EXPECT_EQ(TracksOf(LyingBox(2, "free", "") + kMoov), 0u);
    EXPECT_EQ(TracksOf(LyingBox(1, "free", U64(15)) + kMoov), 0u);
    EXPECT_EQ(TracksOf(kMoov + LyingBox(3, "free", "")), 1u);
    EXPECT_EQ(TracksOf(BoxBytes("moov", MovieHeader() + Track() + LyingBox(4, "free", "") + Track())), 1u);
}

TEST(Mp4FileTest, AFewBytesAtTheEndOfAParentAreIgnored) {
    EXPECT_EQ(TracksOf(BoxBytes("moov", MovieHeader() + Track() + "1234567") + "12345"), 1u);
    EXPECT_EQ(TracksOf(BoxBytes("moov", MovieHeader() + Track() + U32(1) + "free1234567") + "12345"), 1u);
}

TEST(Mp4FileTest, BoxesBehindFourGigabytesAreFound) {
    const ScratchFile file(LyingBox(1, "mdat", U64(uint64_t{5} << 30)));
    const int fd = open(file.c_str(), O_WRONLY);
    ASSERT_EQ(pwrite(fd, kMoov.data(), kMoov.size(), off_t{5} << 30), static_cast<ssize_t>(kMoov.size()));
    close(fd);
    const MP4FileHandle handle = MP4Read(file.c_str(), 0);
    EXPECT_EQ(MP4GetNumberOfTracks(handle), 1u);
    MP4Close(handle);
}

TEST(Mp4FileTest, APipeIsNotOpened) {
    const char *pipe = "/tmp/mp4.fifo";
    ASSERT_EQ(mkfifo(pipe, 0600), 0);
    const FdHandle watch(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    ASSERT_GE(inotify_add_watch(watch.get(), pipe, IN_OPEN), 0);
    EXPECT_EQ(MP4Read(pipe, 0), nullptr);
    char event[sizeof(inotify_event) + NAME_MAX + 1];
    EXPECT_EQ(read(watch.get(), event, sizeof event), -1) << "it was opened";
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(MP4Read("/dev/zero", 0), nullptr);
    unlink(pipe);
}

TEST(Mp4FileTest, EveryFileIsClosedAgain) {
    const size_t before = OpenFiles();
    for (const std::string &content : {kMoov, std::string("text that is no film"), BoxBytes("moov", "")})
        Opens(content);
    EXPECT_EQ(OpenFiles(), before);
    MP4Close(MP4_INVALID_FILE_HANDLE);
}

TEST(Mp4FileTest, ACutFileGivesWhatIsReadable) {
    const std::string first = Track({.sizes = SizeTable(std::vector<uint32_t>(100, 7))});
    const std::string file = BoxBytes("moov", MovieHeader() + first + Track(VideoTrack()) +
                                                  UserData(ItemBox("\251nam", "A title")));
    for (size_t length = 0; length < file.size(); ++length) {
        const OpenMovie movie(std::string_view(file).substr(0, length));
        EXPECT_EQ(movie.handle != nullptr, length >= 8 + MovieHeader().size()) << length;
        if (length >= 8 + MovieHeader().size() + first.size()) {
            EXPECT_EQ(MP4GetTrackBitRate(movie.handle, 1), 128000u) << length;
            EXPECT_EQ(MP4GetTrackAudioChannels(movie.handle, 1), 2) << length;
        }
    }
}

TEST(Mp4FileTest, ATrackMayLackItsTablesWhereTheFileEnds) {
    const std::string file = BoxBytes("moov", MovieHeader() + Track({.entries = SoundEntry("mp4a", 6)}));
    const size_t tables = file.find("stsz") + 20; // in the middle of the sizes
    const OpenMovie movie(std::string_view(file).substr(0, tables));
    ASSERT_EQ(MP4GetNumberOfTracks(movie.handle), 1u);
    EXPECT_EQ(MP4GetTrackAudioChannels(movie.handle, 1), 6);
    EXPECT_EQ(MP4GetTrackTimeScale(movie.handle, 1), 44100u);
    EXPECT_EQ(MP4GetTrackDuration(movie.handle, 1), 441000u);
    EXPECT_EQ(MP4GetTrackBitRate(movie.handle, 1), 0u);
}

TEST(Mp4FileTest, ACutTitleIsAsLongAsItGot) {
    const std::string file = MovieFile(Track(), ItemBox("\251nam", "A title"));
    EXPECT_EQ(NameOf(file), "A title");
    EXPECT_EQ(NameOf(std::string_view(file).substr(0, file.size() - 3)), "A ti");
    EXPECT_EQ(NameOf(std::string_view(file).substr(0, file.size() - 7)), "(none)");
}

TEST(Mp4FileTest, BoxesAreBounded) {
    // moov, mvhd and the walks of the track take some of the share; the rest goes before they are reached.
    std::string empty_boxes;
    for (uint32_t i = 0; i < kMp4BoxesMax - 1; ++i)
        empty_boxes += BoxBytes("free", "");
    EXPECT_FALSE(Opens(empty_boxes + kMoov));
    empty_boxes.resize(empty_boxes.size() - 8);
    EXPECT_TRUE(Opens(empty_boxes + kMoov));
    EXPECT_EQ(TracksOf(empty_boxes + kMoov), 0u);
    empty_boxes.resize(empty_boxes.size() - 8 * 32);
    EXPECT_EQ(TracksOf(empty_boxes + kMoov), 1u);
}

TEST(Mp4FileTest, TracksAreBounded) {
    std::string tracks;
    for (uint32_t i = 1; i <= kMp4TracksMax; ++i)
        tracks += Track({.id = i});
    EXPECT_EQ(TracksOf(MovieFile(tracks)), kMp4TracksMax);
    EXPECT_EQ(TracksOf(MovieFile(tracks + Track())), kMp4TracksMax);
}

TEST(Mp4FileTest, DeepNestingCostsNothing) {
    std::string nested;
    for (int i = 0; i < 2000; ++i)
        nested = BoxBytes("udta", nested);
    EXPECT_EQ(TracksOf(MovieFile(Track() + nested)), 1u);
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which tracks albums lack.
#include "tools/veluctl/overview/track_gaps.h"

#include <gtest/gtest.h>

namespace {

std::vector<AlbumGaps> GapsOf(const std::vector<AlbumTrack> &tracks) {
    std::vector<AlbumGaps> all;
    TrackGaps gaps([&](const AlbumGaps &found) { all.push_back(found); });
    for (const AlbumTrack &track : tracks)
        gaps.Add(track);
    gaps.End();
    return all;
}

} // namespace

TEST(TrackGaps, NumbersAreWrittenAsRanges) {
    EXPECT_EQ(NumbersMissing({1, 2, 3}, 3), "");
    EXPECT_EQ(NumbersMissing({1, 3, 4, 8}, 10), "2, 5-7, 9-10");
    EXPECT_EQ(NumbersMissing({}, 2), "1-2");
    EXPECT_EQ(NumbersMissing({5}, 3), "1-3");
}

TEST(TrackGaps, AnAlbumIsWhatLiesInOneDirectoryUnderOneTitle) {
    const std::vector<AlbumGaps> gaps = GapsOf({{"/m/a/1.mp3", "A", "X", 1, 1, 0},
                                                {"/m/a/3.mp3", "A", "Y", 1, 3, 0},
                                                {"/m/a/4.mp3", "B", "X", 1, 4, 0},
                                                {"/m/b/2.mp3", "A", "X", 1, 2, 0},
                                                {"/m/b/3.mp3", "A", "X", 2, 3, 0}});
    ASSERT_EQ(gaps.size(), 1u) << "one track alone is no album";
    EXPECT_EQ(gaps[0].directory, "/m/a");
    EXPECT_EQ(gaps[0].missing, "2");
    EXPECT_EQ(gaps[0].artist, "") << "they differ";
    EXPECT_EQ(gaps[0].present, 2u);
}

TEST(TrackGaps, SubDirectoriesBetweenAreAlbumsOfTheirOwn) {
    const std::vector<AlbumGaps> gaps = GapsOf({{"/m/1.mp3", "A", "X", 1, 1, 0},
                                                {"/m/cd/1.mp3", "A", "X", 1, 1, 0},
                                                {"/m/cd/2.mp3", "A", "X", 1, 2, 4},
                                                {"/m/x.mp3", "A", "X", 1, 3, 0}});
    ASSERT_EQ(gaps.size(), 2u);
    EXPECT_EQ(gaps[0].directory, "/m/cd");
    EXPECT_EQ(gaps[0].missing, "3-4") << "a tag has the total";
    EXPECT_EQ(gaps[1].directory, "/m");
    EXPECT_EQ(gaps[1].missing, "2");
    EXPECT_EQ(gaps[1].artist, "X");
}

TEST(TrackGaps, NumbersThatAreNoTracksDoNotCount) {
    EXPECT_TRUE(GapsOf({{"/m/1", "A", "X", 1, 1, kTrackMax + 1},
                        {"/m/2", "A", "X", 1, 2, 0},
                        {"/m/3", "A", "X", 1, kTrackMax + 1, 0},
                        {"/m/4", "A", "X", 1, 0, 0}})
                    .empty());
    EXPECT_EQ(GapsOf({{"/m/1", "A", "X", 1, 1, 0}, {"/m/2", "A", "X", 1, kTrackMax, 0}}).front().missing,
              "2-" + std::to_string(kTrackMax - 1));
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/playlist_target.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "catalogue/bounds.h"
#include "platform/media_record.h"

namespace {

using Paths = std::vector<std::string>;

const Paths kShares = {"/volume1/music", "/volume2/video"};
constexpr char kList[] = "/volume1/music/Lists/a/list.m3u";

Paths PathsOf(const std::string &target, const std::string &list = kList) {
    return TargetPaths(target, list, kShares);
}

bool MayBe(const std::string &target, const std::string &path, const std::string &list = kList) {
    const Paths paths = PathsOf(target, list);
    return std::ranges::find(paths, path) != paths.end();
}

} // namespace

TEST(PlaylistTarget, PathsFromTheListOrFromTheRoot) {
    EXPECT_EQ(PathsOf("b.mp3"), Paths{"/volume1/music/Lists/a/b.mp3"});
    EXPECT_EQ(PathsOf("./x//b.mp3"), Paths{"/volume1/music/Lists/a/x/b.mp3"});
    EXPECT_EQ(PathsOf("../../Album/b.mp3"), Paths{"/volume1/music/Album/b.mp3"});
    EXPECT_EQ(PathsOf("..\\..\\Album\\b.mp3"), Paths{"/volume1/music/Album/b.mp3"});
    EXPECT_EQ(PathsOf("../../../../../../../b.mp3"), Paths{"/b.mp3"});
    EXPECT_EQ(PathsOf("/volume1/music/Album/b.mp3"), Paths{"/volume1/music/Album/b.mp3"});
    EXPECT_EQ(PathsOf("/volume2/video/../video/f.mkv"), Paths{"/volume2/video/f.mkv"});
    EXPECT_EQ(PathsOf("Artist: Song.mp3"), Paths{"/volume1/music/Lists/a/Artist: Song.mp3"});
    EXPECT_EQ(PathsOf("100%.mp3"), Paths{"/volume1/music/Lists/a/100%.mp3"});
    EXPECT_EQ(PathsOf("100%25 pure.mp3"), Paths{"/volume1/music/Lists/a/100%25 pure.mp3"})
        << "it has a plain blank";
    EXPECT_EQ(PathsOf("01%20b.mp3"), Paths{"/volume1/music/Lists/a/01 b.mp3"});
    EXPECT_EQ(PathsOf("a\xff.mp3"), Paths{"/volume1/music/Lists/a/a\xff.mp3"});
    EXPECT_EQ(PathsOf("b.mp3", "/elsewhere/list.m3u"), Paths{"/elsewhere/b.mp3"});
}

TEST(PlaylistTarget, Urls) {
    for (const char *url : {"file:///volume1/music/a%20b.mp3", "FILE://localhost/volume1/music/a%20b.mp3",
                            "file:/volume1/music/a b.mp3", "file:///volume1/./music//a%20b.mp3"})
        EXPECT_EQ(PathsOf(url), Paths{"/volume1/music/a b.mp3"}) << url;
    for (const char *url :
         {"http://example.org/a.mp3", "https://example.org/", "mms://x/y.wma", "rtsp://x", "x-y.z+1://a"})
        EXPECT_EQ(PathsOf(url), Paths()) << url;
    EXPECT_EQ(PathsOf("file:b.mp3"), Paths{"/volume1/music/Lists/a/b.mp3"});
}

TEST(PlaylistTarget, PathsOfAnotherMachine) {
    for (const char *there :
         {"Z:\\Album\\01.mp3", "z:/Album/01.mp3", "C:\\Users\\me\\Music\\Album\\01.mp3",
          "\\\\NAS\\music\\Album\\01.mp3", "//nas/music/Album/01.mp3",
          "file:///C:/Users/me/Music/Album/01.mp3", "file:///c|/Music/Album/01.mp3",
          "file://nas/music/Album/01.mp3", "smb://nas/music/Album/01.mp3", "file:////nas/music/Album/01.mp3",
          "/home/me/Music/Album/01.mp3", "/Volumes/music/Album/01.mp3", "\\Music\\Album\\01.mp3"}) {
        EXPECT_TRUE(MayBe(there, "/volume1/music/Album/01.mp3")) << there;
        EXPECT_TRUE(MayBe(there, "/volume1/music/Lists/a/Album/01.mp3")) << there;
        EXPECT_FALSE(MayBe(there, "/volume1/music/Lists/a/01.mp3")) << there;
        EXPECT_FALSE(MayBe(there, "/volume1/music/Other/01.mp3")) << there;
        EXPECT_FALSE(MayBe(there, "/Album/01.mp3")) << there;
    }
    // What was left out last has the name of the directory in which the rest is.
    EXPECT_TRUE(
        MayBe("C:\\x\\Album\\01.mp3", "/volume1/music/y/Album/01.mp3", "/volume1/music/y/Album/list.m3u"));
    EXPECT_TRUE(MayBe("\\\\nas\\Music\\01.mp3", "/volume1/music/01.mp3"));
    EXPECT_TRUE(MayBe("Z:\\01.mp3", "/volume1/music/01.mp3")) << "a drive's root may be a share's";
    EXPECT_FALSE(MayBe("Z:\\Other\\01.mp3", "/volume1/music/01.mp3"));
    EXPECT_TRUE(MayBe("\\\\nas\\video\\f.mkv", "/volume2/video/f.mkv")) << "another share";
    // The longest rest is the likeliest, and of one the nearest directory.
    const Paths paths = PathsOf("Z:\\Lists\\a\\b.mp3");
    ASSERT_GE(paths.size(), 4u);
    EXPECT_EQ(paths[0], "/volume1/music/Lists/a/Lists/a/b.mp3");
    EXPECT_EQ(paths[2], "/volume1/music/Lists/a/b.mp3");
    EXPECT_EQ(PathsOf("Z:\\").size(), 0u);
    EXPECT_EQ(PathsOf("\\\\nas").size(), 0u);
}

TEST(PlaylistTarget, SoManyLevelsAreTried) {
    std::string target = "Z:";
    std::string list = "/volume1/music";
    for (int i = 0; i < 2000; ++i) {
        target += "\\d";
        list += list.size() < 2000 ? "/e" : "";
    }
    EXPECT_LE(PathsOf(target, list + "/list.m3u").size(),
              kPlaylistLevelsMax * (kPlaylistLevelsMax + kShares.size()));
    EXPECT_GE(PathsOf(target, list + "/list.m3u").size(), kPlaylistLevelsMax * (kPlaylistLevelsMax - 1));
    for (const std::string &path : PathsOf("x/" + std::string(kMediaPathSize - 30, 'x')))
        EXPECT_LT(path.size(), kMediaPathSize);
    EXPECT_EQ(PathsOf(std::string(kMediaPathSize, 'x')), Paths()) << "no row has such a path";
}

TEST(PlaylistTarget, NamesOfFiles) {
    EXPECT_EQ(TargetNameFolded("..\\X\\01 \u00C9t\u00E9.MP3"), "01 ete.mp3");
    EXPECT_EQ(TargetNameFolded("file:///a/01%20%C3%89t%C3%A9.MP3"), "01 ete.mp3");
    EXPECT_EQ(TargetNameFolded("A%20B.mp3"), "a b.mp3");
    EXPECT_EQ(TargetNameFolded("http://example.org/a.mp3"), "");
    EXPECT_EQ(TargetNameFolded("folder/"), "");
}

TEST(PlaylistTarget, WhatIsMeantAsItIsWritten) {
    const auto spelled = [](const char *target, const char *written = "") {
        return TargetSpellings(target, written, "/m/list.m3u");
    };
    EXPECT_EQ(spelled("plain.mp3"), Paths());
    EXPECT_EQ(spelled("a%20b.mp3"), Paths{"/m/a%20b.mp3"});
    EXPECT_EQ(spelled("a\\b.mp3"), Paths{"/m/a\\b.mp3"});
    EXPECT_EQ(spelled("caf\u00E9.mp3", "caf\xE9.mp3"), Paths{"/m/caf\xE9.mp3"});
    EXPECT_EQ(spelled("x\\caf\u00E9.mp3", "x\\caf\xE9.mp3"),
              (Paths{"/m/x/caf\xE9.mp3", "/m/x\\caf\u00E9.mp3"}));
    EXPECT_EQ(spelled("file:///m/a%20b.mp3"), Paths{"/m/a%20b.mp3"});
    EXPECT_EQ(spelled("file:%"), Paths());
    EXPECT_EQ(spelled("http://x/%20"), Paths());
}

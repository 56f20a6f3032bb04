// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_rules.h"

#include <gtest/gtest.h>

#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "photo/album_path.h"
#include "platform/limits.h"

TEST(WalkRules, TheMediaCatalogueLeavesAttributeDirectoriesOut) {
    const NameRules &index = ActiveWalkRules().index;
    EXPECT_TRUE(IsNameLeftOut(index, "@eaDir"));
    for (const char *name : {"@eadir", "my@eaDir", "@eaDir2", ".hidden", "#recycle", "._a.mp3", "a", ""}) {
        EXPECT_FALSE(IsNameLeftOut(index, name)) << name;
        EXPECT_FALSE(IsDirectoryNameLeftOut(index, name)) << name;
    }
}

TEST(WalkRules, ThePhotoLibraryLeavesOutWhatIsHiddenAndEveryNameOfAnAttributeDirectory) {
    const NameRules &library = ActiveWalkRules().library;
    for (const char *name : {".hidden", "._a.jpg", "."})
        EXPECT_TRUE(IsNameLeftOut(library, name)) << name;
    for (const char *name : {"@eaDir", "my@eaDir", "@eaDir2"}) {
        EXPECT_TRUE(IsDirectoryNameLeftOut(library, name)) << name;
        EXPECT_FALSE(IsNameLeftOut(library, name)) << "a file: " << name;
    }
    for (const char *name : {"#recycle", "a", "a.b", "@eadir"})
        EXPECT_FALSE(IsDirectoryNameLeftOut(library, name)) << name;
}

TEST(WalkRules, NoAlbumIsARecycleBin) {
    const NameRules &albums = ActiveWalkRules().albums;
    for (const char *name : {"#recycle", "@eaDir", "my@eaDir", ".hidden"})
        EXPECT_TRUE(IsDirectoryNameLeftOut(albums, name)) << name;
    for (const char *name : {"#recycled", "Trips"})
        EXPECT_FALSE(IsDirectoryNameLeftOut(albums, name)) << name;
}

TEST(WalkRules, ResourceForksAreNotIndexed) {
    EXPECT_TRUE(IsIndexedPath("/volume1/music/a.mp3"));
    EXPECT_TRUE(IsIndexedPath("/volume1/music/a._b.MP3"));
    EXPECT_TRUE(IsIndexedPath("/volume1/music/.a.mp3"));
    for (const char *path : {"/volume1/music/._a.mp3", "/a.txt", "/a", "/a.", "a.mp3", ""})
        EXPECT_FALSE(IsIndexedPath(path)) << path;
}

TEST(WalkRules, PicturesOfTheLibraryAreNeitherHiddenNorOfOtherFiles) {
    EXPECT_TRUE(IsLibraryPath("/volume1/photo/.a/b.jpg")) << "by its own name";
    EXPECT_TRUE(IsLibraryPath("a.jpg"));
    for (const char *path : {"/volume1/photo/.a.jpg", ".a.jpg", "/volume1/photo/@eaDir/a.jpg",
                             "/my@eaDir/a.jpg", "/a@eaDir.jpg"})
        EXPECT_FALSE(IsLibraryPath(path)) << path;
}

TEST(WalkRules, PicturesOfTheLibraryHaveSizes) {
    EXPECT_FALSE(IsLibrarySize(-1));
    EXPECT_FALSE(IsLibrarySize(0));
    EXPECT_TRUE(IsLibrarySize(1));
    EXPECT_TRUE(IsLibrarySize(kPhotoSizeEnd - 1));
    EXPECT_FALSE(IsLibrarySize(kPhotoSizeEnd));
}

TEST(WalkRules, ThePlaceOfThePhotoShareIsOneForPathsAndAlbums) {
    const std::string share = "/volume1/photo";
    EXPECT_TRUE(IsPhotoPath(share.c_str()));
    EXPECT_EQ(PhotoSharePathLength(), share.size());
    EXPECT_TRUE(IsPhotoShareRoot(share.c_str()));
    EXPECT_FALSE(IsPhotoShareRoot("/volume10/photo"));
    EXPECT_STREQ(AlbumNameOf((share + "/Trips/2009").c_str()), "Trips/2009");
    EXPECT_STREQ(AlbumNameOf(share.c_str()), "");
}

// Another set is other names, and no other code.
TEST(WalkRules, AnotherSetIsDataAlone) {
    constexpr std::string_view kNames[] = {"$RECYCLE.BIN", "lost+found"};
    constexpr std::string_view kPrefixes[] = {".", "~"};
    const NameRules rules = {.names = kNames, .prefixes = kPrefixes};
    for (const char *name : {"$RECYCLE.BIN", "lost+found", ".a", "~a"})
        EXPECT_TRUE(IsNameLeftOut(rules, name)) << name;
    for (const char *name : {"@eaDir", "lost+found2", "a~"})
        EXPECT_FALSE(IsDirectoryNameLeftOut(rules, name)) << name;
    EXPECT_FALSE(IsDirectoryNameLeftOut(NameRules(), "@eaDir")) << "none at all";
}

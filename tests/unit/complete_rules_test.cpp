// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the rules `complete` know and leave out, by names and by what directories hold.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/tree_cursor.h"
#include "daemon/walk_above.h"
#include "platform/rule_set.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

class CompleteRules : public testing::Test {
protected:
    CompleteRules() {
        SandboxReset();
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\n");
        RuleSetFollow();
    }
    ~CompleteRules() override {
        fs::remove("/etc/veluinfo.conf");
        RuleSetFollow();
    }
};

int KindOf(const std::string &extension) {
    const IndexHandler *handler = IndexHandlerFind(extension.c_str());
    return handler != nullptr ? IndexRecipeOf(handler->indexer).kind : -1;
}

std::set<std::string> Files(const char *tree, const NameRules &rules) {
    std::set<std::string> files;
    TreeCursor cursor = TreeBegin(tree, {.rules = &rules});
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        if (event == TreeEvent::entry && cursor.kind == EntryKind::file)
            files.insert(cursor.path);
    }
    return files;
}

LeftOut Why(const char *path, const NameRules &rules) {
    IgnoreRules ignore;
    return PathLeftOut(rules, path, std::string_view(path).ends_with("raw"), &ignore);
}

} // namespace

TEST_F(CompleteRules, KnowTheKindsOfAllExtensions) {
    const struct {
        MediaKind kind;
        std::vector<const char *> extensions;
    } kinds[] = {
        {kMediaMusic,
         {"mp3", "m4a", "flac", "opus", "oga", "spx", "wv",  "tta", "mpc",  "mka", "dsf", "dff", "m4r",
          "caf", "au",  "weba", "w64",  "dts", "ac4", "thd", "mid", "midi", "3ga", "amr", "eac3"}},
        {kMediaVideo,
         {"mp4", "iso", "webm", "ogv", "m2v", "mxf", "f4v", "dv", "wtv", "nut", "mk3d", "m1v", "mpe", "mpv",
          "3gpp", "h264", "HEVC"}},
        {kMediaPhoto, {"jpg", "heic", "heif", "avif", "webp", "jxl", "jp2", "svg", "tga", "cr2", "cr3",
                       "crw", "dng",  "nef",  "nrw",  "arw",  "srf", "sr2", "orf", "rw2", "raf", "pef",
                       "srw", "x3f",  "3fr",  "erf",  "kdc",  "mrw", "raw", "rwl", "iiq"}},
        {kMediaPlaylist, {"m3u", "wpl", "m3u8", "pls", "xspf", "asx", "cue"}},
    };
    for (const auto &of : kinds) {
        for (const char *extension : of.extensions)
            EXPECT_EQ(KindOf(extension), of.kind) << extension;
    }
    for (const char *extension : {"txt", "mp", "", "exe"})
        EXPECT_EQ(IndexHandlerFind(extension), nullptr) << extension;
}

TEST_F(CompleteRules, ExtensionsAreKnownOnceAndInLowerCase) {
    std::set<std::string> extensions;
    for (const IndexHandler *table : {&IndexHandlerTable[0], &CompleteHandlerTable[0]}) {
        for (const IndexHandler *row = table; row->extension != nullptr; ++row) {
            EXPECT_TRUE(extensions.insert(row->extension).second) << row->extension;
            for (const char *c = row->extension; *c != '\0'; ++c)
                EXPECT_FALSE(*c >= 'A' && *c <= 'Z') << row->extension;
        }
    }
}

TEST_F(CompleteRules, WhatBelongsToAFilmIsNone) {
    const char *subtitles[] = {"srt", "ass", "ssa", "sub", "idx", "smi", "psb", "vtt", "SUP"};
    for (const char *extension : subtitles) {
        EXPECT_EQ(IndexHandlerFind(extension), nullptr) << extension;
        EXPECT_EQ(ExtensionLeftOut(extension), LeftOut::subtitle) << extension;
    }
    for (const char *extension : {"ifo", "bup"}) {
        EXPECT_EQ(IndexHandlerFind(extension), nullptr) << extension;
        EXPECT_EQ(ExtensionLeftOut(extension), LeftOut::companion) << extension;
    }
    for (const char *extension : {"mkv", "srt2", "sr", ""})
        EXPECT_EQ(ExtensionLeftOut(extension), LeftOut::nothing) << extension;
    fs::remove("/etc/veluinfo.conf");
    RuleSetFollow();
    for (const char *extension : subtitles)
        EXPECT_EQ(ExtensionLeftOut(extension), LeftOut::nothing) << extension << " by the appliance's rules";
}

TEST_F(CompleteRules, LeaveOutWhatIsHiddenAndWhatBelongsToSystems) {
    for (const NameRules &rules :
         {ActiveWalkRules().index, ActiveWalkRules().library, ActiveWalkRules().albums}) {
        for (const char *name : {".a", "._a.mp3", ".nomedia"})
            EXPECT_EQ(NameLeftOut(rules, name), LeftOut::hidden) << name;
        for (const char *name :
             {"@eaDir", "#recycle", "$RECYCLE.BIN", "System Volume Information", "lost+found"})
            EXPECT_EQ(NameLeftOut(rules, name), LeftOut::system) << name;
        for (const char *name : {"a", "@eadir", "#recycled", "lost", "a.nomedia", "System"})
            EXPECT_EQ(NameLeftOut(rules, name), LeftOut::nothing) << name;
    }
    EXPECT_FALSE(IsIndexedPath("/volume1/music/.a.mp3"));
    EXPECT_TRUE(IsIndexedPath("/volume1/music/a.opus"));
}

TEST_F(CompleteRules, AWalkLeavesOutFoldersThatAreMarked) {
    for (const char *path :
         {"/volume1/music/a.mp3", "/volume1/music/.hidden/a.mp3", "/volume1/music/.a.mp3",
          "/volume1/music/b/#recycle/a.mp3", "/volume1/music/b/b.mp3", "/volume1/music/quiet/.nomedia",
          "/volume1/music/quiet/a.mp3", "/volume1/music/quiet/deeper/a.mp3"})
        FileWrite(path, "x");
    const std::set<std::string> seen = {"/volume1/music/a.mp3", "/volume1/music/b/b.mp3"};
    for (const NameRules &rules : {ActiveWalkRules().index, ActiveWalkRules().library})
        EXPECT_EQ(Files("/volume1/music", rules), seen);
    for (const char *tree : {"/volume1/music/quiet", "/volume1/music/quiet/deeper", "/volume1/music/.hidden"})
        EXPECT_EQ(Files(tree, ActiveWalkRules().index), std::set<std::string>()) << tree;
    EXPECT_EQ(Files("/volume1/music/b", ActiveWalkRules().index).size(), 1u);
}

TEST_F(CompleteRules, APathIsLeftOutForWhatLiesAboveIt) {
    const NameRules &rules = ActiveWalkRules().index;
    FileWrite("/volume1/music/named/.veluignore", "raw/\n");
    FileWrite("/volume1/music/quiet/.nomedia", "");
    FileWrite("/volume1/music/quiet/deeper/a.mp3", "x");
    const struct {
        const char *path;
        LeftOut why;
    } paths[] = {
        {"/volume1/music/a.mp3", LeftOut::nothing},
        {"/volume1/music/a/b/", LeftOut::nothing},
        {"/volume1/music/named/x/raw/c.mp3", LeftOut::ignored},
        {"/volume1/music/named/x/raw", LeftOut::ignored},
        {"/volume1/music/named/x/c.mp3", LeftOut::nothing},
        {"/volume1/music/raw", LeftOut::nothing},
        {"/volume1/music/.a/b/c.mp3", LeftOut::hidden},
        {"/volume1/music/a/.c.mp3", LeftOut::hidden},
        {"/volume1/music/a/@eaDir/c.mp3", LeftOut::system},
        {"/volume1/music/quiet", LeftOut::marked},
        {"/volume1/music/quiet/deeper/a.mp3", LeftOut::marked},
        {"/volume1/music", LeftOut::nothing},
        {"/volume1/.share/a.mp3", LeftOut::nothing}, // a share's own name
        {"/volume1", LeftOut::nothing},
        {"/", LeftOut::nothing},
        {"", LeftOut::nothing},
    };
    for (const auto &of : paths)
        EXPECT_EQ(Why(of.path, rules), of.why) << of.path;
    EXPECT_EQ(Why("/volume1/music/.a/b", NameRules()), LeftOut::nothing) << "not by these rules";
}

TEST_F(CompleteRules, NamesAboveTheShareDoNotCount) {
    fs::create_directories("/volume1/x/.y/music/sub");
    fs::remove("/var/services/video");
    fs::create_directories("/var/services");
    fs::create_symlink("/volume1/x/.y/music", "/var/services/video");
    const NameRules &rules = ActiveWalkRules().index;
    EXPECT_EQ(Why("/volume1/x/.y/music/sub/a.mp3", rules), LeftOut::nothing);
    EXPECT_EQ(Why("/volume1/x/.y/music/.sub/a.mp3", rules), LeftOut::hidden);
    fs::remove("/var/services/video");
}

TEST_F(CompleteRules, BothWalksFollowWhatPeopleName) {
    FileWrite("/volume1/music/.veluignore", "*.tmp.mp3\nraw/\n");
    FileWrite("/volume1/music/x/.veluignore", "!b.tmp.mp3\n");
    for (const char *path :
         {"/volume1/music/a.mp3", "/volume1/music/a.tmp.mp3", "/volume1/music/raw/b.mp3",
          "/volume1/music/x/b.tmp.mp3", "/volume1/music/x/raw/c.mp3", "/volume1/music/y/b.tmp.mp3"})
        FileWrite(path, "x");
    LeftOutCounts counts = {};
    TreeCursor cursor = TreeBegin("/volume1/music", {.rules = &ActiveWalkRules().index, .left_out = &counts});
    std::set<std::string> files;
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        if (event == TreeEvent::entry)
            files.insert(cursor.path);
    }
    EXPECT_EQ(files, (std::set<std::string>{"/volume1/music/a.mp3", "/volume1/music/x/b.tmp.mp3"}));
    EXPECT_EQ(counts[static_cast<size_t>(LeftOut::ignored)], 4u);
    EXPECT_EQ(counts[static_cast<size_t>(LeftOut::hidden)], 2u);

    cursor = TreeBegin("/volume1/music",
                       {.rules = &ActiveWalkRules().library, .listed = [](const char *) { return true; }});
    std::set<std::string> listed;
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done; event = TreeNext(&cursor)) {
        for (const std::string &name : cursor.names)
            if (event == TreeEvent::listed && name.ends_with(".mp3"))
                listed.insert(cursor.path + '/' + name);
    }
    EXPECT_EQ(listed, files);
}

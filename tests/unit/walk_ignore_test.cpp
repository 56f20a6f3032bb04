// SPDX-License-Identifier: GPL-2.0-or-later
//
// Patterns of what is not to be catalogued: as gitignore(5) has them, and bounded whatever they say.
#include "daemon/walk_ignore.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "platform/clock.h"
#include "platform/limits.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

constexpr char kName[] = ".veluignore";

bool Matches(std::string_view line, std::string_view path) {
    const std::vector<IgnorePattern> patterns = IgnorePatternsOf(line, 1);
    return patterns.size() == 1 && IgnoreMatches(patterns[0], path);
}

// Rules of a text in "/m".
IgnoreRules Rules(std::string_view text) {
    return {{{2, IgnorePatternsOf(text, kIgnorePatternsMax)}}, 0};
}

std::string Times(const std::string &text, size_t count) {
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

} // namespace

TEST(WalkIgnore, ThePatternThatDecidesKnowsItsLine) {
    const IgnoreRules rules = Rules("# of no use\n*.mp3\n\n!keep.mp3\n*.tmp\n");
    EXPECT_EQ(IgnoreDecide(rules, "/m/a.mp3", false).pattern->line, 2u);
    EXPECT_EQ(IgnoreDecide(rules, "/m/keep.mp3", false).pattern->line, 4u);
    EXPECT_EQ(IgnoreDecide(rules, "/m/x/a.tmp", false).pattern->line, 5u);
    EXPECT_EQ(IgnoreDecide(rules, "/m/x/a.tmp", false).directory_size, 2u);
    EXPECT_EQ(IgnoreDecide(rules, "/m/a.ogg", false).pattern, nullptr);
}

TEST(WalkIgnore, PatternsMatchAsGitHasThem) {
    const struct {
        const char *pattern;
        std::vector<const char *> matched;
        std::vector<const char *> others;
    } cases[] = {
        {"*.tmp", {"a.tmp", ".tmp", "x/y/a.tmp"}, {"a.tmp2", "atmp", "a.tmp/b"}},
        {"a?c",
         {"abc", "x/a\xC3\xA4"
                 "c"},
         {"ac", "abbc", "a/c"}},
        {"*", {"a", "a/b"}, {}},
        {"a*b*c", {"abc", "a1b2c", "abbcbc"}, {"ab", "acb", "abcd"}},
        {"/top", {"top"}, {"x/top", "top/x", "tops"}},
        {"x/y", {"x/y"}, {"a/x/y", "x/y/z", "x"}},
        {"x/*.mp3", {"x/a.mp3"}, {"x/y/a.mp3", "a.mp3"}},
        {"**/y", {"y", "x/y", "a/b/y"}, {"y/x", "xy"}},
        {"x/**", {"x/a", "x/a/b"}, {"x", "y/x/a"}},
        {"x/**/y", {"x/y", "x/a/y", "x/a/b/y"}, {"x", "y", "x/ay"}},
        {"/**/a/**/b", {"a/b", "x/a/y/b"}, {"b/a", "a"}},
        {"a**b", {"ab", "axxb"}, {"a/b"}},
        {"\\#a", {"#a"}, {"\\#a", "a"}},
        {"\\!a", {"!a"}, {"a"}},
        {"\\*", {"*"}, {"a"}},
        {"a\\ ", {"a "}, {"a"}},
        {"a ", {"a"}, {"a "}},
        {"a\r", {"a"}, {"a\r"}},
        {"[ab]", {"[ab]"}, {"a"}},
        {"a\\", {"a\\"}, {"a"}},
        {"caf\xE9", {"caf\xE9"}, {"caf\xC3\xA9"}},
        {"A", {"A"}, {"a"}},
        {"x//y", {}, {"x/y", "x"}},
    };
    for (const auto &of : cases) {
        for (const char *path : of.matched)
            EXPECT_TRUE(Matches(of.pattern, path)) << of.pattern << " and " << path;
        for (const char *path : of.others)
            EXPECT_FALSE(Matches(of.pattern, path)) << of.pattern << " and " << path;
    }
}

TEST(WalkIgnore, LinesThatSayNothingAreNoPatterns) {
    EXPECT_TRUE(IgnorePatternsOf("\n# a\n\r\n   \n/\n!\n///\n", 10).empty());
    const std::vector<IgnorePattern> patterns = IgnorePatternsOf("\xEF\xBB\xBF"
                                                                 "a\nb/\n!c",
                                                                 10);
    ASSERT_EQ(patterns.size(), 3u);
    EXPECT_EQ(patterns[0].text, "a");
    EXPECT_TRUE(patterns[1].directories);
    EXPECT_TRUE(patterns[2].takes_back);
}

TEST(WalkIgnore, TheLastPatternThatMatchesDecides) {
    const IgnoreRules rules = Rules("*.mp3\n!keep.mp3\ncache/\n");
    EXPECT_TRUE(IsIgnored(rules, "/m/a.mp3", false));
    EXPECT_FALSE(IsIgnored(rules, "/m/x/keep.mp3", false));
    EXPECT_TRUE(IsIgnored(rules, "/m/x/cache", true));
    EXPECT_FALSE(IsIgnored(rules, "/m/x/cache", false)) << "a file";
    EXPECT_TRUE(IsIgnored(Rules("!keep.mp3\n*.mp3"), "/m/keep.mp3", false));
    EXPECT_FALSE(IsIgnored(IgnoreRules(), "/m/a.mp3", false));
}

TEST(WalkIgnore, DeeperFilesComeBehindThoseAboveThem) {
    SandboxReset();
    FileWrite("/volume1/music/.veluignore", "*.mp3\n/x/b\n");
    FileWrite("/volume1/music/x/.veluignore", "!a.mp3\n/c\n");
    IgnoreRules rules;
    IgnoreEnter(&rules, kName, "/volume1/music");
    IgnoreEnter(&rules, kName, "/volume1/music/x");
    EXPECT_FALSE(IsIgnored(rules, "/volume1/music/x/a.mp3", false));
    EXPECT_TRUE(IsIgnored(rules, "/volume1/music/x/b.mp3", false));
    EXPECT_TRUE(IsIgnored(rules, "/volume1/music/x/b", true));
    EXPECT_TRUE(IsIgnored(rules, "/volume1/music/x/c", false));
    IgnoreLeave(&rules, std::string("/volume1/music/x").size());
    EXPECT_EQ(rules.files.size(), 1u);
    EXPECT_EQ(rules.patterns, 2u);
    EXPECT_TRUE(IsIgnored(rules, "/volume1/music/a.mp3", false));
    EXPECT_FALSE(IsIgnored(rules, "/volume1/music/c", false));
    IgnoreLeave(&rules, 0);
    EXPECT_TRUE(rules.files.empty());
    EXPECT_EQ(rules.patterns, 0u);
}

TEST(WalkIgnore, WhatIsNoFileIsNone) {
    SandboxReset();
    LogTake();
    IgnoreRules rules;
    IgnoreEnter(&rules, nullptr, "/volume1/music");
    IgnoreEnter(&rules, kName, "/volume1/music");
    fs::create_directory("/volume1/music/.veluignore");
    IgnoreEnter(&rules, kName, "/volume1/music");
    mkfifo("/volume1/video/.veluignore", 0600);
    IgnoreEnter(&rules, kName, "/volume1/video");
    EXPECT_TRUE(rules.files.empty());
    EXPECT_TRUE(LogTake().empty());
}

TEST(WalkIgnore, FilesHaveBounds) {
    SandboxReset();
    const std::string longest(kIgnorePatternMax, 'a');
    bool whole = false;
    EXPECT_EQ(IgnorePatternsOf(longest, 1, &whole).size(), 1u);
    EXPECT_TRUE(whole);
    EXPECT_EQ(IgnorePatternsOf(longest + "a\nb", 9, &whole).size(), 1u) << "one past the bound";
    EXPECT_FALSE(whole);

    FileWrite("/volume1/music/.veluignore", Times("a\n", kIgnorePatternsMax));
    FileWrite("/volume1/music/x/.veluignore", "b\n");
    LogTake();
    IgnoreRules rules;
    IgnoreEnter(&rules, kName, "/volume1/music");
    EXPECT_EQ(rules.patterns, kIgnorePatternsMax);
    EXPECT_TRUE(LogTake().empty());
    IgnoreEnter(&rules, kName, "/volume1/music/x");
    EXPECT_EQ(rules.patterns, kIgnorePatternsMax);
    EXPECT_EQ(LogTakeTexts(),
              std::vector<std::string>{
                  "walk_ignore.c# Not all of /volume1/music/x/.veluignore counts. (it is too long)"});

    const std::string comment = Times("# comment\n", (kIgnoreFileMax - 2) / 10);
    const std::string filled = comment + std::string(kIgnoreFileMax - 2 - comment.size(), '\n') + "a\n";
    ASSERT_EQ(filled.size(), kIgnoreFileMax);
    for (const size_t more : {0, 1}) {
        FileWrite("/volume1/music/.veluignore", std::string(more, '\n') + filled);
        rules = {};
        IgnoreEnter(&rules, kName, "/volume1/music");
        EXPECT_EQ(rules.patterns, more == 0 ? 1u : 0u);
        EXPECT_EQ(LogTake().size(), more);
    }
}

// Whatever they say, an entry costs a moment.
TEST(WalkIgnore, HostilePatternsCostAMoment) {
    const std::string deep = Times("a/", 2000) + "a";
    const std::string name(255, 'a');
    for (const std::string &pattern :
         {Times("*a", 127) + "b", Times("**/", 85), Times("a/**/", 51) + "b", Times("**/a*/", 42) + "b",
          "**/" + Times("*a", 120) + "b", Times("*", 256), Times("?", 255) + "b"}) {
        const IgnoreRules rules = Rules(Times(pattern + "\n", kIgnorePatternsMax));
        const int64_t begin = MonotonicMilliseconds();
        EXPECT_FALSE(IsIgnored(rules, "/m/" + deep, false) && pattern.ends_with('b')) << pattern;
        EXPECT_FALSE(IsIgnored(rules, "/m/" + name, false) && pattern.ends_with('b')) << pattern;
        EXPECT_LT(MonotonicMilliseconds() - begin, 5000) << pattern;
    }
}

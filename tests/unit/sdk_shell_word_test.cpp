// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <gtest/gtest.h>

#include <stdio.h>
#include <string.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

size_t PromisedSize(const std::string &text) {
    return 2 * text.size() + 1;
}

// Quoted into a heap block of exactly the size asked for, so that a sanitizer sees any byte beyond it.
std::string Quote(const std::string &text, size_t size) {
    const std::unique_ptr<char[]> out(new char[size]);
    if (KLIBEncShParam(text.c_str(), out.get(), size) != 0)
        return "(failed)";
    return out.get();
}

// What the shell makes of the words, each followed by a NUL.
std::string ThroughShell(const std::vector<std::string> &words) {
    std::string command = "printf '%s\\0'";
    for (const std::string &word : words)
        command += " " + word;
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return "(no shell)";
    std::string result;
    char block[4096];
    size_t got = 0;
    while ((got = fread(block, 1, sizeof block, pipe)) > 0)
        result.append(block, got);
    return pclose(pipe) == 0 ? result : "(shell failed) " + result;
}

void ExpectRoundTrip(const std::vector<std::string> &texts, size_t extra = 0) {
    std::vector<std::string> words;
    std::string expected;
    for (const std::string &text : texts) {
        words.push_back(Quote(text, PromisedSize(text) + extra));
        expected += text + '\0';
    }
    EXPECT_EQ(ThroughShell(words), expected);
}

} // namespace

TEST(SdkShellWord, EveryByteAloneAndInAPath) {
    std::vector<std::string> paths;
    std::vector<std::string> bare;
    for (int value = 1; value < 256; ++value) {
        const std::string byte(1, static_cast<char>(value));
        paths.push_back("/" + byte);
        paths.push_back("/a" + byte + "b");
        if (value != '\n')
            bare.push_back(byte);
    }
    ExpectRoundTrip(paths);
    ExpectRoundTrip(bare);
}

TEST(SdkShellWord, EveryPairOfSpecialBytes) {
    const std::string special = "\n\\'\"$`!*?[]{}()<>|&;#~= \t\r-%";
    std::vector<std::string> paths;
    for (const char first : special) {
        for (const char second : special)
            paths.push_back(std::string("/") + first + second);
    }
    ExpectRoundTrip(paths);
}

TEST(SdkShellWord, RandomPaths) {
    std::mt19937 random(20);
    const std::string special = "\n\n\\'\"$`";
    for (int round = 0; round < 30; ++round) {
        std::vector<std::string> paths;
        for (int count = 0; count < 50; ++count) {
            std::string path = "/";
            for (size_t length = random() % 60; length > 0; --length)
                path += random() % 2 == 0 ? special[random() % special.size()]
                                          : static_cast<char>(1 + random() % 255);
            paths.push_back(path);
        }
        ExpectRoundTrip(paths);
    }
}

TEST(SdkShellWord, WorstAbsolutePathsFitThePromisedSize) {
    for (const char *tail : {"\n", "\n\n", "'\n", "\n'", "\"\n\"", "\\\\\\\n", "$$$$$$$$\n`", "''''''''"})
        ExpectRoundTrip({std::string("/") + tail});
}

TEST(SdkShellWord, RelativeWordWithANewlineNeedsOneByteMore) {
    const std::string text = "$\n$";
    EXPECT_EQ(Quote(text, PromisedSize(text)), "(failed)");
    ExpectRoundTrip({text}, 1);
}

TEST(SdkShellWord, EmptyWord) {
    EXPECT_EQ(Quote("", 3), "\"\"");
    EXPECT_EQ(Quote("", 2), "(failed)");
    ExpectRoundTrip({"", "a", ""}, 2);
}

TEST(SdkShellWord, PlainPathStaysReadable) {
    EXPECT_EQ(Quote("/volume1/music/A-b_c.mp3", 100), "/volume1/music/A-b_c.mp3");
    EXPECT_EQ(Quote("/a b", 100), "/a\\ b");
}

TEST(SdkShellWord, TooSmallABufferHoldsTheEmptyString) {
    const std::string text = "/a b/c";
    const size_t needed = text.size() + 2;
    EXPECT_EQ(Quote(text, needed), "/a\\ b/c");
    for (size_t size = 1; size < needed; ++size) {
        const std::unique_ptr<char[]> out(new char[size]);
        out[0] = 'x';
        EXPECT_EQ(KLIBEncShParam(text.c_str(), out.get(), size), -1) << size;
        EXPECT_STREQ(out.get(), "");
    }
}

TEST(SdkShellWord, MissingArguments) {
    char out[8] = "x";
    EXPECT_EQ(KLIBEncShParam(nullptr, out, sizeof out), -1);
    EXPECT_STREQ(out, "");
    EXPECT_EQ(KLIBEncShParam("/a", nullptr, 8), -1);
    EXPECT_EQ(KLIBEncShParam("/a", out, 0), -1);
}

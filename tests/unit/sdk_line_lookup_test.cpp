// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>

namespace {

constexpr int kFlags = 0x404;
constexpr size_t kQueueLine = 4097;

struct Lookup {
    int result;
    std::string found;
};

Lookup Find(const char *file, const std::string &line, size_t size = kQueueLine) {
    const std::unique_ptr<char[]> out(new char[size]);
    out[0] = 'x';
    const int result = KLIBFileGetLine(file, line.c_str(), out.get(), size, kFlags);
    return {result, out.get()};
}

Lookup FindIn(std::string_view content, const std::string &line, size_t size = kQueueLine) {
    return Find(ScratchFile(content).c_str(), line, size);
}

void ExpectFound(const Lookup &lookup, std::string_view line) {
    EXPECT_EQ(lookup.result, 1);
    EXPECT_EQ(lookup.found, line);
}

void ExpectNone(const Lookup &lookup) {
    EXPECT_EQ(lookup.result, 0);
    EXPECT_EQ(lookup.found, "");
}

double SecondsOf(const auto &work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

} // namespace

TEST(SdkLineLookup, FindsTheLine) {
    ExpectFound(FindIn("/a\n/b\n/c\n", "/b"), "/b");
    ExpectFound(FindIn("/a\n/b\n/c\n", "/a"), "/a");
    ExpectFound(FindIn("/a\n/b\n/c\n", "/c"), "/c");
    ExpectFound(FindIn("/a\n/b\n/c", "/c"), "/c");
}

TEST(SdkLineLookup, NoSuchLine) {
    ExpectNone(FindIn("/a\n/b\n", "/c"));
    ExpectNone(FindIn("", "/c"));
    ExpectNone(FindIn("\n\n", "/c"));
    ExpectNone(FindIn("/a\n", "/ab"));
    ExpectNone(FindIn("/a", "/ab"));
    ExpectNone(FindIn("x/a\n /a\n", "/a"));
    ExpectNone(FindIn("/A\n", "/a"));
}

TEST(SdkLineLookup, LongerLineIsFoundWhenNoneIsEqual) {
    ExpectFound(FindIn("/x\n/photo/ab\n", "/photo/a"), "/photo/ab");
    ExpectFound(FindIn("/photo/ab", "/photo/a"), "/photo/ab");
    ExpectFound(FindIn("/photo/ab\n/photo/acd\n", "/photo/a"), "/photo/ab");
}

TEST(SdkLineLookup, EqualLineIsPreferredToALongerOne) {
    ExpectFound(FindIn("/photo/ab\n/photo/a\n", "/photo/a"), "/photo/a");
    ExpectFound(FindIn("/photo/ab\n/photo/a", "/photo/a"), "/photo/a");
    ExpectFound(FindIn("/photo/a\n/photo/ab\n", "/photo/a"), "/photo/a");
}

TEST(SdkLineLookup, EmptyLineWanted) {
    ExpectFound(FindIn("/a\n\n/b\n", ""), "");
    ExpectFound(FindIn("/a\n", ""), "/a");
    ExpectNone(FindIn("", ""));
}

TEST(SdkLineLookup, NewlineInTheWantedTextIsNeverFound) {
    ExpectNone(FindIn("/a\n/b\n", "/a\n/b"));
}

TEST(SdkLineLookup, LineIsCutToTheBuffer) {
    ExpectFound(FindIn("/abcdef\n", "/abc", 6), "/abcd");
    ExpectFound(FindIn("/abcdef\n", "/abcdef", 4), "/ab");
    ExpectFound(FindIn("/abcdef\n", "/a", 1), "");
}

// A block lost in a crash reads as zeros; as a C string "/a" and zeros would be an equal line.
TEST(SdkLineLookup, LineThatGoesOnWithNulIsNoHit) {
    ExpectNone(FindIn(std::string("/a\0\0\0/b\n", 8), "/a"));
    ExpectFound(FindIn(std::string("/a\0\n/a\n", 7), "/a"), "/a");
}

TEST(SdkLineLookup, BlockBordersAnywhereInTheLine) {
    for (size_t before = 16 * 1024 - 12; before < 16 * 1024 + 2; ++before) {
        const std::string content = std::string(before, 'x') + "\n/photo/ab\n/photo/a\n";
        ExpectFound(FindIn(content, "/photo/a"), "/photo/a");
        ExpectFound(FindIn(content, "/photo"), "/photo/ab");
        ExpectNone(FindIn(content, "/photo/abc"));
    }
}

TEST(SdkLineLookup, FileThatEndsWithABlock) {
    ExpectFound(FindIn(std::string(16 * 1024 - 3, '\n') + "/ab", "/ab"), "/ab");
    ExpectFound(FindIn(std::string(16 * 1024 - 3, '\n') + "/ab", "/a"), "/ab");
    ExpectFound(FindIn(std::string(16 * 1024 - 4, '\n') + "/ab\n", "/ab"), "/ab");
}

TEST(SdkLineLookup, LinesOfAnyLength) {
    const std::string huge(300000, 'h');
    ExpectFound(FindIn("/" + huge + "\n/a\n", "/a"), "/a");
    ExpectFound(FindIn(huge + "\n", "hh"), huge.substr(0, kQueueLine - 1));
    ExpectFound(FindIn("/a\n" + huge + "i\n", huge + "i", huge.size() + 2), huge + "i");
    ExpectNone(FindIn(huge + "\n", huge + "h"));
}

TEST(SdkLineLookup, UnreadableFileAndMissingArguments) {
    EXPECT_EQ(Find("/tmp/no-such.queue", "/a").result, -1);
    EXPECT_EQ(Find("/tmp/no-such.queue", "/a").found, "");
    EXPECT_EQ(Find("/tmp", "/a").result, -1);
    const ScratchFile file("/a\n");
    char out[8];
    EXPECT_EQ(KLIBFileGetLine(nullptr, "/a", out, sizeof out, kFlags), -1);
    EXPECT_EQ(KLIBFileGetLine(file.c_str(), nullptr, out, sizeof out, kFlags), -1);
    EXPECT_EQ(KLIBFileGetLine(file.c_str(), "/a", nullptr, sizeof out, kFlags), -1);
    EXPECT_EQ(KLIBFileGetLine(file.c_str(), "/a", out, 0, kFlags), -1);
}

TEST(SdkLineLookup, ManyLinesTakeLinearTime) {
    std::string content;
    for (int i = 0; i < 100000; ++i)
        content += "/volume1/photo/album/picture" + std::to_string(i) + ".jpg\n";
    const ScratchFile file(content);
    const double seconds = SecondsOf([&] {
        ExpectFound(Find(file.c_str(), "/volume1/photo/album/picture99999.jpg"),
                    "/volume1/photo/album/picture99999.jpg");
    });
    // Some 2 ms in practice; what a square in the number of lines would take is minutes.
    EXPECT_LT(seconds, 2.0);
}

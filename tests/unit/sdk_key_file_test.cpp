// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

constexpr const char *kMissing = "(missing)";

std::string ValueIn(std::string_view content, const char *key, size_t size = 256) {
    const ScratchFile file(content);
    const std::unique_ptr<char[]> out(new char[size]);
    out[0] = 'x';
    const int length = KLIBFileGetKeyValue(file.c_str(), key, out.get(), size, 0);
    if (length < 0) {
        EXPECT_STREQ(out.get(), "");
        return kMissing;
    }
    EXPECT_EQ(static_cast<size_t>(length), strlen(out.get()));
    return out.get();
}

int Holds(std::string_view content, const char *key, const char *value) {
    return BlVELUFileCheckKeyValue(ScratchFile(content).c_str(), key, value);
}

} // namespace

TEST(SdkKeyFile, QuotesAreTakenOff) {
    EXPECT_EQ(ValueIn("key=\"value\"\n", "key"), "value");
    EXPECT_EQ(ValueIn("key='value'\n", "key"), "value");
    EXPECT_EQ(ValueIn("key=value\n", "key"), "value");
    EXPECT_EQ(ValueIn("key=\"it's\"\n", "key"), "it's");
    EXPECT_EQ(ValueIn("key='say \"x\"'\n", "key"), "say \"x\"");
    EXPECT_EQ(ValueIn("key=a\"b\"\n", "key"), "a\"b\"");
    EXPECT_EQ(ValueIn("key=\"value", "key"), "value");
}

TEST(SdkKeyFile, BlanksAroundKeyAndValueAreIgnored) {
    EXPECT_EQ(ValueIn(" \tkey \t= \t\"value\" \t\r\n", "key"), "value");
    EXPECT_EQ(ValueIn("key = a b \t\r\n", "key"), "a b");
    EXPECT_EQ(ValueIn("key=\" a \"\n", "key"), " a ");
}

TEST(SdkKeyFile, RestOfTheLineBehindTheQuoteIsIgnored) {
    EXPECT_EQ(ValueIn("key=\"value\" # why\nother=\"x\"\n", "key"), "value");
    EXPECT_EQ(ValueIn("key=\"value\" # why\nother=\"x\"\n", "other"), "x");
}

TEST(SdkKeyFile, EmptyValues) {
    EXPECT_EQ(ValueIn("key=\n", "key"), "");
    EXPECT_EQ(ValueIn("key=", "key"), "");
    EXPECT_EQ(ValueIn("key=\"\"\n", "key"), "");
    EXPECT_EQ(ValueIn("key=   \nother=x\n", "key"), "");
}

TEST(SdkKeyFile, CommentsAndLinesWithoutAValue) {
    EXPECT_EQ(ValueIn("#key=\"a\"\n  #key=\"b\"\nkey=\"c\"\n", "key"), "c");
    EXPECT_EQ(ValueIn("# key=\"a\"\n", "key"), kMissing);
    EXPECT_EQ(ValueIn("key\nkey x=1\nkey=\"c\"\n", "key"), "c");
    EXPECT_EQ(ValueIn("key", "key"), kMissing);
    EXPECT_EQ(ValueIn("#key=\"a\"\n", "#key"), kMissing);
}

TEST(SdkKeyFile, KeysAreWholeAndKeepTheirCase) {
    EXPECT_EQ(ValueIn("keys=1\nke=2\nxkey=3\nKEY=4\n", "key"), kMissing);
    EXPECT_EQ(ValueIn("keys=1\nke=2\nxkey=3\nkey=4\n", "key"), "4");
    EXPECT_EQ(ValueIn("other=\"key=1\"\n", "key"), kMissing);
    EXPECT_EQ(ValueIn("", "key"), kMissing);
}

TEST(SdkKeyFile, FirstLineWithTheKeyCounts) {
    EXPECT_EQ(ValueIn("key=1\nkey=2\n", "key"), "1");
}

TEST(SdkKeyFile, LastLineWithoutNewline) {
    EXPECT_EQ(ValueIn("a=1\nkey=2", "key"), "2");
}

TEST(SdkKeyFile, ValueIsCutToTheBuffer) {
    EXPECT_EQ(ValueIn("key=\"value\"\n", "key", 6), "value");
    EXPECT_EQ(ValueIn("key=\"value\"\n", "key", 5), "valu");
    EXPECT_EQ(ValueIn("key=\"value\"\n", "key", 1), "");
    EXPECT_EQ(ValueIn("key=value   \n", "key", 6), "value");
}

TEST(SdkKeyFile, LinesOfAnyLengthLeaveTheNextOneWhole) {
    const std::string huge(100000, 'h');
    EXPECT_EQ(ValueIn(huge + "key=1\nkey=2\n", "key"), "2");
    EXPECT_EQ(ValueIn("#" + huge + "\nkey=2\n", "key"), "2");
    EXPECT_EQ(ValueIn("a=\"" + huge + "\nkey=2\n", "key"), "2");
    EXPECT_EQ(ValueIn("key=\"" + huge + "\"\n", "key", huge.size() + 1), huge);
    EXPECT_EQ(ValueIn("key=\"" + huge + "\"\n", "key", 4), "hhh");
    EXPECT_EQ(ValueIn(huge + "=2\n", huge.c_str()), "2");
}

TEST(SdkKeyFile, BlockBordersAnywhereInTheLine) {
    for (size_t before = 16 * 1024 - 14; before < 16 * 1024 + 2; ++before)
        EXPECT_EQ(ValueIn("#" + std::string(before, 'x') + "\nkey = \"v\" \nkey=2\n", "key"), "v") << before;
}

TEST(SdkKeyFile, MissingFileAndArguments) {
    char out[8];
    EXPECT_EQ(KLIBFileGetKeyValue("/etc/no-such.conf", "key", out, sizeof out, 0), -1);
    EXPECT_EQ(KLIBFileGetKeyValue("/etc", "key", out, sizeof out, 0), -1);
    const ScratchFile file("key=1\n=2\n");
    EXPECT_EQ(KLIBFileGetKeyValue(nullptr, "key", out, sizeof out, 0), -1);
    EXPECT_EQ(KLIBFileGetKeyValue(file.c_str(), nullptr, out, sizeof out, 0), -1);
    EXPECT_EQ(KLIBFileGetKeyValue(file.c_str(), "", out, sizeof out, 0), -1);
    EXPECT_EQ(KLIBFileGetKeyValue(file.c_str(), "key", nullptr, sizeof out, 0), -1);
    EXPECT_EQ(KLIBFileGetKeyValue(file.c_str(), "key", out, 0, 0), -1);
}

TEST(SdkKeyFile, CheckWantsExactlyTheValue) {
    EXPECT_EQ(Holds("supportphoto=\"yes\"\n", "supportphoto", "yes"), 1);
    EXPECT_EQ(Holds("supportphoto=yes  \n", "supportphoto", "yes"), 1);
    for (const char *value : {"ye", "yesx", "Yes", "", "no", "yes "})
        EXPECT_EQ(Holds("supportphoto=\"yes\"\n", "supportphoto", value), 0) << value;
    EXPECT_EQ(Holds("k=\"yes \"\n", "k", "yes"), 0);
    EXPECT_EQ(Holds("k=yes  x\n", "k", "yes"), 0);
    EXPECT_EQ(Holds("k=yes  x\n", "k", "yes  x"), 1);
    EXPECT_EQ(Holds(std::string("k=\"yes\0\"\n", 9), "k", "yes"), 0);
    EXPECT_EQ(Holds("k=\"\"\n", "k", ""), 1);
    EXPECT_EQ(Holds("k=\"x\"\n", "k", ""), 0);
    EXPECT_EQ(Holds("j=\"\"\n", "k", ""), 0);
    EXPECT_EQ(Holds("k=no\nk=yes\n", "k", "yes"), 0);
}

TEST(SdkKeyFile, CheckWithoutFileOrArguments) {
    const ScratchFile file("k=yes\n");
    EXPECT_EQ(BlVELUFileCheckKeyValue("/etc.defaults/no-such.conf", "k", "yes"), 0);
    EXPECT_EQ(BlVELUFileCheckKeyValue(nullptr, "k", "yes"), 0);
    EXPECT_EQ(BlVELUFileCheckKeyValue(file.c_str(), nullptr, "yes"), 0);
    EXPECT_EQ(BlVELUFileCheckKeyValue(file.c_str(), "", "yes"), 0);
    EXPECT_EQ(BlVELUFileCheckKeyValue(file.c_str(), "k", nullptr), 0);
}

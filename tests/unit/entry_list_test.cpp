// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/entry_list.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

bool IsBelieved(const std::string &packed) {
    EntryList list;
    return EntriesDecode(packed, &list);
}

} // namespace

TEST(EntryList, ComesAsItWasPacked) {
    EntryList sent;
    EntryAdd(&sent, "a.mp3", {});
    EntryAdd(&sent, "caf\u00E9.mp3", "caf\xE9.mp3");
    EntryAdd(&sent, "", "bytes alone");
    EntryAdd(&sent, "  ", {});
    EntryAdd(&sent, "a\tb\u0085\xFF", {});
    EntryList list;
    ASSERT_TRUE(EntriesDecode(sent.packed, &list));
    EXPECT_EQ(list.count, 3u);
    EXPECT_EQ(list.packed, "a.mp3\0\0caf\u00E9.mp3\0caf\xE9.mp3\0a b \uFFFD\0\0"s);
    EXPECT_FALSE(sent.cut);
    ASSERT_TRUE(EntriesDecode("", &list));
    EXPECT_EQ(list.count, 0u);
}

TEST(EntryList, WhatIsNotAsItIsPackedIsNotBelieved) {
    EXPECT_TRUE(IsBelieved("a\0\0"s));
    EXPECT_TRUE(IsBelieved("a\0b\0"s));
    for (const std::string &packed : {"a"s, "\0"s, "\0\0"s, "a\0"s, "a\0b"s, "\0b\0"s, " \0\0"s, "a\xFF\0\0"s,
                                      "a\xC3\0\0"s, "a\n\0\0"s, "a\0\0b\0"s, "a\0\0\0\0"s})
        EXPECT_FALSE(IsBelieved(packed)) << packed.size();
    const std::string longest(kPlaylistTargetMax, 'x');
    EXPECT_TRUE(IsBelieved(longest + "\0"s + longest + "\0"s));
    EXPECT_FALSE(IsBelieved(longest + "x\0\0"s));
    EXPECT_FALSE(IsBelieved("a\0"s + longest + "x\0"s));
    std::string many;
    for (size_t i = 0; i < kPlaylistEntriesMax; ++i)
        many += "a\0\0"s;
    EXPECT_TRUE(IsBelieved(many));
    EXPECT_FALSE(IsBelieved(many + "a\0\0"s));
    EXPECT_FALSE(IsBelieved(std::string(kPlaylistTextMax, 'x') + '\0'));
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/near_key.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::string Near(const std::string &name) {
    const ConfigurationKey *key = NearKey(name);
    return key != nullptr ? key->name : "";
}

} // namespace

TEST(NearKey, EveryKeyIsItsOwn) {
    for (const ConfigurationKey &key : kConfigurationKeys)
        EXPECT_EQ(Near(key.name), key.name);
}

TEST(NearKey, SlipsAreFound) {
    EXPECT_EQ(Near("mediabd"), "mediadb");
    EXPECT_EQ(Near("MediaDB"), "mediadb");
    EXPECT_EQ(Near("media_db"), "mediadb");
    EXPECT_EQ(Near("photobd"), "photodb");
    EXPECT_EQ(Near("coversdir"), "coverdir");
    EXPECT_EQ(Near("aac_decodr"), "aacdecoder");
    EXPECT_EQ(Near("support_photo"), "supportphoto");
    EXPECT_EQ(Near("supportcinema"), "supportcinehall"); // three slips in fifteen letters
    EXPECT_EQ(Near("supportvideo"), "");                 // four in twelve
    EXPECT_EQ(Near("albumdefaultpublic"), "");
}

TEST(NearKey, OtherProgramsKeysAreLeftAlone) {
    for (const char *name : {"", "m", "language", "timezone", "hostname", "photodir", "musicdb", "dbmedia"})
        EXPECT_EQ(Near(name), "") << name;
    EXPECT_EQ(Near(std::string(100000, 'm')), "");
}

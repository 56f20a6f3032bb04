// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/configuration.h"

#include <gtest/gtest.h>
#include <string.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>

namespace {

// The test leaves no file behind that others would read.
class Configuration : public testing::Test {
protected:
    static void Write(const char *file, const char *text) {
        std::filesystem::create_directories(std::filesystem::path(file).parent_path());
        std::ofstream(file) << text;
    }
    void TearDown() override {
        std::filesystem::remove(kConfigurationFile);
        std::filesystem::remove(kDefaultsFile);
    }
};

std::string Get(const char *name) {
    for (const ConfigurationKey &key : kConfigurationKeys) {
        char value[256];
        if (strcmp(key.name, name) == 0)
            return ConfigurationGet(key, value, sizeof value) == 0 ? value : "(does not fit)";
    }
    return "(no such key)";
}

} // namespace

TEST_F(Configuration, EachKeyIsThereOnceAndIsComplete) {
    std::set<std::string> names;
    for (const ConfigurationKey &key : kConfigurationKeys) {
        EXPECT_TRUE(names.insert(key.name).second) << key.name;
        EXPECT_TRUE(strcmp(key.file, kConfigurationFile) == 0 || strcmp(key.file, kDefaultsFile) == 0);
        for (const char *text : {key.name, key.standard, key.read, key.meaning})
            EXPECT_STRNE(text, "") << key.name;
        EXPECT_EQ(key.meaning[strlen(key.meaning) - 1], '.') << key.name;
    }
    EXPECT_EQ(names.size(), std::size(kConfigurationKeys));
}

TEST_F(Configuration, WithoutFilesTheDefaultsHold) {
    EXPECT_EQ(Get("mediadb"), "sqlite:/var/lib/velu/mediaserver.db");
    EXPECT_EQ(Get("photodb"), "sqlite:/var/lib/velu/photo.db");
    EXPECT_EQ(Get("coverdir"), "/var/lib/velu/covers");
    EXPECT_EQ(Get("aacdecoder"), kStandardAacDecoder);
    EXPECT_EQ(Get("supportphoto"), "no");
}

TEST_F(Configuration, WhatTheFileSaysHoldsUnlessItIsEmpty) {
    Write(kConfigurationFile, "mediadb=\"sqlite:/x.db\"\nphotodb=\"\"\ncoverdir=\n");
    Write(kDefaultsFile, "supportphoto=\"yes\"\nphotodb=\"sqlite:/y.db\"\n");
    EXPECT_EQ(Get("mediadb"), "sqlite:/x.db");
    EXPECT_EQ(Get("photodb"), "sqlite:/var/lib/velu/photo.db");
    EXPECT_EQ(Get("coverdir"), "/var/lib/velu/covers");
    EXPECT_EQ(Get("supportphoto"), "yes");
    EXPECT_EQ(BlConfigurationIs(ConfigurationKeyOf("supportphoto"), "yes"), 1);
    EXPECT_EQ(BlConfigurationIs(ConfigurationKeyOf("supportcinehall"), "yes"), 0);
    char value[8] = "x";
    EXPECT_EQ(ConfigurationGetWritten(ConfigurationKeyOf("photodb"), value, sizeof value), 0);
    EXPECT_EQ(ConfigurationGetWritten(ConfigurationKeyOf("albumdefpublic"), value, sizeof value), -1);
    EXPECT_STREQ(value, "");
}

TEST_F(Configuration, ADefaultThatDoesNotFitIsNone) {
    const ConfigurationKey &key = ConfigurationKeyOf("coverdir");
    char value[64];
    EXPECT_EQ(ConfigurationGet(key, value, strlen(key.standard) + 1), 0);
    EXPECT_STREQ(value, key.standard);
    EXPECT_EQ(ConfigurationGet(key, value, strlen(key.standard)), -1);
}

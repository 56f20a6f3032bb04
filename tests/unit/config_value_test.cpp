// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/config_value.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "scratch_file.h"

namespace {

std::string Of(ConfigurationKind kind, const std::string &value) {
    const ConfigurationKey key = {kConfigurationFile, "key", "no", kind, "", "", "yes no"};
    return ConfigurationProblem(key, value);
}

} // namespace

TEST(ConfigValue, CataloguesAreFilesOrServers) {
    const auto problem = [](const std::string &value) { return Of(ConfigurationKind::catalogue, value); };
    for (const char *good :
         {"sqlite:/tmp/new.db", "sqlite:/tmp/new/deep/new.db", "sqlite:/new.db", "postgresql:///db",
          "postgres://u:p%20w@h:5432/db?sslmode=require", "postgresql://", "postgresql://h/x?"})
        EXPECT_EQ(problem(good), "") << good;
    EXPECT_EQ(problem("sqlite:media.db"), "its path is not absolute");
    EXPECT_EQ(problem("sqlite:"), "its path is not absolute");
    EXPECT_EQ(problem("sqlite:/tmp"), "/tmp is a folder");
    EXPECT_EQ(problem("sqlite:/dev/null/media.db"), "/dev/null is no folder");
    EXPECT_EQ(problem("sqlite:/dev/null/deep/media.db"), "/dev/null is no folder");
    for (const char *bad : {"", "/tmp/new.db", "mysql://h/db", "postgresql:/db", "SQLITE:/x"})
        EXPECT_EQ(problem(bad), "is neither sqlite:PATH nor postgresql://...") << bad;
    for (const char *bad :
         {"postgresql://u:p%w@h/db", "postgresql://h/db%", "postgresql://h/%0", "postgresql://h/a%00"})
        EXPECT_NE(problem(bad).find("hexadecimal"), std::string::npos) << bad;
    EXPECT_NE(problem("postgresql://h/a b"), "");
    EXPECT_NE(problem("postgresql://h/a?sslmode"), "");
}

TEST(ConfigValue, FoldersAreAbsoluteAndCanBeMade) {
    const auto problem = [](const std::string &value) { return Of(ConfigurationKind::folder, value); };
    for (const char *good : {"/", "/tmp", "/tmp/", "/tmp/new", "/tmp/new/deep/", "/new"})
        EXPECT_EQ(problem(good), "") << good;
    EXPECT_EQ(problem("covers"), "its path is not absolute");
    EXPECT_EQ(problem("/dev/null"), "/dev/null is no folder");
    EXPECT_EQ(problem("/dev/null/covers"), "/dev/null is no folder");
}

TEST(ConfigValue, ProgramsAreThere) {
    const auto problem = [](const std::string &value) { return Of(ConfigurationKind::program, value); };
    for (const char *good : {"/bin/sh", "sh", "/bin/sh -x", "nice faad", "$HOME/faad", "'/opt/my faad'"})
        EXPECT_EQ(problem(good), "") << good;
    EXPECT_EQ(problem("/usr/bin/no-such"), "there is no program /usr/bin/no-such");
    EXPECT_EQ(problem("no-such -q"), "there is no program no-such");
    EXPECT_EQ(problem("bin/sh"), "its path is not absolute");
    const ScratchFile file("no program");
    EXPECT_NE(problem(file.c_str()), "");
    EXPECT_NE(problem("/tmp"), "");
}

TEST(ConfigValue, WordsAreThoseOfTheTable) {
    EXPECT_EQ(Of(ConfigurationKind::word, "yes"), "");
    EXPECT_EQ(Of(ConfigurationKind::word, "no"), "");
    for (const char *bad : {"Yes", "", "ye", "yes no", "1"})
        EXPECT_EQ(Of(ConfigurationKind::word, bad), "is neither yes nor no: no holds") << bad;
    EXPECT_EQ(Of(ConfigurationKind::any_case, "YES"), "");
    EXPECT_EQ(Of(ConfigurationKind::any_case, "on"), "is neither yes nor no: no holds");
}

TEST(ConfigValue, Counts) {
    for (const char *good : {"auto", "1", "4", "100", "03"})
        EXPECT_EQ(Of(ConfigurationKind::count, good), "") << good;
    for (const char *bad : {"", "0", "-1", "+1", "2x", "two", "Auto"})
        EXPECT_EQ(Of(ConfigurationKind::count, bad),
                  "is neither auto nor a whole number from 1 on: auto holds")
            << bad;
}

TEST(ConfigValue, Seconds) {
    for (const char *good : {"1", "10", "60", "05"})
        EXPECT_EQ(Of(ConfigurationKind::seconds, good), "") << good;
    for (const char *bad : {"", "0", "61", "-1", "+1", "2.5", "2x", "auto", "99999999999"})
        EXPECT_EQ(Of(ConfigurationKind::seconds, bad), "is no whole number from 1 to 60: no holds") << bad;
}

TEST(ConfigValue, CharacterSets) {
    for (const char *good :
         {"auto", "CP1251", "windows-1251", "koi8-r", "ISO-8859-1", "latin1", "utf8", "Shift_JIS", "GB18030"})
        EXPECT_EQ(Of(ConfigurationKind::charset, good), "") << good;
    for (const char *bad : {"", "Auto", "CP", "russian", "ISO-8859-", "UTF-16"})
        EXPECT_EQ(Of(ConfigurationKind::charset, bad),
                  "is neither auto nor a character set that is known: auto holds")
            << bad;
}

TEST(ConfigValue, DefaultsAreGood) {
    for (const ConfigurationKey &key : kConfigurationKeys) {
        if (key.kind == ConfigurationKind::program) // which the machine may lack
            continue;
        EXPECT_EQ(ConfigurationProblem(key, key.standard), "") << key.name;
    }
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the configuration says of readers, and where it says nothing the locale.
#include "catalogue/reader_settings.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#if VELU_SANITIZED
#include <sanitizer/lsan_interface.h>
#endif

#include <filesystem>

#include "tests/unit/log_capture.h"
#include "tests/unit/program_output.h"
#include "tests/unit/test_files.h"

namespace {

class ReaderSettings : public testing::Test {
protected:
    ReaderSettings() {
        LogTake();
#if VELU_SANITIZED // The C library forgets the path that LOCPATH names, each time.
        __lsan_disable();
#endif
    }
    ~ReaderSettings() override {
#if VELU_SANITIZED
        __lsan_enable();
#endif
        std::filesystem::remove("/etc/veluinfo.conf");
        unsetenv("LC_ALL");
        unsetenv("LOCPATH");
    }

    static void Configure(const std::string &charset) {
        FileWrite("/etc/veluinfo.conf", "tagcharset=\"" + charset + "\"\n");
    }
};

// Makes a locale of a character set, and has programs started in it.
void LocaleUse(const std::string &charset) {
    std::filesystem::create_directories("/tmp/locales");
    ProgramRun("localedef --force --no-archive -i POSIX -f " + charset + " /tmp/locales/" + charset +
               " 2> /dev/null");
    ASSERT_TRUE(std::filesystem::exists("/tmp/locales/" + charset + "/LC_CTYPE"));
    setenv("LOCPATH", "/tmp/locales", 1);
    setenv("LC_ALL", charset.c_str(), 1);
}

TEST_F(ReaderSettings, TheKeyNamesTheCharacterSet) {
    LocaleUse("KOI8-R");
    for (const auto &[written, name] : {std::pair("CP1251", "CP1251"), std::pair("windows-1252", "CP1252"),
                                        std::pair("latin1", "ISO-8859-1"), std::pair("utf8", "UTF-8")}) {
        Configure(written);
        EXPECT_EQ(TagCharset(), name);
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(ReaderSettings, WithoutItTheLocaleDoes) {
    for (const char *charset : {"KOI8-R", "ISO-8859-2", "CP1251"}) {
        LocaleUse(charset);
        EXPECT_EQ(TagCharset(), charset);
        Configure("auto");
        EXPECT_EQ(TagCharset(), charset);
        std::filesystem::remove("/etc/veluinfo.conf");
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(ReaderSettings, LocalesThatSayNothing) {
    for (const char *locale : {"C", "C.UTF-8", "none_NONE", ""}) {
        setenv("LC_ALL", locale, 1);
        EXPECT_EQ(TagCharset(), "") << locale;
    }
    EXPECT_TRUE(LogTake().empty());
}

TEST_F(ReaderSettings, AnUnknownSetCostsALine) {
    LocaleUse("KOI8-R");
    for (const char *bad :
         {"CP", "russian", "auto ", "a name that is longer than any that a character set has, by far"}) {
        Configure(bad);
        EXPECT_EQ(TagCharset(), "KOI8-R");
        const auto lines = LogTake();
        ASSERT_EQ(lines.size(), 1u) << bad;
        EXPECT_NE(lines[0].text.find("is no character set that is known: auto holds."), std::string::npos);
    }
}

} // namespace

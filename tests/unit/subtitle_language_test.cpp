// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/subtitle_language.h"

#include <gtest/gtest.h>

namespace {

std::string LanguageOfName(const std::string &subtitle) {
    const std::vector<std::string> all = SubtitleLanguages("/v/Film.mkv", {"/v/" + subtitle});
    return all.empty() ? "" : all.front();
}

} // namespace

TEST(SubtitleLanguage, IsTheLastWordThatIsOne) {
    EXPECT_EQ(LanguageOfName("Film.de.srt"), "deu");
    EXPECT_EQ(LanguageOfName("Film.ger.sub"), "deu");
    EXPECT_EQ(LanguageOfName("Film.German.SRT"), "deu");
    EXPECT_EQ(LanguageOfName("Film-de.srt"), "deu");
    EXPECT_EQ(LanguageOfName("Film_EN.srt"), "eng");
    EXPECT_EQ(LanguageOfName("Film (French).srt"), "fra");
    EXPECT_EQ(LanguageOfName("Film.pt-BR.srt"), "por");
    EXPECT_EQ(LanguageOfName("Film.zh-Hans.ass"), "zho");
    EXPECT_EQ(LanguageOfName("Film.to be.it.srt"), "ita");
}

TEST(SubtitleLanguage, MayBeWrittenAsItCallsItself) {
    EXPECT_EQ(LanguageOfName("Film.Français.srt"), "fra");
    EXPECT_EQ(LanguageOfName("Film.FRANC\u0327AIS.forced.srt"), "fra") << "in parts";
    EXPECT_EQ(LanguageOfName("Film.Español.srt"), "spa");
    EXPECT_EQ(LanguageOfName("Film.Français" + std::string(100, 'x') + ".srt"), "");
}

TEST(SubtitleLanguage, StandsInFrontOfTheirKind) {
    EXPECT_EQ(LanguageOfName("Film.en.forced.srt"), "eng");
    EXPECT_EQ(LanguageOfName("Film.en.sdh.cc.srt"), "eng");
    EXPECT_EQ(LanguageOfName("Film.en.hi.srt"), "eng");
    EXPECT_EQ(LanguageOfName("Film.hi.srt"), "hin");
}

TEST(SubtitleLanguage, IsNotSaidByOtherWords) {
    for (const char *name : {"Film.srt", "Film.2019.srt", "Film.forced.srt", "Film.de.old.srt", "Film..srt",
                             "Film.-.srt", "Film - director.srt"})
        EXPECT_EQ(LanguageOfName(name), "") << name;
}

TEST(SubtitleLanguage, IsThereOnce) {
    EXPECT_EQ(
        SubtitleLanguages("/v/Film.mkv", {"/v/Film.de.srt", "/v/Film.en.srt", "/v/Film.ger.forced.srt"}),
        (std::vector<std::string>{"deu", "eng"}));
}

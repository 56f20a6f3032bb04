// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/subtitle_language.h"

#include <algorithm>

#include "platform/folding/folding.h"
#include "platform/folding/language_words.h"
#include "platform/path.h"

namespace {

constexpr std::string_view kBetween = "._ ()[]";
constexpr std::string_view kBehind = "._ -()[]";
constexpr char kRegion = '-'; // in front of a country, or of letters: pt-BR, zh-Hans

// Of what is longer than the longest name of a language, none is meant.
constexpr size_t kLanguageWordMax = 64;

// They stand behind the language, or alone.
constexpr std::string_view kKinds[] = {"forced", "sdh", "cc", "default", "foreign", "full", "sub", "subs"};

// For those who hear nothing; alone it is a language, Hindi.
constexpr std::string_view kImpaired = "hi";

// Takes the last word off a text, with what stands in front of it.
std::string LastWordTake(std::string_view *text) {
    const size_t end = text->find_last_not_of(kBehind) + 1;
    const size_t front = text->substr(0, end).find_last_of(kBetween);
    const size_t begin = front == std::string_view::npos ? 0 : front + 1;
    std::string_view word = text->substr(begin, end - begin);
    *text = text->substr(0, begin);
    word.remove_prefix(std::min(word.find_first_not_of(kRegion), word.size()));
    return TextFolded(word.substr(0, word.find(kRegion)), kLanguageWordMax);
}

// Of what stands between a film's name and the extension.
std::string LanguageOf(std::string_view behind) {
    std::string word = LastWordTake(&behind);
    while (std::ranges::find(kKinds, word) != std::end(kKinds))
        word = LastWordTake(&behind);
    const std::string language = LanguageCode(word);
    if (word != kImpaired)
        return language;
    const std::string in_front = LanguageCode(LastWordTake(&behind));
    return in_front.empty() ? language : in_front;
}

} // namespace

std::vector<std::string> SubtitleLanguages(std::string_view film, const std::vector<std::string> &subtitles) {
    const size_t stem = NameWithoutExtension(film).size();
    std::vector<std::string> languages;
    for (const std::string &subtitle : subtitles) {
        const std::string_view whole = NameWithoutExtension(subtitle);
        std::string language = whole.size() > stem ? LanguageOf(whole.substr(stem)) : "";
        if (!language.empty() && std::ranges::find(languages, language) == languages.end())
            languages.push_back(std::move(language));
    }
    return languages;
}

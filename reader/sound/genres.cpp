// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/genres.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>

#include "audio/id3_genres.h"

namespace {

struct NumberedGenre {
    unsigned number;
    const char *name;
};

// As players and taggers know them: the list that the appliance's rows are made from keeps spellings of old.
constexpr NumberedGenre kUsualNames[] = {
    {40, "Alt. Rock"},
    {59, "Gangsta Rap"},
    {67, "Psychedelic"},
    {81, "Folk-Rock"},
    {85, "Bebop"},
    {123, "A Cappella"},
    {128, "Club-House"},
    {133, "Afro-Punk"},
    {136, "Christian Gangsta Rap"},
    {140, "Contemporary Christian"},
    {147, "Synthpop"},
};

// Those behind that list.
constexpr const char *kAddedNames[] = {"Abstract",      "Art Rock",
                                       "Baroque",       "Bhangra",
                                       "Big Beat",      "Breakbeat",
                                       "Chillout",      "Downtempo",
                                       "Dub",           "EBM",
                                       "Eclectic",      "Electro",
                                       "Electroclash",  "Emo",
                                       "Experimental",  "Garage",
                                       "Global",        "IDM",
                                       "Illbient",      "Industro-Goth",
                                       "Jam Band",      "Krautrock",
                                       "Leftfield",     "Lounge",
                                       "Math Rock",     "New Romantic",
                                       "Nu-Breakz",     "Post-Punk",
                                       "Post-Rock",     "Psytrance",
                                       "Shoegaze",      "Space Rock",
                                       "Trop Rock",     "World Music",
                                       "Neoclassical",  "Audiobook",
                                       "Audio Theatre", "Neue Deutsche Welle",
                                       "Podcast",       "Indie Rock",
                                       "G-Funk",        "Dubstep",
                                       "Garage Rock",   "Psybient"};

bool IsNumber(std::string_view text) {
    return !text.empty() && text.size() <= 3 &&
           std::ranges::all_of(text, [](char character) { return character >= '0' && character <= '9'; });
}

std::string NumberedName(std::string_view digits) {
    unsigned number = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return GenreName(number);
}

// What a word between parentheses stands for, if it is one of those that may: empty for a number without a name.
std::optional<std::string> ShortNamed(std::string_view word) {
    if (word == "RX")
        return "Remix";
    if (word == "CR")
        return "Cover";
    if (IsNumber(word))
        return NumberedName(word);
    return std::nullopt;
}

void Add(std::vector<std::string> *genres, std::string genre) {
    if (!genre.empty() && std::ranges::find(*genres, genre) == genres->end())
        genres->push_back(std::move(genre));
}

} // namespace

std::string GenreName(unsigned number) {
    const auto *usual = std::ranges::find(kUsualNames, number, &NumberedGenre::number);
    if (usual != std::end(kUsualNames))
        return usual->name;
    if (number < kId3GenreCount)
        return Id3GenreNames[number];
    return number - kId3GenreCount < std::size(kAddedNames) ? kAddedNames[number - kId3GenreCount] : "";
}

std::vector<std::string> GenresOf(std::string_view text) {
    const bool enclosed = text.size() > 2 && text.front() == '(' && text.back() == ')';
    const std::string_view word = enclosed ? text.substr(1, text.size() - 2) : text;
    std::vector<std::string> genres;
    Add(&genres, IsNumber(word) ? NumberedName(word) : std::string(text));
    return genres;
}

std::vector<std::string> GenresOfId3(std::string_view text) {
    std::vector<std::string> genres;
    if (std::optional<std::string> name = ShortNamed(text)) {
        Add(&genres, *std::move(name));
        return genres;
    }
    while (text.starts_with('(')) {
        const size_t end = std::min(text.find(')'), text.size());
        std::optional<std::string> name = ShortNamed(text.substr(1, end - 1));
        if (end == text.size() || !name)
            break;
        Add(&genres, *std::move(name));
        text.remove_prefix(end + 1);
    }
    Add(&genres, std::string(text.substr(text.starts_with("((") ? 1 : 0)));
    return genres;
}

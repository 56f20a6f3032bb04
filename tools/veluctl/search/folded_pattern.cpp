// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/search/folded_pattern.h"

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "platform/folding/folding.h"
#include "platform/letters.h"
#include "platform/utf8.h"

namespace {

struct Block {
    char32_t first;
    char32_t last;
};

// Where Unicode has letters with a case, with marks or in other widths, and marks. All others are only themselves.
constexpr Block kBlocks[] = {{0x20, 0x33FF},     {0xA640, 0xABFF},   {0xF900, 0xFFFC},
                             {0x10400, 0x104FF}, {0x1D400, 0x1D7FF}, {0x1F100, 0x1F1FF}};

// Marks of all scripts; those of one script are in the block of its letters.
constexpr Block kCommonMarks = {0x0300, 0x036F};
constexpr char32_t kMarksBlock = 0x100;
constexpr char32_t kFirstScriptWithMarks = 0x0590; // letters before have the common ones

constexpr size_t kExpandedMost = 4; // characters that one may become and is still looked for

struct Spellings {
    std::map<std::string, std::vector<std::string>> of; // a folded text, and the characters that fold to it
    std::map<char32_t, std::vector<std::string>> marks; // by block
    size_t longest = 0;
};

Spellings SpellingsMake() {
    Spellings all;
    constexpr size_t kAll = 128;
    for (const Block &block : kBlocks) {
        for (char32_t character = block.first; character <= block.last; ++character) {
            std::string written;
            Utf8Append(&written, character);
            const std::string folded = TextFolded(written, kAll);
            if (folded.empty()) {
                const bool common = character >= kCommonMarks.first && character <= kCommonMarks.last;
                all.marks[common ? 0 : character / kMarksBlock].push_back(written);
            } else if (folded != written) {
                all.of[folded].push_back(written);
            }
        }
    }
    for (const auto &[folded, written] : all.of)
        all.longest = std::max(all.longest, folded.size());
    all.longest = std::min(all.longest, 4 * kExpandedMost);
    return all;
}

const Spellings &AllSpellings() {
    static const Spellings all = SpellingsMake();
    return all;
}

std::string Escaped(std::string_view text) {
    std::string escaped;
    for (const char byte : text) {
        const bool plain = IsDigit(byte) || (Lower(byte) >= 'a' && Lower(byte) <= 'z') ||
                           static_cast<unsigned char>(byte) >= 0x80;
        escaped.append(plain ? "" : "\\").append(1, byte);
    }
    return escaped;
}

// Any one of some bytes of which none has a meaning in brackets.
std::string BracketOf(const std::set<char> &bytes) {
    const char first = *bytes.begin();
    const char last = *bytes.rbegin();
    if (bytes.size() == 1)
        return {first};
    if (bytes.size() == static_cast<size_t>(last - first) + 1)
        return std::string("[") + first + "-" + last + "]";
    return "[" + std::string(bytes.begin(), bytes.end()) + "]";
}

// Any one of these texts: those that differ in their last byte share what is in front.
std::string AnyOf(const std::vector<std::string> &texts) {
    std::map<std::string, std::set<char>> by_front;
    std::string pattern;
    for (const std::string &text : texts) {
        if (text.size() == 1)
            pattern.append(pattern.empty() ? "" : "|").append(Escaped(text));
        else
            by_front[text.substr(0, text.size() - 1)].insert(text.back());
    }
    for (const auto &[front, last] : by_front) {
        pattern.append(pattern.empty() ? "" : "|").append(Escaped(front));
        pattern += BracketOf(last);
    }
    return "(?:" + pattern + ")";
}

// A syllable of Korean may be written by its letters.
std::string Jamo(char32_t syllable) {
    constexpr char32_t kFirst = 0xAC00;
    constexpr char32_t kLast = 0xD7A3;
    constexpr char32_t kVowels = 21;
    constexpr char32_t kFinals = 28;
    if (syllable < kFirst || syllable > kLast)
        return {};
    const char32_t index = syllable - kFirst;
    std::string written;
    Utf8Append(&written, 0x1100 + index / (kVowels * kFinals));
    Utf8Append(&written, 0x1161 + index / kFinals % kVowels);
    if (index % kFinals != 0)
        Utf8Append(&written, 0x11A7 + index % kFinals);
    return written;
}

// Any marks, of the common ones and of the script of the letter in front.
std::string MarksBehind(char32_t letter) {
    const Spellings &all = AllSpellings();
    std::vector<std::string> marks = all.marks.at(0);
    const auto own = all.marks.find(letter / kMarksBlock);
    if (letter >= kFirstScriptWithMarks && own != all.marks.end())
        marks.insert(marks.end(), own->second.begin(), own->second.end());
    return AnyOf(marks) + "*";
}

// One character of the folded text.
std::string LetterPattern(std::string_view letter, char32_t character) {
    const Spellings &all = AllSpellings();
    std::vector<std::string> written = {std::string(letter)};
    if (const auto others = all.of.find(std::string(letter)); others != all.of.end())
        written.insert(written.end(), others->second.begin(), others->second.end());
    if (const std::string jamo = Jamo(character); !jamo.empty())
        written.push_back(jamo);
    return AnyOf(written) + MarksBehind(character);
}

// The longest text at the begin that a single character may stand for, or nothing.
std::string_view Expanded(std::string_view folded) {
    const Spellings &all = AllSpellings();
    for (size_t length = std::min(folded.size(), all.longest); length > 1; --length) {
        const std::string_view front = Utf8Front(folded, length);
        std::string_view rest = front;
        char32_t character = 0;
        static_cast<void>(Utf8Take(&rest, &character));
        if (!rest.empty() && all.of.contains(std::string(front)))
            return front;
    }
    return {};
}

std::string LettersPattern(std::string_view folded) {
    std::string pattern;
    while (!folded.empty()) {
        const std::string_view before = folded;
        char32_t character = 0;
        if (Utf8Take(&folded, &character) != Utf8::kCharacter)
            break;
        pattern += LetterPattern(before.substr(0, before.size() - folded.size()), character);
    }
    return pattern;
}

} // namespace

std::string FoldedPattern(std::string_view folded, bool whole) {
    std::string pattern = whole ? "^" + MarksBehind(0) : "";
    while (!folded.empty()) {
        if (const std::string_view several = Expanded(folded); !several.empty()) {
            const auto &written = AllSpellings().of.at(std::string(several));
            pattern.append("(?:").append(LettersPattern(several)).append("|").append(AnyOf(written));
            pattern.append(MarksBehind(0)).append(")");
            folded.remove_prefix(several.size());
            continue;
        }
        const std::string_view before = folded;
        char32_t character = 0;
        if (Utf8Take(&folded, &character) != Utf8::kCharacter)
            break;
        pattern += LetterPattern(before.substr(0, before.size() - folded.size()), character);
    }
    return whole ? pattern + "$" : pattern;
}

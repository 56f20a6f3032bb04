// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/folding/folding.h"

#include <stdio.h>
#include <stdlib.h>
#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <vector>

#include "platform/letters.h"
#include "platform/utf8.h"

namespace {

// Raised with every change of the rule; below kRevisions.
constexpr int64_t kRevision = 1;
constexpr int64_t kRevisions = 100;

constexpr char32_t kReplacementCharacter = 0xFFFD;

// One character makes at most 18 (U+FDFA), and the folding of each of these at most three.
constexpr size_t kOfOneMost = 64;

// Syllables of Korean are made of up to three characters, others of one: with so many more than bytes are wanted, the last
// ones do not count.
constexpr size_t kBehindLast = 8;

using Characters = std::array<utf8proc_int32_t, kOfOneMost>;

constexpr utf8proc_option_t Options(int options) {
    return static_cast<utf8proc_option_t>(options);
}

constexpr int kTakenApart = UTF8PROC_STABLE | UTF8PROC_COMPAT | UTF8PROC_DECOMPOSE | UTF8PROC_STRIPMARK;

// Returns how many characters there are, none for what the library does not know.
size_t TakeApart(utf8proc_int32_t character, int options, Characters *out) {
    int bound = 0; // of graphemes, which nobody asks for
    const utf8proc_ssize_t count = utf8proc_decompose_char(
        character, out->data(), static_cast<utf8proc_ssize_t>(out->size()), Options(options), &bound);
    return static_cast<size_t>(std::clamp<utf8proc_ssize_t>(count, 0, kOfOneMost));
}

char32_t CharacterTake(std::string_view *text) {
    char32_t character = kReplacementCharacter;
    if (Utf8Take(text, &character) != Utf8::kCharacter)
        text->remove_prefix(1);
    return character;
}

// A mark may be part of a letter whose case folds to two: so it goes before the case is folded, however the letter is written.
void FoldedAdd(char32_t character, std::vector<utf8proc_int32_t> *folded) {
    Characters letters;
    const size_t count = TakeApart(static_cast<utf8proc_int32_t>(character), kTakenApart, &letters);
    for (size_t i = 0; i < count; ++i) {
        Characters small;
        const size_t parts = TakeApart(letters[i], kTakenApart | UTF8PROC_CASEFOLD, &small);
        folded->insert(folded->end(), small.begin(), small.begin() + static_cast<ptrdiff_t>(parts));
    }
}

bool IsAscii(char byte) {
    return static_cast<uint8_t>(byte) < 0x80;
}

// Text with other characters than those of ASCII.
std::string LettersFolded(std::string_view text, size_t most) {
    std::vector<utf8proc_int32_t> folded;
    while (!text.empty() && folded.size() < most + kBehindLast)
        FoldedAdd(CharacterTake(&text), &folded);
    const utf8proc_ssize_t count =
        utf8proc_normalize_utf32(folded.data(), static_cast<utf8proc_ssize_t>(folded.size()),
                                 Options(UTF8PROC_STABLE | UTF8PROC_COMPOSE));
    std::string utf8;
    for (utf8proc_ssize_t i = 0; i < count; ++i)
        Utf8Append(&utf8, static_cast<char32_t>(folded[static_cast<size_t>(i)]));
    return utf8;
}

std::string Mapped(std::string_view text, int options) {
    if (std::all_of(text.begin(), text.end(), IsAscii) && (options & UTF8PROC_CASEFOLD) == 0)
        return std::string(text);
    utf8proc_uint8_t *mapped = nullptr;
    const utf8proc_ssize_t size =
        utf8proc_map(reinterpret_cast<const utf8proc_uint8_t *>(text.data()),
                     static_cast<utf8proc_ssize_t>(text.size()), &mapped, Options(options));
    std::string result(
        size < 0 ? text
                 : std::string_view(reinterpret_cast<const char *>(mapped), static_cast<size_t>(size)));
    free(mapped);
    return result;
}

} // namespace

int64_t FoldingVersion() {
    int major = 0;
    int minor = 0;
    int update = 0;
    sscanf(utf8proc_unicode_version(), "%d.%d.%d", &major, &minor, &update);
    return ((int64_t{major} * 100 + minor) * 100 + update) * kRevisions + kRevision;
}

std::string TextFolded(std::string_view text, size_t most) {
    // No mark that follows changes a letter of ASCII.
    const auto end = std::find_if_not(
        text.begin(), text.begin() + static_cast<ptrdiff_t>(std::min(text.size(), most)), IsAscii);
    const auto plain = static_cast<size_t>(end - text.begin());
    std::string folded(plain, '\0');
    std::transform(text.begin(), end, folded.begin(), Lower);
    if (plain < text.size() && plain < most)
        folded += LettersFolded(text.substr(plain), most - plain);
    folded.resize(Utf8Front(folded, most).size());
    return folded;
}

std::string TextNormal(std::string_view text) {
    return Mapped(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE);
}

std::string TextCaseless(std::string_view text) {
    return Mapped(text, UTF8PROC_STABLE | UTF8PROC_COMPOSE | UTF8PROC_CASEFOLD);
}

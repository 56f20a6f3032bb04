// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/fact_list.h"

#include "platform/utf8.h"

#include <math.h>

#include <algorithm>
#include <utility>

namespace {

// Whole numbers up to here are exact in a double.
constexpr double kWholeMax = 9007199254740992.0;

constexpr char32_t kReplacement = 0xFFFD;

bool IsBlank(char32_t character) {
    return character <= ' ' || (character >= 0x7F && character < 0xA0);
}

uint16_t ValuesOf(const FactList &list, FactName name) {
    return static_cast<uint16_t>(std::ranges::count(list.facts, name, &Fact::name));
}

bool HasText(const FactList &list, FactName name, std::string_view text) {
    return std::ranges::any_of(list.facts,
                               [&](const Fact &fact) { return fact.name == name && fact.text == text; });
}

bool HasRoom(const FactList &list, FactName name) {
    return list.facts.size() < kReaderFactsMax &&
           (FactKindOf(name).several || FactFind(list, name) == nullptr);
}

// Blanks at the front are not in `text`. Stops where no more is kept.
std::string Validated(std::string_view text) {
    std::string valid;
    char32_t character = 0;
    while (!text.empty() && text.front() != '\0' && valid.size() <= kReaderValueMax) {
        const Utf8 found = Utf8Take(&text, &character);
        if (found == Utf8::kCut)
            break;
        if (found == Utf8::kInvalid) {
            text.remove_prefix(1);
            character = kReplacement;
        }
        if (!valid.empty() || !IsBlank(character))
            Utf8Append(&valid, character);
    }
    return valid;
}

// Of valid UTF-8.
void BlanksAtEndDrop(std::string *text) {
    while (!text->empty()) {
        const auto last = static_cast<uint8_t>(text->back());
        // U+0080 to U+009F are 0xC2 and one byte.
        const bool upper = last < 0xA0 && text->size() >= 2 && (*text)[text->size() - 2] == '\xC2';
        if (!upper && !IsBlank(last < 0x80 ? last : 'x'))
            return;
        text->resize(text->size() - (upper ? 2 : 1));
    }
}

} // namespace

std::string FactText(std::string_view text) {
    while (!text.empty() && IsBlank(static_cast<uint8_t>(text.front())) &&
           static_cast<uint8_t>(text.front()) < 0x80)
        text.remove_prefix(1);
    std::string valid = Validated(text);
    valid.resize(Utf8Front(valid, kReaderValueMax).size());
    BlanksAtEndDrop(&valid);
    return valid;
}

bool FactAddText(FactList *list, FactName name, FactSource source, std::string_view text) {
    if (FactKindOf(name).type != FactType::text || !HasRoom(*list, name))
        return false;
    std::string kept = FactText(text);
    if (kept.empty() || kept.size() > kReaderTextMax - list->text_bytes || HasText(*list, name, kept))
        return false;
    list->text_bytes += kept.size();
    list->facts.push_back({name, source, ValuesOf(*list, name), 0, std::move(kept)});
    return true;
}

bool FactAddNumber(FactList *list, FactName name, FactSource source, double number) {
    const FactType type = FactKindOf(name).type;
    if (type == FactType::text || !HasRoom(*list, name) || !isfinite(number))
        return false;
    if (type == FactType::whole && (number < 0 || number > kWholeMax || number != trunc(number)))
        return false;
    list->facts.push_back({name, source, ValuesOf(*list, name), number, {}});
    return true;
}

const Fact *FactFind(const FactList &list, FactName name) {
    const auto found = std::ranges::find(list.facts, name, &Fact::name);
    return found != list.facts.end() ? &*found : nullptr;
}

const char *FactSourceWord(FactSource source) {
    switch (source) {
    case FactSource::own:
        break;
    case FactSource::taglib:
        return "taglib";
    case FactSource::exiv2:
        return "exiv2";
    case FactSource::libavformat:
        return "libavformat";
    }
    return "own";
}

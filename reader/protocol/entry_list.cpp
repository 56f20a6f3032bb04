// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/protocol/entry_list.h"

#include <utility>

#include "platform/utf8.h"

namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

constexpr bool IsControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character <= 0x9F);
}

std::string EntryText(std::string_view text) {
    std::string valid;
    while (!text.empty() && valid.size() < kPlaylistTargetMax) {
        char32_t character = kReplacementCharacter;
        if (Utf8Take(&text, &character) != Utf8::kCharacter)
            text.remove_prefix(1);
        Utf8Append(&valid, IsControl(character) ? U' ' : character);
    }
    valid.resize(Utf8Front(valid, kPlaylistTargetMax).size());
    return valid;
}

// Takes what stands up to the next NUL.
std::string_view PartTake(const EntryList &list, size_t *position) {
    const char *begin = list.packed.c_str() + *position;
    const std::string_view part = begin;
    *position += part.size() + 1;
    return part;
}

} // namespace

void EntryAdd(EntryList *list, std::string_view text, std::string_view bytes) {
    const std::string valid = EntryText(text);
    const std::string_view written =
        bytes.size() <= kPlaylistTargetMax ? bytes.substr(0, bytes.find('\0')) : std::string_view();
    if (valid.find_first_not_of(' ') == std::string::npos)
        return;
    constexpr size_t kTerminators = 2;
    if (list->count == kPlaylistEntriesMax ||
        valid.size() + written.size() + kTerminators > kPlaylistTextMax - list->packed.size()) {
        list->cut = true;
        return;
    }
    list->packed.append(valid).push_back('\0');
    list->packed.append(written).push_back('\0');
    ++list->count;
}

bool EntryNext(const EntryList &list, size_t *position, ListEntry *entry) {
    if (*position >= list.packed.size())
        return false;
    entry->text = PartTake(list, position);
    entry->bytes = PartTake(list, position);
    return true;
}

bool EntriesDecode(std::string packed, EntryList *list) {
    if (packed.size() > kPlaylistTextMax || (!packed.empty() && packed.back() != '\0'))
        return false;
    *list = {};
    list->packed = std::move(packed);
    ListEntry entry;
    for (size_t position = 0; EntryNext(*list, &position, &entry); ++list->count) {
        if (position > list->packed.size() || list->count == kPlaylistEntriesMax ||
            entry.text.find_first_not_of(' ') == std::string_view::npos ||
            EntryText(entry.text) != entry.text || entry.bytes.size() > kPlaylistTargetMax)
            return false;
    }
    return true;
}

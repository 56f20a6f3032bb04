// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/id3v2_items.h"

#include <algorithm>
#include <array>

#include "platform/limits.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/text.h"

namespace {

struct Id3Content {
    std::string_view code_page;
    TagItems items;
    std::vector<TagPicture> pictures;
};

TextEncoding EncodingTake(Cursor *cursor) {
    const uint64_t encoding = TakeBig(cursor, 1);
    return encoding <= 3 ? static_cast<TextEncoding>(encoding) : TextEncoding::single_bytes;
}

std::string OneTextTake(Cursor *cursor, TextEncoding encoding, const Id3Content &content) {
    return TextDecode(TakeText(cursor, encoding), encoding, content.code_page);
}

void TextsAdd(Cursor *cursor, TextEncoding encoding, const std::string &key, Id3Content *content) {
    while (!cursor->rest.empty() && content->items.size() < kSoundItemsMax) {
        std::string text = OneTextTake(cursor, encoding, *content);
        if (!text.empty())
            content->items.push_back({key, std::move(text)});
    }
}

void TextFrame(const Id3Frame &frame, Id3Content *content) {
    Cursor cursor{frame.data};
    const TextEncoding encoding = EncodingTake(&cursor);
    std::string key = frame.id;
    if (frame.id == "TXXX")
        key += ":" + OneTextTake(&cursor, encoding, *content);
    TextsAdd(&cursor, encoding, key, content);
}

// Programs keep settings of their own in comments.
bool IsNoComment(std::string_view description) {
    return description.starts_with("iTun") || description.starts_with("Songs-DB_");
}

void CommentFrame(const Id3Frame &frame, Id3Content *content) {
    Cursor cursor{frame.data};
    const TextEncoding encoding = EncodingTake(&cursor);
    Take(&cursor, 3); // the language
    const std::string description = OneTextTake(&cursor, encoding, *content);
    if (frame.id == "COMM" && !IsNoComment(description))
        TextsAdd(&cursor, encoding, "COMM:" + description, content);
    else if (frame.id == "USLT")
        TextsAdd(&cursor, encoding, "USLT", content);
}

void IdentifierFrame(const Id3Frame &frame, Id3Content *content) {
    Cursor cursor{frame.data};
    const std::string owner(Characters(TakeText(&cursor, TextEncoding::single_bytes)));
    content->items.push_back({"UFID:" + owner, std::string(Characters(cursor.rest))});
}

// Channels, each with its gain in 1/512 dB and its peak; that of the master volume counts.
void GainFrame(const Id3Frame &frame, Id3Content *content) {
    constexpr uint64_t kMasterVolume = 1;
    Cursor cursor{frame.data};
    const std::string what(Characters(TakeText(&cursor, TextEncoding::single_bytes)));
    while (!cursor.rest.empty()) {
        const uint64_t channel = TakeBig(&cursor, 1);
        const auto gain = static_cast<int16_t>(TakeBig(&cursor, 2));
        const uint64_t peak_bits = TakeBig(&cursor, 1);
        Take(&cursor, static_cast<size_t>((peak_bits + 7) / 8));
        if (channel == kMasterVolume && !cursor.cut)
            content->items.push_back({"RVA2:" + what, std::to_string(gain / 512.0)});
    }
}

void PictureFrame(const Id3Frame &frame, int version, Id3Content *content) {
    Cursor cursor{frame.data};
    const TextEncoding encoding = EncodingTake(&cursor);
    const std::string_view type = version == 2 ? Characters(Take(&cursor, 3))
                                               : Characters(TakeText(&cursor, TextEncoding::single_bytes));
    const auto kind = static_cast<unsigned>(TakeBig(&cursor, 1));
    TakeText(&cursor, encoding); // the description
    if (type != "-->" && content->pictures.size() < kSoundPicturesMax)
        content->pictures.push_back({kind, cursor.rest});
}

// Name, times and places of a chapter, then frames, of which the first text is its title.
void ChapterFrame(const Id3Frame &frame, int version, Id3Content *content) {
    constexpr size_t kTimesAndPlaces = 16;
    Cursor cursor{frame.data};
    TakeText(&cursor, TextEncoding::single_bytes);
    Take(&cursor, kTimesAndPlaces);
    while (!cursor.rest.empty()) {
        const std::string_view id = Characters(Take(&cursor, 4));
        const Bytes size = Take(&cursor, 4);
        Take(&cursor, 2);
        if (cursor.cut)
            return;
        const Bytes data = Take(&cursor, version == 4 ? Syncsafe32(size.data()) : BigEndian32(size.data()));
        if (id == "TIT2")
            return TextFrame({"CHAP", data}, content);
    }
}

const std::string *ItemFind(const TagItems &items, std::string_view key) {
    const auto found = std::ranges::find(items, key, &TagItem::key);
    return found != items.end() ? &found->value : nullptr;
}

bool IsDigits(const std::string *text, size_t count) {
    return text != nullptr && (count == 0 || text->size() == count) && !text->empty() &&
           std::ranges::all_of(*text, [](char digit) { return digit >= '0' && digit <= '9'; });
}

// Versions 2.2 and 2.3 have the year, the day ("DDMM") and the time ("HHMM") apart.
void DatesJoin(TagItems *items) {
    const std::string *year = ItemFind(*items, "TYER");
    if (IsDigits(year, 0) && ItemFind(*items, "TDRC") == nullptr) {
        const std::string *day = ItemFind(*items, "TDAT");
        const std::string *time = ItemFind(*items, "TIME");
        std::string date = *year;
        if (IsDigits(day, 4)) {
            date += "-" + day->substr(2) + "-" + day->substr(0, 2);
            if (IsDigits(time, 4))
                date += "T" + time->substr(0, 2) + ":" + time->substr(2) + ":00";
        }
        items->push_back({"TDRC", date});
    }
    if (const std::string *original = ItemFind(*items, "TORY"); original != nullptr)
        items->push_back({"TDOR", std::string(*original)});
}

} // namespace

void Id3v2FactsAdd(const Id3Tag &tag, SoundFile *file) {
    Id3Content content{file->input->charset, {}, {}};
    for (const Id3Frame &frame : tag.frames) {
        if (frame.id.starts_with('T') || frame.id.starts_with("XSO"))
            TextFrame(frame, &content);
        else if (frame.id == "COMM" || frame.id == "USLT")
            CommentFrame(frame, &content);
        else if (frame.id == "UFID")
            IdentifierFrame(frame, &content);
        else if (frame.id == "RVA2")
            GainFrame(frame, &content);
        else if (frame.id == "APIC")
            PictureFrame(frame, tag.version, &content);
        else if (frame.id == "CHAP")
            ChapterFrame(frame, tag.version, &content);
    }
    DatesJoin(&content.items);
    FactsFromItems(content.items, kId3Table, FactSource::own, file->facts);
    PicturesTake(content.pictures, file->picture);
}

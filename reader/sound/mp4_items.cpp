// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mp4_items.h"

#include <algorithm>

#include "platform/limits.h"
#include "reader/sound/genres.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/text.h"
#include "reader/text/code_pages.h"

namespace {

// Texts that are read; facts keep less.
constexpr int64_t kTextRead = 64 * 1024;

// Types of values (QuickTime File Format, "well-known types").
enum DataType : uint64_t { kImplicit = 0, kUtf16 = 2, kNumber = 21 };

// The first character of Apple's types is no ASCII, and the table has it as UTF-8.
std::string KeyOf(const Box &box) {
    std::string key;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto character = static_cast<char>(box.type >> shift);
        key += character == '\xA9' ? std::string("©") : std::string(1, character);
    }
    return key;
}

bool IsApples(const Box &box) {
    return box.type >> 24 == 0xA9;
}

bool IsPair(const Box &item) {
    return item.Is("trkn") || item.Is("disk");
}

bool IsNumber(const Box &item) {
    return item.Is("cpil") || item.Is("tmpo") || item.Is("tvsn") || item.Is("tves");
}

std::string ValueText(const Box &item, uint64_t type, Bytes value) {
    Cursor cursor{value};
    if (IsPair(item)) {
        Take(&cursor, 2);
        const uint64_t number = TakeBig(&cursor, 2);
        return std::to_string(number) + "/" + std::to_string(TakeBig(&cursor, 2));
    }
    if (item.Is("gnre")) {
        const uint64_t number = TakeBig(&cursor, 2);
        return number > 0 ? GenreName(static_cast<unsigned>(number - 1)) : std::string();
    }
    if (type == kNumber || (type == kImplicit && IsNumber(item)))
        return value.size() <= 8 ? std::to_string(TakeBig(&cursor, value.size())) : std::string();
    return type == kUtf16 ? TextOfUtf16(value, ByteOrder::kBig) : std::string(Characters(value));
}

// The type of a value, its language, the value.
void DataAdd(BoxWalk *walk, const Box &item, const Box &data, const std::string &key, TagItems *items) {
    const SoundBytes bytes = Mp4BoxRead(walk, data, kTextRead);
    Cursor cursor{bytes.View()};
    const uint64_t type = TakeBig(&cursor, 4) & 0xFFFFFF;
    Take(&cursor, 4);
    if (!cursor.cut && items->size() < kSoundItemsMax)
        items->push_back({key, ValueText(item, type, cursor.rest)});
}

void CoverRead(BoxWalk *walk, const Box &item, PictureSink *sink) {
    constexpr int64_t kDataHeader = 8;
    Box data;
    int tried = 0;
    for (int64_t at = item.begin; sink->wanted && BoxTake(walk, &at, item.end, &data);) {
        if (!data.Is("data") || data.end - data.begin - kDataHeader > int64_t{kReaderPictureMax})
            continue;
        const SoundBytes bytes = Mp4BoxRead(walk, data, int64_t{kReaderPictureMax} + kDataHeader);
        if (bytes.size > kDataHeader &&
            PictureTake(sink, std::as_bytes(bytes.View().subspan(static_cast<size_t>(kDataHeader)))))
            return;
        if (++tried == kSoundLargePicturesMax)
            return;
    }
}

void ItemRead(BoxWalk *walk, const Box &item, SoundFile *file, TagItems *items) {
    if (item.Is("covr"))
        return CoverRead(walk, item, file->picture);
    std::string key = KeyOf(item);
    Box box;
    for (int64_t at = item.begin; BoxTake(walk, &at, item.end, &box);) {
        if (box.Is("name") && item.Is("----")) {
            const SoundBytes name = Mp4BoxRead(walk, box, kTextRead);
            key = "----:" + std::string(Characters(name.View().subspan(std::min<size_t>(name.size, 4))));
        } else if (box.Is("data")) {
            DataAdd(walk, item, box, key, items);
        }
    }
}

// "meta" has a version before its boxes, but for QuickTime's.
std::optional<Box> ItemList(BoxWalk *walk, const Box &moov) {
    std::optional<Box> meta = Mp4BoxFind(walk, moov, {"udta", "meta"});
    if (!meta)
        return std::nullopt;
    const SoundBytes begin = Mp4BoxRead(walk, *meta, 8);
    if (begin.size == 8 && Characters(begin.View()).substr(4) != "hdlr")
        meta->begin += 4;
    return Mp4BoxFind(walk, *meta, {"ilst"});
}

// Version, flags, a count of one byte behind four that are reserved; each chapter a time and its title.
void ChaptersAdd(Bytes content, TagItems *items) {
    Cursor cursor{content};
    const uint64_t version = TakeBig(&cursor, 1);
    Take(&cursor, version != 0 ? 7 : 3);
    for (uint64_t left = TakeBig(&cursor, 1); left > 0 && !cursor.rest.empty(); --left) {
        Take(&cursor, 8);
        const Bytes title = Take(&cursor, static_cast<size_t>(TakeBig(&cursor, 1)));
        items->push_back({"chpl", std::string(Characters(title))});
    }
}

// 3GPP: version, language, text, which is UTF-16 behind a byte order mark. QuickTime: size, language, text.
void UserTextAdd(const Box &box, Bytes content, TagItems *items) {
    Cursor cursor{content};
    if (IsApples(box)) {
        const uint64_t size = TakeBig(&cursor, 2);
        Take(&cursor, 2);
        items->push_back({KeyOf(box), TextGuess(Characters(Take(&cursor, static_cast<size_t>(size))), {})});
        return;
    }
    Take(&cursor, 4);
    if (box.Is("yrrc")) {
        items->push_back({"yrrc", std::to_string(TakeBig(&cursor, 2))});
        return;
    }
    Take(&cursor, 2);
    const bool wide = BeginsWith(cursor.rest, "\xFE\xFF") || BeginsWith(cursor.rest, "\xFF\xFE");
    const TextEncoding encoding = wide ? TextEncoding::utf16 : TextEncoding::utf8;
    items->push_back({KeyOf(box), TextDecode(TakeText(&cursor, encoding), encoding, {})});
}

bool IsUserText(const Box &box) {
    for (const std::string_view type : {"titl", "albm", "perf", "auth", "gnre", "dscp", "yrrc"}) {
        if (box.Is(type))
            return true;
    }
    return IsApples(box);
}

bool HasKey(const TagItems &items, const std::string &key) {
    return std::ranges::find(items, key, &TagItem::key) != items.end();
}

// Of boxes of one type each has the text in another language; the first counts.
void UserDataRead(BoxWalk *walk, const Box &moov, TagItems *items) {
    const std::optional<Box> udta = Mp4BoxFind(walk, moov, {"udta"});
    Box box;
    for (int64_t at = udta ? udta->begin : 0; udta && BoxTake(walk, &at, udta->end, &box);) {
        if (items->size() >= kSoundItemsMax)
            return;
        if (box.Is("chpl"))
            ChaptersAdd(Mp4BoxRead(walk, box, kTextRead).View(), items);
        else if (IsUserText(box) && !HasKey(*items, KeyOf(box)))
            UserTextAdd(box, Mp4BoxRead(walk, box, kTextRead).View(), items);
    }
}

} // namespace

void Mp4ItemsRead(BoxWalk *walk, const Box &moov, SoundFile *file) {
    TagItems items;
    const std::optional<Box> list = ItemList(walk, moov);
    Box item;
    for (int64_t at = list ? list->begin : 0; list && BoxTake(walk, &at, list->end, &item);)
        ItemRead(walk, item, file, &items);
    FactsFromItems(items, kMp4Table, FactSource::own, file->facts);
    TagItems texts;
    UserDataRead(walk, moov, &texts);
    FactsFromItems(texts, kMp4Table, FactSource::own, file->facts);
}

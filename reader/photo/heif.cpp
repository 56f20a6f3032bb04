// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/heif.h"

#include <algorithm>
#include <string_view>

#include "platform/limits.h"
#include "reader/photo/boxes.h"

namespace {

using namespace std::string_view_literals;

struct Extent {
    uint64_t offset;
    uint64_t size;
};

struct Item {
    uint64_t id = 0;
    uint64_t method = 0; // 0: offsets in the file, 1: in the box `idat`
    std::vector<Extent> extents;
};

struct Meta {
    uint64_t primary = 0;
    uint64_t exif = 0; // items, 0: none
    uint64_t xmp = 0;
    std::vector<Item> items;
    std::vector<PhotoSize> properties;                       // from 1 on; those that are no size have 0
    std::vector<std::pair<uint64_t, uint64_t>> associations; // item, property
    Bytes data;
};

// The version of a full box, whose flags go to `flags`.
uint64_t Version(Cursor *cursor, uint64_t *flags = nullptr) {
    const uint64_t both = TakeBig(cursor, 4);
    if (flags != nullptr)
        *flags = both & 0xFFFFFF;
    return both >> 24;
}

std::string_view CursorText(Cursor *cursor) {
    const auto end = std::find(cursor->rest.begin(), cursor->rest.end(), uint8_t{0});
    const Bytes text = Take(cursor, static_cast<size_t>(end - cursor->rest.begin()));
    if (!cursor->rest.empty())
        Take(cursor, 1);
    return Characters(text);
}

// Takes a box that is there whole.
bool WholeBoxTake(Cursor *cursor, MemoryBox *box) {
    return MemoryBoxTake(cursor, box) && !cursor->cut;
}

void ItemInfoRead(Bytes bytes, Meta *meta) {
    Cursor cursor = {bytes};
    TakeBig(&cursor, Version(&cursor) == 0 ? 2 : 4);
    for (MemoryBox box; WholeBoxTake(&cursor, &box);) {
        Cursor entry = {box.content};
        const uint64_t version = Version(&entry);
        if (!box.Is("infe") || version < 2)
            continue;
        const uint64_t id = TakeBig(&entry, version == 2 ? 2 : 4);
        TakeBig(&entry, 2);
        const auto type = static_cast<uint32_t>(TakeBig(&entry, 4));
        CursorText(&entry); // the item's name
        if (type == BoxType("Exif") && meta->exif == 0)
            meta->exif = id;
        else if (type == BoxType("mime") && CursorText(&entry) == "application/rdf+xml"sv && meta->xmp == 0)
            meta->xmp = id;
    }
}

void LocationsRead(Bytes bytes, Meta *meta) {
    Cursor cursor = {bytes};
    const uint64_t version = Version(&cursor);
    const uint64_t sizes = TakeBig(&cursor, 2);
    const size_t offset_size = sizes >> 12 & 15;
    const size_t length_size = sizes >> 8 & 15;
    const size_t base_size = sizes >> 4 & 15;
    const size_t index_size = version == 0 ? 0 : sizes & 15;
    if (version > 2 || std::max({offset_size, length_size, base_size, index_size}) > 8)
        return;
    for (uint64_t left = TakeBig(&cursor, version < 2 ? 2 : 4); left > 0 && !cursor.cut; --left) {
        Item item;
        item.id = TakeBig(&cursor, version < 2 ? 2 : 4);
        item.method = version == 0 ? 0 : TakeBig(&cursor, 2) & 15;
        TakeBig(&cursor, 2); // this file
        const uint64_t base = TakeBig(&cursor, base_size);
        for (uint64_t extents = TakeBig(&cursor, 2); extents > 0 && !cursor.cut; --extents) {
            TakeBig(&cursor, index_size);
            const uint64_t offset = TakeBig(&cursor, offset_size);
            item.extents.push_back({base + offset, TakeBig(&cursor, length_size)});
        }
        meta->items.push_back(std::move(item));
    }
}

void AssociationsRead(Bytes bytes, Meta *meta) {
    Cursor cursor = {bytes};
    uint64_t flags = 0;
    const uint64_t version = Version(&cursor, &flags);
    const bool wide = (flags & 1) != 0;
    for (uint64_t left = TakeBig(&cursor, 4); left > 0 && !cursor.cut; --left) {
        const uint64_t item = TakeBig(&cursor, version < 1 ? 2 : 4);
        for (uint64_t count = TakeBig(&cursor, 1); count > 0 && !cursor.cut; --count) {
            const uint64_t property = TakeBig(&cursor, wide ? 2 : 1) & (wide ? 0x7FFF : 0x7F);
            meta->associations.emplace_back(item, property);
        }
    }
}

void PropertiesRead(Bytes bytes, Meta *meta) {
    Cursor cursor = {bytes};
    for (MemoryBox box; WholeBoxTake(&cursor, &box);) {
        if (box.Is("ipma"))
            AssociationsRead(box.content, meta);
        if (!box.Is("ipco"))
            continue;
        Cursor properties = {box.content};
        for (MemoryBox property; WholeBoxTake(&properties, &property);) {
            PhotoSize size;
            if (property.Is("ispe")) {
                Cursor extents = {property.content};
                Version(&extents);
                size.width = TakeBig(&extents, 4);
                size.height = TakeBig(&extents, 4);
            }
            meta->properties.push_back(size);
        }
    }
}

Meta MetaRead(Bytes bytes) {
    Meta meta;
    Cursor cursor = {bytes};
    Version(&cursor);
    for (MemoryBox box; WholeBoxTake(&cursor, &box);) {
        Cursor inside = {box.content};
        switch (box.type) {
        case BoxType("pitm"):
            meta.primary = TakeBig(&inside, Version(&inside) == 0 ? 2 : 4);
            break;
        case BoxType("iinf"):
            ItemInfoRead(box.content, &meta);
            break;
        case BoxType("iloc"):
            LocationsRead(box.content, &meta);
            break;
        case BoxType("iprp"):
            PropertiesRead(box.content, &meta);
            break;
        case BoxType("idat"):
            meta.data = box.content;
            break;
        default:
            break;
        }
    }
    return meta;
}

std::vector<uint8_t> ItemBytes(ReaderInput *input, const Meta &meta, uint64_t id) {
    std::vector<uint8_t> bytes;
    const auto item = std::find_if(meta.items.begin(), meta.items.end(),
                                   [id](const Item &candidate) { return candidate.id == id; });
    if (id == 0 || item == meta.items.end())
        return bytes;
    for (const Extent &extent : item->extents) {
        std::vector<uint8_t> part;
        if (item->method == 1) {
            Cursor data = {meta.data};
            Take(&data, extent.offset);
            const Bytes taken = Take(&data, extent.size);
            if (!data.cut)
                part.assign(taken.begin(), taken.end());
        } else if (item->method == 0) {
            // A length of 0 means all that follows.
            const uint64_t rest = static_cast<uint64_t>(input->size) - extent.offset;
            part = FilePart(input, extent.offset, extent.size == 0 ? rest : extent.size);
        }
        if (part.size() > kPhotoValueMax - bytes.size())
            break;
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

// The picture itself, as coded; the largest one where the file does not say which it is.
PhotoSize SizeOf(const Meta &meta) {
    PhotoSize largest;
    for (const auto &[item, property] : meta.associations) {
        if (property == 0 || property > meta.properties.size())
            continue;
        const PhotoSize &size = meta.properties[static_cast<size_t>(property) - 1];
        if (item == meta.primary && size.width != 0)
            return size;
        if (size.width > largest.width)
            largest = size;
    }
    return largest;
}

} // namespace

void HeifRead(ReaderInput *input, PhotoMetadata *metadata) {
    for (const Box &box : FileBoxes(input)) {
        if (!box.Is("meta"))
            continue;
        const std::vector<uint8_t> bytes = FileBoxRead(input, box);
        const Meta meta = MetaRead(bytes);
        metadata->size = SizeOf(meta);
        ExifItemRead(ItemBytes(input, meta, meta.exif), metadata);
        const std::vector<uint8_t> packet = ItemBytes(input, meta, meta.xmp);
        if (!packet.empty())
            XmpBlockRead(Characters(packet), metadata);
        return;
    }
}

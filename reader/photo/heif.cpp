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
uint64_t Version(BytesCursor *cursor, uint64_t *flags = nullptr) {
    const uint64_t both = CursorNumber(cursor, 4);
    if (flags != nullptr)
        *flags = both & 0xFFFFFF;
    return both >> 24;
}

std::string_view CursorText(BytesCursor *cursor) {
    const auto end = std::find(cursor->left.begin(), cursor->left.end(), uint8_t{0});
    const Bytes text = CursorTake(cursor, static_cast<size_t>(end - cursor->left.begin()));
    if (!cursor->left.empty())
        CursorTake(cursor, 1);
    return {reinterpret_cast<const char *>(text.data()), text.size()};
}

void ItemInfoRead(Bytes bytes, Meta *meta) {
    BytesCursor cursor = {bytes};
    CursorNumber(&cursor, Version(&cursor) == 0 ? 2 : 4);
    for (MemoryBox box; CursorBox(&cursor, &box);) {
        BytesCursor entry = {box.bytes};
        const uint64_t version = Version(&entry);
        if (box.type != BoxName("infe") || version < 2)
            continue;
        const uint64_t id = CursorNumber(&entry, version == 2 ? 2 : 4);
        CursorNumber(&entry, 2);
        const auto type = static_cast<uint32_t>(CursorNumber(&entry, 4));
        CursorText(&entry); // the item's name
        if (type == BoxName("Exif") && meta->exif == 0)
            meta->exif = id;
        else if (type == BoxName("mime") && CursorText(&entry) == "application/rdf+xml"sv && meta->xmp == 0)
            meta->xmp = id;
    }
}

void LocationsRead(Bytes bytes, Meta *meta) {
    BytesCursor cursor = {bytes};
    const uint64_t version = Version(&cursor);
    const uint64_t sizes = CursorNumber(&cursor, 2);
    const size_t offset_size = sizes >> 12 & 15;
    const size_t length_size = sizes >> 8 & 15;
    const size_t base_size = sizes >> 4 & 15;
    const size_t index_size = version == 0 ? 0 : sizes & 15;
    if (version > 2 || std::max({offset_size, length_size, base_size, index_size}) > 8)
        return;
    for (uint64_t left = CursorNumber(&cursor, version < 2 ? 2 : 4); left > 0 && !cursor.failed; --left) {
        Item item;
        item.id = CursorNumber(&cursor, version < 2 ? 2 : 4);
        item.method = version == 0 ? 0 : CursorNumber(&cursor, 2) & 15;
        CursorNumber(&cursor, 2); // this file
        const uint64_t base = CursorNumber(&cursor, base_size);
        for (uint64_t extents = CursorNumber(&cursor, 2); extents > 0 && !cursor.failed; --extents) {
            CursorNumber(&cursor, index_size);
            const uint64_t offset = CursorNumber(&cursor, offset_size);
            item.extents.push_back({base + offset, CursorNumber(&cursor, length_size)});
        }
        meta->items.push_back(std::move(item));
    }
}

void AssociationsRead(Bytes bytes, Meta *meta) {
    BytesCursor cursor = {bytes};
    uint64_t flags = 0;
    const uint64_t version = Version(&cursor, &flags);
    const bool wide = (flags & 1) != 0;
    for (uint64_t left = CursorNumber(&cursor, 4); left > 0 && !cursor.failed; --left) {
        const uint64_t item = CursorNumber(&cursor, version < 1 ? 2 : 4);
        for (uint64_t count = CursorNumber(&cursor, 1); count > 0 && !cursor.failed; --count) {
            const uint64_t property = CursorNumber(&cursor, wide ? 2 : 1) & (wide ? 0x7FFF : 0x7F);
            meta->associations.emplace_back(item, property);
        }
    }
}

void PropertiesRead(Bytes bytes, Meta *meta) {
    BytesCursor cursor = {bytes};
    for (MemoryBox box; CursorBox(&cursor, &box);) {
        if (box.type == BoxName("ipma"))
            AssociationsRead(box.bytes, meta);
        if (box.type != BoxName("ipco"))
            continue;
        BytesCursor properties = {box.bytes};
        for (MemoryBox property; CursorBox(&properties, &property);) {
            PhotoSize size;
            if (property.type == BoxName("ispe")) {
                BytesCursor extents = {property.bytes};
                Version(&extents);
                size.width = CursorNumber(&extents, 4);
                size.height = CursorNumber(&extents, 4);
            }
            meta->properties.push_back(size);
        }
    }
}

Meta MetaRead(Bytes bytes) {
    Meta meta;
    BytesCursor cursor = {bytes};
    Version(&cursor);
    for (MemoryBox box; CursorBox(&cursor, &box);) {
        BytesCursor inside = {box.bytes};
        switch (box.type) {
        case BoxName("pitm"):
            meta.primary = CursorNumber(&inside, Version(&inside) == 0 ? 2 : 4);
            break;
        case BoxName("iinf"):
            ItemInfoRead(box.bytes, &meta);
            break;
        case BoxName("iloc"):
            LocationsRead(box.bytes, &meta);
            break;
        case BoxName("iprp"):
            PropertiesRead(box.bytes, &meta);
            break;
        case BoxName("idat"):
            meta.data = box.bytes;
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
            BytesCursor data = {meta.data};
            CursorTake(&data, extent.offset);
            const Bytes taken = CursorTake(&data, extent.size);
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
    for (const FileBox &box : FileBoxes(input)) {
        if (box.type != BoxName("meta"))
            continue;
        const std::vector<uint8_t> bytes = FileBoxRead(input, box);
        const Meta meta = MetaRead(bytes);
        metadata->size = SizeOf(meta);
        ExifItemRead(ItemBytes(input, meta, meta.exif), metadata);
        const std::vector<uint8_t> packet = ItemBytes(input, meta, meta.xmp);
        if (!packet.empty())
            XmpBlockRead({reinterpret_cast<const char *>(packet.data()), packet.size()}, metadata);
        return;
    }
}

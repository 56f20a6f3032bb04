// SPDX-License-Identifier: GPL-2.0-or-later
//
// TIFF 6.0 and BigTIFF: two entries of the first directory, in either byte order. Later directories (pages,
// reduced copies) are never followed.
#include "platform/image/image_formats.h"

#include <algorithm>

#include "platform/bytes.h"
#include "platform/limits.h"

namespace {

constexpr uint64_t kClassicVersion = 42;
constexpr uint64_t kBigVersion = 43;

constexpr uint64_t kImageWidth = 256;
constexpr uint64_t kImageLength = 257;

constexpr uint64_t kShort = 3;
constexpr uint64_t kLong = 4;
constexpr uint64_t kLong8 = 16; // BigTIFF only

// The two layouts differ in the widths of their numbers.
struct TiffLayout {
    ByteOrder order;
    uint64_t first_offset_at; // of the first directory's offset
    size_t offset_size;       // of offsets, of an entry's count and of its value
    size_t entries_size;      // of a directory's number of entries
};

constexpr size_t kTagSize = 2;
constexpr size_t kTypeSize = 2;

size_t EntrySize(const TiffLayout &layout) {
    return kTagSize + kTypeSize + 2 * layout.offset_size;
}

bool ReadNumber(ImageReader *reader, uint64_t offset, size_t size, ByteOrder order, uint64_t *number) {
    const uint8_t *bytes = ImageBytes(reader, offset, size);
    if (bytes == nullptr)
        return false;
    *number = BytesNumber(bytes, size, order);
    return true;
}

bool ReadLayout(ImageReader *reader, TiffLayout *layout) {
    const uint8_t *header = ImageBytes(reader, 0, 8);
    if (header == nullptr)
        return false;
    const ByteOrder order = header[0] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig;
    const uint64_t version = BytesNumber(header + 2, 2, order);
    if (version == kClassicVersion) {
        *layout = {order, 4, 4, 2};
        return true;
    }
    const uint64_t offset_size = BytesNumber(header + 4, 2, order);
    const uint64_t reserved = BytesNumber(header + 6, 2, order);
    *layout = {order, 8, 8, 8};
    return version == kBigVersion && offset_size == layout->offset_size && reserved == 0;
}

// The single number of an entry, which stands in its value field; 0, which is no size, for any other type.
uint64_t EntryValue(const uint8_t *entry, const TiffLayout &layout) {
    const uint64_t type = BytesNumber(entry + kTagSize, kTypeSize, layout.order);
    const uint64_t count = BytesNumber(entry + kTagSize + kTypeSize, layout.offset_size, layout.order);
    const uint8_t *value = entry + kTagSize + kTypeSize + layout.offset_size;
    if (count != 1)
        return 0;
    if (type == kShort)
        return BytesNumber(value, 2, layout.order);
    if (type == kLong)
        return BytesNumber(value, 4, layout.order);
    if (type == kLong8 && layout.offset_size == 8)
        return BytesNumber(value, 8, layout.order);
    return 0;
}

} // namespace

bool TiffPictureSize(ImageReader *reader, PictureSize *size) {
    TiffLayout layout;
    uint64_t directory = 0;
    uint64_t entries = 0;
    if (!ReadLayout(reader, &layout) ||
        !ReadNumber(reader, layout.first_offset_at, layout.offset_size, layout.order, &directory) ||
        !ReadNumber(reader, directory, layout.entries_size, layout.order, &entries))
        return false;
    *size = {0, 0};
    uint64_t position = directory + layout.entries_size;
    for (uint64_t left = std::min(entries, kTiffEntriesMax); left > 0; --left) {
        const uint8_t *entry = ImageBytes(reader, position, EntrySize(layout));
        if (entry == nullptr)
            return false;
        const uint64_t tag = BytesNumber(entry, kTagSize, layout.order);
        if (tag == kImageWidth)
            size->width = EntryValue(entry, layout);
        else if (tag == kImageLength)
            size->height = EntryValue(entry, layout);
        if (size->width != 0 && size->height != 0)
            return true;
        position += EntrySize(layout);
    }
    return false;
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/tiff_view.h"

#include <algorithm>
#include <vector>

#include "platform/bytes.h"
#include "platform/limits.h"

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kEntry = 12;
constexpr size_t kCountSize = 4; // of an entry

// Values of which the library is shown as many as this.
struct Shortened {
    uint64_t count_at; // in the view
    uint32_t count;
};

struct View {
    ReaderInput *input = nullptr;
    int64_t begin = 0;
    std::span<uint8_t> bytes;
    ByteOrder order = ByteOrder::kLittle;
    uint64_t bytes_left = kPhotoBytesMax;
    uint32_t directories_left = kPhotoDirectoriesMax;
    std::vector<Shortened> shortened;
};

// Fills a part of the view; false when it does not lie in the file, or there is no more to be had of it.
bool Fill(View *view, uint64_t offset, uint64_t size) {
    if (offset > view->bytes.size() || size > view->bytes.size() - offset || size > view->bytes_left)
        return false;
    view->bytes_left -= size;
    const auto part = view->bytes.subspan(static_cast<size_t>(offset), static_cast<size_t>(size));
    return InputRead(view->input, view->begin + static_cast<int64_t>(offset), std::as_writable_bytes(part)) ==
           part.size();
}

uint64_t Number(const View &view, uint64_t offset, size_t size) {
    return BytesNumber(view.bytes.data() + offset, size, view.order);
}

// TIFF 6.0, section 2; an unknown type has no size.
uint64_t TypeSize(uint64_t type) {
    constexpr uint8_t kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4};
    return type < std::size(kSizes) ? kSizes[type] : 0;
}

bool LeadsToDirectories(uint64_t tag) {
    constexpr uint16_t kPointers[] = {0x014A, 0x8769, 0x8825, 0xA005}; // SubIFDs, Exif, GPS, interoperability
    return std::find(std::begin(kPointers), std::end(kPointers), tag) != std::end(kPointers);
}

// How many bytes a directory's picture has. Where a thumbnail should be the library copies them twice, however many they are, and
// nobody looks at them.
bool IsPictureSize(uint64_t tag) {
    constexpr uint16_t kSizes[] = {0x0117, 0x0202}; // of strips, of a JPEG
    return std::find(std::begin(kSizes), std::end(kSizes), tag) != std::end(kSizes);
}

// Whether a value of single bytes is a whole JPEG, of which the head says something.
bool IsPicture(View *view, uint64_t values, uint64_t size, uint64_t type_size) {
    constexpr uint8_t kBegin[] = {0xFF, 0xD8, 0xFF};
    return type_size == 1 && size > kPhotoPictureHead && Fill(view, values, sizeof kBegin) &&
           std::equal(std::begin(kBegin), std::end(kBegin), view->bytes.data() + values);
}

// Returns the offset of the next directory, 0 when there is none.
uint64_t DirectoryFill(View *view, uint64_t offset, int depth);

void EntryFill(View *view, uint64_t entry, int depth) {
    constexpr int kDeepest = 4;
    constexpr size_t kCountAt = 4;
    constexpr size_t kValueAt = 8;
    constexpr uint64_t kInside = 4; // bytes that stand in the entry itself
    const uint64_t tag = Number(*view, entry, 2);
    const uint64_t count = Number(*view, entry + kCountAt, 4);
    const uint64_t type_size = TypeSize(Number(*view, entry + 2, 2));
    uint64_t size = type_size * count;
    uint64_t values = entry + kValueAt;
    if (IsPictureSize(tag)) {
        view->shortened.push_back({entry + kCountAt, 0});
        return;
    }
    if (size > kInside) {
        values = Number(*view, entry + kValueAt, 4);
        if (IsPicture(view, values, size, type_size)) {
            size = kPhotoPictureHead;
            view->shortened.push_back({entry + kCountAt, static_cast<uint32_t>(size)});
        }
        if (size > kPhotoValueMax || !Fill(view, values, size)) {
            view->shortened.push_back({entry + kCountAt, 0});
            return;
        }
    }
    if (!LeadsToDirectories(tag) || depth == kDeepest)
        return;
    for (uint64_t i = 0; i < std::max(size, kInside) / 4 && i < count; ++i)
        DirectoryFill(view, Number(*view, values + i * 4, 4), depth + 1);
}

uint64_t DirectoryFill(View *view, uint64_t offset, int depth) {
    if (offset < kHeader || view->directories_left == 0 || !Fill(view, offset, 2))
        return 0;
    --view->directories_left;
    const uint64_t count = Number(*view, offset, 2);
    const uint64_t next = offset + 2 + count * kEntry;
    // The offset of the next directory may be missing behind the last one.
    if (!Fill(view, offset + 2, count * kEntry))
        return 0;
    const bool has_next = Fill(view, next, 4);
    for (uint64_t i = 0; i < count; ++i)
        EntryFill(view, offset + 2 + i * kEntry, depth);
    return has_next ? Number(*view, next, 4) : 0;
}

} // namespace

void TiffViewFill(ReaderInput *input, int64_t begin, std::span<uint8_t> bytes) {
    View view;
    view.input = input;
    view.begin = begin;
    view.bytes = bytes;
    if (!Fill(&view, 0, std::min<uint64_t>(kHeader, bytes.size())) || bytes.size() < kHeader)
        return;
    const bool little = bytes[0] == 'I' && bytes[1] == 'I';
    const bool big = bytes[0] == 'M' && bytes[1] == 'M';
    constexpr uint8_t kCiffMark = 0x1A; // Canon's older ground: its directory stands at the end
    if ((!little && !big) || bytes[2] == kCiffMark) {
        Fill(&view, 0, std::min<uint64_t>(bytes.size(), kPhotoBytesMax - kHeader));
        return;
    }
    view.order = little ? ByteOrder::kLittle : ByteOrder::kBig;
    constexpr uint64_t kMakersHeader = 64; // CR2 has the begin of its raw data there
    Fill(&view, kHeader, std::min<uint64_t>(kMakersHeader, bytes.size() - kHeader));
    for (uint64_t offset = Number(view, 4, 4); offset != 0;)
        offset = DirectoryFill(&view, offset, 0);
    // Last, as values may lie over the entries.
    for (const Shortened &value : view.shortened)
        BytesNumberPut(&bytes[static_cast<size_t>(value.count_at)], kCountSize, value.count, view.order);
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/tiff_view.h"

#include <algorithm>
#include <vector>

#include "platform/bytes.h"
#include "platform/limits.h"

namespace {

constexpr size_t kHeader = 8;
constexpr size_t kEntry = 12;

struct View {
    ReaderInput *input = nullptr;
    int64_t begin = 0;
    std::span<uint8_t> bytes;
    ByteOrder order = ByteOrder::kLittle;
    uint64_t bytes_left = kPhotoBytesMax;
    uint32_t directories_left = kPhotoDirectoriesMax;
    std::vector<uint64_t> emptied; // offsets of the counts of values that are left out
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

// Returns the offset of the next directory, 0 when there is none.
uint64_t DirectoryFill(View *view, uint64_t offset, int depth);

void EntryFill(View *view, uint64_t entry, int depth) {
    constexpr int kDeepest = 4;
    constexpr size_t kCountAt = 4;
    constexpr size_t kValueAt = 8;
    constexpr uint64_t kInside = 4; // bytes that stand in the entry itself
    const uint64_t tag = Number(*view, entry, 2);
    const uint64_t count = Number(*view, entry + kCountAt, 4);
    const uint64_t size = TypeSize(Number(*view, entry + 2, 2)) * count;
    uint64_t values = entry + kValueAt;
    if (size > kInside) {
        values = Number(*view, entry + kValueAt, 4);
        if (size > kPhotoValueMax || !Fill(view, values, size)) {
            view->emptied.push_back(entry + kCountAt);
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
    for (const uint64_t count : view.emptied)
        std::fill_n(bytes.begin() + static_cast<ptrdiff_t>(count), 4, uint8_t{0});
}

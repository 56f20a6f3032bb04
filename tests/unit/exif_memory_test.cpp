// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bound of libexif's memory, at its value: the longest text of a picture that is still read, and not with one byte
// more, takes the memory to the bound.
#include "catalogue/exif.h"

#include <gtest/gtest.h>
#include <libexif/exif-data.h>
#include <libexif/exif-loader.h>
#include <malloc.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "exif_bytes.h"
#include "platform/limits.h"
#include "platform/media_record.h"
#include "platform/photo_record.h"
#include "tests/unit/scratch_file.h"

namespace {

using namespace exif_bytes;

constexpr int kMake = 0x010F;
constexpr int kExifPointer = 0x8769;
constexpr uint32_t kDirectory = 8;
constexpr size_t kBlock = 65400;

// What entries claim: bytes behind all directories.
constexpr uint32_t kClaimed = 40000;
constexpr uint32_t kClaimedAt = 20000;

// Where the tags of TIFF and EXIF lie; entries of numbers between them that are no tag's are left out by libexif.
std::vector<int> FillerTags() {
    std::vector<int> tags;
    for (const auto &[first, behind] :
         {std::pair(0x00FE, 0x0220), {0x9000, 0x9010}, {0x9100, 0x9220}, {0xA000, 0xA010}, {0xA200, 0xA440}})
        for (int tag = first; tag < behind; ++tag)
            if (tag != kMake)
                tags.push_back(tag);
    return tags;
}

// A block whose entries claim bytes each for itself: fillers, and at last a text of `length` bytes. Its directory is the
// EXIF directory, too, which is read first.
std::string Picture(size_t fillers, uint32_t length) {
    constexpr int kUndefined = 7;
    std::vector<Entry> entries = {Long(kExifPointer, kDirectory)};
    for (const int tag : FillerTags())
        if (entries.size() <= fillers)
            entries.push_back({tag, kUndefined, kClaimed, Little(kClaimedAt, 4)});
    entries.push_back({kMake, kAscii, length, Little(kClaimedAt, 4)});
    std::string block = Block(entries, {}, {});
    EXPECT_LT(block.size(), kClaimedAt);
    block.resize(kBlock, 'x');
    return JpegWithoutFrame(block);
}

bool TextIsRead(const std::string &picture) {
    const ScratchFile file(picture);
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", file.c_str());
    EXPECT_EQ(ExifInfoGet(&record), 0);
    return record.make[0] != '\0';
}

// What libexif asks for when nothing is refused: the most at any moment.
size_t used;
size_t peak;

void *CountedRealloc(void *block, ExifLong size) {
    used -= malloc_usable_size(block);
    peak = std::max(peak, used + size);
    void *moved = realloc(block, size);
    used += malloc_usable_size(moved);
    return moved;
}

void *CountedAlloc(ExifLong size) {
    void *block = CountedRealloc(nullptr, std::max<ExifLong>(size, 1));
    memset(block, 0, size);
    return block;
}

void CountedFree(void *block) {
    used -= malloc_usable_size(block);
    free(block);
}

size_t PeakOf(const std::string &picture) {
    used = peak = 0;
    const ScratchFile file(picture);
    ExifMem *memory = exif_mem_new(CountedAlloc, CountedRealloc, CountedFree);
    ExifLoader *loader = exif_loader_new_mem(memory);
    exif_loader_write_file(loader, file.c_str());
    ExifData *data = exif_loader_get_data(loader);
    exif_data_unref(data);
    exif_loader_unref(loader);
    exif_mem_unref(memory);
    return peak;
}

// The largest number from `good` on, below `bad`, of which `holds` is true.
template <typename Holds>
uint32_t LargestOf(uint32_t good, uint32_t bad, Holds holds) {
    while (bad - good > 1) {
        const uint32_t middle = good + (bad - good) / 2;
        (holds(middle) ? good : bad) = middle;
    }
    return good;
}

TEST(ExifMemory, IsGivenUpToTheBound) {
    const auto all = static_cast<uint32_t>(FillerTags().size());
    ASSERT_TRUE(TextIsRead(Picture(0, kClaimed)));
    ASSERT_FALSE(TextIsRead(Picture(all, kClaimed)));
    // The first filler that leaves no room for another.
    const uint32_t fillers =
        1 + LargestOf(0, all, [](uint32_t count) { return TextIsRead(Picture(count, kClaimed)); });
    constexpr uint32_t kShort = 16; // a value of up to four bytes stands in the entry itself
    const uint32_t fits =
        LargestOf(kShort, kClaimed, [&](uint32_t length) { return TextIsRead(Picture(fillers, length)); });
    // The allocator rounds up, by what its heap has left at the moment.
    constexpr double kRounding = 256;
    EXPECT_NEAR(static_cast<double>(PeakOf(Picture(fillers, fits))), double{kExifMemoryMax}, kRounding);
}

} // namespace

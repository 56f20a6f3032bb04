// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/ape_tag.h"

#include <strings.h>

#include "platform/limits.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/sound_bytes.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/text.h"
#include "reader/text/code_pages.h"

namespace {

enum ApeFlags : uint32_t { kHasHeader = 0x80000000, kKindMask = 0x6, kBinary = 0x2 };

// "Cover Art (Front)" and the like hold a file name, a NUL and the picture.
constexpr char kCover[] = "Cover Art (";
constexpr char kFrontCoverKey[] = "Cover Art (Front)";

struct ApeFooter {
    uint64_t size; // of the items and the footer
    uint64_t items;
    uint64_t flags;
};

ApeFooter FooterOf(Bytes bytes) {
    Cursor cursor{bytes.subspan(12)};
    return {TakeLittle(&cursor, 4), TakeLittle(&cursor, 4), TakeLittle(&cursor, 4)};
}

void PictureAdd(const std::string &key, Bytes value, std::vector<TagPicture> *pictures) {
    Cursor cursor{value};
    TakeText(&cursor, TextEncoding::utf8);
    if (pictures->size() < kSoundPicturesMax)
        pictures->push_back({strcasecmp(key.c_str(), kFrontCoverKey) == 0 ? kFrontCover : 0, cursor.rest});
}

} // namespace

int64_t ApeTagSize(Bytes footer) {
    if (footer.size() < kApeFooterSize || !BeginsWith(footer, "APETAGEX"))
        return 0;
    const ApeFooter found = FooterOf(footer);
    if (found.size < kApeFooterSize)
        return 0;
    return static_cast<int64_t>(found.size + ((found.flags & kHasHeader) != 0 ? kApeFooterSize : 0));
}

void ApeTagRead(SoundFile *file, int64_t footer) {
    uint8_t bytes[kApeFooterSize];
    if (SoundRead(file->input, footer, bytes) < sizeof bytes || ApeTagSize(bytes) == 0)
        return;
    const ApeFooter found = FooterOf(bytes);
    const auto size = static_cast<int64_t>(found.size - kApeFooterSize);
    if (size > footer || size > static_cast<int64_t>(kSoundTagMax))
        return;
    const SoundBytes data = SoundBytesRead(file->input, footer - size, size);
    Cursor cursor{data.View()};
    TagItems items;
    std::vector<TagPicture> pictures;
    for (uint64_t i = 0; i < std::min<uint64_t>(found.items, kSoundItemsMax); ++i) {
        const uint64_t length = TakeLittle(&cursor, 4);
        const uint64_t flags = TakeLittle(&cursor, 4);
        const std::string key(Characters(TakeText(&cursor, TextEncoding::utf8)));
        const Bytes value = Take(&cursor, static_cast<size_t>(length));
        if (cursor.cut)
            break;
        if ((flags & kKindMask) != kBinary)
            ItemsAddSplit(&items, key, TextGuess(Characters(value), file->input->charset));
        else if (strncasecmp(key.c_str(), kCover, sizeof kCover - 1) == 0)
            PictureAdd(key, value, &pictures);
    }
    FactsFromItems(items, kApeTable, FactSource::own, file->facts);
    PicturesTake(pictures, file->picture);
}

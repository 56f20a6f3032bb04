// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/raf.h"

#include "platform/limits.h"
#include "reader/photo/boxes.h"

PhotoSize RafSize(ReaderInput *input) {
    constexpr std::string_view kMark = "FUJIFILMCCD-RAW ";
    constexpr uint64_t kRecordsAt =
        92; // offset and size of the records about the sensor, behind those of the JPEG
    constexpr uint64_t kCroppedSize = 0x0111;
    if (!BeginsWith(FilePart(input, 0, kMark.size()), kMark))
        return {};
    const std::vector<uint8_t> place = FilePart(input, kRecordsAt, 8);
    Cursor cursor = {place};
    const uint64_t offset = TakeBig(&cursor, 4);
    const std::vector<uint8_t> bytes = FilePart(input, offset, TakeBig(&cursor, 4));
    Cursor records = {bytes};
    const uint64_t count = std::min<uint64_t>(TakeBig(&records, 4), kPhotoBoxesMax);
    for (uint64_t i = 0; i < count && !records.cut; ++i) {
        const uint64_t tag = TakeBig(&records, 2);
        Cursor sides = {Take(&records, TakeBig(&records, 2))};
        if (tag != kCroppedSize)
            continue;
        const uint64_t height = TakeBig(&sides, 2);
        const uint64_t width = TakeBig(&sides, 2);
        return {width, height};
    }
    return {};
}

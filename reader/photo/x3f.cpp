// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/x3f.h"

#include <array>

#include "platform/bytes.h"
#include "platform/limits.h"
#include "reader/photo/boxes.h"
#include "reader/photo/picture.h"

namespace {

using namespace std::string_view_literals;

uint64_t Little(std::span<const uint8_t> bytes, size_t offset) {
    return BytesNumber(bytes.data() + offset, 4, ByteOrder::kLittle);
}

// The embedded JPEG, if the section is one.
bool SectionRead(ReaderInput *input, uint64_t offset, uint64_t size, PhotoMetadata *metadata) {
    constexpr size_t kHeader = 28; // mark, version, kind, format, sides and bytes of a line
    constexpr uint64_t kJpeg = 18;
    const std::vector<uint8_t> header = FilePart(input, offset, kHeader);
    if (header.size() != kHeader || size <= kHeader || !BeginsWith(header, "SECi"sv) ||
        Little(header, 12) != kJpeg)
        return false;
    std::string reason;
    const PhotoSize coded = metadata->size;
    const bool read = PictureMetadataRead(input, static_cast<int64_t>(offset + kHeader),
                                          static_cast<int64_t>(offset + size), metadata, &reason);
    metadata->size = coded;
    metadata->size_source = FactSource::own;
    return read;
}

} // namespace

bool IsX3f(ReaderInput *input) {
    return BeginsWith(FilePart(input, 0, 4), "FOVb"sv);
}

void X3fRead(ReaderInput *input, PhotoMetadata *metadata) {
    constexpr size_t kHeader = 48;
    constexpr uint64_t kFourth = 4; // version, which has the size further on
    constexpr size_t kEntry = 12;   // offset, size, type
    const std::vector<uint8_t> header = FilePart(input, 0, kHeader);
    if (header.size() != kHeader)
        return;
    const size_t sides_at = Little(header, 4) >> 16 >= kFourth ? 40 : 28;
    metadata->size = {Little(header, sides_at), Little(header, sides_at + 4)};
    const std::vector<uint8_t> pointer = FilePart(input, static_cast<uint64_t>(input->size) - 4, 4);
    if (pointer.size() != 4)
        return;
    const uint64_t directory = Little(pointer, 0);
    const std::vector<uint8_t> start = FilePart(input, directory, kEntry); // mark, version, entries
    if (start.size() != kEntry || !BeginsWith(start, "SECd"sv))
        return;
    const uint64_t entries = std::min<uint64_t>(Little(start, 8), kPhotoBoxesMax);
    for (uint64_t i = 0; i < entries; ++i) {
        const std::vector<uint8_t> entry = FilePart(input, directory + kEntry + i * kEntry, kEntry);
        if (entry.size() != kEntry ||
            (BeginsWith(std::span(entry).subspan(8), "IMA"sv) &&
             SectionRead(input, Little(entry, 0), Little(entry, 4), metadata) && !metadata->exif.empty()))
            return;
    }
}

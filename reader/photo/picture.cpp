// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/picture.h"

#include <utility>

#include "platform/bytes.h"
#include "reader/photo/library_io.h"

// The library hands its pictures over in the language's first smart pointer.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

bool Read(Exiv2::BasicIo::AutoPtr io, PhotoMetadata *metadata, std::string *reason) {
    Exiv2::Image::AutoPtr image;
    bool read = false;
    try {
        image = Exiv2::ImageFactory::open(io);
        if (image.get() == nullptr) {
            *reason = "no picture that Exiv2 knows";
            return false;
        }
        image->readMetadata();
        read = true;
    } catch (const std::exception &error) {
        *reason = error.what();
    }
    if (image.get() == nullptr)
        return false;
    // Of raw photos it looks for them in the EXIF data, so that these are taken behind.
    const auto pixels = [](int count) { return static_cast<uint64_t>(count > 0 ? count : 0); };
    metadata->size = {pixels(image->pixelWidth()), pixels(image->pixelHeight())};
    metadata->size_source = FactSource::exiv2;
    metadata->exif = std::move(image->exifData());
    metadata->iptc = std::move(image->iptcData());
    metadata->xmp = std::move(image->xmpData());
    metadata->comment = image->comment();
    return read;
}

} // namespace

bool PictureMetadataRead(ReaderInput *input, int64_t begin, int64_t end, PhotoMetadata *metadata,
                         std::string *reason) {
    return Read(Exiv2::BasicIo::AutoPtr(new LibraryIo(input, begin, end)), metadata, reason);
}

bool PictureBytesRead(std::span<const uint8_t> bytes, PhotoMetadata *metadata, std::string *reason) {
    const auto size = static_cast<long>(bytes.size());
    return Read(Exiv2::BasicIo::AutoPtr(new Exiv2::MemIo(bytes.data(), size)), metadata, reason);
}

void ExifBlockRead(std::span<const uint8_t> tiff, PhotoMetadata *metadata) {
    try {
        Exiv2::TiffParser::decode(metadata->exif, metadata->iptc, metadata->xmp, tiff.data(),
                                  static_cast<uint32_t>(tiff.size()));
    } catch (const std::exception &) {
        // What is there of it counts.
    }
}

void ExifItemRead(std::span<const uint8_t> item, PhotoMetadata *metadata) {
    constexpr size_t kOffset = 4;
    if (item.size() < kOffset)
        return;
    const uint32_t offset = BigEndian32(item.data());
    item = item.subspan(kOffset);
    if (offset < item.size())
        ExifBlockRead(item.subspan(offset), metadata);
}

void XmpBlockRead(std::string_view packet, PhotoMetadata *metadata) {
    try {
        Exiv2::XmpParser::decode(metadata->xmp, std::string(packet));
    } catch (const std::exception &) {
        // No packet that can be read is none.
    }
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/tiff_size.h"

#include "reader/photo/lookup.h"
#include "reader/photo/values.h"

namespace {

uint64_t Whole(const Exiv2::ExifData &exif, const char *directory, uint16_t tag) {
    double number = 0;
    const Exiv2::Value *value = ExifFind(exif, directory, tag);
    return value != nullptr && ValueNumber(*value, 0, &number) && number > 0 ? static_cast<uint64_t>(number)
                                                                             : 0;
}

} // namespace

PhotoSize SensorPartSize(const Exiv2::ExifData &exif, PhotoSize whole) {
    constexpr char kDirectory[] = "PanasonicRaw";
    const uint64_t top = Whole(exif, kDirectory, 0x0004);
    const uint64_t left = Whole(exif, kDirectory, 0x0005);
    const uint64_t bottom = Whole(exif, kDirectory, 0x0006);
    const uint64_t right = Whole(exif, kDirectory, 0x0007);
    return left < right && top < bottom ? PhotoSize{right - left, bottom - top} : whole;
}

PhotoSize TiffSize(const Exiv2::ExifData &exif, PhotoSize first) {
    constexpr const char *kDirectories[] = {"Image",     "SubImage1", "SubImage2", "SubImage3", "SubImage4",
                                            "SubImage5", "SubImage6", "SubImage7", "SubImage8", "SubImage9"};
    constexpr uint16_t kSubfileType = 0x00FE;
    constexpr uint16_t kWidth = 0x0100;
    constexpr uint16_t kHeight = 0x0101;
    PhotoSize largest;
    for (const char *directory : kDirectories) {
        const PhotoSize size = {Whole(exif, directory, kWidth), Whole(exif, directory, kHeight)};
        if ((Whole(exif, directory, kSubfileType) & 1) == 0 && size.height != 0 && size.width > largest.width)
            largest = size;
    }
    return largest.width != 0 ? largest : first;
}

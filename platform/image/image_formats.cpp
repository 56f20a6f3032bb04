// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/image/image_formats.h"

#include <string.h>

#include <string_view>

namespace {

using namespace std::string_view_literals;

struct PictureFormat {
    std::string_view signature;
    bool (*read)(ImageReader *reader, PictureSize *size);
};

constexpr PictureFormat kFormats[] = {
    {"\xFF\xD8\xFF"sv, JpegPictureSize},
    {"\x89PNG\r\n\x1A\n"sv, PngPictureSize},
    {"GIF87a"sv, GifPictureSize},
    {"GIF89a"sv, GifPictureSize},
    {"BM"sv, BmpPictureSize},
    {"II\x2A\0"sv, TiffPictureSize},
    {"MM\0\x2A"sv, TiffPictureSize},
    {"II\x2B\0"sv, TiffPictureSize},
    {"MM\0\x2B"sv, TiffPictureSize},
    {"8BPS"sv, PsdPictureSize},
    {"\0\0\1\0"sv, IcoPictureSize},
};

bool BeginsWith(ImageReader *reader, std::string_view signature) {
    const uint8_t *bytes = ImageBytes(reader, 0, signature.size());
    return bytes != nullptr && memcmp(bytes, signature.data(), signature.size()) == 0;
}

bool IsSide(uint64_t pixels) {
    return pixels >= 1 && pixels <= INT32_MAX;
}

} // namespace

int PictureSizeRead(const ImageSource &source, int *width, int *height) {
    ImageReader reader = {source};
    for (const PictureFormat &format : kFormats) {
        if (!BeginsWith(&reader, format.signature))
            continue;
        PictureSize size;
        if (!format.read(&reader, &size) || !IsSide(size.width) || !IsSide(size.height))
            return -1;
        *width = static_cast<int>(size.width);
        *height = static_cast<int>(size.height);
        return 0;
    }
    return -1;
}

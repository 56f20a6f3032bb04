// SPDX-License-Identifier: GPL-2.0-or-later
//
// VELUIndexImgResGet: opens a picture and lets the reader of its format, known by the first bytes and not by
// the name, find the size.
#include "platform/file.h"
#include "platform/image/image_formats.h"
#include "platform/veluindex.h"

namespace {

size_t ReadFile(void *file, uint64_t offset, uint8_t *out, size_t size) {
    return FileReadUpTo(*static_cast<const FdHandle *>(file), offset, out, size);
}

} // namespace

int VELUIndexImgResGet(const char *path, int *width, int *height) {
    if (path == nullptr || width == nullptr || height == nullptr)
        return -1;
    FdHandle file = RegularFileOpen(path, nullptr);
    if (!file)
        return -1;
    return PictureSizeRead({ReadFile, &file}, width, height);
}

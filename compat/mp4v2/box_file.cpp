// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/box_file.h"

#include <algorithm>

#include "platform/file.h"

namespace {

bool IsInFile(const BoxFile &file, uint64_t offset, size_t size) {
    return offset <= file.size && size <= file.size - offset;
}

} // namespace

bool BoxFileOpen(BoxFile *file, const char *path) {
    file->fd = RegularFileOpen(path, &file->size);
    return static_cast<bool>(file->fd);
}

const uint8_t *BoxFileBytes(BoxFile *file, uint64_t offset, size_t size) {
    if (size > kMp4Window || !IsInFile(*file, offset, size))
        return nullptr;
    const auto held = [&] {
        return offset >= file->window_start && offset - file->window_start <= file->window_length &&
               size <= file->window_length - static_cast<size_t>(offset - file->window_start);
    };
    if (!held()) {
        const auto length = static_cast<size_t>(std::min<uint64_t>(kMp4Window, file->size - offset));
        file->window_start = offset;
        file->window_length = FileReadUpTo(file->fd, offset, file->window.data(), length);
        if (!held())
            return nullptr;
    }
    return file->window.data() + (offset - file->window_start);
}

bool BoxFileCopy(const BoxFile &file, uint64_t offset, uint8_t *out, size_t size) {
    return IsInFile(file, offset, size) && FileReadAt(file.fd, offset, out, size);
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/box_file.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

namespace {

size_t ReadAt(int fd, uint64_t offset, uint8_t *out, size_t size) {
    size_t done = 0;
    while (done < size) {
        const ssize_t count = pread(fd, out + done, size - done, static_cast<off_t>(offset + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        done += static_cast<size_t>(count);
    }
    return done;
}

bool IsInFile(const BoxFile &file, uint64_t offset, size_t size) {
    return offset <= file.size && size <= file.size - offset;
}

} // namespace

bool BoxFileOpen(BoxFile *file, const char *path) {
    // Opening alone makes some devices act, so the kind is asked before; afterwards again, because the name
    // may have changed hands in between.
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    file->fd = FdHandle(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file->fd || fstat(file->fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    file->size = static_cast<uint64_t>(status.st_size);
    return true;
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
        file->window_length = ReadAt(file->fd.get(), offset, file->window.data(), length);
        if (!held())
            return nullptr;
    }
    return file->window.data() + (offset - file->window_start);
}

bool BoxFileCopy(const BoxFile &file, uint64_t offset, uint8_t *out, size_t size) {
    return IsInFile(file, offset, size) && ReadAt(file.fd.get(), offset, out, size) == size;
}

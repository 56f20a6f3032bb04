// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/input.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

#include "platform/file.h"

namespace {

// As much as libavformat reads at a time from a file of its own.
constexpr int kBufferSize = 32768;

int InputRead(void *opaque, uint8_t *buffer, int size) {
    const auto *input = static_cast<const MediaInput *>(opaque);
    const ssize_t got = FileReadSome(input->fd, buffer, static_cast<size_t>(size));
    if (got < 0)
        return AVERROR(errno);
    return got > 0 ? static_cast<int>(got) : AVERROR_EOF;
}

int64_t InputSeek(void *opaque, int64_t offset, int whence) {
    const auto *input = static_cast<const MediaInput *>(opaque);
    if ((whence & AVSEEK_SIZE) != 0)
        return input->size;
    const off_t position = lseek(input->fd.get(), offset, whence & ~AVSEEK_FORCE);
    return position >= 0 ? position : AVERROR(errno);
}

} // namespace

MediaInput MediaInputOpen(const char *path) {
    // What is no regular file may block for ever when it is opened or read.
    FdHandle fd = OpenForReading(path);
    struct stat status = {};
    if (!fd || fstat(fd.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    return {std::move(fd), status.st_size};
}

AvioHandle AvioOpen(MediaInput *input) {
    auto *buffer = static_cast<unsigned char *>(av_malloc(kBufferSize));
    if (buffer == nullptr)
        return nullptr;
    AvioHandle avio(avio_alloc_context(buffer, kBufferSize, 0, input, InputRead, nullptr, InputSeek));
    if (avio == nullptr)
        av_free(buffer);
    return avio;
}

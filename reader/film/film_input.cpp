// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_input.h"

#include <errno.h>

#include <algorithm>
#include <span>

#include "platform/limits.h"

namespace {

// As much as libavformat reads at a time from a file of its own.
constexpr int kFilmWindow = 32768;

int ReadNext(void *opaque, uint8_t *buffer, int size) {
    auto *input = static_cast<FilmInput *>(opaque);
    const auto part = std::min<int64_t>(std::max(size, 0), input->left);
    const std::span out(reinterpret_cast<std::byte *>(buffer), static_cast<size_t>(part));
    const size_t got = InputRead(input->file, input->position, out);
    if (got == 0)
        return input->file->failed ? AVERROR(EIO) : AVERROR_EOF;
    input->position += static_cast<int64_t>(got);
    input->left -= static_cast<int64_t>(got);
    return static_cast<int>(got);
}

int64_t Seek(void *opaque, int64_t offset, int whence) {
    auto *input = static_cast<FilmInput *>(opaque);
    const int64_t size = input->file->size;
    if ((whence & AVSEEK_SIZE) != 0)
        return size;
    // libavformat asks for places in the file's own terms alone; positions behind its end read as the end.
    const int64_t from = (whence & ~AVSEEK_FORCE) == SEEK_SET   ? 0
                         : (whence & ~AVSEEK_FORCE) == SEEK_CUR ? input->position
                                                                : size;
    if (offset < -from || offset > kReaderFileMax)
        return AVERROR(EINVAL);
    input->position = from + offset;
    return input->position;
}

} // namespace

AvioHandle FilmInputOpen(FilmInput *input) {
    auto *buffer = static_cast<unsigned char *>(av_malloc(kFilmWindow));
    if (buffer == nullptr)
        return nullptr;
    input->left = kFilmReadMax;
    AvioHandle avio(avio_alloc_context(buffer, kFilmWindow, 0, input, ReadNext, nullptr, Seek));
    if (avio == nullptr)
        av_free(buffer);
    return avio;
}

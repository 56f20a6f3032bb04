// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/library_stream.h"

#include <limits.h>
#include <taglib/tbytevector.h>

#include <algorithm>

#include "platform/limits.h"
#include "reader/sound/sound_bytes.h"

LibraryStream::LibraryStream(ReaderInput *input, int64_t begin, int64_t end)
    : LibraryStream(input, {}, begin, end) {}

LibraryStream::LibraryStream(ReaderInput *input, Bytes head, int64_t begin, int64_t end)
    : input_(input), head_(head), begin_(begin),
      size_(static_cast<long>(head.size()) + static_cast<long>(std::clamp<int64_t>(
                                                 end - begin, 0, LONG_MAX - static_cast<long>(head.size())))),
      bytes_left_(static_cast<long>(kSoundLibraryBytesMax)), calls_left_(kSoundLibraryCallsMax) {}

TagLib::ByteVector LibraryStream::readBlock(unsigned long length) {
    if (at_ < 0 || at_ >= size_ || calls_left_ <= 0)
        return {};
    --calls_left_;
    const long part =
        std::min({size_ - at_, bytes_left_, static_cast<long>(std::min<unsigned long>(length, LONG_MAX))});
    TagLib::ByteVector bytes(static_cast<unsigned>(part), 0);
    const std::span out(reinterpret_cast<uint8_t *>(bytes.data()), static_cast<size_t>(part));
    const auto head = static_cast<long>(head_.size());
    const Bytes known = head_.subspan(static_cast<size_t>(std::min(at_, head)));
    const Bytes taken = known.first(std::min(known.size(), out.size()));
    std::copy(taken.begin(), taken.end(), out.begin());
    const size_t got =
        taken.size() + SoundRead(input_, begin_ + std::max(at_ - head, 0L), out.subspan(taken.size()));
    bytes.resize(static_cast<unsigned>(got));
    at_ += static_cast<long>(got);
    bytes_left_ -= static_cast<long>(got);
    return bytes;
}

void LibraryStream::seek(long offset, Position place) {
    const long from = place == Beginning ? 0 : (place == Current ? at_ : size_);
    if (__builtin_add_overflow(from, offset, &at_) || at_ < 0)
        at_ = size_;
}

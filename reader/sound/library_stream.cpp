// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/library_stream.h"

#include <limits.h>
#include <taglib/tbytevector.h>

#include <algorithm>

#include "platform/limits.h"
#include "reader/sound/sound_bytes.h"

LibraryStream::LibraryStream(ReaderInput *input, int64_t begin, int64_t end)
    : input_(input), begin_(begin), size_(static_cast<long>(std::clamp<int64_t>(end - begin, 0, LONG_MAX))),
      bytes_left_(static_cast<long>(kSoundLibraryBytesMax)), calls_left_(kSoundLibraryCallsMax) {}

TagLib::ByteVector LibraryStream::readBlock(unsigned long length) {
    if (at_ < 0 || at_ >= size_ || calls_left_ <= 0)
        return {};
    --calls_left_;
    const long part =
        std::min({size_ - at_, bytes_left_, static_cast<long>(std::min<unsigned long>(length, LONG_MAX))});
    TagLib::ByteVector bytes(static_cast<unsigned>(part), 0);
    const size_t got = SoundRead(input_, begin_ + at_,
                                 {reinterpret_cast<uint8_t *>(bytes.data()), static_cast<size_t>(part)});
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

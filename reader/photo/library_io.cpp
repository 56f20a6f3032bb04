// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/library_io.h"

#include <stdio.h>
#include <sys/mman.h>

#include <algorithm>
#include <limits>

#include "platform/limits.h"
#include "reader/photo/tiff_view.h"

LibraryIo::LibraryIo(ReaderInput *input, int64_t begin, int64_t behind)
    : input_(input), begin_(begin),
      size_(std::clamp<int64_t>(behind - begin, 0, std::numeric_limits<long>::max() / 2)),
      bytes_left_(kPhotoBytesMax), reads_left_(kPhotoReadsMax) {}

LibraryIo::~LibraryIo() {
    LibraryIo::munmap();
}

int LibraryIo::open() {
    position_ = 0;
    at_end_ = false;
    return 0;
}

// What Exiv2 mapped it looks at after it has closed the file.
int LibraryIo::close() {
    return 0;
}

long LibraryIo::read(Exiv2::byte *out, long size) {
    const int64_t left = size_ - position_;
    if (size > left)
        at_end_ = true;
    const auto wanted = static_cast<size_t>(std::clamp<int64_t>(size, 0, left));
    if (wanted == 0)
        return 0;
    if (wanted > bytes_left_ || reads_left_ == 0) {
        bytes_left_ = 0;
        at_end_ = true;
        return 0;
    }
    bytes_left_ -= wanted;
    --reads_left_;
    const size_t got = InputRead(input_, begin_ + position_, std::as_writable_bytes(std::span(out, wanted)));
    at_end_ = at_end_ || got < wanted;
    position_ += static_cast<int64_t>(got);
    return static_cast<long>(got);
}

Exiv2::DataBuf LibraryIo::read(long size) {
    const auto room = static_cast<long>(std::clamp<int64_t>(size, 0, size_ - position_));
    if (room < size)
        at_end_ = true;
    Exiv2::DataBuf data(room);
    data.size_ = read(data.pData_, room);
    return data;
}

int LibraryIo::getb() {
    Exiv2::byte one = 0;
    return read(&one, 1) == 1 ? one : EOF;
}

int LibraryIo::seek(long offset, Position from) {
    const int64_t base = from == beg ? 0 : from == cur ? position_ : size_;
    if (offset < -base)
        return 1;
    // Beyond the end is nothing, as in memory.
    if (offset > size_ - base) {
        at_end_ = true;
        return 1;
    }
    position_ = base + offset;
    at_end_ = false;
    return 0;
}

long LibraryIo::tell() const {
    return static_cast<long>(position_);
}

size_t LibraryIo::size() const {
    return static_cast<size_t>(size_);
}

bool LibraryIo::isopen() const {
    return true;
}

int LibraryIo::error() const {
    return 0;
}

bool LibraryIo::eof() const {
    return at_end_;
}

std::string LibraryIo::path() const {
    return {};
}

Exiv2::byte *LibraryIo::mmap(bool) {
    if (view_ == nullptr) {
        if (size_ > kPhotoViewMax)
            throw Exiv2::Error(Exiv2::kerCallFailed);
        // Of a mapping only the touched pages are the process's. The C library would clear memory that it has kept.
        void *mapping = ::mmap(nullptr, static_cast<size_t>(size_) + 1, PROT_READ | PROT_WRITE,
                               MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (mapping == MAP_FAILED)
            throw std::bad_alloc();
        view_ = static_cast<Exiv2::byte *>(mapping);
        TiffViewFill(input_, begin_, {view_, static_cast<size_t>(size_)});
    }
    return view_;
}

int LibraryIo::munmap() {
    if (view_ != nullptr)
        ::munmap(view_, static_cast<size_t>(size_) + 1);
    view_ = nullptr;
    return 0;
}

long LibraryIo::write(const Exiv2::byte *, long) {
    return 0;
}

long LibraryIo::write(Exiv2::BasicIo &) {
    return 0;
}

int LibraryIo::putb(Exiv2::byte) {
    return EOF;
}

void LibraryIo::transfer(Exiv2::BasicIo &) {
    throw Exiv2::Error(Exiv2::kerNotAnImage, "");
}

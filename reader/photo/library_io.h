// SPDX-License-Identifier: GPL-2.0-or-later
//
// A file, or a part of one, as Exiv2 wants it. It is a class because the library asks for one.
#pragma once

#include <stdint.h>

#include <vector>

#include "reader/input.h"
#include "reader/photo/exiv2.h"

// A part of the file. Reading ends for good when kPhotoBytesMax bytes, or kPhotoReadsMax parts, have been read.
class LibraryIo final : public Exiv2::BasicIo {
public:
    LibraryIo(ReaderInput *input, int64_t begin, int64_t behind);
    LibraryIo(const LibraryIo &) = delete;
    LibraryIo &operator=(const LibraryIo &) = delete;
    ~LibraryIo() override;

    int open() override;
    int close() override;
    long read(Exiv2::byte *out, long size) override;
    Exiv2::DataBuf read(long size) override;
    int getb() override;
    int seek(long offset, Position from) override;
    long tell() const override;
    size_t size() const override;
    bool isopen() const override;
    int error() const override;
    bool eof() const override;
    std::string path() const override;

    // Memory that holds what TiffView fills of the file, and zeros elsewhere.
    Exiv2::byte *mmap(bool writable) override;
    int munmap() override;

    // A file is only read.
    long write(const Exiv2::byte *data, long size) override;
    long write(Exiv2::BasicIo &source) override;
    int putb(Exiv2::byte data) override;
    void transfer(Exiv2::BasicIo &source) override;

private:
    ReaderInput *input_;
    int64_t begin_;
    int64_t size_;
    int64_t position_ = 0;
    uint64_t bytes_left_;
    uint32_t reads_left_;
    bool at_end_ = false;
    Exiv2::byte *view_ = nullptr;
};

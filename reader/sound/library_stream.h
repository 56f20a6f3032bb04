// SPDX-License-Identifier: GPL-2.0-or-later
//
// A part of the file as TagLib reads it, behind a head where that is given another: what it may read, and how often, is bounded.
#pragma once

#include <taglib/tiostream.h>

#include "reader/input.h"
#include "reader/syntax/cursor.h"

class LibraryStream : public TagLib::IOStream {
public:
    // What lies between two places of the file, which outlives the stream.
    LibraryStream(ReaderInput *input, int64_t begin, int64_t end);
    // The same behind other bytes, which outlive the stream as well.
    LibraryStream(ReaderInput *input, Bytes head, int64_t begin, int64_t end);

    TagLib::FileName name() const override { return ""; }
    TagLib::ByteVector readBlock(unsigned long length) override;
    void seek(long offset, Position place) override;
    long tell() const override { return at_; }
    long length() override { return size_; }
    bool readOnly() const override { return true; }
    bool isOpen() const override { return true; }

    // Nothing is written.
    void writeBlock(const TagLib::ByteVector &) override {}
    void insert(const TagLib::ByteVector &, unsigned long, unsigned long) override {}
    void removeBlock(unsigned long, unsigned long) override {}
    void truncate(long) override {}

private:
    ReaderInput *input_;
    Bytes head_;
    int64_t begin_;
    long size_;
    long at_ = 0;
    long bytes_left_;
    int calls_left_;
};

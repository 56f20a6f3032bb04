// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/library_io.h"

#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/photo_input.h"

namespace {

TEST(PhotoLibraryIo, ReadsAPartOfTheFile) {
    PhotoInput made = PhotoInputOf("0123456789");
    LibraryIo io(&made.input, 2, 8);
    Exiv2::byte out[8] = {};
    EXPECT_EQ(6u, io.size());
    EXPECT_EQ('2', io.getb());
    EXPECT_EQ(0, io.seek(-2, Exiv2::BasicIo::end));
    EXPECT_EQ(2, io.read(out, 8));
    EXPECT_EQ('6', out[0]);
    EXPECT_TRUE(io.eof());
    EXPECT_EQ(EOF, io.getb());
    EXPECT_EQ(0, io.seek(0, Exiv2::BasicIo::beg));
    EXPECT_FALSE(io.eof());
    EXPECT_NE(0, io.seek(-1, Exiv2::BasicIo::cur));
    EXPECT_NE(0, io.seek(7, Exiv2::BasicIo::beg));
    EXPECT_EQ(0, io.tell());
}

TEST(PhotoLibraryIo, ALengthThatLiesTakesNoMemory) {
    PhotoInput made = PhotoInputOf("0123456789");
    LibraryIo io(&made.input, 0, 10);
    const Exiv2::DataBuf data = io.read(0x7FFFFFFF);
    EXPECT_EQ(10, data.size_);
    EXPECT_TRUE(io.eof());
}

TEST(PhotoLibraryIo, BytesAreCounted) {
    PhotoInput made = PhotoInputOf("", static_cast<int64_t>(kPhotoBytesMax) + 10);
    LibraryIo io(&made.input, 0, made.input.size);
    EXPECT_EQ(static_cast<long>(kPhotoBytesMax), io.read(static_cast<long>(kPhotoBytesMax)).size_);
    EXPECT_EQ(EOF, io.getb());
    EXPECT_TRUE(io.eof());
}

TEST(PhotoLibraryIo, ReadsAreCounted) {
    PhotoInput made = PhotoInputOf("x");
    LibraryIo io(&made.input, 0, 1);
    for (uint32_t i = 0; i < kPhotoReadsMax; ++i) {
        ASSERT_EQ('x', io.getb());
        io.seek(0, Exiv2::BasicIo::beg);
    }
    EXPECT_EQ(EOF, io.getb());
}

TEST(PhotoLibraryIo, NothingIsWritten) {
    PhotoInput made = PhotoInputOf("0123");
    LibraryIo io(&made.input, 0, 4);
    const Exiv2::byte bytes[2] = {};
    EXPECT_EQ(0, io.write(bytes, 2));
    EXPECT_EQ(EOF, io.putb('x'));
    EXPECT_THROW(io.transfer(io), std::exception);
}

} // namespace

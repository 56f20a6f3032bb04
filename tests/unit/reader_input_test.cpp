// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/input.h"

#include "platform/limits.h"
#include "tests/unit/scratch_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include "platform/handle.h"

#include <random>
#include <string>

namespace {

// A file of some windows, and it as an input.
struct Opened {
    explicit Opened(std::string text)
        : content(std::move(text)), file(content), fd(open(file.c_str(), O_RDONLY | O_CLOEXEC)) {
        input.fd = fd.get();
        input.size = static_cast<int64_t>(content.size());
    }
    std::string content;
    ScratchFile file;
    FdHandle fd;
    ReaderInput input;
};

std::string Pattern(size_t size) {
    std::mt19937 random(7);
    std::string text(size, '\0');
    for (char &byte : text)
        byte = static_cast<char>(random());
    return text;
}

std::string Read(ReaderInput *input, int64_t offset, size_t size) {
    std::string bytes(size, '?');
    bytes.resize(InputRead(input, offset, std::as_writable_bytes(std::span(bytes))));
    return bytes;
}

TEST(ReaderInput, BytesAreThoseOfTheFileWhateverWasReadBefore) {
    Opened opened(Pattern(5 * kReaderWindow + 123));
    std::mt19937 random(11);
    for (int i = 0; i < 5000; ++i) {
        const size_t offset = random() % (opened.content.size() + 100);
        const size_t size = random() % (i % 5 == 0 ? 3 * kReaderWindow : 300);
        const std::string expected =
            offset < opened.content.size() ? opened.content.substr(offset, size) : std::string();
        ASSERT_EQ(expected, Read(&opened.input, static_cast<int64_t>(offset), size)) << offset << " " << size;
    }
    EXPECT_FALSE(opened.input.failed);
}

TEST(ReaderInput, WhatLiesOutsideIsNotThere) {
    Opened opened("content and more");
    EXPECT_EQ("", Read(&opened.input, -1, 4));
    EXPECT_EQ("", Read(&opened.input, INT64_MIN, 4));
    EXPECT_EQ("", Read(&opened.input, INT64_MAX, 4));
    EXPECT_EQ("", Read(&opened.input, 16, 4));
    EXPECT_EQ("e", Read(&opened.input, 15, 4));
    EXPECT_EQ("", Read(&opened.input, 3, 0));
    opened.input = {};
    opened.input.fd = opened.fd.get();
    opened.input.size = 7; // it has grown since
    EXPECT_EQ("content", Read(&opened.input, 0, 100));
    EXPECT_FALSE(opened.input.failed);
}

TEST(ReaderInput, AFileThatHasShrunkEnds) {
    Opened opened("content");
    opened.input.size = int64_t{1} << 40;
    EXPECT_EQ("content", Read(&opened.input, 0, 100));
    EXPECT_EQ("", Read(&opened.input, 1 << 20, 100));
    EXPECT_EQ("", Read(&opened.input, 1 << 20, 100000));
    EXPECT_FALSE(opened.input.failed);
}

TEST(ReaderInput, AFileThatCannotBeReadIsTold) {
    ReaderInput input;
    input.size = 100;
    EXPECT_EQ("", Read(&input, 0, 4));
    EXPECT_TRUE(input.failed);
    Opened large(Pattern(64));
    large.input.fd = -1;
    large.input.size = 1 << 20;
    EXPECT_EQ("", Read(&large.input, 0, kReaderWindow));
    EXPECT_TRUE(large.input.failed);
}

PictureSink SinkIn(const FdHandle &slot) {
    PictureSink sink;
    sink.fd = slot.get();
    sink.wanted = true;
    return sink;
}

TEST(ReaderPicture, TheFirstThatIsOneIsTaken) {
    const FdHandle slot(memfd_create("slot", MFD_CLOEXEC));
    PictureSink sink = SinkIn(slot);
    const std::string jpeg = "\xFF\xD8\xFF\xE0" + Pattern(1000), gif = "GIF89a picture";
    EXPECT_FALSE(PictureTake(&sink, {}));
    EXPECT_FALSE(PictureTake(&sink, std::as_bytes(std::span(std::string_view("no picture")))));
    EXPECT_TRUE(PictureTake(&sink, std::as_bytes(std::span(jpeg))));
    EXPECT_TRUE(PictureTake(&sink, std::as_bytes(std::span(gif))));
    EXPECT_EQ(PictureFormat::jpeg, sink.format);
    ASSERT_EQ(jpeg.size(), sink.bytes);
    std::string there(jpeg.size(), '\0');
    EXPECT_EQ(static_cast<ssize_t>(jpeg.size()), pread(slot.get(), there.data(), there.size(), 0));
    EXPECT_EQ(jpeg, there);
}

TEST(ReaderPicture, NoneWhenNoneIsWanted) {
    const FdHandle slot(memfd_create("slot", MFD_CLOEXEC));
    PictureSink sink = SinkIn(slot);
    sink.wanted = false;
    EXPECT_FALSE(PictureTake(&sink, std::as_bytes(std::span(std::string_view("GIF89a picture")))));
    EXPECT_EQ(PictureFormat::none, sink.format);
    EXPECT_EQ(0, lseek(slot.get(), 0, SEEK_END));
}

TEST(ReaderPicture, OneThatIsTooLargeIsNone) {
    const FdHandle slot(memfd_create("slot", MFD_CLOEXEC));
    std::vector<std::byte> picture(kReaderPictureMax + 1);
    memcpy(picture.data(), "GIF89a", 6);
    PictureSink sink = SinkIn(slot);
    EXPECT_FALSE(PictureTake(&sink, picture));
    EXPECT_TRUE(PictureTake(&sink, std::span(picture).first(kReaderPictureMax)));
    EXPECT_EQ(kReaderPictureMax, sink.bytes);
}

TEST(ReaderPicture, NoneWhereItCannotBeWritten) {
    PictureSink sink;
    sink.wanted = true;
    EXPECT_FALSE(PictureTake(&sink, std::as_bytes(std::span(std::string_view("GIF89a picture")))));
    EXPECT_EQ(PictureFormat::none, sink.format);
}

} // namespace

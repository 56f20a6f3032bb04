// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bounds of the reader of sound, at and past each.
#include "tests/unit/sound_bytes.h"

#include "reader/sound/frame_walk.h"
#include "reader/sound/library_stream.h"
#include "reader/sound/mp4_box.h"

#include <taglib/tbytevector.h>

namespace {

using namespace std::string_literals;

std::string ApeFile(size_t items) {
    std::string tag;
    for (size_t i = 1; i < items; ++i)
        tag += LittleNumber(1, 4) + LittleNumber(0, 4) + "Xy" + Nul() + "v";
    tag += LittleNumber(5, 4) + LittleNumber(0, 4) + "Title" + Nul() + "Title";
    return SoundMpeg() + tag + "APETAGEX" + LittleNumber(2000, 4) + LittleNumber(tag.size() + 32, 4) +
           LittleNumber(items, 4) + std::string(12, '\0');
}

std::string Comments(size_t count) {
    std::string comments = LittleNumber(1, 4) + "v" + LittleNumber(count, 4);
    for (size_t i = 1; i < count; ++i)
        comments += LittleNumber(2, 4) + "x=";
    return comments + LittleNumber(7, 4) + "TITLE=T";
}

// A FLAC file with this block of comments.
std::string FlacFile(const std::string &comments) {
    const std::string info =
        BigNumber(4096, 2) + BigNumber(4096, 2) + std::string(6, '\0') +
        BigNumber(uint64_t{44100} << 44 | uint64_t{1} << 41 | uint64_t{15} << 36 | 44100, 8) +
        std::string(16, '\0');
    return "fLaC" + BigNumber(0, 1) + BigNumber(info.size(), 3) + info + BigNumber(0x84, 1) +
           BigNumber(comments.size(), 3) + comments + std::string(1000, '\x55');
}

TEST(SoundBounds, ItemsOfATag) {
    EXPECT_EQ(SoundFind(ApeFile(kSoundItemsMax), ContentFormat::mpeg_audio).Text(FactName::title), "Title");
    EXPECT_EQ(SoundFind(ApeFile(kSoundItemsMax + 1), ContentFormat::mpeg_audio).Text(FactName::title),
              "(none)");
    EXPECT_EQ(SoundFind(FlacFile(Comments(kSoundItemsMax)), ContentFormat::flac).Text(FactName::title), "T");
    EXPECT_EQ(SoundFind(FlacFile(Comments(kSoundItemsMax + 1)), ContentFormat::flac).Text(FactName::title),
              "(none)");
    const auto frames = [](size_t count) {
        std::string body;
        for (size_t i = 1; i < count; ++i)
            body += SoundFrame(3, "TXXX", Nul() + "x");
        return SoundTag(3, body + SoundFrame(3, "TIT2", Nul() + "Title")) + SoundMpeg();
    };
    EXPECT_EQ(SoundFind(frames(kSoundItemsMax), ContentFormat::mpeg_audio).Text(FactName::title), "Title");
    EXPECT_EQ(SoundFind(frames(kSoundItemsMax + 1), ContentFormat::mpeg_audio).Text(FactName::title),
              "(none)");
}

TEST(SoundBounds, BytesOfATag) {
    const auto tag = [](size_t size) {
        const std::string last = SoundFrame(3, "TIT2", Nul() + "Title");
        return SoundTag(3, SoundFrame(3, "PRIV", std::string(size - 10 - last.size(), 'x')) + last) +
               SoundMpeg();
    };
    EXPECT_EQ(SoundFind(tag(kSoundTagMax), ContentFormat::mpeg_audio).Text(FactName::title), "Title");
    EXPECT_NE(SoundFind(tag(kSoundTagMax + 1), ContentFormat::mpeg_audio).Text(FactName::title), "Title");
}

TEST(SoundBounds, PicturesOfATag) {
    const auto pictures = [](size_t count) {
        std::string body;
        for (size_t i = 1; i < count; ++i)
            body += SoundFrame(3, "APIC", Nul() + "image/png" + Nul() + "\x04" + Nul() + "none");
        body += SoundFrame(3, "APIC", Nul() + "image/png" + Nul() + "\x03" + Nul() + "\x89PNG\r\n\x1A\n.");
        return SoundFind(SoundTag(3, body) + SoundMpeg(), ContentFormat::mpeg_audio).picture.size();
    };
    EXPECT_EQ(pictures(kSoundPicturesMax), 9u);
    EXPECT_EQ(pictures(kSoundPicturesMax + 1), 0u);
}

std::string Box(const std::string &type, const std::string &content) {
    return BigNumber(content.size() + 8, 4) + type + content;
}

TEST(SoundBounds, PicturesThatHaveToBeRead) {
    const auto covers = [](int count) {
        std::string items;
        for (int i = 1; i < count; ++i)
            items += Box("data", BigNumber(13, 4) + BigNumber(0, 4) + "none");
        items += Box("data", BigNumber(13, 4) + BigNumber(0, 4) + "\x89PNG\r\n\x1A\n.");
        const std::string meta = Box("meta", BigNumber(0, 4) + Box("ilst", Box("covr", items)));
        return SoundFind(Box("moov", Box("udta", meta)), ContentFormat::mp4_sound).picture.size();
    };
    EXPECT_EQ(covers(kSoundLargePicturesMax), 9u);
    EXPECT_EQ(covers(kSoundLargePicturesMax + 1), 0u);
}

TEST(SoundBounds, JunkBeforeMpeg) {
    const auto junk = [](int64_t bytes) {
        return SoundFind(std::string(static_cast<size_t>(bytes), 'x') + SoundMpeg(),
                         ContentFormat::mpeg_audio)
            .Text(FactName::codec);
    };
    EXPECT_EQ(junk(kSoundJunkMax - 1), "mp3");
    EXPECT_EQ(junk(kSoundJunkMax + 8192), "(none)");
}

TEST(SoundBounds, BytesOfAWalk) {
    // Frames of 64 KiB, so that the walk is short; their parser looks at no byte.
    const auto samples = [](int64_t size) {
        const FdHandle file = SoundMemory("");
        EXPECT_EQ(ftruncate(file.get(), size), 0);
        ReaderInput input;
        input.fd = file.get();
        input.size = size;
        uint64_t frames = 0;
        const FrameTotals totals = FramesAdd(&input, 0, size, [&](Bytes) {
            ++frames;
            return FrameStep{65536, 1};
        });
        EXPECT_EQ(totals.frames, frames);
        EXPECT_LE(frames, static_cast<uint64_t>(kSoundWalkMax / 65536));
        return totals.samples;
    };
    EXPECT_EQ(samples(kSoundWalkMax), static_cast<double>(kSoundWalkMax / 65536));
    EXPECT_EQ(samples(kSoundWalkMax * 2), static_cast<double>(kSoundWalkMax * 2 / 65536));
}

TEST(SoundBounds, Chunks) {
    const auto wav = [](int chunks) {
        const std::string format = LittleNumber(1, 2) + LittleNumber(1, 2) + LittleNumber(8000, 4) +
                                   LittleNumber(16000, 4) + LittleNumber(2, 2) + LittleNumber(16, 2);
        std::string file = "RIFF" + LittleNumber(0, 4) + "WAVE";
        for (int i = 1; i < chunks; ++i)
            file += "junk" + LittleNumber(0, 4);
        return SoundFind(file + "fmt " + LittleNumber(16, 4) + format, ContentFormat::wav)
            .Text(FactName::codec);
    };
    EXPECT_EQ(wav(kSoundChunksMax), "pcm_s16le");
    EXPECT_EQ(wav(kSoundChunksMax + 1), "(none)");
}

TEST(SoundBounds, BoxesAndHowDeepTheyLie) {
    const std::string title =
        Box("meta", BigNumber(0, 4) +
                        Box("ilst", Box("\xA9nam", Box("data", BigNumber(1, 4) + BigNumber(0, 4) + "T"))));
    const auto file = [&](int free) {
        std::string boxes;
        for (int i = 0; i < free; ++i)
            boxes += Box("free", "");
        return SoundFind(boxes + Box("moov", Box("udta", title)), ContentFormat::mp4_sound)
            .Text(FactName::title);
    };
    EXPECT_EQ(file(kSoundBoxesMax - 100), "T");
    EXPECT_EQ(file(kSoundBoxesMax), "(none)");
    std::string deep;
    for (int i = 0; i < 20'000; ++i)
        deep = BigNumber(0, 4) + "moov" + deep; // each as long as the file
    EXPECT_EQ(SoundFind(deep, ContentFormat::mp4_sound).outcome.status, AnswerStatus::failed);
}

TEST(SoundBounds, EntriesOfATableOfSamples) {
    const auto bitrate = [](uint64_t count) {
        const std::string header =
            Box("mdhd", BigNumber(0, 12) + BigNumber(1000, 4) + BigNumber(8000, 4) + BigNumber(0, 4));
        const std::string handler = Box("hdlr", BigNumber(0, 8) + "soun");
        const std::string sizes = Box("stsz", BigNumber(0, 4) + BigNumber(1, 4) + BigNumber(count, 4));
        const std::string media = Box("mdia", header + handler + Box("minf", Box("stbl", sizes)));
        return SoundFind(Box("moov", Box("trak", media)), ContentFormat::mp4_sound)
            .Number(FactName::audio_bitrate);
    };
    EXPECT_EQ(bitrate(kSoundSamplesMax), static_cast<double>(kSoundSamplesMax));
    EXPECT_EQ(bitrate(kSoundSamplesMax + 1), -1);
}

TEST(SoundBounds, AttributesOfAsfThatAreNotThere) {
    const auto file = [](uint64_t attributes) {
        const std::string list = "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50"s +
                                 LittleNumber(26, 8) + LittleNumber(attributes, 2);
        const std::string format = LittleNumber(0x161, 2) + LittleNumber(2, 2) + LittleNumber(44100, 4) +
                                   LittleNumber(16000, 4) + LittleNumber(1, 2) + LittleNumber(16, 2);
        const std::string stream = "\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"s +
                                   LittleNumber(24 + 54 + format.size(), 8) +
                                   "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"s +
                                   std::string(38, '\0') + format;
        const std::string properties = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4\x00\xC0\x0C\x20\x53\x65"s +
                                       LittleNumber(104, 8) + std::string(80, '\0');
        return "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"s +
               LittleNumber(30 + properties.size() + stream.size() + list.size(), 8) + LittleNumber(3, 4) +
               "\x01\x02" + properties + stream + list;
    };
    EXPECT_EQ(SoundFind(file(kSoundItemsMax), ContentFormat::asf_sound).Text(FactName::codec), "wmav2");
    EXPECT_EQ(SoundFind(file(kSoundItemsMax + 1), ContentFormat::asf_sound).Text(FactName::codec), "(none)");
}

TEST(SoundBounds, WhatTheLibraryReads) {
    const FdHandle file = SoundMemory("x");
    ReaderInput input;
    input.fd = file.get();
    input.size = int64_t{1} << 30;
    ASSERT_EQ(ftruncate(file.get(), input.size), 0);
    LibraryStream bytes(&input, 0, input.size);
    constexpr unsigned long kPiece = 1UL << 20;
    for (long read = 0; read < kSoundLibraryBytesMax; read += static_cast<long>(kPiece))
        ASSERT_EQ(bytes.readBlock(kPiece).size(), kPiece);
    EXPECT_TRUE(bytes.readBlock(1).isEmpty());
    LibraryStream calls(&input, 0, input.size);
    for (int i = 0; i < kSoundLibraryCallsMax; ++i)
        ASSERT_EQ(calls.readBlock(1).size(), 1u);
    EXPECT_TRUE(calls.readBlock(1).isEmpty());
}

TEST(SoundBounds, WhereTheLibrarySeeks) {
    const FdHandle file = SoundMemory("0123456789");
    ReaderInput input;
    input.fd = file.get();
    input.size = 10;
    LibraryStream stream(&input, 2, 8);
    EXPECT_EQ(stream.length(), 6);
    EXPECT_EQ(stream.readBlock(100), TagLib::ByteVector("234567"));
    stream.seek(-2, TagLib::IOStream::End);
    EXPECT_EQ(stream.readBlock(1), TagLib::ByteVector("6"));
    stream.seek(LONG_MAX, TagLib::IOStream::Current);
    EXPECT_TRUE(stream.readBlock(1).isEmpty());
    stream.seek(-7, TagLib::IOStream::Beginning);
    EXPECT_TRUE(stream.readBlock(1).isEmpty());
    stream.seek(0, TagLib::IOStream::Beginning);
    EXPECT_EQ(stream.readBlock(1), TagLib::ByteVector("2"));
}

} // namespace

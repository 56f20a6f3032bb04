// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/content.h"

#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/content_look.h"

namespace {

using namespace std::string_literals;

// Layer III, 128 kbit/s at 44.1 kHz, of 417 bytes.
const std::string kMpegFrame = "\xFF\xFB\x90\x64"s + std::string(413, '\x55');

std::string Repeated(const std::string &part, int times) {
    std::string whole;
    for (int i = 0; i < times; ++i)
        whole += part;
    return whole;
}

std::string Id3(size_t size, char flags = 0) {
    std::string header = "ID3\x04\0"s + flags;
    for (int shift = 21; shift >= 0; shift -= 7)
        header += static_cast<char>(size >> shift & 0x7F);
    return header + std::string(size, '\0') + ((flags & 0x10) != 0 ? "3DI\x04\0\x10\0\0\0\0"s : "");
}

std::string AdtsFrame(size_t length) {
    std::string header = "\xFF\xF1\x50\x80\0\x1F\xFC"s;
    header[3] = static_cast<char>(0x80 | length >> 11);
    header[4] = static_cast<char>(length >> 3);
    header[5] = static_cast<char>((length & 7) << 5 | 0x1F);
    return header + std::string(length - header.size(), '\x21');
}

std::string TargaHeader() {
    return "\0\0\x02\0\0\0\0\0\0\0\0\0\x10\0\x10\0\x18\0"s;
}

TEST(Content, FixedBytesTell) {
    EXPECT_EQ(ContentFormat::jpeg, LookAt("\xFF\xD8\xFF\xE1"));
    EXPECT_EQ(ContentFormat::flac, LookAt("fLaC\0\0\0\x22"s));
    EXPECT_EQ(ContentFormat::wav, LookAt("RIFF\0\0\0\0WAVEfmt "s));
    EXPECT_EQ(ContentFormat::webp, LookAt("RIFF\0\0\0\0WEBPVP8 "s));
    EXPECT_EQ(ContentFormat::film, LookAt("RIFF\0\0\0\0AVI LIST"s));
    EXPECT_EQ(ContentFormat::unknown, LookAt("RIFF\0\0\0\0ABCDLIST"s));
    EXPECT_EQ(ContentFormat::dsdiff, LookAt("FRM8\0\0\0\0\0\0\0\0DSD "s));
    EXPECT_EQ(ContentFormat::midi, LookAt("MThd\0\0\0\x06"s));
    EXPECT_EQ(ContentFormat::jpegxl, LookAt("\0\0\0\x0CJXL \r\n\x87\n"s));
    EXPECT_EQ(ContentFormat::other_sound, LookAt("#!AMR\n\x3C"));
}

TEST(Content, NothingIsUnknown) {
    EXPECT_EQ(ContentFormat::unknown, LookAt(""));
    EXPECT_EQ(ContentFormat::unknown, LookAt("", "mp3"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("R"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("just words", "srt"));
    EXPECT_EQ(ContentFormat::unknown, LookAt(std::string(100'000, '\0'), "iso"));
}

TEST(Content, TheExtensionDoesNotMatterWhereBytesTell) {
    EXPECT_EQ(ContentFormat::jpeg, LookAt("\xFF\xD8\xFF\xE1", "mp3"));
    EXPECT_EQ(ContentFormat::flac, LookAt("fLaC", "m3u"));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Repeated(kMpegFrame, 3), "jpg"));
}

TEST(Content, EachGroundOfRawPhotos) {
    for (const std::string &ground :
         {"IIRO\x08\0"s, "IIRS\x08\0"s, "MMOR\0\x08"s, "IIU\0\x18\0"s, "FUJIFILMCCD-RAW 0201"s,
          "II\x1A\0\0\0HEAPCCDR"s, "\0MRM\0\0"s, "FOVb\0\0"s})
        EXPECT_EQ(ContentFormat::raw, LookAt(ground)) << ground;
    EXPECT_EQ(ContentFormat::tiff, LookAt("II\x2A\0\x10\0\0\0CR\x02\0"s, "cr2"));
}

TEST(Content, TwoBytesAloneAreNoBitmap) {
    EXPECT_EQ(ContentFormat::bmp, LookAt("BM\x36\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0"s));
    EXPECT_EQ(ContentFormat::unknown, LookAt("BMW cars and other words"));
}

TEST(Content, AnIconIsNoVideo) {
    const std::string icon = "\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0\x04\0\0\0\x16\0\0\0abcd"s;
    EXPECT_EQ(ContentFormat::ico, LookAt(icon));
    EXPECT_EQ(ContentFormat::unknown, LookAt("\0\0\1\0\1\0\x10\x10\0\0\1\0\x20\0\x04\0\0\0\x15\0\0\0abcd"s));
}

TEST(Content, BehindATagIsWhatCounts) {
    EXPECT_EQ(ContentFormat::flac, LookAt(Id3(300) + "fLaC"));
    EXPECT_EQ(ContentFormat::flac, LookAt(Id3(300, '\x10') + "fLaC"));
    EXPECT_EQ(ContentFormat::trueaudio, LookAt(Id3(5000) + "TTA1"));
    EXPECT_EQ(ContentFormat::aac, LookAt(Id3(10) + Repeated(AdtsFrame(100), 3)));
    EXPECT_EQ(ContentFormat::ape, LookAt("APETAGEX" + LittleBytes(2000, 4) + LittleBytes(5, 4) +
                                         std::string(16, '\0') + "itemsMAC "));
}

TEST(Content, ATagWithoutSoundIsMpeg) {
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Id3(300)));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Id3(300) + "what is this"));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Id3(300).substr(0, 100)));
}

TEST(Content, TagsInARowAreBounded) {
    EXPECT_EQ(ContentFormat::flac, LookAt(Repeated(Id3(20), kContentTagsMax) + "fLaC"));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Repeated(Id3(20), kContentTagsMax + 1) + "fLaC"));
}

TEST(Content, OneFrameIsNone) {
    EXPECT_EQ(ContentFormat::unknown, LookAt(kMpegFrame + std::string(1000, 'x')));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(kMpegFrame));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Repeated(kMpegFrame, 3)));
}

TEST(Content, FramesOfEachCoding) {
    EXPECT_EQ(ContentFormat::aac, LookAt(Repeated(AdtsFrame(371), 3)));
    // LOAS of 20 bytes; AC-3 at 32 kbit/s and 48 kHz; E-AC-3 of 64 bytes; AC-4 of 16 and, in the long form, 20 bytes.
    EXPECT_EQ(ContentFormat::other_sound, LookAt(Repeated("\x56\xE0\x11"s + std::string(17, '\1'), 3)));
    EXPECT_EQ(ContentFormat::other_sound,
              LookAt(Repeated("\x0B\x77\1\1\0\x40"s + std::string(122, '\1'), 3)));
    EXPECT_EQ(ContentFormat::other_sound,
              LookAt(Repeated("\x0B\x77\0\x1F\0\x80"s + std::string(58, '\1'), 3)));
    EXPECT_EQ(ContentFormat::other_sound, LookAt(Repeated("\xAC\x40\0\x0C"s + std::string(12, '\1'), 3)));
    EXPECT_EQ(ContentFormat::other_sound,
              LookAt(Repeated("\xAC\x41\xFF\xFF\0\0\x0B"s + std::string(13, '\1'), 3)));
}

TEST(Content, JunkIsSearchedWhereTheNameSaysSo) {
    const std::string frames = Repeated(kMpegFrame, 3);
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt("junk" + frames, "mp3"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("junk" + frames, "bin"));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Id3(30) + std::string(500, '\0') + frames, "bin"));
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(std::string(kContentJunkMax - 1, 'x') + frames, "mp3"));
    EXPECT_EQ(ContentFormat::unknown,
              LookAt(std::string(kContentJunkMax + kContentHead, 'x') + frames, "mp3"));
}

TEST(Content, WhatOnlyLooksLikeFramesIsBounded) {
    const std::string frames = Repeated(kMpegFrame, 3);
    const std::string lure = "\xFF\xFB\x90x";
    EXPECT_EQ(ContentFormat::mpeg_audio, LookAt(Repeated(lure, kContentRowsMax - 1) + "xx" + frames, "mp3"));
    EXPECT_EQ(ContentFormat::unknown, LookAt(Repeated(lure, kContentRowsMax) + "xx" + frames, "mp3"));
}

TEST(Content, TransportPacketsBeginAnywhere) {
    for (const size_t packet : {188, 192, 204}) {
        for (const size_t lead : {0, 4, 100}) {
            const std::string stream =
                std::string(lead, 'x') + Repeated("G" + std::string(packet - 1, 'x'), 5);
            EXPECT_EQ(ContentFormat::film, LookAt(stream)) << packet << " " << lead;
            EXPECT_EQ(ContentFormat::unknown, LookAt(stream.substr(0, stream.size() - packet))) << packet;
        }
    }
}

TEST(Content, StartCodes) {
    EXPECT_EQ(ContentFormat::film, LookAt("\0\0\1\xBA\x44"s));
    EXPECT_EQ(ContentFormat::film, LookAt("\0\0\0\1\x67\x64"s));                   // H.264
    EXPECT_EQ(ContentFormat::film, LookAt("\0\0\0\1\x40\1"s));                     // H.265
    EXPECT_EQ(ContentFormat::film, LookAt(std::string(900, '\0') + "\1\xB3\x12")); // padded
    EXPECT_EQ(ContentFormat::unknown, LookAt("\0\0\1\x02zz"s));
    EXPECT_EQ(ContentFormat::unknown, LookAt("\0\0\1"s));
}

TEST(Content, TextsTell) {
    EXPECT_EQ(ContentFormat::playlist, LookAt("\xEF\xBB\xBF#EXTM3U\na.mp3\n"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("\r\n[Playlist]\nFile1=a"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("<ASX version='3'>"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("<?xml version='1.0'?><playlist>", "txt"));
    EXPECT_EQ(ContentFormat::svg, LookAt("<?xml version='1.0'?><!-- drawn --><svg width='1'>", "jpg"));
    EXPECT_EQ(ContentFormat::svg, LookAt("<s:svg xmlns:s='http://www.w3.org/2000/svg'>"));
    EXPECT_EQ(ContentFormat::svg, LookAt("<!--" + std::string(kContentHead, '-'), "svg"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("<html><p>svg</p>", "html"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("a.mp3\n", "m3u"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("[Reference]\r\nRef1=x", "txt"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("<smil><body/></smil>", "txt"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("\xFF\xFE#\0E\0X\0T\0M\0003\0U\0"s, "txt"));
    EXPECT_EQ(ContentFormat::playlist, LookAt("\xFE\xFF\0a\0.\1\2"s, "m3u"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("\xFF\xFE#\0E\0\0\0"s, "m3u"));
    for (const char *empty : {"", "\n\n"}) {
        EXPECT_EQ(ContentFormat::playlist, LookAt(empty, "m3u"));
        EXPECT_EQ(ContentFormat::unknown, LookAt(empty, "svg"));
    }
    EXPECT_EQ(ContentFormat::unknown, LookAt("a\0mp3"s, "m3u"));
}

TEST(Content, TargaByItsNameOrItsEnd) {
    EXPECT_EQ(ContentFormat::targa, LookAt(TargaHeader() + "pixels", "tga"));
    EXPECT_EQ(ContentFormat::unknown, LookAt(TargaHeader() + "pixels", "bin"));
    EXPECT_EQ(ContentFormat::targa, LookAt(TargaHeader() + "pixelsTRUEVISION-XFILE.\0"s, "bin"));
    EXPECT_EQ(ContentFormat::unknown, LookAt("no header of one, TRUEVISION-XFILE.\0"s, "tga"));
}

TEST(Content, WhoReadsIt) {
    EXPECT_EQ(ReaderKind::films, ContentReader(ContentFormat::film));
    EXPECT_EQ(ReaderKind::films, ContentReader(ContentFormat::other_sound));
    EXPECT_EQ(ReaderKind::sound_and_photos, ContentReader(ContentFormat::mp4_sound));
    EXPECT_EQ(ReaderKind::sound_and_photos, ContentReader(ContentFormat::midi));
    EXPECT_EQ(ContentClass::sound, ContentClassOf(ContentFormat::other_sound));
    EXPECT_EQ(ContentClass::film, ContentClassOf(ContentFormat::film));
    EXPECT_EQ(ContentClass::picture, ContentClassOf(ContentFormat::svg));
    EXPECT_EQ(ContentClass::playlist, ContentClassOf(ContentFormat::playlist));
    EXPECT_EQ(ContentClass::unknown, ContentClassOf(ContentFormat::unknown));
}

} // namespace

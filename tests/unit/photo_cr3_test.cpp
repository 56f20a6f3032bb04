// SPDX-License-Identifier: GPL-2.0-or-later
//
// Raw photos that consist of boxes: what is taken out of them, and what damaged ones cost.
#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/content_look.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/photo_input.h"

namespace {

using namespace std::string_literals;
using exif_bytes::Directory;
using exif_bytes::Entry;

const std::string kCanonId = "\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48"s;
const std::string kXmpId = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"s;
const std::string kBrand = BoxBytes("ftyp", "crx \0\0\0\1crx isom"s);
const std::string kPicture = FullBox("THMB", std::string(2 * kPhotoValueMax, 'p'));

std::string Block(std::string_view type, const std::vector<Entry> &entries) {
    return BoxBytes(type, "II\x2A\0\x08\0\0\0"s + Directory(entries, 8, false));
}

std::string Canon(const std::string &content) {
    return BoxBytes("moov", BoxBytes("uuid", kCanonId + content) + BoxBytes("trak", kPicture));
}

const std::string kBlocks = Block("CMT1", {exif_bytes::Text(0x0110, "Model one")}) +
                            Block("CMT2", {exif_bytes::Text(0x9003, "2021:02:03 04:05:06")});

TEST(PhotoCr3, BlocksAreReadWhateverPicturesLieBeside) {
    const PhotoAnswer answer =
        PhotoAnswerOf(kBrand + Canon(kPicture + kBlocks + kPicture) + BoxBytes("uuid", kPicture));
    EXPECT_EQ(AnswerStatus::read, answer.outcome.status) << answer.outcome.reason;
    EXPECT_EQ("Model one", TextOf(answer.facts, FactName::camera_model));
    EXPECT_EQ("2021-02-03 04:05:06", TextOf(answer.facts, FactName::date_taken));
}

TEST(PhotoCr3, APacketBehindIsRead) {
    const std::string packet =
        "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
        "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
        "<rdf:Description xmlns:xmp='http://ns.adobe.com/xap/1.0/' xmp:Rating='4'/></rdf:RDF></x:xmpmeta>";
    for (const std::string &behind : {""s, BoxBytes("mdat", "pixels")}) {
        const PhotoAnswer answer =
            PhotoAnswerOf(kBrand + Canon(kBlocks) + BoxBytes("uuid", kXmpId + packet) + behind);
        EXPECT_EQ(4, NumberOf(answer.facts, FactName::rating));
        EXPECT_EQ("Model one", TextOf(answer.facts, FactName::camera_model));
    }
}

TEST(PhotoCr3, WhatIsDamagedCostsItself) {
    const std::string damaged = LyingBox(0xFFFFFFF0, "CMT1", "II\x2A\0"s);
    const std::string long_block = BoxBytes("CMT3", std::string(kPhotoValueMax + 1, 'v'));
    EXPECT_EQ("Model one",
              TextOf(PhotoAnswerOf(kBrand + Canon(long_block + kBlocks)).facts, FactName::camera_model));
    EXPECT_EQ("Model one",
              TextOf(PhotoAnswerOf(kBrand + Canon(kBlocks + damaged)).facts, FactName::camera_model));
    for (const std::string &content : {""s, damaged, BoxBytes("CMT1", ""), "cut"s}) {
        const PhotoAnswer answer = PhotoAnswerOf(kBrand + Canon(content));
        EXPECT_EQ("", TextOf(answer.facts, FactName::camera_model));
    }
    EXPECT_EQ("", TextOf(PhotoAnswerOf(kBrand).facts, FactName::camera_model));
    EXPECT_EQ("", TextOf(PhotoAnswerOf(kBrand + BoxBytes("moov", BoxBytes("uuid", "short"))).facts,
                         FactName::camera_model));
}

} // namespace

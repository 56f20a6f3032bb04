// SPDX-License-Identifier: GPL-2.0-or-later
//
// Pictures of the formats that the library for photos does not know, or reads in part.
#include <gtest/gtest.h>

#include "platform/limits.h"
#include "reader/photo/boxes.h"
#include "tests/unit/content_look.h"
#include "tests/unit/exif_bytes.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/photo_input.h"

namespace {

using namespace std::string_literals;

const std::string kTiff =
    "II\x2A\0\x08\0\0\0"s + exif_bytes::Directory({exif_bytes::Text(0x010F, "A maker")}, 8, false);

using Sides = std::pair<double, double>;

Sides SidesOf(std::string_view file) {
    const PhotoAnswer answer = PhotoAnswerOf(file);
    return {NumberOf(answer.facts, FactName::width), NumberOf(answer.facts, FactName::height)};
}

std::string MakeOf(std::string_view file) {
    return TextOf(PhotoAnswerOf(file).facts, FactName::camera_make);
}

TEST(PhotoSvg, SizesInEachWay) {
    EXPECT_EQ(Sides(100, 50), SidesOf("<svg width=\"100\" height='50px'>"));
    EXPECT_EQ(Sides(96, 192), SidesOf("<?xml?><!-- a --><svg xmlns='x' width = '1in' height=\"2in\" >"));
    EXPECT_EQ(Sides(378, 38), SidesOf("<svg height=\"1cm\" width='100mm'>"));
    EXPECT_EQ(Sides(40, 30), SidesOf("<svg viewBox='0 0 40 30'>"));
    EXPECT_EQ(Sides(40, 30), SidesOf("<svg width='100%' height='100%' viewBox='-5,-5,40,30'>"));
    EXPECT_EQ(Sides(80, 60), SidesOf("<svg width='80' viewBox='0 0 40 30'>"));
    EXPECT_EQ(Sides(10, 20), SidesOf("<s:svg stroke-width='3' width='10' height='20'>"));
    EXPECT_EQ(Sides(-1, -1), SidesOf("<svg>"));
    EXPECT_EQ(Sides(-1, -1), SidesOf("<svg width='-5' height='1e99'>"));
    EXPECT_EQ(Sides(-1, -1), SidesOf("<svg width="));
}

TEST(PhotoSvg, TheHeadIsBounded) {
    PhotoInput made =
        PhotoInputOf("<!--" + std::string(kPhotoDrawingHead - 40, '-') + "><svg width='10' height='20'>");
    FactList facts;
    PhotoFactsRead(&made.input, ContentFormat::svg, &facts);
    EXPECT_EQ(10, NumberOf(facts, FactName::width));
    made = PhotoInputOf("<!--" + std::string(kPhotoDrawingHead, '-') + "><svg width='10' height='20'>");
    facts = {};
    PhotoFactsRead(&made.input, ContentFormat::svg, &facts);
    EXPECT_EQ(nullptr, FactFind(facts, FactName::width));
}

TEST(PhotoTarga, UnderAnyName) {
    const std::string header = "\0\0\x02\0\0\0\0\0\0\0\0\0\x30\0\x24\0\x18\0"s;
    EXPECT_EQ(Sides(48, 36), SidesOf(header + "pixelsTRUEVISION-XFILE.\0"s));
}

// --- JPEG 2000

const std::string kCodeStream =
    "\xFF\x4F\xFF\x51\0\x29\0\0"s + U32(50) + U32(40) + U32(2) + U32(4) + Zeros(21);

std::string Segment(const std::string &mark, const std::string &content) {
    return mark + U16(static_cast<uint16_t>(content.size() + 2)) + content;
}

std::string CommentOf(std::string_view file) {
    return TextOf(PhotoAnswerOf(file).facts, FactName::comment);
}

TEST(PhotoJpeg2000, TheCodeStreamAlone) {
    EXPECT_EQ(Sides(48, 36), SidesOf(kCodeStream));
    EXPECT_EQ(Sides(-1, -1), SidesOf("\xFF\x4F\xFF\x51\0\x2F\0\0"s + U32(2) + U32(40) + U32(2) + U32(4)));
}

TEST(PhotoJpeg2000, TheFirstCommentInTextBeforeTheFirstTile) {
    const std::string binary = Segment("\xFF\x64", U16(0) + "\1\2\3");
    const std::string text = Segment("\xFF\x64", U16(1) + "Made by hand");
    const std::string tile = Segment("\xFF\x90", Zeros(8));
    EXPECT_EQ("Made by hand", CommentOf(kCodeStream + binary + text + tile));
    EXPECT_EQ("", CommentOf(kCodeStream + binary + tile + text));
    EXPECT_EQ("", CommentOf(kCodeStream + "\xFF\x64\0\3"s + U16(1) + "x"));
    EXPECT_EQ("", CommentOf(kCodeStream + "\xFF\x64\xFF\xFF"s + U16(1) + "cut"));
    std::string many = kCodeStream;
    for (size_t i = 2; i < kPhotoBoxesMax; ++i)
        many += binary;
    EXPECT_EQ("Made by hand", CommentOf(many + text));
    EXPECT_EQ("", CommentOf(many + binary + text));
}

// --- GIF

const std::string kScreen = "GIF89a\x30\0\x24\0\x80\0\0"s + Zeros(6);
const std::string kGifPicture =
    "\x2C\0\0\0\0\x30\0\x24\0\x80"s + Zeros(6) + "\x02\x03" + "\x3B\x21\xFE" + "\x01!" + "\0"s;

std::string XmpExtension(const std::string &packet) {
    std::string behind = "\x01";
    for (int byte = 0xFF; byte >= 0; --byte)
        behind += static_cast<char>(byte);
    return "\x21\xFF\x0BXMP DataXMP" + packet + behind + "\0"s;
}

std::string XmpOfMaker(const std::string &maker) {
    return "<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
           "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'>"
           "<rdf:Description rdf:about='' xmlns:tiff='http://ns.adobe.com/tiff/1.0/' tiff:Make='" +
           maker + "'/></rdf:RDF></x:xmpmeta>";
}

TEST(PhotoGif, XmpAndCommentsStandAmongPictures) {
    const std::string comment = "\x21\xFE\x03one\x04 two\0"s;
    const std::string loop = "\x21\xFF\x0BNETSCAPE2.0\x03\x01\0\0\0"s;
    const std::string file = kScreen + loop + kGifPicture + comment + XmpExtension(XmpOfMaker("M")) +
                             kGifPicture + "\x21\xFE\x05other\0;"s;
    EXPECT_EQ(Sides(48, 36), SidesOf(file));
    EXPECT_EQ("M", MakeOf(file));
    EXPECT_EQ("one two", CommentOf(file));
    EXPECT_EQ("", MakeOf(kScreen + ";" + XmpExtension(XmpOfMaker("M")))) << "behind the end";
    for (size_t size = kScreen.size(); size < file.size(); ++size)
        EXPECT_EQ(Sides(48, 36), SidesOf(file.substr(0, size))) << size;
}

TEST(PhotoGif, IsGoneThroughToABound) {
    const auto with_xmp_behind = [](int64_t bytes) {
        PhotoInput made = PhotoInputOf(kScreen, bytes + 4096);
        const std::string part = "\x21\x01"s;
        // One extension of blocks of 255 bytes, of noughts but for their sizes.
        std::string blocks = part;
        while (static_cast<int64_t>(kScreen.size() + blocks.size()) + 256 < bytes)
            blocks += "\xFF" + Zeros(255);
        blocks += "\0"s + XmpExtension(XmpOfMaker("M")) + ";";
        EXPECT_EQ(static_cast<ssize_t>(blocks.size()),
                  pwrite(made.file.get(), blocks.data(), blocks.size(), static_cast<off_t>(kScreen.size())));
        FactList facts;
        PhotoFactsRead(&made.input, ContentFormat::gif, &facts);
        return TextOf(facts, FactName::camera_make);
    };
    EXPECT_EQ("M", with_xmp_behind(kPhotoBytesMax - 4096));
    EXPECT_EQ("", with_xmp_behind(kPhotoBytesMax + 4096));
}

// --- JPEG XL

TEST(PhotoJpegXl, SizesInEachWay) {
    // From the lowest bit: by eights, 36 as 4 * 8 + ... is none, so 40: 0b00100, ratio 1:1.
    EXPECT_EQ(Sides(40, 40), SidesOf("\xFF\x0A\x49\0\0"s));
    // Not by eights, 9 bits: 36 - 1 = 35; no ratio; 9 bits: 48 - 1 = 47.
    const uint64_t bits = 0 | 0 << 1 | 35u << 3 | 0u << 12 | 0u << 15 | 47u << 17;
    EXPECT_EQ(Sides(48, 36), SidesOf("\xFF\x0A" + LittleBytes(bits, 8)));
    EXPECT_EQ(Sides(-1, -1), SidesOf("\xFF\x0B"));
}

std::string JpegXlContainer(const std::string &boxes) {
    return "\0\0\0\x0CJXL \r\n\x87\n"s + BoxBytes("ftyp", "jxl \0\0\0\0jxl "s) + boxes;
}

TEST(PhotoJpegXl, BoxesOfTheContainer) {
    const std::string file =
        JpegXlContainer(BoxBytes("Exif", U32(0) + kTiff) + BoxBytes("jxlp", U32(0) + "\xFF\x0A\x49\0\0"s));
    EXPECT_EQ("A maker", MakeOf(file));
    EXPECT_EQ(Sides(40, 40), SidesOf(file));
    EXPECT_EQ("", MakeOf(JpegXlContainer(BoxBytes("Exif", U32(1000) + kTiff))));
}

TEST(PhotoBoxes, AreCountedAndNotTooLong) {
    std::string fillers;
    for (size_t i = 3; i < kPhotoBoxesMax; ++i)
        fillers += BoxBytes("free", "");
    const std::string exif = BoxBytes("Exif", U32(0) + kTiff);
    EXPECT_EQ("A maker", MakeOf(JpegXlContainer(fillers + exif)));
    EXPECT_EQ("", MakeOf(JpegXlContainer(fillers + BoxBytes("free", "") + exif)));
    PhotoInput made = PhotoInputOf("", static_cast<int64_t>(kPhotoValueMax) + 1);
    EXPECT_EQ(kPhotoValueMax, FilePart(&made.input, 1, kPhotoValueMax).size());
    EXPECT_EQ(0u, FilePart(&made.input, 0, kPhotoValueMax + 1).size());
    EXPECT_EQ(0u, FilePart(&made.input, kPhotoValueMax, 2).size());
}

// --- HEIF

std::string Heif(const std::string &meta_boxes, const std::string &data = {}) {
    return BoxBytes("ftyp", "heic\0\0\0\0mif1"s) + BoxBytes("meta", U32(0) + meta_boxes) +
           BoxBytes("mdat", data);
}

std::string ItemEntry(uint16_t id, const std::string &type, const std::string &more = {}) {
    return BoxBytes("infe", U8(2) + Zeros(3) + U16(id) + U16(0) + type + U8(0) + more);
}

std::string ItemInfo(const std::string &entries, uint16_t count) {
    return BoxBytes("iinf", U32(0) + U16(count) + entries);
}

const std::string kExifItem = U32(6) + "Exif\0\0"s + kTiff;

TEST(PhotoHeif, ItemsInTheMetaBoxItself) {
    const std::string locations =
        BoxBytes("iloc", U8(1) + Zeros(3) + U16(0x4400) + U16(1) + U16(7) + U16(1) + U16(0) + U16(1) +
                             U32(0) + U32(static_cast<uint32_t>(kExifItem.size())));
    EXPECT_EQ("A maker",
              MakeOf(Heif(ItemInfo(ItemEntry(7, "Exif"), 1) + locations + BoxBytes("idat", kExifItem))));
}

TEST(PhotoHeif, WideOffsetsFromABase) {
    // Sizes of 8 for offset, length and base.
    const auto file = [](uint64_t base) {
        const std::string locations =
            BoxBytes("iloc", U8(1) + Zeros(3) + U16(0x8880) + U16(1) + U16(7) + U16(0) + U16(0) + U64(base) +
                                 U16(1) + U64(8) + U64(kExifItem.size()));
        return Heif(ItemInfo(ItemEntry(7, "Exif"), 1) + locations, kExifItem);
    };
    const uint64_t data_box = file(0).size() - kExifItem.size() - 8;
    EXPECT_EQ("A maker", MakeOf(file(data_box)));
    EXPECT_EQ("", MakeOf(file(UINT64_MAX - 4)));
}

TEST(PhotoHeif, TheSizeIsThatOfThePrimaryItem) {
    const std::string properties =
        BoxBytes("iprp", BoxBytes("ipco", BoxBytes("ispe", U32(0) + U32(512) + U32(512)) +
                                              BoxBytes("ispe", U32(0) + U32(4032) + U32(3024)) +
                                              BoxBytes("ispe", U32(0) + U32(320) + U32(240))) +
                             BoxBytes("ipma", U32(0) + U32(3) + U16(1) + U8(1) + U8(1) + U16(2) + U8(1) +
                                                  U8(0x82) + U16(3) + U8(1) + U8(3)));
    EXPECT_EQ(Sides(4032, 3024), SidesOf(Heif(BoxBytes("pitm", U32(0) + U16(2)) + properties)));
    EXPECT_EQ(Sides(320, 240), SidesOf(Heif(BoxBytes("pitm", U32(0) + U16(3)) + properties)));
    EXPECT_EQ(Sides(4032, 3024), SidesOf(Heif(properties)));
    EXPECT_EQ(AnswerStatus::failed, PhotoAnswerOf(Heif("")).outcome.status);
}

TEST(PhotoRaf, SizeOfWhatIsKeptOfTheSensorsPicture) {
    const std::string exif = "Exif\0\0"s + kTiff;
    const std::string jpeg =
        "\xFF\xD8\xFF\xE1"s + U16(static_cast<uint16_t>(exif.size() + 2)) + exif + "\xFF\xDA\0\x02\xFF\xD9"s;
    const auto record = [](uint16_t tag, const std::string &content) {
        return U16(tag) + U16(static_cast<uint16_t>(content.size())) + content;
    };
    const auto raf = [&](uint32_t count, const std::string &records) {
        const auto begin = static_cast<uint32_t>(0x94);
        const auto behind = begin + static_cast<uint32_t>(jpeg.size());
        std::string head = "FUJIFILMCCD-RAW 0201"s + Zeros(64) + U32(begin) +
                           U32(static_cast<uint32_t>(jpeg.size())) + U32(behind) +
                           U32(static_cast<uint32_t>(records.size()) + 4);
        head.resize(begin);
        return head + jpeg + U32(count) + records + Zeros(100);
    };
    const std::string sides = record(0x100, U16(40) + U16(56)) + record(0x111, U16(36) + U16(48));
    EXPECT_EQ(Sides(48, 36), SidesOf(raf(2, sides)));
    EXPECT_EQ("A maker", MakeOf(raf(2, sides)));
    EXPECT_EQ(Sides(-1, -1), SidesOf(raf(1, sides)));
    EXPECT_EQ(Sides(-1, -1), SidesOf(raf(2, record(0x100, "") + U16(0x111) + U16(900))));
    EXPECT_EQ("A maker", MakeOf(raf(1, sides)));
}

TEST(PhotoX3f, SizeAndTheEmbeddedJpeg) {
    const std::string exif = "Exif\0\0"s + kTiff;
    const std::string jpeg =
        "\xFF\xD8\xFF\xE1"s + U16(static_cast<uint16_t>(exif.size() + 2)) + exif + "\xFF\xDA\0\x02\xFF\xD9"s;
    const std::string header = "FOVb"s + LittleBytes(0x20002, 4) + std::string(20, '\0') +
                               LittleBytes(2268, 4) + LittleBytes(1512, 4) + std::string(40, '\0');
    const std::string section = "SECi"s + LittleBytes(0x20000, 4) + LittleBytes(2, 4) + LittleBytes(18, 4) +
                                std::string(12, '\0') + jpeg;
    const std::string directory = "SECd"s + LittleBytes(0x20000, 4) + LittleBytes(1, 4) +
                                  LittleBytes(header.size(), 4) + LittleBytes(section.size(), 4) + "IMA2";
    const std::string file = header + section + directory + LittleBytes(header.size() + section.size(), 4);
    EXPECT_EQ(Sides(2268, 1512), SidesOf(file));
    EXPECT_EQ("A maker", MakeOf(file));
    EXPECT_EQ("", MakeOf(file.substr(0, file.size() - 1)));
}

} // namespace

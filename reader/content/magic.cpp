// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/magic.h"

#include "platform/bytes.h"
#include "reader/content/asf.h"
#include "reader/content/boxes.h"
#include "reader/content/ogg.h"

namespace {

using namespace std::string_view_literals;

using Look = ContentFormat (*)(const ContentHead &head);

// "BM" begins many texts: the length of the bitmap's header follows, and two bytes ahead of it are 0.
ContentFormat BmpLook(const ContentHead &head) {
    constexpr uint32_t kShortestHeader = 12;
    constexpr uint32_t kLongestHeader = 124;
    const uint8_t length = head.bytes[14];
    return length >= kShortestHeader && length <= kLongestHeader && HeadHas(head, 15, "\0\0\0"sv)
               ? ContentFormat::bmp
               : ContentFormat::unknown;
}

// The four bytes begin MPEG video as well: the first picture has to lie behind the directory.
ContentFormat IcoLook(const ContentHead &head) {
    constexpr uint64_t kDirectory = 6;
    constexpr uint64_t kEntry = 16;
    const auto little = [&head](size_t offset, size_t size) {
        return BytesNumber(head.bytes.data() + offset, size, ByteOrder::kLittle);
    };
    const uint64_t entries = little(4, 2);
    const uint64_t picture_offset = little(18, 4);
    return head.size >= kDirectory + kEntry && entries > 0 && head.bytes[9] == 0 &&
                   picture_offset >= kDirectory + entries * kEntry &&
                   picture_offset < static_cast<uint64_t>(head.input->size)
               ? ContentFormat::ico
               : ContentFormat::unknown;
}

struct Magic {
    size_t offset;
    std::string_view bytes;
    ContentFormat format;
    size_t further_offset = 0; // with `further`: both have to be there
    std::string_view further = {};
    Look look = nullptr; // has the last word; `unknown` goes on with the next row
};

constexpr Magic Container(size_t offset, std::string_view bytes, Look look) {
    return {offset, bytes, ContentFormat::unknown, 0, {}, look};
}

// The first row that fits counts.
constexpr Magic kMagic[] = {
    // Pictures
    {0, "\xFF\xD8\xFF"sv, ContentFormat::jpeg},
    {0, "\x89PNG\r\n\x1A\n"sv, ContentFormat::png},
    {0, "GIF87a"sv, ContentFormat::gif},
    {0, "GIF89a"sv, ContentFormat::gif},
    {0, "RIFF"sv, ContentFormat::webp, 8, "WEBP"sv},
    {0, "II\x2A\0"sv, ContentFormat::tiff},
    {0, "MM\0\x2A"sv, ContentFormat::tiff},
    {0, "II\x2B\0"sv, ContentFormat::tiff},
    {0, "MM\0\x2B"sv, ContentFormat::tiff},
    {0, "8BPS"sv, ContentFormat::psd},
    {0,
     "\0\0\0\x0C"
     "JXL \r\n\x87\n"sv,
     ContentFormat::jpegxl},
    {0, "\xFF\x0A"sv, ContentFormat::jpegxl},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, ContentFormat::film, 20, "mjp2"sv},
    {0, "\0\0\0\x0CjP  \r\n\x87\n"sv, ContentFormat::jpeg2000},
    {0, "\xFF\x4F\xFF\x51"sv, ContentFormat::jpeg2000},
    Container(0, "BM"sv, BmpLook),
    Container(0, "\0\0\1\0"sv, IcoLook),
    // Raw photos of grounds of their own: Olympus, Panasonic and Leica, Fujifilm, Canon, Minolta, Sigma
    {0, "IIRO"sv, ContentFormat::raw},
    {0, "IIRS"sv, ContentFormat::raw},
    {0, "MMOR"sv, ContentFormat::raw},
    {0, "IIU\0"sv, ContentFormat::raw},
    {0, "FUJIFILMCCD-RAW"sv, ContentFormat::raw},
    {0, "II\x1A\0\0\0HEAPCCDR"sv, ContentFormat::raw},
    {0, "\0MRM"sv, ContentFormat::raw},
    {0, "FOVb"sv, ContentFormat::raw},
    // Sound
    {0, "fLaC"sv, ContentFormat::flac},
    {0, "RIFF"sv, ContentFormat::wav, 8, "WAVE"sv},
    {0, "RF64"sv, ContentFormat::wav, 8, "WAVE"sv},
    {0, "BW64"sv, ContentFormat::wav, 8, "WAVE"sv},
    {0, "FORM"sv, ContentFormat::aiff, 8, "AIFF"sv},
    {0, "FORM"sv, ContentFormat::aiff, 8, "AIFC"sv},
    {0, "MAC "sv, ContentFormat::ape},
    {0, "wvpk"sv, ContentFormat::wavpack},
    {0, "MPCK"sv, ContentFormat::musepack},
    {0, "MP+"sv, ContentFormat::musepack},
    {0, "TTA1"sv, ContentFormat::trueaudio},
    {0, "DSD "sv, ContentFormat::dsf},
    {0, "FRM8"sv, ContentFormat::dsdiff, 12, "DSD "sv},
    {0, "MThd"sv, ContentFormat::midi},
    {0, "RIFF"sv, ContentFormat::midi, 8, "RMID"sv},
    {0, "caff"sv, ContentFormat::other_sound},
    {0, ".snd"sv, ContentFormat::other_sound},
    {0, "riff\x2E\x91\xCF\x11"sv, ContentFormat::other_sound}, // Sony Wave64
    {0, "#!AMR"sv, ContentFormat::other_sound},
    {0, ".ra\xFD"sv, ContentFormat::other_sound},
    {0, "ADIF"sv, ContentFormat::other_sound},
    {0, "tBaK"sv, ContentFormat::other_sound}, // TAK
    {0, "ajkg"sv, ContentFormat::other_sound}, // Shorten
    {0, "OFR "sv, ContentFormat::other_sound},
    {0, "Creative Voice File\x1A"sv, ContentFormat::other_sound},
    {0, "DTSHDHDR"sv, ContentFormat::other_sound},
    {0, "\x7F\xFE\x80\x01"sv, ContentFormat::other_sound}, // DTS in words of 16 and 14 bits, either order
    {0, "\xFE\x7F\x01\x80"sv, ContentFormat::other_sound},
    {0, "\x1F\xFF\xE8\x00"sv, ContentFormat::other_sound},
    {0, "\xFF\x1F\x00\xE8"sv, ContentFormat::other_sound},
    {4, "\xF8\x72\x6F\xBA"sv, ContentFormat::other_sound}, // Dolby TrueHD
    {4, "\xF8\x72\x6F\xBB"sv, ContentFormat::other_sound}, // MLP
    // Either, by what they hold
    Container(0, "OggS"sv, OggLook),
    Container(0, "\x30\x26\xB2\x75\x8E\x66\xCF\x11\xA6\xD9\x00\xAA\x00\x62\xCE\x6C"sv, AsfLook),
    Container(4, "ftyp"sv, BoxesLook),
    Container(4, "moov"sv, BoxesLook),
    Container(4, "mdat"sv, BoxesLook),
    Container(4, "moof"sv, BoxesLook),
    Container(4, "styp"sv, BoxesLook),
    Container(4, "sidx"sv, BoxesLook),
    Container(4, "wide"sv, BoxesLook),
    Container(4, "free"sv, BoxesLook),
    Container(4, "skip"sv, BoxesLook),
    Container(4, "pnot"sv, BoxesLook),
    // Films, or sound in their containers
    {0, "\x1A\x45\xDF\xA3"sv, ContentFormat::film}, // Matroska, WebM
    {0, "RIFF"sv, ContentFormat::film, 8, "AVI"sv},
    {0, "RIFF"sv, ContentFormat::film, 8, "AMV "sv},
    {0, "RIFF"sv, ContentFormat::film, 8, "CDXA"sv}, // a track of a Video CD
    {0, "ON2 "sv, ContentFormat::film, 8, "ON2f"sv},
    {0, "FLV"sv, ContentFormat::film},
    {0, ".RMF"sv, ContentFormat::film},
    {0, ".RMP"sv, ContentFormat::film},
    {0, "\x06\x0E\x2B\x34\x02\x05\x01\x01\x0D\x01\x02\x01\x01\x02"sv, ContentFormat::film}, // MXF
    {0, "\xB7\xD8\x00\x20\x37\x49\xDA\x11\xA6\x4E\x00\x07\xE9\x5E\xAD\x8D"sv,
     ContentFormat::film}, // Windows Television
    {0, "nut/multimedia container\0"sv, ContentFormat::film},
    {0, "\x1F\x07\x00\x3F"sv, ContentFormat::film}, // DV, 525 and 625 lines
    {0, "\x1F\x07\x00\xBF"sv, ContentFormat::film},
    {0, "FWS"sv, ContentFormat::film},
    {0, "CWS"sv, ContentFormat::film},
    {0, "ZWS"sv, ContentFormat::film},
    {0, "DKIF"sv, ContentFormat::film},
    {0, "YUV4MPEG2 "sv, ContentFormat::film},
    {0, "BBCD\0"sv, ContentFormat::film}, // Dirac
};

} // namespace

ContentFormat MagicLook(const ContentHead &head) {
    for (const Magic &row : kMagic) {
        if (!HeadHas(head, row.offset, row.bytes) || !HeadHas(head, row.further_offset, row.further))
            continue;
        const ContentFormat format = row.look == nullptr ? row.format : row.look(head);
        if (format != ContentFormat::unknown)
            return format;
    }
    return ContentFormat::unknown;
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// One picture from its bytes to its facts.
#include <algorithm>

#include "platform/limits.h"
#include "reader/photo/code_stream.h"
#include "reader/photo/cr3.h"
#include "reader/photo/facts.h"
#include "reader/photo/gif.h"
#include "reader/photo/heif.h"
#include "reader/photo/jpegxl.h"
#include "reader/photo/picture.h"
#include "reader/photo/raf.h"
#include "reader/photo/size.h"
#include "reader/photo/tiff_size.h"
#include "reader/photo/x3f.h"
#include "reader/readers.h"
#include "reader/text/code_pages.h"

namespace {

// What libavformat's ffprobe calls the coding; it knows no other ones.
struct Coding {
    ContentFormat format;
    const char *codec;
};

constexpr Coding kCodings[] = {
    {ContentFormat::jpeg, "mjpeg"},  {ContentFormat::png, "png"},           {ContentFormat::gif, "gif"},
    {ContentFormat::bmp, "bmp"},     {ContentFormat::tiff, "tiff"},         {ContentFormat::webp, "webp"},
    {ContentFormat::psd, "psd"},     {ContentFormat::jpeg2000, "jpeg2000"}, {ContentFormat::jpegxl, "jpegxl"},
    {ContentFormat::targa, "targa"},
};

bool RawRead(ReaderInput *input, PhotoMetadata *metadata, std::string *reason) {
    if (IsX3f(input)) {
        X3fRead(input, metadata);
        return true;
    }
    const bool read = IsCr3(input) ? Cr3Read(input, metadata, reason)
                                   : PictureMetadataRead(input, 0, input->size, metadata, reason);
    const PhotoSize raf = RafSize(input);
    metadata->size = raf.width != 0 ? raf : SensorPartSize(metadata->exif, metadata->size);
    return read;
}

// Returns whether the file was what it seemed to be; what could be read counts in any case.
bool MetadataRead(ReaderInput *input, ContentFormat format, PhotoMetadata *metadata, std::string *reason) {
    switch (format) {
    case ContentFormat::heif:
        HeifRead(input, metadata);
        break;
    case ContentFormat::jpegxl:
        JpegXlRead(input, metadata);
        break;
    case ContentFormat::gif:
        GifRead(input, metadata);
        break;
    case ContentFormat::svg:
        metadata->size = SvgSize(input);
        return true;
    case ContentFormat::ico:
        metadata->size = PlainSize(input);
        break;
    case ContentFormat::targa:
        metadata->size = TargaSize(input);
        break;
    case ContentFormat::raw:
        return RawRead(input, metadata, reason);
    case ContentFormat::jpeg2000:
        return CodeStreamRead(input, metadata) ||
               PictureMetadataRead(input, 0, input->size, metadata, reason);
    default: {
        const bool read = PictureMetadataRead(input, 0, input->size, metadata, reason);
        const PhotoSize plain = PlainSize(input);
        if (format == ContentFormat::tiff) {
            metadata->size = TiffSize(metadata->exif, plain);
        } else if (plain.width != 0) {
            metadata->size = plain;
            metadata->size_source = FactSource::own;
        }
        return read;
    }
    }
    *reason = "no size";
    return metadata->size.width != 0;
}

// A sidecar is XMP and nothing else. Its end is where reading stops.
void SidecarRead(int fd, FactList *facts) {
    ReaderInput sidecar;
    sidecar.fd = fd;
    sidecar.size = static_cast<int64_t>(kPhotoValueMax);
    std::vector<uint8_t> packet(kPhotoValueMax);
    packet.resize(InputRead(&sidecar, 0, std::as_writable_bytes(std::span(packet))));
    PhotoMetadata metadata;
    XmpBlockRead({reinterpret_cast<const char *>(packet.data()), packet.size()}, &metadata);
    PhotoFactsAdd(metadata, facts);
}

ReadOutcome FactsRead(ReaderInput *input, ContentFormat format, FactList *facts) {
    ReadOutcome outcome = {AnswerStatus::read, ContentClass::picture, {}};
    for (const int companion : input->companions)
        SidecarRead(companion, facts);
    PhotoMetadata metadata;
    metadata.charset = input->charset;
    if (!MetadataRead(input, format, &metadata, &outcome.reason) && metadata.size.width == 0)
        outcome.status = AnswerStatus::failed;
    PhotoFactsAdd(metadata, facts);
    if (metadata.size.width != 0 && metadata.size.height != 0) {
        FactAddNumber(facts, FactName::width, metadata.size_source, static_cast<double>(metadata.size.width));
        FactAddNumber(facts, FactName::height, metadata.size_source,
                      static_cast<double>(metadata.size.height));
    }
    const auto coding = std::find_if(std::begin(kCodings), std::end(kCodings),
                                     [format](const Coding &row) { return row.format == format; });
    if (coding != std::end(kCodings))
        FactAddText(facts, FactName::video_codec, FactSource::own, coding->codec);
    if (outcome.status == AnswerStatus::read)
        outcome.reason.clear();
    return outcome;
}

} // namespace

ReadOutcome PhotoFactsRead(ReaderInput *input, ContentFormat format, FactList *facts) {
    try {
        return FactsRead(input, format, facts);
    } catch (const std::exception &error) {
        return {AnswerStatus::failed, ContentClass::picture, error.what()};
    }
}

void PhotoReaderWarm() {
    CodePagesOpen();
    Exiv2::LogMsg::setLevel(Exiv2::LogMsg::mute);
    Exiv2::LogMsg::setHandler(nullptr);
    Exiv2::enableBMFF(true);
    Exiv2::XmpParser::initialize();
    // Tables that are made with the first picture, and whatever the C library loads for it.
    PhotoMetadata metadata;
    XmpBlockRead("<x:xmpmeta xmlns:x='adobe:ns:meta/'><rdf:RDF "
                 "xmlns:rdf='http://www.w3.org/1999/02/22-rdf-syntax-ns#'/>"
                 "</x:xmpmeta>",
                 &metadata);
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/facts.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string_view>

#include "reader/photo/dates.h"
#include "reader/photo/gps.h"
#include "reader/photo/lookup.h"
#include "reader/photo/text.h"
#include "reader/photo/values.h"

namespace {

enum class Ground : uint8_t { exif, xmp, iptc };

// Where a fact stands: in EXIF in a directory under a tag, in XMP in a schema under a word, in IPTC's application record in a
// data set, which is its `tag`.
struct Source {
    FactName fact;
    ValueConvert convert;
    Ground ground;
    const char *directory;
    uint16_t tag;
    const char *word = nullptr;
};

constexpr Source Exif(FactName fact, const char *directory, uint16_t tag, ValueConvert convert) {
    return {fact, convert, Ground::exif, directory, tag};
}

constexpr Source Xmp(FactName fact, const char *schema, const char *word, ValueConvert convert) {
    return {fact, convert, Ground::xmp, schema, 0, word};
}

constexpr Source Iptc(FactName fact, uint16_t data_set, ValueConvert convert) {
    return {fact, convert, Ground::iptc, nullptr, data_set};
}

// For each fact in order of preference: the first that says something counts, of keywords all. What people write comes
// first from where their programs write it (XMP), what cameras write from EXIF.
constexpr Source kSources[] = {
    Exif(FactName::camera_make, "Image", 0x010F, ConvertText),
    Exif(FactName::camera_make, "PanasonicRaw", 0x010F, ConvertText),
    Xmp(FactName::camera_make, "tiff", "Make", ConvertText),
    Exif(FactName::camera_model, "Image", 0x0110, ConvertText),
    Exif(FactName::camera_model, "PanasonicRaw", 0x0110, ConvertText),
    Xmp(FactName::camera_model, "tiff", "Model", ConvertText),
    Exif(FactName::exposure_time, "Photo", 0x829A, ConvertExposure),
    Exif(FactName::exposure_time, "Image", 0x829A, ConvertExposure), // TIFF/EP
    Xmp(FactName::exposure_time, "exif", "ExposureTime", ConvertExposure),
    Exif(FactName::f_number, "Photo", 0x829D, ConvertAperture),
    Exif(FactName::f_number, "Image", 0x829D, ConvertAperture),
    Xmp(FactName::f_number, "exif", "FNumber", ConvertAperture),
    Exif(FactName::iso_speed, "Photo", 0x8827, ConvertIso),
    Exif(FactName::iso_speed, "Image", 0x8827, ConvertIso),
    Exif(FactName::iso_speed, "Photo", 0x8833,
         ConvertIso), // ISO speed, recommended index, output sensitivity
    Exif(FactName::iso_speed, "Photo", 0x8832, ConvertIso),
    Exif(FactName::iso_speed, "Photo", 0x8831, ConvertIso),
    Exif(FactName::iso_speed, "PanasonicRaw", 0x0017, ConvertIso),
    Xmp(FactName::iso_speed, "exif", "ISOSpeedRatings", ConvertIso),
    Xmp(FactName::iso_speed, "exifEX", "PhotographicSensitivity", ConvertIso),
    Exif(FactName::orientation, "Image", 0x0112, ConvertOrientation),
    Exif(FactName::orientation, "PanasonicRaw", 0x0112, ConvertOrientation),
    Xmp(FactName::orientation, "tiff", "Orientation", ConvertOrientation),
    Exif(FactName::lens, "Photo", 0xA434, ConvertText),
    Exif(FactName::lens, "Canon", 0x0095, ConvertText),
    Xmp(FactName::lens, "exifEX", "LensModel", ConvertText),
    Xmp(FactName::lens, "aux", "Lens", ConvertText),
    Exif(FactName::focal_length, "Photo", 0x920A, ConvertNumber),
    Exif(FactName::focal_length, "Image", 0x920A, ConvertNumber),
    Xmp(FactName::focal_length, "exif", "FocalLength", ConvertNumber),
    Xmp(FactName::title, "dc", "title", ConvertOneText),
    Iptc(FactName::title, 5, ConvertOneText), // object name
    Exif(FactName::title, "Image", 0x9C9B, ConvertUtf16),
    Xmp(FactName::description, "dc", "description", ConvertText),
    Iptc(FactName::description, 120, ConvertText), // caption
    Exif(FactName::description, "Image", 0x010E, ConvertText),
    Xmp(FactName::artist, "dc", "creator", ConvertText),
    Iptc(FactName::artist, 80, ConvertText), // by-line
    Exif(FactName::artist, "Image", 0x013B, ConvertParts),
    Exif(FactName::artist, "Image", 0x9C9D, ConvertUtf16Parts),
    Exif(FactName::comment, "Photo", 0x9286, ConvertComment),
    Exif(FactName::comment, "Image", 0x9C9C, ConvertUtf16),
    Xmp(FactName::comment, "exif", "UserComment", ConvertText),
    Xmp(FactName::rating, "xmp", "Rating", ConvertNumber),
    Exif(FactName::rating, "Image", 0x4746, ConvertNumber),
    Xmp(FactName::keyword, "dc", "subject", ConvertText),
    Iptc(FactName::keyword, 25, ConvertText),
    Exif(FactName::keyword, "Image", 0x9C9E, ConvertUtf16Parts),
};

// When the picture was taken. EXIF has the time of the last change as well, which is the best of what is left.
struct DateSource {
    Ground ground;
    const char *directory;
    uint16_t tag; // of IPTC the day
    const char *word;
    uint16_t more; // of EXIF the offset, of IPTC the time of day
};

constexpr DateSource kDates[] = {
    {Ground::exif, "Photo", 0x9003, nullptr, 0x9011}, // original
    {Ground::exif, "Image", 0x9003, nullptr, 0x9011},
    {Ground::exif, "Photo", 0x9004, nullptr, 0x9012}, // digitized
    {Ground::xmp, "exif", 0, "DateTimeOriginal", 0},
    {Ground::xmp, "photoshop", 0, "DateCreated", 0},
    {Ground::xmp, "xmp", 0, "CreateDate", 0},
    {Ground::xmp, "exif", 0, "DateTimeDigitized", 0},
    {Ground::iptc, nullptr, 55, nullptr, 60}, // created
    {Ground::iptc, nullptr, 62, nullptr, 63}, // digitized
    {Ground::exif, "Image", 0x0132, nullptr, 0x9010},
};

constexpr const char *kGroundWords[] = {"exif", "xmp", "iptc"};

bool Read(const PhotoMetadata &metadata, const DateSource &source, PhotoDate *date) {
    if (source.ground == Ground::xmp) {
        const Exiv2::Value *value = XmpFind(metadata.xmp, source.directory, source.word);
        return value != nullptr && DateRead(value->toString(), date);
    }
    if (source.ground == Ground::exif) {
        const Exiv2::Value *value = ExifFind(metadata.exif, source.directory, source.tag);
        if (value == nullptr || !DateRead(value->toString(), date))
            return false;
        const Exiv2::Value *offset = ExifFind(metadata.exif, "Photo", source.more);
        if (offset != nullptr)
            date->offset = DateOffset(offset->toString());
        return true;
    }
    const std::vector<const Exiv2::Value *> day = IptcFind(metadata.iptc, source.tag);
    const std::vector<const Exiv2::Value *> time = IptcFind(metadata.iptc, source.more);
    return !day.empty() &&
           DateRead(day[0]->toString() + (time.empty() ? "" : " " + time[0]->toString()), date);
}

void DateAdd(const PhotoMetadata &metadata, FactList *facts) {
    if (FactFind(*facts, FactName::date_taken) != nullptr)
        return;
    for (const DateSource &source : kDates) {
        PhotoDate date;
        if (!Read(metadata, source, &date))
            continue;
        FactAddText(facts, FactName::date_taken, FactSource::exiv2, date.time);
        FactAddText(facts, FactName::date_source, FactSource::exiv2,
                    kGroundWords[static_cast<size_t>(source.ground)]);
        FactAddText(facts, FactName::date_offset, FactSource::exiv2, date.offset);
        return;
    }
}

void SourceAdd(const PhotoMetadata &metadata, const Source &source, FactList *facts) {
    const auto add = [&](const Exiv2::Value *value) {
        if (value != nullptr)
            source.convert(*value, {source.fact, facts, metadata.charset});
    };
    switch (source.ground) {
    case Ground::exif:
        add(ExifFind(metadata.exif, source.directory, source.tag));
        break;
    case Ground::xmp:
        add(XmpFind(metadata.xmp, source.directory, source.word));
        break;
    case Ground::iptc:
        for (const Exiv2::Value *value : IptcFind(metadata.iptc, source.tag))
            add(value);
        break;
    }
}

} // namespace

void PhotoFactsAdd(const PhotoMetadata &metadata, FactList *facts) {
    std::array<bool, kFactNames> known{};
    for (const Fact &fact : facts->facts)
        known[static_cast<size_t>(fact.name)] = true;
    for (const Source &source : kSources) {
        if (!known[static_cast<size_t>(source.fact)] &&
            (source.fact == FactName::keyword || FactFind(*facts, source.fact) == nullptr))
            SourceAdd(metadata, source, facts);
    }
    if (FactFind(*facts, FactName::comment) == nullptr)
        FactAddText(facts, FactName::comment, FactSource::exiv2,
                    TextFromBytes(metadata.comment, metadata.charset));
    DateAdd(metadata, facts);
    GpsAdd(metadata, facts);
}

// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/gps.h"

#include <math.h>
#include <stdlib.h>

#include <string>

#include "reader/photo/lookup.h"
#include "reader/photo/values.h"

namespace {

constexpr char kDirectory[] = "GPSInfo";
constexpr double kLatitudeMax = 90;
constexpr double kLongitudeMax = 180;

// EXIF 2.3, section 4.6.6: the tag of the letter; that of the degrees, minutes and seconds is the next one.
struct Axis {
    uint16_t letter;
    const char *word; // in XMP
    double max;
};

constexpr Axis kLatitude = {1, "GPSLatitude", kLatitudeMax};
constexpr Axis kLongitude = {3, "GPSLongitude", kLongitudeMax};

bool IsNegative(char letter) {
    return letter == 'S' || letter == 's' || letter == 'W' || letter == 'w';
}

bool ExifDegrees(const Exiv2::ExifData &exif, const Axis &axis, double *degrees) {
    const Exiv2::Value *parts = ExifFind(exif, kDirectory, static_cast<uint16_t>(axis.letter + 1));
    if (parts == nullptr || !ValueNumber(*parts, 0, degrees))
        return false;
    // Minutes and seconds of 0/0 are not told.
    double part = 0;
    if (ValueNumber(*parts, 1, &part))
        *degrees += part / 60;
    if (ValueNumber(*parts, 2, &part))
        *degrees += part / 3600;
    const Exiv2::Value *letter = ExifFind(exif, kDirectory, axis.letter);
    if (letter != nullptr && IsNegative(letter->toString()[0]))
        *degrees = -*degrees;
    return fabs(*degrees) <= axis.max;
}

// "52,31.5N", "52,31,30N", "52.525"
bool XmpDegrees(const Exiv2::XmpData &xmp, const Axis &axis, double *degrees) {
    const Exiv2::Value *value = XmpFind(xmp, "exif", axis.word);
    if (value == nullptr)
        return false;
    const std::string text = value->toString();
    const char *rest = text.c_str();
    double scale = 1;
    *degrees = 0;
    for (int part = 0; part < 3; ++part) {
        char *end = nullptr;
        const double number = strtod(rest, &end);
        if (end == rest)
            return false;
        *degrees += number / scale;
        scale *= 60;
        rest = end;
        if (*rest != ',')
            break;
        ++rest;
    }
    if (IsNegative(*rest))
        *degrees = -*degrees;
    return fabs(*degrees) <= axis.max;
}

void PlaceAdd(const PhotoMetadata &metadata, FactList *facts) {
    double latitude = 0;
    double longitude = 0;
    if ((!ExifDegrees(metadata.exif, kLatitude, &latitude) ||
         !ExifDegrees(metadata.exif, kLongitude, &longitude)) &&
        (!XmpDegrees(metadata.xmp, kLatitude, &latitude) ||
         !XmpDegrees(metadata.xmp, kLongitude, &longitude)))
        return;
    FactAddNumber(facts, FactName::gps_latitude, FactSource::exiv2, latitude);
    FactAddNumber(facts, FactName::gps_longitude, FactSource::exiv2, longitude);
}

void AltitudeAdd(const PhotoMetadata &metadata, FactList *facts) {
    constexpr uint16_t kReference = 5; // 1: below the sea
    constexpr uint16_t kAltitude = 6;
    const Exiv2::Value *altitude = ExifFind(metadata.exif, kDirectory, kAltitude);
    const Exiv2::Value *reference = ExifFind(metadata.exif, kDirectory, kReference);
    if (altitude == nullptr) {
        altitude = XmpFind(metadata.xmp, "exif", "GPSAltitude");
        reference = XmpFind(metadata.xmp, "exif", "GPSAltitudeRef");
    }
    double metres = 0;
    double below = 0;
    if (altitude == nullptr || !ValueNumber(*altitude, 0, &metres))
        return;
    if (reference != nullptr && ValueNumber(*reference, 0, &below) && below == 1)
        metres = -metres;
    FactAddNumber(facts, FactName::gps_altitude, FactSource::exiv2, metres);
}

} // namespace

void GpsAdd(const PhotoMetadata &metadata, FactList *facts) {
    if (FactFind(*facts, FactName::gps_latitude) == nullptr)
        PlaceAdd(metadata, facts);
    if (FactFind(*facts, FactName::gps_altitude) == nullptr)
        AltitudeAdd(metadata, facts);
}

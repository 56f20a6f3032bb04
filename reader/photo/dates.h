// SPDX-License-Identifier: GPL-2.0-or-later
//
// When a picture was taken, in the ways that EXIF, XMP and IPTC write it.
#pragma once

#include <string>
#include <string_view>

struct PhotoDate {
    std::string time;   // "YYYY-MM-DD HH:MM:SS"
    std::string offset; // "+02:00", or empty
};

// Reads "2019:05:04 10:11:12", "2019-05-04T10:11:12.50+02:00", "20190504", "2019-05" and their like; what is not said of
// month, day and time is their first. False when this is no date that a camera could mean.
bool DateRead(std::string_view text, PhotoDate *date);

// Reads "+02:00", "+0200", "Z"; empty when it is none.
std::string DateOffset(std::string_view text);

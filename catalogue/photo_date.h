// SPDX-License-Identifier: GPL-2.0-or-later
//
// When a picture was taken that does not say so itself.
#pragma once

#include <time.h>

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/media_info.h"

// Returns the moment in the name of a picture, "YYYY-MM-DD HH:MM:SS", as cameras, phones and programs that make pictures of a
// screen write it: "IMG_20190504_101112", "2019-05-04 10.11.12", "Screenshot 2019-05-04 at 10.11.12 AM". A day alone begins at
// midnight. Empty when there is none.
std::string DateOfName(std::string_view name);

// Fills `date_taken` of a record that has none: from the name of the file, else with the time when it was written. Returns the
// fact that tells which of them it is ("name", "file"); none when the record has a date, or got none.
std::vector<std::string> PhotoDateFill(time_t written, MediaInfo *record);

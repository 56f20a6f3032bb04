// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a reader's answer makes of a file: the row, and the facts beside it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/fact_rows.h"
#include "catalogue/file_readers.h"
#include "catalogue/file_stamp.h"
#include "catalogue/media_info.h"

// Facts that are found beside a file, not in it.
inline constexpr std::string_view kCompanionFact = "companion";
inline constexpr std::string_view kSubtitleFact = "subtitle";
inline constexpr std::string_view kSubtitleLanguageFact = "subtitle_file_language";

struct ReadRow {
    MediaKind kind = kMediaMusic; // whose table it is
    FromName from_name;
    MediaInfo record = {}; // but for the cover
    std::vector<std::string> date_source;
    FactRows facts; // whose texts are the report's, and those above
};

// Makes it of a report, which has to live as long. What the content is counts, not what the name says (`named`), where that can be
// told; of a file that was not read it is the row by its name.
ReadRow ReadRowOf(const FileReport &report, MediaKind named, const char *path);

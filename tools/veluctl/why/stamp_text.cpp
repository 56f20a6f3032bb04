// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/why/stamp_text.h"

#include <charconv>
#include <optional>
#include <string_view>

#include "catalogue/file_stamp.h"
#include "tools/veluctl/moment_text.h"
#include "tools/veluctl/row_writer.h"

namespace {

// The whole number that a text begins with.
std::optional<long long> NumberOf(std::string_view text) {
    long long number = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() ? std::optional(number) : std::nullopt;
}

} // namespace

std::string StampText(const std::string &stamp) {
    const FileStampWords words = FileStampWordsOf(stamp);
    const size_t blank = words.age.find(' ');
    if (blank == std::string_view::npos)
        return stamp;
    const std::optional<long long> size = NumberOf(words.age);
    const std::optional<long long> written = NumberOf(words.age.substr(blank + 1));
    const std::optional<long long> changed = NumberOf(words.changed);
    if (!size || !written || !changed)
        return stamp;
    return ValueShow(std::to_string(*size), Type::bytes) + ", written " +
           MomentText(static_cast<time_t>(*written)) + ", changed " +
           MomentText(static_cast<time_t>(*changed));
}

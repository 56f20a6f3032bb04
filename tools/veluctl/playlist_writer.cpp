// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/playlist_writer.h"

#include <inttypes.h>
#include <math.h>
#include <stdlib.h>

#include <algorithm>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/terminal.h"

namespace {

constexpr std::string_view kLineEnds = "\r\n";
constexpr int64_t kUnknownLength = -1; // as players have it

int64_t SecondsOf(const Value &duration) {
    const int64_t seconds = llround(strtod(duration.value_or("0").c_str(), nullptr));
    return seconds > 0 ? seconds : kUnknownLength;
}

std::string OneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char byte) { return kLineEnds.find(byte) != std::string_view::npos; },
        ' ');
    return text;
}

} // namespace

PlaylistWriter::PlaylistWriter(FILE *out) : out_(out), terminal_(IsTerminal(out)) {}

void PlaylistWriter::Add(const Row &row) {
    const std::string path = row[0].value_or("");
    if (path.find_first_of(kLineEnds) != std::string::npos) {
        ++left_out_;
        return;
    }
    if (count_++ == 0)
        fputs("#EXTM3U\n", out_);
    const std::string artist = row[2].value_or("");
    const std::string name = OneLine((artist.empty() ? "" : artist + " - ") + row[1].value_or(""));
    // A file gets the bytes as they are; a terminal must not.
    fprintf(out_, "#EXTINF:%" PRId64 ",%s\n%s\n", SecondsOf(row[3]),
            (terminal_ ? SafeText(name) : name).c_str(), (terminal_ ? SafeText(path) : path).c_str());
}

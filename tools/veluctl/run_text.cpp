// SPDX-License-Identifier: GPL-2.0-or-later
//
// A rate is that of the whole run: what lies ahead is like what is done, as far as anybody knows.
#include "tools/veluctl/run_text.h"

#include <stdio.h>

#include "tools/veluctl/span_text.h"

namespace {

constexpr int64_t kMillisecondsOfSecond = 1000;

// A rate of less than that says nothing.
constexpr int64_t kRateMilliseconds = 2'000;

} // namespace

std::string RunFilesText(const IndexRecord &record) {
    if (record.files == 0 && record.known == 0)
        return "looking for files";
    const bool ahead = record.known > record.files;
    std::string text = std::to_string(record.files);
    if (ahead)
        text.append(record.counted != 0 ? " of " : " of at least ").append(std::to_string(record.known));
    text += record.files == 1 && !ahead ? " file" : " files";
    if (record.milliseconds < kRateMilliseconds || record.files == 0)
        return text;
    const double rate =
        static_cast<double>(record.files) * kMillisecondsOfSecond / static_cast<double>(record.milliseconds);
    char part[32];
    snprintf(part, sizeof part, rate < 10 ? ", %.1f/s" : ", %.0f/s", rate);
    text += part;
    if (ahead && record.counted != 0)
        text += ", " +
                SpanText(static_cast<int64_t>(static_cast<double>(record.known - record.files) / rate)) +
                " left";
    return text;
}

std::string RunCountsText(const IndexRecord &record) {
    int64_t left_out = 0;
    for (const auto &[count, words] : record.left_out)
        left_out += count;
    return std::to_string(record.added) + " new, " + std::to_string(record.changed) + " changed, " +
           std::to_string(record.removed) + " gone, " + std::to_string(record.unchanged) + " unchanged, " +
           std::to_string(record.troubled) + " in trouble" +
           (record.troubled > 0 ? " (veluctl find has:trouble), " : ", ") + std::to_string(left_out) +
           " left out" + (left_out > 0 ? " (veluctl missing files)" : "");
}

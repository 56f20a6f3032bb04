// SPDX-License-Identifier: GPL-2.0-or-later
//
// A line for each number, a word and the number. The folder, whose bytes may be any, comes last and goes to the end of the file.
#include "daemon/index_record.h"

#include <stdlib.h>

#include <algorithm>
#include <string_view>

#include "platform/file_bytes.h"

namespace {

constexpr mode_t kRecordMode = 0644;

// A path, and some lines.
constexpr size_t kRecordMax = size_t{16} * 1024;

constexpr std::string_view kLeftOutWord = "left_out ";
constexpr std::string_view kFolderWord = "folder ";

struct Number {
    std::string_view word;
    int64_t IndexRecord::*member;
};
constexpr Number kNumbers[] = {
    {"pid", &IndexRecord::pid},
    {"begin", &IndexRecord::begin},
    {"end", &IndexRecord::end},
    {"milliseconds", &IndexRecord::milliseconds},
    {"request", &IndexRecord::request},
    {"files", &IndexRecord::files},
    {"known", &IndexRecord::known},
    {"counted", &IndexRecord::counted},
    {"added", &IndexRecord::added},
    {"changed", &IndexRecord::changed},
    {"unchanged", &IndexRecord::unchanged},
    {"troubled", &IndexRecord::troubled},
    {"removed", &IndexRecord::removed},
};

void LineTake(std::string_view line, IndexRecord *record) {
    if (line.starts_with(kLeftOutWord)) {
        line.remove_prefix(kLeftOutWord.size());
        const size_t blank = std::min(line.find(' '), line.size() - 1);
        record->left_out.emplace_back(strtoll(std::string(line).c_str(), nullptr, 10),
                                      line.substr(blank + 1));
        return;
    }
    const size_t blank = line.find(' ');
    const auto number = std::ranges::find(kNumbers, line.substr(0, blank), &Number::word);
    if (number != std::end(kNumbers) && blank != std::string_view::npos)
        record->*number->member = strtoll(std::string(line.substr(blank + 1)).c_str(), nullptr, 10);
}

} // namespace

void IndexRecordWrite(const char *path, const IndexRecord &record) {
    std::string text;
    for (const Number &number : kNumbers)
        text.append(number.word).append(" ").append(std::to_string(record.*number.member)).append("\n");
    for (const auto &[count, words] : record.left_out)
        text.append(kLeftOutWord).append(std::to_string(count)).append(" ").append(words).append("\n");
    text.append(kFolderWord).append(record.folder);
    // Not brought to the disk: after a power cut there may be none, and no run waits for it.
    static_cast<void>(FileReplace(path, text, kRecordMode));
}

bool IndexRecordRead(const char *path, IndexRecord *record) {
    const FdHandle file = OpenForReading(path);
    std::string bytes(kRecordMax, '\0');
    bytes.resize(file ? FileReadUpTo(file, 0, bytes.data(), bytes.size()) : 0);
    std::string_view text = bytes;
    while (!text.empty() && !text.starts_with(kFolderWord)) {
        const std::string_view line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        LineTake(line, record);
    }
    if (text.empty())
        return false;
    record->folder = text.substr(kFolderWord.size());
    return record->begin > 0;
}

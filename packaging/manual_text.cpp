// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes what people read about keys and columns, from their own tables, while the tree is built:
//   manual_text man TEMPLATE            a manual; a line ".\" keys of FILE" becomes that file's keys, a line
//                                       ".\" columns of the media tables" the columns
//   manual_text sample [KEY=VALUE...]   a sample of /etc/veluinfo.conf with these keys set
#include <string.h>

#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include "platform/configuration.h"
#include "platform/index/media_columns.h"
#include "tools/shared/roff.h"
#include "tools/shared/text_wrap.h"

namespace {

constexpr int kFailed = 1;
constexpr size_t kSampleColumns = 100;

std::string KeyEntry(const ConfigurationKey &key) {
    return RoffEntry(std::string("\\fB") + key.name + "\\fR",
                     std::string(key.meaning) + " Read " + key.read + ".") +
           "Default:\n.BR " + RoffText(key.standard) + " .\n";
}

void KeysWrite(std::string_view file) {
    for (const ConfigurationKey &key : kConfigurationKeys) {
        if (file == key.file)
            std::cout << KeyEntry(key);
    }
}

// The type in the words of people.
std::string TypeText(ColumnKind kind) {
    if (kind == ColumnKind::path)
        return "text, primary key";
    return kind == ColumnKind::seconds ? "real" : std::string(ColumnSqlType(kind));
}

// Columns that are described together have one entry.
void ColumnsWrite() {
    const MediaColumn *column = std::begin(kMediaRowColumns);
    while (column != std::end(kMediaRowColumns)) {
        const MediaColumn &first = *column;
        std::string names = std::string("\\fB") + first.name + "\\fR";
        for (++column; column != std::end(kMediaRowColumns) && *column->meaning == '\0'; ++column)
            names += std::string(", \\fB") + column->name + "\\fR";
        std::cout << RoffEntry(names + ", " + TypeText(first.kind), first.meaning);
    }
}

int ManualWrite(const char *page) {
    constexpr std::string_view kKeysOf = ".\\\" keys of ";
    std::ifstream input(page);
    std::string line;
    while (std::getline(input, line)) {
        if (line.starts_with(kKeysOf))
            KeysWrite(std::string_view(line).substr(kKeysOf.size()));
        else if (line == ".\\\" columns of the media tables")
            ColumnsWrite();
        else
            std::cout << line << '\n';
    }
    return input.eof() ? 0 : kFailed;
}

// The value that KEY=VALUE gives the key; null when none does.
const char *ValueOf(const ConfigurationKey &key, char **set) {
    for (; *set != nullptr; ++set) {
        const size_t length = strlen(key.name);
        if (strncmp(*set, key.name, length) == 0 && (*set)[length] == '=')
            return *set + length + 1;
    }
    return nullptr;
}

void SampleWrite(char **set) {
    std::cout
        << "# " << kConfigurationFile
        << ": what veluindexd reads from it, a key=\"value\" a line. Without a line its default holds.\n";
    for (const ConfigurationKey &key : kConfigurationKeys) {
        if (strcmp(key.file, kConfigurationFile) != 0)
            continue;
        const char *value = ValueOf(key, set);
        std::string text = key.meaning;
        if (value != nullptr)
            text += std::string(" Without this line: ") + key.standard + ".";
        std::cout << '\n';
        for (const std::string &line : TextWrap(text, kSampleColumns))
            std::cout << "# " << line << '\n';
        std::cout << (value == nullptr ? "#" : "") << key.name << "=\""
                  << (value == nullptr ? key.standard : value) << "\"\n";
    }
}

} // namespace

int main(int argc, char **argv) {
    int result = kFailed;
    if (argc == 3 && strcmp(argv[1], "man") == 0)
        result = ManualWrite(argv[2]);
    else if (argc >= 2 && strcmp(argv[1], "sample") == 0) {
        SampleWrite(argv + 2);
        result = 0;
    }
    return std::cout.flush() ? result : kFailed;
}

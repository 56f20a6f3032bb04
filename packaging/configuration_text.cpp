// SPDX-License-Identifier: GPL-2.0-or-later
//
// Writes what people read about the keys, from the keys' own table, while the tree is built:
//   configuration_text man TEMPLATE       veluinfo.conf(5); a line ".\" keys of FILE" becomes that file's keys
//   configuration_text sample [KEY=VALUE...]  a sample of /etc/veluinfo.conf with these keys set
#include <string.h>

#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "platform/configuration.h"
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

int ManualWrite(const char *page) {
    constexpr std::string_view kKeysOf = ".\\\" keys of ";
    std::ifstream input(page);
    std::string line;
    while (std::getline(input, line)) {
        if (!line.starts_with(kKeysOf)) {
            std::cout << line << '\n';
            continue;
        }
        for (const ConfigurationKey &key : kConfigurationKeys) {
            if (line.substr(kKeysOf.size()) == key.file)
                std::cout << KeyEntry(key);
        }
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

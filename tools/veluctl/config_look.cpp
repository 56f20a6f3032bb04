// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/config_look.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <string_view>

#include "platform/configuration.h"
#include "platform/sdk/key_lines.h"
#include "platform/veludb.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/catalogue_advice.h"
#include "tools/veluctl/config_value.h"
#include "tools/veluctl/near_key.h"
#include "tools/veluctl/setup/service_view.h"
#include "tools/veluctl/uri_text.h"

namespace {

constexpr char kDefault[] = "default";
constexpr char kOpenQuote[] = "the quote of its value does not end";

struct File {
    const char *path;
    std::vector<KeyFileLine> lines;
    int error; // of reading it; a file that is not there has no lines
};

File FileRead(const char *path) {
    File file = {path, {}, 0};
    file.error = KeyFileLinesRead(path, &file.lines);
    if (file.error == ENOENT)
        file.error = 0;
    return file;
}

std::string Place(const File &file, const KeyFileLine &line) {
    return std::string(file.path) + ":" + std::to_string(line.number);
}

bool IsIn(const ConfigurationKey &key, const File &file) {
    return std::string_view(key.file) == file.path;
}

// The line that counts: the first with the key.
const KeyFileLine *LineOf(const File &file, std::string_view key) {
    const auto found = std::find_if(file.lines.begin(), file.lines.end(),
                                    [&](const KeyFileLine &line) { return line.is_pair && line.key == key; });
    return found != file.lines.end() ? &*found : nullptr;
}

// What the URI asks for may not be installed.
std::string EngineProblem(const ConfigurationKey &key, const std::string &value) {
    const std::string hint =
        key.kind == ConfigurationKind::catalogue ? ModuleHint(value.c_str()) : std::string();
    return hint.empty() ? hint : "its engine is not installed" + hint;
}

// What is good for a shell may be out of the service's reach.
std::string ServiceProblem(const ConfigurationKey &key, const std::string &value) {
    const char *file = key.kind == ConfigurationKind::catalogue ? VELUDBFileGet(value.c_str()) : nullptr;
    if (file != nullptr)
        return ServiceFolderProblem(ParentOf(file));
    return key.kind == ConfigurationKind::folder ? ServiceFolderProblem(value) : std::string();
}

ConfigurationFinding KeyLook(const ConfigurationKey &key, const File &file) {
    ConfigurationFinding finding = {true, key.name, {}, file.path, {}};
    if (file.error != 0)
        return finding;
    const KeyFileLine *line = LineOf(file, key.name);
    const bool is_written = line != nullptr && !line->value.empty();
    const std::string value = is_written ? line->value : key.standard;
    finding.value = key.kind == ConfigurationKind::catalogue ? UriWithoutPassword(value) : value;
    finding.source = is_written ? Place(file, *line) : kDefault;
    std::string problem = line != nullptr && line->open_quote ? kOpenQuote : ConfigurationProblem(key, value);
    if (problem.empty())
        problem = EngineProblem(key, value);
    if (problem.empty())
        problem = ServiceProblem(key, value);
    if (!problem.empty())
        finding.problem = problem;
    return finding;
}

// What is wrong with a line that no key's value comes from; mostly it is another program's.
std::string LineProblem(const File &file, const KeyFileLine &line) {
    if (!line.is_pair)
        return "is no key=\"value\"";
    if (const KeyFileLine *first = LineOf(file, line.key); first != &line) {
        const bool is_known = std::any_of(std::begin(kConfigurationKeys), std::end(kConfigurationKeys),
                                          [&](const ConfigurationKey &key) { return line.key == key.name; });
        return is_known ? "line " + std::to_string(first->number) + " counts, this one does not" : "";
    }
    const ConfigurationKey *near = NearKey(line.key);
    if (near == nullptr || (line.key == near->name && IsIn(*near, file)))
        return {};
    if (line.key == near->name)
        return std::string("is read from ") + near->file + " only";
    return std::string("is not known: did you mean ") + near->name + "?";
}

void LinesLook(const File &file, std::vector<ConfigurationFinding> *findings) {
    if (file.error != 0)
        findings->push_back(
            {false, {}, {}, file.path, std::string("cannot be read: ") + strerror(file.error)});
    for (const KeyFileLine &line : file.lines) {
        const std::string problem = LineProblem(file, line);
        if (!problem.empty())
            findings->push_back(
                {false, line.is_pair ? Value(line.key) : Value(), {}, Place(file, line), problem});
    }
}

} // namespace

std::vector<ConfigurationFinding> ConfigurationLook() {
    const File files[] = {FileRead(kConfigurationFile), FileRead(kDefaultsFile)};
    std::vector<ConfigurationFinding> findings;
    for (const ConfigurationKey &key : kConfigurationKeys) {
        for (const File &file : files) {
            if (IsIn(key, file))
                findings.push_back(KeyLook(key, file));
        }
    }
    for (const File &file : files)
        LinesLook(file, &findings);
    return findings;
}

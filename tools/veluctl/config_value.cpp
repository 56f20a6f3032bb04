// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/config_value.h"

#include <ctype.h>
#include <errno.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "platform/veludb.h"
#include "reader/protocol/charset.h"

namespace {

constexpr char kRelative[] = "its path is not absolute";

// Where a service finds programs that are named without their folder.
constexpr std::string_view kProgramFolders[] = {"/usr/local/sbin", "/usr/local/bin", "/usr/sbin",
                                                "/usr/bin",        "/sbin",          "/bin"};

bool IsFolder(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// A missing folder would be made, unless what is above it is no folder.
std::string FolderProblem(std::string path) {
    if (!path.starts_with('/'))
        return kRelative;
    struct stat status;
    while (stat(path.c_str(), &status) != 0 && errno != ENOTDIR && path.size() > 1)
        path.resize(std::max<size_t>(path.rfind('/'), 1));
    while (stat(path.c_str(), &status) != 0 && path.size() > 1)
        path.resize(std::max<size_t>(path.rfind('/'), 1));
    return IsFolder(path) ? "" : path + " is no folder";
}

std::string FileProblem(const std::string &path) {
    if (!path.starts_with('/'))
        return kRelative;
    if (IsFolder(path))
        return path + " is a folder";
    return FolderProblem(path.substr(0, std::max<size_t>(path.rfind('/'), 1)));
}

// The rules of RFC 3986 that libpq holds a URI to, too, as far as they catch what is typed wrong.
std::string ServerProblem(std::string_view uri) {
    for (size_t at = uri.find('%'); at != std::string_view::npos; at = uri.find('%', at + 1)) {
        const std::string_view code = uri.substr(at + 1, 2);
        if (code.size() < 2 || isxdigit(static_cast<unsigned char>(code[0])) == 0 ||
            isxdigit(static_cast<unsigned char>(code[1])) == 0 || code == "00")
            return "% in a URI begins the two hexadecimal digits of a byte";
    }
    if (uri.find(' ') != std::string_view::npos)
        return "a URI holds no blanks: %20";
    const size_t query = uri.find('?');
    if (query != std::string_view::npos && query + 1 < uri.size() &&
        uri.find('=', query) == std::string_view::npos)
        return "what is behind ? in a URI is NAME=VALUE";
    return {};
}

std::string CatalogueProblem(const std::string &uri) {
    if (const char *file = VELUDBFileGet(uri.c_str()); file != nullptr)
        return FileProblem(file);
    if (const char *server = VELUDBServerGet(uri.c_str()); server != nullptr)
        return ServerProblem(server);
    return "is neither sqlite:PATH nor postgresql://...";
}

bool IsProgram(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::string ProgramProblem(const std::string &command) {
    // Only plain words are looked at: what the shell makes of anything else is not known here.
    if (command.find_first_of("\"'`$\\;&|(){}<>*?[]~") != std::string::npos)
        return {};
    const std::string name = command.substr(0, command.find_first_of(" \t"));
    if (name.find('/') == std::string::npos) {
        const bool found =
            std::any_of(std::begin(kProgramFolders), std::end(kProgramFolders),
                        [&](std::string_view folder) { return IsProgram(std::string(folder) + '/' + name); });
        return found ? "" : "there is no program " + name;
    }
    if (!name.starts_with('/'))
        return kRelative;
    return IsProgram(name) ? "" : "there is no program " + name;
}

// The words stand with blanks between them.
std::string WordProblem(const ConfigurationKey &key, const std::string &value, bool any_case) {
    std::string list;
    for (std::string_view rest = key.words; !rest.empty();) {
        const std::string word(rest.substr(0, rest.find(' ')));
        rest.remove_prefix(std::min(rest.size(), word.size() + 1));
        if ((any_case ? strcasecmp(word.c_str(), value.c_str()) : word.compare(value)) == 0)
            return {};
        list += (list.empty() ? "" : rest.empty() ? " nor " : ", ") + word;
    }
    return "is neither " + list + ": " + key.standard + " holds";
}

std::string CountProblem(const std::string &value) {
    const bool digits = value.find_first_not_of("0123456789") == std::string::npos;
    const bool good = value == kAuto || (digits && value.find_first_not_of('0') != std::string::npos);
    return good ? "" : "is neither auto nor a whole number from 1 on: auto holds";
}

std::string SecondsProblem(const ConfigurationKey &key, const std::string &value) {
    return ConfigurationSeconds(value) != 0 ? ""
                                            : "is no whole number from 1 to " + std::to_string(kSecondsMax) +
                                                  ": " + key.standard + " holds";
}

std::string CharsetProblem(const std::string &value) {
    const bool good = value == kAuto || CharsetFind(value) != nullptr;
    return good ? "" : "is neither auto nor a character set that is known: auto holds";
}

} // namespace

std::string ConfigurationProblem(const ConfigurationKey &key, const std::string &value) {
    switch (key.kind) {
    case ConfigurationKind::catalogue:
        return CatalogueProblem(value);
    case ConfigurationKind::folder:
        return FolderProblem(value);
    case ConfigurationKind::program:
        return ProgramProblem(value);
    case ConfigurationKind::word:
        return WordProblem(key, value, false);
    case ConfigurationKind::any_case:
        return WordProblem(key, value, true);
    case ConfigurationKind::count:
        return CountProblem(value);
    case ConfigurationKind::charset:
        return CharsetProblem(value);
    case ConfigurationKind::seconds:
        return SecondsProblem(key, value);
    }
    return {};
}

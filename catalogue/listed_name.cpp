// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/listed_name.h"

#include <dirent.h>
#include <errno.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "platform/handle.h"
#include "platform/path.h"
#include "platform/rule_set.h"

namespace {

char OtherCase(char byte) {
    const bool letter = (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
    return letter ? static_cast<char>(byte ^ ('a' ^ 'A')) : byte;
}

// True when the last name in another case leads to the same, as on few machines: a directory is not read for each request.
bool HasTwin(const std::string &path, size_t name) {
    std::string twin = path;
    std::transform(twin.begin() + static_cast<ptrdiff_t>(name), twin.end(),
                   twin.begin() + static_cast<ptrdiff_t>(name), OtherCase);
    struct stat one;
    struct stat other;
    return twin != path && lstat(path.c_str(), &one) == 0 && lstat(twin.c_str(), &other) == 0 &&
           one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// What cannot be read may have it.
bool Lists(const std::string &directory, std::string_view name) {
    const DirHandle open(opendir(directory.empty() ? "/" : directory.c_str()));
    if (open == nullptr)
        return true;
    errno = 0;
    while (const dirent *entry = readdir(open.get())) {
        if (entry->d_name == name)
            return true;
    }
    return errno != 0;
}

} // namespace

bool IsListedName(const char *path) {
    if (RuleSetActive() != RuleSet::complete)
        return true;
    const std::string place(PathWithoutEndSlashes(path));
    const size_t slash = place.rfind('/');
    if (slash == std::string::npos || !HasTwin(place, slash + 1))
        return true;
    return Lists(place.substr(0, slash), std::string_view(place).substr(slash + 1));
}

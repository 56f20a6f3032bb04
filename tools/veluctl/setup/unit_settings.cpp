// SPDX-License-Identifier: GPL-2.0-or-later
//
// As systemd.exec(5) has them.
#include "tools/veluctl/setup/unit_settings.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string_view>

#include "platform/path.h"

namespace {

constexpr std::string_view kHomes[] = {"/home", "/root", "/run/user"};
constexpr std::string_view kPrivate[] = {"/tmp", "/var/tmp"};
constexpr std::string_view kSystem[] = {"/usr", "/boot", "/efi"};
// What ProtectSystem=strict leaves as it is.
constexpr std::string_view kKernels[] = {"/dev", "/proc", "/sys"};

std::string ValueOf(const UnitSettings &unit, const char *name) {
    const auto found = unit.find(name);
    return found != unit.end() ? found->second : std::string();
}

template <typename Folders>
bool IsBelowAny(const Folders &folders, const std::string &folder) {
    return std::any_of(std::begin(folders), std::end(folders),
                       [&](const auto &one) { return PathIsAtOrUnder(folder, one); });
}

// Words with blanks between them; a "-" or "+" in front of a path is a flag of it.
std::vector<std::string> PathsOf(const UnitSettings &unit, const char *name, const std::string &below = {}) {
    std::istringstream words(ValueOf(unit, name));
    std::vector<std::string> paths;
    for (std::string word; words >> word;)
        paths.push_back(below + word.substr(std::min(word.find_first_not_of("-+"), word.size())));
    return paths;
}

bool IsWritable(const UnitSettings &unit, const std::string &folder) {
    return IsBelowAny(PathsOf(unit, "ReadWritePaths"), folder) ||
           IsBelowAny(PathsOf(unit, "StateDirectory", "/var/lib/"), folder) ||
           IsBelowAny(PathsOf(unit, "RuntimeDirectory", "/run/"), folder) ||
           IsBelowAny(PathsOf(unit, "CacheDirectory", "/var/cache/"), folder) ||
           IsBelowAny(PathsOf(unit, "LogsDirectory", "/var/log/"), folder);
}

} // namespace

std::string UnitHides(const UnitSettings &unit, const std::string &folder) {
    if (IsBelowAny(PathsOf(unit, "InaccessiblePaths"), folder))
        return "InaccessiblePaths=" + ValueOf(unit, "InaccessiblePaths");
    if (ValueOf(unit, "PrivateTmp") == "yes" && IsBelowAny(kPrivate, folder))
        return "PrivateTmp=yes";
    const std::string home = ValueOf(unit, "ProtectHome");
    if ((home == "yes" || home == "tmpfs") && IsBelowAny(kHomes, folder))
        return "ProtectHome=" + home;
    return {};
}

std::string UnitForbids(const UnitSettings &unit, const std::string &folder) {
    if (IsWritable(unit, folder))
        return {};
    if (IsBelowAny(PathsOf(unit, "ReadOnlyPaths"), folder))
        return "ReadOnlyPaths=" + ValueOf(unit, "ReadOnlyPaths");
    if (ValueOf(unit, "ProtectHome") == "read-only" && IsBelowAny(kHomes, folder))
        return "ProtectHome=read-only";
    const std::string system = ValueOf(unit, "ProtectSystem");
    const bool forbids = (system == "strict" && !IsBelowAny(kKernels, folder)) ||
                         (system == "full" && PathIsAtOrUnder(folder, "/etc")) ||
                         ((system == "full" || system == "yes") && IsBelowAny(kSystem, folder));
    // Of what is its own, a service may write all.
    const bool is_private = ValueOf(unit, "PrivateTmp") == "yes" && IsBelowAny(kPrivate, folder);
    return forbids && !is_private ? "ProtectSystem=" + system : std::string();
}

// SPDX-License-Identifier: GPL-2.0-or-later
//
// The running daemon's folders are seen through /proc, as it sees them.
#include "tools/veluctl/setup/service_view.h"

#include <errno.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>

#include "tools/queue/daemon_process.h"
#include "tools/veluctl/command_lines.h"
#include "tools/veluctl/setup/daemon_view.h"
#include "tools/veluctl/setup/unit_settings.h"

namespace {

constexpr char kAsk[] =
    "systemctl show veluindexd.service --property=LoadState,InaccessiblePaths,PrivateTmp,ProtectHome,"
    "ProtectSystem,ReadOnlyPaths,ReadWritePaths,StateDirectory,RuntimeDirectory,CacheDirectory,"
    "LogsDirectory 2>/dev/null";

UnitSettings UnitRead() {
    UnitSettings unit;
    CommandLinesRead(kAsk, [&](std::string_view line) {
        const size_t sign = line.find('=');
        if (sign != std::string_view::npos)
            unit[std::string(line.substr(0, sign))] = line.substr(sign + 1);
    });
    return unit;
}

bool IsReadOnly(const std::string &path) {
    struct statvfs system = {};
    return statvfs(path.c_str(), &system) == 0 && (system.f_flag & ST_RDONLY) != 0;
}

std::string Hidden(const std::string &folder, const std::string &by) {
    return "the service has a " + folder + " of its own, or none: what is there is hidden from it (" + by +
           ")";
}

std::string Forbidden(const std::string &folder, const std::string &by) {
    return "the service may not write in " + folder + " (" + by +
           "): sudo systemctl edit veluindexd, with [Service] and ReadWritePaths=" + folder;
}

// The innermost folder on the way that is there.
std::string FolderThere(std::string folder) {
    struct stat status;
    while (folder.size() > 1 && (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)))
        folder.resize(std::max<size_t>(folder.rfind('/'), 1));
    return folder;
}

} // namespace

std::string ServiceFolderProblem(std::string folder) {
    folder = FolderThere(std::move(folder));
    const pid_t daemon = DaemonFind();
    if (daemon == 0) {
        const UnitSettings unit = UnitRead();
        const auto state = unit.find("LoadState");
        if (state == unit.end() || state->second != "loaded")
            return {};
        if (const std::string by = UnitHides(unit, folder); !by.empty())
            return Hidden(folder, by);
        const std::string by = UnitForbids(unit, folder);
        return by.empty() ? std::string() : Forbidden(folder, by);
    }
    if (IsHiddenFromDaemon(folder))
        return Hidden(folder, "PrivateTmp=, ProtectHome= or the like");
    if (IsReadOnly(ProcPath(daemon, "root") + folder) && !IsReadOnly(folder))
        return Forbidden(folder, "ProtectSystem=, ProtectHome= or the like");
    return {};
}

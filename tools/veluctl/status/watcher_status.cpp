// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the watcher runs, and how much it watches.
#include <dirent.h>
#include <stdio.h>
#include <string.h>

#include "platform/handle.h"
#include "tools/queue/daemon_process.h"
#include "tools/veluctl/process_start.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/status/status.h"

namespace {

// proc(5): a descriptor of the kernel's watches has a line for each in its fdinfo. -1: this user may not look.
int64_t WatchesCount(pid_t watcher) {
    const std::string folder = ProcPath(watcher, "fdinfo");
    const DirHandle descriptors(opendir(folder.c_str()));
    int64_t count = descriptors != nullptr ? 0 : -1;
    while (const dirent *entry = descriptors != nullptr ? readdir(descriptors.get()) : nullptr) {
        const FileHandle file(fopen((folder + '/' + entry->d_name).c_str(), "re"));
        char line[512];
        while (file != nullptr && fgets(line, sizeof line, file.get()) != nullptr)
            count += strncmp(line, "inotify ", strlen("inotify ")) == 0 ? 1 : 0;
    }
    return count;
}

} // namespace

void WatcherStatus(StatusView *view) {
    const pid_t watcher = WatcherFind();
    const time_t since = watcher != 0 ? ProcessStart(watcher) : 0;
    const int64_t directories = watcher != 0 ? WatchesCount(watcher) : -1;
    if (!view->json) {
        StatusSay("watcher",
                  watcher == 0 ? NotRunningText(kWatcherEnableCommand) : ProcessText(watcher, since));
        if (directories >= 0)
            StatusSay("", "watches " + std::to_string(directories) +
                              (directories == 1 ? " directory" : " directories"));
        return;
    }
    Json state = Json::object();
    state["running"] = watcher != 0;
    state["pid"] = watcher != 0 ? Json(watcher) : Json();
    state["since"] = since != 0 ? Json(static_cast<int64_t>(since)) : Json();
    state["directories"] = directories >= 0 ? Json(directories) : Json();
    view->answer["watcher"] = state;
}

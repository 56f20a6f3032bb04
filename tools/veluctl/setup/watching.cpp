// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/watching.h"

#include <algorithm>

#include "catalogue/shares.h"
#include "platform/path.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/request_path.h"
#include "tools/queue/watcher_state.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/setup/share_refusal.h"
#include "tools/veluctl/shell_word.h"

namespace {

// The share that holds a path; empty: none does.
std::string ShareOf(const std::string &path) {
    for (const std::string &share : ShareTargetsGet()) {
        if (PathIsAtOrUnder(path, share))
            return share;
    }
    return {};
}

// The innermost place that is watched and holds a path; empty: none does.
std::string WatchedPlace(const WatcherState &state, std::string path) {
    const auto is_watched = [&](const std::string &place) {
        return std::ranges::any_of(state.shares, [&](const WatcherShare &share) {
            return !share.away && share.path == WatcherPathText(place);
        });
    };
    while (path.size() > 1 && !is_watched(path))
        path = ParentOf(path);
    return path.size() > 1 ? path : std::string();
}

// The command that makes a share of a folder; empty where none is free for it.
std::string ShareCommand(const std::string &folder) {
    for (const char *name : ShareNames()) {
        char target[kSharePathSize];
        if (!ShareTargetGet(ShareLinkOf(name), target) && !ShareRefusal(name, folder))
            return std::string("sudo veluctl share add ") + name + ' ' + ShellWord(folder);
    }
    return {};
}

Unwatched UnwatchedOf(const std::string &folder, const Watching &watching) {
    constexpr char kUnnoticed[] = "what changes there later is not noticed";
    if (!watching.in_share) {
        const std::string command = ShareCommand(folder);
        return {std::string(" lies in no share: ") + kUnnoticed +
                    (command.empty() ? ", and all shares have their folders; to have it looked at again:"
                                     : "; to make it a share:"),
                command.empty() ? "sudo veluctl add " + ShellWord(folder) : command};
    }
    if (!watching.watcher)
        return {std::string(" is not watched: ") + kUnnoticed + "; to have shares watched:",
                kWatcherEnableCommand};
    return {std::string(" is not watched: ") + kUnnoticed +
                ", since veluwatchd watches other folders, or has not come upon this one yet",
            {}};
}

} // namespace

Watching WatchingLook(const std::string &path) {
    const std::string share = ShareOf(path);
    Watching watching = {.in_share = !share.empty(), .watcher = WatcherFind() != 0};
    const std::optional<WatcherState> state = WatcherStateRead();
    if (!state) {
        // One that says nothing watches shares, most likely.
        watching.place = watching.watcher ? share : std::string();
        return watching;
    }
    watching.place = WatchedPlace(*state, path);
    watching.settle = state->settle;
    watching.gaps = state->unwatched > 0 ? WatchFaultText(state->fault) : "";
    return watching;
}

std::vector<Unwatched> UnwatchedTell(const std::vector<std::string> &folders) {
    std::vector<Unwatched> all;
    for (const bool in_share : {false, true}) {
        std::string first;
        Watching watching;
        long long more = -1;
        for (const std::string &folder : folders) {
            const Watching look = WatchingLook(folder);
            if (look.in_share != in_share || !look.place.empty() || ++more > 0)
                continue;
            first = folder;
            watching = look;
        }
        if (more < 0)
            continue;
        const std::string others = more > 0 ? ", as " + Counted(more, "other folder") + "," : std::string();
        all.push_back(UnwatchedOf(first, watching));
        all.back().text.insert(0, Quoted(first) + others);
    }
    return all;
}
